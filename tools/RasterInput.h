#pragma once
// Image files read by "tessel convert": TIFF and PNG, whole, into one plane per band with
// samples in host byte order.

#include <cstdint>
#include <filesystem>
#include <vector>

#include "tessel/platform/base/lumo_pixel.h"

namespace tessel_cli {

struct RasterImage {
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t bitsPerSample = 0;  // 8, 16 or 32
    lumo_pixel::type pixelType = lumo_pixel::unknown;
    bool colour = false;  // the first three bands are red, green and blue
    // Band-sequential: planes[b] holds width * height samples of band b, row after row.
    std::vector<std::vector<uint8_t>> planes;
};

// Reads a TIFF (one page; strips or tiles, interleaved or planar; 8- or 16-bit integers,
// 32-bit integers or floats) or a PNG (8- or 16-bit grey, grey and alpha, RGB, RGBA, or a
// palette, which becomes RGB). Buffers grow with the rows actually decoded, not by the
// size a header claims. Every failure throws std::runtime_error with the reason.
RasterImage readRaster(const std::filesystem::path& path);

}  // namespace tessel_cli
