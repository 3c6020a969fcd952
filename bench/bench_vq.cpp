// Reads of every frame of an RPF set, in decoded bytes per second: the four CADRG frames and
// the eight CIB frames of the shared corpus, each frame opened and read whole (band 0, at
// full size), one after the other. bench/gdal_vq_read.py times GDAL's reads of the same
// frames. Without the shared corpus the benchmarks skip.
//
// "Cold" reads start from empty caches (files, blocks and tiles), as a first read of a set
// would; "BlocksWarm" keeps the file bytes in the I/O pool and drops the decoded tiles, so
// that it times the decoding itself.

#include <benchmark/benchmark.h>

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

const fs::path corpus = fs::path(TESSEL_SHARED_DIR) / "corpus";

const std::vector<std::string> cadrgSet = {
    "codice/fromOSGEO/0000M033.GN3", "codice/fromOSGEO/bugs/bug3337.ntf",
    "codice/fromOSGEO/cadrg/001zc013.on1", "gdal/rpftoc/zone9/RPF/ZONE9/00027010.ON9"};

const std::vector<std::string> cibSet = {"ogdi-test/rpf/ftdrum/rpf/n44w076/004b1r16.i12",
                                         "ogdi-test/rpf/ftdrum/rpf/n44w076/004b1s16.i12",
                                         "ogdi-test/rpf/ftdrum/rpf/n44w076/004b1t16.i12",
                                         "ogdi-test/rpf/ftdrum/rpf/n44w076/004b1u16.i12",
                                         "ogdi-test/rpf/ftdrum/rpf/n44w076/004crn26.i12",
                                         "ogdi-test/rpf/ftdrum/rpf/n44w076/004crq26.i12",
                                         "ogdi-test/rpf/ftdrum/rpf/n44w076/004crr26.i12",
                                         "ogdi-test/rpf/ftdrum/rpf/n44w076/004crs36.i12"};

// Opens each frame and reads its first band whole; the bytes decoded, or -1 on a failure.
int64_t readSet(const std::vector<std::string>& set, std::vector<uint8_t>& out) {
    int64_t bytes = 0;
    for (const auto& name : set) {
        Tessel::NITFMessages messages;
        const auto context = Tessel::NITFFactory::get().open(
            Tessel::NITFURI(std::string_view((corpus / name).string())), messages);
        const auto image = context ? context.getImage(Tessel::ImageOptions{}) : nullptr;
        if (!image ||
            !image->readRegionViaPixels(0, 0, image->getWidth(), image->getHeight(),
                                        image->getWidth(), image->getHeight(), {0}, out)) {
            return -1;
        }
        benchmark::DoNotOptimize(out.data());
        bytes += int64_t{image->getWidth()} * image->getHeight();
    }
    return bytes;
}

template <class Forget>
void readSetAfresh(benchmark::State& state, const std::vector<std::string>& set, Forget forget) {
    if (!fs::exists(corpus / set.front())) {
        state.SkipWithError("no shared corpus");
        return;
    }
    std::vector<uint8_t> out;
    int64_t bytes = 0;
    for (auto _ : state) {
        state.PauseTiming();
        forget();
        state.ResumeTiming();
        bytes = readSet(set, out);
        if (bytes < 0) {
            state.SkipWithError("a frame can't be read");
            return;
        }
    }
    state.SetBytesProcessed(state.iterations() * bytes);
    state.counters["frames"] = static_cast<double>(set.size());
}

void BM_VqSetCold(benchmark::State& state, const std::vector<std::string>* set) {
    readSetAfresh(state, *set, [] { Tessel::NITFFactory::get().clearCache(); });
}

void BM_VqSetBlocksWarm(benchmark::State& state, const std::vector<std::string>* set) {
    // A first pass brings the files' blocks into the pool.
    std::vector<uint8_t> out;
    readSet(*set, out);
    readSetAfresh(state, *set, [] { Tessel::TilePool::get()->clearCache(nullptr); });
}

BENCHMARK_CAPTURE(BM_VqSetCold, cadrg, &cadrgSet)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_VqSetCold, cib, &cibSet)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK_CAPTURE(BM_VqSetBlocksWarm, cadrg, &cadrgSet)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_VqSetBlocksWarm, cib, &cibSet)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
