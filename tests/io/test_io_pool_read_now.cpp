// IOPool::ReadNow: a read and its wait in one call, copied on the spot when finished blocks
// hold the whole range.

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

#include "support/IOTesting.h"
#include "tessel/io/IOPool.h"
#include "tessel/io/IORequest.h"
#include "tessel/io/IOSource.h"

using namespace Tessel;
using tessel_test::patternBytes;
using tessel_test::ScopedIOPool;
using tessel_test::TempFile;

TEST(IOPoolReadNow, ReadsBlocksNotYetInTheTable) {
    ScopedIOPool pool(10, 64, 2);
    TempFile file(1000);
    std::vector<uint8_t> out(300);
    const auto request = IOPool::ReadNow(IOPool::Open(file.uri()), 100, out.size(), out.data());
    ASSERT_TRUE(request);
    EXPECT_EQ(request->size, out.size());
    EXPECT_EQ(out, patternBytes(100, 300));
    // Blocks 1 to 6 of 64 bytes.
    EXPECT_EQ(IOPool::GetMetrics().reads, 6U);
}

TEST(IOPoolReadNow, RangeInFinishedBlocksIsCopiedWithoutReadingAgain) {
    ScopedIOPool pool(10, 64, 2);
    TempFile file(1000);
    const auto source = IOPool::Open(file.uri());
    std::vector<uint8_t> first(128);
    IOPool::ReadNow(source, 0, first.size(), first.data());
    const uint64_t reads = IOPool::GetMetrics().reads;
    for (size_t offset = 0; offset + 7 <= 128; offset += 7) {
        std::vector<uint8_t> small(7);
        const auto request = IOPool::ReadNow(source, offset, small.size(), small.data());
        ASSERT_TRUE(request);
        EXPECT_EQ(small, patternBytes(offset, 7)) << offset;
    }
    EXPECT_EQ(IOPool::GetMetrics().reads, reads);
}

TEST(IOPoolReadNow, BlockThatCannotBeReadThrowsReadFailed) {
    ScopedIOPool pool(10, 256, 2);
    TempFile file(512);
    std::vector<uint8_t> out(16);
    try {
        IOPool::ReadNow(IOPool::Open(file.uri()), 600, out.size(), out.data());
        FAIL() << "no exception";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "Read Failed");
    }
}

TEST(IOPoolReadNow, NoSourceThrowsReadFailed) {
    std::vector<uint8_t> out(4);
    EXPECT_THROW(IOPool::ReadNow(nullptr, 0, out.size(), out.data()), std::runtime_error);
}
