// tessel sensor with the replacement sensor model, on a file whose RSM TREs GDAL writes from
// tests/sensors/rsm_reference.py; the reference's own evaluation is the expected answer.

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "support/FileTestSupport.h"
#include "support/GdalOracle.h"
#include "support/RunTool.h"
#include "support/TempConfig.h"
#include "support/TestPaths.h"

namespace {

using nlohmann::json;

std::vector<std::string> rsmLines(const std::string& text) {
    std::vector<std::string> lines;
    std::stringstream in(text);
    std::string line;
    while (std::getline(in, line)) {
        lines.push_back(line);
    }
    return lines;
}

class SensorCommandRsmTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!tessel_test::gdalAvailable()) {
            GTEST_SKIP() << "GDAL's Python bindings are missing";
        }
        made = tessel_test::jsonFromCommand(std::string("/usr/bin/python3 '") + TESSEL_SOURCE_DIR +
                                            "/tests/sensors/rsm_reference.py' '" +
                                            dir.path().string() + "'");
        ASSERT_TRUE(made.contains("files")) << made.dump();
        file = made["files"][0];
    }

    tessel_test::ToolResult run(const std::string& options, const std::string& input) {
        const auto inputFile = dir.path() / "points.txt";
        file_test::writeFile(inputFile, input);
        return tessel_test::runTool("sensor " + file["path"].get<std::string>() + " " + options +
                                    " < " + inputFile.string() + " 2>" +
                                    (dir.path() / "err.txt").string());
    }
    std::string errors() { return file_test::readFile(dir.path() / "err.txt"); }

    tessel_test::TempConfig config;
    file_test::TempDir dir;
    json made;
    json file;
};

TEST_F(SensorCommandRsmTest, MapsPointsWithTheRsmModelBothWays) {
    std::string input;
    const json& points = file["points"];
    for (size_t i = 0; i < points.size(); i += 7) {
        input += std::to_string(points[i][0].get<double>()) + "," +
                 std::to_string(points[i][1].get<double>()) + "," +
                 std::to_string(points[i][2].get<double>()) + "\n";
    }
    const auto image = run("--model VEXA_RSM_POLY --to-image --json", input);
    ASSERT_EQ(image.status, 0) << errors();
    const auto lines = rsmLines(image.out);
    ASSERT_EQ(lines.size(), (points.size() + 6) / 7);
    // The text form of the input rounds the place to 1e-6 degree, a few pixels' hundredths.
    std::string ground;
    for (size_t n = 0; n < lines.size(); ++n) {
        const json& p = points[n * 7];
        const json value = json::parse(lines[n]);
        EXPECT_NEAR(value.at("line").get<double>(), p[4].get<double>(), 0.01) << lines[n];
        EXPECT_NEAR(value.at("sample").get<double>(), p[5].get<double>(), 0.01) << lines[n];
        char text[120];
        std::snprintf(text, sizeof text, "%.17g,%.17g,%.17g\n", p[4].get<double>(),
                      p[5].get<double>(), p[2].get<double>());
        ground += text;
    }
    const auto back = run("--model VEXA_RSM_POLY --to-ground", ground);
    ASSERT_EQ(back.status, 0) << errors();
    const auto places = rsmLines(back.out);
    ASSERT_EQ(places.size(), lines.size());
    for (size_t n = 0; n < places.size(); ++n) {
        const json& p = points[n * 7];
        double lat = 0, lon = 0, h = 0;
        ASSERT_EQ(std::sscanf(places[n].c_str(), "%lf,%lf,%lf", &lat, &lon, &h), 3) << places[n];
        EXPECT_NEAR(lat, p[0].get<double>(), 1e-7);
        EXPECT_NEAR(lon, p[1].get<double>(), 1e-7);
        EXPECT_EQ(h, p[2].get<double>());
    }
}

TEST_F(SensorCommandRsmTest, InfoNamesTheModelAndItsRecords) {
    const auto result = run("--model VEXA_RSM_POLY --info --json", "");
    ASSERT_EQ(result.status, 0) << errors();
    const json info = json::parse(result.out);
    EXPECT_EQ(info.at("model").at("name"), "VEXA_RSM_POLY");
    EXPECT_EQ(info.at("model").at("parameters").at("RSMPCA").size(), 4u);
    EXPECT_EQ(info.at("model").at("parameters").at("RSMIDA").at("GRNDD"), "G");
}

TEST_F(SensorCommandRsmTest, DebugOptionTracesEachStepOnStandardOutput) {
    file_test::writeFile(config.path(), R"({"Preferences":{"vexa_rsm.debug":2}})");
    const json& p = file["points"][0];
    const auto result =
        run("--model VEXA_RSM_POLY --to-image", std::to_string(p[0].get<double>()) + "," +
                                                    std::to_string(p[1].get<double>()) + "," +
                                                    std::to_string(p[2].get<double>()) + "\n");
    ASSERT_EQ(result.status, 0) << errors();
    EXPECT_NE(result.out.find("RSM_POLY::G2I: in([LLH: "), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("RSMPIA::Sec  : rSection(0), cSection(0), index(0)"),
              std::string::npos)
        << result.out;
    EXPECT_NE(result.out.find("RSM_POLY::G2I:     row = "), std::string::npos);
    EXPECT_NE(result.out.find("RSM_POLY::G2I: row("), std::string::npos);
    const auto inverse = run("--model VEXA_RSM_POLY --to-ground", "10,10,100\n");
    ASSERT_EQ(inverse.status, 0) << errors();
    EXPECT_NE(inverse.out.find("RSM_POLY::I2G: rcN("), std::string::npos) << inverse.out;
    EXPECT_NE(inverse.out.find("RSM_POLY::I2G: \xEE("), std::string::npos);
    EXPECT_NE(inverse.out.find("RSM_POLY::I2G: [0] llN("), std::string::npos);
    EXPECT_NE(inverse.out.find("RSM_POLY::I2G:     rowPartialLat = ("), std::string::npos);
    EXPECT_NE(inverse.out.find("\xEB{"), std::string::npos);
    EXPECT_NE(inverse.out.find("RSM_POLY::I2G: x("), std::string::npos);
    // Without the option, nothing but the answer.
    file_test::writeFile(config.path(), "{}");
    const auto quiet = run("--model VEXA_RSM_POLY --to-ground", "10,10,100\n");
    EXPECT_EQ(rsmLines(quiet.out).size(), 1u) << quiet.out;
}

}  // namespace
