#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <random>
#include <set>
#include <thread>
#include <vector>

#include "support/IOTesting.h"
#include "support/TestPaths.h"
#include "tessel/io/IOPool.h"
#include "tessel/io/NitroGdalIOInterface.h"
#include "tessel/platform/nitf.h"

using namespace Tessel;
using tessel_test::CountingSource;
using tessel_test::patternBytes;
using tessel_test::ScopedIOPool;
using tessel_test::TempFile;

namespace {

constexpr uint64_t kBlock = 64;
constexpr uint64_t kBlocks = 64;
constexpr uint64_t kLength = kBlock * kBlocks;

bool readyWithin(std::future<std::shared_ptr<IORequest>>& future,
                 std::chrono::milliseconds timeout) {
    return future.wait_for(timeout) == std::future_status::ready;
}

bool waitFor(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

// Many threads read random, overlapping ranges; each checks what it got and notes the
// blocks that it touched.
std::set<uint64_t> readOverlappingRanges(const std::function<std::shared_ptr<IOSource>()>& source,
                                         int threads, int readsPerThread, std::atomic<int>& wrong) {
    std::mutex mutex;
    std::set<uint64_t> touched;
    std::vector<std::thread> readers;
    for (int t = 0; t < threads; ++t) {
        readers.emplace_back([&, t] {
            std::mt19937_64 random(static_cast<uint64_t>(t) * 7919 + 1);
            std::set<uint64_t> mine;
            for (int i = 0; i < readsPerThread; ++i) {
                const uint64_t offset = random() % (kLength - 1);
                const uint64_t size =
                    1 + random() % std::min<uint64_t>(kLength - offset, 5 * kBlock);
                std::vector<uint8_t> bytes(size);
                IOPool::Read(source(), offset, size, bytes.data()).get();
                if (bytes != patternBytes(offset, size)) {
                    ++wrong;
                }
                for (uint64_t b = offset / kBlock; b <= (offset + size - 1) / kBlock; ++b) {
                    mine.insert(b);
                }
            }
            std::lock_guard lock(mutex);
            touched.insert(mine.begin(), mine.end());
        });
    }
    for (auto& reader : readers) {
        reader.join();
    }
    return touched;
}

}  // namespace

TEST(IOPoolConcurrency, OverlappingReadsFromManyThreadsReadEachBlockOnce) {
    ScopedIOPool pool(1000, kBlock, 4);
    const auto source = CountingSource::Make(L"/virtual/a.ntf", kLength);
    std::atomic<int> wrong{0};
    const auto touched = readOverlappingRanges([&] { return source; }, 8, 200, wrong);
    EXPECT_EQ(wrong.load(), 0);
    for (uint64_t block : touched) {
        EXPECT_EQ(source->readsOf(block), 1) << "block " << block;
    }
    EXPECT_EQ(static_cast<size_t>(source->totalReads()), touched.size());
    EXPECT_EQ(IOPool::GetMetrics().reads, touched.size());
}

TEST(IOPoolConcurrency, OverlappingReadsOfAFileReadEachBlockOnce) {
    ScopedIOPool pool(1000, kBlock, 4);
    TempFile file(kLength);
    std::atomic<int> wrong{0};
    // A new source for every read, as NITRO's interface makes them: blocks are found by key.
    const auto touched =
        readOverlappingRanges([&] { return IOSource::Create(file.uri()); }, 8, 100, wrong);
    EXPECT_EQ(wrong.load(), 0);
    const auto metrics = IOPool::GetMetrics();
    EXPECT_EQ(metrics.reads, touched.size());
    EXPECT_EQ(metrics.createdBlocks, touched.size());
}

TEST(IOPoolConcurrency, ForegroundCallersWaitingOnOneBlockReadItOnce) {
    ScopedIOPool pool(1000, kBlock, 1);
    const auto source = CountingSource::Make(L"/virtual/a.ntf", kLength);
    source->holdBlock(5);
    std::atomic<int> wrong{0};
    std::vector<std::thread> callers;
    for (int t = 0; t < 6; ++t) {
        callers.emplace_back([&, t] {
            std::vector<uint8_t> bytes(10);
            IOPool::Read(source, 5 * kBlock + t, 10, bytes.data()).get();
            if (bytes != patternBytes(5 * kBlock + t, 10)) {
                ++wrong;
            }
        });
    }
    ASSERT_TRUE(source->waitUntilHeld());
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    source->open();
    for (auto& caller : callers) {
        caller.join();
    }
    EXPECT_EQ(wrong.load(), 0);
    EXPECT_EQ(source->readsOf(5), 1);
    EXPECT_EQ(IOPool::GetMetrics().reads, 1u);
}

TEST(IOPoolConcurrency, WorkerWaitingOnABlockRunsOtherTasks) {
    ScopedIOPool pool(1000, kBlock, 2);
    ASSERT_EQ(pool.num_threads(), 2u);
    const auto source = CountingSource::Make(L"/virtual/a.ntf", kLength);
    source->holdBlock(0);
    std::vector<uint8_t> a(2 * kBlock), b(3 * kBlock), c(2 * kBlock);

    // One worker is held in the read of block 0; the other reads block 1.
    auto first = IOPool::Read(source, 0, a.size(), a.data());
    ASSERT_TRUE(source->waitUntilHeld());
    ASSERT_TRUE(waitFor([&] { return source->readsOf(1) == 1; }));
    // The free worker takes block 0 of this request and waits for its lock...
    auto second = IOPool::Read(source, 0, b.size(), b.data());
    // ...and, while it waits, runs the tasks that come in after.
    auto third = IOPool::Read(source, 3 * kBlock, c.size(), c.data());
    const bool thirdDone = readyWithin(third, std::chrono::seconds(20));
    const bool firstWaiting = !readyWithin(first, std::chrono::milliseconds(0));
    source->open();
    EXPECT_TRUE(thirdDone);
    EXPECT_TRUE(firstWaiting);
    first.get();
    second.get();
    third.get();
    EXPECT_EQ(a, patternBytes(0, a.size()));
    EXPECT_EQ(b, patternBytes(0, b.size()));
    EXPECT_EQ(c, patternBytes(3 * kBlock, c.size()));
    const auto readers = source->readerOf();
    EXPECT_NE(readers.at(3), readers.at(0));
    EXPECT_EQ(readers.at(3), readers.at(2));
    EXPECT_EQ(source->totalReads(), 5);
}

TEST(IOPoolConcurrency, DroppedRequestIsFinishedByTheWorkers) {
    ScopedIOPool pool(1000, kBlock, 2);
    const auto source = CountingSource::Make(L"/virtual/a.ntf", kLength);
    IOPool::Read(source, 0, 10 * kBlock, nullptr);  // the future goes at once
    EXPECT_TRUE(waitFor([] { return IOPool::GetMetrics().cachedBytes == 10 * kBlock; }));
    EXPECT_EQ(source->totalReads(), 10);
}

TEST(IOPoolConcurrency, ClearsDuringReadsKeepDataRight) {
    ScopedIOPool pool(16, kBlock, 4);
    const auto source = CountingSource::Make(L"/virtual/a.ntf", kLength);
    std::atomic<bool> stop{false};
    std::thread clearer([&] {
        while (!stop.load()) {
            IOPool::Clear(L"");
            IOPool::Clear(L"/virtual/a.ntf");
            IOPool::GetMetrics();
            std::this_thread::yield();
        }
    });
    std::atomic<int> wrong{0};
    readOverlappingRanges([&] { return source; }, 6, 100, wrong);
    stop.store(true);
    clearer.join();
    EXPECT_EQ(wrong.load(), 0);
    EXPECT_LE(IOPool::GetMetrics().cachedBlocks, 16u);
}

TEST(IOPoolConcurrency, InterfacesOnManyThreadsParseOneFile) {
    ScopedIOPool pool(1000, 4096, 4);
    const NITFURI uri{std::string_view(TESSEL_SAMPLE_FILE)};
    std::atomic<int> failures{0};
    std::vector<std::thread> parsers;
    for (int t = 0; t < 6; ++t) {
        parsers.emplace_back([&] {
            for (int i = 0; i < 5; ++i) {
                nrt_Error error{};
                nrt_IOInterface* io =
                    NitroGdalIOInterface::Create(uri, NRT_ACCESS_READONLY, &error);
                nitf_Reader* reader = nitf_Reader_construct(&error);
                nitf_Record* record = io ? nitf_Reader_readIO(reader, io, &error) : nullptr;
                if (record == nullptr || nitf_Record_getNumImages(record, &error) == 0) {
                    ++failures;
                }
                nitf_Record_destruct(&record);
                nitf_Reader_destruct(&reader);
                nrt_IOInterface_destruct(&io);
            }
        });
    }
    for (auto& parser : parsers) {
        parser.join();
    }
    EXPECT_EQ(failures.load(), 0);
}
