#include "tessel/sensors/IntersectionProvider.h"

#include "sensors/ServiceProviderRegistry.h"

namespace VEXASensors {

struct IntersectionProviderFactory::Impl {
    detail_service_providers::NamedProviderRegistry<IntersectionProvider> registry;
};

IntersectionProvider::~IntersectionProvider() = default;

IntersectionProviderFactory::IntersectionProviderFactory() : impl_(std::make_unique<Impl>()) {}
IntersectionProviderFactory::~IntersectionProviderFactory() = default;

IntersectionProviderFactory& IntersectionProviderFactory::get() {
    static IntersectionProviderFactory instance;
    return instance;
}

bool IntersectionProviderFactory::registerProvider(const std::string& name, Maker maker) {
    return impl_->registry.add(name, std::move(maker));
}

std::unique_ptr<IntersectionProvider> IntersectionProviderFactory::createProvider(
    const std::string& name) const {
    return impl_->registry.make(name);
}

}  // namespace VEXASensors
