// Costs of products and tables: a product of the demo sample through the default profile,
// with the file opened cold (the warehouse cleared) and with it already open, and a table
// of 10,000 cells read cell by cell.

#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>

#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFile.h"
#include "tessel/platform/nitf/nitf_PluginRegistry.h"
#include "tests/support/ImageFileBuilder.h"

namespace {

const Tessel::NITFURI sampleProduct() {
    return Tessel::NITFURI(std::string_view(std::string(TESSEL_SAMPLE_FILE) + "/Generic"));
}

void openProductCold(benchmark::State& state) {
    Tessel::NITFFactory& factory = Tessel::NITFFactory::get();
    for (auto _ : state) {
        state.PauseTiming();
        factory.clearCache();
        state.ResumeTiming();
        Tessel::NITFMessages messages;
        auto product = factory.openProduct(sampleProduct(), messages);
        if (!product) {
            state.SkipWithError("no product");
            break;
        }
        benchmark::DoNotOptimize(product);
    }
}

void openProductWarm(benchmark::State& state) {
    Tessel::NITFFactory& factory = Tessel::NITFFactory::get();
    Tessel::NITFMessages messages;
    // The file stays open for the whole run, as a host that shows it holds it.
    const auto held = factory.open(sampleProduct(), messages);
    for (auto _ : state) {
        auto product = factory.openProduct(sampleProduct(), messages);
        if (!product) {
            state.SkipWithError("no product");
            break;
        }
        benchmark::DoNotOptimize(product);
    }
}

// A file whose one image carries a TRE of 2,500 rows of four 3-character items.
std::filesystem::path tableFile() {
    static const std::filesystem::path path = [] {
        nitf_TREDescription* layout = new nitf_TREDescription[]{
            {NITF_BCS_N, 4, "rows", "ROWS", nullptr},     {NITF_LOOP, 0, nullptr, "ROWS", nullptr},
            {NITF_BCS_A, 3, "a", "A", nullptr},           {NITF_BCS_A, 3, "b", "B", nullptr},
            {NITF_BCS_A, 3, "c", "C", nullptr},           {NITF_BCS_A, 3, "d", "D", nullptr},
            {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr}, {NITF_END, 0, nullptr, nullptr, nullptr}};
        auto* infos = new nitf_TREDescriptionInfo[]{{"BNCHTB", layout, NITF_TRE_DESC_NO_LENGTH},
                                                    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH}};
        auto* set = new nitf_TREDescriptionSet{0, infos};
        nitf_Error error{};
        nitf_PluginRegistry_registerDescriptionSet("BNCHTB", set, &error);
        std::string payload = "2500";
        for (int row = 0; row < 2500; ++row) {
            for (int column = 0; column < 4; ++column) {
                payload += std::to_string(100 + (row + column) % 900);
            }
        }
        image_test::ImageLayout layout0;
        layout0.data = std::string(1, '\0');
        layout0.tres = {image_test::rawTre("BNCHTB", payload)};
        const auto file = std::filesystem::temp_directory_path() / "tessel-bench-table.ntf";
        image_test::ImageFileBuilder().add(layout0).write(file);
        return file;
    }();
    return path;
}

void readTable(benchmark::State& state) {
    Tessel::NITFMessages messages;
    auto context = Tessel::NITFFactory::get().open(
        Tessel::NITFURI(std::string_view(tableFile().string())), messages);
    const Tessel::TableArguments definition{
        {L"TableType", std::wstring(L"SingleTRE")},
        {L"RowCountField", std::string("ROWS")},
        {L"Fields", std::string(R"([{"name":"A","type":"integer"},{"name":"B","type":"integer"},
            {"name":"C","type":"integer"},{"name":"D","type":"integer"}])")},
        {L"Sources", std::string(R"([{"name":"BNCHTB","segment":"Images","index":0}])")}};
    for (auto _ : state) {
        auto reader = context.getTableReader(definition);
        if (!reader || reader->GetRowCount() != 2500) {
            state.SkipWithError("no table");
            break;
        }
        size_t cells = 0;
        for (int row = 0; row < reader->GetRowCount(); ++row) {
            for (int column = 0; column < 4; ++column) {
                benchmark::DoNotOptimize(reader->GetValue(row, column));
                ++cells;
            }
        }
        state.counters["cells"] = static_cast<double>(cells);
    }
}

}  // namespace

BENCHMARK(openProductCold)->Unit(benchmark::kMillisecond);
BENCHMARK(openProductWarm)->Unit(benchmark::kMicrosecond);
BENCHMARK(readTable)->Unit(benchmark::kMillisecond);
