#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// A pool of worker threads that run packaged tasks. A single task never changes threads,
// duplicate ids run once, and a worker that waits for a lock runs other queued tasks.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <future>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "tessel/core/Options.h"
#include "tessel/platform/base/lumo_concurrency.h"
#include "tessel/platform/base/lumo_system.h"

namespace lumo_concurrency {

template <class R, class Id>
class thread_pool {
public:
    using task_type = std::packaged_task<R(execution_context&)>;
    using task_list = std::list<std::pair<Id, task_type>>;
    using future_map = std::map<Id, std::shared_future<R>>;
    using generator_type = std::function<task_list()>;

    static constexpr uint32_t running_word = 0;
    static constexpr uint32_t stopping_word = 0x8000000;
    // A guard against absurd option values; no machine wants more workers per pool.
    static constexpr size_t max_threads = 1024;

    virtual ~thread_pool() { stop(); }
    thread_pool(const thread_pool&) = delete;
    thread_pool& operator=(const thread_pool&) = delete;

    // The number of workers that were started; 0 means everything runs on the callers.
    size_t num_threads() const {
        std::lock_guard lock(internals_->mutex);
        return internals_->threads.size();
    }
    const std::string& pool_name() const { return internals_->pool_name; }
    const std::wstring& thread_name() const { return internals_->thread_name; }

    // Runs `generator` under the pool's lock and starts its tasks. Exactly one task runs at
    // once on this thread, outside the lock, and is finished on return. Of several tasks
    // with one id the first wins. Without workers the tasks run here, one after the other,
    // under the pool's lock: such a task must not queue on the same pool.
    future_map queue_tasks(generator_type generator) {
        internals& in = *internals_;
        std::unique_lock lock(in.mutex);
        task_list tasks = generator();
        future_map result;
        if (tasks.size() == 1) {
            lock.unlock();
            auto& [id, task] = tasks.front();
            result.emplace(id, task.get_future().share());
            execution_context_fg context;
            task(context);
            return result;
        }
        const bool queue = has_workers(in);
        for (auto& [id, task] : tasks) {
            if (result.count(id) != 0) {
                continue;
            }
            result.emplace(id, task.get_future().share());
            if (queue) {
                in.queue.push_back(std::move(task));
            } else {
                execution_context_fg context;
                task(context);
            }
        }
        lock.unlock();
        in.work.notify_all();
        return result;
    }

    // Waits for every task of the map to complete, then empties the map. Nothing is taken
    // off the queue.
    void cancel_all(future_map& futures) {
        for (auto it = futures.begin(); it != futures.end(); it = futures.erase(it)) {
            if (it->second.valid()) {
                it->second.wait();
            }
        }
    }
    void cancel_all(std::shared_future<R>& future) {
        if (future.valid() &&
            future.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
            future.wait();
        }
    }

    // Waits for `future`, running queued tasks of this pool on the calling thread while it
    // isn't ready: a caller that would only sleep does the work it waits for instead of
    // waiting for a worker to wake. Returns once the future is ready.
    template <class Future>
    void help_until_ready(const Future& future) {
        if (is_ready(future)) {
            return;  // the common case of a cached tile or block: no context to make
        }
        internals& in = *internals_;
        execution_context_bg* self = nullptr;
        execution_context_bg context([&in, &self] { run_one(in, *self); });
        self = &context;
        while (!is_ready(future)) {
            if (!run_one(in, context)) {
                future.wait();
                return;
            }
        }
    }

    // Tells the workers to end and lets them go without waiting. Queued tasks stay; when
    // the last holder of the queue lets go, their futures report a broken promise.
    void stop() {
        internals& in = *internals_;
        {
            std::lock_guard lock(in.mutex);
            in.stop.store(stopping_word);
            for (std::thread& thread : in.threads) {
                if (thread.joinable()) {
                    thread.detach();
                }
            }
        }
        in.work.notify_all();
    }

