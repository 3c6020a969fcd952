#include "tools/RasterInput.h"

#include <png.h>
#include <tiffio.h>

#include <algorithm>
#include <csetjmp>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>

namespace tessel_cli {
namespace {

// Dimensions beyond these are refused before anything is allocated.
constexpr uint32_t kMaxInputSide = 1u << 20;
constexpr uint32_t kMaxInputBands = 999;
constexpr uint64_t kMaxInputTilePixels = uint64_t{1} << 26;

thread_local std::string lastInputTiffError;

void keepInputTiffError(const char* module, const char* format, va_list args) {
    char text[512];
    std::vsnprintf(text, sizeof text, format, args);
    lastInputTiffError = (module != nullptr ? std::string(module) + ": " : std::string()) + text;
}

void ignoreInputTiffWarning(const char*, const char*, va_list) {}

[[noreturn]] void refuseInput(const std::filesystem::path& path, const std::string& why) {
    throw std::runtime_error(path.string() + ": " + why);
}

void checkInputShape(const std::filesystem::path& path, uint32_t width, uint32_t height,
                     uint32_t bands) {
    if (width == 0 || height == 0 || width > kMaxInputSide || height > kMaxInputSide) {
        refuseInput(path, "an image of " + std::to_string(width) + "x" + std::to_string(height) +
                              " pixels can't be converted");
    }
    if (bands == 0 || bands > kMaxInputBands) {
        refuseInput(path, std::to_string(bands) + " bands can't be converted");
    }
}

// Appends `rows` rows of pixel-interleaved samples to the planes.
void appendInterleavedRows(RasterImage& image, const uint8_t* data, size_t pixels, size_t rowPixels,
                           uint32_t rows) {
    const size_t bands = image.planes.size();
    const size_t sample = image.bitsPerSample / 8;
    for (size_t band = 0; band < bands; ++band) {
        std::vector<uint8_t>& plane = image.planes[band];
        const size_t start = plane.size();
        plane.resize(start + size_t{rows} * pixels * sample);
        uint8_t* out = plane.data() + start;
        for (uint32_t row = 0; row < rows; ++row) {
            const uint8_t* in = data + (size_t{row} * rowPixels * bands + band) * sample;
            for (size_t x = 0; x < pixels; ++x) {
                std::memcpy(out, in, sample);
                out += sample;
                in += bands * sample;
            }
        }
    }
}

struct InputTiffCloser {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};

lumo_pixel::type inputTiffPixelType(uint16_t format, uint16_t bits) {
    if (format == SAMPLEFORMAT_IEEEFP) {
        return bits == 32 ? lumo_pixel::real : lumo_pixel::unknown;
    }
    if (format == SAMPLEFORMAT_INT) {
        return lumo_pixel::signed_integer;
    }
    return format == SAMPLEFORMAT_UINT || format == 0 ? lumo_pixel::unsigned_integer
                                                      : lumo_pixel::unknown;
}

void readInputTiffStrips(TIFF* tiff, const std::filesystem::path& path, RasterImage& image,
                         bool planar) {
    const tmsize_t lineBytes = TIFFScanlineSize(tiff);
    const size_t bands = image.planes.size();
    const size_t sample = image.bitsPerSample / 8;
    const size_t expected = size_t{image.width} * sample * (planar ? 1 : bands);
    if (lineBytes <= 0 || static_cast<size_t>(lineBytes) != expected) {
        refuseInput(path, "unexpected row size");
    }
    std::vector<uint8_t> line(static_cast<size_t>(lineBytes));
    const size_t passes = planar ? bands : 1;
    for (size_t pass = 0; pass < passes; ++pass) {
        for (uint32_t row = 0; row < image.height; ++row) {
            if (TIFFReadScanline(tiff, line.data(), row, static_cast<uint16_t>(pass)) < 0) {
                refuseInput(path,
                            "row " + std::to_string(row) + " can't be read: " + lastInputTiffError);
            }
            if (planar) {
                auto& plane = image.planes[pass];
                plane.insert(plane.end(), line.begin(), line.end());
            } else {
                appendInterleavedRows(image, line.data(), image.width, image.width, 1);
            }
        }
    }
}

void readInputTiffTiles(TIFF* tiff, const std::filesystem::path& path, RasterImage& image,
                        bool planar) {
    uint32_t tileWidth = 0;
    uint32_t tileLength = 0;
    TIFFGetField(tiff, TIFFTAG_TILEWIDTH, &tileWidth);
    TIFFGetField(tiff, TIFFTAG_TILELENGTH, &tileLength);
    const size_t bands = image.planes.size();
    const size_t sample = image.bitsPerSample / 8;
    const size_t tileBands = planar ? 1 : bands;
    if (tileWidth == 0 || tileLength == 0 ||
        uint64_t{tileWidth} * tileLength * tileBands > kMaxInputTilePixels ||
        TIFFTileSize(tiff) !=
            static_cast<tmsize_t>(size_t{tileWidth} * tileLength * tileBands * sample)) {
        refuseInput(path, "unexpected tile layout");
    }
    std::vector<uint8_t> tile(static_cast<size_t>(TIFFTileSize(tiff)));
    // One tile row at a time, in the interleaving of the file.
    std::vector<uint8_t> rows;
    for (size_t pass = 0; pass < (planar ? bands : 1); ++pass) {
        for (uint32_t y = 0; y < image.height; y += tileLength) {
            const uint32_t height = std::min(tileLength, image.height - y);
            const size_t rowBytes = size_t{image.width} * tileBands * sample;
            rows.assign(rowBytes * height, 0);
            for (uint32_t x = 0; x < image.width; x += tileWidth) {
                if (TIFFReadTile(tiff, tile.data(), x, y, 0, static_cast<uint16_t>(pass)) < 0) {
                    refuseInput(path, "a tile can't be read: " + lastInputTiffError);
                }
                const size_t width = std::min(tileWidth, image.width - x) * tileBands * sample;
                for (uint32_t row = 0; row < height; ++row) {
                    std::memcpy(rows.data() + row * rowBytes + x * tileBands * sample,
                                tile.data() + size_t{row} * tileWidth * tileBands * sample, width);
                }
            }
            if (planar) {
                auto& plane = image.planes[pass];
                plane.insert(plane.end(), rows.begin(), rows.end());
            } else {
                appendInterleavedRows(image, rows.data(), image.width, image.width, height);
            }
        }
    }
}

RasterImage readInputTiff(const std::filesystem::path& path) {
    TIFFSetErrorHandler(keepInputTiffError);
    TIFFSetWarningHandler(ignoreInputTiffWarning);
    const std::unique_ptr<TIFF, InputTiffCloser> tiff(TIFFOpen(path.c_str(), "r"));
    if (!tiff) {
        refuseInput(path, "not a readable TIFF: " + lastInputTiffError);
    }
    uint32_t width = 0;
    uint32_t height = 0;
    uint16_t bands = 1;
    uint16_t bits = 1;
    uint16_t format = SAMPLEFORMAT_UINT;
    uint16_t planarConfig = PLANARCONFIG_CONTIG;
    uint16_t photometric = PHOTOMETRIC_MINISBLACK;
    TIFFGetField(tiff.get(), TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tiff.get(), TIFFTAG_IMAGELENGTH, &height);
    TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, &bands);
    TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_SAMPLEFORMAT, &format);
    TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_PLANARCONFIG, &planarConfig);
    TIFFGetField(tiff.get(), TIFFTAG_PHOTOMETRIC, &photometric);
    checkInputShape(path, width, height, bands);
    RasterImage image;
    image.width = width;
    image.height = height;
    image.bitsPerSample = bits;
    image.pixelType = inputTiffPixelType(format, bits);
    if ((bits != 8 && bits != 16 && bits != 32) || image.pixelType == lumo_pixel::unknown) {
        refuseInput(path, std::to_string(bits) + "-bit samples of format " +
                              std::to_string(format) + " can't be converted");
    }
    if (photometric == PHOTOMETRIC_PALETTE || photometric == PHOTOMETRIC_YCBCR) {
        refuseInput(path, "palette and YCbCr TIFFs can't be converted");
    }
    image.colour = photometric == PHOTOMETRIC_RGB && bands >= 3;
    image.planes.resize(bands);
    const bool planar = planarConfig == PLANARCONFIG_SEPARATE && bands > 1;
    if (TIFFIsTiled(tiff.get()) != 0) {
        readInputTiffTiles(tiff.get(), path, image, planar);
    } else {
        readInputTiffStrips(tiff.get(), path, image, planar);
    }
    return image;
}

