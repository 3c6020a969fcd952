// Costs of metadata paths over a parsed record: a header field, a TRE field inside a repeated
// group, and whole-file dumps.

#include <benchmark/benchmark.h>

#include <filesystem>
#include <memory>

#include "tessel/file/NITFFile.h"
#include "tests/paths/dictionary_test_support.h"

namespace {

using dictionary_test::RecordContext;

const std::filesystem::path kShared = TESSEL_SHARED_DIR;

// One file opened for all the runs of a benchmark.
std::unique_ptr<RecordContext> openShared(benchmark::State& state,
                                          const std::filesystem::path& relative) {
    const auto path = kShared / relative;
    if (!std::filesystem::exists(path)) {
        state.SkipWithError("no shared data");
        return nullptr;
    }
    auto context = std::make_unique<RecordContext>(path);
    if (!context->ok()) {
        state.SkipWithError("file does not parse");
        return nullptr;
    }
    return context;
}

void readPath(benchmark::State& state, const std::filesystem::path& file, std::string_view path) {
    auto context = openShared(state, file);
    if (!context) {
        return;
    }
    Tessel::NITFMessages messages;
    for (auto _ : state) {
        any_type::value value = context->GetByPathAsVariant(0, path, messages);
        benchmark::DoNotOptimize(value);
        if (value.index() == 0) {
            state.SkipWithError("path not found");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations());
}

void BM_HeaderField(benchmark::State& state) {
    readPath(state, "fixtures/tre_rpc00b.ntf", "/FileHeader/OSTAID");
}
BENCHMARK(BM_HeaderField);

void BM_ImageSubheaderField(benchmark::State& state) {
    readPath(state, "fixtures/tre_rpc00b.ntf", "/Images/0/NROWS?parse=int");
}
BENCHMARK(BM_ImageSubheaderField);

void BM_TreFieldInRepeatedGroup(benchmark::State& state) {
    readPath(state, "fixtures/tre_rpc00b.ntf", "/Images/0/TREs/RPC00B/LINE_NUM_COEFF/5");
}
BENCHMARK(BM_TreFieldInRepeatedGroup);

void BM_TreFieldThroughShortcut(benchmark::State& state) {
    readPath(state, "fixtures/tre_rpc00b.ntf", "/TRE/RPC00B/SAMP_DEN_COEFF/19?parse=double");
}
BENCHMARK(BM_TreFieldThroughShortcut);

void BM_JsonDumpTypicalFile(benchmark::State& state) {
    readPath(state, "fixtures/tre_rpc00b.ntf", "/?JSON");
}
BENCHMARK(BM_JsonDumpTypicalFile)->Unit(benchmark::kMicrosecond);

void BM_JsonDumpMedianCorpusFile(benchmark::State& state) {
    readPath(state, "corpus/codice/JitcJpeg2000/file6_jp2.ntf", "/?JSON");
}
BENCHMARK(BM_JsonDumpMedianCorpusFile)->Unit(benchmark::kMicrosecond);

void BM_XmlDumpTypicalFile(benchmark::State& state) {
    readPath(state, "fixtures/tre_rpc00b.ntf", "/?XML");
}
BENCHMARK(BM_XmlDumpTypicalFile)->Unit(benchmark::kMicrosecond);

void BM_JsonDumpSicd(benchmark::State& state) {
    readPath(state, "corpus/nitro/sicd_50x50.nitf", "/?JSON");
}
BENCHMARK(BM_JsonDumpSicd)->Unit(benchmark::kMicrosecond);

void BM_SicdXmlElement(benchmark::State& state) {
    readPath(state, "corpus/nitro/sicd_50x50.nitf",
             "/DESs/0/XML/SICD/CollectionInfo/CollectorName");
}
BENCHMARK(BM_SicdXmlElement)->Unit(benchmark::kMicrosecond);

// --- through NITFFile: the wrapper a host calls, with its "@Info" check, local message sink
// and typed conversion.

std::shared_ptr<Tessel::NITFFile> openFile(benchmark::State& state,
                                           const std::filesystem::path& path) {
    if (!std::filesystem::exists(path)) {
        state.SkipWithError("no such file");
        return nullptr;
    }
    try {
        Tessel::NITFMessages messages;
        return std::make_shared<Tessel::NITFFile>(Tessel::NITFURI(std::string_view(path.string())),
                                                  messages);
    } catch (const std::exception&) {
        state.SkipWithError("file does not open");
        return nullptr;
    }
}

void readFilePath(benchmark::State& state, const std::filesystem::path& file,
                  std::string_view path) {
    const auto opened = openFile(state, file);
    if (!opened) {
        return;
    }
    for (auto _ : state) {
        std::string value = opened->getPathString(0, path, {});
        benchmark::DoNotOptimize(value);
        if (value.empty()) {
            state.SkipWithError("path not found");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations());
}

void dumpFile(benchmark::State& state, const std::filesystem::path& file) {
    const auto opened = openFile(state, file);
    if (!opened) {
        return;
    }
    size_t bytes = 0;
    for (auto _ : state) {
        std::string isd = opened->getISD("JSON");
        bytes = isd.size();
        benchmark::DoNotOptimize(isd);
    }
    state.counters["bytes"] = static_cast<double>(bytes);
}

void BM_FileHeaderField(benchmark::State& state) {
    readFilePath(state, kShared / "fixtures/tre_rpc00b.ntf", "/FileHeader/OSTAID");
}
BENCHMARK(BM_FileHeaderField);

void BM_FileTreFieldInRepeatedGroup(benchmark::State& state) {
    readFilePath(state, kShared / "fixtures/tre_rpc00b.ntf",
                 "/Images/0/TREs/RPC00B/LINE_NUM_COEFF/5");
}
BENCHMARK(BM_FileTreFieldInRepeatedGroup);

void BM_FileISDJsonSample(benchmark::State& state) {
    dumpFile(state, TESSEL_SAMPLE_FILE);
}
BENCHMARK(BM_FileISDJsonSample)->Unit(benchmark::kMicrosecond);

void BM_FileISDJsonTypicalFile(benchmark::State& state) {
    dumpFile(state, kShared / "fixtures/tre_rpc00b.ntf");
}
BENCHMARK(BM_FileISDJsonTypicalFile)->Unit(benchmark::kMicrosecond);

void BM_FileISDJsonMedianCorpusFile(benchmark::State& state) {
    dumpFile(state, kShared / "corpus/codice/JitcJpeg2000/file6_jp2.ntf");
}
BENCHMARK(BM_FileISDJsonMedianCorpusFile)->Unit(benchmark::kMicrosecond);

}  // namespace
