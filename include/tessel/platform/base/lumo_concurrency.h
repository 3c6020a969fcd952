#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// Concurrency services: execution contexts that decide how a task waits for a lock, the
// tracing span, and the time-to-live cache with its process-wide sweeping service.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace lumo_concurrency {

// ---------------------------------------------------------------------------------------
// Tracing

// Marks a stretch of execution for a profiler. Without an observer a span costs one atomic
// load; it never changes results.
class track_span {
public:
    track_span(unsigned channel, const std::string_view& name);
    ~track_span();
    track_span(const track_span&) = delete;
    track_span& operator=(const track_span&) = delete;

    // Closes the span; later calls do nothing.
    void end();

private:
    unsigned channel_;
    bool open_ = true;
    bool observed_ = false;
    std::string name_;  // copied only while an observer is installed
    std::chrono::steady_clock::time_point start_;
};

// Receives every span that ends while it is installed: channel, name and duration.
using span_observer = void (*)(unsigned channel, std::string_view name,
                               std::chrono::nanoseconds duration);
// Installs an observer (nullptr removes it) and returns the previous one. An observer may
// be called from any thread at once.
span_observer set_span_observer(span_observer observer);

// ---------------------------------------------------------------------------------------
// Execution contexts

// How a task acquires a lock. A foreground caller blocks; a worker of a pool keeps itself
// busy with other queued work until the lock is free.
class execution_context {
public:
    execution_context();
    // Locks `lock`, which must hold a mutex and not own it yet.
    virtual void acquire(std::unique_lock<std::mutex>& lock) = 0;
    virtual ~execution_context();

    execution_context(const execution_context&) = delete;
    execution_context& operator=(const execution_context&) = delete;

    // The same policy for any other lockable (std::recursive_mutex, std::timed_mutex...):
    // without an idle function it blocks, with one it runs it between attempts. It follows
    // the idle function that the context was made with, not an override of `acquire`.
    template <class Mutex>
    void acquire(std::unique_lock<Mutex>& lock) {
        if (!idle_) {
            lock.lock();
            return;
        }
        track_span span(4, "LOCK");
        while (!lock.try_lock()) {
            span.end();
            idle_();
            std::this_thread::yield();
        }
    }

    // Runs one step of other work, if the context has any to offer.
    void idle() {
        if (idle_) {
            idle_();
        }
    }

protected:
    explicit execution_context(std::function<void()> idle);

private:
    std::function<void()> idle_;
};

// A caller's own thread: acquiring blocks.
class execution_context_fg : public execution_context {
public:
    execution_context_fg();
    ~execution_context_fg() override;
    void acquire(std::unique_lock<std::mutex>& lock) override;
    using execution_context::acquire;
};

// A worker thread: while the lock is taken, the callback runs one waiting task of the same
// pool on this stack, so tasks may nest.
class execution_context_bg : public execution_context {
public:
    explicit execution_context_bg(std::function<void()> callback);
    ~execution_context_bg() override;
    void acquire(std::unique_lock<std::mutex>& lock) override;
    using execution_context::acquire;
};

// ---------------------------------------------------------------------------------------
// Time-to-live caches

// A store whose old entries the sweeping service removes.
class ttl_cache_storage_base {
public:
    virtual ~ttl_cache_storage_base();
    // Removes the entries older than the time to live; returns how many went.
    virtual size_t sweep() = 0;
};

class ttl_cache_base {
public:
    // Adds a storage to the sweeping service, which calls its sweep() at a period no
    // greater than the shortest registered time to live (a whole number of tenths of a
    // second when possible, never below 10 ms). Registering again updates the time.
    static void register_storage(ttl_cache_storage_base* storage, std::chrono::nanoseconds ttl);
    // After this returns, the storage's sweep is neither running nor called again. Called
    // from inside that very sweep on the sweeping thread, it doesn't wait for itself.
    static void unregister_storage(ttl_cache_storage_base* storage);
    static bool is_registered(const ttl_cache_storage_base* storage);
    // The time to live of a cache made with 0.
    static std::chrono::nanoseconds default_ttl();
    // The service's present waking period, or zero when nothing is registered.
    static std::chrono::nanoseconds sweep_period();
    // The period for a shortest time to live.
    static std::chrono::nanoseconds period_for(std::chrono::nanoseconds shortestTtl);

protected:
    ttl_cache_base() = default;
    ~ttl_cache_base() = default;
};

namespace detail {
inline std::chrono::nanoseconds steady_now() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
        std::chrono::steady_clock::now().time_since_epoch());
}
}  // namespace detail

// The entries of a ttl_cache, ordered by key, under a recursive mutex of their own. A time
// to live of 0 or less never expires anything.
template <class Key, class Value>
class ttl_cache_storage : public ttl_cache_storage_base {
public:
    struct entry {
        Key key;
        std::chrono::nanoseconds time_stamp;  // steady clock, when the entry was made
        mutable Value value;
    };
    struct key_order {
        using is_transparent = void;
        bool operator()(const entry& a, const entry& b) const { return a.key < b.key; }
        bool operator()(const entry& a, const Key& b) const { return a.key < b; }
        bool operator()(const Key& a, const entry& b) const { return a < b.key; }
    };
    using entry_set = std::set<entry, key_order>;

    explicit ttl_cache_storage(std::chrono::nanoseconds ttl) : ttl_(ttl) {}

    size_t sweep() override {
        if (ttl_.count() <= 0) {
            return 0;
        }
        const std::chrono::nanoseconds now = detail::steady_now();
        return sweep_if([this, now](const entry& e) { return now - e.time_stamp > ttl_; });
    }

