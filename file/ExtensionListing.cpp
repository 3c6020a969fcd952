// The "nitf-tres" version listing: every extension name that NITRO has a handler for, with
// the name, description and classification that its description document gives.

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFInfo.h"
#include "tessel/platform/base/nitf_fs.h"
#include "tessel/platform/base/versions.h"
#include "tessel/platform/nitf/nitf_PluginRegistry.h"
#include "tessel/platform/nitf/nrt_HashTable.h"

namespace Tessel {
namespace {

std::vector<std::string> registeredExtensionNames() {
    std::vector<std::string> names;
    nitf_Error error{};
    nitf_PluginRegistry* registry = nitf_PluginRegistry_getInstance(&error);
    if (registry == nullptr || registry->treHandlers == nullptr) {
        return names;
    }
    nrt_HashTableIterator it = nrt_HashTable_begin(registry->treHandlers);
    nrt_HashTableIterator end = nrt_HashTable_end(registry->treHandlers);
    for (; nrt_HashTableIterator_notEqualTo(&it, &end); nrt_HashTableIterator_increment(&it)) {
        if (const nrt_Pair* pair = nrt_HashTableIterator_get(&it); pair != nullptr) {
            names.emplace_back(pair->key);
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

nlohmann::ordered_json describeExtension(const std::string& name) {
    nlohmann::ordered_json entry = {{"name", name}};
    try {
        const nlohmann::json description =
            nlohmann::json::parse(NITFInfo::get().readJSON(NITFInfo::InfoPath{name, {}}));
        for (const char* member : {"Name", "description"}) {
            if (description.contains(member)) {
                entry[member] = description[member];
            }
        }
        if (description.contains("Classification") &&
            description["Classification"].contains("level")) {
            entry["level"] = description["Classification"]["level"];
        }
    } catch (const std::exception& e) {
        entry["message"] = fmt::format("Failed to load: {}, {}", name, e.what());
    } catch (...) {
        entry["message"] = fmt::format("Failed to load: {}, Error", name);
    }
    return entry;
}

void listRegisteredExtensions(const std::map<std::string, std::string>& /*options*/,
                              nlohmann::ordered_json& out) {
    // Our own definitions register while the subsystem starts.
    NITFFactory::get();
    out = nlohmann::ordered_json::array();
    for (const std::string& name : registeredExtensionNames()) {
        // Test handlers that plug-ins may bring are not shown.
        if (name == "TEST DES" || name == "TEST_DES") {
            continue;
        }
        out.push_back(describeExtension(name));
    }
}

[[maybe_unused]] const bool listingRegistered = [] {
    registerVersionCB("nitf-tres", "List Registered NITF TREs", listRegisteredExtensions);
    return true;
}();

}  // namespace
}  // namespace Tessel
