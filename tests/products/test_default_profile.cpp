#include <fmt/format.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "products/product_test_support.h"
#include "support/TestPaths.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/products/NITFProductDefaultProfile.h"
#include "tessel/products/Substitution.h"

using Json = nlohmann::ordered_json;
using Tessel::NITFFactory;
using Tessel::NITFMessages;
using Tessel::NITFProductDefaultProfile;
using namespace product_test;

namespace {

class DefaultProfile : public ::testing::Test {
protected:
    std::shared_ptr<Tessel::NITFProduct> product(const image_test::ImageFileBuilder& builder) {
        builder.write(path_);
        NITFFactory::get().clearCache();
        NITFMessages messages;
        auto result = NITFFactory::get().openProduct(uriOf(path_, "/Generic"), messages);
        EXPECT_TRUE(result) << (messages.empty() ? "" : messages.front());
        return result;
    }
    Json document(const Tessel::Products::Layer& layer) {
        return Json::parse(std::to_string(layer.MapDoc));
    }

    file_test::TempDir dir_;
    std::filesystem::path path_ = dir_ / "generic.ntf";
};

TEST_F(DefaultProfile, AnswersOfTheBuiltInProfile) {
    NITFProductDefaultProfile profile;
    EXPECT_EQ(profile.getFormatType(), L"Default");
    EXPECT_EQ(profile.getType(), L"Generic");
    EXPECT_EQ(profile.getName(), L"Generic");
    EXPECT_EQ(profile.getTitle(), L"$/FileHeader/FTITLE$");
    EXPECT_EQ(profile.getPriority(), 1);
    EXPECT_TRUE(profile.getShowGeneric());
    EXPECT_EQ(profile.getProcessingTemplates(), (std::vector<std::wstring>{L"Default"}));
    Tessel::NITFFileContext none(uriOf(path_));
    EXPECT_EQ(profile.matchesFile(none, {}), 0);
}

TEST_F(DefaultProfile, FileWithoutImagesAndSegmentsYieldsAnEmptyProduct) {
    file_test::writeFile(path_, file_test::headerOnlyFile(false));
    NITFMessages messages;
    const auto result = NITFFactory::get().openProduct(uriOf(path_, "/Generic"), messages);
    ASSERT_TRUE(result);
    EXPECT_TRUE(result->getLayerDefinitions().empty());
    EXPECT_TRUE(result->getMosaicDefinitions().empty());
    NITFFactory::get().clearCache();
}

TEST_F(DefaultProfile, ImageLayerAndMosaicItem) {
    const auto result =
        product(image_test::ImageFileBuilder().add(pixelImage("VIS", "MONO", 1, "FIRST")));
    ASSERT_EQ(result->getLayerDefinitions().size(), 1U);
    const auto& layer = result->getLayerDefinitions()[0];
    EXPECT_EQ(layer.Key, L"Layer_Image_1");
    EXPECT_EQ(layer.Title, L"Image 1 - (VIS) FIRST / Test image");
    EXPECT_EQ(layer.Type, Tessel::Products::Image);
    EXPECT_EQ(result->selectLayer(L"Primary"), &layer);
    EXPECT_EQ(result->title(), L"Image test file");
    EXPECT_EQ(result->name(), L"Generic");
    ASSERT_EQ(result->getMosaicDefinitions().size(), 1U);
    const auto& mosaic = result->getMosaicDefinitions()[0];
    EXPECT_EQ(mosaic.Footprint, L"Footprint");
    EXPECT_EQ(mosaic.ProcessingTemplate, L"Primary");
    EXPECT_EQ(mosaic.Variables.at(L"DefaultMaximumInput"), any_type::value(2047.0));
    ASSERT_EQ(mosaic.ItemURIs.size(), 1U);
    const auto& item = mosaic.ItemURIs[0];
    EXPECT_EQ(item.Tag, L"Pan");
    EXPECT_EQ(item.DisplayName, L"generic:0");
    EXPECT_EQ(item.Group, L"-20240115103000");
    EXPECT_TRUE(item.Key.empty());
    EXPECT_EQ(item.SourceTimeStamp.index(), any_type::tag_date);
    EXPECT_EQ(item.Properties.at(L"SensorName"), any_type::value(std::wstring(L"@{SensorName}")));
    EXPECT_EQ(item.Properties.at(L"ImageCategory"), any_type::value(std::wstring(L"VIS")));
    EXPECT_NE(item.Path.find(L"Layer_Image_1"), std::wstring::npos);
}

TEST_F(DefaultProfile, FileWithoutCsdidaHasAnEmptyProductNameAndStillItsMosaic) {
    const auto result = product(image_test::ImageFileBuilder().add(pixelImage("VIS", "MONO")));
    ASSERT_EQ(result->getMosaicDefinitions().size(), 1U);
    EXPECT_TRUE(result->getMosaicDefinitions()[0].ItemURIs[0].ProductName.empty());
}

TEST_F(DefaultProfile, NodisplySegmentHasAHiddenLayerAndNoMosaicItem) {
    const auto result = product(image_test::ImageFileBuilder()
                                    .add(pixelImage("VIS", "NODISPLY"))
                                    .add(pixelImage("VIS", "MONO")));
    ASSERT_EQ(result->getLayerDefinitions().size(), 2U);
    EXPECT_EQ(document(result->getLayerDefinitions()[0])["visibility"], false);
    EXPECT_EQ(document(result->getLayerDefinitions()[1])["visibility"], true);
    ASSERT_EQ(result->getMosaicDefinitions().size(), 1U);
    EXPECT_EQ(result->getMosaicDefinitions()[0].ItemURIs[0].DisplayName, L"generic:1");
}

TEST_F(DefaultProfile, TagsComeFromCategoryThenRepresentation) {
    const auto result = product(image_test::ImageFileBuilder()
                                    .add(pixelImage("SAR", "MONO"))
                                    .add(pixelImage("SAR", "NVECTOR"))
                                    .add(pixelImage("", "MONO"))
                                    .add(pixelImage("", "MULTI"))
                                    .add(pixelImage("MS", "MONO"))
                                    .add(pixelImage("RGB", "RGB", 3))
                                    .add(pixelImage("CLOUD", "MONO")));
    std::vector<std::wstring> tags;
    for (const auto& mosaic : result->getMosaicDefinitions()) {
        tags.push_back(mosaic.ItemURIs.at(0).Tag);
    }
    EXPECT_EQ(tags, (std::vector<std::wstring>{L"Pan", L"SAR", L"Pan", L"Dataset", L"MS",
                                               L"Pansharpened", L"Cloud"}));
}

TEST_F(DefaultProfile, LineSampleClassWithoutCoordGivesLinesamplePrj) {
    Json document = Json::parse(R"({"DESTAG":"CSSHPA DES","DataLength":"100","DataOffset":"1000",
        "UserDefinedSubHeader":{"SHAPE_USE":"IMAGE_SHAPE","SHAPE_CLASS":"POLYGON_LineSample",
        "SHAPE1_NAME":"SHP","SHAPE1_START":"000000","SHAPE2_NAME":"SHX","SHAPE2_START":"000060",
        "SHAPE3_NAME":"DBF","SHAPE3_START":"000080"}})");
    Tessel::NITFFileContext context(Tessel::NITFURI(std::string_view("/data/a b.ntf")));
    EXPECT_EQ(NITFProductDefaultProfile::CreateFeatureConnectionString(context, document),
              "DATABASE=/vsisubfile/1000_60,/data/a b.ntf;DBF=/vsisubfile/1080_20,/data/a b.ntf;"
              "SHX=/vsisubfile/1060_20,/data/a b.ntf;PRJ=LINESAMPLE;SHAPETYPE=POLYGON_LineSample");
    document["UserDefinedSubHeader"]["SHAPE3_NAME"] = "XYZ";
    EXPECT_EQ(NITFProductDefaultProfile::CreateFeatureConnectionString(context, document), "");
    document["UserDefinedSubHeader"]["SHAPE3_NAME"] = "";
    EXPECT_ANY_THROW(NITFProductDefaultProfile::CreateFeatureConnectionString(context, document));
    EXPECT_ANY_THROW(
        NITFProductDefaultProfile::CreateFeatureConnectionString(context, Json::array()));
    EXPECT_ANY_THROW(
        NITFProductDefaultProfile::CreateFeatureConnectionString(context, Json::object()));
}

