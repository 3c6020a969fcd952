#include <gtest/gtest.h>

#include <algorithm>

#include "support/FileTestSupport.h"
#include "support/ImageFileBuilder.h"
#include "support/TileReading.h"
#include "tessel/image/Tile.h"

using image_test::ImageFileBuilder;
using image_test::ImageLayout;
using tile_test::OpenImage;
using tile_test::tileAt;
using tile_test::tileBytes;

namespace {

std::string bigEndian16(const std::vector<uint16_t>& values) {
    std::string out;
    for (const uint16_t v : values) {
        out += static_cast<char>(v >> 8);
        out += static_cast<char>(v & 0xFF);
    }
    return out;
}

std::vector<uint16_t> hostSamples(const std::vector<uint8_t>& bytes) {
    std::vector<uint16_t> out(bytes.size() / 2);
    std::memcpy(out.data(), bytes.data(), out.size() * 2);
    return out;
}

bool allBytesAre(const std::vector<uint8_t>& bytes, uint8_t value) {
    return !bytes.empty() &&
           std::all_of(bytes.begin(), bytes.end(), [value](uint8_t b) { return b == value; });
}

// An 8-bit single-band image of `blocksX` blocks of 4 x 2 in one row, IMODE B, each block's
// bytes its index + 1.
ImageLayout rowOfBlocks(uint32_t blocksX) {
    ImageLayout layout;
    layout.rows = 2;
    layout.cols = 4 * blocksX;
    layout.nbpr = blocksX;
    layout.nbpc = 1;
    layout.nppbh = 4;
    layout.nppbv = 2;
    for (uint32_t b = 0; b < blocksX; ++b) {
        layout.data += std::string(8, static_cast<char>(b + 1));
    }
    return layout;
}

// The same as NM with a block mask in which block `missing` is absent.
ImageLayout maskedRowOfBlocks(uint32_t blocksX, uint32_t missing, bool withPad, uint8_t pad) {
    ImageLayout layout = rowOfBlocks(blocksX);
    layout.ic = "NM";
    std::vector<uint32_t> offsets;
    std::string blocks;
    for (uint32_t b = 0; b < blocksX; ++b) {
        if (b == missing) {
            offsets.push_back(0xFFFFFFFF);
            continue;
        }
        offsets.push_back(static_cast<uint32_t>(blocks.size()));
        blocks += std::string(8, static_cast<char>(b + 1));
    }
    layout.data = image_test::blockMaskTable(offsets, withPad, pad) + blocks;
    return layout;
}

class NCTiles : public ::testing::Test {
protected:
    std::filesystem::path write(const ImageLayout& layout, const std::string& name = "image.ntf") {
        const auto path = dir_ / name;
        ImageFileBuilder().add(layout).write(path);
        return path;
    }

    file_test::TempDir dir_;
};

}  // namespace

TEST_F(NCTiles, SixteenBitPixelInterleavedBandOneYieldsEveryThirdElementSwapped) {
    ImageLayout layout;
    layout.rows = 2;
    layout.cols = 2;
    layout.nbpp = 16;
    layout.abpp = 16;
    layout.imode = "P";
    layout.bands = image_test::bands(3);
    std::vector<uint16_t> samples;
    for (uint16_t i = 0; i < 12; ++i) {
        samples.push_back(static_cast<uint16_t>(0x1100 * i + 0x23));
    }
    layout.data = bigEndian16(samples);
    OpenImage image(write(layout));
    const auto& factory = image.factory();
    ASSERT_EQ(factory.getNumBands(), 3u);
    EXPECT_EQ(factory.getBlockBytes(), 8u);
    EXPECT_EQ(hostSamples(tileBytes(factory, 0, 0, 1)),
              (std::vector<uint16_t>{samples[1], samples[4], samples[7], samples[10]}));
    EXPECT_EQ(hostSamples(tileBytes(factory, 0, 0, 2)),
              (std::vector<uint16_t>{samples[2], samples[5], samples[8], samples[11]}));
}

