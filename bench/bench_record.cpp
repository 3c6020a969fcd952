// Cost of reading a record (every header, subheader and TRE) from memory, for each file of
// the shared corpus that the reader accepts, and for all of them in a row.

#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "tessel/platform/nitf.h"

namespace {

struct CorpusFile {
    std::string name;   // relative to the corpus folder
    std::string bytes;  // read once, before any timing
};

// Reads the record over the bytes; false when the reader refuses them.
bool readRecord(std::string& bytes) {
    nitf_Error error{};
    nitf_IOInterface* io = nrt_BufferAdapter_construct(bytes.data(), bytes.size(), false, &error);
    nitf_Reader* reader = nitf_Reader_construct(&error);
    nitf_Record* record =
        io != nullptr && reader != nullptr ? nitf_Reader_readIO(reader, io, &error) : nullptr;
    const bool read = record != nullptr;
    benchmark::DoNotOptimize(record);
    nitf_Record_destruct(&record);
    nitf_Reader_destruct(&reader);
    nitf_IOInterface_destruct(&io);
    return read;
}

// The corpus files, in the manifest's order, that the reader accepts.
std::vector<CorpusFile>& readableFiles() {
    static std::vector<CorpusFile> files = [] {
        std::vector<CorpusFile> out;
        const std::filesystem::path corpus = std::filesystem::path(TESSEL_SHARED_DIR) / "corpus";
        std::ifstream manifest(corpus / "MANIFEST.tsv");
        std::string line;
        std::getline(manifest, line);  // column names
        while (std::getline(manifest, line)) {
            CorpusFile file{line.substr(0, line.find('\t')), {}};
            std::ifstream in(corpus / file.name, std::ios::binary);
            file.bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
            if (readRecord(file.bytes)) {
                out.push_back(std::move(file));
            }
        }
        return out;
    }();
    return files;
}

void readOneFile(benchmark::State& state, CorpusFile* file) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(readRecord(file->bytes));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) *
                            static_cast<int64_t>(file->bytes.size()));
}

void readEveryFile(benchmark::State& state) {
    auto& files = readableFiles();
    for (auto _ : state) {
        for (auto& file : files) {
            benchmark::DoNotOptimize(readRecord(file.bytes));
        }
    }
    state.counters["files"] = static_cast<double>(files.size());
}

// Registered before main runs: one benchmark per file, then the whole corpus.
const bool registered = [] {
    for (auto& file : readableFiles()) {
        benchmark::RegisterBenchmark(("BM_ReadRecord/" + file.name).c_str(), readOneFile, &file);
    }
    if (!readableFiles().empty()) {
        benchmark::RegisterBenchmark("BM_ReadRecordWholeCorpus", readEveryFile)
            ->Unit(benchmark::kMillisecond);
    }
    return true;
}();

}  // namespace
