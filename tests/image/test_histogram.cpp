#include <gtest/gtest.h>

#include <atomic>
#include <cfloat>
#include <chrono>
#include <cmath>
#include <string_view>

#include "support/FileTestSupport.h"
#include "support/ImageTestFiles.h"
#include "tessel/image/NITFImage.h"
#include "tessel/platform/base/lumo_concurrency.h"

using namespace Tessel;

namespace {

image_test::Grid grid8(uint32_t rows, uint32_t cols, image_test::SampleFunction sample,
                       uint32_t blockRows = 4, uint32_t blockCols = 4) {
    image_test::Grid grid;
    grid.rows = rows;
    grid.cols = cols;
    grid.blockRows = blockRows;
    grid.blockCols = blockCols;
    grid.sample = std::move(sample);
    return grid;
}

image_test::OpenImage openGrid(const file_test::TempDir& dir, const image_test::Grid& grid,
                               const std::string& name = "a.ntf") {
    image_test::writeGrid(dir / name, grid);
    return image_test::openImage(dir / name);
}

image_test::Grid constant8(uint32_t size, uint64_t value) {
    return grid8(size, size, [value](uint32_t, uint32_t, uint32_t) { return value; });
}

// Counts the histogram computations that really ran.
std::atomic<int> g_histogramSpans{0};

void countHistogramSpans(unsigned, std::string_view name, std::chrono::nanoseconds) {
    if (name == "calculateHistogram") {
        ++g_histogramSpans;
    }
}

class SpanCounter {
public:
    SpanCounter() { previous_ = lumo_concurrency::set_span_observer(countHistogramSpans); }
    ~SpanCounter() { lumo_concurrency::set_span_observer(previous_); }
    int count() const { return g_histogramSpans.load(); }

private:
    lumo_concurrency::span_observer previous_ = nullptr;
};

}  // namespace

TEST(Histogram, AllZeroPixelsCountNothing) {
    file_test::TempDir dir;
    const auto opened = openGrid(dir, constant8(8, 0));
    NITFImage::Histogram histogram;
    ASSERT_TRUE(opened->calculateHistogram(0, histogram));
    ASSERT_EQ(histogram.bins.size(), 255u);
    for (const uint64_t bin : histogram.bins) {
        EXPECT_EQ(bin, 0u);
    }
    EXPECT_EQ(histogram.min, 0.0);
    EXPECT_EQ(histogram.max, 0.0);
    EXPECT_EQ(histogram.mean, 0.0);
    EXPECT_EQ(histogram.stddev, 0.0);
    EXPECT_EQ(histogram.offset, 0.0);
    EXPECT_EQ(histogram.scale, 1.0);
    EXPECT_EQ(histogram.step, 1u);
}

TEST(Histogram, LowestAndHighestValuesTakeNoPart) {
    file_test::TempDir dir;
    // 0 .. 63 once each, plus 255 in the last row's first sample.
    const auto opened = openGrid(dir, grid8(8, 8, [](uint32_t, uint32_t row, uint32_t column) {
                                     return row == 7 && column == 0 ? 255 : row * 8 + column;
                                 }));
    NITFImage::Histogram histogram;
    ASSERT_TRUE(opened->calculateHistogram(0, histogram));
    EXPECT_EQ(histogram.bins[0], 0u);
    EXPECT_EQ(histogram.bins[1], 1u);
    EXPECT_EQ(histogram.bins[63], 1u);
    EXPECT_EQ(histogram.bins[56], 0u);  // replaced by 255, which has no bin
    EXPECT_EQ(histogram.min, 1.0);
    EXPECT_EQ(histogram.max, 63.0);
    // 1 .. 63 without 56.
    double sum = 0;
    double count = 0;
    for (int v = 1; v <= 63; ++v) {
        if (v != 56) {
            sum += v;
            ++count;
        }
    }
    const double mean = sum / count;
    double squares = 0;
    for (int v = 1; v <= 63; ++v) {
        if (v != 56) {
            squares += (v - mean) * (v - mean);
        }
    }
    EXPECT_NEAR(histogram.mean, mean, 1e-9);
    EXPECT_NEAR(histogram.stddev, std::sqrt(squares / (count - 1)), 1e-9);
}

