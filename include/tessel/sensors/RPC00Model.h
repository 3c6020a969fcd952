#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// Image-to-ground and ground-to-image geometry from rational polynomial coefficients
// (RPC00A or RPC00B support data).

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tessel/sensors/RasterGM.h"

namespace Tessel {
class NITFFileContext;
}

namespace VEXASensors {

extern const std::string RPC_A_MODEL_NAME;  // "VEXA_RPC_A"
extern const std::string RPC_B_MODEL_NAME;  // "VEXA_RPC_B"

// The values of one record; the subclasses give the polynomial its term order.
class RPC00 {
public:
    virtual ~RPC00();

    // The polynomial and its derivatives by latitude and by longitude, at normalised
    // latitude P, longitude L and height H, with twenty coefficients.
    virtual double value(double P, double L, double H, const double* c) const = 0;
    virtual double dLat(double P, double L, double H, const double* c) const = 0;
    virtual double dLon(double P, double L, double H, const double* c) const = 0;

    std::string SUCCESS;
    double ERR_BIAS = 0.0;
    double ERR_RAND = 0.0;
    double LINE_OFF = 0.0;
    double SAMP_OFF = 0.0;
    double LAT_OFF = 0.0;
    double LONG_OFF = 0.0;
    double HEIGHT_OFF = 0.0;
    double LINE_SCALE = 0.0;
    double SAMP_SCALE = 0.0;
    double LAT_SCALE = 0.0;
    double LONG_SCALE = 0.0;
    double HEIGHT_SCALE = 0.0;
    std::vector<double> LINE_NUM_COEFF;
    std::vector<double> LINE_DEN_COEFF;
    std::vector<double> SAMP_NUM_COEFF;
    std::vector<double> SAMP_DEN_COEFF;
};

class RPC00A : public virtual RPC00 {
public:
    double value(double P, double L, double H, const double* c) const override;
    double dLat(double P, double L, double H, const double* c) const override;
    double dLon(double P, double L, double H, const double* c) const override;
};

class RPC00B : public virtual RPC00 {
public:
    double value(double P, double L, double H, const double* c) const override;
    double dLat(double P, double L, double H, const double* c) const override;
    double dLon(double P, double L, double H, const double* c) const override;
};

// Where a reader sends the words of a failure before it gives up.
using RPC00FailSink = std::function<void(const std::string&)>;

class RPC00Model : public RasterGM {
public:
    RPC00Model(std::unique_ptr<RPC00> record, const StateHeader& header, const PropertyMap& props,
               const std::string& name);
    ~RPC00Model() override;

    // A model from a state's or a JSON ISD's document, or from a NITF file's TRE; null after
    // the failure went to `fail`. Neither throws.
    static std::unique_ptr<RPC00Model> fromDocument(const nlohmann::json& document,
                                                    const std::string& name,
                                                    const RPC00FailSink& fail);
    static std::unique_ptr<RPC00Model> fromFile(const Tessel::NITFFileContext& file,
                                                const std::string& name, const RPC00FailSink& fail);
    // Reads a record of the given TRE name from its JSON object; reports through `fail`
    // and throws already_logged on a missing or malformed member.
    static std::unique_ptr<RPC00> readRecord(const nlohmann::json& object,
                                             const std::string& treName, const RPC00FailSink& fail);

    const RPC00& record() const { return *rpc; }

    std::string getImageIdentifier() const override;
    std::string getSensorIdentifier() const override;
    std::string getPlatformIdentifier() const override;
    std::string getCollectionIdentifier() const override;
    std::string getTrajectoryIdentifier() const override;
    std::string getReferenceDateAndTime() const override;
    std::string getModelState() const override;

    csm::EcefCoord getReferencePoint() const override;
    double getParameterCovariance(int index1, int index2) const override;
    void setParameterCovariance(int index1, int index2, double covariance) override;
    int getNumGeometricCorrectionSwitches() const override;
    std::string getGeometricCorrectionName(int index) const override;
    void setGeometricCorrectionSwitch(int index, bool value, csm::param::Type pType) override;
    bool getGeometricCorrectionSwitch(int index) const override;
    std::vector<double> getCrossCovarianceMatrix(
        const csm::GeometricModel& comparisonModel, csm::param::Set pSet = csm::param::VALID,
        const GeometricModelList& otherModels = GeometricModelList()) const override;

