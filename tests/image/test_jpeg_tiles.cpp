// JPEG-compressed images (C3, M3) built in the test: the block table from the marker scan,
// the default tables that COMRAT selects, the IREP colour rule, 12-bit streams, and the
// failures of bad streams.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/FileTestSupport.h"
#include "support/ImageFileBuilder.h"
#include "support/JpegStreams.h"
#include "support/TestPaths.h"
#include "support/TileReading.h"
#include "tessel/image/NITFTileFactory_C3.h"
#include "tessel/image/Tile.h"

namespace {

using image_test::ImageFileBuilder;
using image_test::ImageLayout;
using tile_test::OpenImage;
using tile_test::tileAt;

// A C3 image of one or more blocks in a row, each `width` x `height`.
ImageLayout jpegImage(const std::string& data, unsigned width, unsigned height, int bands,
                      unsigned blocksAcross = 1) {
    ImageLayout layout;
    layout.ic = "C3";
    layout.comrat = "00.0";
    layout.cols = uint64_t{width} * blocksAcross;
    layout.rows = height;
    layout.nbpr = blocksAcross;
    layout.nppbh = width;
    layout.nppbv = height;
    layout.imode = bands == 1 ? "B" : "P";
    layout.irep = bands == 1 ? "MONO" : "RGB";
    layout.bands = bands == 1
                       ? image_test::bands(1)
                       : std::vector<image_test::BandLayout>{
                             image_test::band("R"), image_test::band("G"), image_test::band("B")};
    layout.data = data;
    return layout;
}

class JpegTiles : public ::testing::Test {
protected:
    std::filesystem::path write(const ImageLayout& layout, const std::string& name = "jpeg.ntf") {
        const auto path = dir_ / name;
        ImageFileBuilder().add(layout).write(path);
        return path;
    }

    // The tile's samples, cut to `count` bytes.
    static std::vector<uint8_t> samples(const Tessel::TileFactory& factory, uint32_t x,
                                        uint32_t band, size_t count) {
        const auto tile = tileAt(factory, x, 0, band);
        EXPECT_FALSE(tile->isFailed());
        return std::vector<uint8_t>(tile->getBuffer(), tile->getBuffer() + count);
    }

    file_test::TempDir dir_;
};

// The default table of COMRAT digit `digit`, as the decoder keeps it.
const std::array<uint16_t, 64>& defaultTable(int digit) {
    return Tessel::NITFTileFactory_C3::defaultQuantTable(digit);
}

}  // namespace

TEST_F(JpegTiles, FactoryDescribesTheCodecAndMakesATileForEachBandOfTheBlock) {
    const auto source = jpeg_test::pattern(16, 16, 3);
    OpenImage image(write(jpegImage(jpeg_test::encode8(source, 16, 16, 3), 16, 16, 3)));
    const auto& factory = image.factory();
    EXPECT_EQ(factory.getCompressionInfo(), (std::map<std::string, std::string>{{"Type", "JPEG"}}));
    EXPECT_FALSE(factory.hasInternalLevel(0));
    EXPECT_TRUE(factory.getNoData().isNone());
    const Tessel::TileGroup group = factory.createTiles({&factory, 0, 0, 1});
    ASSERT_EQ(group.size(), 3u);
    uint32_t band = 0;
    for (const auto& [id, tile] : group) {
        EXPECT_EQ(id.band, band++);
        EXPECT_NE(dynamic_cast<Tessel::NITFTile_C3*>(tile.get()), nullptr);
    }
}

TEST_F(JpegTiles, BlockStreamWithItsOwnTablesIgnoresComrat) {
    const auto source = jpeg_test::pattern(16, 8, 1);
    const std::string stream = jpeg_test::encode8(source, 16, 8, 1);
    ImageLayout layout = jpegImage(stream, 16, 8, 1);
    layout.comrat = "00.9";  // a digit no table has: only a stream without tables fails on it
    OpenImage image(write(layout));
    EXPECT_EQ(samples(image.factory(), 0, 0, 16 * 8), jpeg_test::decode8(stream));
}

