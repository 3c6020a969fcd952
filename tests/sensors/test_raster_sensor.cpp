#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/FileTestSupport.h"
#include "support/RpcFiles.h"
#include "support/TempConfig.h"
#include "support/TestPaths.h"
#include "tessel/csm/Plugin.h"
#include "tessel/platform/base/nitf_log.h"
#include "tessel/platform/base/text.h"
#include "tessel/sensors/PluginReset.h"
#include "tessel/sensors/RPC00Model.h"
#include "tessel/sensors/RasterSensorFactory.h"

namespace {

using namespace VEXASensors;
using nlohmann::json;
namespace fs = std::filesystem;

// Counts the calls that reach the Earth-centred route.
std::atomic<int> ecefCalls{0};

class EcefOnlyModel : public RPC00Model {
public:
    using RPC00Model::RPC00Model;
    bool useLLH() const override { return false; }
    csm::ImageCoord groundToImage(const csm::EcefCoord& groundPt, double desiredPrecision,
                                  double* achievedPrecision,
                                  csm::WarningList* warnings) const override {
        ++ecefCalls;
        return RPC00Model::groundToImage(groundPt, desiredPrecision, achievedPrecision, warnings);
    }
    csm::EcefCoord imageToGround(const csm::ImageCoord& imagePt, double height,
                                 double desiredPrecision, double* achievedPrecision,
                                 csm::WarningList* warnings) const override {
        ++ecefCalls;
        return RPC00Model::imageToGround(imagePt, height, desiredPrecision, achievedPrecision,
                                         warnings);
    }
};

// Makes "TEST_ECEF_MODEL <document>" states into EcefOnlyModels; "null" yields nothing.
class EcefOnlyFactory : public ModelFactory {
public:
    EcefOnlyFactory() : ModelFactory(true, 20000, L"TEST_PLUGIN", L"Tests", L"TEST_ECEF_MODEL") {}
    bool canConstruct(const csm::Isd&, csm::WarningList*) const override { return false; }
    csm::Model* construct(const csm::Isd&, csm::WarningList*) const override { return nullptr; }
    csm::Model* constructFromState(const std::wstring& state, csm::WarningList*) const override {
        const std::string narrow = std::to_string(state);
        const json document = json::parse(narrow.substr(narrow.find(' ') + 1));
        if (document.is_null()) {
            return nullptr;
        }
        auto record = RPC00Model::readRecord(document.at("RPC00B"), "RPC00B", nullptr);
        return new EcefOnlyModel(std::move(record), StateHeader{}, {}, RPC_B_MODEL_NAME);
    }
};

class TestProvider : public SensorProvider {
public:
    void initialize() override {}
    void getModelFactories(FactoryList& factories) override {
        factories.push_back(std::make_unique<EcefOnlyFactory>());
    }
};

const bool testProviderRegistered = SensorProviderFactory::registerProvider(
    20000, "TESTS", [] { return std::make_unique<TestProvider>(); });

std::vector<std::wstring> front(const std::vector<std::wstring>& list, size_t count) {
    return {list.begin(), list.begin() + static_cast<std::ptrdiff_t>(std::min(count, list.size()))};
}

class RasterSensorTest : public ::testing::Test {
protected:
    void SetUp() override {
        RasterSensorFactory::reset();
        rpcB = dir / "b.ntf";
        tessel_test::writeRpcFile(rpcB, "RPC00B");
        both = dir / "both.ntf";
        tessel_test::ImageLayout image;
        image.rows = 100;
        image.cols = 120;
        image.data = std::string(100 * 120, '\0');
        image.tres = {tessel_test::rawTre("RPC00A", tessel_test::rpcPayload({})),
                      tessel_test::rawTre("RPC00B", tessel_test::rpcPayload({}))};
        tessel_test::ImageFileBuilder().add(image).write(both);
    }
    void TearDown() override { RasterSensorFactory::reset(); }

