// The tool on JPEG-compressed images: "info" names the codec, "read" keeps 12-bit samples
// in a 16-bit TIFF.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>

#include "platform/nitf/sha256.h"
#include "support/FileTestSupport.h"
#include "support/RasterFiles.h"
#include "support/RunTool.h"
#include "support/TestPaths.h"

namespace {

namespace fs = std::filesystem;

const fs::path fixtures = fs::path(TESSEL_SHARED_DIR) / "fixtures";

std::string quoted(const fs::path& path) {
    return "'" + path.string() + "'";
}

}  // namespace

TEST(TesselJpeg, InfoNamesJpegAsTheCodec) {
    const fs::path input = fixtures / "c3_rgb.ntf";
    if (!fs::exists(input)) {
        GTEST_SKIP() << "no fixture " << input;
    }
    const auto json = tessel_test::runTool("info " + quoted(input) + " --json");
    ASSERT_EQ(json.status, 0) << json.out;
    const auto details = nlohmann::json::parse(json.out);
    const auto& compression = details["images"][0]["details"]["compression"];
    EXPECT_EQ(compression["type"], "C3");
    EXPECT_EQ(compression["info"], (nlohmann::json{{"Type", "JPEG"}}));
    const auto text = tessel_test::runTool("info " + quoted(input));
    EXPECT_NE(text.out.find("codec    C3, Type=JPEG"), std::string::npos) << text.out;
}

TEST(TesselJpeg, ReadOfATwelveBitImageWritesSixteenBitTiff) {
    file_test::TempDir dir;
    for (const char* name : {"c3_u12", "c3_u12_abpp12_strips"}) {
        const fs::path input = fixtures / (std::string(name) + ".ntf");
        if (!fs::exists(input)) {
            GTEST_SKIP() << "no fixture " << input;
        }
        const fs::path output = dir / (std::string(name) + ".tif");
        const auto result =
            tessel_test::runTool("read " + quoted(input) + " -o " + quoted(output) + " 2>&1");
        ASSERT_EQ(result.status, 0) << result.out;
        const auto tiff = tessel_test::readTiff(output);
        ASSERT_TRUE(tiff.ok) << name;
        EXPECT_EQ(tiff.bits, 16) << name;
        EXPECT_EQ(tiff.format, SAMPLEFORMAT_UINT) << name;
        std::ifstream in(fs::path(input).replace_extension(".json"));
        const auto gdal = nlohmann::json::parse(in)["images"][0]["bands"][0];
        EXPECT_EQ(nitf_test::sha256Hex(tiff.planes[0]), gdal["sha256_readraster"]) << name;
    }
}
