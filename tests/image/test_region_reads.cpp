#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <vector>

#include "support/FileTestSupport.h"
#include "support/ImageTestFiles.h"
#include "tessel/image/NITFImage.h"
#include "tessel/image/TileFactory.h"

using namespace Tessel;

namespace {

// Samples tell where they come from: level * 10000 + band * 5000 + row * 64 + column.
uint64_t coded(uint32_t level, uint32_t band, uint32_t row, uint32_t column) {
    return level * 10000 + band * 5000 + row * 64 + column;
}

image_test::Grid codedGrid(uint32_t rows, uint32_t cols, uint32_t blockRows, uint32_t blockCols,
                           uint32_t bands = 1, uint32_t level = 0) {
    image_test::Grid grid;
    grid.rows = rows;
    grid.cols = cols;
    grid.blockRows = blockRows;
    grid.blockCols = blockCols;
    grid.bands = bands;
    grid.nbpp = 16;
    grid.sample = [level](uint32_t band, uint32_t row, uint32_t column) {
        return coded(level, band, row, column);
    };
    return grid;
}

uint16_t sampleAt(const std::vector<uint8_t>& out, size_t plane, uint32_t row, uint32_t column,
                  uint32_t outWidth, uint32_t outHeight) {
    uint16_t value = 0;
    const size_t at = (plane * outWidth * outHeight + size_t{row} * outWidth + column) * 2;
    std::memcpy(&value, out.data() + at, 2);
    return value;
}

struct Decoded {
    uint32_t level, band, row, column;
};

Decoded decode(uint16_t value) {
    return {value / 10000u, (value % 10000u) / 5000u, (value % 5000u) / 64u, value % 64u};
}

class RegionReads : public ::testing::Test {
protected:
    void SetUp() override {
        // 23 x 21 pixels in blocks of 4 across and 5 down, two bands.
        image_test::writeGrid(dir_ / "a.ntf", codedGrid(21, 23, 5, 4, 2));
        opened_ = image_test::openImage(dir_ / "a.ntf");
        ASSERT_TRUE(opened_.image);
    }

    void expectUnscaled(uint32_t x, uint32_t y, uint32_t width, uint32_t height,
                        const std::vector<int>& bands) {
        std::vector<uint8_t> out;
        ASSERT_TRUE(opened_->readRegionViaPixels(x, y, width, height, width, height, bands, out));
        ASSERT_GE(out.size(), bands.size() * width * height * 2);
        for (size_t plane = 0; plane < bands.size(); ++plane) {
            for (uint32_t r = 0; r < height; ++r) {
                for (uint32_t c = 0; c < width; ++c) {
                    ASSERT_EQ(sampleAt(out, plane, r, c, width, height),
                              coded(0, static_cast<uint32_t>(bands[plane]), y + r, x + c))
                        << "plane " << plane << " row " << r << " column " << c;
                }
            }
        }
    }

    file_test::TempDir dir_;
    image_test::OpenImage opened_;
};

}  // namespace

TEST_F(RegionReads, UnscaledWindowStartingInsideABlockCrossesSeamsWithoutGaps) {
    expectUnscaled(3, 2, 13, 11, {0, 1});
}

TEST_F(RegionReads, UnscaledWindowReachesTheImageEdge) {
    expectUnscaled(10, 9, 13, 12, {0});
    expectUnscaled(0, 0, 23, 21, {1});
}

TEST_F(RegionReads, PlanesFollowTheOrderOfBands) {
    expectUnscaled(1, 1, 6, 7, {1, 0});
}

TEST_F(RegionReads, SinglePixelWindow) {
    expectUnscaled(22, 20, 1, 1, {0, 1});
}

TEST_F(RegionReads, EmptyBandsReadNothingAndKeepTheBuffer) {
    std::vector<uint8_t> out{1, 2, 3};
    EXPECT_TRUE(opened_->readRegionViaPixels(0, 0, 8, 8, 8, 8, {}, out));
    EXPECT_EQ(out, (std::vector<uint8_t>{1, 2, 3}));
}

TEST_F(RegionReads, BufferGrowsButNeverShrinks) {
    std::vector<uint8_t> out(10000, 0xAB);
    ASSERT_TRUE(opened_->readRegionViaPixels(0, 0, 4, 4, 4, 4, {0}, out));
    EXPECT_EQ(out.size(), 10000u);
    EXPECT_EQ(sampleAt(out, 0, 3, 3, 4, 4), coded(0, 0, 3, 3));
    EXPECT_EQ(out[32], 0xAB);
}

