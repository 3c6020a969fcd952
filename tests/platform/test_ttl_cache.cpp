#include <gtest/gtest.h>

#include <unistd.h>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <future>
#include <memory>
#include <string>
#include <thread>

#include "tessel/platform/base/lumo_concurrency.h"

using namespace std::chrono_literals;
using lumo_concurrency::ttl_cache;
using lumo_concurrency::ttl_cache_base;

namespace {

// Polls `condition` until it holds or a second has passed.
template <class Condition>
bool eventually(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + 5s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(2ms);
    }
    return true;
}

// A value that tells which thread destroyed it.
struct Witness {
    std::shared_ptr<std::atomic<std::thread::id>> destroyedOn;
    Witness() = default;
    explicit Witness(std::shared_ptr<std::atomic<std::thread::id>> where)
        : destroyedOn(std::move(where)) {}
    Witness(const Witness&) = default;
    Witness(Witness&& other) noexcept : destroyedOn(std::move(other.destroyedOn)) {}
    Witness& operator=(const Witness&) = default;
    Witness& operator=(Witness&&) = default;
    ~Witness() {
        if (destroyedOn) {
            destroyedOn->store(std::this_thread::get_id());
        }
    }
};

}  // namespace

TEST(TtlCache, EntryExpiresOnTheSweepingThread) {
    ttl_cache<int, Witness> cache(250ms);
    ASSERT_TRUE(cache.registered());
    auto where = std::make_shared<std::atomic<std::thread::id>>();
    ASSERT_TRUE(cache.insert(1, Witness(where)));
    EXPECT_EQ(where->load(), std::thread::id());  // the entry holds the only live copy
    EXPECT_EQ(cache.size(), 1u);
    // The sweeper counts the entry gone before it destroys the value, outside its lock.
    ASSERT_TRUE(eventually([&] { return cache.size() == 0; }));
    ASSERT_TRUE(eventually([&] { return where->load() != std::thread::id(); }));
    EXPECT_NE(where->load(), std::this_thread::get_id());
}

TEST(TtlCache, InsertKeepsTheOlderEntryAndItsTimeStamp) {
    ttl_cache<std::string, int> cache(-1ns);
    EXPECT_TRUE(cache.insert("a", 1));
    const auto first = cache.time_stamp("a");
    ASSERT_TRUE(first);
    std::this_thread::sleep_for(1ms);
    EXPECT_FALSE(cache.insert("a", 2));
    EXPECT_EQ(cache.find("a"), 1);
    EXPECT_EQ(cache.time_stamp("a"), first);
    EXPECT_EQ(cache.size(), 1u);
}

TEST(TtlCache, TouchRenewsTheTimeStamp) {
    ttl_cache<int, int> cache(-1ns);
    cache.insert(3, 30);
    const auto before = *cache.time_stamp(3);
    std::this_thread::sleep_for(1ms);
    EXPECT_EQ(cache.touch(3), 30);
    EXPECT_GT(*cache.time_stamp(3), before);
    EXPECT_FALSE(cache.touch(4));
}

TEST(TtlCache, TakeFindEraseClearAndVisit) {
    ttl_cache<int, std::string> cache(-1ns);
    cache.insert(2, "two");
    cache.insert(1, "one");
    cache.insert(3, "three");
    EXPECT_EQ(cache.find(2), "two");
    EXPECT_EQ(cache.size(), 3u);
    EXPECT_EQ(cache.take(2), "two");
    EXPECT_FALSE(cache.take(2));
    EXPECT_FALSE(cache.find(2));
    std::string order;
    cache.visit([&](const auto& entry) { order += entry.value + ","; });
    EXPECT_EQ(order, "one,three,");
    EXPECT_TRUE(cache.erase(1));
    EXPECT_FALSE(cache.erase(1));
    EXPECT_EQ(cache.size(), 1u);
    cache.clear();
    EXPECT_TRUE(cache.empty());
}

TEST(TtlCache, NegativeTimeToLiveIsNeverRegisteredNorSwept) {
    ttl_cache<int, int> cache(-5ms);
    EXPECT_FALSE(cache.registered());
    cache.insert(1, 1);
    std::this_thread::sleep_for(10ms);
    EXPECT_EQ(cache.sweep(), 0u);
    EXPECT_EQ(cache.size(), 1u);
}

TEST(TtlCache, ZeroTimeToLiveTakesTheDefault) {
    ttl_cache<int, int> cache(0ns);
    EXPECT_EQ(cache.ttl(), ttl_cache_base::default_ttl());
    EXPECT_GE(ttl_cache_base::default_ttl(), 1s);
    EXPECT_TRUE(cache.registered());
}

TEST(TtlCache, DestructionUnregisters) {
    const lumo_concurrency::ttl_cache_storage_base* storage = nullptr;
    {
        ttl_cache<int, int> cache(1s);
        storage = &cache.storage();
        EXPECT_TRUE(ttl_cache_base::is_registered(storage));
    }
    EXPECT_FALSE(ttl_cache_base::is_registered(storage));
}

TEST(TtlCache, ManualSweepRemovesOnlyOldEntries) {
    ttl_cache<int, int> cache(std::chrono::hours(1));
    cache.insert(1, 1);
    EXPECT_EQ(cache.sweep(), 0u);
    EXPECT_EQ(cache.size(), 1u);
}

TEST(TtlCache, SweepIfRemovesMatchesAndHandsThemToThePredicate) {
    ttl_cache<int, int> cache(-1ns);
    for (int i = 0; i < 6; ++i) {
        cache.insert(i, i * 10);
    }
    int sum = 0;
    EXPECT_EQ(cache.sweep_if([&](int key, int value) {
        if (key % 2 == 0) {
            sum += value;
            return true;
        }
        return false;
    }),
              3u);
    EXPECT_EQ(sum, 60);
    EXPECT_EQ(cache.size(), 3u);
    EXPECT_FALSE(cache.find(2));
    EXPECT_EQ(cache.find(3), 30);
}

TEST(TtlCache, PeriodIsTheShortestTimeToLiveInTenthsOfASecond) {
    EXPECT_EQ(ttl_cache_base::period_for(1234ms), 1200ms);
    EXPECT_EQ(ttl_cache_base::period_for(500ms), 500ms);
    EXPECT_EQ(ttl_cache_base::period_for(50ms), 50ms);
    EXPECT_EQ(ttl_cache_base::period_for(1ms), 10ms);
    ttl_cache<int, int> quick(30ms);
    EXPECT_LE(ttl_cache_base::sweep_period(), 30ms);
}

TEST(TtlCache, ProcessExitStopsTheSweeperPromptly) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    // Exit handlers run in reverse order: `late` runs before the sweeper's, `early` after
    // it, so `early` sees how long the sweeper's handler took.
    static std::chrono::steady_clock::time_point lateRan;
    auto child = [] {
        std::atexit([] {
            if (std::chrono::steady_clock::now() - lateRan > 500ms) {
                _exit(3);
            }
        });
        static ttl_cache<int, int> cache(100ms);
        cache.insert(1, 1);
        std::atexit([] { lateRan = std::chrono::steady_clock::now(); });
        std::this_thread::sleep_for(20ms);  // the sweeper is waiting for its period now
        std::exit(0);
    };
    EXPECT_EXIT(child(), testing::ExitedWithCode(0), "");
}