TEST_F(DefaultProfile, CsshpbCoordOtherThanLineSampleGetsWgs84WhateverTheClass) {
    const Json document = Json::parse(R"({"DESTAG":"CSSHPB DES","DataLength":"30","DataOffset":"0",
        "UserDefinedSubHeader":{"SHAPE_USE":"X","SHAPE_CLASS":"POLYGON_LineSample",
        "SHAPE_COORD":"Geographic","SHAPE1_NAME":"SHP","SHAPE1_START":"0","SHAPE2_NAME":"SHX",
        "SHAPE2_START":"10","SHAPE3_NAME":"DBF","SHAPE3_START":"20"}})");
    Tessel::NITFFileContext context(Tessel::NITFURI(std::string_view("/d/b.ntf")));
    const std::string connection =
        NITFProductDefaultProfile::CreateFeatureConnectionString(context, document);
    EXPECT_NE(
        connection.find(
            R"(PRJ=GEOGCS["GCS_WGS_1984",DATUM["D_WGS_1984",SPHEROID["WGS_1984",6378137.0,298.257223563]],PRIMEM["Greenwich",0.0],UNIT["Degree",0.0174532925199433]];)"),
        std::string::npos)
        << connection;
}

TEST_F(DefaultProfile, FeatureConnectionByUseOrBySegmentIndex) {
    const std::filesystem::path fixture =
        std::filesystem::path(TESSEL_SHARED_DIR) / "fixtures" / "des_csshpa.ntf";
    if (!std::filesystem::exists(fixture)) {
        GTEST_SKIP() << "no shared fixtures";
    }
    NITFMessages messages;
    auto context = NITFFactory::get().open(uriOf(fixture), messages);
    ASSERT_TRUE(context);
    const std::wstring byUse = NITFProductDefaultProfile::MakeFeatureConnectionString(
        context, L"Feature/CLOUD_SHAPES/ConnectionString");
    EXPECT_EQ(byUse.rfind(L"DATABASE=/vsisubfile/4208_236,", 0), 0U) << byUse;
    EXPECT_EQ(NITFProductDefaultProfile::MakeFeatureConnectionString(
                  context, L"Feature/DES/0/ConnectionString"),
              byUse);
    EXPECT_EQ(NITFProductDefaultProfile::MakeFeatureConnectionString(
                  context, L"Feature/DES/+0/ConnectionString"),
              byUse);
    // Segment 2 isn't there: the JSON library's error, and an empty value in a template.
    EXPECT_ANY_THROW(NITFProductDefaultProfile::MakeFeatureConnectionString(
        context, L"Feature/DES/2/ConnectionString"));
    EXPECT_EQ(NITFProductDefaultProfile::MakeFeatureConnectionString(context, L"Feature"), L"");
    EXPECT_EQ(NITFProductDefaultProfile::CheckForFeatureDefinition(context,
                                                                   L"Feature/CLOUD_SHAPES/Exists"),
              L"true");
    EXPECT_EQ(
        NITFProductDefaultProfile::CheckForFeatureDefinition(context, L"Feature/OTHER/Exists"),
        L"");
    Tessel::NITFProductProfile::ComputeContext compute;
    compute.fileContext = &context;
    compute.uri = context.getURI();
    EXPECT_EQ(
        Tessel::NITFProductProfile::ComputeIsdValue(compute, L"$Feature/CLOUD_SHAPES/Exists$"),
        any_type::value(std::wstring(L"true")));
    EXPECT_EQ(Tessel::Products::valueText(Tessel::NITFProductProfile::ComputeIsdValue(
                  compute, L"$Feature/DES/2/ConnectionString$")),
              L"");
    const auto result = NITFFactory::get().openProduct(uriOf(fixture, "/Generic"), messages);
    ASSERT_TRUE(result);
    const auto* layer = result->getLayerDefinition(L"Layer_Feature_0");
    ASSERT_NE(layer, nullptr);
    EXPECT_EQ(layer->Title, L"Feature 0 - CLOUD_SHAPES");
    const Json feature = document(*layer);
    EXPECT_EQ(feature["featureTable"]["dataConnection"]["workspaceConnectionString"],
              std::to_string(byUse));
    EXPECT_EQ(feature["renderer"]["symbol"]["symbol"]["symbolLayers"][0]["type"],
              "MapDocGradientFill");
    NITFFactory::get().clearCache();
}

