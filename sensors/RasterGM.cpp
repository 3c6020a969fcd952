#include "tessel/sensors/RasterGM.h"

#include <cstdlib>
#include <stdexcept>

#include "tessel/csm/Error.h"
#include "tessel/platform/base/nitf_config.h"
#include "tessel/platform/base/text.h"

namespace VEXASensors {

const char* const kMarkerParameterName = "VexaRasterGM";

namespace {

constexpr const char* kRasterGmPrefix = "VEXASensors::RasterGM::";

// A configuration property as an integer: text parsed, a number truncated, else 0.
int versionComponent(const wchar_t* key) {
    const nitf_config::property value = nitf_config::read_property(L"RasterSensors", key);
    if (const auto* number = std::get_if<double>(&value)) {
        return static_cast<int>(*number);
    }
    if (const auto* text = std::get_if<std::wstring>(&value)) {
        return static_cast<int>(std::wcstol(text->c_str(), nullptr, 10));
    }
    return 0;
}

}  // namespace

void throwNotImplemented() {
    throw std::logic_error("Not Implemented.");
}

void throwParameterNotFound(const std::string& function) {
    throw csm::Error(csm::Error::INDEX_OUT_OF_RANGE, "Parameter not found", function);
}

RasterGM::~RasterGM() = default;

std::string RasterGM::getFamily() const {
    return "GeometricRaster";
}

csm::Version RasterGM::getVersion() const {
    return configuredVersion();
}

csm::Version configuredVersion() {
    const int major = versionComponent(L"VersionMajor");
    const int minor = versionComponent(L"VersionMinor");
    const int patch = versionComponent(L"VersionPatch");
    return csm::Version(major, minor, patch);
}

std::string RasterGM::getModelName() const {
    return modelName;
}

std::string RasterGM::getPedigree() const {
    std::wstring joined;
    for (const wchar_t* key : {L"Sensor", L"Type", L"Mode", L"DisplayName"}) {
        const auto it = properties.find(key);
        if (it == properties.end()) {
            continue;
        }
        if (!joined.empty()) {
            joined += L" | ";
        }
        joined += it->second;
    }
    const std::string narrow = std::to_string(joined);
    return narrow.empty() ? "UNKNOWN" : narrow;
}

void RasterGM::setImageIdentifier(const std::string& /*imageId*/, csm::WarningList* /*warnings*/) {
    throwNotImplemented();
}

std::string RasterGM::propertyOrUnknown(const wchar_t* key) const {
    const auto it = properties.find(key);
    if (it == properties.end() || it->second.empty()) {
        return "UNKNOWN";
    }
    return std::to_string(it->second);
}

std::string RasterGM::getSensorType() const {
    return propertyOrUnknown(L"Type");
}

std::string RasterGM::getSensorMode() const {
    return propertyOrUnknown(L"Mode");
}

// Only the display properties may change in place; the rest of the state must be the same.
// The properties are replaced before the rest is compared, so a failed comparison leaves
// the new properties in place.
void RasterGM::replaceModelState(const std::string& newState) {
    if (newState.empty()) {
        return;
    }
    const std::string current = getModelState();
    const auto currentBlank = current.find(' ');
    const auto newBlank = newState.find(' ');
    if (newBlank == std::string::npos) {
        throw csm::Error(csm::Error::INVALID_SENSOR_MODEL_STATE, "Invalid model state",
                         "VEXASensors::RasterGM::replaceModelState");
    }
    nlohmann::json currentDoc = nlohmann::json::parse(
        currentBlank == std::string::npos ? std::string() : current.substr(currentBlank));
    nlohmann::json newDoc = nlohmann::json::parse(newState.substr(newBlank));
    const auto unsupported = [] {
        return csm::Error(csm::Error::INVALID_SENSOR_MODEL_STATE,
                          "Unsupported use of replaceModelState",
                          "VEXASensors::RasterGM::replaceModelState");
    };
    if (!newDoc.is_object() || !newDoc.contains("Properties")) {
        if (newState == current) {
            return;
        }
        throw unsupported();
    }
    properties = loadProperties(newDoc);
    newDoc.erase("Properties");
    if (currentDoc.is_object()) {
        currentDoc.erase("Properties");
    }
    if (currentDoc.is_discarded() || newDoc.is_discarded()) {
        return;
    }
    if (currentDoc != newDoc) {
        throw unsupported();
    }
}

void RasterGM::setReferencePoint(const csm::EcefCoord& /*groundPt*/) {
    throwNotImplemented();
}

int RasterGM::getNumParameters() const {
    return static_cast<int>(parameters.size());
}

const RasterGM::Parameter& RasterGM::parameterAt(int index, const char* operation) const {
    if (index < 0 || static_cast<size_t>(index) >= parameters.size()) {
        throwParameterNotFound(std::string(kRasterGmPrefix) + operation);
    }
    return parameters[static_cast<size_t>(index)];
}

// The fixed marker parameter can't be written.
RasterGM::Parameter& RasterGM::writableParameterAt(int index, const char* operation) {
    const Parameter& entry = parameterAt(index, operation);
    if (entry.type == csm::param::FIXED) {
        throwParameterNotFound(std::string(kRasterGmPrefix) + operation);
    }
    return parameters[static_cast<size_t>(index)];
}

std::string RasterGM::getParameterName(int index) const {
    return parameterAt(index, "getParameterName").name;
}

std::string RasterGM::getParameterUnits(int index) const {
    return parameterAt(index, "getParameterUnits").units;
}

bool RasterGM::hasShareableParameters() const {
    return false;
}

bool RasterGM::isParameterShareable(int /*index*/) const {
    throwParameterNotFound(std::string(kRasterGmPrefix) + "isParameterShareable");
}

csm::SharingCriteria RasterGM::getParameterSharingCriteria(int index) const {
    return parameterAt(index, "getParameterSharingCriteria").sharingCriteria;
}

double RasterGM::getParameterValue(int index) const {
    return parameterAt(index, "getParameterValue").value;
}

void RasterGM::setParameterValue(int index, double value) {
    writableParameterAt(index, "setParameterValue").value = value;
}

csm::param::Type RasterGM::getParameterType(int index) const {
    return parameterAt(index, "getParameterType").type;
}

void RasterGM::setParameterType(int index, csm::param::Type pType) {
    writableParameterAt(index, "setParameterType").type = pType;
}

RasterGM::Parameter RasterGM::getParameter(int index) const {
    return parameterAt(index, "getParameter");
}

void RasterGM::setParameter(int index, const Parameter& parameter) {
    writableParameterAt(index, "setParameter") = parameter;
}

csm::ImageCoordCovar RasterGM::groundToImage(const csm::EcefCoordCovar& groundPt,
                                             double desiredPrecision, double* achievedPrecision,
                                             csm::WarningList* warnings) const {
    const csm::ImageCoord plain = groundToImage(static_cast<const csm::EcefCoord&>(groundPt),
                                                desiredPrecision, achievedPrecision, warnings);
    return csm::ImageCoordCovar(plain.line, plain.samp);
}

csm::EcefCoordCovar RasterGM::imageToGround(const csm::ImageCoordCovar& imagePt, double height,
                                            double /*heightVariance*/, double desiredPrecision,
                                            double* achievedPrecision,
                                            csm::WarningList* warnings) const {
    const csm::EcefCoord plain = imageToGround(static_cast<const csm::ImageCoord&>(imagePt), height,
                                               desiredPrecision, achievedPrecision, warnings);
    return csm::EcefCoordCovar(plain.x, plain.y, plain.z);
}

csm::EcefVector RasterGM::getIlluminationDirection(const csm::EcefCoord& /*groundPt*/) const {
    throwNotImplemented();
}

double RasterGM::getImageTime(const csm::ImageCoord& /*imagePt*/) const {
    throwNotImplemented();
}

csm::EcefCoord RasterGM::getSensorPosition(double /*time*/) const {
    throwNotImplemented();
}

csm::EcefCoord RasterGM::getSensorPosition(const csm::ImageCoord& /*imagePt*/) const {
    throwNotImplemented();
}

csm::EcefVector RasterGM::getSensorVelocity(double /*time*/) const {
    throwNotImplemented();
}

csm::EcefVector RasterGM::getSensorVelocity(const csm::ImageCoord& /*imagePt*/) const {
    throwNotImplemented();
}

RasterGM::SensorPartials RasterGM::computeSensorPartials(int /*index*/,
                                                         const csm::EcefCoord& /*groundPt*/,
                                                         double /*desiredPrecision*/,
                                                         double* /*achievedPrecision*/,
                                                         csm::WarningList* /*warnings*/) const {
    throwNotImplemented();
}

RasterGM::SensorPartials RasterGM::computeSensorPartials(int /*index*/,
                                                         const csm::ImageCoord& /*imagePt*/,
                                                         const csm::EcefCoord& /*groundPt*/,
                                                         double /*desiredPrecision*/,
                                                         double* /*achievedPrecision*/,
                                                         csm::WarningList* /*warnings*/) const {
    throwNotImplemented();
}

std::vector<double> RasterGM::computeGroundPartials(const csm::EcefCoord& /*groundPt*/) const {
    throwNotImplemented();
}

const csm::CorrelationModel& RasterGM::getCorrelationModel() const {
    throwNotImplemented();
}

std::vector<double> RasterGM::getUnmodeledCrossCovariance(const csm::ImageCoord& /*pt1*/,
                                                          const csm::ImageCoord& /*pt2*/) const {
    throwNotImplemented();
}

void RasterGM::addMarkerParameter() {
    parameters.emplace_back(kMarkerParameterName, 1.0, "BOOLEAN", csm::param::FIXED,
                            csm::SharingCriteria());
}

void RasterGM::addProperties(nlohmann::ordered_json& document, const PropertyMap& props) {
    if (props.empty()) {
        return;
    }
    nlohmann::ordered_json member = nlohmann::ordered_json::object();
    for (const auto& [key, value] : props) {
        member[std::to_string(key)] = std::to_string(value);
    }
    document["Properties"] = std::move(member);
}

RasterGM::PropertyMap RasterGM::loadProperties(const nlohmann::json& document) {
    PropertyMap result;
    const auto it = document.find("Properties");
    if (it == document.end() || !it->is_object()) {
        return result;
    }
    for (const auto& [key, value] : it->items()) {
        if (value.is_string()) {
            result[std::to_wstring(key)] = std::to_wstring(value.get<std::string>());
        }
    }
    return result;
}

void RasterGM::writeHeader(nlohmann::ordered_json& document, const StateHeader& header) {
    document["IID2"] = header.IID2;
    document["IDATIM"] = header.IDATIM;
    document["NROWS"] = header.NROWS;
    document["NCOLS"] = header.NCOLS;
}

std::string RasterGM::formatState(const nlohmann::ordered_json& document) const {
    return modelName + " " +
           document.dump(-1, ' ', true, nlohmann::ordered_json::error_handler_t::replace);
}

RasterGM* findVexaRasterGM(csm::RasterGM* model) {
    if (model == nullptr) {
        return nullptr;
    }
    const int count = model->getNumParameters();
    for (int i = 0; i < count; ++i) {
        if (model->getParameterName(i) == kMarkerParameterName &&
            model->getParameterValue(i) != 0.0) {
            if (auto* ours = dynamic_cast<RasterGM*>(model)) {
                return ours;
            }
        }
    }
    return nullptr;
}

}  // namespace VEXASensors
