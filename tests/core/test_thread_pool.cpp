#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <stdexcept>
#include <thread>
#include <vector>

#include "support/TestPool.h"
#include "tessel/core/Options.h"
#include "tessel/core/ThreadPool.h"

using lumo_concurrency::execution_context;
using lumo_concurrency::execution_context_fg;
using tessel_test::PoolThreads;
using tessel_test::TestPool;

namespace {

using Pool = lumo_concurrency::thread_pool<int, int>;
using Task = Pool::task_type;

// Fixes both scale factors for a test, whatever the store says.
class ScaleFactors {
public:
    ScaleFactors(double interactive, double background) {
        lumo_concurrency::s_opt_lumo_thread_pool_interactive_scale_factor.override_value(
            interactive);
        lumo_concurrency::s_opt_lumo_thread_pool_background_scale_factor.override_value(background);
    }
    ~ScaleFactors() {
        lumo_concurrency::s_opt_lumo_thread_pool_interactive_scale_factor.reset();
        lumo_concurrency::s_opt_lumo_thread_pool_background_scale_factor.reset();
    }
    ScaleFactors(const ScaleFactors&) = delete;
    ScaleFactors& operator=(const ScaleFactors&) = delete;
};

bool isReady(const std::shared_future<int>& future) {
    return future.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

}  // namespace

TEST(ThreadPool, ThreadCountFollowsTheOptionAndTheScaleFactors) {
    ScaleFactors factors(0.5, 1.0);
    EXPECT_EQ(Pool::thread_count(3, 8, false), 3u);
    EXPECT_EQ(Pool::thread_count(1, 8, true), 0u);
    EXPECT_EQ(Pool::thread_count(-4, 8, true), 0u);
    EXPECT_EQ(Pool::thread_count(0, 8, true), 4u);
    EXPECT_EQ(Pool::thread_count(0, 2, true), 0u);  // one worker can't be had
    EXPECT_EQ(Pool::thread_count(0, 3, true), 0u);  // 1.5 truncates to 1
    EXPECT_EQ(Pool::thread_count(0, 8, false), 8u);
    EXPECT_EQ(Pool::thread_count(0, 0, false), 0u);
}

TEST(ThreadPool, InteractiveFactorCountsByItsAbsoluteValue) {
    ScaleFactors factors(-0.5, -1.0);
    EXPECT_EQ(Pool::thread_count(0, 8, true), 4u);
    EXPECT_EQ(Pool::thread_count(0, 8, false), 0u);
}

TEST(ThreadPool, AbsurdCountsAreBounded) {
    ScaleFactors factors(1e300, 0.5);
    EXPECT_EQ(Pool::thread_count(0, 8, true), Pool::max_threads);
    EXPECT_EQ(Pool::thread_count(100000, 8, true), Pool::max_threads);
}

TEST(ThreadPool, EightProcessorsAtHalfStartFourWorkers) {
    ScaleFactors factors(0.5, 1.0);
    PoolThreads threads(0);
    TestPool<> pool(threads, 8, true);
    EXPECT_EQ(pool.num_threads(), 4u);
    EXPECT_EQ(pool.pool_name(), "TEST POOL");
    EXPECT_EQ(pool.thread_name(), L"Test Pool");
}

TEST(ThreadPool, TwoProcessorsAtHalfStartNoWorker) {
    ScaleFactors factors(0.5, 1.0);
    PoolThreads threads(0);
    TestPool<> pool(threads, 2, true);
    EXPECT_EQ(pool.num_threads(), 0u);
}

TEST(ThreadPool, OptionOneRunsEverythingOnTheCallerInListOrder) {
    PoolThreads threads(1);
    TestPool<> pool(threads);
    ASSERT_EQ(pool.num_threads(), 0u);
    std::vector<int> order;
    std::vector<std::thread::id> where;
    auto futures = pool.queue_tasks([&] {
        Pool::task_list tasks;
        for (int id = 0; id < 5; ++id) {
            tasks.emplace_back(4 - id, Task([&, id](execution_context&) {
                                   order.push_back(id);
                                   where.push_back(std::this_thread::get_id());
                                   return id;
                               }));
        }
        return tasks;
    });
    ASSERT_EQ(futures.size(), 5u);
    EXPECT_EQ(order, (std::vector<int>{0, 1, 2, 3, 4}));
    for (const auto& id : where) {
        EXPECT_EQ(id, std::this_thread::get_id());
    }
    for (const auto& [id, future] : futures) {
        ASSERT_TRUE(isReady(future));
        EXPECT_EQ(future.get(), 4 - id);
    }
}

TEST(ThreadPool, SingleTaskRunsOnTheCallerInTheForegroundAndIsDoneOnReturn) {
    PoolThreads threads(3);
    TestPool<> pool(threads);
    ASSERT_EQ(pool.num_threads(), 3u);
    std::thread::id where;
    bool foreground = false;
    auto futures = pool.queue_tasks([&] {
        Pool::task_list tasks;
        tasks.emplace_back(7, Task([&](execution_context& context) {
                               where = std::this_thread::get_id();
                               foreground =
                                   dynamic_cast<execution_context_fg*>(&context) != nullptr;
                               return 70;
                           }));
        return tasks;
    });
    ASSERT_EQ(futures.size(), 1u);
    ASSERT_TRUE(isReady(futures.at(7)));
    EXPECT_EQ(futures.at(7).get(), 70);
    EXPECT_EQ(where, std::this_thread::get_id());
    EXPECT_TRUE(foreground);
}

TEST(ThreadPool, EmptyListGivesAnEmptyMap) {
    PoolThreads threads(1);
    TestPool<> pool(threads);
    EXPECT_TRUE(pool.queue_tasks([] { return Pool::task_list{}; }).empty());
}

TEST(ThreadPool, FirstOfTwoTasksWithOneIdWins) {
    PoolThreads threads(1);
    TestPool<> pool(threads);
    int runs = 0;
    auto futures = pool.queue_tasks([&] {
        Pool::task_list tasks;
        for (const auto& [id, value] : {std::pair{1, 10}, {2, 20}, {1, 30}}) {
            tasks.emplace_back(id, Task([&runs, value = value](execution_context&) {
                                   ++runs;
                                   return value;
                               }));
        }
        return tasks;
    });
    EXPECT_EQ(futures.size(), 2u);
    EXPECT_EQ(futures.at(1).get(), 10);
    EXPECT_EQ(futures.at(2).get(), 20);
    EXPECT_EQ(runs, 2);
}

TEST(ThreadPool, ExceptionOfATaskLandsInItsFuture) {
    PoolThreads threads(1);
    TestPool<> pool(threads);
    auto single = pool.queue_tasks([] {
        Pool::task_list tasks;
        tasks.emplace_back(
            0, Task([](execution_context&) -> int { throw std::runtime_error("bad tile"); }));
        return tasks;
    });
    EXPECT_THROW(single.at(0).get(), std::runtime_error);
    auto several = pool.queue_tasks([] {
        Pool::task_list tasks;
        tasks.emplace_back(
            0, Task([](execution_context&) -> int { throw std::logic_error("first"); }));
        tasks.emplace_back(1, Task([](execution_context&) { return 1; }));
        return tasks;
    });
    EXPECT_THROW(several.at(0).get(), std::logic_error);
    EXPECT_EQ(several.at(1).get(), 1);
}

TEST(ThreadPool, VoidTasksAndCancelAllEmptiesTheMap) {
    PoolThreads threads(1);
    TestPool<void, int> pool(threads);
    int runs = 0;
    auto futures = pool.queue_tasks([&] {
        lumo_concurrency::thread_pool<void, int>::task_list tasks;
        for (int id = 0; id < 3; ++id) {
            tasks.emplace_back(id, [&runs](execution_context&) { ++runs; });
        }
        return tasks;
    });
    std::shared_future<void> first = futures.at(0);
    pool.cancel_all(futures);
    EXPECT_TRUE(futures.empty());
    EXPECT_EQ(runs, 3);
    pool.cancel_all(first);  // finished already: returns at once
    std::shared_future<void> none;
    pool.cancel_all(none);
}

TEST(ThreadPool, GeneratorExceptionLeavesThePoolUsable) {
    PoolThreads threads(1);
    TestPool<> pool(threads);
    EXPECT_THROW(pool.queue_tasks([]() -> Pool::task_list { throw std::runtime_error("no"); }),
                 std::runtime_error);
    auto futures = pool.queue_tasks([] {
        Pool::task_list tasks;
        tasks.emplace_back(0, Task([](execution_context&) { return 5; }));
        return tasks;
    });
    EXPECT_EQ(futures.at(0).get(), 5);
}

// Both workers are held by tasks that wait for the test, so the queued tasks can only run
// on the caller that waits for them.
TEST(ThreadPool, WaiterRunsQueuedTasksWhileTheWorkersAreBusy) {
    PoolThreads threads(2);
    TestPool<> pool(threads);
    ASSERT_EQ(pool.num_threads(), 2u);
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    std::atomic<int> holding{0};
    auto busy = pool.queue_tasks([&] {
        Pool::task_list tasks;
        for (int id = 0; id < 2; ++id) {
            tasks.emplace_back(id, Task([&holding, &released, id](execution_context&) {
                                   ++holding;
                                   released.wait();
                                   return id;
                               }));
        }
        return tasks;
    });
    while (holding.load() < 2) {
        std::this_thread::yield();
    }
    std::vector<std::thread::id> ranOn(2);
    auto queued = pool.queue_tasks([&] {
        Pool::task_list tasks;
        for (int id = 0; id < 2; ++id) {
            tasks.emplace_back(10 + id, Task([&ranOn, id](execution_context&) {
                                   ranOn[static_cast<size_t>(id)] = std::this_thread::get_id();
                                   return 10 + id;
                               }));
        }
        return tasks;
    });
    pool.help_until_ready(queued.at(11));
    EXPECT_EQ(queued.at(11).get(), 11);
    EXPECT_TRUE(isReady(queued.at(10)));  // queued first, so run first
    EXPECT_EQ(ranOn[0], std::this_thread::get_id());
    EXPECT_EQ(ranOn[1], std::this_thread::get_id());
    release.set_value();
    pool.cancel_all(busy);
}

// A future that a worker finishes: the waiter finds nothing queued and sleeps until then.
TEST(ThreadPool, WaiterWithNothingQueuedWaitsForTheWorker) {
    PoolThreads threads(2);
    TestPool<> pool(threads);
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    std::atomic<bool> started{false};
    auto futures = pool.queue_tasks([&] {
        Pool::task_list tasks;
        tasks.emplace_back(0, Task([&](execution_context&) {
                               started = true;
                               released.wait();
                               return 7;
                           }));
        tasks.emplace_back(1, Task([](execution_context&) { return 8; }));
        return tasks;
    });
    while (!started.load()) {
        std::this_thread::yield();
    }
    std::thread releaser([&release] {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        release.set_value();
    });
    pool.help_until_ready(futures.at(0));
    EXPECT_EQ(futures.at(0).get(), 7);
    releaser.join();
    pool.cancel_all(futures);
}
