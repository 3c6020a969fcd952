#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>

#include "support/FileTestSupport.h"
#include "support/RunTool.h"
#include "support/TestPaths.h"

using tessel_test::runTool;

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

// The repository's profiles first on the resource path, for the tool this test starts.
class ProductCommands : public ::testing::Test {
protected:
    void SetUp() override {
        const char* old = std::getenv("TESSEL_RESOURCE_PATH");
        old_ = old != nullptr ? old : "";
        hadOld_ = old != nullptr;
        setenv("TESSEL_RESOURCE_PATH", (fs::path(TESSEL_SOURCE_DIR) / "resources").c_str(), 1);
    }
    void TearDown() override {
        if (hadOld_) {
            setenv("TESSEL_RESOURCE_PATH", old_.c_str(), 1);
        } else {
            unsetenv("TESSEL_RESOURCE_PATH");
        }
    }
    static std::string sample() { return "'" + std::string(TESSEL_SAMPLE_FILE) + "'"; }

    file_test::TempDir dir_;
    std::string old_;
    bool hadOld_ = false;
};

TEST_F(ProductCommands, ProductThroughTheSampleProfile) {
    const auto result = runTool("product " + sample() + " --json");
    ASSERT_EQ(result.status, 0);
    const Json product = Json::parse(result.out);
    EXPECT_EQ(product["name"], "TesselSample");
    EXPECT_EQ(product["title"], "Sample from TESSEL: TesselLib sample");
    EXPECT_EQ(product["properties"]["Images"], 2);
    EXPECT_EQ(product["properties"]["Classification"], "Unclassified");
    ASSERT_EQ(product["layers"].size(), 3U);
    // The one-band image is taken by the first definition, the RGB image falls to the second.
    EXPECT_EQ(product["layers"][1]["key"], "Colour_2");
    EXPECT_EQ(product["layers"][2]["key"], "Image_1");
    EXPECT_EQ(product["layers"][2]["aliases"][0], "GRADIENT");
    EXPECT_EQ(product["layers"][2]["bands"][0]["Representation"], "M");
    EXPECT_EQ(product["layers"][1]["mapDocument"]["colorizer"]["type"], "MapDocRasterRGBColorizer");
    EXPECT_EQ(product["layers"][0]["type"], "Table");
    ASSERT_EQ(product["mosaics"].size(), 1U);
    EXPECT_EQ(product["mosaics"][0]["items"][0]["tag"], "Sample");
    EXPECT_EQ(product["mosaics"][0]["variables"]["DefaultMaximumInput"], 255);
}

