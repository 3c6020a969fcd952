// JPEG 2000 images (C8, M8) decoded by OpenJPEG: every image GDAL reads equals GDAL's pixels,
// at full size and at the pyramid levels the codestream offers; the codestream's geometry
// replaces the subheader's; bad codestreams give failed tiles or no image, never a crash.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "image/TileMakers.h"
#include "support/GdalOracle.h"
#include "support/ImageTestFiles.h"
#include "support/J2KCodestream.h"
#include "support/J2KComparison.h"
#include "support/TestPaths.h"
#include "tessel/core/NITFMessages.h"
#include "tessel/core/NITFURI.h"
#include "tessel/core/Options.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFile.h"
#include "tessel/image/NITFImage.h"
#include "tessel/image/NITFTileFactory_C8_OpenJPEG.h"

namespace {

namespace fs = std::filesystem;
using image_test::openFile;
using nlohmann::json;
using Tessel::NITFTileFactory_C8_OpenJPEG;
using tessel_test::CodestreamShape;
using tessel_test::DecodedImage;
using tessel_test::isJ2K;
using tessel_test::j2kFiles;
using tessel_test::printTally;
using tessel_test::putBig32;
using tessel_test::Tally;

const fs::path shared = TESSEL_SHARED_DIR;
const fs::path fixtures = shared / "fixtures";
const fs::path corpus = shared / "corpus";

const NITFTileFactory_C8_OpenJPEG* openJpegFactory(const Tessel::NITFImage& image) {
    return dynamic_cast<const NITFTileFactory_C8_OpenJPEG*>(image.getTileFactory());
}

class J2KOpenJPEG : public ::testing::Test {
protected:
    void SetUp() override {
        Tessel::s_opt_nitf_j2k_opj_enabled.override_value(true);
        Tessel::NITFFactory::get().clearCache();
        dir_ = fs::temp_directory_path() / ("tessel-j2k-" + std::to_string(std::random_device()()));
        fs::create_directories(dir_);
    }
    void TearDown() override {
        Tessel::NITFFactory::get().clearCache();
        Tessel::s_opt_nitf_j2k_opj_enabled.reset();
        Tessel::s_opt_nitf_j2k_kdu_enabled.reset();
        std::error_code ec;
        fs::remove_all(dir_, ec);
    }

    fs::path write(const std::string& name, const CodestreamShape& shape,
                   const std::string& codestream, const std::string& imode = "B") {
        const fs::path path = dir_ / name;
        tessel_test::writeJ2KFile(path, shape, codestream, imode);
        return path;
    }

