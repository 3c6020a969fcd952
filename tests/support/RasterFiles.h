#pragma once
// Reads back the TIFF and PNG files that the tessel command writes, with libtiff and libpng.

#include <png.h>
#include <tiffio.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <vector>

namespace tessel_test {

struct TiffRaster {
    bool ok = false;
    uint32_t width = 0, height = 0;
    uint16_t samples = 0, bits = 0, format = 0, planar = 0, photometric = 0;
    uint64_t strips = 0;
    bool bigTiff = false;
    // One plane per sample, rows of width samples of bits / 8 bytes each.
    std::vector<std::vector<uint8_t>> planes;

    template <typename T>
    T at(size_t plane, uint32_t row, uint32_t column) const {
        T value{};
        std::memcpy(&value, planes[plane].data() + (size_t{row} * width + column) * sizeof(T),
                    sizeof(T));
        return value;
    }
};

inline TiffRaster readTiff(const std::filesystem::path& path) {
    TiffRaster raster;
    TIFF* tiff = TIFFOpen(path.c_str(), "r");
    if (tiff == nullptr) {
        return raster;
    }
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &raster.width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &raster.height);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &raster.samples);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &raster.bits);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLEFORMAT, &raster.format);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_PLANARCONFIG, &raster.planar);
    TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &raster.photometric);
    raster.strips = TIFFNumberOfStrips(tiff);
    raster.bigTiff = TIFFIsBigTIFF(tiff) != 0;
    const size_t sampleBytes = raster.bits / 8;
    const size_t rowBytes = size_t{raster.width} * sampleBytes;
    raster.planes.assign(raster.samples, std::vector<uint8_t>(rowBytes * raster.height));
    std::vector<uint8_t> line(static_cast<size_t>(TIFFScanlineSize(tiff)));
    for (uint16_t plane = 0; plane < raster.samples; ++plane) {
        for (uint32_t row = 0; row < raster.height; ++row) {
            const bool separate = raster.planar == PLANARCONFIG_SEPARATE;
            if (TIFFReadScanline(tiff, line.data(), row, separate ? plane : 0) != 1) {
                TIFFClose(tiff);
                return raster;
            }
            for (uint32_t column = 0; column < raster.width; ++column) {
                const size_t from = separate ? column * sampleBytes
                                             : (column * raster.samples + plane) * sampleBytes;
                std::memcpy(raster.planes[plane].data() + row * rowBytes + column * sampleBytes,
                            line.data() + from, sampleBytes);
            }
        }
    }
    TIFFClose(tiff);
    raster.ok = true;
    return raster;
}

struct PngRaster {
    bool ok = false;
    uint32_t width = 0, height = 0;
    int channels = 0, bitDepth = 0, colourType = 0;
    std::vector<uint8_t> pixels;  // interleaved rows

    uint8_t at(uint32_t row, uint32_t column, int channel) const {
        return pixels[(size_t{row} * width + column) * static_cast<size_t>(channels) +
                      static_cast<size_t>(channel)];
    }
};

namespace detail {
// Kept apart from any C++ object, since libpng leaves by longjmp on errors.
inline bool readPngRows(png_structp png, png_infop info, FILE* file, PngRaster* raster,
                        std::vector<png_bytep>* rows) {
    if (setjmp(png_jmpbuf(png)) != 0) {
        return false;
    }
    png_init_io(png, file);
    png_read_info(png, info);
    raster->width = png_get_image_width(png, info);
    raster->height = png_get_image_height(png, info);
    raster->channels = png_get_channels(png, info);
    raster->bitDepth = png_get_bit_depth(png, info);
    raster->colourType = png_get_color_type(png, info);
    raster->pixels.resize(size_t{raster->width} * raster->height *
                          static_cast<size_t>(raster->channels) * (raster->bitDepth > 8 ? 2 : 1));
    rows->resize(raster->height);
    for (uint32_t row = 0; row < raster->height; ++row) {
        (*rows)[row] = raster->pixels.data() + png_get_rowbytes(png, info) * row;
    }
    png_read_image(png, rows->data());
    png_read_end(png, nullptr);
    return true;
}
}  // namespace detail

inline PngRaster readPng(const std::filesystem::path& path) {
    PngRaster raster;
    FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) {
        return raster;
    }
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
    std::vector<png_bytep> rows;
    raster.ok = info != nullptr && detail::readPngRows(png, info, file, &raster, &rows);
    png_destroy_read_struct(&png, info != nullptr ? &info : nullptr, nullptr);
    std::fclose(file);
    return raster;
}

}  // namespace tessel_test
