#include "tessel/platform/base/lumo_concurrency.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <functional>
#include <map>
#include <system_error>

#include "tessel/platform/base/lumo_system.h"

namespace lumo_concurrency {

// ---------------------------------------------------------------------------------------
// Tracing

namespace {
std::atomic<span_observer> g_span_observer{nullptr};
}  // namespace

span_observer set_span_observer(span_observer observer) {
    return g_span_observer.exchange(observer);
}

track_span::track_span(unsigned channel, const std::string_view& name) : channel_(channel) {
    if (g_span_observer.load(std::memory_order_relaxed) != nullptr) {
        observed_ = true;
        name_ = name;  // the caller's text may be a temporary
        start_ = std::chrono::steady_clock::now();
    }
}

track_span::~track_span() {
    end();
}

void track_span::end() {
    if (!open_) {
        return;
    }
    open_ = false;
    if (!observed_) {
        return;
    }
    if (const span_observer observer = g_span_observer.load(std::memory_order_relaxed)) {
        observer(channel_, name_, std::chrono::steady_clock::now() - start_);
    }
}

// ---------------------------------------------------------------------------------------
// Execution contexts

execution_context::execution_context() = default;
execution_context::execution_context(std::function<void()> idle) : idle_(std::move(idle)) {}
execution_context::~execution_context() = default;

execution_context_fg::execution_context_fg() = default;
execution_context_fg::~execution_context_fg() = default;

void execution_context_fg::acquire(std::unique_lock<std::mutex>& lock) {
    lock.lock();
}

execution_context_bg::execution_context_bg(std::function<void()> callback)
    : execution_context(std::move(callback)) {}
execution_context_bg::~execution_context_bg() = default;

void execution_context_bg::acquire(std::unique_lock<std::mutex>& lock) {
    track_span span(4, "LOCK");
    while (!lock.try_lock()) {
        span.end();
        idle();
        // With nothing queued the callback returns at once; let the holder run.
        std::this_thread::yield();
    }
}

// ---------------------------------------------------------------------------------------
// The sweeping service

ttl_cache_storage_base::~ttl_cache_storage_base() = default;

namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;

// One thread that sweeps every registered storage in turn. The registry lock is never held
// while a sweep runs, because sweeps destroy values whose destructors may register or
// unregister other caches. The object is never destroyed: its thread may still be waiting
// while the process's static objects go.
class sweeper {
public:
    static sweeper* existing() { return instance_.load(std::memory_order_acquire); }
    static sweeper& get() {
        static sweeper* const made = [] {
            auto* created = new sweeper;
            instance_.store(created, std::memory_order_release);
            std::atexit(&sweeper::at_exit);
            return created;
        }();
        return *made;
    }

    void add(ttl_cache_storage_base* storage, nanoseconds ttl) {
        std::lock_guard lock(mutex_);
        registry_[storage] = ttl;
        start_thread();
        wake_.notify_all();  // the period may have become shorter
    }

    void remove(ttl_cache_storage_base* storage) {
        std::unique_lock lock(mutex_);
        registry_.erase(storage);
        if (current_ == storage && std::this_thread::get_id() == thread_id_) {
            return;  // called from inside this storage's own sweep
        }
        swept_.wait(lock, [&] { return current_ != storage; });
    }

    bool contains(const ttl_cache_storage_base* storage) {
        std::lock_guard lock(mutex_);
        return registry_.find(storage) != registry_.end();
    }

    nanoseconds period() {
        std::lock_guard lock(mutex_);
        return registry_.empty() ? nanoseconds(0) : period_locked();
    }

private:
    sweeper() = default;

    nanoseconds period_locked() const {
        const auto shortest =
            std::min_element(registry_.begin(), registry_.end(),
                             [](const auto& a, const auto& b) { return a.second < b.second; });
        return ttl_cache_base::period_for(shortest->second);
    }

