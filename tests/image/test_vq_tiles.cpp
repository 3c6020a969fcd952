// Vector quantised tiles (C4, M4) of small RPF frames written by the tests: where subframes
// are found, how codes expand through the codebooks, absent subframes, and the factory's
// answers.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "image/TileMakers.h"
#include "support/FileTestSupport.h"
#include "support/TileReading.h"
#include "support/VqFrames.h"
#include "tessel/image/NITFImage.h"
#include "tessel/image/TileFactory.h"

namespace {

using tile_test::OpenImage;
using vq_test::Frame;

// The codes of a subframe: every code `code(g, j)`.
std::string codes(const std::function<uint32_t(uint32_t, uint32_t)>& code) {
    return vq_test::packCodes(code);
}

std::string uniformCodes(uint32_t value) {
    return codes([value](uint32_t, uint32_t) { return value; });
}

// Varied codes over the whole 12-bit range.
std::string mixedCodes(uint32_t seed) {
    return codes([seed](uint32_t g, uint32_t j) { return (g * 613 + j * 97 + seed * 31) % 4096; });
}

class VqTiles : public ::testing::Test {
protected:
    std::filesystem::path write(const Frame& frame) {
        const auto path = dir_ / ("frame" + std::to_string(++count_) + ".ntf");
        vq_test::writeFrame(path, frame);
        return path;
    }

