// Region reads of large uncompressed images, in decoded bytes per second: the whole image,
// and a 512 x 512 window that touches four 1024 x 1024 blocks. The files come from the
// fixture generator's large set; the folder that holds them is given by the environment
// variable TESSEL_BENCH_LARGE_DIR, and the benchmarks skip when it is absent.
//
// "Cold" reads start from empty caches (files, blocks and tiles), as a first read of a file
// would; "Warm" reads repeat on one open image, with its tiles cached.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>

#include "BenchImages.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/image/TilePool.h"

namespace {

constexpr uint32_t window_origin = 3900;  // across the seams of four 1024-pixel blocks

// Every cache empty: files, blocks and tiles.
void BM_ReadCold(benchmark::State& state, const std::string& name, bool window) {
    bench_images::readAfresh(state, name, window, window_origin,
                             [] { Tessel::NITFFactory::get().clearCache(); });
}

// The tiles dropped while the file's blocks stay in the I/O pool, as for an image read
// again after its tiles have expired.
void BM_ReadBlocksWarm(benchmark::State& state, const std::string& name, bool window) {
    bench_images::readAfresh(state, name, window, window_origin,
                             [] { Tessel::TilePool::get()->clearCache(nullptr); });
}

void BM_ReadWarm(benchmark::State& state, const std::string& name, bool window) {
    bench_images::readWarm(state, name, window, window_origin);
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
