#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// Text helpers of the Tessel namespace.

#include <string>
#include <string_view>

namespace Tessel {

std::string ToString(const std::wstring_view& text);
std::wstring ToWString(const std::string_view& text);
// Shortest decimal text that reads back to the same double.
std::string ToString(double value);
std::wstring ToWString(double value);

}  // namespace Tessel

TESSEL_PUBLIC_END
