#include "tessel/platform/geo/gx.h"

#include <GeographicLib/Geocentric.hpp>

#include <cmath>
#include <optional>

namespace {

constexpr double kRadiansToDegrees = 57.29577951308232;
constexpr double kDegreesToRadians = 0.017453292519943295;

// GeographicLib describes an ellipsoid by its flattening; e2 = f (2 - f) gives
// f = 1 - sqrt(1 - e2). A negative e2 stands for a prolate ellipsoid and stays allowed.
std::optional<GeographicLib::Geocentric> makeEllipsoid(double a, double e2) {
    if (!std::isfinite(a) || a <= 0.0 || !std::isfinite(e2) || e2 >= 1.0) {
        return std::nullopt;
    }
    try {
        return GeographicLib::Geocentric(a, 1.0 - std::sqrt(1.0 - e2));
    } catch (...) {
        return std::nullopt;
    }
}

bool allFinite(double u, double v, double w) {
    return std::isfinite(u) && std::isfinite(v) && std::isfinite(w);
}

}  // namespace

extern "C" int gx_lph_to_xyz(double a, double e2, double lambda, double phi, double h, double* x,
                             double* y, double* z) {
    if (x == nullptr || y == nullptr || z == nullptr) {
        return GX_NULL_ARGUMENT;
    }
    const auto ellipsoid = makeEllipsoid(a, e2);
    if (!ellipsoid) {
        return GX_BAD_ELLIPSOID;
    }
    if (!allFinite(lambda, phi, h)) {
        *x = *y = *z = std::nan("");
        return GX_NOT_FINITE;
    }
    ellipsoid->Forward(phi * kRadiansToDegrees, lambda * kRadiansToDegrees, h, *x, *y, *z);
    return GX_OK;
}

extern "C" int gx_xyz_to_lph(double a, double e2, double x, double y, double z, double* lambda,
                             double* phi, double* h) {
    if (lambda == nullptr || phi == nullptr || h == nullptr) {
        return GX_NULL_ARGUMENT;
    }
    const auto ellipsoid = makeEllipsoid(a, e2);
    if (!ellipsoid) {
        return GX_BAD_ELLIPSOID;
    }
    if (!allFinite(x, y, z)) {
        *lambda = *phi = *h = std::nan("");
        return GX_NOT_FINITE;
    }
    double latitude = 0.0;
    double longitude = 0.0;
    ellipsoid->Reverse(x, y, z, latitude, longitude, *h);
    *lambda = longitude * kDegreesToRadians;
    *phi = latitude * kDegreesToRadians;
    return GX_OK;
}
