// Every uncompressed (NC) or masked (NM) image of the fixtures and of the corpus, read band by
// band at full size, equals what GDAL decodes from it. Compressed images belong to their
// codecs' own tests and are skipped here by compression. Two forms differ from GDAL on
// purpose and are checked against the source pixels or the standard instead: row-interleaved
// images (IMODE R, read as failed tiles) and 12-bit packed samples (GDAL unpacks them in
// another nibble order).

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "support/GdalOracle.h"
#include "support/TestPaths.h"
#include "tessel/core/NITFMessages.h"
#include "tessel/core/NITFURI.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFile.h"
#include "tessel/image/ImageOptions.h"
#include "tessel/image/NITFImage.h"
#include "tessel/platform/nitf.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using tessel_test::DecodedImage;
using tessel_test::gdalAvailable;
using tessel_test::gdalDigests;

const fs::path shared = TESSEL_SHARED_DIR;
const fs::path fixtures = shared / "fixtures";
const fs::path corpus = shared / "corpus";

bool isUncompressed(Tessel::eCompressionType compression) {
    return compression == Tessel::eCompressionNC || compression == Tessel::eCompressionNM;
}

std::vector<DecodedImage> readImages(const fs::path& path) {
    return tessel_test::decodeImages(path, isUncompressed);
}

bool isRowInterleaved(const DecodedImage& image) {
    return image.imode == "R";
}
bool isTwelveBit(const DecodedImage& image) {
    return image.nbpp == "12";
}
bool isComplexPair(const DecodedImage& image, size_t gdalBands) {
    return (image.pixelType == lumo_pixel::complex_integer ||
            image.pixelType == lumo_pixel::complex_float) &&
           image.bands.size() == 1 && gdalBands == 2;
}

// Compares one image with GDAL's digests of it; returns false when it was left out.
bool compareWithGdal(const fs::path& path, size_t index, const DecodedImage& ours,
                     const json& gdal) {
    const std::string where = path.string() + " image " + std::to_string(index);
    if (!gdal.is_object() || gdal.contains("error") || !ours.uncompressed() ||
        isRowInterleaved(ours) || isTwelveBit(ours)) {
        return false;
    }
    EXPECT_TRUE(ours.error.empty()) << where << ": " << ours.error;
    const auto& bands = gdal["bands"];
    EXPECT_EQ(ours.width, gdal["size"][0].get<uint32_t>()) << where;
    EXPECT_EQ(ours.height, gdal["size"][1].get<uint32_t>()) << where;
    if (isComplexPair(ours, bands.size())) {
        EXPECT_EQ(ours.digest(0), gdal["pair"].get<std::string>()) << where << " (complex)";
        return true;
    }
    EXPECT_EQ(ours.bands.size(), bands.size()) << where;
    for (size_t band = 0; band < std::min(ours.bands.size(), bands.size()); ++band) {
        EXPECT_EQ(ours.digest(band), bands[band].get<std::string>()) << where << " band " << band;
    }
    return true;
}

TEST(PixelsAgainstGdal, UncompressedFixturesEqualGdalsDecoding) {
    if (!fs::exists(fixtures / "manifest.json")) {
        GTEST_SKIP() << "no fixtures at " << fixtures;
    }
    // Complex pairs need both bands interleaved, which only GDAL itself can give.
    const bool gdal = gdalAvailable();
    size_t compared = 0;
    std::map<std::string, size_t> skipped;
    for (const auto& file : tessel_test::fixtureFiles()) {
        const auto ours = readImages(file);
        json theirs = tessel_test::sidecarDigests(file);
        for (size_t index = 0; index < ours.size() && index < theirs.size(); ++index) {
            if (!ours[index].uncompressed()) {
                ++skipped[std::string(Tessel::ToString(ours[index].compression))];
                continue;
            }
            if (isComplexPair(ours[index], theirs[index]["bands"].size())) {
                if (!gdal) {
                    ++skipped["complex without GDAL"];
                    continue;
                }
                theirs = gdalDigests({file})[file.string()];
            }
            compared += compareWithGdal(file, index, ours[index], theirs[index]) ? 1 : 0;
        }
    }
    for (const auto& [reason, count] : skipped) {
        std::printf("[ skipped  ] %zu fixture image(s) compressed %s\n", count, reason.c_str());
    }
    std::printf("[ compared ] %zu fixture image(s)\n", compared);
    EXPECT_GE(compared, 30u);
}

