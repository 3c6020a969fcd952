#include "tessel/platform/base/versions.h"

#include <GeographicLib/Config.h>
#include <fmt/format.h>
#include <libxml/xmlversion.h>
#include <openjpeg.h>
#include <spdlog/version.h>
#include <boost/version.hpp>
#include <nlohmann/json.hpp>

#include <jpeglib.h>
#include <cstdio>  // jpeglib.h needs FILE first

#include <algorithm>
#include <exception>
#include <mutex>
#include <utility>

namespace {

struct VersionEntry {
    std::string name;
    std::string description;
    version_callback callback;
};

class VersionRegistry {
public:
    // Made on first use, so that static initialisers of any translation unit can register.
    static VersionRegistry& get() {
        static VersionRegistry registry;
        return registry;
    }

    void add(VersionEntry entry) {
        const std::lock_guard lock(mutex_);
        const bool known = std::any_of(entries_.begin(), entries_.end(),
                                       [&](const VersionEntry& e) { return e.name == entry.name; });
        if (!known) {
            entries_.push_back(std::move(entry));
        }
    }

    std::vector<VersionEntry> snapshot() const {
        const std::lock_guard lock(mutex_);
        return entries_;
    }

private:
    mutable std::mutex mutex_;
    std::vector<VersionEntry> entries_;
};

nlohmann::ordered_json runListing(const VersionEntry& entry,
                                  const std::map<std::string, std::string>& options) {
    nlohmann::ordered_json listing = {{"description", entry.description}};
    try {
        nlohmann::ordered_json value;
        if (entry.callback) {
            entry.callback(options, value);
        }
        listing["value"] = std::move(value);
    } catch (const std::exception& e) {
        listing["error"] = e.what();
    } catch (...) {
        listing["error"] = "Error";
    }
    return listing;
}

void listLibraryVersions(const std::map<std::string, std::string>& /*options*/,
                         nlohmann::ordered_json& out) {
    out = {
        {"tessel", TESSEL_VERSION},
        {"fmt",
         fmt::format("{}.{}.{}", FMT_VERSION / 10000, FMT_VERSION / 100 % 100, FMT_VERSION % 100)},
        {"spdlog", fmt::format("{}.{}.{}", SPDLOG_VER_MAJOR, SPDLOG_VER_MINOR, SPDLOG_VER_PATCH)},
        {"nlohmann_json", fmt::format("{}.{}.{}", NLOHMANN_JSON_VERSION_MAJOR,
                                      NLOHMANN_JSON_VERSION_MINOR, NLOHMANN_JSON_VERSION_PATCH)},
        {"boost", fmt::format("{}.{}.{}", BOOST_VERSION / 100000, BOOST_VERSION / 100 % 1000,
                              BOOST_VERSION % 100)},
        {"geographiclib", GEOGRAPHICLIB_VERSION_STRING},
        {"libxml2", LIBXML_DOTTED_VERSION},
        {"openjpeg", opj_version()},
        {"libjpeg", std::to_string(JPEG_LIB_VERSION)},
    };
}

const bool kLibraryVersionsRegistered = [] {
    registerVersionCB("modules", "List relevant modules and versions", listLibraryVersions);
    return true;
}();

}  // namespace

void registerVersionCB(const std::string& name, const std::string& description,
                       version_callback cb) {
    VersionRegistry::get().add({name, description, std::move(cb)});
}

std::vector<std::string> registeredVersionNames() {
    std::vector<std::string> names;
    for (const VersionEntry& entry : VersionRegistry::get().snapshot()) {
        names.push_back(entry.name);
    }
    return names;
}

nlohmann::ordered_json collectVersions(const std::map<std::string, std::string>& options) {
    nlohmann::ordered_json listings = nlohmann::ordered_json::object();
    for (const VersionEntry& entry : VersionRegistry::get().snapshot()) {
        listings[entry.name] = runListing(entry, options);
    }
    return listings;
}
