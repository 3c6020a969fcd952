#include "tessel/core/NITFURI.h"

#include "core/NITFExtensions.h"
#include "tessel/platform/base/text.h"

#include <algorithm>
#include <limits>
#include <regex>
#include <stdexcept>

namespace Tessel {

namespace {

// The regular expression engine recurses once per character, so its stack use grows with
// the text. Longer texts than any real path skip the patterns and are taken as plain paths.
constexpr size_t kMaxPatternLength = 4096;

// The four forms a URI text can take, compiled for each URI so that they follow the locale
// of the moment.
struct URIPatterns {
    static constexpr auto kFlags = std::regex::ECMAScript | std::regex::icase;

    std::wregex indexPrefix{LR"(^NITF_IM:(\d+):(.+))", kFlags};
    std::wregex absolutePath{LR"(^([a-z]:.+)|^([\\/].+))", kFlags};
    std::wregex imageFragment{LR"(^(.+?)#IM_(\d+))", kFlags};
    std::wregex namedFragment{LR"(^(.+?)#([\d\s\w_-]+))", kFlags};
};

// The whole text must match, not a part of it.
bool matchWhole(const std::wstring& text, std::wsmatch& match, const std::wregex& pattern) {
    return text.size() <= kMaxPatternLength && std::regex_match(text, match, pattern);
}

// A decimal digit string as an unsigned number; one that overflows gives 0.
uint64_t parseIndexOrZero(const std::wstring& digits) {
    constexpr uint64_t kMax = std::numeric_limits<uint64_t>::max();
    uint64_t value = 0;
    for (wchar_t c : digits) {
        if (c < L'0' || c > L'9') {
            return 0;
        }
        const auto digit = static_cast<uint64_t>(c - L'0');
        if (value > (kMax - digit) / 10) {
            return 0;
        }
        value = value * 10 + digit;
    }
    return value;
}

// The number of a "Profile/IM_n" component, read as std::stoi reads it; failures carry
// texts of their own that callers compare.
int parseImageNumber(const std::wstring& text) {
    try {
        return std::stoi(text);
    } catch (const std::invalid_argument&) {
        throw std::invalid_argument("invalid stoi argument");
    } catch (const std::out_of_range&) {
        throw std::out_of_range("stoi argument out of range");
    }
}

// Paths are taken in their Windows form on every platform: "\" and "/" both separate, the
// root name is a drive "X:" or a network name "\\server", and the root directory is the run
// of separators after it.

bool isSeparator(wchar_t c) {
    return c == L'\\' || c == L'/';
}

bool isAsciiLetter(wchar_t c) {
    return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z');
}

size_t rootNameLength(std::wstring_view path) {
    if (path.size() >= 2 && isAsciiLetter(path[0]) && path[1] == L':') {
        return 2;
    }
    if (path.size() >= 3 && isSeparator(path[0]) && isSeparator(path[1]) && !isSeparator(path[2])) {
        return static_cast<size_t>(std::find_if(path.begin() + 3, path.end(), isSeparator) -
                                   path.begin());
    }
    return 0;
}

// Where the path after root name and root directory begins.
size_t relativeStart(std::wstring_view path) {
    size_t position = rootNameLength(path);
    while (position < path.size() && isSeparator(path[position])) {
        ++position;
    }
    return position;
}

size_t filenameStart(std::wstring_view path) {
    const size_t start = relativeStart(path);
    size_t position = path.size();
    while (position > start && !isSeparator(path[position - 1])) {
        --position;
    }
    return position;
}

// The last component; empty when the path ends in a separator or is a root.
std::wstring_view filename(std::wstring_view path) {
    return path.substr(filenameStart(path));
}

// The path without its last component and the separators before it; a root stays itself.
std::wstring_view parentPath(std::wstring_view path) {
    const size_t start = relativeStart(path);
    size_t end = filenameStart(path);
    while (end > start && isSeparator(path[end - 1])) {
        --end;
    }
    return path.substr(0, end);
}

// A file name splits at its last dot, unless that dot is the first character; "." and ".."
// have no extension, and a trailing dot is the extension ".". Text after a ":" (a stream
// name) is no part of either.
struct NameParts {
    std::wstring_view stem;
    std::wstring_view extension;
};

NameParts splitName(std::wstring_view name) {
    name = name.substr(0, name.find(L':'));
    if (name == L"." || name == L"..") {
        return {name, {}};
    }
    const size_t dot = name.rfind(L'.');
    if (dot == std::wstring_view::npos || dot == 0) {
        return {name, {}};
    }
    return {name.substr(0, dot), name.substr(dot)};
}

std::wstring_view extensionOf(std::wstring_view path) {
    return splitName(filename(path)).extension;
}

// The absolute test for texts too long for the pattern engine.
bool looksAbsolute(std::wstring_view path) {
    return (path.size() > 2 && isAsciiLetter(path[0]) && path[1] == L':') ||
           (path.size() > 1 && isSeparator(path[0]));
}

bool isAbsolute(const std::wstring& path, const URIPatterns& patterns) {
    if (path.size() > kMaxPatternLength) {
        return looksAbsolute(path);
    }
    std::wsmatch match;
    return matchWhole(path, match, patterns.absolutePath);
}

// A relative path that the base already ends with (in either separator spelling) is the
// base itself; otherwise it is appended to the base.
std::wstring resolveAgainstBase(const std::wstring& path, const std::wstring& base) {
    if (base.ends_with(path)) {
        return base;
    }
    std::wstring backslashed = path;
    std::replace(backslashed.begin(), backslashed.end(), L'/', L'\\');
    if (base.ends_with(backslashed)) {
        return base;
    }
    if (base.empty()) {
        return path;
    }
    std::wstring joined = base;
    if (!isSeparator(joined.back())) {
        joined += L'/';
    }
    return joined + path;
}

}  // namespace

NITFURI::NITFURI() = default;

NITFURI::NITFURI(const std::wstring_view& uri, const std::wstring_view& base) {
    parseURI(uri, base);
}

NITFURI::NITFURI(const std::string_view& uri, const std::string_view& base) {
    parseURI(std::to_wstring(uri), std::to_wstring(base));
}

void NITFURI::parseURI(const std::wstring_view& uri, const std::wstring_view& base) {
    const URIPatterns patterns;
    original_ = uri;
    base_ = base;
    std::wstring path(uri);

    // The object named in the text; the first form that matches wins.
    std::wsmatch match;
    if (matchWhole(path, match, patterns.indexPrefix)) {
        objectIndex_ = parseIndexOrZero(match[1].str());
        objectType_ = FileObject::Image;
        path = match[2].str();
    } else if (matchWhole(path, match, patterns.imageFragment)) {
        objectIndex_ = parseIndexOrZero(match[2].str());
        objectType_ = FileObject::Image;
        path = match[1].str();
    } else if (matchWhole(path, match, patterns.namedFragment)) {
        objectName_ = match[2].str();
        objectType_ = FileObject::Named;
        path = match[1].str();
    }

    if (!isAbsolute(path, patterns)) {
        path = resolveAgainstBase(path, base_);
    }

    // "a.ntf/Profile" and "a.ntf/Profile/Object": components after a NITF file name.
    if (extensionOf(path).empty()) {
        const std::wstring_view parent = parentPath(path);
        const std::wstring_view grandparent = parentPath(parent);
        if (is_nitf_extension(extensionOf(parent))) {
            profile_ = filename(path);
            path.resize(parent.size());
        } else if (is_nitf_extension(extensionOf(grandparent))) {
            profile_ = filename(parent);
            objectName_ = filename(path);
            objectType_ = FileObject::Named;
            // Unlike the patterns above, this test respects case.
            if (objectName_.starts_with(L"IM_")) {
                const int number = parseImageNumber(objectName_.substr(3));
                objectIndex_ = static_cast<uint64_t>(static_cast<int64_t>(number));
                objectType_ = FileObject::Image;
            }
            path.resize(grandparent.size());
        }
    }

    const std::wstring_view whole(path);
    const std::wstring_view parent = parentPath(whole);
    const NameParts name = splitName(filename(whole));
    root_ = whole.substr(0, relativeStart(whole));
    relative_ = parent.substr(relativeStart(parent));
    stem_ = name.stem;
    extension_ = name.extension;
}

std::wstring NITFURI::getOriginalURI() const {
    return original_;
}

std::wstring NITFURI::getURI_u16(URIParts parts) const {
    std::wstring text;
    if (hasParts(parts, URIParts::Root)) {
        text += root_;
    }
    // The root carries its own separator.
    if (hasParts(parts, URIParts::Relative)) {
        text += relative_;
    }
    if (hasParts(parts, URIParts::Stem)) {
        if (!text.empty()) {
            text += L'/';
        }
        text += stem_;
    }
    if (hasParts(parts, URIParts::Extension)) {
        text += extension_;
    }
    if (hasParts(parts, URIParts::Profile) && !profile_.empty()) {
        if (!text.empty()) {
            text += L'/';
        }
        text += profile_;
    }
    if (hasParts(parts, URIParts::Object) && objectType_ != FileObject::None) {
        if (!text.empty()) {
            text += L'#';
        }
        if (objectType_ == FileObject::Named) {
            text += objectName_;
        } else {
            text += L"IM_" + std::to_wstring(objectIndex_);
        }
    }
    return text;
}

std::string NITFURI::getURI_u8(URIParts parts) const {
    return std::to_string(getURI_u16(parts));
}

std::filesystem::path NITFURI::nativePath() const {
    // File names are UTF-8 bytes here; a path made from the narrow text keeps them so.
    return std::filesystem::path(getURI_u8(URIParts::Path));
}

std::wstring NITFURI::cacheKey() const {
    std::wstring key = getURI_u16(URIParts::Path);
    std::replace(key.begin(), key.end(), L'\\', L'/');
    return key;
}

const std::wstring_view NITFURI::root_name() const {
    return root_;
}

const std::wstring_view NITFURI::relative_path() const {
    return relative_;
}

const std::wstring_view NITFURI::stem() const {
    return stem_;
}

void NITFURI::stem(const std::wstring_view& stem) {
    stem_ = stem;
}

const std::wstring_view NITFURI::extension() const {
    return extension_;
}

void NITFURI::extension(const std::wstring_view& extension) {
    extension_ = extension;
}

const std::wstring_view NITFURI::profile_name() const {
    return profile_;
}

void NITFURI::profile_name(const std::wstring_view& name) {
    profile_ = name;
}

const std::wstring_view NITFURI::object_name() const {
    return objectName_;
}

void NITFURI::object_name(const std::wstring_view& name) {
    objectName_ = name;
    objectIndex_ = 0;
    objectType_ = FileObject::Named;
}

bool NITFURI::has_profile() const {
    return !profile_.empty();
}

bool NITFURI::has_object() const {
    return objectType_ != FileObject::None;
}

FileObject NITFURI::object_type() const {
    return objectType_;
}

size_t NITFURI::object_index() const {
    return objectIndex_;
}

void NITFURI::object_index(size_t index, FileObject type) {
    objectName_.clear();
    objectIndex_ = index;
    objectType_ = type;
}

std::tuple<FileObject, std::wstring, size_t> NITFURI::object() const {
    return {objectType_, objectName_, objectIndex_};
}

void NITFURI::object(const std::tuple<FileObject, std::wstring, size_t>& object) {
    objectType_ = std::get<0>(object);
    objectName_ = std::get<1>(object);
    objectIndex_ = std::get<2>(object);
}

bool NITFURI::is_nitf_extension(const std::wstring_view& extension) {
    const auto& set = NITFExtensions::wideSet();
    return set.find(extension) != set.end();
}

bool NITFURI::is_nitf_extension(const std::string_view& extension) {
    const auto& set = NITFExtensions::narrowSet();
    return set.find(extension) != set.end();
}

}  // namespace Tessel
