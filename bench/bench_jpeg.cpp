// Region reads of large JPEG-compressed images, in decoded bytes per second: the whole
// image, and a 512 x 512 window across the seams of its blocks. The files come from the
// fixture generator's large set (the folder in TESSEL_BENCH_LARGE_DIR; the benchmarks skip
// without it): an 8-bit three-band YCbCr image in 1024 x 1024 blocks, and a 12-bit grey one
// in 4096 x 1024 strips.
//
// "Cold" reads start from empty caches (files, blocks and tiles); "Warm" reads repeat on
// one open image, with its tiles cached.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "tessel/core/NITFMessages.h"
#include "tessel/core/NITFURI.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFileContext.h"
#include "tessel/image/ImageOptions.h"
#include "tessel/image/NITFImage.h"

namespace {

namespace fs = std::filesystem;

constexpr uint32_t window_size = 512;
constexpr uint32_t window_origin = 1900;  // across the seams at 2048

struct OpenImage {
    Tessel::NITFFileContext context{Tessel::NITFURI()};
    std::shared_ptr<Tessel::NITFImage> image;
};

OpenImage openOrSkip(const std::string& name, benchmark::State& state) {
    OpenImage opened;
    const char* folder = std::getenv("TESSEL_BENCH_LARGE_DIR");
    const fs::path path = folder == nullptr ? fs::path() : fs::path(folder) / (name + ".ntf");
    if (path.empty() || !fs::exists(path)) {
        state.SkipWithError("set TESSEL_BENCH_LARGE_DIR to the folder of make_fixtures.py --large");
        return opened;
    }
    Tessel::NITFMessages messages;
    opened.context =
        Tessel::NITFFactory::get().open(Tessel::NITFURI(std::string_view(path.string())), messages);
    if (opened.context) {
        opened.image = opened.context.getImage(Tessel::ImageOptions{});
    }
    if (!opened.image) {
        state.SkipWithError("the image doesn't open");
    }
    return opened;
}

bool readRegion(const Tessel::NITFImage& image, bool window, std::vector<uint8_t>& out) {
    std::vector<int> bands;
    for (uint32_t band = 0; band < image.getNumBands(); ++band) {
        bands.push_back(static_cast<int>(band));
    }
    const uint32_t x = window ? window_origin : 0;
    const uint32_t width = window ? window_size : image.getWidth();
    const uint32_t height = window ? window_size : image.getHeight();
    return image.readRegionViaPixels(x, x, width, height, width, height, bands, out);
}

void reportBytes(benchmark::State& state, const Tessel::NITFImage& image, bool window) {
    const int64_t pixels =
        window ? int64_t{window_size} * window_size : int64_t{image.getWidth()} * image.getHeight();
    const int64_t bytes = pixels * image.getNumBands() * image.getBytesPerPixel();
    state.SetBytesProcessed(state.iterations() * bytes);
    state.counters["MB_per_read"] = static_cast<double>(bytes) / 1e6;
}

void BM_JpegReadCold(benchmark::State& state, const std::string& name, bool window) {
    std::vector<uint8_t> out;
    OpenImage opened;
    for (auto _ : state) {
        state.PauseTiming();
        opened = OpenImage{};
        Tessel::NITFFactory::get().clearCache();
        opened = openOrSkip(name, state);
        if (!opened.image) {
            return;
        }
        state.ResumeTiming();
        if (!readRegion(*opened.image, window, out)) {
            state.SkipWithError("the read failed");
            return;
        }
        benchmark::DoNotOptimize(out.data());
    }
    if (opened.image) {
        reportBytes(state, *opened.image, window);
    }
}

void BM_JpegReadWarm(benchmark::State& state, const std::string& name, bool window) {
    const OpenImage opened = openOrSkip(name, state);
    if (!opened.image) {
        return;
    }
    std::vector<uint8_t> out;
    for (auto _ : state) {
        if (!readRegion(*opened.image, window, out)) {
            state.SkipWithError("the read failed");
            return;
        }
        benchmark::DoNotOptimize(out.data());
    }
    reportBytes(state, *opened.image, window);
}

const char* const rgb8 = "large_c3_u8x3_4096_t1024";
const char* const grey12 = "large_c3_u12_4096_s1024";

BENCHMARK_CAPTURE(BM_JpegReadCold, full_u8x3, rgb8, false)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_JpegReadCold, full_u12, grey12, false)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_JpegReadCold, window512_u8x3, rgb8, true)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_JpegReadCold, window512_u12, grey12, true)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_JpegReadWarm, window512_u8x3, rgb8, true)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_JpegReadWarm, window512_u12, grey12, true)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace
