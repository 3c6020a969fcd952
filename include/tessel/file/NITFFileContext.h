#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// What a host holds of an open file: the URI it asked for and a shared file. When the last
// context of a cached file ends, the file moves to the warehouse's second level, where it
// stays warm for a short time to live.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "tessel/core/NITFMessages.h"
#include "tessel/core/NITFType.h"
#include "tessel/core/NITFURI.h"
#include "tessel/core/any_type.h"
#include "tessel/image/ImageOptions.h"
#include "tessel/tables/TableReader.h"

namespace Tessel {

class NITFFile;
class NITFFactory;
class NITFImage;

class NITFFileContext {
public:
    // A context without a file.
    explicit NITFFileContext(const NITFURI& uri);
    NITFFileContext(NITFFileContext&& other) noexcept;
    // Swaps: the file held before goes when `other` ends.
    NITFFileContext& operator=(NITFFileContext&& other) noexcept;
    ~NITFFileContext();

    NITFFileContext(const NITFFileContext&) = delete;
    NITFFileContext& operator=(const NITFFileContext&) = delete;

    // Whether a file is held.
    explicit operator bool() const;

    // The file's version, 0 without a file.
    NITFType getNITFVersion() const;
    // The number of image segments, 0 without a file.
    size_t getNumberImages() const;

    // The file's image with `options`, whose segment is replaced by the URI's object index:
    // the URI's segment always wins. Nothing without a file.
    std::shared_ptr<NITFImage> getImage(const ImageOptions& options) const;

    const NITFURI& getURI() const;
    // Throws std::runtime_error "No File" when the context is empty.
    NITFFile& getFile() const;

    // Metadata of the held file, with the URI's object index as the image number. Without
    // a file: the caller's fallback, or an empty value, empty text or false.
    std::string getISD(const std::string_view& format) const;
    any_type::value getPath(const std::string_view& path) const;
    any_type::value getPath(const std::string_view& path, const any_type::value& fallback) const;
    std::string getPathString(const std::string_view& path, const std::string& fallback) const;
    std::wstring getPathWString(const std::wstring_view& path, const std::wstring& fallback) const;
    int64_t getPathInt(const std::string_view& path, int64_t fallback) const;
    double getPathDouble(const std::string_view& path, double fallback) const;
    bool setPath(const std::string_view& path, const std::string& value,
                 NITFMessages& messages) const;
    bool setISD(const std::string_view& text, NITFMessages& messages) const;
    // The file's table reader for `arguments`; nothing without a file.
    std::shared_ptr<TableReader> getTableReader(const TableArguments& arguments) const;

private:
    friend class NITFFactory;
    NITFFileContext(const NITFURI& uri, std::shared_ptr<NITFFile> file);

    // Lets go of the file; the last context of a cached file hands it to the second level.
    void release();

    NITFURI uri_;
    std::shared_ptr<NITFFile> file_;
};

}  // namespace Tessel

TESSEL_PUBLIC_END