TEST_F(JpegTiles, ComratFourthCharacterSelectsTheDefaultTable) {
    const auto source = jpeg_test::pattern(16, 8, 1, 7);
    jpeg_test::Encoding encoding;
    encoding.quant = &defaultTable(2);
    const std::string full = jpeg_test::encode8(source, 16, 8, 1, encoding);
    encoding.writeTables = false;
    const std::string abbreviated = jpeg_test::encode8(source, 16, 8, 1, encoding);
    ASSERT_EQ(abbreviated.find("\xFF\xDB"), std::string::npos);
    ASSERT_EQ(abbreviated.find("\xFF\xC4"), std::string::npos);
    const auto expected = jpeg_test::decode8(full);

    ImageLayout layout = jpegImage(abbreviated, 16, 8, 1);
    layout.comrat = "00.2";
    OpenImage two(write(layout, "two.ntf"));
    EXPECT_EQ(samples(two.factory(), 0, 0, expected.size()), expected);

    layout.comrat = "00.3";
    OpenImage three(write(layout, "three.ntf"));
    EXPECT_NE(samples(three.factory(), 0, 0, expected.size()), expected);
}

TEST_F(JpegTiles, ComratShorterThanFourCharactersSelectsTableOne) {
    using Tessel::NITFTileFactory_C3;
    EXPECT_EQ(NITFTileFactory_C3::quantTableDigit(""), 1);
    EXPECT_EQ(NITFTileFactory_C3::quantTableDigit("1.0"), 1);
    EXPECT_EQ(NITFTileFactory_C3::quantTableDigit("00.2"), 2);
    EXPECT_EQ(NITFTileFactory_C3::quantTableDigit("00.5x"), 5);
    // The field as a file holds it is four characters: "1.0" is stored with a blank.
    EXPECT_EQ(NITFTileFactory_C3::quantTableDigit("1.0 "), -1);
    EXPECT_EQ(NITFTileFactory_C3::quantTableDigit("00.0"), -1);
    EXPECT_EQ(NITFTileFactory_C3::quantTableDigit("00.6"), -1);
}

TEST_F(JpegTiles, ComratDigitOutsideOneToFiveFailsTheTile) {
    jpeg_test::Encoding encoding;
    encoding.writeTables = false;
    const auto source = jpeg_test::pattern(8, 8, 1);
    for (const char* comrat : {"00.0", "00.6", "00.X"}) {
        ImageLayout layout = jpegImage(jpeg_test::encode8(source, 8, 8, 1, encoding), 8, 8, 1);
        layout.comrat = comrat;
        OpenImage image(write(layout, std::string("comrat") + comrat[3] + ".ntf"));
        EXPECT_TRUE(tileAt(image.factory(), 0, 0, 0)->isFailed()) << comrat;
    }
}

TEST_F(JpegTiles, MissingHuffmanTablesGetTheStandardLuminanceTables) {
    // libjpeg codes a grey image with the tables of Annex K, K.3 and K.5: leaving them out
    // of the stream changes nothing once the defaults are put back.
    const auto source = jpeg_test::pattern(24, 16, 1, 5);
    jpeg_test::Encoding encoding;
    encoding.quant = &defaultTable(4);
    const auto expected = jpeg_test::decode8(jpeg_test::encode8(source, 24, 16, 1, encoding));
    encoding.writeTables = false;
    ImageLayout layout = jpegImage(jpeg_test::encode8(source, 24, 16, 1, encoding), 24, 16, 1);
    layout.comrat = "00.4";
    OpenImage image(write(layout));
    EXPECT_EQ(samples(image.factory(), 0, 0, expected.size()), expected);
}

TEST_F(JpegTiles, IrepYCbCr601WithThreeComponentsGivesRgb) {
    const auto source = jpeg_test::pattern(16, 16, 3, 11);
    const std::string stream = jpeg_test::encode8(source, 16, 16, 3);
    ImageLayout layout = jpegImage(stream, 16, 16, 3);
    layout.irep = "YCbCr601";
    OpenImage image(write(layout));
    const auto rgb = jpeg_test::decode8(stream);
    for (int band = 0; band < 3; ++band) {
        EXPECT_EQ(samples(image.factory(), 0, static_cast<uint32_t>(band), 256),
                  jpeg_test::bandOf(rgb, 3, band))
            << band;
    }
}

