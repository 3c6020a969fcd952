#include <gtest/gtest.h>

#include "tessel/platform/geo/lumo_geo.h"

#include <cmath>
#include <limits>
#include <numbers>

using namespace lumo_geo;

TEST(CornerKinds, VariantOrderIsDegreesRadiansCentricUnsupportedUtm) {
    EXPECT_EQ(corner(geodetic_degrees{}).index(), 0u);
    EXPECT_EQ(corner(geodetic_radians{}).index(), 1u);
    EXPECT_EQ(corner(ecef{}).index(), 2u);
    EXPECT_EQ(corner(unsupported{}).index(), 3u);
    EXPECT_EQ(corner(utm{}).index(), 4u);
}

TEST(CornerToDegrees, DegreesPassUnchanged) {
    const auto p = to_geodetic_degrees(geodetic_degrees{-33.5, 151.25});
    ASSERT_TRUE(p);
    EXPECT_EQ(*p, (geodetic_degrees{-33.5, 151.25}));
}

TEST(CornerToDegrees, RadiansAreScaled) {
    const auto p = to_geodetic_degrees(geodetic_radians{0.5, -1.0});
    ASSERT_TRUE(p);
    EXPECT_DOUBLE_EQ(p->lat, 0.5 * 180.0 / std::numbers::pi);
    EXPECT_DOUBLE_EQ(p->lon, -1.0 * 180.0 / std::numbers::pi);
}

TEST(CornerToDegrees, UnsupportedGivesNothing) {
    EXPECT_FALSE(to_geodetic_degrees(unsupported{}));
}

TEST(CornerToDegrees, NonFiniteGivesNothing) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_FALSE(to_geodetic_degrees(geodetic_degrees{nan, 0}));
    EXPECT_FALSE(to_geodetic_degrees(geodetic_radians{0, nan}));
    EXPECT_FALSE(to_geodetic_degrees(ecef{nan, 0, 0}));
    EXPECT_FALSE(to_geodetic_degrees(utm{33, true, nan, 0}));
}

// Reference values from GDAL 3.6.2:
//   echo "4517590.878 1725.345 4487348.409" | gdaltransform -s_srs EPSG:4978 -t_srs EPSG:4979
//   gives 0.0218822342631906 44.9999979099147 0.232464523054659 (lon, lat, h).
TEST(CornerToDegrees, CentricMatchesGdalTransform) {
    const auto p = to_geodetic_degrees(ecef{4517590.878, 1725.345, 4487348.409});
    ASSERT_TRUE(p);
    EXPECT_NEAR(p->lat, 44.9999979099147, 1e-11);
    EXPECT_NEAR(p->lon, 0.0218822342631906, 1e-11);
}

// Reference values from GDAL 3.6.2:
//   echo "500000 4649776" | gdaltransform -s_srs EPSG:32633 -t_srs EPSG:4326
//   gives 15 41.9999979751284.
TEST(CornerToDegrees, UtmMatchesGdalTransform) {
    const auto p = to_geodetic_degrees(utm{33, true, 500000, 4649776});
    ASSERT_TRUE(p);
    EXPECT_NEAR(p->lat, 41.9999979751284, 1e-11);
    EXPECT_NEAR(p->lon, 15.0, 1e-12);
}

TEST(UtmConversion, OutOfRangeGivesNothing) {
    EXPECT_FALSE(utm_to_geodetic(utm{61, true, 500000, 0}));
    EXPECT_FALSE(utm_to_geodetic(utm{-1, true, 500000, 0}));
    EXPECT_FALSE(utm_to_geodetic(utm{33, true, 5.0e7, 0}));
    EXPECT_FALSE(geodetic_to_utm(geodetic_degrees{91, 0}));
    EXPECT_FALSE(geodetic_to_utm(geodetic_degrees{10, 10}, 61));
}

