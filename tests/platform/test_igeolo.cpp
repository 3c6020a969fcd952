#include <gtest/gtest.h>

#include "tessel/platform/geo/lumo_geo.h"
#include "tessel/platform/geo/nitf_igeolo.h"

#include <GeographicLib/MGRS.hpp>
#include <GeographicLib/UTMUPS.hpp>
#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>
#include "support/TestPaths.h"

using lumo_geo::geodetic_degrees;
using lumo_geo::utm;

namespace {

lumo_geo::corners parseOrFail(char icords, std::string_view igeolo) {
    const auto result = nitf_igeolo::parse(icords, igeolo);
    if (!result) {
        ADD_FAILURE() << "no corners from '" << icords << "' " << igeolo;
        return {};
    }
    return *result;
}

geodetic_degrees degreesOf(const lumo_geo::corner& c) {
    const auto* value = std::get_if<geodetic_degrees>(&c);
    if (value == nullptr) {
        ADD_FAILURE() << "corner is not in geodetic degrees (kind " << c.index() << ")";
        return {};
    }
    return *value;
}

utm gridOf(const lumo_geo::corner& c) {
    const auto* value = std::get_if<utm>(&c);
    if (value == nullptr) {
        ADD_FAILURE() << "corner is not UTM (kind " << c.index() << ")";
        return {};
    }
    return *value;
}

void expectDegrees(const lumo_geo::corner& c, double lat, double lon, double tolerance = 1e-12) {
    const geodetic_degrees p = degreesOf(c);
    EXPECT_NEAR(p.lat, lat, tolerance);
    EXPECT_NEAR(p.lon, lon, tolerance);
}

void expectGrid(const lumo_geo::corner& c, int zone, bool north, double easting, double northing) {
    const utm g = gridOf(c);
    EXPECT_EQ(g.zone, zone);
    EXPECT_EQ(g.north, north);
    EXPECT_EQ(g.easting, easting);
    EXPECT_EQ(g.northing, northing);
}

// The latitude and longitude of a corner, whatever its kind.
geodetic_degrees inDegrees(const lumo_geo::corner& c) {
    const auto p = lumo_geo::to_geodetic_degrees(c);
    if (!p) {
        ADD_FAILURE() << "corner does not convert to degrees";
        return {};
    }
    return *p;
}

double dms(int d, int m, int s) {
    return d + m / 60.0 + s / 3600.0;
}

}  // namespace

// ---- geographic, degrees minutes seconds ----

TEST(IgeoloGeographic, HandWorkedCornersInFileOrder) {
    const auto c = parseOrFail('G', "421758N0200002E421758N0200349E421509N0200349E421509N0200002E");
    expectDegrees(c[0], 42 + 17 / 60.0 + 58 / 3600.0, 20 + 2 / 3600.0);
    expectDegrees(c[1], 42 + 17 / 60.0 + 58 / 3600.0, 20 + 3 / 60.0 + 49 / 3600.0);
    expectDegrees(c[2], 42 + 15 / 60.0 + 9 / 3600.0, 20 + 3 / 60.0 + 49 / 3600.0);
    expectDegrees(c[3], 42 + 15 / 60.0 + 9 / 3600.0, 20 + 2 / 3600.0);
}

TEST(IgeoloGeographic, SouthAndWestAreNegative) {
    const auto c = parseOrFail('G', "335230S1511235W000000N0000000E900000S1800000W000001S0000001W");
    expectDegrees(c[0], -dms(33, 52, 30), -dms(151, 12, 35));
    expectDegrees(c[1], 0.0, 0.0);
    expectDegrees(c[2], -90.0, -180.0);
    expectDegrees(c[3], -1 / 3600.0, -1 / 3600.0);
}

TEST(IgeoloGeographic, LimitsAreInclusive) {
    const auto c = parseOrFail('G', "900000N1800000E595959N1795959W900000S0000000E000000N1800000W");
    expectDegrees(c[0], 90.0, 180.0);
    expectDegrees(c[1], dms(59, 59, 59), -dms(179, 59, 59));
}