TEST_F(NCTiles, BandSequentialBlocksReadEachBandOfTheBlock) {
    ImageLayout layout;
    layout.rows = 2;
    layout.cols = 4;
    layout.nbpr = 2;
    layout.nppbh = 2;
    layout.nppbv = 2;
    layout.imode = "B";
    layout.bands = image_test::bands(2);
    // Block 0: band 0 then band 1; block 1 likewise.
    layout.data =
        std::string("\x01\x02\x03\x04\x11\x12\x13\x14\x21\x22\x23\x24\x31\x32\x33\x34", 16);
    OpenImage image(write(layout));
    EXPECT_EQ(tileBytes(image.factory(), 0, 0, 1), (std::vector<uint8_t>{0x11, 0x12, 0x13, 0x14}));
    EXPECT_EQ(tileBytes(image.factory(), 1, 0, 0), (std::vector<uint8_t>{0x21, 0x22, 0x23, 0x24}));
    EXPECT_EQ(tileBytes(image.factory(), 1, 0, 1), (std::vector<uint8_t>{0x31, 0x32, 0x33, 0x34}));
}

TEST_F(NCTiles, PackedBandSequentialBlocksStartEachBandOnAByte) {
    ImageLayout layout;
    layout.rows = 3;
    layout.cols = 3;
    layout.nbpp = 1;
    layout.abpp = 1;
    layout.imode = "B";
    layout.bands = image_test::bands(2);
    // Nine bits a band: band 0 is 1 0 1 / 0 1 0 / 1 0 1 and fills two bytes; band 1,
    // 0 1 0 / 1 0 1 / 0 1 0, begins with the third byte.
    layout.data = std::string("\xAA\x80\x55\x00", 4);
    OpenImage image(write(layout));
    EXPECT_EQ(tileBytes(image.factory(), 0, 0, 0),
              (std::vector<uint8_t>{1, 0, 1, 0, 1, 0, 1, 0, 1}));
    EXPECT_EQ(tileBytes(image.factory(), 0, 0, 1),
              (std::vector<uint8_t>{0, 1, 0, 1, 0, 1, 0, 1, 0}));
}

TEST_F(NCTiles, BandSequentialImagesNumberBlocksBandAfterBand) {
    ImageLayout layout;
    layout.rows = 2;
    layout.cols = 4;
    layout.nbpr = 2;
    layout.nppbh = 2;
    layout.nppbv = 2;
    layout.imode = "S";
    layout.bands = image_test::bands(2);
    layout.data =
        std::string("\x01\x01\x01\x01\x02\x02\x02\x02\x03\x03\x03\x03\x04\x04\x04\x04", 16);
    OpenImage image(write(layout));
    const auto* nitf = image.nitfFactory();
    ASSERT_NE(nitf, nullptr);
    ASSERT_EQ(nitf->getBlockTable().size(), 4u);
    EXPECT_EQ(nitf->getBlockTable()[3].offset, 12u);
    EXPECT_EQ(tileBytes(image.factory(), 1, 0, 0), std::vector<uint8_t>(4, 2));
    EXPECT_EQ(tileBytes(image.factory(), 0, 0, 1), std::vector<uint8_t>(4, 3));
    EXPECT_EQ(tileBytes(image.factory(), 1, 0, 1), std::vector<uint8_t>(4, 4));
}

TEST_F(NCTiles, MissingMaskedBlockReadsAsThePadValueInEveryByte) {
    OpenImage image(write(maskedRowOfBlocks(3, 1, true, 0x2A)));
    const auto& factory = image.factory();
    EXPECT_EQ(tileBytes(factory, 0, 0, 0), std::vector<uint8_t>(8, 1));
    EXPECT_TRUE(allBytesAre(tileBytes(factory, 1, 0, 0), 0x2A));
    EXPECT_EQ(tileAt(factory, 1, 0, 0), factory.blankTile());
    EXPECT_EQ(tileBytes(factory, 2, 0, 0), std::vector<uint8_t>(8, 3));
    const lumo_pixel::pixel noData = factory.getNoData();
    EXPECT_EQ(noData.pixelType, lumo_pixel::unsigned_integer);
    EXPECT_EQ(noData.bits, 8);
    EXPECT_EQ(noData.value, 0x2Au);
    EXPECT_EQ(factory.getCompressionInfo(),
              (std::map<std::string, std::string>{{"PadValue", "42"}}));
}

