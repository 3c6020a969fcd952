#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "sensors/CovarianceForms.h"
#include "sensors/RsmTestModels.h"
#include "tessel/core/Options.h"
#include "tessel/csm/Error.h"
#include "tessel/platform/base/text.h"
#include "tessel/platform/geo/gx.h"
#include "tessel/sensors/RSMPolyModel.h"
#include "tessel/sensors/RasterSensorFactory.h"

namespace {

using namespace VEXASensors;
using nlohmann::json;

struct Built {
    std::unique_ptr<RSMPolyModel> model;
    std::vector<std::string> failures;
};

Built build(const json& document) {
    Built result;
    result.model = RSMPolyModel::fromDocument(
        document, [&](const std::string& text) { result.failures.push_back(text); });
    return result;
}

std::unique_ptr<RSMPolyModel> modelOf(const rsm_test::Layout& layout) {
    Built built = build(rsm_test::document(layout));
    EXPECT_TRUE(built.model) << (built.failures.empty() ? "" : built.failures.front());
    return std::move(built.model);
}

template <typename Option>
struct RsmOptionGuard {
    Option& option;
    ~RsmOptionGuard() { option.reset(); }
};

bool hasWarning(const csm::WarningList& warnings, const std::string& message,
                const std::string& function) {
    for (const auto& w : warnings) {
        if (w.getMessage() == message && w.getFunction() == function &&
            w.getWarning() == csm::Warning::NO_INTERSECTION) {
            return true;
        }
    }
    return false;
}

const std::string kNoSection = "[VEXA_RSM_POLY::VEXA_RSM_POLY] Did not find appropriate section";

double length(const csm::EcefVector& v) {
    return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
}

TEST(RSMPolyModel, GroundToImageAndBackAgreeInEverySection) {
    const auto model = modelOf({});
    ASSERT_TRUE(model);
    EXPECT_EQ(model->getModelName(), "VEXA_RSM_POLY");
    size_t checked = 0;
    for (double lat : {42.39, 42.31, 42.25, 42.21}) {
        for (double lon : {20.01, 20.08, 20.12, 20.19}) {
            for (double h : {-300.0, 100.0, 550.0}) {
                csm::WarningList warnings;
                const ImageCoord image =
                    model->groundToImage_llh(LLHCoord(lat, lon, h), 0.001, nullptr, &warnings);
                EXPECT_GT(image.line, -1.0);
                EXPECT_LT(image.line, 1001.0);
                const LLHCoord back = model->imageToGround_llh(image, h, 1e-9, nullptr, &warnings);
                EXPECT_NEAR(back.lat, lat, 1e-8);
                EXPECT_NEAR(back.lon, lon, 1e-8);
                EXPECT_DOUBLE_EQ(back.height, h);
                EXPECT_TRUE(warnings.empty());
                // The Earth-centred forms say the same.
                const csm::EcefCoord ecef(EcefCoord(LLHCoord(lat, lon, h)).x,
                                          EcefCoord(LLHCoord(lat, lon, h)).y,
                                          EcefCoord(LLHCoord(lat, lon, h)).z);
                const csm::ImageCoord viaEcef = model->groundToImage(ecef);
                EXPECT_NEAR(viaEcef.line, image.line, 1e-6);
                EXPECT_NEAR(viaEcef.samp, image.samp, 1e-6);
                const csm::EcefCoord ground = model->imageToGround(viaEcef, h, 1e-9);
                EXPECT_NEAR(ground.x, ecef.x, 1e-3);
                EXPECT_NEAR(ground.y, ecef.y, 1e-3);
                EXPECT_NEAR(ground.z, ecef.z, 1e-3);
                ++checked;
            }
        }
    }
    EXPECT_EQ(checked, 48u);
}

TEST(RSMPolyModel, CovarianceFormsAnswerAsThePlainFormsWithZeroCovariance) {
    const auto model = modelOf({});
    ASSERT_TRUE(model);
    covariance_test::expectCovarianceFormsMatchPlainForms(*model, csm::ImageCoord(400, 600), 100.0);
}

TEST(RSMPolyModel, UndefinedHeightIsEvaluatedAtNormalisedHeightZero) {
    const auto model = modelOf({});
    ASSERT_TRUE(model);
    const double zCentre = model->sections()[0].ZNRMO;
    const ImageCoord undefined = model->groundToImage_llh(LLHCoord(42.38, 20.02, -9999.0));
    const ImageCoord atCentre = model->groundToImage_llh(LLHCoord(42.38, 20.02, zCentre));
    const ImageCoord nan = model->groundToImage_llh(LLHCoord(42.38, 20.02, std::nan("")));
    EXPECT_DOUBLE_EQ(undefined.line, atCentre.line);
    EXPECT_DOUBLE_EQ(undefined.samp, atCentre.samp);
    EXPECT_DOUBLE_EQ(nan.samp, atCentre.samp);
    // Taken at face value, -9999 m would move the point by many pixels.
    const ImageCoord low = model->groundToImage_llh(LLHCoord(42.38, 20.02, -9998.0));
    EXPECT_GT(std::fabs(low.samp - atCentre.samp), 1.0);
    // The inversion holds the same rule, and the height passes through.
    const LLHCoord back = model->imageToGround_llh(undefined, -9999.0, 1e-9);
    EXPECT_NEAR(back.lat, 42.38, 1e-8);
    EXPECT_NEAR(back.lon, 20.02, 1e-8);
    EXPECT_DOUBLE_EQ(back.height, zCentre);
}

TEST(RSMPolyModel, FarOutsideImagePointIsClampedToTheBorderSection) {
    const auto model = modelOf({});
    ASSERT_TRUE(model);
    for (const ImageCoord far : {ImageCoord(-5000.0, -7000.0), ImageCoord(9000.0, 15000.0),
                                 ImageCoord(-300.0, 1500.0), ImageCoord(1e9, -1e9)}) {
        csm::WarningList warnings;
        (void)model->imageToGround_llh(far, 100.0, 0.001, nullptr, &warnings);
        EXPECT_FALSE(hasWarning(warnings, kNoSection, "ImageToGround"));
        (void)model->imageToRemoteImagingLocus(csm::ImageCoord(far.line, far.samp), 0.001, nullptr,
                                               &warnings);
        EXPECT_FALSE(hasWarning(warnings, kNoSection, "ImageToRemoteImagingLocus"));
    }
    // A point a little beyond the first rows is solved with the first section's polynomials:
    // the way back lands where it started.
    const ImageCoord before(-120.0, 30.0);
    const LLHCoord ground = model->imageToGround_llh(before, 100.0, 1e-9);
    const ImageCoord again = model->groundToImage_llh(ground);
    EXPECT_NEAR(again.line, before.line, 1e-6);
    EXPECT_NEAR(again.samp, before.samp, 1e-6);
    // Far from the ground volume too.
    csm::WarningList warnings;
    (void)model->groundToImage_llh(LLHCoord(-60.0, 150.0, 0.0), 0.001, nullptr, &warnings);
    EXPECT_TRUE(warnings.empty());
}

TEST(RSMPolyModel, SectionsBeyondTheListFailWithTheWarningAndZeroResult) {
    rsm_test::Layout layout;
    layout.sectionsWritten = 3;  // of 2 x 2
    const auto model = modelOf(layout);
    ASSERT_TRUE(model);
    // Sections 0 to 2 work.
    for (const ImageCoord inside :
         {ImageCoord(100.0, 100.0), ImageCoord(100.0, 900.0), ImageCoord(900.0, 100.0)}) {
        csm::WarningList warnings;
        const LLHCoord ground = model->imageToGround_llh(inside, 100.0, 0.001, nullptr, &warnings);
        EXPECT_TRUE(warnings.empty());
        EXPECT_GT(ground.lat, 42.0);
    }
    // Section 3, the one missing, gives the warning and zeros everywhere.
    const ImageCoord missing(900.0, 900.0);
    csm::WarningList warnings;
    const LLHCoord ground = model->imageToGround_llh(missing, 100.0, 0.001, nullptr, &warnings);
    EXPECT_EQ(ground, LLHCoord(0.0, 0.0, 0.0));
    EXPECT_TRUE(hasWarning(warnings, kNoSection, "ImageToGround"));
    const csm::EcefCoord ecef =
        model->imageToGround(csm::ImageCoord(900.0, 900.0), 100.0, 0.001, nullptr, &warnings);
    EXPECT_EQ(ecef.x, 0.0);
    EXPECT_EQ(ecef.y, 0.0);
    EXPECT_EQ(ecef.z, 0.0);
    warnings.clear();
    const ImageCoord image =
        model->groundToImage_llh(LLHCoord(42.22, 20.18, 100.0), 0.001, nullptr, &warnings);
    EXPECT_EQ(image, ImageCoord(0.0, 0.0));
    EXPECT_TRUE(hasWarning(warnings, kNoSection, "GroundToImage"));
    warnings.clear();
    const csm::EcefLocus remote =
        model->imageToRemoteImagingLocus(csm::ImageCoord(900.0, 900.0), 0.001, nullptr, &warnings);
    EXPECT_EQ(remote.point.x, 0.0);
    EXPECT_EQ(remote.direction.z, 0.0);
    EXPECT_TRUE(hasWarning(warnings, kNoSection, "ImageToRemoteImagingLocus"));
    // The proximate locus picks its section from the Earth-centred values as they stand,
    // which this model's finder puts far beyond the last row: the missing section again.
    warnings.clear();
    const csm::EcefLocus proximate = model->imageToProximateImagingLocus(
        csm::ImageCoord(100.0, 100.0), csm::EcefCoord(4.0e6, -1.5e6, 4.3e6), 0.001, nullptr,
        &warnings);
    EXPECT_EQ(proximate.point.x, 0.0);
    EXPECT_TRUE(hasWarning(warnings, kNoSection, "ImageToProximateImagingLocus"));
    // Without a list nothing reports it, and nothing throws.
    EXPECT_EQ(model->imageToGround_llh(missing, 100.0), LLHCoord(0.0, 0.0, 0.0));
}

TEST(RSMPolyModel, HDomainLongitudesRunFromZeroToTwoPiAndComeBackWrapped) {
    rsm_test::Layout layout;
    layout.domain = "H";
    layout.lon0 = 179.9;  // the image spans the antimeridian
    const auto model = modelOf(layout);
    ASSERT_TRUE(model);
    EXPECT_TRUE(model->useLLH());
    // A negative longitude is the same place as its value plus 360.
    const ImageCoord west = model->groundToImage_llh(LLHCoord(42.3, -179.95, 100.0));
    const ImageCoord west360 = model->groundToImage_llh(LLHCoord(42.3, 180.05, 100.0));
    EXPECT_NEAR(west.samp, west360.samp, 1e-9);
    EXPECT_NEAR(west.line, west360.line, 1e-9);
    EXPECT_NEAR(west.samp, 900.0, 5.0);
    const LLHCoord back = model->imageToGround_llh(west, 100.0, 1e-9);
    EXPECT_NEAR(back.lon, -179.95, 1e-8);
    EXPECT_NEAR(back.lat, 42.3, 1e-8);
    // Both sides of the line come back in -180..180.
    const LLHCoord east = model->imageToGround_llh(ImageCoord(500.0, 1100.0), 100.0, 1e-9);
    EXPECT_GT(east.lon, -180.0);
    EXPECT_LT(east.lon, -179.8);
    const LLHCoord wester = model->imageToGround_llh(ImageCoord(500.0, 100.0), 100.0, 1e-9);
    EXPECT_GT(wester.lon, 179.9);
    EXPECT_LE(wester.lon, 180.0);
}

TEST(RSMPolyModel, RDomainModelAnswersUseLLHFalseSoRasterSensorGoesThroughEcef) {
    rsm_test::Layout layout;
    layout.domain = "R";
    const auto model = modelOf(layout);
    ASSERT_TRUE(model);
    EXPECT_FALSE(model->useLLH());
    const RasterSensor sensor = RasterSensorFactory::get().createRasterSensorFromState(
        std::to_wstring(model->getModelState()));
    ASSERT_TRUE(sensor.isValid());
    EXPECT_FALSE(sensor.useLLH());
    const LLHCoord place(42.31, 20.09, 120.0);
    const auto viaSensor = sensor.groundToImage_llh(place);
    ASSERT_TRUE(viaSensor);
    const EcefCoord e(place);
    const csm::ImageCoord viaEcef = model->groundToImage(csm::EcefCoord(e.x, e.y, e.z));
    EXPECT_NEAR(viaSensor->line, viaEcef.line, 1e-9);
    EXPECT_NEAR(viaSensor->samp, viaEcef.samp, 1e-9);
    // And the Earth-centred round trip: the R domain holds z fixed.
    const csm::EcefCoord back = model->imageToGround(viaEcef, e.z, 1e-9);
    EXPECT_NEAR(back.x, e.x, 1e-3);
    EXPECT_NEAR(back.y, e.y, 1e-3);
    EXPECT_NEAR(back.z, e.z, 1e-6);
}

TEST(RSMPolyModel, ImageStartHasNoPixelOffsetWhileValidImageRangeHasIt) {
    RsmOptionGuard<decltype(Tessel::s_opt_vexa_rsm_pixel_offset)> guard{
        Tessel::s_opt_vexa_rsm_pixel_offset};
    Tessel::s_opt_vexa_rsm_pixel_offset.override_value(0.5);
    const auto model = modelOf({});
    ASSERT_TRUE(model);
    const csm::ImageCoord start = model->getImageStart();
    EXPECT_EQ(start.line, 0.0);
    EXPECT_EQ(start.samp, 0.0);
    const auto range = model->getValidImageRange();
    EXPECT_EQ(range.first.line, 0.5);
    EXPECT_EQ(range.first.samp, 0.5);
    EXPECT_EQ(range.second.line, 999.5);
    EXPECT_EQ(range.second.samp, 1199.5);
    const csm::ImageVector size = model->getImageSize();
    EXPECT_EQ(size.line, 1000.0);
    EXPECT_EQ(size.samp, 1200.0);
    // Outputs are half a pixel higher than without the offset.
    Tessel::s_opt_vexa_rsm_pixel_offset.reset();
    const auto plain = modelOf({});
    const ImageCoord a = model->groundToImage_llh(LLHCoord(42.3, 20.1, 0.0));
    const ImageCoord b = plain->groundToImage_llh(LLHCoord(42.3, 20.1, 0.0));
    EXPECT_NEAR(a.line - b.line, 0.5, 1e-9);
    EXPECT_NEAR(a.samp - b.samp, 0.5, 1e-9);
}

TEST(RSMPolyModel, SensorVelocityIsAUnitVectorWhateverTheMagnitudeOfSV) {
    const auto model = modelOf({});
    ASSERT_TRUE(model);
    for (double time : {0.0, 0.75, 3.5, -20.0}) {
        EXPECT_NEAR(length(model->getSensorVelocity(time)), 1.0, 1e-12);
    }
    EXPECT_NEAR(length(model->getSensorVelocity(csm::ImageCoord(500.0, 10.0))), 1.0, 1e-12);
    // Position: SP + SV t + SA t^2 / 2 at t = time minus the fraction of the second, then
    // from the geodetic domain to Earth-centred.
    const csm::EcefCoord p = model->getSensorPosition(2.75);
    const double t = 2.0;
    csm::EcefCoord expected;
    gx_lph_to_xyz(kWgs84A, kWgs84E2, 0.35 + 1e-4 * t + 1e-7 * 0.5 * t * t,
                  0.74 - 2e-4 * t + 2e-7 * 0.5 * t * t, 600000 + 5 * t - 0.1 * 0.5 * t * t,
                  &expected.x, &expected.y, &expected.z);
    EXPECT_NEAR(p.x, expected.x, 1e-6);
    EXPECT_NEAR(p.y, expected.y, 1e-6);
    EXPECT_NEAR(p.z, expected.z, 1e-6);
}

TEST(RSMPolyModel, ImageTimeCountsRowGroupsAndTheFractionOfTheSecond) {
    const auto model = modelOf({});
    ASSERT_TRUE(model);
    // NRG 100, TRG 0.01, NCG absent: the fraction alone.
    EXPECT_DOUBLE_EQ(model->getImageTime(csm::ImageCoord(250.0, 40.0)), 0.75);
    json document = rsm_test::document({});
    document["RSMIDA"]["NCG"] = "300";
    document["RSMIDA"]["TCG"] = "0.5";
    const auto timed = build(document).model;
    ASSERT_TRUE(timed);
    EXPECT_DOUBLE_EQ(timed->getImageTime(csm::ImageCoord(250.0, 640.0)), 2 * 0.01 + 0.75 + 2 * 0.5);
    document["RSMIDA"]["TCG"] = "";
    const auto noTcg = build(document).model;
    EXPECT_DOUBLE_EQ(noTcg->getImageTime(csm::ImageCoord(250.0, 640.0)), 2 * 0.01 + 0.75);
}

TEST(RSMPolyModel, MissingSupportDataFailsWithTheCsmErrors) {
    rsm_test::Layout layout;
    layout.withMotion = false;
    layout.withIllumination = false;
    layout.withFullSize = false;
    const auto model = modelOf(layout);
    ASSERT_TRUE(model);
    const auto expectError = [](const auto& call, int code, const std::string& message,
                                const std::string& function) {
        try {
            call();
            ADD_FAILURE() << "no error for " << function;
        } catch (const csm::Error& e) {
            EXPECT_EQ(e.getError(), code);
            EXPECT_EQ(e.getMessage(), message);
            EXPECT_EQ(e.getFunction(), function);
        }
    };
    expectError([&] { (void)model->getImageSize(); }, 15,
                "RSMID.FULLR and RSMID.FULLC are not available",
                "VEXASensors::RSMPolyModel::getImageSize");
    expectError([&] { (void)model->getSensorPosition(1.0); }, 9,
                "RSMID.SP, RSMID.SV, and RSMID.SA are not available",
                "VEXASensors::RSMPolyModel::getSensorPosition");
    expectError([&] { (void)model->getSensorPosition(csm::ImageCoord(1.0, 1.0)); }, 9,
                "RSMID.SP, RSMID.SV, and RSMID.SA are not available",
                "VEXASensors::RSMPolyModel::getSensorPosition");
    expectError([&] { (void)model->getSensorVelocity(1.0); }, 9,
                "RSMID.SP, RSMID.SV, and RSMID.SA are not available",
                "VEXASensors::RSMPolyModel::getSensorVelocity");
    expectError([&] { (void)model->getIlluminationDirection(csm::EcefCoord(4.0e6, 1.5e6, 4.3e6)); },
                9, "RSMID.IE0, RSMID.IA0 are not available",
                "VEXASensors::RSMPolyModel::getIlluminationDirection");
    expectError([&] { (void)model->getParameterCovariance(0, 0); }, 6, "Parameter not found",
                "VEXASensors::RSMModel::getParameterCovariance");
    expectError([&] { (void)model->getCrossCovarianceMatrix(*model); }, 6, "Parameter not found",
                "VEXASensors::RSMModel::getCrossCovarianceMatrix");
    EXPECT_THROW((void)model->computeSensorPartials(0, csm::EcefCoord()), std::logic_error);
    EXPECT_THROW((void)model->computeAllSensorPartials(csm::EcefCoord()), std::logic_error);
}

TEST(RSMPolyModel, IdentifiersDateAndReferencePointComeFromTheIdentificationRecord) {
    const auto model = modelOf({});
    ASSERT_TRUE(model);
    EXPECT_EQ(model->getImageIdentifier(), "RSM TEST");
    EXPECT_EQ(model->getSensorIdentifier(), "SENSOR-7");
    EXPECT_EQ(model->getSensorType(), "EO");
    EXPECT_EQ(model->getTrajectoryIdentifier(), "");
    EXPECT_EQ(model->getReferenceDateAndTime(), "20210314T092653");
    const auto heights = model->getValidHeightRange();
    EXPECT_DOUBLE_EQ(heights.first, -400.0);
    EXPECT_DOUBLE_EQ(heights.second, 600.0);
    // Without GRPX: the ground under the centre of the valid range at the middle height.
    const csm::EcefCoord centre = model->getReferencePoint();
    const csm::ImageCoord back = model->groundToImage(centre);
    EXPECT_NEAR(back.line, 499.5, 1e-3);
    EXPECT_NEAR(back.samp, 599.5, 1e-3);
    // With it: the point itself, through the geodetic domain.
    json document = rsm_test::document({});
    document["RSMIDA"]["GRPX"] = "0.35";
    document["RSMIDA"]["GRPY"] = "0.74";
    document["RSMIDA"]["GRPZ"] = "120";
    document["RSMIDA"]["YEAR"] = "";
    const auto withPoint = build(document).model;
    ASSERT_TRUE(withPoint);
    csm::EcefCoord expected;
    gx_lph_to_xyz(kWgs84A, kWgs84E2, 0.35, 0.74, 120.0, &expected.x, &expected.y, &expected.z);
    EXPECT_EQ(withPoint->getReferencePoint().x, expected.x);
    EXPECT_EQ(withPoint->getReferencePoint().z, expected.z);
    EXPECT_EQ(withPoint->getReferenceDateAndTime(), "00000314T092653");
    document["RSMIDA"]["GRNDD"] = "R";
    const auto rectangular = build(document).model;
    ASSERT_TRUE(rectangular);
    EXPECT_EQ(rectangular->getReferencePoint().x, 0.35);
    EXPECT_EQ(rectangular->getReferencePoint().z, 120.0);
}

TEST(RSMPolyModel, IlluminationPairsTheSampleWithRAndTheLineWithC) {
    const auto model = modelOf({});
    ASSERT_TRUE(model);
    const LLHCoord place(42.3, 20.1, 0.0);
    const EcefCoord e(place);
    const csm::EcefCoord ground(e.x, e.y, e.z);
    const csm::ImageCoord image = model->groundToImage(ground);
    const double s = image.samp;
    const double l = image.line;
    const double azimuth = 2.1 + 3e-5 * s + 1e-5 * l;
    const double elevation = 0.6 + 1e-5 * s - 2e-5 * l + 1e-9 * l * l;
    csm::EcefCoord expected;
    gx_lph_to_xyz(kWgs84A, kWgs84E2, azimuth, elevation, 1.0, &expected.x, &expected.y,
                  &expected.z);
    const csm::EcefVector direction = model->getIlluminationDirection(ground);
    EXPECT_NEAR(direction.x, expected.x, 1e-6);
    EXPECT_NEAR(direction.y, expected.y, 1e-6);
    EXPECT_NEAR(direction.z, expected.z, 1e-6);
}

TEST(RSMPolyModel, LociPointAlongTheLineOfSight) {
    const auto model = modelOf({});
    ASSERT_TRUE(model);
    const csm::ImageCoord image(300.0, 700.0);
    const csm::EcefLocus remote = model->imageToRemoteImagingLocus(image);
    EXPECT_NEAR(length(remote.direction), 1.0, 1e-12);
    const csm::ImageCoord atPoint = model->groundToImage(remote.point);
    EXPECT_NEAR(atPoint.line, 300.0, 1e-3);
    EXPECT_NEAR(atPoint.samp, 700.0, 1e-3);
    // The direction leads from ZNRMO up to ZNRMO + 2 ZNRMSF.
    const RSMPCA& section = model->sections()[1];
    const csm::EcefCoord low = model->imageToGround(image, section.ZNRMO);
    const csm::EcefCoord high = model->imageToGround(image, section.ZNRMO + 2 * section.ZNRMSF);
    const double d =
        std::sqrt((high.x - low.x) * (high.x - low.x) + (high.y - low.y) * (high.y - low.y) +
                  (high.z - low.z) * (high.z - low.z));
    EXPECT_NEAR(remote.direction.x, (high.x - low.x) / d, 1e-9);
    EXPECT_NEAR(remote.direction.z, (high.z - low.z) / d, 1e-9);
}

TEST(RSMPolyModel, NonConvergenceWarnsWithCapitalIAndReturnsTheEstimate) {
    RsmOptionGuard<decltype(Tessel::s_opt_vexa_rsm_max_iterations)> guard{
        Tessel::s_opt_vexa_rsm_max_iterations};
    Tessel::s_opt_vexa_rsm_max_iterations.override_value(1);
    const auto model = modelOf({});
    ASSERT_TRUE(model);
    csm::WarningList warnings;
    double achieved = 99.0;
    const LLHCoord ground =
        model->imageToGround_llh(ImageCoord(10.0, 10.0), 100.0, 1e-12, &achieved, &warnings);
    EXPECT_TRUE(hasWarning(warnings,
                           "[VEXA_RSM_POLY::VEXA_RSM_POLY] Did not converge in n Iterations",
                           "ImageToGround"));
    EXPECT_NE(achieved, 99.0);
    EXPECT_GT(ground.lat, 42.0);
}

TEST(RSMPolyModel, StateRoundTripGivesTheSameModel) {
    json document = rsm_test::document({});
    document["Properties"] = {{"Sensor", "Test sensor"}};
    const auto model = build(document).model;
    ASSERT_TRUE(model);
    const std::string state = model->getModelState();
    ASSERT_EQ(state.rfind("VEXA_RSM_POLY {", 0), 0u);
    const json parsed = json::parse(state.substr(state.find(' ') + 1));
    // Absent optional values are left out, the domain is its letter.
    EXPECT_FALSE(parsed["RSMIDA"].contains("NCG"));
    EXPECT_FALSE(parsed["RSMIDA"].contains("GRPX"));
    EXPECT_EQ(parsed["RSMIDA"]["GRNDD"], "G");
    EXPECT_EQ(parsed["RSMPCA"].size(), 4u);
    EXPECT_FALSE(parsed["RSMPCA"][0].contains("RFEP"));
    EXPECT_EQ(parsed["RSMPCA"][0]["RNPCF"].size(), 18u);
    EXPECT_EQ(parsed["Properties"]["Sensor"], "Test sensor");
    // A triple with one value missing stands as absent, all three.
    json partial = document;
    partial["RSMIDA"]["SPZ"] = "";
    partial["RSMIDA"]["XUOR"] = "1";
    partial["RSMIDA"]["YUOR"] = "2";
    partial["RSMIDA"]["ZUOR"] = "3";
    const std::string partialState = build(partial).model->getModelState();
    const json partialDocument = json::parse(partialState.substr(partialState.find(' ') + 1));
    EXPECT_FALSE(partialDocument["RSMIDA"].contains("SPX"));
    EXPECT_TRUE(partialDocument["RSMIDA"].contains("SVX"));
    EXPECT_EQ(partialDocument["RSMIDA"]["ZUOR"], 3.0);
    const auto again = build(parsed).model;
    ASSERT_TRUE(again);
    EXPECT_EQ(again->getModelState(), state);
    for (const ImageCoord image : {ImageCoord(10.0, 20.0), ImageCoord(700.0, 1100.0)}) {
        const LLHCoord a = model->imageToGround_llh(image, 50.0);
        const LLHCoord b = again->imageToGround_llh(image, 50.0);
        EXPECT_EQ(a, b);
    }
    EXPECT_EQ(again->getPedigree(), "Test sensor");
}

TEST(RSMPolyModel, ReadingFailuresNameTheirCause) {
    const auto firstFailure = [](const json& document) {
        Built built = build(document);
        EXPECT_FALSE(built.model);
        return built.failures.empty() ? std::string() : built.failures.front();
    };
    json document = rsm_test::document({});
    document.erase("RSMIDA");
    EXPECT_EQ(firstFailure(document), "Could not find RSMIDA");
    document = rsm_test::document({});
    document["RSMIDA"]["GRNDD"] = "Q";
    EXPECT_EQ(firstFailure(document), "Enumeration Q is not valid");
    document = rsm_test::document({});
    document["RSMPCA"] = 7;
    EXPECT_EQ(firstFailure(document), "Type must be array, but is number");
    document = rsm_test::document({});
    document.erase("RSMPIA");
    EXPECT_EQ(firstFailure(document), "Key 'RSMPIA' not found");
    document = rsm_test::document({});
    document["RSMPCA"][1]["XNRMO"] = "1.2.3";
    EXPECT_EQ(firstFailure(document), "'1.2.3' is not a number");
    document = rsm_test::document({});
    document["RSMIDA"].erase("MINR");
    EXPECT_EQ(firstFailure(document), "Key 'MINR' not found");
    // One section object counts as a list of one; the records may sit under "TRE".
    document = rsm_test::document({});
    document["RSMPCA"] = document["RSMPCA"][0];
    document["TRE"] = {{"RSMIDA", document["RSMIDA"]}, {"RSMPIA", document["RSMPIA"]}};
    document.erase("RSMIDA");
    document.erase("RSMPIA");
    const Built single = build(document);
    ASSERT_TRUE(single.model);
    EXPECT_EQ(single.model->sections().size(), 1u);
}

TEST(RSMPolyModel, PolynomialRunsOverXFastestWithInclusivePowers) {
    // One section, identity-like, with the row numerator 2 + 3x + 5y + 7xy + 11z over
    // powers (1, 1, 1): coefficients at i + 2 j + 4 k.
    json document = rsm_test::document({});
    document["RSMPIA"]["RNIS"] = "1";
    document["RSMPIA"]["CNIS"] = "1";
    json section = document["RSMPCA"][0];
    section["XNRMO"] = 0, section["YNRMO"] = 0, section["ZNRMO"] = 0;
    section["XNRMSF"] = 1, section["YNRMSF"] = 1, section["ZNRMSF"] = 1;
    section["RNRMO"] = 0, section["CNRMO"] = 0, section["RNRMSF"] = 1, section["CNRMSF"] = 1;
    section["RNPWRX"] = 1, section["RNPWRY"] = 1, section["RNPWRZ"] = 1;
    section["RNTRMS"] = 99;  // not consulted
    section["RNPCF"] = {2, 3, 5, 7, 11, 0, 0, 0};
    section["RDPWRX"] = 0, section["RDPWRY"] = 0, section["RDPWRZ"] = 0, section["RDPCF"] = {1};
    section["CNPWRX"] = 2, section["CNPWRY"] = 0, section["CNPWRZ"] = 0;
    section["CNPCF"] = {0, 0, 1};  // x squared
    section["CDPWRX"] = 0, section["CDPWRY"] = 0, section["CDPWRZ"] = 0, section["CDPCF"] = {1};
    document["RSMPCA"] = json::array({section});
    const auto model = build(document).model;
    ASSERT_TRUE(model);
    const double x = 0.3, y = 0.2, z = 0.5;
    const ImageCoord image = model->groundToImage_llh(LLHCoord(y * kRadToDeg, x * kRadToDeg, z));
    EXPECT_NEAR(image.line, 2 + 3 * x + 5 * y + 7 * x * y + 11 * z, 1e-12);
    EXPECT_NEAR(image.samp, x * x, 1e-12);
}

}  // namespace

