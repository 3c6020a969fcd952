#pragma once

#include <string>
#include <utility>
#include <vector>

#include "GeometricModel.h"
#include "csm.h"

#define CSM_RASTER_FAMILY "Raster"

namespace csm {

class CorrelationModel;

class CSM_EXPORT_API RasterGM : public GeometricModel {
public:
    RasterGM() = default;
    ~RasterGM() override;

    std::string getFamily() const override;

    virtual ImageCoord groundToImage(const EcefCoord& groundPt, double desiredPrecision = 0.001,
                                     double* achievedPrecision = nullptr,
                                     WarningList* warnings = nullptr) const = 0;
    virtual ImageCoordCovar groundToImage(const EcefCoordCovar& groundPt,
                                          double desiredPrecision = 0.001,
                                          double* achievedPrecision = nullptr,
                                          WarningList* warnings = nullptr) const = 0;
    virtual EcefCoord imageToGround(const ImageCoord& imagePt, double height,
                                    double desiredPrecision = 0.001,
                                    double* achievedPrecision = nullptr,
                                    WarningList* warnings = nullptr) const = 0;
    virtual EcefCoordCovar imageToGround(const ImageCoordCovar& imagePt, double height,
                                         double heightVariance, double desiredPrecision = 0.001,
                                         double* achievedPrecision = nullptr,
                                         WarningList* warnings = nullptr) const = 0;
    virtual EcefLocus imageToProximateImagingLocus(const ImageCoord& imagePt,
                                                   const EcefCoord& groundPt,
                                                   double desiredPrecision = 0.001,
                                                   double* achievedPrecision = nullptr,
                                                   WarningList* warnings = nullptr) const = 0;
    virtual EcefLocus imageToRemoteImagingLocus(const ImageCoord& imagePt,
                                                double desiredPrecision = 0.001,
                                                double* achievedPrecision = nullptr,
                                                WarningList* warnings = nullptr) const = 0;

    virtual ImageCoord getImageStart() const = 0;
    virtual ImageVector getImageSize() const = 0;
    virtual std::pair<ImageCoord, ImageCoord> getValidImageRange() const = 0;
    virtual std::pair<double, double> getValidHeightRange() const = 0;
    virtual EcefVector getIlluminationDirection(const EcefCoord& groundPt) const = 0;

    virtual double getImageTime(const ImageCoord& imagePt) const = 0;
    virtual EcefCoord getSensorPosition(const ImageCoord& imagePt) const = 0;
    virtual EcefCoord getSensorPosition(double time) const = 0;
    virtual EcefVector getSensorVelocity(const ImageCoord& imagePt) const = 0;
    virtual EcefVector getSensorVelocity(double time) const = 0;

    typedef std::pair<double, double> SensorPartials;

    virtual SensorPartials computeSensorPartials(int index, const EcefCoord& groundPt,
                                                 double desiredPrecision = 0.001,
                                                 double* achievedPrecision = nullptr,
                                                 WarningList* warnings = nullptr) const = 0;
    virtual SensorPartials computeSensorPartials(int index, const ImageCoord& imagePt,
                                                 const EcefCoord& groundPt,
                                                 double desiredPrecision = 0.001,
                                                 double* achievedPrecision = nullptr,
                                                 WarningList* warnings = nullptr) const = 0;
    virtual std::vector<SensorPartials> computeAllSensorPartials(
        const EcefCoord& groundPt, param::Set pSet = param::VALID, double desiredPrecision = 0.001,
        double* achievedPrecision = nullptr, WarningList* warnings = nullptr) const;
    virtual std::vector<SensorPartials> computeAllSensorPartials(
        const ImageCoord& imagePt, const EcefCoord& groundPt, param::Set pSet = param::VALID,
        double desiredPrecision = 0.001, double* achievedPrecision = nullptr,
        WarningList* warnings = nullptr) const;
    virtual std::vector<double> computeGroundPartials(const EcefCoord& groundPt) const = 0;

    virtual const CorrelationModel& getCorrelationModel() const = 0;
    std::vector<double> getUnmodeledError(const ImageCoord& imagePt) const {
        return getUnmodeledCrossCovariance(imagePt, imagePt);
    }
    virtual std::vector<double> getUnmodeledCrossCovariance(const ImageCoord& pt1,
                                                            const ImageCoord& pt2) const = 0;
};

}  // namespace csm
