// The tessel command on JPEG 2000 images: "info" shows the codestream's facts, and "read
// --level N" reads the codestream's resolution levels.

#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>

#include "platform/nitf/sha256.h"
#include "platform/scoped_environment.h"
#include "support/FileTestSupport.h"
#include "support/GdalOracle.h"
#include "support/J2KCodestream.h"
#include "support/RasterFiles.h"
#include "support/RunTool.h"
#include "support/TempConfig.h"
#include "support/TestPaths.h"

namespace {

namespace fs = std::filesystem;
using tessel_test::runTool;

std::string quoted(const fs::path& path) {
    return "'" + path.string() + "'";
}

// A codestream of square tiles `tile` wide, with its resolutions, layers and order.
tessel_test::CodestreamShape tiledShape(uint32_t width, uint32_t height, uint32_t tile,
                                        int resolutions, int layers, OPJ_PROG_ORDER order) {
    tessel_test::CodestreamShape shape;
    shape.width = width;
    shape.height = height;
    shape.tileWidth = tile;
    shape.tileHeight = tile;
    shape.resolutions = resolutions;
    shape.layers = layers;
    shape.order = order;
    return shape;
}

// info.ntf in `dir`: one image of that codestream.
fs::path writeInfoFile(const fs::path& dir, const tessel_test::CodestreamShape& shape) {
    const fs::path file = dir / "info.ntf";
    tessel_test::writeJ2KFile(file, shape, tessel_test::encodeJ2K(shape));
    return file;
}

const char* const kOpenJPEGOn = R"({"Preferences": {"nitf.j2k.opj.enabled": true}})";

TEST(TesselJ2K, InfoShowsTheCodestreamFacts) {
    tessel_test::TempConfig config(kOpenJPEGOn);
    file_test::TempDir dir;
    tessel_test::CodestreamShape shape = tiledShape(120, 90, 64, 4, 3, OPJ_RPCL);
    shape.components = 3;
    const fs::path file = writeInfoFile(dir.path(), shape);
    const auto result = runTool("info " + quoted(file) + " --json");
    ASSERT_EQ(result.status, 0) << result.out;
    const auto info = nlohmann::json::parse(result.out);
    const auto& details = info["images"][0]["details"];
    EXPECT_EQ(details["width"], 120);
    EXPECT_EQ(details["height"], 90);
    EXPECT_EQ(details["blocks"]["width"], 64);
    EXPECT_EQ(details["blocks"]["height"], 64);
    EXPECT_EQ(details["blocks"]["across"], 2);
    const auto& codec = details["compression"]["info"];
    EXPECT_EQ(codec["Library"], "OpenJPEG");
    EXPECT_EQ(codec["Components"], "3");
    EXPECT_EQ(codec["Precision"], "8");
    EXPECT_EQ(codec["Levels"], "3");
    EXPECT_EQ(codec["Layers"], "3");
    EXPECT_EQ(codec["Order"], "RPCL");
    EXPECT_EQ(codec["WaveletTransform"], "5-3I");
    // The text form shows them too.
    const auto text = runTool("info " + quoted(file));
    ASSERT_EQ(text.status, 0);
    for (const char* fact : {"RPCL", "5-3I", "OpenJPEG"}) {
        EXPECT_NE(text.out.find(fact), std::string::npos) << fact << "\n" << text.out;
    }
}

// Level 1 of a codestream with 4 resolutions, read by either decoder, is GDAL's overview 1.
TEST(TesselJ2K, ReadLevelDecodesTheCodestreamsResolution) {
    if (!tessel_test::gdalAvailable()) {
        GTEST_SKIP() << "GDAL's Python bindings are not installed";
    }
    file_test::TempDir dir;
    tessel_test::CodestreamShape shape;
    shape.width = 512;  // GDAL makes no overviews of small images
    shape.height = 384;
    shape.components = 3;
    shape.resolutions = 4;
    const fs::path file = dir / "levels.ntf";
    tessel_test::writeJ2KFile(file, shape, tessel_test::encodeJ2K(shape));
    const auto gdal = tessel_test::gdalDigests({file}, 1)[file.string()][0];
    ASSERT_TRUE(gdal.contains("bands")) << gdal.dump();
    for (const char* preferences : {"{}", kOpenJPEGOn}) {
        tessel_test::TempConfig config(preferences);
        const fs::path out = dir / "l1.tif";
        const auto result =
            runTool("read " + quoted(file) + " -o " + quoted(out) + " --level 1 2>&1");
        ASSERT_EQ(result.status, 0) << preferences << ": " << result.out;
        const auto tiff = tessel_test::readTiff(out);
        ASSERT_TRUE(tiff.ok);
        EXPECT_EQ(tiff.width, 256u);
        EXPECT_EQ(tiff.height, 192u);
        ASSERT_EQ(tiff.planes.size(), gdal["bands"].size());
        for (size_t band = 0; band < tiff.planes.size(); ++band) {
            EXPECT_EQ(nitf_test::sha256Hex(tiff.planes[band]),
                      gdal["bands"][band].get<std::string>())
                << preferences << " band " << band;
        }
        fs::remove(out);
    }
}

TEST(TesselJ2K, InfoOfTheDefaultDecoderShowsTheCodingParameters) {
    file_test::TempDir dir;
    const fs::path file = writeInfoFile(dir.path(), tiledShape(100, 80, 32, 3, 2, OPJ_CPRL));
    tessel_test::TempConfig config;
    const auto result = runTool("info " + quoted(file) + " --json");
    ASSERT_EQ(result.status, 0) << result.out;
    const auto details = nlohmann::json::parse(result.out)["images"][0]["details"];
    EXPECT_EQ(details["width"], 100);
    EXPECT_EQ(details["blocks"]["width"], 32);
    EXPECT_EQ(details["blocks"]["across"], 4);
    EXPECT_EQ(details["samples"]["bits"], 8);
    const auto& codec = details["compression"]["info"];
    EXPECT_EQ(codec["Library"], "Kakadu");
    EXPECT_EQ(codec["Levels"], "2");
    EXPECT_EQ(codec["Layers"], "2");
    EXPECT_EQ(codec["Order"], "CPRL");
    EXPECT_EQ(codec["Reversible"], "true");
}

}  // namespace
