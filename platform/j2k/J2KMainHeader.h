#pragma once
// What the first bytes of a raw JPEG 2000 codestream claim, looked at before a decoder
// reads the main header: a decoder sets up every tile of the grid the SIZ marker claims,
// so a few bytes that claim billions of tiles would hold it for minutes.

#include <cstdint>
#include <optional>
#include <span>

namespace tessel_j2k {

// Bytes from the start of the codestream that the tile grid needs: SOC and the SIZ marker up
// to its tile offsets.
inline constexpr size_t kMainHeaderProbeBytes = 40;

// The number of tiles of the SIZ marker's grid; nothing when the bytes don't start with SOC
// and SIZ, or a tile size is 0 (the decoder refuses those itself).
std::optional<uint64_t> claimedTileCount(std::span<const uint8_t> head);

// False when the data can't hold the tiles claimed: each tile has at least one tile-part, an
// SOT marker segment and an SOD marker, 14 bytes.
bool tilesFitTheData(std::span<const uint8_t> head, uint64_t dataLength);

}  // namespace tessel_j2k
