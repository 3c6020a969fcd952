// Costs of the addressing values that every open pays for.

#include <benchmark/benchmark.h>

#include "tessel/core/NITFType.h"
#include "tessel/core/NITFURI.h"
#include "tessel/core/Options.h"

namespace {

void BM_ParseUriWithProfileAndImage(benchmark::State& state) {
    for (auto _ : state) {
        Tessel::NITFURI uri(std::wstring_view(L"/data/frames/a.ntf/Default/IM_4"));
        benchmark::DoNotOptimize(uri.cacheKey());
    }
}
BENCHMARK(BM_ParseUriWithProfileAndImage);

void BM_IsNitfExtension(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(Tessel::NITFURI::is_nitf_extension(std::wstring_view(L".ON2")));
    }
}
BENCHMARK(BM_IsNitfExtension);

void BM_ReadOptionAfterFirstUse(benchmark::State& state) {
    benchmark::DoNotOptimize(Tessel::s_opt_lumo_iopool_block_size());
    for (auto _ : state) {
        benchmark::DoNotOptimize(Tessel::s_opt_lumo_iopool_block_size());
    }
}
BENCHMARK(BM_ReadOptionAfterFirstUse);

void BM_Str2NITFType(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(Tessel::Str2NITFType("NSIF01.00"));
    }
}
BENCHMARK(BM_Str2NITFType);

}  // namespace
