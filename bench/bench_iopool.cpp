// Reading through the block pool against plain reads of the page cache, and the cost of
// opening and parsing a file through NITRO's interface over the pool.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tessel/io/IOPool.h"
#include "tessel/io/NitroGdalIOInterface.h"
#include "tessel/platform/nitf.h"

namespace {

constexpr size_t kLargeFileSize = size_t{256} << 20;
constexpr size_t kChunk = size_t{16} << 20;  // the size of one caller's read
const char* const kCorpusFile = "corpus/codice/JitcNitf20Samples/U_1122A.NTF";

// The 256 MiB file that the throughput benchmarks read, made once and removed at exit.
class LargeFile {
public:
    LargeFile() {
        path_ = std::filesystem::temp_directory_path() /
                ("tessel-bench-iopool-" + std::to_string(::getpid()) + ".bin");
        std::ofstream out(path_, std::ios::binary);
        std::vector<char> chunk(kChunk);
        for (size_t i = 0; i < chunk.size(); ++i) {
            chunk[i] = static_cast<char>(i * 131 % 251);
        }
        for (size_t written = 0; written < kLargeFileSize; written += chunk.size()) {
            out.write(chunk.data(), static_cast<std::streamsize>(chunk.size()));
        }
    }
    ~LargeFile() {
        std::error_code ec;
        std::filesystem::remove(path_, ec);
    }
    const std::filesystem::path& path() const { return path_; }
    Tessel::NITFURI uri() const { return Tessel::NITFURI(path_.wstring()); }

private:
    std::filesystem::path path_;
};

const LargeFile& largeFile() {
    static const LargeFile file;
    return file;
}

void readWholeFileThroughPool(const Tessel::NITFURI& uri, std::vector<uint8_t>& buffer) {
    for (size_t offset = 0; offset < kLargeFileSize; offset += kChunk) {
        Tessel::IOPool::Read(uri, offset, kChunk, buffer.data()).get();
    }
}

// Blocks read anew at each pass (the page cache is warm): the pool's read path.
void BM_PoolReadUncachedBlocks(benchmark::State& state) {
    const auto uri = largeFile().uri();
    std::vector<uint8_t> buffer(kChunk);
    readWholeFileThroughPool(uri, buffer);  // warms the page cache
    for (auto _ : state) {
        state.PauseTiming();
        Tessel::IOPool::Clear(L"");
        state.ResumeTiming();
        readWholeFileThroughPool(uri, buffer);
        benchmark::DoNotOptimize(buffer.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kLargeFileSize));
}
BENCHMARK(BM_PoolReadUncachedBlocks)->Unit(benchmark::kMillisecond)->UseRealTime();

// Every block is in the table: copies out of cached blocks.
void BM_PoolReadCachedBlocks(benchmark::State& state) {
    const auto uri = largeFile().uri();
    std::vector<uint8_t> buffer(kChunk);
    Tessel::IOPool::Clear(L"");
    readWholeFileThroughPool(uri, buffer);
    for (auto _ : state) {
        readWholeFileThroughPool(uri, buffer);
        benchmark::DoNotOptimize(buffer.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kLargeFileSize));
    Tessel::IOPool::Clear(L"");
}
BENCHMARK(BM_PoolReadCachedBlocks)->Unit(benchmark::kMillisecond)->UseRealTime();

// A plain read loop over the same file in the page cache, 1 MiB at a time.
void BM_PlainReadLoop(benchmark::State& state) {
    const auto& path = largeFile().path();
    std::vector<uint8_t> buffer(size_t{1} << 20);
    for (auto _ : state) {
        const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
        size_t total = 0;
        ssize_t got = 0;
        while ((got = ::read(fd, buffer.data(), buffer.size())) > 0) {
            total += static_cast<size_t>(got);
        }
        ::close(fd);
        if (total != kLargeFileSize) {
            state.SkipWithError("short read");
            break;
        }
        benchmark::DoNotOptimize(buffer.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * kLargeFileSize));
}
BENCHMARK(BM_PlainReadLoop)->Unit(benchmark::kMillisecond)->UseRealTime();

std::filesystem::path corpusFile() {
    return std::filesystem::path(TESSEL_SHARED_DIR) / kCorpusFile;
}

// Opens and parses a file through `io`; false when the parse fails.
bool parse(nrt_IOInterface* io) {
    nrt_Error error{};
    nitf_Reader* reader = nitf_Reader_construct(&error);
    nitf_Record* record = io ? nitf_Reader_readIO(reader, io, &error) : nullptr;
    const bool ok = record != nullptr;
    nitf_Record_destruct(&record);
    nitf_Reader_destruct(&reader);
    return ok;
}

// A first open: the blocks of the file are read at the probe and by the parse.
void BM_FirstParseThroughPool(benchmark::State& state) {
    const auto path = corpusFile();
    if (!std::filesystem::exists(path)) {
        state.SkipWithError("no shared corpus");
        return;
    }
    const Tessel::NITFURI uri(path.wstring());
    for (auto _ : state) {
        state.PauseTiming();
        Tessel::IOPool::Clear(L"");
        state.ResumeTiming();
        nrt_Error error{};
        nrt_IOInterface* io =
            Tessel::NitroGdalIOInterface::Create(uri, NRT_ACCESS_READONLY, &error);
        if (!parse(io)) {
            state.SkipWithError("parse failed");
        }
        nrt_IOInterface_destruct(&io);
    }
}
BENCHMARK(BM_FirstParseThroughPool)->Unit(benchmark::kMicrosecond);

// A re-open: every block that the parse wants is in the table.
void BM_ReopenParseThroughPool(benchmark::State& state) {
    const auto path = corpusFile();
    if (!std::filesystem::exists(path)) {
        state.SkipWithError("no shared corpus");
        return;
    }
    const Tessel::NITFURI uri(path.wstring());
    Tessel::IOPool::Clear(L"");
    for (auto _ : state) {
        nrt_Error error{};
        nrt_IOInterface* io =
            Tessel::NitroGdalIOInterface::Create(uri, NRT_ACCESS_READONLY, &error);
        if (!parse(io)) {
            state.SkipWithError("parse failed");
        }
        nrt_IOInterface_destruct(&io);
    }
}
BENCHMARK(BM_ReopenParseThroughPool)->Unit(benchmark::kMicrosecond);

// The same parse through a plain file handle, for comparison.
void BM_ParseThroughFileHandle(benchmark::State& state) {
    const auto path = corpusFile();
    if (!std::filesystem::exists(path)) {
        state.SkipWithError("no shared corpus");
        return;
    }
    for (auto _ : state) {
        nrt_Error error{};
        nrt_IOInterface* io =
            nrt_IOHandleAdapter_open(path.c_str(), NRT_ACCESS_READONLY, NRT_OPEN_EXISTING, &error);
        if (!parse(io)) {
            state.SkipWithError("parse failed");
        }
        nrt_IOInterface_destruct(&io);
    }
}
BENCHMARK(BM_ParseThroughFileHandle)->Unit(benchmark::kMicrosecond);

}  // namespace
