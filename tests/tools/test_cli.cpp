#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/RunTool.h"
#include "support/TempConfig.h"

using tessel_test::runTool;

TEST(TesselCommand, UriJsonGivesProfileAndImageObject) {
    const auto result = runTool("uri 'C:/x/a.ntf/Prof/IM_4' --json");
    ASSERT_EQ(result.status, 0);
    const auto parts = nlohmann::json::parse(result.out);
    EXPECT_EQ(parts["profile"], "Prof");
    EXPECT_EQ(parts["object_name"], "IM_4");
    EXPECT_EQ(parts["object_type"], "image");
    EXPECT_EQ(parts["object_index"], 4);
    EXPECT_EQ(parts["path"], "C:/x/a.ntf");
    EXPECT_EQ(parts["canonical"], "C:/x/a.ntf/Prof#IM_4");
    EXPECT_EQ(parts["cache_key"], "C:/x/a.ntf");
}

TEST(TesselCommand, UriResolvesRelativeTextAgainstBase) {
    const auto result = runTool("uri a.ntf 'C:\\x' --json");
    ASSERT_EQ(result.status, 0);
    EXPECT_EQ(nlohmann::json::parse(result.out)["path"], "C:\\x/a.ntf");
}

TEST(TesselCommand, UriThatCannotBeParsedFailsWithMessage) {
    const auto result = runTool("uri 'C:/x/a.ntf/Prof/IM_x' 2>&1");
    EXPECT_NE(result.status, 0);
    EXPECT_NE(result.out.find("invalid stoi argument"), std::string::npos);
}

TEST(TesselCommand, UnknownCommandFailsOnStandardError) {
    EXPECT_EQ(runTool("frobnicate 2>/dev/null").status, 2);
    const auto result = runTool("frobnicate 2>&1");
    EXPECT_NE(result.out.find("unknown command"), std::string::npos);
}

TEST(TesselCommand, EveryCommandHasHelp) {
    for (const char* command : {"version", "versions", "uri", "config"}) {
        const auto result = runTool(std::string(command) + " --help");
        EXPECT_EQ(result.status, 0) << command;
        EXPECT_NE(result.out.find("usage: tessel "), std::string::npos) << command;
    }
}

TEST(TesselCommand, VersionsListIsJsonWithLibraryVersions) {
    const auto result = runTool("versions");
    ASSERT_EQ(result.status, 0);
    const auto listings = nlohmann::json::parse(result.out);
    ASSERT_TRUE(listings.contains("modules"));
    EXPECT_TRUE(listings["modules"]["value"].contains("openjpeg"));
    EXPECT_NE(runTool("versions no-such-listing 2>/dev/null").status, 0);
}

TEST(TesselCommand, ConfigSetGetAndList) {
    tessel_test::TempConfig config("");
    ASSERT_EQ(runTool("config set Preferences lumo.iopool.threads 3").status, 0);
    ASSERT_EQ(runTool("config set RasterSensors SENSOR_RPC on").status, 0);
    EXPECT_EQ(runTool("config get Preferences lumo.iopool.threads").out, "3\n");
    EXPECT_EQ(runTool("config get RasterSensors SENSOR_RPC").out, "on\n");
    const auto listed = nlohmann::json::parse(runTool("config list Preferences --json").out);
    EXPECT_EQ(listed["values"]["lumo.iopool.threads"], 3.0);
    EXPECT_EQ(listed["options"]["lumo.iopool.block_size"]["default"], 1048576);
    EXPECT_NE(runTool("config get Preferences missing.key 2>/dev/null").status, 0);
}
