// libFuzzer target: any bytes as a file opened through the factory, then every image of it
// read: its first block, the whole image (or as much of it as the tile bound of the reads
// allows) shrunk to at most 64 x 64 pixels, a window at its far corner, and a histogram of
// its first band. Every cache is emptied between
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
    // A histogram over every tile only where the whole image is within the tile bound of the
    // reads; otherwise one over the central tiles (the step that asks for them).
    Tessel::NITFImage::Histogram histogram;
    if (tessel_fuzz::tilesUnder(image, image.getWidth(), image.getHeight()) <=
        tessel_fuzz::kMostTilesPerRead) {
        histogram.step =
            std::max<uint32_t>(1, std::max(image.getWidth(), image.getHeight()) / kLargestSide);
    } else {
        histogram.step = 0xFFFFFFFF;
    }
    image.calculateHistogram(0, histogram);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::filesystem::path file = tessel_fuzz::inputPathOf("image");
    return tessel_fuzz::fuzzImagesOf(data, size, file, kMostImages, readImage);
}
