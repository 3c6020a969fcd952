#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// Named functions that a profile template calls with "$:Name:Argument$". Modules register
// theirs at start-up; "DateCalculator" is built in.

#include <functional>
#include <string>
#include <string_view>

#include "tessel/core/any_type.h"
#include "tessel/products/NITFProductProfile.h"

namespace Tessel {

class PathFunctionFactory {
public:
    using function_type = std::function<any_type::value(
        std::string_view argument, const NITFProductProfile::ComputeContext& context)>;

    // A second registration of a name leaves the first in place. Meant for start-up: the
    // table isn't locked, and lookups only read it.
    static void registerPathFunction(std::string name, function_type function);

    // The value of the named function for the argument; an unknown name gives an empty
    // value. Exceptions of the function reach the caller.
    static any_type::value executePathFunction(std::string_view name, std::string_view argument,
                                               const NITFProductProfile::ComputeContext& context);
};

}  // namespace Tessel

TESSEL_PUBLIC_END
