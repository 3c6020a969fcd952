#include "tools/RasterOutput.h"

#include <png.h>
#include <tiffio.h>

#include <algorithm>
#include <array>
#include <csetjmp>
#include <cstdarg>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

namespace tessel_cli {
namespace {

// libtiff reports through handlers; the last error becomes the text of the exception.
thread_local std::string lastTiffError;

void keepTiffError(const char* module, const char* format, va_list args) {
    char text[512];
    std::vsnprintf(text, sizeof text, format, args);
    lastTiffError = (module != nullptr ? std::string(module) + ": " : std::string()) + text;
}

void ignoreTiffWarning(const char*, const char*, va_list) {}

uint16_t sampleFormat(lumo_pixel::type type) {
    switch (type) {
        case lumo_pixel::signed_integer:
            return SAMPLEFORMAT_INT;
        case lumo_pixel::real:
            return SAMPLEFORMAT_IEEEFP;
        case lumo_pixel::complex_integer:
            return SAMPLEFORMAT_COMPLEXINT;
        case lumo_pixel::complex_float:
            return SAMPLEFORMAT_COMPLEXIEEEFP;
        default:
            return SAMPLEFORMAT_UINT;
    }
}

class TiffWriter final : public RasterWriter {
public:
    TiffWriter(const std::filesystem::path& path, const RasterLayout& layout, uint32_t stripRows)
        : layout_(layout), stripRows_(stripRows) {
        TIFFSetErrorHandler(keepTiffError);
        TIFFSetWarningHandler(ignoreTiffWarning);
        const uint64_t bytes =
            uint64_t{layout.width} * layout.height * layout.bands * layout.bytesPerSample;
        const bool big = bytes > (uint64_t{4} << 30) - (uint64_t{64} << 20);
        tiff_ = TIFFOpen(path.c_str(), big ? "w8" : "w");
        if (tiff_ == nullptr) {
            throw std::runtime_error("can't create " + path.string() + ": " + lastTiffError);
        }
        writeTags();
    }

    ~TiffWriter() override {
        if (tiff_ != nullptr) {
            TIFFClose(tiff_);
        }
    }

    void writeRows(uint32_t firstRow, uint32_t rows, const uint8_t* planes) override {
        const uint32_t stripsPerBand = (layout_.height + stripRows_ - 1) / stripRows_;
        const tmsize_t planeBytes =
            static_cast<tmsize_t>(rows) * layout_.width * layout_.bytesPerSample;
        for (uint32_t band = 0; band < layout_.bands; ++band) {
            const uint32_t strip = band * stripsPerBand + firstRow / stripRows_;
            auto* data = const_cast<uint8_t*>(planes + band * planeBytes);
            if (TIFFWriteEncodedStrip(tiff_, strip, data, planeBytes) != planeBytes) {
                throw std::runtime_error("writing TIFF strip failed: " + lastTiffError);
            }
        }
    }

