#include "tessel/platform/base/nitf_log.h"

#include "tessel/platform/base/text.h"

#include <spdlog/logger.h>
#include <spdlog/sinks/stdout_sinks.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <string>

namespace nitf_log {
namespace {

int clampLevel(int level) {
    return std::clamp(level, static_cast<int>(info), static_cast<int>(error));
}

std::string lowerCase(std::string_view text) {
    std::string out(text);
    for (char& c : out) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return out;
}

int thresholdFromEnvironment() {
    const char* value = std::getenv("TESSEL_LOG");
    if (value == nullptr) {
        return warning;
    }
    const std::string name = lowerCase(value);
    if (name == "info") {
        return info;
    }
    if (name == "error") {
        return error;
    }
    if (name == "off") {
        return threshold_off;
    }
    return warning;
}

std::atomic<int>& currentThreshold() {
    static std::atomic<int> value{thresholdFromEnvironment()};
    return value;
}

// Lines can come from destructors of other statics at exit, so the state is never
// destroyed. It stays reachable through this pointer, so leak checkers don't count it.
struct LogState {
    std::recursive_mutex mutex;  // a sink may itself log
    std::shared_ptr<const sink_function> sink;
    std::shared_ptr<spdlog::logger> logger;
};

LogState& state() {
    static LogState* const instance = [] {
        auto* s = new LogState;
        s->logger = std::make_shared<spdlog::logger>(
            "tessel", std::make_shared<spdlog::sinks::stderr_sink_mt>());
        s->logger->set_pattern("[%Y-%m-%d %H:%M:%S.%e] [tessel] [%l] %v");
        s->logger->set_level(spdlog::level::trace);
        return s;
    }();
    return *instance;
}

spdlog::level::level_enum toSpdlog(int level) {
    switch (level) {
        case info:
            return spdlog::level::info;
        case warning:
            return spdlog::level::warn;
        default:
            return spdlog::level::err;
    }
}

std::string_view withoutLineEnd(std::string_view line) {
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) {
        line.remove_suffix(1);
    }
    return line;
}

void emit(int level, std::string_view line) {
    LogState& s = state();
    std::lock_guard lock(s.mutex);
    // Hold a reference: the sink may replace itself while it runs.
    const std::shared_ptr<const sink_function> sink = s.sink;
    if (sink) {
        (*sink)(level, line);
    } else {
        s.logger->log(toSpdlog(level), "{}", line);
    }
}

}  // namespace

bool is_enabled(int level) {
    return clampLevel(level) >= currentThreshold().load(std::memory_order_relaxed);
}

void write_logln(int level, const std::string_view& line) {
    if (!is_enabled(level)) {
        return;
    }
    emit(clampLevel(level), withoutLineEnd(line));
}

void write_logln(int level, const std::wstring_view& line) {
    if (!is_enabled(level)) {
        return;
    }
    const std::string narrow = std::to_string(line);
    emit(clampLevel(level), withoutLineEnd(narrow));
}

void set_sink(sink_function sink) {
    std::shared_ptr<const sink_function> next;
    if (sink) {
        next = std::make_shared<const sink_function>(std::move(sink));
    }
    LogState& s = state();
    std::lock_guard lock(s.mutex);
    s.sink = std::move(next);
}

void set_threshold(int level) {
    currentThreshold().store(std::clamp(level, static_cast<int>(info), threshold_off));
}

int threshold() {
    return currentThreshold().load();
}

}  // namespace nitf_log
