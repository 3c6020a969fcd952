#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "support/FileTestSupport.h"
#include "support/ImageTestFiles.h"
#include "tessel/image/NITFImage.h"

using namespace Tessel;

namespace {

struct Window {
    uint32_t x, y, width, height, outWidth, outHeight;
};

std::vector<Window> overlappingWindows() {
    std::vector<Window> windows;
    for (uint32_t i = 0; i < 12; ++i) {
        windows.push_back({i * 3, i * 2, 40, 33, 40, 33});          // unscaled
        windows.push_back({i, 2 * i, 50, 45, 25 - (i % 3), 20});    // downsampled
        windows.push_back({5 + i, 1, 17 + i, 60, 17 + i, 30 + i});  // mixed
    }
    return windows;
}

}  // namespace

TEST(RegionReadConcurrency, ManyThreadsReadTheSameBytesAsOne) {
    file_test::TempDir dir;
    image_test::Grid grid;
    grid.rows = 70;
    grid.cols = 90;
    grid.blockRows = 8;
    grid.blockCols = 16;
    grid.bands = 2;
    grid.nbpp = 16;
    grid.sample = [](uint32_t band, uint32_t row, uint32_t column) {
        return band * 20000 + row * 100 + column;
    };
    image_test::writeGrid(dir / "a.ntf", grid);
    const auto opened = image_test::openImage(dir / "a.ntf");
    ASSERT_TRUE(opened.image);

    const std::vector<Window> windows = overlappingWindows();
    std::vector<std::vector<uint8_t>> expected(windows.size());
    for (size_t i = 0; i < windows.size(); ++i) {
        const Window& w = windows[i];
        ASSERT_TRUE(opened->readRegionViaPixels(w.x, w.y, w.width, w.height, w.outWidth,
                                                w.outHeight, {0, 1}, expected[i]));
    }

    constexpr int kThreads = 8;
    std::atomic<int> mismatches{0};
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < 4; ++round) {
                for (size_t k = 0; k < windows.size(); ++k) {
                    const size_t i = (k + static_cast<size_t>(t) * 5) % windows.size();
                    const Window& w = windows[i];
                    std::vector<uint8_t> out;
                    if (!opened->readRegionViaPixels(w.x, w.y, w.width, w.height, w.outWidth,
                                                     w.outHeight, {0, 1}, out)) {
                        ++failures;
                    } else if (out != expected[i]) {
                        ++mismatches;
                    }
                }
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(failures.load(), 0);
    EXPECT_EQ(mismatches.load(), 0);
}

TEST(RegionReadConcurrency, ThreadsAskingForOneImageShareIt) {
    file_test::TempDir dir;
    image_test::Grid grid;
    image_test::writeGrid(dir / "a.ntf", grid);
    const auto file = image_test::openFile(dir / "a.ntf");
    ASSERT_TRUE(file);
    constexpr int kThreads = 8;
    std::vector<std::shared_ptr<NITFImage>> images(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] { images[static_cast<size_t>(t)] = file->getImage({}); });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    const auto cached = file->getImage({});
    for (const auto& image : images) {
        ASSERT_TRUE(image);
        EXPECT_EQ(image->getWidth(), 8u);
    }
    EXPECT_EQ(file->getImage({}), cached);
}
