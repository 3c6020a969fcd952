#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tessel/platform/geo/gx.h"
#include "tessel/sensors/Coordinates.h"

namespace {

using namespace VEXASensors;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

TEST(SensorCoordinates, WrapLongitude190GivesMinus170) {
    LLHCoord p(10, 190, 0);
    p.wrap();
    EXPECT_EQ(p.lon, -170.0);
    EXPECT_EQ(p.lat, 10.0);
}

TEST(SensorCoordinates, WrapLatitude100Gives80AndLeavesLongitude) {
    LLHCoord p(100, 0, 0);
    p.wrap();
    EXPECT_EQ(p.lat, 80.0);
    EXPECT_EQ(p.lon, 0.0);
}

TEST(SensorCoordinates, WrapLatitude300GivesMinus60AndMinus300Gives60) {
    EXPECT_EQ(LLHCoord(300, 0, 0).wrap().lat, -60.0);
    EXPECT_EQ(LLHCoord(-300, 0, 0).wrap().lat, 60.0);
}

TEST(SensorCoordinates, WrapLatitude400LoopsTo40And360TakesTheBranchAbove270) {
    EXPECT_EQ(LLHCoord(400, 0, 0).wrap().lat, 40.0);
    EXPECT_EQ(LLHCoord(360, 0, 0).wrap().lat, 0.0);
    EXPECT_EQ(LLHCoord(-400, 0, 0).wrap().lat, -40.0);
}

TEST(SensorCoordinates, WrapKeepsExactLimits) {
    LLHCoord p(90, 180, 0);
    p.wrap();
    EXPECT_EQ(p.lat, 90.0);
    EXPECT_EQ(p.lon, 180.0);
    LLHCoord q(-90, -180, 0);
    q.wrap();
    EXPECT_EQ(q.lat, -90.0);
    EXPECT_EQ(q.lon, -180.0);
}

TEST(SensorCoordinates, WrapOfHugeOrInfiniteValuesEnds) {
    LLHCoord huge(1e300, 1e300, 0);
    huge.wrap();
    EXPECT_LE(huge.lon, 180.0);
    EXPECT_GE(huge.lon, -180.0);
    EXPECT_LE(huge.lat, 90.0);
    LLHCoord inf(kInf, -kInf, 0);
    inf.wrap();
    EXPECT_EQ(inf.lon, -kInf);
    EXPECT_EQ(inf.lat, kInf);
    EXPECT_EQ(LLHCoord(0, 370 + 360.0 * 100000, 0).wrap().lon, 10.0);
}

TEST(SensorCoordinates, UndefinedElevationTest) {
    EXPECT_EQ(UndefinedElevation(), -9999.0);
    EXPECT_TRUE(IsUndefinedElevation(-9999.0));
    EXPECT_TRUE(IsUndefinedElevation(-10000.0));
    EXPECT_TRUE(IsUndefinedElevation(kNaN));
    EXPECT_TRUE(IsUndefinedElevation(-kInf));
    EXPECT_FALSE(IsUndefinedElevation(std::nextafter(-9999.0, 0.0)));
    EXPECT_FALSE(IsUndefinedElevation(0.0));
    EXPECT_FALSE(IsUndefinedElevation(kInf));
    EXPECT_TRUE(IsUndefinedElevation(-9999.0L));
    EXPECT_TRUE(IsUndefinedElevation(static_cast<long double>(kNaN)));
    EXPECT_FALSE(IsUndefinedElevation(std::nextafter(-9999.0L, 0.0L)));
    EXPECT_TRUE(IsUndefinedElevation(HeightCoord().height));
    EXPECT_EQ(HeightCoord(5.0).height, 5.0);
}

TEST(SensorCoordinates, LphToLlhReversesTheAngleOrder) {
    const LLHCoord p(LPHCoord(1.0, 0.5, 7.0));
    EXPECT_DOUBLE_EQ(p.lat, 0.5 * 57.29577951308232);
    EXPECT_DOUBLE_EQ(p.lon, 1.0 * 57.29577951308232);
    EXPECT_EQ(p.height, 7.0);
    const LPHCoord back(p);
    EXPECT_DOUBLE_EQ(back.lambda, 1.0);
    EXPECT_DOUBLE_EQ(back.phi, 0.5);
}

TEST(SensorCoordinates, NaNCoordinateIsNotEqualToItself) {
    const ImageCoord i(kNaN, 1.0);
    EXPECT_FALSE(i == i);
    const EcefCoord e(1.0, kNaN, 2.0);
    EXPECT_FALSE(e == e);
    const LLHCoord l(1.0, 2.0, kNaN);
    EXPECT_FALSE(l == l);
    const LPHCoord p(kNaN, 2.0, 3.0);
    EXPECT_FALSE(p == p);
    EXPECT_TRUE(ImageCoord(1.0, 2.0) == ImageCoord(1.0L, 2.0L));
}

TEST(SensorCoordinates, EcefRoundTripsThroughGeodetic) {
    const LLHCoord place(42.3, 20.1, 150.0);
    const EcefCoord ecef(place);
    double x = 0, y = 0, z = 0;
    gx_lph_to_xyz(6378137.0, 0.006694379990141317, 20.1 * 0.017453292519943295,
                  42.3 * 0.017453292519943295, 150.0, &x, &y, &z);
    EXPECT_EQ(ecef.x, x);
    EXPECT_EQ(ecef.y, y);
    EXPECT_EQ(ecef.z, z);
    const LLHCoord back(ecef);
    EXPECT_NEAR(back.lat, 42.3, 1e-12);
    EXPECT_NEAR(back.lon, 20.1, 1e-12);
    EXPECT_NEAR(back.height, 150.0, 1e-6);
    const EcefCoord fromLph{LPHCoord(place)};
    EXPECT_NEAR(fromLph.x, ecef.x, 1e-6);
    const LPHCoord lph(ecef);
    EXPECT_NEAR(lph.phi, 42.3 * 0.017453292519943295, 1e-14);
    // On the equator at the prime meridian the point lies on the x axis at a + h.
    const EcefCoord origin(LLHCoord(0, 0, 10));
    EXPECT_NEAR(origin.x, 6378147.0, 1e-6);
    EXPECT_NEAR(origin.y, 0.0, 1e-9);
}

TEST(SensorCoordinates, ExceptionsCarryTheirMessages) {
    const SensorException e(std::string("no model"));
    EXPECT_STREQ(e.what(), "no model");
    const SensorException copy = e;
    EXPECT_STREQ(copy.what(), "no model");
    EXPECT_STREQ(already_logged().what(), "");
}

}  // namespace
