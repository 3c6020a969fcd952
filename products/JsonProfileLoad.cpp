// Loading product profiles from JSON files.
#include <fmt/format.h>

#include <algorithm>
#include <fstream>

#include "products/AutoContext.h"
#include "tessel/platform/base/nitf_log.h"
#include "tessel/platform/base/text.h"
#include "tessel/products/NITFProductJsonConfigProfile.h"

namespace Tessel {

using detail_profiles::AutoContext;
using namespace Products;

struct JsonProfileLoader {
    static PropertySource loadSource(const AutoContext& element) {
        PropertySource source;
        if (!element.hasChildren()) {
            source.path = element.getWideString();
            return source;
        }
        element.checkKeys({"Path", "NotSet", "Map"});
        if (!element.has("Path")) {
            element.fail("Missing Path");
            return source;
        }
        source.path = element.child("Path").getWideString();
        if (element.has("NotSet")) {
            source.notSet = element.child("NotSet").getValue(true);
        }
        for (const auto& [key, pair] : element.child("Map", true).children()) {
            const auto items = pair.children();
            if (items.size() < 2) {
                pair.fail("Value needs two elements");
                continue;
            }
            if (items.size() > 2) {
                pair.fail("Value has too many elements");
                continue;
            }
            source.map.emplace_back(items[0].second.getValue(true), items[1].second.getValue(true));
        }
        return source;
    }

    static std::vector<PropertySource> loadSourcePaths(const AutoContext& paths) {
        std::vector<PropertySource> sources;
        if (!paths.exists()) {
            return sources;
        }
        if (!paths.hasChildren()) {
            sources.push_back(loadSource(paths));
            return sources;
        }
        for (const auto& [key, element] : paths.children()) {
            sources.push_back(loadSource(element));
        }
        return sources;
    }

    static PropertyDefinition loadProperty(const AutoContext& entry, bool keyForm) {
        PropertyDefinition definition;
        if (!entry.hasChildren()) {
            definition.sources.push_back({entry.getWideString(), {}, {}});
            return definition;
        }
        entry.checkKeys({"Aliases", "SourcePaths", "Default"});
        definition.aliases = entry.child("Aliases", !keyForm).getStringList();
        definition.sources = loadSourcePaths(entry.child("SourcePaths"));
        const AutoContext fallback = entry.child("Default", !keyForm);
        if (fallback.exists()) {
            definition.defaultValue = fallback.getValue(true);
        }
        return definition;
    }

    static PropertyDefinitions loadProperties(const AutoContext& node) {
        PropertyDefinitions properties;
        for (const auto& [key, entry] : node.children()) {
            properties[std::to_wstring(key)] = loadProperty(entry, false);
        }
        return properties;
    }

    static std::vector<MatchRule> loadMatchRules(const AutoContext& node) {
        std::vector<MatchRule> rules;
        for (const auto& [key, element] : node.children()) {
            element.checkKeys({"Key", "Operator", "Value"});
            MatchRule rule;
            rule.property = loadProperty(element.child("Key"), true);
            rule.op = element.child("Operator").getString();
            rule.values = element.child("Value").getStringList();
            rules.push_back(std::move(rule));
        }
        return rules;
    }

    static Source loadLayerSource(const AutoContext& node) {
        if (!node.hasChildren()) {
            return Source(node.getWideString());
        }
        node.checkKeys({"Template", "Arguments"});
        const std::string name = node.child("Template").getString();
        Source::Arguments arguments;
        for (const auto& [key, value] : node.child("Arguments").children()) {
            arguments[std::to_wstring(key)] = value.getWideString(true);
        }
        std::string failure;
        const auto found =
            detail_profiles::findInsideFolder(detail_profiles::FunctionsFolder, name, failure);
        if (found.empty()) {
            node.child("Template").fail(failure);
            return {};
        }
        std::ifstream in(found, std::ios::binary);
        const std::string content{std::istreambuf_iterator<char>(in),
                                  std::istreambuf_iterator<char>()};
        return Source(L"", std::to_wstring(content), std::move(arguments));
    }

    static LayerDefinition loadLayer(const AutoContext& node) {
        node.checkKeys({"Type", "Key", "Aliases", "Title", "DisplayLevel", "MapDoc", "Disposition",
                        "Match", "Source", "Bands", "Properties"});
        LayerDefinition layer;
        layer.Type = ToLayerType(node.child("Type").getString());
        layer.Key = node.child("Key").getWideString();
        layer.Aliases = node.child("Aliases", true).getStringList();
        layer.Title = node.child("Title").getWideString();
        layer.DisplayLevelTemplate = node.child("DisplayLevel", true).getWideString();
        layer.MapDoc = node.child("MapDoc").getWideString(true);
        const AutoContext disposition = node.child("Disposition", true);
        layer.Disposition = disposition.exists() ? LayerDisposition(disposition.getString())
                                                 : LayerDisposition(false, true, true, true);
        layer.Match = loadMatchRules(node.child("Match", true));
        layer.Source = loadLayerSource(node.child("Source"));
        // Only image layers have bands; the file's band count settles their number later.
        const AutoContext bands = node.child("Bands", true);
        for (const auto& [key, band] :
             layer.Type == Image ? bands.children() : decltype(bands.children()){}) {
            PropertyDefinitions values;
            for (const auto& [name, value] : band.children()) {
                values[std::to_wstring(name)].defaultValue = value.getValue(true);
            }
            layer.Bands.push_back(std::move(values));
        }
        layer.Properties = loadProperties(node.child("Properties", true));
        return layer;
    }

