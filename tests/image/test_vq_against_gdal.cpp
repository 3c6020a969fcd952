// Every vector quantised (C4, M4) image of the corpus that GDAL reads, decoded band by band at
// full size, equals GDAL's decoding of it. Both sides give colour indices: GDAL shows these
// frames as one paletted band, and our tiles hold the indices that the colour map turns into
// colours. Subframes absent from the file are the one place where the two differ on purpose:
// we fill them with 217, GDAL with its NoData value; the test checks our fill and compares the
// rest exactly.

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "platform/nitf/sha256.h"
#include "support/GdalOracle.h"
#include "support/TestPaths.h"
#include "support/TileReading.h"
#include "tessel/image/NITFImage.h"

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

bool isVectorQuantised(Tessel::eCompressionType compression) {
    return compression == Tessel::eCompressionC4 || compression == Tessel::eCompressionM4;
}

// Block columns and rows whose tile is the factory's blank tile.
std::vector<std::pair<uint32_t, uint32_t>> blankBlocks(const Tessel::TileFactory& factory,
                                                       uint32_t band) {
    std::vector<std::pair<uint32_t, uint32_t>> blocks;
    for (uint32_t y = 0; y < factory.getBlocksY(); ++y) {
        for (uint32_t x = 0; x < factory.getBlocksX(); ++x) {
            const auto group = factory.requestTiles({&factory, x, y, band});
            if (!group.empty() && group.front().second == factory.blankTile()) {
                blocks.emplace_back(x, y);
            }
        }
    }
    return blocks;
}

// Checks that the blank blocks of `pixels` hold 217 and then fills them with `gdalFill`.
void replaceBlankFill(const Tessel::TileFactory& factory, uint32_t band, uint8_t gdalFill,
                      std::vector<uint8_t>& pixels, const std::string& where) {
    const uint64_t width = factory.getWidth();
    const uint64_t height = factory.getHeight();
    for (const auto& [bx, by] : blankBlocks(factory, band)) {
        size_t wrong = 0;
        for (uint64_t row = uint64_t{by} * factory.getBlockHeight();
             row < std::min<uint64_t>(height, uint64_t{by + 1} * factory.getBlockHeight()); ++row) {
            for (uint64_t col = uint64_t{bx} * factory.getBlockWidth();
                 col < std::min<uint64_t>(width, uint64_t{bx + 1} * factory.getBlockWidth());
                 ++col) {
                uint8_t& pixel = pixels[row * width + col];
                wrong += pixel != 217 ? 1 : 0;
                pixel = gdalFill;
            }
        }
        EXPECT_EQ(wrong, 0u) << where << " blank block " << bx << "," << by;
    }
}

TEST(VqAgainstGdal, CorpusFramesEqualGdalsDecoding) {
    const auto files = tessel_test::corpusFilesWith({"C4", "M4"});
    if (files.empty()) {
        GTEST_SKIP() << "no corpus at " << TESSEL_SHARED_DIR;
    }
    if (!tessel_test::gdalAvailable()) {
        GTEST_SKIP() << "GDAL's Python bindings are not available";
    }
    const json theirs = tessel_test::gdalDigests(files);
    size_t compared = 0;
    size_t withBlankSubframes = 0;
    std::map<std::string, size_t> leftOut;
    for (const auto& file : files) {
        const auto ours = tessel_test::decodeImages(file, isVectorQuantised);
        const json& images = theirs[file.string()];
        for (size_t index = 0; index < ours.size(); ++index) {
            const std::string where = file.string() + " image " + std::to_string(index);
            if (!isVectorQuantised(ours[index].compression)) {
                ++leftOut["not vector quantised"];
                continue;
            }
            if (index >= images.size() || images[index].contains("error")) {
                ++leftOut["GDAL can't decode"];
                continue;
            }
            const json& gdal = images[index];
            ASSERT_TRUE(ours[index].error.empty()) << where << ": " << ours[index].error;
            EXPECT_EQ(ours[index].width, gdal["size"][0].get<uint32_t>()) << where;
            EXPECT_EQ(ours[index].height, gdal["size"][1].get<uint32_t>()) << where;
            ASSERT_EQ(ours[index].bands.size(), gdal["bands"].size()) << where;
            Tessel::ImageOptions options;
            options.segment = static_cast<int32_t>(index);
            tile_test::OpenImage image(file, options);
            for (size_t band = 0; band < ours[index].bands.size(); ++band) {
                std::vector<uint8_t> pixels = ours[index].bands[band];
                const auto blanks = blankBlocks(image.factory(), static_cast<uint32_t>(band));
                if (!blanks.empty()) {
                    ++withBlankSubframes;
                    // GDAL fills an absent subframe with the frame's transparent code.
                    replaceBlankFill(image.factory(), static_cast<uint32_t>(band), 216, pixels,
                                     where);
                }
                EXPECT_EQ(nitf_test::sha256Hex(pixels), gdal["bands"][band].get<std::string>())
                    << where << " band " << band;
            }
            ++compared;
        }
    }
    for (const auto& [reason, count] : leftOut) {
        std::printf("[ left out ] %zu image(s): %s\n", count, reason.c_str());
    }
    std::printf(
        "[ compared ] %zu vector quantised image(s) of %zu file(s), %zu band(s) with "
        "absent subframes\n",
        compared, files.size(), withBlankSubframes);
    EXPECT_GE(compared, 12u);
}

}  // namespace
