#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "tessel/file/BlockCache.h"

using Tessel::BlockCache;

TEST(BlockCache, HoldsWhatWasAdded) {
    BlockCache cache;
    EXPECT_FALSE(cache.hasBlock("DES/0"));
    cache.addBlock("DES/0", std::string("body\0with a zero", 16));
    EXPECT_TRUE(cache.hasBlock("DES/0"));
    EXPECT_EQ(cache.getBlock("DES/0"), std::string("body\0with a zero", 16));
}

TEST(BlockCache, MissingKeyThrowsLogicError) {
    const BlockCache cache;
    try {
        cache.getBlock("TEXT/1");
        FAIL() << "a missing key must throw";
    } catch (const std::logic_error& error) {
        EXPECT_STREQ(error.what(), "use hasBlock() first");
    }
}

TEST(BlockCache, SecondAddOfAKeyKeepsTheFirstData) {
    BlockCache cache;
    cache.addBlock("k", "first");
    const std::string& kept = cache.getBlock("k");
    cache.addBlock("k", "second");
    EXPECT_EQ(cache.getBlock("k"), "first");
    EXPECT_EQ(&kept, &cache.getBlock("k"));
}