    void start_thread() {
        if (running_ || stopping_) {
            return;
        }
        try {
            std::thread thread([this] { run(); });
            thread_id_ = thread.get_id();
            thread.detach();
            running_ = true;
        } catch (const std::system_error&) {
            // No thread to be had now: entries stay until a later registration retries.
        }
    }

    void run() {
        try {
            lumo_system::set_thread_name(L"Lumo TTL Sweep");
        } catch (...) {
            // A thread without a name sweeps as well.
        }
        std::unique_lock lock(mutex_);
        auto last = std::chrono::steady_clock::now();
        while (!stopping_) {
            if (registry_.empty()) {
                wake_.wait(lock, [&] { return stopping_ || !registry_.empty(); });
                last = std::chrono::steady_clock::now();
                continue;
            }
            // Every wake re-reads the period, which a new registration may have shortened.
            const auto due = last + period_locked();
            if (std::chrono::steady_clock::now() < due) {
                wake_.wait_until(lock, due);
                continue;
            }
            sweep_all(lock);
            last = std::chrono::steady_clock::now();
        }
        running_ = false;
        exited_.notify_all();
    }

    void sweep_all(std::unique_lock<std::mutex>& lock) {
        for (auto it = registry_.begin(); it != registry_.end() && !stopping_;) {
            ttl_cache_storage_base* const storage = it->first;
            current_ = storage;
            lock.unlock();
            try {
                storage->sweep();
            } catch (...) {
                // A failing sweep leaves its entries for the next round.
            }
            lock.lock();
            current_ = nullptr;
            swept_.notify_all();
            it = registry_.upper_bound(storage);  // the registry may have changed meanwhile
        }
    }

    // At process exit the thread leaves before static objects are destroyed, so no sweep
    // runs into objects that are gone. A sweep that doesn't end soon isn't waited for.
    static void at_exit() {
        sweeper& self = *existing();
        std::unique_lock lock(self.mutex_);
        self.stopping_ = true;
        self.wake_.notify_all();
        self.exited_.wait_for(lock, std::chrono::seconds(1), [&] { return !self.running_; });
    }

    static inline std::atomic<sweeper*> instance_{nullptr};

    std::mutex mutex_;
    std::condition_variable wake_;    // registrations and stopping
    std::condition_variable swept_;   // a sweep has ended
    std::condition_variable exited_;  // the thread has left
    std::map<ttl_cache_storage_base*, nanoseconds, std::less<>> registry_;
    ttl_cache_storage_base* current_ = nullptr;  // being swept now, outside the lock
    std::thread::id thread_id_;
    bool running_ = false;
    bool stopping_ = false;
};

}  // namespace

void ttl_cache_base::register_storage(ttl_cache_storage_base* storage, nanoseconds ttl) {
    if (storage == nullptr) {
        return;
    }
    sweeper::get().add(storage, ttl.count() > 0 ? ttl : default_ttl());
}

void ttl_cache_base::unregister_storage(ttl_cache_storage_base* storage) {
    if (sweeper* const service = sweeper::existing()) {
        service->remove(storage);
    }
}

bool ttl_cache_base::is_registered(const ttl_cache_storage_base* storage) {
    sweeper* const service = sweeper::existing();
    return service != nullptr && service->contains(storage);
}

nanoseconds ttl_cache_base::default_ttl() {
    return std::chrono::seconds(5);
}

nanoseconds ttl_cache_base::sweep_period() {
    sweeper* const service = sweeper::existing();
    return service == nullptr ? nanoseconds(0) : service->period();
}

nanoseconds ttl_cache_base::period_for(nanoseconds shortestTtl) {
    const nanoseconds tenth = milliseconds(100);
    const nanoseconds rounded = shortestTtl / tenth * tenth;
    const nanoseconds period = rounded.count() > 0 ? rounded : shortestTtl;
    return std::max<nanoseconds>(period, milliseconds(10));
}

}  // namespace lumo_concurrency
