// libFuzzer target: any bytes as a file opened through the factory, then every image of it
// read: its first block, the whole image shrunk to at most 64 x 64 pixels, a window at
// its far corner, and a histogram of its first band. Every cache is emptied between
// inputs, so that each input is read from its own bytes.

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tessel/core/NITFMessages.h"
#include "tessel/core/NITFURI.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFileContext.h"
#include "tessel/image/ImageOptions.h"
#include "tessel/image/NITFImage.h"

namespace {

constexpr uint32_t kLargestSide = 64;
constexpr size_t kMostImages = 4;

const std::filesystem::path& inputPath() {
    static const std::filesystem::path path =
        std::filesystem::temp_directory_path() /
        ("tessel-fuzz-image-" + std::to_string(getpid()) + ".ntf");
    return path;
}

std::vector<int> allBands(const Tessel::NITFImage& image) {
    std::vector<int> bands;
    for (uint32_t band = 0; band < std::min<uint32_t>(image.getNumBands(), 16); ++band) {
        bands.push_back(static_cast<int>(band));
    }
    return bands;
}

void readImage(Tessel::NITFImage& image) {
    const uint32_t width = image.getWidth();
    const uint32_t height = image.getHeight();
    if (width == 0 || height == 0 || image.getNumBands() == 0) {
        return;
    }
    std::vector<uint8_t> out;
    image.readBlock(0, 0, 0, out);
    const uint32_t outWidth = std::min(width, kLargestSide);
    const uint32_t outHeight = std::min(height, kLargestSide);
    image.readRegionViaPixels(0, 0, width, height, outWidth, outHeight, allBands(image), out);
    image.readRegionViaPixels(width - outWidth, height - outHeight, outWidth, outHeight, outWidth,
                              outHeight, {0}, out);
    Tessel::NITFImage::Histogram histogram;
    histogram.step = std::max<uint32_t>(1, std::max(width, height) / kLargestSide);
    image.calculateHistogram(0, histogram);
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
                        readImage(*image);
                    }
                } catch (const std::exception&) {
                }
            }
        }
    }
    Tessel::NITFFactory::get().clearCache();
    return 0;
}
