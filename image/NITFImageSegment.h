#pragma once
// What the tile factories read of an image's segment: its subheader fields, where its data
// lies in the file, and the file itself.

#include <cstdint>
#include <memory>
#include <string>

#include "tessel/core/NITFURI.h"
#include "tessel/core/eCompressionType.h"

typedef struct _nitf_ImageSegment nitf_ImageSegment;

namespace Tessel {

class NITFFile;
class NITFImage;

struct ImageSegmentFields {
    bool found = false;  // false when the file has gone or has no such segment
    std::shared_ptr<NITFFile> file;
    NITFURI uri;
    int segment = 0;
    eCompressionType compression = eCompressionUnknown;
    uint64_t ncols = 0;
    uint64_t nrows = 0;
    uint32_t nbpr = 0;
    uint32_t nbpc = 0;
    uint32_t nppbh = 0;
    uint32_t nppbv = 0;
    uint32_t nbpp = 0;
    uint32_t nbands = 0;  // XBANDS when NBANDS is 0
    std::string abpp;     // as stored
    std::string pvtype;   // as stored, blanks included
    std::string imode;
    std::string comrat;  // absent (empty) for uncompressed images
    std::string irep;    // as stored, blanks included
    uint64_t dataOffset = 0;
    uint64_t dataLength = 0;
};

// The fields of the image's current segment, read under the file's record lock.
ImageSegmentFields readImageSegmentFields(const NITFImage* image);

}  // namespace Tessel
