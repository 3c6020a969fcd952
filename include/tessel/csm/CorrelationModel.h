#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "csm.h"

namespace csm {

class CSM_EXPORT_API CorrelationModel {
public:
    virtual ~CorrelationModel();

    const std::string& format() const { return theFormat; }
    virtual size_t getNumSensorModelParameters() const = 0;
    size_t getNumCorrelationParameterGroups() const { return theDecorrelationEventTimes.size(); }
    virtual int getCorrelationParameterGroup(size_t smParamIndex) const = 0;
    virtual double getCorrelationCoefficient(size_t cpGroupIndex, double deltaTime) const = 0;
    const std::string& getDecorrelationEventTime(size_t cpGroupIndex) const;
    void setDecorrelationEventTime(const std::string& decorrEventTime, size_t cpGroupIndex);

protected:
    CorrelationModel(const std::string& format, size_t numCPGroups);
    void setFormat(const std::string& format) { theFormat = format; }
    void setNumCorrelationParameterGroups(size_t num) { theDecorrelationEventTimes.resize(num); }

private:
    std::string theFormat;
    std::vector<std::string> theDecorrelationEventTimes;
};

}  // namespace csm
