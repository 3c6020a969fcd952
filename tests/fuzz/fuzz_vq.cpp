// libFuzzer target: any bytes as a file, opened through the factory, and every block of each
// of its first images read through the tile pool, with its colour map and NoData. Seeded
// with RPF frames (C4 and M4), whose location tables, codebooks, masks and codes the
// mutations reach. Every cache is emptied between inputs, so that each input is read from
// its own bytes.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <type_traits>
#include <variant>
#include <vector>

#include "FuzzImages.h"
#include "tessel/image/NITFImage.h"

namespace {

constexpr size_t kMostImages = 2;
constexpr uint32_t kMostBlocks = 64;

// Touches every entry of the colour map, so that a map longer than its storage shows.
size_t colorMapSum(const Tessel::ColorMap& map) {
    return std::visit(
        [](const auto& entries) -> size_t {
            if constexpr (std::is_same_v<std::decay_t<decltype(entries)>, std::monostate>) {
                return 0;
            } else {
                size_t sum = 0;
                for (const auto& entry : entries) {
                    sum += sizeof(entry);
                }
                return sum;
            }
        },
        map);
}

void readBlocks(Tessel::NITFImage& image) {
    volatile size_t sink = colorMapSum(image.getColorMap(0));
    sink = sink + image.getNoData().value;
    uint32_t blocks = 0;
    std::vector<uint8_t> out;
    for (uint32_t y = 0; y < image.getBlocksY() && blocks < kMostBlocks; ++y) {
        for (uint32_t x = 0; x < image.getBlocksX() && blocks < kMostBlocks; ++x, ++blocks) {
            if (image.readBlock(x, y, 0, out) && !out.empty()) {
                sink = sink + out.front() + out.back();
            }
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::filesystem::path file = tessel_fuzz::inputPathOf("vq");
    return tessel_fuzz::fuzzImagesOf(data, size, file, kMostImages, readBlocks);
}
