#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tessel/paths/StandardJson.h"

namespace {

TEST(StandardJsonEscapes, NegativeByteEscapeBecomesItsLatin1Character) {
    // 0xE9 written as the negative 8-bit value -0x17.
    const std::string fixed = Tessel::standardJsonEscapes(R"({"a":"caf\u-017"})");
    EXPECT_EQ(fixed, R"({"a":"caf\u00e9"})");
    const auto parsed = nlohmann::json::parse(fixed);
    EXPECT_EQ(parsed["a"].get<std::string>(), "caf\xC3\xA9");
}

TEST(StandardJsonEscapes, LowestByteValueIsEscapedToo) {
    EXPECT_EQ(Tessel::standardJsonEscapes(R"("\u-080")"), R"("\u0080")");
}

TEST(StandardJsonEscapes, EscapedBackslashBeforeUMinusStaysText) {
    EXPECT_EQ(Tessel::standardJsonEscapes(R"("\\u-017")"), R"("\\u-017")");
}

TEST(StandardJsonEscapes, OrdinaryEscapesAndTruncatedEscapesAreCopied) {
    EXPECT_EQ(Tessel::standardJsonEscapes(R"("\n\u0041")"), R"("\n\u0041")");
    EXPECT_EQ(Tessel::standardJsonEscapes(R"("\u-01)"), R"("\u-01)");
    EXPECT_EQ(Tessel::standardJsonEscapes("\\"), "\\");
}

TEST(StandardJsonEscapes, OutOfRangeMagnitudeIsLeftAlone) {
    EXPECT_EQ(Tessel::standardJsonEscapes(R"("\u-081x")"), R"("\u-081x")");
    EXPECT_EQ(Tessel::standardJsonEscapes(R"("\u-000x")"), R"("\u-000x")");
}

}  // namespace