    file_test::TempDir dir_;
    int count_ = 0;
};

TEST_F(VqTiles, FrameDecodesEveryPixelThroughItsCodebooks) {
    Frame frame;
    frame.blocksX = 2;
    frame.blocksY = 2;
    for (uint32_t i = 0; i < 4; ++i) {
        frame.subframes.push_back(mixedCodes(i));
    }
    OpenImage image(write(frame));
    ASSERT_EQ(image.factory().getBlocksX(), 2u);
    ASSERT_EQ(image.factory().getBlockBytes(), 65536u);
    for (uint32_t i = 0; i < 4; ++i) {
        const auto tile = tile_test::tileAt(image.factory(), i % 2, i / 2, 0);
        EXPECT_FALSE(tile->isFailed()) << i;
        EXPECT_EQ(tile_test::tileBytes(image.factory(), i % 2, i / 2, 0),
                  vq_test::expectedPixels(frame.subframes[i], frame.kernel))
            << "subframe " << i;
    }
}

TEST_F(VqTiles, ImageWithoutMaskSubsectionHasSubframesAtMultiplesOf6144) {
    Frame frame;
    frame.blocksX = 3;
    frame.subframes = {uniformCodes(5), uniformCodes(600), mixedCodes(2)};
    OpenImage image(write(frame));
    for (uint32_t x = 0; x < 3; ++x) {
        EXPECT_EQ(tile_test::tileBytes(image.factory(), x, 0, 0),
                  vq_test::expectedPixels(frame.subframes[x], frame.kernel))
            << "subframe " << x;
    }
}

TEST_F(VqTiles, MaskSubsectionPlacesEachSubframe) {
    Frame frame;
    frame.blocksX = 2;
    frame.blocksY = 2;
    frame.subframes = {mixedCodes(0), mixedCodes(1), mixedCodes(2), mixedCodes(3)};
    // Stored in reverse order.
    frame.mask = std::vector<uint32_t>{3 * 6144, 2 * 6144, 6144, 0};
    OpenImage image(write(frame));
    for (uint32_t i = 0; i < 4; ++i) {
        EXPECT_EQ(tile_test::tileBytes(image.factory(), i % 2, i / 2, 0),
                  vq_test::expectedPixels(frame.subframes[3 - i], frame.kernel))
            << "block " << i;
    }
}

TEST_F(VqTiles, MaskWithTransparentCodeStartsItsOffsetsAfterTheCode) {
    Frame frame;
    frame.blocksX = 2;
    frame.subframes = {mixedCodes(0), mixedCodes(1)};
    frame.mask = std::vector<uint32_t>{6144, 0};
    frame.transparentCode = true;
    OpenImage image(write(frame));
    EXPECT_EQ(tile_test::tileBytes(image.factory(), 0, 0, 0),
              vq_test::expectedPixels(frame.subframes[1], frame.kernel));
    EXPECT_EQ(tile_test::tileBytes(image.factory(), 1, 0, 0),
              vq_test::expectedPixels(frame.subframes[0], frame.kernel));
}

TEST_F(VqTiles, SubframeWithMaskEntryFFFFFFFFReadsAs217AndNoDataIs217) {
    Frame frame;
    frame.blocksX = 2;
    frame.subframes = {mixedCodes(0)};
    frame.mask = std::vector<uint32_t>{0xFFFFFFFF, 0};
    OpenImage image(write(frame));
    const auto& factory = image.factory();
    EXPECT_EQ(tile_test::tileAt(factory, 0, 0, 0), factory.blankTile());
    EXPECT_EQ(tile_test::tileBytes(factory, 0, 0, 0), std::vector<uint8_t>(65536, 217));
    EXPECT_EQ(tile_test::tileBytes(factory, 1, 0, 0),
              vq_test::expectedPixels(frame.subframes[0], frame.kernel));
    const lumo_pixel::pixel noData = image.image().getNoData();
    EXPECT_EQ(noData.pixelType, lumo_pixel::unsigned_integer);
    EXPECT_EQ(noData.bits, 8u);
    EXPECT_EQ(noData.value, 217u);
    std::vector<uint8_t> block;
    ASSERT_TRUE(image.image().readBlock(0, 0, 0, block));
    EXPECT_EQ(block, std::vector<uint8_t>(65536, 217));
}

TEST_F(VqTiles, CodebookWithWrongRecordLayoutLeavesThatTableZeroAndDecodesAsIndex0) {
    Frame frame;
    frame.subframes = {mixedCodes(4)};
    frame.lookups[2].values = 3;
    OpenImage image(write(frame));
    const auto pixels = tile_test::tileBytes(image.factory(), 0, 0, 0);
    EXPECT_EQ(pixels,
              vq_test::expectedPixels(frame.subframes[0], frame.kernel, {true, true, false, true}));
    // Row 2 of every kernel is index 0.
    for (uint32_t row = 2; row < 256; row += 4) {
        EXPECT_EQ(std::count(pixels.begin() + row * 256, pixels.begin() + (row + 1) * 256, 0), 256)
            << row;
    }
}

TEST_F(VqTiles, CodebookRecordOfOtherBitsOrCountIsNotLoaded) {
    Frame frame;
    frame.subframes = {mixedCodes(6)};
    frame.lookups[0].bits = 4;
    frame.lookups[3].records = 2048;  // codes past a shorter table mustn't reach beyond it
    OpenImage image(write(frame));
    EXPECT_EQ(
        tile_test::tileBytes(image.factory(), 0, 0, 0),
        vq_test::expectedPixels(frame.subframes[0], frame.kernel, {false, true, true, false}));
}

TEST_F(VqTiles, LookupOfAnotherAlgorithmOrRecordLengthLeavesAllTablesZero) {
    for (const bool wrongAlgorithm : {true, false}) {
        Frame frame;
        frame.subframes = {mixedCodes(7)};
        if (wrongAlgorithm) {
            frame.algorithm = 2;
        } else {
            frame.lookupRecordLength = 16;
        }
        OpenImage image(write(frame));
        const auto tile = tile_test::tileAt(image.factory(), 0, 0, 0);
        EXPECT_FALSE(tile->isFailed());
        EXPECT_EQ(tile_test::tileBytes(image.factory(), 0, 0, 0), std::vector<uint8_t>(65536, 0))
            << wrongAlgorithm;
    }
}

TEST_F(VqTiles, LastThreeBytesOfASubframeProduceColumns248To255OfItsLastFourRows) {
    Frame frame;
    std::string subframe(6144, '\0');
    // Codes 0xABC and 0x123.
    subframe[6141] = static_cast<char>(0xAB);
    subframe[6142] = static_cast<char>(0xC1);
    subframe[6143] = static_cast<char>(0x23);
    frame.subframes = {subframe};
    OpenImage image(write(frame));
    const auto pixels = tile_test::tileBytes(image.factory(), 0, 0, 0);
    for (uint32_t row = 0; row < 256; ++row) {
        for (uint32_t col = 0; col < 256; ++col) {
            uint32_t code = 0;
            if (row >= 252 && col >= 248) {
                code = col < 252 ? 0xABC : 0x123;
            }
            ASSERT_EQ(pixels[row * 256 + col], frame.kernel(code, row % 4, col % 4))
                << row << "," << col;
        }
    }
}

TEST_F(VqTiles, MaskedFrameDecodes) {
    Frame frame;
    frame.ic = "M4";
    frame.blocksX = 2;
    frame.subframes = {mixedCodes(8), mixedCodes(9)};
    frame.mask = std::vector<uint32_t>{0, 6144};
    OpenImage image(write(frame));
    EXPECT_EQ(image.image().getCompressionType(), Tessel::eCompressionM4);
    for (uint32_t x = 0; x < 2; ++x) {
        EXPECT_EQ(tile_test::tileBytes(image.factory(), x, 0, 0),
                  vq_test::expectedPixels(frame.subframes[x], frame.kernel));
    }
}

TEST_F(VqTiles, FrameWithoutSpatialDataFailsEveryTile) {
    Frame frame;
    frame.blocksX = 2;
    frame.withSpatialData = false;
    OpenImage image(write(frame));
    for (uint32_t x = 0; x < 2; ++x) {
        const auto tile = tile_test::tileAt(image.factory(), x, 0, 0);
        EXPECT_TRUE(tile->isFailed());
        EXPECT_EQ(tile->getFlags() & Tessel::Tile::failed_flag, Tessel::Tile::failed_flag);
        EXPECT_EQ(tile_test::tileBytes(image.factory(), x, 0, 0),
                  std::vector<uint8_t>(65536, 0xFF));
    }
}

TEST_F(VqTiles, FactoryDescribesVectorQuantisation) {
    Frame frame;
    frame.subframes = {mixedCodes(1)};
    OpenImage image(write(frame));
    const auto& factory = image.factory();
    const auto info = factory.getCompressionInfo();
    ASSERT_EQ(info.size(), 1u);
    EXPECT_EQ(info.at("Type"), "Vector Quantization");
    EXPECT_FALSE(factory.hasInternalLevel(0));
    EXPECT_FALSE(factory.hasInternalLevel(1));
    EXPECT_EQ(factory.getNoData().value, 217u);
    EXPECT_EQ(factory.getBitsPerPixel(), 8u);
    EXPECT_EQ(factory.getBlockWidth(), 256u);
    // A band past the image's bands is the blank tile: 217.
    EXPECT_EQ(tile_test::tileAt(factory, 0, 0, 1), factory.blankTile());
}

TEST_F(VqTiles, MakerIsRegisteredBeforeTheUncompressedOne) {
    const auto names = Tessel::registeredTileFactories();
    const auto vq = std::find(names.begin(), names.end(), "C4_M4_VQ");
    const auto nc = std::find(names.begin(), names.end(), "NC_MC_NoCompression");
    ASSERT_NE(vq, names.end());
    ASSERT_NE(nc, names.end());
    EXPECT_LT(vq - names.begin(), nc - names.begin());
}

TEST_F(VqTiles, OtherCompressionsAreNotTakenByTheVqMaker) {
    Frame frame;
    frame.subframes = {mixedCodes(1)};
    frame.ic = "C1";
    OpenImage image(write(frame));
    EXPECT_TRUE(image.factory().getCompressionInfo().empty());
    EXPECT_EQ(tile_test::tileAt(image.factory(), 0, 0, 0), image.factory().blankTile());
}

}  // namespace