    fs::path dir_;
};

// An image whose last tile column is narrower than a block keeps that tile's rows packed:
// its pixels differ from GDAL's by design and are checked by the edge test instead.
bool hasPackedEdgeTiles(const fs::path& path, size_t index, uint32_t level) {
    const auto file = openFile(path);
    if (!file) {
        return false;
    }
    Tessel::ImageOptions options;
    options.segment = static_cast<int32_t>(index);
    options.level = static_cast<int32_t>(level);
    try {
        const auto image = file->getImage(options);
        return image && image->getBlockWidth() != 0 &&
               image->getWidth() % image->getBlockWidth() != 0;
    } catch (const std::exception&) {
        return false;
    }
}

const char* leaveOutPackedEdgeTiles(const fs::path& path, size_t index, uint32_t level) {
    return hasPackedEdgeTiles(path, index, level) ? "packed edge tiles" : nullptr;
}

TEST_F(J2KOpenJPEG, FixturesAndCorpusEqualGdalsDecoding) {
    if (!tessel_test::gdalAvailable()) {
        GTEST_SKIP() << "GDAL's Python bindings are not installed";
    }
    const std::vector<fs::path> files = j2kFiles();
    if (files.empty()) {
        GTEST_SKIP() << "no JPEG 2000 files in " << shared;
    }
    Tally tally;
    ASSERT_NO_FATAL_FAILURE(tessel_test::compareWithGdal(files, tally, leaveOutPackedEdgeTiles));
    printTally("J2K", tally);
    EXPECT_GE(tally.compared, 20u);
}

TEST_F(J2KOpenJPEG, PyramidLevelsEqualGdalsOverviews) {
    if (!tessel_test::gdalAvailable()) {
        GTEST_SKIP() << "GDAL's Python bindings are not installed";
    }
    const std::vector<fs::path> files = j2kFiles();
    Tally tally;
    ASSERT_NO_FATAL_FAILURE(
        tessel_test::comparePyramidLevelsWithGdal(files, tally, leaveOutPackedEdgeTiles));
    printTally("J2K pyramid level", tally);
    EXPECT_GE(tally.compared, 10u);
}

TEST_F(J2KOpenJPEG, JP2WrappedSegmentFailsInReadHeader) {
    const fs::path file = fixtures / "derived_c8_jp2_wrapped.ntf";
    if (!fs::exists(file)) {
        GTEST_SKIP() << "no fixture " << file;
    }
    const auto images = tessel_test::decodeImages(file, isJ2K);
    ASSERT_EQ(images.size(), 1u);
    EXPECT_TRUE(images[0].bands.empty());
    EXPECT_NE(images[0].error.find("[NITF:OPJ]"), std::string::npos) << images[0].error;
}

TEST_F(J2KOpenJPEG, OpenJPEGTakesPrecedenceWhenBothDecodersAreEnabled) {
    Tessel::s_opt_nitf_j2k_kdu_enabled.override_value(true);
    const CodestreamShape shape;
    const auto file = openFile(write("both.ntf", shape, tessel_test::encodeJ2K(shape)));
    ASSERT_TRUE(file);
    const auto image = file->getImage({});
    ASSERT_TRUE(image);
    EXPECT_NE(openJpegFactory(*image), nullptr);
    EXPECT_EQ(image->getCompressionInfo().at("Library"), "OpenJPEG");
    const auto names = Tessel::registeredTileFactories();
    ASSERT_FALSE(names.empty());
    EXPECT_EQ(names.front(), "C8_M8_J2K_OpenJPEG_(nitf.j2k.opj.enabled)");
}

TEST_F(J2KOpenJPEG, DisabledDecoderLeavesTheImageToTheOthers) {
    Tessel::s_opt_nitf_j2k_opj_enabled.override_value(false);
    const CodestreamShape shape;
    const auto file = openFile(write("off.ntf", shape, tessel_test::encodeJ2K(shape)));
    ASSERT_TRUE(file);
    const auto image = file->getImage({});
    ASSERT_TRUE(image);
    EXPECT_EQ(openJpegFactory(*image), nullptr);
}

TEST_F(J2KOpenJPEG, LevelOneOfFiveResolutionsHasHalfTileBlocksAndNoInternalLevels) {
    CodestreamShape shape;
    shape.width = 200;
    shape.height = 150;
    shape.tileWidth = 99;  // odd: half of it rounds up
    shape.tileHeight = 75;
    shape.resolutions = 5;
    const auto file = openFile(write("five.ntf", shape, tessel_test::encodeJ2K(shape)));
    ASSERT_TRUE(file);
    const auto full = file->getImage({});
    ASSERT_TRUE(full);
    const auto* fullFactory = openJpegFactory(*full);
    ASSERT_NE(fullFactory, nullptr);
    EXPECT_EQ(fullFactory->getMaximumLevel(), 4u);
    EXPECT_TRUE(fullFactory->hasInternalLevel(1));
    EXPECT_TRUE(fullFactory->hasInternalLevel(3));
    EXPECT_FALSE(fullFactory->hasInternalLevel(4));
    Tessel::ImageOptions options;
    options.level = 1;
    const auto level1 = file->getImage(options);
    ASSERT_TRUE(level1);
    const auto* factory = openJpegFactory(*level1);
    ASSERT_NE(factory, nullptr);
    EXPECT_EQ(factory->getBlockWidth(), 50u);
    EXPECT_EQ(factory->getBlockHeight(), 38u);
    EXPECT_EQ(factory->getWidth(), 100u);
    EXPECT_EQ(factory->getHeight(), 75u);
    for (uint32_t level = 0; level < 8; ++level) {
        EXPECT_FALSE(factory->hasInternalLevel(level)) << level;
    }
    // The pyramid of the full image reaches the codestream's levels.
    EXPECT_EQ(full->getPyramidLevel(1)->getWidth(), 100u);
}

TEST_F(J2KOpenJPEG, NarrowEdgeTileHasPackedRowsAndZerosBehindThem) {
    CodestreamShape shape;
    shape.width = 100;
    shape.height = 40;
    shape.tileWidth = 64;
    shape.tileHeight = 64;
    const auto file = openFile(write("edge.ntf", shape, tessel_test::encodeJ2K(shape)));
    ASSERT_TRUE(file);
    const auto image = file->getImage({});
    ASSERT_TRUE(image);
    const auto* factory = openJpegFactory(*image);
    ASSERT_NE(factory, nullptr);
    ASSERT_EQ(factory->getBlocksX(), 2u);
    const Tessel::tile_id id{factory, 1, 0, 0};
    Tessel::TileGroup group = factory->createTiles(id);
    ASSERT_EQ(group.size(), 1u);
    ASSERT_TRUE(group.front().second->load(group));
    const uint8_t* buffer = group.front().second->getBuffer();
    const uint32_t narrow = 100 - 64;
    for (uint32_t y = 0; y < 40; ++y) {
        for (uint32_t x = 0; x < narrow; ++x) {
            ASSERT_EQ(buffer[y * narrow + x], tessel_test::j2kSample(shape, 64 + x, y, 0))
                << x << "," << y;
        }
    }
    const uint64_t used = uint64_t{narrow} * 40;
    EXPECT_TRUE(std::all_of(buffer + used, buffer + factory->getBlockBytes(),
                            [](uint8_t b) { return b == 0; }));
}

TEST_F(J2KOpenJPEG, CompressionInfoDescribesTheCodestream) {
    CodestreamShape shape;
    shape.components = 3;
    shape.resolutions = 3;
    shape.layers = 2;
    shape.order = OPJ_RPCL;
    shape.reversible = false;
    const auto file = openFile(write("info.ntf", shape, tessel_test::encodeJ2K(shape)));
    ASSERT_TRUE(file);
    const auto image = file->getImage({});
    ASSERT_TRUE(image);
    const auto info = image->getCompressionInfo();
    EXPECT_EQ(info.at("Type"), "JPEG2000");
    EXPECT_EQ(info.at("Library"), "OpenJPEG");
    EXPECT_FALSE(info.at("LibraryVersion").empty());
    EXPECT_EQ(info.at("Components"), "3");
    EXPECT_EQ(info.at("Precision"), "8");
    EXPECT_EQ(info.at("Signed"), "false");
    EXPECT_EQ(info.at("Order"), "RPCL");
    EXPECT_EQ(info.at("Layers"), "2");
    EXPECT_EQ(info.at("Levels"), "2");
    EXPECT_EQ(info.at("WaveletTransform"), "9-7I");
    EXPECT_EQ(info.at("QuantisationStyle"), "SEQNT");
    EXPECT_EQ(info.at("CodeBlocksWidth"), "64");
    EXPECT_EQ(info.at("CodeBlocksHeight"), "64");
    EXPECT_EQ(info.at("UseSOP"), "false");
    EXPECT_EQ(info.at("UseYCC"), "false");
    EXPECT_EQ(info.count("ICCProfile"), 0u);
    EXPECT_EQ(info.count("CodeBlockCodingStyle"), 1u);
}

TEST_F(J2KOpenJPEG, SignedSixteenBitSamplesKeepTheirLowBits) {
    CodestreamShape shape;
    shape.precision = 12;
    shape.isSigned = true;
    shape.width = 40;
    shape.height = 30;
    const auto file = openFile(write("s12.ntf", shape, tessel_test::encodeJ2K(shape)));
    ASSERT_TRUE(file);
    const auto image = file->getImage({});
    ASSERT_TRUE(image);
    std::vector<uint8_t> out;
    ASSERT_TRUE(image->readRegionViaPixels(0, 0, 40, 30, 40, 30, {0}, out));
    ASSERT_EQ(out.size(), size_t{40} * 30 * 2);
    for (uint32_t y = 0; y < 30; ++y) {
        for (uint32_t x = 0; x < 40; ++x) {
            int16_t value = 0;
            std::memcpy(&value, out.data() + 2 * (y * 40 + x), 2);
            ASSERT_EQ(value, tessel_test::j2kSample(shape, x, y, 0)) << x << "," << y;
        }
    }
}

TEST_F(J2KOpenJPEG, IdleListAtCapacityDestroysAReturnedDecoder) {
    const CodestreamShape shape;
    const auto file = openFile(write("pool.ntf", shape, tessel_test::encodeJ2K(shape)));
    ASSERT_TRUE(file);
    const auto image = file->getImage({});
    const auto* factory = openJpegFactory(*image);
    ASSERT_NE(factory, nullptr);
    const size_t capacity = factory->getCapacity();
    EXPECT_EQ(capacity, NITFTileFactory_C8_OpenJPEG::inventoryCapacity());
    std::vector<NITFTileFactory_C8_OpenJPEG::Rental> rentals;
    for (size_t i = 0; i < capacity + 2; ++i) {
        rentals.push_back(factory->rent());
        ASSERT_FALSE(rentals.back()->empty());
    }
    EXPECT_EQ(factory->getIdleCount(), 0u);
    for (auto& rental : rentals) {
        factory->giveBack(std::move(rental));
    }
    EXPECT_EQ(factory->getIdleCount(), capacity);
}

TEST_F(J2KOpenJPEG, InventoryOptionSetsThePoolCapacity) {
    Tessel::s_opt_nitf_j2k_opj_inventory.override_value(int64_t{3});
    EXPECT_EQ(NITFTileFactory_C8_OpenJPEG::inventoryCapacity(), 3u);
    Tessel::s_opt_nitf_j2k_opj_inventory.reset();
    EXPECT_GE(NITFTileFactory_C8_OpenJPEG::inventoryCapacity(), 1u);
}

// The codestream of the first image of a NITF file: its bytes from the first SOC and SIZ.
std::string codestreamOf(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const size_t start = bytes.find(std::string("\xFF\x4F\xFF\x51", 4));
    return start == std::string::npos ? std::string() : bytes.substr(start);
}

// What opj_decompress makes of a codestream: its components' samples as raw bytes, one
// after the other; empty when the tool isn't installed or fails.
std::string opjDecompressRaw(const fs::path& codestream, const fs::path& out) {
    const fs::path tool = "/usr/bin/opj_decompress";
    if (!fs::exists(tool)) {
        return {};
    }
    const std::string command = tool.string() + " -quiet -i '" + codestream.string() + "' -o '" +
                                out.string() + "' >/dev/null 2>&1";
    if (std::system(command.c_str()) != 0 || !fs::exists(out)) {
        return {};
    }
    std::ifstream in(out, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

uint32_t big32(const std::string& s, size_t at) {
    uint32_t value = 0;
    for (size_t i = 0; i < 4; ++i) {
        value = value << 8 | static_cast<uint8_t>(s[at + i]);
    }
    return value;
}

uint32_t ceilDiv(uint32_t a, uint32_t b) {
    return static_cast<uint32_t>((uint64_t{a} + b - 1) / b);
}

// Every tile of the first component, as its buffer holds it (rows of the tile's own width,
// from the buffer's start), equals the tile's part of opj_decompress's raw component 0. Signed
// samples compare in their precision's bits, which is what the tool writes of them.
bool tilesEqualReference(const fs::path& file, const fs::path& j2k, const std::string& reference) {
    std::ifstream in(j2k, std::ios::binary);
    const std::string cs((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const size_t siz = 4;  // SIZ's length field, after SOC and the SIZ marker
    const uint32_t x1 = big32(cs, siz + 4), y1 = big32(cs, siz + 8);
    const uint32_t x0 = big32(cs, siz + 12), y0 = big32(cs, siz + 16);
    const uint32_t tdx = big32(cs, siz + 20), tdy = big32(cs, siz + 24);
    const uint32_t tx0 = big32(cs, siz + 28), ty0 = big32(cs, siz + 32);
    const auto ssiz = static_cast<uint8_t>(cs[siz + 38]);
    const auto dx = static_cast<uint8_t>(cs[siz + 39]);
    const auto dy = static_cast<uint8_t>(cs[siz + 40]);
    const uint8_t mask =
        static_cast<uint8_t>((ssiz & 0x80) != 0 ? (1U << ((ssiz & 0x7F) + 1)) - 1 : 0xFF);
    const uint32_t width = ceilDiv(x1, dx) - ceilDiv(x0, dx);
    const auto f = openFile(file);
    const auto image = f ? f->getImage({}) : nullptr;
    const auto* factory = image ? openJpegFactory(*image) : nullptr;
    if (factory == nullptr || factory->getBytesPerPixel() != 1) {
        return false;
    }
    for (uint32_t ty = 0; ty < factory->getBlocksY(); ++ty) {
        for (uint32_t tx = 0; tx < factory->getBlocksX(); ++tx) {
            const uint32_t left = ceilDiv(std::max(tx0 + tx * tdx, x0), dx) - ceilDiv(x0, dx);
            const uint32_t right =
                ceilDiv(std::min(tx0 + (tx + 1) * tdx, x1), dx) - ceilDiv(x0, dx);
            const uint32_t top = ceilDiv(std::max(ty0 + ty * tdy, y0), dy) - ceilDiv(y0, dy);
            const uint32_t bottom =
                ceilDiv(std::min(ty0 + (ty + 1) * tdy, y1), dy) - ceilDiv(y0, dy);
            Tessel::TileGroup group = factory->createTiles({factory, tx, ty, 0});
            if (!group.front().second->load(group)) {
                return false;
            }
            const uint8_t* buffer = group.front().second->getBuffer();
            const uint32_t w = right - left;
            for (uint32_t y = top; y < bottom; ++y) {
                for (uint32_t x = left; x < right; ++x) {
                    const size_t at = size_t{y} * width + x;
                    const uint8_t ours = buffer[(y - top) * w + (x - left)] & mask;
                    if (at >= reference.size() ||
                        ours != (static_cast<uint8_t>(reference[at]) & mask)) {
                        ADD_FAILURE()
                            << file << " tile " << tx << "," << ty << " sample " << x << "," << y;
                        return false;
                    }
                }
            }
        }
    }
    return true;
}

// The four conformance files with subsampled components, and the signed 4-bit ones that GDAL
// gives otherwise: where every component has the size of the first, the image reads as
// opj_decompress decodes the codestream; otherwise it is refused as inconsistent.
TEST_F(J2KOpenJPEG, SubsampledComponentsReadAsOpjDecompressOrAreRefused) {
    size_t refused = 0;
    size_t equal = 0;
    for (const char* name :
         {"p0_05a.ntf", "p1_01a.ntf", "p1_03a.ntf", "p1_07a.ntf", "p0_03a.ntf", "p0_15a.ntf"}) {
        const fs::path file = corpus / "codice/JitcJpeg2000" / name;
        if (!fs::exists(file)) {
            continue;
        }
        const fs::path j2k = dir_ / (std::string(name) + ".j2k");
        std::ofstream(j2k, std::ios::binary) << codestreamOf(file);
        const std::string reference = opjDecompressRaw(j2k, dir_ / (std::string(name) + ".raw"));
        const auto images = tessel_test::decodeImages(file, isJ2K);
        ASSERT_EQ(images.size(), 1u) << file;
        const DecodedImage& image = images[0];
        if (image.bands.empty()) {
            EXPECT_NE(image.error.find("[NITF:OPJ]: Image Inconsistant Components  (0 != "),
                      std::string::npos)
                << file << ": " << image.error;
            ++refused;
            continue;
        }
        EXPECT_TRUE(image.error.empty()) << file << ": " << image.error;
        if (reference.empty()) {
            continue;  // no opj_decompress to compare with
        }
        EXPECT_TRUE(tilesEqualReference(file, j2k, reference)) << file;
        ++equal;
    }
    std::printf("[ opj      ] %zu refused as inconsistent, %zu equal opj_decompress\n", refused,
                equal);
    if (refused + equal == 0) {
        GTEST_SKIP() << "no conformance files in " << corpus;
    }
    EXPECT_GE(refused, 3u);
}

// Reads every band whole through the OpenJPEG factory. True when the image opened.
bool readWhole(const fs::path& path) {
    return tessel_test::readWhole(
        path, [](const Tessel::NITFImage& image) { return openJpegFactory(image) != nullptr; });
}

CodestreamShape tiledShape() {
    CodestreamShape shape;
    shape.width = 96;
    shape.height = 80;
    shape.tileWidth = 32;
    shape.tileHeight = 32;
    shape.resolutions = 3;
    return shape;
}

TEST_F(J2KOpenJPEG, TruncatedCodestreamsGiveFailedTilesOrNoImage) {
    const CodestreamShape shape = tiledShape();
    const std::string codestream = tessel_test::encodeJ2K(shape);
    ASSERT_FALSE(codestream.empty());
    for (size_t length : {size_t{0}, size_t{2}, size_t{40}, size_t{120}, codestream.size() / 2,
                          codestream.size() - 3}) {
        readWhole(write("cut.ntf", shape, codestream.substr(0, length)));
        Tessel::NITFFactory::get().clearCache();
    }
    // The last tile cut short fails; the first still reads.
    const auto file =
        openFile(write("cut2.ntf", shape, codestream.substr(0, codestream.size() / 2)));
    ASSERT_TRUE(file);
    const auto image = file->getImage({});
    ASSERT_TRUE(image);
    const auto* factory = openJpegFactory(*image);
    ASSERT_NE(factory, nullptr);
    tessel_test::expectFirstTileLoadsAndLastFails(*factory);
}

// Positions of a marker segment's first byte after its marker.
size_t markerBody(const std::string& codestream, uint8_t marker) {
    for (size_t i = 0; i + 1 < codestream.size(); ++i) {
        if (static_cast<uint8_t>(codestream[i]) == 0xFF &&
            static_cast<uint8_t>(codestream[i + 1]) == marker) {
            return i + 2;
        }
    }
    return std::string::npos;
}

TEST_F(J2KOpenJPEG, LyingSizAndCodSegmentsNeverCrash) {
    const CodestreamShape shape = tiledShape();
    const std::string codestream = tessel_test::encodeJ2K(shape);
    const size_t siz = markerBody(codestream, 0x51);
    const size_t cod = markerBody(codestream, 0x52);
    ASSERT_NE(siz, std::string::npos);
    ASSERT_NE(cod, std::string::npos);
    std::vector<std::string> variants;
    // SIZ: Lsiz(2) Rsiz(2) Xsiz(4) Ysiz(4) XOsiz YOsiz XTsiz YTsiz XTOsiz YTOsiz Csiz ...
    for (const auto& [offset, value] : std::vector<std::pair<size_t, uint32_t>>{
             {4, 0x80000000U}, {8, 0x80000000U}, {20, 1}, {24, 1}, {20, 0}, {12, 0x7FFFFFF0U}}) {
        std::string bad = codestream;
        putBig32(bad, siz + offset, value);
        variants.push_back(bad);
    }
    {
        std::string bad = codestream;
        bad[siz + 36] = 0x7F;  // Csiz high byte: thousands of components
        variants.push_back(bad);
    }
    // COD: Lcod(2) Scod(1) SGcod: order(1) layers(2) mct(1), SPcod: levels(1) ...
    for (const auto& [offset, value] :
         std::vector<std::pair<size_t, uint8_t>>{{3, 9}, {4, 0xFF}, {7, 40}, {8, 0xFF}, {0, 0}}) {
        std::string bad = codestream;
        bad[cod + offset] = static_cast<char>(value);
        variants.push_back(bad);
    }
    std::vector<bool> opened;
    for (size_t i = 0; i < variants.size(); ++i) {
        opened.push_back(readWhole(write("lie" + std::to_string(i) + ".ntf", shape, variants[i])));
        Tessel::NITFFactory::get().clearCache();
    }
    // A tile width of 0 and thousands of components are refused outright.
    EXPECT_FALSE(opened[4]);
    EXPECT_FALSE(opened[6]);
    // The untouched codestream opens.
    EXPECT_TRUE(readWhole(write("honest.ntf", shape, codestream)));
}

TEST_F(J2KOpenJPEG, HugeClaimedImageIsRefusedWithoutAllocating) {
    const CodestreamShape shape;
    std::string codestream = tessel_test::encodeJ2K(shape);
    const size_t siz = markerBody(codestream, 0x51);
    ASSERT_NE(siz, std::string::npos);
    putBig32(codestream, siz + 4, 0x80000000U);   // Xsiz
    putBig32(codestream, siz + 8, 0x80000000U);   // Ysiz
    putBig32(codestream, siz + 20, 0x80000000U);  // XTsiz
    putBig32(codestream, siz + 24, 0x80000000U);  // YTsiz
    const auto file = openFile(write("huge.ntf", shape, codestream));
    ASSERT_TRUE(file);
    try {
        const auto image = file->getImage({});
        // If it opens at all, it is not by the OpenJPEG factory with a tile of that claim.
        if (image) {
            EXPECT_EQ(openJpegFactory(*image), nullptr);
        }
    } catch (const std::exception& error) {
        EXPECT_NE(std::string(error.what()).find("[NITF:OPJ]"), std::string::npos) << error.what();
    }
}

TEST_F(J2KOpenJPEG, TilesPastTheEndOfTheDataFail) {
    const CodestreamShape shape = tiledShape();
    const std::string codestream = tessel_test::encodeJ2K(shape);
    // The data ends before the last tile-part: that tile lies behind it.
    const size_t last = codestream.rfind(std::string("\xFF\x90", 2));
    ASSERT_NE(last, std::string::npos);
    const auto file = openFile(write("short.ntf", shape, codestream.substr(0, last)));
    ASSERT_TRUE(file);
    const auto image = file->getImage({});
    ASSERT_TRUE(image);
    const auto* factory = openJpegFactory(*image);
    ASSERT_NE(factory, nullptr);
    tessel_test::expectFirstTileLoadsAndLastFails(*factory);
}

TEST_F(J2KOpenJPEG, ZeroLengthSegmentsNeverCrash) {
    const CodestreamShape shape = tiledShape();
    const std::string codestream = tessel_test::encodeJ2K(shape);
    size_t variants = 0;
    for (uint8_t marker : {uint8_t{0x51}, uint8_t{0x52}, uint8_t{0x5C}, uint8_t{0x90}}) {
        const size_t body = markerBody(codestream, marker);
        ASSERT_NE(body, std::string::npos);
        std::string bad = codestream;
        bad[body] = 0;
        bad[body + 1] = 0;
        const bool opened = readWhole(write("zero.ntf", shape, bad));
        Tessel::NITFFactory::get().clearCache();
        if (marker == 0x51) {
            EXPECT_FALSE(opened) << "a SIZ of length 0";
        }
        if (marker == 0x90) {
            // A tile-part of length 0 runs to the end of the data.
            putBig32(bad, body, 0);
            bad[body] = 0;
            bad[body + 1] = 10;
            putBig32(bad, body + 4, 0);
            readWhole(write("zero.ntf", shape, bad));
            Tessel::NITFFactory::get().clearCache();
        }
        ++variants;
    }
    EXPECT_EQ(variants, 4u);
}

TEST_F(J2KOpenJPEG, TileNumberFollowsTheImageMode) {
    const CodestreamShape shape = tiledShape();
    const std::string codestream = tessel_test::encodeJ2K(shape);
    // IMODE S numbers the tiles of band b after those of the bands before: a one-band image
    // reads the same; band 1 of a (claimed) two-band image lies beyond the codestream's tiles.
    const auto file = openFile(write("s.ntf", shape, codestream, "S"));
    ASSERT_TRUE(file);
    const auto image = file->getImage({});
    ASSERT_TRUE(image);
    std::vector<uint8_t> out;
    ASSERT_TRUE(image->readRegionViaPixels(0, 0, 96, 80, 96, 80, {0}, out));
    for (uint32_t y = 0; y < 80; y += 7) {
        for (uint32_t x = 0; x < 96; x += 5) {
            ASSERT_EQ(out[y * 96 + x], tessel_test::j2kSample(shape, x, y, 0));
        }
    }
}

}  // namespace

bool readByOpenJpeg(const Tessel::NITFImage& image) {
    return openJpegFactory(image) != nullptr;
}

TEST_F(J2KOpenJPEG, MaskedImageReadsItsCodestreamBehindTheMaskTable) {
    for (const auto& m8 : tessel_test::writeMaskedImagesBesideUnmasked(dir_)) {
        tessel_test::expectMaskedReadsAsUnmasked(m8, readByOpenJpeg);
    }
}

TEST_F(J2KOpenJPEG, MaskTableThatPointsPastTheDataIsRefused) {
    const fs::path path = dir_ / "lying_mask.ntf";
    tessel_test::writeMaskPointingPastTheData(path);
    EXPECT_FALSE(tessel_test::readWhole(path, readByOpenJpeg));
}