TEST(IgeoloGeographic, OutOfRangeOrMalformedGivesNothing) {
    const std::string good = "421758N0200002E";
    const std::string rest = good + good + good;
    for (const char* bad : {
             "911758N0200002E",  // latitude 91
             "900001N0200002E",  // beyond the pole by a second
             "426058N0200002E",  // minute 60
             "421760N0200002E",  // second 60
             "421758N1810002E",  // longitude 181
             "421758N1800100E",  // beyond 180 by a minute
             "421758X0200002E",  // hemisphere letter
             "421758N0200002N",  // latitude letter on the longitude
             "421758n0200002e",  // lower case
             "42175BN0200002E",  // letter among the digits
             "4217 8N0200002E",  // blank among the digits
             "+21758N0200002E",  // sign
             "               ",  // blank corner
         }) {
        EXPECT_FALSE(nitf_igeolo::parse('G', bad + rest)) << bad;
        EXPECT_FALSE(nitf_igeolo::parse('G', rest + bad)) << bad;
    }
}

// ---- geographic, decimal degrees ----

TEST(IgeoloDecimal, HandWorkedCorners) {
    const auto c = parseOrFail('D', "+42.300+020.000-42.310-020.064+00.000-000.001-90.000+180.000");
    expectDegrees(c[0], 42.3, 20.0, 0);
    expectDegrees(c[1], -42.31, -20.064, 0);
    expectDegrees(c[2], 0.0, -0.001, 0);
    expectDegrees(c[3], -90.0, 180.0, 0);
}

TEST(IgeoloDecimal, OutOfRangeOrMalformedGivesNothing) {
    const std::string good = "+42.300+020.000";
    const std::string rest = good + good + good;
    for (const char* bad : {
             "+90.001+020.000",  // latitude beyond 90
             "-91.000+020.000",  // latitude 91
             "+42.300+180.001",  // longitude beyond 180
             " 42.300+020.000",  // blank for the sign
             "42.3000+020.000",  // no sign
             "+42,300+020.000",  // comma
             "+42.3a0+020.000",  // letter
             "+42.300+20.0000",  // point misplaced
             "+4.2300+020.000",  // point misplaced
             "+42.300 020.000",  // blank for the sign
             "+42.300+0x0.000",  // hexadecimal
         }) {
        EXPECT_FALSE(nitf_igeolo::parse('D', bad + rest)) << bad;
        EXPECT_FALSE(nitf_igeolo::parse('D', rest + bad)) << bad;
    }
}

// ---- UTM by zone, easting and northing ----

// Reference values from GDAL 3.6.2:
//   printf "500005 4679995\n500635 4679995\n500635 4679525\n500005 4679525\n" |
//     gdaltransform -s_srs EPSG:32634 -t_srs EPSG:4326
TEST(IgeoloUtm, NorthernHemisphereMatchesGdalTransform) {
    const auto c = parseOrFail('N', "345000054679995345006354679995345006354679525345000054679525");
    expectGrid(c[0], 34, true, 500005, 4679995);
    expectGrid(c[1], 34, true, 500635, 4679995);
    expectGrid(c[2], 34, true, 500635, 4679525);
    expectGrid(c[3], 34, true, 500005, 4679525);
    const double gdal[4][2] = {{42.2721639904344, 21.0000606326796},
                               {42.272163731947, 21.0077003502797},
                               {42.2679307980896, 21.0076998350903},
                               {42.2679310565388, 21.000060628623}};
    for (int i = 0; i < 4; ++i) {
        const geodetic_degrees p = inDegrees(c[i]);
        EXPECT_NEAR(p.lat, gdal[i][0], 1e-11) << i;
        EXPECT_NEAR(p.lon, gdal[i][1], 1e-11) << i;
    }
}

