#include <gtest/gtest.h>

#include <pthread.h>

#include <atomic>
#include <chrono>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "support/IOTesting.h"
#include "tessel/core/Options.h"
#include "tessel/io/IOPool.h"
#include "tessel/platform/base/nitf_log.h"

using namespace Tessel;
using tessel_test::CountingSource;
using tessel_test::patternBytes;
using tessel_test::ScopedIOPool;
using tessel_test::TempFile;

namespace {

bool isReady(const std::future<std::shared_ptr<IORequest>>& future) {
    return future.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

std::string failureText(std::future<std::shared_ptr<IORequest>>& future) {
    try {
        future.get();
    } catch (const std::exception& e) {
        return e.what();
    }
    return "no failure";
}

// Collects the log lines written while it lives, with the threshold at information.
class LogCapture {
public:
    LogCapture() : threshold_(nitf_log::threshold()) {
        nitf_log::set_threshold(nitf_log::info);
        nitf_log::set_sink([this](int, std::string_view line) {
            std::lock_guard lock(mutex_);
            lines_.emplace_back(line);
        });
    }
    ~LogCapture() {
        nitf_log::set_sink({});
        nitf_log::set_threshold(threshold_);
    }
    std::vector<std::string> lines() const {
        std::lock_guard lock(mutex_);
        return lines_;
    }

private:
    int threshold_;
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
};

}  // namespace

TEST(IOPool, ReadInsideAFinishedBlockCompletesWithoutATask) {
    ScopedIOPool pool(10, 64, 4);
    const auto source = CountingSource::Make(L"/virtual/a.ntf", 1000);
    IOPool::Read(source, 0, 10, nullptr).get();
    std::vector<uint8_t> bytes(20);
    auto future = IOPool::Read(source, 5, 20, bytes.data());
    EXPECT_TRUE(isReady(future));
    const auto request = future.get();
    EXPECT_TRUE(request->segments.empty());
    EXPECT_EQ(request->pending.load(), 0u);
    EXPECT_EQ(bytes, patternBytes(5, 20));
    EXPECT_EQ(IOPool::GetMetrics().reads, 1u);
}

TEST(IOPool, ReadOfExactlyOneBlockRunsOnTheCallingThread) {
    ScopedIOPool pool(10, 64, 4);
    ASSERT_GT(pool.num_threads(), 1u);
    const auto source = CountingSource::Make(L"/virtual/a.ntf", 1000);
    std::vector<uint8_t> bytes(10);
    auto future = IOPool::Read(source, 200, 10, bytes.data());
    EXPECT_TRUE(isReady(future));
    EXPECT_EQ(source->readerOf().at(3), std::this_thread::get_id());
    EXPECT_EQ(future.get()->size, 10u);
    EXPECT_EQ(bytes, patternBytes(200, 10));
}

TEST(IOPool, ReadOfSeveralBlocksRunsOnTheWorkers) {
    ScopedIOPool pool(10, 64, 4);
    const auto source = CountingSource::Make(L"/virtual/a.ntf", 1000);
    std::vector<uint8_t> bytes(300);
    IOPool::Read(source, 10, 300, bytes.data()).get();
    EXPECT_EQ(bytes, patternBytes(10, 300));
    EXPECT_EQ(source->totalReads(), 5);
    EXPECT_EQ(source->readers().count(std::this_thread::get_id()), 0u);
}

TEST(IOPool, AwaitingAReadRunsItsQueuedBlocksOnTheCaller) {
    ScopedIOPool pool(10, 64, 2);
    ASSERT_EQ(pool.num_threads(), 2u);
    // Both workers wait for the test, so the blocks can only be read by the waiter.
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    std::atomic<int> holding{0};
    auto busy = pool.queue_tasks([&] {
        IOPool::task_list tasks;
        for (int id = 0; id < 2; ++id) {
            tasks.emplace_back(id, IOPool::task_type([&holding, &released](auto&) {
                                   ++holding;
                                   released.wait();
                               }));
        }
        return tasks;
    });
    while (holding.load() < 2) {
        std::this_thread::yield();
    }
    const auto source = CountingSource::Make(L"/virtual/a.ntf", 1000);
    std::vector<uint8_t> bytes(300);
    auto future = IOPool::Read(source, 10, 300, bytes.data());
    const auto request = IOPool::Await(future);
    EXPECT_EQ(request->size, 300u);
    EXPECT_EQ(bytes, patternBytes(10, 300));
    EXPECT_EQ(source->readers(), std::set<std::thread::id>{std::this_thread::get_id()});
    release.set_value();
    pool.cancel_all(busy);
}

TEST(IOPool, AwaitingAFailedReadThrowsItsFailure) {
    ScopedIOPool pool(10, 16, 2);
    TempFile file(40);
    auto future = IOPool::Read(IOSource::Create(file.uri()), 0, 128, nullptr);
    try {
        IOPool::Await(future);
        ADD_FAILURE() << "a read past the end succeeded";
    } catch (const std::exception& e) {
        EXPECT_STREQ(e.what(), "Read Failed");
    }
}

TEST(IOPool, WorkersCarryTheServiceName) {
    ScopedIOPool pool(10, 64, 2);
    const auto source = CountingSource::Make(L"/virtual/a.ntf", 1000);
    std::promise<std::string> name;
    auto named = name.get_future();
    pool.queue_tasks([&] {
        IOPool::task_list tasks;
        for (int id = 0; id < 2; ++id) {
            tasks.emplace_back(id, IOPool::task_type([&name, id](auto&) {
                                   if (id == 0) {
                                       char text[32] = {};
                                       pthread_getname_np(pthread_self(), text, sizeof(text));
                                       name.set_value(text);
                                   }
                               }));
        }
        return tasks;
    });
    EXPECT_EQ(named.get(), "NITF IOPool Ser");  // thread names are cut to 15 bytes
    EXPECT_EQ(pool.pool_name(), "NITF IO POOL");
    EXPECT_EQ(pool.thread_name(), L"NITF IOPool Service");
}

TEST(IOPool, WithoutWorkersSeveralBlocksRunOnTheCaller) {
    ScopedIOPool pool(10, 64, 1);
    EXPECT_EQ(pool.num_threads(), 0u);
    const auto source = CountingSource::Make(L"/virtual/a.ntf", 1000);
    std::vector<uint8_t> bytes(300);
    auto future = IOPool::Read(source, 10, 300, bytes.data());
    EXPECT_TRUE(isReady(future));
    future.get();
    EXPECT_EQ(source->readers(), std::set<std::thread::id>{std::this_thread::get_id()});
    EXPECT_EQ(bytes, patternBytes(10, 300));
}

TEST(IOPool, CacheOfOneBlockRereadsAlternatingBlocks) {
    ScopedIOPool pool(1, 64);
    const auto source = CountingSource::Make(L"/virtual/a.ntf", 1000);
    std::vector<uint8_t> bytes(8);
    for (int round = 1; round <= 3; ++round) {
        IOPool::Read(source, 0, 8, bytes.data()).get();
        IOPool::Read(source, 64, 8, bytes.data()).get();
        const auto metrics = IOPool::GetMetrics();
        EXPECT_EQ(metrics.reads, 2u * round);
        EXPECT_EQ(metrics.createdBlocks, 2u * round);
        EXPECT_EQ(metrics.cachedBlocks, 1u);
    }
    EXPECT_EQ(bytes, patternBytes(64, 8));
}

TEST(IOPool, LeastRecentlyUsedBlockGoesFirst) {
    ScopedIOPool pool(2, 64);
    const auto source = CountingSource::Make(L"/virtual/a.ntf", 1000);
    IOPool::Read(source, 0, 8, nullptr).get();    // block 0
    IOPool::Read(source, 64, 8, nullptr).get();   // block 1
    IOPool::Read(source, 0, 8, nullptr).get();    // block 0 again: now the most recent
    IOPool::Read(source, 128, 8, nullptr).get();  // block 2 evicts block 1
    EXPECT_EQ(source->totalReads(), 3);
    IOPool::Read(source, 0, 8, nullptr).get();
    EXPECT_EQ(source->readsOf(0), 1);
    IOPool::Read(source, 64, 8, nullptr).get();
    EXPECT_EQ(source->readsOf(1), 2);
}

TEST(IOPool, CacheOfZeroBlocksStillDelivers) {
    ScopedIOPool pool(0, 64);
    const auto source = CountingSource::Make(L"/virtual/a.ntf", 1000);
    std::vector<uint8_t> bytes(200);
    IOPool::Read(source, 0, 200, bytes.data()).get();
    EXPECT_EQ(bytes, patternBytes(0, 200));
    EXPECT_EQ(IOPool::GetMetrics().cachedBlocks, 0u);
    IOPool::Read(source, 0, 200, bytes.data()).get();
    EXPECT_EQ(source->totalReads(), 8);
}

TEST(IOPool, ClearOfEmptyTextResetsCountsButKeepsCreated) {
    ScopedIOPool pool(10, 64);
    const auto source = CountingSource::Make(L"/virtual/a.ntf", 1000);
    IOPool::Read(source, 0, 300, nullptr).get();
    const auto before = IOPool::GetMetrics();
    EXPECT_EQ(before.reads, 5u);
    EXPECT_EQ(before.bytes, 320u);
    EXPECT_EQ(before.cachedBlocks, 5u);
    EXPECT_EQ(before.cachedBytes, 320u);
    EXPECT_EQ(before.createdBlocks, 5u);
    IOPool::Clear(L"");
    const auto after = IOPool::GetMetrics();
    EXPECT_EQ(after.reads, 0u);
    EXPECT_EQ(after.bytes, 0u);
    EXPECT_EQ(after.cachedBlocks, 0u);
    EXPECT_EQ(after.cachedBytes, 0u);
    EXPECT_EQ(after.createdBlocks, 5u);
    EXPECT_EQ(after.readTime, before.readTime);
}

TEST(IOPool, ClearOfAUriRemovesBlocksZeroToNineAndKeepsBlockTen) {
    ScopedIOPool pool(100, 4);
    TempFile file(44);
    const auto source = IOSource::Create(file.uri());
    const auto other = CountingSource::Make(L"/virtual/other.ntf", 100);
    IOPool::Read(source, 0, 44, nullptr).get();
    IOPool::Read(other, 0, 4, nullptr).get();
    EXPECT_EQ(IOPool::GetMetrics().cachedBlocks, 12u);
    IOPool::Clear(file.path().wstring());
    EXPECT_EQ(IOPool::GetMetrics().cachedBlocks, 2u);
    const uint64_t reads = IOPool::GetMetrics().reads;
    IOPool::Read(source, 40, 4, nullptr).get();  // block 10 is still there
    EXPECT_EQ(IOPool::GetMetrics().reads, reads);
    IOPool::Read(source, 0, 4, nullptr).get();  // block 0 is read again
    EXPECT_EQ(IOPool::GetMetrics().reads, reads + 1);
    EXPECT_EQ(other->totalReads(), 1);
}

TEST(IOPool, ClearWithBackslashesActsLikeForwardSlashes) {
    for (const std::wstring text : {L"C:\\x\\a.ntf", L"C:/x/a.ntf"}) {
        ScopedIOPool pool(100, 16);
        const auto source = CountingSource::Make(L"C:\\x\\a.ntf", 1000);
        const auto other = CountingSource::Make(L"C:/x/b.ntf", 1000);
        IOPool::Read(source, 0, 64, nullptr).get();
        IOPool::Read(other, 0, 16, nullptr).get();
        EXPECT_EQ(IOPool::GetMetrics().cachedBlocks, 5u);
        IOPool::Clear(text);
        EXPECT_EQ(IOPool::GetMetrics().cachedBlocks, 1u) << std::string(text.begin(), text.end());
    }
}

TEST(IOPool, RequestOverTheEndDeliversWhatExistsAndFails) {
    ScopedIOPool pool(10, 16, 1);  // tasks run in order on this thread
    TempFile file(40);
    const auto source = IOSource::Create(file.uri());
    std::vector<uint8_t> bytes(64, 0xAA);
    auto future = IOPool::Read(source, 0, 64, bytes.data());
    EXPECT_EQ(failureText(future), "Read Failed");
    EXPECT_EQ(std::vector<uint8_t>(bytes.begin(), bytes.begin() + 40), patternBytes(0, 40));
    // The short block 2 delivers zeros past the end of the file; block 3 delivered nothing.
    EXPECT_EQ(std::vector<uint8_t>(bytes.begin() + 40, bytes.begin() + 48),
              std::vector<uint8_t>(8, 0));
    EXPECT_EQ(std::vector<uint8_t>(bytes.begin() + 48, bytes.end()),
              std::vector<uint8_t>(16, 0xAA));
}

TEST(IOPool, RequestOverTheEndFailsOnWorkersToo) {
    ScopedIOPool pool(10, 16, 4);
    TempFile file(40);
    const auto source = IOSource::Create(file.uri());
    // No destination: tasks that go on after the failure write nowhere.
    auto future = IOPool::Read(source, 0, 128, nullptr);
    EXPECT_EQ(failureText(future), "Read Failed");
}

TEST(IOPool, ReadOfAMissingFileFails) {
    ScopedIOPool pool(10, 64);
    auto future = IOPool::Read(NITFURI(L"/no/such/folder/missing.ntf"), 0, 10, nullptr);
    EXPECT_EQ(failureText(future), "Read Failed");
}

TEST(IOPool, ReadOfANullSourceFails) {
    ScopedIOPool pool(10, 64);
    auto future = IOPool::Read(std::shared_ptr<IOSource>(), 0, 10, nullptr);
    EXPECT_EQ(failureText(future), "Read Failed");
}

TEST(IOPool, ReadOfNothingCompletesAtOnce) {
    ScopedIOPool pool(10, 64);
    const auto source = CountingSource::Make(L"/virtual/a.ntf", 1000);
    auto future = IOPool::Read(source, 100, 0, nullptr);
    ASSERT_TRUE(isReady(future));
    EXPECT_EQ(future.get()->size, 0u);
    EXPECT_EQ(source->totalReads(), 0);
}

TEST(IOPool, ReadByUriGoesThroughTheFile) {
    ScopedIOPool pool(10, 64, 2);
    TempFile file(1000);
    std::vector<uint8_t> bytes(500);
    const auto request = IOPool::Read(file.uri(), 123, 500, bytes.data()).get();
    EXPECT_EQ(request->offset, 123u);
    EXPECT_EQ(request->size, 500u);
    EXPECT_EQ(bytes, patternBytes(123, 500));
    EXPECT_EQ(IOPool::GetMetrics().reads, 9u);
}

TEST(IOPool, OpenMakesAFileSource) {
    ScopedIOPool pool(10, 64);
    const auto source = IOPool::Open(NITFURI(L"/data/a.ntf#IM_1"));
    ASSERT_NE(source, nullptr);
    EXPECT_EQ(source->key(), L"/data/a.ntf");
}

TEST(IOPool, HugeOffsetsAreRefused) {
    ScopedIOPool pool(10, 64);
    const auto source = CountingSource::Make(L"/virtual/a.ntf", 1000);
    EXPECT_THROW(IOPool::Read(source, SIZE_MAX - 5, 10, nullptr), std::out_of_range);
}

TEST(IOPool, PoolsMadeWithSettingsNestAndRestore) {
    ScopedIOPool outer(10, 64);
    {
        ScopedIOPool inner(10, 32);
        EXPECT_EQ(IOPool::DefaultBlockSize(), 32u);
        const auto source = CountingSource::Make(L"/virtual/a.ntf", 1000);
        IOPool::Read(source, 0, 8, nullptr).get();
        EXPECT_EQ(IOPool::GetMetrics().reads, 1u);
    }
    EXPECT_EQ(IOPool::DefaultBlockSize(), 64u);
    EXPECT_EQ(IOPool::GetMetrics().reads, 0u);
}

TEST(IOPool, StartLogsCacheBlockSizeAndThreads) {
    LogCapture log;
    ScopedIOPool pool(7, 4096, 1);
    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0], "IO Pool Block Cache Size (lumo.iopool.block_cache): 7 blocks");
    EXPECT_EQ(lines[1], "IO Pool Block Size: (lumo.iopool.block_size) 4096 bytes");
    EXPECT_EQ(lines[2], "IO Pool Threads: (lumo.iopool.threads) 0 threads");
}