    tessel_test::TempConfig config;
    file_test::TempDir dir;
    fs::path rpcB;
    fs::path both;
};

TEST(ModelFactories, ValidityTextAndOrder) {
    EcefOnlyFactory factory;
    EXPECT_TRUE(factory.isValid());
    EXPECT_EQ(factory.toString(), L"TEST_PLUGIN:TEST_ECEF_MODEL");
    factory.isEnabled(false);
    EXPECT_EQ(factory.toString(), L"!TEST_PLUGIN:TEST_ECEF_MODEL");
    EcefOnlyFactory copy = factory;
    EXPECT_FALSE(copy.isEnabled());
    EXPECT_EQ(copy.getManufacturer(), L"Tests");
    EXPECT_FALSE(factory < copy);
}

TEST(SensorProviders, VexaIsListedAtTenThousandAndUnknownNamesGiveNothing) {
    const auto info = SensorProviderFactory::getProviderInfo();
    EXPECT_NE(std::find(info.begin(), info.end(), std::make_pair(10000, std::string("VEXA"))),
              info.end());
    EXPECT_EQ(SensorProviderFactory::createProvider("no such"), nullptr);
    EXPECT_FALSE(SensorProviderFactory::registerProvider(1, "VEXA", nullptr));
}

TEST_F(RasterSensorTest, DefaultSensorIsInvalidAndAnswersNothing) {
    RasterSensor sensor;
    EXPECT_FALSE(sensor.isValid());
    EXPECT_FALSE(static_cast<bool>(sensor));
    EXPECT_FALSE(sensor.useLLH());
    EXPECT_EQ(sensor.accessInternalModel<csm::RasterGM>(), nullptr);
    EXPECT_EQ(sensor.getModelName(), "");
    EXPECT_EQ(sensor.getFamily(), "");
    EXPECT_EQ(sensor.getVersion(), "");
    EXPECT_EQ(sensor.getModelState(), "");
    EXPECT_EQ(sensor.getImageIdentifier(), "");
    EXPECT_EQ(sensor.getReferenceDateAndTime(), "");
    EXPECT_FALSE(sensor.groundToImage(EcefCoord(6378137.0, 0.0, 0.0)).has_value());
    EXPECT_FALSE(sensor.imageToGround(ImageCoord(1.0, 1.0), 0.0).has_value());
    EXPECT_FALSE(sensor.groundToImage_llh(LLHCoord(1.0, 2.0, 3.0)).has_value());
    EXPECT_FALSE(sensor.imageToGround_llh(ImageCoord(1.0, 1.0), 0.0).has_value());
    const auto range = sensor.getValidImageRange();
    EXPECT_EQ(range.first, ImageCoord(0.0, 0.0));
    EXPECT_EQ(range.second, ImageCoord(0.0, 0.0));
    EXPECT_EQ(sensor.getValidHeightRange(), std::make_pair(0.0, 0.0));
    EXPECT_EQ(sensor.beginTxBlock(LLHCoord(), LLHCoord(), 0.0, 1.0), 0);
    sensor.endTxBlock(0);
}

TEST_F(RasterSensorTest, RpcFileGivesASensorOnItsOwnDegreeRoute) {
    RasterSensorFactory& factory = RasterSensorFactory::get();
    const auto list = factory.getModelFactories();
    EXPECT_NE(std::find(list.begin(), list.end(), L"VEXA_RPC00:VEXA_RPC_B"), list.end());
    RasterSensor sensor = factory.createRasterSensorFromFile(rpcB);
    ASSERT_TRUE(sensor.isValid());
    EXPECT_EQ(sensor.getModelName(), "VEXA_RPC_B");
    EXPECT_TRUE(sensor.useLLH());
    EXPECT_EQ(sensor.getFamily(), "GeometricRaster");
    const LLHCoord ground(42.31, 20.12, 250.0);
    const auto image = sensor.groundToImage_llh(ground);
    ASSERT_TRUE(image.has_value());
    // The Earth-centred route gives the same place.
    const auto viaEcef = sensor.groundToImage(EcefCoord(ground));
    ASSERT_TRUE(viaEcef.has_value());
    EXPECT_NEAR(image->line, viaEcef->line, 1e-6);
    EXPECT_NEAR(image->samp, viaEcef->samp, 1e-6);
    const auto back = sensor.imageToGround_llh(*image, 250.0, 1e-9);
    ASSERT_TRUE(back.has_value());
    EXPECT_NEAR(back->lat, ground.lat, 1e-8);
    EXPECT_NEAR(back->lon, ground.lon, 1e-8);
    RasterSensor moved = std::move(sensor);
    EXPECT_FALSE(sensor.isValid());  // NOLINT(bugprone-use-after-move)
    EXPECT_TRUE(moved.isValid());
    EXPECT_NE(moved.accessInternalModel<csm::RasterGM>(), nullptr);
    // The state builds the same model again.
    RasterSensor again =
        factory.createRasterSensorFromState(std::to_wstring(moved.getModelState()));
    EXPECT_EQ(again.getModelState(), moved.getModelState());
}

TEST_F(RasterSensorTest, ModelWithoutDegreeRouteGoesThroughEcef) {
    RasterSensor own = RasterSensorFactory::get().createRasterSensorFromFile(rpcB);
    ASSERT_TRUE(own.isValid());
    const std::string state = own.getModelState();
    const std::string document = state.substr(state.find(' ') + 1);
    RasterSensor sensor = RasterSensorFactory::get().createRasterSensorFromState(
        std::to_wstring("TEST_ECEF_MODEL " + document));
    ASSERT_TRUE(sensor.isValid());
    EXPECT_FALSE(sensor.useLLH());
    const LLHCoord ground(42.31, 20.12, 250.0);
    ecefCalls = 0;
    const auto image = sensor.groundToImage_llh(ground);
    ASSERT_TRUE(image.has_value());
    EXPECT_EQ(ecefCalls.load(), 1);
    const auto expected = own.groundToImage_llh(ground);
    EXPECT_NEAR(image->line, expected->line, 1e-6);
    EXPECT_NEAR(image->samp, expected->samp, 1e-6);
    const auto back = sensor.imageToGround_llh(*image, 250.0, 1e-9);
    EXPECT_EQ(ecefCalls.load(), 2);
    ASSERT_TRUE(back.has_value());
    EXPECT_NEAR(back->lat, ground.lat, 1e-7);
    EXPECT_NEAR(back->height, 250.0, 1e-5);
}

TEST_F(RasterSensorTest, StateFailuresThrowSensorExceptions) {
    const RasterSensorFactory& factory = RasterSensorFactory::get();
    try {
        (void)factory.createRasterSensorFromState(L"NO_SUCH_MODEL {}");
        ADD_FAILURE() << "no exception";
    } catch (const SensorException& e) {
        EXPECT_STREQ(e.what(), "Failed to find sensor model: NO_SUCH_MODEL");
    }
    try {
        (void)factory.createRasterSensorFromState(L"TEST_ECEF_MODEL null");
        ADD_FAILURE() << "no exception";
    } catch (const SensorException& e) {
        EXPECT_STREQ(e.what(), "Failed to create CSM Model");
    }
}

TEST_F(RasterSensorTest, DisabledEntryIsSkippedAlsoWhenPropertiesNameIt) {
    RasterSensorFactory& factory = RasterSensorFactory::get();
    factory.setModelFactories({L"!VEXA_RPC00:VEXA_RPC_B", L"VEXA_RPC00:VEXA_RPC_A"});
    EXPECT_EQ(front(factory.getModelFactories(), 2),
              (std::vector<std::wstring>{L"!VEXA_RPC00:VEXA_RPC_B", L"VEXA_RPC00:VEXA_RPC_A"}));
    EXPECT_EQ(factory.getProperty(L"SENSOR_0", L""), L"!VEXA_RPC00:VEXA_RPC_B");
    EXPECT_FALSE(factory.createRasterSensorFromFile(rpcB).isValid());
    EXPECT_FALSE(factory.createRasterSensorFromFile(rpcB, R"({"VEXA_RPC_B":{}})").isValid());
    // The file with both records falls to the next enabled model.
    EXPECT_EQ(factory.createRasterSensorFromFile(both).getModelName(), "VEXA_RPC_A");
    factory.resetPluginPreferences();
    EXPECT_TRUE(factory.getProperties(L"SENSOR_*").empty());
}

TEST_F(RasterSensorTest, SensorXIsIgnoredAndSensorZeroComesFirst) {
    file_test::writeFile(config.path(), R"({"RasterSensors":{
        "SENSOR_X":"VEXA_RPC00:VEXA_RPC_A",
        "SENSOR_1":"VEXA_RPC00:VEXA_RPC_A",
        "SENSOR_0":"VEXA_RPC00:VEXA_RPC_B",
        "SENSOR_-1":"!VEXA_RPC00:VEXA_RPC_B"}})");
    const auto list = RasterSensorFactory::get().getModelFactories();
    EXPECT_EQ(front(list, 2),
              (std::vector<std::wstring>{L"VEXA_RPC00:VEXA_RPC_B", L"VEXA_RPC00:VEXA_RPC_A"}));
    EXPECT_EQ(RasterSensorFactory::get().createRasterSensorFromFile(both).getModelName(),
              "VEXA_RPC_B");
    // SENSOR_X alone changes nothing: the provider's order stands.
    file_test::writeFile(config.path(),
                         R"({"RasterSensors":{"SENSOR_X":"VEXA_RPC00:VEXA_RPC_B"}})");
    RasterSensorFactory::reset();
    const auto plain = RasterSensorFactory::get().getModelFactories();
    const auto a = std::find(plain.begin(), plain.end(), L"VEXA_RPC00:VEXA_RPC_A");
    const auto b = std::find(plain.begin(), plain.end(), L"VEXA_RPC00:VEXA_RPC_B");
    ASSERT_NE(a, plain.end());
    EXPECT_LT(a, b);
}

