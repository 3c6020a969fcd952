#pragma once
// Field descriptions for tests: the library's own description files from the source tree,
// and a folder of the test process in which tests write files of their own. Descriptions
// are kept for the whole process once read, so every test writes under a name of its own.

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include "support/TestPaths.h"

namespace tessel_test {

// Points the resource search at the test folder, then the source tree's resources; the
// first call does it, later ones only return the test folder.
inline const std::filesystem::path& infoResourceFolder() {
    static const std::filesystem::path folder = [] {
        const std::filesystem::path root =
            std::filesystem::temp_directory_path() / ("tessel-info-" + std::to_string(::getpid()));
        std::filesystem::create_directories(root / "Resources/Raster/NITF/TREs");
        const std::string list = root.string() + ":" + TESSEL_SOURCE_DIR + "/resources";
        ::setenv("TESSEL_RESOURCE_PATH", list.c_str(), 1);
        std::atexit([] {
            std::error_code ignored;
            std::filesystem::remove_all(infoResourceFolder(), ignored);
        });
        return root;
    }();
    return folder;
}

// Writes one description file into the test folder.
inline void writeDescription(const std::string& name, const std::string& text) {
    std::ofstream(infoResourceFolder() / "Resources/Raster/NITF/TREs" / name, std::ios::binary)
        << text;
}

}  // namespace tessel_test
