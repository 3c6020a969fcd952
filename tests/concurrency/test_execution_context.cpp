#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tessel/platform/base/lumo_concurrency.h"

using namespace std::chrono_literals;
using lumo_concurrency::execution_context_bg;
using lumo_concurrency::execution_context_fg;
using lumo_concurrency::track_span;

namespace {

struct SpanRecord {
    unsigned channel;
    std::string name;
};

std::mutex g_spansMutex;
std::vector<SpanRecord> g_spans;

void recordSpan(unsigned channel, std::string_view name, std::chrono::nanoseconds) {
    std::lock_guard lock(g_spansMutex);
    g_spans.push_back({channel, std::string(name)});
}

// Records the spans that end during its life.
class SpanRecorder {
public:
    SpanRecorder() {
        std::lock_guard lock(g_spansMutex);
        g_spans.clear();
        previous_ = lumo_concurrency::set_span_observer(&recordSpan);
    }
    ~SpanRecorder() { lumo_concurrency::set_span_observer(previous_); }
    SpanRecorder(const SpanRecorder&) = delete;
    SpanRecorder& operator=(const SpanRecorder&) = delete;

    std::vector<SpanRecord> spans() const {
        std::lock_guard lock(g_spansMutex);
        return g_spans;
    }

private:
    lumo_concurrency::span_observer previous_ = nullptr;
};

// Holds a mutex on another thread until told to let go.
template <class Mutex>
class Holder {
public:
    explicit Holder(Mutex& mutex) {
        auto isLocked = locked_.get_future();
        thread_ = std::thread([&mutex, this] {
            std::lock_guard lock(mutex);
            locked_.set_value();
            release_.get_future().wait();
        });
        isLocked.wait();
    }
    ~Holder() {
        letGo();
        thread_.join();
    }
    Holder(const Holder&) = delete;
    Holder& operator=(const Holder&) = delete;

    void letGo() {
        if (!released_.exchange(true)) {
            release_.set_value();
        }
    }

private:
    std::promise<void> locked_;
    std::promise<void> release_;
    std::atomic<bool> released_{false};
    std::thread thread_;
};

}  // namespace

TEST(ExecutionContext, ForegroundBlocksUntilTheLockIsFree) {
    std::mutex mutex;
    execution_context_fg context;
    {
        Holder holder(mutex);
        auto acquired = std::async(std::launch::async, [&] {
            std::unique_lock lock(mutex, std::defer_lock);
            context.acquire(lock);
            return lock.owns_lock();
        });
        EXPECT_EQ(acquired.wait_for(20ms), std::future_status::timeout);
        holder.letGo();
        EXPECT_TRUE(acquired.get());
    }
}

TEST(ExecutionContext, BackgroundRunsItsCallbackWhileTheLockIsTaken) {
    SpanRecorder recorder;
    std::mutex mutex;
    Holder holder(mutex);
    int calls = 0;
    execution_context_bg context([&] {
        if (++calls == 3) {
            holder.letGo();
        }
    });
    std::unique_lock lock(mutex, std::defer_lock);
    context.acquire(lock);
    EXPECT_TRUE(lock.owns_lock());
    EXPECT_GE(calls, 3);
    const auto spans = recorder.spans();
    ASSERT_EQ(spans.size(), 1u);  // closed at the first failure, not at every attempt
    EXPECT_EQ(spans[0].channel, 4u);
    EXPECT_EQ(spans[0].name, "LOCK");
}

TEST(ExecutionContext, BackgroundTakesAFreeLockWithoutRunningTheCallback) {
    std::mutex mutex;
    int calls = 0;
    execution_context_bg context([&] { ++calls; });
    std::unique_lock lock(mutex, std::defer_lock);
    context.acquire(lock);
    EXPECT_TRUE(lock.owns_lock());
    EXPECT_EQ(calls, 0);
}

TEST(ExecutionContext, RecursiveMutexFollowsTheSamePolicy) {
    std::recursive_mutex mutex;
    Holder holder(mutex);
    int calls = 0;
    execution_context_bg background([&] {
        if (++calls == 2) {
            holder.letGo();
        }
    });
    lumo_concurrency::execution_context& context = background;
    std::unique_lock lock(mutex, std::defer_lock);
    context.acquire(lock);
    EXPECT_TRUE(lock.owns_lock());
    EXPECT_GE(calls, 2);
}

TEST(TrackSpan, EndIsIdempotentAndCopiesTheName) {
    SpanRecorder recorder;
    {
        track_span span(3, std::string("IO") + std::string(" Read"));  // a temporary name
        span.end();
        span.end();
    }
    { track_span untouched(6, "IO Read"); }
    const auto spans = recorder.spans();
    ASSERT_EQ(spans.size(), 2u);
    EXPECT_EQ(spans[0].channel, 3u);
    EXPECT_EQ(spans[0].name, "IO Read");
    EXPECT_EQ(spans[1].channel, 6u);
}

TEST(TrackSpan, WithoutObserverNothingIsRecorded) {
    SpanRecorder recorder;
    lumo_concurrency::set_span_observer(nullptr);
    { track_span span(4, "LOCK"); }
    EXPECT_TRUE(recorder.spans().empty());
}
