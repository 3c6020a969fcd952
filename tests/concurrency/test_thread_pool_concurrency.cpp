#include <gtest/gtest.h>

#include <pthread.h>
#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>

#include "support/TestPool.h"
#include "tessel/core/ThreadPool.h"

using namespace std::chrono_literals;
using lumo_concurrency::execution_context;
using tessel_test::PoolThreads;
using tessel_test::TestPool;

namespace {

using Pool = lumo_concurrency::thread_pool<int, int>;
using Task = Pool::task_type;

template <class Condition>
bool eventually(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + 5s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(1ms);
    }
    return true;
}

// A gate that tasks wait at until the test opens it.
class Gate {
public:
    void open() { promise_.set_value(); }
    // False when the gate stayed shut for two seconds.
    bool pass() const { return opened_.wait_for(2s) == std::future_status::ready; }

private:
    std::promise<void> promise_;
    std::shared_future<void> opened_ = promise_.get_future().share();
};

// Queues one task per entry; at least two so that they go through the queue.
template <class... Functions>
Pool::future_map queue(Pool& pool, Functions... functions) {
    return pool.queue_tasks([&] {
        Pool::task_list tasks;
        int id = 0;
        (tasks.emplace_back(id++, Task(std::move(functions))), ...);
        return tasks;
    });
}

}  // namespace

TEST(ThreadPoolConcurrency, ManyTasksRunOnNamedWorkers) {
    PoolThreads threads(3);
    TestPool<> pool(threads);
    ASSERT_EQ(pool.num_threads(), 3u);
    std::mutex mutex;
    std::set<std::thread::id> where;
    std::set<std::string> names;
    auto futures = pool.queue_tasks([&] {
        Pool::task_list tasks;
        for (int id = 0; id < 64; ++id) {
            tasks.emplace_back(id, Task([&, id](execution_context&) {
                                   char name[16] = {};
                                   pthread_getname_np(pthread_self(), name, sizeof name);
                                   std::lock_guard lock(mutex);
                                   where.insert(std::this_thread::get_id());
                                   names.insert(name);
                                   return id * id;
                               }));
        }
        return tasks;
    });
    ASSERT_EQ(futures.size(), 64u);
    for (const auto& [id, future] : futures) {
        ASSERT_EQ(future.wait_for(2s), std::future_status::ready);
        EXPECT_EQ(future.get(), id * id);
    }
    std::lock_guard lock(mutex);
    EXPECT_EQ(where.count(std::this_thread::get_id()), 0u);
    EXPECT_LE(where.size(), 3u);
    EXPECT_EQ(names, std::set<std::string>{"Test Pool"});
}

TEST(ThreadPoolConcurrency, SingleTaskStaysOnTheCallerWhileWorkersExist) {
    PoolThreads threads(2);
    TestPool<> pool(threads);
    std::thread::id where;
    auto futures = pool.queue_tasks([&] {
        Pool::task_list tasks;
        tasks.emplace_back(0, Task([&](execution_context&) {
                               std::this_thread::sleep_for(5ms);
                               where = std::this_thread::get_id();
                               return 1;
                           }));
        return tasks;
    });
    EXPECT_EQ(futures.at(0).wait_for(0s), std::future_status::ready);
    EXPECT_EQ(where, std::this_thread::get_id());
}

TEST(ThreadPoolConcurrency, WorkerWaitingForALockRunsOtherQueuedTasks) {
    PoolThreads threads(2);
    TestPool<> pool(threads);
    ASSERT_EQ(pool.num_threads(), 2u);

    // Keep one worker busy, so that a single worker is left for what follows.
    Gate release;
    std::atomic<bool> blocking{false};
    auto busy = queue(
        pool,
        [&](execution_context&) {
            blocking = true;
            return release.pass() ? 0 : -1;
        },
        [](execution_context&) { return 0; });
    ASSERT_TRUE(eventually([&] { return blocking.load(); }));

    std::mutex block;
    std::unique_lock held(block);
    thread_local bool waitingForBlock = false;
    std::atomic<int> nested{0};
    auto waiter = [&](execution_context& context) {
        std::unique_lock lock(block, std::defer_lock);
        waitingForBlock = true;
        context.acquire(lock);
        waitingForBlock = false;
        return 0;
    };
    auto helper = [&](execution_context&) {
        if (waitingForBlock) {
            ++nested;
        }
        return 0;
    };
    auto futures = queue(pool, waiter, helper, helper, helper);
    for (int id = 1; id <= 3; ++id) {
        EXPECT_EQ(futures.at(id).wait_for(2s), std::future_status::ready);
    }
    EXPECT_EQ(nested.load(), 3);
    held.unlock();
    EXPECT_EQ(futures.at(0).wait_for(2s), std::future_status::ready);
    release.open();
    pool.cancel_all(busy);
    pool.cancel_all(futures);
    EXPECT_TRUE(futures.empty());
}