TEST_F(JpegTiles, IrepRgbWithJfifMarkerGivesTheDataUnconverted) {
    const auto source = jpeg_test::pattern(16, 16, 3, 13);
    const std::string stream = jpeg_test::encode8(source, 16, 16, 3);
    ASSERT_NE(stream.find("JFIF"), std::string::npos);
    OpenImage image(write(jpegImage(stream, 16, 16, 3)));
    const auto stored = jpeg_test::decode8(stream, true);
    const auto converted = jpeg_test::decode8(stream);
    for (int band = 0; band < 3; ++band) {
        const auto ours = samples(image.factory(), 0, static_cast<uint32_t>(band), 256);
        EXPECT_EQ(ours, jpeg_test::bandOf(stored, 3, band)) << band;
        EXPECT_NE(ours, jpeg_test::bandOf(converted, 3, band)) << band;
    }
}

TEST_F(JpegTiles, TwelveBitStreamGivesTwoBytesPerSampleWithTheStreamsPrecision) {
    const std::vector<uint16_t> values = {0, 4095, 2048, 300, 3999, 1};
    ImageLayout layout = jpegImage(jpeg_test::flat12(24, 16, values), 24, 16, 1);
    layout.nbpp = 16;
    layout.abpp = 12;
    OpenImage image(write(layout));
    const auto& factory = image.factory();
    ASSERT_EQ(factory.getBytesPerPixel(), 2u);
    const auto bytes = samples(factory, 0, 0, 24 * 16 * 2);
    for (unsigned y = 0; y < 16; ++y) {
        for (unsigned x = 0; x < 24; ++x) {
            const size_t at = (size_t{y} * 24 + x) * 2;
            const auto sample = static_cast<uint16_t>(bytes[at] | bytes[at + 1] << 8);
            EXPECT_EQ(sample, values[(y / 8) * 3 + x / 8]) << x << "," << y;
        }
    }
}

TEST_F(JpegTiles, TwelveBitStreamWithRestartMarkersAndDefaultTables) {
    // Without DQT and DHT the defaults come in: table 5 and the Annex K codes, which the
    // stream's hand-made codes don't follow, so only the structure is checked here.
    ImageLayout layout = jpegImage(jpeg_test::flat12(32, 16, {100, 200, 300}, 3), 32, 16, 1);
    layout.nbpp = 16;
    OpenImage image(write(layout));
    const auto bytes = samples(image.factory(), 0, 0, 32 * 16 * 2);
    for (unsigned block = 0; block < 8; ++block) {
        const size_t at = (size_t{block / 4} * 8 * 32 + (block % 4) * 8) * 2;
        const uint16_t expected = std::vector<uint16_t>{100, 200, 300}[block % 3];
        EXPECT_EQ(static_cast<uint16_t>(bytes[at] | bytes[at + 1] << 8), expected) << block;
    }
    layout.data = jpeg_test::flat12(32, 16, {100, 200, 300}, 3, false);
    layout.comrat = "00.5";
    OpenImage defaults(write(layout, "defaults.ntf"));
    EXPECT_FALSE(tileAt(defaults.factory(), 0, 0, 0)->isFailed());
}

