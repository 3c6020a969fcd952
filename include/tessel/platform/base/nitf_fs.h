#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// The file layer: configuration folders, file status, and byte access to files.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

namespace nitf_fs {

// The existing folders named `relative` under each configuration root, most specific
// first: each folder of $TESSEL_RESOURCE_PATH (':'-separated), then share/tessel of the
// installation beside this library, then $XDG_CONFIG_HOME/tessel (~/.config/tessel).
// Module folders, "bin/<name>" on a Windows host, are also looked for as
// $TESSEL_HOME/lib/tessel/<name> and <libdir>/tessel/<name> of the installation, after the
// resource path. A folder reached twice is listed once.
std::vector<std::filesystem::path> getConfigFolders(const std::filesystem::path& relative);

// The first regular file `name` in the configuration folders of `folder`, or an empty path.
std::filesystem::path findFile(const std::filesystem::path& folder,
                               const std::filesystem::path& name);

// The regular files of a folder whose names match a pattern, sorted by name. The pattern
// is the folder joined with a file name that may hold '*' (any run of characters) and '?'
// (one character); a relative folder is taken from the current directory. A folder that
// can't be read gives an empty list.
std::vector<std::filesystem::path> readDirectory(const std::filesystem::path& pattern);

bool is_regular_file(const std::filesystem::path& path);
// The size of a file in bytes, 0 when there is no such file.
uint64_t file_size(const std::filesystem::path& path);

// Forgets whatever the layer remembers about files, so that changes on disk show.
void clearCache();

namespace adapter {

// An open file. One handle belongs to one thread at a time.
class nitf_fs_adapter_io {
public:
    virtual ~nitf_fs_adapter_io() = default;
    // Origin 0 counts from the start, 1 from the present position, 2 from the end.
    // False for an unknown origin or a position before the start.
    virtual bool seek(int64_t offset, int origin) = 0;
    // Reads until `count` bytes or the end of the file; the count read.
    virtual size_t read(void* buffer, size_t count) = 0;
    // The count written, short only on an error.
    virtual size_t write(const void* buffer, size_t count) = 0;
    // The present position, -1 when closed.
    virtual int64_t tell() = 0;
    // Closes now; later operations fail.
    virtual void close() = 0;

protected:
    nitf_fs_adapter_io() = default;
    nitf_fs_adapter_io(const nitf_fs_adapter_io&) = default;
    nitf_fs_adapter_io& operator=(const nitf_fs_adapter_io&) = default;
};

}  // namespace adapter

namespace ext {

struct io_read_only_t {
    explicit io_read_only_t() = default;
};
struct io_create_t {
    explicit io_create_t() = default;
};
inline constexpr io_read_only_t io_read_only{};
inline constexpr io_create_t io_create{};

// Opens an existing file for reading; empty when it can't be opened or is a directory.
std::unique_ptr<adapter::nitf_fs_adapter_io> open(const std::filesystem::path& path,
                                                  io_read_only_t);
// Creates a file, or empties an existing one, for writing (and reading back).
std::unique_ptr<adapter::nitf_fs_adapter_io> open(const std::filesystem::path& path, io_create_t);

struct status_info {
    status_info() = default;
    status_info(uint64_t size, std::filesystem::file_time_type lastWrite)
        : size_(size), last_write_(lastWrite), exists_(true) {}

    // 0 for anything but a regular file.
    uint64_t size() const { return size_; }
    std::filesystem::file_time_type last_write() const { return last_write_; }
    bool exists() const { return exists_; }

private:
    uint64_t size_ = 0;
    std::filesystem::file_time_type last_write_{};
    bool exists_ = false;
};
// The status of whatever the path names; a missing file gives exists() false.
status_info status(const std::filesystem::path& path);

// Reads a run of fields from a file, starting at an offset, through a small buffer.
// The first read that can't be satisfied fails, leaves the position where it was, and
// makes every later operation fail too, so a run of reads can be checked once by ok().
class mini_reader {
public:
    mini_reader(const std::filesystem::path& path, uint64_t offset);
    ~mini_reader();
    mini_reader(mini_reader&&) noexcept;
    mini_reader& operator=(mini_reader&&) noexcept;

    // True while the file is open and nothing has failed.
    bool ok() const;
    bool read(void* destination, size_t count);
    std::optional<uint16_t> read_be16();
    std::optional<uint32_t> read_be32();
    bool skip(size_t count);
    // The file offset of the next byte to read.
    uint64_t position() const;

private:
    bool fill();

    std::unique_ptr<adapter::nitf_fs_adapter_io> file_;
    std::vector<uint8_t> buffer_;
    size_t next_ = 0;             // first unread byte of buffer_
    uint64_t buffer_offset_ = 0;  // file offset of buffer_[0]
    bool failed_ = false;
};

}  // namespace ext
}  // namespace nitf_fs

TESSEL_PUBLIC_END
