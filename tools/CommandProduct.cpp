#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>
#include <variant>

#include "tessel/file/NITFFactory.h"
#include "tessel/platform/base/text.h"
#include "tessel/products/NITFProductJsonConfigProfile.h"
#include "tessel/products/Substitution.h"
#include "tools/Commands.h"
#include "tools/FileCommands.h"

namespace tessel_cli {
namespace {

using ProductJson = nlohmann::ordered_json;
using namespace Tessel::Products;

const char* layerTypeWord(LayerType type) {
    switch (type) {
        case Image:
            return "Image";
        case Feature:
            return "Feature";
        case Table:
            return "Table";
        case ScreenOverlay:
            return "ScreenOverlay";
        default:
            return "None";
    }
}

std::string productNarrow(const std::wstring& text) {
    return std::to_string(text);
}

ProductJson productValue(const any_type::value& value) {
    switch (value.index()) {
        case any_type::tag_empty:
            return nullptr;
        case any_type::tag_bool:
            return std::get<bool>(value);
        case any_type::tag_int:
            return std::get<int64_t>(value);
        case any_type::tag_double:
            return std::get<double>(value);
        default:
            return productNarrow(Tessel::Products::valueText(value));
    }
}

ProductJson productValues(const PropertyValues& values) {
    ProductJson out = ProductJson::object();
    for (const auto& [key, value] : values) {
        out[productNarrow(key)] = productValue(value);
    }
    return out;
}

ProductJson layerJson(const Layer& layer) {
    ProductJson out = ProductJson::object();
    out["key"] = productNarrow(layer.Key);
    out["type"] = layerTypeWord(layer.Type);
    out["title"] = productNarrow(layer.Title);
    out["displayLevel"] = layer.DisplayLevel;
    out["aliases"] = ProductJson::array();
    for (const auto& alias : layer.Aliases) {
        out["aliases"].push_back(productNarrow(alias));
    }
    out["disposition"] = static_cast<std::string>(layer.Disposition);
    out["source"] = productNarrow(layer.Source.path);
    const ProductJson document = ProductJson::parse(productNarrow(layer.MapDoc), nullptr, false);
    out["mapDocument"] =
        document.is_discarded() ? ProductJson(productNarrow(layer.MapDoc)) : document;
    out["properties"] = productValues(layer.Properties);
    out["bands"] = ProductJson::array();
    for (const auto& band : layer.Bands) {
        out["bands"].push_back(productValues(band));
    }
    return out;
}

ProductJson mosaicJson(const Mosaic& mosaic) {
    ProductJson out = ProductJson::object();
    out["footprint"] = productNarrow(mosaic.Footprint);
    out["processingTemplate"] = productNarrow(mosaic.ProcessingTemplate);
    out["variables"] = productValues(mosaic.Variables);
    out["properties"] = productValues(mosaic.Properties);
    out["items"] = ProductJson::array();
    for (const ItemURI& item : mosaic.ItemURIs) {
        out["items"].push_back({{"path", productNarrow(item.Path)},
                                {"key", productNarrow(item.Key)},
                                {"tag", productNarrow(item.Tag)},
                                {"group", productNarrow(item.Group)},
                                {"displayName", productNarrow(item.DisplayName)},
                                {"productName", productNarrow(item.ProductName)},
                                {"sourceTimeStamp", productValue(item.SourceTimeStamp)},
                                {"properties", productValues(item.Properties)}});
    }
    return out;
}

ProductJson productJson(const Tessel::NITFProduct& product) {
    ProductJson out = ProductJson::object();
    out["uri"] = product.uri().getURI_u8(Tessel::URIParts::Everything);
    out["title"] = productNarrow(product.title());
    out["name"] = productNarrow(product.name());
    out["type"] = productNarrow(product.type());
    out["properties"] = productValues(product.getProperties());
    out["layers"] = ProductJson::array();
    for (const auto& layer : product.getLayerDefinitions()) {
        out["layers"].push_back(layerJson(layer));
    }
    out["mosaics"] = ProductJson::array();
    for (const auto& mosaic : product.getMosaicDefinitions()) {
        out["mosaics"].push_back(mosaicJson(mosaic));
    }
    return out;
}

void printProduct(const ProductJson& product) {
    std::printf(
        "title: %s\nname: %s\ntype: %s\nuri: %s\n", product["title"].get<std::string>().c_str(),
        product["name"].get<std::string>().c_str(), product["type"].get<std::string>().c_str(),
        product["uri"].get<std::string>().c_str());
    std::printf("properties:\n");
    for (const auto& [key, value] : product["properties"].items()) {
        std::printf("  %s = %s\n", key.c_str(), value.dump().c_str());
    }
    std::printf("layers:\n");
    for (const auto& layer : product["layers"]) {
        std::printf("  %s %s (level %d): %s\n    map document: %s\n",
                    layer["type"].get<std::string>().c_str(),
                    layer["key"].get<std::string>().c_str(), layer["displayLevel"].get<int>(),
                    layer["title"].get<std::string>().c_str(), layer["mapDocument"].dump().c_str());
    }
    std::printf("mosaics:\n");
    for (const auto& mosaic : product["mosaics"]) {
        for (const auto& item : mosaic["items"]) {
            std::printf(
                "  item %s tag %s group %s name %s\n", item["path"].get<std::string>().c_str(),
                item["tag"].get<std::string>().c_str(), item["group"].get<std::string>().c_str(),
                item["displayName"].get<std::string>().c_str());
        }
    }
}

// The word after "--profile", or "--profile=NAME"; empty when neither is given.
std::string profileOption(const Arguments& arguments, bool& bad) {
    for (size_t i = 0; i < arguments.words.size(); ++i) {
        const std::string& word = arguments.words[i];
        if (word.rfind("--profile=", 0) == 0) {
            return word.substr(10);
        }
        if (word == "--profile") {
            if (i + 1 >= arguments.words.size()) {
                bad = true;
                return {};
            }
            return arguments.words[i + 1];
        }
    }
    return {};
}

int runProduct(const Arguments& arguments) {
    bool bad = false;
    const std::string profile = profileOption(arguments, bad);
    const size_t expected = profile.empty() || arguments.has("--profile=" + profile) ? 1 : 2;
    if (bad || arguments.positional.size() != expected) {
        return fail("product",
                    "expected a URI and at most --profile NAME (see 'tessel product --help')");
    }
    Tessel::NITFURI uri = uriFromArgument(arguments.positional[0]);
    if (!profile.empty()) {
        uri.profile_name(std::to_wstring(profile));
    }
    Tessel::NITFMessages messages;
    const auto product = Tessel::NITFFactory::get().openProduct(uri, messages);
    if (!product) {
        return reportOpenFailure("product", uri, messages);
    }
    for (const auto& message : messages) {
        std::fprintf(stderr, "tessel product: warning: %s\n", message.c_str());
    }
    const ProductJson out = productJson(*product);
    if (arguments.has("--json")) {
        std::printf("%s\n", out.dump(2, ' ', false, ProductJson::error_handler_t::replace).c_str());
    } else {
        printProduct(out);
    }
    return 0;
}

int runProfiles(const Arguments& arguments) {
    if (!arguments.positional.empty()) {
        return fail("profiles", "takes no arguments besides --json");
    }
    Tessel::NITFMessages messages;
    Tessel::NITFFactory& factory = Tessel::NITFFactory::get();
    ProductJson out = {{"profiles", ProductJson::array()},
                       {"processingTemplates", ProductJson::array()},
                       {"messages", ProductJson::array()}};
    for (const auto& [name, origin] : factory.getProfileOrigins(messages)) {
        const auto profile = factory.getProfile(name, messages);
        if (!profile) {
            continue;
        }
        ProductJson templates = ProductJson::array();
        for (const auto& templateName : profile->getProcessingTemplates()) {
            templates.push_back(productNarrow(templateName));
        }
        out["profiles"].push_back({{"name", productNarrow(name)},
                                   {"priority", profile->getPriority()},
                                   {"format", productNarrow(profile->getFormatType())},
                                   {"type", productNarrow(profile->getType())},
                                   {"title", productNarrow(profile->getTitle())},
                                   {"showGeneric", profile->getShowGeneric()},
                                   {"processingTemplates", templates},
                                   {"origin", productNarrow(origin)}});
    }
    for (const auto& templateName : factory.getAllProcessingTemplates()) {
        out["processingTemplates"].push_back(productNarrow(templateName));
    }
    for (const auto& message : messages) {
        out["messages"].push_back(message);
    }
    if (arguments.has("--json")) {
        std::printf("%s\n", out.dump(2, ' ', false, ProductJson::error_handler_t::replace).c_str());
        return 0;
    }
    for (const auto& profile : out["profiles"]) {
        std::printf("%-24s priority %-4d %-10s %s\n", profile["name"].get<std::string>().c_str(),
                    profile["priority"].get<int>(), profile["format"].get<std::string>().c_str(),
                    profile["origin"].get<std::string>().c_str());
    }
    std::printf("processing templates:");
    for (const auto& templateName : out["processingTemplates"]) {
        std::printf(" %s", templateName.get<std::string>().c_str());
    }
    std::printf("\n");
    for (const auto& message : messages) {
        std::fprintf(stderr, "tessel profiles: warning: %s\n", message.c_str());
    }
    return 0;
}

}  // namespace

Command productCommand() {
    return {"product", "product URI [--profile NAME] [--json]",
            "Show a NITF file as a product: title, properties, layers, mosaic items.",
            "The profile is the one named by --profile (or by the URI, \"a.ntf/NAME\"), else the\n"
            "first profile in priority order whose match rules all hold, else \"Generic\". Each\n"
            "layer prints its type, key, display level, title and map document; --json prints\n"
            "the whole product as one object.",
            runProduct};
}

Command profilesCommand() {
    return {"profiles", "profiles [--json]",
            "List the loaded product profiles and processing templates and where each came from.",
            "Profiles are the JSON files of Resources/Raster/NITF/Profiles in every configuration\n"
            "folder ($TESSEL_RESOURCE_PATH, the installed share/tessel, ~/.config/tessel), most\n"
            "specific first, and the built-in \"Generic\". Problems found while loading them go\n"
            "to standard error (with --json, to \"messages\").",
            runProfiles};
}

}  // namespace tessel_cli