TEST_F(JpegTiles, FillBytesBeforeAMarkerAreSkippedInTheScan) {
    const auto first = jpeg_test::encode8(jpeg_test::pattern(8, 8, 1, 1), 8, 8, 1);
    const auto second = jpeg_test::encode8(jpeg_test::pattern(8, 8, 1, 2), 8, 8, 1);
    // Fill before the first SOI, before the first EOI and between the streams.
    std::string padded = first;
    padded.insert(padded.size() - 2, "\xFF\xFF");
    const std::string data =
        "\xFF\xFF\xFF" + padded + std::string("\xFF\xFF\x00\x11\xFF", 5) + second;
    OpenImage image(write(jpegImage(data, 8, 8, 1, 2)));
    const auto* factory = image.nitfFactory();
    ASSERT_NE(factory, nullptr);
    const auto& table = factory->getBlockTable();
    ASSERT_EQ(table.size(), 2u);
    const uint64_t start = factory->getDataOffset();
    EXPECT_EQ(table[0].offset, start + 3);
    EXPECT_EQ(table[0].size, padded.size());
    EXPECT_EQ(table[1].offset, start + 3 + padded.size() + 5);
    EXPECT_EQ(table[1].size, second.size());
    EXPECT_EQ(samples(image.factory(), 0, 0, 64), jpeg_test::decode8(first));
    EXPECT_EQ(samples(image.factory(), 1, 0, 64), jpeg_test::decode8(second));
}

TEST_F(JpegTiles, StuffedBytesAndRestartMarkersInEntropyDataDontEndTheStream) {
    // FF D9 can't occur inside entropy-coded data (an FF there is followed by 00 or a
    // restart marker), so the scan takes the first FF D9 as the end.
    jpeg_test::Encoding encoding;
    encoding.quality = 100;
    encoding.restartInterval = 1;
    const auto first = jpeg_test::encode8(jpeg_test::pattern(32, 32, 1, 3), 32, 32, 1, encoding);
    const auto second = jpeg_test::encode8(jpeg_test::pattern(32, 32, 1, 4), 32, 32, 1, encoding);
    const std::string entropy = first.substr(first.find("\xFF\xDA"));
    ASSERT_NE(entropy.find(std::string("\xFF\x00", 2)), std::string::npos);
    ASSERT_NE(entropy.find("\xFF\xD0"), std::string::npos);
    OpenImage image(write(jpegImage(first + second, 32, 32, 1, 2)));
    const auto& table = image.nitfFactory()->getBlockTable();
    ASSERT_EQ(table.size(), 2u);
    EXPECT_EQ(table[0].size, first.size());
    EXPECT_EQ(table[1].offset, table[0].offset + first.size());
    EXPECT_EQ(samples(image.factory(), 0, 0, 32 * 32), jpeg_test::decode8(first));
    EXPECT_EQ(samples(image.factory(), 1, 0, 32 * 32), jpeg_test::decode8(second));
}

TEST_F(JpegTiles, TooFewStreamsStopTheImage) {
    const auto stream = jpeg_test::encode8(jpeg_test::pattern(8, 8, 1), 8, 8, 1);
    try {
        OpenImage image(write(jpegImage(stream, 8, 8, 1, 2)));
        FAIL() << "the image was made";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "Cannot parse file - error in image format.");
    }
}

TEST_F(JpegTiles, MaskedImageScansTheMaskTableAsData) {
    const auto first = jpeg_test::encode8(jpeg_test::pattern(8, 8, 1, 5), 8, 8, 1);
    const auto second = jpeg_test::encode8(jpeg_test::pattern(8, 8, 1, 6), 8, 8, 1);
    const std::string mask =
        image_test::blockMaskTable({0, static_cast<uint32_t>(first.size())}, false, 0);
    ImageLayout layout = jpegImage(mask + first + second, 8, 8, 1, 2);
    layout.ic = "M3";
    OpenImage image(write(layout));
    const auto& table = image.nitfFactory()->getBlockTable();
    ASSERT_EQ(table.size(), 2u);
    EXPECT_EQ(table[0].offset, image.nitfFactory()->getDataOffset() + mask.size());
    EXPECT_EQ(samples(image.factory(), 1, 0, 64), jpeg_test::decode8(second));
}

