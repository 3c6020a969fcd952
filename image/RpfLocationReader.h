#pragma once

#include "tessel/core/Visibility.h"
TESSEL_INTERNAL_BEGIN
// Reads the bytes of one RPF component location of an image (colour tables, compression
// tables, masks...). The bytes are fetched from the file on demand and kept: a request for
// n bytes at position p within the location makes the buffer reach p + n. All multi-byte
// integers in these locations are big-endian.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "tessel/core/NITFMessages.h"
#include "tessel/image/NITFImage.h"
#include "tessel/platform/nitf/nrt_IOInterface.h"

namespace Tessel {

class NITFFile;

class RpfLocationReader {
public:
    // The first location with `id` among `tables`; empty when there is none. `io` is the
    // file's own NITRO input; `file` supplies the lock that serialises its seek and read.
    RpfLocationReader(const std::vector<LocationTable>& tables, uint32_t id,
                      std::shared_ptr<NITFFile> file, NITFMessages& messages);

    // Whether the location exists.
    explicit operator bool() const { return found_; }
    const LocationTable& location() const { return location_; }

    // The bytes [position, position + count) of the location. Throws std::runtime_error
    // "RPFIMG: Unable to read NITF File" when the file can't supply them.
    const uint8_t* bytes(size_t position, size_t count);
    uint8_t u8(size_t position);
    uint16_t u16(size_t position);
    uint32_t u32(size_t position);

private:
    void ensure(size_t end);

    bool found_ = false;
    LocationTable location_;
    std::shared_ptr<NITFFile> file_;
    NITFMessages& messages_;
    std::vector<uint8_t> buffer_;
};

// The records of the location section that `data` starts with: a 14-byte header and then
// SECRECS records of 10 bytes. Records beyond the data are dropped.
std::vector<LocationTable> parseLocationSection(const uint8_t* data, size_t size);

}  // namespace Tessel

TESSEL_INTERNAL_END
