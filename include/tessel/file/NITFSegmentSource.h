#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// What a new file's segments are written from: the host derives a source for each image
// band and data extension, and the file pulls the bytes from it while it writes.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Tessel {

// The kind of segment that a source feeds; NITFFile::SegmentType.
enum class NITFSegmentType : int {
    ImageBand = 0,
    DataExtension = 2,
};

// NITFFile::SegmentSource. A band source delivers the band's samples row after row in host
// byte order; a data extension source delivers the segment's data.
class NITFSegmentSource {
public:
    NITFSegmentSource() = default;
    NITFSegmentSource(const NITFSegmentSource&) = delete;
    NITFSegmentSource& operator=(const NITFSegmentSource&) = delete;

    // The number of bytes that the source will deliver in all; negative when it can't
    // tell, with the reason in `messages`.
    virtual int64_t size(std::vector<std::string>& messages) = 0;
    // Delivers the next `count` bytes; false with the reason in `messages` on failure.
    virtual bool read(void* buffer, size_t count, std::vector<std::string>& messages) = 0;

protected:
    // Sources are shared and released through their shared pointers, which know the
    // derived type.
    ~NITFSegmentSource() = default;
};

}  // namespace Tessel

TESSEL_PUBLIC_END