TEST_F(JpegTiles, StreamCutShortDecodesAsFarAsItsDataGoes) {
    const std::string stream = jpeg_test::encode8(jpeg_test::pattern(32, 32, 1, 9), 32, 32, 1);
    const std::string cut = stream.substr(0, stream.size() * 2 / 3) + "\xFF\xD9";
    OpenImage image(write(jpegImage(stream + cut, 32, 32, 1, 2)));
    const auto tile = tileAt(image.factory(), 1, 0, 0);
    EXPECT_FALSE(tile->isFailed());
    EXPECT_EQ(std::vector<uint8_t>(tile->getBuffer(), tile->getBuffer() + 32 * 32),
              jpeg_test::decode8(cut));
}

TEST_F(JpegTiles, EndOfFileInsideAStreamGivesAMadeUpEndMarkerAndDecodes) {
    // A comment holding FF D9 ends the stream for the scan; the decoder reads on past it and
    // meets the end of the file before the stream's end.
    const std::string stream = jpeg_test::encode8(jpeg_test::pattern(32, 32, 1, 10), 32, 32, 1);
    const std::string comment = jpeg_test::marker(0xFE, "end \xFF\xD9 here");
    const std::string data =
        stream.substr(0, 2) + comment + stream.substr(2, (stream.size() - 2) * 3 / 4);
    OpenImage image(write(jpegImage(data, 32, 32, 1)));
    const auto tile = tileAt(image.factory(), 0, 0, 0);
    EXPECT_FALSE(tile->isFailed());
    EXPECT_EQ(std::vector<uint8_t>(tile->getBuffer(), tile->getBuffer() + 32 * 32),
              jpeg_test::decode8(data));
}

TEST_F(JpegTiles, FrameLargerThanTheBlockFailsTheTile) {
    const auto stream = jpeg_test::encode8(jpeg_test::pattern(16, 16, 1), 16, 16, 1);
    OpenImage image(write(jpegImage(stream, 8, 8, 1)));
    EXPECT_TRUE(tileAt(image.factory(), 0, 0, 0)->isFailed());
}

TEST_F(JpegTiles, FrameSmallerThanTheBlockUsesItsOwnWidthAsTheRowStride) {
    const auto source = jpeg_test::pattern(8, 8, 1, 21);
    const auto stream = jpeg_test::encode8(source, 8, 8, 1);
    OpenImage image(write(jpegImage(stream, 16, 16, 1)));
    const auto tile = tileAt(image.factory(), 0, 0, 0);
    ASSERT_FALSE(tile->isFailed());
    const std::vector<uint8_t> head(tile->getBuffer(), tile->getBuffer() + 64);
    EXPECT_EQ(head, jpeg_test::decode8(stream));
    EXPECT_TRUE(std::all_of(tile->getBuffer() + 64, tile->getBuffer() + 256,
                            [](uint8_t b) { return b == 0; }));
}

TEST_F(JpegTiles, CorruptOrMissingTablesAndMarkersFailTheTile) {
    const auto stream = jpeg_test::encode8(jpeg_test::pattern(16, 16, 1, 2), 16, 16, 1);
    std::vector<std::string> bad;
    // An overfull Huffman table: every count of the first DHT set to 255.
    std::string overfull = stream;
    const size_t dht = overfull.find("\xFF\xC4");
    ASSERT_NE(dht, std::string::npos);
    for (size_t i = dht + 5; i < dht + 21; ++i) {
        overfull[i] = '\x01';
    }
    bad.push_back(overfull);
    // No frame header: SOF0 becomes an unknown APP segment.
    std::string noFrame = stream;
    noFrame[noFrame.find("\xFF\xC0") + 1] = '\xE5';
    bad.push_back(noFrame);
    // A quantisation table number that isn't there (the frame names table 3).
    std::string noTable = stream;
    noTable[noTable.find("\xFF\xC0") + 12] = '\x03';
    bad.push_back(noTable);
    // The frame marker of a lossless process.
    std::string lossless = stream;
    lossless[lossless.find("\xFF\xC0") + 1] = '\xC3';
    bad.push_back(lossless);
    for (size_t i = 0; i < bad.size(); ++i) {
        OpenImage image(write(jpegImage(bad[i], 16, 16, 1), "bad" + std::to_string(i) + ".ntf"));
        EXPECT_TRUE(tileAt(image.factory(), 0, 0, 0)->isFailed()) << i;
    }
}