TEST(IOPool, UnusableSettingsFallBack) {
    ScopedIOPool pool(-3, 0);
    EXPECT_EQ(IOPool::DefaultBlockSize(), 1048576u);
    const auto source = CountingSource::Make(L"/virtual/a.ntf", 1000);
    IOPool::Read(source, 0, 8, nullptr).get();
    EXPECT_EQ(IOPool::GetMetrics().cachedBlocks, 0u);
}

TEST(IOPool, SettingsComeFromTheOptions) {
    s_opt_lumo_iopool_block_cache.override_value(int64_t{12});
    s_opt_lumo_iopool_block_size.override_value(int64_t{2048});
    s_opt_lumo_iopool_threads.override_value(int64_t{3});
    const auto settings = IOPool::Settings::FromOptions();
    s_opt_lumo_iopool_block_cache.reset();
    s_opt_lumo_iopool_block_size.reset();
    s_opt_lumo_iopool_threads.reset();
    EXPECT_EQ(settings.blockCache, 12);
    EXPECT_EQ(settings.blockSize, 2048);
    EXPECT_EQ(settings.threads, 3);
}

TEST(IOPool, ProcessWidePoolReadsWithItsDefaults) {
    TempFile file(5000);
    std::vector<uint8_t> bytes(100);
    IOPool::Read(file.uri(), 4000, 100, bytes.data()).get();
    EXPECT_EQ(bytes, patternBytes(4000, 100));
    IOPool::Clear(file.path().wstring());
}
