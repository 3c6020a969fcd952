// Four-corner models: the bilinear mapping and its closed-form inverse, the corner sources
// (BLOCKA, CSCRNA, IGEOLO), their refusals and their state, and the plug-ins that offer them.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "sensors/CovarianceForms.h"
#include "support/FileTestSupport.h"
#include "support/ImageFileBuilder.h"
#include "tessel/core/NITFMessages.h"
#include "tessel/core/NITFURI.h"
#include "tessel/csm/Error.h"
#include "tessel/csm/Plugin.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFileContext.h"
#include "tessel/sensors/BLOCKAModel.h"
#include "tessel/sensors/CSCRNAModel.h"
#include "tessel/sensors/FourCornerPlugins.h"
#include "tessel/sensors/IGEOLOModel.h"

namespace {

using namespace VEXASensors;
using nlohmann::json;

json headerDocument(int rows = 1000, int cols = 2000) {
    return json{
        {"IID2", "corner test"}, {"IDATIM", "20240115103000"}, {"NROWS", rows}, {"NCOLS", cols}};
}

// Decimal BLOCKA locations of a corner: "+dd.dddddd+ddd.dddddd".
std::string decimalLocation(double lat, double lon) {
    char text[32];
    std::snprintf(text, sizeof text, "%+010.6f%+011.6f", lat, lon);
    return text;
}

json blockaDocument(const FourCornerModel::Corners& c, int rows = 1000, int cols = 2000) {
    json document = headerDocument(rows, cols);
    document["BLOCKA"] = {{"BLOCK_INSTANCE", "01"},
                          {"N_GRAY", "00000"},
                          {"L_LINES", "01000"},
                          {"LAYOVER_ANGLE", "000"},
                          {"SHADOW_ANGLE", "000"},
                          {"FRFC_LOC", decimalLocation(c[0].lat, c[0].lon)},
                          {"FRLC_LOC", decimalLocation(c[1].lat, c[1].lon)},
                          {"LRLC_LOC", decimalLocation(c[2].lat, c[2].lon)},
                          {"LRFC_LOC", decimalLocation(c[3].lat, c[3].lon)}};
    return document;
}

std::unique_ptr<BLOCKAModel> blockaModel(const FourCornerModel::Corners& corners) {
    std::vector<std::string> failures;
    auto model =
        BLOCKAModel::fromDocument(blockaDocument(corners), BLOCKA_MODEL_NAME,
                                  [&](const std::string& message) { failures.push_back(message); });
    EXPECT_TRUE(failures.empty()) << failures.front();
    return model;
}

const FourCornerModel::Corners rectangle = {LLHCoord(41.5, 20.0, 0), LLHCoord(41.5, 20.2, 0),
                                            LLHCoord(41.3, 20.2, 0), LLHCoord(41.3, 20.0, 0)};
// A skewed, twisted footprint: neither parallel sides nor a rectangle.
const FourCornerModel::Corners twisted = {LLHCoord(41.52, 20.01, 0), LLHCoord(41.55, 20.21, 0),
                                          LLHCoord(41.31, 20.25, 0), LLHCoord(41.28, 19.98, 0)};

TEST(FourCornerModel, RectangularFootprintTakesTheLinearBranch) {
    const auto model = blockaModel(rectangle);
    ASSERT_TRUE(model);
    EXPECT_EQ(model->lonCoefficients()[3], 0.0);
    EXPECT_EQ(model->latCoefficients()[3], 0.0);
    for (const ImageCoord point :
         {ImageCoord(0.0, 0.0), ImageCoord(250.0, 1500.0), ImageCoord(999.0, 3.0)}) {
        const LLHCoord ground = model->imageToGround_llh(point, 0.0);
        const ImageCoord back = model->groundToImage_llh(ground);
        EXPECT_NEAR(back.line, point.line, 1e-7);
        EXPECT_NEAR(back.samp, point.samp, 1e-7);
    }
}

TEST(FourCornerModel, FirstAndLastImagePositionsGiveTheirCornersExactly) {
    const auto model = blockaModel(twisted);
    ASSERT_TRUE(model);
    const LLHCoord first = model->imageToGround_llh(ImageCoord(0.0, 0.0), 12.0);
    EXPECT_EQ(first.lat, 41.52);
    EXPECT_EQ(first.lon, 20.01);
    EXPECT_EQ(first.height, 12.0);
    const LLHCoord last = model->imageToGround_llh(ImageCoord(1000.0, 2000.0), 0.0);
    EXPECT_DOUBLE_EQ(last.lat, 41.31);
    EXPECT_DOUBLE_EQ(last.lon, 20.25);
    const LLHCoord upperRight = model->imageToGround_llh(ImageCoord(0.0, 2000.0), 0.0);
    EXPECT_DOUBLE_EQ(upperRight.lat, 41.55);
    EXPECT_DOUBLE_EQ(upperRight.lon, 20.21);
}

TEST(FourCornerModel, InverseReturnsInteriorAndNearbyOutsidePointsOfATwistedFootprint) {
    const auto model = blockaModel(twisted);
    ASSERT_TRUE(model);
    // Inside, and just outside on every side: for the outside ones both roots may leave 0 to
    // 1, and the nearer one must be chosen.
    for (const ImageCoord point :
         {ImageCoord(500.0, 1000.0), ImageCoord(-20.0, -35.0), ImageCoord(1015.0, 2040.0),
          ImageCoord(-10.0, 2030.0), ImageCoord(1030.0, -25.0)}) {
        const LLHCoord ground = model->imageToGround_llh(point, 0.0);
        const ImageCoord back = model->groundToImage_llh(ground);
        EXPECT_NEAR(back.line, point.line, 1e-6) << point.line << "," << point.samp;
        EXPECT_NEAR(back.samp, point.samp, 1e-6) << point.line << "," << point.samp;
    }
}

// The quadratic's terms for a ground point, as the inverse forms them.
struct Quadratic {
    double A, B, C;
};

Quadratic quadraticFor(const FourCornerModel& model, double x, double y) {
    const auto& a = model.lonCoefficients();
    const auto& b = model.latCoefficients();
    return {b[1] * a[3] - b[3] * a[1],
            a[2] * b[1] + b[0] * a[3] + x * b[3] - b[2] * a[1] - a[0] * b[3] - y * a[3],
            b[0] * a[2] + x * b[2] - a[0] * b[2] - y * a[2]};
}

TEST(FourCornerModel, NegativeDiscriminantWithZeroLinearTermGivesTheFirstLine) {
    // Corners whose coefficients are small integers: lon = 2v + uv, lat = 2u + uv. Then
    // A = 2, B = 4 + x - y and C = -2y, so at (x, y) = (-10, -6) B is 0 and D = -96.
    const FourCornerModel::Corners corners = {LLHCoord(0.0, 0.0, 0), LLHCoord(0.0, 2.0, 0),
                                              LLHCoord(3.0, 3.0, 0), LLHCoord(2.0, 0.0, 0)};
    const auto model = blockaModel(corners);
    ASSERT_TRUE(model);
    ASSERT_EQ(model->lonCoefficients(), (std::array<double, 4>{0.0, 0.0, 2.0, 1.0}));
    ASSERT_EQ(model->latCoefficients(), (std::array<double, 4>{0.0, 2.0, 0.0, 1.0}));
    const Quadratic q = quadraticFor(*model, -10.0, -6.0);
    ASSERT_EQ(q.B, 0.0);
    ASSERT_LT(q.B * q.B - 4.0 * q.A * q.C, 0.0);
    const ImageCoord image = model->groundToImage_llh(LLHCoord(-6.0, -10.0, 0.0));
    EXPECT_EQ(image.line, 0.0);
    EXPECT_EQ(image.samp, 2000.0 * -5.0);
}

TEST(FourCornerModel, NegativeDiscriminantTakesTheLinearSolution) {
    const auto model = blockaModel(twisted);
    ASSERT_TRUE(model);
    const auto& a = model->lonCoefficients();
    bool tested = false;
    for (double x = -60.0; x <= 60.0 && !tested; x += 1.0) {
        for (double y = -60.0; y <= 90.0 && !tested; y += 1.0) {
            const Quadratic q = quadraticFor(*model, x, y);
            if (q.A == 0.0 || q.B * q.B - 4.0 * q.A * q.C >= 0.0 || q.B == 0.0) {
                continue;
            }
            const double u = -q.C / q.B;
            const ImageCoord image = model->groundToImage_llh(LLHCoord(y, x, 0.0));
            EXPECT_NEAR(image.line, 1000.0 * u, 1e-9 * std::max(1.0, std::fabs(1000.0 * u)));
            const double v = (x - a[0] - a[1] * u) / (a[2] + a[3] * u);
            EXPECT_NEAR(image.samp, 2000.0 * v, 1e-9 * std::max(1.0, std::fabs(2000.0 * v)));
            tested = true;
        }
    }
    EXPECT_TRUE(tested) << "no point with a negative discriminant was found";
}

TEST(FourCornerModel, ValidHeightRangeIsTheSameForEveryImage) {
    const auto small = blockaModel(rectangle);
    const auto large = BLOCKAModel::fromDocument(
        [] {
            json d = blockaDocument(twisted, 90000, 120000);
            return d;
        }(),
        BLOCKA_MODEL_NAME, nullptr);
    ASSERT_TRUE(small && large);
    EXPECT_EQ(small->getValidHeightRange(), std::make_pair(-1000.0, 6000.0));
    EXPECT_EQ(large->getValidHeightRange(), std::make_pair(-1000.0, 6000.0));
    EXPECT_EQ(large->getImageSize().line, 90000.0);
    EXPECT_EQ(large->getImageSize().samp, 120000.0);
}

TEST(FourCornerModel, SensorVelocityByTimeIsZeroAndByImageThrows) {
    const auto model = blockaModel(twisted);
    ASSERT_TRUE(model);
    const csm::EcefVector velocity = model->getSensorVelocity(12.5);
    EXPECT_EQ(velocity.x, 0.0);
    EXPECT_EQ(velocity.y, 0.0);
    EXPECT_EQ(velocity.z, 0.0);
    EXPECT_THROW(model->getSensorVelocity(csm::ImageCoord(1, 1)), std::exception);
}

TEST(FourCornerModel, CovarianceFamilyFailsWithTheModelsFunctionText) {
    const auto model = blockaModel(twisted);
    ASSERT_TRUE(model);
    try {
        model->getParameterCovariance(0, 0);
        FAIL() << "no error";
    } catch (const csm::Error& e) {
        EXPECT_EQ(e.getFunction(), "VEXASensors::FourCornerModel::getParameterCovariance");
    }
    EXPECT_EQ(model->getNumGeometricCorrectionSwitches(), 0);
}

TEST(FourCornerModel, EarthCentredMappingAgreesWithTheGeodeticOne) {
    const auto model = blockaModel(twisted);
    ASSERT_TRUE(model);
    const csm::EcefCoord ecef = model->imageToGround(csm::ImageCoord(300, 700), 250.0);
    const LLHCoord llh(EcefCoord(ecef.x, ecef.y, ecef.z));
    const LLHCoord expected = model->imageToGround_llh(ImageCoord(300.0, 700.0), 250.0);
    EXPECT_NEAR(llh.lat, expected.lat, 1e-9);
    EXPECT_NEAR(llh.lon, expected.lon, 1e-9);
    EXPECT_NEAR(llh.height, 250.0, 1e-6);
    const csm::ImageCoord back = model->groundToImage(ecef);
    EXPECT_NEAR(back.line, 300.0, 1e-6);
    EXPECT_NEAR(back.samp, 700.0, 1e-6);
    // The remote locus runs from 100 m down to the ellipsoid, unnormalised.
    const csm::EcefLocus locus = model->imageToRemoteImagingLocus(csm::ImageCoord(300, 700));
    const double length =
        std::sqrt(locus.direction.x * locus.direction.x + locus.direction.y * locus.direction.y +
                  locus.direction.z * locus.direction.z);
    EXPECT_NEAR(length, 100.0, 1e-6);
}

TEST(FourCornerModel, CovarianceFormsAnswerAsThePlainFormsWithZeroCovariance) {
    const auto model = blockaModel(twisted);
    ASSERT_TRUE(model);
    covariance_test::expectCovarianceFormsMatchPlainForms(*model, csm::ImageCoord(300, 700), 250.0);
}

TEST(BLOCKAModel, LocationOfAnotherLengthGivesLatitudeAndLongitudeZero) {
    const LLHCoord shortOne = parseBlockaLocation("+41.31+020.07");
    EXPECT_EQ(shortOne.lat, 0.0);
    EXPECT_EQ(shortOne.lon, 0.0);
    const LLHCoord padded = parseBlockaLocation("  +41.319331+020.078400  ");
    EXPECT_DOUBLE_EQ(padded.lat, 41.319331);
    EXPECT_DOUBLE_EQ(padded.lon, 20.0784);
    FourCornerModel::Corners corners = twisted;
    json document = blockaDocument(corners);
    document["BLOCKA"]["LRLC_LOC"] = "+41.3";
    const auto model = BLOCKAModel::fromDocument(document, BLOCKA_MODEL_NAME, nullptr);
    ASSERT_TRUE(model);
    const LLHCoord corner = model->imageToGround_llh(ImageCoord(1000.0, 2000.0), 0.0);
    EXPECT_DOUBLE_EQ(corner.lat, 0.0);
    EXPECT_DOUBLE_EQ(corner.lon, 0.0);
}

TEST(BLOCKAModel, DegreesMinutesSecondsLocationsHonourTheirHemispheres) {
    const LLHCoord north = parseBlockaLocation("N411907.50E0200445.25");
    EXPECT_DOUBLE_EQ(north.lat, 41.0 + 19.0 / 60.0 + 7.5 / 3600.0);
    EXPECT_DOUBLE_EQ(north.lon, 20.0 + 4.0 / 60.0 + 45.25 / 3600.0);
    const LLHCoord south = parseBlockaLocation("S411907.50W0200445.25");
    EXPECT_DOUBLE_EQ(south.lat, -north.lat);
    EXPECT_DOUBLE_EQ(south.lon, -north.lon);
}

std::vector<std::string> failuresOf(const std::function<void(const BLOCKAModel::FailSink&)>& make) {
    std::vector<std::string> failures;
    make([&](const std::string& message) { failures.push_back(message); });
    return failures;
}

TEST(BLOCKAModel, RefusalsNameWhatIsMissing) {
    json noRecord = headerDocument();
    std::vector<std::string> failures = failuresOf([&](const auto& fail) {
        EXPECT_FALSE(BLOCKAModel::fromDocument(noRecord, BLOCKA_MODEL_NAME, fail));
    });
    EXPECT_EQ(failures, std::vector<std::string>{"Could not find a BLOCKA TRE"});

    json chipped = blockaDocument(twisted);
    chipped["ICHIPB"] = json::object();
    failures = failuresOf([&](const auto& fail) {
        EXPECT_FALSE(BLOCKAModel::fromDocument(chipped, BLOCKA_MODEL_NAME, fail));
    });
    EXPECT_EQ(failures, std::vector<std::string>{"BLOCKA ICHIP not supported"});

    failures = failuresOf([&](const auto& fail) {
        EXPECT_FALSE(BLOCKAModel::fromDocument(blockaDocument(twisted), "VEXA_RPC_B", fail));
    });
    EXPECT_EQ(failures, std::vector<std::string>{"Modelname not supported"});

    json noHeader = blockaDocument(twisted);
    noHeader.erase("IID2");
    failures = failuresOf([&](const auto& fail) {
        const auto model = BLOCKAModel::fromDocument(noHeader, BLOCKA_MODEL_NAME, fail);
        ASSERT_TRUE(model);
        EXPECT_EQ(model->getImageIdentifier(), "UNKNOWN");
    });
    EXPECT_EQ(failures, std::vector<std::string>{"Image parameter not found: IID2"});

    json missingField = blockaDocument(twisted);
    missingField["BLOCKA"].erase("SHADOW_ANGLE");
    failures = failuresOf([&](const auto& fail) {
        EXPECT_FALSE(BLOCKAModel::fromDocument(missingField, BLOCKA_MODEL_NAME, fail));
    });
    EXPECT_EQ(failures, std::vector<std::string>{"Key 'SHADOW_ANGLE' not found"});
}

TEST(BLOCKAModel, StateHoldsHeaderPropertiesAndRecordInOrderAndRebuildsTheModel) {
    json document = blockaDocument(twisted);
    document["Properties"] = {{"Sensor", "Test"}};
    const auto model = BLOCKAModel::fromDocument(document, BLOCKA_MODEL_NAME, nullptr);
    ASSERT_TRUE(model);
    const std::string state = model->getModelState();
    ASSERT_EQ(state.rfind("VEXA_4C_BLOCKA {", 0), 0u) << state;
    const size_t iid2 = state.find("\"IID2\"");
    const size_t ncols = state.find("\"NCOLS\"");
    const size_t props = state.find("\"Properties\"");
    const size_t record = state.find("\"BLOCKA\"");
    EXPECT_LT(iid2, ncols);
    EXPECT_LT(ncols, props);
    EXPECT_LT(props, record);
    const json parsed = json::parse(state.substr(state.find(' ') + 1));
    const auto again = BLOCKAModel::fromDocument(parsed, BLOCKA_MODEL_NAME, nullptr);
    ASSERT_TRUE(again);
    EXPECT_EQ(again->getModelState(), state);
    EXPECT_EQ(again->record().BLOCK_INSTANCE, "01");
}

TEST(CSCRNAModel, CornersMoveInByOnePixelStepWithFixedSigns) {
    json document = headerDocument(100, 200);
    document["CSCRNA"] = {{"PREDICT_CORNERS", "N"}, {"ULCNR_LAT", "+41.5"}, {"ULCNR_LONG", "+20.0"},
                          {"ULCNR_HT", "100"},      {"URCNR_LAT", "+41.5"}, {"URCNR_LONG", "+20.2"},
                          {"URCNR_HT", "100"},      {"LRCNR_LAT", "+41.3"}, {"LRCNR_LONG", "+20.2"},
                          {"LRCNR_HT", "100"},      {"LLCNR_LAT", "+41.3"}, {"LLCNR_LONG", "+20.0"},
                          {"LLCNR_HT", "100"}};
    const auto model = CSCRNAModel::fromDocument(document, CSCRNA_MODEL_NAME, nullptr);
    ASSERT_TRUE(model);
    const double lonStep = 0.2 / 200.0;
    const double latStep = 0.2 / 100.0;
    const LLHCoord upperLeft = model->imageToGround_llh(ImageCoord(0.0, 0.0), 0.0);
    EXPECT_DOUBLE_EQ(upperLeft.lat, 41.5);
    EXPECT_DOUBLE_EQ(upperLeft.lon, 20.0);
    const LLHCoord lowerRight = model->imageToGround_llh(ImageCoord(100.0, 200.0), 0.0);
    EXPECT_DOUBLE_EQ(lowerRight.lat, 41.3 + latStep);
    EXPECT_DOUBLE_EQ(lowerRight.lon, 20.2 - lonStep);
    const std::string state = model->getModelState();
    EXPECT_NE(state.find("\"CSCRNA\":{\"PREDICT_CORNERS\":\"N\",\"ULCNR_LAT\":41.5"),
              std::string::npos)
        << state;
    std::vector<std::string> failures;
    EXPECT_FALSE(CSCRNAModel::fromDocument(headerDocument(), CSCRNA_MODEL_NAME,
                                           [&](const std::string& m) { failures.push_back(m); }));
    EXPECT_EQ(failures, std::vector<std::string>{"Could not find a CSCRNA TRE"});
}

json igeoloDocument(const std::string& icords, const std::string& igeolo) {
    json document = headerDocument();
    document["ICORDS"] = icords;
    document["IGEOLO"] = igeolo;
    return document;
}

TEST(IGEOLOModel, GeographicCornersMapToTheFirstAndLastPositions) {
    const std::string igeolo = "411704N0200433E411907N0200445E411900N0200731E411656N0200719E";
    const auto model =
        IGEOLOModel::fromDocument(igeoloDocument("G", igeolo), IGEOLO_MODEL_NAME, nullptr);
    ASSERT_TRUE(model);
    const LLHCoord upperLeft = model->imageToGround_llh(ImageCoord(0.0, 0.0), 0.0);
    EXPECT_DOUBLE_EQ(upperLeft.lat, 41.0 + 17.0 / 60.0 + 4.0 / 3600.0);
    EXPECT_DOUBLE_EQ(upperLeft.lon, 20.0 + 4.0 / 60.0 + 33.0 / 3600.0);
    const LLHCoord lowerRight = model->imageToGround_llh(ImageCoord(1000.0, 2000.0), 0.0);
    EXPECT_NEAR(lowerRight.lat, 41.0 + 19.0 / 60.0, 1e-12);
    EXPECT_NEAR(lowerRight.lon, 20.0 + 7.0 / 60.0 + 31.0 / 3600.0, 1e-12);
    const std::string state = model->getModelState();
    EXPECT_NE(state.find("\"ICORDS\":\"G\",\"IGEOLO\":\"" + igeolo + "\""), std::string::npos);
}

TEST(IGEOLOModel, UnparsableTextBlankOrMissingFieldsAndChipsAreRefused) {
    std::vector<std::string> failures;
    const auto sink = [&](const std::string& m) { failures.push_back(m); };
    EXPECT_FALSE(
        IGEOLOModel::fromDocument(igeoloDocument("G", "not corners"), IGEOLO_MODEL_NAME, sink));
    EXPECT_EQ(failures, std::vector<std::string>{"Unable to parse IGEOLO string"});
    failures.clear();
    EXPECT_FALSE(IGEOLOModel::fromDocument(igeoloDocument(" ", ""), IGEOLO_MODEL_NAME, sink));
    EXPECT_TRUE(failures.empty()) << failures.front();
    json missing = headerDocument();
    missing["ICORDS"] = "G";
    EXPECT_FALSE(IGEOLOModel::fromDocument(missing, IGEOLO_MODEL_NAME, sink));
    EXPECT_EQ(failures, std::vector<std::string>{"Image parameter not found: IGEOLO"});
    failures.clear();
    json chipped =
        igeoloDocument("D", "+41.500+020.000+41.500+020.200+41.300+020.200+41.300+020.000");
    ASSERT_TRUE(IGEOLOModel::fromDocument(chipped, IGEOLO_MODEL_NAME, sink)) << failures.front();
    chipped["ICHIPB"] = json::object();
    EXPECT_FALSE(IGEOLOModel::fromDocument(chipped, IGEOLO_MODEL_NAME, sink));
    EXPECT_EQ(failures, std::vector<std::string>{"IGEOLO ICHIP not supported"});
}

TEST(FourCornerPlugins, AreListedWithTheirModelsAndBuildFromTheirStates) {
    for (const auto& [plugin, model] :
         {std::pair<std::string, std::string>{"VEXA_4C_IGEOLO", "VEXA_4C_IGEOLO"},
          {"VEXA_4C_BLOCKA", "VEXA_4C_BLOCKA"},
          {"VEXA_4C_CSCRNA", "VEXA_4C_CSCRNA"}}) {
        const csm::Plugin* found = csm::Plugin::findPlugin(plugin);
        ASSERT_NE(found, nullptr) << plugin;
        EXPECT_EQ(found->getNumModels(), 1u);
        EXPECT_EQ(found->getModelName(0), model);
        EXPECT_EQ(found->getManufacturer(), "Vexa");
    }
    const auto model = blockaModel(twisted);
    ASSERT_TRUE(model);
    const csm::Plugin* blocka = csm::Plugin::findPlugin("VEXA_4C_BLOCKA");
    csm::WarningList warnings;
    ASSERT_TRUE(blocka->canModelBeConstructedFromState("VEXA_4C_BLOCKA", model->getModelState(),
                                                       &warnings));
    std::unique_ptr<csm::Model> rebuilt(
        blocka->constructModelFromState(model->getModelState(), &warnings));
    ASSERT_TRUE(rebuilt);
    EXPECT_EQ(rebuilt->getModelState(), model->getModelState());
    EXPECT_FALSE(blocka->canModelBeConstructedFromState("VEXA_4C_IGEOLO", model->getModelState(),
                                                        &warnings));
}

}  // namespace