TEST_F(JpegTiles, BadTwelveBitStreamsFailTheTileWithoutACrash) {
    const std::string good = jpeg_test::flat12(16, 16, {1000, 2000});
    std::vector<std::string> bad;
    std::string overfull = good;
    const size_t dht = overfull.find("\xFF\xC4");
    overfull[dht + 5 + 4] = '\x20';  // 32 codes of five bits: more than fit
    bad.push_back(overfull);
    std::string badSampling = good;
    badSampling[badSampling.find("\xFF\xC1") + 11] = '\x35';
    bad.push_back(badSampling);
    std::string huge = good;
    const size_t sof = huge.find("\xFF\xC1");
    huge[sof + 5] = '\x7F';  // 32 000 rows claimed by a block of 16
    bad.push_back(huge);
    std::string noScan = good.substr(0, good.find("\xFF\xDA")) + "\xFF\xD9";
    bad.push_back(noScan);
    for (size_t i = 0; i < bad.size(); ++i) {
        ImageLayout layout = jpegImage(bad[i], 16, 16, 1);
        layout.nbpp = 16;
        OpenImage image(write(layout, "bad12_" + std::to_string(i) + ".ntf"));
        EXPECT_TRUE(tileAt(image.factory(), 0, 0, 0)->isFailed()) << i;
    }
}

TEST(JpegCorpus, GlobalHawkSampleFilesHoldNoJpegDataAndTheirImagesDontOpen) {
    // Both files carry the subheader of an 8960 x 8888 C3 image but no image data at all
    // (LI 0): the scan finds no stream, as GDAL finds nothing to decode.
    const std::filesystem::path corpus = std::filesystem::path(TESSEL_SHARED_DIR) / "corpus";
    const std::vector<std::filesystem::path> files = {
        corpus / "codice/fromVTS/GHSarNITF20_good.ntf",
        corpus / "six-library/csm-tests/GHSarNITF21_good.ntf"};
    for (const auto& file : files) {
        if (!std::filesystem::exists(file)) {
            GTEST_SKIP() << "no corpus file " << file;
        }
        try {
            OpenImage image(file);
            FAIL() << "the image of " << file << " was made";
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), "Cannot parse file - error in image format.") << file;
        }
    }
}

TEST_F(JpegTiles, ImodeWithoutABlockNumberFailsTheLoadByTheTablesRangeCheck) {
    const auto stream = jpeg_test::encode8(jpeg_test::pattern(8, 8, 1), 8, 8, 1);
    ImageLayout layout = jpegImage(stream, 8, 8, 1);
    layout.imode = "R";
    OpenImage image(write(layout));
    EXPECT_THROW(tileAt(image.factory(), 0, 0, 0), std::out_of_range);
    std::vector<uint8_t> out;
    EXPECT_FALSE(image.image().readBlock(0, 0, 0, out));
}

TEST_F(JpegTiles, BlocksOfSeveralRowsAndColumnsDecodeIntoTheirOwnTiles) {
    std::string data;
    std::vector<std::vector<uint8_t>> expected;
    for (unsigned i = 0; i < 6; ++i) {
        const auto stream = jpeg_test::encode8(jpeg_test::pattern(8, 8, 1, 40 + i), 8, 8, 1);
        data += stream;
        expected.push_back(jpeg_test::decode8(stream));
    }
    ImageLayout layout = jpegImage(data, 8, 8, 1, 3);
    layout.rows = 16;
    layout.nbpc = 2;
    OpenImage image(write(layout));
    for (uint32_t y = 0; y < 2; ++y) {
        for (uint32_t x = 0; x < 3; ++x) {
            const auto tile = tileAt(image.factory(), x, y, 0);
            ASSERT_FALSE(tile->isFailed());
            EXPECT_EQ(std::vector<uint8_t>(tile->getBuffer(), tile->getBuffer() + 64),
                      expected[y * 3 + x])
                << x << "," << y;
        }
    }
}
