// The display documents of generated layers: an image document with the colorizer that the
// image's bands and depth call for, and a feature document with a renderer chosen by the
// shape data's use. The fixed blocks are built once and copied into each document.
#include <stdexcept>
#include <string>

#include "tessel/file/NITFFile.h"
#include "tessel/file/NITFFileContext.h"
#include "tessel/products/NITFProductDefaultProfile.h"

namespace Tessel {
namespace {

using DocJson = NITFProductDefaultProfile::json;

DocJson documentColor(std::initializer_list<int> values) {
    DocJson color = DocJson::object();
    color["type"] = "MapDocRGBColor";
    color["values"] = DocJson::array();
    for (const int value : values) {
        color["values"].push_back(value);
    }
    return color;
}

DocJson colorizerBlock(const char* type, bool rgb, bool deep, const char* statsKey) {
    DocJson block = DocJson::object();
    block["type"] = type;
    block["resamplingType"] = "BilinearInterpolation";
    block["noDataColor"] = documentColor({0, 0, 0, 0});
    block["backgroundColor"] = documentColor({0, 0, 0, 0});
    if (rgb) {
        block["alphaBandIndex"] = -1;
    }
    block["backgroundValue"] = 0;
    block["displayBackgroundValue"] = deep;
    block["stretchType"] = deep ? "PercentMinimumMaximum" : "None";
    block[statsKey] = deep ? "AreaOfView" : "Dataset";
    if (deep) {
        block["minPercent"] = 0.25;
        block["maxPercent"] = 0.25;
    }
    return block;
}

DocJson strokeLayer(std::initializer_list<int> color) {
    DocJson stroke = DocJson::object();
    stroke["type"] = "MapDocSolidStroke";
    stroke["enable"] = true;
    stroke["capStyle"] = "Round";
    stroke["joinStyle"] = "Round";
    stroke["lineStyle3D"] = "Strip";
    stroke["miterLimit"] = 10;
    stroke["width"] = 1;
    stroke["color"] = documentColor(color);
    return stroke;
}

DocJson gradientLayer() {
    DocJson ramp = DocJson::object();
    ramp["type"] = "MapDocLinearContinuousColorRamp";
    ramp["colorSpace"] = {{"type", "MapDocICCColorSpace"}, {"url", "CIELAB"}};
    ramp["fromColor"] = documentColor({0, 174, 239, 100});
    ramp["toColor"] = documentColor({255, 255, 255, 100});
    DocJson fill = DocJson::object();
    fill["type"] = "MapDocGradientFill";
    fill["enable"] = true;
    fill["angle"] = 90;
    fill["colorRamp"] = ramp;
    fill["gradientMethod"] = "Buffered";
    fill["gradientSize"] = 10;
    fill["gradientSizeUnits"] = "Absolute";
    fill["gradientType"] = "Discrete";
    fill["interval"] = 36;
    return fill;
}

DocJson rendererBlock(DocJson symbolLayer) {
    DocJson polygon = DocJson::object();
    polygon["type"] = "MapDocPolygonSymbol";
    polygon["symbolLayers"] = DocJson::array({std::move(symbolLayer)});
    DocJson reference = DocJson::object();
    reference["type"] = "MapDocSymbolReference";
    reference["symbol"] = std::move(polygon);
    DocJson renderer = DocJson::object();
    renderer["type"] = "MapDocSimpleRenderer";
    renderer["patch"] = "Default";
    renderer["symbol"] = std::move(reference);
    return renderer;
}

struct DocumentBlocks {
    DocJson stretchDeep = colorizerBlock("MapDocRasterStretchColorizer", false, true, "statsType");
    DocJson stretch8 = colorizerBlock("MapDocRasterStretchColorizer", false, false, "statsType");
    DocJson colorMap = colorizerBlock("MapDocRasterColorMapColorizer", false, true, "statsType");
    DocJson rgbDeep = colorizerBlock("MapDocRasterRGBColorizer", true, true, "stretchStatsType");
    DocJson rgb8 = colorizerBlock("MapDocRasterRGBColorizer", true, false, "stretchStatsType");
    DocJson imageOutline = rendererBlock(strokeLayer({255, 0, 0, 100}));
    DocJson cloudGradient = rendererBlock(gradientLayer());
    DocJson otherOutline = rendererBlock(strokeLayer({0, 255, 0, 100}));
};

const DocumentBlocks& documentBlocks() {
    static const DocumentBlocks blocks;
    return blocks;
}

// Built with the library, so that no document waits for them.
[[maybe_unused]] const DocumentBlocks& documentBlocksAtLoad = documentBlocks();

const NITFFile& documentFile(const NITFFileContext& context) {
    if (!context) {
        throw std::runtime_error("No File");
    }
    return context.getFile();
}

// The colorizer of an image, or null for two bands or none.
DocJson imageColorizer(const NITFFile& file, int index, const std::wstring& irep) {
    int64_t bands = file.getPathInt(index, "/Image/NBANDS", 0);
    if (bands == 0) {
        bands = file.getPathInt(index, "/Image/XBANDS", 0);
    }
    const int64_t nbpp = file.getPathInt(index, "/Image/NBPP", 0);
    const DocumentBlocks& blocks = documentBlocks();
    if (bands == 1) {
        if (irep == L"RGB/LUT") {
            return blocks.colorMap;
        }
        return nbpp < 9 ? blocks.stretch8 : blocks.stretchDeep;
    }
    if (bands < 3) {
        return nullptr;
    }
    DocJson colorizer = nbpp < 9 ? blocks.rgb8 : blocks.rgbDeep;
    int red = 0;
    int green = 1;
    int blue = 2;
    // XBANDS has five digits; the pick reads no more bands than the image can have.
    for (int64_t b = 0; b < std::min<int64_t>(bands, 99999); ++b) {
        const std::string band =
            file.getPathString(index, "/Image/Bands/" + std::to_string(b) + "/IREPBAND", "");
        if (band.empty()) {
            continue;
        }
        if (band.front() == 'R') {
            red = static_cast<int>(b);
        } else if (band.front() == 'G') {
            green = static_cast<int>(b);
        } else if (band.front() == 'B') {
            blue = static_cast<int>(b);
        }
    }
    colorizer["redBandIndex"] = red;
    colorizer["greenBandIndex"] = green;
    colorizer["blueBandIndex"] = blue;
    return colorizer;
}

}  // namespace

std::string NITFProductDefaultProfile::MapDocForImage(const NITFFileContext& context, int index,
                                                      const std::string_view& name,
                                                      const std::string_view& description,
                                                      const std::string_view& connection,
                                                      const std::string_view& dataset) {
    const NITFFile& file = documentFile(context);
    const std::wstring irep = file.getPathString(index, std::wstring_view(L"/Image/IREP"), L"");
    DocJson document = DocJson::object();
    document["type"] = "MapDocNitfImageSubLayer";
    document["name"] = std::string(name);
    document["description"] = std::string(description);
    document["visibility"] = irep != L"NODISPLY";
    DocJson dataConnection = DocJson::object();
    dataConnection["type"] = "MapDocStandardDataConnection";
    dataConnection["workspaceConnectionString"] = std::string(connection);
    dataConnection["workspaceFactory"] = "Custom";
    dataConnection["customWorkspaceFactoryCLSID"] = "{7B1D4C2E-3F60-4A9E-9C51-6E0F2A8D1B37}";
    dataConnection["dataset"] = std::string(dataset);
    dataConnection["datasetType"] = "vexaDTAny";
    document["dataConnection"] = std::move(dataConnection);
    document["autoComputeStatsHistogram"] = true;
    DocJson colorizer = imageColorizer(file, index, irep);
    if (!colorizer.is_null()) {
        document["colorizer"] = std::move(colorizer);
    }
    return document.dump(-1, ' ', false, DocJson::error_handler_t::replace);
}

std::string NITFProductDefaultProfile::MapDocForFeature(const NITFFileContext& context,
                                                        int /*index*/, const std::string_view& name,
                                                        const std::string_view& description,
                                                        const std::string_view& connection) {
    documentFile(context);
    DocJson document = DocJson::object();
    document["type"] = "MapDocNitfFeatureSubLayer";
    document["name"] = std::string(name);
    document["description"] = std::string(description);
    document["visibility"] = false;
    DocJson dataConnection = DocJson::object();
    dataConnection["type"] = "MapDocStandardDataConnection";
    dataConnection["workspaceConnectionString"] = std::string(connection);
    dataConnection["workspaceFactory"] = "Shapefile";
    dataConnection["dataset"] = std::string(description);
    DocJson table = DocJson::object();
    table["type"] = "MapDocFeatureTable";
    table["displayField"] = "Default";
    table["editable"] = false;
    table["dataConnection"] = std::move(dataConnection);
    document["featureTable"] = std::move(table);
    const DocumentBlocks& blocks = documentBlocks();
    document["renderer"] = description == "IMAGE_SHAPE"    ? blocks.imageOutline
                           : description == "CLOUD_SHAPES" ? blocks.cloudGradient
                                                           : blocks.otherOutline;
    return document.dump(-1, ' ', false, DocJson::error_handler_t::replace);
}

}  // namespace Tessel
