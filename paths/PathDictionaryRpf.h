#pragma once

#include "tessel/core/Visibility.h"
TESSEL_INTERNAL_BEGIN
// The "RPFTables" dictionary of an image: the RPF sections that its location records list.

#include <vector>

#include "paths/RpfTables.h"
#include "tessel/paths/Node.h"

namespace NITFPathInternal {

// The sections that are found, numbers as decimal Strings, lists as arrays of "Element".
Dict encodeRpfTables(const std::vector<RpfLocation>& locations, const RpfByteSource& source);

}  // namespace NITFPathInternal

TESSEL_INTERNAL_END