// Reference values from GDAL 3.6.2:
//   printf "500005 5999995\n500635 5999995\n500635 5999525\n500005 5999525\n" |
//     gdaltransform -s_srs EPSG:32734 -t_srs EPSG:4326
TEST(IgeoloUtm, SouthernHemisphereMatchesGdalTransform) {
    const auto c = parseOrFail('S', "345000055999995345006355999995345006355999525345000055999525");
    expectGrid(c[0], 34, false, 500005, 5999995);
    expectGrid(c[2], 34, false, 500635, 5999525);
    const double gdal[4][2] = {{-36.144763177435, 21.000055578642},
                               {-36.1447629694502, 21.0070584875173},
                               {-36.1490003591283, 21.0070588671776},
                               {-36.1490005671452, 21.0000555816315}};
    for (int i = 0; i < 4; ++i) {
        const geodetic_degrees p = inDegrees(c[i]);
        EXPECT_NEAR(p.lat, gdal[i][0], 1e-11) << i;
        EXPECT_NEAR(p.lon, gdal[i][1], 1e-11) << i;
    }
}

TEST(IgeoloUtm, EachCornerKeepsItsOwnZone) {
    const auto c = parseOrFail('N', "015000000000000605000000000000315000000000000325000000000000");
    expectGrid(c[0], 1, true, 500000, 0);
    expectGrid(c[1], 60, true, 500000, 0);
    expectGrid(c[2], 31, true, 500000, 0);
    expectGrid(c[3], 32, true, 500000, 0);
    EXPECT_NEAR(inDegrees(c[0]).lon, -177.0, 1e-12);
    EXPECT_NEAR(inDegrees(c[1]).lon, 177.0, 1e-12);
}

TEST(IgeoloUtm, OutOfRangeOrMalformedGivesNothing) {
    const std::string good = "345000054679995";
    const std::string rest = good + good + good;
    for (const char* bad : {
             "005000054679995",  // zone 0
             "615000054679995",  // zone 61
             "3450000546799 5",  // blank in the northing
             "34500A054679995",  // letter in the easting
             " 45000054679995",  // blank zone digit
             "34-500054679995",  // sign
             "               ",  // blank corner
         }) {
        EXPECT_FALSE(nitf_igeolo::parse('N', bad + rest)) << bad;
        EXPECT_FALSE(nitf_igeolo::parse('S', rest + bad)) << bad;
    }
    // A southern northing below 1000 km would lie beyond 80 degrees south of the grid.
    EXPECT_FALSE(nitf_igeolo::parse('S', "345000050000000" + rest));
}

// ---- MGRS ----

TEST(IgeoloMgrs, HandWorkedGridPositions) {
    // 34T: zone 34 (column letters A-H from 100 km, so D = 400 km), row letters from A in
    // odd zones, N = row 12 of 20, in band T that is 4 700 km: the square's south-west
    // corner plus the five-digit offsets, with no half-metre shift to the centre.
    const auto c = parseOrFail('U', "34TDN123456789034TDN129876789034TDN129876743034TDN1234567430");
    expectGrid(c[0], 34, true, 412345, 4767890);
    expectGrid(c[1], 34, true, 412987, 4767890);
    expectGrid(c[2], 34, true, 412987, 4767430);
    expectGrid(c[3], 34, true, 412345, 4767430);
}

// Reference values from GDAL 3.6.2 for the grid positions worked out by hand:
//   echo "361879 6209106" | gdaltransform -s_srs EPSG:32721 -t_srs EPSG:4326
//   echo "612345 2367890" | gdaltransform -s_srs EPSG:32604 -t_srs EPSG:4326
//   echo "2412345 1567890" | gdaltransform -s_srs EPSG:32661 -t_srs EPSG:4326
TEST(IgeoloMgrs, SouthernPaddedAndPolarReferences) {
    const auto c = parseOrFail('U', "21HUC6187909106 4QFJ1234567890ZGC1234567890  4QFJ1234567890 ");
    // 21H: zone 21 columns S-Z, so U = 300 km; rows from A, C = 200 km in band H: 6 200 km.
    expectGrid(c[0], 21, false, 361879, 6209106);
    expectGrid(c[1], 4, true, 612345, 2367890);
    // UPS north, east of Greenwich: columns A from 2 000 km (G = 2 400 km), rows A from
    // 1 300 km (C = 1 500 km).
    expectGrid(c[2], 0, true, 2412345, 1567890);
    expectGrid(c[3], 4, true, 612345, 2367890);
    const double gdal[3][2] = {
        {-34.2500023375669, -58.5000059444406},
        {21.4097966722172, -157.916081174208},
        {84.6240108977322, 43.6592010757186},
    };
    for (int i = 0; i < 3; ++i) {
        const geodetic_degrees p = inDegrees(c[i]);
        EXPECT_NEAR(p.lat, gdal[i][0], 1e-11) << i;
        EXPECT_NEAR(p.lon, gdal[i][1], 1e-11) << i;
    }
}