namespace {

// Powers far beyond the coefficient lists, negative powers, zero section sizes, a huge
// section grid and NaN offsets: the model is made, every operation answers, nothing is
// allocated by the claimed sizes.
TEST(RSMPolyModel, HostileRecordsNeitherCrashNorAllocateByTheirPowers) {
    json document = rsm_test::document({});
    document["RSMPCA"][0]["RNPWRX"] = 2147483647;
    document["RSMPCA"][0]["RNPWRY"] = 2147483647;
    document["RSMPCA"][0]["RNPWRZ"] = 2147483647;
    document["RSMPCA"][1]["CNPWRX"] = -3;
    document["RSMPCA"][2]["RDPWRZ"] = 40;  // beyond the table of powers
    document["RSMPCA"][2]["RDPCF"] = json::array();
    for (int n = 0; n < 200; ++n) {
        document["RSMPCA"][2]["RDPCF"].push_back(n == 0 ? 1.0 : 1e-12);
    }
    document["RSMPIA"]["RSSIZ"] = "0";
    document["RSMPIA"]["CNIS"] = "2147483647";
    document["RSMPCA"][3]["XNRMO"] = "nan";
    const Built built = build(document);
    ASSERT_TRUE(built.model) << (built.failures.empty() ? "" : built.failures.front());
    for (const ImageCoord image : {ImageCoord(10.0, 10.0), ImageCoord(900.0, 100.0),
                                   ImageCoord(std::nan(""), 5.0), ImageCoord(1e300, -1e300)}) {
        csm::WarningList warnings;
        const LLHCoord ground =
            built.model->imageToGround_llh(image, 100.0, 0.001, nullptr, &warnings);
        (void)built.model->groundToImage_llh(ground, 0.001, nullptr, &warnings);
        (void)built.model->imageToRemoteImagingLocus(csm::ImageCoord(image.line, image.samp), 0.001,
                                                     nullptr, &warnings);
    }
    // The section grid of 2 x 2147483647 has only four records: most positions miss.
    csm::WarningList warnings;
    (void)built.model->imageToGround_llh(ImageCoord(10.0, 1e12), 100.0, 0.001, nullptr, &warnings);
    EXPECT_TRUE(hasWarning(warnings, kNoSection, "ImageToGround"));
    EXPECT_FALSE(built.model->getModelState().empty());
}

}  // namespace
