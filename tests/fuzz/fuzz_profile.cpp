// Product profile loading: any bytes as a profile file, read with its definitions, then each
// profile that loads turned into a product of a small two-image file. Nothing may crash,
// hang, recurse without end or read out of bounds; bad input only adds messages.

#include <unistd.h>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "support/ImageFileBuilder.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/products/NITFProductJsonConfigProfile.h"

namespace {

std::filesystem::path& productFile() {
    static std::filesystem::path path;
    return path;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    // References name the repository's installed profiles.
    setenv("TESSEL_RESOURCE_PATH", TESSEL_FUZZ_RESOURCES, 1);
    image_test::ImageLayout mono;
    mono.iid1 = "MONO";
    mono.data = std::string(1, '\0');
    image_test::ImageLayout colour = mono;
    colour.iid1 = "COLOUR";
    colour.irep = "RGB";
    colour.bands = {image_test::band("R"), image_test::band("G"), image_test::band("B")};
    colour.data = std::string(3, '\0');
    productFile() = std::filesystem::temp_directory_path() /
                    ("tessel-fuzz-profile-" + std::to_string(getpid()) + ".ntf");
    image_test::ImageFileBuilder().add(mono).add(colour).write(productFile());
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    Tessel::NITFProductJsonConfigProfile::AliasTable aliases;
    Tessel::NITFMessages messages;
    const auto profiles = Tessel::NITFProductJsonConfigProfile::createProductProfilesFromText(
        text, L"fuzz.json", true, L"", aliases, messages);
    if (profiles.empty()) {
        return 0;
    }
    Tessel::NITFFileContext context = Tessel::NITFFactory::get().open(
        Tessel::NITFURI(std::string_view(productFile().string() + "#Primary")), messages);
    for (const auto& profile : profiles) {
        (void)profile->matchesFile(context, {});
        (void)profile->openProduct(context, messages, {});
    }
    return 0;
}
