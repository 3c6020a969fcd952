#include "tessel/core/any_type.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cwchar>
#include <cwctype>

#include "tessel/platform/base/text.h"

namespace any_type {
namespace {

std::string_view skipPlus(std::string_view text) {
    if (!text.empty() && text.front() == '+') {
        text.remove_prefix(1);
    }
    return text;
}

std::optional<int64_t> parseInteger(std::string_view text) {
    text = skipPlus(text);
    int64_t result = 0;
    const char* end = text.data() + text.size();
    auto [ptr, ec] = std::from_chars(text.data(), end, result, 10);
    if (text.empty() || ec != std::errc() || ptr != end) {
        return std::nullopt;
    }
    return result;
}

std::optional<int64_t> parseInteger(const std::wstring& text) {
    if (text.empty()) {
        return std::nullopt;
    }
    // One leading "+" is skipped; what follows is wcstoll's to judge, leading white space
    // and a sign included.
    const wchar_t* begin = text.c_str();
    if (*begin == L'+') {
        ++begin;
    }
    wchar_t* end = nullptr;
    errno = 0;
    const long long result = std::wcstoll(begin, &end, 10);
    if (errno != 0 || end == begin || *end != L'\0') {
        return std::nullopt;
    }
    return static_cast<int64_t>(result);
}

std::optional<double> parseDouble(std::string_view text) {
    text = skipPlus(text);
    if (text.empty() || std::isspace(static_cast<unsigned char>(text.front())) ||
        text.front() == '+') {
        return std::nullopt;
    }
    const std::string copy(text);
    char* end = nullptr;
    const double result = std::strtod(copy.c_str(), &end);
    if (end != copy.c_str() + copy.size()) {
        return std::nullopt;
    }
    return result;
}

// Wide text is read by wcstod as it stands: no "+" is skipped ahead of it, and the whole
// text must be consumed.
std::optional<double> parseDouble(const std::wstring& text) {
    if (text.empty()) {
        return std::nullopt;
    }
    wchar_t* end = nullptr;
    const double result = std::wcstod(text.c_str(), &end);
    if (end == text.c_str() || *end != L'\0') {
        return std::nullopt;
    }
    return result;
}

bool equalsWordIgnoringCase(std::string_view text, std::string_view word) {
    if (text.size() != word.size()) {
        return false;
    }
    for (size_t i = 0; i < text.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(text[i])) != word[i]) {
            return false;
        }
    }
    return true;
}

bool isTrueWord(std::string_view text) {
    for (std::string_view word : {"true", "yes", "on"}) {
        if (equalsWordIgnoringCase(text, word)) {
            return true;
        }
    }
    return false;
}

std::optional<bool> numberToBoolean(std::optional<double> number) {
    if (!number) {
        return std::nullopt;
    }
    return *number != 0.0 || std::isnan(*number);
}

std::optional<bool> textToBoolean(const std::string& text) {
    if (text.empty()) {
        return std::nullopt;
    }
    return isTrueWord(text) ? std::optional<bool>(true) : numberToBoolean(parseDouble(text));
}

std::optional<bool> textToBoolean(const std::wstring& text) {
    if (text.empty()) {
        return std::nullopt;
    }
    return isTrueWord(std::to_string(text)) ? std::optional<bool>(true)
                                            : numberToBoolean(parseDouble(text));
}

}  // namespace

std::optional<int64_t> to_integer(const value& v) {
    switch (v.index()) {
        case tag_bool:
            return std::get<bool>(v) ? 1 : 0;
        case tag_int:
            return std::get<int64_t>(v);
        case tag_double: {
            const double d = std::get<double>(v);
            if (std::isnan(d) || d >= 9.2233720368547758e18 || d < -9.2233720368547758e18) {
                return std::nullopt;
            }
            return static_cast<int64_t>(d);
        }
        case tag_string:
            return parseInteger(std::string_view(std::get<std::string>(v)));
        case tag_wstring:
            return parseInteger(std::get<std::wstring>(v));
        default:
            return std::nullopt;
    }
}

std::optional<bool> to_boolean(const value& v) {
    switch (v.index()) {
        case tag_bool:
            return std::get<bool>(v);
        case tag_int:
            return std::get<int64_t>(v) != 0;
        case tag_double: {
            const double d = std::get<double>(v);
            return d != 0.0 || std::isnan(d);
        }
        case tag_string:
            return textToBoolean(std::get<std::string>(v));
        case tag_wstring:
            return textToBoolean(std::get<std::wstring>(v));
        default:
            return std::nullopt;
    }
}

std::optional<double> to_double(const value& v) {
    switch (v.index()) {
        case tag_bool:
            return std::get<bool>(v) ? 1.0 : 0.0;
        case tag_int:
            return static_cast<double>(std::get<int64_t>(v));
        case tag_double:
            return std::get<double>(v);
        case tag_string:
            return parseDouble(std::get<std::string>(v));
        case tag_wstring:
            return parseDouble(std::to_string(std::get<std::wstring>(v)));
        default:
            return std::nullopt;
    }
}

value decode(const std::wstring_view& text) {
    const std::string narrow = std::to_string(text);
    if (narrow.empty() || narrow == "null") {
        return {};
    }
    if (narrow == "true") {
        return true;
    }
    if (narrow == "false") {
        return false;
    }
    if (narrow.size() >= 2 && narrow.front() == '"' && narrow.back() == '"') {
        return std::to_wstring(std::string_view(narrow).substr(1, narrow.size() - 2));
    }
    if (narrow.front() != '+') {
        if (auto integer = parseInteger(std::string_view(narrow))) {
            return *integer;
        }
        if (auto number = parseDouble(narrow);
            number && narrow.find_first_of("0123456789") != std::string::npos &&
            narrow.find_first_not_of("0123456789+-.eE") == std::string::npos) {
            return *number;
        }
    }
    return std::wstring(text);
}

}  // namespace any_type
