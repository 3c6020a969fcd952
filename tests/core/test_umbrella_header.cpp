#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "support/TestPaths.h"
#include "tessel/Tessel.h"

// The umbrella header must grow with the library: every public header is in it.
TEST(UmbrellaHeader, IncludesEveryPublicHeader) {
    const std::filesystem::path include = std::filesystem::path(TESSEL_SOURCE_DIR) / "include";
    std::ifstream in(include / "tessel" / "Tessel.h");
    ASSERT_TRUE(in);
    std::stringstream text;
    text << in.rdbuf();
    size_t headers = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(include / "tessel")) {
        const auto relative = std::filesystem::relative(entry.path(), include).generic_string();
        if (entry.path().extension() != ".h" || relative == "tessel/Tessel.h") {
            continue;
        }
        ++headers;
        EXPECT_NE(text.str().find("#include \"" + relative + "\""), std::string::npos)
            << relative << " is missing; run scripts/update-umbrella.sh";
    }
    EXPECT_GT(headers, 10u);
}
