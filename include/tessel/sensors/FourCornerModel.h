#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// A mapping between image and ground from four geodetic corners alone: bilinear in the
// image position, with the height playing no part. The concrete models differ only in where
// the corners come from (BLOCKA, CSCRNA or the image subheader's IGEOLO).

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "tessel/sensors/RasterGM.h"

namespace VEXASensors {

class FourCornerModel : public RasterGM {
public:
    // Corners in the order upper left, upper right, lower right, lower left.
    using Corners = std::array<LLHCoord, 4>;

    ~FourCornerModel() override;

    std::string getImageIdentifier() const override;
    std::string getSensorIdentifier() const override;
    std::string getPlatformIdentifier() const override;
    std::string getCollectionIdentifier() const override;
    std::string getTrajectoryIdentifier() const override;
    std::string getReferenceDateAndTime() const override;
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
    using RasterGM::getSensorVelocity;
    csm::EcefVector getSensorVelocity(double time) const override;
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

    // The bilinear coefficients: longitude a0..a3, latitude b0..b3, in degrees.
    const std::array<double, 4>& lonCoefficients() const { return a; }
    const std::array<double, 4>& latCoefficients() const { return b; }

protected:
    FourCornerModel(const StateHeader& header, const Corners& corners, const PropertyMap& props,
                    const std::string& name);

    // The header and "Properties" of a state document, to which a model adds its record.
    nlohmann::ordered_json stateDocument() const;

private:
    // (line, sample) to (lon, lat) in degrees, and back.
    std::pair<double, double> forward(double line, double sample) const;
    std::pair<double, double> inverse(double lon, double lat) const;

    std::string imageIdentifier;
    std::string referenceDateAndTime;
    int32_t numRows = 1;
    int32_t numCols = 1;
    std::array<double, 4> a{};
    std::array<double, 4> b{};
};

}  // namespace VEXASensors

TESSEL_PUBLIC_END