// The shape fixture with its one data extension segment made three, whose SHAPE_USE are
// "IMAGE_SHAPE", "CLOUD_SHAPES" and "OTHER_SHAPES" in that order; only cloud shapes carry
// the 18 characters of CC_SOURCE. The data offsets of the segments go to `offsets`.
std::string threeShapeSegments(const std::string& one, std::vector<size_t>& offsets) {
    const size_t headerLength = std::stoul(one.substr(354, 6));
    const size_t numdes = 388;  // after one image entry and no graphics or texts
    EXPECT_EQ(one.substr(numdes, 16), "0010280000000420");
    const size_t start = one.size() - 280 - 420;
    const std::string original = one.substr(start, 280);
    const std::string data = one.substr(start + 280);
    std::vector<std::string> subheaders;
    std::string entries;
    for (const char* use : {"IMAGE_SHAPE", "CLOUD_SHAPES", "OTHER_SHAPES"}) {
        std::string subheader = original;
        const size_t at = subheader.find("CLOUD_SHAPES             ");
        EXPECT_NE(at, std::string::npos);
        subheader.replace(at, 25, fmt::format("{:<25}", use));
        if (std::string_view(use) != "CLOUD_SHAPES") {
            EXPECT_EQ(subheader.substr(at + 35, 18), "FIXTURE_SOURCE    ");
            subheader.erase(at + 35, 18);
            EXPECT_EQ(subheader.substr(at - 4, 4), "0080");
            subheader.replace(at - 4, 4, "0062");
        }
        entries += fmt::format("{:04}{:09}", subheader.size(), data.size());
        subheaders.push_back(subheader);
    }
    std::string header = one.substr(0, headerLength);
    header.replace(numdes, 16, "003" + entries);
    header.replace(354, 6, fmt::format("{:06}", header.size()));
    std::string file = header + one.substr(headerLength, start - headerLength);
    for (const std::string& subheader : subheaders) {
        offsets.push_back(file.size() + subheader.size());
        file += subheader + data;
    }
    file.replace(342, 12, fmt::format("{:012}", file.size()));
    return file;
}

