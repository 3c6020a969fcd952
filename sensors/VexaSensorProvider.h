#pragma once
// The library's own provider: one factory for each raster model of every CSM plug-in.

#include <cstddef>

#include "tessel/csm/Plugin.h"
#include "tessel/sensors/SensorProvider.h"

namespace VEXASensors {

class VexaCSMModelFactory : public ModelFactory {
public:
    VexaCSMModelFactory(const csm::Plugin* plugin, size_t index);

    bool canConstruct(const csm::Isd& isd, csm::WarningList* warnings) const override;
    csm::Model* constructFromState(const std::wstring& state,
                                   csm::WarningList* warnings) const override;
    csm::Model* construct(const csm::Isd& isd, csm::WarningList* warnings) const override;

private:
    const csm::Plugin* plugin_;
    size_t index_;
};

class VexaSensorProvider : public SensorProvider {
public:
    void initialize() override;
    void getModelFactories(FactoryList& factories) override;

    // Loads the plug-in modules of "bin/csm/plugins", each once, and makes the provider.
    static std::unique_ptr<SensorProvider> make();
};

}  // namespace VEXASensors