thread_local std::string lastInputPngError;

void keepInputPngError(png_structp png, png_const_charp message) {
    lastInputPngError = message != nullptr ? message : "unknown error";
    png_longjmp(png, 1);
}

void ignoreInputPngWarning(png_structp, png_const_charp) {}

struct InputPngHeader {
    png_uint_32 width = 0;
    png_uint_32 height = 0;
    int depth = 0;
    int colourType = 0;
    int interlace = 0;
    int channels = 0;
};

// Each call into libpng sits in a function with a plain frame, so that a longjmp out of
// libpng skips no destructor.
bool readInputPngHeader(png_structp png, png_infop info, FILE* file, InputPngHeader& header) {
    if (setjmp(png_jmpbuf(png)) != 0) {
        return false;
    }
    png_init_io(png, file);
    png_set_user_limits(png, kMaxInputSide, kMaxInputSide);
    png_read_info(png, info);
    png_get_IHDR(png, info, &header.width, &header.height, &header.depth, &header.colourType,
                 &header.interlace, nullptr, nullptr);
    if (header.colourType == PNG_COLOR_TYPE_PALETTE) {
        png_set_palette_to_rgb(png);
    }
    if (header.colourType == PNG_COLOR_TYPE_GRAY && header.depth < 8) {
        png_set_expand_gray_1_2_4_to_8(png);
    }
    if (header.depth == 16) {
        png_set_swap(png);  // host order on this little-endian machine
    }
    png_read_update_info(png, info);
    header.channels = png_get_channels(png, info);
    header.depth = png_get_bit_depth(png, info);
    return true;
}