// Every task waits for one lock that the test holds: each waiting task runs the next one on
// its stack, but never deeper than the pool's bound, and all finish once the lock is free.
TEST(ThreadPoolConcurrency, TasksWaitingForOneLockNestNoDeeperThanTheBound) {
    PoolThreads threads(2);
    TestPool<> pool(threads);
    std::mutex block;
    std::unique_lock held(block);
    thread_local int running = 0;
    std::atomic<int> deepest{0};
    std::atomic<int> started{0};
    constexpr int kTasks = 400;
    auto futures = pool.queue_tasks([&] {
        Pool::task_list tasks;
        for (int id = 0; id < kTasks; ++id) {
            tasks.emplace_back(
                id, Task([&](execution_context& context) {
                    ++running;
                    ++started;
                    int seen = deepest.load();
                    while (running > seen && !deepest.compare_exchange_weak(seen, running)) {
                    }
                    std::unique_lock lock(block, std::defer_lock);
                    context.acquire(lock);
                    --running;
                    return 0;
                }));
        }
        return tasks;
    });
    // Both workers stop taking tasks at the bound; the rest wait in the queue.
    ASSERT_TRUE(eventually([&] { return started.load() == 2 * Pool::max_nesting; }));
    std::this_thread::sleep_for(20ms);
    EXPECT_EQ(started.load(), 2 * Pool::max_nesting);
    EXPECT_EQ(deepest.load(), Pool::max_nesting);
    held.unlock();
    for (const auto& [id, future] : futures) {
        ASSERT_EQ(future.wait_for(5s), std::future_status::ready) << id;
    }
    EXPECT_EQ(started.load(), kTasks);
}

TEST(ThreadPoolConcurrency, StopReturnsAtOnceAndUnrunTasksBreakTheirPromise) {
    PoolThreads threads(2);
    auto pool = std::make_unique<TestPool<>>(threads);
    Gate release;
    std::atomic<int> blocking{0};
    std::atomic<int> laterRuns{0};
    auto blocker = [&](execution_context&) {
        ++blocking;
        return release.pass() ? 0 : -1;
    };
    auto later = [&](execution_context&) { return ++laterRuns; };
    auto futures = queue(*pool, blocker, blocker, later, later, later);
    ASSERT_TRUE(eventually([&] { return blocking.load() == 2; }));

    pool.reset();  // stops without joining: the busy workers are still inside their tasks
    EXPECT_NE(futures.at(0).wait_for(0ms), std::future_status::ready);
    EXPECT_NE(futures.at(1).wait_for(0ms), std::future_status::ready);

    release.open();
    EXPECT_EQ(futures.at(0).get(), 0);
    EXPECT_EQ(futures.at(1).get(), 0);
    for (int id = 2; id <= 4; ++id) {
        ASSERT_EQ(futures.at(id).wait_for(2s), std::future_status::ready);
        try {
            futures.at(id).get();
            ADD_FAILURE() << "task " << id << " ran after stop";
        } catch (const std::future_error& error) {
            EXPECT_EQ(error.code(), std::future_errc::broken_promise);
        }
    }
    EXPECT_EQ(laterRuns.load(), 0);
}

TEST(ThreadPoolConcurrency, DuplicateIdsRunOnceOnWorkers) {
    PoolThreads threads(2);
    TestPool<> pool(threads);
    std::atomic<int> runs{0};
    auto futures = pool.queue_tasks([&] {
        Pool::task_list tasks;
        for (int i = 0; i < 12; ++i) {
            tasks.emplace_back(i % 4, Task([&runs, i](execution_context&) {
                                   ++runs;
                                   return i;
                               }));
        }
        return tasks;
    });
    ASSERT_EQ(futures.size(), 4u);
    for (const auto& [id, future] : futures) {
        EXPECT_EQ(future.get(), id);
    }
    EXPECT_EQ(runs.load(), 4);
}

TEST(ThreadPoolConcurrency, ExceptionOnAWorkerLandsInItsFuture) {
    PoolThreads threads(2);
    TestPool<> pool(threads);
    auto futures = queue(
        pool, [](execution_context&) -> int { throw std::runtime_error("decode failed"); },
        [](execution_context&) { return 2; });
    try {
        futures.at(0).get();
        ADD_FAILURE() << "no exception";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "decode failed");
    }
    EXPECT_EQ(futures.at(1).get(), 2);
}

TEST(ThreadPoolConcurrency, CancelAllWaitsForQueuedTasks) {
    PoolThreads threads(2);
    TestPool<> pool(threads);
    std::atomic<int> done{0};
    auto slow = [&](execution_context&) {
        std::this_thread::sleep_for(3ms);
        return ++done;
    };
    auto futures = queue(pool, slow, slow, slow, slow, slow, slow);
    pool.cancel_all(futures);
    EXPECT_TRUE(futures.empty());
    EXPECT_EQ(done.load(), 6);
}

TEST(ThreadPoolConcurrency, CallersOnManyThreadsShareOnePool) {
    PoolThreads threads(3);
    TestPool<> pool(threads);
    std::atomic<int> total{0};
    std::vector<std::thread> callers;
    for (int c = 0; c < 4; ++c) {
        callers.emplace_back([&] {
            for (int round = 0; round < 20; ++round) {
                auto futures = pool.queue_tasks([&] {
                    Pool::task_list tasks;
                    for (int id = 0; id < 1 + round % 4; ++id) {
                        tasks.emplace_back(id, Task([&total](execution_context&) {
                                               ++total;
                                               return 0;
                                           }));
                    }
                    return tasks;
                });
                pool.cancel_all(futures);
            }
        });
    }
    for (auto& caller : callers) {
        caller.join();
    }
    EXPECT_EQ(total.load(), 4 * 5 * (1 + 2 + 3 + 4));
}
