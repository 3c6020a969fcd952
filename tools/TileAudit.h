#pragma once
// What the pixel commands tell about the tiles behind a read: how many were blank or failed
// and why. The library fills such tiles (0xFF for a failed one, NoData or zeros for a blank
// one) and goes on; a command says so on standard error and exits with kFailedTilesStatus
// unless the user allowed it.

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "tessel/image/NITFImage.h"

namespace tessel_cli {

// The exit status of a command whose output holds failed or blank tiles.
inline constexpr int kFailedTilesStatus = 3;

struct TileAudit {
    uint64_t tiles = 0;
    uint64_t failed = 0;  // decode errors
    uint64_t blank = 0;   // no decoder, or the block isn't there
    // Tiles by reason: "decode error", "block missing", "no decoder for \"C1\"".
    std::map<std::string, uint64_t> reasons;

    void add(const TileAudit& other);
    bool clean() const { return failed == 0 && blank == 0; }
};

// The tiles of `bands` over the blocks that the pixel rectangle (x, y, width, height) of
// `image` touches. Tiles a read left in the tile pool are found there; others are loaded.
TileAudit auditTiles(const Tessel::NITFImage& image, const std::vector<int>& bands, uint32_t x,
                     uint32_t y, uint32_t width, uint32_t height);

// Says on standard error what `audit` found and returns the command's status: 0 when every
// tile was decoded or `allowed` is set, kFailedTilesStatus otherwise.
int reportTiles(const std::string& command, const TileAudit& audit, bool allowed);

}  // namespace tessel_cli
