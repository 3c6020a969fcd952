#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "support/TempConfig.h"
#include "tessel/platform/base/nitf_config.h"

using tessel_test::TempConfig;

TEST(PropertyStore, MissingFileIsAnEmptyStore) {
    TempConfig config("");
    ASSERT_FALSE(std::filesystem::exists(config.path()));
    EXPECT_TRUE(std::holds_alternative<std::monostate>(
        nitf_config::read_property(L"Preferences", L"anything")));
    EXPECT_TRUE(nitf_config::read_properties(L"Preferences", L"*").empty());
    EXPECT_EQ(nitf_config::clear_properties(L"Preferences", L"*"), 0u);
}

TEST(PropertyStore, NumbersAndTextReadBackWithTheirKinds) {
    TempConfig config(R"({"Preferences": {"a": 12, "b": "text", "c": true}})");
    EXPECT_EQ(std::get<double>(nitf_config::read_property(L"Preferences", L"a")), 12.0);
    EXPECT_EQ(std::get<std::wstring>(nitf_config::read_property(L"Preferences", L"b")), L"text");
    EXPECT_EQ(std::get<double>(nitf_config::read_property(L"Preferences", L"c")), 1.0);
    EXPECT_TRUE(
        std::holds_alternative<std::monostate>(nitf_config::read_property(L"RasterSensors", L"a")));
}

TEST(PropertyStore, WriteCreatesFileAndLeavesNoTemporary) {
    TempConfig config("");
    ASSERT_TRUE(nitf_config::write_property(L"RasterSensors", L"SENSOR_A", std::wstring(L"on")));
    ASSERT_TRUE(nitf_config::write_property(L"RasterSensors", L"SENSOR_B", 2.5));
    std::ifstream in(config.path());
    const auto document = nlohmann::json::parse(in);
    EXPECT_EQ(document["RasterSensors"]["SENSOR_A"], "on");
    EXPECT_EQ(document["RasterSensors"]["SENSOR_B"], 2.5);
    size_t files = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(config.dir())) {
        ++files;
    }
    EXPECT_EQ(files, 1u);
}

TEST(PropertyStore, PatternsSelectReadAndClear) {
    TempConfig config(
        R"({"RasterSensors": {"SENSOR_RPC": 1, "SENSOR_RSM": 0, "DefaultModelExclusions": "x"}})");
    const auto sensors = nitf_config::read_properties(L"RasterSensors", L"SENSOR_*");
    ASSERT_EQ(sensors.size(), 2u);
    EXPECT_TRUE(sensors.count(L"SENSOR_RPC"));
    EXPECT_EQ(nitf_config::read_properties(L"RasterSensors", L"*").size(), 3u);
    EXPECT_EQ(nitf_config::read_properties(L"RasterSensors", L"SENSOR_R?M").size(), 0u);
    EXPECT_EQ(nitf_config::clear_properties(L"RasterSensors", L"SENSOR_*"), 2u);
    EXPECT_EQ(nitf_config::read_properties(L"RasterSensors", L"*").size(), 1u);
}

TEST(PropertyStore, WritePropertiesAndRemoveByEmptyValue) {
    TempConfig config;
    nitf_config::property_map values{{L"x", 1.0}, {L"y", std::wstring(L"why")}};
    ASSERT_TRUE(nitf_config::write_properties(L"Preferences", values));
    EXPECT_EQ(nitf_config::read_properties(L"Preferences", L"*").size(), 2u);
    ASSERT_TRUE(nitf_config::write_property(L"Preferences", L"x", std::monostate{}));
    EXPECT_EQ(nitf_config::read_properties(L"Preferences", L"*").size(), 1u);
}

TEST(PropertyStore, CorruptFileReadsAsEmpty) {
    TempConfig config("{ not json");
    EXPECT_TRUE(nitf_config::read_properties(L"Preferences", L"*").empty());
    EXPECT_TRUE(nitf_config::write_property(L"Preferences", L"k", 3.0));
    EXPECT_EQ(std::get<double>(nitf_config::read_property(L"Preferences", L"k")), 3.0);
}

TEST(PropertyStore, PatternMatching) {
    EXPECT_TRUE(nitf_config::matches_pattern(L"SENSOR_RPC", L"SENSOR_*"));
    EXPECT_TRUE(nitf_config::matches_pattern(L"abc", L"*"));
    EXPECT_TRUE(nitf_config::matches_pattern(L"abc", L"a*c"));
    EXPECT_TRUE(nitf_config::matches_pattern(L"abcbc", L"*bc"));
    EXPECT_FALSE(nitf_config::matches_pattern(L"abc", L"ab"));
    EXPECT_FALSE(nitf_config::matches_pattern(L"ABC", L"abc"));
}
