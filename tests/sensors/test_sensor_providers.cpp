#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "support/TempConfig.h"
#include "tessel/csm/Plugin.h"
#include "tessel/platform/base/text.h"
#include "tessel/sensors/IntersectionProvider.h"
#include "tessel/sensors/MensurationProvider.h"
#include "tessel/sensors/RasterSensorFactory.h"
#include "tessel/sensors/SensorProvider.h"

namespace {

using namespace VEXASensors;
using PropertyList = std::vector<std::pair<std::wstring, std::wstring>>;

// A plug-in whose one model is of the given family; it stays in CSM's list only while it
// lives.
class FamilyPlugin : public csm::Plugin {
public:
    FamilyPlugin(std::string name, std::string family)
        : name_(std::move(name)), family_(std::move(family)) {}
    ~FamilyPlugin() override { csm::Plugin::removePlugin(name_, nullptr); }
    FamilyPlugin(const FamilyPlugin&) = delete;
    FamilyPlugin& operator=(const FamilyPlugin&) = delete;

    std::string getPluginName() const override { return name_; }
    std::string getManufacturer() const override { return "Tests"; }
    std::string getReleaseDate() const override { return "20260101"; }
    csm::Version getCsmVersion() const override { return csm::Version(3, 1, 0); }
    size_t getNumModels() const override { return 1; }
    std::string getModelName(size_t) const override { return name_ + "_MODEL"; }
    std::string getModelFamily(size_t) const override { return family_; }
    csm::Version getModelVersion(const std::string&) const override {
        return csm::Version(1, 0, 0);
    }
    bool canModelBeConstructedFromState(const std::string&, const std::string&,
                                        csm::WarningList*) const override {
        return false;
    }
    bool canModelBeConstructedFromISD(const csm::Isd&, const std::string&,
                                      csm::WarningList*) const override {
        return false;
    }
    csm::Model* constructModelFromState(const std::string&, csm::WarningList*) const override {
        return nullptr;
    }
    csm::Model* constructModelFromISD(const csm::Isd&, const std::string&,
                                      csm::WarningList*) const override {
        return nullptr;
    }
    std::string getModelNameFromModelState(const std::string&, csm::WarningList*) const override {
        return {};
    }
    bool canISDBeConvertedToModelState(const csm::Isd&, const std::string&,
                                       csm::WarningList*) const override {
        return false;
    }
    std::string convertISDToModelState(const csm::Isd&, const std::string&,
                                       csm::WarningList*) const override {
        return {};
    }

private:
    std::string name_;
    std::string family_;
};

std::vector<std::wstring> vexaFactoryPlugins() {
    std::unique_ptr<SensorProvider> provider = SensorProviderFactory::createProvider("VEXA");
    EXPECT_NE(provider, nullptr);
    std::vector<std::wstring> names;
    if (provider != nullptr) {
        SensorProvider::FactoryList factories;
        provider->getModelFactories(factories);
        for (const auto& factory : factories) {
            names.push_back(factory->getPluginName());
        }
    }
    return names;
}

bool contains(const std::vector<std::wstring>& names, const std::wstring& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

TEST(SensorProviders, PluginOfAnotherFamilyAddsNoFactory) {
    const FamilyPlugin point("TESSEL_POINT_PLUGIN", "GeometricPoint");
    const FamilyPlugin raster("TESSEL_RASTER_PLUGIN", "GeometricRaster");
    const auto names = vexaFactoryPlugins();
    EXPECT_FALSE(contains(names, L"TESSEL_POINT_PLUGIN"));
    EXPECT_TRUE(contains(names, L"TESSEL_RASTER_PLUGIN"));
    EXPECT_TRUE(contains(names, L"VEXA_RPC00"));
}

class RecordingMensuration : public MensurationProvider {
public:
    explicit RecordingMensuration(PropertyList* seen) : seen_(seen) {}
    void setProperty(const std::wstring& key, const std::wstring& value) override {
        seen_->emplace_back(key, value);
    }

private:
    PropertyList* seen_;
};

class RecordingIntersection : public IntersectionProvider {
public:
    explicit RecordingIntersection(PropertyList* seen) : seen_(seen) {}
    void setProperty(const std::wstring& key, const std::wstring& value) override {
        seen_->emplace_back(key, value);
    }

private:
    PropertyList* seen_;
};

TEST(ServiceProviders, UnknownNamesGiveNoProvider) {
    EXPECT_EQ(MensurationProviderFactory::get().createProvider("no such"), nullptr);
    EXPECT_EQ(IntersectionProviderFactory::get().createProvider("no such"), nullptr);
}

TEST(ServiceProviders, ProvidersAreMadeWithThePropertiesStoredUnderTheirName) {
    tessel_test::TempConfig config(
        R"({"RasterSensors":{"TEST_MEASURE":"on","TEST_MEASURE_TOO":"no","TEST_CROSS*":2.5}})");
    RasterSensorFactory::reset();
    PropertyList measured;
    PropertyList crossed;
    EXPECT_TRUE(MensurationProviderFactory::get().registerProvider(
        "TEST_MEASURE", [&] { return std::make_unique<RecordingMensuration>(&measured); }));
    EXPECT_TRUE(IntersectionProviderFactory::get().registerProvider(
        "TEST_CROSS*", [&] { return std::make_unique<RecordingIntersection>(&crossed); }));

    EXPECT_NE(MensurationProviderFactory::get().createProvider("TEST_MEASURE"), nullptr);
    EXPECT_EQ(measured, (PropertyList{{L"TEST_MEASURE", L"on"}}));
    // The name is the pattern of the keys read, so a star in it reaches further keys.
    EXPECT_NE(IntersectionProviderFactory::get().createProvider("TEST_CROSS*"), nullptr);
    EXPECT_EQ(crossed, (PropertyList{{L"TEST_CROSS*", L"2.500000"}}));
    RasterSensorFactory::reset();
}

TEST(ServiceProviders, ANameRegisteredTwiceKeepsTheFirstMaker) {
    EXPECT_TRUE(MensurationProviderFactory::get().registerProvider(
        "TEST_TWICE", [] { return std::unique_ptr<MensurationProvider>(); }));
    EXPECT_FALSE(MensurationProviderFactory::get().registerProvider(
        "TEST_TWICE", [] { return std::make_unique<RecordingMensuration>(nullptr); }));
    EXPECT_EQ(MensurationProviderFactory::get().createProvider("TEST_TWICE"), nullptr);
    EXPECT_TRUE(IntersectionProviderFactory::get().registerProvider("TEST_TWICE", nullptr));
    EXPECT_FALSE(IntersectionProviderFactory::get().registerProvider("TEST_TWICE", nullptr));
}

}  // namespace
