#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "tessel/platform/nitf.h"

namespace {

struct FieldHolder {
    nitf_Field* field;
    ~FieldHolder() { nitf_Field_destruct(&field); }
    std::string text() const { return std::string(field->raw, field->length); }
};

FieldHolder makeField(size_t length, nitf_FieldType type) {
    nitf_Error error{};
    return FieldHolder{nitf_Field_construct(length, type, &error)};
}

TEST(NitfField, NewFieldsHoldTheirTypesBlank) {
    EXPECT_EQ(makeField(4, NITF_BCS_A).text(), "    ");
    EXPECT_EQ(makeField(4, NITF_BCS_N).text(), "0000");
    EXPECT_EQ(makeField(3, NITF_BINARY).text(), std::string(3, '\0'));
    FieldHolder f = makeField(5, NITF_BCS_A);
    EXPECT_EQ(f.field->raw[5], '\0');
    EXPECT_FALSE(f.field->resizable);
}

TEST(NitfField, ZeroLengthIsAnError) {
    nitf_Error error{};
    EXPECT_EQ(nitf_Field_construct(0, NITF_BCS_A, &error), nullptr);
    EXPECT_EQ(error.level, NITF_ERR_INVALID_PARAMETER);
}

TEST(NitfField, SetStringPadsBCSAOnTheRight) {
    nitf_Error error{};
    FieldHolder f = makeField(6, NITF_BCS_A);
    ASSERT_TRUE(nitf_Field_setString(f.field, "AB", &error));
    EXPECT_EQ(f.text(), "AB    ");
}

TEST(NitfField, SetStringPadsBCSNOnTheLeftAndMovesTheSign) {
    nitf_Error error{};
    FieldHolder f = makeField(5, NITF_BCS_N);
    ASSERT_TRUE(nitf_Field_setString(f.field, "42", &error));
    EXPECT_EQ(f.text(), "00042");
    ASSERT_TRUE(nitf_Field_setString(f.field, "-12", &error));
    EXPECT_EQ(f.text(), "-0012");
    ASSERT_TRUE(nitf_Field_setString(f.field, "+1.5", &error));
    EXPECT_EQ(f.text(), "+01.5");
}

TEST(NitfField, SetStringValidates) {
    nitf_Error error{};
    FieldHolder n = makeField(5, NITF_BCS_N);
    EXPECT_FALSE(nitf_Field_setString(n.field, "12a", &error));
    EXPECT_EQ(error.level, NITF_ERR_INVALID_PARAMETER);
    EXPECT_FALSE(nitf_Field_setString(n.field, "1.2.3", &error));
    EXPECT_TRUE(nitf_Field_setString(n.field, "--", &error));  // unknown value
    EXPECT_TRUE(nitf_Field_setString(n.field, "12/3", &error));
    FieldHolder a = makeField(5, NITF_BCS_A);
    EXPECT_FALSE(nitf_Field_setString(a.field, "a\tb", &error));
    EXPECT_FALSE(nitf_Field_setString(a.field, "\x80", &error));
    EXPECT_FALSE(nitf_Field_setString(a.field, "toolong", &error));
    EXPECT_EQ(a.text(), "     ");
    FieldHolder b = makeField(4, NITF_BINARY);
    EXPECT_FALSE(nitf_Field_setString(b.field, "1", &error));
}

TEST(NitfField, ResizableFieldTakesTheLengthOfWhatIsSet) {
    nitf_Error error{};
    FieldHolder f = makeField(1, NITF_BCS_A);
    f.field->resizable = true;
    ASSERT_TRUE(nitf_Field_setString(f.field, "longer text", &error));
    EXPECT_EQ(f.text(), "longer text");
    ASSERT_TRUE(nitf_Field_setRawData(f.field, "ab", 2, &error));
    EXPECT_EQ(f.text(), "ab");
    EXPECT_EQ(f.field->raw[2], '\0');
}

TEST(NitfField, SetRawDataExactShortAndLong) {
    nitf_Error error{};
    FieldHolder a = makeField(4, NITF_BCS_A);
    ASSERT_TRUE(nitf_Field_setRawData(a.field, "XY", 2, &error));
    EXPECT_EQ(a.text(), "XY  ");
    FieldHolder n = makeField(4, NITF_BCS_N);
    ASSERT_TRUE(nitf_Field_setRawData(n.field, "-7", 2, &error));
    EXPECT_EQ(n.text(), "-007");
    EXPECT_FALSE(nitf_Field_setRawData(n.field, "12345", 5, &error));
    FieldHolder b = makeField(4, NITF_BINARY);
    const char bytes[4] = {1, 0, 2, 0};
    ASSERT_TRUE(nitf_Field_setRawData(b.field, bytes, 4, &error));
    EXPECT_EQ(std::memcmp(b.field->raw, bytes, 4), 0);
    EXPECT_FALSE(nitf_Field_setRawData(b.field, bytes, 2, &error));
    EXPECT_FALSE(nitf_Field_setRawData(b.field, nullptr, 4, &error));
}

TEST(NitfField, SetNumbersFormatAndPad) {
    nitf_Error error{};
    FieldHolder n = makeField(6, NITF_BCS_N);
    ASSERT_TRUE(nitf_Field_setUint32(n.field, 123, &error));
    EXPECT_EQ(n.text(), "000123");
    ASSERT_TRUE(nitf_Field_setInt32(n.field, -45, &error));
    EXPECT_EQ(n.text(), "-00045");
    ASSERT_TRUE(nitf_Field_setUint64(n.field, 999999, &error));
    EXPECT_EQ(n.text(), "999999");
    EXPECT_FALSE(nitf_Field_setUint64(n.field, 1000000, &error));
    ASSERT_TRUE(nitf_Field_setInt64(n.field, -99999, &error));
    EXPECT_EQ(n.text(), "-99999");
    FieldHolder a = makeField(4, NITF_BCS_A);
    ASSERT_TRUE(nitf_Field_setUint32(a.field, 7, &error));
    EXPECT_EQ(a.text(), "7   ");
    FieldHolder b = makeField(4, NITF_BINARY);
    EXPECT_FALSE(nitf_Field_setUint32(b.field, 7, &error));
}

TEST(NitfField, SetRealFitsTheWidth) {
    nitf_Error error{};
    FieldHolder f = makeField(8, NITF_BCS_A);
    ASSERT_TRUE(nitf_Field_setReal(f.field, "f", true, 3.25, &error));
    EXPECT_EQ(f.text(), "+3.25000");
    ASSERT_TRUE(nitf_Field_setReal(f.field, "f", false, 12.5, &error));
    EXPECT_EQ(f.text(), "12.50000");
    EXPECT_FALSE(nitf_Field_setReal(f.field, "g", false, 1.0, &error));
}

TEST(NitfField, GetIntegersFromText) {
    nitf_Error error{};
    FieldHolder n = makeField(5, NITF_BCS_N);
    nitf_Field_setString(n.field, "-300", &error);
    int8_t i8 = 0;
    int16_t i16 = 0;
    int32_t i32 = 0;
    int64_t i64 = 0;
    ASSERT_TRUE(nitf_Field_get(n.field, &i16, NITF_CONV_INT, 2, &error));
    EXPECT_EQ(i16, -300);
    ASSERT_TRUE(nitf_Field_get(n.field, &i32, NITF_CONV_INT, 4, &error));
    EXPECT_EQ(i32, -300);
    ASSERT_TRUE(nitf_Field_get(n.field, &i64, NITF_CONV_INT, 8, &error));
    EXPECT_EQ(i64, -300);
    ASSERT_TRUE(nitf_Field_get(n.field, &i8, NITF_CONV_INT, 1, &error));
    EXPECT_EQ(i8, static_cast<int8_t>(-300));
    nitf_Field_setString(n.field, "65535", &error);
    uint8_t u8 = 0;
    uint16_t u16 = 0;
    uint32_t u32 = 0;
    uint64_t u64 = 0;
    ASSERT_TRUE(nitf_Field_get(n.field, &u16, NITF_CONV_UINT, 2, &error));
    EXPECT_EQ(u16, 65535);
    ASSERT_TRUE(nitf_Field_get(n.field, &u8, NITF_CONV_UINT, 1, &error));
    EXPECT_EQ(u8, 255);
    NITF_TRY_GET_UINT32(n.field, &u32, &error);
    EXPECT_EQ(u32, 65535u);
    NITF_TRY_GET_UINT64(n.field, &u64, &error);
    EXPECT_EQ(u64, 65535u);
    EXPECT_FALSE(nitf_Field_get(n.field, &u32, NITF_CONV_UINT, 3, &error));
    return;
CATCH_ERROR:
    FAIL() << error.message;
}

TEST(NitfField, GetLargeUnsignedFromText) {
    nitf_Error error{};
    FieldHolder n = makeField(12, NITF_BCS_N);
    nitf_Field_setString(n.field, "999999999999", &error);
    uint64_t u64 = 0;
    ASSERT_TRUE(nitf_Field_get(n.field, &u64, NITF_CONV_UINT, 8, &error));
    EXPECT_EQ(u64, 999999999999ull);
    FieldHolder a = makeField(10, NITF_BCS_N);
    nitf_Field_setString(a.field, "4294967295", &error);
    uint32_t u32 = 0;
    ASSERT_TRUE(nitf_Field_get(a.field, &u32, NITF_CONV_UINT, 4, &error));
    EXPECT_EQ(u32, 4294967295u);
}

TEST(NitfField, GetIntegersFromBinaryInHostOrder) {
    nitf_Error error{};
    FieldHolder b2 = makeField(2, NITF_BINARY);
    uint16_t v16 = 0xFFFE;
    nitf_Field_setRawData(b2.field, &v16, 2, &error);
    uint16_t u16 = 0;
    int32_t i32 = 0;
    ASSERT_TRUE(nitf_Field_get(b2.field, &u16, NITF_CONV_UINT, 2, &error));
    EXPECT_EQ(u16, 0xFFFE);
    ASSERT_TRUE(nitf_Field_get(b2.field, &i32, NITF_CONV_INT, 4, &error));
    EXPECT_EQ(i32, -2);
    uint32_t u32 = 0;
    ASSERT_TRUE(nitf_Field_get(b2.field, &u32, NITF_CONV_UINT, 4, &error));
    EXPECT_EQ(u32, 0xFFFEu);

    FieldHolder b4 = makeField(4, NITF_BINARY);
    uint32_t v32 = 0x01020304;
    nitf_Field_setRawData(b4.field, &v32, 4, &error);
    ASSERT_TRUE(nitf_Field_get(b4.field, &u32, NITF_CONV_UINT, 4, &error));
    EXPECT_EQ(u32, 0x01020304u);

    FieldHolder b8 = makeField(8, NITF_BINARY);
    uint64_t v64 = 0x0102030405060708ull;
    nitf_Field_setRawData(b8.field, &v64, 8, &error);
    uint64_t u64 = 0;
    ASSERT_TRUE(nitf_Field_get(b8.field, &u64, NITF_CONV_UINT, 8, &error));
    EXPECT_EQ(u64, v64);

    FieldHolder b3 = makeField(3, NITF_BINARY);
    EXPECT_FALSE(nitf_Field_get(b3.field, &u32, NITF_CONV_UINT, 4, &error));
}

TEST(NitfField, GetRealFromTextAndBinary) {
    nitf_Error error{};
    FieldHolder a = makeField(8, NITF_BCS_A);
    nitf_Field_setString(a.field, "-12.25", &error);
    double d = 0;
    float f = 0;
    ASSERT_TRUE(nitf_Field_get(a.field, &d, NITF_CONV_REAL, 8, &error));
    EXPECT_DOUBLE_EQ(d, -12.25);
    ASSERT_TRUE(nitf_Field_get(a.field, &f, NITF_CONV_REAL, 4, &error));
    EXPECT_FLOAT_EQ(f, -12.25f);
    EXPECT_FALSE(nitf_Field_get(a.field, &d, NITF_CONV_REAL, 2, &error));
    FieldHolder b = makeField(8, NITF_BINARY);
    double value = 6.5;
    nitf_Field_setRawData(b.field, &value, 8, &error);
    ASSERT_TRUE(nitf_Field_get(b.field, &d, NITF_CONV_REAL, 8, &error));
    EXPECT_DOUBLE_EQ(d, 6.5);
}

TEST(NitfField, GetStringTruncatesToTheBuffer) {
    nitf_Error error{};
    FieldHolder a = makeField(6, NITF_BCS_A);
    nitf_Field_setString(a.field, "ABCDEF", &error);
    char full[16];
    ASSERT_TRUE(nitf_Field_get(a.field, full, NITF_CONV_STRING, sizeof full, &error));
    EXPECT_STREQ(full, "ABCDEF");
    char small[4];
    ASSERT_TRUE(nitf_Field_get(a.field, small, NITF_CONV_STRING, sizeof small, &error));
    EXPECT_STREQ(small, "ABC");
    FieldHolder b = makeField(4, NITF_BINARY);
    int32_t v = -17;
    nitf_Field_setRawData(b.field, &v, 4, &error);
    ASSERT_TRUE(nitf_Field_get(b.field, full, NITF_CONV_STRING, sizeof full, &error));
    EXPECT_STREQ(full, "-17");
    char tiny[2];
    EXPECT_FALSE(nitf_Field_get(b.field, tiny, NITF_CONV_STRING, sizeof tiny, &error));
}

TEST(NitfField, GetRawCopiesAtMostTheWidth) {
    nitf_Error error{};
    FieldHolder a = makeField(4, NITF_BCS_A);
    nitf_Field_setString(a.field, "WXYZ", &error);
    char out[8] = {};
    ASSERT_TRUE(nitf_Field_get(a.field, out, NITF_CONV_RAW, 4, &error));
    EXPECT_EQ(std::string(out, 4), "WXYZ");
    EXPECT_FALSE(nitf_Field_get(a.field, out, NITF_CONV_RAW, 5, &error));
}

TEST(NitfField, CloneIsDeep) {
    nitf_Error error{};
    FieldHolder a = makeField(4, NITF_BCS_A);
    a.field->resizable = true;
    nitf_Field_setString(a.field, "ab", &error);
    FieldHolder copy{nitf_Field_clone(a.field, &error)};
    ASSERT_NE(copy.field, nullptr);
    EXPECT_EQ(copy.text(), "ab");
    EXPECT_TRUE(copy.field->resizable);
    nitf_Field_setString(a.field, "zz", &error);
    EXPECT_EQ(copy.text(), "ab");
}

TEST(NitfField, ResizeOnlyWhenResizable) {
    nitf_Error error{};
    FieldHolder n = makeField(3, NITF_BCS_N);
    EXPECT_FALSE(nitf_Field_resizeField(n.field, 5, &error));
    n.field->resizable = true;
    ASSERT_TRUE(nitf_Field_resizeField(n.field, 5, &error));
    EXPECT_EQ(n.text(), "00000");
    FieldHolder a = makeField(3, NITF_BCS_A);
    nitf_Field_setString(a.field, "abc", &error);
    ASSERT_TRUE(nitf_Field_resetLength(a.field, 5, true, &error));
    EXPECT_EQ(a.text(), "abc  ");
}

TEST(NitfField, TrimStringRemovesOuterBlanks) {
    char text[] = "  TRE_OVERFLOW   ";
    nitf_Field_trimString(text);
    EXPECT_STREQ(text, "TRE_OVERFLOW");
}

}  // namespace
