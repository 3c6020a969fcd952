// libFuzzer target: any bytes as the JPEG 2000 codestream of a C8 image, decoded by the
// OpenJPEG factory: the image shrunk to at most 64 x 64 pixels, its far corner, its first
// block, and the same at pyramid level 1. Every cache is emptied between inputs.

#include <cstddef>
#include <cstdint>
#include <filesystem>

#include "FuzzImages.h"
#include "support/ImageFileBuilder.h"
#include "tessel/core/Options.h"
#include "tessel/file/NITFFileContext.h"
#include "tessel/image/ImageOptions.h"
#include "tessel/image/NITFImage.h"

namespace {

constexpr uint32_t kLargestSide = 64;

void readImage(Tessel::NITFImage& image) {
    tessel_fuzz::readShrunk(image, kLargestSide, 4);
}

void readLevel(const Tessel::NITFFileContext& context, int32_t level) {
    Tessel::ImageOptions options;
    options.level = level;
    tessel_fuzz::readImageOf(context, options, readImage);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::filesystem::path file = tessel_fuzz::inputPathOf("j2k");
    image_test::ImageLayout layout;
    layout.rows = 64;
    layout.cols = 64;
    layout.ic = "C8";
    layout.comrat = "N001";
    layout.data.assign(reinterpret_cast<const char*>(data), size);
    image_test::ImageFileBuilder().add(layout).write(file);
    for (const bool openJpeg : {true, false}) {
        Tessel::s_opt_nitf_j2k_opj_enabled.override_value(openJpeg);
        tessel_fuzz::openAndRead(file, [](const Tessel::NITFFileContext& context) {
            readLevel(context, 0);
            readLevel(context, 1);
        });
    }
    return 0;
}
