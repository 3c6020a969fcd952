// Every vector quantised (C4, M4) image of the corpus that GDAL reads, decoded band by band at
// full size, equals GDAL's decoding of it. Both sides give colour indices: GDAL shows these
// frames as one paletted band, and our tiles hold the indices that the colour map turns into
// colours. Subframes absent from the file are the one place where the two differ on purpose:
// we fill them with 217, GDAL with its NoData value; the test checks our fill and compares the
// rest exactly.

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <type_traits>
#include <variant>
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

// The red, green and blue of entry i of a colour map; grey tables give three equal values.
std::array<int, 3> colourOf(const Tessel::ColorMap& map, size_t i) {
    if (const auto* rgb = std::get_if<std::vector<std::array<uint8_t, 3>>>(&map)) {
        return {(*rgb)[i][0], (*rgb)[i][1], (*rgb)[i][2]};
    }
    if (const auto* records = std::get_if<std::vector<std::array<uint8_t, 4>>>(&map)) {
        return {(*records)[i][0], (*records)[i][1], (*records)[i][2]};
    }
    const auto& greys = std::get<std::vector<uint8_t>>(map);
    return {greys[i], greys[i], greys[i]};
}

size_t entriesOf(const Tessel::ColorMap& map) {
    return std::visit(
        [](const auto& entries) -> size_t {
            if constexpr (std::is_same_v<std::decay_t<decltype(entries)>, std::monostate>) {
                return 0;
            } else {
                return entries.size();
            }
        },
        map);
}

// Every frame's colours are GDAL's. A frame with an RPF table of 216 colours has that table;
// GDAL adds a 217th, transparent, for its NoData index 216, which our map leaves outside the
// palette. Frames without such a table (the CIB frames here) have the subheader's look-up
// tables, of 217 entries, as GDAL has, except that GDAL makes entry 216, its NoData, transparent
// black: the entries from 216 on are GDAL's own and are not compared.
TEST(VqAgainstGdal, CorpusFramesHaveGdalsColours) {
    const auto files = tessel_test::corpusFilesWith({"C4", "M4"});
    if (files.empty()) {
        GTEST_SKIP() << "no corpus at " << TESSEL_SHARED_DIR;
    }
    if (!tessel_test::gdalAvailable()) {
        GTEST_SKIP() << "GDAL's Python bindings are not available";
    }
    const json theirs = tessel_test::gdalColorTables(files);
    size_t compared = 0;
    std::map<size_t, size_t> kinds;  // frames by the alternative of their colour map
    for (const auto& file : files) {
        const json& table = theirs[file.string()];
        if (!table.is_array()) {
            continue;
        }
        tile_test::OpenImage image(file);
        const Tessel::ColorMap& map = image.image().getColorMap(0);
        const size_t entries = entriesOf(map);
        ASSERT_GE(entries, 216u) << file;
        ASSERT_GE(table.size(), entries) << file;
        ++kinds[map.index()];
        for (size_t i = 0; i < 216; ++i) {
            const std::array<int, 3> gdal{table[i][0].get<int>(), table[i][1].get<int>(),
                                          table[i][2].get<int>()};
            ASSERT_EQ(colourOf(map, i), gdal) << file << " entry " << i;
        }
        ++compared;
    }
    std::printf(
        "[ compared ] colour tables of %zu of %zu frame(s): %zu RGB, %zu RPF records, "
        "%zu grey\n",
        compared, files.size(), kinds[1], kinds[2], kinds[3]);
    EXPECT_GE(compared, 12u);
}

}  // namespace
