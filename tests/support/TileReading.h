#pragma once
// Opening an image segment of a file for tile tests, and reading its tiles and whole bands
// through the process-wide tile pool.

#include <cstring>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <vector>

#include "tessel/core/NITFURI.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFile.h"
#include "tessel/file/NITFFileContext.h"
#include "tessel/image/NITFImage.h"
#include "tessel/image/NITFTileFactory.h"
#include "tessel/image/TileFactory.h"
#include "tessel/image/TilePool.h"

namespace tile_test {

// An image of a file, kept open with its file for the object's lifetime.
class OpenImage {
public:
    OpenImage(const std::filesystem::path& path, const Tessel::ImageOptions& options = {})
        : context_(Tessel::NITFFactory::get().open(Tessel::NITFURI(std::string_view(path.string())),
                                                   messages_)) {
        if (!context_) {
            throw std::runtime_error("cannot open " + path.string() + ": " +
                                     (messages_.empty() ? std::string() : messages_.front()));
        }
        file_ = context_.getFile().shared_from_this();
        image_ = std::make_shared<Tessel::NITFImage>(file_, options, messages_);
    }

    const Tessel::TileFactory& factory() const { return *image_->getTileFactory(); }
    const Tessel::NITFTileFactory* nitfFactory() const {
        return dynamic_cast<const Tessel::NITFTileFactory*>(image_->getTileFactory());
    }
    Tessel::NITFImage& image() const { return *image_; }

private:
    Tessel::NITFMessages messages_;
    Tessel::NITFFileContext context_;
    std::shared_ptr<Tessel::NITFFile> file_;
    std::shared_ptr<Tessel::NITFImage> image_;
};

inline std::shared_ptr<Tessel::Tile> tileAt(const Tessel::TileFactory& factory, uint32_t x,
                                            uint32_t y, uint32_t band) {
    lumo_concurrency::execution_context_fg context;
    return Tessel::TilePool::get()->getTile(Tessel::tile_id{&factory, x, y, band}, context);
}

// A copy of the tile's block bytes.
inline std::vector<uint8_t> tileBytes(const Tessel::TileFactory& factory, uint32_t x, uint32_t y,
                                      uint32_t band) {
    const auto tile = tileAt(factory, x, y, band);
    const uint8_t* data = tile->getBuffer();
    return std::vector<uint8_t>(data, data + factory.getBlockBytes());
}

// A whole band, rows of width samples, assembled from every block and cut to the image.
inline std::vector<uint8_t> readBand(const Tessel::TileFactory& factory, uint32_t band,
                                     bool* anyFailed = nullptr) {
    const uint64_t pixel = factory.getBytesPerPixel();
    const uint64_t width = factory.getWidth();
    const uint64_t height = factory.getHeight();
    const uint64_t blockWidth = factory.getBlockWidth();
    const uint64_t blockHeight = factory.getBlockHeight();
    std::vector<uint8_t> out(width * height * pixel);
    for (uint32_t by = 0; by < factory.getBlocksY(); ++by) {
        for (uint32_t bx = 0; bx < factory.getBlocksX(); ++bx) {
            const auto tile = tileAt(factory, bx, by, band);
            if (anyFailed != nullptr && tile->isFailed()) {
                *anyFailed = true;
            }
            for (uint64_t r = 0; r < blockHeight && by * blockHeight + r < height; ++r) {
                const uint64_t x0 = bx * blockWidth;
                if (x0 >= width) {
                    continue;
                }
                const uint64_t count = std::min(blockWidth, width - x0);
                std::memcpy(&out[((by * blockHeight + r) * width + x0) * pixel],
                            tile->getBuffer() + r * blockWidth * pixel, count * pixel);
            }
        }
    }
    return out;
}

}  // namespace tile_test