    static MosaicDefinition loadMosaic(const AutoContext& node, std::set<std::wstring>& templates) {
        node.checkKeys(
            {"ItemURI", "Footprint", "ProcessingTemplate", "Variables", "Properties", "Match"});
        MosaicDefinition mosaic;
        const AutoContext item = node.child("ItemURI");
        item.checkKeys({"Path", "Key", "Tag", "Group", "DisplayName", "ProductName",
                        "SourceTimeStamp", "Properties"});
        ItemURIDefinition uri;
        uri.Path = item.child("Path").getWideString();
        uri.Key = item.child("Key").getWideString();
        uri.Tag = item.child("Tag").getWideString();
        uri.Group = item.child("Group").getWideString();
        uri.DisplayName = item.child("DisplayName").getWideString();
        uri.ProductName = item.child("ProductName").getWideString();
        uri.SourceTimeStamp = item.child("SourceTimeStamp").getWideString();
        uri.Properties = loadProperties(item.child("Properties"));
        mosaic.ItemURIs.push_back(std::move(uri));
        mosaic.Footprint = node.child("Footprint").getWideString();
        mosaic.ProcessingTemplate = node.child("ProcessingTemplate").getWideString();
        templates.insert(mosaic.ProcessingTemplate);
        mosaic.Variables = loadProperties(node.child("Variables"));
        mosaic.Properties = loadProperties(node.child("Properties"));
        mosaic.Match = loadMatchRules(node.child("Match", true));
        return mosaic;
    }

    // A required, non-empty string.
    static std::wstring requiredText(const AutoContext& node) {
        const size_t before = node.messages().size();
        std::wstring text = node.getWideString();
        // A read that failed has said why; its empty text needs no second message.
        if (node.exists() && text.empty() && node.messages().size() == before) {
            node.fail("Value should not be empty.");
        }
        return text;
    }

