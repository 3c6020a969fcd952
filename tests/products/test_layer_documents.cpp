#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "products/product_test_support.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/products/NITFProductDefaultProfile.h"

using Json = nlohmann::ordered_json;
using Tessel::NITFFactory;
using Tessel::NITFMessages;
using Tessel::NITFProductDefaultProfile;
using namespace product_test;

namespace {

std::vector<std::string> keysOf(const Json& object) {
    std::vector<std::string> keys;
    for (const auto& [key, value] : object.items()) {
        keys.push_back(key);
    }
    return keys;
}

class LayerDocuments : public ::testing::Test {
protected:
    Json imageDocument(const image_test::ImageLayout& layout) {
        image_test::ImageFileBuilder().add(layout).write(path_);
        NITFFactory::get().clearCache();
        NITFMessages messages;
        auto context = NITFFactory::get().open(uriOf(path_), messages);
        EXPECT_TRUE(context);
        return Json::parse(NITFProductDefaultProfile::MapDocForImage(context, 0, "N", "D",
                                                                     "DATABASE=/x", "a.ntf#IM_0"));
    }
    Json featureDocument(const std::string& description) {
        image_test::ImageFileBuilder().add(pixelImage("VIS", "MONO")).write(path_);
        NITFMessages messages;
        auto context = NITFFactory::get().open(uriOf(path_), messages);
        return Json::parse(
            NITFProductDefaultProfile::MapDocForFeature(context, 0, "Name", description, "conn"));
    }
    void TearDown() override { NITFFactory::get().clearCache(); }

