#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// JPEG 2000 images (IC C8 and M8) decoded through the library's J2K engine. A tile of the
// image is a tile of the codestream, a pyramid level is a number of discarded resolution
// levels, and the rules of j2k.json may limit the quality layers or the distortion decoded.
// Open codestreams are rented from a pool, one per decoding thread.

#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "tessel/image/ImageOptions.h"
#include "tessel/image/NITFTileFactory.h"

namespace tessel_j2k {
class Codestream;
class Source;
}  // namespace tessel_j2k

namespace Tessel {

class NITFTileFactory_C8 : public NITFTileFactory {
public:
    // One open codestream and the source it reads.
    struct Rental {
        std::shared_ptr<tessel_j2k::Source> source;
        std::unique_ptr<tessel_j2k::Codestream> codestream;

        Rental();
        ~Rental();
        Rental(Rental&&) noexcept;
        Rental& operator=(Rental&&) noexcept;
    };
    using RentalPtr = std::unique_ptr<Rental>;

    // Throws std::runtime_error when ABPP or PVTYPE don't fit, when JP2 boxes can't be read,
    // or with "J2K Compression Error" when the codestream can't be opened.
    NITFTileFactory_C8(const NITFImage* image, const ImageOptions& options);
    ~NITFTileFactory_C8() override;

    std::map<std::string, std::string> getCompressionInfo() const override;
    bool hasInternalLevel(uint32_t level) const override { return level < internalLevels_; }
    lumo_pixel::pixel getNoData() const override { return lumo_pixel::pixel::none(); }
    TileGroup createTiles(const tile_id& id) const override;

    uint32_t getLayers() const { return layers_; }
    float getRMSE() const { return rmse_; }
    bool isJP2() const { return isJP2_; }
    bool isSigned() const { return signed_; }
    uint32_t getComponents() const { return components_; }
    size_t getCapacity() const { return capacity_; }
    size_t getIdleCount() const;

    // An idle codestream, or a newly opened one (which may exceed the capacity). Throws
    // "For J2k compression, Cannot read JP2 boxes" or "J2K Compression Error".
    RentalPtr rent() const;
    // Keeps the codestream, or destroys it when the idle list is full.
    void giveBack(RentalPtr rental) const;

    // Decodes the bands of the group's tiles in one pass.
    bool loadGroup(TileGroup& group) const;

    // The pool capacity that the inventory option gives: its value, or the tile pool's
    // workers plus one for 0.
    static size_t inventoryCapacity();
    // Whether a group holds all bands of a block (nitf.j2k.kdu.use_tile_package), read once.
    static bool useTilePackage();

private:
    RentalPtr open() const;

    ImageOptions options_;
    uint32_t layers_ = 0;
    float rmse_ = 0;
    uint32_t abpp_ = 0;
    uint32_t components_ = 0;
    uint32_t bitDepth_ = 0;
    bool signed_ = false;
    bool isJP2_ = false;
    uint32_t internalLevels_ = 0;
    size_t capacity_ = 1;
    mutable std::mutex poolMutex_;
    mutable std::list<RentalPtr> idle_;
};

// One band of one codestream tile.
class NITFTile_C8 : public Tile {
public:
    NITFTile_C8(const tile_id& id, const NITFTileFactory_C8* factory)
        : Tile(id), factory_(factory) {}

    bool load(TileGroup& group) override { return factory_->loadGroup(group); }

private:
    const NITFTileFactory_C8* factory_;
};

}  // namespace Tessel

TESSEL_PUBLIC_END
