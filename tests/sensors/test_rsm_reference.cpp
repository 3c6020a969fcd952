// Our replacement sensor model against an independent evaluation of the published
// ground-to-image equations (tests/sensors/rsm_reference.py, numpy), on NITF files that GDAL
// writes here and now with the records the script chose: several section grids, the three
// ground domains, points next to section borders, both pixel conventions, and one file with
// its records in a TRE_OVERFLOW data extension.

#include <gtest/gtest.h>

#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "support/GdalOracle.h"
#include "support/TestPaths.h"
#include "tessel/core/Options.h"
#include "tessel/csm/Isd.h"
#include "tessel/csm/Plugin.h"
#include "tessel/sensors/RSMPlugin.h"
#include "tessel/sensors/RSMPolyModel.h"
#include "tessel/sensors/RasterSensorFactory.h"

namespace {

namespace fs = std::filesystem;
using namespace VEXASensors;
using nlohmann::json;

class RSMReference : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        if (!tessel_test::gdalAvailable()) {
            return;
        }
        folder_ =
            fs::temp_directory_path() / ("tessel_rsm_reference_" + std::to_string(::getpid()));
        made_ = tessel_test::jsonFromCommand(std::string("/usr/bin/python3 '") + TESSEL_SOURCE_DIR +
                                             "/tests/sensors/rsm_reference.py' '" +
                                             folder_.string() + "'");
    }
    static void TearDownTestSuite() {
        std::error_code ec;
        fs::remove_all(folder_, ec);
    }
    void SetUp() override {
        if (!tessel_test::gdalAvailable()) {
            GTEST_SKIP() << "GDAL's Python bindings are missing";
        }
        ASSERT_TRUE(made_.is_object() && made_.contains("files")) << made_.dump();
    }

    // The model that the plug-in builds from the file, as a CSM client gets it.
    static std::unique_ptr<RSMPolyModel> pluginModel(const std::string& path) {
        const csm::Plugin* plugin = csm::Plugin::findPlugin("VEXA_RSM");
        if (plugin == nullptr) {
            return nullptr;
        }
        csm::WarningList warnings;
        std::unique_ptr<csm::Model> model(
            plugin->constructModelFromISD(csm::Isd(path), "VEXA_RSM_POLY", &warnings));
        for (const auto& w : warnings) {
            std::cout << path << ": " << w.getFunction() << " " << w.getMessage() << "\n";
        }
        auto* rsm = dynamic_cast<RSMPolyModel*>(model.get());
        if (rsm == nullptr) {
            return nullptr;
        }
        (void)model.release();
        return std::unique_ptr<RSMPolyModel>(rsm);
    }

    static fs::path folder_;
    static json made_;
};

fs::path RSMReference::folder_;
json RSMReference::made_;

struct Agreement {
    size_t forward = 0, inverse = 0, mismatches = 0;
    double worstPixel = 0.0, worstDegree = 0.0;
};

Agreement compare(const RSMPolyModel& model, const json& file, double offset) {
    Agreement a;
    const bool rectangular = file["domain"] == "R";
    for (const auto& p : file["points"]) {
        const double lat = p[0], lon = p[1], h = p[2], z = p[3], line = p[4], sample = p[5];
        csm::WarningList warnings;
        const ImageCoord image =
            model.groundToImage_llh(LLHCoord(lat, lon, h), 0.001, nullptr, &warnings);
        const double pixel = std::max(std::fabs(image.line - (line + offset)),
                                      std::fabs(image.samp - (sample + offset)));
        a.worstPixel = std::max(a.worstPixel, pixel);
        ++a.forward;
        if (!(pixel <= 1e-6) || !warnings.empty()) {
            ++a.mismatches;
            std::cout << "  forward (" << lat << ", " << lon << ", " << h << "): ours "
                      << image.line << ", " << image.samp << " reference " << line + offset << ", "
                      << sample + offset << "\n";
        }
        // The R domain holds the Earth-centred z fixed, the others the height.
        const LLHCoord back =
            model.imageToGround_llh(ImageCoord(line + offset, sample + offset), rectangular ? z : h,
                                    1e-10, nullptr, &warnings);
        const double degree = std::max(std::fabs(back.lat - lat), std::fabs(back.lon - lon));
        a.worstDegree = std::max(a.worstDegree, degree);
        ++a.inverse;
        if (!(degree <= 1e-7) || !warnings.empty()) {
            ++a.mismatches;
            std::cout << "  inverse (" << line << ", " << sample << "): ours " << back.lat << ", "
                      << back.lon << " reference " << lat << ", " << lon << "\n";
        }
    }
    return a;
}

