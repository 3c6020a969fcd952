#include <gtest/gtest.h>

#include "tessel/core/NITFType.h"
#include "tessel/core/NitroError.h"
#include "tessel/core/TextForms.h"
#include "tessel/core/any_type.h"
#include "tessel/core/eColorInterpretation.h"
#include "tessel/core/eCompressionType.h"

#include <cstring>
#include <sstream>

using namespace Tessel;

TEST(CompressionCodes, C5AndM5PrintButDoNotParseBack) {
    EXPECT_EQ(ToString(eCompressionC5), "C5");
    EXPECT_EQ(ToCompressionType("C5"), eCompressionUnknown);
    EXPECT_EQ(ToCompressionTypeW(L"M5"), eCompressionUnknown);
    EXPECT_EQ(ToCompressionTypeW(L"C5"), eCompressionUnknown);
}

TEST(CompressionCodes, CaseAndLengthAreExact) {
    EXPECT_EQ(ToCompressionType("nc"), eCompressionUnknown);
    EXPECT_EQ(ToCompressionType("NCX"), eCompressionUnknown);
    EXPECT_EQ(ToCompressionType("NC"), eCompressionNC);
    EXPECT_EQ(ToCompressionType("MB"), eCompressionMB);
    EXPECT_EQ(ToCompressionTypeW(L"I1"), eCompressionI1);
}

TEST(CompressionCodes, EveryParsableCodeRoundTrips) {
    for (const char* code : {"NC", "NM", "C1", "M1", "C3", "M3", "C4", "M4", "C8", "M8", "I1", "C9",
                             "M9", "CA", "MA", "CB", "MB"}) {
        EXPECT_EQ(ToString(ToCompressionType(code)), code);
    }
}

TEST(CompressionCodes, ValueOutsideTableIsTwoBlanks) {
    EXPECT_EQ(ToString(static_cast<eCompressionType>(2)), "  ");
    EXPECT_EQ(ToWString(eCompressionUnknown), L"  ");
    EXPECT_EQ(static_cast<int32_t>(eCompressionMA), 0x1000A);
}

TEST(ColorInterpretation, PaletteTextDiffersByDirectionAndWidth) {
    EXPECT_EQ(ToString(eColorPalette), "RGB/LUT");
    EXPECT_EQ(ToWString(eColorPalette), L"RBG/LUT");
    EXPECT_EQ(ToColorInterpretation("", "RGB/LUT"), eColorUndefined);
    EXPECT_EQ(ToColorInterpretation("", "RBG/LUT"), eColorPalette);
    EXPECT_EQ(ToColorInterpretationW(L"RBG/LUT", L"R"), eColorPalette);
}

TEST(ColorInterpretation, BandRepresentationDecidesOtherwise) {
    EXPECT_EQ(ToColorInterpretation("Cb", ""), eColorChromaBlue);
    EXPECT_EQ(ToColorInterpretation("r", ""), eColorUndefined);
    EXPECT_EQ(ToColorInterpretation("Y", "MONO"), eColorLuminance);
    EXPECT_EQ(ToColorInterpretationW(L"", L"Cr"), eColorChromaRed);
}

TEST(NITFTypes, HeaderComparesNineCharacters) {
    EXPECT_EQ(Str2NITFType("NITF02.10extra"), NITFType::NITF21);
    EXPECT_EQ(Str2NITFType("NITF02.1"), NITFType::NotNITF);
    EXPECT_EQ(Str2NITFType("NSIF01.00"), NITFType::NSIF10);
    EXPECT_EQ(Str2NITFType("NITF02.00"), NITFType::NITF20);
}

TEST(NITFTypes, NotNITFShortAndStreamForms) {
    EXPECT_EQ(NITFType2Str(NITFType::NotNITF), "UNKN");
    std::ostringstream os;
    os << NITFType::NotNITF << ' ' << NITFType::Unknown << ' ' << NITFType::NITF21 << ' '
       << static_cast<NITFType>(77);
    EXPECT_EQ(os.str(), "NOT-NITF UNKNOWN NITF-2.10 UNKNOWN");
    EXPECT_TRUE(isNITFType(NITFType::NITF20));
    EXPECT_FALSE(isNITFType(NITFType::NotNITF));
}

TEST(NitroErrors, GenericMessageOnlyForFirstFailure) {
    nrt_Error error;
    std::memset(&error, 0, sizeof error);
    NITFMessages messages;
    EXPECT_TRUE(checkNitroError(error, messages, {"NITF Parse"}, true));
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0], "/NITF Parse: Generic Error");
    EXPECT_TRUE(checkNitroError(error, messages, {"NITF Parse"}, true));
    EXPECT_EQ(messages.size(), 1u);
}

