#include "tessel/products/NITFProduct.h"

#include <algorithm>

#include "tessel/products/NITFProductProfile.h"

namespace Tessel {

any_type::value NITFProduct::getProperty(std::wstring_view key) const {
    const auto found = properties_.find(key);
    return found == properties_.end() ? any_type::value() : found->second;
}

const Products::Layer* NITFProduct::getLayerDefinition(std::wstring_view key) const {
    for (const auto& layer : layers_) {
        if (layer.Key == key) {
            return &layer;
        }
    }
    return nullptr;
}

const Products::Layer* NITFProduct::selectLayer(std::wstring_view name) const {
    if (name == NITFProductProfile::DefaultObjectName) {
        for (const auto& layer : layers_) {
            if (layer.Type == Products::Image) {
                return &layer;
            }
        }
    }
    for (const auto& layer : layers_) {
        if (layer.Key == name ||
            std::find(layer.Aliases.begin(), layer.Aliases.end(), name) != layer.Aliases.end()) {
            return &layer;
        }
    }
    return nullptr;
}

const Products::Layer* NITFProduct::selectLayer(const NITFURI& uri) const {
    switch (uri.object_type()) {
        case FileObject::Image:
            return nullptr;
        case FileObject::Named:
            return selectLayer(uri.object_name());
        default:
            return selectLayer(NITFProductProfile::DefaultObjectName);
    }
}

}  // namespace Tessel
