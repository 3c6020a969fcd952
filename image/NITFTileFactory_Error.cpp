#include <memory>

#include "image/TileMakers.h"
#include "tessel/image/NITFTileFactory.h"

namespace Tessel {

namespace {

// The factory of an image whose compression nothing here decodes: the right geometry, and
// the blank tile for every block.
class NITFTileFactory_Error : public NITFTileFactory {
public:
    explicit NITFTileFactory_Error(const NITFImage* image) : NITFTileFactory(image) {}

    std::map<std::string, std::string> getCompressionInfo() const override { return {}; }
    bool hasInternalLevel(uint32_t /*level*/) const override { return false; }
    lumo_pixel::pixel getNoData() const override { return lumo_pixel::pixel::none(); }
    TileGroup createTiles(const tile_id& id) const override { return {{id, blankTile()}}; }
};

}  // namespace

bool decodesPixels(const TileFactory& factory) {
    return dynamic_cast<const NITFTileFactory_Error*>(&factory) == nullptr;
}

std::unique_ptr<TileFactory> makeErrorTileFactory(const NITFImage* image) {
    return std::make_unique<NITFTileFactory_Error>(image);
}

}  // namespace Tessel
