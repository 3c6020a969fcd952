#include "tessel/sensors/RasterSensor.h"

#include "tessel/platform/geo/gx.h"
#include "tessel/sensors/RasterGM.h"

namespace VEXASensors {

RasterSensor::RasterSensor(csm::Model* model) : model_(model) {
    auto* rasterModel = dynamic_cast<csm::RasterGM*>(model_);
    const RasterGM* own = rasterModel == nullptr ? nullptr : findVexaRasterGM(rasterModel);
    useLLH_ = own != nullptr && own->useLLH();
}

RasterSensor::RasterSensor(RasterSensor&& other) noexcept
    : model_(std::exchange(other.model_, nullptr)), useLLH_(std::exchange(other.useLLH_, false)) {}

RasterSensor& RasterSensor::operator=(RasterSensor&& other) noexcept {
    if (this != &other) {
        delete model_;
        model_ = std::exchange(other.model_, nullptr);
        useLLH_ = std::exchange(other.useLLH_, false);
    }
    return *this;
}

RasterSensor::~RasterSensor() {
    delete model_;
}

std::optional<ImageCoord> RasterSensor::groundToImage(const EcefCoord& groundPt,
                                                      double desiredPrecision,
                                                      double* achievedPrecision) const {
    const csm::RasterGM* model = raster();
    if (model == nullptr) {
        return std::nullopt;
    }
    csm::WarningList warnings;
    const csm::ImageCoord image =
        model->groundToImage(csm::EcefCoord(groundPt.x, groundPt.y, groundPt.z), desiredPrecision,
                             achievedPrecision, &warnings);
    return ImageCoord(image.line, image.samp);
}

std::optional<EcefCoord> RasterSensor::imageToGround(const ImageCoord& imagePt, double height,
                                                     double desiredPrecision,
                                                     double* achievedPrecision) const {
    const csm::RasterGM* model = raster();
    if (model == nullptr) {
        return std::nullopt;
    }
    csm::WarningList warnings;
    const csm::EcefCoord ground =
        model->imageToGround(csm::ImageCoord(imagePt.line, imagePt.samp), height, desiredPrecision,
                             achievedPrecision, &warnings);
    return EcefCoord(ground.x, ground.y, ground.z);
}

std::optional<ImageCoord> RasterSensor::groundToImage_llh(const LLHCoord& groundPt,
                                                          double desiredPrecision,
                                                          double* achievedPrecision) const {
    const csm::RasterGM* model = raster();
    if (model == nullptr) {
        return std::nullopt;
    }
    if (useLLH_) {
        const RasterGM* own = findVexaRasterGM(const_cast<csm::RasterGM*>(model));
        if (own != nullptr && own->useLLH()) {
            csm::WarningList warnings;
            return own->groundToImage_llh(groundPt, desiredPrecision, achievedPrecision, &warnings);
        }
    }
    EcefCoord ecef;
    gx_lph_to_xyz(kWgs84A, kWgs84E2, groundPt.lon * kDegToRad, groundPt.lat * kDegToRad,
                  groundPt.height, &ecef.x, &ecef.y, &ecef.z);
    return groundToImage(ecef, desiredPrecision, achievedPrecision);
}

std::optional<LLHCoord> RasterSensor::imageToGround_llh(const ImageCoord& imagePt, double height,
                                                        double desiredPrecision,
                                                        double* achievedPrecision) const {
    const csm::RasterGM* model = raster();
    if (model == nullptr) {
        return std::nullopt;
    }
    if (useLLH_) {
        const RasterGM* own = findVexaRasterGM(const_cast<csm::RasterGM*>(model));
        if (own != nullptr && own->useLLH()) {
            csm::WarningList warnings;
            return own->imageToGround_llh(imagePt, height, desiredPrecision, achievedPrecision,
                                          &warnings);
        }
    }
    const std::optional<EcefCoord> ecef =
        imageToGround(imagePt, height, desiredPrecision, achievedPrecision);
    double lambda = 0.0;
    double phi = 0.0;
    double h = 0.0;
    gx_xyz_to_lph(kWgs84A, kWgs84E2, ecef->x, ecef->y, ecef->z, &lambda, &phi, &h);
    return LLHCoord(phi * kRadToDeg, lambda * kRadToDeg, h);
}

namespace detail_raster_sensor {

template <typename Getter>
std::string textOf(const csm::Model* model, Getter&& getter) {
    return model == nullptr ? std::string() : getter(*model);
}

}  // namespace detail_raster_sensor

using detail_raster_sensor::textOf;

std::string RasterSensor::getFamily() const {
    return textOf(model_, [](const csm::Model& m) { return m.getFamily(); });
}
std::string RasterSensor::getVersion() const {
    return textOf(model_, [](const csm::Model& m) { return m.getVersion().version(); });
}
std::string RasterSensor::getModelName() const {
    return textOf(model_, [](const csm::Model& m) { return m.getModelName(); });
}
std::string RasterSensor::getPedigree() const {
    return textOf(model_, [](const csm::Model& m) { return m.getPedigree(); });
}
std::string RasterSensor::getImageIdentifier() const {
    return textOf(model_, [](const csm::Model& m) { return m.getImageIdentifier(); });
}
std::string RasterSensor::getSensorIdentifier() const {
    return textOf(model_, [](const csm::Model& m) { return m.getSensorIdentifier(); });
}
std::string RasterSensor::getPlatformIdentifier() const {
    return textOf(model_, [](const csm::Model& m) { return m.getPlatformIdentifier(); });
}
std::string RasterSensor::getCollectionIdentifier() const {
    return textOf(model_, [](const csm::Model& m) { return m.getCollectionIdentifier(); });
}
std::string RasterSensor::getTrajectoryIdentifier() const {
    return textOf(model_, [](const csm::Model& m) { return m.getTrajectoryIdentifier(); });
}
std::string RasterSensor::getSensorType() const {
    return textOf(model_, [](const csm::Model& m) { return m.getSensorType(); });
}
std::string RasterSensor::getSensorMode() const {
    return textOf(model_, [](const csm::Model& m) { return m.getSensorMode(); });
}
std::string RasterSensor::getReferenceDateAndTime() const {
    return textOf(model_, [](const csm::Model& m) { return m.getReferenceDateAndTime(); });
}
std::string RasterSensor::getModelState() const {
    return textOf(model_, [](const csm::Model& m) { return m.getModelState(); });
}

std::pair<ImageCoord, ImageCoord> RasterSensor::getValidImageRange() const {
    const csm::RasterGM* model = raster();
    if (model == nullptr) {
        return {ImageCoord(0.0, 0.0), ImageCoord(0.0, 0.0)};
    }
    const auto range = model->getValidImageRange();
    return {ImageCoord(range.first.line, range.first.samp),
            ImageCoord(range.second.line, range.second.samp)};
}

std::pair<double, double> RasterSensor::getValidHeightRange() const {
    const csm::RasterGM* model = raster();
    return model == nullptr ? std::make_pair(0.0, 0.0) : model->getValidHeightRange();
}

int RasterSensor::beginTxBlock(const LLHCoord&, const LLHCoord&, double, double) {
    return 0;
}

void RasterSensor::endTxBlock(int) {}

}  // namespace VEXASensors
