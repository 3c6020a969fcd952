#pragma once
// What the image fuzz targets share: the input written to a file of the process's own, the
// images of that file opened through the factory with every cache emptied around them, and
// the reads of an image shrunk to a few pixels.

#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tessel/core/NITFMessages.h"
#include "tessel/core/NITFURI.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFileContext.h"
#include "tessel/image/ImageOptions.h"
#include "tessel/image/NITFImage.h"

namespace tessel_fuzz {

using ReadImage = std::function<void(Tessel::NITFImage&)>;

// tessel-fuzz-<target>-<process id>.ntf in the temporary folder.
inline std::filesystem::path inputPathOf(const std::string& target) {
    return std::filesystem::temp_directory_path() /
           ("tessel-fuzz-" + target + "-" + std::to_string(getpid()) + ".ntf");
}

// `read` on the image `options` choose of `context`. An image that can't be read throws from
// getImage, by design: that is no finding.
inline void readImageOf(const Tessel::NITFFileContext& context, const Tessel::ImageOptions& options,
                        const ReadImage& read) {
    try {
        if (auto image = context.getImage(options)) {
            read(*image);
        }
    } catch (const std::exception&) {
    }
}

// `file` opened through the factory, with every cache emptied before and after, so that each
// input is read from its own bytes; `read` on each image context gives.
inline void openAndRead(const std::filesystem::path& file,
                        const std::function<void(const Tessel::NITFFileContext&)>& read) {
    Tessel::NITFFactory::get().clearCache();
    {
        Tessel::NITFMessages messages;
        const Tessel::NITFURI uri(std::string_view(file.string()));
        const Tessel::NITFFileContext context = Tessel::NITFFactory::get().open(uri, messages);
        if (context) {
            read(context);
        }
    }
    Tessel::NITFFactory::get().clearCache();
}

// The body of a target that takes the input as a whole file: the input written to `file`,
// and `read` on each of its first `mostImages` images.
inline int fuzzImagesOf(const uint8_t* data, size_t size, const std::filesystem::path& file,
                        size_t mostImages, const ReadImage& read) {
    {
        std::ofstream out(file, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    }
    openAndRead(file, [&](const Tessel::NITFFileContext& context) {
        const size_t images = std::min(context.getNumberImages(), mostImages);
        for (size_t segment = 0; segment < images; ++segment) {
            Tessel::ImageOptions options;
            options.segment = static_cast<int32_t>(segment);
            readImageOf(context, options, read);
        }
    });
    return 0;
}

// A region read queues every tile under its window, so the cost of a read grows with the
// window's tiles and not with its output size: a window of 658,185 tiles (an image claiming 65
// million columns in 100-column blocks) takes seconds. The reads below keep to windows of at
// most this many tiles, so that each input stays within libFuzzer's time limit.
constexpr uint64_t kMostTilesPerRead = 16384;

// Tiles under a window of `width` by `height` pixels from the origin.
inline uint64_t tilesUnder(const Tessel::NITFImage& image, uint64_t width, uint64_t height) {
    const uint64_t blockWidth = std::max<uint32_t>(1, image.getBlockWidth());
    const uint64_t blockHeight = std::max<uint32_t>(1, image.getBlockHeight());
    return ((width + blockWidth - 1) / blockWidth) * ((height + blockHeight - 1) / blockHeight);
}

// The largest window from the origin, within the image, of at most kMostTilesPerRead tiles:
// the whole image when it fits, else whole rows of tiles, else part of the first tile row.
inline std::pair<uint32_t, uint32_t> boundedWindow(const Tessel::NITFImage& image) {
    const uint64_t blockWidth = std::max<uint32_t>(1, image.getBlockWidth());
    const uint64_t blockHeight = std::max<uint32_t>(1, image.getBlockHeight());
    const uint64_t tilesAcross = (image.getWidth() + blockWidth - 1) / blockWidth;
    if (tilesAcross <= kMostTilesPerRead) {
        const uint64_t rows = kMostTilesPerRead / tilesAcross * blockHeight;
        return {image.getWidth(),
                static_cast<uint32_t>(std::min<uint64_t>(image.getHeight(), rows))};
    }
    return {static_cast<uint32_t>(kMostTilesPerRead * blockWidth),
            std::min<uint32_t>(image.getHeight(), static_cast<uint32_t>(blockHeight))};
}

// Of an image with pixels: its first block, the largest window from the origin of at most
// kMostTilesPerRead tiles (the whole image, mostly) shrunk to at most `largestSide` pixels a
// side in its first `mostBands` bands, and a window at its far corner. False, with nothing
// read, for an image without pixels.
inline bool readShrunk(Tessel::NITFImage& image, uint32_t largestSide, uint32_t mostBands) {
    const uint32_t width = image.getWidth();
    const uint32_t height = image.getHeight();
    if (width == 0 || height == 0 || image.getNumBands() == 0) {
        return false;
    }
    std::vector<uint8_t> out;
    image.readBlock(0, 0, 0, out);
    std::vector<int> bands;
    for (uint32_t band = 0; band < std::min<uint32_t>(image.getNumBands(), mostBands); ++band) {
        bands.push_back(static_cast<int>(band));
    }
    const auto [windowWidth, windowHeight] = boundedWindow(image);
    image.readRegionViaPixels(0, 0, windowWidth, windowHeight, std::min(windowWidth, largestSide),
                              std::min(windowHeight, largestSide), bands, out);
    const uint32_t outWidth = std::min(width, largestSide);
    const uint32_t outHeight = std::min(height, largestSide);
    image.readRegionViaPixels(width - outWidth, height - outHeight, outWidth, outHeight, outWidth,
                              outHeight, {0}, out);
    return true;
}

}  // namespace tessel_fuzz
