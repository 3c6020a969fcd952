// libFuzzer target: any bytes as a file, opened through the factory, and every block of each
// of its first images read through the tile pool, with its colour map and NoData. Seeded
// with RPF frames (C4 and M4), whose location tables, codebooks, masks and codes the
// mutations reach. Every cache is emptied between inputs, so that each input is read from
// its own bytes.

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>
#include <variant>
#include <vector>

#include "tessel/core/NITFMessages.h"
#include "tessel/core/NITFURI.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFileContext.h"
#include "tessel/image/ImageOptions.h"
#include "tessel/image/NITFImage.h"

namespace {

constexpr size_t kMostImages = 2;
constexpr uint32_t kMostBlocks = 64;

const std::filesystem::path& inputPath() {
    static const std::filesystem::path path =
        std::filesystem::temp_directory_path() /
        ("tessel-fuzz-vq-" + std::to_string(getpid()) + ".ntf");
    return path;
}

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
    {
        std::ofstream file(inputPath(), std::ios::binary | std::ios::trunc);
        file.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    }
    Tessel::NITFFactory::get().clearCache();
    {
        Tessel::NITFMessages messages;
        const Tessel::NITFURI uri(std::string_view(inputPath().string()));
        const Tessel::NITFFileContext context = Tessel::NITFFactory::get().open(uri, messages);
        if (context) {
            const size_t images = std::min(context.getNumberImages(), kMostImages);
            for (size_t segment = 0; segment < images; ++segment) {
                Tessel::ImageOptions options;
                options.segment = static_cast<int32_t>(segment);
                try {
                    // An image that can't be read throws from getImage, by design.
                    if (auto image = context.getImage(options)) {
                        readBlocks(*image);
                    }
                } catch (const std::exception&) {
                }
            }
        }
    }
    Tessel::NITFFactory::get().clearCache();
    return 0;
}
