#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <latch>
#include <memory>
#include <mutex>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "support/FileTestSupport.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFile.h"

using file_test::headerOnlyFile;
using file_test::ScopedWarehouse;
using file_test::TempDir;
using file_test::uriOf;
using file_test::writeFile;
using Tessel::NITFFactory;
using Tessel::NITFFile;
using Tessel::NITFFileContext;
using Tessel::NITFMessages;
using namespace std::chrono_literals;

namespace {

NITFFileContext openFile(const std::filesystem::path& path) {
    NITFMessages messages;
    return NITFFactory::get().open(uriOf(path), messages);
}

std::weak_ptr<NITFFile> weakFile(const NITFFileContext& context) {
    return context ? context.getFile().weak_from_this() : std::weak_ptr<NITFFile>();
}

bool sameFile(const std::weak_ptr<NITFFile>& a, const std::weak_ptr<NITFFile>& b) {
    return !a.owner_before(b) && !b.owner_before(a);
}

// Ends the process when a test doesn't finish in time: a deadlock must not hang the suite.
class Watchdog {
public:
    explicit Watchdog(std::chrono::seconds limit)
        : thread_([this, limit] {
              std::unique_lock lock(mutex_);
              if (!done_.wait_for(lock, limit, [this] { return finished_; })) {
                  std::fprintf(stderr, "watchdog: no progress, a deadlock is likely\n");
                  std::abort();
              }
          }) {}
    ~Watchdog() {
        {
            std::lock_guard lock(mutex_);
            finished_ = true;
        }
        done_.notify_all();
        thread_.join();
    }
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

private:
    std::mutex mutex_;
    std::condition_variable done_;
    bool finished_ = false;
    std::thread thread_;
};

}  // namespace

TEST(FileCacheConcurrency, TwoThreadsOpeningOneNewFileGetOneFile) {
    ScopedWarehouse settings(100, 300ms);
    Watchdog watchdog(60s);
    TempDir dir;
    for (int round = 0; round < 20; ++round) {
        const auto path = dir / ("new" + std::to_string(round) + ".ntf");
        writeFile(path, headerOnlyFile(round % 2 == 0));
        std::latch start(2);
        std::latch compared(1);
        std::weak_ptr<NITFFile> seen[2];
        std::vector<std::thread> threads;
        for (int i = 0; i < 2; ++i) {
            threads.emplace_back([&, i] {
                start.arrive_and_wait();
                const NITFFileContext context = openFile(path);
                seen[i] = weakFile(context);
                compared.wait();  // both contexts stay open until the files are compared
            });
        }
        while (seen[0].expired() || seen[1].expired()) {
            std::this_thread::sleep_for(1ms);
        }
        EXPECT_TRUE(sameFile(seen[0], seen[1])) << "round " << round;
        compared.count_down();
        for (auto& thread : threads) {
            thread.join();
        }
    }
}

TEST(FileCacheConcurrency, ReopenWithinTheTimeToLiveIsTheSameFileAfterItANewOne) {
    ScopedWarehouse settings(100, 300ms);
    Watchdog watchdog(60s);
    TempDir dir;
    writeFile(dir / "a.ntf", headerOnlyFile(false));

    std::weak_ptr<NITFFile> first;
    std::thread([&] { first = weakFile(openFile(dir / "a.ntf")); }).join();
    ASSERT_FALSE(first.expired());  // released, and warm in the second level

    std::weak_ptr<NITFFile> second;
    std::thread([&] { second = weakFile(openFile(dir / "a.ntf")); }).join();
    EXPECT_TRUE(sameFile(first, second));

    // Past the time to live the sweeping thread closes it; the next open makes another.
    std::this_thread::sleep_for(300ms);
    const auto deadline = std::chrono::steady_clock::now() + 3s;
    while (!first.expired() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(10ms);
    }
    ASSERT_TRUE(first.expired());
    std::weak_ptr<NITFFile> third;
    std::thread([&] {
        const NITFFileContext context = openFile(dir / "a.ntf");
        third = weakFile(context);
        EXPECT_FALSE(third.expired());
        EXPECT_FALSE(sameFile(first, third));
    }).join();
}

TEST(FileCacheConcurrency, SweeperClosesFilesWhileOtherThreadsOpen) {
    ScopedWarehouse settings(100, 20ms);
    Watchdog watchdog(120s);
    TempDir dir;
    std::vector<std::filesystem::path> paths;
    for (int i = 0; i < 6; ++i) {
        paths.push_back(dir / ("f" + std::to_string(i) + ".ntf"));
        writeFile(paths.back(), headerOnlyFile(i % 2 == 0));
    }
    file_test::LogCapture log;
    std::atomic<int> failures{0};
    std::atomic<int> opens{0};
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    std::vector<std::thread::id> workerIds;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            std::mt19937 random(static_cast<unsigned>(t));
            while (!stop.load()) {
                const auto& path = paths[random() % paths.size()];
                const NITFFileContext context = openFile(path);
                if (!context || context.getNumberImages() != 0) {
                    ++failures;
                }
                ++opens;
                std::this_thread::sleep_for(std::chrono::microseconds(random() % 30000));
            }
        });
    }
    std::thread clearing([&] {
        while (!stop.load()) {
            std::this_thread::sleep_for(150ms);
            NITFFactory::get().clearCache();
        }
    });
    const std::thread::id clearingId = clearing.get_id();
    for (const auto& thread : threads) {
        workerIds.push_back(thread.get_id());
    }
    const auto deadline = std::chrono::steady_clock::now() + 1500ms;
    while (std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(50ms);
    }
    stop = true;
    for (auto& thread : threads) {
        thread.join();
    }
    clearing.join();

    EXPECT_EQ(failures.load(), 0);
    EXPECT_GT(opens.load(), 20);
    // Some files ended on none of the test's threads: the sweeping thread closed them.
    std::set<std::thread::id> ours{std::this_thread::get_id(), clearingId};
    for (const auto& thread : workerIds) {
        ours.insert(thread);
    }
    size_t swept = 0;
    for (const auto& line : log.with("::~NITFFile()")) {
        swept += ours.count(line.thread) == 0 ? 1 : 0;
    }
    EXPECT_GT(swept, 0u);
}
