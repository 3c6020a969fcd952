// Every JPEG-compressed (C3, M3) image of the fixtures and of the corpus that GDAL decodes,
// read band by band at full size, equals GDAL's decoding: 8-bit streams through libjpeg,
// 12-bit ones through our own decoder. Two fixtures differ from GDAL by our rules, and are
// checked against libjpeg's decoding of their stream under those rules instead:
// - three bands with IREP "MONO": only IREP "YCbCr601" converts to RGB, GDAL converts
//   whenever libjpeg guesses YCbCr;
// - a progressive stream: its first scan defines no AC table 0, so the standard tables
//   replace Huffman tables 0 (its DC table among them) before decoding.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "platform/nitf/sha256.h"
#include "support/FileTestSupport.h"
#include "support/GdalOracle.h"
#include "support/ImageFileBuilder.h"
#include "support/JpegStreams.h"
#include "support/TestPaths.h"
#include "support/TileReading.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using tessel_test::DecodedImage;

const fs::path shared = TESSEL_SHARED_DIR;

bool isJpeg(Tessel::eCompressionType compression) {
    return compression == Tessel::eCompressionC3 || compression == Tessel::eCompressionM3;
}

struct Tally {
    size_t compared = 0;
    size_t twelveBit = 0;
    size_t leftOut = 0;
};

// Compares one image with GDAL's digests of it; counts it as left out when either side
// has no JPEG decoding of it.
void compareWithGdal(const fs::path& path, size_t index, const DecodedImage& ours, const json& gdal,
                     Tally& tally) {
    if (!isJpeg(ours.compression) || !gdal.is_object() || gdal.contains("error")) {
        ++tally.leftOut;
        return;
    }
    const std::string where = path.string() + " image " + std::to_string(index);
    EXPECT_TRUE(ours.error.empty()) << where << ": " << ours.error;
    EXPECT_EQ(ours.width, gdal["size"][0].get<uint32_t>()) << where;
    EXPECT_EQ(ours.height, gdal["size"][1].get<uint32_t>()) << where;
    const auto& bands = gdal["bands"];
    EXPECT_EQ(ours.bands.size(), bands.size()) << where;
    for (size_t band = 0; band < std::min(ours.bands.size(), bands.size()); ++band) {
        EXPECT_EQ(ours.digest(band), bands[band].get<std::string>()) << where << " band " << band;
    }
    ++tally.compared;
    tally.twelveBit += ours.bytesPerPixel == 2 ? 1 : 0;
}

// The one stream of a single-block image, as the file holds it.
std::string streamOf(const fs::path& path) {
    tile_test::OpenImage image(path);
    const auto& entry = image.nitfFactory()->getBlockTable().at(0);
    std::ifstream in(path, std::ios::binary);
    in.seekg(static_cast<std::streamoff>(entry.offset));
    std::string stream(entry.size, '\0');
    in.read(stream.data(), static_cast<std::streamsize>(stream.size()));
    return stream;
}

// Checks a fixture that differs from GDAL on purpose against libjpeg's decoding of its
// stream under our rules.
void compareWithRule(const fs::path& path, const DecodedImage& ours, bool raw,
                     bool standardTables) {
    const auto decoded = jpeg_test::decode8(streamOf(path), raw, standardTables);
    const int components = static_cast<int>(ours.bands.size());
    ASSERT_EQ(decoded.size(), size_t{ours.width} * ours.height * ours.bands.size());
    for (int band = 0; band < components; ++band) {
        EXPECT_EQ(ours.digest(static_cast<size_t>(band)),
                  nitf_test::sha256Hex(jpeg_test::bandOf(decoded, components, band)))
            << path << " band " << band;
    }
}

TEST(JpegAgainstGdal, JpegFixturesEqualGdalsDecoding) {
    if (!fs::exists(shared / "fixtures" / "manifest.json")) {
        GTEST_SKIP() << "no fixtures at " << shared / "fixtures";
    }
    Tally tally;
    size_t byRule = 0;
    for (const auto& file : tessel_test::fixtureFiles()) {
        const auto ours = tessel_test::decodeImages(file, isJpeg);
        const std::string name = file.stem().string();
        if (name == "c3_3band_irep_mono" || name == "c3_u8_progressive") {
            ASSERT_EQ(ours.size(), 1u);
            compareWithRule(file, ours[0], name == "c3_3band_irep_mono",
                            name == "c3_u8_progressive");
            ++byRule;
            continue;
        }
        const json theirs = tessel_test::sidecarDigests(file);
        for (size_t index = 0; index < ours.size(); ++index) {
            if (!isJpeg(ours[index].compression)) {
                continue;
            }
            const bool known = theirs.is_array() && index < theirs.size();
            compareWithGdal(file, index, ours[index], known ? theirs[index] : json(), tally);
        }
    }
    std::printf(
        "[ compared ] %zu fixture JPEG image(s) (%zu of them 12-bit), %zu left out, %zu "
        "checked by our colour and table rules instead\n",
        tally.compared, tally.twelveBit, tally.leftOut, byRule);
    EXPECT_GE(tally.compared, 13u);
    EXPECT_EQ(byRule, 2u);
    EXPECT_GE(tally.twelveBit, 2u);
}