TEST(PixelsAgainstGdal, UncompressedCorpusImagesEqualGdalsDecoding) {
    if (!fs::exists(corpus / "MANIFEST.tsv")) {
        GTEST_SKIP() << "no corpus at " << corpus;
    }
    if (!gdalAvailable()) {
        GTEST_SKIP() << "GDAL's Python bindings are not installed";
    }
    // Files with at least one NC or NM image that GDAL opens as NITF.
    const std::vector<fs::path> files = tessel_test::corpusFilesWith({"NC", "NM"});
    ASSERT_FALSE(files.empty());
    const json gdal = gdalDigests(files);
    ASSERT_TRUE(gdal.is_object()) << "the GDAL helper gave no JSON";
    size_t compared = 0;
    size_t skipped = 0;
    for (const auto& file : files) {
        const auto ours = readImages(file);
        const json& theirs = gdal[file.string()];
        for (size_t index = 0; index < ours.size(); ++index) {
            const bool known = theirs.is_array() && index < theirs.size();
            if (known && compareWithGdal(file, index, ours[index], theirs[index])) {
                ++compared;
            } else {
                ++skipped;
            }
        }
    }
    std::printf(
        "[ compared ] %zu corpus image(s), %zu left out (compressed, IMODE R, 12-bit or "
        "not decoded by GDAL)\n",
        compared, skipped);
    EXPECT_GE(compared, 60u);
}

// Row-interleaved blocks have no block of their own to read: every tile fails and reads as
// 0xFF bytes, whatever GDAL makes of them.
TEST(PixelsAgainstStandard, RowInterleavedImagesReadAsFailedTiles) {
    std::vector<fs::path> files;
    for (const char* name : {"derived_imode_R_u8_3b_tiled.ntf", "derived_imode_R_i16_2b.ntf"}) {
        files.push_back(fixtures / name);
    }
    for (const char* name :
         {"codice/JitcNitf21Samples/i_3201c.ntf", "vxl/vil/ff_nitf_8bit_r.nitf"}) {
        files.push_back(corpus / name);
    }
    size_t checked = 0;
    for (const auto& file : files) {
        if (!fs::exists(file)) {
            continue;
        }
        for (const auto& image : readImages(file)) {
            ASSERT_EQ(image.imode, "R") << file;
            ASSERT_FALSE(image.bands.empty()) << file << ": " << image.error;
            for (const auto& band : image.bands) {
                EXPECT_EQ(band.size(), size_t{image.width} * image.height * image.bytesPerPixel)
                    << file;
                EXPECT_TRUE(std::all_of(band.begin(), band.end(), [](uint8_t b) {
                    return b == 0xFF;
                })) << file;
            }
            ++checked;
        }
    }
    if (checked == 0) {
        GTEST_SKIP() << "no row-interleaved files in " << shared;
    }
}

// 12-bit samples are packed most significant bits first, two in three bytes. The fixture's
// source pixels say what they are; for the corpus file the helper turns GDAL's unpacking
// back into the bytes of the file and unpacks them by the standard.
TEST(PixelsAgainstSource, TwelveBitPackedSamplesUnpackMostSignificantFirst) {
    const fs::path fixture = fixtures / "derived_nbpp12.ntf";
    if (!fs::exists(fixture)) {
        GTEST_SKIP() << "no fixture " << fixture;
    }
    std::ifstream in(fs::path(fixture).replace_extension(".json"));
    const json sidecar = json::parse(in);
    const auto ours = readImages(fixture);
    ASSERT_EQ(ours.size(), 1u);
    ASSERT_EQ(ours[0].nbpp, "12");
    ASSERT_EQ(ours[0].bands.size(), 1u) << ours[0].error;
    EXPECT_EQ(ours[0].bands[0].size(), size_t{64} * 48 * 2);
    EXPECT_EQ(ours[0].digest(0), sidecar["source_sha256"][0].get<std::string>());

    const fs::path jitc = corpus / "codice/JitcNitf21Samples/i_3430a.ntf";
    if (!fs::exists(jitc) || !gdalAvailable()) {
        return;
    }
    const json gdal = gdalDigests({jitc})[jitc.string()];
    const auto corpusImage = readImages(jitc);
    ASSERT_EQ(corpusImage.size(), 1u);
    ASSERT_EQ(corpusImage[0].bands.size(), 1u) << corpusImage[0].error;
    EXPECT_EQ(corpusImage[0].digest(0), gdal[0]["msb12"][0].get<std::string>());
}

}  // namespace
