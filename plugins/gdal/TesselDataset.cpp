#include "TesselDataset.h"

#include <cpl_string.h>

#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <sstream>
#include <variant>

#include "TesselRasterBand.h"
#include "tessel/core/NITFMessages.h"
#include "tessel/core/NITFURI.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/image/ImageOptions.h"
#include "tessel/paths/StandardJson.h"
#include "tessel/platform/geo/nitf_igeolo.h"
#include "tessel/sensors/RPC00Model.h"

namespace tessel_gdal {
namespace {

struct DatasetName {
    std::string path;
    size_t index = 0;
    bool named = false;  // "TESSEL_IM:n:path"
};

std::optional<DatasetName> parseName(const char* filename) {
    const std::string name(filename);
    const std::string prefix(kSubdatasetPrefix);
    if (name.compare(0, prefix.size(), prefix) != 0) {
        return DatasetName{name, 0, false};
    }
    const size_t colon = name.find(':', prefix.size());
    if (colon == std::string::npos || colon == prefix.size()) {
        return std::nullopt;
    }
    const std::string digits = name.substr(prefix.size(), colon - prefix.size());
    if (digits.find_first_not_of("0123456789") != std::string::npos || digits.size() > 6) {
        return std::nullopt;
    }
    return DatasetName{name.substr(colon + 1), std::stoul(digits), true};
}

std::string joined(const Tessel::NITFMessages& messages) {
    std::string text;
    for (const auto& message : messages) {
        text += (text.empty() ? "" : "; ") + message;
    }
    return text;
}

Tessel::NITFURI uriOf(const DatasetName& name) {
    const std::string base = std::filesystem::current_path().string();
    Tessel::NITFURI uri{std::string_view(name.path), std::string_view(base)};
    uri.object_index(name.index, Tessel::FileObject::Image);
    return uri;
}

std::string trimmed(const std::string& text) {
    const size_t first = text.find_first_not_of(' ');
    if (first == std::string::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// Scalar fields of one header of the metadata tree as NITF_<field> items.
void addFieldItems(GDALMajorObject& object, const nlohmann::json& header) {
    if (!header.is_object()) {
        return;
    }
    for (const auto& [key, value] : header.items()) {
        if (value.is_string()) {
            object.SetMetadataItem(("NITF_" + key).c_str(),
                                   trimmed(value.get<std::string>()).c_str());
        }
    }
}

std::string numbers(const std::vector<double>& values) {
    std::ostringstream out;
    out.precision(15);
    for (size_t i = 0; i < values.size(); ++i) {
        out << (i ? " " : "") << values[i];
    }
    return out.str();
}

std::string number(double value) {
    std::ostringstream out;
    out.precision(15);
    out << value;
    return out.str();
}

}  // namespace

int TesselDataset::Identify(GDALOpenInfo* info) {
    if (STARTS_WITH_CI(info->pszFilename, kSubdatasetPrefix)) {
        return TRUE;
    }
    if (info->nHeaderBytes < 4 || info->pabyHeader == nullptr) {
        return FALSE;
    }
    const auto* header = reinterpret_cast<const char*>(info->pabyHeader);
    return STARTS_WITH(header, "NITF") || STARTS_WITH(header, "NSIF") ? TRUE : FALSE;
}

GDALDataset* TesselDataset::Open(GDALOpenInfo* info) {
    if (Identify(info) == FALSE) {
        return nullptr;
    }
    const std::optional<DatasetName> name = parseName(info->pszFilename);
    if (!name) {
        CPLError(CE_Failure, CPLE_OpenFailed, "TESSEL: %s is not TESSEL_IM:n:file",
                 info->pszFilename);
        return nullptr;
    }
    if (info->eAccess == GA_Update) {
        CPLError(CE_Failure, CPLE_NotSupported, "TESSEL: the driver reads only");
        return nullptr;
    }
    try {
        Tessel::NITFMessages messages;
        Tessel::NITFFileContext context = Tessel::NITFFactory::get().open(uriOf(*name), messages);
        if (!context) {
            CPLError(CE_Failure, CPLE_OpenFailed, "TESSEL: %s: %s", name->path.c_str(),
                     messages.empty() ? "not opened" : joined(messages).c_str());
            return nullptr;
        }
        const size_t count = context.getNumberImages();
        if (name->index >= count) {
            CPLError(CE_Failure, CPLE_OpenFailed, "TESSEL: no image %zu in %s (it has %zu)",
                     name->index, name->path.c_str(), count);
            return nullptr;
        }
        std::shared_ptr<Tessel::NITFImage> image = context.getImage(Tessel::ImageOptions{});
        if (!image ||
            gdalDataType(image->getPixelType(), image->getBytesPerPixel()) == GDT_Unknown ||
            image->getWidth() == 0 || image->getHeight() == 0 || image->getNumBands() == 0) {
            CPLError(CE_Failure, CPLE_OpenFailed, "TESSEL: image %zu of %s can't be read",
                     name->index, name->path.c_str());
            return nullptr;
        }
        auto dataset = std::make_unique<TesselDataset>(std::move(context), std::move(image));
        dataset->addBands();
        if (!name->named && count > 1) {
            dataset->addSubdatasets(name->path, count);
        }
        dataset->addMetadata(name->index);
        dataset->addRpcMetadata();
        dataset->addGcps();
        dataset->SetDescription(info->pszFilename);
        return dataset.release();
    } catch (const std::exception& error) {
        CPLError(CE_Failure, CPLE_OpenFailed, "TESSEL: %s: %s", name->path.c_str(), error.what());
        return nullptr;
    }
}

TesselDataset::TesselDataset(Tessel::NITFFileContext context,
                             std::shared_ptr<Tessel::NITFImage> image)
    : context_(std::move(context)), image_(std::move(image)) {
    nRasterXSize = static_cast<int>(image_->getWidth());
    nRasterYSize = static_cast<int>(image_->getHeight());
    eAccess = GA_ReadOnly;
}

TesselDataset::~TesselDataset() {
    if (!gcps_.empty()) {
        GDALDeinitGCPs(static_cast<int>(gcps_.size()), gcps_.data());
    }
}

void TesselDataset::addBands() {
    std::vector<std::shared_ptr<Tessel::NITFImage>> levels;
    for (uint32_t level = 1; level <= image_->getInternalPyramidLevels(); ++level) {
        auto found = image_->getPyramidLevel(level);
        if (!found) {
            found = image_->openPyramidLevel(level);
        }
        if (!found || found->getNumBands() != image_->getNumBands()) {
            break;
        }
        levels.push_back(std::move(found));
    }
    for (uint32_t band = 0; band < image_->getNumBands(); ++band) {
        auto raster = std::make_unique<TesselRasterBand>(this, image_, static_cast<int>(band));
        for (const auto& level : levels) {
            raster->addOverview(
                std::make_unique<TesselRasterBand>(nullptr, level, static_cast<int>(band)));
        }
        SetBand(static_cast<int>(band) + 1, raster.release());
    }
}

void TesselDataset::addSubdatasets(const std::string& path, size_t count) {
    CPLStringList items;
    for (size_t index = 0; index < count; ++index) {
        const std::string key = "SUBDATASET_" + std::to_string(index + 1);
        items.SetNameValue((key + "_NAME").c_str(),
                           (kSubdatasetPrefix + std::to_string(index) + ":" + path).c_str());
        items.SetNameValue((key + "_DESC").c_str(),
                           ("Image " + std::to_string(index) + " of " + path).c_str());
    }
    SetMetadata(items.List(), "SUBDATASETS");
}

// The default domain holds the file header's and the image subheader's fields (NITF_FTITLE,
// NITF_IID1...), "TRE" each TRE of the image as the JSON of its fields, "IMAGE_STRUCTURE"
// the compression and sample details, "xml:TESSEL" the whole metadata document.
void TesselDataset::addMetadata(size_t index) {
    const nlohmann::json tree =
        nlohmann::json::parse(Tessel::standardJsonEscapes(context_.getISD("JSON")), nullptr, false);
    if (tree.is_object()) {
        addFieldItems(*this, tree.value("FileHeader", nlohmann::json()));
        const nlohmann::json images = tree.value("Images", nlohmann::json::array());
        if (images.is_array() && index < images.size()) {
            addFieldItems(*this, images[index]);
            const nlohmann::json tres = images[index].value("TREs", nlohmann::json::object());
            for (const auto& [tag, fields] : tres.items()) {
                SetMetadataItem(tag.c_str(), fields.dump().c_str(), "TRE");
            }
        }
    }
    SetMetadataItem("COMPRESSION", Tessel::ToString(image_->getCompressionType()).data(),
                    "IMAGE_STRUCTURE");
    if (image_->getPixelType() == lumo_pixel::signed_integer && image_->getBytesPerPixel() == 1) {
        SetMetadataItem("PIXELTYPE", "SIGNEDBYTE", "IMAGE_STRUCTURE");
    }
    // Samples stored in fewer bits than their type (NBPP 1 or 12) can't exceed them; ABPP
    // isn't trusted for this: files hold larger values than it says.
    const int64_t stored = image_->getPathInt("/Image/NBPP", 0);
    if (stored > 0 && stored % 8 != 0 && stored < int64_t{image_->getBytesPerPixel()} * 8) {
        for (int band = 1; band <= nBands; ++band) {
            GetRasterBand(band)->SetMetadataItem("NBITS", std::to_string(stored).c_str(),
                                                 "IMAGE_STRUCTURE");
        }
    }
    const std::string xml = context_.getISD("XML");
    char* document[] = {const_cast<char*>(xml.c_str()), nullptr};
    SetMetadata(document, "xml:TESSEL");
}

// GDAL's RPC domain from the image's RPC00B (or RPC00A) TRE, read by the library's model.
void TesselDataset::addRpcMetadata() {
    for (const std::string& model :
         {VEXASensors::RPC_B_MODEL_NAME, VEXASensors::RPC_A_MODEL_NAME}) {
        std::unique_ptr<VEXASensors::RPC00Model> found;
        try {
            found = VEXASensors::RPC00Model::fromFile(context_, model, [](const std::string&) {});
        } catch (const std::exception&) {
            continue;
        }
        if (!found) {
            continue;
        }
        const VEXASensors::RPC00& rpc = found->record();
        CPLStringList items;
        items.SetNameValue("ERR_BIAS", number(rpc.ERR_BIAS).c_str());
        items.SetNameValue("ERR_RAND", number(rpc.ERR_RAND).c_str());
        items.SetNameValue("LINE_OFF", number(rpc.LINE_OFF).c_str());
        items.SetNameValue("SAMP_OFF", number(rpc.SAMP_OFF).c_str());
        items.SetNameValue("LAT_OFF", number(rpc.LAT_OFF).c_str());
        items.SetNameValue("LONG_OFF", number(rpc.LONG_OFF).c_str());
        items.SetNameValue("HEIGHT_OFF", number(rpc.HEIGHT_OFF).c_str());
        items.SetNameValue("LINE_SCALE", number(rpc.LINE_SCALE).c_str());
        items.SetNameValue("SAMP_SCALE", number(rpc.SAMP_SCALE).c_str());
        items.SetNameValue("LAT_SCALE", number(rpc.LAT_SCALE).c_str());
        items.SetNameValue("LONG_SCALE", number(rpc.LONG_SCALE).c_str());
        items.SetNameValue("HEIGHT_SCALE", number(rpc.HEIGHT_SCALE).c_str());
        items.SetNameValue("LINE_NUM_COEFF", numbers(rpc.LINE_NUM_COEFF).c_str());
        items.SetNameValue("LINE_DEN_COEFF", numbers(rpc.LINE_DEN_COEFF).c_str());
        items.SetNameValue("SAMP_NUM_COEFF", numbers(rpc.SAMP_NUM_COEFF).c_str());
        items.SetNameValue("SAMP_DEN_COEFF", numbers(rpc.SAMP_DEN_COEFF).c_str());
        SetMetadata(items.List(), "RPC");
        return;
    }
}

// Four GCPs at the corner pixels' centres from ICORDS and IGEOLO: geographic corners in
// WGS 84, UTM corners in their zone.
void TesselDataset::addGcps() {
    const std::string icords = trimmed(image_->getPathString("/Image/ICORDS", ""));
    const std::string igeolo = image_->getPathString("/Image/IGEOLO", "");
    if (icords.size() != 1 || igeolo.empty()) {
        return;
    }
    const auto corners = nitf_igeolo::parse(icords[0], igeolo);
    if (!corners) {
        return;
    }
    const double w = nRasterXSize;
    const double h = nRasterYSize;
    const double pixels[4][2] = {{0.5, 0.5}, {w - 0.5, 0.5}, {w - 0.5, h - 0.5}, {0.5, h - 0.5}};
    std::vector<GDAL_GCP> gcps(4);
    GDALInitGCPs(4, gcps.data());
    int zone = -1;
    bool north = true;
    for (size_t i = 0; i < 4; ++i) {
        const auto& corner = (*corners)[i];
        if (const auto* degrees = std::get_if<lumo_geo::geodetic_degrees>(&corner)) {
            gcps[i].dfGCPX = degrees->lon;
            gcps[i].dfGCPY = degrees->lat;
            zone = zone == -1 ? 0 : zone;
        } else if (const auto* grid = std::get_if<lumo_geo::utm>(&corner)) {
            gcps[i].dfGCPX = grid->easting;
            gcps[i].dfGCPY = grid->northing;
            zone = grid->zone;
            north = grid->north;
        } else {
            GDALDeinitGCPs(4, gcps.data());
            return;
        }
        gcps[i].dfGCPPixel = pixels[i][0];
        gcps[i].dfGCPLine = pixels[i][1];
        CPLFree(gcps[i].pszId);
        gcps[i].pszId = CPLStrdup(std::to_string(i + 1).c_str());
    }
    gcpSrs_.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    const OGRErr made = zone == 0 ? gcpSrs_.importFromEPSG(4326)
                                  : gcpSrs_.importFromEPSG((north ? 32600 : 32700) + zone);
    if (made != OGRERR_NONE || zone < 0) {
        GDALDeinitGCPs(4, gcps.data());
        return;
    }
    gcps_ = std::move(gcps);
}

int TesselDataset::GetGCPCount() {
    return static_cast<int>(gcps_.size());
}

const OGRSpatialReference* TesselDataset::GetGCPSpatialRef() const {
    return gcps_.empty() ? nullptr : &gcpSrs_;
}

const GDAL_GCP* TesselDataset::GetGCPs() {
    return gcps_.empty() ? nullptr : gcps_.data();
}

}  // namespace tessel_gdal
