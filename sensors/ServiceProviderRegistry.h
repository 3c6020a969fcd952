#pragma once

// The registry behind the mensuration and intersection provider factories: makers by name,
// and providers made with the "RasterSensors" properties stored under their name.

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "tessel/platform/base/text.h"
#include "tessel/sensors/RasterSensorFactory.h"

namespace VEXASensors::detail_service_providers {

template <class Provider>
class NamedProviderRegistry {
public:
    using Maker = std::function<std::unique_ptr<Provider>()>;

    // False, and nothing changes, when the name is taken.
    bool add(const std::string& name, Maker maker) {
        std::lock_guard lock(mutex_);
        return makers_.emplace(name, std::move(maker)).second;
    }

    std::unique_ptr<Provider> make(const std::string& name) const {
        Maker maker;
        {
            std::lock_guard lock(mutex_);
            const auto it = makers_.find(name);
            if (it == makers_.end()) {
                return nullptr;
            }
            maker = it->second;
        }
        // No lock is held from here on: the maker, and the sensor factory's first use, may
        // load modules that register providers of their own.
        std::unique_ptr<Provider> provider = maker ? maker() : nullptr;
        if (provider != nullptr) {
            const auto properties = RasterSensorFactory::get().getProperties(std::to_wstring(name));
            for (const auto& [key, value] : properties) {
                provider->setProperty(key, value);
            }
        }
        return provider;
    }

private:
    mutable std::mutex mutex_;
    std::map<std::string, Maker> makers_;
};

}  // namespace VEXASensors::detail_service_providers
