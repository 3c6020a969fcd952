#pragma once
// Test helpers: an environment variable changed for one scope, and a temporary folder.

#include <gtest/gtest.h>

#include <stdlib.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

namespace tessel_test {

class ScopedEnvironment {
public:
    // Sets the variable, or removes it when value is nullopt, until the scope ends.
    ScopedEnvironment(std::string name, std::optional<std::string> value) : name_(std::move(name)) {
        if (const char* old = std::getenv(name_.c_str())) {
            saved_ = old;
        }
        apply(value);
    }
    ~ScopedEnvironment() { apply(saved_); }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
    void apply(const std::optional<std::string>& value) {
        if (value) {
            ::setenv(name_.c_str(), value->c_str(), 1);
        } else {
            ::unsetenv(name_.c_str());
        }
    }

    std::string name_;
    std::optional<std::string> saved_;
};

class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string pattern =
            (std::filesystem::temp_directory_path() / "tessel-test-XXXXXX").string();
        if (::mkdtemp(pattern.data()) == nullptr) {
            ADD_FAILURE() << "cannot make a temporary folder";
        }
        path_ = pattern;
    }
    ~TemporaryFolder() {
        std::error_code ec;
        std::filesystem::remove_all(path_, ec);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::filesystem::path& relative) const {
        return path_ / relative;
    }

private:
    std::filesystem::path path_;
};

}  // namespace tessel_test
