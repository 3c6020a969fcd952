#include <gtest/gtest.h>

#include "tessel/platform/geo/gx.h"

#include <cmath>
#include <limits>

namespace {

constexpr double kA = 6378137.0;
constexpr double kE2 = 0.006694379990141317;
constexpr double kDeg = 0.017453292519943295;
constexpr double kPi = 3.14159265358979323846;

struct Xyz {
    double x = 0, y = 0, z = 0;
};
struct Lph {
    double lambda = 0, phi = 0, h = 0;
};

Xyz toXyz(double lonDeg, double latDeg, double h) {
    Xyz r;
    EXPECT_EQ(gx_lph_to_xyz(kA, kE2, lonDeg * kDeg, latDeg * kDeg, h, &r.x, &r.y, &r.z), GX_OK);
    return r;
}

Lph toLph(double x, double y, double z) {
    Lph r;
    EXPECT_EQ(gx_xyz_to_lph(kA, kE2, x, y, z, &r.lambda, &r.phi, &r.h), GX_OK);
    return r;
}

// The textbook closed form, written out here to check the library against.
Xyz closedForm(double a, double e2, double lambda, double phi, double h) {
    const double n = a / std::sqrt(1.0 - e2 * std::sin(phi) * std::sin(phi));
    return {(n + h) * std::cos(phi) * std::cos(lambda), (n + h) * std::cos(phi) * std::sin(lambda),
            (n * (1.0 - e2) + h) * std::sin(phi)};
}

}  // namespace

TEST(GeodeticToCentric, EquatorAtGreenwichIsSemiMajorAxis) {
    const Xyz p = toXyz(0, 0, 0);
    EXPECT_EQ(p.x, kA);
    EXPECT_EQ(p.y, 0.0);
    EXPECT_EQ(p.z, 0.0);
}

TEST(GeodeticToCentric, PoleIsPolarRadiusPlusHeight) {
    const double b = kA * std::sqrt(1.0 - kE2);  // 6356752.314245...
    const Xyz p = toXyz(0, 90, 100);
    EXPECT_NEAR(p.x, 0.0, 1e-9);
    EXPECT_NEAR(p.z, b + 100, 1e-6);
    EXPECT_NEAR(toXyz(0, -90, 0).z, -b, 1e-6);
}

TEST(GeodeticToCentric, LongitudeComesFirstAndAnglesAreRadians) {
    // 90 degrees east on the equator lies on the y axis; swapping the angles would put
    // the point at the north pole instead.
    double x = 0, y = 0, z = 0;
    ASSERT_EQ(gx_lph_to_xyz(kA, kE2, kPi / 2, 0.0, 0.0, &x, &y, &z), GX_OK);
    EXPECT_NEAR(x, 0.0, 1e-9);
    EXPECT_NEAR(y, kA, 1e-9);
    EXPECT_NEAR(z, 0.0, 1e-9);
}

TEST(GeodeticToCentric, MatchesTextbookClosedForm) {
    for (double lat = -89.5; lat <= 89.5; lat += 12.25) {
        for (double lon = -179.0; lon <= 180.0; lon += 33.5) {
            for (double h : {-420.0, 0.0, 8848.0, 35786000.0}) {
                const Xyz expected = closedForm(kA, kE2, lon * kDeg, lat * kDeg, h);
                const Xyz p = toXyz(lon, lat, h);
                EXPECT_NEAR(p.x, expected.x, 1e-6) << lat << " " << lon << " " << h;
                EXPECT_NEAR(p.y, expected.y, 1e-6) << lat << " " << lon << " " << h;
                EXPECT_NEAR(p.z, expected.z, 1e-6) << lat << " " << lon << " " << h;
            }
        }
    }
}

// Reference values from GDAL 3.6.2:
//   printf "21.5 42.25 1234.5\n-75.25 -33.75 -50\n179.999 89.5 10000\n" |
//     gdaltransform -s_srs EPSG:4979 -t_srs EPSG:4978
TEST(GeodeticToCentric, MatchesGdalTransform) {
    struct Case {
        double lon, lat, h, x, y, z;
    };
    const Case cases[] = {
        {21.5, 42.25, 1234.5, 4400211.49036695, 1733289.40097678, 4267029.60475705},
        {-75.25, -33.75, -50, 1351598.48705811, -5133730.66138774, -3523395.78967921},
        {179.999, 89.5, 10000, -55933.5319658535, 0.976224295189489, 6366508.2566538},
    };
    for (const Case& c : cases) {
        const Xyz p = toXyz(c.lon, c.lat, c.h);
        EXPECT_NEAR(p.x, c.x, 1e-6);
        EXPECT_NEAR(p.y, c.y, 1e-6);
        EXPECT_NEAR(p.z, c.z, 1e-6);
    }
}

// Reference values from GDAL 3.6.2:
//   printf "4517590.878 1725.345 4487348.409\n-2694044.4111565403 -4266368.805493665
//   3888310.6052016\n" |
//     gdaltransform -s_srs EPSG:4978 -t_srs EPSG:4979
TEST(CentricToGeodetic, MatchesGdalTransform) {
    struct Case {
        double x, y, z, lon, lat, h;
    };
    const Case cases[] = {
        {4517590.878, 1725.345, 4487348.409, 0.0218822342631906, 44.9999979099147,
         0.232464523054659},
        {-2694044.4111565403, -4266368.805493665, 3888310.6052016, -122.2708026, 37.8043722208199,
         0.00179276335984468},
    };
    for (const Case& c : cases) {
        const Lph p = toLph(c.x, c.y, c.z);
        EXPECT_NEAR(p.lambda / kDeg, c.lon, 1e-11);
        EXPECT_NEAR(p.phi / kDeg, c.lat, 1e-11);
        EXPECT_NEAR(p.h, c.h, 1e-6);
    }
}