TEST_F(RasterSensorTest, PriorityTieKeepsListOrderAndMissingPriorityRanksAt5000) {
    RasterSensorFactory& factory = RasterSensorFactory::get();
    EXPECT_EQ(factory
                  .createRasterSensorFromFile(
                      both, R"({"VEXA_RPC_B":{"Priority":7},"VEXA_RPC_A":{"Priority":7}})")
                  .getModelName(),
              "VEXA_RPC_A");
    EXPECT_EQ(
        factory
            .createRasterSensorFromFile(both, R"({"VEXA_RPC_A":{},"VEXA_RPC_B":{"Priority":4999}})")
            .getModelName(),
        "VEXA_RPC_B");
    EXPECT_EQ(
        factory
            .createRasterSensorFromFile(both, R"({"VEXA_RPC_A":{},"VEXA_RPC_B":{"Priority":5001}})")
            .getModelName(),
        "VEXA_RPC_A");
    factory.setModelFactories({L"VEXA_RPC00:VEXA_RPC_B", L"VEXA_RPC00:VEXA_RPC_A"});
    EXPECT_EQ(factory
                  .createRasterSensorFromFile(
                      both, R"({"VEXA_RPC_B":{"Priority":7},"VEXA_RPC_A":{"Priority":7}})")
                  .getModelName(),
              "VEXA_RPC_B");
    // A model not named takes no part.
    EXPECT_EQ(factory.createRasterSensorFromFile(both, R"({"VEXA_RPC_A":5})").getModelName(),
              "VEXA_RPC_A");
}

