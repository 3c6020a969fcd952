#include "support/J2KComparison.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <exception>

#include "support/ImageTestFiles.h"
#include "support/J2KCodestream.h"
#include "support/TestPaths.h"
#include "tessel/file/NITFFile.h"
#include "tessel/image/NITFImage.h"
#include "tessel/image/TileFactory.h"

namespace tessel_test {

namespace fs = std::filesystem;
using nlohmann::json;

bool isJ2K(Tessel::eCompressionType compression) {
    return compression == Tessel::eCompressionC8 || compression == Tessel::eCompressionM8;
}

std::vector<fs::path> j2kFixtures() {
    std::vector<fs::path> files;
    for (const auto& file : fixtureFiles()) {
        const std::string name = file.filename().string();
        if (name.starts_with("c8_") || name.starts_with("derived_c8_") ||
            name.starts_with("multi_nc_c3_c8")) {
            files.push_back(file);
        }
    }
    return files;
}

std::vector<fs::path> j2kFiles() {
    std::vector<fs::path> files = j2kFixtures();
    if (fs::exists(fs::path(TESSEL_SHARED_DIR) / "corpus" / "MANIFEST.tsv")) {
        for (const auto& file : corpusFilesWith({"C8", "M8"})) {
            files.push_back(file);
        }
    }
    return files;
}

void compareImage(const fs::path& path, size_t index, const DecodedImage& ours, const json& gdal,
                  uint32_t level, Tally& tally, const LeaveOut& leaveOut) {
    const std::string where =
        path.string() + " image " + std::to_string(index) + " level " + std::to_string(level);
    // An image that doesn't open has no compression to tell: only the decoded ones (C8, M8)
    // carry an error.
    if (!ours.error.empty() && ours.bands.empty()) {
        ++tally.leftOut["refused: " + ours.error.substr(0, 60)];
        return;
    }
    if (!isJ2K(ours.compression)) {
        return;
    }
    if (!gdal.is_object() || gdal.contains("error")) {
        ++tally.leftOut["not read by GDAL"];
        return;
    }
    if (ours.pixelType == lumo_pixel::signed_integer && ours.bytesPerPixel == 1) {
        // GDAL doesn't give signed samples of fewer than 8 bits as OpenJPEG decodes them:
        // compared with opj_decompress instead.
        ++tally.leftOut["signed samples under 8 bits"];
        return;
    }
    if (const char* reason = leaveOut ? leaveOut(path, index, level) : nullptr) {
        ++tally.leftOut[reason];
        return;
    }
    EXPECT_TRUE(ours.error.empty()) << where << ": " << ours.error;
    const auto& bands = gdal["bands"];
    EXPECT_EQ(ours.width, gdal["size"][0].get<uint32_t>()) << where;
    EXPECT_EQ(ours.height, gdal["size"][1].get<uint32_t>()) << where;
    EXPECT_EQ(ours.bands.size(), bands.size()) << where;
    for (size_t band = 0; band < std::min(ours.bands.size(), bands.size()); ++band) {
        EXPECT_EQ(ours.digest(band), bands[band].get<std::string>()) << where << " band " << band;
    }
    ++tally.compared;
}

void printTally(const char* what, const Tally& tally) {
    for (const auto& [reason, count] : tally.leftOut) {
        std::printf("[ left out ] %zu %s image(s): %s\n", count, what, reason.c_str());
    }
    std::printf("[ compared ] %zu %s image(s)\n", tally.compared, what);
}

void compareWithGdal(const std::vector<fs::path>& files, Tally& tally, const LeaveOut& leaveOut) {
    const json gdal = gdalDigests(files);
    ASSERT_TRUE(gdal.is_object());
    for (const auto& file : files) {
        const auto ours = decodeImages(file, isJ2K);
        const json& theirs = gdal[file.string()];
        for (size_t index = 0; index < ours.size(); ++index) {
            const bool known = theirs.is_array() && index < theirs.size();
            compareImage(file, index, ours[index], known ? theirs[index] : json(), 0, tally,
                         leaveOut);
        }
    }
}

void comparePyramidLevelsWithGdal(const std::vector<fs::path>& files, Tally& tally,
                                  const LeaveOut& leaveOut) {
    for (uint32_t level = 1; level <= 3; ++level) {
        const json gdal = gdalDigests(files, level);
        ASSERT_TRUE(gdal.is_object());
        Tessel::ImageOptions base;
        base.level = static_cast<int32_t>(level);
        for (const auto& file : files) {
            const json& theirs = gdal[file.string()];
            if (!theirs.is_array() || std::none_of(theirs.begin(), theirs.end(), [](const json& i) {
                    return i.is_object() && !i.contains("error");
                })) {
                continue;  // no overview of this level: nothing to open
            }
            const auto ours = decodeImages(file, isJ2K, base);
            for (size_t index = 0; index < ours.size() && index < theirs.size(); ++index) {
                compareImage(file, index, ours[index], theirs[index], level, tally, leaveOut);
            }
        }
    }
}

bool readWhole(const fs::path& path, const std::function<bool(const Tessel::NITFImage&)>& ours) {
    const auto file = image_test::openFile(path);
    if (!file) {
        return false;
    }
    try {
        const auto image = file->getImage({});
        if (!image || !ours(*image)) {
            return false;
        }
        std::vector<uint8_t> out;
        const auto width = static_cast<uint32_t>(std::min<uint64_t>(image->getWidth(), 4096));
        const auto height = static_cast<uint32_t>(std::min<uint64_t>(image->getHeight(), 4096));
        for (uint32_t band = 0; band < image->getNumBands(); ++band) {
            image->readRegionViaPixels(0, 0, width, height, width, height, {static_cast<int>(band)},
                                       out);
        }
        return true;
    } catch (const std::exception&) {
        return false;  // refusing the image is allowed
    }
}

void expectFirstTileLoadsAndLastFails(const Tessel::TileFactory& factory) {
    Tessel::TileGroup first = factory.createTiles({&factory, 0, 0, 0});
    EXPECT_TRUE(first.front().second->load(first));
    Tessel::TileGroup last = factory.createTiles({&factory, 2, 2, 0});
    EXPECT_FALSE(last.front().second->load(last));
    EXPECT_TRUE(last.front().second->isFailed());
}

namespace {

std::vector<CodestreamShape> maskedShapes() {
    CodestreamShape single;
    CodestreamShape tiled;
    tiled.width = 100;
    tiled.height = 80;
    tiled.tileWidth = 32;
    tiled.tileHeight = 32;
    tiled.resolutions = 3;
    CodestreamShape colour;
    colour.width = 64;
    colour.height = 64;
    colour.components = 3;
    colour.tileWidth = 32;
    colour.tileHeight = 32;
    return {single, tiled, colour};
}

uint32_t tilesAcross(uint32_t size, uint32_t tile) {
    return tile == 0 ? 1 : (size + tile - 1) / tile;
}

}  // namespace

std::vector<fs::path> writeMaskedImagesBesideUnmasked(const fs::path& dir) {
    std::vector<fs::path> masked;
    const std::vector<CodestreamShape> shapes = maskedShapes();
    for (size_t i = 0; i < shapes.size(); ++i) {
        const CodestreamShape& shape = shapes[i];
        const std::string codestream = encodeJ2K(shape);
        const std::string stem = "shape" + std::to_string(i);
        writeJ2KFile(dir / (stem + "_c8.ntf"), shape, codestream);
        masked.push_back(dir / (stem + "_m8.ntf"));
        writeMaskedJ2KFile(masked.back(), shape, codestream,
                           tilesAcross(shape.width, shape.tileWidth),
                           tilesAcross(shape.height, shape.tileHeight));
    }
    return masked;
}

void expectMaskedReadsAsUnmasked(const fs::path& m8,
                                 const std::function<bool(const Tessel::NITFImage&)>& ours) {
    fs::path c8 = m8;
    c8.replace_filename(m8.stem().string().substr(0, m8.stem().string().size() - 3) + "_c8.ntf");
    const auto file = image_test::openFile(m8);
    ASSERT_TRUE(file) << m8;
    const auto image = file->getImage({});
    ASSERT_TRUE(image) << m8;
    EXPECT_TRUE(ours(*image)) << m8 << " is not read by the decoder under test";
    const std::vector<DecodedImage> masked = decodeImages(m8, isJ2K);
    const std::vector<DecodedImage> plain = decodeImages(c8, isJ2K);
    ASSERT_EQ(masked.size(), 1u);
    ASSERT_EQ(plain.size(), 1u);
    EXPECT_EQ(masked[0].compression, Tessel::eCompressionM8);
    EXPECT_TRUE(masked[0].error.empty()) << masked[0].error;
    ASSERT_FALSE(masked[0].bands.empty()) << m8;
    EXPECT_EQ(masked[0].width, plain[0].width);
    EXPECT_EQ(masked[0].height, plain[0].height);
    EXPECT_EQ(masked[0].bands, plain[0].bands) << m8;
}

void writeMaskPointingPastTheData(const fs::path& path) {
    const CodestreamShape shape;
    const std::string codestream = encodeJ2K(shape);
    std::string data = std::string(14, '\0') + codestream;
    putBig32(data, 0, 0x7FFFFFF0u);  // IMDATOFF far behind the data
    data[5] = 4;                     // BMRLNTH
    image_test::ImageLayout layout = j2kLayout(shape, data);
    layout.ic = "M8";
    image_test::ImageFileBuilder().add(layout).write(path);
}

void putBig32(std::string& s, size_t at, uint32_t value) {
    for (int i = 0; i < 4; ++i) {
        s[at + static_cast<size_t>(i)] = static_cast<char>((value >> (24 - 8 * i)) & 0xFF);
    }
}

}  // namespace tessel_test
