#include "tessel/core/TextForms.h"

#include <charconv>

#include "tessel/platform/base/text.h"

namespace Tessel {

std::string ToString(const std::wstring_view& text) {
    return std::to_string(text);
}
std::wstring ToWString(const std::string_view& text) {
    return std::to_wstring(text);
}

std::string ToString(double value) {
    char buffer[64];
    auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value);
    return ec == std::errc() ? std::string(buffer, end) : std::string();
}

std::wstring ToWString(double value) {
    const std::string narrow = ToString(value);
    return std::wstring(narrow.begin(), narrow.end());
}

}  // namespace Tessel
