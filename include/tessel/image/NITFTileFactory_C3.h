#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// JPEG-compressed images (IC C3 and M3): one JPEG stream per block, holding all bands of the
// block. The streams are found by scanning the image data for their markers; streams
// without tables get the NITF JPEG profile's defaults; 8-bit streams decode through
// libjpeg, 12-bit ones through our own decoder. One stream decodes at a time in the process.

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "tessel/image/NITFTileFactory.h"
#include "tessel/image/Tile.h"
#include "tessel/platform/base/nitf_fs.h"

namespace Tessel {

class NITFTileFactory_C3 : public NITFTileFactory {
public:
    // Throws std::runtime_error "Cannot open the file" when the file doesn't open, and
    // "Cannot parse file - error in image format." when the data holds too few streams.
    explicit NITFTileFactory_C3(const NITFImage* image);
    ~NITFTileFactory_C3() override;

    std::map<std::string, std::string> getCompressionInfo() const override;
    bool hasInternalLevel(uint32_t /*level*/) const override { return false; }
    lumo_pixel::pixel getNoData() const override { return lumo_pixel::pixel::none(); }
    // One tile per band of the block: a stream decodes all of them at once.
    TileGroup createTiles(const tile_id& id) const override;

    const std::string& getCompressionRate() const { return compressionRate_; }
    const std::string& getRepresentation() const { return representation_; }

    // Decodes the block of the group's tiles into their buffers; false when the stream
    // can't be decoded (the buffers keep what was decoded so far).
    bool loadGroup(TileGroup& group) const;

    // The quantisation table that a COMRAT digit (1 to 5) selects, in the order the decoder
    // stores its tables.
    static const std::array<uint16_t, 64>& defaultQuantTable(int digit);
    // The COMRAT digit: the fourth character, when there are four; 1 for a shorter text;
    // -1 when that character isn't a digit from 1 to 5.
    static int quantTableDigit(const std::string& comrat);
    // Guards every JPEG decoding in the process, and the factories' file handles.
    static std::mutex& decodeMutex();

private:
    // Fills the block table with the absolute offset and length of each stream.
    void scanBlockTable();

    std::string compressionRate_;
    std::string representation_;
    std::unique_ptr<nitf_fs::adapter::nitf_fs_adapter_io> file_;
};

class NITFTile_C3 : public Tile {
public:
    NITFTile_C3(const tile_id& id, const NITFTileFactory_C3* factory)
        : Tile(id), factory_(factory) {}

    bool load(TileGroup& group) override { return factory_->loadGroup(group); }

private:
    const NITFTileFactory_C3* factory_;
};

}  // namespace Tessel

TESSEL_PUBLIC_END
