#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// The common base of this library's sensor models: a CSM raster model that also answers in
// geodetic degrees, owns the parameter list with its marker, the display properties and
// the model state format.

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "tessel/csm/RasterGM.h"
#include "tessel/sensors/Coordinates.h"

namespace VEXASensors {

// Name, value, units and type of the parameter that marks a model of this library.
extern const char* const kMarkerParameterName;

// The header members common to every model state.
struct StateHeader {
    std::string IID2;
    std::string IDATIM;
    int32_t NROWS = 1;
    int32_t NCOLS = 1;
};

class RasterGM : public csm::RasterGM {
public:
    using PropertyMap = std::map<std::wstring, std::wstring>;

    ~RasterGM() override;

    std::string getFamily() const override;
    csm::Version getVersion() const override;
    std::string getModelName() const override;
    std::string getPedigree() const override;
    void setImageIdentifier(const std::string& imageId,
                            csm::WarningList* warnings = nullptr) override;
    std::string getSensorType() const override;
    std::string getSensorMode() const override;
    void replaceModelState(const std::string& newState) override;

    void setReferencePoint(const csm::EcefCoord& groundPt) override;
    int getNumParameters() const override;
    std::string getParameterName(int index) const override;
    std::string getParameterUnits(int index) const override;
    bool hasShareableParameters() const override;
    bool isParameterShareable(int index) const override;
    csm::SharingCriteria getParameterSharingCriteria(int index) const override;
    double getParameterValue(int index) const override;
    void setParameterValue(int index, double value) override;
    csm::param::Type getParameterType(int index) const override;
    void setParameterType(int index, csm::param::Type pType) override;
    Parameter getParameter(int index) const override;
    void setParameter(int index, const Parameter& parameter) override;

    // The covariance forms answer as the plain forms do, with a covariance of zero: no model
    // of this library carries error terms.
    using csm::RasterGM::groundToImage;
    using csm::RasterGM::imageToGround;
    csm::ImageCoordCovar groundToImage(const csm::EcefCoordCovar& groundPt,
                                       double desiredPrecision = 0.001,
                                       double* achievedPrecision = nullptr,
                                       csm::WarningList* warnings = nullptr) const override;
    csm::EcefCoordCovar imageToGround(const csm::ImageCoordCovar& imagePt, double height,
                                      double heightVariance, double desiredPrecision = 0.001,
                                      double* achievedPrecision = nullptr,
                                      csm::WarningList* warnings = nullptr) const override;

    csm::EcefVector getIlluminationDirection(const csm::EcefCoord& groundPt) const override;
    double getImageTime(const csm::ImageCoord& imagePt) const override;
    csm::EcefCoord getSensorPosition(double time) const override;
    csm::EcefCoord getSensorPosition(const csm::ImageCoord& imagePt) const override;
    csm::EcefVector getSensorVelocity(double time) const override;
    csm::EcefVector getSensorVelocity(const csm::ImageCoord& imagePt) const override;
    SensorPartials computeSensorPartials(int index, const csm::EcefCoord& groundPt,
                                         double desiredPrecision = 0.001,
                                         double* achievedPrecision = nullptr,
                                         csm::WarningList* warnings = nullptr) const override;
    SensorPartials computeSensorPartials(int index, const csm::ImageCoord& imagePt,
                                         const csm::EcefCoord& groundPt,
                                         double desiredPrecision = 0.001,
                                         double* achievedPrecision = nullptr,
                                         csm::WarningList* warnings = nullptr) const override;
    std::vector<double> computeGroundPartials(const csm::EcefCoord& groundPt) const override;
    const csm::CorrelationModel& getCorrelationModel() const override;
    std::vector<double> getUnmodeledCrossCovariance(const csm::ImageCoord& pt1,
                                                    const csm::ImageCoord& pt2) const override;

    // True when the model computes natively in latitude, longitude and height.
    virtual bool useLLH() const = 0;
    virtual ImageCoord groundToImage_llh(const LLHCoord& groundPt, double desiredPrecision = 0.001,
                                         double* achievedPrecision = nullptr,
                                         csm::WarningList* warnings = nullptr) const = 0;
    virtual LLHCoord imageToGround_llh(const ImageCoord& imagePt, double height,
                                       double desiredPrecision = 0.001,
                                       double* achievedPrecision = nullptr,
                                       csm::WarningList* warnings = nullptr) const = 0;

    const PropertyMap& getProperties() const { return properties; }

protected:
    RasterGM() = default;

    // Appends the parameter that marks a model of this library; every concrete
    // constructor calls it once.
    void addMarkerParameter();

    // The "Properties" member of a state document, written and read back.
    static void addProperties(nlohmann::ordered_json& document, const PropertyMap& props);
    static PropertyMap loadProperties(const nlohmann::json& document);
    static void writeHeader(nlohmann::ordered_json& document, const StateHeader& header);
    // "<modelName> <json>", compact, non-ASCII escaped.
    std::string formatState(const nlohmann::ordered_json& document) const;

    std::string modelName;
    std::vector<Parameter> parameters;
    PropertyMap properties;

private:
    const Parameter& parameterAt(int index, const char* operation) const;
    Parameter& writableParameterAt(int index, const char* operation);
    std::string propertyOrUnknown(const wchar_t* key) const;
};

// The model of this library behind a CSM model, found by its marker parameter; null for a
// model from any other plug-in.
RasterGM* findVexaRasterGM(csm::RasterGM* model);

// The version of this library's models, from the properties "VersionMajor", "VersionMinor"
// and "VersionPatch" of the section "RasterSensors".
csm::Version configuredVersion();

// What an operation that no model of this library provides throws.
[[noreturn]] void throwNotImplemented();
// The failure of the parameter, covariance and correction-switch family.
[[noreturn]] void throwParameterNotFound(const std::string& function);

}  // namespace VEXASensors

TESSEL_PUBLIC_END
