#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// The provider of everything that metadata paths read: a file's NITRO record, its reader,
// its kept segment bodies and its images. A query builds a fresh tree for every call and
// keeps nothing here.

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>

#include "tessel/core/NITFMessages.h"
#include "tessel/core/any_type.h"
#include "tessel/platform/nitf/nitf_Reader.h"
#include "tessel/platform/nitf/nitf_Record.h"

namespace Tessel {
class BlockCache;
class NITFImage;
}  // namespace Tessel

class PathContext {
public:
    // Output format of a query; the query words are "XML", "JSON" and "RAW".
    enum FormatType : int32_t {
        FormatString = 0,
        FormatXML = 1,
        FormatJSON = 2,
        FormatRaw = 3,
    };

    PathContext() = default;
    PathContext(const PathContext&) = default;
    PathContext& operator=(const PathContext&) = default;

    // Slot order is fixed: destructor, getRecord, getReader, getBlockCache, getImage.
    virtual ~PathContext();
    // The slot that holds the file's record.
    virtual nitf_Record*& getRecord() = 0;
    // The slot that holds the file's reader; null for a file not read from a stream.
    virtual nitf_Reader*& getReader() = 0;
    // Where segment bodies stay once read.
    virtual Tessel::BlockCache& getBlockCache() = 0;
    // The image of a segment index, or an empty pointer (with the reason in the sink).
    virtual std::shared_ptr<Tessel::NITFImage> getImage(int index,
                                                        Tessel::NITFMessages& messages) = 0;

    // Reads one path ("path?query") with `image` as the index that "Image" and "TRE"
    // refer to. An empty value means not found; the reason is in the sink. Never throws
    // for a bad path.
    any_type::value GetByPathAsVariant(int image, std::string_view path,
                                       Tessel::NITFMessages& messages);
    // Writes one path from the root (no "Image" or "TRE" shortcut, no query): FormatString
    // stores the value as one text, FormatJSON stores the tree of a JSON text, field by
    // field; missing segments, bands, comments and TREs are made on the way. False with
    // the reasons in the sink, the outermost naming the path; what was stored before a
    // failure stays.
    bool SetByPath(const std::string& path, const std::string& value, FormatType format,
                   Tessel::NITFMessages& messages);
};

// "FormatString", "FormatXML", "FormatJSON", "FormatRaw"; other numbers as "FormatString".
std::ostream& operator<<(std::ostream& os, PathContext::FormatType format);
std::wostream& operator<<(std::wostream& os, PathContext::FormatType format);

TESSEL_PUBLIC_END
