// libFuzzer target: any bytes as the JPEG 2000 codestream of a C8 image, decoded by the
// OpenJPEG factory: the image shrunk to at most 64 x 64 pixels, its far corner, its first
// block, and the same at pyramid level 1. Every cache is emptied between inputs.

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

#include "support/ImageFileBuilder.h"
#include "tessel/core/NITFMessages.h"
#include "tessel/core/NITFURI.h"
#include "tessel/core/Options.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFileContext.h"
#include "tessel/image/ImageOptions.h"
#include "tessel/image/NITFImage.h"

namespace {

constexpr uint32_t kLargestSide = 64;

const std::filesystem::path& inputPath() {
    static const std::filesystem::path path =
        std::filesystem::temp_directory_path() /
        ("tessel-fuzz-j2k-" + std::to_string(getpid()) + ".ntf");
    return path;
}

void readImage(Tessel::NITFImage& image) {
    const uint32_t width = image.getWidth();
    const uint32_t height = image.getHeight();
    if (width == 0 || height == 0 || image.getNumBands() == 0) {
        return;
    }
    std::vector<uint8_t> out;
    image.readBlock(0, 0, 0, out);
    std::vector<int> bands;
    for (uint32_t band = 0; band < std::min<uint32_t>(image.getNumBands(), 4); ++band) {
        bands.push_back(static_cast<int>(band));
    }
    const uint32_t outWidth = std::min(width, kLargestSide);
    const uint32_t outHeight = std::min(height, kLargestSide);
    image.readRegionViaPixels(0, 0, width, height, outWidth, outHeight, bands, out);
    image.readRegionViaPixels(width - outWidth, height - outHeight, outWidth, outHeight, outWidth,
                              outHeight, {0}, out);
}

void readLevel(const Tessel::NITFFileContext& context, int32_t level) {
    Tessel::ImageOptions options;
    options.level = level;
    try {
        // A codestream that can't be read throws from getImage, by design.
        if (auto image = context.getImage(options)) {
            readImage(*image);
        }
    } catch (const std::exception&) {
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    image_test::ImageLayout layout;
    layout.rows = 64;
    layout.cols = 64;
    layout.ic = "C8";
    layout.comrat = "N001";
    layout.data.assign(reinterpret_cast<const char*>(data), size);
    image_test::ImageFileBuilder().add(layout).write(inputPath());
    for (const bool openJpeg : {true, false}) {
        Tessel::s_opt_nitf_j2k_opj_enabled.override_value(openJpeg);
        Tessel::NITFFactory::get().clearCache();
        Tessel::NITFMessages messages;
        const Tessel::NITFURI uri(std::string_view(inputPath().string()));
        const Tessel::NITFFileContext context = Tessel::NITFFactory::get().open(uri, messages);
        if (context) {
            readLevel(context, 0);
            readLevel(context, 1);
        }
    }
    Tessel::NITFFactory::get().clearCache();
    return 0;
}
