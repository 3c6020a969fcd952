// Region reads of large JPEG-compressed images, in decoded bytes per second: the whole
// image, and a 512 x 512 window across the seams of its blocks. The files come from the
// fixture generator's large set (the folder in TESSEL_BENCH_LARGE_DIR; the benchmarks skip
// without it): an 8-bit three-band YCbCr image in 1024 x 1024 blocks, and a 12-bit grey one
// in 4096 x 1024 strips.
//
// "Cold" reads start from empty caches (files, blocks and tiles); "Warm" reads repeat on
// one open image, with its tiles cached.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>

#include "BenchImages.h"
#include "tessel/file/NITFFactory.h"

namespace {

constexpr uint32_t window_origin = 1900;  // across the seams at 2048

void BM_JpegReadCold(benchmark::State& state, const std::string& name, bool window) {
    bench_images::readAfresh(state, name, window, window_origin,
                             [] { Tessel::NITFFactory::get().clearCache(); });
}

void BM_JpegReadWarm(benchmark::State& state, const std::string& name, bool window) {
    bench_images::readWarm(state, name, window, window_origin);
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
