// How a JSON profile turns an open file into a product: which layer definition takes which
// segment, how layers are checked and completed, display levels, titles, mosaics and
// properties.
#include <fmt/format.h>

#include <algorithm>
#include <boost/property_tree/json_parser.hpp>
#include <sstream>
#include <stdexcept>

#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFile.h"
#include "tessel/file/NITFFileContext.h"
#include "tessel/paths/PathWalker.h"
#include "tessel/platform/base/text.h"
#include "tessel/products/NITFProduct.h"
#include "tessel/products/NITFProductDefaultProfile.h"
#include "tessel/products/NITFProductJsonConfigProfile.h"
#include "tessel/products/Substitution.h"

namespace Tessel {
namespace {

using namespace Products;

// How many base profiles the current thread is inside: a chain longer than any real one is
// a cycle of "Base" names.
thread_local int jsonProfileBaseDepth = 0;
constexpr int maxJsonProfileBaseDepth = 16;

struct BaseDepthGuard {
    BaseDepthGuard() { ++jsonProfileBaseDepth; }
    ~BaseDepthGuard() { --jsonProfileBaseDepth; }
    BaseDepthGuard(const BaseDepthGuard&) = delete;
    BaseDepthGuard& operator=(const BaseDepthGuard&) = delete;
};

NITFProductProfile::ComputeContext jsonProfileContext(const NITFFileContext& context,
                                                      const NITFURI& uri, int64_t index) {
    NITFProductProfile::ComputeContext compute;
    compute.fileContext = &context;
    compute.uri = uri;
    compute.imageIndex = index;
    return compute;
}

// Whether a map document parses as one JSON value with nothing after it; the parser's line
// and message otherwise.
bool mapDocParses(const std::wstring& mapDoc, std::string& failure) {
    std::string text = std::to_string(mapDoc);
    boost::property_tree::ptree tree;
    try {
        std::istringstream in(text);
        boost::property_tree::read_json(in, tree);
    } catch (const boost::property_tree::json_parser_error& error) {
        failure = fmt::format("MapDoc does not contain valid JSON - Line {} - Message: {}.",
                              error.line(), error.message());
        return false;
    }
    return true;
}

void numberTitles(std::vector<Layer>& layers) {
    int image = 1;
    int overlay = 1;
    int feature = 1;
    int table = 1;
    for (Layer& layer : layers) {
        const std::string title = std::to_string(layer.Title);
        switch (layer.Type) {
            case Image:
                layer.Title = std::to_wstring(fmt::format("Image {} - {}", image++, title));
                break;
            case ScreenOverlay:
                layer.Title = std::to_wstring(fmt::format("Overlay {} - {}", overlay++, title));
                break;
            case Feature:
                layer.Title = std::to_wstring(fmt::format("Feature {} - {}", feature++, title));
                break;
            case Table:
                layer.Title = std::to_wstring(fmt::format("Table {} - {}", table++, title));
                break;
            default:
                break;
        }
    }
}

}  // namespace

int NITFProductJsonConfigProfile::matchesFile(const NITFFileContext& context,
                                              const ProfileEvalHooks& hooks) {
    return Products::matchesFile(
        match_, contextEvaluator(jsonProfileContext(context, context.getURI(), 0)), hooks);
}

std::shared_ptr<NITFProduct> NITFProductJsonConfigProfile::openProduct(
    const NITFFileContext& context, NITFMessages& messages, const ProfileEvalHooks& hooks) {
    auto product = std::make_shared<NITFProduct>();
    std::vector<Layer> layers;
    const auto images = static_cast<int>(context.getNumberImages());
    for (int i = 0; i < images; ++i) {
        ProcessImageSegment(i, context, layers, messages, hooks);
    }
    ProcessFeatureSegments(context, layers, messages, hooks);
    int tableIndex = 0;
    ProcessTables(context, tableIndex, layers, messages, hooks);
    uint16_t automatic = 65535;
    for (Layer& layer : layers) {
        if (layer.DisplayLevel == 65535) {
            layer.DisplayLevel = automatic;
            automatic = automatic > 0 ? static_cast<uint16_t>(automatic - 1) : 0;
        }
    }
    numberTitles(layers);
    std::sort(layers.begin(), layers.end(),
              [](const Layer& a, const Layer& b) { return a.DisplayLevel < b.DisplayLevel; });
    for (Layer& layer : layers) {
        product->emplace_layer(std::move(layer));
    }
    NITFURI uri = context.getURI();
    uri.profile_name(name_);
    const ComputeContext compute = jsonProfileContext(context, uri, 0);
    const Evaluator evaluator = contextEvaluator(compute);
    for (const MosaicDefinition& definition : getMosaicDefinitions()) {
        Mosaic mosaic = substitution(definition, compute, hooks);
        if (!definition.Match.empty() &&
            Products::matchesFile(definition.Match, evaluator, hooks) <= 0) {
            continue;
        }
        product->emplace_mosaic(std::move(mosaic));
    }
    for (const auto& [name, definition] : properties_) {
        product->getProperties()[name] = substitution(definition, evaluator, hooks, name);
    }
    return product;
}

std::shared_ptr<NITFProductJsonConfigProfile> NITFProductJsonConfigProfile::baseProfile(
    NITFMessages& messages) const {
    if (base_.empty()) {
        return nullptr;
    }
    if (jsonProfileBaseDepth >= maxJsonProfileBaseDepth) {
        messages.push_back(fmt::format("{}: Base profiles of '{}' form a cycle",
                                       std::to_string(name_), std::to_string(base_)));
        return nullptr;
    }
    auto base = std::dynamic_pointer_cast<NITFProductJsonConfigProfile>(
        NITFFactory::get().getProfile(base_, messages));
    if (!base) {
        messages.push_back(fmt::format("{}: Unable to find base profile '{}'",
                                       std::to_string(name_), std::to_string(base_)));
    }
    return base;
}

void NITFProductJsonConfigProfile::ProcessImageSegment(int index, const NITFFileContext& context,
                                                       std::vector<Layer>& layers,
                                                       NITFMessages& messages,
                                                       const ProfileEvalHooks& hooks) {
    reloadDefinitions();
    const NITFURI& uri = context.getURI();
    for (const LayerDefinition& definition : layers_) {
        if (definition.Type != Image && definition.Type != ScreenOverlay) {
            continue;
        }
        const std::wstring key =
            valueText(ComputeIsdValue(jsonProfileContext(context, uri, index), definition.Key));
        if (index == 0 && uri.object_type() != FileObject::None) {
            const std::wstring_view object = uri.object_name();
            const bool named = object == key || object == DefaultObjectName ||
                               std::find(definition.Aliases.begin(), definition.Aliases.end(),
                                         object) != definition.Aliases.end();
            if (!named) {
                continue;
            }
        }
        if (Process(definition, index, key, context, layers, messages, hooks,
                    any_type::value(int64_t{index}))) {
            return;
        }
    }
    if (auto base = baseProfile(messages)) {
        const BaseDepthGuard guard;
        base->ProcessImageSegment(index, context, layers, messages, hooks);
    }
}

void NITFProductJsonConfigProfile::ProcessFeatureSegments(const NITFFileContext& context,
                                                          std::vector<Layer>& layers,
                                                          NITFMessages& messages,
                                                          const ProfileEvalHooks& hooks) {
    if (!context) {
        return;
    }
    const int64_t count = context.getFile().getPathInt(0, "/FileHeader/NUMDES", 0);
    for (int64_t i = 0; i < count; ++i) {
        ProcessFeatureSegment(static_cast<int>(i), context, layers, messages, hooks);
    }
}

void NITFProductJsonConfigProfile::ProcessFeatureSegment(int index, const NITFFileContext& context,
                                                         std::vector<Layer>& layers,
                                                         NITFMessages& messages,
                                                         const ProfileEvalHooks& hooks) {
    reloadDefinitions();
    const std::string tag =
        context.getPathString(fmt::format("DESs/{}/DESTAG", index), std::string());
    if (tag != "CSSHPA DES" && tag != "CSSHPB DES" && tag != "CSSHPB") {
        return;
    }
    for (const LayerDefinition& definition : layers_) {
        if (definition.Type != Feature) {
            continue;
        }
        const any_type::value value = std::to_wstring(fmt::format("DES:{}:{}", index, tag));
        if (Process(definition, index, definition.Key, context, layers, messages, hooks, value)) {
            return;
        }
    }
    if (auto base = baseProfile(messages)) {
        const BaseDepthGuard guard;
        base->ProcessFeatureSegment(index, context, layers, messages, hooks);
    }
}

void NITFProductJsonConfigProfile::ProcessTables(const NITFFileContext& context, int& tableIndex,
                                                 std::vector<Layer>& layers, NITFMessages& messages,
                                                 const ProfileEvalHooks& hooks) {
    reloadDefinitions();
    for (const LayerDefinition& definition : layers_) {
        if (definition.Type != Table) {
            continue;
        }
        const std::wstring key = valueText(ComputeIsdValue(
            jsonProfileContext(context, context.getURI(), tableIndex), definition.Key));
        if (Process(definition, tableIndex, key, context, layers, messages, hooks,
                    any_type::value(int64_t{tableIndex}))) {
            ++tableIndex;
        }
    }
    if (auto base = baseProfile(messages)) {
        const BaseDepthGuard guard;
        base->ProcessTables(context, tableIndex, layers, messages, hooks);
    }
}

bool NITFProductJsonConfigProfile::Process(const LayerDefinition& definition, int index,
                                           const std::wstring& keyText,
                                           const NITFFileContext& context,
                                           std::vector<Layer>& layers, NITFMessages& messages,
                                           const ProfileEvalHooks& hooks,
                                           const any_type::value& value) {
    NITFURI uri = context.getURI();
    uri.profile_name(name_);
    uri.object_name(keyText);
    const std::wstring uriText = uri.getURI_u16(URIParts::Everything);
    if (hooks.layer) {
        hooks.layer(uriText, 0, value);
    }
    ComputeContext compute = jsonProfileContext(context, uri, index);
    if (!definition.Match.empty() &&
        Products::matchesFile(definition.Match, contextEvaluator(compute), hooks) <= 0) {
        if (hooks.layer) {
            hooks.layer(uriText, 2, value);
        }
        return false;
    }
    Layer layer = substitution(definition, compute, hooks);
    if (ValidateLayer(context, uri, index, definition, layer, messages, hooks)) {
        layers.push_back(std::move(layer));
    }
    if (hooks.propertyDefinition && hooks.layer) {
        hooks.layer(uriText, 1, value);
    }
    return true;
}

bool NITFProductJsonConfigProfile::ValidateLayer(const NITFFileContext& context, const NITFURI& uri,
                                                 int index, const LayerDefinition& definition,
                                                 Layer& layer, NITFMessages& messages,
                                                 const ProfileEvalHooks& hooks) {
    if (layer.Key.empty()) {
        messages.emplace_back("Layer Key is empty");
        return false;
    }
    if (layer.Title.empty()) {
        messages.emplace_back("Layer Title is empty");
        return false;
    }
    const std::string title = std::to_string(layer.Title);
    try {
        if (layer.MapDoc.empty() && layer.Type == Image && context) {
            const std::string connection = "DATABASE=" + uri.getURI_u8(URIParts::Folder);
            const std::string dataset =
                uri.getURI_u8(URIParts::FileName | URIParts::Profile | URIParts::Object);
            layer.MapDoc = std::to_wstring(NITFProductDefaultProfile::MapDocForImage(
                context, index, title, title, connection, dataset));
        } else if (layer.MapDoc.empty() && layer.Type == Feature && context) {
            const std::wstring connection = NITFProductDefaultProfile::MakeFeatureConnectionString(
                context, std::to_wstring(fmt::format("Feature/DES/{}/ConnectionString", index)));
            layer.MapDoc = std::to_wstring(NITFProductDefaultProfile::MapDocForFeature(
                context, index, title, title, std::to_string(connection)));
        }
    } catch (const std::exception& error) {
        messages.push_back(fmt::format("{}: {}", title, error.what()));
        return false;
    }
    std::string failure;
    if (!mapDocParses(layer.MapDoc, failure)) {
        messages.push_back(failure);
        return false;
    }
    if (layer.Type != Image || !context) {
        return true;
    }
    const NITFFile& file = context.getFile();
    int64_t bands = file.getPathInt(index, "/Image/NBANDS", 0);
    if (bands == 0) {
        bands = file.getPathInt(index, "/Image/XBANDS", 0);
    }
    // XBANDS has five digits: no image has more bands than that.
    bands = std::clamp<int64_t>(bands, 0, 99999);
    layer.Bands.resize(static_cast<size_t>(bands));
    ComputeContext compute = jsonProfileContext(context, uri, index);
    for (size_t b = 0; b < layer.Bands.size(); ++b) {
        compute.bandIndex = static_cast<int64_t>(b);
        for (const auto& [name, property] : definition.Properties) {
            if (name.rfind(L"Band-", 0) != 0) {
                continue;
            }
            const std::wstring shortName = name.substr(5);
            if (layer.Bands[b].find(shortName) == layer.Bands[b].end()) {
                layer.Bands[b][shortName] =
                    substitution(property, contextEvaluator(compute), hooks, name);
            }
        }
    }
    return true;
}

any_type::value NITFProductJsonConfigProfile::getPropertyValue(
    std::string_view path, const ComputeContext& context) const {
    const std::vector<std::string> pieces = NITFPathInternal::splitItems(path, '/');
    try {
        if (pieces.size() >= 2 && pieces[0] == "Layer") {
            const LayerDefinition& layer = getLayerDefinition(std::to_wstring(pieces[1]));
            if (pieces.size() < 3) {
                return {};
            }
            const auto found = layer.Properties.find(std::to_wstring(pieces[2]));
            if (found == layer.Properties.end()) {
                return {};
            }
            return substitution(found->second, contextEvaluator(context), {});
        }
        if (pieces.empty()) {
            return {};
        }
        return substitution(getPropertyDefinition(std::to_wstring(pieces[0])),
                            contextEvaluator(context), {});
    } catch (const std::runtime_error&) {
        return {};
    }
}

const PropertyDefinition& NITFProductJsonConfigProfile::getPropertyDefinition(
    std::wstring_view name) const {
    if (const auto found = properties_.find(name); found != properties_.end()) {
        return found->second;
    }
    for (const auto& [key, definition] : properties_) {
        if (std::find(definition.aliases.begin(), definition.aliases.end(), name) !=
            definition.aliases.end()) {
            return definition;
        }
    }
    throw std::runtime_error("Property '" + std::to_string(name) + "' not found in profile '" +
                             std::to_string(name_) + "'");
}

const LayerDefinition& NITFProductJsonConfigProfile::getLayerDefinition(
    std::wstring_view key) const {
    const auto& layers = getLayerDefinitions();
    for (const auto& layer : layers) {
        if (layer.Key == key) {
            return layer;
        }
    }
    for (const auto& layer : layers) {
        if (std::find(layer.Aliases.begin(), layer.Aliases.end(), key) != layer.Aliases.end()) {
            return layer;
        }
    }
    throw std::runtime_error("Layer Definition '" + std::to_string(key) +
                             "' not found in profile '" + std::to_string(name_) + "'");
}

}  // namespace Tessel
