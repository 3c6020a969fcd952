#include "tessel/sensors/Coordinates.h"

#include <cmath>

#include "tessel/platform/geo/gx.h"

namespace VEXASensors {

double UndefinedElevation() {
    return -9999.0;
}

bool IsUndefinedElevation(double value) {
    return value <= -9999.0 || std::isnan(value);
}

bool IsUndefinedElevation(long double value) {
    return value <= -9999.0L || std::isnan(value);
}

EcefCoord::EcefCoord(const LLHCoord& llh) {
    gx_lph_to_xyz(kWgs84A, kWgs84E2, llh.lon * kDegToRad, llh.lat * kDegToRad, llh.height, &x, &y,
                  &z);
}

EcefCoord::EcefCoord(const LPHCoord& lph) {
    gx_lph_to_xyz(kWgs84A, kWgs84E2, lph.lambda, lph.phi, lph.height, &x, &y, &z);
}

LLHCoord::LLHCoord(const EcefCoord& ecef) {
    double lambda = 0.0;
    double phi = 0.0;
    gx_xyz_to_lph(kWgs84A, kWgs84E2, ecef.x, ecef.y, ecef.z, &lambda, &phi, &height);
    lat = phi * kRadToDeg;
    lon = lambda * kRadToDeg;
}

LLHCoord::LLHCoord(const LPHCoord& lph)
    : lat(lph.phi * kRadToDeg), lon(lph.lambda * kRadToDeg), height(lph.height) {}

namespace {

// A value far out of range is first brought near by an exact remainder, so that the steps
// below end in a few passes; an infinite value stays as it is, since no step can move it.
double nearRangeForWrap(double value) {
    if (std::isfinite(value) && std::fabs(value) > 7200.0) {
        return std::fmod(value, 360.0);
    }
    return value;
}

}  // namespace

// All tests are strict, so 180, -180, 90 and -90 stay as they are; the latitude fold never
// touches the longitude.
LLHCoord& LLHCoord::wrap() {
    lon = nearRangeForWrap(lon);
    lat = nearRangeForWrap(lat);
    if (!std::isfinite(lon)) {
        // nothing to do: an infinite longitude never comes into range
    } else if (lon > 180.0) {
        while (lon > 180.0) {
            lon -= 360.0;
        }
    } else {
        while (lon < -180.0) {
            lon += 360.0;
        }
    }
    if (!std::isfinite(lat)) {
        return *this;
    }
    if (lat > 90.0) {
        while (lat > 360.0) {
            lat -= 360.0;
        }
        if (lat > 270.0) {
            lat -= 360.0;
        } else if (lat > 90.0) {
            lat = 180.0 - lat;
        }
    } else if (lat < -90.0) {
        while (lat < -360.0) {
            lat += 360.0;
        }
        if (lat < -270.0) {
            lat += 360.0;
        } else if (lat < -90.0) {
            lat = -180.0 - lat;
        }
    }
    return *this;
}

LPHCoord::LPHCoord(const EcefCoord& ecef) {
    gx_xyz_to_lph(kWgs84A, kWgs84E2, ecef.x, ecef.y, ecef.z, &lambda, &phi, &height);
}

LPHCoord::LPHCoord(const LLHCoord& llh)
    : lambda(llh.lon * kDegToRad), phi(llh.lat * kDegToRad), height(llh.height) {}

SensorException::~SensorException() = default;

already_logged::~already_logged() = default;

}  // namespace VEXASensors
