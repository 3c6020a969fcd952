#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// The caller-owned message sink of every fallible file operation: an ordered list of
// narrow texts. Operations append and never clear; the first message is the one a
// failing constructor throws with.

#include <string>
#include <vector>

namespace Tessel {

using NITFMessages = std::vector<std::string>;

}  // namespace Tessel

TESSEL_PUBLIC_END
