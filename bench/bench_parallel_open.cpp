// Opening many files at once: up to 200 corpus files, each opened once per iteration with
// every cache emptied first, by one thread or shared among eight. With opens that never
// wait for each other, eight threads finish in about the time of the files' parses divided
// by the cores; opens serialised behind one lock take as long as one thread.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "tessel/core/NITFURI.h"
#include "tessel/file/NITFFactory.h"

namespace {

namespace fs = std::filesystem;

constexpr size_t kParallelOpenFiles = 200;

// The first 200 files of the corpus, in path order, that begin like a NITF or NSIF file.
const std::vector<Tessel::NITFURI>& parallelOpenFiles() {
    static const std::vector<Tessel::NITFURI> uris = [] {
        std::vector<std::string> paths;
        const fs::path corpus = fs::path(TESSEL_SHARED_DIR) / "corpus";
        std::error_code error;
        for (fs::recursive_directory_iterator it(corpus, error), end; !error && it != end;
             it.increment(error)) {
            if (!it->is_regular_file()) {
                continue;
            }
            std::ifstream in(it->path(), std::ios::binary);
            std::string head(4, '\0');
            in.read(head.data(), 4);
            if (head == "NITF" || head == "NSIF") {
                paths.push_back(it->path().string());
            }
        }
        std::sort(paths.begin(), paths.end());
        paths.resize(std::min(paths.size(), kParallelOpenFiles));
        std::vector<Tessel::NITFURI> made;
        for (const std::string& path : paths) {
            made.emplace_back(std::string_view(path));
        }
        return made;
    }();
    return uris;
}

void openShare(size_t first, size_t step, std::atomic<size_t>& opened) {
    const auto& uris = parallelOpenFiles();
    for (size_t i = first; i < uris.size(); i += step) {
        Tessel::NITFMessages messages;
        const Tessel::NITFFileContext context = Tessel::NITFFactory::get().open(uris[i], messages);
        if (context) {
            opened.fetch_add(1, std::memory_order_relaxed);
        }
    }
}

void BM_OpenCorpus(benchmark::State& state) {
    const auto threads = static_cast<size_t>(state.range(0));
    if (parallelOpenFiles().empty()) {
        state.SkipWithError("no corpus");
        return;
    }
    size_t opened = 0;
    for (auto _ : state) {
        state.PauseTiming();
        Tessel::NITFFactory::get().clearCache();
        state.ResumeTiming();
        std::atomic<size_t> count{0};
        std::vector<std::thread> workers;
        for (size_t t = 0; t < threads; ++t) {
            workers.emplace_back(openShare, t, threads, std::ref(count));
        }
        for (std::thread& worker : workers) {
            worker.join();
        }
        opened = count.load();
    }
    state.counters["files"] = static_cast<double>(parallelOpenFiles().size());
    state.counters["opened"] = static_cast<double>(opened);
}

BENCHMARK(BM_OpenCorpus)->Arg(1)->Arg(8)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
