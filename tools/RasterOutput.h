#pragma once
// Image files written by "tessel read": TIFF in the image's own sample type, or 8-bit PNG.
// Rows arrive in strips, band-sequential as the region read gives them: plane b of a strip
// of n rows starts at b * n * width * bytesPerSample.

#include <cstdint>
#include <filesystem>
#include <memory>

#include "tessel/image/NITFImage.h"
#include "tessel/platform/base/lumo_pixel.h"

namespace tessel_cli {

struct RasterLayout {
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t bands = 0;
    uint32_t bytesPerSample = 0;
    lumo_pixel::type pixelType = lumo_pixel::unknown;
    bool rgb = false;  // three bands meant as red, green and blue
};

class RasterWriter {
public:
    virtual ~RasterWriter() = default;
    // Rows [firstRow, firstRow + rows) of every band. Strips come in order, each of the
    // strip height the writer was made for except perhaps the last.
    virtual void writeRows(uint32_t firstRow, uint32_t rows, const uint8_t* planes) = 0;
    // Completes the file. Every failure throws std::runtime_error.
    virtual void close() = 0;
};

// One page, one plane per band (planar configuration "separate"), uncompressed, strips of
// `stripRows` rows. Integer, float and complex samples keep their type and width; BigTIFF
// when the pixels need more than 4 GB.
std::unique_ptr<RasterWriter> makeTiffWriter(const std::filesystem::path& path,
                                             const RasterLayout& layout, uint32_t stripRows);

// 8-bit samples only: one band as grey, three as RGB. A single band with a colour map is
// written through its map: RGB for a table of colours, grey for a table of single bytes.
// `colorMap` may be null. Throws std::runtime_error when the layout doesn't fit.
std::unique_ptr<RasterWriter> makePngWriter(const std::filesystem::path& path,
                                            const RasterLayout& layout,
                                            const Tessel::ColorMap* colorMap);

// Why a layout can't become a PNG, or an empty text when it can.
std::string pngRefusal(const RasterLayout& layout);

}  // namespace tessel_cli
