#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// JPEG 2000 images (IC C8 and M8) decoded by OpenJPEG. A tile of the image is a tile of the
// codestream, a pyramid level is a decoded resolution factor, and a small pool keeps decoders
// open that have read the main header once.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "tessel/image/ImageOptions.h"
#include "tessel/image/NITFTileFactory.h"

struct opj_image;
struct opj_codestream_info_v2;

namespace Tessel {

class NITFTileFactory_C8_OpenJPEG : public NITFTileFactory {
public:
    // One decoder that belongs together: its stream, its codec and the image of its header.
    // The stream and codec are OpenJPEG's opaque handles.
    struct opj_objects {
        void* stream = nullptr;
        void* codec = nullptr;
        opj_image* image = nullptr;

        opj_objects() = default;
        opj_objects(const opj_objects&) = delete;
        opj_objects& operator=(const opj_objects&) = delete;
        ~opj_objects();
        bool empty() const { return codec == nullptr || image == nullptr || stream == nullptr; }
    };
    using Rental = std::unique_ptr<opj_objects>;

    // Throws std::runtime_error when the codestream has no or unequal components, or when its
    // header can't be read.
    NITFTileFactory_C8_OpenJPEG(const NITFImage* image, const ImageOptions& options);
    ~NITFTileFactory_C8_OpenJPEG() override;

    std::map<std::string, std::string> getCompressionInfo() const override;
    bool hasInternalLevel(uint32_t level) const override { return level < maximumLevel_; }
    lumo_pixel::pixel getNoData() const override { return lumo_pixel::pixel::none(); }
    TileGroup createTiles(const tile_id& id) const override;

    // The highest resolution reduction of the codestream; 0 above level 0.
    uint32_t getMaximumLevel() const { return maximumLevel_; }
    // Idle decoders kept at most, and kept now.
    size_t getCapacity() const { return capacity_; }
    size_t getIdleCount() const;

    // A decoder from the idle list, or a new one (possibly empty when it can't be made).
    Rental rent() const;
    // Keeps the decoder for the next rent, or destroys it when the idle list is full.
    void giveBack(Rental rental) const;

    // Decodes the group of `id` (the tile `tile` was asked to load) into its tiles.
    bool loadGroup(TileGroup& group, Tile& tile) const;

    // The capacity that the inventory option gives: its value, or the tile pool's workers
    // plus one for 0.
    static size_t inventoryCapacity();

private:
    Rental makeRental() const;
    uint32_t tileNumber(const tile_id& id) const;
    void copyComponent(const tile_id& id, uint8_t* buffer, bool edge, const opj_objects& rental,
                       Tile& tile) const;

    ImageOptions options_;
    uint32_t maximumLevel_ = 0;
    size_t capacity_ = 1;
    struct InfoRelease {
        void operator()(opj_codestream_info_v2* info) const;
    };
    std::unique_ptr<opj_codestream_info_v2, InfoRelease> info_;
    mutable std::mutex poolMutex_;
    mutable std::list<Rental> idle_;
};

// One band of one codestream tile; the load decodes every band of the tile.
class NITFTile_C8_OpenJPEG : public Tile {
public:
    NITFTile_C8_OpenJPEG(const tile_id& id, const NITFTileFactory_C8_OpenJPEG* factory)
        : Tile(id), factory_(factory) {}

    bool load(TileGroup& group) override { return factory_->loadGroup(group, *this); }

private:
    const NITFTileFactory_C8_OpenJPEG* factory_;
};

}  // namespace Tessel

TESSEL_PUBLIC_END
