#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <future>
#include <thread>

#include "support/IOTesting.h"
#include "tessel/io/IOPool.h"
#include "tessel/io/IOSource.h"

using namespace Tessel;
using tessel_test::CountingSource;
using tessel_test::patternBytes;
using tessel_test::ScopedIOPool;
using tessel_test::TempFile;

namespace {

// A foreground context that counts the locks it was asked to take.
class CountingContext : public lumo_concurrency::execution_context {
public:
    void acquire(std::unique_lock<std::mutex>& lock) override {
        ++acquired;
        lock.lock();
    }
    int acquired = 0;
};

std::vector<uint8_t> readAll(const std::shared_ptr<IOSource>& source, size_t offset, size_t size) {
    std::vector<uint8_t> bytes(size, 0xAA);
    IOPool::Read(source, offset, size, bytes.data()).get();
    return bytes;
}

}  // namespace

TEST(IOSource, SourceTakesCacheKeyAndPoolBlockSize) {
    ScopedIOPool pool(10, 64);
    const auto source = IOSource::Create(NITFURI(L"/data/a.ntf/Default#IM_2"));
    ASSERT_NE(source, nullptr);
    EXPECT_EQ(source->key(), L"/data/a.ntf");
    EXPECT_EQ(source->blockSize(), 64u);
    EXPECT_EQ(source->uri().getOriginalURI(), L"/data/a.ntf/Default#IM_2");
}

TEST(IOSource, BlockSizeIsFixedWhenTheSourceIsMade) {
    ScopedIOPool pool(10, 64);
    const auto before = IOSource::Create(NITFURI(L"/data/a.ntf"));
    IOPool::SetDefaultBlockSize(128);
    const auto after = IOSource::Create(NITFURI(L"/data/a.ntf"));
    EXPECT_EQ(before->blockSize(), 64u);
    EXPECT_EQ(after->blockSize(), 128u);
    EXPECT_EQ(IOPool::DefaultBlockSize(), 128u);
    IOPool::SetDefaultBlockSize(0);  // refused
    EXPECT_EQ(IOPool::DefaultBlockSize(), 128u);
}

TEST(IOSource, CreatingASourceTouchesNoFile) {
    ScopedIOPool pool(10, 64);
    const auto source = IOSource::Create(NITFURI(L"/no/such/folder/missing.ntf"));
    ASSERT_NE(source, nullptr);
    EXPECT_EQ(IOPool::GetMetrics().reads, 0u);
}

TEST(IOSource, ReadAcrossBlockBorderMakesTwoSegments) {
    ScopedIOPool pool(10, 16);
    const auto source = CountingSource::Make(L"/virtual/a.ntf", 100);
    const auto request = source->CreateRequest(10, 10, nullptr);
    ASSERT_EQ(request->segments.size(), 2u);
    EXPECT_EQ(request->segments[0].destinationOffset, 0u);
    EXPECT_EQ(request->segments[0].length, 6u);
    EXPECT_EQ(request->segments[0].blockOffset, 10u);
    EXPECT_EQ(request->segments[0].block->index, 0u);
    EXPECT_EQ(request->segments[1].destinationOffset, 6u);
    EXPECT_EQ(request->segments[1].length, 4u);
    EXPECT_EQ(request->segments[1].blockOffset, 0u);
    EXPECT_EQ(request->segments[1].block->index, 1u);
    EXPECT_EQ(request->segments[1].block->offset, 16u);
    EXPECT_EQ(request->segments[1].block->size, 16u);
    EXPECT_EQ(request->pending.load(), 10u);
    EXPECT_EQ(request->offset, 10u);
    EXPECT_EQ(request->size, 10u);
}

TEST(IOSource, EmptyRequestHasNoSegments) {
    ScopedIOPool pool(10, 16);
    const auto source = CountingSource::Make(L"/virtual/a.ntf", 100);
    const auto request = source->CreateRequest(5, 0, nullptr);
    EXPECT_TRUE(request->segments.empty());
    EXPECT_EQ(IOPool::GetMetrics().createdBlocks, 0u);
}

TEST(IOSource, RequestsShareBlocksByKeyAndIndex) {
    ScopedIOPool pool(10, 16);
    const auto one = CountingSource::Make(L"/virtual/a.ntf#IM_1", 100);
    const auto two = CountingSource::Make(L"/virtual/a.ntf/Default", 100);
    const auto first = one->CreateRequest(0, 4, nullptr);
    const auto second = two->CreateRequest(8, 4, nullptr);
    ASSERT_EQ(first->segments.size(), 1u);
    ASSERT_EQ(second->segments.size(), 1u);
    EXPECT_EQ(first->segments[0].block, second->segments[0].block);
}

