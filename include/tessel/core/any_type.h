#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// The tagged value in which metadata, options and path results travel.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "tessel/platform/base/nitf_date.h"

namespace any_type {

// The order of the alternatives is the tag: 0 empty, 1 bool, 2 integer, 3 double,
// 4 narrow text, 5 wide text, 6 date. Switches over index() rely on it.
using value =
    std::variant<std::monostate, bool, int64_t, double, std::string, std::wstring, nitf_date>;

enum tag : std::size_t {
    tag_empty = 0,
    tag_bool = 1,
    tag_int = 2,
    tag_double = 3,
    tag_string = 4,
    tag_wstring = 5,
    tag_date = 6,
};

// Scalar conversions shared by options and typed path reads. An empty optional means
// "no value": the caller falls back to its default.
std::optional<int64_t> to_integer(const value& v);
std::optional<bool> to_boolean(const value& v);
std::optional<double> to_double(const value& v);

// Turns the text of a JSON scalar into a value: integers, doubles, true/false, null
// (empty), quoted or bare text (wide).
value decode(const std::wstring_view& text);

}  // namespace any_type

TESSEL_PUBLIC_END
