// Opening files: the first open of a file (parse through the block pool), and opens that
// find the file warm in the warehouse, open (level 1) or just released (level 2).

#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tessel/core/NITFURI.h"
#include "tessel/file/NITFFactory.h"

namespace {

namespace fs = std::filesystem;

// Typical corpus files: a plain 1 MB NITF 2.10 image, a file with TREs and a DES, a NITF
// 2.00 file of five images, and a CADRG frame.
const std::vector<std::string>& files() {
    static const std::vector<std::string> names{
        "codice/JitcNitf21Samples/i_3001a.ntf",
        "codice/autzen-utm10.ntf",
        "codice/JitcNitf20Samples/U_1122A.NTF",
        "codice/fromOSGEO/cadrg/001zc013.on1",
    };
    return names;
}

Tessel::NITFURI uriOf(const std::string& name) {
    return Tessel::NITFURI(
        std::string_view((fs::path(TESSEL_SHARED_DIR) / "corpus" / name).string()));
}

Tessel::NITFFileContext openOrFail(const Tessel::NITFURI& uri, benchmark::State& state) {
    Tessel::NITFMessages messages;
    Tessel::NITFFileContext context = Tessel::NITFFactory::get().open(uri, messages);
    if (!context) {
        state.SkipWithError("the file doesn't open");
    }
    return context;
}

// Every cache is emptied before each open: types, files and blocks. The time includes the
// context's release into level 2, which is small beside the parse.
void BM_OpenFirst(benchmark::State& state, const std::string& name) {
    const Tessel::NITFURI uri = uriOf(name);
    for (auto _ : state) {
        state.PauseTiming();
        Tessel::NITFFactory::get().clearCache();
        state.ResumeTiming();
        const auto context = openOrFail(uri, state);
        benchmark::DoNotOptimize(context.getNumberImages());
    }
}

// Another context holds the file: the open finds it in level 1.
void BM_ReopenFromL1(benchmark::State& state, const std::string& name) {
    const Tessel::NITFURI uri = uriOf(name);
    const auto held = openOrFail(uri, state);
    for (auto _ : state) {
        const auto context = openOrFail(uri, state);
        benchmark::DoNotOptimize(context.getNumberImages());
    }
}

// Each open finds the file that the previous iteration released into level 2; the time
// includes that release.
void BM_ReopenFromL2(benchmark::State& state, const std::string& name) {
    const Tessel::NITFURI uri = uriOf(name);
    { const auto warm = openOrFail(uri, state); }
    for (auto _ : state) {
        const auto context = openOrFail(uri, state);
        benchmark::DoNotOptimize(context.getNumberImages());
    }
}

const bool registered = [] {
    for (const auto& name : files()) {
        if (!fs::exists(fs::path(TESSEL_SHARED_DIR) / "corpus" / name)) {
            continue;
        }
        const std::string label = fs::path(name).filename().string();
        benchmark::RegisterBenchmark(("BM_OpenFirst/" + label).c_str(), BM_OpenFirst, name)
            ->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark(("BM_ReopenFromL1/" + label).c_str(), BM_ReopenFromL1, name)
            ->Unit(benchmark::kMicrosecond);
        benchmark::RegisterBenchmark(("BM_ReopenFromL2/" + label).c_str(), BM_ReopenFromL2, name)
            ->Unit(benchmark::kMicrosecond);
    }
    return true;
}();

}  // namespace
