#include <gtest/gtest.h>

#include <pthread.h>
#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tessel/platform/base/lumo_concurrency.h"

using namespace std::chrono_literals;
using lumo_concurrency::ttl_cache;
using lumo_concurrency::ttl_cache_base;
using lumo_concurrency::ttl_cache_storage_base;

namespace {

template <class Condition>
bool eventually(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + 2s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(2ms);
    }
    return true;
}

// A value whose destruction runs an action, once.
struct OnDestroy {
    std::shared_ptr<std::function<void()>> action;
    OnDestroy() = default;
    explicit OnDestroy(std::function<void()> f)
        : action(std::make_shared<std::function<void()>>(std::move(f))) {}
    OnDestroy(const OnDestroy&) = default;
    OnDestroy(OnDestroy&& other) noexcept : action(std::move(other.action)) {}
    OnDestroy& operator=(const OnDestroy&) = default;
    OnDestroy& operator=(OnDestroy&&) = default;
    ~OnDestroy() {
        if (action && action.use_count() == 1) {
            (*action)();
        }
    }
};

// Counts its sweeps; a sweep may be made to last a while.
class CountingStorage : public ttl_cache_storage_base {
public:
    size_t sweep() override {
        inside.store(true);
        std::this_thread::sleep_for(std::chrono::milliseconds(delayMs.load()));
        ++sweeps;
        inside.store(false);
        return 0;
    }
    std::atomic<int> sweeps{0};
    std::atomic<bool> inside{false};
    std::atomic<int> delayMs{0};
};

// Keeps a storage registered for a scope, however the scope is left.
class Registration {
public:
    Registration(ttl_cache_storage_base& storage, std::chrono::nanoseconds ttl)
        : storage_(storage) {
        ttl_cache_base::register_storage(&storage_, ttl);
    }
    ~Registration() { ttl_cache_base::unregister_storage(&storage_); }
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;

private:
    ttl_cache_storage_base& storage_;
};

}  // namespace

TEST(TtlCacheConcurrency, ExpiredValueDestructorMayUseTheCacheFromAnotherThread) {
    // If the sweep destroyed values under the storage's lock, the other thread's insert
    // would wait for it while the destructor waits for the insert.
    std::atomic<int> outcome{0};  // 1: the insert went through, 2: it was blocked
    ttl_cache<int, OnDestroy> cache(20ms);
    cache.insert(1, OnDestroy([&] {
                     auto insert =
                         std::async(std::launch::async, [&] { cache.insert(2, OnDestroy()); });
                     outcome.store(insert.wait_for(1s) == std::future_status::ready ? 1 : 2);
                     insert.wait();
                 }));
    ASSERT_TRUE(eventually([&] { return outcome.load() != 0; }));
    EXPECT_EQ(outcome.load(), 1);
}

TEST(TtlCacheConcurrency, ExpiredValueDestructorMayMakeAndDropCaches) {
    std::atomic<bool> done{false};
    ttl_cache<int, OnDestroy> cache(20ms);
    cache.insert(
        1, OnDestroy([&] {
            ttl_cache<int, int> inner(30ms);  // registers and unregisters on the sweeping thread
            inner.insert(1, 1);
            done.store(true);
        }));
    EXPECT_TRUE(eventually([&] { return done.load(); }));
}

TEST(TtlCacheConcurrency, ExpiredValuesDieOnTheNamedSweepingThread) {
    std::mutex mutex;
    std::string name;
    ttl_cache<int, OnDestroy> cache(20ms);
    cache.insert(1, OnDestroy([&] {
                     char buffer[16] = {};
                     pthread_getname_np(pthread_self(), buffer, sizeof buffer);
                     std::lock_guard lock(mutex);
                     name = buffer;
                 }));
    ASSERT_TRUE(eventually([&] {
        std::lock_guard lock(mutex);
        return !name.empty();
    }));
    std::lock_guard lock(mutex);
    EXPECT_EQ(name, "Lumo TTL Sweep");
}

TEST(TtlCacheConcurrency, UnregisterStopsSweeping) {
    CountingStorage storage;
    Registration registration(storage, 10ms);
    ASSERT_TRUE(eventually([&] { return storage.sweeps.load() >= 2; }));
    ttl_cache_base::unregister_storage(&storage);
    const int sweeps = storage.sweeps.load();
    std::this_thread::sleep_for(40ms);
    EXPECT_EQ(storage.sweeps.load(), sweeps);
}

TEST(TtlCacheConcurrency, UnregisterWaitsForARunningSweep) {
    CountingStorage storage;
    storage.delayMs.store(60);
    Registration registration(storage, 10ms);
    ASSERT_TRUE(eventually([&] { return storage.inside.load(); }));
    ttl_cache_base::unregister_storage(&storage);
    EXPECT_FALSE(storage.inside.load());
    EXPECT_GE(storage.sweeps.load(), 1);
}

TEST(TtlCacheConcurrency, SweepMayUnregisterItsOwnStorage) {
    class SelfRemoving : public ttl_cache_storage_base {
    public:
        size_t sweep() override {
            ttl_cache_base::unregister_storage(this);
            done.store(true);
            return 0;
        }
        std::atomic<bool> done{false};
    } storage;
    {
        Registration registration(storage, 10ms);
        ASSERT_TRUE(eventually([&] { return storage.done.load(); }));
        EXPECT_FALSE(ttl_cache_base::is_registered(&storage));
    }  // unregistering again waits until that sweep has ended
}

TEST(TtlCacheConcurrency, ReadersWritersAndTheSweeperTogether) {
    ttl_cache<int, std::shared_ptr<int>> cache(10ms);
    std::vector<std::thread> threads;
    std::atomic<int> found{0};
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 400; ++i) {
                const int key = (i * 7 + t) % 32;
                cache.insert(key, std::make_shared<int>(key));
                if (const auto value = cache.find(key); value && **value == key) {
                    ++found;
                }
                cache.touch(key + 1);
                if (i % 5 == 0) {
                    cache.take(key);
                }
                if (i % 50 == 0) {
                    std::this_thread::sleep_for(1ms);
                }
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_GT(found.load(), 0);
    EXPECT_TRUE(eventually([&] { return cache.size() == 0; }));
}