// Reference values from GDAL 3.6.2:
//   echo "4.0 60.5" | gdaltransform -s_srs EPSG:4326 -t_srs EPSG:32632
//   gives 225510.347673998 6717531.15524728.
TEST(UtmConversion, StandardZoneHonoursNorwayException) {
    const auto g = geodetic_to_utm(geodetic_degrees{60.5, 4.0});
    ASSERT_TRUE(g);
    EXPECT_EQ(g->zone, 32);  // 31 by longitude alone
    EXPECT_TRUE(g->north);
    EXPECT_NEAR(g->easting, 225510.347673998, 1e-6);
    EXPECT_NEAR(g->northing, 6717531.15524728, 1e-6);
}

// Reference values from GDAL 3.6.2:
//   echo "-58.5 -34.25" | gdaltransform -s_srs EPSG:4326 -t_srs EPSG:32721
//   gives 361879.543591691 6209106.26729573.
TEST(UtmConversion, SouthernHemisphereHasFalseNorthing) {
    const auto g = geodetic_to_utm(geodetic_degrees{-34.25, -58.5});
    ASSERT_TRUE(g);
    EXPECT_EQ(g->zone, 21);
    EXPECT_FALSE(g->north);
    EXPECT_NEAR(g->easting, 361879.543591691, 1e-6);
    EXPECT_NEAR(g->northing, 6209106.26729573, 1e-6);
}

TEST(UtmConversion, ForcedZoneAndPolarGrid) {
    const auto forced = geodetic_to_utm(geodetic_degrees{42.0, 15.0}, 34);
    ASSERT_TRUE(forced);
    EXPECT_EQ(forced->zone, 34);
    EXPECT_LT(forced->easting, 500000);  // west of the zone's central meridian, 21 E
    const auto polar = geodetic_to_utm(geodetic_degrees{85.0, 30.0});
    ASSERT_TRUE(polar);
    EXPECT_EQ(polar->zone, 0);
    EXPECT_TRUE(polar->north);
}

TEST(UtmConversion, RoundTripsWithinNanodegree) {
    for (double lat = -79.75; lat <= 89.0; lat += 6.5) {
        for (double lon = -179.5; lon <= 180.0; lon += 17.75) {
            const auto g = geodetic_to_utm(geodetic_degrees{lat, lon});
            ASSERT_TRUE(g) << lat << " " << lon;
            const auto back = utm_to_geodetic(*g);
            ASSERT_TRUE(back) << lat << " " << lon;
            EXPECT_NEAR(back->lat, lat, 1e-9) << lat << " " << lon;
            EXPECT_NEAR(back->lon, lon, 1e-9) << lat << " " << lon;
        }
    }
}

TEST(MgrsConversion, SouthWestCornerOfTheSquare) {
    const auto fine = mgrs_to_utm("34TDN1234567890");
    ASSERT_TRUE(fine);
    EXPECT_EQ(*fine, (utm{34, true, 412345, 4767890}));
    // At 1 km precision the position is the corner of the 1 km square, not its centre.
    const auto coarse = mgrs_to_utm("  34TDN1267  ");
    ASSERT_TRUE(coarse);
    EXPECT_EQ(*coarse, (utm{34, true, 412000, 4767000}));
}

// Reference values from GDAL 3.6.2 for the grid position of 34TDN1234567890:
//   echo "412345 4767890" | gdaltransform -s_srs EPSG:32634 -t_srs EPSG:4326
//   gives 19.9235687411732 43.0586498227404.
TEST(MgrsConversion, ToDegreesMatchesGdalTransform) {
    const auto p = mgrs_to_geodetic("34TDN1234567890");
    ASSERT_TRUE(p);
    EXPECT_NEAR(p->lat, 43.0586498227404, 1e-11);
    EXPECT_NEAR(p->lon, 19.9235687411732, 1e-11);
}

TEST(MgrsConversion, BadReferencesGiveNothing) {
    for (const char* bad : {"", "   ", "INV", "34T", "34TDN123456789", "34TDN12345678X0", "??"}) {
        EXPECT_FALSE(mgrs_to_utm(bad)) << bad;
        EXPECT_FALSE(mgrs_to_geodetic(bad)) << bad;
    }
}
