// No byte of one file's pixels, or of earlier memory, reaches the reader of another file.
// Tile and block buffers are handed back for reuse; a tile whose content no decoder writes
// (the blank tiles of an image without a decoder, the end of a block cut short) must not
// show what such a buffer held before.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "support/FileTestSupport.h"
#include "support/ImageFileBuilder.h"
#include "support/ImageTestFiles.h"
#include "tessel/core/RecycledBuffers.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/image/NITFImage.h"
#include "tessel/image/TilePool.h"

using namespace Tessel;

namespace {

// 256 x 256 8-bit samples in one block: a tile of 64 KiB, large enough to be recycled.
constexpr uint32_t kIsolationSide = 256;
constexpr uint8_t kFirstFileByte = 0xA7;

image_test::ImageLayout isolationLayout(const std::string& ic, std::string data) {
    image_test::ImageLayout layout;
    layout.rows = kIsolationSide;
    layout.cols = kIsolationSide;
    layout.nppbh = kIsolationSide;
    layout.nppbv = kIsolationSide;
    layout.ic = ic;
    if (ic != "NC") {
        layout.comrat = "00.0";
    }
    layout.data = std::move(data);
    return layout;
}

// Reads every block of the first file's one image, so that its tiles and I/O blocks hold
// its bytes, then lets all of them go back for reuse.
void readAndForgetFirstFile(const file_test::TempDir& dir) {
    const auto path = dir.path() / "first.ntf";
    const std::string pixels(size_t{kIsolationSide} * kIsolationSide,
                             static_cast<char>(kFirstFileByte));
    image_test::ImageFileBuilder().add(isolationLayout("NC", pixels)).write(path);
    {
        auto opened = image_test::openImage(path);
        ASSERT_TRUE(opened.image);
        std::vector<uint8_t> block;
        ASSERT_TRUE(opened->readBlock(0, 0, 0, block));
        ASSERT_GE(block.size(), pixels.size());
        ASSERT_EQ(std::count(block.begin(), block.end(), kFirstFileByte),
                  static_cast<std::ptrdiff_t>(pixels.size()));
    }
    NITFFactory::get().clearCache();
    TilePool::get()->clearCache(nullptr);
    // The tile's buffer now waits for the next tile of its size.
    ASSERT_GT(RecycledBuffers::retainedBytes(), 0U);
}

std::vector<uint8_t> readFirstBlock(const std::filesystem::path& path) {
    auto opened = image_test::openImage(path);
    std::vector<uint8_t> block;
    if (opened.image) {
        opened->readBlock(0, 0, 0, block);
        block.resize(std::min<size_t>(block.size(), size_t{kIsolationSide} * kIsolationSide));
    }
    return block;
}

}  // namespace

TEST(ReadIsolation, BlankTilesOfAnImageWithoutDecoderHoldNoBytesOfAnEarlierRead) {
    file_test::TempDir dir;
    readAndForgetFirstFile(dir);
    const auto path = dir.path() / "c1.ntf";
    image_test::ImageFileBuilder().add(isolationLayout("C1", std::string(64, '\x11'))).write(path);

    const std::vector<uint8_t> block = readFirstBlock(path);
    ASSERT_EQ(block.size(), size_t{kIsolationSide} * kIsolationSide);
    EXPECT_EQ(std::count(block.begin(), block.end(), kFirstFileByte), 0);
    // Nothing defines the content: it is cleared.
    EXPECT_EQ(std::count(block.begin(), block.end(), 0), static_cast<std::ptrdiff_t>(block.size()));
    NITFFactory::get().clearCache();
    TilePool::get()->clearCache(nullptr);
}

TEST(ReadIsolation, UnknownCompressionReadsClearedBlocksAfterAnEarlierRead) {
    file_test::TempDir dir;
    readAndForgetFirstFile(dir);
    const auto path = dir.path() / "i1.ntf";
    image_test::ImageFileBuilder().add(isolationLayout("I1", std::string(64, '\x22'))).write(path);

    const std::vector<uint8_t> block = readFirstBlock(path);
    ASSERT_EQ(block.size(), size_t{kIsolationSide} * kIsolationSide);
    EXPECT_EQ(std::count(block.begin(), block.end(), kFirstFileByte), 0);
    NITFFactory::get().clearCache();
    TilePool::get()->clearCache(nullptr);
}

TEST(ReadIsolation, BlockCutShortHoldsNoBytesOfAnEarlierRead) {
    file_test::TempDir dir;
    readAndForgetFirstFile(dir);
    // The segment holds only 1000 of the block's 65536 bytes.
    const auto path = dir.path() / "short.ntf";
    image_test::ImageFileBuilder()
        .add(isolationLayout("NC", std::string(1000, '\x11')))
        .write(path);

    const std::vector<uint8_t> block = readFirstBlock(path);
    ASSERT_EQ(block.size(), size_t{kIsolationSide} * kIsolationSide);
    EXPECT_EQ(std::count(block.begin(), block.end(), kFirstFileByte), 0);
    for (const uint8_t value : block) {
        ASSERT_TRUE(value == 0x11 || value == 0 || value == 0xFF) << int{value};
    }
    NITFFactory::get().clearCache();
    TilePool::get()->clearCache(nullptr);
}