TEST_F(NCTiles, MaskedImageWithoutPadPixelHasNoNoDataAndBlankMissingBlocks) {
    OpenImage image(write(maskedRowOfBlocks(2, 0, false, 0)));
    const auto& factory = image.factory();
    EXPECT_TRUE(factory.getNoData().isNone());
    EXPECT_TRUE(factory.getCompressionInfo().empty());
    EXPECT_EQ(tileAt(factory, 0, 0, 0), factory.blankTile());
    EXPECT_EQ(tileBytes(factory, 1, 0, 0), std::vector<uint8_t>(8, 2));
}

TEST_F(NCTiles, MaskedImageBlockTableFollowsTheMask) {
    OpenImage image(write(maskedRowOfBlocks(3, 1, true, 0)));
    const auto* nitf = image.nitfFactory();
    ASSERT_NE(nitf, nullptr);
    const auto& table = nitf->getBlockTable();
    ASSERT_EQ(table.size(), 3u);
    const uint64_t tableLength = 4 + 2 + 2 + 2 + 1 + 3 * 4;
    EXPECT_EQ(table[0].offset, tableLength);
    EXPECT_EQ(table[2].offset, tableLength + 8);
    EXPECT_EQ(table[2].size, nitf->getDataLength() - table[2].offset);
    // A missing block's entry wraps in 32 bits: 0xFFFFFFFF + IMDATOFF.
    EXPECT_EQ(table[1].offset, tableLength - 1);
    EXPECT_EQ(table[1].size, 9u);
}

TEST_F(NCTiles, RowInterleavedImagesGiveFailedTiles) {
    ImageLayout layout = rowOfBlocks(2);
    layout.imode = "R";
    layout.bands = image_test::bands(2);
    layout.data = std::string(32, '\x05');
    OpenImage image(write(layout));
    for (uint32_t band = 0; band < 2; ++band) {
        const auto tile = tileAt(image.factory(), 1, 0, band);
        EXPECT_TRUE(tile->isFailed());
        EXPECT_TRUE(allBytesAre(tileBytes(image.factory(), 1, 0, band), 0xFF));
    }
}

TEST_F(NCTiles, WriteModeImagesGiveErrorTiles) {
    Tessel::ImageOptions options;
    options.mode = Tessel::ImageOptions::write_mode;
    OpenImage image(write(rowOfBlocks(2)), options);
    const auto tile = tileAt(image.factory(), 0, 0, 0);
    EXPECT_EQ(tile, image.factory().errorTile());
    EXPECT_TRUE(tile->isFailed());
}

TEST_F(NCTiles, TruncatedImageDataGivesFailedTilesForTheMissingBlocks) {
    ImageLayout layout = rowOfBlocks(3);
    layout.data.resize(12);  // block 0 whole, block 1 cut, block 2 gone
    OpenImage image(write(layout));
    EXPECT_FALSE(tileAt(image.factory(), 0, 0, 0)->isFailed());
    EXPECT_TRUE(tileAt(image.factory(), 1, 0, 0)->isFailed());
    EXPECT_TRUE(allBytesAre(tileBytes(image.factory(), 2, 0, 0), 0xFF));
}

TEST_F(NCTiles, MaskOffsetsOutsideTheFileGiveFailedTiles) {
    ImageLayout layout = rowOfBlocks(2);
    layout.ic = "NM";
    layout.data = image_test::blockMaskTable({0, 0x7FFFFFF0}, false) + std::string(8, '\x01');
    OpenImage image(write(layout));
    EXPECT_EQ(tileBytes(image.factory(), 0, 0, 0), std::vector<uint8_t>(8, 1));
    const auto tile = tileAt(image.factory(), 1, 0, 0);
    EXPECT_TRUE(tile->isFailed());
    EXPECT_TRUE(allBytesAre(tileBytes(image.factory(), 1, 0, 0), 0xFF));
}

TEST_F(NCTiles, MaskTableCutShortGivesFailedTilesAndNoCrash) {
    ImageLayout layout = rowOfBlocks(2);
    layout.ic = "NM";
    layout.data = std::string("\x00\x00\x00\x20\x00\x04", 6);
    OpenImage image(write(layout));
    for (uint32_t x = 0; x < image.factory().getBlocksX(); ++x) {
        EXPECT_TRUE(tileAt(image.factory(), x, 0, 0)->isFailed());
    }
}

