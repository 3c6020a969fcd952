#include "platform/j2k/J2KMainHeader.h"

namespace tessel_j2k {
namespace {

uint32_t bigEndian32(std::span<const uint8_t> bytes, size_t at) {
    return static_cast<uint32_t>(bytes[at]) << 24 | static_cast<uint32_t>(bytes[at + 1]) << 16 |
           static_cast<uint32_t>(bytes[at + 2]) << 8 | static_cast<uint32_t>(bytes[at + 3]);
}

uint64_t tilesAlong(uint32_t extent, uint32_t tileOffset, uint32_t tileSize) {
    if (extent <= tileOffset) {
        return 0;
    }
    return (uint64_t{extent} - tileOffset + tileSize - 1) / tileSize;
}

}  // namespace

std::optional<uint64_t> claimedTileCount(std::span<const uint8_t> head) {
    if (head.size() < kMainHeaderProbeBytes || head[0] != 0xFF || head[1] != 0x4F ||
        head[2] != 0xFF || head[3] != 0x51) {
        return std::nullopt;
    }
    // SIZ: Lsiz, Rsiz, then Xsiz, Ysiz, XOsiz, YOsiz, XTsiz, YTsiz, XTOsiz, YTOsiz.
    const uint32_t width = bigEndian32(head, 8);
    const uint32_t height = bigEndian32(head, 12);
    const uint32_t tileWidth = bigEndian32(head, 24);
    const uint32_t tileHeight = bigEndian32(head, 28);
    if (tileWidth == 0 || tileHeight == 0) {
        return std::nullopt;
    }
    return tilesAlong(width, bigEndian32(head, 32), tileWidth) *
           tilesAlong(height, bigEndian32(head, 36), tileHeight);
}

bool tilesFitTheData(std::span<const uint8_t> head, uint64_t dataLength) {
    constexpr uint64_t kSmallestTilePart = 14;
    const std::optional<uint64_t> tiles = claimedTileCount(head);
    return !tiles || *tiles <= dataLength / kSmallestTilePart;
}

}  // namespace tessel_j2k