TEST_F(DefaultProfile, FeatureConnectionOfASegmentIndexIgnoresItsUse) {
    const std::filesystem::path fixture =
        std::filesystem::path(TESSEL_SHARED_DIR) / "fixtures" / "des_csshpa.ntf";
    if (!std::filesystem::exists(fixture)) {
        GTEST_SKIP() << "no shared fixtures";
    }
    std::vector<size_t> offsets;
    file_test::writeFile(path_, threeShapeSegments(file_test::readFile(fixture), offsets));
    NITFFactory::get().clearCache();
    NITFMessages messages;
    auto context = NITFFactory::get().open(uriOf(path_), messages);
    ASSERT_TRUE(context) << (messages.empty() ? "" : messages.front());
    ASSERT_EQ(context.getPathString("/FileHeader/NUMDES", ""), "003");
    const auto connection = [&](const wchar_t* path) {
        return std::to_string(
            NITFProductDefaultProfile::MakeFeatureConnectionString(context, path));
    };
    const auto startsAt = [](size_t offset) {
        return fmt::format("DATABASE=/vsisubfile/{}_236,", offset);
    };
    // Segment 2 by its index, whatever its SHAPE_USE; the use names segment 1.
    EXPECT_EQ(connection(L"Feature/DES/2/ConnectionString").rfind(startsAt(offsets[2]), 0), 0U)
        << connection(L"Feature/DES/2/ConnectionString");
    EXPECT_EQ(connection(L"Feature/CLOUD_SHAPES/ConnectionString").rfind(startsAt(offsets[1]), 0),
              0U)
        << connection(L"Feature/CLOUD_SHAPES/ConnectionString");
    EXPECT_EQ(connection(L"Feature/OTHER_SHAPES/ConnectionString"),
              connection(L"Feature/DES/2/ConnectionString"));
    EXPECT_EQ(connection(L"Feature/DES/1/ConnectionString"),
              connection(L"Feature/CLOUD_SHAPES/ConnectionString"));
    // The generic product: one feature layer per segment, each with the renderer of its use.
    const auto product = NITFFactory::get().openProduct(uriOf(path_, "/Generic"), messages);
    ASSERT_TRUE(product);
    const std::vector<std::string> symbols{"MapDocSolidStroke", "MapDocGradientFill",
                                           "MapDocSolidStroke"};
    const std::vector<Json> colours{Json::parse("[255,0,0,100]"), Json(),
                                    Json::parse("[0,255,0,100]")};
    for (size_t i = 0; i < 3; ++i) {
        const auto* layer =
            product->getLayerDefinition(std::to_wstring(fmt::format("Layer_Feature_{}", i)));
        ASSERT_NE(layer, nullptr) << i;
        const Json symbol = document(*layer)["renderer"]["symbol"]["symbol"]["symbolLayers"][0];
        EXPECT_EQ(symbol["type"], symbols[i]) << i;
        if (!colours[i].is_null()) {
            EXPECT_EQ(symbol["color"]["values"], colours[i]) << i;
        }
    }
    NITFFactory::get().clearCache();
}

}  // namespace
