#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <string>
#include <vector>

#include "support/RunTool.h"

using tessel_test::runTool;

TEST(TesselCommand, VersionsShowsTheRegisteredExtensions) {
    const auto result = runTool("versions nitf-tres");
    ASSERT_EQ(result.status, 0);
    const auto listing = nlohmann::json::parse(result.out)["nitf-tres"];
    EXPECT_EQ(listing["description"], "List Registered NITF TREs");
    std::vector<std::string> names;
    for (const auto& entry : listing["value"]) {
        names.push_back(entry["name"].get<std::string>());
    }
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
    // The library's own definitions, and extensions of the handler registry's built-in set.
    for (const char* name : {"BANDSB", "CSATTA DES", "CSSHPA_DES", "CSSHPB", "RPFIMG", "RPC00B"}) {
        EXPECT_NE(std::find(names.begin(), names.end(), name), names.end()) << name;
    }
}
