#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// One image segment of a NITF file at one pyramid level. The object keeps what the
// subheader says about the image as a whole; the pixel grid and all pixel traffic belong to
// its tile factory and the tile pool. Path operations forward to the file with this image's
// segment. Images are made only by NITFFile and hold their file weakly.

#include <array>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "tessel/core/NITFMessages.h"
#include "tessel/core/any_type.h"
#include "tessel/core/eColorInterpretation.h"
#include "tessel/core/eCompressionType.h"
#include "tessel/image/ImageOptions.h"
#include "tessel/platform/base/lumo_pixel.h"
#include "tessel/platform/base/nitf_date.h"

namespace Tessel {

class NITFFile;
class TileFactory;
struct NITFImagePrivate;

// A colour map of one band: RGB triplets, four-byte RPF colour records, or single bytes.
using ColorMap = std::variant<std::monostate, std::vector<std::array<uint8_t, 3>>,
                              std::vector<std::array<uint8_t, 4>>, std::vector<uint8_t>>;

// One RPF component location of the image's RPFIMG extension.
struct LocationTable {
    uint32_t id = 0;      // RPF location identifier
    uint32_t length = 0;  // bytes
    uint32_t offset = 0;  // byte offset in the file
};

class NITFImage : public std::enable_shared_from_this<NITFImage> {
public:
    struct Histogram {
        uint32_t step = 0;  // in: the sampling asked for; out: the sampling used
        double min = 0;
        double max = 0;
        double mean = 0;
        double stddev = 0;
        double offset = 0;  // added to a value before scaling
        double scale = 0;   // from value to bin
        std::vector<uint64_t> bins;
    };

    // Reads the subheader of segment options.segment and makes the tile factory. Throws
    // std::runtime_error "Missing Image" when there is no such segment.
    NITFImage(const std::shared_ptr<NITFFile>& file, const ImageOptions& options,
              NITFMessages& messages);
    virtual ~NITFImage();

    NITFImage(const NITFImage&) = delete;
    NITFImage& operator=(const NITFImage&) = delete;

    // The pixel grid, from the tile factory.
    uint32_t getWidth() const;
    uint32_t getHeight() const;
    uint32_t getNumBands() const;
    uint32_t getBlocksX() const;
    uint32_t getBlocksY() const;
    uint32_t getBlockWidth() const;
    uint32_t getBlockHeight() const;
    uint32_t getBitsPerPixel() const;
    uint32_t getBytesPerPixel() const;
    lumo_pixel::type getPixelType() const;
    lumo_pixel::pixel getNoData() const;
    std::map<std::string, std::string> getCompressionInfo() const;

    // What the subheader says.
    uint32_t getActualBitsPerPixel() const;
    int getCurrentImageSegment() const;
    nitf_date getAcquisitionDate() const;
    std::string getImageCategory() const;
    std::string getImageRepresentation() const;
    eCompressionType getCompressionType() const;
    eColorInterpretation getColorInterpretation() const;
    const std::vector<LocationTable>& getLocationTables() const;
    // The band's colour map, or an empty one.
    const ColorMap& getColorMap(uint32_t band) const;

    const ImageOptions& getOptions() const;
    // The file, or nothing once it has gone.
    std::shared_ptr<NITFFile> getNITFFile() const;
    // The tile factory; never null after construction.
    const TileFactory* getTileFactory() const;

    // Pyramid levels found when level 0 was made (index i is level i + 1; may be empty).
    uint16_t getInternalPyramidLevels() const;
    std::shared_ptr<NITFImage> getPyramidLevel(uint32_t level) const;
    std::shared_ptr<NITFImage> openPyramidLevel(uint32_t level) const;
    // The native paths of the file and of every overview file, without duplicates.
    std::vector<std::filesystem::path> getFiles() const;

    // Forwarded to the file with this image's segment; defaults once the file has gone.
    std::string getISD(const std::string_view& format) const;
    bool setISD(const std::string_view& text, NITFMessages& messages);
    any_type::value getPath(const std::string_view& path) const;
    any_type::value getPath(const std::string_view& path, const any_type::value& fallback) const;
    std::string getPathString(const std::string_view& path, const std::string& fallback) const;
    int64_t getPathInt(const std::string_view& path, int64_t fallback) const;
    double getPathDouble(const std::string_view& path, double fallback) const;
    bool setPath(const std::string_view& path, const std::string& value,
                 NITFMessages& messages) const;
    bool setPathAsString(const std::string_view& path, const std::string& value,
                         NITFMessages& messages) const;

    // Pixels. A block is block height rows of block width host-order samples of one band;
    // take its length from the factory's block bytes, not from out.size().
    bool readBlock(uint32_t x, uint32_t y, int band, std::vector<uint8_t>& out) const;
    bool readBlockViaPixels(uint32_t pixelX, uint32_t pixelY, int band,
                            std::vector<uint8_t>& out) const;
    // The window (x, y, width, height) resampled to outWidth by outHeight, band-sequential.
    bool readRegionViaPixels(uint32_t x, uint32_t y, uint32_t width, uint32_t height,
                             uint32_t outWidth, uint32_t outHeight, std::vector<int> bands,
                             std::vector<uint8_t>& out) const;
    bool readRegionViaBlocks(uint32_t blockX, uint32_t blockY, uint32_t blocksAcross,
                             uint32_t blocksDown, uint32_t outWidth, uint32_t outHeight,
                             std::vector<int> bands, std::vector<uint8_t>& out) const;
    // Not const: it fills the image's histogram cache without a lock.
    bool calculateHistogram(int band, Histogram& histogram);
    bool calculateStatistics(int band, double& min, double& max, double& mean, double& stddev);

private:
    // The histogram itself, without the cache.
    bool calculateHistogramInternal(int band, Histogram& histogram);

    ImageOptions options_;
    std::unique_ptr<NITFImagePrivate> d_;
};

}  // namespace Tessel

TESSEL_PUBLIC_END
