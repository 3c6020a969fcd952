#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN

#include <initializer_list>
#include <string_view>
#include <vector>

#include "tessel/core/NITFMessages.h"
#include "tessel/platform/nitf/nrt_Error.h"

namespace Tessel {

// Reports a NITRO step into the sink as "/Step/Sub: text". Returns whether the step
// failed: a set error level always counts as failure; otherwise `failed` decides, and a
// failure with nothing in the sink yet gets a generic message.
bool checkNitroError(const nrt_Error& error, NITFMessages& messages,
                     std::initializer_list<std::string_view> context, bool failed = false);
bool checkNitroError(const nrt_Error& error, NITFMessages& messages,
                     const std::vector<std::string_view>& context, bool failed = false);

}  // namespace Tessel

TESSEL_PUBLIC_END
