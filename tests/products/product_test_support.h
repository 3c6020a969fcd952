#pragma once
// Product tests: a resource folder of their own for profiles and function templates, put
// first on $TESSEL_RESOURCE_PATH for the test's life, and small image files.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "support/FileTestSupport.h"
#include "support/ImageFileBuilder.h"
#include "tessel/file/NITFFactory.h"

namespace product_test {

class ProfileFolder {
public:
    ProfileFolder() {
        const char* old = std::getenv("TESSEL_RESOURCE_PATH");
        hadOld_ = old != nullptr;
        old_ = hadOld_ ? old : "";
        std::filesystem::create_directories(profiles());
        std::filesystem::create_directories(functions());
        setenv("TESSEL_RESOURCE_PATH", dir_.path().c_str(), 1);
        Tessel::NITFFactory::get().clearCache();
    }
    ~ProfileFolder() {
        if (hadOld_) {
            setenv("TESSEL_RESOURCE_PATH", old_.c_str(), 1);
        } else {
            unsetenv("TESSEL_RESOURCE_PATH");
        }
        Tessel::NITFFactory::get().clearCache();
    }
    ProfileFolder(const ProfileFolder&) = delete;
    ProfileFolder& operator=(const ProfileFolder&) = delete;

    std::filesystem::path root() const { return dir_.path(); }
    std::filesystem::path profiles() const {
        return dir_.path() / "Resources" / "Raster" / "NITF" / "Profiles";
    }
    std::filesystem::path functions() const {
        return dir_.path() / "Resources" / "Raster" / "NITF" / "Functions";
    }
    std::filesystem::path write(const std::string& name, const std::string& text) const {
        const auto path = profiles() / name;
        file_test::writeFile(path, text);
        return path;
    }

private:
    file_test::TempDir dir_;
    std::string old_;
    bool hadOld_ = false;
};

// One-pixel images with the given category, representation and bands.
inline image_test::ImageLayout pixelImage(const std::string& icat, const std::string& irep,
                                          size_t bands = 1, const std::string& iid1 = "IMAGE") {
    image_test::ImageLayout layout;
    layout.icat = icat;
    layout.irep = irep;
    layout.iid1 = iid1;
    layout.bands = image_test::bands(bands);
    layout.imode = bands > 1 ? "B" : "B";
    layout.data = std::string(bands, '\0');
    return layout;
}

inline Tessel::NITFURI uriOf(const std::filesystem::path& path, const std::string& rest = {}) {
    return Tessel::NITFURI(std::string_view(path.string() + rest));
}

}  // namespace product_test
