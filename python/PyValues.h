#pragma once
// Library values as Python objects.

#include <pybind11/pybind11.h>

#include <string>

#include "tessel/core/any_type.h"

namespace tessel_python {

// Text as UTF-8 when it is valid UTF-8, as ISO 8859-1 (NITF's extended text) otherwise.
pybind11::str pythonText(const std::string& text);

// None for an absent path; bool, int, float or str otherwise (dates as their text).
pybind11::object pythonValue(const any_type::value& value);

// The library's JSON document as Python dicts and lists. Bytes that the document writes as
// negative escapes ("\u-0XX") become the characters of those byte values.
pybind11::object pythonTree(const std::string& json);

}  // namespace tessel_python