TEST(JpegAgainstGdal, JpegCorpusImagesEqualGdalsDecoding) {
    if (!fs::exists(shared / "corpus" / "MANIFEST.tsv")) {
        GTEST_SKIP() << "no corpus at " << shared / "corpus";
    }
    if (!tessel_test::gdalAvailable()) {
        GTEST_SKIP() << "GDAL's Python bindings are not installed";
    }
    const std::vector<fs::path> files = tessel_test::corpusFilesWith({"C3", "M3"});
    ASSERT_FALSE(files.empty());
    const json gdal = tessel_test::gdalDigests(files);
    ASSERT_TRUE(gdal.is_object()) << "the GDAL helper gave no JSON";
    Tally tally;
    for (const auto& file : files) {
        const auto ours = tessel_test::decodeImages(file, isJpeg);
        const json& theirs = gdal[file.string()];
        for (size_t index = 0; index < ours.size(); ++index) {
            const bool known = theirs.is_array() && index < theirs.size();
            compareWithGdal(file, index, ours[index], known ? theirs[index] : json(), tally);
        }
    }
    std::printf(
        "[ compared ] %zu corpus JPEG image(s) (%zu of them 12-bit), %zu left out (other "
        "compressions or not decoded by GDAL)\n",
        tally.compared, tally.twelveBit, tally.leftOut);
    EXPECT_GE(tally.compared, 10u);
    EXPECT_GE(tally.twelveBit, 1u);
}

// A NITF file holding one 12-bit JPEG stream as its only block.
image_test::ImageLayout twelveBitImage(const std::string& stream, uint32_t width, uint32_t height,
                                       int bands) {
    image_test::ImageLayout layout;
    layout.ic = "C3";
    layout.comrat = "00.0";
    layout.cols = width;
    layout.rows = height;
    layout.nbpp = 16;
    layout.abpp = 12;
    layout.imode = bands == 1 ? "B" : "P";
    layout.irep = bands == 1 ? "MONO" : "YCbCr601";
    layout.bands = bands == 1
                       ? image_test::bands(1)
                       : std::vector<image_test::BandLayout>{
                             image_test::band("Y"), image_test::band("Cb"), image_test::band("Cr")};
    layout.data = stream;
    return layout;
}

TEST(JpegAgainstGdal, TwelveBitStreamsWrittenByGdalDecodeAsGdalDoes) {
    if (!tessel_test::gdalAvailable()) {
        GTEST_SKIP() << "GDAL's Python bindings are not installed";
    }
    struct Case {
        uint32_t width, height;
        int bands;
        std::string options;
    };
    // Odd sizes cut the last MCUs; YCbCr with 2x2 luminance goes through fancy upsampling
    // and the colour tables.
    const std::vector<Case> cases = {{77, 45, 3, ""},
                                     {64, 64, 3, "QUALITY=95"},
                                     {33, 17, 1, ""},
                                     {129, 70, 3, "QUALITY=40"},
                                     {40, 300, 1, "QUALITY=99"},
                                     {17, 9, 3, "QUALITY=100"}};
    file_test::TempDir dir;
    const std::string script =
        std::string(TESSEL_SOURCE_DIR) + "/tests/image/make_jpeg12_streams.py";
    size_t compared = 0;
    for (size_t i = 0; i < cases.size(); ++i) {
        const Case& c = cases[i];
        const fs::path jpeg = dir / ("stream" + std::to_string(i) + ".jpg");
        const std::string command = "/usr/bin/python3 '" + script + "' '" + jpeg.string() + "' " +
                                    std::to_string(c.width) + " " + std::to_string(c.height) + " " +
                                    std::to_string(c.bands) + " " + c.options + " 2>/dev/null";
        ASSERT_EQ(std::system(command.c_str()), 0) << command;
        std::ifstream in(jpeg, std::ios::binary);
        const std::string stream((std::istreambuf_iterator<char>(in)),
                                 std::istreambuf_iterator<char>());
        ASSERT_EQ(static_cast<uint8_t>(stream.at(stream.find("\xFF\xC1") + 4)), 12u);
        const fs::path nitf = dir / ("image" + std::to_string(i) + ".ntf");
        image_test::ImageFileBuilder()
            .add(twelveBitImage(stream, c.width, c.height, c.bands))
            .write(nitf);
        const json gdal = tessel_test::gdalDigests({jpeg});
        ASSERT_TRUE(gdal.contains(jpeg.string())) << jpeg;
        const auto ours = tessel_test::decodeImages(nitf, isJpeg);
        ASSERT_EQ(ours.size(), 1u);
        Tally tally;
        compareWithGdal(nitf, 0, ours[0], gdal[jpeg.string()][0], tally);
        EXPECT_EQ(tally.twelveBit, 1u);
        compared += tally.compared;
    }
    std::printf("[ compared ] %zu 12-bit stream(s) written by GDAL\n", compared);
    EXPECT_EQ(compared, cases.size());
}

}  // namespace
