#pragma once
// Helpers for tests of the block I/O: a pool with explicit settings that serves the static
// interface for a scope, a source of synthetic bytes that counts its reads, and temporary
// files with known contents.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tessel/io/IOPool.h"
#include "tessel/io/IOSource.h"

namespace tessel_test {

// While it lives, IOPool's static interface reads through this pool and its own table.
class ScopedIOPool : public Tessel::IOPool {
public:
    explicit ScopedIOPool(int blockCache, int blockSize, int threads = 1)
        : IOPool(Settings{blockCache, blockSize, threads}) {}
};

// The byte at `position` of every synthetic source and temporary file.
inline uint8_t patternByte(uint64_t position) {
    return static_cast<uint8_t>((position * 131 + position / 251) % 253);
}

inline std::vector<uint8_t> patternBytes(uint64_t offset, uint64_t count) {
    std::vector<uint8_t> bytes(count);
    for (uint64_t i = 0; i < count; ++i) {
        bytes[i] = patternByte(offset + i);
    }
    return bytes;
}

// A file of `size` pattern bytes, removed with the object.
class TempFile {
public:
    explicit TempFile(uint64_t size, const std::string& name = "block.ntf") {
        std::random_device random;
        dir_ = std::filesystem::temp_directory_path() /
               ("tessel-io-" + std::to_string(random()) + std::to_string(random()));
        std::filesystem::create_directories(dir_);
        path_ = dir_ / name;
        write(patternBytes(0, size));
    }
    ~TempFile() {
        std::error_code ec;
        std::filesystem::remove_all(dir_, ec);
    }
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;

    void write(const std::vector<uint8_t>& bytes) const {
        std::ofstream out(path_, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(bytes.data()),
                  static_cast<std::streamsize>(bytes.size()));
    }
    const std::filesystem::path& path() const { return path_; }
    const std::filesystem::path& dir() const { return dir_; }
    Tessel::NITFURI uri() const { return Tessel::NITFURI(path_.wstring()); }

private:
    std::filesystem::path dir_;
    std::filesystem::path path_;
};

// Synthetic pattern bytes of a given length under any URI. Counts the reads of each
// block, remembers the threads that read, and can hold reads of one block at a gate until
// the test opens it.
class CountingSource : public Tessel::IOSource {
public:
    CountingSource(const Tessel::NITFURI& uri, uint64_t length) : IOSource(uri), length_(length) {}

    static std::shared_ptr<CountingSource> Make(const std::wstring& uri, uint64_t length) {
        return std::make_shared<CountingSource>(Tessel::NITFURI(uri), length);
    }

    // Reads of block `index` wait until open() is called.
    void holdBlock(uint64_t index) {
        std::lock_guard lock(mutex_);
        held_ = index;
        gateOpen_ = false;
    }
    void open() {
        {
            std::lock_guard lock(mutex_);
            gateOpen_ = true;
        }
        changed_.notify_all();
    }
    // Waits until a read of the held block has begun.
    bool waitUntilHeld(std::chrono::milliseconds timeout = std::chrono::seconds(10)) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, timeout, [this] { return holding_; });
    }

    int readsOf(uint64_t index) const {
        std::lock_guard lock(mutex_);
        const auto found = reads_.find(index);
        return found == reads_.end() ? 0 : found->second;
    }
    int totalReads() const {
        std::lock_guard lock(mutex_);
        int total = 0;
        for (const auto& [index, count] : reads_) {
            total += count;
        }
        return total;
    }
    std::set<std::thread::id> readers() const {
        std::lock_guard lock(mutex_);
        return readers_;
    }
    std::map<uint64_t, std::thread::id> readerOf() const {
        std::lock_guard lock(mutex_);
        return readerOf_;
    }

protected:
    bool read(Tessel::IOBlock& block, Tessel::NITFMessages& messages) const override {
        {
            std::unique_lock lock(mutex_);
            ++reads_[block.index];
            readers_.insert(std::this_thread::get_id());
            readerOf_[block.index] = std::this_thread::get_id();
            if (held_ && *held_ == block.index) {
                holding_ = true;
                changed_.notify_all();
                changed_.wait(lock, [this] { return gateOpen_; });
            }
        }
        if (block.offset >= length_) {
            messages.emplace_back("Read Error");
            return false;
        }
        const uint64_t end =
            block.size == 0 ? length_ : std::min(length_, block.offset + block.size);
        const std::vector<uint8_t> bytes = patternBytes(block.offset, end - block.offset);
        block.data.assign(bytes.begin(), bytes.end());
        return true;
    }

private:
    uint64_t length_;
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    mutable std::map<uint64_t, int> reads_;
    mutable std::set<std::thread::id> readers_;
    mutable std::map<uint64_t, std::thread::id> readerOf_;
    std::optional<uint64_t> held_;
    bool gateOpen_ = true;
    mutable bool holding_ = false;
};

}  // namespace tessel_test
