#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// The coordinate values through which callers speak to every sensor model: image positions,
// Earth-centred positions, geodetic positions in degrees and in radians, and heights. The
// ellipsoid is WGS-84, fixed.

#include <exception>
#include <stdexcept>
#include <string>

namespace VEXASensors {

constexpr double kWgs84A = 6378137.0;
constexpr double kWgs84E2 = 0.006694379990141317;
constexpr double kRadToDeg = 57.29577951308232;
constexpr double kDegToRad = 0.017453292519943295;

double UndefinedElevation();
// True at or below -9999 and for a NaN.
bool IsUndefinedElevation(double value);
bool IsUndefinedElevation(long double value);

struct LLHCoord;
struct LPHCoord;

struct ImageCoord {
    double line = 0.0;
    double samp = 0.0;

    ImageCoord() = default;
    ImageCoord(double aLine, double aSamp) : line(aLine), samp(aSamp) {}
    ImageCoord(long double aLine, long double aSamp)
        : line(static_cast<double>(aLine)), samp(static_cast<double>(aSamp)) {}
    ImageCoord(const ImageCoord&) = default;
    ImageCoord& operator=(const ImageCoord&) = default;
    bool operator==(const ImageCoord& o) const { return line == o.line && samp == o.samp; }
};

struct EcefCoord {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;

    EcefCoord() = default;
    EcefCoord(double aX, double aY, double aZ) : x(aX), y(aY), z(aZ) {}
    EcefCoord(long double aX, long double aY, long double aZ)
        : x(static_cast<double>(aX)), y(static_cast<double>(aY)), z(static_cast<double>(aZ)) {}
    explicit EcefCoord(const LLHCoord& llh);
    explicit EcefCoord(const LPHCoord& lph);
    EcefCoord(const EcefCoord&) = default;
    EcefCoord& operator=(const EcefCoord&) = default;
    bool operator==(const EcefCoord& o) const { return x == o.x && y == o.y && z == o.z; }
};

struct LLHCoord {
    double lat = 0.0;
    double lon = 0.0;
    double height = 0.0;

    LLHCoord() = default;
    LLHCoord(double aLat, double aLon, double aHeight) : lat(aLat), lon(aLon), height(aHeight) {}
    explicit LLHCoord(const EcefCoord& ecef);
    explicit LLHCoord(const LPHCoord& lph);
    LLHCoord(const LLHCoord&) = default;
    LLHCoord& operator=(const LLHCoord&) = default;
    bool operator==(const LLHCoord& o) const {
        return lat == o.lat && lon == o.lon && height == o.height;
    }

    // Brings the longitude into [-180, 180] and folds the latitude over the poles, each on
    // its own.
    LLHCoord& wrap();
};

struct LPHCoord {
    double lambda = 0.0;
    double phi = 0.0;
    double height = 0.0;

    LPHCoord() = default;
    LPHCoord(double aLambda, double aPhi, double aHeight)
        : lambda(aLambda), phi(aPhi), height(aHeight) {}
    LPHCoord(long double aLambda, long double aPhi, long double aHeight)
        : lambda(static_cast<double>(aLambda)),
          phi(static_cast<double>(aPhi)),
          height(static_cast<double>(aHeight)) {}
    explicit LPHCoord(const EcefCoord& ecef);
    explicit LPHCoord(const LLHCoord& llh);
    LPHCoord(const LPHCoord&) = default;
    LPHCoord& operator=(const LPHCoord&) = default;
    bool operator==(const LPHCoord& o) const {
        return lambda == o.lambda && phi == o.phi && height == o.height;
    }
};

struct HeightCoord {
    double height = -9999.0;  // a height nobody gave is undefined, not zero

    HeightCoord() = default;
    HeightCoord(double aHeight) : height(aHeight) {}  // NOLINT(google-explicit-constructor)
    HeightCoord(const HeightCoord&) = default;
    HeightCoord& operator=(const HeightCoord&) = default;
    ~HeightCoord() = default;
};

// What the factory layer of the sensors throws at its callers.
class SensorException : public std::runtime_error {
public:
    explicit SensorException(const char* message) : std::runtime_error(message) {}
    explicit SensorException(const std::string& message) : std::runtime_error(message) {}
    SensorException(const SensorException&) = default;
    SensorException& operator=(const SensorException&) = default;
    ~SensorException() override;
};

// The failure went to the warning sink already; whoever catches it reports nothing more.
class already_logged : public std::exception {
public:
    already_logged() = default;
    already_logged(const already_logged&) = default;
    already_logged& operator=(const already_logged&) = default;
    ~already_logged() override;
    const char* what() const noexcept override { return ""; }
};

}  // namespace VEXASensors

TESSEL_PUBLIC_END