TEST_F(RSMReference, GroundToImageAgreesWithTheReferenceEvaluationOnEveryGeneratedFile) {
    size_t agreeing = 0;
    size_t domains[3] = {0, 0, 0};
    for (const auto& file : made_["files"]) {
        const std::string path = file["path"];
        size_t mismatches = 0;
        for (const double offset : {0.0, 0.5}) {
            Tessel::s_opt_vexa_rsm_pixel_offset.override_value(offset);
            const auto model = pluginModel(path);
            ASSERT_TRUE(model) << path;
            ASSERT_EQ(model->sections().size(), file["sections"].get<size_t>()) << path;
            const Agreement a = compare(*model, file, offset);
            std::cout << fs::path(path).filename().string() << " ("
                      << file["domain"].get<std::string>() << ", " << model->sections().size()
                      << " sections) offset " << offset << ": " << a.forward
                      << " ground-to-image points, worst " << a.worstPixel << " pixel; "
                      << a.inverse << " round trips, worst " << a.worstDegree << " degree; "
                      << a.mismatches << " beyond tolerance\n";
            EXPECT_GE(a.forward, 27u);  // three heights on a 3 x 3 grid at least
            mismatches += a.mismatches;
        }
        Tessel::s_opt_vexa_rsm_pixel_offset.reset();
        EXPECT_EQ(mismatches, 0u) << path;
        agreeing += mismatches == 0 ? 1 : 0;
        const std::string domain = file["domain"];
        domains[domain == "G" ? 0 : domain == "H" ? 1 : 2] += 1;
    }
    std::cout << agreeing << " of " << made_["files"].size()
              << " generated RSM files agree with the reference evaluation\n";
    EXPECT_EQ(agreeing, made_["files"].size());
    EXPECT_GE(domains[0], 2u);
    EXPECT_GE(domains[1], 1u);
    EXPECT_GE(domains[2], 1u);
}

TEST_F(RSMReference, RasterSensorFactoryFindsTheModelInTheFile) {
    const std::string path = made_["files"][0]["path"];
    const RasterSensor sensor = RasterSensorFactory::get().createRasterSensorFromFile(
        path, R"({"VEXA_RSM_POLY": {"Priority": 1}})");
    ASSERT_TRUE(sensor.isValid());
    EXPECT_EQ(sensor.getModelName(), "VEXA_RSM_POLY");
    const json& p = made_["files"][0]["points"][4];
    const auto image = sensor.groundToImage_llh(LLHCoord(p[0], p[1], p[2]));
    ASSERT_TRUE(image);
    EXPECT_NEAR(image->line, p[4].get<double>(), 1e-6);
    EXPECT_NEAR(image->samp, p[5].get<double>(), 1e-6);
}

TEST_F(RSMReference, RecordsInATreOverflowExtensionGiveTheSameModel) {
    const json* overflow = nullptr;
    for (const auto& file : made_["files"]) {
        if (file.contains("overflowOf")) {
            overflow = &file;
        }
    }
    ASSERT_NE(overflow, nullptr);
    const auto moved = pluginModel((*overflow)["path"]);
    const auto original = pluginModel((*overflow)["overflowOf"]);
    ASSERT_TRUE(moved);
    ASSERT_TRUE(original);
    EXPECT_EQ(moved->getModelState(), original->getModelState());
    EXPECT_EQ(moved->sections().size(), 4u);
    const Agreement a = compare(*moved, *overflow, 0.0);
    EXPECT_EQ(a.mismatches, 0u);
}

