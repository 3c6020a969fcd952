// libFuzzer target: any bytes as a metadata path, evaluated against a small file of two
// images with TREs: through the file for each image (and none), as a value and as text in
// each format, and as a wide path.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>

#include "FuzzImages.h"
#include "support/ImageFileBuilder.h"
#include "tessel/core/NITFMessages.h"
#include "tessel/core/NITFURI.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFile.h"
#include "tessel/file/NITFFileContext.h"

namespace {

// The TREs of the file: data of the right length where the fields are digits and blanks.
std::string pathsFuzzFile() {
    image_test::ImageLayout first;
    first.rows = 2;
    first.cols = 2;
    first.data = std::string(4, '\x10');
    first.tres.push_back(image_test::rawTre("BLOCKA", "01000000000000" + std::string(109, ' ')));
    first.tres.push_back(image_test::rawTre("USE00A", std::string(107, '0')));
    image_test::ImageLayout second = first;
    second.iid1 = "SECOND";
    second.tres = {image_test::rawTre("STDIDC", std::string(89, '0'))};
    return image_test::ImageFileBuilder().add(first).add(second).bytes();
}

// The file's context, opened once and held for the process.
const Tessel::NITFFileContext& pathsFuzzContext() {
    static const Tessel::NITFFileContext* const context = [] {
        const std::filesystem::path file = tessel_fuzz::inputPathOf("paths");
        std::ofstream(file, std::ios::binary | std::ios::trunc) << pathsFuzzFile();
        Tessel::NITFMessages messages;
        return new Tessel::NITFFileContext(Tessel::NITFFactory::get().open(
            Tessel::NITFURI(std::string_view(file.string())), messages));
    }();
    return *context;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const Tessel::NITFFileContext& context = pathsFuzzContext();
    if (!context || size > 4096) {
        return 0;
    }
    const Tessel::NITFFile& file = context.getFile();
    const std::string path(reinterpret_cast<const char*>(data), size);
    for (const int image : {-1, 0, 1, 2}) {
        (void)file.getPath(image, path);
        (void)file.getPathString(image, path, "");
        (void)file.getPathInt(image, path, 0);
        (void)file.getPathDouble(image, path, 0.0);
    }
    for (const char* format : {"?format=JSON", "?format=XML", "?format=RAW"}) {
        (void)file.getPathString(0, path + format, "");
    }
    std::wstring wide;
    for (const char c : path) {
        wide.push_back(static_cast<unsigned char>(c));
    }
    (void)file.getPathString(0, wide, L"");
    return 0;
}
