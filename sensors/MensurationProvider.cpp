#include "tessel/sensors/MensurationProvider.h"

#include "sensors/ServiceProviderRegistry.h"

namespace VEXASensors {

struct MensurationProviderFactory::Impl {
    detail_service_providers::NamedProviderRegistry<MensurationProvider> registry;
};

MensurationProvider::~MensurationProvider() = default;

MensurationProviderFactory::MensurationProviderFactory() : impl_(std::make_unique<Impl>()) {}
MensurationProviderFactory::~MensurationProviderFactory() = default;

MensurationProviderFactory& MensurationProviderFactory::get() {
    static MensurationProviderFactory instance;
    return instance;
}

bool MensurationProviderFactory::registerProvider(const std::string& name, Maker maker) {
    return impl_->registry.add(name, std::move(maker));
}

std::unique_ptr<MensurationProvider> MensurationProviderFactory::createProvider(
    const std::string& name) const {
    return impl_->registry.make(name);
}

}  // namespace VEXASensors