TEST(CentricToGeodetic, RoundTripsWithinNanodegreeAndMicrometre) {
    for (double lat = -90.0; lat <= 90.0; lat += 7.5) {
        for (double lon = -179.75; lon <= 180.0; lon += 22.25) {
            for (double h : {-10000.0, 0.0, 1234.567, 400000.0, 2.0e7}) {
                double x = 0, y = 0, z = 0;
                ASSERT_EQ(gx_lph_to_xyz(kA, kE2, lon * kDeg, lat * kDeg, h, &x, &y, &z), GX_OK);
                const Lph back = toLph(x, y, z);
                EXPECT_NEAR(back.phi / kDeg, lat, 1e-9) << lat << " " << lon << " " << h;
                if (std::abs(lat) < 90.0) {  // longitude is undetermined at a pole
                    EXPECT_NEAR(back.lambda / kDeg, lon, 1e-9) << lat << " " << lon << " " << h;
                }
                EXPECT_NEAR(back.h, h, 1e-6) << lat << " " << lon << " " << h;
            }
        }
    }
}

TEST(CentricToGeodetic, AxisPointsGiveExactAngles) {
    const Lph east = toLph(0.0, kA + 5.0, 0.0);
    EXPECT_DOUBLE_EQ(east.lambda, kPi / 2);
    EXPECT_EQ(east.phi, 0.0);
    EXPECT_NEAR(east.h, 5.0, 1e-9);
}

TEST(GeodesyEllipsoid, SphereTakesEccentricityZero) {
    const double r = 6371000.0;
    double x = 0, y = 0, z = 0;
    ASSERT_EQ(gx_lph_to_xyz(r, 0.0, 0.0, kPi / 4, 0.0, &x, &y, &z), GX_OK);
    EXPECT_NEAR(x, r / std::sqrt(2.0), 1e-6);
    EXPECT_NEAR(z, r / std::sqrt(2.0), 1e-6);
    double lambda = 1, phi = 1, h = 1;
    ASSERT_EQ(gx_xyz_to_lph(r, 0.0, x, y, z, &lambda, &phi, &h), GX_OK);
    EXPECT_NEAR(phi, kPi / 4, 1e-15);
    EXPECT_NEAR(h, 0.0, 1e-6);
}

TEST(GeodesyEllipsoid, OtherEllipsoidIsHonoured) {
    // Clarke 1866: a = 6378206.4, e2 = 0.006768658.
    const double a = 6378206.4;
    const double e2 = 0.006768658;
    const Xyz expected = closedForm(a, e2, 0.3, 0.7, 250.0);
    double x = 0, y = 0, z = 0;
    ASSERT_EQ(gx_lph_to_xyz(a, e2, 0.3, 0.7, 250.0, &x, &y, &z), GX_OK);
    EXPECT_NEAR(x, expected.x, 1e-6);
    EXPECT_NEAR(y, expected.y, 1e-6);
    EXPECT_NEAR(z, expected.z, 1e-6);
}

TEST(GeodesyEllipsoid, BadEllipsoidWritesNothing) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    for (const auto& [a, e2] : {std::pair{0.0, kE2}, std::pair{-1.0, kE2}, std::pair{kA, 1.0},
                                std::pair{kA, 1.5}, std::pair{nan, kE2}, std::pair{kA, nan}}) {
        double x = 7, y = 8, z = 9;
        EXPECT_EQ(gx_lph_to_xyz(a, e2, 0, 0, 0, &x, &y, &z), GX_BAD_ELLIPSOID);
        EXPECT_EQ(x, 7);
        EXPECT_EQ(y, 8);
        EXPECT_EQ(z, 9);
        EXPECT_EQ(gx_xyz_to_lph(a, e2, kA, 0, 0, &x, &y, &z), GX_BAD_ELLIPSOID);
        EXPECT_EQ(x, 7);
    }
}

TEST(GeodesyArguments, NullOutputIsRefused) {
    double v = 0;
    EXPECT_EQ(gx_lph_to_xyz(kA, kE2, 0, 0, 0, nullptr, &v, &v), GX_NULL_ARGUMENT);
    EXPECT_EQ(gx_lph_to_xyz(kA, kE2, 0, 0, 0, &v, &v, nullptr), GX_NULL_ARGUMENT);
    EXPECT_EQ(gx_xyz_to_lph(kA, kE2, kA, 0, 0, &v, nullptr, &v), GX_NULL_ARGUMENT);
}

TEST(GeodesyArguments, NonFiniteInputGivesNaN) {
    const double inf = std::numeric_limits<double>::infinity();
    double x = 0, y = 0, z = 0;
    EXPECT_EQ(gx_lph_to_xyz(kA, kE2, 0, std::nan(""), 0, &x, &y, &z), GX_NOT_FINITE);
    EXPECT_TRUE(std::isnan(x) && std::isnan(y) && std::isnan(z));
    EXPECT_EQ(gx_xyz_to_lph(kA, kE2, inf, 0, 0, &x, &y, &z), GX_NOT_FINITE);
    EXPECT_TRUE(std::isnan(x) && std::isnan(y) && std::isnan(z));
}
