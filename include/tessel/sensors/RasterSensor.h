#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// The face of a sensor model for the library's clients: a movable handle on a CSM model with
// plain getters and four mappings that answer nothing when the sensor is invalid. Warnings of
// the model stay inside; its exceptions reach the caller.

#include <optional>
#include <string>
#include <utility>

#include "tessel/csm/RasterGM.h"
#include "tessel/sensors/Coordinates.h"

namespace VEXASensors {

class RasterSensorFactory;

class RasterSensor {
public:
    RasterSensor() = default;
    RasterSensor(RasterSensor&& other) noexcept;
    RasterSensor& operator=(RasterSensor&& other) noexcept;
    RasterSensor(const RasterSensor&) = delete;
    RasterSensor& operator=(const RasterSensor&) = delete;
    ~RasterSensor();

    bool isValid() const { return model_ != nullptr; }
    explicit operator bool() const { return isValid(); }
    // Whether the degree mappings run on the model's own geodetic route.
    bool useLLH() const { return useLLH_; }

    template <typename T>
    T* accessInternalModel() {
        return dynamic_cast<T*>(model_);
    }
    template <typename T>
    const T* accessInternalModel() const {
        return dynamic_cast<const T*>(model_);
    }

    std::optional<ImageCoord> groundToImage(const EcefCoord& groundPt,
                                            double desiredPrecision = 0.001,
                                            double* achievedPrecision = nullptr) const;
    std::optional<EcefCoord> imageToGround(const ImageCoord& imagePt, double height,
                                           double desiredPrecision = 0.001,
                                           double* achievedPrecision = nullptr) const;
    std::optional<ImageCoord> groundToImage_llh(const LLHCoord& groundPt,
                                                double desiredPrecision = 0.001,
                                                double* achievedPrecision = nullptr) const;
    std::optional<LLHCoord> imageToGround_llh(const ImageCoord& imagePt, double height,
                                              double desiredPrecision = 0.001,
                                              double* achievedPrecision = nullptr) const;

    std::string getFamily() const;
    std::string getVersion() const;
    std::string getModelName() const;
    std::string getPedigree() const;
    std::string getImageIdentifier() const;
    std::string getSensorIdentifier() const;
    std::string getPlatformIdentifier() const;
    std::string getCollectionIdentifier() const;
    std::string getTrajectoryIdentifier() const;
    std::string getSensorType() const;
    std::string getSensorMode() const;
    std::string getReferenceDateAndTime() const;
    std::string getModelState() const;
    std::pair<ImageCoord, ImageCoord> getValidImageRange() const;
    std::pair<double, double> getValidHeightRange() const;

    // Transaction blocks are accepted and change nothing.
    int beginTxBlock(const LLHCoord& first, const LLHCoord& second, double minHeight,
                     double maxHeight);
    void endTxBlock(int block);

private:
    friend class RasterSensorFactory;
    explicit RasterSensor(csm::Model* model);

    const csm::RasterGM* raster() const { return dynamic_cast<const csm::RasterGM*>(model_); }

    csm::Model* model_ = nullptr;
    bool useLLH_ = false;
};

}  // namespace VEXASensors

TESSEL_PUBLIC_END
