#pragma once
// The TESSEL driver's dataset: one image segment of a file the library opens, with its bands,
// the pyramid levels as overviews, metadata domains from the file's metadata, RPC metadata
// and GCPs from the image corners. Read-only.
//
// Names: "file.ntf" opens image 0 and lists every image as a subdataset when there are
// several; "TESSEL_IM:n:file.ntf" opens image n.

#include <gdal_priv.h>
#include <ogr_spatialref.h>

#include <memory>
#include <string>
#include <vector>

#include "tessel/file/NITFFileContext.h"
#include "tessel/image/NITFImage.h"

namespace tessel_gdal {

inline constexpr const char* kSubdatasetPrefix = "TESSEL_IM:";

class TesselDataset final : public GDALDataset {
public:
    static int Identify(GDALOpenInfo* info);
    static GDALDataset* Open(GDALOpenInfo* info);

    TesselDataset(Tessel::NITFFileContext context, std::shared_ptr<Tessel::NITFImage> image);
    ~TesselDataset() override;

    TesselDataset(const TesselDataset&) = delete;
    TesselDataset& operator=(const TesselDataset&) = delete;

    int GetGCPCount() override;
    const OGRSpatialReference* GetGCPSpatialRef() const override;
    const GDAL_GCP* GetGCPs() override;

private:
    void addBands();
    void addSubdatasets(const std::string& path, size_t count);
    void addMetadata(size_t index);
    void addRpcMetadata();
    void addGcps();

    Tessel::NITFFileContext context_;
    std::shared_ptr<Tessel::NITFImage> image_;
    std::vector<GDAL_GCP> gcps_;
    OGRSpatialReference gcpSrs_;
};

}  // namespace tessel_gdal