bool readInputPngRow(png_structp png, png_bytep row) {
    if (setjmp(png_jmpbuf(png)) != 0) {
        return false;
    }
    png_read_row(png, row, nullptr);
    return true;
}

struct InputPngReader {
    png_structp png = nullptr;
    png_infop info = nullptr;
    FILE* file = nullptr;
    InputPngReader() = default;
    InputPngReader(const InputPngReader&) = delete;
    InputPngReader& operator=(const InputPngReader&) = delete;
    ~InputPngReader() {
        png_destroy_read_struct(&png, info != nullptr ? &info : nullptr, nullptr);
        if (file != nullptr) {
            std::fclose(file);
        }
    }
};

RasterImage readInputPng(const std::filesystem::path& path) {
    InputPngReader reader;
    reader.file = std::fopen(path.c_str(), "rb");
    if (reader.file == nullptr) {
        refuseInput(path, std::strerror(errno));
    }
    reader.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, keepInputPngError,
                                        ignoreInputPngWarning);
    reader.info = reader.png != nullptr ? png_create_info_struct(reader.png) : nullptr;
    if (reader.info == nullptr) {
        refuseInput(path, "libpng can't start");
    }
    InputPngHeader header;
    if (!readInputPngHeader(reader.png, reader.info, reader.file, header)) {
        refuseInput(path, "not a readable PNG: " + lastInputPngError);
    }
    if (header.interlace != PNG_INTERLACE_NONE) {
        refuseInput(path, "interlaced PNGs can't be converted");
    }
    checkInputShape(path, header.width, header.height, static_cast<uint32_t>(header.channels));
    RasterImage image;
    image.width = header.width;
    image.height = header.height;
    image.bitsPerSample = static_cast<uint32_t>(header.depth);
    image.pixelType = lumo_pixel::unsigned_integer;
    image.colour = header.channels >= 3;
    image.planes.resize(static_cast<size_t>(header.channels));
    const size_t sample = image.bitsPerSample / 8;
    std::vector<uint8_t> row(size_t{image.width} * image.planes.size() * sample);
    for (uint32_t y = 0; y < image.height; ++y) {
        if (!readInputPngRow(reader.png, row.data())) {
            refuseInput(path, "row " + std::to_string(y) + " can't be read: " + lastInputPngError);
        }
        appendInterleavedRows(image, row.data(), image.width, image.width, 1);
    }
    return image;
}

}  // namespace

RasterImage readRaster(const std::filesystem::path& path) {
    char magic[8] = {};
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        refuseInput(path, std::strerror(errno));
    }
    in.read(magic, sizeof magic);
    if (in.gcount() == sizeof magic &&
        png_sig_cmp(reinterpret_cast<png_const_bytep>(magic), 0, sizeof magic) == 0) {
        return readInputPng(path);
    }
    const bool tiff =
        in.gcount() >= 4 && (std::memcmp(magic, "II", 2) == 0 || std::memcmp(magic, "MM", 2) == 0);
    if (!tiff) {
        refuseInput(path, "neither a TIFF nor a PNG");
    }
    return readInputTiff(path);
}

}  // namespace tessel_cli
