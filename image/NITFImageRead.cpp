// Reading pixels: one block of one band, or a window of many blocks and bands resampled to
// the caller's size. Everything comes from the tile pool; a tile that failed to decode reads
// as 0xFF bytes and doesn't change the result.

#include <cmath>
#include <cstring>
#include <exception>
#include <list>

#include "image/NITFImagePrivate.h"
#include "tessel/image/NITFImage.h"
#include "tessel/image/TileFactory.h"
#include "tessel/image/TilePool.h"
#include "tessel/platform/base/lumo_concurrency.h"

namespace Tessel {
namespace {

// One stretch of output that comes from a single block.
struct Span {
    double outRow = 0;     // first output row (may be fractional)
    double outColumn = 0;  // first output column
    double rowOffset = 0;  // first source row within the block
    double columnOffset = 0;
    double sourceRows = 0;  // source extents within the block
    double sourceColumns = 0;
    double outRows = 0;  // output extents of the span
    double outColumns = 0;
};

struct RegionTarget {
    uint8_t* out = nullptr;
    size_t sampleBytes = 0;
    uint32_t outWidth = 0;
    uint32_t outHeight = 0;
};

bool isCopyableSampleSize(size_t bytes) {
    return bytes == 1 || bytes == 2 || bytes == 4 || bytes == 8;
}

// Row by row when the span isn't scaled.
void copyUnscaled(const Span& span, const uint8_t* block, uint32_t blockWidth, uint32_t blockHeight,
                  const RegionTarget& target, uint8_t* plane) {
    const auto rows = static_cast<uint64_t>(span.sourceRows);
    const auto columns = static_cast<uint64_t>(span.sourceColumns);
    const auto firstRow = static_cast<uint64_t>(span.outRow);
    const auto firstColumn = static_cast<uint64_t>(span.outColumn);
    const auto sourceRow = static_cast<uint64_t>(span.rowOffset);
    const auto sourceColumn = static_cast<uint64_t>(span.columnOffset);
    if (sourceColumn + columns > blockWidth || firstColumn + columns > target.outWidth) {
        return;
    }
    for (uint64_t j = 0; j < rows; ++j) {
        if (sourceRow + j >= blockHeight || firstRow + j >= target.outHeight) {
            break;
        }
        std::memcpy(plane + ((firstRow + j) * target.outWidth + firstColumn) * target.sampleBytes,
                    block + ((sourceRow + j) * blockWidth + sourceColumn) * target.sampleBytes,
                    columns * target.sampleBytes);
    }
}

// Nearest neighbour: output sample (j, i) of the span from the block sample that the span's
// own ratios give.
void copyScaled(const Span& span, const uint8_t* block, uint32_t blockWidth, uint32_t blockHeight,
                const RegionTarget& target, uint8_t* plane) {
    const double verticalRatio = span.sourceRows / span.outRows;
    const double horizontalRatio = span.sourceColumns / span.outColumns;
    const auto firstColumn = static_cast<uint64_t>(span.outColumn);
    const auto sourceColumn = static_cast<uint64_t>(span.columnOffset);
    const size_t bytes = target.sampleBytes;
    for (uint64_t j = 0; static_cast<double>(j) < span.outRows; ++j) {
        const auto outRow = static_cast<uint64_t>(span.outRow + static_cast<double>(j));
        const auto blockRow =
            static_cast<uint64_t>(span.rowOffset + static_cast<double>(j) * verticalRatio);
        if (outRow >= target.outHeight || blockRow >= blockHeight) {
            continue;
        }
        uint8_t* destinationRow = plane + outRow * target.outWidth * bytes;
        const uint8_t* sourceRow = block + blockRow * blockWidth * bytes;
        for (uint64_t i = 0; static_cast<double>(i) < span.outColumns; ++i) {
            const uint64_t outColumn = firstColumn + i;
            const uint64_t blockColumn =
                sourceColumn + static_cast<uint64_t>(static_cast<double>(i) * horizontalRatio);
            if (outColumn >= target.outWidth || blockColumn >= blockWidth) {
                continue;
            }
            std::memcpy(destinationRow + outColumn * bytes, sourceRow + blockColumn * bytes, bytes);
        }
    }
}

}  // namespace

bool NITFImage::readBlock(uint32_t x, uint32_t y, int band, std::vector<uint8_t>& out) const {
    if (options_.mode == ImageOptions::write_mode) {
        return false;
    }
    try {
        lumo_concurrency::execution_context_fg context;
        const tile_id id{d_->tileFactory.get(), x, y, static_cast<uint32_t>(band)};
        const std::shared_ptr<Tile> tile = TilePool::get()->getTile(id, context);
        if (!tile || !tile->hasBuffer()) {
            return false;
        }
        // Samples of 0 bits (NBPP 0) make empty blocks: nothing to copy.
        const uint64_t bytes = d_->tileFactory->getBlockBytes();
        if (out.size() < bytes) {
            out.resize(bytes);
        }
        if (bytes != 0) {
            std::memcpy(out.data(), tile->getBuffer(), bytes);
        }
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

bool NITFImage::readBlockViaPixels(uint32_t pixelX, uint32_t pixelY, int band,
                                   std::vector<uint8_t>& out) const {
    const uint32_t blockWidth = getBlockWidth();
    const uint32_t blockHeight = getBlockHeight();
    if (blockWidth == 0 || blockHeight == 0) {
        return false;
    }
    return readBlock(pixelX / blockWidth, pixelY / blockHeight, band, out);
}

bool NITFImage::readRegionViaBlocks(uint32_t blockX, uint32_t blockY, uint32_t blocksAcross,
                                    uint32_t blocksDown, uint32_t outWidth, uint32_t outHeight,
                                    std::vector<int> bands, std::vector<uint8_t>& out) const {
    const uint32_t blockWidth = getBlockWidth();
    const uint32_t blockHeight = getBlockHeight();
    return readRegionViaPixels(blockWidth * blockX, blockHeight * blockY, blockWidth * blocksAcross,
                               blockHeight * blocksDown, outWidth, outHeight, std::move(bands),
                               out);
}

bool NITFImage::readRegionViaPixels(uint32_t x, uint32_t y, uint32_t width, uint32_t height,
                                    uint32_t outWidth, uint32_t outHeight, std::vector<int> bands,
                                    std::vector<uint8_t>& out) const {
    const TileFactory* factory = d_->tileFactory.get();
    const uint32_t blockWidth = factory->getBlockWidth();
    const uint32_t blockHeight = factory->getBlockHeight();
    if (options_.mode == ImageOptions::write_mode || blockWidth == 0 || blockHeight == 0) {
        return false;
    }
    const double horizontalFactor = static_cast<double>(width) / outWidth;
    const double verticalFactor = static_cast<double>(height) / outHeight;

    // An overview serves the read as soon as the horizontal factor rounds to its power of
    // two; an overview that isn't there leaves the read at this level.
    const uint32_t halvings = std::min<uint32_t>(halvingsForFactor(horizontalFactor),
                                                 static_cast<uint32_t>(d_->levels.size()));
    if (halvings > 0 && d_->levels[halvings - 1]) {
        const uint64_t s = uint64_t{1} << halvings;
        return d_->levels[halvings - 1]->readRegionViaPixels(
            static_cast<uint32_t>(x / s), static_cast<uint32_t>(y / s),
            static_cast<uint32_t>((width + s - 1) / s), static_cast<uint32_t>((height + s - 1) / s),
            outWidth, outHeight, std::move(bands), out);
    }

    lumo_concurrency::track_span span(4, "readRegion");
    TilePool* pool = TilePool::get();
    TilePool::TileFutures tiles;
    try {
        std::list<tile_id> ids;
        if (width > 0 && height > 0) {
            const uint64_t firstRow = y / blockHeight;
            const uint64_t lastRow = (uint64_t{y} + height - 1) / blockHeight;
            const uint64_t firstColumn = x / blockWidth;
            const uint64_t lastColumn = (uint64_t{x} + width - 1) / blockWidth;
            for (uint64_t row = firstRow; row <= lastRow; ++row) {
                for (uint64_t column = firstColumn; column <= lastColumn; ++column) {
                    for (int band : bands) {
                        ids.push_back({factory, static_cast<uint32_t>(column),
                                       static_cast<uint32_t>(row), static_cast<uint32_t>(band)});
                    }
                }
            }
        }
        if (!ids.empty()) {
            tiles = pool->queueTiles(ids);
        }

        const size_t sampleBytes = factory->getBytesPerPixel();
        const uint64_t planeBytes = uint64_t{sampleBytes} * outWidth * outHeight;
        if (out.size() < bands.size() * planeBytes) {
            out.resize(bands.size() * planeBytes);
        }
        const RegionTarget target{out.data(), sampleBytes, outWidth, outHeight};

        // Walk the output by spans that lie within one block each.
        for (double r = 0; r < outHeight;) {
            Span s;
            s.outRow = r;
            const double v = r * verticalFactor + y;
            const double blockRow = std::trunc(v / blockHeight);
            s.rowOffset = v - blockRow * blockHeight;
            s.sourceRows = std::min((outHeight - r) * verticalFactor, blockHeight - s.rowOffset);
            s.outRows = s.sourceRows / verticalFactor;
            for (double c = 0; c < outWidth;) {
                s.outColumn = c;
                const double u = c * horizontalFactor + x;
                const double blockColumn = std::trunc(u / blockWidth);
                s.columnOffset = u - blockColumn * blockWidth;
                s.sourceColumns =
                    std::min((outWidth - c) * horizontalFactor, blockWidth - s.columnOffset);
                s.outColumns = s.sourceColumns / horizontalFactor;
                if (s.sourceRows > 0 && s.sourceColumns > 0 && s.outRows > 0 && s.outColumns > 0) {
                    for (size_t i = 0; i < bands.size(); ++i) {
                        const tile_id id{factory, static_cast<uint32_t>(blockColumn),
                                         static_cast<uint32_t>(blockRow),
                                         static_cast<uint32_t>(bands[i])};
                        const auto found = tiles.find(id);
                        if (found == tiles.end() || !found->second.valid()) {
                            continue;
                        }
                        const std::shared_ptr<Tile> tile = pool->awaitTile(found->second);
                        if (!tile || !tile->hasBuffer()) {
                            // At once: the other tiles go on in the pool, and the image's
                            // load gate keeps them from outliving its decoder.
                            return false;
                        }
                        if (!isCopyableSampleSize(sampleBytes)) {
                            continue;
                        }
                        uint8_t* plane = target.out + i * planeBytes;
                        if (s.sourceRows / s.outRows == 1.0 &&
                            s.sourceColumns / s.outColumns == 1.0) {
                            copyUnscaled(s, tile->getBuffer(), blockWidth, blockHeight, target,
                                         plane);
                        } else {
                            copyScaled(s, tile->getBuffer(), blockWidth, blockHeight, target,
                                       plane);
                        }
                    }
                }
                if (!(s.outColumns > 0)) {
                    break;  // nothing left to walk across (an empty window)
                }
                c += s.outColumns;
            }
            if (!(s.outRows > 0)) {
                break;
            }
            r += s.outRows;
        }
        pool->waitAll(tiles);
        return true;
    } catch (const std::exception&) {
        pool->waitAll(tiles);
        return false;
    }
}

}  // namespace Tessel