TEST(IOSource, TwoRequestsForOneBlockOnTwoThreadsReadOnce) {
    ScopedIOPool pool(10, 16);
    const auto source = CountingSource::Make(L"/virtual/a.ntf", 100);
    source->holdBlock(2);
    std::vector<uint8_t> first(16), second(16);
    std::thread one([&] { IOPool::Read(source, 32, 16, first.data()).get(); });
    ASSERT_TRUE(source->waitUntilHeld());
    // The second request finds the block unfinished and waits on its lock.
    std::thread two([&] { IOPool::Read(source, 32, 16, second.data()).get(); });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    source->open();
    one.join();
    two.join();
    EXPECT_EQ(source->readsOf(2), 1);
    EXPECT_EQ(IOPool::GetMetrics().reads, 1u);
    EXPECT_EQ(first, patternBytes(32, 16));
    EXPECT_EQ(second, patternBytes(32, 16));
}

TEST(IOSource, FinishedBlockReturnsWithoutTakingItsLock) {
    ScopedIOPool pool(10, 16);
    const auto source = CountingSource::Make(L"/virtual/a.ntf", 100);
    IOBlock block(1, 16, 16);
    NITFMessages messages;
    CountingContext context;
    EXPECT_TRUE(source->Read(block, messages, context));
    EXPECT_EQ(context.acquired, 1);
    // Held by this thread: a second lock would deadlock rather than pass.
    std::lock_guard held(block.lock);
    EXPECT_TRUE(source->Read(block, messages, context));
    EXPECT_EQ(context.acquired, 1);
    EXPECT_EQ(source->readsOf(1), 1);
}

TEST(IOSource, FailedBlockStaysFailedAndIsNotRetried) {
    ScopedIOPool pool(10, 16);
    const auto source = CountingSource::Make(L"/virtual/a.ntf", 10);
    IOBlock block(5, 80, 16);
    NITFMessages messages;
    lumo_concurrency::execution_context_fg context;
    EXPECT_FALSE(source->Read(block, messages, context));
    EXPECT_FALSE(source->Read(block, messages, context));
    EXPECT_TRUE(block.done.load());
    EXPECT_FALSE(block.ok.load());
    EXPECT_EQ(source->readsOf(5), 1);
    EXPECT_EQ(messages, NITFMessages{"Read Error"});
}

TEST(IOSource, ReadCountsReadsBytesAndTime) {
    ScopedIOPool pool(10, 16);
    const auto source = CountingSource::Make(L"/virtual/a.ntf", 100);
    IOBlock block(0, 0, 16);
    NITFMessages messages;
    lumo_concurrency::execution_context_fg context;
    ASSERT_TRUE(source->Read(block, messages, context));
    const auto metrics = IOPool::GetMetrics();
    EXPECT_EQ(metrics.reads, 1u);
    EXPECT_EQ(metrics.bytes, 16u);
    EXPECT_GT(metrics.readTime, 0u);
}

namespace {

class ThrowingSource : public IOSource {
public:
    explicit ThrowingSource(bool standard)
        : IOSource(NITFURI(L"/virtual/t.ntf")), standard_(standard) {}

protected:
    bool read(IOBlock&, NITFMessages&) const override {
        if (standard_) {
            throw std::runtime_error("disk on fire");
        }
        throw 42;
    }

private:
    bool standard_;
};

}  // namespace

TEST(IOSource, StandardExceptionFailsTheBlockWithItsText) {
    ScopedIOPool pool(10, 16);
    ThrowingSource source(true);
    IOBlock block(0, 0, 16);
    NITFMessages messages;
    lumo_concurrency::execution_context_fg context;
    EXPECT_FALSE(source.Read(block, messages, context));
    EXPECT_TRUE(block.done.load());
    EXPECT_EQ(messages, NITFMessages{"disk on fire"});
}

TEST(IOSource, OtherExceptionPassesWithLockReleasedAndFlagsUnset) {
    ScopedIOPool pool(10, 16);
    ThrowingSource source(false);
    IOBlock block(0, 0, 16);
    NITFMessages messages;
    lumo_concurrency::execution_context_fg context;
    EXPECT_THROW(source.Read(block, messages, context), int);
    EXPECT_FALSE(block.done.load());
    EXPECT_FALSE(block.ok.load());
    EXPECT_TRUE(block.lock.try_lock());
    block.lock.unlock();
}

TEST(IOSource, FileSourceReadsABlock) {
    ScopedIOPool pool(10, 64);
    TempFile file(200);
    const auto source = IOSource::Create(file.uri());
    IOBlock block(1, 64, 64);
    NITFMessages messages;
    lumo_concurrency::execution_context_fg context;
    ASSERT_TRUE(source->Read(block, messages, context));
    EXPECT_EQ(std::vector<uint8_t>(block.data.begin(), block.data.end()), patternBytes(64, 64));
    EXPECT_TRUE(messages.empty());
}

