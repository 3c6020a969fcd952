#pragma once
// What GDAL decodes from a file, beside what we decode from it: the pixel tests of every
// codec compare the SHA-256 of each band read at full size.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tessel/core/eCompressionType.h"
#include "tessel/image/ImageOptions.h"
#include "tessel/platform/base/lumo_pixel.h"

namespace tessel_test {

// One image as we decode it, band by band, with the subheader fields that decide which
// comparison applies.
struct DecodedImage {
    std::string error;
    Tessel::eCompressionType compression = Tessel::eCompressionUnknown;
    std::string imode;
    std::string nbpp;
    lumo_pixel::type pixelType = lumo_pixel::unknown;
    uint32_t width = 0, height = 0, bytesPerPixel = 0;
    std::vector<std::vector<uint8_t>> bands;

    bool uncompressed() const;
    std::string digest(size_t band) const;
};

using CompressionFilter = std::function<bool(Tessel::eCompressionType)>;

// Opens the file and reads every image whose compression `decode` accepts, each band whole;
// the other images carry only their subheader facts. `base` gives the options of each image
// (level, layers); its segment is set per image.
std::vector<DecodedImage> decodeImages(const std::filesystem::path& path,
                                       const CompressionFilter& decode,
                                       const Tessel::ImageOptions& base = {});

// What a command prints on standard output, parsed as JSON (discarded when it isn't).
nlohmann::json jsonFromCommand(const std::string& command);

// True when GDAL's Python bindings can be imported.
bool gdalAvailable();

// GDAL's digests of many files, from one run of tests/image/gdal_band_digests.py: an object
// keyed by path, each an array of images ({"size", "bands", "pair", "msb12"} or {"error"}).
// A level above 0 gives the digests of GDAL's overview of that pyramid level.
nlohmann::json gdalDigests(const std::vector<std::filesystem::path>& files, uint32_t level = 0);

// GDAL's colour table of the first band of each file's first image, from one run of
// tests/image/gdal_color_tables.py: an object keyed by path, each an array of four-number
// entries, null without a table, or {"error"}.
nlohmann::json gdalColorTables(const std::vector<std::filesystem::path>& files);

// The fixtures of the shared folder, from its manifest, and the sidecar digests of one of
// them in the form of gdalDigests.
std::vector<std::filesystem::path> fixtureFiles();
nlohmann::json sidecarDigests(const std::filesystem::path& file);

// Corpus files that GDAL opens as NITF and whose manifest lists one of the compressions.
std::vector<std::filesystem::path> corpusFilesWith(const std::vector<std::string>& compressions);

}  // namespace tessel_test
