#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// Process-wide logging. Lines go to standard error through spdlog, or to a sink that the
// host installs. Levels are 0 (information), 1 (warning) and 2 (error); a line is written
// when its level reaches the threshold. The threshold comes from $TESSEL_LOG ("info",
// "warn", "error" or "off"; "warn" when unset), read once on first use.
// All functions may be called from any thread.

#include <functional>
#include <string_view>

namespace nitf_log {

enum Level : int { info = 0, warning = 1, error = 2 };

// A threshold above every level: nothing is written.
inline constexpr int threshold_off = 3;

// Formatting a line costs time: call sites ask first.
bool is_enabled(int level);

// Writes one line (without its line end) when the level is enabled. A level below 0
// counts as information, one above 2 as an error.
void write_logln(int level, const std::string_view& line);
void write_logln(int level, const std::wstring_view& line);

// Receives every enabled line instead of standard error. Calls are serialised, and once
// set_sink returns the previous sink is not called again. An empty function restores
// standard error.
using sink_function = std::function<void(int level, std::string_view line)>;
void set_sink(sink_function sink);

// Overrides the threshold from the environment: 0, 1, 2, or threshold_off.
void set_threshold(int level);
int threshold();

}  // namespace nitf_log

TESSEL_PUBLIC_END
