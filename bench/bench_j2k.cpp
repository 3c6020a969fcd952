// Reads of a large JPEG 2000 image (8192 x 8192, 64 tiles of 1024, five decomposition
// levels) through both decoders, and the floor that OpenJPEG itself sets. The file comes
// from the fixture generator's large set (the folder in TESSEL_BENCH_LARGE_DIR; the
// benchmarks skip without it). bench/gdal_j2k_read.py times GDAL's reads of the same file.
//
// "Cold" reads start from empty caches (files, blocks, tiles and decoders) and open the
// image anew; "Warm" repeats a read on one open image, with its tiles cached. Levels 1 to 3
// are whole reads of the image opened at that pyramid level, which the decoders serve by
// reduced-resolution decoding. "OpenJpegFloor" decodes every tile of the codestream in a
// loop on one thread with OpenJPEG alone, from memory: that time divided by the cores is the
// least any reader on this decoder can take for the whole image.

#include <benchmark/benchmark.h>
#include <openjpeg.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "BenchImages.h"
#include "tessel/core/Options.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/image/NITFTileFactory.h"

namespace {

const char* const large_j2k = "large_c8_u8_8192_t1024_5lev";
constexpr uint32_t j2k_window_origin = 1900;  // across the seams at 2048

enum class Decoder { openjpeg, engine };

void chooseDecoder(Decoder decoder) {
    Tessel::s_opt_nitf_j2k_opj_enabled.override_value(decoder == Decoder::openjpeg);
    Tessel::s_opt_nitf_j2k_kdu_enabled.override_value(decoder == Decoder::engine);
}

void BM_J2KReadCold(benchmark::State& state, Decoder decoder, bool window) {
    chooseDecoder(decoder);
    bench_images::readAfresh(state, large_j2k, window, j2k_window_origin,
                             [] { Tessel::NITFFactory::get().clearCache(); });
}

void BM_J2KReadWarm(benchmark::State& state, Decoder decoder) {
    chooseDecoder(decoder);
    Tessel::NITFFactory::get().clearCache();
    bench_images::readWarm(state, large_j2k, true, j2k_window_origin);
}

// The whole image at pyramid level state.range(0), opened anew from empty caches.
void BM_J2KReadLevelCold(benchmark::State& state, Decoder decoder) {
    chooseDecoder(decoder);
    Tessel::ImageOptions options;
    options.level = static_cast<int32_t>(state.range(0));
    std::vector<uint8_t> out;
    bench_images::Region region{};
    bench_images::OpenImage opened;
    for (auto _ : state) {
        state.PauseTiming();
        opened = bench_images::OpenImage{};
        Tessel::NITFFactory::get().clearCache();
        opened = bench_images::openOrSkip(large_j2k, state, options);
        if (!opened.image) {
            return;
        }
        region = bench_images::regionOf(*opened.image, false, 0);
        state.ResumeTiming();
        if (!bench_images::readRegion(*opened.image, region, out)) {
            state.SkipWithError("the read failed");
            return;
        }
        benchmark::DoNotOptimize(out.data());
    }
    if (opened.image) {
        bench_images::reportBytes(state, *opened.image, region);
    }
}

// The codestream of the file's first image, read whole into memory.
std::string codestreamOf(benchmark::State& state) {
    const bench_images::OpenImage opened = bench_images::openOrSkip(large_j2k, state);
    if (!opened.image) {
        return {};
    }
    const auto* factory =
        dynamic_cast<const Tessel::NITFTileFactory*>(opened.image->getTileFactory());
    if (factory == nullptr) {
        state.SkipWithError("the image has no NITF tile factory");
        return {};
    }
    std::ifstream in(bench_images::largeFile(large_j2k), std::ios::binary);
    in.seekg(static_cast<std::streamoff>(factory->getDataOffset()));
    std::string bytes(factory->getDataLength(), '\0');
    in.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return bytes;
}

struct MemoryStream {
    const std::string* bytes;
    size_t position = 0;
};

OPJ_SIZE_T readMemory(void* buffer, OPJ_SIZE_T size, void* user) {
    auto* stream = static_cast<MemoryStream*>(user);
    const size_t left = stream->bytes->size() - stream->position;
    if (left == 0) {
        return static_cast<OPJ_SIZE_T>(-1);
    }
    const size_t n = std::min<size_t>(size, left);
    std::memcpy(buffer, stream->bytes->data() + stream->position, n);
    stream->position += n;
    return n;
}

OPJ_OFF_T skipMemory(OPJ_OFF_T n, void* user) {
    auto* stream = static_cast<MemoryStream*>(user);
    const auto target = std::clamp<OPJ_OFF_T>(static_cast<OPJ_OFF_T>(stream->position) + n, 0,
                                              static_cast<OPJ_OFF_T>(stream->bytes->size()));
    const OPJ_OFF_T moved = target - static_cast<OPJ_OFF_T>(stream->position);
    stream->position = static_cast<size_t>(target);
    return moved;
}

OPJ_BOOL seekMemory(OPJ_OFF_T n, void* user) {
    auto* stream = static_cast<MemoryStream*>(user);
    if (n < 0 || static_cast<size_t>(n) > stream->bytes->size()) {
        return OPJ_FALSE;
    }
    stream->position = static_cast<size_t>(n);
    return OPJ_TRUE;
}

// Decodes tile `index` of the codestream with a decoder of its own, on this thread.
bool decodeOneTile(const std::string& bytes, uint32_t index) {
    MemoryStream memory{&bytes, 0};
    opj_stream_t* stream = opj_stream_create(1 << 16, OPJ_TRUE);
    opj_stream_set_user_data(stream, &memory, nullptr);
    opj_stream_set_user_data_length(stream, bytes.size());
    opj_stream_set_read_function(stream, readMemory);
    opj_stream_set_skip_function(stream, skipMemory);
    opj_stream_set_seek_function(stream, seekMemory);
    opj_codec_t* codec = opj_create_decompress(OPJ_CODEC_J2K);
    opj_dparameters_t parameters;
    opj_set_default_decoder_parameters(&parameters);
    opj_image_t* image = nullptr;
    const bool ok = opj_setup_decoder(codec, &parameters) &&
                    opj_read_header(stream, codec, &image) &&
                    opj_get_decoded_tile(codec, stream, image, index);
    opj_image_destroy(image);
    opj_destroy_codec(codec);
    opj_stream_destroy(stream);
    return ok;
}

void BM_J2KOpenJpegFloor(benchmark::State& state) {
    const std::string bytes = codestreamOf(state);
    if (bytes.empty()) {
        return;
    }
    const uint32_t tiles = 64;
    double seconds = 0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        for (uint32_t index = 0; index < tiles; ++index) {
            if (!decodeOneTile(bytes, index)) {
                state.SkipWithError("a tile failed to decode");
                return;
            }
        }
        seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
    const double cores = std::max(1u, std::thread::hardware_concurrency());
    state.counters["cores"] = cores;
    state.counters["floor_ms"] = 1e3 * seconds / static_cast<double>(state.iterations()) / cores;
}

BENCHMARK(BM_J2KOpenJpegFloor)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(1);
BENCHMARK_CAPTURE(BM_J2KReadCold, full_openjpeg, Decoder::openjpeg, false)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_J2KReadCold, full_engine, Decoder::engine, false)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_J2KReadCold, window512_openjpeg, Decoder::openjpeg, true)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_J2KReadCold, window512_engine, Decoder::engine, true)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_J2KReadLevelCold, openjpeg, Decoder::openjpeg)
    ->DenseRange(1, 3)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_J2KReadLevelCold, engine, Decoder::engine)
    ->DenseRange(1, 3)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_J2KReadWarm, window512_openjpeg, Decoder::openjpeg)
    ->Unit(benchmark::kMicrosecond)
    ->UseRealTime();
BENCHMARK_CAPTURE(BM_J2KReadWarm, window512_engine, Decoder::engine)
    ->Unit(benchmark::kMicrosecond)
    ->UseRealTime();

}  // namespace