namespace file_corners {

// A CSCRNA record: corner predicted flag, then latitude (9), longitude (10) and height (8)
// of each corner in the order upper left, upper right, lower right, lower left.
std::string cscrnaPayload() {
    return "N"
           "+41.50000+020.00000+00100.0"
           "+41.50000+020.20000+00100.0"
           "+41.30000+020.20000+00100.0"
           "+41.30000+020.00000+00100.0";
}

std::string blockaPayload() {
    return "01"
           "00000"
           "00100"
           "000"
           "000" +
           std::string(16, ' ') +
           "+41.500000+020.200000"
           "+41.300000+020.200000"
           "+41.300000+020.000000"
           "+41.500000+020.000000"
           "010.0";
}

Tessel::NITFFileContext writeAndOpen(const std::filesystem::path& path,
                                     const std::vector<std::string>& tres) {
    image_test::ImageLayout layout;
    layout.rows = 100;
    layout.cols = 200;
    layout.tres = tres;
    layout.data.assign(100 * 200, '\0');
    image_test::ImageFileBuilder().add(layout).write(path);
    Tessel::NITFMessages messages;
    return Tessel::NITFFactory::get().open(Tessel::NITFURI(std::string_view(path.string())),
                                           messages);
}

}  // namespace file_corners

TEST(FourCornerModelsFromFiles, CscrnaAndBlockaRecordsOfAFileGiveTheirCorners) {
    file_test::TempDir dir;
    const auto file = file_corners::writeAndOpen(
        dir / "corners.ntf", {image_test::rawTre("CSCRNA", file_corners::cscrnaPayload()),
                              image_test::rawTre("BLOCKA", file_corners::blockaPayload())});
    ASSERT_TRUE(file);
    std::vector<std::string> failures;
    const auto sink = [&](const std::string& m) { failures.push_back(m); };
    const auto cscrna = CSCRNAModel::fromFile(file, CSCRNA_MODEL_NAME, sink);
    ASSERT_TRUE(cscrna) << (failures.empty() ? "" : failures.back());
    EXPECT_EQ(cscrna->record().ULCNR_HT, 100.0);
    const LLHCoord lowerRight = cscrna->imageToGround_llh(ImageCoord(100.0, 200.0), 0.0);
    EXPECT_DOUBLE_EQ(lowerRight.lat, 41.3 + 0.2 / 100.0);
    EXPECT_DOUBLE_EQ(lowerRight.lon, 20.2 - 0.2 / 200.0);
    const auto blocka = BLOCKAModel::fromFile(file, BLOCKA_MODEL_NAME, sink);
    ASSERT_TRUE(blocka) << (failures.empty() ? "" : failures.back());
    EXPECT_EQ(blocka->record().L_LINES, 100.0);
    const LLHCoord upperLeft = blocka->imageToGround_llh(ImageCoord(0.0, 0.0), 0.0);
    EXPECT_DOUBLE_EQ(upperLeft.lat, 41.5);
    EXPECT_DOUBLE_EQ(upperLeft.lon, 20.0);
    EXPECT_TRUE(failures.empty()) << failures.front();
}

TEST(FourCornerModelsFromFiles, ChippedFileAndMissingRecordsAreRefused) {
    file_test::TempDir dir;
    const auto plain = file_corners::writeAndOpen(dir / "plain.ntf", {});
    ASSERT_TRUE(plain);
    std::vector<std::string> failures;
    const auto sink = [&](const std::string& m) { failures.push_back(m); };
    EXPECT_FALSE(CSCRNAModel::fromFile(plain, CSCRNA_MODEL_NAME, sink));
    EXPECT_FALSE(BLOCKAModel::fromFile(plain, BLOCKA_MODEL_NAME, sink));
    EXPECT_EQ(failures, (std::vector<std::string>{"Could not find a CSCRNA TRE",
                                                  "Could not find a BLOCKA TRE"}));
    failures.clear();
    const std::string ichipb =
        "00"
        "X" +
        std::string(221, '0');
    const auto chipped = file_corners::writeAndOpen(
        dir / "chipped.ntf", {image_test::rawTre("CSCRNA", file_corners::cscrnaPayload()),
                              image_test::rawTre("ICHIPB", ichipb)});
    ASSERT_TRUE(chipped);
    EXPECT_FALSE(CSCRNAModel::fromFile(chipped, CSCRNA_MODEL_NAME, sink));
    EXPECT_EQ(failures, std::vector<std::string>{"CSCRNA ICHIP not supported"});
}
