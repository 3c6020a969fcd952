#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// Text conversions between UTF-8 narrow strings and wide strings (UTF-32 here).
// The overloads live in std so that generic code can call std::to_string on any of them.

#include <string>
#include <string_view>

class nitf_date;

namespace std {
string to_string(const wstring_view& text);
string to_string(const wstring& text);
string to_string(const wchar_t* text);
wstring to_wstring(const string_view& text);
wstring to_wstring(const string& text);
wstring to_wstring(const char* text);
string to_string(bool value);
wstring to_wstring(bool value);
string to_string(const nitf_date& date);
wstring to_wstring(const nitf_date& date);
}  // namespace std

TESSEL_PUBLIC_END
