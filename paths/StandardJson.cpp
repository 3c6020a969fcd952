#include "tessel/paths/StandardJson.h"

#include <charconv>
#include <cstdio>

namespace Tessel {

namespace {

// The byte value of "\u-0XX" starting at json[at], or 0 when the text there isn't one.
int negativeByteEscapeAt(const std::string& json, size_t at) {
    if (json[at + 1] != 'u' || at + 5 >= json.size() || json[at + 2] != '-') {
        return 0;
    }
    int magnitude = 0;
    const char* first = json.data() + at + 3;
    const auto [end, error] = std::from_chars(first, first + 3, magnitude, 16);
    if (error != std::errc() || end != first + 3 || magnitude <= 0 || magnitude > 128) {
        return 0;
    }
    return 256 - magnitude;
}

}  // namespace

std::string standardJsonEscapes(const std::string& json) {
    std::string out;
    out.reserve(json.size());
    for (size_t i = 0; i < json.size(); ++i) {
        if (json[i] != '\\' || i + 1 >= json.size()) {
            out += json[i];
            continue;
        }
        if (const int byte = negativeByteEscapeAt(json, i); byte != 0) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", byte);
            out += escape;
            i += 5;
            continue;
        }
        out += json[i];
        out += json[i + 1];
        ++i;
    }
    return out;
}

}  // namespace Tessel
