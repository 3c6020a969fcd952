#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// The base of every concrete tile factory: the pixel grid of an image segment as its
// subheader gives it, the offsets of its image data, and the table of block locations.
// A concrete factory adapts the geometry by overwriting these fields in its constructor.

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "tessel/core/NITFURI.h"
#include "tessel/core/eCompressionType.h"
#include "tessel/image/TileFactory.h"

namespace Tessel {

class NITFTileFactory : public TileFactory {
public:
    // IMODE as a number; none for a letter outside the known set.
    enum Mode : uint8_t {
        mode_none = 0,
        mode_S = 1,
        mode_B = 2,
        mode_P = 3,
        mode_R = 4,
        mode_D = 5,
        mode_T = 6,
        mode_E = 7,
        mode_F = 8,
        mode_X = 9,
        mode_Z = 10,
    };

    // A block location, relative to the start of the image data.
    struct BlockEntry {
        uint64_t offset = 0;
        uint64_t size = 0;
    };

    // Reads the geometry from the image's subheader, the data offsets from the file's record,
    // builds the block table and, for a masked image, applies the mask table. Throws
    // std::runtime_error "IMODE is not defined" for an unknown IMODE.
    explicit NITFTileFactory(const NITFImage* image);
    ~NITFTileFactory() override;

    uint64_t getWidth() const override { return width_; }
    uint64_t getHeight() const override { return height_; }
    uint32_t getBlocksX() const override { return limit_.x; }
    uint32_t getBlocksY() const override { return limit_.y; }
    uint32_t getBlockWidth() const override { return blockWidth_; }
    uint32_t getBlockHeight() const override { return blockHeight_; }
    uint32_t getNumBands() const override { return limit_.band; }
    lumo_pixel::type getPixelType() const override { return pixelType_; }
    // (bits - 1) / 8 + 1, and 0 for 0 bits.
    uint32_t getBytesPerPixel() const override;
    uint32_t getBitsPerPixel() const override { return bitsPerPixel_; }
    uint64_t getBlockBytes() const override { return blockBytes_; }

    const NITFURI& getURI() const { return uri_; }
    Mode getMode() const { return mode_; }
    uint64_t getDataOffset() const { return dataOffset_; }
    uint64_t getDataLength() const { return dataLength_; }
    const std::vector<BlockEntry>& getBlockTable() const { return blockTable_; }
    // The block of a tile in the image's block order (band-major for IMODE S, the band
    // ignored for B and P); -1 when the mode has no such order.
    int64_t blockNumber(const tile_id& id) const;

    // NBPP rounded up to 8, 16, 32 or 64; values up to 8 and above 64 stay.
    static uint32_t roundBitsPerPixel(uint32_t nbpp);
    // The PVTYPE test: exactly three characters, case ignored.
    static lumo_pixel::type pixelTypeFromPVTYPE(std::string_view pvtype);
    // The IMODE letter as a number.
    static Mode modeFromIMODE(std::string_view imode);

protected:
    NITFURI uri_;
    uint64_t width_ = 0;
    uint64_t height_ = 0;
    tile_id limit_;  // factory, blocks per row, blocks per column, bands
    uint32_t blockWidth_ = 0;
    uint32_t blockHeight_ = 0;
    uint32_t bitsPerPixel_ = 0;
    uint64_t blockBytes_ = 0;
    lumo_pixel::type pixelType_ = lumo_pixel::unknown;
    Mode mode_ = mode_none;
    uint64_t dataOffset_ = 0;
    uint64_t dataLength_ = 0;
    std::vector<BlockEntry> blockTable_;

    // For a masked image whose data is one stream (M8), moves the data offset past the mask
    // table to IMDATOFF and shortens the data length by as much; nothing for other images.
    // Throws std::runtime_error when the table can't be read or points past the data.
    void skipMaskTable(eCompressionType compression);

private:
    // Applies the mask table at the start of a masked image's data to the block table.
    void readMaskTable();
};

// Copies elements start, start + stride, ... of `source` (sourceLength bytes) to consecutive
// elements of `destination`, swapping each 2-, 4- or 8-byte element from the file's
// big-endian order to host order; 1-byte elements are copied as they stand, other sizes
// copy nothing. May run in place when start is 0 and stride 1.
void swappingCopy(size_t elementSize, const uint8_t* source, uint8_t* destination,
                  size_t sourceLength, size_t start, size_t stride);

}  // namespace Tessel

TESSEL_PUBLIC_END
