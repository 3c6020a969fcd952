#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// A tile factory knows the pixel grid of one image and makes its tiles; it hides the
// compression. One concrete factory per compression family; a registry picks the factory
// for an image when the image is made.

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tessel/image/ImageOptions.h"
#include "tessel/image/Tile.h"
#include "tessel/image/TileLoadGate.h"
#include "tessel/platform/base/lumo_pixel.h"

namespace Tessel {

class NITFImage;

class TileFactory : public std::enable_shared_from_this<TileFactory> {
public:
    // Tells the tile pool to forget this factory's tiles.
    virtual ~TileFactory();

    TileFactory(const TileFactory&) = delete;
    TileFactory& operator=(const TileFactory&) = delete;

    // A description of the codec, for display.
    virtual std::map<std::string, std::string> getCompressionInfo() const = 0;
    // Whether pyramid level `level` lies inside this segment.
    virtual bool hasInternalLevel(uint32_t level) const = 0;
    // The NoData pixel; type lumo_pixel::unknown means none.
    virtual lumo_pixel::pixel getNoData() const = 0;
    virtual uint64_t getWidth() const = 0;
    virtual uint64_t getHeight() const = 0;
    virtual uint32_t getBlocksX() const = 0;
    virtual uint32_t getBlocksY() const = 0;
    virtual uint32_t getBlockWidth() const = 0;
    virtual uint32_t getBlockHeight() const = 0;
    virtual uint32_t getNumBands() const = 0;
    virtual lumo_pixel::type getPixelType() const = 0;
    virtual uint32_t getBytesPerPixel() const = 0;
    // Bits of a sample as a tile holds it.
    virtual uint32_t getBitsPerPixel() const = 0;
    // The size of a tile's buffer.
    virtual uint64_t getBlockBytes() const = 0;
    // The group of tiles for a valid id. Allocation only: it runs under the pool's lock.
    virtual TileGroup createTiles(const tile_id& id) const = 0;

    // createTiles for an id inside the grid; outside it, the id with the blank tile.
    TileGroup requestTiles(const tile_id& id) const;
    // The factory's one tile for blocks that aren't there, filled from getNoData().
    std::shared_ptr<Tile> blankTile() const;
    // The factory's one tile for blocks that can't be read: 0xFF bytes, failed_flag set.
    std::shared_ptr<Tile> errorTile() const;

    // The gate of the loads the tile pool queues for this factory. The owner closes it
    // before the factory goes: running loads finish, queued ones are turned away.
    const std::shared_ptr<TileLoadGate>& loadGate() const { return loadGate_; }
    void closeLoads() const { loadGate_->close(); }

protected:
    TileFactory() = default;

private:
    mutable std::shared_ptr<Tile> blank_;
    mutable std::shared_ptr<Tile> error_;
    std::shared_ptr<TileLoadGate> loadGate_ = std::make_shared<TileLoadGate>();
};

using TileFactoryMaker =
    std::function<std::unique_ptr<TileFactory>(const NITFImage*, const ImageOptions&)>;

// Appends a maker to the process-wide list; makers run in registration order.
void registerTileFactory(std::string_view name, TileFactoryMaker maker);
// The names of the registered makers, in order.
std::vector<std::string> registeredTileFactories();
// The first factory a maker gives, or an error factory with the image's geometry that reads
// as blank tiles. Never empty; a maker's or constructor's exception goes to the caller.
std::unique_ptr<TileFactory> makeTileFactory(const NITFImage* image, const ImageOptions& options);
// False for the factory of an image whose compression nothing here decodes: all its tiles
// are blank.
bool decodesPixels(const TileFactory& factory);

}  // namespace Tessel

TESSEL_PUBLIC_END