TEST_F(NCTiles, BitsPerPixelRoundAndZeroGivesNoBytes) {
    Tessel::ImageOptions options;
    options.mode = Tessel::ImageOptions::write_mode;
    const std::pair<uint32_t, std::pair<uint32_t, uint32_t>> cases[] = {
        {12, {16, 2}}, {1, {1, 1}}, {0, {0, 0}}, {8, {8, 1}}, {32, {32, 4}}};
    for (const auto& [nbpp, expected] : cases) {
        ImageLayout layout = rowOfBlocks(1);
        layout.nbpp = nbpp;
        layout.abpp = std::min<uint32_t>(nbpp, 8);
        OpenImage image(write(layout, "nbpp" + std::to_string(nbpp) + ".ntf"), options);
        EXPECT_EQ(image.factory().getBitsPerPixel(), expected.first) << nbpp;
        EXPECT_EQ(image.factory().getBytesPerPixel(), expected.second) << nbpp;
        EXPECT_EQ(image.factory().getBlockBytes(), 8u * expected.second) << nbpp;
    }
}

TEST_F(NCTiles, ZeroBlocksPerRowAndPixelsPerBlockMeanTheWholeWidth) {
    Tessel::ImageOptions options;
    options.mode = Tessel::ImageOptions::write_mode;
    ImageLayout layout;
    layout.rows = 3;
    layout.cols = 5;
    layout.nbpr = 0;
    layout.nppbh = 0;
    layout.nppbv = 0;
    layout.data = std::string(15, '\x01');
    OpenImage image(write(layout), options);
    EXPECT_EQ(image.factory().getBlocksX(), 1u);
    EXPECT_EQ(image.factory().getBlockWidth(), 5u);
    EXPECT_EQ(image.factory().getBlockHeight(), 3u);
    EXPECT_EQ(image.factory().getBlocksY(), 1u);
}

TEST_F(NCTiles, SingleBlockTableHasTheDataLength) {
    ImageLayout layout = rowOfBlocks(1);
    layout.data += "extra";
    OpenImage image(write(layout));
    const auto* nitf = image.nitfFactory();
    ASSERT_NE(nitf, nullptr);
    ASSERT_EQ(nitf->getBlockTable().size(), 1u);
    EXPECT_EQ(nitf->getBlockTable()[0].size, 13u);
    EXPECT_EQ(nitf->getDataLength(), 13u);
}

TEST_F(NCTiles, UndecodableCompressionOpensAndReadsBlankTiles) {
    ImageLayout layout = rowOfBlocks(2);
    layout.ic = "C1";
    layout.comrat = "    ";
    OpenImage image(write(layout));
    const auto& factory = image.factory();
    EXPECT_EQ(factory.getWidth(), 8u);
    EXPECT_EQ(factory.getBlocksX(), 2u);
    EXPECT_TRUE(factory.getCompressionInfo().empty());
    EXPECT_TRUE(factory.getNoData().isNone());
    EXPECT_FALSE(factory.hasInternalLevel(0));
    EXPECT_EQ(tileAt(factory, 1, 0, 0), factory.blankTile());
}

TEST_F(NCTiles, ImodeXOrZGivesNoBlockTableAndNoError) {
    for (const char* mode : {"X", "Z"}) {
        ImageLayout layout = rowOfBlocks(2);
        layout.ic = "C1";
        layout.imode = mode;
        OpenImage image(write(layout, std::string(mode) + ".ntf"));
        const auto* nitf = image.nitfFactory();
        ASSERT_NE(nitf, nullptr);
        EXPECT_TRUE(nitf->getBlockTable().empty()) << mode;
    }
}

TEST_F(NCTiles, UnknownImodeStopsTheImage) {
    ImageLayout layout = rowOfBlocks(1);
    layout.imode = "Q";
    try {
        OpenImage image(write(layout));
        FAIL() << "the image opened";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "IMODE is not defined");
    }
}

TEST_F(NCTiles, UncompressedFactoryHasNoInternalLevels) {
    OpenImage image(write(rowOfBlocks(1)));
    EXPECT_FALSE(image.factory().hasInternalLevel(0));
    EXPECT_FALSE(image.factory().hasInternalLevel(1));
    EXPECT_TRUE(image.factory().getNoData().isNone());
}
