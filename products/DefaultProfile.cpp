// The built-in profile "Generic": every image segment as an image layer with a mosaic item,
// every shape data extension segment as a feature layer.
#include <fmt/format.h>

#include <chrono>
#include <ctime>
#include <map>
#include <stdexcept>

#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFile.h"
#include "tessel/file/NITFFileContext.h"
#include "tessel/platform/base/nitf_fs.h"
#include "tessel/platform/base/text.h"
#include "tessel/products/NITFProductDefaultProfile.h"
#include "tessel/products/Substitution.h"

namespace Tessel {
namespace {

using namespace Products;

const std::map<std::wstring, std::wstring, std::less<>> tagByCategory{{L"VIS", L"Pan"},
                                                                      {L"PAN", L"Pan"},
                                                                      {L"MS", L"MS"},
                                                                      {L"RGB", L"Pansharpened"},
                                                                      {L"CLOUD", L"Cloud"}};
const std::map<std::wstring, std::wstring, std::less<>> tagByRepresentation{{L"MONO", L"Pan"}};

std::wstring defaultMosaicTag(const std::wstring& icat, const std::wstring& irep) {
    if (const auto found = tagByCategory.find(icat); found != tagByCategory.end()) {
        return found->second;
    }
    if (const auto found = tagByRepresentation.find(irep); found != tagByRepresentation.end()) {
        return found->second;
    }
    return icat.empty() ? L"Dataset" : icat;
}

std::wstring defaultExpand(const NITFProductProfile::ComputeContext& context,
                           std::wstring_view templateText) {
    return valueText(NITFProductProfile::ComputeIsdValue(context, templateText));
}

// The file's last write time, as text parsed into a date.
any_type::value defaultLastWriteDate(const NITFURI& uri) {
    const nitf_fs::ext::status_info status = nitf_fs::ext::status(uri.nativePath());
    if (!status.exists()) {
        return {};
    }
    const auto system = std::chrono::file_clock::to_sys(status.last_write());
    const std::time_t seconds = std::chrono::system_clock::to_time_t(
        std::chrono::time_point_cast<std::chrono::system_clock::duration>(system));
    std::tm parts{};
    if (gmtime_r(&seconds, &parts) == nullptr) {
        return {};
    }
    char text[32];
    std::strftime(text, sizeof text, "%Y%m%d%H%M%S", &parts);
    const nitf_date date = nitf_date::parse(std::string_view(text));
    return date.is_valid() ? any_type::value(date) : any_type::value();
}

bool defaultIsShapeTag(const std::string& tag) {
    return tag == "CSSHPA DES" || tag == "CSSHPB DES" || tag == "CSSHPB";
}

}  // namespace

int NITFProductDefaultProfile::matchesFile(const NITFFileContext& /*context*/,
                                           const ProfileEvalHooks& /*hooks*/) {
    return 0;
}

std::shared_ptr<NITFProduct> NITFProductDefaultProfile::openProduct(const NITFFileContext& context,
                                                                    NITFMessages& messages,
                                                                    const ProfileEvalHooks& hooks) {
    // The partial match with the lowest score; kept for hosts that trace it, used by nothing.
    std::wstring partial;
    int lowest = 0;
    for (const auto& [score, name] :
         NITFFactory::get().getMatchingProfiles(context.getURI(), messages, hooks)) {
        if (score < lowest) {
            lowest = score;
            partial = name;
        }
    }
    auto product = std::make_shared<NITFProduct>();
    ProcessImageSegments(context, product);
    ProcessDESegments(context, product);
    return product;
}

void NITFProductDefaultProfile::ProcessImageSegments(const NITFFileContext& context,
                                                     const std::shared_ptr<NITFProduct>& product) {
    const size_t count = context.getNumberImages();
    for (size_t i = 0; i < count; ++i) {
        const int index = static_cast<int>(i);
        if (!context) {
            throw std::runtime_error("No File");
        }
        const NITFFile& file = context.getFile();
        const std::wstring icat = file.getPathString(index, std::wstring_view(L"/Image/ICAT"), L"");
        const std::wstring irep = file.getPathString(index, std::wstring_view(L"/Image/IREP"), L"");
        const std::string key = fmt::format("Layer_Image_{}", i + 1);
        ComputeContext compute;
        compute.fileContext = &context;
        compute.uri = context.getURI();
        compute.imageIndex = static_cast<int64_t>(i);
        const std::wstring title = defaultExpand(
            compute, L"Image $%i+1$ - ($/Images/%i/ICAT$) $/Images/%i/IID1$ / $/Images/%i/IID2$");
        const std::wstring object = defaultExpand(
            compute, std::to_wstring(fmt::format("$uri.file_name$/{}#{}",
                                                 std::to_string(DefaultProfileName), key)));
        const std::wstring dataset =
            defaultExpand(compute, std::to_wstring(fmt::format("$uri.path$#IM_{}", i)));
        const std::string connection = "DATABASE=" + compute.uri.getURI_u8(URIParts::Folder);
        Layer layer;
        layer.Type = Image;
        layer.Key = std::to_wstring(key);
        layer.Aliases = {object};
        layer.Title = title;
        layer.Source = Source(dataset);
        layer.Disposition = LayerDisposition(false, true, true, true);
        layer.MapDoc = std::to_wstring(MapDocForImage(context, index, std::to_string(title),
                                                      std::to_string(title), connection,
                                                      std::to_string(dataset)));
        product->emplace_layer(std::move(layer));
        if (irep == L"NODISPLY") {
            continue;
        }
        ItemURI item;
        item.Properties[L"SensorName"] = std::wstring(L"@{SensorName}");
        item.Properties[L"ImageRepresentation"] = irep;
        item.Properties[L"ImageCategory"] = icat;
        item.SourceTimeStamp = defaultLastWriteDate(compute.uri);
        item.ProductName = defaultExpand(compute, L"$/FileHeader/TREs/CSDIDA/PRODUCT_ID$");
        item.DisplayName = defaultExpand(compute, L"$uri.stem$:$%i$");
        item.Group = defaultExpand(compute, L"$/Images/0/TREs/STDIDC/MISSION$-$/Images/0/IDATIM$");
        item.Tag = defaultMosaicTag(icat, irep);
        NITFURI path = context.getURI();
        path.object_name(std::to_wstring(key));
        item.Path = path.getURI_u16(URIParts::Everything);
        Mosaic mosaic;
        mosaic.ItemURIs.push_back(std::move(item));
        mosaic.Footprint = L"Footprint";
        mosaic.ProcessingTemplate = L"Primary";
        mosaic.Variables[L"DefaultMaximumInput"] = 2047.0;
        product->emplace_mosaic(std::move(mosaic));
    }
}

void NITFProductDefaultProfile::ProcessDESegments(const NITFFileContext& context,
                                                  const std::shared_ptr<NITFProduct>& product) {
    const int64_t count = context.getPathInt("/FileHeader/NUMDES", 0);
    for (int64_t i = 0; i < count; ++i) {
        if (!defaultIsShapeTag(
                context.getPathString(fmt::format("DESs/{}/DESTAG", i), std::string()))) {
            continue;
        }
        const std::string text =
            context.getPathString(fmt::format("DESs/{}?JSON", i), std::string());
        const json document = json::parse(text, nullptr, false);
        if (document.is_discarded()) {
            continue;
        }
        try {
            AddFeatureDataset(context, document, static_cast<size_t>(i), product);
        } catch (const std::exception&) {
            // A segment whose shape description is malformed shows no layer.
            continue;
        }
    }
}

bool NITFProductDefaultProfile::AddFeatureDataset(const NITFFileContext& context,
                                                  const json& document, size_t index,
                                                  const std::shared_ptr<NITFProduct>& product) {
    const json* use = nullptr;
    const json::json_pointer pointer("/UserDefinedSubHeader/SHAPE_USE");
    if (document.contains(pointer)) {
        use = &document.at(pointer);
    }
    if (use == nullptr || !use->is_string()) {
        return false;
    }
    const std::string shapeUse = use->get<std::string>();
    ComputeContext compute;
    compute.fileContext = &context;
    compute.uri = context.getURI();
    const std::wstring object =
        defaultExpand(compute, std::to_wstring(fmt::format("$uri.path$#FC_CSSHP_{}", index)));
    const std::string connection = CreateFeatureConnectionString(context, document);
    if (connection.empty()) {
        return false;
    }
    const std::string title = fmt::format("Feature {} - {}", index, shapeUse);
    Layer layer;
    layer.Type = Feature;
    layer.Key = std::to_wstring(fmt::format("Layer_Feature_{}", index));
    layer.Aliases = {std::to_wstring(shapeUse)};
    layer.Title = std::to_wstring(title);
    layer.Source = Source(object);
    layer.Disposition = LayerDisposition(false, true, true, true);
    layer.MapDoc = std::to_wstring(
        MapDocForFeature(context, static_cast<int>(index), title, shapeUse, connection));
    product->emplace_layer(std::move(layer));
    return true;
}

}  // namespace Tessel
