#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// One open NITF file: a NITRO record parsed from a block-cached input. A file is always
// held by a shared pointer: contexts share it, and the warehouse keeps it warm for a moment
// after the last context has gone.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "tessel/core/NITFMessages.h"
#include "tessel/core/NITFType.h"
#include "tessel/core/NITFURI.h"
#include "tessel/core/any_type.h"
#include "tessel/file/NITFFilePrivate.h"
#include "tessel/file/NITFSegmentSource.h"
#include "tessel/image/ImageOptions.h"
#include "tessel/platform/base/lumo_pixel.h"
#include "tessel/tables/TableReader.h"

namespace Tessel {

class NITFFile : public std::enable_shared_from_this<NITFFile> {
public:
    // Opens and parses the file; throws std::runtime_error with the first message of
    // `messages` when a step fails, or with "NITF/NUMX != 000" for a NITF 2.10 file whose
    // reserved NUMX field isn't 0.
    NITFFile(const NITFURI& uri, NITFMessages& messages);
    // A new, empty NITF 2.10 record to be written.
    NITFFile();
    virtual ~NITFFile();

    NITFFile(const NITFFile&) = delete;
    NITFFile& operator=(const NITFFile&) = delete;

    // 120 for NITF 2.00, 121 for NITF 2.10 and NSIF 1.00, 0 for anything else or no record.
    NITFType getNITFVersion() const;
    // The number of image segments, 0 with no record.
    size_t getNumberImages() const;
    // The image of options.segment at options.level, made once and cached by the file.
    // Nothing for a file that isn't read only; a failed construction throws. Throws
    // std::bad_weak_ptr when the file isn't held by a shared pointer.
    std::shared_ptr<NITFImage> getImage(const ImageOptions& options);

    // The whole file's metadata in the format named "XML", "JSON" or "RAW" (blanks around
    // the name are ignored); any other name gives the trimmed text of every field in turn.
    // The XML document's root element is "NITF".
    std::string getISD(const std::string_view& format) const;
    // Replaces the whole tree from a JSON text as getISD("JSON") gives it. False for a file
    // opened for reading.
    bool setISD(const std::string_view& text, NITFMessages& messages);

    // The value of a metadata path, with `image` as the segment that "Image" and "TRE"
    // mean; empty when not found. A path that holds "@Info" gives instead the JSON
    // description of what the text before it names: "RPC00B/SUCCESS/@Info" a field of an
    // extension, "RPC00B/@Info" the whole extension, "NITF_FILE_HEADER/FL/@Info" and
    // "NITF_IMAGE_SUBHEADER/NROWS/@Info" header fields.
    any_type::value getPath(int image, const std::string_view& path) const;
    // As above; `fallback` when the result is empty.
    any_type::value getPath(int image, const std::string_view& path,
                            const any_type::value& fallback) const;
    // The value as text: booleans and dates in their text forms, integers in decimal,
    // doubles with "%f"; `fallback` when there is no value.
    std::string getPathString(int image, const std::string_view& path,
                              const std::string& fallback) const;
    std::wstring getPathString(int image, const std::wstring_view& path,
                               const std::wstring& fallback) const;
    // The value as a number; `fallback` when there is none.
    int64_t getPathInt(int image, const std::string_view& path, int64_t fallback) const;
    int64_t getPathInt(int image, const std::wstring_view& path, int64_t fallback) const;
    double getPathDouble(int image, const std::string_view& path, double fallback) const;
    // Writes a value given as JSON (setPath) or as plain text (setPathAsString), from the
    // root whatever the image; false, with the reasons in `messages`, when it can't. False
    // and no message for a file opened for reading.
    bool setPath(int image, const std::string_view& path, const std::string& value,
                 NITFMessages& messages) const;
    bool setPathAsString(int image, const std::string_view& path, const std::string& value,
                         NITFMessages& messages) const;

    // A reader of the table that `arguments` define, from the first maker that accepts them;
    // nothing when none does. Malformed "Fields" or "Sources" throw the JSON library's
    // exception. The reader points into this file's record: the file must outlive it.
    std::shared_ptr<TableReader> getTableReader(const TableArguments& arguments);

    // Composing a new file (one from NITFFactory::create), on one thread.
    using SegmentType = NITFSegmentType;
    using SegmentSource = NITFSegmentSource;

    // Registers what a segment is written from. The index of an image band is (image index
    // + 1) * 1000 + band index, that of a data extension its segment index. A key that has a
    // source already keeps it.
    void setSource(SegmentType type, size_t index, const std::shared_ptr<SegmentSource>& source);
    // Adds an uncompressed, band-sequential image segment of `bands` bands and the file
    // header fields of a new export, and returns its image in write mode (no pixels to
    // read): `options` gets that mode and the new segment's index. Nothing on failure.
    std::shared_ptr<NITFImage> createImage(unsigned columns, unsigned rows, unsigned bands,
                                           unsigned bits, unsigned blockRows, unsigned blockColumns,
                                           lumo_pixel::type pixelType, const std::string& name,
                                           ImageOptions& options);
    // Writes the record to `path`, pulling each segment's data from its source; a band
    // without a source is written as zeros, with a message. False with the reason in
    // `messages` when a step fails; the record isn't changed.
    bool write(const std::string_view& path, NITFMessages& messages);

    std::unique_ptr<NITFFilePrivate>& getPrivate();

private:
    std::unique_ptr<NITFFilePrivate> d_;
};

}  // namespace Tessel

TESSEL_PUBLIC_END
