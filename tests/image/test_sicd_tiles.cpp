#include <gtest/gtest.h>

#include "support/FileTestSupport.h"
#include "support/ImageFileBuilder.h"
#include "support/TileReading.h"

using image_test::ImageFileBuilder;
using image_test::ImageLayout;
using tile_test::OpenImage;
using tile_test::tileBytes;

namespace {

// A single block of two bands in pixel interleave: the form of a complex image.
ImageLayout complexImage(uint64_t rows, uint64_t cols, uint32_t nbpp, const std::string& pvtype) {
    ImageLayout layout;
    layout.rows = rows;
    layout.cols = cols;
    layout.nbpp = nbpp;
    layout.abpp = nbpp;
    layout.pvtype = pvtype;
    layout.imode = "P";
    layout.bands = {image_test::band("M"), image_test::band("M")};
    layout.data.resize(rows * cols * 2 * (nbpp / 8));
    for (size_t i = 0; i < layout.data.size(); ++i) {
        layout.data[i] = static_cast<char>(i * 7 + 3);
    }
    return layout;
}

class ComplexTiles : public ::testing::Test {
protected:
    std::filesystem::path write(const ImageLayout& layout) {
        const auto path = dir_ / "complex.ntf";
        ImageFileBuilder builder;
        builder.add(layout).write(path);
        dataOffset_ = builder.dataOffset(0);
        return path;
    }

    file_test::TempDir dir_;
    uint64_t dataOffset_ = 0;
};

}  // namespace

TEST_F(ComplexTiles, StripsAreTheLargestDivisorBelowTwoMebibytes) {
    OpenImage image(write(complexImage(1000, 1000, 32, "R")));
    const auto& factory = image.factory();
    EXPECT_EQ(factory.getBlockWidth(), 1000u);
    EXPECT_EQ(factory.getBlockHeight(), 250u);
    EXPECT_EQ(factory.getBlocksY(), 4u);
    EXPECT_EQ(factory.getBlocksX(), 1u);
    EXPECT_EQ(factory.getBlockBytes(), 1000u * 8 * 250);
    EXPECT_EQ(factory.getBitsPerPixel(), 64u);
    EXPECT_EQ(factory.getBytesPerPixel(), 8u);
    EXPECT_EQ(factory.getPixelType(), lumo_pixel::complex_float);
    const auto info = factory.getCompressionInfo();
    EXPECT_EQ(info, (std::map<std::string, std::string>{{"Type", "NC_SICD"},
                                                        {"PixelType", "RE32F_IM32F"},
                                                        {"BandName", "IQ"},
                                                        {"TileWidth", "1000"},
                                                        {"TileHeight", "250"},
                                                        {"TileBytes", "8"},
                                                        {"TileBits", "64"}}));
}

TEST_F(ComplexTiles, APrimeHeightGivesOneRowStrips) {
    OpenImage image(write(complexImage(1009, 3, 16, "SI")));
    EXPECT_EQ(image.factory().getBlockHeight(), 1u);
    EXPECT_EQ(image.factory().getBlocksY(), 1009u);
}

TEST_F(ComplexTiles, AnImageOfOneRowHasOneStrip) {
    OpenImage image(write(complexImage(1, 5, 16, "SI")));
    EXPECT_EQ(image.factory().getBlockHeight(), 1u);
    EXPECT_EQ(image.factory().getBlocksY(), 1u);
}

TEST_F(ComplexTiles, EightBitSignedPairsAreAmplitudeAndPhaseWithNoSwap) {
    const ImageLayout layout = complexImage(4, 3, 8, "SI");
    OpenImage image(write(layout));
    const auto& factory = image.factory();
    EXPECT_EQ(factory.getPixelType(), lumo_pixel::complex_integer);
    EXPECT_EQ(factory.getBytesPerPixel(), 2u);
    const auto info = factory.getCompressionInfo();
    EXPECT_EQ(info.at("PixelType"), "AMP8I_PHS8I");
    EXPECT_EQ(info.at("BandName"), "AMPPHS");
    EXPECT_EQ(info.at("TileBytes"), "2");
    EXPECT_EQ(info.at("TileBits"), "16");
    EXPECT_EQ(factory.getBlockHeight(), 2u);
    const auto strip = tileBytes(factory, 0, 1, 0);
    EXPECT_EQ(strip, std::vector<uint8_t>(layout.data.begin() + 12, layout.data.begin() + 24));
}

