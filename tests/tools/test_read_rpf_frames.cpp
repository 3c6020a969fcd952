// "tessel read" of RPF frames: a CADRG frame becomes a PNG in its map colours, a CIB frame a
// grey PNG, each pixel the colour that GDAL's colour table gives the frame's index there.

#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "platform/nitf/sha256.h"
#include "support/FileTestSupport.h"
#include "support/GdalOracle.h"
#include "support/RasterFiles.h"
#include "support/RunTool.h"
#include "support/TestPaths.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

const fs::path corpus = fs::path(TESSEL_SHARED_DIR) / "corpus";
const fs::path cadrgFrame = corpus / "codice/fromOSGEO/cadrg/001zc013.on1";
const fs::path cibFrame = corpus / "ogdi-test/rpf/ftdrum/rpf/n44w076/004crq26.i12";

tessel_test::ToolResult read(const fs::path& input, const fs::path& output) {
    return tessel_test::runTool("read '" + input.string() + "' -o '" + output.string() + "' 2>&1");
}

// The frame's indices as the tool writes them to TIFF, checked against GDAL's decoding, and
// GDAL's colour table of the frame.
struct Oracle {
    tessel_test::TiffRaster indices;
    json colours;
};

Oracle oracleFor(const fs::path& frame, const fs::path& dir) {
    Oracle oracle;
    const auto result = read(frame, dir / "index.tif");
    EXPECT_EQ(result.status, 0) << result.out;
    oracle.indices = tessel_test::readTiff(dir / "index.tif");
    EXPECT_TRUE(oracle.indices.ok);
    const json digests = tessel_test::gdalDigests({frame})[frame.string()];
    // No subframe of these frames is absent, so every index is GDAL's.
    std::vector<uint8_t> plane(oracle.indices.width * size_t{oracle.indices.height});
    for (uint32_t row = 0; row < oracle.indices.height; ++row) {
        for (uint32_t column = 0; column < oracle.indices.width; ++column) {
            plane[size_t{row} * oracle.indices.width + column] =
                oracle.indices.at<uint8_t>(0, row, column);
        }
    }
    EXPECT_EQ(nitf_test::sha256Hex(plane), digests[0]["bands"][0].get<std::string>()) << frame;
    oracle.colours = tessel_test::gdalColorTables({frame})[frame.string()];
    return oracle;
}

bool haveFrameAndGdal(const fs::path& frame) {
    return fs::exists(frame) && tessel_test::gdalAvailable();
}

TEST(TesselReadRpf, CadrgFrameToPngIsInItsMapColours) {
    if (!haveFrameAndGdal(cadrgFrame)) {
        GTEST_SKIP() << "no corpus frame or no GDAL";
    }
    file_test::TempDir dir;
    const Oracle oracle = oracleFor(cadrgFrame, dir.path());
    const auto result = read(cadrgFrame, dir / "frame.png");
    ASSERT_EQ(result.status, 0) << result.out;
    const auto png = tessel_test::readPng(dir / "frame.png");
    ASSERT_TRUE(png.ok);
    ASSERT_EQ(png.channels, 3);
    ASSERT_EQ(png.width, 1536u);
    ASSERT_EQ(png.height, 1536u);
    std::set<uint32_t> distinct;
    for (uint32_t row = 0; row < png.height; ++row) {
        for (uint32_t column = 0; column < png.width; ++column) {
            const uint8_t index = oracle.indices.at<uint8_t>(0, row, column);
            ASSERT_LT(index, 216) << row << "," << column;
            const json& colour = oracle.colours[index];
            uint32_t packed = 0;
            for (int channel = 0; channel < 3; ++channel) {
                ASSERT_EQ(png.at(row, column, channel), colour[channel].get<int>())
                    << row << "," << column;
                packed = packed << 8 | png.at(row, column, channel);
            }
            distinct.insert(packed);
        }
    }
    EXPECT_GT(distinct.size(), 20u);  // a map, not a flat fill
}

TEST(TesselReadRpf, CibFrameToPngIsGrey) {
    if (!haveFrameAndGdal(cibFrame)) {
        GTEST_SKIP() << "no corpus frame or no GDAL";
    }
    file_test::TempDir dir;
    const Oracle oracle = oracleFor(cibFrame, dir.path());
    const auto result = read(cibFrame, dir / "frame.png");
    ASSERT_EQ(result.status, 0) << result.out;
    const auto png = tessel_test::readPng(dir / "frame.png");
    ASSERT_TRUE(png.ok);
    ASSERT_EQ(png.channels, 1);
    ASSERT_EQ(png.width, 1536u);
    std::set<uint8_t> distinct;
    for (uint32_t row = 0; row < png.height; ++row) {
        for (uint32_t column = 0; column < png.width; ++column) {
            const uint8_t index = oracle.indices.at<uint8_t>(0, row, column);
            ASSERT_LT(index, 216) << row << "," << column;
            const json& colour = oracle.colours[index];
            // A grey table: GDAL's three components are equal.
            ASSERT_EQ(colour[0], colour[1]);
            ASSERT_EQ(png.at(row, column, 0), colour[0].get<int>()) << row << "," << column;
            distinct.insert(png.at(row, column, 0));
        }
    }
    EXPECT_GT(distinct.size(), 20u);
}

}  // namespace