const json& badFile(const json& made, const std::string& name) {
    for (const auto& file : made["bad"]) {
        if (file["case"] == name) {
            return file;
        }
    }
    static const json none = json::object();
    return none;
}

std::string constructionWarnings(const std::string& path, std::unique_ptr<csm::Model>& model) {
    csm::WarningList warnings;
    model.reset(csm::Plugin::findPlugin("VEXA_RSM")
                    ->constructModelFromISD(csm::Isd(path), "VEXA_RSM_POLY", &warnings));
    std::string text;
    for (const auto& w : warnings) {
        text += w.getMessage() + "\n";
    }
    return text;
}

TEST_F(RSMReference, BadRecordsAreRefusedOrSurvivedWithTheModelsWords) {
    ASSERT_TRUE(made_.contains("bad"));
    std::unique_ptr<csm::Model> model;
    // Fields that don't parse and a missing index: no model, the reason in the warnings.
    EXPECT_EQ(constructionWarnings(badFile(made_, "unparsable").value("path", ""), model),
              "[VEXA_RSM::VEXA_RSM_POLY] 'NOT A NUMBER' is not a number\n");
    EXPECT_FALSE(model);
    EXPECT_EQ(constructionWarnings(badFile(made_, "no_index").value("path", ""), model),
              "[VEXA_RSM::VEXA_RSM_POLY] Key 'RSMPIA' not found\n");
    EXPECT_FALSE(model);
    // Sections that don't cover the image: a model, and the section warning where one lacks.
    EXPECT_EQ(constructionWarnings(badFile(made_, "uncovered").value("path", ""), model), "");
    auto* uncovered = dynamic_cast<RSMPolyModel*>(model.get());
    ASSERT_NE(uncovered, nullptr);
    EXPECT_EQ(uncovered->sections().size(), 3u);
    csm::WarningList warnings;
    const LLHCoord nowhere =
        uncovered->imageToGround_llh(ImageCoord(390.0, 470.0), 100.0, 0.001, nullptr, &warnings);
    EXPECT_EQ(nowhere, LLHCoord(0.0, 0.0, 0.0));
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_EQ(warnings.front().getMessage(),
              "[VEXA_RSM_POLY::VEXA_RSM_POLY] Did not find appropriate section");
    warnings.clear();
    const LLHCoord somewhere =
        uncovered->imageToGround_llh(ImageCoord(10.0, 10.0), 100.0, 0.001, nullptr, &warnings);
    EXPECT_TRUE(warnings.empty());
    EXPECT_NEAR(somewhere.lat, 42.39, 0.01);
    // A zero denominator: a model whose first section answers with non-finite values, and
    // an inversion that ends at its bound, without a crash.
    EXPECT_EQ(constructionWarnings(badFile(made_, "zero_denominator").value("path", ""), model),
              "");
    auto* zero = dynamic_cast<RSMPolyModel*>(model.get());
    ASSERT_NE(zero, nullptr);
    const ImageCoord image = zero->groundToImage_llh(LLHCoord(42.39, 20.01, 100.0));
    EXPECT_FALSE(std::isfinite(image.line));
    EXPECT_TRUE(std::isfinite(image.samp));
    warnings.clear();
    (void)zero->imageToGround_llh(ImageCoord(10.0, 10.0), 100.0, 0.001, nullptr, &warnings);
    ASSERT_EQ(warnings.size(), 1u);
    EXPECT_EQ(warnings.front().getMessage(),
              "[VEXA_RSM_POLY::VEXA_RSM_POLY] Did not converge in n Iterations");
}

}  // namespace