TEST(IgeoloMgrs, AgreesWithGeographicLibForward) {
    // Points in many zones and bands, written at 1 m by the library's own encoder.
    for (double lat = -79.5; lat <= 83.5; lat += 9.75) {
        for (double lon = -178.5; lon <= 180.0; lon += 27.25) {
            int zone = 0;
            bool north = false;
            double x = 0, y = 0;
            GeographicLib::UTMUPS::Forward(lat, lon, zone, north, x, y);
            std::string mgrs;
            GeographicLib::MGRS::Forward(zone, north, x, y, lat, 5, mgrs);
            mgrs.resize(15, ' ');
            const auto c = nitf_igeolo::parse('U', mgrs + mgrs + mgrs + mgrs);
            ASSERT_TRUE(c) << mgrs;
            const utm g = gridOf((*c)[0]);
            EXPECT_EQ(g.zone, zone) << mgrs;
            EXPECT_EQ(g.north, north) << mgrs;
            EXPECT_EQ(g.easting, std::floor(x)) << mgrs;
            EXPECT_EQ(g.northing, std::floor(y)) << mgrs;
        }
    }
}

TEST(IgeoloMgrs, MalformedGivesNothing) {
    const std::string good = "34TDN1234567890";
    const std::string rest = good + good + good;
    for (const char* bad : {
             "34TDN123456789A",  // letter in the northing
             "34tdn1234567890",  // lower case
             "34TDN12345 7890",  // blank among the digits
             "34TDN123456789 ",  // nine digits
             "34TIN1234567890",  // I is not a grid letter
             "34TDO1234567890",  // O is not a grid letter
             "61TDN1234567890",  // zone 61
             "34TDN          ",  // square without a position
             "34T            ",  // grid zone only
             "INV            ",  // the invalid mark
             "               ",  // blank corner
             "134TDN123456789",  // three zone digits
             "38VMS1234567890",  // the 38MS square lies wholly north of band V
             "38NPE1234567890",  // the 38PE square does not reach band N
         }) {
        EXPECT_FALSE(nitf_igeolo::parse('U', bad + rest)) << bad;
        EXPECT_FALSE(nitf_igeolo::parse('U', rest + bad)) << bad;
    }
}

// ---- NITF 2.00 geocentric ----

// GDAL 3.6.2 reads NITF 2.00 ICORDS 'C' as a geocentric latitude and converts it to
// geodetic. Reference: the fixture derived_v200_geo_rgb.ntf with its ICORDS byte changed
// from 'G' to 'C', read with the GDAL Python module; the corner pixel centres of its
// geotransform (the IGEOLO points) are
//   (20.000555555555554, 42.491073912636416) (20.079444444444444, 42.43214869259789).
// GDAL uses b = 6356752.3142, hence the agreement to 1e-9 only.
TEST(IgeoloGeocentric, LatitudeBecomesGeodeticAsGdalReadsIt) {
    const auto c = parseOrFail('C', "421758N0200002E421758N0200446E421426N0200446E421426N0200002E");
    expectDegrees(c[0], 42.491073912636416, 20.000555555555554, 1e-9);
    expectDegrees(c[1], 42.491073912636416, 20.079444444444444, 1e-9);
    expectDegrees(c[2], 42.43214869259789, 20.079444444444444, 1e-9);
    expectDegrees(c[3], 42.43214869259789, 20.000555555555554, 1e-9);
}

