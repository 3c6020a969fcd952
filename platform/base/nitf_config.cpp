#include "tessel/platform/base/nitf_config.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <mutex>
#include <nlohmann/json.hpp>
#include <sstream>

#include "tessel/platform/base/text.h"

namespace nitf_config {
namespace {

using json = nlohmann::ordered_json;

std::mutex& storeMutex() {
    static std::mutex mutex;
    return mutex;
}

json loadStore(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        return json::object();
    }
    json document = json::parse(in, nullptr, false);
    return document.is_object() ? document : json::object();
}

bool saveStore(const std::filesystem::path& path, const json& document) {
    std::error_code ec;
    if (path.has_parent_path()) {
        std::filesystem::create_directories(path.parent_path(), ec);
    }
    const std::filesystem::path temporary =
        path.string() + ".tmp." + std::to_string(static_cast<long>(::getpid()));
    {
        std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
        if (!out) {
            return false;
        }
        out << document.dump(2) << '\n';
        if (!out.flush()) {
            return false;
        }
    }
    std::filesystem::rename(temporary, path, ec);
    if (ec) {
        std::filesystem::remove(temporary, ec);
        return false;
    }
    return true;
}

property toProperty(const json& value) {
    if (value.is_number()) {
        return value.get<double>();
    }
    if (value.is_boolean()) {
        return value.get<bool>() ? 1.0 : 0.0;
    }
    if (value.is_string()) {
        return std::to_wstring(value.get<std::string>());
    }
    return {};
}

json toJson(const property& value) {
    if (const auto* number = std::get_if<double>(&value)) {
        return *number;
    }
    if (const auto* text = std::get_if<std::wstring>(&value)) {
        return std::to_string(*text);
    }
    return nullptr;
}

void setKey(json& document, const std::string& section, const std::string& key,
            const property& value) {
    json& group = document[section];
    if (!group.is_object()) {
        group = json::object();
    }
    if (std::holds_alternative<std::monostate>(value)) {
        group.erase(key);
    } else {
        group[key] = toJson(value);
    }
}

std::vector<option_base::registration>& optionRegistry() {
    static std::vector<option_base::registration> registry;
    return registry;
}

std::mutex& optionRegistryMutex() {
    static std::mutex mutex;
    return mutex;
}

}  // namespace

std::filesystem::path store_path() {
    if (const char* explicitPath = std::getenv("TESSEL_CONFIG"); explicitPath && *explicitPath) {
        return explicitPath;
    }
    if (const char* xdg = std::getenv("XDG_CONFIG_HOME"); xdg && *xdg) {
        return std::filesystem::path(xdg) / "tessel" / "config.json";
    }
    const char* home = std::getenv("HOME");
    return std::filesystem::path(home ? home : ".") / ".config" / "tessel" / "config.json";
}

bool matches_pattern(const std::wstring_view& key, const std::wstring_view& pattern) {
    // Iterative glob with backtracking to the last "*".
    size_t k = 0;
    size_t p = 0;
    size_t starAt = std::wstring_view::npos;
    size_t resumeKey = 0;
    while (k < key.size()) {
        if (p < pattern.size() && pattern[p] == L'*') {
            starAt = p++;
            resumeKey = k;
        } else if (p < pattern.size() && pattern[p] == key[k]) {
            ++p;
            ++k;
        } else if (starAt != std::wstring_view::npos) {
            p = starAt + 1;
            k = ++resumeKey;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == L'*') {
        ++p;
    }
    return p == pattern.size();
}

property read_property(const std::wstring_view& section, const std::wstring_view& key) {
    std::lock_guard lock(storeMutex());
    const json document = loadStore(store_path());
    const auto group = document.find(std::to_string(section));
    if (group == document.end() || !group->is_object()) {
        return {};
    }
    const auto value = group->find(std::to_string(key));
    return value == group->end() ? property{} : toProperty(*value);
}

bool write_property(const std::wstring_view& section, const std::wstring_view& key,
                    const property& value) {
    std::lock_guard lock(storeMutex());
    const auto path = store_path();
    json document = loadStore(path);
    setKey(document, std::to_string(section), std::to_string(key), value);
    return saveStore(path, document);
}

property_map read_properties(const std::wstring_view& section, const std::wstring_view& pattern) {
    std::lock_guard lock(storeMutex());
    const json document = loadStore(store_path());
    property_map result;
    const auto group = document.find(std::to_string(section));
    if (group == document.end() || !group->is_object()) {
        return result;
    }
    for (const auto& [key, value] : group->items()) {
        std::wstring wideKey = std::to_wstring(key);
        if (matches_pattern(wideKey, pattern)) {
            result.emplace(std::move(wideKey), toProperty(value));
        }
    }
    return result;
}

bool write_properties(const std::wstring_view& section, const property_map& values) {
    std::lock_guard lock(storeMutex());
    const auto path = store_path();
    json document = loadStore(path);
    const std::string group = std::to_string(section);
    for (const auto& [key, value] : values) {
        setKey(document, group, std::to_string(key), value);
    }
    return saveStore(path, document);
}

size_t clear_properties(const std::wstring_view& section, const std::wstring_view& pattern) {
    std::lock_guard lock(storeMutex());
    const auto path = store_path();
    json document = loadStore(path);
    const auto group = document.find(std::to_string(section));
    if (group == document.end() || !group->is_object()) {
        return 0;
    }
    std::vector<std::string> doomed;
    for (const auto& [key, value] : group->items()) {
        if (matches_pattern(std::to_wstring(key), pattern)) {
            doomed.push_back(key);
        }
    }
    for (const auto& key : doomed) {
        group->erase(key);
    }
    if (!doomed.empty() && !saveStore(path, document)) {
        return 0;
    }
    return doomed.size();
}

void option_base::registerOption(const wchar_t* name, const std::type_info& type,
                                 default_getter getDefault, current_getter getCurrent) {
    std::lock_guard lock(optionRegistryMutex());
    optionRegistry().push_back({name, &type, std::move(getDefault), std::move(getCurrent)});
}

std::vector<option_base::registration> option_base::registeredOptions() {
    std::lock_guard lock(optionRegistryMutex());
    return optionRegistry();
}

}  // namespace nitf_config
