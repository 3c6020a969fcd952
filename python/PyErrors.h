#pragma once
// The exception every failure of the module raises, and the text of a failed open.

#include <stdexcept>
#include <string>

#include "tessel/core/NITFMessages.h"
#include "tessel/core/NITFURI.h"

namespace tessel_python {

// Raised in Python as tessel.Error, a RuntimeError, with the library's message.
class TesselError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// What the messages of a failed open say, or why the file wasn't taken when they are empty.
std::string openFailureText(const Tessel::NITFURI& uri, const Tessel::NITFMessages& messages);

}  // namespace tessel_python