TEST(IgeoloGeocentric, EquatorAndPolesStayPut) {
    const auto c = parseOrFail('C', "000000N0100000E900000N0100000E900000S0100000W000000S0100000W");
    expectDegrees(c[0], 0.0, 10.0, 0);
    expectDegrees(c[1], 90.0, 10.0, 0);
    expectDegrees(c[2], -90.0, -10.0, 0);
    EXPECT_FALSE(nitf_igeolo::parse('C', std::string(15, '9') + std::string(45, '0')));
}

// ---- the field as a whole ----

TEST(IgeoloField, LengthMustBeSixty) {
    const std::string g = "421758N0200002E421758N0200349E421509N0200349E421509N0200002E";
    ASSERT_TRUE(nitf_igeolo::parse('G', g));
    EXPECT_FALSE(nitf_igeolo::parse('G', g.substr(0, 59)));
    EXPECT_FALSE(nitf_igeolo::parse('G', g + " "));
    EXPECT_FALSE(nitf_igeolo::parse('G', g + g));
    EXPECT_FALSE(nitf_igeolo::parse('G', ""));
}

TEST(IgeoloField, NoCoordinatesForBlankOrUnknownIcords) {
    const std::string g = "421758N0200002E421758N0200349E421509N0200349E421509N0200002E";
    for (char icords : {' ', '\0', 'X', 'g', 'd', 'u', 'A', 'E', 'R'}) {
        EXPECT_FALSE(nitf_igeolo::parse(icords, g)) << static_cast<int>(icords);
    }
    EXPECT_FALSE(nitf_igeolo::parse(' ', std::string(60, ' ')));
    // NITF 2.00 'N' ("none") comes without IGEOLO.
    EXPECT_FALSE(nitf_igeolo::parse('N', ""));
    EXPECT_FALSE(nitf_igeolo::parse('G', std::string(60, ' ')));
}

TEST(IgeoloField, ControlAndHighBytesGiveNothing) {
    const std::pair<char, std::string> valid[] = {
        {'G', "421758N0200002E421758N0200349E421509N0200349E421509N0200002E"},
        {'C', "421758N0200002E421758N0200349E421509N0200349E421509N0200002E"},
        {'D', "+42.300+020.000+42.300+020.000+42.300+020.000+42.300+020.000"},
        {'N', "345000054679995345006354679995345006354679525345000054679525"},
        {'S', "345000055999995345006355999995345006355999525345000055999525"},
        {'U', "34TDN123456789034TDN129876789034TDN129876743034TDN1234567430"},
    };
    for (const auto& [icords, text] : valid) {
        ASSERT_TRUE(nitf_igeolo::parse(icords, text)) << icords;
        for (char c : {'\0', '\n', '\x7f', '\xff'}) {
            for (std::size_t at : {0u, 5u, 29u, 59u}) {
                std::string bad = text;
                bad[at] = c;
                EXPECT_FALSE(nitf_igeolo::parse(icords, bad)) << icords << " at " << at;
            }
        }
    }
}

// ---- against GDAL's reading of the fixtures ----