    // Wholly decimal digits with a value of at least 1; leading zeros are allowed, and a
    // value too large for the priority is refused like a bad one.
    static int positiveInteger(const AutoContext& node) {
        if (!node.exists()) {
            return 0;
        }
        const std::string text = node.getString();
        const bool digits = !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
            return c >= '0' && c <= '9';
        });
        const size_t first = digits ? text.find_first_not_of('0') : std::string::npos;
        const bool fits = first != std::string::npos && text.size() - first <= 9;
        const int value = fits ? std::stoi(text.substr(first)) : 0;
        if (value < 1) {
            node.fail(fmt::format("Value '{}' must be a positive integer.", text));
            return 0;
        }
        return value;
    }

    // One product; null when a read failed (its messages are in the sink) or the name filter
    // leaves it out.
    static std::shared_ptr<NITFProductJsonConfigProfile> loadProduct(const AutoContext& node,
                                                                     bool loadDefinitions,
                                                                     const std::wstring& filter) {
        NITFMessages& messages = node.messages();
        const size_t before = messages.size();
        auto profile = std::make_shared<NITFProductJsonConfigProfile>();
        profile->file_ = node.file();
        // Keys are read in order and the first that fails drops the product: one message.
        const auto failed = [&] { return messages.size() != before; };
        profile->name_ = requiredText(node.child("Name"));
        if (failed() || (!filter.empty() && profile->name_ != filter)) {
            return nullptr;
        }
        if (!node.checkKeys({"Name", "Title", "Type", "Priority", "Base", "ShowGeneric", "Match",
                             "LayerDefinitions", "MosaicDefinitions", "Properties"})) {
            return nullptr;
        }
        profile->title_ = requiredText(node.child("Title"));
        if (failed()) {
            return nullptr;
        }
        profile->type_ = requiredText(node.child("Type"));
        if (failed()) {
            return nullptr;
        }
        profile->priority_ = positiveInteger(node.child("Priority"));
        if (failed()) {
            return nullptr;
        }
        profile->base_ = node.child("Base", true).getWideString();
        const std::string showGeneric = node.child("ShowGeneric", true).getString();
        profile->showGeneric_ = showGeneric == "true" || showGeneric == "-1";
        if (failed()) {
            return nullptr;
        }
        profile->match_ = loadMatchRules(node.child("Match"));
        if (failed()) {
            return nullptr;
        }
        if (loadDefinitions) {
            for (const auto& [key, layer] : node.child("LayerDefinitions").children()) {
                profile->layers_.push_back(loadLayer(layer));
            }
            if (failed()) {
                return nullptr;
            }
            for (const auto& [key, mosaic] : node.child("MosaicDefinitions").children()) {
                profile->mosaics_.push_back(loadMosaic(mosaic, profile->processingTemplates_));
            }
            if (failed()) {
                return nullptr;
            }
            profile->definitionsLoaded_ = true;
        } else {
            // A product without its definitions would be listed and then fail on every file:
            // both keys must be there at start-up too. Processing templates are known then.
            (void)node.child("LayerDefinitions");
            for (const auto& [key, mosaic] : node.child("MosaicDefinitions").children()) {
                const AutoContext processing = mosaic.child("ProcessingTemplate", true);
                if (processing.exists() && !processing.hasChildren()) {
                    profile->processingTemplates_.insert(processing.getWideString());
                }
            }
        }
        profile->properties_ = loadProperties(node.child("Properties", true));
        return failed() ? nullptr : profile;
    }

    static std::vector<std::shared_ptr<NITFProductJsonConfigProfile>> load(
        const std::shared_ptr<const detail_profiles::Tree>& tree, const std::wstring& path,
        bool loadDefinitions, const std::wstring& filter,
        NITFProductJsonConfigProfile::AliasTable& aliases, NITFMessages& messages) {
        std::vector<std::shared_ptr<NITFProductJsonConfigProfile>> profiles;
        detail_profiles::LoadState state;
        state.messages = &messages;
        const AutoContext root(state, std::filesystem::path(path), tree);
        for (const auto& [key, product] : root.child("Products", true).children()) {
            if (auto profile = loadProduct(product, loadDefinitions, filter)) {
                profiles.push_back(std::move(profile));
            }
        }
        for (const auto& [alias, name] : root.child("Aliases", true).children()) {
            const std::wstring target = name.getWideString();
            if (!alias.empty() && !target.empty()) {
                aliases[std::to_wstring(alias)] = target;
            }
        }
        return profiles;
    }
};

std::vector<std::shared_ptr<NITFProductJsonConfigProfile>>
NITFProductJsonConfigProfile::createProductProfiles(const std::wstring& path, bool loadDefinitions,
                                                    const std::wstring& nameFilter,
                                                    AliasTable& aliases, NITFMessages& messages) {
    std::string failure;
    const auto tree = detail_profiles::readProfileTree(std::filesystem::path(path), failure);
    if (!tree) {
        messages.push_back(fmt::format("{}: {}", std::to_string(path), failure));
        return {};
    }
    return JsonProfileLoader::load(tree, path, loadDefinitions, nameFilter, aliases, messages);
}

std::vector<std::shared_ptr<NITFProductJsonConfigProfile>>
NITFProductJsonConfigProfile::createProductProfilesFromText(
    const std::string& text, const std::wstring& path, bool loadDefinitions,
    const std::wstring& nameFilter, AliasTable& aliases, NITFMessages& messages) {
    std::string failure;
    const auto tree = detail_profiles::parseProfileText(text, failure);
    if (!tree) {
        messages.push_back(fmt::format("{}: {}", std::to_string(path), failure));
        return {};
    }
    return JsonProfileLoader::load(tree, path, loadDefinitions, nameFilter, aliases, messages);
}

void NITFProductJsonConfigProfile::reloadDefinitions() const {
    const std::lock_guard lock(definitionsMutex_);
    if (definitionsLoaded_) {
        return;
    }
    AliasTable aliases;
    NITFMessages messages;
    const auto profiles = createProductProfiles(file_.wstring(), true, name_, aliases, messages);
    if (profiles.size() == 1) {
        layers_ = profiles.front()->layers_;
        mosaics_ = profiles.front()->mosaics_;
    }
    // Nobody waits for these messages: the profile was loaded before, without definitions.
    if (nitf_log::is_enabled(nitf_log::warning)) {
        for (const auto& message : messages) {
            nitf_log::write_logln(nitf_log::warning, std::string_view(message));
        }
    }
    definitionsLoaded_ = true;
}

const std::vector<LayerDefinition>& NITFProductJsonConfigProfile::getLayerDefinitions() const {
    reloadDefinitions();
    return layers_;
}

const std::vector<MosaicDefinition>& NITFProductJsonConfigProfile::getMosaicDefinitions() const {
    reloadDefinitions();
    return mosaics_;
}

std::vector<std::wstring> NITFProductJsonConfigProfile::getProcessingTemplates() const {
    return {processingTemplates_.begin(), processingTemplates_.end()};
}

}  // namespace Tessel
