#include <cstdlib>

#include "tessel/csm/CorrelationModel.h"
#include "tessel/csm/Error.h"
#include "tessel/csm/NitfIsd.h"
#include "tessel/csm/RasterGM.h"

namespace csm {

Error::~Error() noexcept = default;

Model::~Model() = default;

GeometricModel::~GeometricModel() = default;

std::string GeometricModel::getFamily() const {
    return CSM_GEOMETRIC_MODEL_FAMILY;
}

GeometricModel::Parameter GeometricModel::getParameter(int index) const {
    return Parameter(getParameterName(index), getParameterValue(index), getParameterUnits(index),
                     getParameterType(index), getParameterSharingCriteria(index));
}

void GeometricModel::setParameter(int index, const Parameter& parameter) {
    setParameterValue(index, parameter.value);
    setParameterType(index, parameter.type);
}

// FIXED parameters belong to every set but the adjustable one; NONE belongs to none.
std::vector<int> GeometricModel::getParameterSetIndices(param::Set pSet) const {
    std::vector<int> indices;
    const int count = getNumParameters();
    for (int i = 0; i < count; ++i) {
        const param::Type type = getParameterType(i);
        bool member = false;
        switch (pSet) {
            case param::VALID:
                member = type != param::NONE;
                break;
            case param::ADJUSTABLE:
                member = type != param::NONE && type != param::FIXED;
                break;
            case param::NON_ADJUSTABLE:
                member = type == param::FIXED;
                break;
        }
        if (member) {
            indices.push_back(i);
        }
    }
    return indices;
}

std::vector<GeometricModel::Parameter> GeometricModel::getParameters(param::Set pSet) const {
    std::vector<Parameter> result;
    for (const int index : getParameterSetIndices(pSet)) {
        result.push_back(getParameter(index));
    }
    return result;
}

RasterGM::~RasterGM() = default;

std::string RasterGM::getFamily() const {
    return GeometricModel::getFamily() + CSM_RASTER_FAMILY;
}

std::vector<RasterGM::SensorPartials> RasterGM::computeAllSensorPartials(
    const EcefCoord& groundPt, param::Set pSet, double desiredPrecision, double* achievedPrecision,
    WarningList* warnings) const {
    const ImageCoord imagePt =
        groundToImage(groundPt, desiredPrecision, achievedPrecision, warnings);
    return computeAllSensorPartials(imagePt, groundPt, pSet, desiredPrecision, achievedPrecision,
                                    warnings);
}

std::vector<RasterGM::SensorPartials> RasterGM::computeAllSensorPartials(
    const ImageCoord& imagePt, const EcefCoord& groundPt, param::Set pSet, double desiredPrecision,
    double* achievedPrecision, WarningList* warnings) const {
    const std::vector<int> indices = getParameterSetIndices(pSet);
    std::vector<SensorPartials> result;
    result.reserve(indices.size());
    double worst = 0.0;
    for (const int index : indices) {
        double achieved = 0.0;
        result.push_back(
            computeSensorPartials(index, imagePt, groundPt, desiredPrecision, &achieved, warnings));
        worst = std::max(worst, achieved);
    }
    if (achievedPrecision != nullptr) {
        *achievedPrecision = worst;
    }
    return result;
}

CorrelationModel::CorrelationModel(const std::string& format, size_t numCPGroups)
    : theFormat(format), theDecorrelationEventTimes(numCPGroups) {}

CorrelationModel::~CorrelationModel() = default;

const std::string& CorrelationModel::getDecorrelationEventTime(size_t cpGroupIndex) const {
    if (cpGroupIndex >= theDecorrelationEventTimes.size()) {
        throw Error(Error::INDEX_OUT_OF_RANGE, "Invalid index in parameter cpGroupIndex",
                    "csm::CorrelationModel::getDecorrelationEventTime");
    }
    return theDecorrelationEventTimes[cpGroupIndex];
}

void CorrelationModel::setDecorrelationEventTime(const std::string& decorrEventTime,
                                                 size_t cpGroupIndex) {
    if (cpGroupIndex >= theDecorrelationEventTimes.size()) {
        throw Error(Error::INDEX_OUT_OF_RANGE, "Invalid index in parameter cpGroupIndex",
                    "csm::CorrelationModel::setDecorrelationEventTime");
    }
    theDecorrelationEventTimes[cpGroupIndex] = decorrEventTime;
}

Isd::~Isd() = default;

void Isd::setFilename(const std::string& fn) {
    theFilename = fn;
    if (theFormat == "UNKNOWN") {
        theFormat = "FILENAME";
    }
}

std::string Isd::param(const std::string& name, int instance) const {
    if (instance < 0) {
        return "";
    }
    auto range = theParameters.equal_range(name);
    for (int i = 0; range.first != range.second; ++range.first, ++i) {
        if (i == instance) {
            return range.first->second;
        }
    }
    return "";
}

void Tre::setTre(const std::string& treData) {
    if (treData.size() < 11) {
        return;
    }
    theName = treData.substr(0, 6);
    theLength = static_cast<unsigned int>(std::atoi(treData.substr(6, 5).c_str()));
    theData = treData.substr(11);
}

NitfIsd::~NitfIsd() = default;
Nitf20Isd::~Nitf20Isd() = default;
Nitf21Isd::~Nitf21Isd() = default;

}  // namespace csm
