#pragma once
// Points the property store at a fresh file for the lifetime of a test.

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

namespace tessel_test {

class TempConfig {
public:
    explicit TempConfig(const std::string& json = "{}") {
        std::random_device random;
        dir_ = std::filesystem::temp_directory_path() /
               ("tessel-config-" + std::to_string(random()) + std::to_string(random()));
        std::filesystem::create_directories(dir_);
        path_ = dir_ / "config.json";
        if (!json.empty()) {
            std::ofstream(path_) << json;
        }
        if (const char* previous = std::getenv("TESSEL_CONFIG")) {
            previous_ = previous;
            hadPrevious_ = true;
        }
        setenv("TESSEL_CONFIG", path_.c_str(), 1);
    }
    ~TempConfig() {
        if (hadPrevious_) {
            setenv("TESSEL_CONFIG", previous_.c_str(), 1);
        } else {
            unsetenv("TESSEL_CONFIG");
        }
        std::error_code ec;
        std::filesystem::remove_all(dir_, ec);
    }
    TempConfig(const TempConfig&) = delete;
    TempConfig& operator=(const TempConfig&) = delete;

    const std::filesystem::path& path() const { return path_; }
    const std::filesystem::path& dir() const { return dir_; }

private:
    std::filesystem::path dir_;
    std::filesystem::path path_;
    std::string previous_;
    bool hadPrevious_ = false;
};

}  // namespace tessel_test
