#pragma once
// The provider of what metadata paths read: a file's NITRO record, its reader and the
// segment bodies kept in memory.

#include "tessel/platform/nitf/nitf_Reader.h"
#include "tessel/platform/nitf/nitf_Record.h"

namespace Tessel {
class BlockCache;
}  // namespace Tessel

class PathContext {
public:
    // Output formats of a path query.
    enum FormatType : int {
        FormatString = 0,
        FormatXML = 1,
        FormatJSON = 2,
        FormatRaw = 3,
    };

    virtual ~PathContext() = default;

    // The slot that holds the file's record.
    virtual nitf_Record*& getRecord() = 0;
    // The slot that holds the reader; null for a file that was not read from a stream.
    virtual nitf_Reader*& getReader() = 0;
    // Where segment bodies stay once read.
    virtual Tessel::BlockCache& getBlockCache() = 0;

protected:
    PathContext() = default;
    PathContext(const PathContext&) = delete;
    PathContext& operator=(const PathContext&) = delete;
};