TEST(Histogram, SignedSamplesAreCountedWithTheirSign) {
    file_test::TempDir dir;
    image_test::Grid grid = grid8(8, 8, [](uint32_t, uint32_t row, uint32_t) {
        return static_cast<uint64_t>(static_cast<uint16_t>(row % 2 == 0 ? -5 : 7));
    });
    grid.nbpp = 16;
    grid.pvtype = "SI";
    const auto opened = openGrid(dir, grid);
    ASSERT_EQ(opened->getPixelType(), lumo_pixel::signed_integer);
    NITFImage::Histogram histogram;
    ASSERT_TRUE(opened->calculateHistogram(0, histogram));
    EXPECT_EQ(histogram.min, -5.0);
    EXPECT_EQ(histogram.max, 7.0);
    EXPECT_NEAR(histogram.mean, 1.0, 1e-12);
    EXPECT_EQ(histogram.offset, 32767.0);
    EXPECT_EQ(histogram.bins.size(), 2048u);
}

// The preset range of 32-bit signed samples is empty (its shift is 32-bit), so there are
// no bins to count into: the histogram must come out empty rather than fail to allocate.
TEST(Histogram, ThirtyTwoBitSignedSamplesGiveNoBins) {
    file_test::TempDir dir;
    image_test::Grid grid = grid8(8, 8, [](uint32_t column, uint32_t, uint32_t) {
        return static_cast<uint64_t>(static_cast<uint32_t>(int32_t{-3} + int32_t(column)));
    });
    grid.nbpp = 32;
    grid.pvtype = "SI";
    const auto opened = openGrid(dir, grid);
    ASSERT_EQ(opened->getPixelType(), lumo_pixel::signed_integer);
    NITFImage::Histogram histogram;
    ASSERT_TRUE(opened->calculateHistogram(0, histogram));
    EXPECT_TRUE(histogram.bins.empty());
    // Nothing was counted, so the statistics are those of no samples.
    EXPECT_EQ(histogram.min, 0.0);
    EXPECT_EQ(histogram.max, 0.0);
    EXPECT_EQ(histogram.mean, 0.0);
}

TEST(Histogram, RealSamplesAreRefusedWithTheirPresetRange) {
    file_test::TempDir dir;
    image_test::Grid grid = constant8(8, 0);
    grid.nbpp = 32;
    grid.pvtype = "R";
    // Whole 32-bit samples: the grid writes four bytes per sample.
    const auto opened = openGrid(dir, grid);
    ASSERT_EQ(opened->getPixelType(), lumo_pixel::real);
    NITFImage::Histogram histogram;
    EXPECT_FALSE(opened->calculateHistogram(0, histogram));
    EXPECT_EQ(histogram.min, static_cast<double>(FLT_MIN));
    EXPECT_EQ(histogram.max, static_cast<double>(FLT_MAX));
    EXPECT_EQ(histogram.mean, (histogram.max - histogram.min) / 2);
}

TEST(Histogram, StatisticsComeFromTheActualBits) {
    file_test::TempDir dir;
    image_test::Grid grid = constant8(8, 0);
    grid.nbpp = 16;
    image_test::ImageLayout layout = image_test::gridLayout(grid);
    layout.abpp = 11;
    image_test::ImageFileBuilder().add(layout).write(dir / "a.ntf");
    const auto opened = image_test::openImage(dir / "a.ntf");
    double min = -1, max = -1, mean = -1, stddev = -1;
    ASSERT_TRUE(opened->calculateStatistics(0, min, max, mean, stddev));
    EXPECT_EQ(min, 0.0);
    EXPECT_EQ(max, 2047.0);
    EXPECT_EQ(mean, 1023.5);
    EXPECT_EQ(stddev, 1023.5);
    EXPECT_TRUE(opened->calculateStatistics(7, min, max, mean, stddev));
}

TEST(Histogram, BadBandAndWriteImageAreRefused) {
    file_test::TempDir dir;
    const auto opened = openGrid(dir, constant8(8, 3));
    NITFImage::Histogram histogram;
    EXPECT_FALSE(opened->calculateHistogram(-1, histogram));
    ImageOptions options;
    options.mode = ImageOptions::write_mode;
    const auto writing = opened.file->getImage(options);
    EXPECT_FALSE(writing->calculateHistogram(0, histogram));
    double min = 0, max = 0, mean = 0, stddev = 0;
    EXPECT_TRUE(writing->calculateStatistics(0, min, max, mean, stddev));
    EXPECT_EQ(max, 255.0);
}

