#pragma once
// What to tell a user whose open failed: the factory's messages, or, when it left none
// (the file isn't there or isn't NITF), which of the two it was.

#include <string>

#include "tessel/core/NITFMessages.h"
#include "tessel/core/NITFURI.h"
#include "tessel/core/Visibility.h"

TESSEL_PUBLIC_BEGIN

namespace Tessel {

// "PATH: No such file or directory" or "PATH: not a NITF file".
std::string openRefusalText(const NITFURI& uri);

// The messages joined by "; ", or the refusal text when there are none.
std::string openFailureText(const NITFURI& uri, const NITFMessages& messages);

}  // namespace Tessel

TESSEL_PUBLIC_END
