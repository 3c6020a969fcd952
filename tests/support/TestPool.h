#pragma once
// A thread pool that tests can make, with the processor count and process kind given.

#include <string>

#include "tessel/core/ThreadPool.h"

namespace tessel_test {

template <class R = int, class Id = int>
class TestPool : public lumo_concurrency::thread_pool<R, Id> {
public:
    TestPool(nitf_config::option<int>& threads, unsigned processors, bool interactive)
        : lumo_concurrency::thread_pool<R, Id>(threads, "TEST POOL", L"Test Pool", processors,
                                               interactive) {}
    explicit TestPool(nitf_config::option<int>& threads)
        : lumo_concurrency::thread_pool<R, Id>(threads, "TEST POOL", L"Test Pool") {}
};

// The option that test pools read their thread count from, set to `count` for a scope.
class PoolThreads {
public:
    explicit PoolThreads(int count) { option().override_value(int64_t{count}); }
    ~PoolThreads() { option().reset(); }
    PoolThreads(const PoolThreads&) = delete;
    PoolThreads& operator=(const PoolThreads&) = delete;

    static nitf_config::option<int>& option() {
        static nitf_config::option<int> threads(L"test.pool.threads", 0);
        return threads;
    }
    operator nitf_config::option<int>&() const { return option(); }
};

}  // namespace tessel_test
