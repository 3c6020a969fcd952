#include "tessel/sensors/SensorProvider.h"

#include <algorithm>
#include <mutex>

namespace VEXASensors {

SensorProvider::~SensorProvider() = default;
SensorProviderFactory::~SensorProviderFactory() = default;

namespace detail_sensor_provider {

struct ProviderEntry {
    int priority;
    std::string name;
    SensorProviderFactory::Maker maker;
};

struct ProviderRegistry {
    std::mutex mutex;
    std::vector<ProviderEntry> entries;
};

ProviderRegistry& providerRegistry() {
    static ProviderRegistry instance;
    return instance;
}

}  // namespace detail_sensor_provider

namespace sprov = detail_sensor_provider;

bool SensorProviderFactory::registerProvider(int priority, const std::string& name, Maker maker) {
    sprov::ProviderRegistry& r = sprov::providerRegistry();
    std::lock_guard lock(r.mutex);
    if (std::any_of(r.entries.begin(), r.entries.end(),
                    [&](const sprov::ProviderEntry& e) { return e.name == name; })) {
        return false;
    }
    r.entries.push_back({priority, name, std::move(maker)});
    std::stable_sort(r.entries.begin(), r.entries.end(),
                     [](const sprov::ProviderEntry& a, const sprov::ProviderEntry& b) {
                         return a.priority < b.priority;
                     });
    return true;
}

std::unique_ptr<SensorProvider> SensorProviderFactory::createProvider(const std::string& name) {
    Maker maker;
    {
        sprov::ProviderRegistry& r = sprov::providerRegistry();
        std::lock_guard lock(r.mutex);
        const auto it = std::find_if(r.entries.begin(), r.entries.end(),
                                     [&](const sprov::ProviderEntry& e) { return e.name == name; });
        if (it == r.entries.end()) {
            return nullptr;
        }
        maker = it->maker;
    }
    // A module loaded by the maker may register further providers: no lock is held here.
    return maker();
}

std::vector<std::pair<int, std::string>> SensorProviderFactory::getProviderInfo() {
    sprov::ProviderRegistry& r = sprov::providerRegistry();
    std::lock_guard lock(r.mutex);
    std::vector<std::pair<int, std::string>> info;
    for (const sprov::ProviderEntry& entry : r.entries) {
        info.emplace_back(entry.priority, entry.name);
    }
    return info;
}

}  // namespace VEXASensors
