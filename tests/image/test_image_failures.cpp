// Reads over tiles that can't be had: a decoder that throws, and one that leaves its tile
// without a buffer. A maker registered here serves only images of two test categories.

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <regex>
#include <stdexcept>
#include <thread>

#include "support/FileTestSupport.h"
#include "support/ImageFileBuilder.h"
#include "support/ImageTestFiles.h"
#include "tessel/core/Options.h"
#include "tessel/image/NITFImage.h"
#include "tessel/image/TileFactory.h"

using namespace Tessel;

namespace {

class ThrowingTile : public Tile {
public:
    using Tile::Tile;
    bool load(TileGroup&) override { throw std::runtime_error("decoder exploded"); }
};

class BufferlessTile : public Tile {
public:
    using Tile::Tile;
    bool load(TileGroup&) override { return true; }
};

// Block (0, 0) loads without a buffer; every other block takes a while and is counted.
// Loads of the blocks other than (0, 0): on a worker they wait until the test lets them go,
// on the reading thread they finish at once (that thread may help with queued loads while
// it waits for its own tile).
struct HeldLoads {
    std::mutex mutex;
    std::condition_variable released;
    bool go = true;
    std::thread::id reader;
    int done = 0;

    void hold(std::thread::id readerThread) {
        const std::lock_guard lock(mutex);
        go = false;
        reader = readerThread;
        done = 0;
    }
    void release() {
        const std::lock_guard lock(mutex);
        go = true;
        released.notify_all();
    }
    void wait() {
        std::unique_lock lock(mutex);
        if (std::this_thread::get_id() != reader) {
            released.wait_for(lock, std::chrono::seconds(10), [this] { return go; });
        }
        ++done;
    }
    int finished() {
        const std::lock_guard lock(mutex);
        return done;
    }
};
HeldLoads heldLoads;

class SlowTile : public Tile {
public:
    using Tile::Tile;
    bool load(TileGroup&) override {
        heldLoads.wait();
        allocateBuffer();
        return true;
    }
};

enum class Breakage { throws, bufferless, firstBufferless };

// An 8 x 8 grid of 4 x 4 blocks of one 8-bit band.
class BrokenFactory : public TileFactory {
public:
    explicit BrokenFactory(Breakage breakage) : breakage_(breakage) {}
    std::map<std::string, std::string> getCompressionInfo() const override { return {}; }
    bool hasInternalLevel(uint32_t) const override { return false; }
    lumo_pixel::pixel getNoData() const override { return lumo_pixel::pixel::none(); }
    uint64_t getWidth() const override { return 8; }
    uint64_t getHeight() const override { return 8; }
    uint32_t getBlocksX() const override { return 2; }
    uint32_t getBlocksY() const override { return 2; }
    uint32_t getBlockWidth() const override { return 4; }
    uint32_t getBlockHeight() const override { return 4; }
    uint32_t getNumBands() const override { return 1; }
    lumo_pixel::type getPixelType() const override { return lumo_pixel::unsigned_integer; }
    uint32_t getBytesPerPixel() const override { return 1; }
    uint32_t getBitsPerPixel() const override { return 8; }
    uint64_t getBlockBytes() const override { return 16; }
    TileGroup createTiles(const tile_id& id) const override {
        std::shared_ptr<Tile> tile;
        if (breakage_ == Breakage::throws) {
            tile = std::make_shared<ThrowingTile>(id);
        } else if (breakage_ == Breakage::bufferless || (id.x == 0 && id.y == 0)) {
            tile = std::make_shared<BufferlessTile>(id);
        } else {
            tile = std::make_shared<SlowTile>(id);
        }
        return {{id, tile}};
    }

private:
    Breakage breakage_;
};

void registerBrokenMaker() {
    static const bool registered = [] {
        registerTileFactory(
            "test_broken",
            [](const NITFImage* image, const ImageOptions&) -> std::unique_ptr<TileFactory> {
                const std::string category = image->getImageCategory();
                if (category == "THROWS") {
                    return std::make_unique<BrokenFactory>(Breakage::throws);
                }
                if (category == "NOBUFFER") {
                    return std::make_unique<BrokenFactory>(Breakage::bufferless);
                }
                if (category == "PARTIAL") {
                    return std::make_unique<BrokenFactory>(Breakage::firstBufferless);
                }
                return nullptr;
            });
        return true;
    }();
    (void)registered;
}

image_test::OpenImage openBroken(const file_test::TempDir& dir, const std::string& category) {
    registerBrokenMaker();
    image_test::ImageLayout layout = image_test::gridLayout(image_test::Grid{});
    layout.ic = "C1";  // no codec of the library serves it, so the test maker is asked
    layout.comrat = "1.0";
    layout.icat = category;
    image_test::ImageFileBuilder().add(layout).write(dir / "a.ntf");
    return image_test::openImage(dir / "a.ntf");
}

}  // namespace