    // Removes every entry for which `expired(entry)` holds. The removed values are destroyed
    // after the lock is released, since their destructors may take other locks or come
    // back to this storage.
    template <class Predicate>
    size_t sweep_if(Predicate&& expired) {
        entry_set gone;  // declared before the lock, so destroyed after its release
        std::lock_guard lock(mutex_);
        for (auto it = entries_.begin(); it != entries_.end();) {
            const auto next = std::next(it);
            if (expired(*it)) {
                // Entries leave in key order, so each goes to the end.
                gone.insert(gone.end(), entries_.extract(it));
            }
            it = next;
        }
        return gone.size();
    }

    std::chrono::nanoseconds ttl() const { return ttl_; }
    std::recursive_mutex& mutex() const { return mutex_; }
    // The entries themselves: only while mutex() is held.
    entry_set& entries() { return entries_; }
    const entry_set& entries() const { return entries_; }

private:
    const std::chrono::nanoseconds ttl_;
    mutable std::recursive_mutex mutex_;
    entry_set entries_;
};

// A map from key to value whose entries expire a while after they were made. Values that
// leave the cache are destroyed outside its lock.
template <class Key, class Value>
class ttl_cache : public ttl_cache_base {
public:
    using storage_type = ttl_cache_storage<Key, Value>;
    using entry = typename storage_type::entry;

    // 0 takes default_ttl(); a negative time keeps entries until they are removed.
    explicit ttl_cache(std::chrono::nanoseconds ttl) : storage_(effective(ttl)) {
        if (storage_.ttl().count() >= 1) {
            register_storage(&storage_, storage_.ttl());
        }
    }
    ~ttl_cache() { unregister_storage(&storage_); }
    ttl_cache(const ttl_cache&) = delete;
    ttl_cache& operator=(const ttl_cache&) = delete;

    // Enters the value unless the key is there already, in which case the older entry and
    // its time stamp stay. True when entered.
    bool insert(const Key& key, Value value) {
        std::lock_guard lock(storage_.mutex());
        auto& entries = storage_.entries();
        if (entries.find(key) != entries.end()) {
            return false;  // `value` dies on return, outside the lock
        }
        entries.insert(entry{key, detail::steady_now(), std::move(value)});
        return true;
    }

    // Removes the entry and hands its value over.
    std::optional<Value> take(const Key& key) {
        std::lock_guard lock(storage_.mutex());
        auto& entries = storage_.entries();
        const auto found = entries.find(key);
        if (found == entries.end()) {
            return std::nullopt;
        }
        return std::optional<Value>(std::move(entries.extract(found).value().value));
    }

    // A copy of the value; the entry stays as it is.
    std::optional<Value> find(const Key& key) const {
        std::lock_guard lock(storage_.mutex());
        const auto& entries = storage_.entries();
        const auto found = entries.find(key);
        return found == entries.end() ? std::nullopt : std::optional<Value>(found->value);
    }

    // A copy of the value, and the entry's time stamp becomes now.
    std::optional<Value> touch(const Key& key) {
        std::lock_guard lock(storage_.mutex());
        auto& entries = storage_.entries();
        const auto found = entries.find(key);
        if (found == entries.end()) {
            return std::nullopt;
        }
        std::optional<Value> copy(found->value);  // before the entry is taken out
        auto node = entries.extract(found);
        node.value().time_stamp = detail::steady_now();
        entries.insert(std::move(node));
        return copy;
    }

    std::optional<std::chrono::nanoseconds> time_stamp(const Key& key) const {
        std::lock_guard lock(storage_.mutex());
        const auto& entries = storage_.entries();
        const auto found = entries.find(key);
        return found == entries.end() ? std::nullopt : std::optional(found->time_stamp);
    }

    // Removes the key's entry; true when there was one.
    bool erase(const Key& key) {
        std::optional<entry> gone;
        {
            std::lock_guard lock(storage_.mutex());
            auto& entries = storage_.entries();
            const auto found = entries.find(key);
            if (found == entries.end()) {
                return false;
            }
            gone.emplace(std::move(entries.extract(found).value()));
        }
        return true;
    }

    void clear() {
        typename storage_type::entry_set gone;
        std::lock_guard lock(storage_.mutex());
        gone.swap(storage_.entries());
        // `gone` is declared first, so it dies after the lock is released.
    }

    size_t size() const {
        std::lock_guard lock(storage_.mutex());
        return storage_.entries().size();
    }
    bool empty() const { return size() == 0; }

    // Calls `visitor(entry)` for each entry in key order, under the storage's lock.
    template <class Visitor>
    void visit(Visitor&& visitor) const {
        std::lock_guard lock(storage_.mutex());
        for (const entry& e : storage_.entries()) {
            visitor(e);
        }
    }

    // Removes the entries older than the time to live, as the sweeping service does.
    size_t sweep() { return storage_.sweep(); }
    // Removes every entry for which `predicate(key, value)` holds.
    template <class Predicate>
    size_t sweep_if(Predicate&& predicate) {
        return storage_.sweep_if(
            [&predicate](const entry& e) { return predicate(e.key, std::as_const(e.value)); });
    }

    std::chrono::nanoseconds ttl() const { return storage_.ttl(); }
    bool registered() const { return is_registered(&storage_); }
    storage_type& storage() { return storage_; }
    const storage_type& storage() const { return storage_; }

private:
    static std::chrono::nanoseconds effective(std::chrono::nanoseconds ttl) {
        return ttl.count() == 0 ? default_ttl() : ttl;
    }

    storage_type storage_;
};

}  // namespace lumo_concurrency

TESSEL_PUBLIC_END
