// Vector quantised frames that lie: locations and offsets beyond the file, subframes cut
// short, colour tables longer than the file, blocks of another size. Each read ends in failed
// tiles (0xFF, failed flag) or a refused image, never in a crash or a read out of bounds.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "support/FileTestSupport.h"
#include "support/TileReading.h"
#include "support/VqFrames.h"
#include "tessel/core/NITFMessages.h"
#include "tessel/file/NITFFile.h"
#include "tessel/image/NITFImage.h"

namespace {

using tile_test::OpenImage;
using vq_test::Frame;

std::string someCodes(uint32_t seed) {
    return vq_test::packCodes(
        [seed](uint32_t g, uint32_t j) { return (g * 131 + j * 29 + seed) % 4096; });
}

class VqBadInput : public ::testing::Test {
protected:
    std::filesystem::path write(const Frame& frame) {
        const auto path = dir_ / ("frame" + std::to_string(++count_) + ".ntf");
        vq_test::writeFrame(path, frame);
        return path;
    }

    static void expectFailed(const Tessel::TileFactory& factory, uint32_t x, uint32_t y) {
        const auto tile = tile_test::tileAt(factory, x, y, 0);
        EXPECT_TRUE(tile->isFailed()) << x << "," << y;
        EXPECT_EQ(tile_test::tileBytes(factory, x, y, 0),
                  std::vector<uint8_t>(factory.getBlockBytes(), 0xFF))
            << x << "," << y;
    }

    file_test::TempDir dir_;
    int count_ = 0;
};

TEST_F(VqBadInput, SubframeCutShortByTheEndOfTheFileFails) {
    Frame frame;
    frame.blocksX = 2;
    // The second subframe holds only half its codes, and the file ends there.
    frame.subframes = {someCodes(1), someCodes(2).substr(0, 3000)};
    OpenImage image(write(frame));
    EXPECT_EQ(tile_test::tileBytes(image.factory(), 0, 0, 0),
              vq_test::expectedPixels(frame.subframes[0], frame.kernel));
    expectFailed(image.factory(), 1, 0);
}

TEST_F(VqBadInput, SubframesMissingFromTheSpatialDataFail) {
    Frame frame;
    frame.blocksX = 3;
    frame.blocksY = 2;
    frame.subframes = {someCodes(1)};  // five of six subframes aren't there
    OpenImage image(write(frame));
    EXPECT_FALSE(tile_test::tileAt(image.factory(), 0, 0, 0)->isFailed());
    for (uint32_t i = 1; i < 6; ++i) {
        expectFailed(image.factory(), i % 3, i / 3);
    }
}

TEST_F(VqBadInput, MaskOffsetBeyondTheFileFailsItsTile) {
    Frame frame;
    frame.blocksX = 2;
    frame.subframes = {someCodes(3)};
    frame.mask = std::vector<uint32_t>{0, 0x7FFFFFF0};
    OpenImage image(write(frame));
    EXPECT_FALSE(tile_test::tileAt(image.factory(), 0, 0, 0)->isFailed());
    expectFailed(image.factory(), 1, 0);
}

TEST_F(VqBadInput, SpatialDataLocationBeyondTheFileFailsEveryTile) {
    Frame frame;
    frame.blocksX = 2;
    frame.subframes = {someCodes(1), someCodes(2)};
    frame.lyingOffsets[140] = 0xFFFF0000;
    OpenImage image(write(frame));
    expectFailed(image.factory(), 0, 0);
    expectFailed(image.factory(), 1, 0);
}

TEST_F(VqBadInput, LookupLocationBeyondTheFileFailsEveryTile) {
    for (const uint16_t id : {131, 132, 138}) {
        Frame frame;
        frame.subframes = {someCodes(4)};
        frame.mask = std::vector<uint32_t>{0};
        frame.lyingOffsets[id] = 0x7FFFFF00;
        OpenImage image(write(frame));
        SCOPED_TRACE(id);
        expectFailed(image.factory(), 0, 0);
    }
}

TEST_F(VqBadInput, LookupOffsetsBeyondTheFileFailEveryTile) {
    // The offsets inside the lookup subsection point past the file's end: the record table
    // in one frame, the first codebook in the other.
    Frame records;
    records.subframes = {someCodes(5)};
    records.lookupOffsetTable = 0xFFFFFF00;
    OpenImage first(write(records));
    expectFailed(first.factory(), 0, 0);

    Frame table;
    table.subframes = {someCodes(5)};
    table.firstTableOffset = 0x7FFFFFF0;
    OpenImage second(write(table));
    expectFailed(second.factory(), 0, 0);
}

TEST_F(VqBadInput, MaskTableLongerThanTheFileFailsEveryTile) {
    Frame frame;
    frame.blocksX = 40;
    frame.blocksY = 40;  // 1600 mask entries claimed, few stored
    frame.subframes = {someCodes(6)};
    frame.mask = std::vector<uint32_t>{0};
    OpenImage image(write(frame));
    expectFailed(image.factory(), 0, 0);
    expectFailed(image.factory(), 39, 39);
}

TEST_F(VqBadInput, BlocksOtherThan256SquareFailInsteadOfOverflowing) {
    Frame frame;
    frame.subframes = {someCodes(7)};
    frame.blockSide = 128;
    OpenImage image(write(frame));
    ASSERT_EQ(image.factory().getBlockBytes(), 128u * 128u);
    expectFailed(image.factory(), 0, 0);
}

TEST_F(VqBadInput, ColourTableLongerThanTheFileRefusesTheImage) {
    Frame frame;
    frame.subframes = {someCodes(8)};
    frame.palette.assign(216, {1, 2, 3, 4});
    frame.claimedPaletteRecords = 0x40000000;  // 4 GiB of colours claimed
    const auto path = write(frame);
    Tessel::NITFMessages messages;
    const auto context =
        Tessel::NITFFactory::get().open(Tessel::NITFURI(std::string_view(path.string())), messages);
    ASSERT_TRUE(context);
    // The colour section is read when the image is made: the image is refused with the
    // location reader's message, before anything of the claimed size is allocated.
    try {
        const auto image = context.getFile().getImage({});
        FAIL() << "the image was made";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "RPFIMG: Unable to read NITF File");
    }
}

TEST_F(VqBadInput, ColourTableWithinTheFileGivesTheColourMap) {
    Frame frame;
    frame.subframes = {someCodes(8)};
    for (uint32_t i = 0; i < 216; ++i) {
        frame.palette.push_back({static_cast<uint8_t>(i), static_cast<uint8_t>(255 - i),
                                 static_cast<uint8_t>(i / 2), 0});
    }
    OpenImage image(write(frame));
    const auto* map =
        std::get_if<std::vector<std::array<uint8_t, 4>>>(&image.image().getColorMap(0));
    ASSERT_NE(map, nullptr);
    ASSERT_EQ(map->size(), 216u);
    EXPECT_EQ((*map)[10], (std::array<uint8_t, 4>{10, 245, 5, 0}));
    EXPECT_FALSE(tile_test::tileAt(image.factory(), 0, 0, 0)->isFailed());
}

}  // namespace
