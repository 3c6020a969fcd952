#include "tools/TileAudit.h"

#include <algorithm>
#include <cstdio>
#include <memory>

#include "tessel/core/eCompressionType.h"
#include "tessel/image/Tile.h"
#include "tessel/image/TileFactory.h"
#include "tessel/image/TilePool.h"
#include "tessel/platform/base/lumo_concurrency.h"

namespace tessel_cli {

namespace {

std::string compressionName(const Tessel::NITFImage& image) {
    std::string ic = image.getPathString("/Image/IC", "");
    while (!ic.empty() && ic.back() == ' ') {
        ic.pop_back();
    }
    return ic.empty() ? std::string(Tessel::ToString(image.getCompressionType())) : ic;
}

void countTile(const Tessel::TileFactory& factory, const std::shared_ptr<Tessel::Tile>& tile,
               const std::string& noDecoder, TileAudit& audit) {
    ++audit.tiles;
    if (!tile || !tile->hasBuffer() || tile->isFailed()) {
        ++audit.failed;
        ++audit.reasons["decode error"];
    } else if (tile == factory.blankTile()) {
        ++audit.blank;
        ++audit.reasons[noDecoder.empty() ? std::string("block missing") : noDecoder];
    }
}

}  // namespace

void TileAudit::add(const TileAudit& other) {
    tiles += other.tiles;
    failed += other.failed;
    blank += other.blank;
    for (const auto& [reason, count] : other.reasons) {
        reasons[reason] += count;
    }
}

TileAudit auditTiles(const Tessel::NITFImage& image, const std::vector<int>& bands, uint32_t x,
                     uint32_t y, uint32_t width, uint32_t height) {
    TileAudit audit;
    const Tessel::TileFactory* factory = image.getTileFactory();
    if (factory == nullptr || width == 0 || height == 0) {
        return audit;
    }
    const uint32_t blockWidth = factory->getBlockWidth();
    const uint32_t blockHeight = factory->getBlockHeight();
    if (blockWidth == 0 || blockHeight == 0) {
        return audit;
    }
    const std::string noDecoder = Tessel::decodesPixels(*factory)
                                      ? std::string()
                                      : "no decoder for \"" + compressionName(image) + "\"";
    const uint32_t lastColumn = static_cast<uint32_t>((uint64_t{x} + width - 1) / blockWidth);
    const uint32_t lastRow = static_cast<uint32_t>((uint64_t{y} + height - 1) / blockHeight);
    Tessel::TilePool* pool = Tessel::TilePool::get();
    lumo_concurrency::execution_context_fg context;
    for (uint32_t row = y / blockHeight; row <= lastRow; ++row) {
        for (uint32_t column = x / blockWidth; column <= lastColumn; ++column) {
            for (const int band : bands) {
                const Tessel::tile_id id{factory, column, row, static_cast<uint32_t>(band)};
                countTile(*factory, pool->getTile(id, context), noDecoder, audit);
            }
        }
    }
    return audit;
}

int reportTiles(const std::string& command, const TileAudit& audit, bool allowed) {
    if (audit.clean()) {
        return 0;
    }
    std::string reasons;
    for (const auto& [reason, count] : audit.reasons) {
        reasons += (reasons.empty() ? "" : ", ") + std::to_string(count) + " " + reason;
    }
    const std::string notDecoded = std::to_string(audit.failed + audit.blank);
    const std::string tiles = std::to_string(audit.tiles);
    std::fprintf(stderr, "tessel %s: %s of %s tiles not decoded (%s)%s\n", command.c_str(),
                 notDecoded.c_str(), tiles.c_str(), reasons.c_str(),
                 allowed ? ""
                         : "; their pixels are fill (0xFF when failed); "
                           "--allow-failed-tiles accepts that");
    return allowed ? 0 : kFailedTilesStatus;
}

}  // namespace tessel_cli
