#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "tessel/file/NITFMemorySource.h"

namespace {

std::shared_ptr<const std::vector<uint8_t>> bytes(std::vector<uint8_t> values) {
    return std::make_shared<const std::vector<uint8_t>>(std::move(values));
}

TEST(NITFMemorySource, DeliversItsBytesInThePiecesAskedFor) {
    Tessel::NITFMemorySource source(bytes({1, 2, 3, 4, 5}));
    std::vector<std::string> messages;
    EXPECT_EQ(source.size(messages), 5);
    uint8_t first[2] = {};
    uint8_t rest[3] = {};
    ASSERT_TRUE(source.read(first, 2, messages));
    ASSERT_TRUE(source.read(rest, 3, messages));
    EXPECT_EQ(first[1], 2);
    EXPECT_EQ(rest[0], 3);
    EXPECT_EQ(rest[2], 5);
    EXPECT_TRUE(messages.empty());
}

TEST(NITFMemorySource, StartsAgainOnceEverythingWasDelivered) {
    Tessel::NITFMemorySource source(bytes({7, 8}));
    std::vector<std::string> messages;
    uint8_t out[2] = {};
    ASSERT_TRUE(source.read(out, 2, messages));
    out[0] = 0;
    ASSERT_TRUE(source.read(out, 2, messages));
    EXPECT_EQ(out[0], 7);
}

TEST(NITFMemorySource, AReadPastTheEndFailsWithAMessage) {
    Tessel::NITFMemorySource source(bytes({1, 2, 3}));
    std::vector<std::string> messages;
    uint8_t out[4] = {};
    uint8_t one = 0;
    ASSERT_TRUE(source.read(&one, 1, messages));
    EXPECT_FALSE(source.read(out, 4, messages));
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0], "read past the end of the buffer");
}

TEST(NITFMemorySource, NoBytesIsAnEmptySource) {
    Tessel::NITFMemorySource source(nullptr);
    std::vector<std::string> messages;
    EXPECT_EQ(source.size(messages), 0);
    EXPECT_TRUE(source.read(nullptr, 0, messages));
}

}  // namespace
