#include <algorithm>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>

#include "image/TileMakers.h"
#include "tessel/image/NITFTileFactory.h"
#include "tessel/io/IOPool.h"
#include "tessel/io/IOSource.h"
#include "tessel/platform/base/lumo_concurrency.h"
#include "tessel/platform/base/nitf_fs.h"

namespace Tessel {

std::unique_ptr<TileFactory> makeComplexTileFactory(const NITFImage* image,
                                                    const ImageOptions& options);

namespace {

// Strips of whole rows stay below this size.
constexpr uint64_t kStripLimit = 0x200000;

// A complex image stored as one block of two interleaved bands, served as one band of
// complex pixels in strips of whole rows read straight from the file.
class NITFTileFactory_NC_SICD : public NITFTileFactory {
public:
    explicit NITFTileFactory_NC_SICD(const NITFImage* image) : NITFTileFactory(image) {
        file_ = nitf_fs::ext::open(uri_.nativePath(), nitf_fs::ext::io_read_only);
        if (!file_) {
            throw std::runtime_error("Cannot open the file");
        }
        imageStart_ = dataOffset_;
        // Two components of 8, 16 or 32 bits give a pixel of 2, 4 or 8 bytes.
        const int64_t bits = bitsPerPixel_;
        complexBytes_ = static_cast<uint32_t>((((bits - 1) >> 2) | 1) + 1);
        bitsPerPixel_ = complexBytes_ * 8;
        blockWidth_ = static_cast<uint32_t>(width_);
        blockHeight_ = stripHeight(width_ * complexBytes_, height_);
        blockBytes_ = width_ * complexBytes_ * blockHeight_;
        // A strip is read whole from the file: one that the file can't hold comes from
        // sizes the subheader only claims, and no buffer is made for it.
        if (blockBytes_ > availableData()) {
            throw std::runtime_error("Cannot Read Image.");
        }
        limit_ = tile_id{this, 1, static_cast<uint32_t>(height_ / blockHeight_), 1};
        pixelType_ = pixelType_ == lumo_pixel::signed_integer ? lumo_pixel::complex_integer
                                                              : lumo_pixel::complex_float;
    }

    std::map<std::string, std::string> getCompressionInfo() const override {
        std::string pixelType = "Other";
        std::string bandName = "Band1";
        if (pixelType_ == lumo_pixel::complex_float && complexBytes_ == 8) {
            pixelType = "RE32F_IM32F";
            bandName = "IQ";
        } else if (pixelType_ == lumo_pixel::complex_integer && complexBytes_ == 4) {
            pixelType = "RE16I_IM16I";
            bandName = "IQ";
        } else if (pixelType_ == lumo_pixel::complex_integer && complexBytes_ == 2) {
            pixelType = "AMP8I_PHS8I";
            bandName = "AMPPHS";
        }
        return {{"Type", "NC_SICD"},
                {"PixelType", pixelType},
                {"BandName", bandName},
                {"TileWidth", std::to_string(blockWidth_)},
                {"TileHeight", std::to_string(blockHeight_)},
                {"TileBytes", std::to_string(complexBytes_)},
                {"TileBits", std::to_string(bitsPerPixel_)}};
    }

    bool hasInternalLevel(uint32_t /*level*/) const override { return false; }
    lumo_pixel::pixel getNoData() const override { return lumo_pixel::pixel::none(); }
    TileGroup createTiles(const tile_id& id) const override;

    // Reads strip `row` into `buffer` and puts each component in host order. What a short
    // or failed read leaves in the buffer is what the strip holds.
    void readStrip(uint32_t row, uint8_t* buffer) const {
        {
            lumo_concurrency::track_span span(5, "Read");
            const uint64_t offset = uint64_t{row} * blockBytes_ + imageStart_;
            // A failed read may leave parts of the strip unwritten: they hold zeros, never
            // an earlier tile's bytes.
            std::memset(buffer, 0, blockBytes_);
            auto done = IOPool::Read(IOSource::Create(uri_), offset, blockBytes_, buffer);
            try {
                IOPool::Await(done);
            } catch (const std::exception&) {
                // A failed read leaves what it read; the strip holds that.
            }
        }
        lumo_concurrency::track_span span(5, "Swap");
        swappingCopy(getBytesPerPixel() >> 1, buffer, buffer, blockBytes_, 0, 1);
    }

private:
    // The segment's data bytes that the file holds.
    uint64_t availableData() const {
        const uint64_t fileSize = nitf_fs::file_size(uri_.nativePath());
        return std::min(dataLength_, fileSize > dataOffset_ ? fileSize - dataOffset_ : 0);
    }

    // The largest proper divisor of the height whose strip stays below the limit, or 1.
    static uint32_t stripHeight(uint64_t rowBytes, uint64_t height) {
        if (height > 1) {
            for (uint64_t h = height / 2; h >= 1; --h) {
                if (height % h == 0 && rowBytes * h < kStripLimit) {
                    return static_cast<uint32_t>(h);
                }
            }
        }
        return 1;
    }

    uint64_t imageStart_ = 0;
    std::unique_ptr<nitf_fs::adapter::nitf_fs_adapter_io> file_;  // checked at construction
    uint32_t complexBytes_ = 0;
};

class NITFTile_NC_SICD : public Tile {
public:
    NITFTile_NC_SICD(const tile_id& id, const NITFTileFactory_NC_SICD* factory)
        : Tile(id), factory_(factory) {}

    bool load(TileGroup& /*group*/) override {
        factory_->readStrip(getId().y, allocateBuffer());
        return true;
    }

private:
    const NITFTileFactory_NC_SICD* factory_;
};

TileGroup NITFTileFactory_NC_SICD::createTiles(const tile_id& id) const {
    return {{id, std::make_shared<NITFTile_NC_SICD>(id, this)}};
}

}  // namespace

std::unique_ptr<TileFactory> makeComplexTileFactory(const NITFImage* image,
                                                    const ImageOptions& /*options*/) {
    return std::make_unique<NITFTileFactory_NC_SICD>(image);
}

}  // namespace Tessel
