#pragma once
// The library's JSON documents write bytes they hold as negative values ("\u-0XX");
// standard JSON readers want the "\u00YY" form of the same byte value.

#include <string>

#include "tessel/core/Visibility.h"

TESSEL_PUBLIC_BEGIN

namespace Tessel {

// The document with every "\u-0XX" escape rewritten as "\u00YY"; other escapes, including
// an escaped backslash before "u-", are copied unchanged.
std::string standardJsonEscapes(const std::string& json);

}  // namespace Tessel

TESSEL_PUBLIC_END
