#pragma once
// What the region-read benchmarks share: the large files of the fixture generator (the
// folder in TESSEL_BENCH_LARGE_DIR; the benchmarks skip without it), opening one, the whole
// image or a window of it read in every band, and the bytes a read decodes.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tessel/core/NITFMessages.h"
#include "tessel/core/NITFURI.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFileContext.h"
#include "tessel/image/ImageOptions.h"
#include "tessel/image/NITFImage.h"

namespace bench_images {

constexpr uint32_t window_size = 512;

inline std::filesystem::path largeFile(const std::string& name) {
    const char* folder = std::getenv("TESSEL_BENCH_LARGE_DIR");
    return folder == nullptr ? std::filesystem::path()
                             : std::filesystem::path(folder) / (name + ".ntf");
}

struct OpenImage {
    Tessel::NITFFileContext context{Tessel::NITFURI()};
    std::shared_ptr<Tessel::NITFImage> image;
};

// The first image of the large file `name`; the benchmark skips when it isn't there or
// doesn't open.
inline OpenImage openOrSkip(const std::string& name, benchmark::State& state,
                            const Tessel::ImageOptions& options = {}) {
    OpenImage opened;
    const std::filesystem::path path = largeFile(name);
    if (path.empty() || !std::filesystem::exists(path)) {
        state.SkipWithError("set TESSEL_BENCH_LARGE_DIR to the folder of make_fixtures.py --large");
        return opened;
    }
    Tessel::NITFMessages messages;
    opened.context =
        Tessel::NITFFactory::get().open(Tessel::NITFURI(std::string_view(path.string())), messages);
    if (opened.context) {
        opened.image = opened.context.getImage(options);
    }
    if (!opened.image) {
        state.SkipWithError("the image doesn't open");
    }
    return opened;
}

inline std::vector<int> allBands(const Tessel::NITFImage& image) {
    std::vector<int> bands;
    for (uint32_t band = 0; band < image.getNumBands(); ++band) {
        bands.push_back(static_cast<int>(band));
    }
    return bands;
}

struct Region {
    uint32_t x, y, width, height;
};

// The whole image, or the window of window_size pixels a side at (origin, origin).
inline Region regionOf(const Tessel::NITFImage& image, bool window, uint32_t origin) {
    if (window) {
        return {origin, origin, window_size, window_size};
    }
    return {0, 0, image.getWidth(), image.getHeight()};
}

inline bool readRegion(const Tessel::NITFImage& image, const Region& region,
                       std::vector<uint8_t>& out) {
    return image.readRegionViaPixels(region.x, region.y, region.width, region.height, region.width,
                                     region.height, allBands(image), out);
}

inline void reportBytes(benchmark::State& state, const Tessel::NITFImage& image,
                        const Region& region) {
    const int64_t bytes =
        int64_t{region.width} * region.height * image.getNumBands() * image.getBytesPerPixel();
    state.SetBytesProcessed(state.iterations() * bytes);
    state.counters["MB_per_read"] = static_cast<double>(bytes) / 1e6;
}

// Each read opens the image anew after `forget` has emptied caches; only the read is timed.
template <class Forget>
void readAfresh(benchmark::State& state, const std::string& name, bool window, uint32_t origin,
                Forget forget) {
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
        region = regionOf(*opened.image, window, origin);
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

// Reads repeated on one open image, with its tiles cached.
inline void readWarm(benchmark::State& state, const std::string& name, bool window,
                     uint32_t origin) {
    const OpenImage opened = openOrSkip(name, state);
    if (!opened.image) {
        return;
    }
    const Region region = regionOf(*opened.image, window, origin);
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

}  // namespace bench_images
