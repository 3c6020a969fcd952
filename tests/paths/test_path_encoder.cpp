#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "paths/path_test_tree.h"
#include "tessel/paths/Encoder.h"

namespace {

using path_test::FieldStore;

std::string encoded(nitf_Field* field, bool raw = false,
                    NitroUtils::Encoder::Filter filter = nullptr) {
    std::string out;
    NitroUtils::Encoder encoder{&out, filter, raw};
    NitroUtils::encodeField(encoder, field);
    return out;
}

std::string typed(nitf_Field* field, std::string_view word) {
    std::string out;
    NitroUtils::Encoder encoder{&out, nullptr, false};
    NitroUtils::encodeTypedField(encoder, field, word);
    return out;
}

template <typename T>
std::string hostBytes(T value) {
    std::string bytes(sizeof(T), '\0');
    std::memcpy(bytes.data(), &value, sizeof(T));
    return bytes;
}

TEST(FieldEncoder, TextIsTrimmedUnlessRaw) {
    FieldStore fields;
    nitf_Field* title = fields.make("  padded", 12);
    EXPECT_EQ(encoded(title), "padded");
    EXPECT_EQ(encoded(title, true), "  padded    ");
    nitf_Field* number = fields.make("42", 5, NITF_BCS_N);
    EXPECT_EQ(encoded(number), "00042");
}

TEST(FieldEncoder, TextGoesThroughTheFilter) {
    FieldStore fields;
    EXPECT_EQ(encoded(fields.make("a<b", 3), false, NitroUtils::xmlFilter), "a&lt;b");
    EXPECT_EQ(encoded(fields.make("a\"b", 3), false, NitroUtils::jsonFilter), "a\\\"b");
}

TEST(FieldEncoder, BinaryIsBase64PastTheFilter) {
    FieldStore fields;
    nitf_Field* binary = fields.make(std::string("\xfb\xff\xbf", 3), 3, NITF_BINARY);
    int calls = 0;
    static int* counter = nullptr;
    counter = &calls;
    const NitroUtils::Encoder::Filter counting = [](NitroUtils::Encoder& e, char c) {
        ++*counter;
        e.target->push_back(c);
    };
    EXPECT_EQ(encoded(binary, false, counting), "+/+/");
    EXPECT_EQ(calls, 0);
}

TEST(FieldEncoder, NullFieldWritesNothing) {
    EXPECT_EQ(encoded(nullptr), "");
    EXPECT_EQ(typed(nullptr, "uint"), "");
}

TEST(TypedFieldEncoder, UnsignedOfEachWidth) {
    FieldStore fields;
    EXPECT_EQ(typed(fields.make("\xfe", 1, NITF_BINARY), "uint"), "254");
    // Two-byte values are held in host order.
    EXPECT_EQ(typed(fields.make(hostBytes<uint16_t>(0xABCD), 2, NITF_BINARY), "uint"), "43981");
    // Four- and eight-byte values are held as the file has them: big-endian.
    EXPECT_EQ(typed(fields.make(std::string("\x01\x02\x03\x04", 4), 4, NITF_BINARY), "uint"),
              "16909060");
    EXPECT_EQ(typed(fields.make(std::string("\x00\x00\x00\x01\x00\x00\x00\x02", 8), 8, NITF_BINARY),
                    "uint"),
              "4294967298");
    EXPECT_EQ(typed(fields.make(std::string(8, '\xff'), 8, NITF_BINARY), "uint"),
              "18446744073709551615");
}

TEST(TypedFieldEncoder, RealOfEightBytesInShortestForm) {
    FieldStore fields;
    const auto bigEndian = [](double value) {
        uint64_t bits = std::bit_cast<uint64_t>(value);
        std::string bytes(8, '\0');
        for (int i = 7; i >= 0; --i) {
            bytes[static_cast<size_t>(i)] = static_cast<char>(bits & 0xFF);
            bits >>= 8;
        }
        return bytes;
    };
    EXPECT_EQ(typed(fields.make(bigEndian(1.5), 8, NITF_BINARY), "real"), "1.5");
    EXPECT_EQ(typed(fields.make(bigEndian(0.1), 8, NITF_BINARY), "real"), "0.1");
    EXPECT_EQ(typed(fields.make(bigEndian(-2.5e-300), 8, NITF_BINARY), "real"), "-2.5e-300");
}

TEST(TypedFieldEncoder, OtherCombinationsWriteNothing) {
    FieldStore fields;
    EXPECT_EQ(typed(fields.make(std::string(4, '\x01'), 4, NITF_BINARY), "real"), "");
    EXPECT_EQ(typed(fields.make(std::string(3, '\x01'), 3, NITF_BINARY), "uint"), "");
    EXPECT_EQ(typed(fields.make(std::string(4, '\x01'), 4, NITF_BINARY), "int"), "");
    EXPECT_EQ(typed(fields.make(std::string(4, '\x01'), 4, NITF_BINARY), "UINT"), "");
}

TEST(EncoderFilters, PassFilterAndNoFilterWriteAsTheyStand) {
    std::string out;
    NitroUtils::Encoder encoder{&out, NitroUtils::passFilter, false};
    encoder.write("<&>");
    encoder.put('\x01');
    encoder.filter = nullptr;
    encoder.write("\"");
    encoder.writeDirect("&");
    EXPECT_EQ(out, "<&>\x01\"&");
}

TEST(EncoderFilters, XMLReferencesForEveryByteOutsidePrintableASCII) {
    for (int byte = 0; byte < 256; ++byte) {
        std::string out;
        NitroUtils::Encoder encoder{&out, NitroUtils::xmlFilter, false};
        encoder.put(static_cast<char>(byte));
        if (byte >= 32 && byte <= 126) {
            EXPECT_TRUE(out.size() == 1 || out.front() == '&') << byte;
            continue;
        }
        const bool kept =
            byte == 0x09 || byte == 0x0A || byte == 0x0D || byte == 0x85 || byte >= 0xA0;
        char expected[16];
        std::snprintf(expected, sizeof(expected), "&#x%04X;", kept ? byte : 0x20);
        EXPECT_EQ(out, expected) << byte;
    }
}

TEST(EncoderFilters, JSONEscapesBytesAsSignedNumbers) {
    const auto json = [](char c) {
        std::string out;
        NitroUtils::Encoder encoder{&out, NitroUtils::jsonFilter, false};
        encoder.put(c);
        return out;
    };
    EXPECT_EQ(json('\xe9'), "\\u-017");
    EXPECT_EQ(json('\xff'), "\\u-001");
    EXPECT_EQ(json('\x80'), "\\u-080");
    EXPECT_EQ(json('\x1f'), "\\u001f");
    EXPECT_EQ(json('\0'), " ");
    EXPECT_EQ(json('/'), "/");
}

}  // namespace