TEST_F(ComplexTiles, EightBitUnsignedPairsAreOtherComplexFloat) {
    OpenImage image(write(complexImage(4, 3, 8, "INT")));
    EXPECT_EQ(image.factory().getPixelType(), lumo_pixel::complex_float);
    EXPECT_EQ(image.factory().getBytesPerPixel(), 2u);
    const auto info = image.factory().getCompressionInfo();
    EXPECT_EQ(info.at("PixelType"), "Other");
    EXPECT_EQ(info.at("BandName"), "Band1");
    EXPECT_EQ(info.size(), 7u);
}

TEST_F(ComplexTiles, SixteenBitComponentsAreSwappedEachByItself) {
    const ImageLayout layout = complexImage(2, 2, 16, "SI");
    OpenImage image(write(layout));
    const auto& factory = image.factory();
    EXPECT_EQ(factory.getCompressionInfo().at("PixelType"), "RE16I_IM16I");
    EXPECT_EQ(factory.getBlockHeight(), 1u);
    const auto strip = tileBytes(factory, 0, 1, 0);
    ASSERT_EQ(strip.size(), 8u);
    for (size_t i = 0; i < 8; i += 2) {
        EXPECT_EQ(strip[i], static_cast<uint8_t>(layout.data[8 + i + 1]));
        EXPECT_EQ(strip[i + 1], static_cast<uint8_t>(layout.data[8 + i]));
    }
}

TEST_F(ComplexTiles, TheFactoryShowsOneBandOfTheFilesTwo) {
    OpenImage image(write(complexImage(2, 2, 32, "R")));
    EXPECT_EQ(image.factory().getNumBands(), 1u);
    EXPECT_TRUE(image.factory().getNoData().isNone());
    EXPECT_FALSE(image.factory().hasInternalLevel(0));
    EXPECT_FALSE(image.factory().hasInternalLevel(3));
}

TEST_F(ComplexTiles, WriteModeTakesTheUncompressedPathWithTwoBands) {
    Tessel::ImageOptions options;
    options.mode = Tessel::ImageOptions::write_mode;
    OpenImage image(write(complexImage(2, 2, 32, "R")), options);
    EXPECT_EQ(image.factory().getNumBands(), 2u);
    EXPECT_EQ(image.factory().getBytesPerPixel(), 4u);
    EXPECT_TRUE(image.factory().getCompressionInfo().empty());
}

TEST_F(ComplexTiles, StripsReadTheRightRowsOfTheFile) {
    const ImageLayout layout = complexImage(6, 2, 32, "R");
    OpenImage image(write(layout));
    const auto& factory = image.factory();
    ASSERT_EQ(factory.getBlockHeight(), 3u);
    const auto strip = tileBytes(factory, 0, 1, 0);
    ASSERT_EQ(strip.size(), 48u);
    for (size_t i = 0; i < strip.size(); i += 4) {
        for (size_t k = 0; k < 4; ++k) {
            EXPECT_EQ(strip[i + k], static_cast<uint8_t>(layout.data[48 + i + 3 - k]));
        }
    }
}

TEST_F(ComplexTiles, AFileThatCanNoLongerBeOpenedStopsTheImage) {
    const auto path = write(complexImage(2, 2, 32, "R"));
    Tessel::NITFMessages messages;
    Tessel::NITFFileContext context =
        Tessel::NITFFactory::get().open(Tessel::NITFURI(std::string_view(path.string())), messages);
    ASSERT_TRUE(context);
    std::filesystem::remove(path);
    try {
        Tessel::NITFImage image(context.getFile().shared_from_this(), {}, messages);
        FAIL() << "the image was made";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "Cannot open the file");
    }
}
