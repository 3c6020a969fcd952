#pragma once

#include <list>
#include <string>

#include "csm.h"

namespace csm {

class CSM_EXPORT_API Warning {
public:
    enum WarningType {
        UNKNOWN_WARNING = 1,
        DATA_NOT_AVAILABLE,
        PRECISION_NOT_MET,
        NEGATIVE_PRECISION,
        IMAGE_COORD_OUT_OF_BOUNDS,
        IMAGE_ID_TOO_LONG,
        NO_INTERSECTION,
        DEPRECATED_FUNCTION
    };

    Warning() : theWarning(UNKNOWN_WARNING) {}
    Warning(const WarningType& aWarningType, const std::string& aMessage,
            const std::string& aFunction)
        : theWarning(aWarningType), theMessage(aMessage), theFunction(aFunction) {}

    WarningType getWarning() const { return theWarning; }
    const std::string& getMessage() const { return theMessage; }
    const std::string& getFunction() const { return theFunction; }
    void setWarning(const WarningType& aWarningType, const std::string& aMessage,
                    const std::string& aFunction) {
        theWarning = aWarningType;
        theMessage = aMessage;
        theFunction = aFunction;
    }

private:
    WarningType theWarning;
    std::string theMessage;
    std::string theFunction;
};

typedef std::list<Warning> WarningList;

}  // namespace csm
