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
        static const pid_t owner = ::getpid();
        const std::filesystem::path root =
            std::filesystem::temp_directory_path() / ("tessel-info-" + std::to_string(owner));
        // A process that died before its exit handlers ran may have left this folder, and
        // its process id has come round again: what it wrote must not count here.
        std::error_code ignored;
        std::filesystem::remove_all(root, ignored);
        std::filesystem::create_directories(root / "Resources/Raster/NITF/TREs");
        const std::string list = root.string() + ":" + TESSEL_SOURCE_DIR + "/resources";
        ::setenv("TESSEL_RESOURCE_PATH", list.c_str(), 1);
        std::atexit([] {
            // A forked child (a death test) exits too, while its parent still uses the folder.
            if (::getpid() == owner) {
                std::error_code ignoredAtExit;
                std::filesystem::remove_all(infoResourceFolder(), ignoredAtExit);
            }
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
