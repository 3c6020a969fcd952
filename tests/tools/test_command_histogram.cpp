#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <numeric>
#include <string>

#include "support/RunTool.h"
#include "support/TestPaths.h"

using tessel_test::runTool;

namespace {

std::string shellQuoted(const std::string& text) {
    std::string out = "'";
    for (const char c : text) {
        out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return out + "'";
}

const std::string sample = TESSEL_SAMPLE_FILE;

struct Moments {
    uint64_t count = 0;
    double min = 1e300, max = -1e300, mean = 0, stddev = 0;
};

// The statistics of the sample's gradient, 2 * row + 2 * column, without the value 0: the
// lowest value of the range never counts.
Moments gradientMoments() {
    Moments m;
    double sum = 0, squares = 0;
    for (int row = 0; row < 48; ++row) {
        for (int column = 0; column < 64; ++column) {
            const double value = 2.0 * row + 2.0 * column;
            if (value == 0) {
                continue;
            }
            ++m.count;
            sum += value;
            squares += value * value;
            m.min = std::min(m.min, value);
            m.max = std::max(m.max, value);
        }
    }
    m.mean = sum / static_cast<double>(m.count);
    const double n = static_cast<double>(m.count);
    m.stddev = std::sqrt((squares - n * m.mean * m.mean) / (n - 1));
    return m;
}

TEST(TesselHistogram, JsonHoldsTheWholeHistogram) {
    const auto result = runTool("histogram " + shellQuoted(sample) + " --json");
    ASSERT_EQ(result.status, 0) << result.out;
    const auto json = nlohmann::json::parse(result.out);
    const Moments expected = gradientMoments();
    EXPECT_EQ(json["band"], 0);
    EXPECT_EQ(json["step"], 1);
    EXPECT_DOUBLE_EQ(json["min"].get<double>(), expected.min);
    EXPECT_DOUBLE_EQ(json["max"].get<double>(), expected.max);
    EXPECT_NEAR(json["mean"].get<double>(), expected.mean, 1e-9);
    EXPECT_NEAR(json["stddev"].get<double>(), expected.stddev, 1e-9);
    EXPECT_DOUBLE_EQ(json["offset"].get<double>(), 0.0);
    EXPECT_DOUBLE_EQ(json["scale"].get<double>(), 1.0);
    const auto bins = json["bins"].get<std::vector<uint64_t>>();
    ASSERT_EQ(bins.size(), 255u);
    EXPECT_EQ(std::accumulate(bins.begin(), bins.end(), uint64_t{0}), expected.count);
    EXPECT_EQ(bins[0], 0u);
    EXPECT_EQ(bins[1], 0u);    // odd values don't occur
    EXPECT_EQ(bins[2], 2u);    // (0,1) and (1,0)
    EXPECT_EQ(bins[220], 1u);  // (47,63) only
}

TEST(TesselHistogram, TextShowsStatisticsAndNonEmptyBins) {
    const auto result = runTool("histogram " + shellQuoted(sample));
    ASSERT_EQ(result.status, 0) << result.out;
    for (const char* text : {"band     0", "step     1", "min      2", "max      220",
                             "offset 0, scale 1, 255 bins", "value 2 ", "value 220 "}) {
        EXPECT_NE(result.out.find(text), std::string::npos) << text << "\n" << result.out;
    }
    EXPECT_EQ(result.out.find("value 3 "), std::string::npos) << "empty bins aren't listed";
    EXPECT_NE(result.out.find("mean"), std::string::npos);
    EXPECT_NE(result.out.find("stddev"), std::string::npos);
}

TEST(TesselHistogram, BandOfTheRgbImage) {
    const auto result = runTool("histogram " + shellQuoted(sample + "#IM_1") + " --band 2 --json");
    ASSERT_EQ(result.status, 0) << result.out;
    const auto json = nlohmann::json::parse(result.out);
    EXPECT_EQ(json["band"], 2);
    // Blue is 8 * (row + column): 8 occurs twice, 240 once, 0 not at all.
    const auto bins = json["bins"].get<std::vector<uint64_t>>();
    ASSERT_EQ(bins.size(), 255u);
    EXPECT_EQ(bins[8], 2u);
    EXPECT_EQ(bins[240], 1u);
    EXPECT_DOUBLE_EQ(json["max"].get<double>(), 240.0);
}

TEST(TesselHistogram, CentralTilesOfASmallImageAreAllTiles) {
    const auto all = runTool("histogram " + shellQuoted(sample) + " --json");
    const auto central = runTool("histogram " + shellQuoted(sample) + " --step 4294967295 --json");
    ASSERT_EQ(central.status, 0) << central.out;
    const auto a = nlohmann::json::parse(all.out);
    const auto c = nlohmann::json::parse(central.out);
    EXPECT_EQ(a["bins"], c["bins"]);
    EXPECT_EQ(c["step"], 2);  // the columns of tiles taken
}

TEST(TesselHistogram, BadRequestsFail) {
    for (const auto& [arguments, message] : std::vector<std::pair<std::string, std::string>>{
             {shellQuoted(sample) + " --band 1", "band 1 doesn't exist"},
             {shellQuoted(sample) + " --band x", "is not an unsigned number"},
             {shellQuoted(sample + "#IM_2"), "no image 2"},
             {shellQuoted("/nonexistent/file.ntf"), "No such file or directory"},
             {"", "expected one URI"},
             {shellQuoted(sample) + " --bins 3", "unknown option --bins"}}) {
        const auto result = runTool("histogram " + arguments + " 2>&1");
        EXPECT_EQ(result.status, 1) << arguments;
        EXPECT_NE(result.out.find(message), std::string::npos) << arguments << "\n" << result.out;
    }
}

}  // namespace
