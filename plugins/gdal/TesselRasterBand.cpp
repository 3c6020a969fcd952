#include "TesselRasterBand.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <type_traits>
#include <variant>

namespace tessel_gdal {

GDALDataType gdalDataType(lumo_pixel::type type, uint32_t bytesPerSample) {
    switch (type) {
        case lumo_pixel::unsigned_integer:
        case lumo_pixel::bilevel:
            return bytesPerSample == 1   ? GDT_Byte
                   : bytesPerSample == 2 ? GDT_UInt16
                   : bytesPerSample == 4 ? GDT_UInt32
                   : bytesPerSample == 8 ? GDT_UInt64
                                         : GDT_Unknown;
        case lumo_pixel::signed_integer:
            // GDAL 3.6 has no signed byte type: such bands are Byte marked SIGNEDBYTE.
            return bytesPerSample == 1   ? GDT_Byte
                   : bytesPerSample == 2 ? GDT_Int16
                   : bytesPerSample == 4 ? GDT_Int32
                   : bytesPerSample == 8 ? GDT_Int64
                                         : GDT_Unknown;
        case lumo_pixel::real:
            return bytesPerSample == 4   ? GDT_Float32
                   : bytesPerSample == 8 ? GDT_Float64
                                         : GDT_Unknown;
        case lumo_pixel::complex_integer:
            return bytesPerSample == 4   ? GDT_CInt16
                   : bytesPerSample == 8 ? GDT_CInt32
                                         : GDT_Unknown;
        case lumo_pixel::complex_float:
            return bytesPerSample == 8    ? GDT_CFloat32
                   : bytesPerSample == 16 ? GDT_CFloat64
                                          : GDT_Unknown;
        default:
            return GDT_Unknown;
    }
}

TesselRasterBand::TesselRasterBand(GDALDataset* dataset, std::shared_ptr<Tessel::NITFImage> image,
                                   int band)
    : image_(std::move(image)), band_(band) {
    poDS = dataset;
    nBand = band + 1;
    nRasterXSize = static_cast<int>(image_->getWidth());
    nRasterYSize = static_cast<int>(image_->getHeight());
    eDataType = gdalDataType(image_->getPixelType(), image_->getBytesPerPixel());
    nBlockXSize =
        static_cast<int>(std::clamp<uint32_t>(image_->getBlockWidth(), 1, image_->getWidth()));
    nBlockYSize =
        static_cast<int>(std::clamp<uint32_t>(image_->getBlockHeight(), 1, image_->getHeight()));
    eAccess = GA_ReadOnly;
    makeColorTable();
}

TesselRasterBand::~TesselRasterBand() = default;

void TesselRasterBand::addOverview(std::unique_ptr<TesselRasterBand> overview) {
    overviews_.push_back(std::move(overview));
}

CPLErr TesselRasterBand::IReadBlock(int blockX, int blockY, void* data) {
    const int sampleBytes = GDALGetDataTypeSizeBytes(eDataType);
    const size_t blockBytes = size_t(nBlockXSize) * nBlockYSize * sampleBytes;
    std::memset(data, 0, blockBytes);  // the part of an edge block outside the image
    const int x = blockX * nBlockXSize;
    const int y = blockY * nBlockYSize;
    const int width = std::min(nBlockXSize, nRasterXSize - x);
    const int height = std::min(nBlockYSize, nRasterYSize - y);
    if (width <= 0 || height <= 0) {
        return CE_None;
    }
    std::vector<uint8_t> samples;
    try {
        if (!image_->readRegionViaPixels(x, y, width, height, width, height, {band_}, samples)) {
            CPLError(CE_Failure, CPLE_AppDefined, "TESSEL: reading block %d, %d failed", blockX,
                     blockY);
            return CE_Failure;
        }
    } catch (const std::exception& error) {
        CPLError(CE_Failure, CPLE_AppDefined, "TESSEL: %s", error.what());
        return CE_Failure;
    }
    const size_t rowBytes = size_t(width) * sampleBytes;
    if (samples.size() < rowBytes * height) {
        CPLError(CE_Failure, CPLE_AppDefined, "TESSEL: block %d, %d came short", blockX, blockY);
        return CE_Failure;
    }
    auto* out = static_cast<uint8_t*>(data);
    for (int row = 0; row < height; ++row) {
        std::memcpy(out + size_t(row) * nBlockXSize * sampleBytes, samples.data() + row * rowBytes,
                    rowBytes);
    }
    return CE_None;
}

double TesselRasterBand::GetNoDataValue(int* hasNoData) {
    const lumo_pixel::pixel value = image_->getNoData();
    if (hasNoData != nullptr) {
        *hasNoData = value.isNone() ? FALSE : TRUE;
    }
    return value.isNone() ? 0.0 : value.asDouble();
}

GDALColorInterp TesselRasterBand::GetColorInterpretation() {
    if (colorTable_) {
        return GCI_PaletteIndex;
    }
    if (image_->getColorInterpretation() == Tessel::eColorRed && image_->getNumBands() == 3) {
        return static_cast<GDALColorInterp>(GCI_RedBand + band_);
    }
    return image_->getNumBands() == 1 ? GCI_GrayIndex : GCI_Undefined;
}

GDALColorTable* TesselRasterBand::GetColorTable() {
    return colorTable_.get();
}

int TesselRasterBand::GetOverviewCount() {
    return static_cast<int>(overviews_.size());
}

GDALRasterBand* TesselRasterBand::GetOverview(int index) {
    if (index < 0 || index >= GetOverviewCount()) {
        return nullptr;
    }
    return overviews_[static_cast<size_t>(index)].get();
}

void TesselRasterBand::makeColorTable() {
    std::unique_ptr<GDALColorTable> table = std::make_unique<GDALColorTable>();
    std::visit(
        [&table](const auto& entries) {
            using Entries = std::decay_t<decltype(entries)>;
            if constexpr (std::is_same_v<Entries, std::monostate>) {
                table.reset();
            } else {
                int index = 0;
                for (const auto& entry : entries) {
                    GDALColorEntry colour{};
                    if constexpr (std::is_same_v<Entries, std::vector<uint8_t>>) {
                        colour = {entry, entry, entry, 255};
                    } else {
                        colour.c1 = entry[0];
                        colour.c2 = entry[1];
                        colour.c3 = entry[2];
                        colour.c4 = 255;
                        if constexpr (std::tuple_size_v < typename Entries::value_type >> 3) {
                            colour.c4 = entry[3];
                        }
                    }
                    table->SetColorEntry(index++, &colour);
                }
            }
        },
        image_->getColorMap(static_cast<uint32_t>(band_)));
    colorTable_ = std::move(table);
}

}  // namespace tessel_gdal
