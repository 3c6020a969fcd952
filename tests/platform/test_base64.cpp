#include <gtest/gtest.h>

#include "tessel/platform/base/lumo_codec.h"

#include <string>
#include <vector>

using lumo_codec::base64_decode;
using lumo_codec::base64_encode;

namespace {

std::vector<uint8_t> bytesOf(std::string_view text) {
    return {text.begin(), text.end()};
}

}  // namespace

TEST(Base64, Rfc4648Vectors) {
    const std::pair<const char*, const char*> vectors[] = {
        {"", ""},
        {"f", "Zg=="},
        {"fo", "Zm8="},
        {"foo", "Zm9v"},
        {"foob", "Zm9vYg=="},
        {"fooba", "Zm9vYmE="},
        {"foobar", "Zm9vYmFy"},
    };
    for (const auto& [plain, encoded] : vectors) {
        EXPECT_EQ(base64_encode(plain), encoded);
        EXPECT_EQ(base64_decode(encoded), bytesOf(plain)) << encoded;
    }
}

TEST(Base64, RoundTripOfEveryShortLength) {
    for (size_t length = 0; length <= 10; ++length) {
        std::vector<uint8_t> bytes(length);
        for (size_t i = 0; i < length; ++i) {
            bytes[i] = static_cast<uint8_t>(0xF7 - 37 * i);
        }
        const std::string text = base64_encode(bytes.data(), bytes.size());
        EXPECT_EQ(text.size(), (length + 2) / 3 * 4);
        EXPECT_EQ(base64_decode(text), bytes) << length;
    }
}

TEST(Base64, RoundTripOfEveryByteValue) {
    std::vector<uint8_t> bytes(256);
    for (size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<uint8_t>(i);
    }
    const std::string text = base64_encode(bytes.data(), bytes.size());
    EXPECT_EQ(text.substr(0, 8), "AAECAwQF");
    EXPECT_EQ(text.substr(text.size() - 8), "/P3+/w==");
    EXPECT_EQ(base64_decode(text), bytes);
}

TEST(Base64, EncodesTheHighAlphabet) {
    const uint8_t bytes[] = {0xFB, 0xFF, 0xBF};
    EXPECT_EQ(base64_encode(bytes, sizeof bytes), "+/+/");
    EXPECT_EQ(base64_encode(std::string_view("\0\0\0", 3)), "AAAA");
}

TEST(Base64, MissingPaddingIsAccepted) {
    EXPECT_EQ(base64_decode("Zg"), bytesOf("f"));
    EXPECT_EQ(base64_decode("Zm8"), bytesOf("fo"));
    EXPECT_EQ(base64_decode("Zm9vYg"), bytesOf("foob"));
}

TEST(Base64, WhiteSpaceIsSkipped) {
    EXPECT_EQ(base64_decode(" Zm9v\r\nYmFy\n"), bytesOf("foobar"));
    EXPECT_EQ(base64_decode("Zm8=\n"), bytesOf("fo"));
    EXPECT_EQ(base64_decode("Zg= =\t"), bytesOf("f"));
}

TEST(Base64, BadCharactersAreRejected) {
    EXPECT_FALSE(base64_decode("Zm9v!mFy").has_value());
    EXPECT_FALSE(base64_decode("Zm9v-mFy").has_value());  // URL-safe alphabet
    EXPECT_FALSE(base64_decode("Zm9v_mFy").has_value());
    EXPECT_FALSE(base64_decode(std::string_view("Zm\0v", 4)).has_value());
    EXPECT_FALSE(base64_decode("Zm9v\xC3\xA9").has_value());
}

TEST(Base64, MisplacedOrExcessPaddingIsRejected) {
    EXPECT_FALSE(base64_decode("Zg=v").has_value());
    EXPECT_FALSE(base64_decode("Zm8=Zm8=").has_value());
    EXPECT_FALSE(base64_decode("Zg===").has_value());
    EXPECT_FALSE(base64_decode("Zg=").has_value());
    EXPECT_FALSE(base64_decode("Zm9v=").has_value());
    EXPECT_FALSE(base64_decode("=").has_value());
    EXPECT_FALSE(base64_decode("====").has_value());
}

TEST(Base64, ImpossibleLengthIsRejected) {
    EXPECT_FALSE(base64_decode("Z").has_value());
    EXPECT_FALSE(base64_decode("Zm9vY").has_value());
}

TEST(Base64, EmptyAndBlankTextDecodeToNoBytes) {
    EXPECT_EQ(base64_decode(""), std::vector<uint8_t>{});
    EXPECT_EQ(base64_decode(" \n"), std::vector<uint8_t>{});
}

TEST(Base64, UnusedLowBitsAreIgnored) {
    EXPECT_EQ(base64_decode("Zh=="), bytesOf("f"));
}
