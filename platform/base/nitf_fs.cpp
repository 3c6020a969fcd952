#include "tessel/platform/base/nitf_fs.h"

#include "tessel/platform/base/lumo_system.h"
#include "tessel/platform/base/text.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <set>
#include <string>

#ifndef TESSEL_INSTALL_LIBDIR
#define TESSEL_INSTALL_LIBDIR "lib"
#endif
#ifndef TESSEL_INSTALL_DATADIR
#define TESSEL_INSTALL_DATADIR "share"
#endif

namespace fs = std::filesystem;

namespace nitf_fs {
namespace {

std::vector<fs::path> resourcePathFolders() {
    std::vector<fs::path> folders;
    const char* value = std::getenv("TESSEL_RESOURCE_PATH");
    if (value == nullptr) {
        return folders;
    }
    const std::string list = value;
    size_t start = 0;
    while (start <= list.size()) {
        const size_t end = std::min(list.find(':', start), list.size());
        if (end > start) {
            folders.emplace_back(list.substr(start, end - start));
        }
        start = end + 1;
    }
    return folders;
}

// The installation prefix is the library's folder without the library folder's own
// relative path ("lib", "lib/x86_64-linux-gnu"); a library found elsewhere, as in a
// build tree, counts its parent folder as the prefix.
fs::path installDataFolder() {
    const fs::path libraryFolder = lumo_system::library_location();
    if (libraryFolder.empty()) {
        return {};
    }
    fs::path prefix = libraryFolder;
    const fs::path libdir = fs::path(TESSEL_INSTALL_LIBDIR).lexically_normal();
    std::vector<fs::path> parts(libdir.begin(), libdir.end());
    bool matches = !parts.empty() && libdir.is_relative();
    for (auto part = parts.rbegin(); matches && part != parts.rend(); ++part) {
        matches = prefix.filename() == *part;
        prefix = prefix.parent_path();
    }
    if (!matches) {
        prefix = libraryFolder.parent_path();
    }
    return prefix / TESSEL_INSTALL_DATADIR / "tessel";
}

fs::path userConfigFolder() {
    const char* xdg = std::getenv("XDG_CONFIG_HOME");
    if (xdg != nullptr && fs::path(xdg).is_absolute()) {
        return fs::path(xdg) / "tessel";
    }
    const char* home = std::getenv("HOME");
    if (home != nullptr && *home != '\0') {
        return fs::path(home) / ".config" / "tessel";
    }
    return {};
}

// Module folders that a Windows host keeps in "bin/<name>" beside the program live in
// "<libdir>/tessel/<name>" here: under $TESSEL_HOME/lib when it is set, and beside this
// library in the installation.
std::vector<fs::path> moduleFolders(const fs::path& relative) {
    std::vector<fs::path> folders;
    auto part = relative.begin();
    if (part == relative.end() || *part != "bin") {
        return folders;
    }
    fs::path name;
    for (++part; part != relative.end(); ++part) {
        name /= *part;
    }
    if (const char* home = std::getenv("TESSEL_HOME"); home != nullptr && *home != '\0') {
        folders.push_back(fs::path(home) / "lib" / "tessel" / name);
    }
    if (const fs::path library = lumo_system::library_location(); !library.empty()) {
        folders.push_back(library / "tessel" / name);
    }
    return folders;
}

bool isDirectory(const fs::path& path) {
    std::error_code ec;
    return fs::is_directory(path, ec);
}

// Glob matching with '*' and '?' on characters, not bytes. The classic greedy walk with
// one back-tracking point is linear enough for file names.
bool matchesPattern(std::wstring_view name, std::wstring_view pattern) {
    size_t n = 0;
    size_t p = 0;
    size_t starPattern = std::wstring_view::npos;
    size_t starName = 0;
    while (n < name.size()) {
        if (p < pattern.size() && (pattern[p] == L'?' || pattern[p] == name[n])) {
            ++n;
            ++p;
        } else if (p < pattern.size() && pattern[p] == L'*') {
            starPattern = p++;
            starName = n;
        } else if (starPattern != std::wstring_view::npos) {
            p = starPattern + 1;
            n = ++starName;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == L'*') {
        ++p;
    }
    return p == pattern.size();
}

// An open POSIX file descriptor.
class posix_file final : public adapter::nitf_fs_adapter_io {
public:
    explicit posix_file(int descriptor) : fd_(descriptor) {}
    ~posix_file() override { close(); }
    posix_file(const posix_file&) = delete;
    posix_file& operator=(const posix_file&) = delete;

    bool seek(int64_t offset, int origin) override {
        int whence = 0;
        switch (origin) {
            case 0:
                whence = SEEK_SET;
                break;
            case 1:
                whence = SEEK_CUR;
                break;
            case 2:
                whence = SEEK_END;
                break;
            default:
                return false;
        }
        return fd_ >= 0 && ::lseek(fd_, static_cast<off_t>(offset), whence) >= 0;
    }

    size_t read(void* buffer, size_t count) override {
        auto* out = static_cast<char*>(buffer);
        size_t done = 0;
        while (fd_ >= 0 && done < count) {
            const ssize_t got = ::read(fd_, out + done, count - done);
            if (got < 0 && errno == EINTR) {
                continue;
            }
            if (got <= 0) {
                break;
            }
            done += static_cast<size_t>(got);
        }
        return done;
    }

    size_t write(const void* buffer, size_t count) override {
        const auto* in = static_cast<const char*>(buffer);
        size_t done = 0;
        while (fd_ >= 0 && done < count) {
            const ssize_t put = ::write(fd_, in + done, count - done);
            if (put < 0 && errno == EINTR) {
                continue;
            }
            if (put <= 0) {
                break;
            }
            done += static_cast<size_t>(put);
        }
        return done;
    }

    int64_t tell() override {
        if (fd_ < 0) {
            return -1;
        }
        return static_cast<int64_t>(::lseek(fd_, 0, SEEK_CUR));
    }

    void close() override {
        if (fd_ >= 0) {
            // The descriptor is released even when close reports EINTR on Linux.
            ::close(fd_);
            fd_ = -1;
        }
    }

private:
    int fd_;
};

int openRetrying(const fs::path& path, int flags, mode_t mode = 0) {
    int fd = -1;
    do {
        fd = ::open(path.c_str(), flags | O_CLOEXEC, mode);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

}  // namespace

std::vector<fs::path> getConfigFolders(const fs::path& relative) {
    std::vector<fs::path> candidates;
    for (const fs::path& root : resourcePathFolders()) {
        candidates.push_back(root / relative);
    }
    for (fs::path& folder : moduleFolders(relative)) {
        candidates.push_back(std::move(folder));
    }
    for (const fs::path& root : {installDataFolder(), userConfigFolder()}) {
        if (!root.empty()) {
            candidates.push_back(root / relative);
        }
    }

    std::vector<fs::path> folders;
    std::set<fs::path> seen;
    for (const fs::path& folder : candidates) {
        if (!isDirectory(folder)) {
            continue;
        }
        std::error_code ec;
        const fs::path identity = fs::canonical(folder, ec);
        if (!seen.insert(ec ? folder : identity).second) {
            continue;
        }
        folders.push_back(folder);
    }
    return folders;
}

fs::path findFile(const fs::path& folder, const fs::path& name) {
    for (const fs::path& candidate : getConfigFolders(folder)) {
        fs::path file = candidate / name;
        if (nitf_fs::is_regular_file(file)) {
            return file;
        }
    }
    return {};
}

std::vector<fs::path> readDirectory(const fs::path& pattern) {
    const fs::path folder = pattern.parent_path();
    const std::wstring namePattern = std::to_wstring(pattern.filename().string());
    std::vector<fs::path> files;
    if (namePattern.empty()) {
        return files;
    }
    std::error_code ec;
    fs::directory_iterator entries(folder.empty() ? fs::path(".") : folder, ec);
    for (; !ec && entries != fs::directory_iterator(); entries.increment(ec)) {
        const fs::path name = entries->path().filename();
        std::error_code typeError;
        if (entries->is_regular_file(typeError) &&
            matchesPattern(std::to_wstring(name.string()), namePattern)) {
            files.push_back(folder / name);
        }
    }
    std::sort(files.begin(), files.end(),
              [](const fs::path& a, const fs::path& b) { return a.filename() < b.filename(); });
    return files;
}

bool is_regular_file(const fs::path& path) {
    std::error_code ec;
    return fs::is_regular_file(path, ec);
}

uint64_t file_size(const fs::path& path) {
    return ext::status(path).size();
}

void clearCache() {
    // Nothing is cached: every question goes to the file system, so changes on disk show
    // at once. The call stays for hosts that expect to be able to drop a cache.
}

namespace ext {

std::unique_ptr<adapter::nitf_fs_adapter_io> open(const fs::path& path, io_read_only_t) {
    const int fd = openRetrying(path, O_RDONLY);
    if (fd < 0) {
        return nullptr;
    }
    struct stat info {};
    if (::fstat(fd, &info) != 0 || S_ISDIR(info.st_mode)) {
        ::close(fd);
        return nullptr;
    }
    return std::make_unique<posix_file>(fd);
}

std::unique_ptr<adapter::nitf_fs_adapter_io> open(const fs::path& path, io_create_t) {
    const int fd = openRetrying(path, O_RDWR | O_CREAT | O_TRUNC, 0666);
    if (fd < 0) {
        return nullptr;
    }
    return std::make_unique<posix_file>(fd);
}

status_info status(const fs::path& path) {
    std::error_code ec;
    const fs::file_status state = fs::status(path, ec);
    if (ec || !fs::exists(state)) {
        return {};
    }
    uint64_t size = 0;
    if (fs::is_regular_file(state)) {
        const uintmax_t bytes = fs::file_size(path, ec);
        size = ec ? 0 : static_cast<uint64_t>(bytes);
    }
    const fs::file_time_type written = fs::last_write_time(path, ec);
    return status_info(size, ec ? fs::file_time_type{} : written);
}

namespace {
constexpr size_t kReaderChunk = 4096;
}

mini_reader::mini_reader(const fs::path& path, uint64_t offset)
    : file_(open(path, io_read_only)), buffer_offset_(offset) {
    if (!file_ || offset > static_cast<uint64_t>(std::numeric_limits<int64_t>::max()) ||
        !file_->seek(static_cast<int64_t>(offset), 0)) {
        failed_ = true;
    }
    buffer_.reserve(kReaderChunk);
}

mini_reader::~mini_reader() = default;
mini_reader::mini_reader(mini_reader&&) noexcept = default;
mini_reader& mini_reader::operator=(mini_reader&&) noexcept = default;

bool mini_reader::ok() const {
    return file_ && !failed_;
}

uint64_t mini_reader::position() const {
    return buffer_offset_ + next_;
}

// Drops the bytes already consumed and appends the next chunk of the file.
bool mini_reader::fill() {
    buffer_.erase(buffer_.begin(), buffer_.begin() + static_cast<std::ptrdiff_t>(next_));
    buffer_offset_ += next_;
    next_ = 0;
    const size_t kept = buffer_.size();
    buffer_.resize(kept + kReaderChunk);
    const size_t got = file_->read(buffer_.data() + kept, kReaderChunk);
    buffer_.resize(kept + got);
    return got > 0;
}

bool mini_reader::read(void* destination, size_t count) {
    if (!ok()) {
        return false;
    }
    while (buffer_.size() - next_ < count) {
        if (!fill()) {
            failed_ = true;
            return false;
        }
    }
    if (count > 0) {
        std::memcpy(destination, buffer_.data() + next_, count);
    }
    next_ += count;
    return true;
}

std::optional<uint16_t> mini_reader::read_be16() {
    uint8_t bytes[2];
    if (!read(bytes, sizeof(bytes))) {
        return std::nullopt;
    }
    return static_cast<uint16_t>((bytes[0] << 8) | bytes[1]);
}

std::optional<uint32_t> mini_reader::read_be32() {
    uint8_t bytes[4];
    if (!read(bytes, sizeof(bytes))) {
        return std::nullopt;
    }
    return (static_cast<uint32_t>(bytes[0]) << 24) | (static_cast<uint32_t>(bytes[1]) << 16) |
           (static_cast<uint32_t>(bytes[2]) << 8) | static_cast<uint32_t>(bytes[3]);
}

bool mini_reader::skip(size_t count) {
    if (!ok()) {
        return false;
    }
    const size_t buffered = buffer_.size() - next_;
    if (count <= buffered) {
        next_ += count;
        return true;
    }
    // Past the buffer: seek, after making sure that the bytes skipped exist.
    const int64_t filePosition = static_cast<int64_t>(buffer_offset_ + buffer_.size());
    const int64_t size = file_->seek(0, 2) ? file_->tell() : -1;
    const uint64_t start = position();
    if (size < 0 || static_cast<uint64_t>(size) < start ||
        count > static_cast<uint64_t>(size) - start ||
        !file_->seek(static_cast<int64_t>(start + count), 0)) {
        file_->seek(filePosition, 0);
        failed_ = true;
        return false;
    }
    buffer_.clear();
    next_ = 0;
    buffer_offset_ = start + count;
    return true;
}

}  // namespace ext
}  // namespace nitf_fs
