#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include <cstdlib>
#include <filesystem>

#include "sensors/CovarianceForms.h"
#include "tessel/core/Options.h"
#include "tessel/csm/Error.h"
#include "tessel/platform/base/nitf_config.h"
#include "tessel/sensors/RPC00Model.h"

namespace {

using namespace VEXASensors;
using nlohmann::json;

// A record like the ones NITF files carry, with text values as the TRE reader gives them.
json rpcRecord() {
    json coeff = json::object();
    const auto list = [](double first, double second, double third, double fourth, double rest) {
        std::vector<std::string> values{std::to_string(first), std::to_string(second),
                                        std::to_string(third), std::to_string(fourth)};
        for (int i = 4; i < 20; ++i) {
            values.push_back(std::to_string(rest));
        }
        return values;
    };
    return json{{"SUCCESS", "1"},
                {"ERR_BIAS", "0001.50"},
                {"ERR_RAND", "0000.50"},
                {"LINE_OFF", "000024"},
                {"SAMP_OFF", "00032"},
                {"LAT_OFF", "+42.3000"},
                {"LONG_OFF", "+020.1000"},
                {"HEIGHT_OFF", "+0100"},
                {"LINE_SCALE", "000024"},
                {"SAMP_SCALE", "00032"},
                {"LAT_SCALE", "+00.0500"},
                {"LONG_SCALE", "+000.0500"},
                {"HEIGHT_SCALE", "+0500"},
                {"LINE_NUM_COEFF", list(0.001, -0.02, -1.0, 0.003, 1e-5)},
                {"LINE_DEN_COEFF", list(1.0, 1e-4, 1e-4, 1e-4, 1e-4)},
                {"SAMP_NUM_COEFF", list(-0.002, 1.0, 0.01, 4e-4, -2e-5)},
                {"SAMP_DEN_COEFF", list(1.0, -2e-4, -2e-4, -2e-4, -2e-4)}};
}

json rpcDocument(const std::string& tre = "RPC00B", const json& record = rpcRecord()) {
    return json{{"IID2", "Test image"},
                {"IDATIM", "20021216151629"},
                {"NROWS", 48},
                {"NCOLS", 64},
                {tre, record}};
}

struct Built {
    std::unique_ptr<RPC00Model> model;
    std::vector<std::string> failures;
};

Built build(const json& document, const std::string& name = RPC_B_MODEL_NAME) {
    Built result;
    result.model = RPC00Model::fromDocument(
        document, name, [&](const std::string& text) { result.failures.push_back(text); });
    return result;
}

// Restores an option that a test changes.
template <typename Option>
struct OptionGuard {
    Option& option;
    ~OptionGuard() { option.reset(); }
};

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

// --- The model base -------------------------------------------------------------------

TEST(RasterModelBase, ReplaceModelStateWithEmptyStringChangesNothing) {
    auto built = build(rpcDocument());
    ASSERT_TRUE(built.model);
    const std::string before = built.model->getModelState();
    EXPECT_NO_THROW(built.model->replaceModelState(""));
    EXPECT_EQ(built.model->getModelState(), before);
}

TEST(RasterModelBase, ReplaceModelStateWithOwnStateKeepsProperties) {
    json document = rpcDocument();
    document["Properties"] = {{"Sensor", "WV02"}, {"Mode", "PAN"}};
    auto built = build(document);
    ASSERT_TRUE(built.model);
    const auto before = built.model->getProperties();
    ASSERT_EQ(before.size(), 2u);
    EXPECT_NO_THROW(built.model->replaceModelState(built.model->getModelState()));
    EXPECT_EQ(built.model->getProperties(), before);
}

TEST(RasterModelBase, ReplaceModelStateReplacesOnlyProperties) {
    json document = rpcDocument();
    document["Properties"] = {{"Sensor", "WV02"}};
    auto built = build(document);
    ASSERT_TRUE(built.model);
    const std::string state = built.model->getModelState();
    json parsed = json::parse(state.substr(state.find(' ')));
    parsed["Properties"] = {{"Sensor", "GE01"}, {"DisplayName", "Scene"}};
    built.model->replaceModelState(RPC_B_MODEL_NAME + " " + parsed.dump());
    EXPECT_EQ(built.model->getPedigree(), "GE01 | Scene");

    parsed["RPC00B"]["LINE_NUM_COEFF"][3] = 0.5;
    parsed["Properties"] = {{"Sensor", "XX"}};
    try {
        built.model->replaceModelState(RPC_B_MODEL_NAME + " " + parsed.dump());
        FAIL() << "a changed coefficient was accepted";
    } catch (const csm::Error& e) {
        EXPECT_EQ(e.getError(), csm::Error::INVALID_SENSOR_MODEL_STATE);
        EXPECT_EQ(e.getMessage(), "Unsupported use of replaceModelState");
        EXPECT_EQ(e.getFunction(), "VEXASensors::RasterGM::replaceModelState");
    }
    // The properties were loaded before the comparison failed.
    EXPECT_EQ(built.model->getPedigree(), "XX");
}

TEST(RasterModelBase, ReplaceModelStateWithoutBlankOrPropertiesFails) {
    auto built = build(rpcDocument());
    ASSERT_TRUE(built.model);
    try {
        built.model->replaceModelState("VEXA_RPC_B{}");
        FAIL();
    } catch (const csm::Error& e) {
        EXPECT_EQ(e.getError(), 7);
        EXPECT_EQ(e.getMessage(), "Invalid model state");
    }
    try {
        built.model->replaceModelState("VEXA_RPC_B {\"IID2\":\"x\"}");
        FAIL();
    } catch (const csm::Error& e) {
        EXPECT_EQ(e.getMessage(), "Unsupported use of replaceModelState");
    }
}

TEST(RasterModelBase, MarkerParameterIsFixedAndNotShareable) {
    auto built = build(rpcDocument());
    ASSERT_TRUE(built.model);
    RPC00Model& model = *built.model;
    ASSERT_EQ(model.getNumParameters(), 1);
    EXPECT_EQ(model.getParameterName(0), "VexaRasterGM");
    EXPECT_EQ(model.getParameterValue(0), 1.0);
    EXPECT_EQ(model.getParameterUnits(0), "BOOLEAN");
    EXPECT_EQ(model.getParameterType(0), csm::param::FIXED);
    EXPECT_FALSE(model.hasShareableParameters());
    const auto expectParameterError = [](const auto& call, const std::string& function) {
        try {
            call();
            ADD_FAILURE() << function << " did not fail";
        } catch (const csm::Error& e) {
            EXPECT_EQ(e.getError(), csm::Error::INDEX_OUT_OF_RANGE);
            EXPECT_EQ(e.getMessage(), "Parameter not found");
            EXPECT_EQ(e.getFunction(), function);
        }
    };
    expectParameterError([&] { (void)model.isParameterShareable(0); },
                         "VEXASensors::RasterGM::isParameterShareable");
    expectParameterError([&] { model.setParameterValue(0, 0); },
                         "VEXASensors::RasterGM::setParameterValue");
    expectParameterError([&] { (void)model.getParameterName(1); },
                         "VEXASensors::RasterGM::getParameterName");
    expectParameterError([&] { (void)model.getParameterValue(-1); },
                         "VEXASensors::RasterGM::getParameterValue");
    expectParameterError([&] { (void)model.getParameterCovariance(0, 0); },
                         "VEXASensors::RPC00Model::getParameterCovariance");
    expectParameterError([&] { model.setParameterCovariance(0, 0, 1); },
                         "VEXASensors::RPC00Model::setParameterCovariance");
    expectParameterError([&] { (void)model.getCovarianceMatrix(); },
                         "VEXASensors::RPC00Model::getCrossCovarianceMatrix");
    expectParameterError([&] { (void)model.getGeometricCorrectionName(0); },
                         "VEXASensors::RPC00Model::getGeometricCorrectionName");
    EXPECT_EQ(model.getNumGeometricCorrectionSwitches(), 0);
    EXPECT_EQ(model.getParameterValue(0), 1.0);
    EXPECT_EQ(findVexaRasterGM(&model), &model);
}

TEST(RasterModelBase, PedigreeJoinsPresentPropertiesOnly) {
    auto plain = build(rpcDocument());
    ASSERT_TRUE(plain.model);
    EXPECT_EQ(plain.model->getPedigree(), "UNKNOWN");
    EXPECT_EQ(plain.model->getSensorType(), "UNKNOWN");
    json document = rpcDocument();
    document["Properties"] = {{"Mode", "PAN"}, {"Count", 3}};
    auto withMode = build(document);
    ASSERT_TRUE(withMode.model);
    EXPECT_EQ(withMode.model->getPedigree(), "PAN");
    EXPECT_EQ(withMode.model->getSensorMode(), "PAN");
    // A member that is not text is skipped.
    EXPECT_EQ(withMode.model->getProperties().size(), 1u);
}

TEST(RasterModelBase, UnimplementedOperationsThrowLogicError) {
    auto built = build(rpcDocument());
    ASSERT_TRUE(built.model);
    const RPC00Model& model = *built.model;
    const csm::EcefCoord ground = model.getReferencePoint();
    const auto expectNotImplemented = [](const auto& call) {
        try {
            call();
            ADD_FAILURE() << "no failure";
        } catch (const csm::Error&) {
            ADD_FAILURE() << "csm::Error instead of std::logic_error";
        } catch (const std::logic_error& e) {
            EXPECT_STREQ(e.what(), "Not Implemented.");
        }
    };
    expectNotImplemented([&] { (void)model.getImageTime(csm::ImageCoord()); });
    expectNotImplemented([&] { (void)model.getSensorPosition(0.0); });
    expectNotImplemented([&] { (void)model.getSensorVelocity(csm::ImageCoord()); });
    expectNotImplemented([&] { (void)model.computeSensorPartials(0, ground); });
    expectNotImplemented([&] { (void)model.computeAllSensorPartials(ground); });
    expectNotImplemented([&] { (void)model.computeGroundPartials(ground); });
    expectNotImplemented([&] { (void)model.getCorrelationModel(); });
    expectNotImplemented([&] { (void)model.getUnmodeledError(csm::ImageCoord()); });
    expectNotImplemented([&] { (void)model.getIlluminationDirection(ground); });
    expectNotImplemented([&] { built.model->setImageIdentifier("x", nullptr); });
    expectNotImplemented([&] { built.model->setReferencePoint(ground); });
}

TEST(RasterModelBase, StateIsNameBlankAndCompactJsonInWritingOrder) {
    json document = rpcDocument();
    document["Properties"] = {{"Sensor", "Caf\xc3\xa9"}};
    auto built = build(document);
    ASSERT_TRUE(built.model);
    const std::string state = built.model->getModelState();
    EXPECT_EQ(state.rfind("VEXA_RPC_B {\"Properties\":{\"Sensor\":\"Caf\\u00e9\"},\"IID2\":", 0),
              0u)
        << state;
    EXPECT_EQ(state.find('\n'), std::string::npos);
    EXPECT_NE(
        state.find("\"NROWS\":48,\"NCOLS\":64,\"RPC00B\":{\"SUCCESS\":\"1\",\"ERR_BIAS\":1.5"),
        std::string::npos)
        << state;
    // A state builds the same model again.
    const json again = json::parse(state.substr(state.find(' ')));
    auto rebuilt = build(again);
    ASSERT_TRUE(rebuilt.model);
    EXPECT_EQ(rebuilt.model->getModelState(), state);
    EXPECT_EQ(built.model->getFamily(), "GeometricRaster");
    EXPECT_EQ(built.model->getModelName(), "VEXA_RPC_B");
    EXPECT_EQ(built.model->getImageIdentifier(), "Test image");
    EXPECT_EQ(built.model->getReferenceDateAndTime(), "20021216151629");
    EXPECT_EQ(built.model->getSensorIdentifier(), "UNKNOWN");
}

TEST(RasterModelBase, VersionComesFromTheConfigurationProperties) {
    const std::filesystem::path store =
        std::filesystem::temp_directory_path() / "tessel_sensor_version_config.json";
    std::filesystem::remove(store);
    const char* previous = std::getenv("TESSEL_CONFIG");
    const std::string saved = previous != nullptr ? previous : "";
    setenv("TESSEL_CONFIG", store.c_str(), 1);
    auto built = build(rpcDocument());
    ASSERT_TRUE(built.model);
    EXPECT_EQ(built.model->getVersion().version(), "0.0.0");
    ASSERT_TRUE(nitf_config::write_property(L"RasterSensors", L"VersionMajor", 2.9));
    ASSERT_TRUE(nitf_config::write_property(L"RasterSensors", L"VersionMinor", L"7"));
    ASSERT_TRUE(nitf_config::write_property(L"RasterSensors", L"VersionPatch", L"x"));
    EXPECT_EQ(built.model->getVersion().version(), "2.7.0");
    if (previous != nullptr) {
        setenv("TESSEL_CONFIG", saved.c_str(), 1);
    } else {
        unsetenv("TESSEL_CONFIG");
    }
    std::filesystem::remove(store);
}

// --- The rational polynomial model ----------------------------------------------------

TEST(RPC00Model, SuccessZeroYieldsNoModelNamingTheTre) {
    json record = rpcRecord();
    record["SUCCESS"] = "0";
    auto b = build(rpcDocument("RPC00B", record));
    EXPECT_FALSE(b.model);
    ASSERT_EQ(b.failures.size(), 1u);
    EXPECT_EQ(b.failures[0], "RPC00B TRE is not usable. Values were not successfully computed");
    auto a = build(rpcDocument("RPC00A", record), RPC_A_MODEL_NAME);
    EXPECT_FALSE(a.model);
    ASSERT_EQ(a.failures.size(), 1u);
    EXPECT_EQ(a.failures[0], "RPC00A TRE is not usable. Values were not successfully computed");
}

TEST(RPC00Model, GroundToImageThenImageToGroundReturnsToTheGroundPoint) {
    auto built = build(rpcDocument());
    ASSERT_TRUE(built.model);
    const RPC00Model& model = *built.model;
    for (double lat : {42.26, 42.3, 42.33}) {
        for (double lon : {20.06, 20.1, 20.14}) {
            const LLHCoord ground(lat, lon, 250.0);
            const ImageCoord image = model.groundToImage_llh(ground, 0.001, nullptr, nullptr);
            csm::WarningList warnings;
            const LLHCoord back = model.imageToGround_llh(image, 250.0, 1e-9, nullptr, &warnings);
            EXPECT_TRUE(warnings.empty());
            EXPECT_NEAR(back.lat, lat, 1e-9);
            EXPECT_NEAR(back.lon, lon, 1e-9);
            EXPECT_EQ(back.height, 250.0);
            // The same through Earth-centred coordinates.
            const csm::EcefCoord ecef(EcefCoord(ground).x, EcefCoord(ground).y,
                                      EcefCoord(ground).z);
            const csm::ImageCoord viaEcef = model.groundToImage(ecef);
            EXPECT_NEAR(viaEcef.line, image.line, 1e-7);
            EXPECT_NEAR(viaEcef.samp, image.samp, 1e-7);
            const csm::EcefCoord ecefBack = model.imageToGround(viaEcef, 250.0, 1e-6);
            EXPECT_NEAR(ecefBack.x, ecef.x, 1e-3);
            EXPECT_NEAR(ecefBack.y, ecef.y, 1e-3);
            EXPECT_NEAR(ecefBack.z, ecef.z, 1e-3);
        }
    }
}

TEST(RPC00Model, PixelOffsetMovesEveryImageOutput) {
    auto plain = build(rpcDocument());
    ASSERT_TRUE(plain.model);
    OptionGuard<decltype(Tessel::s_opt_vexa_rpc_pixel_offset)> guard{
        Tessel::s_opt_vexa_rpc_pixel_offset};
    Tessel::s_opt_vexa_rpc_pixel_offset.override_value(0.5);
    auto shifted = build(rpcDocument());
    ASSERT_TRUE(shifted.model);
    const LLHCoord ground(42.31, 20.09, 300.0);
    const ImageCoord a = plain.model->groundToImage_llh(ground, 0.001, nullptr, nullptr);
    const ImageCoord b = shifted.model->groundToImage_llh(ground, 0.001, nullptr, nullptr);
    EXPECT_DOUBLE_EQ(b.line, a.line + 0.5);
    EXPECT_DOUBLE_EQ(b.samp, a.samp + 0.5);
    const auto range = shifted.model->getValidImageRange();
    EXPECT_EQ(range.first.line, 0.5);
    EXPECT_EQ(range.first.samp, 0.5);
    EXPECT_EQ(range.second.line, 48.5);
    EXPECT_EQ(range.second.samp, 64.5);
    EXPECT_EQ(shifted.model->getImageStart().line, 24.0 - 24.0 + 0.5);
    EXPECT_EQ(shifted.model->getImageStart().samp, 32.0 - 32.0 + 0.5);
    EXPECT_EQ(shifted.model->getImageSize().line, 48.5);
    // The inversion subtracts the offset again.
    const LLHCoord back = shifted.model->imageToGround_llh(b, 300.0, 1e-9, nullptr, nullptr);
    EXPECT_NEAR(back.lat, ground.lat, 1e-9);
    EXPECT_NEAR(back.lon, ground.lon, 1e-9);
}

TEST(RPC00Model, RecordCentreConvergesInTheFirstPass) {
    json record = rpcRecord();
    record["LINE_NUM_COEFF"][0] = "0";
    record["SAMP_NUM_COEFF"][0] = "0";
    auto built = build(rpcDocument("RPC00B", record));
    ASSERT_TRUE(built.model);
    OptionGuard<decltype(Tessel::s_opt_vexa_rpc_max_iterations)> guard{
        Tessel::s_opt_vexa_rpc_max_iterations};
    Tessel::s_opt_vexa_rpc_max_iterations.override_value(1.0);
    csm::WarningList warnings;
    double achieved = 99.0;
    const LLHCoord centre =
        built.model->imageToGround_llh(ImageCoord(24.0, 32.0), 100.0, 1e-12, &achieved, &warnings);
    EXPECT_TRUE(warnings.empty());
    EXPECT_EQ(achieved, 0.0);
    EXPECT_EQ(centre.lat, 42.3);
    EXPECT_EQ(centre.lon, 20.1);
}

TEST(RPC00Model, FewIterationsWarnUnknownAndStillGiveAResult) {
    auto built = build(rpcDocument());
    ASSERT_TRUE(built.model);
    OptionGuard<decltype(Tessel::s_opt_vexa_rpc_max_iterations)> guard{
        Tessel::s_opt_vexa_rpc_max_iterations};
    Tessel::s_opt_vexa_rpc_max_iterations.override_value(1.0);
    csm::WarningList warnings;
    const LLHCoord far =
        built.model->imageToGround_llh(ImageCoord(47.0, 1.0), 100.0, 1e-9, nullptr, &warnings);
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_EQ(warnings.front().getWarning(), csm::Warning::NO_INTERSECTION);
    EXPECT_EQ(warnings.front().getMessage(),
              "[VEXA_RPC00::UNKNOWN::ImageToGround] Did not converge in n iterations");
    EXPECT_EQ(warnings.front().getFunction(), "ImageToGround");
    EXPECT_TRUE(std::isfinite(far.lat));
    EXPECT_NE(far.lat, 42.3);
    // A maximum of 0 still makes one pass and warns even at the centre.
    Tessel::s_opt_vexa_rpc_max_iterations.override_value(0.0);
    warnings.clear();
    (void)built.model->imageToGround_llh(ImageCoord(24.0, 32.0), 100.0, 1e-3, nullptr, &warnings);
    EXPECT_EQ(warnings.size(), 1u);
}

TEST(RPC00Model, SameCoefficientsAsAAndBDifferAwayFromTheOrigin) {
    // Distinct higher-order coefficients, so that the term order matters.
    json record = rpcRecord();
    for (int i = 4; i < 20; ++i) {
        record["LINE_NUM_COEFF"][static_cast<size_t>(i)] = 0.001 * i;
    }
    auto a = build(rpcDocument("RPC00A", record), RPC_A_MODEL_NAME);
    auto b = build(rpcDocument("RPC00B", record), RPC_B_MODEL_NAME);
    ASSERT_TRUE(a.model);
    ASSERT_TRUE(b.model);
    RPC00A termsA;
    RPC00B termsB;
    std::vector<double> c(20, 0.0);
    for (int i = 0; i < 20; ++i) {
        c[static_cast<size_t>(i)] = i + 1.0;
    }
    EXPECT_EQ(termsA.value(0, 0, 0, c.data()), termsB.value(0, 0, 0, c.data()));
    EXPECT_NE(termsA.value(0.3, -0.4, 0.5, c.data()), termsB.value(0.3, -0.4, 0.5, c.data()));
    // Term 7 is L P H in one order and L squared in the other.
    std::vector<double> only7(20, 0.0);
    only7[7] = 1.0;
    EXPECT_DOUBLE_EQ(termsA.value(0.5, 2.0, 3.0, only7.data()), 2.0 * 0.5 * 3.0);
    EXPECT_DOUBLE_EQ(termsB.value(0.5, 2.0, 3.0, only7.data()), 4.0);
    const LLHCoord ground(42.33, 20.13, 400.0);
    const ImageCoord ia = a.model->groundToImage_llh(ground, 0.001, nullptr, nullptr);
    const ImageCoord ib = b.model->groundToImage_llh(ground, 0.001, nullptr, nullptr);
    EXPECT_NE(ia.line, ib.line);
    EXPECT_NE(a.model->getModelState().find("\"RPC00A\":"), std::string::npos);
}

TEST(RPC00Model, DerivativesAgreeWithFiniteDifferences) {
    RPC00A termsA;
    RPC00B termsB;
    std::vector<double> c(20);
    for (size_t i = 0; i < 20; ++i) {
        c[i] = std::sin(static_cast<double>(i) * 1.7 + 0.3);
    }
    const double h = 1e-6;
    for (const RPC00* terms :
         {static_cast<const RPC00*>(&termsA), static_cast<const RPC00*>(&termsB)}) {
        for (double P : {-0.8, 0.1, 0.6}) {
            for (double L : {-0.5, 0.0, 0.9}) {
                for (double H : {-1.0, 0.4}) {
                    const double dP = (terms->value(P + h, L, H, c.data()) -
                                       terms->value(P - h, L, H, c.data())) /
                                      (2 * h);
                    const double dL = (terms->value(P, L + h, H, c.data()) -
                                       terms->value(P, L - h, H, c.data())) /
                                      (2 * h);
                    EXPECT_NEAR(terms->dLat(P, L, H, c.data()), dP, 1e-8);
                    EXPECT_NEAR(terms->dLon(P, L, H, c.data()), dL, 1e-8);
                }
            }
        }
    }
}

TEST(RPC00Model, RangesLociAndReferencePoint) {
    auto built = build(rpcDocument());
    ASSERT_TRUE(built.model);
    const RPC00Model& model = *built.model;
    EXPECT_EQ(model.getValidHeightRange(), std::make_pair(-400.0, 600.0));
    const csm::EcefCoord reference = model.getReferencePoint();
    const LLHCoord refLlh(EcefCoord(reference.x, reference.y, reference.z));
    const ImageCoord centre = model.groundToImage_llh(refLlh, 0.001, nullptr, nullptr);
    EXPECT_NEAR(centre.line, 24.0, 1e-3);
    EXPECT_NEAR(centre.samp, 32.0, 1e-3);
    EXPECT_NEAR(refLlh.height, 100.0, 1e-6);
    const csm::EcefLocus remote = model.imageToRemoteImagingLocus(csm::ImageCoord(10, 20));
    const double length = std::sqrt(remote.direction.x * remote.direction.x +
                                    remote.direction.y * remote.direction.y +
                                    remote.direction.z * remote.direction.z);
    EXPECT_NEAR(length, 1.0, 1e-12);
    const csm::ImageCoord onLocus = model.groundToImage(remote.point);
    EXPECT_NEAR(onLocus.line, 10.0, 1e-3);
    EXPECT_NEAR(onLocus.samp, 20.0, 1e-3);
    // A ground point on the high end of the locus leaves a zero vector unnormalised.
    const csm::EcefCoord high = model.imageToGround(csm::ImageCoord(10, 20), 1100.0, 0.001);
    const csm::EcefLocus proximate =
        model.imageToProximateImagingLocus(csm::ImageCoord(10, 20), high);
    EXPECT_EQ(proximate.point.x, high.x);
    EXPECT_EQ(proximate.direction.x, 0.0);
    covariance_test::expectCovarianceFormsMatchPlainForms(model, csm::ImageCoord(10, 20), 100.0);
}

// --- Bad records ----------------------------------------------------------------------

TEST(RPC00Model, MissingMembersAreReportedByKey) {
    json record = rpcRecord();
    record.erase("HEIGHT_SCALE");
    auto built = build(rpcDocument("RPC00B", record));
    EXPECT_FALSE(built.model);
    ASSERT_EQ(built.failures.size(), 1u);
    EXPECT_EQ(built.failures[0], "Key 'HEIGHT_SCALE' not found");
    json noTre = rpcDocument();
    noTre.erase("RPC00B");
    auto missing = build(noTre);
    EXPECT_FALSE(missing.model);
    ASSERT_EQ(missing.failures.size(), 1u);
    EXPECT_EQ(missing.failures[0], "Key 'RPC00B' not found");
}

TEST(RPC00Model, MissingHeaderStandsAsUnknown) {
    json document = rpcDocument();
    document.erase("IID2");
    document.erase("NROWS");
    auto built = build(document);
    ASSERT_TRUE(built.model);
    EXPECT_EQ(built.model->getImageIdentifier(), "UNKNOWN");
    EXPECT_EQ(built.failures, (std::vector<std::string>{"Image parameter not found: IID2",
                                                        "Image parameter not found: NROWS"}));
    EXPECT_NE(built.model->getModelState().find("\"NROWS\":1,"), std::string::npos);
}

TEST(RPC00Model, TextThatIsNotANumberIsReported) {
    json record = rpcRecord();
    record["LAT_OFF"] = "4x2";
    auto built = build(rpcDocument("RPC00B", record));
    EXPECT_FALSE(built.model);
    ASSERT_EQ(built.failures.size(), 1u);
    EXPECT_EQ(built.failures[0], "'4x2' is not a number");
    record = rpcRecord();
    record["SAMP_DEN_COEFF"][5] = "++1";
    built = build(rpcDocument("RPC00B", record));
    EXPECT_FALSE(built.model);
    EXPECT_EQ(built.failures.at(0), "'++1' is not a number");
}

TEST(RPC00Model, CoefficientsThatAreNoListAreReported) {
    json record = rpcRecord();
    record["LINE_NUM_COEFF"] = true;
    auto built = build(rpcDocument("RPC00B", record));
    EXPECT_FALSE(built.model);
    ASSERT_EQ(built.failures.size(), 1u);
    EXPECT_EQ(built.failures[0], "Type must be array, but is boolean");
    // A number stands for a list of one; the rest of the twenty are zero.
    record["LINE_NUM_COEFF"] = 0.25;
    built = build(rpcDocument("RPC00B", record));
    ASSERT_TRUE(built.model);
    EXPECT_EQ(built.model->record().LINE_NUM_COEFF.size(), 20u);
    EXPECT_EQ(built.model->record().LINE_NUM_COEFF[0], 0.25);
    EXPECT_EQ(built.model->record().LINE_NUM_COEFF[1], 0.0);
}

TEST(RPC00Model, BlankErrorFieldsReadAsZero) {
    json record = rpcRecord();
    record["ERR_BIAS"] = "";
    record["ERR_RAND"] = "";
    auto built = build(rpcDocument("RPC00B", record));
    ASSERT_TRUE(built.model);
    EXPECT_TRUE(built.failures.empty());
    EXPECT_EQ(built.model->record().ERR_BIAS, 0.0);
    EXPECT_EQ(built.model->record().ERR_RAND, 0.0);
}

TEST(RPC00Model, UnknownModelNameIsRefused) {
    auto built = build(rpcDocument(), "VEXA_RPC_C");
    EXPECT_FALSE(built.model);
    ASSERT_EQ(built.failures.size(), 1u);
    EXPECT_EQ(built.failures[0], "Modelname not supported");
}

TEST(RPC00Model, ZeroDenominatorsAndScalesFlowIntoTheResultWithoutCrash) {
    json record = rpcRecord();
    record["LINE_DEN_COEFF"] = std::vector<double>(20, 0.0);
    auto built = build(rpcDocument("RPC00B", record));
    ASSERT_TRUE(built.model);
    const ImageCoord image =
        built.model->groundToImage_llh(LLHCoord(42.31, 20.11, 100.0), 0.001, nullptr, nullptr);
    EXPECT_FALSE(std::isfinite(image.line));
    EXPECT_TRUE(std::isfinite(image.samp));
    csm::WarningList warnings;
    const LLHCoord ground =
        built.model->imageToGround_llh(ImageCoord(10.0, 10.0), 100.0, 0.001, nullptr, &warnings);
    EXPECT_EQ(warnings.size(), 1u);
    EXPECT_FALSE(std::isfinite(ground.lat) && std::isfinite(ground.lon));

    record = rpcRecord();
    record["LAT_SCALE"] = "0";
    record["LINE_SCALE"] = "0";
    record["HEIGHT_OFF"] = "0";
    built = build(rpcDocument("RPC00B", record));
    ASSERT_TRUE(built.model);
    const ImageCoord zeroScale =
        built.model->groundToImage_llh(LLHCoord(42.31, 20.11, 100.0), 0.001, nullptr, nullptr);
    EXPECT_FALSE(std::isfinite(zeroScale.line));
    (void)built.model->imageToGround_llh(ImageCoord(10.0, 10.0), 100.0, 0.001, nullptr, &warnings);
    EXPECT_NO_THROW((void)built.model->getValidImageRange());
}

TEST(RPC00Model, NonFiniteCoefficientsGiveNonFiniteResultsWithoutCrash) {
    json record = rpcRecord();
    record["SAMP_NUM_COEFF"][2] = "nan";
    record["LINE_NUM_COEFF"][1] = "inf";
    auto built = build(rpcDocument("RPC00B", record));
    ASSERT_TRUE(built.model);
    EXPECT_TRUE(std::isnan(built.model->record().SAMP_NUM_COEFF[2]));
    const ImageCoord image =
        built.model->groundToImage_llh(LLHCoord(42.31, 20.11, 100.0), 0.001, nullptr, nullptr);
    EXPECT_TRUE(std::isnan(image.samp));
    csm::WarningList warnings;
    const LLHCoord ground =
        built.model->imageToGround_llh(ImageCoord(10.0, 10.0), 100.0, 0.001, nullptr, &warnings);
    EXPECT_EQ(warnings.size(), 1u);
    EXPECT_TRUE(std::isnan(ground.lat));
    // A huge extent doesn't overflow the truncation of the valid range.
    record = rpcRecord();
    record["LINE_SCALE"] = "1e300";
    built = build(rpcDocument("RPC00B", record));
    ASSERT_TRUE(built.model);
    EXPECT_TRUE(std::isfinite(built.model->getValidImageRange().second.line));
    (void)kNaN;
}

}  // namespace
