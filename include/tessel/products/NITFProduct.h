#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// A finished product: a URI, a title, a name and a type, layers with their display
// documents, mosaics and properties. Made by a profile and shared.

#include <string>
#include <string_view>
#include <vector>

#include "tessel/core/NITFURI.h"
#include "tessel/core/any_type.h"
#include "tessel/products/Products.h"

namespace Tessel {

class NITFProduct {
public:
    NITFProduct() = default;

    std::wstring& name() { return name_; }
    const std::wstring& name() const { return name_; }
    std::wstring& title() { return title_; }
    const std::wstring& title() const { return title_; }
    std::wstring& type() { return type_; }
    const std::wstring& type() const { return type_; }
    NITFURI& uri() { return uri_; }
    const NITFURI& uri() const { return uri_; }

    Products::PropertyValues& getProperties() { return properties_; }
    const Products::PropertyValues& getProperties() const { return properties_; }
    // A copy of the value; an empty value for an unknown key.
    any_type::value getProperty(std::wstring_view key) const;

    const std::vector<Products::Layer>& getLayerDefinitions() const { return layers_; }
    const std::vector<Products::Mosaic>& getMosaicDefinitions() const { return mosaics_; }
    // The first layer whose key is exactly `key`, or null.
    const Products::Layer* getLayerDefinition(std::wstring_view key) const;

    void emplace_layer(Products::Layer&& layer) { layers_.push_back(std::move(layer)); }
    void emplace_mosaic(Products::Mosaic&& mosaic) { mosaics_.push_back(std::move(mosaic)); }

    // "Primary" is the first image layer; otherwise, and when there is no image layer, the
    // first layer whose key or one of whose aliases is exactly `name`. Null when none is.
    const Products::Layer* selectLayer(std::wstring_view name) const;
    // By the URI's object: an image index selects nothing, a name selects by name, no
    // object selects "Primary".
    const Products::Layer* selectLayer(const NITFURI& uri) const;

private:
    NITFURI uri_;
    std::wstring title_;
    std::wstring name_;
    std::wstring type_;
    std::vector<Products::Layer> layers_;
    std::vector<Products::Mosaic> mosaics_;
    Products::PropertyValues properties_;
};

}  // namespace Tessel

TESSEL_PUBLIC_END