    void close() override {
        TIFF* tiff = tiff_;
        tiff_ = nullptr;
        if (TIFFFlush(tiff) != 1) {
            TIFFClose(tiff);
            throw std::runtime_error("writing TIFF failed: " + lastTiffError);
        }
        TIFFClose(tiff);
    }

private:
    void writeTags() {
        const uint16_t bands = static_cast<uint16_t>(layout_.bands);
        TIFFSetField(tiff_, TIFFTAG_IMAGEWIDTH, layout_.width);
        TIFFSetField(tiff_, TIFFTAG_IMAGELENGTH, layout_.height);
        TIFFSetField(tiff_, TIFFTAG_SAMPLESPERPIXEL, bands);
        TIFFSetField(tiff_, TIFFTAG_BITSPERSAMPLE,
                     static_cast<uint16_t>(layout_.bytesPerSample * 8));
        TIFFSetField(tiff_, TIFFTAG_SAMPLEFORMAT, sampleFormat(layout_.pixelType));
        TIFFSetField(tiff_, TIFFTAG_PLANARCONFIG,
                     bands > 1 ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
        TIFFSetField(tiff_, TIFFTAG_PHOTOMETRIC,
                     layout_.rgb ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
        TIFFSetField(tiff_, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
        TIFFSetField(tiff_, TIFFTAG_ROWSPERSTRIP, stripRows_);
        const uint16_t colourSamples = layout_.rgb ? 3 : 1;
        if (bands > colourSamples) {
            const std::vector<uint16_t> extra(bands - colourSamples, EXTRASAMPLE_UNSPECIFIED);
            TIFFSetField(tiff_, TIFFTAG_EXTRASAMPLES, static_cast<uint16_t>(extra.size()),
                         extra.data());
        }
    }

    RasterLayout layout_;
    uint32_t stripRows_;
    TIFF* tiff_ = nullptr;
};

// libpng leaves by longjmp; the message is kept for the exception thrown afterwards.
thread_local std::string lastPngError;

void keepPngError(png_structp png, png_const_charp message) {
    lastPngError = message != nullptr ? message : "unknown error";
    png_longjmp(png, 1);
}

void ignorePngWarning(png_structp, png_const_charp) {}

// Each call into libpng sits in a function of its own with a plain frame, so that a
// longjmp out of libpng skips no destructor.
bool startPng(png_structp png, png_infop info, FILE* file, uint32_t width, uint32_t height,
              int colourType) {
    if (setjmp(png_jmpbuf(png)) != 0) {
        return false;
    }
    png_init_io(png, file);
    png_set_IHDR(png, info, width, height, 8, colourType, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    return true;
}

bool writePngRow(png_structp png, const uint8_t* row) {
    if (setjmp(png_jmpbuf(png)) != 0) {
        return false;
    }
    png_write_row(png, row);
    return true;
}

bool endPng(png_structp png, png_infop info) {
    if (setjmp(png_jmpbuf(png)) != 0) {
        return false;
    }
    png_write_end(png, info);
    return true;
}

// How one output pixel is made from the band samples of a row.
enum class PngMode { Grey, Rgb, Palette, GreyTable };

class PngWriter final : public RasterWriter {
public:
    PngWriter(const RasterLayout& layout, const Tessel::ColorMap* colorMap) : layout_(layout) {
        chooseMode(colorMap);
    }

    // Separate from the constructor, so that the destructor cleans up after a failure.
    void open(const std::filesystem::path& path) {
        file_ = std::fopen(path.c_str(), "wb");
        if (file_ == nullptr) {
            throw std::runtime_error("can't create " + path.string());
        }
        png_ =
            png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, keepPngError, ignorePngWarning);
        info_ = png_ != nullptr ? png_create_info_struct(png_) : nullptr;
        if (info_ == nullptr) {
            throw std::runtime_error("libpng can't start");
        }
        const bool colour = mode_ == PngMode::Rgb || mode_ == PngMode::Palette;
        if (!startPng(png_, info_, file_, layout_.width, layout_.height,
                      colour ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY)) {
            throw std::runtime_error("writing PNG failed: " + lastPngError);
        }
        row_.resize(size_t{layout_.width} * (colour ? 3 : 1));
    }

    ~PngWriter() override {
        if (png_ != nullptr) {
            png_destroy_write_struct(&png_, info_ != nullptr ? &info_ : nullptr);
        }
        if (file_ != nullptr) {
            std::fclose(file_);
        }
    }

    void writeRows(uint32_t, uint32_t rows, const uint8_t* planes) override {
        const size_t planeBytes = size_t{rows} * layout_.width;
        for (uint32_t r = 0; r < rows; ++r) {
            makeRow(planes + size_t{r} * layout_.width, planeBytes);
            if (!writePngRow(png_, row_.data())) {
                throw std::runtime_error("writing PNG failed: " + lastPngError);
            }
        }
    }

    void close() override {
        if (!endPng(png_, info_)) {
            throw std::runtime_error("writing PNG failed: " + lastPngError);
        }
        FILE* file = file_;
        file_ = nullptr;
        if (std::fclose(file) != 0) {
            throw std::runtime_error("writing PNG failed");
        }
    }

private:
    void chooseMode(const Tessel::ColorMap* colorMap) {
        mode_ = layout_.bands == 3 ? PngMode::Rgb : PngMode::Grey;
        if (layout_.bands != 1 || colorMap == nullptr) {
            return;
        }
        if (const auto* colours = std::get_if<std::vector<std::array<uint8_t, 3>>>(colorMap);
            colours != nullptr && !colours->empty()) {
            for (const auto& colour : *colours) {
                palette_.push_back(colour);
            }
            mode_ = PngMode::Palette;
        } else if (const auto* records = std::get_if<std::vector<std::array<uint8_t, 4>>>(colorMap);
                   records != nullptr && !records->empty()) {
            // An RPF colour record starts with red, green and blue.
            for (const auto& record : *records) {
                palette_.push_back({record[0], record[1], record[2]});
            }
            mode_ = PngMode::Palette;
        } else if (const auto* greys = std::get_if<std::vector<uint8_t>>(colorMap);
                   greys != nullptr && !greys->empty()) {
            greys_ = *greys;
            mode_ = PngMode::GreyTable;
        }
    }

    // An index beyond the table shows black.
    void makeRow(const uint8_t* first, size_t planeBytes) {
        const uint32_t width = layout_.width;
        switch (mode_) {
            case PngMode::Grey:
                std::copy(first, first + width, row_.begin());
                break;
            case PngMode::Rgb:
                for (uint32_t i = 0; i < width; ++i) {
                    for (size_t band = 0; band < 3; ++band) {
                        row_[size_t{i} * 3 + band] = first[band * planeBytes + i];
                    }
                }
                break;
            case PngMode::Palette:
                for (uint32_t i = 0; i < width; ++i) {
                    const std::array<uint8_t, 3> black{};
                    const auto& colour = first[i] < palette_.size() ? palette_[first[i]] : black;
                    std::copy(colour.begin(), colour.end(), row_.begin() + ptrdiff_t{i} * 3);
                }
                break;
            case PngMode::GreyTable:
                for (uint32_t i = 0; i < width; ++i) {
                    row_[i] = first[i] < greys_.size() ? greys_[first[i]] : 0;
                }
                break;
        }
    }

    RasterLayout layout_;
    PngMode mode_ = PngMode::Grey;
    std::vector<std::array<uint8_t, 3>> palette_;
    std::vector<uint8_t> greys_;
    std::vector<uint8_t> row_;
    FILE* file_ = nullptr;
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
};

}  // namespace

std::unique_ptr<RasterWriter> makeTiffWriter(const std::filesystem::path& path,
                                             const RasterLayout& layout, uint32_t stripRows) {
    return std::make_unique<TiffWriter>(path, layout, stripRows);
}

std::string pngRefusal(const RasterLayout& layout) {
    const bool eightBit =
        layout.bytesPerSample == 1 && (layout.pixelType == lumo_pixel::unsigned_integer ||
                                       layout.pixelType == lumo_pixel::bilevel);
    if (!eightBit) {
        return "PNG takes 8-bit unsigned samples only; write a .tif for this image";
    }
    if (layout.bands != 1 && layout.bands != 3) {
        return "PNG takes one band (grey) or three (RGB); choose them with --bands, or write "
               "a .tif";
    }
    return {};
}

std::unique_ptr<RasterWriter> makePngWriter(const std::filesystem::path& path,
                                            const RasterLayout& layout,
                                            const Tessel::ColorMap* colorMap) {
    if (const std::string refusal = pngRefusal(layout); !refusal.empty()) {
        throw std::runtime_error(refusal);
    }
    auto writer = std::make_unique<PngWriter>(layout, colorMap);
    writer->open(path);
    return writer;
}

}  // namespace tessel_cli
