#pragma once
// Macros, enumerations and value types shared by every part of the sensor model interface.

#include <string>

#ifdef _WIN32
#ifdef CSM_LIBRARY
#define CSM_EXPORT_API __declspec(dllexport)
#else
#define CSM_EXPORT_API __declspec(dllimport)
#endif
#elif defined(LINUX_BUILD)
#define CSM_EXPORT_API __attribute__((visibility("default")))
#else
#define CSM_EXPORT_API
#endif

// The version this copy of the interface implements; the macro ends in a semicolon, as
// plug-ins written for the interface expect.
#define CURRENT_CSM_VERSION csm::Version(3, 1, 0);

#define CSM_UNKNOWN "UNKNOWN"

#define CSM_SENSOR_TYPE_UNKNOWN CSM_UNKNOWN
#define CSM_SENSOR_TYPE_EO "EO"
#define CSM_SENSOR_TYPE_IR "IR"
#define CSM_SENSOR_TYPE_MWIR "MWIR"
#define CSM_SENSOR_TYPE_LWIR "LWIR"
#define CSM_SENSOR_TYPE_SAR "SAR"
#define CSM_SENSOR_TYPE_EOIRSC "EO_IR_SPECIAL_CASE"

#define CSM_SENSOR_MODE_UNKNOWN CSM_UNKNOWN
#define CSM_SENSOR_MODE_FRAME "FRAME"
#define CSM_SENSOR_MODE_PULSE "PULSE"
#define CSM_SENSOR_MODE_PB "PUSHBROOM"
#define CSM_SENSOR_MODE_WB "WHISKBROOM"
#define CSM_SENSOR_MODE_SPOT "SPOT"
#define CSM_SENSOR_MODE_STRIP "STRIP"
#define CSM_SENSOR_MODE_SCAN "SCAN"
#define CSM_SENSOR_MODE_VIDEO "VIDEO"
#define CSM_SENSOR_MODE_BODY_POINTING "BODY_POINTING"

namespace csm {

namespace param {
enum Type { NONE = 0, FICTITIOUS = 1, REAL = 2, FIXED = 3 };
enum Set { VALID = 0, ADJUSTABLE = 1, NON_ADJUSTABLE = 2 };
}  // namespace param

struct CSM_EXPORT_API SharingCriteria {
    bool matchesName = false;
    bool matchesSensorID = false;
    bool matchesPlatformID = false;
    bool matchesCollectionID = false;
    bool matchesTrajectoryID = false;
    bool matchesDateTime = false;
    double maxTimeDelta = 0.0;

    SharingCriteria() = default;
    SharingCriteria(bool byName, bool bySensorID, bool byPlatformID, bool byCollectionID,
                    bool byTrajectoryID, bool byDateTime, double maxDelta)
        : matchesName(byName),
          matchesSensorID(bySensorID),
          matchesPlatformID(byPlatformID),
          matchesCollectionID(byCollectionID),
          matchesTrajectoryID(byTrajectoryID),
          matchesDateTime(byDateTime),
          maxTimeDelta(maxDelta) {}
};

struct CSM_EXPORT_API ImageCoord {
    double line;
    double samp;
    ImageCoord() : line(0.0), samp(0.0) {}
    ImageCoord(double aLine, double aSamp) : line(aLine), samp(aSamp) {}
};

struct CSM_EXPORT_API ImageCoordCovar : public ImageCoord {
    double covariance[4];  // 2 x 2, row-major

    ImageCoordCovar() : ImageCoord() { clear(); }
    ImageCoordCovar(double aLine, double aSamp) : ImageCoord(aLine, aSamp) { clear(); }
    ImageCoordCovar(double aLine, double aSamp, const double aCovar[4]) : ImageCoord(aLine, aSamp) {
        for (int i = 0; i < 4; ++i) {
            covariance[i] = aCovar[i];
        }
    }
    ImageCoordCovar(double aLine, double aSamp, double aCovar00, double aCovar01, double aCovar11)
        : ImageCoord(aLine, aSamp) {
        covariance[0] = aCovar00;
        covariance[1] = covariance[2] = aCovar01;
        covariance[3] = aCovar11;
    }
    double covar2d(unsigned int l, unsigned int s) const { return covariance[2 * l + s]; }
    double& covar2d(unsigned int l, unsigned int s) { return covariance[2 * l + s]; }

private:
    void clear() {
        for (double& c : covariance) {
            c = 0.0;
        }
    }
};

struct CSM_EXPORT_API ImageVector {
    double line;
    double samp;
    ImageVector() : line(0.0), samp(0.0) {}
    ImageVector(double aLine, double aSamp) : line(aLine), samp(aSamp) {}
};

struct CSM_EXPORT_API EcefCoord {
    double x;
    double y;
    double z;
    EcefCoord() : x(0.0), y(0.0), z(0.0) {}
    EcefCoord(double aX, double aY, double aZ) : x(aX), y(aY), z(aZ) {}
};

struct CSM_EXPORT_API EcefCoordCovar : public EcefCoord {
    double covariance[9];  // 3 x 3, row-major

    EcefCoordCovar() : EcefCoord() { clear(); }
    EcefCoordCovar(double aX, double aY, double aZ) : EcefCoord(aX, aY, aZ) { clear(); }
    EcefCoordCovar(double aX, double aY, double aZ, const double aCovar[9])
        : EcefCoord(aX, aY, aZ) {
        for (int i = 0; i < 9; ++i) {
            covariance[i] = aCovar[i];
        }
    }
    EcefCoordCovar(double aX, double aY, double aZ, double aCovar00, double aCovar01,
                   double aCovar02, double aCovar11, double aCovar12, double aCovar22)
        : EcefCoord(aX, aY, aZ) {
        covariance[0] = aCovar00;
        covariance[1] = covariance[3] = aCovar01;
        covariance[2] = covariance[6] = aCovar02;
        covariance[4] = aCovar11;
        covariance[5] = covariance[7] = aCovar12;
        covariance[8] = aCovar22;
    }
    double covar2d(unsigned int l, unsigned int s) const { return covariance[3 * l + s]; }
    double& covar2d(unsigned int l, unsigned int s) { return covariance[3 * l + s]; }

private:
    void clear() {
        for (double& c : covariance) {
            c = 0.0;
        }
    }
};

struct CSM_EXPORT_API EcefVector {
    double x;
    double y;
    double z;
    EcefVector() : x(0.0), y(0.0), z(0.0) {}
    EcefVector(double aX, double aY, double aZ) : x(aX), y(aY), z(aZ) {}
};

struct CSM_EXPORT_API EcefLocus {
    EcefCoord point;
    EcefVector direction;
    EcefLocus() = default;
    EcefLocus(const EcefCoord& argPoint, const EcefVector& argDirection)
        : point(argPoint), direction(argDirection) {}
    EcefLocus(double ptX, double ptY, double ptZ, double dirX, double dirY, double dirZ)
        : point(ptX, ptY, ptZ), direction(dirX, dirY, dirZ) {}
};

}  // namespace csm
