#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// Sources of model factories. The library's own provider, "VEXA", reaches every CSM plug-in:
// those linked in and those loaded as modules from the folder "bin/csm/plugins"
// (lib/tessel/csm/plugins of the installation, or under $TESSEL_HOME). Other modules may
// register providers of their own.

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tessel/sensors/ModelFactory.h"

namespace VEXASensors {

class SensorProvider {
public:
    using FactoryList = std::vector<std::unique_ptr<ModelFactory>>;

    virtual ~SensorProvider();
    // Prepares the provider; the library's own has nothing to do here.
    virtual void initialize() = 0;
    // Appends the provider's factories to `factories`.
    virtual void getModelFactories(FactoryList& factories) = 0;
};

class SensorProviderFactory {
public:
    using Maker = std::function<std::unique_ptr<SensorProvider>()>;

    virtual ~SensorProviderFactory();

    // False, and nothing changes, when the name is registered already. The list stays
    // sorted by ascending priority.
    static bool registerProvider(int priority, const std::string& name, Maker maker);
    // The provider of that name, or null for an unknown name.
    static std::unique_ptr<SensorProvider> createProvider(const std::string& name);
    static std::vector<std::pair<int, std::string>> getProviderInfo();
};

}  // namespace VEXASensors

TESSEL_PUBLIC_END
