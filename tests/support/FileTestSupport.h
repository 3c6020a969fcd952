#pragma once
// Helpers for the file model tests: temporary folders, small NITF files made byte by byte,
// a capture of the log, and the warehouse started again with chosen settings.

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "file/NITFWarehouse.h"
#include "support/TestPaths.h"
#include "tessel/core/NITFURI.h"
#include "tessel/core/Options.h"
#include "tessel/platform/base/nitf_log.h"
#include "tessel/platform/base/text.h"

namespace file_test {

namespace fs = std::filesystem;

class TempDir {
public:
    TempDir() {
        std::random_device random;
        path_ = fs::temp_directory_path() /
                ("tessel-file-" + std::to_string(random()) + "-" + std::to_string(random()));
        fs::create_directories(path_);
    }
    ~TempDir() {
        std::error_code ec;
        fs::remove_all(path_, ec);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const fs::path& path() const { return path_; }
    fs::path operator/(const std::string& name) const { return path_ / name; }

private:
    fs::path path_;
};

inline void writeFile(const fs::path& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline Tessel::NITFURI uriOf(const fs::path& path, const std::string& object = {}) {
    return Tessel::NITFURI(std::string_view(path.string() + object));
}

inline std::wstring keyOf(const fs::path& path) {
    return uriOf(path).cacheKey();
}

// ---------------------------------------------------------------------------------------
// NITF files without images: a file header and `labels` label segments (the 2.10 NUMX
// field, labels in NITF 2.00).

inline std::string padded(const std::string& value, size_t width, char fill = ' ') {
    std::string out = value.substr(0, width);
    out.resize(width, fill);
    return out;
}

inline std::string digits(uint64_t value, size_t width) {
    const std::string text = std::to_string(value);
    return std::string(width - std::min(width, text.size()), '0') + text;
}

inline std::string labelSubheader() {
    return "LA" + padded("LABEL1", 10) + "U" + std::string(166, ' ') + "0" + "A" + "08" + "10" +
           "001" + "000" + "00000" + "00000" + std::string(3, '\0') + std::string(3, '\xff') +
           "00000";
}

inline std::string headerOnlyFile(bool nitf20, size_t labels = 0,
                                  const std::string& labelText = "HELLO") {
    std::string start = nitf20 ? "NITF02.00" : "NITF02.10";
    start += "03" + std::string("BF01") + padded("STATION", 10) + padded("20240101000000", 14) +
             padded("A title", 80) + "U" + std::string(166, ' ') + "00000" + "00000" + "0";
    start += nitf20 ? padded("", 27) : std::string(3, '\0') + padded("", 24);
    start += padded("", 18);
    const std::string label = labelSubheader();
    const size_t headerLength = start.size() + 12 + 6 + 3 + 3 + 3 + labels * 7 + 3 + 3 + 3 + 5 + 5;
    const size_t fileLength = headerLength + labels * (label.size() + labelText.size());
    std::string header = start + digits(fileLength, 12) + digits(headerLength, 6) + "000" + "000" +
                         digits(labels, 3);
    for (size_t i = 0; i < labels; ++i) {
        header += digits(label.size(), 4) + digits(labelText.size(), 3);
    }
    header += "000" + std::string("000") + "000" + "00000" + "00000";
    for (size_t i = 0; i < labels; ++i) {
        header += label + labelText;
    }
    return header;
}

// The sample that the build writes: NITF 2.10 with two images, a text and a DES.
inline std::string sampleBytes() {
    return readFile(TESSEL_SAMPLE_FILE);
}

// ---------------------------------------------------------------------------------------
// Every log line while in scope, with "[CACHE]" lines switched on.

class LogCapture {
public:
    struct Line {
        int level;
        std::string text;
        std::thread::id thread;
    };

    LogCapture() : threshold_(nitf_log::threshold()) {
        nitf_log::set_threshold(nitf_log::info);
        nitf_log::set_sink([this](int level, std::string_view line) {
            std::lock_guard lock(mutex_);
            lines_.push_back({level, std::string(line), std::this_thread::get_id()});
        });
        Tessel::s_opt_lumo_log_cache_usage.override_value(true);
    }
    ~LogCapture() {
        Tessel::s_opt_lumo_log_cache_usage.reset();
        nitf_log::set_sink({});
        nitf_log::set_threshold(threshold_);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<Line> lines() const {
        std::lock_guard lock(mutex_);
        return lines_;
    }
    // The lines that hold `text`.
    std::vector<Line> with(const std::string& text) const {
        std::vector<Line> found;
        for (const auto& line : lines()) {
            if (line.text.find(text) != std::string::npos) {
                found.push_back(line);
            }
        }
        return found;
    }
    size_t count(const std::string& text) const { return with(text).size(); }
    void clear() {
        std::lock_guard lock(mutex_);
        lines_.clear();
    }
    // Waits until a line holds `text`; false after `limit`.
    bool waitFor(const std::string& text,
                 std::chrono::milliseconds limit = std::chrono::milliseconds(3000)) const {
        const auto end = std::chrono::steady_clock::now() + limit;
        while (count(text) == 0) {
            if (std::chrono::steady_clock::now() > end) {
                return false;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return true;
    }

private:
    int threshold_;
    mutable std::mutex mutex_;
    std::vector<Line> lines_;
};

// ---------------------------------------------------------------------------------------
// The warehouse forgets everything and runs with these settings for a scope, then goes back
// to those of the options.

class ScopedWarehouse {
public:
    ScopedWarehouse(size_t typeCapacity, std::chrono::nanoseconds ttl) {
        Tessel::NITFWarehouse::resetForTesting({"background", typeCapacity, ttl});
    }
    ~ScopedWarehouse() {
        Tessel::NITFWarehouse::resetForTesting(Tessel::NITFWarehouse::Settings::fromOptions());
    }
    ScopedWarehouse(const ScopedWarehouse&) = delete;
    ScopedWarehouse& operator=(const ScopedWarehouse&) = delete;
};

// Whether the warehouse holds the key in level 1 (state 1) or level 2 (state 2).
inline bool cachedIn(int state, const std::wstring& key) {
    bool found = false;
    Tessel::NITFWarehouse::get().file_cache_visit(
        [&](int entryState, const std::wstring_view& entryKey,
            const std::shared_ptr<Tessel::NITFFile>& file) {
            found = found || (entryState == state && entryKey == key && file != nullptr);
        });
    return found;
}

}  // namespace file_test
