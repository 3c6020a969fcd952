#include "sensors/VexaSensorProvider.h"

#include <fmt/format.h>

#include "tessel/platform/base/lumo_system.h"
#include "tessel/platform/base/nitf_fs.h"
#include "tessel/platform/base/nitf_log.h"
#include "tessel/platform/base/text.h"

namespace VEXASensors {

VexaCSMModelFactory::VexaCSMModelFactory(const csm::Plugin* plugin, size_t index)
    : ModelFactory(true, 10000, std::to_wstring(plugin->getPluginName()),
                   std::to_wstring(plugin->getManufacturer()),
                   std::to_wstring(plugin->getModelName(index))),
      plugin_(plugin),
      index_(index) {}

bool VexaCSMModelFactory::canConstruct(const csm::Isd& isd, csm::WarningList* warnings) const {
    csm::WarningList local;
    const bool result =
        plugin_->canModelBeConstructedFromISD(isd, plugin_->getModelName(index_), &local);
    if (warnings != nullptr) {
        warnings->splice(warnings->end(), local);
    }
    return result;
}

csm::Model* VexaCSMModelFactory::constructFromState(const std::wstring& state,
                                                    csm::WarningList* warnings) const {
    return plugin_->constructModelFromState(std::to_string(state), warnings);
}

csm::Model* VexaCSMModelFactory::construct(const csm::Isd& isd, csm::WarningList* warnings) const {
    return plugin_->constructModelFromISD(isd, plugin_->getModelName(index_), warnings);
}

void VexaSensorProvider::initialize() {}

void VexaSensorProvider::getModelFactories(FactoryList& factories) {
    for (const csm::Plugin* plugin : csm::Plugin::getList()) {
        const size_t count = plugin->getNumModels();
        for (size_t index = 0; index < count; ++index) {
            if (plugin->getModelFamily(index) != "GeometricRaster") {
                continue;
            }
            factories.push_back(std::make_unique<VexaCSMModelFactory>(plugin, index));
        }
    }
}

std::unique_ptr<SensorProvider> VexaSensorProvider::make() {
    const std::wstring pattern = L"*" + lumo_system::get_shared_library_suffix();
    for (const auto& folder : nitf_fs::getConfigFolders("bin/csm/plugins")) {
        for (const auto& module : nitf_fs::readDirectory(folder / pattern)) {
            const lumo_system::module_info info = lumo_system::get_module_info(module);
            if (!info.loaded) {
                if (nitf_log::is_enabled(nitf_log::warning)) {
                    nitf_log::write_logln(
                        nitf_log::warning,
                        fmt::format("RasterSensor -- Failed to load module : {} [{}]",
                                    module.string(), info.error));
                }
                continue;
            }
            if (csm::Plugin::getDataDirectory().empty()) {
                csm::Plugin::setDataDirectory((module.parent_path() / "data").string());
            }
        }
    }
    return std::make_unique<VexaSensorProvider>();
}

namespace detail_vexa_provider {

const bool vexaProviderRegistered =
    SensorProviderFactory::registerProvider(10000, "VEXA", &VexaSensorProvider::make);

}  // namespace detail_vexa_provider

}  // namespace VEXASensors
