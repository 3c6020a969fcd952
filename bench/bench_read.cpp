// Region reads of large uncompressed images, in decoded bytes per second: the whole image,
// and a 512 x 512 window that touches four 1024 x 1024 blocks. The files come from the
// fixture generator's large set; the folder that holds them is given by the environment
// variable TESSEL_BENCH_LARGE_DIR, and the benchmarks skip when it is absent.
//
// "Cold" reads start from empty caches (files, blocks and tiles), as a first read of a file
// would; "Warm" reads repeat on one open image, with its tiles cached.

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
#include "tessel/image/TilePool.h"

namespace {

namespace fs = std::filesystem;

constexpr uint32_t window_size = 512;
constexpr uint32_t window_origin = 3900;  // across the seams of four 1024-pixel blocks

fs::path largeFile(const std::string& name) {
    const char* folder = std::getenv("TESSEL_BENCH_LARGE_DIR");
    return folder == nullptr ? fs::path() : fs::path(folder) / (name + ".ntf");
}

struct OpenImage {
    Tessel::NITFFileContext context{Tessel::NITFURI()};
    std::shared_ptr<Tessel::NITFImage> image;
};

OpenImage openOrSkip(const std::string& name, benchmark::State& state) {
    OpenImage opened;
    const fs::path path = largeFile(name);
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

std::vector<int> allBands(const Tessel::NITFImage& image) {
    std::vector<int> bands;
    for (uint32_t band = 0; band < image.getNumBands(); ++band) {
        bands.push_back(static_cast<int>(band));
    }
    return bands;
}

struct Region {
    uint32_t x, y, width, height;
};

Region regionOf(const Tessel::NITFImage& image, bool window) {
    if (window) {
        return {window_origin, window_origin, window_size, window_size};
    }
    return {0, 0, image.getWidth(), image.getHeight()};
}

bool readRegion(const Tessel::NITFImage& image, const Region& region, std::vector<uint8_t>& out) {
    return image.readRegionViaPixels(region.x, region.y, region.width, region.height, region.width,
                                     region.height, allBands(image), out);
}

void reportBytes(benchmark::State& state, const Tessel::NITFImage& image, const Region& region) {
    const int64_t bytes =
        int64_t{region.width} * region.height * image.getNumBands() * image.getBytesPerPixel();
    state.SetBytesProcessed(state.iterations() * bytes);
    state.counters["MB_per_read"] = static_cast<double>(bytes) / 1e6;
}

// Each read opens the image anew after `forget` has emptied caches; only the read is timed.
template <class Forget>
void readAfresh(benchmark::State& state, const std::string& name, bool window, Forget forget) {
    std::vector<uint8_t> out;
    Region region{};
    OpenImage opened;
    for (auto _ : state) {
        state.PauseTiming();
        opened = OpenImage{};
        forget();
        opened = openOrSkip(name, state);
        if (!opened.image) {
            return;
        }
        region = regionOf(*opened.image, window);
        state.ResumeTiming();
        if (!readRegion(*opened.image, region, out)) {
            state.SkipWithError("the read failed");
            return;
        }
        benchmark::DoNotOptimize(out.data());
    }
    if (opened.image) {
        reportBytes(state, *opened.image, region);
    }
}

// Every cache empty: files, blocks and tiles.
void BM_ReadCold(benchmark::State& state, const std::string& name, bool window) {
    readAfresh(state, name, window, [] { Tessel::NITFFactory::get().clearCache(); });
}

// The tiles dropped while the file's blocks stay in the I/O pool, as for an image read
// again after its tiles have expired.
void BM_ReadBlocksWarm(benchmark::State& state, const std::string& name, bool window) {
    readAfresh(state, name, window, [] { Tessel::TilePool::get()->clearCache(nullptr); });
}

void BM_ReadWarm(benchmark::State& state, const std::string& name, bool window) {
    const OpenImage opened = openOrSkip(name, state);
    if (!opened.image) {
        return;
    }
    const Region region = regionOf(*opened.image, window);
    std::vector<uint8_t> out;
    for (auto _ : state) {
        if (!readRegion(*opened.image, region, out)) {
            state.SkipWithError("the read failed");
            return;
        }
        benchmark::DoNotOptimize(out.data());
    }
    reportBytes(state, *opened.image, region);
}

const char* const grey = "large_nc_u8_8192_t1024";
const char* const pixelInterleaved = "large_nc_u8x3_8192_imodeP_t1024";

BENCHMARK_CAPTURE(BM_ReadCold, full_u8, grey, false)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_ReadCold, full_u8x3_P, pixelInterleaved, false)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_ReadCold, window512_u8, grey, true)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_ReadCold, window512_u8x3_P, pixelInterleaved, true)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_ReadBlocksWarm, full_u8, grey, false)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_ReadBlocksWarm, full_u8x3_P, pixelInterleaved, false)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_ReadBlocksWarm, window512_u8, grey, true)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_ReadBlocksWarm, window512_u8x3_P, pixelInterleaved, true)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_ReadWarm, full_u8, grey, false)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_ReadWarm, full_u8x3_P, pixelInterleaved, false)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_ReadWarm, window512_u8, grey, true)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_ReadWarm, window512_u8x3_P, pixelInterleaved, true)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace
