#pragma once
// The exception every failure of the module raises.

#include <stdexcept>
#include <string>

namespace tessel_python {

// Raised in Python as tessel.Error, a RuntimeError, with the library's message.
class TesselError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace tessel_python
