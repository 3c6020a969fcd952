#pragma once

#include <exception>
#include <string>

#include "csm.h"

namespace csm {

class CSM_EXPORT_API Error : public std::exception {
public:
    enum ErrorType {
        ALGORITHM = 1,
        BOUNDS,
        FILE_READ,
        FILE_WRITE,
        ILLEGAL_MATH_OPERATION,
        INDEX_OUT_OF_RANGE,
        INVALID_SENSOR_MODEL_STATE,
        INVALID_USE,
        ISD_NOT_SUPPORTED,
        MEMORY,
        SENSOR_MODEL_NOT_CONSTRUCTIBLE,
        SENSOR_MODEL_NOT_SUPPORTED,
        STRING_TOO_LONG,
        UNKNOWN_ERROR,
        UNSUPPORTED_FUNCTION,
        UNKNOWN_SUPPORT_DATA
    };

    Error() : theError(UNKNOWN_ERROR) {}
    Error(const ErrorType& aErrorType, const std::string& aMessage, const std::string& aFunction)
        : theError(aErrorType), theMessage(aMessage), theFunction(aFunction) {}
    ~Error() noexcept override;

    ErrorType getError() const { return theError; }
    const std::string& getMessage() const { return theMessage; }
    const std::string& getFunction() const { return theFunction; }
    const char* what() const noexcept override { return theMessage.c_str(); }
    void setError(const ErrorType& aErrorType, const std::string& aMessage,
                  const std::string& aFunction) {
        theError = aErrorType;
        theMessage = aMessage;
        theFunction = aFunction;
    }

private:
    ErrorType theError;
    std::string theMessage;
    std::string theFunction;
};

}  // namespace csm