TEST(IOSource, BlockOfSizeZeroReadsToTheEndOfTheFile) {
    ScopedIOPool pool(10, 64);
    TempFile file(1000);
    const auto source = IOSource::Create(file.uri());
    IOBlock block(0, 300, 0);
    NITFMessages messages;
    lumo_concurrency::execution_context_fg context;
    ASSERT_TRUE(source->Read(block, messages, context));
    EXPECT_EQ(block.data.size(), 700u);
    EXPECT_EQ(std::vector<uint8_t>(block.data.begin(), block.data.end()), patternBytes(300, 700));
}

TEST(IOSource, FinalShortBlockSucceedsWithShortData) {
    ScopedIOPool pool(10, 64);
    TempFile file(100);
    const auto source = IOSource::Create(file.uri());
    IOBlock block(1, 64, 64);
    NITFMessages messages;
    lumo_concurrency::execution_context_fg context;
    ASSERT_TRUE(source->Read(block, messages, context));
    EXPECT_EQ(std::vector<uint8_t>(block.data.begin(), block.data.end()), patternBytes(64, 36));
}

TEST(IOSource, BlockAtOrPastTheEndIsAReadError) {
    ScopedIOPool pool(10, 64);
    TempFile file(128);
    const auto source = IOSource::Create(file.uri());
    IOBlock block(2, 128, 64);
    NITFMessages messages;
    lumo_concurrency::execution_context_fg context;
    EXPECT_FALSE(source->Read(block, messages, context));
    EXPECT_EQ(messages, NITFMessages{"Read Error"});
    EXPECT_TRUE(block.data.empty());
}

TEST(IOSource, MissingFileIsAReadError) {
    ScopedIOPool pool(10, 64);
    const auto source = IOSource::Create(NITFURI(L"/no/such/folder/missing.ntf"));
    IOBlock block(0, 0, 64);
    NITFMessages messages;
    lumo_concurrency::execution_context_fg context;
    EXPECT_FALSE(source->Read(block, messages, context));
    EXPECT_EQ(messages, NITFMessages{"Read Error"});
}

TEST(IOSource, NullDestinationReadsAndCachesBlocksWithoutDelivering) {
    ScopedIOPool pool(10, 16);
    const auto source = CountingSource::Make(L"/virtual/a.ntf", 100);
    const auto request = IOPool::Read(source, 0, 48, nullptr).get();
    EXPECT_EQ(request->destination, nullptr);
    EXPECT_EQ(source->totalReads(), 3);
    const auto metrics = IOPool::GetMetrics();
    EXPECT_EQ(metrics.cachedBlocks, 3u);
    EXPECT_EQ(metrics.cachedBytes, 48u);
    // The fetched blocks then serve a read at once.
    EXPECT_EQ(readAll(source, 4, 40), patternBytes(4, 40));
    EXPECT_EQ(source->totalReads(), 3);
}

TEST(IOSource, BlockPastTheEndFailsItsFirstRequestAndThenDeliversZeros) {
    ScopedIOPool pool(10, 16);
    TempFile file(40);
    const auto source = IOSource::Create(file.uri());
    std::vector<uint8_t> bytes(16, 0xAA);
    auto first = IOPool::Read(source, 48, 16, bytes.data());
    EXPECT_THROW(first.get(), std::exception);
    // Now finished (and failed) before the request: no error, and the bytes are zero.
    const auto request = IOPool::Read(source, 48, 16, bytes.data()).get();
    EXPECT_TRUE(request->segments.empty());
    EXPECT_EQ(bytes, std::vector<uint8_t>(16, 0));
}

TEST(IOSource, FinishedShortBlockDeliversItsBytesAndZerosBeyond) {
    ScopedIOPool pool(10, 16);
    TempFile file(40);  // block 2 holds 8 bytes
    const auto source = IOSource::Create(file.uri());
    IOPool::Read(source, 32, 4, nullptr).get();
    // Six bytes from inside the block: within its data's size, but past the file's end.
    std::vector<uint8_t> bytes(6, 0xAA);
    const auto request = IOPool::Read(source, 36, 6, bytes.data()).get();
    EXPECT_TRUE(request->segments.empty());
    std::vector<uint8_t> expected = patternBytes(36, 4);
    expected.resize(6, 0);
    EXPECT_EQ(bytes, expected);
}

TEST(IOSource, FinishedBlockShorterThanTheLengthDeliversZeros) {
    ScopedIOPool pool(10, 16);
    TempFile file(40);  // block 2 holds 8 bytes
    const auto source = IOSource::Create(file.uri());
    IOPool::Read(source, 32, 4, nullptr).get();
    std::vector<uint8_t> bytes(12, 0xAA);
    IOPool::Read(source, 32, 12, bytes.data()).get();
    EXPECT_EQ(bytes, std::vector<uint8_t>(12, 0));
}
