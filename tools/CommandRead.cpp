#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "tessel/image/NITFImage.h"
#include "tessel/image/TilePool.h"
#include "tools/Commands.h"
#include "tools/ImageSupport.h"
#include "tools/RasterOutput.h"
#include "tools/TileAudit.h"

namespace tessel_cli {
namespace {

// About this many bytes of output are read at a time, so that a large image never needs
// one buffer of its whole size.
constexpr uint64_t strip_bytes = uint64_t{32} << 20;

struct ReadRequest {
    uint32_t x = 0, y = 0, width = 0, height = 0;  // source window
    uint32_t outWidth = 0, outHeight = 0;
    std::vector<int> bands;
};

enum class Format { Tiff, Png };

Format formatOf(const std::filesystem::path& output) {
    std::string extension = output.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (extension == ".tif" || extension == ".tiff") {
        return Format::Tiff;
    }
    if (extension == ".png") {
        return Format::Png;
    }
    throw std::invalid_argument("the output must end in .tif, .tiff or .png: " + output.string());
}

ReadRequest requestFor(const OptionWords& options, const Tessel::NITFImage& image) {
    ReadRequest request{0, 0, image.getWidth(), image.getHeight(), 0, 0, {}};
    if (const auto window = options.value("--window")) {
        const auto numbers = parseNumberList(*window, 4, "--window X,Y,W,H");
        request.x = numbers[0];
        request.y = numbers[1];
        request.width = numbers[2];
        request.height = numbers[3];
        if (request.width == 0 || request.height == 0) {
            throw std::invalid_argument("--window: width and height must be at least 1");
        }
        if (uint64_t{request.x} + request.width > image.getWidth() ||
            uint64_t{request.y} + request.height > image.getHeight()) {
            throw std::invalid_argument("--window " + *window + " lies outside the image (" +
                                        std::to_string(image.getWidth()) + " x " +
                                        std::to_string(image.getHeight()) + ")");
        }
    }
    request.outWidth = request.width;
    request.outHeight = request.height;
    if (const auto size = options.value("--size")) {
        const auto numbers = parseNumberList(*size, 2, "--size W,H");
        if (numbers[0] == 0 || numbers[1] == 0) {
            throw std::invalid_argument("--size: width and height must be at least 1");
        }
        request.outWidth = numbers[0];
        request.outHeight = numbers[1];
    }
    if (const auto bands = options.value("--bands")) {
        for (const uint32_t band : parseNumberList(*bands, 0, "--bands LIST")) {
            if (band >= image.getNumBands()) {
                throw std::invalid_argument(
                    "--bands: band " + std::to_string(band) + " doesn't exist (the image has " +
                    std::to_string(image.getNumBands()) + ", numbered from 0)");
            }
            request.bands.push_back(static_cast<int>(band));
        }
    } else {
        for (uint32_t band = 0; band < image.getNumBands(); ++band) {
            request.bands.push_back(static_cast<int>(band));
        }
    }
    return request;
}

// Output rows per read. A read resampled in height walks its source in spans whose phase
// depends on where the read starts, so only one whole read gives the nearest neighbours of
// the whole window: such reads are not cut into strips. `asked` (0 for a choice by size)
// overrides the size of the others.
uint32_t stripRowsFor(const ReadRequest& request, uint32_t bytesPerSample, uint32_t blockHeight,
                      uint32_t asked) {
    if (request.height != request.outHeight) {
        return request.outHeight;
    }
    if (asked != 0) {
        return std::min(asked, request.outHeight);
    }
    const uint64_t rowBytes =
        uint64_t{request.outWidth} * request.bands.size() * std::max(bytesPerSample, 1u);
    uint64_t rows = std::max<uint64_t>(1, strip_bytes / std::max<uint64_t>(rowBytes, 1));
    if (blockHeight > 0 && rows >= blockHeight) {
        rows -= rows % blockHeight;  // whole blocks: no tile is fetched by two strips
    } else if (blockHeight > 0 && uint64_t{blockHeight} * rowBytes <= 4 * strip_bytes) {
        rows = blockHeight;  // a row of blocks, when it isn't much more than a strip
    }
    return static_cast<uint32_t>(std::min<uint64_t>(rows, request.outHeight));
}

class Progress {
public:
    explicit Progress(bool shown) : shown_(shown) {}
    void show(uint64_t done, uint64_t total) const {
        if (!shown_) {
            return;
        }
        const int width = 40;
        const int filled = static_cast<int>(width * done / std::max<uint64_t>(total, 1));
        std::fprintf(stderr, "\rreading %3d%% [%s%s]", static_cast<int>(100 * done / total),
                     std::string(static_cast<size_t>(filled), '#').c_str(),
                     std::string(static_cast<size_t>(width - filled), ' ').c_str());
        if (done == total) {
            std::fprintf(stderr, "\n");
        }
        std::fflush(stderr);
    }

private:
    bool shown_;
};

// One pass reads no block twice once a strip has passed it: the tiles of blocks that end
// with the strip would only wait in the tile pool for their time to live, and a fast read of
// a large image would hold most of it. They are dropped when the strip ends on a block's
// last row.
void dropFinishedTiles(const Tessel::NITFImage& image, uint64_t sourceEnd) {
    const uint32_t blockHeight = image.getBlockHeight();
    if (blockHeight > 0 && sourceEnd % blockHeight == 0) {
        Tessel::TilePool::get()->clearCache(image.getTileFactory());
    }
}

void readInStrips(const Tessel::NITFImage& image, const ReadRequest& request, uint32_t stripRows,
                  RasterWriter& writer, TileAudit& audit) {
    const uint64_t height = request.height;
    const uint64_t outHeight = request.outHeight;
    const Progress progress(isatty(STDERR_FILENO) == 1 && stripRows < outHeight);
    std::vector<uint8_t> buffer;
    for (uint64_t first = 0; first < outHeight; first += stripRows) {
        const uint64_t last = std::min(outHeight, first + stripRows);
        const uint64_t sourceFirst = first * height / outHeight;
        const uint64_t sourceRows = last * height / outHeight - sourceFirst;
        const auto rows = static_cast<uint32_t>(last - first);
        if (!image.readRegionViaPixels(request.x, static_cast<uint32_t>(request.y + sourceFirst),
                                       request.width, static_cast<uint32_t>(sourceRows),
                                       request.outWidth, rows, request.bands, buffer)) {
            throw std::runtime_error("reading output rows " + std::to_string(first) + " to " +
                                     std::to_string(last - 1) + " failed");
        }
        writer.writeRows(static_cast<uint32_t>(first), rows, buffer.data());
        // The strip's tiles are still in the pool: they tell which of them failed.
        audit.add(auditTiles(image, request.bands, request.x,
                             static_cast<uint32_t>(request.y + sourceFirst), request.width,
                             static_cast<uint32_t>(sourceRows)));
        if (last < outHeight) {
            dropFinishedTiles(image, request.y + sourceFirst + sourceRows);
        }
        progress.show(last, outHeight);
    }
}

const Tessel::ColorMap* colorMapFor(const Tessel::NITFImage& image, const ReadRequest& request) {
    if (request.bands.size() != 1) {
        return nullptr;
    }
    return &image.getColorMap(static_cast<uint32_t>(request.bands[0]));
}

int runRead(const Arguments& arguments) {
    OptionWords options;
    try {
        options = parseOptions(arguments,
                               {"--window", "--size", "--bands", "--level", "--strip-rows", "-o"},
                               {"--allow-failed-tiles"});
    } catch (const std::invalid_argument& error) {
        return fail("read", error.what());
    }
    if (options.positional.size() != 1 || !options.value("-o")) {
        return fail("read", "expected one URI and -o FILE (see 'tessel read --help')");
    }
    try {
        const std::filesystem::path output = *options.value("-o");
        const Format format = formatOf(output);
        const uint32_t level =
            options.value("--level") ? parseUnsigned(*options.value("--level"), "--level") : 0;
        const OpenedImage opened = openImage(options.positional[0], level);
        const Tessel::NITFImage& image = *opened.image;
        const ReadRequest request = requestFor(options, image);
        const bool rgbImage = image.getColorInterpretation() == Tessel::eColorRed;
        const RasterLayout layout{request.outWidth,
                                  request.outHeight,
                                  static_cast<uint32_t>(request.bands.size()),
                                  image.getBytesPerPixel(),
                                  image.getPixelType(),
                                  rgbImage && request.bands.size() == 3};
        if (layout.bytesPerSample == 0 || layout.pixelType == lumo_pixel::unknown) {
            throw std::runtime_error("the image has no samples to read");
        }
        const uint32_t askedRows =
            options.value("--strip-rows")
                ? parseUnsigned(*options.value("--strip-rows"), "--strip-rows")
                : 0;
        const uint32_t stripRows =
            stripRowsFor(request, layout.bytesPerSample, image.getBlockHeight(), askedRows);
        TileAudit audit;
        try {
            const auto writer = format == Format::Png
                                    ? makePngWriter(output, layout, colorMapFor(image, request))
                                    : makeTiffWriter(output, layout, stripRows);
            readInStrips(image, request, stripRows, *writer, audit);
            writer->close();
        } catch (const std::exception&) {
            std::error_code ignored;
            std::filesystem::remove(output, ignored);  // no half-written file stays behind
            throw;
        }
        std::printf("%s: %u x %u, %u band(s) of %u bit(s)\n", output.string().c_str(), layout.width,
                    layout.height, layout.bands, layout.bytesPerSample * 8);
        return reportTiles("read", audit, options.has("--allow-failed-tiles"));
    } catch (const std::exception& error) {
        return fail("read", error.what());
    }
}

}  // namespace

Command readCommand() {
    return {"read",
            "read URI -o FILE [--window X,Y,W,H] [--size W,H] [--bands LIST] [--level N] "
            "[--strip-rows N] [--allow-failed-tiles]",
            "Read an image's pixels into a TIFF or PNG file (by the output's extension).",
            "The URI names the image with #IM_n (image 0 otherwise). --window takes a source\n"
            "rectangle (default: the whole image), --size the output size (default: the\n"
            "window's; nearest neighbour, through an overview when one fits), --bands a list\n"
            "of bands numbered from 0 (default: all), --level a pyramid level (default 0).\n"
            "TIFF keeps the sample type (integer, float or complex, of any width), one plane\n"
            "per band, uncompressed. PNG takes 8-bit samples of one band (grey, or RGB through\n"
            "the band's colour map when it has one) or of three bands (RGB); other band\n"
            "counts are refused. Images are read in strips of about 32 MB (--strip-rows sets\n"
            "the output rows of a strip), except that a read resampled in height is read at\n"
            "once; the tiles of blocks that a strip finishes are dropped once it is written,\n"
            "so that memory stays within a strip and the block pool. A progress bar shows\n"
            "on a terminal.\n"
            "Tiles that could not be decoded hold fill (0xFF for a failed tile, NoData or\n"
            "zeros for a missing block or a compression without decoder): their count and\n"
            "reasons go to standard error and the status is 3, unless --allow-failed-tiles\n"
            "is given. The tiles checked are those of the read level under the window.",
            runRead};
}

}  // namespace tessel_cli
