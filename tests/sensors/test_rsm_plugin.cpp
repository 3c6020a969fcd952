#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "sensors/RsmTestModels.h"
#include "support/FileTestSupport.h"
#include "support/TempConfig.h"
#include "tessel/csm/Isd.h"
#include "tessel/csm/Plugin.h"
#include "tessel/sensors/PluginReset.h"
#include "tessel/sensors/RSMPlugin.h"
#include "tessel/sensors/RSMPolyModel.h"
#include "tessel/sensors/RasterSensorFactory.h"

namespace {

using namespace VEXASensors;
using nlohmann::json;

const csm::Plugin& rsmPlugin() {
    const csm::Plugin* plugin = csm::Plugin::findPlugin("VEXA_RSM");
    if (plugin == nullptr) {
        throw std::runtime_error("VEXA_RSM is not listed");
    }
    return *plugin;
}

bool hasRsmWarning(const csm::WarningList& warnings, const std::string& message,
                   const std::string& function) {
    return std::any_of(warnings.begin(), warnings.end(), [&](const csm::Warning& w) {
        return w.getMessage() == message && w.getFunction() == function;
    });
}

class RSMPluginTest : public ::testing::Test {
protected:
    std::string writeDocument(const json& document, const std::string& name = "rsm.json") {
        const auto path = dir.path() / name;
        std::ofstream(path) << document.dump();
        return path.string();
    }
    file_test::TempDir dir;
};

TEST_F(RSMPluginTest, PluginIsListedWithTheOneModelName) {
    const csm::Plugin& plugin = rsmPlugin();
    EXPECT_EQ(plugin.getPluginName(), RSM_PLUGIN_NAME);
    EXPECT_EQ(plugin.getPluginName(), "VEXA_RSM");
    EXPECT_EQ(plugin.getManufacturer(), "Vexa");
    ASSERT_EQ(plugin.getNumModels(), 1u);
    EXPECT_EQ(plugin.getModelName(0), "VEXA_RSM_POLY");
    EXPECT_EQ(plugin.getModelName(1), "");
    EXPECT_EQ(plugin.getModelFamily(0), "GeometricRaster");
    // The grid form has a name but stands in no list.
    EXPECT_EQ(RSM_GRID_MODEL_NAME, "VEXA_RSM_GRID");
    csm::WarningList warnings;
    EXPECT_FALSE(
        plugin.canModelBeConstructedFromState("VEXA_RSM_GRID", "VEXA_RSM_GRID {}", &warnings));
    EXPECT_TRUE(hasRsmWarning(warnings,
                              "[VEXA_RSM::UNKNOWN] Model name not supported: VEXA_RSM_GRID",
                              "CanConstructFromState::ModelName"));
}

TEST_F(RSMPluginTest, ModelComesFromAJsonIsdAndFromItsOwnState) {
    const csm::Plugin& plugin = rsmPlugin();
    const std::string path = writeDocument(rsm_test::document({}));
    csm::WarningList warnings;
    EXPECT_TRUE(plugin.canModelBeConstructedFromISD(csm::Isd(path), "VEXA_RSM_POLY", &warnings));
    std::unique_ptr<csm::Model> model(
        plugin.constructModelFromISD(csm::Isd(path), "VEXA_RSM_POLY", &warnings));
    ASSERT_TRUE(model);
    EXPECT_TRUE(warnings.empty());
    EXPECT_EQ(model->getModelName(), "VEXA_RSM_POLY");
    const std::string state = model->getModelState();
    EXPECT_EQ(plugin.getModelNameFromModelState(state), "VEXA_RSM_POLY");
    EXPECT_TRUE(plugin.canModelBeConstructedFromState("VEXA_RSM_POLY", state, &warnings));
    std::unique_ptr<csm::Model> again(plugin.constructModelFromState(state, &warnings));
    ASSERT_TRUE(again);
    EXPECT_EQ(again->getModelState(), state);
    EXPECT_EQ(plugin.convertISDToModelState(csm::Isd(path), "VEXA_RSM_POLY"), state);
    // The factory reaches it through the state as well.
    const RasterSensor sensor =
        RasterSensorFactory::get().createRasterSensorFromState(std::to_wstring(state));
    ASSERT_TRUE(sensor.isValid());
    EXPECT_EQ(sensor.getModelName(), "VEXA_RSM_POLY");
}

TEST_F(RSMPluginTest, MissingRecordsAreReportedAndGiveNoModel) {
    const csm::Plugin& plugin = rsmPlugin();
    json document = rsm_test::document({});
    document.erase("RSMIDA");
    csm::WarningList warnings;
    EXPECT_EQ(plugin.constructModelFromISD(csm::Isd(writeDocument(document, "noid.json")),
                                           "VEXA_RSM_POLY", &warnings),
              nullptr);
    EXPECT_TRUE(hasRsmWarning(warnings, "[VEXA_RSM::VEXA_RSM_POLY] Could not find RSMIDA",
                              "ConstructModelFromISD"));
    document = rsm_test::document({});
    document.erase("RSMPIA");
    warnings.clear();
    EXPECT_FALSE(plugin.canModelBeConstructedFromISD(
        csm::Isd(writeDocument(document, "noindex.json")), "VEXA_RSM_POLY", &warnings));
    EXPECT_TRUE(hasRsmWarning(warnings, "[VEXA_RSM::VEXA_RSM_POLY] Key 'RSMPIA' not found",
                              "CanConstructFromISD"));
}

TEST_F(RSMPluginTest, DisabledPluginHasNoModelsAndAnEmptyNameButStaysListed) {
    const csm::Plugin& plugin = rsmPlugin();
    const std::string path = writeDocument(rsm_test::document({}));
    {
        tessel_test::TempConfig config(R"({"Preferences":{"vexa_rsm.enable":false}})");
        vexa_rsm_reset();
        EXPECT_EQ(plugin.getNumModels(), 0u);
        EXPECT_EQ(plugin.getModelName(0), "");
        EXPECT_EQ(plugin.getModelFamily(0), "");
        csm::WarningList warnings;
        EXPECT_FALSE(
            plugin.canModelBeConstructedFromISD(csm::Isd(path), "VEXA_RSM_POLY", &warnings));
        EXPECT_EQ(plugin.constructModelFromISD(csm::Isd(path), "VEXA_RSM_POLY", &warnings),
                  nullptr);
        EXPECT_TRUE(warnings.empty());
        EXPECT_EQ(plugin.getPluginName(), "VEXA_RSM");
        const auto& list = csm::Plugin::getList();
        EXPECT_NE(std::find(list.begin(), list.end(), &plugin), list.end());
    }
    vexa_rsm_reset();
    EXPECT_EQ(plugin.getNumModels(), 1u);
}

}  // namespace
