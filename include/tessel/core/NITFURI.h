#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <tuple>

namespace Tessel {

// The parts of a URI that getURI_u16 and getURI_u8 assemble. The numbers are fixed: callers
// combine them, and 51 (Path) is the file's whole path.
enum class URIParts : uint32_t {
    None = 0,
    Root = 1,
    Relative = 2,
    Stem = 16,
    Extension = 32,
    Profile = 256,
    Object = 512,
    Folder = Root | Relative,              // 3
    FileName = Stem | Extension,           // 48
    Path = Folder | FileName,              // 51
    Everything = Path | Profile | Object,  // 819
};

constexpr URIParts operator|(URIParts left, URIParts right) {
    return static_cast<URIParts>(static_cast<uint32_t>(left) | static_cast<uint32_t>(right));
}
constexpr URIParts operator&(URIParts left, URIParts right) {
    return static_cast<URIParts>(static_cast<uint32_t>(left) & static_cast<uint32_t>(right));
}
constexpr URIParts& operator|=(URIParts& left, URIParts right) {
    return left = left | right;
}
// Whether every flag of `wanted` is in `parts`.
constexpr bool hasParts(URIParts parts, URIParts wanted) {
    return (parts & wanted) == wanted;
}

// What a URI points at inside its file.
enum class FileObject : int32_t {
    None = 0,   // the file itself
    Named = 1,  // a segment or object by name
    Image = 2,  // an image segment by index
};

// A file's name with an optional product profile and an optional object inside the file,
// split once at construction. Forms: "path", "path#IM_n", "path#name", "NITF_IM:n:path",
// "path.ntf/Profile", "path.ntf/Profile/IM_n". The whole path, with separators unified, is
// the key of every cache (cacheKey).
class NITFURI {
public:
    NITFURI();
    // A relative `uri` is resolved against `base`, a folder or a full path. Throws
    // std::invalid_argument or std::out_of_range when a "Profile/IM_n" component carries no
    // valid number.
    explicit NITFURI(const std::wstring_view& uri, const std::wstring_view& base = {});
    explicit NITFURI(const std::string_view& uri, const std::string_view& base = {});

    NITFURI(const NITFURI&) = default;
    NITFURI(NITFURI&&) noexcept = default;
    NITFURI& operator=(const NITFURI&) = default;
    NITFURI& operator=(NITFURI&&) noexcept = default;
    ~NITFURI() = default;

    // The text as given to the constructor.
    std::wstring getOriginalURI() const;

    // The selected parts, in the canonical form "C:/data/a.ntf/Default#IM_2".
    std::wstring getURI_u16(URIParts parts) const;
    std::string getURI_u8(URIParts parts) const;

    // The file's whole path (URIParts::Path).
    std::filesystem::path nativePath() const;

    // The file's whole path with every "\" turned into "/"; profile and object play no part,
    // so every URI into one file shares one cache entry.
    std::wstring cacheKey() const;

    const std::wstring_view root_name() const;
    const std::wstring_view relative_path() const;

    const std::wstring_view stem() const;
    void stem(const std::wstring_view& stem);
    const std::wstring_view extension() const;
    void extension(const std::wstring_view& extension);
    const std::wstring_view profile_name() const;
    void profile_name(const std::wstring_view& name);
    const std::wstring_view object_name() const;
    // Also makes the object a named one, with index 0.
    void object_name(const std::wstring_view& name);

    bool has_profile() const;
    bool has_object() const;

    FileObject object_type() const;
    size_t object_index() const;
    // Clears the object name.
    void object_index(size_t index, FileObject type);

    std::tuple<FileObject, std::wstring, size_t> object() const;
    void object(const std::tuple<FileObject, std::wstring, size_t>& object);

    // Whether `extension`, with its leading dot, belongs to the NITF family (NITF, NSIF and
    // the raster product extensions). Case does not matter.
    static bool is_nitf_extension(const std::wstring_view& extension);
    static bool is_nitf_extension(const std::string_view& extension);

private:
    void parseURI(const std::wstring_view& uri, const std::wstring_view& base);

    std::wstring original_;
    std::wstring base_;
    std::wstring root_;
    std::wstring relative_;
    std::wstring stem_;
    std::wstring extension_;
    std::wstring profile_;
    std::wstring objectName_;
    uint64_t objectIndex_ = 0;
    FileObject objectType_ = FileObject::None;
};

}  // namespace Tessel

TESSEL_PUBLIC_END