namespace {

struct FixtureImage {
    char icords = ' ';
    std::string igeolo;
    std::vector<double> geotransform;
    int width = 0;
    int height = 0;
    std::string wkt;
};

// The environment may point elsewhere than the build's default, for a checkout whose
// shared folder is not beside it.
std::filesystem::path sharedDir() {
    const char* fromEnvironment = std::getenv("TESSEL_SHARED_DIR");
    return fromEnvironment != nullptr && *fromEnvironment != '\0' ? fromEnvironment
                                                                  : TESSEL_SHARED_DIR;
}

std::optional<FixtureImage> loadFixture(const std::string& name) {
    const std::filesystem::path path = sharedDir() / "fixtures" / (name + ".json");
    std::ifstream in(path);
    if (!in) {
        return std::nullopt;
    }
    const auto doc = nlohmann::json::parse(in);
    const auto& image = doc.at("images").at(0);
    const auto& fields = image.at("metadata").at("default");
    FixtureImage result;
    result.icords = fields.at("NITF_ICORDS").get<std::string>().at(0);
    result.igeolo = fields.at("NITF_IGEOLO").get<std::string>();
    if (!image.at("geotransform").is_null()) {
        result.geotransform = image.at("geotransform").get<std::vector<double>>();
    }
    result.width = image.at("size").at(0).get<int>();
    result.height = image.at("size").at(1).get<int>();
    if (!image.at("projection_wkt").is_null()) {
        result.wkt = image.at("projection_wkt").get<std::string>();
    }
    return result;
}

// GDAL takes IGEOLO as the centres of the corner pixels, so those centres in its
// geotransform are its reading of the four corners, in IGEOLO order.
std::array<std::array<double, 2>, 4> gdalCorners(const FixtureImage& f) {
    const auto& gt = f.geotransform;
    const double w = f.width - 0.5;
    const double h = f.height - 0.5;
    const double at[4][2] = {{0.5, 0.5}, {w, 0.5}, {w, h}, {0.5, h}};
    std::array<std::array<double, 2>, 4> result{};
    for (int i = 0; i < 4; ++i) {
        result[i] = {gt[0] + at[i][0] * gt[1] + at[i][1] * gt[2],
                     gt[3] + at[i][0] * gt[4] + at[i][1] * gt[5]};
    }
    return result;
}

#define LOAD_FIXTURE_OR_SKIP(var, name)                         \
    const auto var = loadFixture(name);                         \
    if (!var) {                                                 \
        GTEST_SKIP() << "fixture " << name << " not available"; \
    }                                                           \
    ASSERT_EQ(var->geotransform.size(), 6u) << name << " has no geotransform"

}  // namespace

class IgeoloFixtureGeographic : public testing::TestWithParam<const char*> {};

TEST_P(IgeoloFixtureGeographic, CornersMatchGdal) {
    LOAD_FIXTURE_OR_SKIP(fixture, GetParam());
    const auto c = parseOrFail(fixture->icords, fixture->igeolo);
    const auto gdal = gdalCorners(*fixture);
    for (int i = 0; i < 4; ++i) {
        expectDegrees(c[i], gdal[i][1], gdal[i][0], 1e-9);
    }
}

INSTANTIATE_TEST_SUITE_P(Fixtures, IgeoloFixtureGeographic,
                         testing::Values("icords_g", "icords_d", "derived_v200_geo_rgb"));

class IgeoloFixtureGrid : public testing::TestWithParam<const char*> {};

TEST_P(IgeoloFixtureGrid, CornersMatchGdal) {
    LOAD_FIXTURE_OR_SKIP(fixture, GetParam());
    // The fixtures are all in UTM zone 34 (central meridian 21); GDAL names the southern
    // hemisphere by its false northing.
    ASSERT_NE(fixture->wkt.find("\"central_meridian\",21]"), std::string::npos);
    const bool north = fixture->wkt.find("\"false_northing\",10000000]") == std::string::npos;
    const auto c = parseOrFail(fixture->icords, fixture->igeolo);
    const auto gdal = gdalCorners(*fixture);
    for (int i = 0; i < 4; ++i) {
        const utm g = gridOf(c[i]);
        EXPECT_EQ(g.zone, 34) << i;
        EXPECT_EQ(g.north, north) << i;
        EXPECT_NEAR(g.easting, gdal[i][0], 1e-6) << i;
        EXPECT_NEAR(g.northing, gdal[i][1], 1e-6) << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Fixtures, IgeoloFixtureGrid,
                         testing::Values("icords_n", "icords_s", "icords_u"));

TEST(IgeoloFixture, NonRectangularDecimalCornersAsWritten) {
    const auto fixture = loadFixture("icords_d_igeolo");
    if (!fixture) {
        GTEST_SKIP() << "fixture icords_d_igeolo not available";
    }
    // GDAL gives this image ground control points rather than a geotransform; the corners
    // are those of the writing options: +42.300+020.000+42.310+020.064...
    const auto c = parseOrFail(fixture->icords, fixture->igeolo);
    expectDegrees(c[0], 42.300, 20.000, 0);
    expectDegrees(c[1], 42.310, 20.064, 0);
    expectDegrees(c[2], 42.262, 20.070, 0);
    expectDegrees(c[3], 42.252, 20.004, 0);
}
