#pragma once

#include "tessel/core/Visibility.h"
TESSEL_INTERNAL_BEGIN
// The raster product (RPF) sections of a CADRG or CIB frame, read from the places that the
// location section of the image's RPFIMG extension lists. The result is an ordered tree of
// texts, objects and arrays that the path dictionary turns into its "RPFTables" entry.

#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tessel/platform/nitf/nitf_ImageSubheader.h"
#include "tessel/platform/nitf/nrt_IOInterface.h"

namespace NITFPathInternal {

// One record of the location section: a component id, its length, its offset in the file.
struct RpfLocation {
    uint32_t id = 0;
    uint32_t length = 0;
    uint32_t offset = 0;
};

// Reads `size` bytes at the absolute file offset into `out`; false when they can't be read.
using RpfByteSource = std::function<bool(uint64_t offset, size_t size, std::string& out)>;

// The records of the location section that starts `bytes` (big-endian, as an RPFIMG holds
// them). Records past the end of the bytes are dropped.
std::vector<RpfLocation> parseRpfLocations(const std::string& bytes);

// The location records of the one RPFIMG extension of an image; empty when there is none or
// more than one.
std::vector<RpfLocation> readRpfLocations(nitf_ImageSubheader* subheader);

// Reads through a NITRO input with seek and read. The input must outlive the source.
RpfByteSource rpfSourceOver(nrt_IOInterface* io);

// The sections that are found, each under its key ("Coverage", "Attributes",
// "ArealCoverages", "ImageDescription", "ImageDisplayParameters", "Compression", "Mask",
// "Colormap"). Numbers are decimal texts; every array's elements are named "Element".
nlohmann::ordered_json readRpfTables(const std::vector<RpfLocation>& locations,
                                     const RpfByteSource& source);

}  // namespace NITFPathInternal

TESSEL_INTERNAL_END
