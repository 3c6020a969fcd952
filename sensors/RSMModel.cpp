#include "tessel/sensors/RSMModel.h"

#include <boost/format.hpp>
#include <cmath>

#include "tessel/core/Options.h"
#include "tessel/platform/geo/gx.h"

namespace VEXASensors {

const std::string RSM_POLY_MODEL_NAME = "VEXA_RSM_POLY";
const std::string RSM_GRID_MODEL_NAME = "VEXA_RSM_GRID";

namespace detail_rsm_model {

constexpr const char* kRsmClass = "VEXASensors::RSMModel::";
constexpr double kTwoPi = 6.283185307179586;

// A time field as an integer for the date text: absent counts as 0, and so does a value
// that no integer holds.
int dateField(const std::optional<int32_t>& value) {
    return value.value_or(0);
}

int wholeSeconds(const std::optional<double>& value) {
    const double seconds = value.value_or(0.0);
    if (!(seconds > -2147483649.0 && seconds < 2147483648.0)) {
        return 0;
    }
    return static_cast<int>(seconds);
}

}  // namespace detail_rsm_model

namespace rsmm = detail_rsm_model;

RSMModel::RSMModel(RSMID id) : rsmid(std::move(id)) {
    pixelOffset = Tessel::s_opt_vexa_rsm_pixel_offset();
}

RSMModel::~RSMModel() = default;

std::string RSMModel::getImageIdentifier() const {
    return rsmid.IID;
}
std::string RSMModel::getSensorIdentifier() const {
    return rsmid.SID;
}
std::string RSMModel::getPlatformIdentifier() const {
    return "UNKNOWN";
}
std::string RSMModel::getCollectionIdentifier() const {
    return "UNKNOWN";
}
std::string RSMModel::getTrajectoryIdentifier() const {
    return "";
}
std::string RSMModel::getSensorType() const {
    return rsmid.STID;
}

std::string RSMModel::getReferenceDateAndTime() const {
    return boost::str(boost::format("%04d%02d%02dT%02d%02d%02d") % rsmm::dateField(rsmid.YEAR) %
                      rsmm::dateField(rsmid.MONTH) % rsmm::dateField(rsmid.DAY) %
                      rsmm::dateField(rsmid.HOUR) % rsmm::dateField(rsmid.MINUTE) %
                      rsmm::wholeSeconds(rsmid.SECOND));
}

// The ground reference point when the record has one, otherwise the ground under the image
// centre at the middle of the valid heights.
csm::EcefCoord RSMModel::getReferencePoint() const {
    if (rsmid.GRPX) {
        // The reader keeps the triple whole, so GRPY and GRPZ stand beside GRPX.
        const double point[3] = {*rsmid.GRPX, rsmid.GRPY.value_or(0.0), rsmid.GRPZ.value_or(0.0)};
        return fromDomain(point);
    }
    const auto range = getValidImageRange();
    const auto heights = getValidHeightRange();
    const csm::ImageCoord centre((range.first.line + range.second.line) / 2.0,
                                 (range.first.samp + range.second.samp) / 2.0);
    return imageToGround(centre, (heights.first + heights.second) / 2.0, 0.001, nullptr, nullptr);
}

void RSMModel::toDomain(const csm::EcefCoord& ecef, double domain[3]) const {
    if (rsmid.GRNDD == RSMGroundDomain::R) {
        domain[0] = ecef.x;
        domain[1] = ecef.y;
        domain[2] = ecef.z;
        return;
    }
    gx_xyz_to_lph(kWgs84A, kWgs84E2, ecef.x, ecef.y, ecef.z, &domain[0], &domain[1], &domain[2]);
    if (rsmid.GRNDD == RSMGroundDomain::H && domain[0] < 0.0) {
        domain[0] += rsmm::kTwoPi;
    }
}

csm::EcefCoord RSMModel::fromDomain(const double domain[3]) const {
    if (rsmid.GRNDD == RSMGroundDomain::R) {
        return csm::EcefCoord(domain[0], domain[1], domain[2]);
    }
    csm::EcefCoord result;
    gx_lph_to_xyz(kWgs84A, kWgs84E2, domain[0], domain[1], domain[2], &result.x, &result.y,
                  &result.z);
    return result;
}

double RSMModel::getParameterCovariance(int, int) const {
    throwParameterNotFound(std::string(rsmm::kRsmClass) + "getParameterCovariance");
}
void RSMModel::setParameterCovariance(int, int, double) {
    throwParameterNotFound(std::string(rsmm::kRsmClass) + "setParameterCovariance");
}
int RSMModel::getNumGeometricCorrectionSwitches() const {
    return 0;
}
std::string RSMModel::getGeometricCorrectionName(int) const {
    throwParameterNotFound(std::string(rsmm::kRsmClass) + "getGeometricCorrectionName");
}
void RSMModel::setGeometricCorrectionSwitch(int, bool, csm::param::Type) {
    throwParameterNotFound(std::string(rsmm::kRsmClass) + "setGeometricCorrectionSwitch");
}
bool RSMModel::getGeometricCorrectionSwitch(int) const {
    throwParameterNotFound(std::string(rsmm::kRsmClass) + "getGeometricCorrectionSwitch");
}
std::vector<double> RSMModel::getCrossCovarianceMatrix(const csm::GeometricModel&, csm::param::Set,
                                                       const GeometricModelList&) const {
    throwParameterNotFound(std::string(rsmm::kRsmClass) + "getCrossCovarianceMatrix");
}

std::vector<RSMModel::SensorPartials> RSMModel::computeAllSensorPartials(const csm::EcefCoord&,
                                                                         csm::param::Set, double,
                                                                         double*,
                                                                         csm::WarningList*) const {
    throwNotImplemented();
}

std::vector<RSMModel::SensorPartials> RSMModel::computeAllSensorPartials(const csm::ImageCoord&,
                                                                         const csm::EcefCoord&,
                                                                         csm::param::Set, double,
                                                                         double*,
                                                                         csm::WarningList*) const {
    throwNotImplemented();
}

}  // namespace VEXASensors