    // The covariance forms are the base's.
    using RasterGM::groundToImage;
    using RasterGM::imageToGround;
    csm::ImageCoord groundToImage(const csm::EcefCoord& groundPt, double desiredPrecision = 0.001,
                                  double* achievedPrecision = nullptr,
                                  csm::WarningList* warnings = nullptr) const override;
    csm::EcefCoord imageToGround(const csm::ImageCoord& imagePt, double height,
                                 double desiredPrecision = 0.001,
                                 double* achievedPrecision = nullptr,
                                 csm::WarningList* warnings = nullptr) const override;
    csm::EcefLocus imageToProximateImagingLocus(
        const csm::ImageCoord& imagePt, const csm::EcefCoord& groundPt,
        double desiredPrecision = 0.001, double* achievedPrecision = nullptr,
        csm::WarningList* warnings = nullptr) const override;
    csm::EcefLocus imageToRemoteImagingLocus(const csm::ImageCoord& imagePt,
                                             double desiredPrecision = 0.001,
                                             double* achievedPrecision = nullptr,
                                             csm::WarningList* warnings = nullptr) const override;
    csm::ImageCoord getImageStart() const override;
    csm::ImageVector getImageSize() const override;
    std::pair<csm::ImageCoord, csm::ImageCoord> getValidImageRange() const override;
    std::pair<double, double> getValidHeightRange() const override;
    csm::EcefVector getIlluminationDirection(const csm::EcefCoord& groundPt) const override;
    std::vector<SensorPartials> computeAllSensorPartials(
        const csm::EcefCoord& groundPt, csm::param::Set pSet = csm::param::VALID,
        double desiredPrecision = 0.001, double* achievedPrecision = nullptr,
        csm::WarningList* warnings = nullptr) const override;
    std::vector<SensorPartials> computeAllSensorPartials(
        const csm::ImageCoord& imagePt, const csm::EcefCoord& groundPt,
        csm::param::Set pSet = csm::param::VALID, double desiredPrecision = 0.001,
        double* achievedPrecision = nullptr, csm::WarningList* warnings = nullptr) const override;

    bool useLLH() const override;
    ImageCoord groundToImage_llh(const LLHCoord& groundPt, double desiredPrecision = 0.001,
                                 double* achievedPrecision = nullptr,
                                 csm::WarningList* warnings = nullptr) const override;
    LLHCoord imageToGround_llh(const ImageCoord& imagePt, double height,
                               double desiredPrecision = 0.001, double* achievedPrecision = nullptr,
                               csm::WarningList* warnings = nullptr) const override;

private:
    // (lat, lon, height) in degrees to (sample, line, height).
    void forward(const double ground[3], double image[3]) const;
    // (sample, line, height) to (lat, lon, height) by Newton's method from the record's
    // centre; the last estimate stands when it doesn't converge.
    void inverse(const double image[3], double ground[3], double desiredPrecision = 0.001,
                 double* achievedPrecision = nullptr, csm::WarningList* warnings = nullptr) const;
    csm::EcefCoord ecefAt(const csm::ImageCoord& imagePt, double height) const;

    double pixelOffset = 0.0;
    std::unique_ptr<RPC00> rpc;
    std::string imageIdentifier;
    std::string referenceDateAndTime;
    int32_t numRows = 1;
    int32_t numCols = 1;
    // The record's term order, fixed at construction, so that a point costs no virtual call.
    bool orderB = false;
    // The four coefficient lists side by side, term by term (line numerator, line
    // denominator, sample numerator, sample denominator).
    std::array<std::array<double, 4>, 20> quadCoefficients{};
};

}  // namespace VEXASensors

TESSEL_PUBLIC_END
