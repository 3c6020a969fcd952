#pragma once
// What the JPEG 2000 tests share: the files GDAL decodes too, the comparison of our pixels
// with GDAL's (with a tally of what was left out and why), reading an image whole, and the
// first and last tiles of a codestream cut short.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/GdalOracle.h"
#include "tessel/core/eCompressionType.h"

namespace Tessel {
class NITFImage;
class TileFactory;
}  // namespace Tessel

namespace tessel_test {

bool isJ2K(Tessel::eCompressionType compression);

// The C8 fixtures, by name.
std::vector<std::filesystem::path> j2kFixtures();
// The C8 fixtures and, when the corpus is there, its C8 and M8 files.
std::vector<std::filesystem::path> j2kFiles();

struct Tally {
    size_t compared = 0;
    std::map<std::string, size_t> leftOut;
};

// The reason an image of `path` is left out of the comparison at `level`, or nullptr to
// compare it: what one decoder gives otherwise than GDAL by design.
using LeaveOut =
    std::function<const char*(const std::filesystem::path& path, size_t index, uint32_t level)>;

// Our decoding of image `index` of `path` against GDAL's digests of it.
void compareImage(const std::filesystem::path& path, size_t index, const DecodedImage& ours,
                  const nlohmann::json& gdal, uint32_t level, Tally& tally,
                  const LeaveOut& leaveOut);

void printTally(const char* what, const Tally& tally);

// Every JPEG 2000 image of `files` at full size against GDAL's.
void compareWithGdal(const std::vector<std::filesystem::path>& files, Tally& tally,
                     const LeaveOut& leaveOut);

// Levels 1 to 3 of every JPEG 2000 image of `files` against GDAL's overviews.
void comparePyramidLevelsWithGdal(const std::vector<std::filesystem::path>& files, Tally& tally,
                                  const LeaveOut& leaveOut);

// Reads every band whole; failed tiles are allowed, a crash or hang is not. True when the
// image opened and `ours` says it is decoded by the decoder under test.
bool readWhole(const std::filesystem::path& path,
               const std::function<bool(const Tessel::NITFImage&)>& ours);

// Of a 3 x 3 tile codestream cut short: the first tile loads, the last fails.
void expectFirstTileLoadsAndLastFails(const Tessel::TileFactory& factory);

// Writes, for a few codestream shapes, an M8 file ("shapeN_m8.ntf", a block mask table in
// front of the codestream) beside a C8 file of the same codestream ("shapeN_c8.ntf") under
// `dir`; returns the M8 files.
std::vector<std::filesystem::path> writeMaskedImagesBesideUnmasked(
    const std::filesystem::path& dir);

// The M8 file opens with the decoder under test and its pixels equal its C8 twin's.
void expectMaskedReadsAsUnmasked(const std::filesystem::path& m8,
                                 const std::function<bool(const Tessel::NITFImage&)>& ours);

// An M8 file whose mask table's IMDATOFF points far behind the image data. (GDAL 3.6
// refuses M8 images, "Unsupported imagery compression format M8": masked images are
// checked against their C8 twins instead.)
void writeMaskPointingPastTheData(const std::filesystem::path& path);

// `value` as four big-endian bytes at `at` of `s`.
void putBig32(std::string& s, size_t at, uint32_t value);

}  // namespace tessel_test