TEST_F(RegionReads, ReadBlockGivesOneBandOfOneBlock) {
    std::vector<uint8_t> out;
    ASSERT_TRUE(opened_->readBlock(1, 2, 1, out));
    const uint64_t blockBytes = opened_->getTileFactory()->getBlockBytes();
    ASSERT_EQ(blockBytes, 4u * 5u * 2u);
    ASSERT_EQ(out.size(), blockBytes);
    for (uint32_t r = 0; r < 5; ++r) {
        for (uint32_t c = 0; c < 4; ++c) {
            uint16_t value = 0;
            std::memcpy(&value, out.data() + (r * 4 + c) * 2, 2);
            EXPECT_EQ(value, coded(0, 1, 10 + r, 4 + c));
        }
    }
    std::vector<uint8_t> big(1000, 0);
    ASSERT_TRUE(opened_->readBlock(0, 0, 0, big));
    EXPECT_EQ(big.size(), 1000u);
}

TEST_F(RegionReads, ReadBlockViaPixelsFindsTheBlockOfAPixel) {
    std::vector<uint8_t> byPixel;
    std::vector<uint8_t> byBlock;
    ASSERT_TRUE(opened_->readBlockViaPixels(5, 9, 0, byPixel));
    ASSERT_TRUE(opened_->readBlock(1, 1, 0, byBlock));
    EXPECT_EQ(byPixel, byBlock);
}

TEST_F(RegionReads, BlockOutsideTheGridReadsTrue) {
    std::vector<uint8_t> out;
    EXPECT_TRUE(opened_->readBlock(100, 100, 0, out));
    EXPECT_EQ(out.size(), opened_->getTileFactory()->getBlockBytes());
}

TEST_F(RegionReads, ReadRegionViaBlocksIsTheWindowOfThoseBlocks) {
    std::vector<uint8_t> byBlocks;
    std::vector<uint8_t> byPixels;
    ASSERT_TRUE(opened_->readRegionViaBlocks(1, 1, 3, 2, 12, 10, {0, 1}, byBlocks));
    ASSERT_TRUE(opened_->readRegionViaPixels(4, 5, 12, 10, 12, 10, {0, 1}, byPixels));
    EXPECT_EQ(byBlocks, byPixels);
}

TEST_F(RegionReads, WriteImageReadsNothing) {
    ImageOptions options;
    options.mode = ImageOptions::write_mode;
    const auto image = opened_.file->getImage(options);
    ASSERT_TRUE(image);
    std::vector<uint8_t> out;
    EXPECT_FALSE(image->readBlock(0, 0, 0, out));
    EXPECT_FALSE(image->readBlockViaPixels(0, 0, 0, out));
    EXPECT_FALSE(image->readRegionViaPixels(0, 0, 4, 4, 4, 4, {0}, out));
    EXPECT_FALSE(image->readRegionViaBlocks(0, 0, 1, 1, 4, 4, {0}, out));
    EXPECT_TRUE(out.empty());
}

// Downsampled reads with factors that divide the blocks: the output is the nearest
// neighbour of the window's sample grid.
TEST(RegionReadsScaled, IntegerFactorsPickEveryNthSample) {
    file_test::TempDir dir;
    image_test::writeGrid(dir / "a.ntf", codedGrid(36, 48, 12, 12));
    const auto opened = image_test::openImage(dir / "a.ntf");
    ASSERT_TRUE(opened.image);
    for (const uint32_t factor : {2u, 3u, 4u}) {
        const uint32_t x = 12;
        const uint32_t y = 12;
        const uint32_t width = 36;
        const uint32_t height = 24;
        const uint32_t outWidth = width / factor;
        const uint32_t outHeight = height / factor;
        std::vector<uint8_t> out;
        ASSERT_TRUE(
            opened->readRegionViaPixels(x, y, width, height, outWidth, outHeight, {0}, out));
        for (uint32_t r = 0; r < outHeight; ++r) {
            for (uint32_t c = 0; c < outWidth; ++c) {
                ASSERT_EQ(sampleAt(out, 0, r, c, outWidth, outHeight),
                          coded(0, 0, y + r * factor, x + c * factor))
                    << "factor " << factor << " row " << r << " column " << c;
            }
        }
    }
}

TEST(RegionReadsScaled, UnevenFactorsStayNearTheirSourceAndInOrder) {
    file_test::TempDir dir;
    image_test::writeGrid(dir / "a.ntf", codedGrid(40, 40, 7, 5));
    const auto opened = image_test::openImage(dir / "a.ntf");
    ASSERT_TRUE(opened.image);
    struct Case {
        uint32_t x, y, width, height, outWidth, outHeight;
    };
    for (const Case& k :
         {Case{3, 2, 34, 30, 20, 20}, Case{1, 4, 30, 33, 17, 13}, Case{0, 0, 10, 10, 25, 15}}) {
        std::vector<uint8_t> out;
        ASSERT_TRUE(opened->readRegionViaPixels(k.x, k.y, k.width, k.height, k.outWidth,
                                                k.outHeight, {0}, out));
        const double fx = static_cast<double>(k.width) / k.outWidth;
        const double fy = static_cast<double>(k.height) / k.outHeight;
        for (uint32_t r = 0; r < k.outHeight; ++r) {
            for (uint32_t c = 0; c < k.outWidth; ++c) {
                const Decoded d = decode(sampleAt(out, 0, r, c, k.outWidth, k.outHeight));
                const double wantRow = k.y + r * fy;
                const double wantColumn = k.x + c * fx;
                ASSERT_LE(std::abs(d.row - wantRow), fy + 1) << r << "," << c;
                ASSERT_LE(std::abs(d.column - wantColumn), fx + 1) << r << "," << c;
                ASSERT_GE(d.row, k.y);
                ASSERT_LT(d.row, k.y + k.height);
                ASSERT_GE(d.column, k.x);
                ASSERT_LT(d.column, k.x + k.width);
                if (c > 0) {
                    const Decoded left =
                        decode(sampleAt(out, 0, r, c - 1, k.outWidth, k.outHeight));
                    ASSERT_LE(left.column, d.column);
                }
                if (r > 0) {
                    const Decoded up = decode(sampleAt(out, 0, r - 1, c, k.outWidth, k.outHeight));
                    ASSERT_LE(up.row, d.row);
                }
            }
        }
    }
}

