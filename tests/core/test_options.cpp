#include <gtest/gtest.h>

#include "support/TempConfig.h"
#include "tessel/core/Options.h"

using tessel_test::TempConfig;

namespace {

// Options register themselves for the life of the process, so test options are static.
nitf_config::option<int>& intOption() {
    static nitf_config::option<int> option(L"test.options.int", 7);
    return option;
}
nitf_config::option<bool>& boolOption() {
    static nitf_config::option<bool> option(L"test.options.bool", true);
    return option;
}
nitf_config::option<double>& doubleOption() {
    static nitf_config::option<double> option(L"test.options.double", 0.25);
    return option;
}

int readInt(const std::string& json) {
    TempConfig config(json);
    intOption().reset();
    return intOption()();
}

bool readBool(const std::string& json) {
    TempConfig config(json);
    boolOption().reset();
    return boolOption()();
}

}  // namespace

TEST(Options, IntegerTextThatIsNoNumberFallsBackToDefault) {
    EXPECT_EQ(readInt(R"({"Preferences": {"test.options.int": "abc"}})"), 7);
}

TEST(Options, IntegerTextAndTruncatedDouble) {
    EXPECT_EQ(readInt(R"({"Preferences": {"test.options.int": "12"}})"), 12);
    EXPECT_EQ(readInt(R"({"Preferences": {"test.options.int": 2.9}})"), 2);
    EXPECT_EQ(readInt(R"({"Preferences": {}})"), 7);
}

TEST(Options, BooleanNoIsNotAWordSoDefaultTrueStays) {
    EXPECT_TRUE(readBool(R"({"Preferences": {"test.options.bool": "no"}})"));
    EXPECT_FALSE(readBool(R"({"Preferences": {"test.options.bool": "0"}})"));
    EXPECT_TRUE(readBool(R"({"Preferences": {"test.options.bool": "ON"}})"));
    EXPECT_FALSE(readBool(R"({"Preferences": {"test.options.bool": 0}})"));
}

TEST(Options, StoreIsReadOncePerProcess) {
    TempConfig config(R"({"Preferences": {"test.options.double": 1.5}})");
    doubleOption().reset();
    EXPECT_EQ(doubleOption()(), 1.5);
    ASSERT_TRUE(nitf_config::write_property(L"Preferences", L"test.options.double", 3.5));
    EXPECT_EQ(doubleOption()(), 1.5);
    EXPECT_EQ(doubleOption().state(), 1);
}

TEST(Options, EveryKeyOfTheTableIsRegisteredWithItsDefault) {
    std::map<std::wstring, any_type::value> defaults;
    for (const auto& registration : nitf_config::option_base::registeredOptions()) {
        defaults[registration.name] = registration.getDefault();
    }
    EXPECT_EQ(std::get<int64_t>(defaults.at(L"lumo.iopool.block_size")), 1048576);
    EXPECT_EQ(std::get<bool>(defaults.at(L"lumo.log.cache_usage")), false);
    EXPECT_EQ(std::get<int64_t>(defaults.at(L"nitf.j2k.kdu.clip")), -1);
    EXPECT_EQ(std::get<double>(defaults.at(L"vexa_rsm.pixel_offset")), 0.0);
    EXPECT_EQ(std::get<int64_t>(defaults.at(L"tessel.image.max_histogram_area")), 16777216);
    EXPECT_TRUE(defaults.count(L"vexa_rsm.debug"));
    EXPECT_GE(defaults.size(), 29u);
}

TEST(Options, OverriddenValueIsUsedAsStored) {
    TempConfig config;
    intOption().override_value(std::wstring(L"+40"));
    EXPECT_EQ(intOption()(), 40);
    EXPECT_EQ(intOption().state(), 2);
    intOption().reset();
}