TEST_F(RasterSensorTest, PropertiesMemberBecomesTheModelsDisplayProperties) {
    RasterSensor sensor = RasterSensorFactory::get().createRasterSensorFromFile(
        rpcB, R"({"VEXA_RPC_B":{"Priority":1,"DisplayName":"Shown","Mode":"M1"}})");
    ASSERT_TRUE(sensor.isValid());
    EXPECT_EQ(sensor.getPedigree(), "M1 | Shown");
    EXPECT_EQ(sensor.getSensorMode(), "M1");
}

TEST_F(RasterSensorTest, AllSupportedModelsListsEveryEnabledMatch) {
    RasterSensorFactory& factory = RasterSensorFactory::get();
    EXPECT_EQ(factory.getAllSupportedModels(both),
              (std::vector<std::wstring>{L"VEXA_RPC_A", L"VEXA_RPC_B"}));
    EXPECT_EQ(factory.getAllSupportedModels(rpcB), (std::vector<std::wstring>{L"VEXA_RPC_B"}));
    EXPECT_TRUE(factory.getAllSupportedModels(dir / "missing.ntf").empty());
}

TEST_F(RasterSensorTest, ExclusionExpressionDisablesMatchingModels) {
    file_test::writeFile(config.path(),
                         R"({"RasterSensors":{"DefaultModelExclusions":"VEXA_RPC_.*"}})");
    const auto list = RasterSensorFactory::get().getModelFactories();
    EXPECT_NE(std::find(list.begin(), list.end(), L"!VEXA_RPC00:VEXA_RPC_A"), list.end());
    EXPECT_NE(std::find(list.begin(), list.end(), L"!VEXA_RPC00:VEXA_RPC_B"), list.end());
    EXPECT_NE(std::find(list.begin(), list.end(), L"TEST_PLUGIN:TEST_ECEF_MODEL"), list.end());
    EXPECT_FALSE(RasterSensorFactory::get().createRasterSensorFromFile(rpcB).isValid());
}

TEST_F(RasterSensorTest, PropertiesReadAndWriteTheSensorSection) {
    RasterSensorFactory& factory = RasterSensorFactory::get();
    EXPECT_EQ(factory.getProperty(L"Missing", L"fallback"), L"fallback");
    EXPECT_TRUE(factory.setProperty(L"Colour", L"blue"));
    EXPECT_EQ(factory.getProperty(L"Colour", L""), L"blue");
    file_test::writeFile(config.path(), R"({"RasterSensors":{"Num":2.5,"Name":"x"}})");
    const auto all = factory.getProperties(L"N*");
    ASSERT_EQ(all.size(), 2u);
    EXPECT_EQ(all.at(L"Num"), L"2.500000");
    EXPECT_EQ(all.at(L"Name"), L"x");
}

