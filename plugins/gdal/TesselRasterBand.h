#pragma once
// One band of an image (or of one of its pyramid levels) as GDAL sees it: blocks read from the
// library's pixel reads, NoData, colour table and the pyramid levels as overviews.

#include <gdal_priv.h>

#include <memory>
#include <vector>

#include "tessel/image/NITFImage.h"

namespace tessel_gdal {

// GDAL's type of the library's samples; GDT_Unknown when GDAL has none.
GDALDataType gdalDataType(lumo_pixel::type type, uint32_t bytesPerSample);

class TesselRasterBand final : public GDALRasterBand {
public:
    // `dataset` is null for an overview band. `band` counts from 0.
    TesselRasterBand(GDALDataset* dataset, std::shared_ptr<Tessel::NITFImage> image, int band);
    ~TesselRasterBand() override;

    TesselRasterBand(const TesselRasterBand&) = delete;
    TesselRasterBand& operator=(const TesselRasterBand&) = delete;

    void addOverview(std::unique_ptr<TesselRasterBand> overview);

    CPLErr IReadBlock(int blockX, int blockY, void* data) override;
    double GetNoDataValue(int* hasNoData) override;
    GDALColorInterp GetColorInterpretation() override;
    GDALColorTable* GetColorTable() override;
    int GetOverviewCount() override;
    GDALRasterBand* GetOverview(int index) override;

private:
    void makeColorTable();

    std::shared_ptr<Tessel::NITFImage> image_;
    int band_;
    std::unique_ptr<GDALColorTable> colorTable_;
    std::vector<std::unique_ptr<TesselRasterBand>> overviews_;
};

}  // namespace tessel_gdal
