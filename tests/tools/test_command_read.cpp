#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "platform/nitf/sha256.h"
#include "support/FileTestSupport.h"
#include "support/RasterFiles.h"
#include "support/RunTool.h"
#include "support/TestPaths.h"

using tessel_test::readPng;
using tessel_test::readTiff;
using tessel_test::runTool;

namespace {

namespace fs = std::filesystem;

std::string shellQuoted(const fs::path& path) {
    std::string out = "'";
    for (const char c : path.string()) {
        out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return out + "'";
}

const std::string sample = TESSEL_SAMPLE_FILE;
const std::string sampleRgb = std::string(TESSEL_SAMPLE_FILE) + "#IM_1";

// The sample's first image: 64 x 48, pixel (row, col) = 2 * row + 2 * col.
uint8_t gradient(uint32_t row, uint32_t column) {
    return static_cast<uint8_t>(2 * row + 2 * column);
}

// The sample's second image: 16 x 16 RGB.
uint8_t rgb(int band, uint32_t row, uint32_t column) {
    switch (band) {
        case 0:
            return static_cast<uint8_t>(16 * column);
        case 1:
            return static_cast<uint8_t>(16 * row);
        default:
            return static_cast<uint8_t>(8 * (row + column));
    }
}

// Runs "read" with standard error folded into the output.
tessel_test::ToolResult read(const std::string& uri, const fs::path& output,
                             const std::string& options = {}) {
    return runTool("read " + shellQuoted(uri) + " -o " + shellQuoted(output) + " " + options +
                   " 2>&1");
}

TEST(TesselRead, GradientToTiffKeepsEveryPixel) {
    file_test::TempDir dir;
    const auto result = read(sample, dir / "out.tif");
    ASSERT_EQ(result.status, 0) << result.out;
    const auto tiff = readTiff(dir / "out.tif");
    ASSERT_TRUE(tiff.ok);
    EXPECT_EQ(tiff.width, 64u);
    EXPECT_EQ(tiff.height, 48u);
    EXPECT_EQ(tiff.samples, 1);
    EXPECT_EQ(tiff.bits, 8);
    EXPECT_EQ(tiff.format, SAMPLEFORMAT_UINT);
    EXPECT_EQ(tiff.photometric, PHOTOMETRIC_MINISBLACK);
    for (uint32_t row = 0; row < 48; ++row) {
        for (uint32_t column = 0; column < 64; ++column) {
            ASSERT_EQ(tiff.at<uint8_t>(0, row, column), gradient(row, column))
                << row << "," << column;
        }
    }
    EXPECT_NE(result.out.find("64 x 48, 1 band(s) of 8 bit(s)"), std::string::npos) << result.out;
}

TEST(TesselRead, RgbImageToTiffHasOnePlanePerBand) {
    file_test::TempDir dir;
    const auto result = read(sampleRgb, dir / "out.tiff");
    ASSERT_EQ(result.status, 0) << result.out;
    const auto tiff = readTiff(dir / "out.tiff");
    ASSERT_TRUE(tiff.ok);
    EXPECT_EQ(tiff.samples, 3);
    EXPECT_EQ(tiff.planar, PLANARCONFIG_SEPARATE);
    EXPECT_EQ(tiff.photometric, PHOTOMETRIC_RGB);
    for (int band = 0; band < 3; ++band) {
        for (uint32_t row = 0; row < 16; ++row) {
            for (uint32_t column = 0; column < 16; ++column) {
                ASSERT_EQ(tiff.at<uint8_t>(static_cast<size_t>(band), row, column),
                          rgb(band, row, column))
                    << band << ":" << row << "," << column;
            }
        }
    }
}

TEST(TesselRead, RgbImageToPngIsInterleavedRgb) {
    file_test::TempDir dir;
    const auto result = read(sampleRgb, dir / "out.PNG");
    ASSERT_EQ(result.status, 0) << result.out;
    const auto png = readPng(dir / "out.PNG");
    ASSERT_TRUE(png.ok);
    EXPECT_EQ(png.width, 16u);
    EXPECT_EQ(png.height, 16u);
    EXPECT_EQ(png.channels, 3);
    EXPECT_EQ(png.bitDepth, 8);
    for (uint32_t row = 0; row < 16; ++row) {
        for (uint32_t column = 0; column < 16; ++column) {
            for (int band = 0; band < 3; ++band) {
                ASSERT_EQ(png.at(row, column, band), rgb(band, row, column));
            }
        }
    }
}

TEST(TesselRead, GradientToPngIsGrey) {
    file_test::TempDir dir;
    ASSERT_EQ(read(sample, dir / "out.png").status, 0);
    const auto png = readPng(dir / "out.png");
    ASSERT_TRUE(png.ok);
    EXPECT_EQ(png.channels, 1);
    for (uint32_t row = 0; row < 48; ++row) {
        for (uint32_t column = 0; column < 64; ++column) {
            ASSERT_EQ(png.at(row, column, 0), gradient(row, column));
        }
    }
}

// 10,5 lies inside the first block; the window crosses both block seams (32, 24).
TEST(TesselRead, WindowAcrossBlockSeamsStartsAtItsOrigin) {
    file_test::TempDir dir;
    const auto result = read(sample, dir / "out.tif", "--window 10,5,40,30");
    ASSERT_EQ(result.status, 0) << result.out;
    const auto tiff = readTiff(dir / "out.tif");
    ASSERT_TRUE(tiff.ok);
    ASSERT_EQ(tiff.width, 40u);
    ASSERT_EQ(tiff.height, 30u);
    for (uint32_t row = 0; row < 30; ++row) {
        for (uint32_t column = 0; column < 40; ++column) {
            ASSERT_EQ(tiff.at<uint8_t>(0, row, column), gradient(row + 5, column + 10));
        }
    }
}

TEST(TesselRead, SizeHalvesByNearestNeighbour) {
    file_test::TempDir dir;
    const auto result = read(sample, dir / "out.tif", "--size 32,24");
    ASSERT_EQ(result.status, 0) << result.out;
    const auto tiff = readTiff(dir / "out.tif");
    ASSERT_TRUE(tiff.ok);
    ASSERT_EQ(tiff.width, 32u);
    ASSERT_EQ(tiff.height, 24u);
    for (uint32_t row = 0; row < 24; ++row) {
        for (uint32_t column = 0; column < 32; ++column) {
            ASSERT_EQ(tiff.at<uint8_t>(0, row, column), gradient(2 * row, 2 * column));
        }
    }
}

// Strips of a few rows give the same pixels as one read, resampled in width or not. A read
// resampled in height is read at once whatever the strip size.
TEST(TesselRead, StripsOfFewRowsReadLikeOneRead) {
    file_test::TempDir dir;
    for (const auto& [options, cut] :
         std::vector<std::pair<std::string, bool>>{{"--window 3,7,50,40 --size 25,40", true},
                                                   {"--window 3,7,50,40 --size 25,20", false},
                                                   {"--size 64,32", false}}) {
        ASSERT_EQ(read(sample, dir / "whole.tif", options).status, 0);
        const auto result = read(sample, dir / "strips.tif", options + " --strip-rows 3");
        ASSERT_EQ(result.status, 0) << result.out;
        const auto whole = readTiff(dir / "whole.tif");
        const auto strips = readTiff(dir / "strips.tif");
        ASSERT_TRUE(whole.ok && strips.ok);
        EXPECT_EQ(strips.strips > whole.strips, cut) << options;
        EXPECT_EQ(whole.planes, strips.planes) << options;
    }
    ASSERT_EQ(read(sample, dir / "strips.tif", "--strip-rows 5").status, 0);
    const auto strips = readTiff(dir / "strips.tif");
    ASSERT_TRUE(strips.ok);
    EXPECT_EQ(strips.strips, 10u);  // 48 rows in strips of 5
    for (uint32_t row = 0; row < 48; ++row) {
        for (uint32_t column = 0; column < 64; ++column) {
            ASSERT_EQ(strips.at<uint8_t>(0, row, column), gradient(row, column));
        }
    }
}

TEST(TesselRead, BandsChooseAndOrderThePlanes) {
    file_test::TempDir dir;
    const auto result = read(sampleRgb, dir / "out.tif", "--bands 2,0");
    ASSERT_EQ(result.status, 0) << result.out;
    const auto tiff = readTiff(dir / "out.tif");
    ASSERT_TRUE(tiff.ok);
    ASSERT_EQ(tiff.samples, 2);
    EXPECT_EQ(tiff.photometric, PHOTOMETRIC_MINISBLACK);
    for (uint32_t row = 0; row < 16; ++row) {
        for (uint32_t column = 0; column < 16; ++column) {
            ASSERT_EQ(tiff.at<uint8_t>(0, row, column), rgb(2, row, column));
            ASSERT_EQ(tiff.at<uint8_t>(1, row, column), rgb(0, row, column));
        }
    }
    // One band of three goes to PNG as grey.
    ASSERT_EQ(read(sampleRgb, dir / "green.png", "--bands=1").status, 0);
    const auto png = readPng(dir / "green.png");
    ASSERT_TRUE(png.ok);
    EXPECT_EQ(png.channels, 1);
    EXPECT_EQ(png.at(9, 4, 0), rgb(1, 9, 4));
}

TEST(TesselRead, OverviewFileIsReadAtItsLevel) {
    file_test::TempDir dir;
    const fs::path base = dir / "a.ntf";
    fs::copy_file(sample, base);
    fs::copy_file(sample, dir / "a.ntf.r1");
    const auto result = read(base.string() + "#IM_1", dir / "level.tif", "--level 1");
    // The overview's first image stands for level 1 of any image of the base file.
    ASSERT_EQ(result.status, 0) << result.out;
    const auto tiff = readTiff(dir / "level.tif");
    ASSERT_TRUE(tiff.ok);
    EXPECT_EQ(tiff.width, 64u);
    EXPECT_EQ(tiff.samples, 1);
    EXPECT_EQ(tiff.at<uint8_t>(0, 47, 63), gradient(47, 63));
}

// TIFF keeps the sample type: integers of every width, floats and complex samples, each
// plane byte for byte what GDAL decodes from the file.
TEST(TesselRead, TiffKeepsTheSampleTypeOfEveryImage) {
    const fs::path fixtures = fs::path(TESSEL_SHARED_DIR) / "fixtures";
    if (!fs::exists(fixtures)) {
        GTEST_SKIP() << "no fixtures at " << fixtures;
    }
    struct Expected {
        const char* name;
        uint16_t format;
        uint16_t bits;
    };
    file_test::TempDir dir;
    for (const auto& expected :
         {Expected{"nc_u16", SAMPLEFORMAT_UINT, 16}, Expected{"nc_i16", SAMPLEFORMAT_INT, 16},
          Expected{"nc_u32", SAMPLEFORMAT_UINT, 32}, Expected{"nc_i32", SAMPLEFORMAT_INT, 32},
          Expected{"nc_f32", SAMPLEFORMAT_IEEEFP, 32}, Expected{"nc_f64", SAMPLEFORMAT_IEEEFP, 64},
          Expected{"nc_c64", SAMPLEFORMAT_COMPLEXIEEEFP, 64}}) {
        const fs::path input = fixtures / (std::string(expected.name) + ".ntf");
        const fs::path output = dir / (std::string(expected.name) + ".tif");
        const auto result = read(input.string(), output);
        ASSERT_EQ(result.status, 0) << result.out;
        const auto tiff = readTiff(output);
        ASSERT_TRUE(tiff.ok) << expected.name;
        EXPECT_EQ(tiff.format, expected.format) << expected.name;
        EXPECT_EQ(tiff.bits, expected.bits) << expected.name;
        std::ifstream in(fs::path(input).replace_extension(".json"));
        const auto gdal = nlohmann::json::parse(in)["images"][0]["bands"][0];
        EXPECT_EQ(nitf_test::sha256Hex(tiff.planes[0]), gdal["sha256_readraster"]) << expected.name;
    }
    // Two 16-bit bands of one block in pixel interleave are one band of complex integers.
    const fs::path pair = fixtures / "derived_sicd_like_p_i16.ntf";
    ASSERT_EQ(read(pair.string(), dir / "pair.tif").status, 0);
    const auto tiff = readTiff(dir / "pair.tif");
    ASSERT_TRUE(tiff.ok);
    EXPECT_EQ(tiff.samples, 1);
    EXPECT_EQ(tiff.format, SAMPLEFORMAT_COMPLEXINT);
    EXPECT_EQ(tiff.bits, 32);
    std::vector<uint8_t> real, imaginary;
    for (size_t at = 0; at + 4 <= tiff.planes[0].size(); at += 4) {
        real.insert(real.end(), tiff.planes[0].begin() + static_cast<long>(at),
                    tiff.planes[0].begin() + static_cast<long>(at + 2));
        imaginary.insert(imaginary.end(), tiff.planes[0].begin() + static_cast<long>(at + 2),
                         tiff.planes[0].begin() + static_cast<long>(at + 4));
    }
    std::ifstream in(fs::path(pair).replace_extension(".json"));
    const auto sidecar = nlohmann::json::parse(in);
    EXPECT_EQ(nitf_test::sha256Hex(real), sidecar["source_sha256"][0]);
    EXPECT_EQ(nitf_test::sha256Hex(imaginary), sidecar["source_sha256"][1]);
}

// A palette image goes to PNG through its colour table: each index becomes the colour that
// GDAL lists for it.
TEST(TesselRead, PaletteImageToPngIsExpandedToRgb) {
    const fs::path lut = fs::path(TESSEL_SHARED_DIR) / "fixtures" / "nc_lut256.ntf";
    if (!fs::exists(lut)) {
        GTEST_SKIP() << "no fixture " << lut;
    }
    std::ifstream in(fs::path(lut).replace_extension(".json"));
    const auto table = nlohmann::json::parse(in)["images"][0]["bands"][0]["color_table"];
    file_test::TempDir dir;
    ASSERT_EQ(read(lut.string(), dir / "index.tif").status, 0);
    const auto result = read(lut.string(), dir / "colour.png");
    ASSERT_EQ(result.status, 0) << result.out;
    const auto indices = readTiff(dir / "index.tif");
    const auto png = readPng(dir / "colour.png");
    ASSERT_TRUE(indices.ok && png.ok);
    ASSERT_EQ(png.channels, 3);
    ASSERT_EQ(png.width, indices.width);
    for (uint32_t row = 0; row < png.height; ++row) {
        for (uint32_t column = 0; column < png.width; ++column) {
            const auto& colour = table[indices.at<uint8_t>(0, row, column)];
            for (int channel = 0; channel < 3; ++channel) {
                ASSERT_EQ(png.at(row, column, channel), colour[static_cast<size_t>(channel)])
                    << row << "," << column;
            }
        }
    }
}

struct Refusal {
    std::string uri;
    std::string options;
    std::string message;
};

TEST(TesselRead, BadRequestsFailWithAClearMessage) {
    file_test::TempDir dir;
    const std::string missing = (dir / "missing.ntf").string();
    const std::vector<Refusal> refusals{
        {missing, "", "No such file or directory"},
        {sample + "#IM_5", "", "no image 5"},
        {sample, "--window 40,30,30,20", "lies outside the image (64 x 48)"},
        {sample, "--window 1,2,3", "expected 4 numbers"},
        {sample, "--window 0,0,0,5", "at least 1"},
        {sample, "--size 10,x", "is not an unsigned number"},
        {sample, "--bands 1", "band 1 doesn't exist"},
        {sample, "--level 1", "no pyramid level 1"},
        {sample, "--frobnicate", "unknown option --frobnicate"},
        {sample, "--level", "--level needs a value"},
        {sampleRgb, "--bands 0,1", "PNG takes one band"},
        {sample, "--window 0,0,8,8 -o /nonexistent/folder/out.tif", "can't create"},
    };
    for (const auto& refusal : refusals) {
        const fs::path output =
            dir / (refusal.message.find("PNG") != std::string::npos ? "out.png" : "out.tif");
        const auto result = read(refusal.uri, output, refusal.options);
        EXPECT_EQ(result.status, 1) << refusal.options;
        EXPECT_NE(result.out.find("tessel read: "), std::string::npos) << result.out;
        EXPECT_NE(result.out.find(refusal.message), std::string::npos) << refusal.options << "\n"
                                                                       << result.out;
    }
    const auto noOutput = runTool("read " + shellQuoted(sample) + " 2>&1");
    EXPECT_EQ(noOutput.status, 1);
    EXPECT_NE(noOutput.out.find("-o FILE"), std::string::npos) << noOutput.out;
    EXPECT_FALSE(fs::exists(dir / "out.tif"));
    EXPECT_FALSE(fs::exists(dir / "out.png"));
    const auto badExtension = read(sample, dir / "out.jpg");
    EXPECT_EQ(badExtension.status, 1);
    EXPECT_NE(badExtension.out.find(".tif, .tiff or .png"), std::string::npos);
    EXPECT_FALSE(fs::exists(dir / "out.jpg"));
}

// A progress bar is for a terminal only: with standard error in a pipe nothing is drawn.
TEST(TesselRead, NoProgressBarOutsideATerminal) {
    file_test::TempDir dir;
    const auto result = read(sample, dir / "out.tif", "--strip-rows 1");
    ASSERT_EQ(result.status, 0);
    EXPECT_EQ(result.out.find("reading"), std::string::npos) << result.out;
    EXPECT_EQ(result.out.find('\r'), std::string::npos);
}

}  // namespace
