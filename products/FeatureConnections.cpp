// The connection strings of shape data held in data extension segments (CSSHPA, CSSHPB):
// three sub-files (SHP, SHX, DBF) of the segment's data, read through /vsisubfile/.
#include <fmt/format.h>

#include <charconv>
#include <map>
#include <stdexcept>

#include "tessel/file/NITFFileContext.h"
#include "tessel/paths/PathWalker.h"
#include "tessel/platform/base/text.h"
#include "tessel/products/NITFProductDefaultProfile.h"

namespace Tessel {
namespace {

using FeatureJson = NITFProductDefaultProfile::json;

constexpr std::string_view featureWgs84 =
    R"(GEOGCS["GCS_WGS_1984",DATUM["D_WGS_1984",SPHEROID["WGS_1984",6378137.0,298.257223563]],PRIMEM["Greenwich",0.0],UNIT["Degree",0.0174532925199433]])";

// A number of the segment's document, which the path language writes as text.
int64_t featureNumber(const FeatureJson& value) {
    if (value.is_number_integer()) {
        return value.get<int64_t>();
    }
    const std::string& text = value.get_ref<const std::string&>();
    std::string_view digits = text;
    while (!digits.empty() && digits.front() == ' ') {
        digits.remove_prefix(1);
    }
    int64_t number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (error != std::errc() || digits.empty()) {
        throw std::invalid_argument("'" + text + "' is not a number");
    }
    (void)end;
    return number;
}

bool featureEndsWith(std::string_view text, std::string_view suffix) {
    return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

// "+2" and "2" are numbers; anything else, or text left over, is -1.
int featureIndex(std::string_view text) {
    if (!text.empty() && text.front() == '+') {
        text.remove_prefix(1);
    }
    int value = -1;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (text.empty() || error != std::errc() || end != text.data() + text.size()) {
        return -1;
    }
    return value;
}

bool featureShapeUseIs(const NITFFileContext& context, int64_t index, std::string_view use) {
    return context.getPathString(fmt::format("DESs/{}/UserDefinedSubHeader/SHAPE_USE", index),
                                 std::string()) == use;
}

}  // namespace

std::string NITFProductDefaultProfile::CreateFeatureConnectionString(const NITFFileContext& context,
                                                                     const json& document) {
    const int64_t dataLength = featureNumber(document.at("DataLength"));
    const int64_t dataOffset = featureNumber(document.at("DataOffset"));
    const json& subheader = document.at("UserDefinedSubHeader");
    const std::string shapeClass = subheader.at("SHAPE_CLASS").get<std::string>();
    (void)subheader.at("SHAPE_USE");
    std::map<std::string, int64_t> starts;
    std::vector<std::pair<std::string, int64_t>> ordered;
    for (int k = 1; k <= 3; ++k) {
        const std::string name = subheader.at(fmt::format("SHAPE{}_NAME", k)).get<std::string>();
        if (name.empty()) {
            throw std::invalid_argument(fmt::format("SHAPE{}_NAME is empty", k));
        }
        ordered.emplace_back(name, featureNumber(subheader.at(fmt::format("SHAPE{}_START", k))));
    }
    std::string coordinates = featureEndsWith(shapeClass, "_LineSample") ? "LineSample" : "WGS-84";
    if (document.at("DESTAG").get<std::string>() == "CSSHPB DES") {
        coordinates = subheader.at("SHAPE_COORD").get<std::string>();
    }
    std::string path = context.getURI().getURI_u8(URIParts::Path);
    for (char& c : path) {
        c = c == '\\' ? '/' : c;
    }
    std::map<std::string, std::string> components;
    for (size_t k = 0; k < ordered.size(); ++k) {
        const int64_t start = ordered[k].second;
        const int64_t end = k + 1 < ordered.size() ? ordered[k + 1].second : dataLength;
        components[ordered[k].first] =
            fmt::format("/vsisubfile/{}_{},{}", dataOffset + start, end - start, path);
    }
    for (const char* name : {"SHP", "SHX", "DBF"}) {
        if (components.find(name) == components.end()) {
            return {};
        }
    }
    const std::string prj = coordinates == "LineSample" ? "LINESAMPLE" : std::string(featureWgs84);
    return fmt::format("DATABASE={};DBF={};SHX={};PRJ={};SHAPETYPE={}", components["SHP"],
                       components["DBF"], components["SHX"], prj, shapeClass);
}

std::wstring NITFProductDefaultProfile::MakeFeatureConnectionString(const NITFFileContext& context,
                                                                    const std::wstring_view& path) {
    const std::vector<std::string> parts = NITFPathInternal::splitItems(std::to_string(path), '/');
    if (parts.size() < 2) {
        return {};
    }
    int64_t index = parts.size() == 4 ? featureIndex(parts[2]) : -1;
    if (parts[1] != "DES") {
        index = -1;
        const int64_t count = context.getPathInt("/FileHeader/NUMDES", 0);
        for (int64_t i = 0; i < count; ++i) {
            if (featureShapeUseIs(context, i, parts[1])) {
                index = i;
                break;
            }
        }
    }
    if (index < 0) {
        return {};
    }
    // A segment that isn't there, or malformed shape data, raise the JSON library's errors:
    // a path expression turns them into an empty value, a layer check into a refused layer.
    const std::string text =
        context.getPathString(fmt::format("DESs/{}?JSON", index), std::string());
    return std::to_wstring(CreateFeatureConnectionString(context, json::parse(text)));
}

std::wstring NITFProductDefaultProfile::ProcessDataExtensionSegments(
    const NITFFileContext& context, const std::wstring_view& path) {
    const std::vector<std::string> parts = NITFPathInternal::splitItems(std::to_string(path), '/');
    if (parts.size() < 2) {
        return {};
    }
    const int64_t count = context.getPathInt("/FileHeader/NUMDES", 0);
    for (int64_t i = 0; i < count; ++i) {
        if (featureShapeUseIs(context, i, parts[1])) {
            return L"true";
        }
    }
    return {};
}

std::wstring NITFProductDefaultProfile::CheckForFeatureDefinition(const NITFFileContext& context,
                                                                  const std::wstring_view& path) {
    return ProcessDataExtensionSegments(context, path);
}

}  // namespace Tessel
