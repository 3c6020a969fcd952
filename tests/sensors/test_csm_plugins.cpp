#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "support/FileTestSupport.h"
#include "support/RpcFiles.h"
#include "support/TempConfig.h"
#include "tessel/csm/NitfIsd.h"
#include "tessel/csm/Plugin.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/sensors/IsdReader.h"
#include "tessel/sensors/PluginReset.h"
#include "tessel/sensors/RPC00Model.h"
#include "tessel/sensors/RPC00Plugin.h"

namespace {

using namespace VEXASensors;
using nlohmann::json;

const csm::Plugin& rpcPlugin() {
    const csm::Plugin* plugin = csm::Plugin::findPlugin("VEXA_RPC00");
    if (plugin == nullptr) {
        throw std::runtime_error("VEXA_RPC00 is not listed");
    }
    return *plugin;
}

bool hasWarning(const csm::WarningList& warnings, const std::string& message,
                const std::string& function) {
    return std::any_of(warnings.begin(), warnings.end(), [&](const csm::Warning& w) {
        return w.getMessage() == message && w.getFunction() == function;
    });
}

std::string allWarnings(const csm::WarningList& warnings) {
    std::string out;
    for (const auto& w : warnings) {
        out +=
            std::to_string(w.getWarning()) + " " + w.getFunction() + ": " + w.getMessage() + "\n";
    }
    return out;
}

// A model state made by the plug-in itself from a file.
class CsmPluginsTest : public ::testing::Test {
protected:
    void SetUp() override {
        rpcFile = dir / "rpc.ntf";
        tessel_test::writeRpcFile(rpcFile);
    }
    file_test::TempDir dir;
    std::filesystem::path rpcFile;
};

TEST_F(CsmPluginsTest, RpcPluginIsListedWithItsNamesAndModels) {
    const csm::Plugin& plugin = rpcPlugin();
    EXPECT_EQ(plugin.getManufacturer(), "Vexa");
    EXPECT_EQ(plugin.getCsmVersion().version(), "3.1.0");
    ASSERT_EQ(plugin.getNumModels(), 2u);
    EXPECT_EQ(plugin.getModelName(0), "VEXA_RPC_A");
    EXPECT_EQ(plugin.getModelName(1), "VEXA_RPC_B");
    EXPECT_EQ(plugin.getModelName(2), "");
    EXPECT_EQ(plugin.getModelFamily(0), "GeometricRaster");
    const std::string date = plugin.getReleaseDate();
    ASSERT_EQ(date.size(), 8u);
    EXPECT_TRUE(std::all_of(date.begin(), date.end(), ::isdigit)) << date;
    EXPECT_EQ(date.substr(0, 4), std::string(__DATE__).substr(7, 4));
}

TEST_F(CsmPluginsTest, ModelComesFromANitfFileNamedByTheIsd) {
    const csm::Plugin& plugin = rpcPlugin();
    const csm::Isd isd(rpcFile.string());
    csm::WarningList warnings;
    EXPECT_TRUE(plugin.canModelBeConstructedFromISD(isd, "VEXA_RPC_B", &warnings))
        << allWarnings(warnings);
    std::unique_ptr<csm::Model> model(plugin.constructModelFromISD(isd, "VEXA_RPC_B", &warnings));
    ASSERT_NE(model, nullptr) << allWarnings(warnings);
    EXPECT_EQ(model->getModelName(), "VEXA_RPC_B");
    EXPECT_TRUE(warnings.empty()) << allWarnings(warnings);
    // The state made through the ISD is the model's own, and builds the same model again.
    EXPECT_EQ(plugin.convertISDToModelState(isd, "VEXA_RPC_B"), model->getModelState());
    EXPECT_TRUE(plugin.canISDBeConvertedToModelState(isd, "VEXA_RPC_B"));
    std::unique_ptr<csm::Model> again(plugin.constructModelFromState(model->getModelState()));
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(again->getModelState(), model->getModelState());
    EXPECT_EQ(plugin.getModelNameFromModelState(model->getModelState()), "VEXA_RPC_B");
}

TEST_F(CsmPluginsTest, MissingTreIsReportedUnderTheOperationLabel) {
    csm::WarningList warnings;
    EXPECT_FALSE(rpcPlugin().canModelBeConstructedFromISD(csm::Isd(rpcFile.string()), "VEXA_RPC_A",
                                                          &warnings));
    EXPECT_TRUE(hasWarning(warnings, "[VEXA_RPC00::VEXA_RPC_A] Could not find a RPC00A TRE",
                           "CanConstructFromISD"))
        << allWarnings(warnings);
}

TEST_F(CsmPluginsTest, StateOfModelAOfferedAsModelBGivesTheDiscrepancyWarning) {
    const csm::Plugin& plugin = rpcPlugin();
    const csm::Isd isd(rpcFile.string());
    tessel_test::writeRpcFile(rpcFile, "RPC00A");
    std::unique_ptr<csm::Model> model(plugin.constructModelFromISD(isd, "VEXA_RPC_A"));
    ASSERT_NE(model, nullptr);
    const std::string state = model->getModelState();
    ASSERT_EQ(state.rfind("VEXA_RPC_A {", 0), 0u);
    csm::WarningList warnings;
    EXPECT_FALSE(plugin.canModelBeConstructedFromState("VEXA_RPC_B", state, &warnings));
    EXPECT_TRUE(hasWarning(warnings,
                           "[VEXA_RPC00::VEXA_RPC_B] Discrepency with model name. Expected "
                           "VEXA_RPC_Band found VEXA_RPC_A",
                           "CanConstructFromState::ModelName"))
        << allWarnings(warnings);
    EXPECT_TRUE(plugin.canModelBeConstructedFromState("VEXA_RPC_A", state));
}

TEST_F(CsmPluginsTest, StateWithoutBlankGivesTheNotFormatedWarning) {
    const csm::Plugin& plugin = rpcPlugin();
    csm::WarningList warnings;
    EXPECT_EQ(plugin.constructModelFromState("VEXA_RPC_B", &warnings), nullptr);
    EXPECT_TRUE(hasWarning(warnings, "[VEXA_RPC00::UNKNOWN] Model State not formated correctly",
                           "GetModelNameFromModelState::ModelName"))
        << allWarnings(warnings);
    EXPECT_TRUE(hasWarning(warnings, "[VEXA_RPC00::UNKNOWN] Model State not formated correctly",
                           "ConstructFromState::ModelName"))
        << allWarnings(warnings);
    warnings.clear();
    EXPECT_FALSE(plugin.canModelBeConstructedFromState("VEXA_RPC_B", "VEXA_RPC_B", &warnings));
    EXPECT_TRUE(hasWarning(warnings, "[VEXA_RPC00::UNKNOWN] Model State not formated correctly",
                           "CanConstructFromState::ModelName"));
}

TEST_F(CsmPluginsTest, NitfIsdWithoutFileNameIsRefusedAsUnsupportedType) {
    csm::WarningList warnings;
    EXPECT_FALSE(
        rpcPlugin().canModelBeConstructedFromISD(csm::Nitf21Isd(), "VEXA_RPC_B", &warnings));
    EXPECT_TRUE(hasWarning(warnings, "[VEXA_RPC00::VEXA_RPC_B] ISD type not supported: NITF2.1",
                           "CanConstructFromISD"))
        << allWarnings(warnings);
    // A NITF ISD that names its file is taken like a plain one.
    EXPECT_TRUE(
        rpcPlugin().canModelBeConstructedFromISD(csm::Nitf21Isd(rpcFile.string()), "VEXA_RPC_B"));
}

TEST_F(CsmPluginsTest, OnlyLowerCaseJsonExtensionReadsADocument) {
    const csm::Plugin& plugin = rpcPlugin();
    std::unique_ptr<csm::Model> model(
        plugin.constructModelFromISD(csm::Isd(rpcFile.string()), "VEXA_RPC_B"));
    ASSERT_NE(model, nullptr);
    const std::string state = model->getModelState();
    const std::string document = state.substr(state.find(' ') + 1);
    file_test::writeFile(dir / "isd.json", document);
    file_test::writeFile(dir / "isd.JSON", document);
    csm::WarningList warnings;
    std::unique_ptr<csm::Model> fromJson(plugin.constructModelFromISD(
        csm::Isd((dir / "isd.json").string()), "VEXA_RPC_B", &warnings));
    ASSERT_NE(fromJson, nullptr) << allWarnings(warnings);
    EXPECT_EQ(fromJson->getModelState(), state);
    EXPECT_FALSE(plugin.canModelBeConstructedFromISD(csm::Isd((dir / "isd.JSON").string()),
                                                     "VEXA_RPC_B", &warnings));
    EXPECT_TRUE(hasWarning(
        warnings, "[VEXA_RPC00::VEXA_RPC_B] Unable to open File: " + (dir / "isd.JSON").string(),
        "CanConstructFromISD::NITF"))
        << allWarnings(warnings);
}

TEST_F(CsmPluginsTest, OpenMessagesAreTypeOneUnderTheOpenLabel) {
    const std::string missing = (dir / "missing.ntf").string();
    csm::WarningList warnings;
    EXPECT_EQ(rpcPlugin().constructModelFromISD(csm::Isd(missing), "VEXA_RPC_B", &warnings),
              nullptr);
    ASSERT_FALSE(warnings.empty());
    bool sawUnable = false;
    for (const csm::Warning& w : warnings) {
        if (w.getFunction() == "CanConstructFromISD::Open") {
            EXPECT_EQ(w.getWarning(), csm::Warning::UNKNOWN_WARNING);
        } else {
            EXPECT_EQ(w.getWarning(), csm::Warning::DATA_NOT_AVAILABLE);
            EXPECT_EQ(w.getMessage(), "[VEXA_RPC00::VEXA_RPC_B] Unable to open File: " + missing);
            EXPECT_EQ(w.getFunction(), "ConstructModelFromISD::NITF");
            sawUnable = true;
        }
    }
    EXPECT_TRUE(sawUnable) << allWarnings(warnings);
}

TEST_F(CsmPluginsTest, UnknownModelNameWarnsWithUnknownSecondWord) {
    const csm::Plugin& plugin = rpcPlugin();
    csm::WarningList warnings;
    EXPECT_FALSE(
        plugin.canModelBeConstructedFromISD(csm::Isd(rpcFile.string()), "VEXA_RPC_C", &warnings));
    EXPECT_TRUE(hasWarning(warnings, "[VEXA_RPC00::UNKNOWN] Model name not supported: VEXA_RPC_C",
                           "CanConstructFromISD::ModelName"))
        << allWarnings(warnings);
    warnings.clear();
    EXPECT_FALSE(plugin.canModelBeConstructedFromState("VEXA_RPC_C", "VEXA_RPC_C {}", &warnings));
    EXPECT_TRUE(hasWarning(warnings, "[VEXA_RPC00::UNKNOWN] Model name not supported: VEXA_RPC_C",
                           "CanConstructFromState::ModelName"));
    warnings.clear();
    EXPECT_EQ(plugin.constructModelFromState("VEXA_RPC_C {}", &warnings), nullptr);
    EXPECT_TRUE(hasWarning(warnings, "[VEXA_RPC00::UNKNOWN] Model name not supported: VEXA_RPC_C",
                           "ConstructFromState::ModelName"));
}

TEST_F(CsmPluginsTest, BrokenStateTextBecomesAnExceptionWarning) {
    csm::WarningList warnings;
    EXPECT_EQ(rpcPlugin().constructModelFromState("VEXA_RPC_B {not json", &warnings), nullptr);
    ASSERT_EQ(warnings.size(), 1u) << allWarnings(warnings);
    EXPECT_EQ(warnings.front().getFunction(), "ConstructFromState::Exception");
    EXPECT_EQ(warnings.front().getMessage().rfind("[VEXA_RPC00::VEXA_RPC_B] ", 0), 0u);
    // Without a list nothing is reported and nothing escapes.
    EXPECT_EQ(rpcPlugin().constructModelFromState("VEXA_RPC_B {not json"), nullptr);
}

TEST_F(CsmPluginsTest, UnusableRecordIsReportedByTheReaderLabel) {
    tessel_test::RpcValues values;
    values.success = "0";
    tessel_test::writeRpcFile(rpcFile, "RPC00B", values);
    csm::WarningList warnings;
    EXPECT_EQ(
        rpcPlugin().constructModelFromISD(csm::Isd(rpcFile.string()), "VEXA_RPC_B", &warnings),
        nullptr);
    EXPECT_TRUE(hasWarning(warnings,
                           "[VEXA_RPC00::VEXA_RPC_B] RPC00B TRE is not usable. Values were not "
                           "successfully computed",
                           "ConstructModelFromISD"))
        << allWarnings(warnings);
}

TEST_F(CsmPluginsTest, DisabledPluginHasNoModelsButStaysListed) {
    const csm::Plugin& plugin = rpcPlugin();
    {
        tessel_test::TempConfig config(R"({"Preferences":{"vexa_rpc.enable":false}})");
        vexa_rpc00_reset();
        EXPECT_EQ(plugin.getNumModels(), 0u);
        EXPECT_EQ(plugin.getModelName(0), "");
        EXPECT_EQ(plugin.getModelFamily(0), "");
        EXPECT_EQ(plugin.getModelVersion("VEXA_RPC_B").version(), "0.0.0");
        csm::WarningList warnings;
        EXPECT_FALSE(plugin.canModelBeConstructedFromISD(csm::Isd(rpcFile.string()), "VEXA_RPC_B",
                                                         &warnings));
        EXPECT_EQ(plugin.constructModelFromISD(csm::Isd(rpcFile.string()), "VEXA_RPC_B", &warnings),
                  nullptr);
        EXPECT_EQ(plugin.getModelNameFromModelState("VEXA_RPC_B", &warnings), "");
        EXPECT_TRUE(warnings.empty()) << allWarnings(warnings);
        EXPECT_EQ(plugin.getPluginName(), "VEXA_RPC00");
        EXPECT_EQ(plugin.getManufacturer(), "Vexa");
        const auto& list = csm::Plugin::getList();
        EXPECT_NE(std::find(list.begin(), list.end(), &plugin), list.end());
    }
    vexa_rpc00_reset();
    EXPECT_EQ(plugin.getNumModels(), 2u);
}

TEST_F(CsmPluginsTest, ResetMakesAChangedPreferenceEffective) {
    const csm::Plugin& plugin = rpcPlugin();
    tessel_test::TempConfig config(R"({"Preferences":{"vexa_rpc.enable":true}})");
    vexa_rpc00_reset();
    ASSERT_EQ(plugin.getNumModels(), 2u);
    file_test::writeFile(config.path(), R"({"Preferences":{"vexa_rpc.enable":false}})");
    // The cached value stands until the reset.
    EXPECT_EQ(plugin.getNumModels(), 2u);
    vexa_rpc00_reset();
    EXPECT_EQ(plugin.getNumModels(), 0u);
    file_test::writeFile(config.path(), "{}");
    vexa_rpc00_reset();
    EXPECT_EQ(plugin.getNumModels(), 2u);
}

TEST_F(CsmPluginsTest, ModelVersionComesFromTheConfiguration) {
    tessel_test::TempConfig config(
        R"({"RasterSensors":{"VersionMajor":2,"VersionMinor":"7","VersionPatch":1.9}})");
    EXPECT_EQ(rpcPlugin().getModelVersion("VEXA_RPC_B").version(), "2.7.1");
}

// --- Readers ---------------------------------------------------------------------------

TEST(IsdReaders, LabelsChainFromTheRootAndFailuresCarryThem) {
    const json document = {{"IID2", "\"quoted\" id"}, {"NROWS", 48}, {"RPC00B", {{"A", 1}}}};
    csm::WarningList warnings;
    const DocumentReader root(nullptr, &warnings, "PLUG", "MODEL", "Root", &document);
    EXPECT_EQ(root.imageParameter("IID2"), "quoted id");
    EXPECT_EQ(root.imageParameter("NROWS"), "48");
    EXPECT_TRUE(warnings.empty());
    EXPECT_EQ(root.imageParameter("IDATIM"), "UNKNOWN");
    EXPECT_TRUE(hasWarning(warnings, "[PLUG::MODEL] Image parameter not found: IDATIM", "Root"));
    EXPECT_TRUE(root.hasTre("RPC00B"));
    EXPECT_FALSE(root.hasTre("RPC00A"));
    const DocumentReader tre = root.tre("RPC00B");
    EXPECT_EQ(tre.label(), "Root::TRE");
    EXPECT_THROW(tre.member("B"), already_logged);
    EXPECT_TRUE(hasWarning(warnings, "[PLUG::MODEL] Key 'B' not found", "Root::TRE"));
    EXPECT_THROW(root.tre("RPC00A"), already_logged);
    EXPECT_TRUE(hasWarning(warnings, "[PLUG::MODEL] Key 'RPC00A' not found", "Root"));
}

TEST(IsdReaders, HolderThatIsNoObjectIsReported) {
    const json document = json::array({1, 2});
    csm::WarningList warnings;
    const DocumentReader root(nullptr, &warnings, "PLUG", "", "Root", &document);
    const DocumentReader::Lookup found = root.find("X");
    EXPECT_FALSE(found.isObject);
    EXPECT_FALSE(found.exists);
    EXPECT_THROW(root.member("X"), already_logged);
    EXPECT_TRUE(
        hasWarning(warnings, "[PLUG::UNKNOWN] Not an object (array) looking for 'X'", "Root"))
        << allWarnings(warnings);
}

TEST_F(CsmPluginsTest, NitfReaderReadsHeaderFieldsAndTres) {
    Tessel::NITFMessages messages;
    const Tessel::NITFFileContext file = Tessel::NITFFactory::get().open(
        Tessel::NITFURI(std::string_view(rpcFile.string())), messages);
    ASSERT_TRUE(file);
    csm::WarningList warnings;
    const NitfReader reader(nullptr, &warnings, "PLUG", "MODEL", "Root", &file);
    EXPECT_EQ(reader.imageParameter("NROWS"), "00000100");
    EXPECT_TRUE(reader.hasTre("RPC00B"));
    EXPECT_FALSE(reader.hasTre("RPC00A"));
    const DocumentReader tre = reader.tre("RPC00B");
    EXPECT_EQ(tre.label(), "Root::TRE");
    EXPECT_EQ(tre.member("SUCCESS"), "1");
    EXPECT_EQ(reader.imageParameter("NOSUCH"), "UNKNOWN");
    EXPECT_TRUE(hasWarning(warnings, "[PLUG::MODEL] Image parameter not found: NOSUCH", "Root"));
}

}  // namespace