    // The workers a pool starts: the option's value, or with 0 the scale factor of the
    // process kind times the processors, truncated. One worker or fewer means none.
    static size_t thread_count(int option, unsigned processors, bool interactive) {
        double count = option;
        if (option == 0) {
            const double factor = interactive
                                      ? std::abs(s_opt_lumo_thread_pool_interactive_scale_factor())
                                      : s_opt_lumo_thread_pool_background_scale_factor();
            count = factor * processors;
        }
        count = std::trunc(count);
        if (!(count > 1)) {  // also false for NaN
            return 0;
        }
        return static_cast<size_t>(std::min<double>(count, max_threads));
    }

protected:
    thread_pool(nitf_config::option<int>& threads, const std::string_view& poolName,
                const std::wstring_view& threadName)
        : thread_pool(threads, poolName, threadName, std::thread::hardware_concurrency(),
                      lumo_system::is_running_interactive()) {}

    // The same with the processor count and the process kind given, as tests need.
    thread_pool(nitf_config::option<int>& threads, const std::string_view& poolName,
                const std::wstring_view& threadName, unsigned processors, bool interactive)
        : internals_(std::make_shared<internals>(poolName, threadName)) {
        start(thread_count(threads(), processors, interactive));
    }

    // The same with the option's value given directly, for a pool whose settings don't
    // come from the configuration.
    thread_pool(int threads, const std::string_view& poolName, const std::wstring_view& threadName)
        : internals_(std::make_shared<internals>(poolName, threadName)) {
        start(thread_count(threads, std::thread::hardware_concurrency(),
                           lumo_system::is_running_interactive()));
    }

private:
    // Shared with the workers, so that detached threads can outlive the pool.
    struct internals {
        internals(const std::string_view& poolName, const std::wstring_view& threadName)
            : pool_name(poolName), thread_name(threadName) {}

        std::string pool_name;
        std::wstring thread_name;
        std::mutex mutex;
        std::condition_variable work;
        std::atomic<uint32_t> stop{stopping_word};  // stays stopping until workers start
        std::list<std::thread> threads;
        std::list<task_type> queue;
    };

    void start(size_t count) {
        if (count <= 1) {
            return;
        }
        internals& in = *internals_;
        std::lock_guard lock(in.mutex);
        in.stop.store(running_word);
        for (size_t i = 0; i < count; ++i) {
            try {
                in.threads.emplace_back(&thread_pool::worker, internals_);
            } catch (const std::system_error&) {
                break;  // the system gives no more threads: work with those there are
            }
        }
        if (in.threads.empty()) {
            in.stop.store(stopping_word);
        }
    }

    static bool has_workers(const internals& in) {
        return !in.threads.empty() && in.stop.load() == running_word;
    }

    static void worker(std::shared_ptr<internals> shared) {
        internals& in = *shared;
        try {
            lumo_system::set_thread_name(in.thread_name);
            while (in.stop.load() == running_word) {
                {
                    std::unique_lock lock(in.mutex);
                    in.work.wait(lock, [&in] {
                        return !in.queue.empty() || in.stop.load() != running_word;
                    });
                }
                if (in.stop.load() != running_word) {
                    break;
                }
                execution_context_bg* self = nullptr;
                execution_context_bg context([&in, &self] { run_one(in, *self); });
                self = &context;
                run_one(in, context);
            }
        } catch (...) {
            // A failing lock or thread name ends this worker quietly.
        }
    }

    template <class Future>
    static bool is_ready(const Future& future) {
        return future.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
    }

public:
    // How deep tasks may nest on one thread. A task that waits for a lock runs the next
    // queued task on its own stack, and that one may wait too: a queue of tasks that all
    // wait for one lock would nest until the stack runs out. Past this depth a waiting task
    // only yields until its lock is free.
    static constexpr int max_nesting = 16;

private:
    static int& nesting_depth() {
        thread_local int depth = 0;
        return depth;
    }

    // Runs the first queued task, if there is one, with the lock released. False when the
    // queue was empty or this thread already runs tasks nested `max_nesting` deep.
    static bool run_one(internals& in, execution_context& context) {
        int& depth = nesting_depth();
        if (depth >= max_nesting) {
            return false;
        }
        std::unique_lock lock(in.mutex);
        if (in.queue.empty()) {
            return false;
        }
        task_type task = std::move(in.queue.front());
        in.queue.pop_front();
        lock.unlock();
        struct Nested {
            int& depth;
            explicit Nested(int& d) : depth(++d) {}
            ~Nested() { --depth; }
            Nested(const Nested&) = delete;
            Nested& operator=(const Nested&) = delete;
        } nested(depth);
        task(context);
        return true;
    }

    std::shared_ptr<internals> internals_;
};

}  // namespace lumo_concurrency

TESSEL_PUBLIC_END
