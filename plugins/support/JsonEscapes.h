#pragma once
// The library's JSON document writes bytes it holds as negative values ("\u-0XX"); standard
// JSON readers want the "\u00YY" form of the same byte value.

#include <charconv>
#include <cstdio>
#include <string>

namespace tessel_bindings {

inline std::string standardEscapes(const std::string& json) {
    std::string out;
    out.reserve(json.size());
    for (size_t i = 0; i < json.size(); ++i) {
        if (json[i] != '\\' || i + 1 >= json.size()) {
            out += json[i];
            continue;
        }
        if (json[i + 1] == 'u' && i + 5 < json.size() && json[i + 2] == '-') {
            int magnitude = 0;
            const char* first = json.data() + i + 3;
            const auto [end, error] = std::from_chars(first, first + 3, magnitude, 16);
            if (error == std::errc() && end == first + 3 && magnitude > 0 && magnitude <= 128) {
                char escape[8];
                std::snprintf(escape, sizeof escape, "\\u%04x", 256 - magnitude);
                out += escape;
                i += 5;
                continue;
            }
        }
        // Any other escape is copied whole, so that "\\u-" stays an escaped backslash.
        out += json[i];
        out += json[i + 1];
        ++i;
    }
    return out;
}

}  // namespace tessel_bindings
