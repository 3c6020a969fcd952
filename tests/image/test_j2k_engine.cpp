// JPEG 2000 images through the library's own engine seam (the default C8 decoder): pixels
// equal GDAL's at full size and at pyramid levels, levels limited by nitf.j2k.kdu.max.rlevel,
// JP2 wrappers, tile packages, the j2k.json rules, the rental pool, and bad codestreams.

#include <gtest/gtest.h>

#include <chrono>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>
#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <vector>

#include "image/J2KRules.h"
#include "platform/j2k/J2KEngine.h"
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
#include "tessel/image/NITFTileFactory_C8.h"
#include "tessel/platform/base/nitf_log.h"

namespace {

namespace fs = std::filesystem;
using image_test::openFile;
using Tessel::NITFTileFactory_C8;
using tessel_test::CodestreamShape;
using tessel_test::isJ2K;
using tessel_test::j2kFiles;
using tessel_test::printTally;
using tessel_test::putBig32;
using tessel_test::Tally;

const fs::path shared = TESSEL_SHARED_DIR;
const fs::path fixtures = shared / "fixtures";

const NITFTileFactory_C8* c8Factory(const Tessel::NITFImage& image) {
    return dynamic_cast<const NITFTileFactory_C8*>(image.getTileFactory());
}

fs::path freshFolder(const std::string& stem) {
    const fs::path dir =
        fs::temp_directory_path() / (stem + std::to_string(std::random_device()()));
    fs::create_directories(dir);
    return dir;
}

class J2KKakadu : public ::testing::Test {
protected:
    void SetUp() override {
        Tessel::NITFFactory::get().clearCache();
        dir_ = freshFolder("tessel-j2k-kdu-");
    }
    void TearDown() override {
        Tessel::NITFFactory::get().clearCache();
        Tessel::s_opt_nitf_j2k_kdu_max_rlevel.reset();
        std::error_code ec;
        fs::remove_all(dir_, ec);
    }
    fs::path write(const std::string& name, const CodestreamShape& shape,
                   const std::string& codestream) {
        const fs::path path = dir_ / name;
        tessel_test::writeJ2KFile(path, shape, codestream);
        return path;
    }
    fs::path dir_;
};

// A JP2 wrapper whose colour box says sYCC: GDAL converts the components to RGB, the
// engine gives them as coded.
bool isSyccJP2(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    const size_t colr = bytes.find("colr");
    return colr != std::string::npos && colr + 11 <= bytes.size() && bytes[colr + 4] == 1 &&
           bytes.compare(colr + 7, 4, std::string("\0\0\0\x12", 4)) == 0;
}

const char* leaveOutSyccJP2(const fs::path& path, size_t /*index*/, uint32_t /*level*/) {
    return isSyccJP2(path) ? "JP2 sYCC, converted to RGB by GDAL" : nullptr;
}

TEST_F(J2KKakadu, FixturesAndCorpusEqualGdalsDecoding) {
    if (!tessel_test::gdalAvailable()) {
        GTEST_SKIP() << "GDAL's Python bindings are not installed";
    }
    const std::vector<fs::path> files = j2kFiles();
    if (files.empty()) {
        GTEST_SKIP() << "no JPEG 2000 files in " << shared;
    }
    Tally tally;
    ASSERT_NO_FATAL_FAILURE(tessel_test::compareWithGdal(files, tally, leaveOutSyccJP2));
    printTally("J2K", tally);
    EXPECT_GE(tally.compared, 35u);
}

TEST_F(J2KKakadu, PyramidLevelsEqualGdalsOverviews) {
    if (!tessel_test::gdalAvailable()) {
        GTEST_SKIP() << "GDAL's Python bindings are not installed";
    }
    const std::vector<fs::path> files = j2kFiles();
    Tally tally;
    ASSERT_NO_FATAL_FAILURE(
        tessel_test::comparePyramidLevelsWithGdal(files, tally, leaveOutSyccJP2));
    printTally("J2K pyramid level", tally);
    EXPECT_GE(tally.compared, 40u);
}

TEST_F(J2KKakadu, FiveLevelsWithMaxRlevelFourHaveLevelsOneToThreeInside) {
    CodestreamShape shape;
    shape.width = 256;
    shape.height = 128;
    shape.resolutions = 6;
    const auto file = openFile(write("five.ntf", shape, tessel_test::encodeJ2K(shape)));
    ASSERT_TRUE(file);
    const auto image = file->getImage({});
    ASSERT_TRUE(image);
    const auto* factory = c8Factory(*image);
    ASSERT_NE(factory, nullptr);
    EXPECT_TRUE(factory->hasInternalLevel(1));
    EXPECT_TRUE(factory->hasInternalLevel(3));
    EXPECT_FALSE(factory->hasInternalLevel(4));
    EXPECT_FALSE(factory->hasInternalLevel(5));
    // The pyramid holds the inner levels; level 4 would come from a file beside it.
    EXPECT_EQ(image->getInternalPyramidLevels(), 3u);
    ASSERT_TRUE(image->getPyramidLevel(3));
    EXPECT_EQ(image->getPyramidLevel(3)->getWidth(), 32u);
}

TEST_F(J2KKakadu, JP2WrapperIsRecognisedBySignature) {
    const fs::path path = fixtures / "derived_c8_jp2_wrapped.ntf";
    if (!fs::exists(path)) {
        GTEST_SKIP() << "no fixture " << path;
    }
    const auto file = openFile(path);
    ASSERT_TRUE(file);
    const auto image = file->getImage({});
    ASSERT_TRUE(image);
    const auto* factory = c8Factory(*image);
    ASSERT_NE(factory, nullptr);
    EXPECT_TRUE(factory->isJP2());
    EXPECT_EQ(image->getCompressionInfo().at("IsJP2"), "true");
    // A raw codestream isn't.
    const CodestreamShape shape;
    const auto raw = openFile(write("raw.ntf", shape, tessel_test::encodeJ2K(shape)));
    const auto rawImage = raw->getImage({});
    EXPECT_FALSE(c8Factory(*rawImage)->isJP2());
    EXPECT_EQ(rawImage->getCompressionInfo().count("IsJP2"), 0u);
}

TEST_F(J2KKakadu, EdgeTilesKeepTheBlockStrideWithZerosBeyondTheImage) {
    CodestreamShape shape;
    shape.width = 100;
    shape.height = 40;
    shape.tileWidth = 64;
    shape.tileHeight = 64;
    const auto file = openFile(write("edge.ntf", shape, tessel_test::encodeJ2K(shape)));
    const auto image = file->getImage({});
    const auto* factory = c8Factory(*image);
    ASSERT_NE(factory, nullptr);
    Tessel::TileGroup group = factory->createTiles({factory, 1, 0, 0});
    ASSERT_TRUE(group.front().second->load(group));
    const uint8_t* buffer = group.front().second->getBuffer();
    // Blocks take the size of tile (0,0): 64 x 40 here.
    ASSERT_EQ(factory->getBlockWidth(), 64u);
    ASSERT_EQ(factory->getBlockHeight(), 40u);
    for (uint32_t y = 0; y < 40; ++y) {
        for (uint32_t x = 0; x < 64; ++x) {
            const uint8_t expected =
                x < 36 && y < 40 ? static_cast<uint8_t>(tessel_test::j2kSample(shape, 64 + x, y, 0))
                                 : 0;
            ASSERT_EQ(buffer[y * 64 + x], expected) << x << "," << y;
        }
    }
}

TEST_F(J2KKakadu, TilePackageDecodesAllBandsOfABlockTogether) {
    CodestreamShape shape;
    shape.components = 3;
    const auto file = openFile(write("rgb.ntf", shape, tessel_test::encodeJ2K(shape)));
    const auto image = file->getImage({});
    const auto* factory = c8Factory(*image);
    ASSERT_NE(factory, nullptr);
    ASSERT_TRUE(NITFTileFactory_C8::useTilePackage());
    Tessel::TileGroup group = factory->createTiles({factory, 0, 0, 1});
    ASSERT_EQ(group.size(), 3u);
    ASSERT_TRUE(group.front().second->load(group));
    uint32_t band = 0;
    for (const auto& [id, tile] : group) {
        EXPECT_EQ(id.band, band);
        EXPECT_EQ(tile->getBuffer()[5 * 64 + 7], tessel_test::j2kSample(shape, 7, 5, band));
        ++band;
    }
}

// The option is read once per process: a process of its own sees it false.
TEST_F(J2KKakadu, WithoutTilePackageEachBandDecodesAlone) {
    CodestreamShape shape;
    shape.components = 3;
    const fs::path path = write("alone.ntf", shape, tessel_test::encodeJ2K(shape));
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            Tessel::s_opt_nitf_j2k_kdu_use_tile_package.override_value(false);
            const auto file = openFile(path);
            const auto image = file->getImage({});
            const auto* factory = c8Factory(*image);
            Tessel::TileGroup group = factory->createTiles({factory, 0, 0, 2});
            const bool alone = group.size() == 1 && group.front().first.band == 2;
            const bool loaded = group.front().second->load(group);
            const bool right = group.front().second->getBuffer()[3 * 64 + 9] ==
                               tessel_test::j2kSample(shape, 9, 3, 2);
            std::error_code ec;
            fs::remove_all(dir_, ec);  // the child process's own folder: no TearDown runs here
            std::exit(alone && loaded && right ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST_F(J2KKakadu, IdleListAtCapacityDestroysAReturnedCodestream) {
    const CodestreamShape shape;
    const auto file = openFile(write("pool.ntf", shape, tessel_test::encodeJ2K(shape)));
    const auto image = file->getImage({});
    const auto* factory = c8Factory(*image);
    ASSERT_NE(factory, nullptr);
    const size_t capacity = factory->getCapacity();
    EXPECT_EQ(capacity, NITFTileFactory_C8::inventoryCapacity());
    std::vector<NITFTileFactory_C8::RentalPtr> rentals;
    for (size_t i = 0; i < capacity + 2; ++i) {
        rentals.push_back(factory->rent());
    }
    EXPECT_EQ(factory->getIdleCount(), 0u);
    for (auto& rental : rentals) {
        factory->giveBack(std::move(rental));
    }
    EXPECT_EQ(factory->getIdleCount(), capacity);
}

TEST_F(J2KKakadu, LayerOptionLimitsTheQualityLayers) {
    CodestreamShape shape;
    shape.layers = 3;
    shape.reversible = false;
    shape.width = 96;
    shape.height = 96;
    const auto file = openFile(write("layers.ntf", shape, tessel_test::encodeJ2K(shape)));
    Tessel::ImageOptions one;
    one.layers = 1;
    const auto all = file->getImage({});
    const auto first = file->getImage(one);
    ASSERT_TRUE(all && first);
    EXPECT_EQ(c8Factory(*first)->getLayers(), 1u);
    std::vector<uint8_t> a;
    std::vector<uint8_t> b;
    ASSERT_TRUE(all->readRegionViaPixels(0, 0, 96, 96, 96, 96, {0}, a));
    ASSERT_TRUE(first->readRegionViaPixels(0, 0, 96, 96, 96, 96, {0}, b));
    EXPECT_NE(a, b) << "one layer of three decodes as all three";
}

TEST_F(J2KKakadu, BadPixelTypeAndCodestreamKeepTheImageClosed) {
    CodestreamShape shape;
    std::string codestream = tessel_test::encodeJ2K(shape);
    const auto garbage = openFile(write("garbage.ntf", shape, std::string(300, 'x')));
    ASSERT_TRUE(garbage);
    try {
        garbage->getImage({});
        ADD_FAILURE() << "garbage opened";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "J2K Compression Error");
    }
}

// Reads every band whole through the engine's factory. True when it opened.
bool readWhole(const fs::path& path) {
    return tessel_test::readWhole(
        path, [](const Tessel::NITFImage& image) { return c8Factory(image) != nullptr; });
}

TEST_F(J2KKakadu, BadCodestreamsGiveFailedTilesOrNoImage) {
    CodestreamShape shape;
    shape.width = 96;
    shape.height = 80;
    shape.tileWidth = 32;
    shape.tileHeight = 32;
    const std::string codestream = tessel_test::encodeJ2K(shape);
    // Truncated.
    for (size_t length : {size_t{0}, size_t{20}, size_t{100}, codestream.size() / 2}) {
        readWhole(write("cut.ntf", shape, codestream.substr(0, length)));
        Tessel::NITFFactory::get().clearCache();
    }
    const auto cut =
        openFile(write("cut2.ntf", shape, codestream.substr(0, codestream.size() / 2)));
    const auto image = cut->getImage({});
    const auto* factory = c8Factory(*image);
    ASSERT_NE(factory, nullptr);
    tessel_test::expectFirstTileLoadsAndLastFails(*factory);
    Tessel::NITFFactory::get().clearCache();
    // A claim of 2^31 x 2^31 samples in one tile is refused, not allocated.
    std::string huge = codestream;
    for (size_t offset : {size_t{8}, size_t{12}, size_t{24}, size_t{28}}) {
        putBig32(huge, offset, 0x80000000U);
    }
    EXPECT_FALSE(readWhole(write("huge.ntf", shape, huge)));
    Tessel::NITFFactory::get().clearCache();
    // A SIZ of length 0.
    std::string zero = codestream;
    zero[4] = 0;
    zero[5] = 0;
    EXPECT_FALSE(readWhole(write("zero.ntf", shape, zero)));
    EXPECT_TRUE(readWhole(write("honest.ntf", shape, codestream)));
}

TEST_F(J2KKakadu, TileGridLargerThanTheDataCanHoldIsRefusedBeforeDecoding) {
    // A SIZ whose 1 x 1 tiles make 2^31 x 2^31 tiles over a small codestream: the decoder
    // would set up every one of them. Both decoders refuse it at once.
    CodestreamShape shape;
    std::string codestream = tessel_test::encodeJ2K(shape);
    for (size_t offset : {size_t{8}, size_t{12}}) {
        putBig32(codestream, offset, 0x80000000U);  // Xsiz, Ysiz
    }
    for (size_t offset : {size_t{24}, size_t{28}}) {
        putBig32(codestream, offset, 1);  // XTsiz, YTsiz
    }
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(readWhole(write("grid.ntf", shape, codestream)));
    Tessel::NITFFactory::get().clearCache();
    Tessel::s_opt_nitf_j2k_opj_enabled.override_value(true);
    bool openedByOpenJpeg = false;
    try {
        const auto file = openFile(write("grid2.ntf", shape, codestream));
        const auto image = file ? file->getImage({}) : nullptr;
        openedByOpenJpeg = image && c8Factory(*image) == nullptr;
    } catch (const std::exception&) {
        // refused while opening: what this test wants
    }
    Tessel::s_opt_nitf_j2k_opj_enabled.reset();
    Tessel::NITFFactory::get().clearCache();
    EXPECT_FALSE(openedByOpenJpeg);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

// The distortion limit of an RMSE rule can't be honoured by the OpenJPEG engine: it is said
// once and the image decodes without it. The rules come from the configuration folders, once
// per process: a process of its own with a j2k.json of its own.
TEST_F(J2KKakadu, RmseRuleFromTheConfigurationIsLoggedOnceAndIgnored) {
    const fs::path resources = dir_ / "res";
    fs::create_directories(resources / "Resources/Raster/NITF");
    std::ofstream(resources / "Resources/Raster/NITF/j2k.json")
        << R"({"c": "test", "Type=RMSE": 2.5, "Level=0;Type=Layer": -1})";
    CodestreamShape shape;
    shape.layers = 2;
    const fs::path path = write("rmse.ntf", shape, tessel_test::encodeJ2K(shape));
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            setenv("TESSEL_RESOURCE_PATH", resources.c_str(), 1);
            std::mutex mutex;
            std::vector<std::string> lines;
            nitf_log::set_sink([&](int /*level*/, std::string_view line) {
                std::lock_guard lock(mutex);
                lines.emplace_back(line);
            });
            nitf_log::set_threshold(nitf_log::info);
            const auto image = openFile(path)->getImage({});
            const auto* factory = c8Factory(*image);
            std::vector<uint8_t> out;
            const bool read = image->readRegionViaPixels(0, 0, 64, 48, 64, 48, {0}, out) &&
                              image->readRegionViaPixels(0, 0, 64, 48, 32, 24, {0}, out);
            nitf_log::set_sink({});
            const auto count = [&](const std::string& text) {
                return std::count_if(lines.begin(), lines.end(), [&](const std::string& line) {
                    return line.find(text) != std::string::npos;
                });
            };
            const bool ok = factory->getRMSE() == 2.5F && factory->getLayers() == 1 && read &&
                            count("not supported by the engine") == 1 &&
                            count("J2K Inventory (nitf.j2k.cs.inventory): ") == 1 &&
                            count("J2K Rule Match '") == 2;
            std::error_code ec;
            fs::remove_all(dir_, ec);
            std::exit(ok ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

class J2KRules : public ::testing::Test {
protected:
    void SetUp() override { dir_ = freshFolder("tessel-j2k-rules-"); }
    void TearDown() override {
        std::error_code ec;
        fs::remove_all(dir_, ec);
    }
    fs::path folder(const std::string& name, const std::string& content) {
        const fs::path path = dir_ / name;
        fs::create_directories(path);
        std::ofstream(path / "j2k.json") << content;
        return path;
    }
    fs::path dir_;
};

Tessel::J2KRuleSubject subject(int32_t level, int32_t index = 0) {
    return {"/data/a.ntf", index, level, 5, 2, 0};
}

TEST_F(J2KRules, RuleWithOnlyTypeRmseAppliesToEveryImage) {
    const auto rules = Tessel::buildJ2KRules({folder("a", R"({"Type=RMSE": 0.75})")});
    ASSERT_EQ(rules.size(), 1u);
    for (int32_t level = 0; level < 3; ++level) {
        for (int32_t index = 0; index < 3; ++index) {
            uint32_t layers = 0;
            float rmse = 0;
            Tessel::applyJ2KRules(rules, subject(level, index), layers, rmse);
            EXPECT_FLOAT_EQ(rmse, 0.75F);
            EXPECT_EQ(layers, 0u);
        }
    }
}

TEST_F(J2KRules, RuleWithLevelOneMatchesOnlyTheViewOfLevelOne) {
    const auto rules = Tessel::buildJ2KRules({folder("a", R"({"Level=1;Type=Layer": -2})")});
    uint32_t layers = 0;
    float rmse = 0;
    Tessel::applyJ2KRules(rules, subject(0), layers, rmse);
    EXPECT_EQ(layers, 0u);
    Tessel::applyJ2KRules(rules, subject(1), layers, rmse);
    EXPECT_EQ(layers, 3u);  // five layers less the two top ones
}

TEST_F(J2KRules, InvalidJsonFileIsSkippedWithItsMessage) {
    const fs::path bad = folder("bad", "{ not json");
    const fs::path good = folder("good", R"({"Order=RPCL;Type=Layer": -1})");
    std::vector<std::string> lines;
    nitf_log::set_sink([&](int /*level*/, std::string_view line) { lines.emplace_back(line); });
    const auto rules = Tessel::buildJ2KRules({bad, good});
    nitf_log::set_sink({});
    ASSERT_EQ(rules.size(), 1u);
    EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [&](const std::string& line) {
        return line.starts_with("Config Error: '" + (bad / "j2k.json").string() + "', ");
    }));
    uint32_t layers = 0;
    float rmse = 0;
    Tessel::applyJ2KRules(rules, subject(0), layers, rmse);  // Corder 2 is RPCL
    EXPECT_EQ(layers, 4u);
}

TEST_F(J2KRules, LaterFoldersWinAndPrioritiesOrderTheRules) {
    const fs::path first = folder("first", R"({"Type=RMSE": 1, "Priority=1;Type=Layer": -1})");
    const fs::path second =
        folder("second", R"({"Type=RMSE": 3, "Priority=9;Type=Layer": -3, "c": "comment"})");
    const auto rules = Tessel::buildJ2KRules({first, second});
    ASSERT_EQ(rules.size(), 3u);
    uint32_t layers = 0;
    float rmse = 0;
    Tessel::applyJ2KRules(rules, subject(0), layers, rmse);
    EXPECT_FLOAT_EQ(rmse, 3.0F);
    EXPECT_EQ(layers, 2u);  // the rule of priority 9 comes first, and the first Layer wins
}

TEST_F(J2KRules, ConditionsOfTheWrongTypeOrABadExpressionAreNotMet) {
    const auto rules = Tessel::buildJ2KRules({folder(
        "a", R"({"Order=2;Type=RMSE": 1, "File=[;Type=RMSE": 2, "File=/data/.*;Type=RMSE": 4,
                "Reversible=0;Index=0;Type=RMSE": 8})")});
    ASSERT_EQ(rules.size(), 4u);
    uint32_t layers = 0;
    float rmse = 0;
    Tessel::applyJ2KRules(rules, subject(0), layers, rmse);
    EXPECT_FLOAT_EQ(rmse, 8.0F);  // the last match
    rmse = 0;
    Tessel::applyJ2KRules(rules, subject(0, 1), layers, rmse);
    EXPECT_FLOAT_EQ(rmse, 4.0F);
}

// The engine seam by itself: a region across tiles, of chosen components, into buffers with
// a row gap; and errors through the handler.
class MemorySource : public tessel_j2k::Source {
public:
    explicit MemorySource(std::string bytes) : bytes_(std::move(bytes)) {}
    size_t read(uint8_t* buffer, size_t size) override {
        const size_t count =
            position_ < bytes_.size() ? std::min(size, bytes_.size() - position_) : 0;
        std::memcpy(buffer, bytes_.data() + position_, count);
        position_ += count;
        return count;
    }
    bool seek(uint64_t position) override {
        position_ = static_cast<size_t>(position);
        return true;
    }
    uint64_t position() const override { return position_; }
    uint64_t length() const override { return bytes_.size(); }

private:
    std::string bytes_;
    size_t position_ = 0;
};

TEST(J2KEngine, RegionOfChosenComponentsGoesToBuffersWithRowGaps) {
    CodestreamShape shape;
    shape.width = 90;
    shape.height = 70;
    shape.components = 3;
    shape.tileWidth = 32;
    shape.tileHeight = 32;
    shape.resolutions = 3;
    const auto engine = tessel_j2k::openJpegEngine();
    auto codestream = engine->open(std::make_shared<MemorySource>(tessel_test::encodeJ2K(shape)),
                                   false, 0, [](std::string_view, bool fatal) {
                                       if (fatal) {
                                           throw std::runtime_error("fatal");
                                       }
                                   });
    ASSERT_TRUE(codestream);
    EXPECT_EQ(codestream->numComponents(), 3u);
    EXPECT_EQ(codestream->dims(0), (tessel_j2k::Rect{0, 0, 90, 70}));
    EXPECT_EQ(codestream->tilesAcross(), 3u);
    EXPECT_EQ(codestream->tileDims(2, 2, 1), (tessel_j2k::Rect{64, 64, 26, 6}));
    EXPECT_EQ(codestream->parameter("Clevels"), 2);
    EXPECT_EQ(codestream->parameter("Creversible"), 1);
    EXPECT_FALSE(codestream->parameter("Cnothing"));
    const tessel_j2k::Rect region{20, 10, 50, 40};
    const size_t gap = 64;
    std::vector<uint16_t> blue(gap * 40, 0xABCD);
    std::vector<uint8_t> red(gap * 40, 0xEE);
    const std::vector<tessel_j2k::ComponentTarget> targets{{2, blue.data(), 2, gap},
                                                           {0, red.data(), 1, gap}};
    ASSERT_TRUE(codestream->decode(region, targets, {}));
    for (uint32_t y = 0; y < 40; ++y) {
        for (uint32_t x = 0; x < 50; ++x) {
            ASSERT_EQ(blue[y * gap + x], tessel_test::j2kSample(shape, 20 + x, 10 + y, 2));
            ASSERT_EQ(red[y * gap + x], tessel_test::j2kSample(shape, 20 + x, 10 + y, 0));
        }
        EXPECT_EQ(blue[y * gap + 50], 0xABCD);  // the gap is left alone
    }
    // Discarded levels halve the grid.
    auto half =
        engine->open(std::make_shared<MemorySource>(tessel_test::encodeJ2K(shape)), false, 1, {});
    ASSERT_TRUE(half);
    EXPECT_EQ(half->dims(0), (tessel_j2k::Rect{0, 0, 45, 35}));
    EXPECT_EQ(half->tileDims(1, 0, 0), (tessel_j2k::Rect{16, 0, 16, 16}));
}

TEST(J2KEngine, ErrorsReachTheHandlerWhichMayThrow) {
    const auto engine = tessel_j2k::openJpegEngine();
    std::vector<std::string> messages;
    EXPECT_THROW(engine->open(std::make_shared<MemorySource>(std::string(64, '\x11')), false, 0,
                              [&](std::string_view text, bool fatal) {
                                  messages.emplace_back(text);
                                  if (fatal) {
                                      throw std::runtime_error("stop");
                                  }
                              }),
                 std::runtime_error);
    ASSERT_FALSE(messages.empty());
    // Without a throwing handler the open just fails.
    EXPECT_EQ(engine->open(std::make_shared<MemorySource>(std::string(64, '\x11')), false, 0, {}),
              nullptr);
    EXPECT_FALSE(engine->honoursDistortionLimit());
}

}  // namespace

bool readByEngine(const Tessel::NITFImage& image) {
    return dynamic_cast<const Tessel::NITFTileFactory_C8*>(image.getTileFactory()) != nullptr;
}

TEST_F(J2KKakadu, MaskedImageReadsItsCodestreamBehindTheMaskTable) {
    for (const auto& m8 : tessel_test::writeMaskedImagesBesideUnmasked(dir_)) {
        tessel_test::expectMaskedReadsAsUnmasked(m8, readByEngine);
    }
}

TEST_F(J2KKakadu, MaskTableThatPointsPastTheDataIsRefused) {
    const fs::path path = dir_ / "lying_mask.ntf";
    tessel_test::writeMaskPointingPastTheData(path);
    EXPECT_FALSE(tessel_test::readWhole(path, readByEngine));
}
