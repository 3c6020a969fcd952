// libFuzzer target: any bytes as a file opened through the factory, then every image of it
// read: its first block, the whole image shrunk to at most 64 x 64 pixels, a window at
// its far corner, and a histogram of its first band. Every cache is emptied between
// inputs, so that each input is read from its own bytes.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>

#include "FuzzImages.h"
#include "tessel/image/NITFImage.h"

namespace {

constexpr uint32_t kLargestSide = 64;
constexpr size_t kMostImages = 4;

void readImage(Tessel::NITFImage& image) {
    if (!tessel_fuzz::readShrunk(image, kLargestSide, 16)) {
        return;
    }
    Tessel::NITFImage::Histogram histogram;
    histogram.step =
        std::max<uint32_t>(1, std::max(image.getWidth(), image.getHeight()) / kLargestSide);
    image.calculateHistogram(0, histogram);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::filesystem::path file = tessel_fuzz::inputPathOf("image");
    return tessel_fuzz::fuzzImagesOf(data, size, file, kMostImages, readImage);
}