// ---------------------------------------------------------------------------------------
// Overview choice

namespace {

class OverviewChoice : public ::testing::Test {
protected:
    void writeLevels(bool withLevel2) {
        image_test::writeGrid(dir_ / "a.ntf", codedGrid(48, 48, 8, 8, 1, 0));
        image_test::writeGrid(dir_ / "a.ntf.r1", codedGrid(24, 24, 8, 8, 1, 1));
        if (withLevel2) {
            image_test::writeGrid(dir_ / "a.ntf.r2", codedGrid(12, 12, 4, 4, 1, 2));
        }
        opened_ = image_test::openImage(dir_ / "a.ntf");
        ASSERT_TRUE(opened_.image);
        ASSERT_EQ(opened_->getInternalPyramidLevels(), withLevel2 ? 2u : 1u);
    }

    // The level that served each sample of a read.
    std::vector<uint32_t> levelsOfRead(uint32_t x, uint32_t y, uint32_t width, uint32_t height,
                                       uint32_t outWidth, uint32_t outHeight) {
        std::vector<uint8_t> out;
        EXPECT_TRUE(
            opened_->readRegionViaPixels(x, y, width, height, outWidth, outHeight, {0}, out));
        std::vector<uint32_t> levels;
        for (uint32_t r = 0; r < outHeight; ++r) {
            for (uint32_t c = 0; c < outWidth; ++c) {
                levels.push_back(decode(sampleAt(out, 0, r, c, outWidth, outHeight)).level);
            }
        }
        return levels;
    }

    file_test::TempDir dir_;
    image_test::OpenImage opened_;
};

bool allEqual(const std::vector<uint32_t>& values, uint32_t expected) {
    return !values.empty() &&
           std::all_of(values.begin(), values.end(), [&](uint32_t v) { return v == expected; });
}

}  // namespace

TEST_F(OverviewChoice, FactorUpToOneAndAHalfStaysAtTheBase) {
    writeLevels(true);
    EXPECT_TRUE(allEqual(levelsOfRead(0, 0, 48, 48, 32, 32), 0));
}

TEST_F(OverviewChoice, FactorThreeWithOneLevelUsesLevelOne) {
    writeLevels(false);
    EXPECT_TRUE(allEqual(levelsOfRead(0, 0, 48, 48, 16, 16), 1));
}

TEST_F(OverviewChoice, FactorThreeWithTwoLevelsStillUsesLevelOne) {
    writeLevels(true);
    EXPECT_TRUE(allEqual(levelsOfRead(0, 0, 48, 48, 16, 16), 1));
}

TEST_F(OverviewChoice, FactorAboveThreeWithTwoLevelsUsesLevelTwo) {
    writeLevels(true);
    // 44 / 14 is about 3.14; level 2 reads (0, 0, 11, 11) of its 12 x 12 pixels.
    EXPECT_TRUE(allEqual(levelsOfRead(0, 0, 44, 44, 14, 14), 2));
}

TEST_F(OverviewChoice, LevelTooDeepIsLimitedToTheLevelsThereAre) {
    writeLevels(false);
    // A factor of 6 asks for level 2, which this image doesn't have: level 1 serves.
    EXPECT_TRUE(allEqual(levelsOfRead(0, 0, 48, 48, 8, 8), 1));
}

TEST_F(OverviewChoice, DelegatedWindowIsScaledDown) {
    writeLevels(false);
    std::vector<uint8_t> out;
    ASSERT_TRUE(opened_->readRegionViaPixels(10, 6, 20, 20, 10, 10, {0}, out));
    // Level 1 reads (5, 3, 10, 10) unscaled.
    for (uint32_t r = 0; r < 10; ++r) {
        for (uint32_t c = 0; c < 10; ++c) {
            ASSERT_EQ(sampleAt(out, 0, r, c, 10, 10), coded(1, 0, 3 + r, 5 + c));
        }
    }
}