TEST_F(ProductCommands, ProductThroughANamedProfileAsText) {
    const auto result = runTool("product " + sample() + " --profile Generic");
    ASSERT_EQ(result.status, 0);
    EXPECT_NE(result.out.find("name: Generic\n"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("Image Layer_Image_1"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("\"type\":\"MapDocNitfImageSubLayer\""), std::string::npos);
    EXPECT_NE(result.out.find("item "), std::string::npos);
}

TEST_F(ProductCommands, UnknownProfileAndMissingFileFail) {
    auto result = runTool("product " + sample() + " --profile Nope 2>&1");
    EXPECT_NE(result.status, 0);
    EXPECT_NE(result.out.find("Unable to find profile 'Nope'"), std::string::npos) << result.out;
    result = runTool("product '" + (dir_ / "none.ntf").string() + "' 2>&1");
    EXPECT_NE(result.status, 0);
    EXPECT_NE(result.out.find("No such file or directory"), std::string::npos) << result.out;
    result = runTool("product 2>&1");
    EXPECT_NE(result.status, 0);
}

TEST_F(ProductCommands, ProfilesListsWhereEachCameFrom) {
    const auto result = runTool("profiles --json");
    ASSERT_EQ(result.status, 0);
    const Json listing = Json::parse(result.out);
    bool sampleFound = false;
    bool genericFound = false;
    for (const auto& profile : listing["profiles"]) {
        if (profile["name"] == "TesselSample") {
            sampleFound = true;
            EXPECT_NE(profile["origin"].get<std::string>().find("tessel_sample.json"),
                      std::string::npos);
            EXPECT_EQ(profile["priority"], 50);
            EXPECT_EQ(profile["format"], "JSONConfig");
        }
        if (profile["name"] == "Generic") {
            genericFound = true;
            EXPECT_EQ(profile["origin"], "built-in");
            EXPECT_EQ(profile["format"], "Default");
        }
    }
    EXPECT_TRUE(sampleFound);
    EXPECT_TRUE(genericFound);
    EXPECT_NE(std::find(listing["processingTemplates"].begin(),
                        listing["processingTemplates"].end(), "Primary"),
              listing["processingTemplates"].end());
    const auto text = runTool("profiles");
    EXPECT_EQ(text.status, 0);
    EXPECT_NE(text.out.find("built-in"), std::string::npos);
}

TEST_F(ProductCommands, ProfilesReportsABrokenUserProfile) {
    const fs::path folder = dir_.path() / "Resources" / "Raster" / "NITF" / "Profiles";
    fs::create_directories(folder);
    file_test::writeFile(folder / "broken.json", "{\"Products\":[{\"Name\":");
    setenv("TESSEL_RESOURCE_PATH", dir_.path().c_str(), 1);
    const auto result = runTool("profiles --json");
    ASSERT_EQ(result.status, 0);
    const Json listing = Json::parse(result.out);
    ASSERT_FALSE(listing["messages"].empty());
    EXPECT_NE(listing["messages"][0].get<std::string>().find("File does not contain valid JSON"),
              std::string::npos);
}

TEST_F(ProductCommands, TableOfTheSamplesRpcExtension) {
    const fs::path definition = dir_ / "rpc.json";
    file_test::writeFile(definition, R"({"TableType":"MultiTRE",
        "Fields":[{"name":"SUCCESS","type":"integer"},{"name":"ERR_BIAS","type":"double"},
                  {"name":"NOPE","type":"string"}],
        "Sources":[{"name":"RPC00B","segment":"Images","index":0}]})");
    auto result = runTool("table " + sample() + " '" + definition.string() + "' --json");
    ASSERT_EQ(result.status, 0);
    const Json table = Json::parse(result.out);
    ASSERT_EQ(table["fields"].size(), 3U);
    EXPECT_EQ(table["fields"][1]["type"], "double");
    ASSERT_EQ(table["rows"].size(), 1U);
    EXPECT_EQ(table["rows"][0][0], "1");
    EXPECT_TRUE(table["rows"][0][2].is_null());
    result = runTool("table " + sample() + " '" + definition.string() + "' --csv");
    ASSERT_EQ(result.status, 0);
    EXPECT_EQ(result.out.substr(0, result.out.find('\n')), "SUCCESS,ERR_BIAS,NOPE");
    result = runTool("table " + sample() + " '" + definition.string() + "'");
    EXPECT_EQ(result.out.substr(0, result.out.find('\n')), "SUCCESS\tERR_BIAS\tNOPE");
}

TEST_F(ProductCommands, TableWithABadDefinitionFails) {
    const fs::path definition = dir_ / "bad.json";
    file_test::writeFile(definition, R"({"TableType":"MultiTRE","Fields":"[{","Sources":"[]"})");
    auto result = runTool("table " + sample() + " '" + definition.string() + "' 2>&1");
    EXPECT_NE(result.status, 0);
    EXPECT_NE(result.out.find("bad table definition"), std::string::npos) << result.out;
    file_test::writeFile(definition, R"({"TableType":"Other"})");
    result = runTool("table " + sample() + " '" + definition.string() + "' 2>&1");
    EXPECT_NE(result.status, 0);
    EXPECT_NE(result.out.find("no table reader"), std::string::npos) << result.out;
    file_test::writeFile(definition, "not json");
    result = runTool("table " + sample() + " '" + definition.string() + "' 2>&1");
    EXPECT_NE(result.status, 0);
    EXPECT_NE(result.out.find("is not a JSON object"), std::string::npos) << result.out;
}

TEST_F(ProductCommands, TableColumnNamingNoFieldIsReported) {
    const fs::path definition = dir_ / "rpc.json";
    file_test::writeFile(definition, R"({"TableType":"MultiTRE",
        "Fields":[{"name":"SUCCESS","type":"integer"},{"name":"NOPE","type":"string"}],
        "Sources":[{"name":"RPC00B","segment":"Images","index":0}]})");
    auto result = runTool("table " + sample() + " '" + definition.string() + "' --csv 2>&1");
    ASSERT_EQ(result.status, 0) << result.out;
    EXPECT_NE(result.out.find("warning: column 'NOPE' has no value in any row"), std::string::npos)
        << result.out;
    EXPECT_EQ(result.out.find("column 'SUCCESS'"), std::string::npos) << result.out;
}

TEST_F(ProductCommands, TableWhoseCountFieldIsNoNumberFails) {
    const fs::path frame =
        fs::path(TESSEL_SHARED_DIR) / "corpus" / "codice" / "fromOSGEO" / "0000M033.GN3";
    if (!fs::exists(frame)) {
        GTEST_SKIP() << "no shared corpus";
    }
    const fs::path definition = dir_ / "count.json";
    const std::string rest = R"(,"Fields":[{"name":"LOCID.uint","type":"integer"}],
        "Sources":[{"name":"RPFIMG","segment":"Images","index":0}]})";
    file_test::writeFile(definition,
                         R"({"TableType":"SingleTRE","RowCountField":"SECRECS.uint")" + rest);
    const std::string command = "table '" + frame.string() + "' '" + definition.string() + "'";
    auto result = runTool(command + " --csv 2>&1");
    ASSERT_EQ(result.status, 0) << result.out;
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 16) << result.out;
    // The table data are thousands of bytes: no four-byte count.
    file_test::writeFile(definition,
                         R"({"TableType":"SingleTRE","RowCountField":"TABLEDATA")" + rest);
    result = runTool(command + " --csv 2>&1");
    EXPECT_NE(result.status, 0) << result.out;
    EXPECT_NE(result.out.find("tessel table: Field 'TABLEDATA' of RPFIMG is not an integer"),
              std::string::npos)
        << result.out;
}

}  // namespace
