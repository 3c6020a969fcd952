// The factory's product operations and the profile tables they fill on first use.
#include <fmt/format.h>

#include <algorithm>
#include <mutex>
#include <set>

#include "file/NITFWarehouse.h"
#include "products/AutoContext.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/platform/base/nitf_fs.h"
#include "tessel/platform/base/nitf_log.h"
#include "tessel/platform/base/text.h"
#include "tessel/products/NITFProductDefaultProfile.h"
#include "tessel/products/NITFProductJsonConfigProfile.h"
#include "tessel/products/Substitution.h"

namespace Tessel {
namespace {

// Profiles whose "Base" chain comes back to itself, or names no loaded profile: they would
// process without end, or fail on every file.
void dropBrokenBases(ProfileTables& tables, NITFMessages& messages) {
    std::set<std::wstring> broken;
    for (const auto& [name, profile] : tables.byName) {
        const auto* json = dynamic_cast<const NITFProductJsonConfigProfile*>(profile.get());
        std::set<std::wstring> seen{name};
        for (std::wstring base = json != nullptr ? json->getBase() : std::wstring();
             !base.empty();) {
            auto found = tables.byName.find(base);
            if (const auto alias = tables.aliases.find(base); alias != tables.aliases.end()) {
                found = tables.byName.find(alias->second);
            }
            if (found == tables.byName.end()) {
                messages.push_back(fmt::format("{}: Base profile '{}' is not loaded",
                                               std::to_string(name), std::to_string(base)));
                broken.insert(name);
                break;
            }
            if (!seen.insert(found->first).second) {
                messages.push_back(fmt::format("{}: Circular base profile '{}'",
                                               std::to_string(name), std::to_string(base)));
                broken.insert(name);
                break;
            }
            const auto* next =
                dynamic_cast<const NITFProductJsonConfigProfile*>(found->second.get());
            base = next != nullptr ? next->getBase() : std::wstring();
        }
    }
    for (const auto& name : broken) {
        tables.byName.erase(name);
        tables.origins.erase(name);
        std::erase_if(tables.ordered,
                      [&](const auto& entry) { return entry.second->getName() == name; });
    }
}

void loadProfileTables(ProfileTables& tables, NITFMessages& messages) {
    try {
        NITFProductJsonConfigProfile::AliasTable aliases;
        for (const auto& folder : nitf_fs::getConfigFolders(detail_profiles::ProfilesFolder)) {
            for (const auto& file : nitf_fs::readDirectory(folder / "*.json")) {
                NITFMessages fileMessages;
                for (auto& profile : NITFProductJsonConfigProfile::createProductProfiles(
                         file.wstring(), false, L"", aliases, fileMessages)) {
                    const std::wstring name = profile->getName();
                    if (tables.byName.count(name) != 0) {
                        continue;
                    }
                    tables.origins[name] = file.wstring();
                    tables.byName[name] = profile;
                    tables.ordered.emplace_back(profile->getPriority(), profile);
                }
                messages.insert(messages.end(), fileMessages.begin(), fileMessages.end());
            }
        }
        if (tables.byName.count(NITFProductProfile::DefaultProfileName) == 0) {
            auto generic = std::make_shared<NITFProductDefaultProfile>();
            tables.byName[generic->getName()] = generic;
            tables.origins[generic->getName()] = L"built-in";
            tables.ordered.emplace_back(generic->getPriority(), generic);
        }
        tables.aliases.insert(aliases.begin(), aliases.end());
        dropBrokenBases(tables, messages);
        std::stable_sort(tables.ordered.begin(), tables.ordered.end(),
                         [](const auto& a, const auto& b) { return a.first > b.first; });
    } catch (const std::exception& error) {
        if (nitf_log::is_enabled(2)) {
            nitf_log::write_logln(2, std::string_view("Failed to load NITF Product Profiles."));
        }
        messages.push_back(std::string("Failed to load NITF Product Profiles. ") + error.what());
    }
    tables.loaded = true;
}

ProfileTables& loadedProfiles(NITFMessages& messages) {
    ProfileTables& tables = NITFWarehouse::get().profiles();
    if (!tables.loaded) {
        loadProfileTables(tables, messages);
    }
    return tables;
}

}  // namespace

std::shared_ptr<NITFProductProfile> NITFFactory::getProfile(const std::wstring_view& name,
                                                            NITFMessages& messages) {
    NITFWarehouse& warehouse = NITFWarehouse::get();
    const std::lock_guard lock(warehouse.mutex());
    ProfileTables& tables = loadedProfiles(messages);
    if (const auto alias = tables.aliases.find(name); alias != tables.aliases.end()) {
        if (const auto found = tables.byName.find(alias->second); found != tables.byName.end()) {
            return found->second;
        }
    }
    const auto found = tables.byName.find(name);
    return found == tables.byName.end() ? nullptr : found->second;
}

std::vector<std::shared_ptr<NITFProductProfile>> NITFFactory::loadProfileFile(
    const std::wstring_view& path, NITFMessages& messages) {
    NITFProductJsonConfigProfile::AliasTable aliases;
    std::vector<std::shared_ptr<NITFProductProfile>> profiles;
    for (auto& profile : NITFProductJsonConfigProfile::createProductProfiles(
             std::wstring(path), true, L"", aliases, messages)) {
        profiles.push_back(std::move(profile));
    }
    return profiles;
}

std::vector<std::pair<int, std::wstring>> NITFFactory::getAllProfiles(NITFMessages& messages) {
    NITFWarehouse& warehouse = NITFWarehouse::get();
    const std::lock_guard lock(warehouse.mutex());
    std::vector<std::pair<int, std::wstring>> out;
    for (const auto& [priority, profile] : loadedProfiles(messages).ordered) {
        out.emplace_back(priority, profile->getName());
    }
    return out;
}

std::vector<std::wstring> NITFFactory::getAllProcessingTemplates() {
    NITFWarehouse& warehouse = NITFWarehouse::get();
    const std::lock_guard lock(warehouse.mutex());
    NITFMessages messages;
    std::set<std::wstring> templates;
    for (const auto& [priority, profile] : loadedProfiles(messages).ordered) {
        for (auto& name : profile->getProcessingTemplates()) {
            templates.insert(std::move(name));
        }
    }
    return {templates.begin(), templates.end()};
}

std::vector<std::pair<std::wstring, std::wstring>> NITFFactory::getProfileOrigins(
    NITFMessages& messages) {
    NITFWarehouse& warehouse = NITFWarehouse::get();
    const std::lock_guard lock(warehouse.mutex());
    ProfileTables& tables = loadedProfiles(messages);
    std::vector<std::pair<std::wstring, std::wstring>> out;
    for (const auto& [priority, profile] : tables.ordered) {
        out.emplace_back(profile->getName(), tables.origins[profile->getName()]);
    }
    return out;
}

std::wstring NITFFactory::getBestMatchingProfile(const NITFURI& uri, NITFMessages& messages,
                                                 const ProfileEvalHooks& hooks) {
    NITFFileContext context = open(uri, messages);
    NITFWarehouse& warehouse = NITFWarehouse::get();
    const std::lock_guard lock(warehouse.mutex());
    for (const auto& [priority, profile] : loadedProfiles(messages).ordered) {
        if (hooks.profile) {
            hooks.profile(*profile, 0);
        }
        if (profile->matchesFile(context, hooks) > 0) {
            return profile->getName();
        }
    }
    return NITFProductProfile::DefaultProfileName;
}

std::vector<std::pair<int, std::wstring>> NITFFactory::getMatchingProfiles(
    const NITFURI& uri, NITFMessages& messages, const ProfileEvalHooks& hooks) {
    NITFFileContext context = open(uri, messages);
    NITFWarehouse& warehouse = NITFWarehouse::get();
    const std::lock_guard lock(warehouse.mutex());
    std::vector<std::pair<int, std::wstring>> out;
    for (const auto& [priority, profile] : loadedProfiles(messages).ordered) {
        if (hooks.profile) {
            hooks.profile(*profile, 0);
        }
        if (const int score = profile->matchesFile(context, hooks); score != 0) {
            out.emplace_back(score, profile->getName());
        }
    }
    return out;
}

std::shared_ptr<NITFProduct> NITFFactory::openProduct(const NITFURI& uri, NITFMessages& messages,
                                                      const ProfileEvalHooks& hooks) {
    NITFURI chosen = uri;
    if (!chosen.has_profile()) {
        chosen.profile_name(getBestMatchingProfile(uri, messages, hooks));
    }
    const std::wstring name(chosen.profile_name());
    const auto profile = getProfile(name, messages);
    if (!profile) {
        messages.push_back(fmt::format("Unable to find profile '{}'", std::to_string(name)));
        return nullptr;
    }
    if (hooks.profile) {
        hooks.profile(*profile, 1);
    }
    NITFFileContext context = open(chosen, messages);
    if (!context) {
        return nullptr;
    }
    std::shared_ptr<NITFProduct> product;
    try {
        product = profile->openProduct(context, messages, hooks);
    } catch (const std::exception& error) {
        messages.push_back(fmt::format("{}: {}", std::to_string(name), error.what()));
        return nullptr;
    }
    if (!product) {
        return nullptr;
    }
    product->uri() = chosen;
    NITFProductProfile::ComputeContext compute;
    compute.fileContext = &context;
    compute.uri = chosen;
    compute.imageIndex = static_cast<int64_t>(chosen.object_index());
    const auto text = [&](const std::wstring& templateText) {
        return Products::valueText(NITFProductProfile::ComputeIsdValue(compute, templateText));
    };
    product->title() = text(profile->getTitle());
    product->name() = text(profile->getName());
    product->type() = text(profile->getType());
    return product;
}

}  // namespace Tessel