    file_test::TempDir dir_;
    std::filesystem::path path_ = dir_ / "docs.ntf";
};

TEST_F(LayerDocuments, ImageDocumentKeysInOrder) {
    const Json document = imageDocument(pixelImage("VIS", "MONO"));
    EXPECT_EQ(keysOf(document), (std::vector<std::string>{
                                    "type", "name", "description", "visibility", "dataConnection",
                                    "autoComputeStatsHistogram", "colorizer"}));
    EXPECT_EQ(document["type"], "MapDocNitfImageSubLayer");
    EXPECT_EQ(document["name"], "N");
    EXPECT_EQ(document["description"], "D");
    EXPECT_EQ(keysOf(document["dataConnection"]),
              (std::vector<std::string>{"type", "workspaceConnectionString", "workspaceFactory",
                                        "customWorkspaceFactoryCLSID", "dataset", "datasetType"}));
    EXPECT_EQ(document["dataConnection"]["workspaceFactory"], "Custom");
    EXPECT_EQ(document["dataConnection"]["customWorkspaceFactoryCLSID"],
              "{7B1D4C2E-3F60-4A9E-9C51-6E0F2A8D1B37}");
    EXPECT_EQ(document["dataConnection"]["datasetType"], "vexaDTAny");
    EXPECT_EQ(document["dataConnection"]["dataset"], "a.ntf#IM_0");
    // Eight bits: the plain stretch.
    EXPECT_EQ(keysOf(document["colorizer"]),
              (std::vector<std::string>{"type", "resamplingType", "noDataColor", "backgroundColor",
                                        "backgroundValue", "displayBackgroundValue", "stretchType",
                                        "statsType"}));
    EXPECT_EQ(document["colorizer"]["stretchType"], "None");
    EXPECT_EQ(document["colorizer"]["statsType"], "Dataset");
    EXPECT_EQ(document["colorizer"]["noDataColor"].dump(),
              R"({"type":"MapDocRGBColor","values":[0,0,0,0]})");
}

TEST_F(LayerDocuments, OneBandTwelveBitMonoGetsTheDeepStretch) {
    image_test::ImageLayout layout = pixelImage("VIS", "MONO");
    layout.nbpp = 16;
    layout.abpp = 12;
    layout.data = std::string(2, '\0');
    const Json colorizer = imageDocument(layout)["colorizer"];
    EXPECT_EQ(colorizer["type"], "MapDocRasterStretchColorizer");
    EXPECT_EQ(colorizer["stretchType"], "PercentMinimumMaximum");
    EXPECT_EQ(colorizer["statsType"], "AreaOfView");
    EXPECT_EQ(colorizer["displayBackgroundValue"], true);
    EXPECT_EQ(colorizer["minPercent"], 0.25);
    EXPECT_EQ(colorizer["maxPercent"], 0.25);
}

TEST_F(LayerDocuments, OneBandRgbLutGetsTheColourMapWhateverItsDepth) {
    for (const uint32_t nbpp : {8U, 16U}) {
        image_test::ImageLayout layout = pixelImage("VIS", "RGB/LUT");
        layout.bands = {image_test::band("LU")};
        layout.bands[0].luts = {std::vector<uint8_t>(2, 0), std::vector<uint8_t>(2, 0),
                                std::vector<uint8_t>(2, 0)};
        layout.nbpp = nbpp;
        layout.data = std::string(nbpp / 8, '\0');
        EXPECT_EQ(imageDocument(layout)["colorizer"]["type"], "MapDocRasterColorMapColorizer");
    }
}

TEST_F(LayerDocuments, FourBandsBgrmPickRedTwoGreenOneBlueZero) {
    image_test::ImageLayout layout = pixelImage("MS", "MULTI", 4);
    layout.bands = {image_test::band("B"), image_test::band("G"), image_test::band("R"),
                    image_test::band("M")};
    const Json colorizer = imageDocument(layout)["colorizer"];
    EXPECT_EQ(colorizer["type"], "MapDocRasterRGBColorizer");
    EXPECT_EQ(colorizer["alphaBandIndex"], -1);
    EXPECT_EQ(colorizer["stretchStatsType"], "Dataset");
    EXPECT_EQ(colorizer["redBandIndex"], 2);
    EXPECT_EQ(colorizer["greenBandIndex"], 1);
    EXPECT_EQ(colorizer["blueBandIndex"], 0);
    EXPECT_EQ(keysOf(colorizer).back(), "blueBandIndex");
}

TEST_F(LayerDocuments, FourBandsWithEmptyIrepbandPickZeroOneTwo) {
    image_test::ImageLayout layout = pixelImage("MS", "MULTI", 4);
    layout.bands = image_test::bands(4, "");
    const Json colorizer = imageDocument(layout)["colorizer"];
    EXPECT_EQ(colorizer["redBandIndex"], 0);
    EXPECT_EQ(colorizer["greenBandIndex"], 1);
    EXPECT_EQ(colorizer["blueBandIndex"], 2);
}

TEST_F(LayerDocuments, TwoBandImageHasNoColorizer) {
    const Json document = imageDocument(pixelImage("MS", "MULTI", 2));
    EXPECT_FALSE(document.contains("colorizer"));
    EXPECT_EQ(keysOf(document).back(), "autoComputeStatsHistogram");
}

TEST_F(LayerDocuments, NodisplySegmentIsWrittenInvisible) {
    EXPECT_EQ(imageDocument(pixelImage("VIS", "NODISPLY"))["visibility"], false);
}

TEST_F(LayerDocuments, FeatureDocumentAndRenderers) {
    const Json other = featureDocument("ROADS");
    EXPECT_EQ(keysOf(other), (std::vector<std::string>{"type", "name", "description", "visibility",
                                                       "featureTable", "renderer"}));
    EXPECT_EQ(other["visibility"], false);
    EXPECT_EQ(
        other["featureTable"].dump(),
        R"({"type":"MapDocFeatureTable","displayField":"Default","editable":false,)"
        R"("dataConnection":{"type":"MapDocStandardDataConnection","workspaceConnectionString":"conn",)"
        R"("workspaceFactory":"Shapefile","dataset":"ROADS"}})");
    EXPECT_EQ(other["renderer"]["symbol"]["symbol"]["symbolLayers"][0]["color"]["values"].dump(),
              "[0,255,0,100]");
    EXPECT_EQ(
        featureDocument(
            "IMAGE_SHAPE")["renderer"]["symbol"]["symbol"]["symbolLayers"][0]["color"]["values"]
            .dump(),
        "[255,0,0,100]");
    const Json cloud = featureDocument("CLOUD_SHAPES")["renderer"];
    EXPECT_EQ(
        cloud.dump(),
        R"({"type":"MapDocSimpleRenderer","patch":"Default","symbol":{"type":"MapDocSymbolReference",)"
        R"("symbol":{"type":"MapDocPolygonSymbol","symbolLayers":[{"type":"MapDocGradientFill",)"
        R"("enable":true,"angle":90,"colorRamp":{"type":"MapDocLinearContinuousColorRamp",)"
        R"("colorSpace":{"type":"MapDocICCColorSpace","url":"CIELAB"},"fromColor":{"type":)"
        R"("MapDocRGBColor","values":[0,174,239,100]},"toColor":{"type":"MapDocRGBColor",)"
        R"("values":[255,255,255,100]}},"gradientMethod":"Buffered","gradientSize":10,)"
        R"("gradientSizeUnits":"Absolute","gradientType":"Discrete","interval":36}]}}})");
    const Json stroke =
        featureDocument("IMAGE_SHAPE")["renderer"]["symbol"]["symbol"]["symbolLayers"][0];
    EXPECT_EQ(keysOf(stroke),
              (std::vector<std::string>{"type", "enable", "capStyle", "joinStyle", "lineStyle3D",
                                        "miterLimit", "width", "color"}));
}

TEST_F(LayerDocuments, ContextWithoutFileThrowsNoFile) {
    Tessel::NITFFileContext none(uriOf(path_));
    EXPECT_THROW(NITFProductDefaultProfile::MapDocForImage(none, 0, "", "", "", ""),
                 std::runtime_error);
    EXPECT_THROW(NITFProductDefaultProfile::MapDocForFeature(none, 0, "", "", ""),
                 std::runtime_error);
}

}  // namespace