TEST(Histogram, SecondCallWithTheSameStepIsCached) {
    file_test::TempDir dir;
    const auto opened = openGrid(dir, constant8(8, 9));
    SpanCounter spans;
    NITFImage::Histogram first;
    ASSERT_TRUE(opened->calculateHistogram(0, first));
    const int afterFirst = spans.count();
    EXPECT_GE(afterFirst, 1);
    NITFImage::Histogram second;
    ASSERT_TRUE(opened->calculateHistogram(0, second));
    EXPECT_EQ(spans.count(), afterFirst);
    EXPECT_EQ(second.bins, first.bins);
    EXPECT_EQ(second.mean, 9.0);
}

TEST(Histogram, AnotherStepIsAnsweredByTheFullResolutionResult) {
    file_test::TempDir dir;
    const auto opened = openGrid(dir, constant8(8, 9));
    SpanCounter spans;
    NITFImage::Histogram full;
    ASSERT_TRUE(opened->calculateHistogram(0, full));
    const int afterFull = spans.count();
    NITFImage::Histogram central;
    central.step = 0xFFFFFFFF;
    ASSERT_TRUE(opened->calculateHistogram(0, central));
    EXPECT_EQ(spans.count(), afterFull);
    EXPECT_EQ(central.step, 1u);
    EXPECT_EQ(central.mean, 9.0);
}

TEST(Histogram, CentralTilesAreSampled) {
    file_test::TempDir dir;
    // 10 x 10 blocks of 4 x 4; every block holds 1 + its column + 10 times its row.
    const auto opened = openGrid(dir, grid8(40, 40, [](uint32_t, uint32_t row, uint32_t column) {
                                     return 1 + column / 4 + 10 * (row / 4);
                                 }));
    NITFImage::Histogram histogram;
    histogram.step = 0xFFFFFFFF;
    ASSERT_TRUE(opened->calculateHistogram(0, histogram));
    EXPECT_EQ(histogram.step, 4u);  // the columns sampled
    EXPECT_EQ(histogram.min, 1.0 + 3 + 30);
    EXPECT_EQ(histogram.max, 1.0 + 6 + 60);
    uint64_t total = 0;
    for (const uint64_t bin : histogram.bins) {
        total += bin;
    }
    EXPECT_EQ(total, 16u * 16u);
}

TEST(Histogram, CentralTilesAreRefusedWhenTheImageHasOverviews) {
    file_test::TempDir dir;
    image_test::writeGrid(dir / "a.ntf.r1", constant8(8, 5));
    const auto opened = openGrid(dir, constant8(16, 5));
    ASSERT_EQ(opened->getInternalPyramidLevels(), 1u);
    NITFImage::Histogram histogram;
    histogram.step = 0xFFFFFFFF;
    EXPECT_FALSE(opened->calculateHistogram(0, histogram));
}

TEST(Histogram, StepTwoWithThreeLevelsReadsLevelTwo) {
    file_test::TempDir dir;
    image_test::writeGrid(dir / "a.ntf.r1", constant8(16, 20));
    image_test::writeGrid(dir / "a.ntf.r2", constant8(8, 30));
    image_test::writeGrid(dir / "a.ntf.r3", constant8(4, 40));
    const auto opened = openGrid(dir, constant8(32, 10));
    ASSERT_EQ(opened->getInternalPyramidLevels(), 3u);
    NITFImage::Histogram histogram;
    histogram.step = 2;
    ASSERT_TRUE(opened->calculateHistogram(0, histogram));
    EXPECT_EQ(histogram.step, 2u);
    EXPECT_EQ(histogram.mean, 30.0);
}

TEST(Histogram, StepBeyondTheLevelsReadsThisLevel) {
    file_test::TempDir dir;
    image_test::writeGrid(dir / "a.ntf.r1", constant8(16, 20));
    const auto opened = openGrid(dir, constant8(32, 10));
    NITFImage::Histogram histogram;
    histogram.step = 2;  // asks for index 1 of a single level
    ASSERT_TRUE(opened->calculateHistogram(0, histogram));
    EXPECT_EQ(histogram.mean, 10.0);
}
