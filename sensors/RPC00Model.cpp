#include "tessel/sensors/RPC00Model.h"

#include <fmt/format.h>
#include <charconv>
#include <cmath>
#include <functional>
#include <optional>
#include <stdexcept>

#include "sensors/RPC00Terms.h"
#include "sensors/SupportData.h"
#include "tessel/core/Options.h"
#include "tessel/file/NITFFileContext.h"
#include "tessel/platform/geo/gx.h"

namespace VEXASensors {

const std::string RPC_A_MODEL_NAME = "VEXA_RPC_A";
const std::string RPC_B_MODEL_NAME = "VEXA_RPC_B";

namespace detail_rpc_model {

using namespace detail_support;

constexpr const char* kRpcClass = "VEXASensors::RPC00Model::";
constexpr double kLocusEpsilon = 1.1920928955078125e-07;
constexpr size_t kCoefficientCount = 20;

std::string treNameFor(const std::string& modelName) {
    return modelName == RPC_B_MODEL_NAME ? "RPC00B" : "RPC00A";
}

// An array, or one object, string or number standing for a list of one. The polynomial
// always reads twenty, so a shorter list is completed with zeros.
std::vector<double> readCoefficients(const nlohmann::json& value, const RPC00FailSink& fail) {
    std::vector<double> result;
    if (value.is_array()) {
        result.reserve(std::max(value.size(), kCoefficientCount));
        for (const auto& element : value) {
            result.push_back(readNumber(element, fail));
        }
    } else if (value.is_object() || value.is_string() || value.is_number()) {
        result.push_back(readNumber(value, fail));
    } else {
        failAndThrow(fail, fmt::format("Type must be array, but is {}", value.type_name()));
    }
    if (result.size() < kCoefficientCount) {
        result.resize(kCoefficientCount, 0.0);
    }
    return result;
}

bool knownModelName(const std::string& name) {
    return name == RPC_A_MODEL_NAME || name == RPC_B_MODEL_NAME;
}

void normalise(csm::EcefVector& v) {
    const double length = std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
    if (length > kLocusEpsilon) {
        v.x /= length;
        v.y /= length;
        v.z /= length;
    }
}

}  // namespace detail_rpc_model

namespace rpcm = detail_rpc_model;
namespace rpcs = detail_support;

std::unique_ptr<RPC00> RPC00Model::readRecord(const nlohmann::json& object,
                                              const std::string& treName,
                                              const RPC00FailSink& fail) {
    std::unique_ptr<RPC00> record;
    if (treName == "RPC00B") {
        record = std::make_unique<RPC00B>();
    } else {
        record = std::make_unique<RPC00A>();
    }
    const auto scalar = [&](const char* key) {
        return rpcs::readNumber(rpcs::memberOf(object, key, fail), fail);
    };
    record->SUCCESS = rpcs::readText(rpcs::memberOf(object, "SUCCESS", fail));
    record->ERR_BIAS = scalar("ERR_BIAS");
    record->ERR_RAND = scalar("ERR_RAND");
    record->LINE_OFF = scalar("LINE_OFF");
    record->SAMP_OFF = scalar("SAMP_OFF");
    record->LAT_OFF = scalar("LAT_OFF");
    record->LONG_OFF = scalar("LONG_OFF");
    record->HEIGHT_OFF = scalar("HEIGHT_OFF");
    record->LINE_SCALE = scalar("LINE_SCALE");
    record->SAMP_SCALE = scalar("SAMP_SCALE");
    record->LAT_SCALE = scalar("LAT_SCALE");
    record->LONG_SCALE = scalar("LONG_SCALE");
    record->HEIGHT_SCALE = scalar("HEIGHT_SCALE");
    const auto coefficients = [&](const char* key) {
        return rpcm::readCoefficients(rpcs::memberOf(object, key, fail), fail);
    };
    record->LINE_NUM_COEFF = coefficients("LINE_NUM_COEFF");
    record->LINE_DEN_COEFF = coefficients("LINE_DEN_COEFF");
    record->SAMP_NUM_COEFF = coefficients("SAMP_NUM_COEFF");
    record->SAMP_DEN_COEFF = coefficients("SAMP_DEN_COEFF");
    return record;
}

namespace detail_rpc_model {

// The record must say that its values were computed.
std::unique_ptr<RPC00Model> makeModel(std::unique_ptr<RPC00> record, const StateHeader& header,
                                      const RasterGM::PropertyMap& props, const std::string& name,
                                      const RPC00FailSink& fail) {
    if (record->SUCCESS != "1") {
        if (fail) {
            fail(treNameFor(name) + " TRE is not usable. Values were not successfully computed");
        }
        return nullptr;
    }
    return std::make_unique<RPC00Model>(std::move(record), header, props, name);
}

}  // namespace detail_rpc_model

std::unique_ptr<RPC00Model> RPC00Model::fromDocument(const nlohmann::json& document,
                                                     const std::string& name,
                                                     const RPC00FailSink& fail) {
    return rpcs::guardedConstruction<RPC00Model>(fail, [&]() -> std::unique_ptr<RPC00Model> {
        if (!rpcm::knownModelName(name)) {
            rpcs::failAndThrow(fail, "Modelname not supported");
        }
        const std::string treName = rpcm::treNameFor(name);
        const PropertyMap props = loadProperties(document);
        const StateHeader header = rpcs::readHeader(document, fail);
        const nlohmann::json& object = rpcs::memberOf(document, treName, fail);
        return rpcm::makeModel(readRecord(object, treName, fail), header, props, name, fail);
    });
}

std::unique_ptr<RPC00Model> RPC00Model::fromFile(const Tessel::NITFFileContext& file,
                                                 const std::string& name,
                                                 const RPC00FailSink& fail) {
    return rpcs::guardedConstruction<RPC00Model>(fail, [&]() -> std::unique_ptr<RPC00Model> {
        if (!rpcm::knownModelName(name)) {
            rpcs::failAndThrow(fail, "Modelname not supported");
        }
        const std::string treName = rpcm::treNameFor(name);
        const StateHeader header = rpcs::readHeader(file, fail);
        if (!rpcs::fileHasTre(file, treName)) {
            rpcs::failAndThrow(fail, "Could not find a " + treName + " TRE");
        }
        const nlohmann::json object = rpcs::treDocument(file, treName);
        return rpcm::makeModel(readRecord(object, treName, fail), header, {}, name, fail);
    });
}

RPC00Model::RPC00Model(std::unique_ptr<RPC00> record, const StateHeader& header,
                       const PropertyMap& props, const std::string& name)
    : rpc(std::move(record)),
      imageIdentifier(header.IID2),
      referenceDateAndTime(header.IDATIM),
      numRows(header.NROWS),
      numCols(header.NCOLS) {
    properties = props;
    addMarkerParameter();
    pixelOffset = Tessel::s_opt_vexa_rpc_pixel_offset();
    modelName = name;
    orderB = dynamic_cast<const RPC00B*>(rpc.get()) != nullptr;
    const std::vector<double>* lists[4] = {&rpc->LINE_NUM_COEFF, &rpc->LINE_DEN_COEFF,
                                           &rpc->SAMP_NUM_COEFF, &rpc->SAMP_DEN_COEFF};
    for (size_t k = 0; k < 4; ++k) {
        for (size_t i = 0; i < quadCoefficients.size() && i < lists[k]->size(); ++i) {
            quadCoefficients[i][k] = (*lists[k])[i];
        }
    }
}

RPC00Model::~RPC00Model() = default;

std::string RPC00Model::getImageIdentifier() const {
    return imageIdentifier;
}
std::string RPC00Model::getSensorIdentifier() const {
    return "UNKNOWN";
}
std::string RPC00Model::getPlatformIdentifier() const {
    return "UNKNOWN";
}
std::string RPC00Model::getCollectionIdentifier() const {
    return "UNKNOWN";
}
std::string RPC00Model::getTrajectoryIdentifier() const {
    return "UNKNOWN";
}
std::string RPC00Model::getReferenceDateAndTime() const {
    return referenceDateAndTime;
}

std::string RPC00Model::getModelState() const {
    nlohmann::ordered_json document = nlohmann::ordered_json::object();
    addProperties(document, properties);
    writeHeader(document, StateHeader{imageIdentifier, referenceDateAndTime, numRows, numCols});
    const RPC00& r = *rpc;
    nlohmann::ordered_json record = nlohmann::ordered_json::object();
    record["SUCCESS"] = r.SUCCESS;
    record["ERR_BIAS"] = r.ERR_BIAS;
    record["ERR_RAND"] = r.ERR_RAND;
    record["LINE_OFF"] = r.LINE_OFF;
    record["SAMP_OFF"] = r.SAMP_OFF;
    record["LAT_OFF"] = r.LAT_OFF;
    record["LONG_OFF"] = r.LONG_OFF;
    record["HEIGHT_OFF"] = r.HEIGHT_OFF;
    record["LINE_SCALE"] = r.LINE_SCALE;
    record["SAMP_SCALE"] = r.SAMP_SCALE;
    record["LAT_SCALE"] = r.LAT_SCALE;
    record["LONG_SCALE"] = r.LONG_SCALE;
    record["HEIGHT_SCALE"] = r.HEIGHT_SCALE;
    record["LINE_NUM_COEFF"] = r.LINE_NUM_COEFF;
    record["LINE_DEN_COEFF"] = r.LINE_DEN_COEFF;
    record["SAMP_NUM_COEFF"] = r.SAMP_NUM_COEFF;
    record["SAMP_DEN_COEFF"] = r.SAMP_DEN_COEFF;
    document[rpcm::treNameFor(modelName)] = std::move(record);
    return formatState(document);
}

namespace rpct = detail_rpc_terms;

void RPC00Model::forward(const double ground[3], double image[3]) const {
    const RPC00& r = *rpc;
    const double P = (ground[0] - r.LAT_OFF) / r.LAT_SCALE;
    const double L = (ground[1] - r.LONG_OFF) / r.LONG_SCALE;
    const double H = (ground[2] - r.HEIGHT_OFF) / r.HEIGHT_SCALE;
    double t[rpct::kTermCount];
    if (orderB) {
        rpct::termsB(P, L, H, t);
    } else {
        rpct::termsA(P, L, H, t);
    }
    const rpct::Quad sums = rpct::dot4(t, quadCoefficients);
    image[1] = sums[0] / sums[1] * r.LINE_SCALE + r.LINE_OFF + pixelOffset;
    image[0] = sums[2] / sums[3] * r.SAMP_SCALE + r.SAMP_OFF + pixelOffset;
    image[2] = ground[2];
}

void RPC00Model::inverse(const double image[3], double ground[3], double desiredPrecision,
                         double* achievedPrecision, csm::WarningList* warnings) const {
    const int maxIterations = Tessel::s_opt_vexa_rpc_max_iterations();
    const RPC00& r = *rpc;
    const double targetLine = (image[1] - pixelOffset - r.LINE_OFF) / r.LINE_SCALE;
    const double targetSamp = (image[0] - pixelOffset - r.SAMP_OFF) / r.SAMP_SCALE;
    const double H = (image[2] - r.HEIGHT_OFF) / r.HEIGHT_SCALE;
    const double lineTolerance = desiredPrecision / r.LINE_SCALE;
    const double sampTolerance = desiredPrecision / r.SAMP_SCALE;
    double t[rpct::kTermCount];
    rpct::Quad dP{};
    rpct::Quad dL{};
    double P = 0.0;
    double L = 0.0;
    int i = 0;
    for (;;) {
        if (orderB) {
            rpct::termsB(P, L, H, t);
        } else {
            rpct::termsA(P, L, H, t);
        }
        const rpct::Quad sums = rpct::dot4(t, quadCoefficients);
        const double ld = sums[1];
        const double sd = sums[3];
        const double lq = sums[0] / ld;
        const double sq = sums[2] / sd;
        const double dl = targetLine - lq;
        const double ds = targetSamp - sq;
        if (achievedPrecision != nullptr) {
            *achievedPrecision = (ds + dl) * 0.5;
        }
        if (std::fabs(dl) < lineTolerance && std::fabs(ds) < sampTolerance) {
            break;
        }
        if (orderB) {
            rpct::slopes4B(t, quadCoefficients, dP, dL);
        } else {
            rpct::slopes4A(t, quadCoefficients, dP, dL);
        }
        // The quotient rule, (N' D - N D') / D^2, as (N' - (N / D) D') / D: one division less
        // per derivative on the path that every point takes several times.
        const double ild = 1.0 / ld;
        const double isd = 1.0 / sd;
        const double lP = (dP[0] - lq * dP[1]) * ild;
        const double lL = (dL[0] - lq * dL[1]) * ild;
        const double sP = (dP[2] - sq * dP[3]) * isd;
        const double sL = (dL[2] - sq * dL[3]) * isd;
        const double idet = 1.0 / (sP * lL - sL * lP);
        P += (ds * lL - dl * sL) * idet;
        L += (dl * sP - ds * lP) * idet;
        i += 1;
        if (i >= maxIterations) {
            break;
        }
    }
    if (i >= maxIterations && warnings != nullptr) {
        // The middle word was meant to name the record type; it stays "UNKNOWN".
        warnings->push_back(
            csm::Warning(csm::Warning::NO_INTERSECTION,
                         "[VEXA_RPC00::UNKNOWN::ImageToGround] Did not converge in n iterations",
                         "ImageToGround"));
    }
    ground[0] = P * r.LAT_SCALE + r.LAT_OFF;
    ground[1] = L * r.LONG_SCALE + r.LONG_OFF;
    ground[2] = H * r.HEIGHT_SCALE + r.HEIGHT_OFF;
}

csm::EcefCoord RPC00Model::ecefAt(const csm::ImageCoord& imagePt, double height) const {
    return imageToGround(imagePt, height, 0.001, nullptr, nullptr);
}

csm::EcefCoord RPC00Model::getReferencePoint() const {
    const auto range = getValidImageRange();
    const auto heights = getValidHeightRange();
    const csm::ImageCoord centre((range.first.line + range.second.line) / 2.0,
                                 (range.first.samp + range.second.samp) / 2.0);
    return imageToGround(centre, (heights.first + heights.second) / 2.0, 0.001, nullptr, nullptr);
}

double RPC00Model::getParameterCovariance(int, int) const {
    throwParameterNotFound(std::string(rpcm::kRpcClass) + "getParameterCovariance");
}
void RPC00Model::setParameterCovariance(int, int, double) {
    throwParameterNotFound(std::string(rpcm::kRpcClass) + "setParameterCovariance");
}
int RPC00Model::getNumGeometricCorrectionSwitches() const {
    return 0;
}
std::string RPC00Model::getGeometricCorrectionName(int) const {
    throwParameterNotFound(std::string(rpcm::kRpcClass) + "getGeometricCorrectionName");
}
void RPC00Model::setGeometricCorrectionSwitch(int, bool, csm::param::Type) {
    throwParameterNotFound(std::string(rpcm::kRpcClass) + "setGeometricCorrectionSwitch");
}
bool RPC00Model::getGeometricCorrectionSwitch(int) const {
    throwParameterNotFound(std::string(rpcm::kRpcClass) + "getGeometricCorrectionSwitch");
}
std::vector<double> RPC00Model::getCrossCovarianceMatrix(const csm::GeometricModel&,
                                                         csm::param::Set,
                                                         const GeometricModelList&) const {
    throwParameterNotFound(std::string(rpcm::kRpcClass) + "getCrossCovarianceMatrix");
}

// The precision is ignored: the forward function is exact.
csm::ImageCoord RPC00Model::groundToImage(const csm::EcefCoord& groundPt,
                                          double /*desiredPrecision*/,
                                          double* /*achievedPrecision*/,
                                          csm::WarningList* /*warnings*/) const {
    double lambda = 0.0;
    double phi = 0.0;
    double h = 0.0;
    gx_xyz_to_lph(kWgs84A, kWgs84E2, groundPt.x, groundPt.y, groundPt.z, &lambda, &phi, &h);
    const double ground[3] = {phi * kRadToDeg, lambda * kRadToDeg, h};
    double image[3] = {};
    forward(ground, image);
    return csm::ImageCoord(image[1], image[0]);
}

csm::EcefCoord RPC00Model::imageToGround(const csm::ImageCoord& imagePt, double height,
                                         double desiredPrecision, double* achievedPrecision,
                                         csm::WarningList* warnings) const {
    const double image[3] = {imagePt.samp, imagePt.line, height};
    double ground[3] = {};
    inverse(image, ground, desiredPrecision, achievedPrecision, warnings);
    csm::EcefCoord result;
    gx_lph_to_xyz(kWgs84A, kWgs84E2, ground[1] * kDegToRad, ground[0] * kDegToRad, ground[2],
                  &result.x, &result.y, &result.z);
    return result;
}

csm::EcefLocus RPC00Model::imageToProximateImagingLocus(const csm::ImageCoord& imagePt,
                                                        const csm::EcefCoord& groundPt,
                                                        double /*desiredPrecision*/,
                                                        double* /*achievedPrecision*/,
                                                        csm::WarningList* /*warnings*/) const {
    const csm::EcefCoord high = ecefAt(imagePt, rpc->HEIGHT_OFF + 2.0 * rpc->HEIGHT_SCALE);
    csm::EcefVector direction(high.x - groundPt.x, high.y - groundPt.y, high.z - groundPt.z);
    rpcm::normalise(direction);
    return csm::EcefLocus(groundPt, direction);
}

csm::EcefLocus RPC00Model::imageToRemoteImagingLocus(const csm::ImageCoord& imagePt,
                                                     double /*desiredPrecision*/,
                                                     double* /*achievedPrecision*/,
                                                     csm::WarningList* /*warnings*/) const {
    const csm::EcefCoord high = ecefAt(imagePt, rpc->HEIGHT_OFF + 2.0 * rpc->HEIGHT_SCALE);
    const csm::EcefCoord low = ecefAt(imagePt, rpc->HEIGHT_OFF);
    csm::EcefVector direction(high.x - low.x, high.y - low.y, high.z - low.z);
    rpcm::normalise(direction);
    const auto heights = getValidHeightRange();
    return csm::EcefLocus(ecefAt(imagePt, (heights.first + heights.second) / 2.0), direction);
}

csm::ImageCoord RPC00Model::getImageStart() const {
    return csm::ImageCoord(rpc->LINE_OFF - rpc->LINE_SCALE + pixelOffset,
                           rpc->SAMP_OFF - rpc->SAMP_SCALE + pixelOffset);
}

namespace detail_rpc_model {

// The extent of (offset - scale) .. (offset + scale) truncated to 32 bits; a value that
// doesn't fit gives 0 rather than an undefined conversion.
double truncatedExtent(double offset, double scale) {
    const double extent = (offset + scale) - (offset - scale);
    if (!(extent > -2147483648.0 && extent < 2147483648.0)) {
        return 0.0;
    }
    return static_cast<double>(static_cast<int32_t>(extent));
}

}  // namespace detail_rpc_model

std::pair<csm::ImageCoord, csm::ImageCoord> RPC00Model::getValidImageRange() const {
    return {csm::ImageCoord(pixelOffset, pixelOffset),
            csm::ImageCoord(rpcm::truncatedExtent(rpc->LINE_OFF, rpc->LINE_SCALE) + pixelOffset,
                            rpcm::truncatedExtent(rpc->SAMP_OFF, rpc->SAMP_SCALE) + pixelOffset)};
}

csm::ImageVector RPC00Model::getImageSize() const {
    const csm::ImageCoord end = getValidImageRange().second;
    return csm::ImageVector(end.line, end.samp);
}

std::pair<double, double> RPC00Model::getValidHeightRange() const {
    return {rpc->HEIGHT_OFF - rpc->HEIGHT_SCALE, rpc->HEIGHT_OFF + rpc->HEIGHT_SCALE};
}

csm::EcefVector RPC00Model::getIlluminationDirection(const csm::EcefCoord& groundPt) const {
    (void)groundToImage(groundPt, 0.001, nullptr, nullptr);
    throwNotImplemented();
}

std::vector<RPC00Model::SensorPartials> RPC00Model::computeAllSensorPartials(
    const csm::EcefCoord&, csm::param::Set, double, double*, csm::WarningList*) const {
    throwNotImplemented();
}

std::vector<RPC00Model::SensorPartials> RPC00Model::computeAllSensorPartials(
    const csm::ImageCoord&, const csm::EcefCoord&, csm::param::Set, double, double*,
    csm::WarningList*) const {
    throwNotImplemented();
}

bool RPC00Model::useLLH() const {
    return true;
}

ImageCoord RPC00Model::groundToImage_llh(const LLHCoord& groundPt, double /*desiredPrecision*/,
                                         double* /*achievedPrecision*/,
                                         csm::WarningList* /*warnings*/) const {
    const double ground[3] = {groundPt.lat, groundPt.lon, groundPt.height};
    double image[3] = {};
    forward(ground, image);
    return ImageCoord(image[1], image[0]);
}

LLHCoord RPC00Model::imageToGround_llh(const ImageCoord& imagePt, double height,
                                       double desiredPrecision, double* achievedPrecision,
                                       csm::WarningList* warnings) const {
    const double image[3] = {imagePt.samp, imagePt.line, height};
    double ground[3] = {};
    inverse(image, ground, desiredPrecision, achievedPrecision, warnings);
    return LLHCoord(ground[0], ground[1], ground[2]);
}

}  // namespace VEXASensors