TEST(ImageFailures, DecoderExceptionMakesReadsFalse) {
    file_test::TempDir dir;
    const auto opened = openBroken(dir, "THROWS");
    ASSERT_TRUE(opened.image);
    std::vector<uint8_t> out;
    EXPECT_FALSE(opened->readBlock(0, 0, 0, out));
    EXPECT_FALSE(opened->readRegionViaPixels(0, 0, 8, 8, 8, 8, {0}, out));
    EXPECT_FALSE(opened->readRegionViaPixels(0, 0, 8, 8, 3, 3, {0}, out));
    NITFImage::Histogram histogram;
    EXPECT_FALSE(opened->calculateHistogram(0, histogram));
}

TEST(ImageFailures, TileWithoutBufferMakesReadsFalse) {
    file_test::TempDir dir;
    const auto opened = openBroken(dir, "NOBUFFER");
    ASSERT_TRUE(opened.image);
    std::vector<uint8_t> out;
    EXPECT_FALSE(opened->readBlock(1, 1, 0, out));
    EXPECT_FALSE(opened->readRegionViaPixels(2, 2, 4, 4, 4, 4, {0}, out));
    NITFImage::Histogram histogram;
    EXPECT_FALSE(opened->calculateHistogram(0, histogram));
}

TEST(ImageFailures, TileWithoutBufferFailsTheRegionAtOnce) {
    // The read gives false on the first tile without a buffer, without waiting for the
    // other loads it queued: those held on workers are still held when it returns.
    file_test::TempDir dir;
    const auto opened = openBroken(dir, "PARTIAL");
    ASSERT_TRUE(opened.image);
    heldLoads.hold(std::this_thread::get_id());
    std::vector<uint8_t> out;
    const auto start = std::chrono::steady_clock::now();
    const bool read = opened->readRegionViaPixels(0, 0, 8, 8, 8, 8, {0}, out);
    const auto took = std::chrono::steady_clock::now() - start;
    heldLoads.release();
    EXPECT_FALSE(read);
    EXPECT_LT(took, std::chrono::seconds(5)) << "the read waited for the held loads";
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (heldLoads.finished() < 3 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    EXPECT_EQ(heldLoads.finished(), 3);
}

TEST(ImageFailures, ZeroBlockSizeRefusesRegionsAndHistograms) {
    // A factory geometry with zero-sized blocks can only come from a codec; the error
    // factory of an image with NPPBH 0 and NCOLS 0 has it.
    file_test::TempDir dir;
    image_test::ImageLayout layout = image_test::gridLayout(image_test::Grid{});
    layout.cols = 0;
    layout.nppbh = 0;
    layout.ic = "C1";
    layout.comrat = "1.0";
    image_test::ImageFileBuilder().add(layout).write(dir / "a.ntf");
    const auto opened = image_test::openImage(dir / "a.ntf");
    if (!opened.image || opened->getBlockWidth() != 0) {
        GTEST_SKIP() << "this file doesn't give a zero block width";
    }
    std::vector<uint8_t> out;
    EXPECT_FALSE(opened->readBlockViaPixels(0, 0, 0, out));
    EXPECT_FALSE(opened->readRegionViaPixels(0, 0, 4, 4, 4, 4, {0}, out));
    NITFImage::Histogram histogram;
    EXPECT_FALSE(opened->calculateHistogram(0, histogram));
}

TEST(ImageFailures, ZeroBitSamplesGiveEmptyBlocks) {
    // NBPP 0 leaves the blocks without bytes; reading one copies nothing and fails nothing.
    // The error factory of a codec nobody decodes keeps that geometry.
    file_test::TempDir dir;
    image_test::ImageLayout layout = image_test::gridLayout(image_test::Grid{});
    layout.nbpp = 0;
    layout.imode = "P";
    layout.ic = "C1";
    layout.comrat = "1.0";
    image_test::ImageFileBuilder().add(layout).write(dir / "a.ntf");
    const auto opened = image_test::openImage(dir / "a.ntf");
    ASSERT_TRUE(opened.image);
    ASSERT_EQ(opened->getBytesPerPixel(), 0u);
    std::vector<uint8_t> out;
    EXPECT_TRUE(opened->readBlock(0, 0, 0, out));
    EXPECT_TRUE(out.empty());
}

TEST(ImageCacheLog, MissThenHitAreLoggedWhenCacheUsageIsOn) {
    file_test::TempDir dir;
    image_test::writeGrid(dir / "a.ntf", image_test::Grid{});
    const auto file = image_test::openFile(dir / "a.ntf");
    ASSERT_TRUE(file);
    file_test::LogCapture log;
    const auto image = file->getImage({});
    EXPECT_EQ(file->getImage({}), image);
    const auto lines = log.with("NITFFile[");
    ASSERT_EQ(lines.size(), 2u);
    const std::regex miss(
        R"(\[CACHE\] NITFFile\[0x[0-9a-f]+\]::getImage\(0, 0\) MISS = 0x[0-9a-f]+)");
    const std::regex hit(
        R"(\[CACHE\] NITFFile\[0x[0-9a-f]+\]::getImage\(0, 0\) HIT = 0x[0-9a-f]+)");
    EXPECT_TRUE(std::regex_match(lines[0].text, miss)) << lines[0].text;
    EXPECT_TRUE(std::regex_match(lines[1].text, hit)) << lines[1].text;
}

TEST(ImageCacheLog, NothingIsLoggedWhenCacheUsageIsOff) {
    file_test::TempDir dir;
    image_test::writeGrid(dir / "a.ntf", image_test::Grid{});
    const auto file = image_test::openFile(dir / "a.ntf");
    file_test::LogCapture log;
    s_opt_lumo_log_cache_usage.override_value(false);
    ASSERT_TRUE(file->getImage({}));
    EXPECT_TRUE(log.with("NITFFile[").empty());
}

namespace {

// 10 x 10 blocks of 4 x 4 of a constant.
image_test::OpenImage openTenByTen(const file_test::TempDir& dir) {
    image_test::Grid grid;
    grid.rows = grid.cols = 40;
    grid.sample = [](uint32_t, uint32_t, uint32_t) { return 5; };
    image_test::writeGrid(dir / "a.ntf", grid);
    return image_test::openImage(dir / "a.ntf");
}

struct OptionOverride {
    ~OptionOverride() {
        s_opt_tessel_image_max_histogram_tiles.reset();
        s_opt_tessel_image_max_histogram_area.reset();
    }
};

}  // namespace

TEST(HistogramLimits, TileLimitNarrowsTheCentralTiles) {
    file_test::TempDir dir;
    OptionOverride restore;
    s_opt_tessel_image_max_histogram_tiles.override_value(2);
    const auto opened = openTenByTen(dir);
    NITFImage::Histogram histogram;
    histogram.step = 0xFFFFFFFF;
    ASSERT_TRUE(opened->calculateHistogram(0, histogram));
    EXPECT_EQ(histogram.step, 2u);
    EXPECT_EQ(histogram.bins[5], 2u * 2u * 16u);
}

TEST(HistogramLimits, AreaLimitRefusesTheSample) {
    file_test::TempDir dir;
    OptionOverride restore;
    s_opt_tessel_image_max_histogram_area.override_value(4 * 4 * 4 * 4 - 1);
    const auto opened = openTenByTen(dir);
    NITFImage::Histogram histogram;
    histogram.step = 0xFFFFFFFF;
    EXPECT_FALSE(opened->calculateHistogram(0, histogram));

    file_test::TempDir other;
    s_opt_tessel_image_max_histogram_area.override_value(4 * 4 * 4 * 4);
    const auto fits = openTenByTen(other);
    NITFImage::Histogram second;
    second.step = 0xFFFFFFFF;
    EXPECT_TRUE(fits->calculateHistogram(0, second));
}
