// The entry point GDAL calls when it loads gdal_TESSEL.so from GDAL_DRIVER_PATH.

#include <gdal_priv.h>

#include "TesselDataset.h"

extern "C" void GDALRegister_TESSEL();

extern "C" void GDALRegister_TESSEL() {
    if (!GDAL_CHECK_VERSION("TESSEL")) {
        return;
    }
    if (GDALGetDriverByName("TESSEL") != nullptr) {
        return;
    }
    auto* driver = new GDALDriver();
    driver->SetDescription("TESSEL");
    driver->SetMetadataItem(GDAL_DCAP_RASTER, "YES");
    driver->SetMetadataItem(GDAL_DMD_LONGNAME, "NITF imagery read by TesselLib");
    driver->SetMetadataItem(GDAL_DMD_EXTENSIONS, "ntf nitf nsf ntf.r0 ntf.r1 ntf.r2 ntf.r3 ntf.r4");
    driver->SetMetadataItem(GDAL_DCAP_VIRTUALIO, "NO");
    driver->SetMetadataItem(GDAL_DMD_SUBDATASETS, "YES");
    driver->pfnIdentify = tessel_gdal::TesselDataset::Identify;
    driver->pfnOpen = tessel_gdal::TesselDataset::Open;
    GetGDALDriverManager()->RegisterDriver(driver);
}
