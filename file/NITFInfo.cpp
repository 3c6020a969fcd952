#include "tessel/file/NITFInfo.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <vector>

#include "tessel/platform/base/nitf_fs.h"
#include "tessel/platform/base/text.h"

namespace Tessel {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::string_view kFolder = "Resources/Raster/NITF/TREs";

// "CSATTA DES" is kept in the file "CSATTA_DES".
std::wstring fileNameOf(std::string_view name) {
    std::wstring wide = std::to_wstring(name);
    std::replace(wide.begin(), wide.end(), L' ', L'_');
    return wide;
}

// Descriptions are named by tags and segment names: printable ASCII. A name with a path
// separator, a dot name or bytes that aren't such text names no description file.
bool isDescriptionName(std::string_view name) {
    return !name.empty() && name != "." && name != ".." &&
           std::all_of(name.begin(), name.end(), [](char c) {
               const auto byte = static_cast<unsigned char>(c);
               return byte >= 0x20 && byte < 0x7F && c != '/' && c != '\\';
           });
}

std::string readWhole(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void addFields(Json& fields, NITFInfo::FieldMap& result) {
    for (auto& [member, value] : fields.items()) {
        const std::string key = member.substr(0, member.find('<'));
        value["Field"] = member;  // the proper name, "BAND<n>" for the key "BAND"
        result[key] = value.dump();
    }
}

}  // namespace

NITFInfo::NITFInfo() = default;
NITFInfo::~NITFInfo() = default;

NITFInfo& NITFInfo::get() {
    static NITFInfo info;
    return info;
}

NITFInfo::InfoPath NITFInfo::getInfoPath(const std::string_view& path) {
    std::vector<std::string_view> tokens;
    size_t start = 0;
    while (start <= path.size()) {
        const size_t end = std::min(path.find('/', start), path.size());
        if (end > start) {
            tokens.push_back(path.substr(start, end - start));
        }
        start = end + 1;
    }
    if (tokens.size() == 1) {
        return {tokens[0], {}};
    }
    if (tokens.size() == 2) {
        return {tokens[0], tokens[1]};
    }
    return {};
}

NITFInfo::FieldMap NITFInfo::loadField(const std::string_view& name) {
    FieldMap result;
    if (!isDescriptionName(name)) {
        return result;
    }
    const std::filesystem::path file = nitf_fs::findFile(kFolder, fileNameOf(name));
    if (file.empty() || !nitf_fs::is_regular_file(file)) {
        return result;
    }
    try {
        Json document = Json::parse(readWhole(file));
        if (document.is_object()) {
            for (auto& [member, value] : document.items()) {
                if (member == "Fields") {
                    addFields(value, result);
                }
            }
        }
        result["None"] = document.dump();
    } catch (const Json::exception&) {
        result.clear();  // a broken file describes nothing
    }
    return result;
}

const NITFInfo::FieldMap& NITFInfo::getFieldMap(const std::string_view& name) {
    const std::lock_guard lock(mutex_);
    if (const auto found = maps_.find(name); found != maps_.end()) {
        return found->second;
    }
    return maps_.emplace(std::string(name), loadField(name)).first->second;
}

std::string NITFInfo::readJSON(const InfoPath& path) {
    const FieldMap& fields = getFieldMap(path.name);
    if (const auto found = fields.find(path.field); found != fields.end()) {
        return found->second;
    }
    if (const auto whole = fields.find("None"); whole != fields.end()) {
        return whole->second;
    }
    return {};
}

}  // namespace Tessel
