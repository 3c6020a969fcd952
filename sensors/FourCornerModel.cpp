#include "tessel/sensors/FourCornerModel.h"

#include <cmath>

#include "tessel/platform/geo/gx.h"

namespace VEXASensors {

namespace detail_four_corner {

constexpr const char* kFourCornerClass = "VEXASensors::FourCornerModel::";
constexpr double kLocusHeightStep = 100.0;

std::string fourCornerFunction(const char* operation) {
    return std::string(kFourCornerClass) + operation;
}

bool inUnitRange(double value) {
    return value >= 0.0 && value <= 1.0;
}

// Of two roots of which neither lies in 0 to 1, the one nearer to that range.
double nearerRoot(double r1, double r2) {
    if (std::fabs(r2) > std::fabs(r1) && std::fabs(r2 - 1.0) > std::fabs(r1)) {
        return r1;
    }
    if (std::fabs(r2) > std::fabs(r1 - 1.0) && std::fabs(r2 - 1.0) > std::fabs(r1 - 1.0)) {
        return r1;
    }
    return r2;
}

}  // namespace detail_four_corner

namespace fcm = detail_four_corner;

FourCornerModel::FourCornerModel(const StateHeader& header, const Corners& corners,
                                 const PropertyMap& props, const std::string& name)
    : imageIdentifier(header.IID2),
      referenceDateAndTime(header.IDATIM),
      numRows(header.NROWS),
      numCols(header.NCOLS) {
    const LLHCoord& c0 = corners[0];
    const LLHCoord& c1 = corners[1];
    const LLHCoord& c2 = corners[2];
    const LLHCoord& c3 = corners[3];
    a = {c0.lon, c3.lon - c0.lon, c1.lon - c0.lon, c0.lon - c3.lon - c1.lon + c2.lon};
    b = {c0.lat, c3.lat - c0.lat, c1.lat - c0.lat, c0.lat - c3.lat - c1.lat + c2.lat};
    properties = props;
    addMarkerParameter();
    modelName = name;
}

FourCornerModel::~FourCornerModel() = default;

std::pair<double, double> FourCornerModel::forward(double line, double sample) const {
    const double u = line / numRows;
    const double v = sample / numCols;
    return {a[0] + a[1] * u + a[2] * v + a[3] * u * v, b[0] + b[1] * u + b[2] * v + b[3] * u * v};
}

// The bilinear system reduced to a quadratic in u; a degenerate one falls to the linear
// solution, so the inverse never fails.
std::pair<double, double> FourCornerModel::inverse(double x, double y) const {
    const double A = b[1] * a[3] - b[3] * a[1];
    const double B = a[2] * b[1] + b[0] * a[3] + x * b[3] - b[2] * a[1] - a[0] * b[3] - y * a[3];
    const double C = b[0] * a[2] + x * b[2] - a[0] * b[2] - y * a[2];
    double u = 0.0;
    const double D = B * B - 4.0 * A * C;
    if (A != 0.0 && D >= 0.0) {
        const double r1 = (-B - std::sqrt(D)) / (2.0 * A);
        const double r2 = (std::sqrt(D) - B) / (2.0 * A);
        if (fcm::inUnitRange(r1)) {
            u = r1;
        } else if (fcm::inUnitRange(r2)) {
            u = r2;
        } else {
            u = fcm::nearerRoot(r1, r2);
        }
    } else if (B != 0.0) {
        u = -C / B;
    }
    const double den = a[2] + a[3] * u;
    const double v = den != 0.0 ? (x - a[0] - a[1] * u) / den : 0.0;
    return {numRows * u, numCols * v};
}

std::string FourCornerModel::getImageIdentifier() const {
    return imageIdentifier;
}
std::string FourCornerModel::getSensorIdentifier() const {
    return "UNKNOWN";
}
std::string FourCornerModel::getPlatformIdentifier() const {
    return "UNKNOWN";
}
std::string FourCornerModel::getCollectionIdentifier() const {
    return "UNKNOWN";
}
std::string FourCornerModel::getTrajectoryIdentifier() const {
    return "UNKNOWN";
}
std::string FourCornerModel::getReferenceDateAndTime() const {
    return referenceDateAndTime;
}

csm::EcefCoord FourCornerModel::getReferencePoint() const {
    const auto range = getValidImageRange();
    const csm::ImageCoord centre((range.first.line + range.second.line) / 2.0,
                                 (range.first.samp + range.second.samp) / 2.0);
    return imageToGround(centre, 0.0, 0.001, nullptr, nullptr);
}

double FourCornerModel::getParameterCovariance(int, int) const {
    throwParameterNotFound(fcm::fourCornerFunction("getParameterCovariance"));
}
void FourCornerModel::setParameterCovariance(int, int, double) {
    throwParameterNotFound(fcm::fourCornerFunction("setParameterCovariance"));
}
int FourCornerModel::getNumGeometricCorrectionSwitches() const {
    return 0;
}
std::string FourCornerModel::getGeometricCorrectionName(int) const {
    throwParameterNotFound(fcm::fourCornerFunction("getGeometricCorrectionName"));
}
void FourCornerModel::setGeometricCorrectionSwitch(int, bool, csm::param::Type) {
    throwParameterNotFound(fcm::fourCornerFunction("setGeometricCorrectionSwitch"));
}
bool FourCornerModel::getGeometricCorrectionSwitch(int) const {
    throwParameterNotFound(fcm::fourCornerFunction("getGeometricCorrectionSwitch"));
}
std::vector<double> FourCornerModel::getCrossCovarianceMatrix(const csm::GeometricModel&,
                                                              csm::param::Set,
                                                              const GeometricModelList&) const {
    throwParameterNotFound(fcm::fourCornerFunction("getCrossCovarianceMatrix"));
}

// The mapping is closed-form: the precision arguments play no part.
csm::ImageCoord FourCornerModel::groundToImage(const csm::EcefCoord& groundPt,
                                               double /*desiredPrecision*/,
                                               double* /*achievedPrecision*/,
                                               csm::WarningList* /*warnings*/) const {
    double lambda = 0.0;
    double phi = 0.0;
    double h = 0.0;
    gx_xyz_to_lph(kWgs84A, kWgs84E2, groundPt.x, groundPt.y, groundPt.z, &lambda, &phi, &h);
    const auto [line, sample] = inverse(lambda * kRadToDeg, phi * kRadToDeg);
    return csm::ImageCoord(line, sample);
}

csm::EcefCoord FourCornerModel::imageToGround(const csm::ImageCoord& imagePt, double height,
                                              double /*desiredPrecision*/,
                                              double* /*achievedPrecision*/,
                                              csm::WarningList* /*warnings*/) const {
    const auto [lon, lat] = forward(imagePt.line, imagePt.samp);
    csm::EcefCoord result;
    gx_lph_to_xyz(kWgs84A, kWgs84E2, lon * kDegToRad, lat * kDegToRad, height, &result.x, &result.y,
                  &result.z);
    return result;
}

// The direction is left unnormalised, and the ground point's third Earth-centred coordinate
// stands in for a height: clients rely on this locus as it is.
csm::EcefLocus FourCornerModel::imageToProximateImagingLocus(const csm::ImageCoord& imagePt,
                                                             const csm::EcefCoord& groundPt,
                                                             double /*desiredPrecision*/,
                                                             double* /*achievedPrecision*/,
                                                             csm::WarningList* /*warnings*/) const {
    const csm::EcefCoord below =
        imageToGround(imagePt, groundPt.z - fcm::kLocusHeightStep, 0.001, nullptr, nullptr);
    const csm::EcefVector direction(groundPt.x - below.x, groundPt.y - below.y,
                                    groundPt.z - below.z);
    return csm::EcefLocus(groundPt, direction);
}

csm::EcefLocus FourCornerModel::imageToRemoteImagingLocus(const csm::ImageCoord& imagePt,
                                                          double /*desiredPrecision*/,
                                                          double* /*achievedPrecision*/,
                                                          csm::WarningList* /*warnings*/) const {
    const csm::EcefCoord high =
        imageToGround(imagePt, fcm::kLocusHeightStep, 0.001, nullptr, nullptr);
    const csm::EcefCoord low = imageToGround(imagePt, 0.0, 0.001, nullptr, nullptr);
    const csm::EcefVector direction(low.x - high.x, low.y - high.y, low.z - high.z);
    return csm::EcefLocus(high, direction);
}

csm::ImageCoord FourCornerModel::getImageStart() const {
    return csm::ImageCoord(0.0, 0.0);
}

csm::ImageVector FourCornerModel::getImageSize() const {
    const auto range = getValidImageRange();
    return csm::ImageVector(range.second.line, range.second.samp);
}

std::pair<csm::ImageCoord, csm::ImageCoord> FourCornerModel::getValidImageRange() const {
    return {csm::ImageCoord(0.0, 0.0),
            csm::ImageCoord(static_cast<double>(numRows), static_cast<double>(numCols))};
}

std::pair<double, double> FourCornerModel::getValidHeightRange() const {
    return {-1000.0, 6000.0};
}

csm::EcefVector FourCornerModel::getSensorVelocity(double /*time*/) const {
    return csm::EcefVector(0.0, 0.0, 0.0);
}

std::vector<FourCornerModel::SensorPartials> FourCornerModel::computeAllSensorPartials(
    const csm::EcefCoord&, csm::param::Set, double, double*, csm::WarningList*) const {
    throwNotImplemented();
}

std::vector<FourCornerModel::SensorPartials> FourCornerModel::computeAllSensorPartials(
    const csm::ImageCoord&, const csm::EcefCoord&, csm::param::Set, double, double*,
    csm::WarningList*) const {
    throwNotImplemented();
}

bool FourCornerModel::useLLH() const {
    return true;
}

ImageCoord FourCornerModel::groundToImage_llh(const LLHCoord& groundPt, double /*desiredPrecision*/,
                                              double* /*achievedPrecision*/,
                                              csm::WarningList* /*warnings*/) const {
    const auto [line, sample] = inverse(groundPt.lon, groundPt.lat);
    return ImageCoord(line, sample);
}

LLHCoord FourCornerModel::imageToGround_llh(const ImageCoord& imagePt, double height,
                                            double /*desiredPrecision*/,
                                            double* /*achievedPrecision*/,
                                            csm::WarningList* /*warnings*/) const {
    const auto [lon, lat] = forward(imagePt.line, imagePt.samp);
    return LLHCoord(lat, lon, height);
}

nlohmann::ordered_json FourCornerModel::stateDocument() const {
    nlohmann::ordered_json document = nlohmann::ordered_json::object();
    writeHeader(document, StateHeader{imageIdentifier, referenceDateAndTime, numRows, numCols});
    addProperties(document, properties);
    return document;
}

}  // namespace VEXASensors
