#include <gtest/gtest.h>

#include <cstdio>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "support/FileTestSupport.h"
#include "support/RpcFiles.h"
#include "support/RunTool.h"
#include "support/TempConfig.h"
#include "tessel/sensors/RasterSensorFactory.h"

namespace {

using nlohmann::json;
using VEXASensors::ImageCoord;
using VEXASensors::LLHCoord;
using VEXASensors::RasterSensorFactory;

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::stringstream in(text);
    std::string line;
    while (std::getline(in, line)) {
        lines.push_back(line);
    }
    return lines;
}

std::string g17(double value) {
    char text[40];
    std::snprintf(text, sizeof text, "%.17g", value);
    return text;
}

class SensorCommandTest : public ::testing::Test {
protected:
    void SetUp() override {
        RasterSensorFactory::reset();
        file = dir / "rpc.ntf";
        tessel_test::writeRpcFile(file);
    }
    void TearDown() override { RasterSensorFactory::reset(); }

    tessel_test::ToolResult run(const std::string& options, const std::string& input) {
        const auto inputFile = dir / "points.txt";
        file_test::writeFile(inputFile, input);
        return tessel_test::runTool("sensor " + file.string() + " " + options + " < " +
                                    inputFile.string() + " 2>" + (dir / "err.txt").string());
    }
    std::string errors() { return file_test::readFile(dir / "err.txt"); }

    tessel_test::TempConfig config;
    file_test::TempDir dir;
    std::filesystem::path file;
};

TEST_F(SensorCommandTest, ToImageWritesLineAndSampleAtFullPrecision) {
    const auto result = run("--to-image", "42.31,20.12,250\n42.29, 20.08 ,-10\n");
    ASSERT_EQ(result.status, 0) << errors();
    const auto lines = linesOf(result.out);
    ASSERT_EQ(lines.size(), 2u) << result.out;
    const auto sensor = RasterSensorFactory::get().createRasterSensorFromFile(file);
    const auto first = sensor.groundToImage_llh(LLHCoord(42.31, 20.12, 250));
    const auto second = sensor.groundToImage_llh(LLHCoord(42.29, 20.08, -10));
    EXPECT_EQ(lines[0], g17(first->line) + "," + g17(first->samp));
    EXPECT_EQ(lines[1], g17(second->line) + "," + g17(second->samp));
}

TEST_F(SensorCommandTest, ToGroundWritesLatitudeLongitudeHeight) {
    const auto result = run("--to-ground", "10.5,20.25,100\n");
    ASSERT_EQ(result.status, 0) << errors();
    const auto lines = linesOf(result.out);
    ASSERT_EQ(lines.size(), 1u);
    const auto sensor = RasterSensorFactory::get().createRasterSensorFromFile(file);
    const auto ground = sensor.imageToGround_llh(ImageCoord(10.5, 20.25), 100);
    EXPECT_EQ(lines[0], g17(ground->lat) + "," + g17(ground->lon) + "," + g17(ground->height));
    // And back to the same image point.
    const auto back = run("--to-image", lines[0] + "\n");
    const auto image = linesOf(back.out);
    ASSERT_EQ(image.size(), 1u);
    const size_t comma = image[0].find(',');
    EXPECT_NEAR(std::stod(image[0].substr(0, comma)), 10.5, 1e-3);
    EXPECT_NEAR(std::stod(image[0].substr(comma + 1)), 20.25, 1e-3);
}

TEST_F(SensorCommandTest, UnmappablePointGivesAnEmptyLineAndTheCommandGoesOn) {
    const auto result = run("--to-image",
                            "42.3,20.1,0\nnot a point\n1,2\n1,2,3,4\n42.3,20.1,nan\n"
                            "42.3,20.1,0\n");
    ASSERT_EQ(result.status, 0) << errors();
    const auto lines = linesOf(result.out);
    ASSERT_EQ(lines.size(), 6u) << result.out;
    EXPECT_FALSE(lines[0].empty());
    for (size_t i = 1; i < 5; ++i) {
        EXPECT_EQ(lines[i], "") << i;
    }
    EXPECT_EQ(lines[5], lines[0]);
}

TEST_F(SensorCommandTest, JsonWritesOneObjectPerPointAndNullForFailures) {
    const auto result = run("--to-image --json", "42.31,20.12,250\nbad\n");
    ASSERT_EQ(result.status, 0) << errors();
    const auto lines = linesOf(result.out);
    ASSERT_EQ(lines.size(), 2u);
    const json point = json::parse(lines[0]);
    const auto sensor = RasterSensorFactory::get().createRasterSensorFromFile(file);
    const auto expected = sensor.groundToImage_llh(LLHCoord(42.31, 20.12, 250));
    EXPECT_EQ(point.at("line").get<double>(), expected->line);
    EXPECT_EQ(point.at("sample").get<double>(), expected->samp);
    EXPECT_EQ(lines[1], "null");
    const auto ground = run("--to-ground --json", "1,2,3\n");
    const json value = json::parse(linesOf(ground.out).at(0));
    EXPECT_TRUE(value.contains("latitude") && value.contains("longitude") &&
                value.contains("height"));
    EXPECT_EQ(value.at("height").get<double>(), 3.0);
}

TEST_F(SensorCommandTest, InfoListsTheModelsAndTheChosenOnesParameters) {
    const auto result = run("--info --json", "");
    ASSERT_EQ(result.status, 0) << errors();
    const json info = json::parse(result.out);
    EXPECT_EQ(info.at("models"), json::array({"VEXA_RPC_B"}));
    EXPECT_EQ(info.at("model").at("name"), "VEXA_RPC_B");
    EXPECT_EQ(info.at("model").at("family"), "GeometricRaster");
    EXPECT_EQ(info.at("model").at("validHeightRange"), json::array({-400.0, 600.0}));
    EXPECT_EQ(info.at("model").at("parameters").at("RPC00B").at("LAT_OFF"), 42.3);
    const auto text = run("--info", "");
    ASSERT_EQ(text.status, 0);
    EXPECT_NE(text.out.find("VEXA_RPC_B"), std::string::npos);
}

TEST_F(SensorCommandTest, ModelThatCantBeBuiltFailsWithAMessage) {
    const auto result = run("--model VEXA_RPC_A --to-image", "42.3,20.1,0\n");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_NE(errors().find("model VEXA_RPC_A can't be built for"), std::string::npos) << errors();
    const auto chosen = run("--model VEXA_RPC_B --to-image", "42.3,20.1,0\n");
    EXPECT_EQ(chosen.status, 0);
    EXPECT_EQ(linesOf(chosen.out).size(), 1u);
}

TEST_F(SensorCommandTest, FileWithoutModelAndBadOptionsFail) {
    file_test::writeFile(file, "plain text");
    EXPECT_EQ(run("--to-image", "").status, 1);
    EXPECT_NE(errors().find("no sensor model can be built"), std::string::npos) << errors();
    tessel_test::writeRpcFile(file);
    EXPECT_EQ(run("--to-image --to-ground", "").status, 1);
    EXPECT_EQ(run("", "").status, 1);
}

}  // namespace