TEST(NitroErrors, ErrorLevelFailsWhateverTheFlagSays) {
    nrt_Error error;
    std::memset(&error, 0, sizeof error);
    nrt_Error_init(&error, "bad header", NRT_CTXT, NRT_ERR_PARSING_FILE);
    NITFMessages messages{"earlier"};
    EXPECT_TRUE(checkNitroError(error, messages, {"NITF Open", "Read"}, false));
    ASSERT_EQ(messages.size(), 2u);
    EXPECT_EQ(messages[1], "/NITF Open/Read: bad header");
    EXPECT_TRUE(checkNitroError(error, messages, {}, false));
    EXPECT_EQ(messages[2], "bad header");
}

TEST(NitroErrors, CleanRecordWithoutContextGivesPlainGenericError) {
    nrt_Error error;
    std::memset(&error, 0, sizeof error);
    NITFMessages messages;
    EXPECT_FALSE(checkNitroError(error, messages, {}, false));
    EXPECT_TRUE(messages.empty());
    EXPECT_TRUE(checkNitroError(error, messages, {}, true));
    EXPECT_EQ(messages.at(0), "Generic Error");
}

TEST(ValueConversions, TextToInteger) {
    EXPECT_EQ(any_type::to_integer(std::string("+12")), 12);
    EXPECT_FALSE(any_type::to_integer(std::string("12 ")));
    EXPECT_FALSE(any_type::to_integer(std::string("")));
    EXPECT_EQ(any_type::to_integer(std::wstring(L"+12")), 12);
    EXPECT_EQ(any_type::to_integer(2.9), 2);
    EXPECT_EQ(any_type::to_integer(-2.9), -2);
    EXPECT_EQ(any_type::to_integer(true), 1);
    EXPECT_FALSE(any_type::to_integer(any_type::value{}));
}

TEST(ValueConversions, TextToBoolean) {
    EXPECT_EQ(any_type::to_boolean(std::string("YES")), true);
    EXPECT_EQ(any_type::to_boolean(std::wstring(L"On")), true);
    EXPECT_FALSE(any_type::to_boolean(std::string("no")));
    EXPECT_FALSE(any_type::to_boolean(std::string("false")));
    EXPECT_EQ(any_type::to_boolean(std::string("0")), false);
    EXPECT_EQ(any_type::to_boolean(std::string("+2.5")), true);
    EXPECT_EQ(any_type::to_boolean(std::numeric_limits<double>::quiet_NaN()), true);
    EXPECT_FALSE(any_type::to_boolean(std::string("")));
}

TEST(ValueConversions, WideTextToIntegerFollowsWcstollAfterOnePlus) {
    EXPECT_EQ(any_type::to_integer(std::wstring(L" 12")), 12);
    EXPECT_EQ(any_type::to_integer(std::wstring(L"+ 12")), 12);
    EXPECT_EQ(any_type::to_integer(std::wstring(L"+-3")), -3);
    EXPECT_FALSE(any_type::to_integer(std::wstring(L"12 ")));
    EXPECT_FALSE(any_type::to_integer(std::wstring(L"+")));
    // The narrow form takes no white space.
    EXPECT_FALSE(any_type::to_integer(std::string(" 12")));
}

TEST(ValueConversions, WideTextToBooleanReadsTheNumberAsItStands) {
    // No "+" is skipped ahead of the number, so only the number's own sign is taken.
    EXPECT_EQ(any_type::to_boolean(std::wstring(L"+2.5")), true);
    EXPECT_EQ(any_type::to_boolean(std::wstring(L"+0")), false);
    EXPECT_FALSE(any_type::to_boolean(std::wstring(L"++1")));
    EXPECT_EQ(any_type::to_boolean(std::wstring(L" 1")), true);
    EXPECT_FALSE(any_type::to_boolean(std::wstring(L"off")));
    // The narrow form skips one "+" and takes no white space.
    EXPECT_FALSE(any_type::to_boolean(std::string("++1")));
    EXPECT_FALSE(any_type::to_boolean(std::string(" 1")));
}

TEST(ValueConversions, DecodeJsonScalars) {
    EXPECT_EQ(std::get<int64_t>(any_type::decode(L"12")), 12);
    EXPECT_EQ(std::get<bool>(any_type::decode(L"true")), true);
    EXPECT_EQ(std::get<double>(any_type::decode(L"1.5")), 1.5);
    EXPECT_EQ(std::get<std::wstring>(any_type::decode(L"\"12\"")), L"12");
    EXPECT_EQ(std::get<std::wstring>(any_type::decode(L"abc")), L"abc");
    EXPECT_EQ(any_type::decode(L"null").index(), 0u);
}

TEST(TextForms, ShortestRoundTripDouble) {
    EXPECT_EQ(ToString(0.1), "0.1");
    EXPECT_EQ(ToString(1e21), "1e+21");
    EXPECT_EQ(ToWString(2.5), L"2.5");
    EXPECT_EQ(ToString(std::wstring_view(L"\u00e9t\u00e9")), "\xc3\xa9t\xc3\xa9");
    EXPECT_EQ(ToWString(std::string_view("\xc3\xa9")), L"\u00e9");
}