TEST_F(RasterSensorTest, IgeoloResetDropsTheFactoryTable) {
    RasterSensorFactory::get().setModelFactories({L"VEXA_RPC00:VEXA_RPC_B"});
    file_test::writeFile(config.path(),
                         R"({"RasterSensors":{"SENSOR_0":"!VEXA_RPC00:VEXA_RPC_A"}})");
    EXPECT_EQ(RasterSensorFactory::get().getModelFactories().front(), L"VEXA_RPC00:VEXA_RPC_B");
    vexa_igeolo_reset();
    EXPECT_EQ(RasterSensorFactory::get().getModelFactories().front(), L"!VEXA_RPC00:VEXA_RPC_A");
}

// Collects log lines while it lives.
class LogCapture {
public:
    LogCapture() : previous_(nitf_log::threshold()) {
        nitf_log::set_threshold(nitf_log::info);
        nitf_log::set_sink([this](int, std::string_view line) {
            std::lock_guard lock(mutex_);
            lines_.emplace_back(line);
        });
    }
    ~LogCapture() {
        nitf_log::set_sink({});
        nitf_log::set_threshold(previous_);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;
    bool contains(const std::string& text) {
        std::lock_guard lock(mutex_);
        return std::any_of(lines_.begin(), lines_.end(),
                           [&](const std::string& line) { return line == text; });
    }
    std::string all() {
        std::lock_guard lock(mutex_);
        std::string out;
        for (const auto& line : lines_) {
            out += line + "\n";
        }
        return out;
    }

private:
    int previous_;
    std::mutex mutex_;
    std::vector<std::string> lines_;
};

// Points $TESSEL_HOME at a folder for the lifetime of a test.
class TesselHome {
public:
    explicit TesselHome(const fs::path& home) {
        if (const char* previous = std::getenv("TESSEL_HOME")) {
            previous_ = previous;
            had_ = true;
        }
        setenv("TESSEL_HOME", home.c_str(), 1);
    }
    ~TesselHome() {
        if (had_) {
            setenv("TESSEL_HOME", previous_.c_str(), 1);
        } else {
            unsetenv("TESSEL_HOME");
        }
    }
    TesselHome(const TesselHome&) = delete;
    TesselHome& operator=(const TesselHome&) = delete;

private:
    std::string previous_;
    bool had_ = false;
};

TEST_F(RasterSensorTest, ConfigurationWithoutPluginLogsAndTheNextFileStillLoads) {
    const fs::path csmDir = dir.path() / "lib" / "tessel" / "csm";
    fs::create_directories(csmDir / "plugins");
    fs::path module;
    for (const auto& entry : fs::directory_iterator(TESSEL_TEST_CSMPLUGIN_DIR)) {
        if (entry.path().extension() == ".so") {
            module = entry.path();
        }
    }
    ASSERT_FALSE(module.empty());
    file_test::writeFile(csmDir / "a.json", R"({"env":{"TESSEL_SENSOR2_TEST":"from a"}})");
    file_test::writeFile(csmDir / "b.json", json{{"plugin", module.string()},
                                                 {"paths", json::array({"/opt/tessel-test"})},
                                                 {"env", {{"PATH", "/opt/tessel-test/bin"}}}}
                                                .dump());
    file_test::writeFile(csmDir / "c.json", "{\n\"plugin\": oops\n}");
    file_test::writeFile(csmDir / "plugins" / "broken.so", "not a module");
    const TesselHome home(dir.path());
    LogCapture log;
    const auto list = RasterSensorFactory::get().getModelFactories();
    EXPECT_TRUE(log.contains("RasterSensor -- Failed to load config file : " +
                             (csmDir / "a.json").string() + " : No such node (plugin)"))
        << log.all();
    EXPECT_TRUE(std::any_of(list.begin(), list.end(), [](const std::wstring& entry) {
        return entry == L"TESSEL_TEST_CSM:TESSEL_TEST_MODEL";
    }));
    EXPECT_STREQ(std::getenv("TESSEL_SENSOR2_TEST"), "from a");
    const std::string search = std::getenv("RSPROVIDER_MODULE_SEARCH_PATH");
    EXPECT_NE(search.find(csmDir.string()), std::string::npos);
    EXPECT_NE(search.find("/opt/tessel-test"), std::string::npos);
    EXPECT_NE(std::string(std::getenv("PATH")).find("/opt/tessel-test/bin"), std::string::npos);
    EXPECT_TRUE(log.all().find("RasterSensor -- Failed to load config file : " +
                               (csmDir / "c.json").string() + "(2) : ") != std::string::npos)
        << log.all();
    EXPECT_TRUE(log.all().find("RasterSensor -- Failed to load module : " +
                               (csmDir / "plugins" / "broken.so").string() + " [") !=
                std::string::npos)
        << log.all();
}

}  // namespace
