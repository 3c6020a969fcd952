#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// Providers of measurements in an image (distances, heights, areas). The library offers no such
// service itself: the registry is for outside modules, which register makers under a name. A
// provider made through the registry receives the "RasterSensors" properties stored under that
// name.

#include <functional>
#include <memory>
#include <string>

namespace VEXASensors {

class MensurationProvider {
public:
    virtual ~MensurationProvider();
    // One stored property, key and value; called for each when the provider is made.
    virtual void setProperty(const std::wstring& key, const std::wstring& value) = 0;
};

class MensurationProviderFactory {
public:
    using Maker = std::function<std::unique_ptr<MensurationProvider>()>;

    static MensurationProviderFactory& get();

    MensurationProviderFactory(const MensurationProviderFactory&) = delete;
    MensurationProviderFactory& operator=(const MensurationProviderFactory&) = delete;

    // False, and nothing changes, when the name is registered already.
    bool registerProvider(const std::string& name, Maker maker);
    // The provider of that name with its properties set, or null for an unknown name.
    std::unique_ptr<MensurationProvider> createProvider(const std::string& name) const;

private:
    MensurationProviderFactory();
    ~MensurationProviderFactory();
    struct Impl;
    std::unique_ptr<Impl> impl_;
};

}  // namespace VEXASensors

TESSEL_PUBLIC_END
