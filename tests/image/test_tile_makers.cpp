#include <gtest/gtest.h>

#include <filesystem>

#include "support/FileTestSupport.h"
#include "support/ImageFileBuilder.h"
#include "support/TileReading.h"
#include "support/TileTestSupport.h"

using image_test::ImageFileBuilder;
using image_test::ImageLayout;
using tile_test::OpenImage;

namespace {

// A maker that only answers images of two test categories: one it refuses by throwing,
// one it serves with a test factory.
const bool testMakerRegistered = [] {
    Tessel::registerTileFactory(
        "Test_Categories",
        [](const Tessel::NITFImage* image,
           const Tessel::ImageOptions&) -> std::unique_ptr<Tessel::TileFactory> {
            const std::string category = image->getImageCategory();
            if (category.rfind("TESTMAKR", 0) == 0) {
                throw std::runtime_error("maker refused");
            }
            if (category.rfind("TESTACPT", 0) == 0) {
                return std::make_unique<tile_test::TestTileFactory>(
                    tile_test::TestTileFactory::Grid{});
            }
            return nullptr;
        });
    return true;
}();

ImageLayout smallImage(const std::string& ic, const std::string& icat) {
    ImageLayout layout;
    layout.rows = 2;
    layout.cols = 2;
    layout.ic = ic;
    layout.icat = icat;
    layout.data = std::string(4, '\x09');
    return layout;
}

class TileMakers : public ::testing::Test {
protected:
    std::filesystem::path write(const ImageLayout& layout) {
        const auto path = dir_ / ("image" + std::to_string(++count_) + ".ntf");
        ImageFileBuilder().add(layout).write(path);
        return path;
    }
    file_test::TempDir dir_;
    int count_ = 0;
};

}  // namespace

TEST_F(TileMakers, EarlierMakersWinOverLaterOnes) {
    OpenImage uncompressed(write(smallImage("NC", "TESTACPT")));
    EXPECT_TRUE(uncompressed.factory().getCompressionInfo().empty());
    EXPECT_NE(uncompressed.nitfFactory(), nullptr);
    OpenImage other(write(smallImage("C1", "TESTACPT")));
    EXPECT_EQ(other.factory().getCompressionInfo().at("Type"), "Test");
}

TEST_F(TileMakers, AThrowingMakerStopsTheImageWithItsException) {
    try {
        OpenImage image(write(smallImage("C1", "TESTMAKR")));
        FAIL() << "the image was made";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "maker refused");
    }
}

TEST_F(TileMakers, CompressionsWithoutMakerGetTheErrorFactory) {
    // C8 and M8 have makers of their own, which refuse data that isn't JPEG 2000.
    for (const char* ic : {"I1"}) {
        ImageLayout layout = smallImage(ic, "VIS");
        layout.comrat = "00.0";
        OpenImage image(write(layout));
        const auto* nitf = image.nitfFactory();
        ASSERT_NE(nitf, nullptr) << ic;
        EXPECT_TRUE(image.factory().getCompressionInfo().empty()) << ic;
        EXPECT_EQ(image.factory().getWidth(), 2u) << ic;
        EXPECT_EQ(tile_test::tileAt(image.factory(), 0, 0, 0), image.factory().blankTile()) << ic;
    }
}
