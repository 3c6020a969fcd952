#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "tessel/products/NITFProduct.h"
#include "tessel/products/NITFProductProfile.h"
#include "tessel/products/Products.h"

using namespace Tessel;
using namespace Tessel::Products;

namespace {

Layer layerOf(LayerType type, const std::wstring& key, std::vector<std::wstring> aliases = {}) {
    Layer layer;
    layer.Type = type;
    layer.Key = key;
    layer.Aliases = std::move(aliases);
    return layer;
}

TEST(ProductModel, LayerTypeWordsAreExactAndTableAndOverlayPrintAsNone) {
    EXPECT_EQ(ToLayerType("Image"), Image);
    EXPECT_EQ(ToLayerType("Feature"), Feature);
    EXPECT_EQ(ToLayerType("Table"), Table);
    EXPECT_EQ(ToLayerType("ScreenOverlay"), ScreenOverlay);
    EXPECT_EQ(ToLayerType("image"), None);
    EXPECT_EQ(ToLayerTypeW(L"Table"), Table);
    EXPECT_EQ(ToLayerTypeW(L"Bogus"), None);
    EXPECT_EQ(static_cast<int>(ScreenOverlay), 5);
    std::ostringstream out;
    out << Image << "," << Feature << "," << Table << "," << ScreenOverlay << "," << None;
    EXPECT_EQ(out.str(), "Image,Feature,None,None,None");
    std::wostringstream wide;
    wide << Table << L"," << Image;
    EXPECT_EQ(wide.str(), L"None,Image");
}

TEST(ProductModel, DispositionIgnoresUnknownWordsAndWritesFlagsInBitOrder) {
    const LayerDisposition disposition("Menu|Bogus|TOC");
    EXPECT_TRUE(disposition.menu());
    EXPECT_TRUE(disposition.toc());
    EXPECT_FALSE(disposition.hidden());
    EXPECT_FALSE(disposition.catalog());
    EXPECT_EQ(static_cast<std::string>(disposition), "TOC|Menu");
    EXPECT_EQ(static_cast<std::wstring>(LayerDisposition(L"Catalog|Hidden")), L"Hidden|Catalog");
    EXPECT_EQ(static_cast<std::string>(LayerDisposition()), "");
    EXPECT_EQ(LayerDisposition(false, true, true, false), disposition);
    std::ostringstream out;
    out << LayerDisposition(true, false, false, true);
    EXPECT_EQ(out.str(), "Hidden|Catalog");
}

TEST(ProductModel, EmptyDispositionContainsNothingNotEvenItself) {
    const LayerDisposition empty;
    EXPECT_FALSE(empty.contains(empty));
    EXPECT_FALSE(LayerDisposition("TOC|Menu").contains(empty));
    EXPECT_FALSE(empty.contains(LayerDisposition("TOC")));
    EXPECT_TRUE(LayerDisposition("TOC|Menu").contains(LayerDisposition("Menu|Hidden")));
    EXPECT_FALSE(LayerDisposition("TOC").contains(LayerDisposition("Menu")));
}

TEST(ProductModel, SourceWithNeitherPathNorTemplateIsNotValidButItsLayerExists) {
    const Source none;
    EXPECT_FALSE(none.isValid());
    EXPECT_TRUE(Source(L"a/b").isValid());
    EXPECT_TRUE(Source(L"a/b").specifiesPath());
    Source withTemplate(L"", L"<template/>", {{L"Raster", L"x"}});
    EXPECT_TRUE(withTemplate.isValid());
    EXPECT_TRUE(withTemplate.specifiesTemplate());
    EXPECT_FALSE(withTemplate.specifiesPath());
    std::wstring value = L"untouched";
    EXPECT_FALSE(withTemplate.getArgumentValue(L"Missing", value));
    EXPECT_EQ(value, L"untouched");
    EXPECT_TRUE(withTemplate.getArgumentValue(L"Raster", value));
    EXPECT_EQ(value, L"x");
    EXPECT_TRUE(withTemplate.hasArgument(L"Raster"));
    EXPECT_FALSE(withTemplate == Source(L"", L"<template/>", {{L"Raster", L"y"}}));
    EXPECT_TRUE(withTemplate == Source(L"", L"<template/>", {{L"Raster", L"x"}}));

    NITFProduct product;
    Layer layer = layerOf(Image, L"L");
    layer.Source = none;
    product.emplace_layer(std::move(layer));
    ASSERT_NE(product.getLayerDefinition(L"L"), nullptr);
    EXPECT_FALSE(product.getLayerDefinition(L"L")->Source.isValid());
}

TEST(ProductModel, PropertyDefinitionsCompareEveryField) {
    PropertyDefinition a;
    a.aliases = {L"x"};
    a.sources.push_back({L"$/p$", {{std::wstring(L"1"), std::wstring(L"one")}}, std::wstring()});
    a.defaultValue = int64_t{3};
    PropertyDefinition b = a;
    EXPECT_TRUE(a == b);
    b.sources[0].map[0].second = std::wstring(L"two");
    EXPECT_FALSE(a == b);
    b = a;
    b.defaultValue = std::wstring(L"3");
    EXPECT_FALSE(a == b);
}

TEST(ProductModel, GetPropertyOfAnUnknownKeyIsEmpty) {
    NITFProduct product;
    product.getProperties()[L"Known"] = int64_t{7};
    EXPECT_EQ(product.getProperty(L"Known"), any_type::value(int64_t{7}));
    EXPECT_EQ(product.getProperty(L"Unknown").index(), any_type::tag_empty);
    EXPECT_TRUE(product.name().empty());
    EXPECT_TRUE(product.title().empty());
    EXPECT_TRUE(product.type().empty());
}

TEST(ProductModel, PrimarySelectsTheFirstImageLayer) {
    NITFProduct product;
    product.emplace_layer(layerOf(Feature, L"F"));
    product.emplace_layer(layerOf(Image, L"I1"));
    product.emplace_layer(layerOf(Image, L"I2", {L"Primary"}));
    ASSERT_NE(product.selectLayer(L"Primary"), nullptr);
    EXPECT_EQ(product.selectLayer(L"Primary")->Key, L"I1");
    EXPECT_EQ(product.selectLayer(L"I2")->Key, L"I2");
    EXPECT_EQ(product.selectLayer(L"i2"), nullptr);
}

TEST(ProductModel, PrimaryOnAProductWithOnlyFeatureLayersFindsKeyOrAliasElseNull) {
    NITFProduct product;
    product.emplace_layer(layerOf(Feature, L"F1"));
    EXPECT_EQ(product.selectLayer(L"Primary"), nullptr);
    product.emplace_layer(layerOf(Feature, L"F2", {L"Other", L"Primary"}));
    ASSERT_NE(product.selectLayer(L"Primary"), nullptr);
    EXPECT_EQ(product.selectLayer(L"Primary")->Key, L"F2");
    EXPECT_EQ(product.selectLayer(L"Other")->Key, L"F2");
}

TEST(ProductModel, SelectByUriUsesTheObject) {
    NITFProduct product;
    product.emplace_layer(layerOf(Feature, L"Layer_Feature_0"));
    product.emplace_layer(layerOf(Image, L"Layer_Image_1"));
    EXPECT_EQ(product.selectLayer(NITFURI(std::string_view("/d/a.ntf")))->Key, L"Layer_Image_1");
    EXPECT_EQ(product.selectLayer(NITFURI(std::string_view("/d/a.ntf#Layer_Feature_0")))->Key,
              L"Layer_Feature_0");
    EXPECT_EQ(product.selectLayer(NITFURI(std::string_view("/d/a.ntf#IM_0"))), nullptr);
    EXPECT_EQ(product.getLayerDefinition(L"missing"), nullptr);
    EXPECT_EQ(product.getLayerDefinitions().size(), 2U);
}

TEST(ProductModel, ProfileNamesAreFixed) {
    EXPECT_EQ(NITFProductProfile::DefaultObjectName, L"Primary");
    EXPECT_EQ(NITFProductProfile::DefaultProfileName, L"Generic");
}

}  // namespace
