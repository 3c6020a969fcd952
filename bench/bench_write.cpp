// Writing new NITF files: the pixels of a large uncompressed file (the fixture generator's
// large set, in TESSEL_BENCH_LARGE_DIR; skipped without it) held in memory, one source per
// band, composed with createImage and written with write into the temporary folder, blocks
// of 1024. bench/gdal_write.py times GDAL's NITF CreateCopy of the same pixels.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "BenchImages.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFile.h"
#include "tessel/file/NITFFileContext.h"
#include "tessel/file/NITFMemorySource.h"

namespace {

struct Pixels {
    uint32_t width = 0, height = 0, bits = 0;
    lumo_pixel::type type{};
    std::vector<std::vector<uint8_t>> bands;
};

// Every band of the large file `name`, read once per process.
const Pixels* pixelsOf(const std::string& name, benchmark::State& state) {
    static std::map<std::string, Pixels> loaded;
    if (auto found = loaded.find(name); found != loaded.end()) {
        return &found->second;
    }
    const bench_images::OpenImage opened = bench_images::openOrSkip(name, state);
    if (!opened.image) {
        return nullptr;
    }
    const Tessel::NITFImage& image = *opened.image;
    Pixels pixels{image.getWidth(),
                  image.getHeight(),
                  image.getBytesPerPixel() * 8,
                  image.getPixelType(),
                  {}};
    for (uint32_t band = 0; band < image.getNumBands(); ++band) {
        std::vector<uint8_t> samples;
        if (!image.readRegionViaPixels(0, 0, pixels.width, pixels.height, pixels.width,
                                       pixels.height, {static_cast<int>(band)}, samples)) {
            state.SkipWithError("the source image doesn't read");
            return nullptr;
        }
        pixels.bands.push_back(std::move(samples));
    }
    return &loaded.emplace(name, std::move(pixels)).first->second;
}

bool writeFile(const Pixels& pixels, const std::filesystem::path& out) {
    Tessel::NITFMessages messages;
    Tessel::NITFFileContext context = Tessel::NITFFactory::create(messages);
    if (!context) {
        return false;
    }
    Tessel::NITFFile& file = context.getFile();
    Tessel::ImageOptions options;
    const auto bandCount = static_cast<unsigned>(pixels.bands.size());
    if (!file.createImage(pixels.width, pixels.height, bandCount, pixels.bits, 1024, 1024,
                          pixels.type, out.filename().string(), options)) {
        return false;
    }
    for (unsigned band = 0; band < bandCount; ++band) {
        file.setSource(
            Tessel::NITFFile::SegmentType::ImageBand, 1000 + band,
            std::make_shared<Tessel::NITFMemorySource>(std::shared_ptr<const std::vector<uint8_t>>(
                std::shared_ptr<void>(), &pixels.bands[band])));
    }
    return file.write(out.string(), messages);
}

void BM_Write(benchmark::State& state, const std::string& name) {
    const Pixels* pixels = pixelsOf(name, state);
    if (pixels == nullptr) {
        return;
    }
    const std::filesystem::path out =
        std::filesystem::temp_directory_path() / ("tessel-bench-write-" + name + ".ntf");
    for (auto _ : state) {
        if (!writeFile(*pixels, out)) {
            state.SkipWithError("the write failed");
            break;
        }
    }
    int64_t bytes = 0;
    for (const auto& band : pixels->bands) {
        bytes += static_cast<int64_t>(band.size());
    }
    state.SetBytesProcessed(state.iterations() * bytes);
    std::filesystem::remove(out);
}

BENCHMARK_CAPTURE(BM_Write, u8, std::string("large_nc_u8_8192_t1024"))
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_Write, u8x3, std::string("large_nc_u8x3_8192_imodeP_t1024"))
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace
