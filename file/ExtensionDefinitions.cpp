// Registers the extensions that the library defines itself with NITRO's handler registry.
// Each registers from a factory callback: BANDSB and RPFIMG before the plug-ins load, so that
// ours win over a plug-in's; the data extension subheaders after them, so that a plug-in's
// win over ours.

#include <array>
#include <cstddef>
#include <tuple>
#include <utility>

#include "file/extensions/ExtensionTables.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/platform/nitf/nitf_PluginRegistry.h"
#include "tessel/platform/nitf/nitf_TREUtils.h"

namespace Tessel {
namespace {

constexpr std::size_t kMaxNames = 3;

struct ExtensionDefinition {
    nitf_TREDescriptionSet* set;
    NITFFactory::event_type event;
    // The registry's plug-in key, the names, and the null that ends them.
    std::array<const char*, kMaxNames + 2> identity;
};

std::array<ExtensionDefinition, 5> definitions = {{
    {&ExtensionTables::BANDSB,
     NITFFactory::plugins_loading,
     {NITF_PLUGIN_TRE_KEY, "BANDSB", nullptr}},
    {&ExtensionTables::CSATTA,
     NITFFactory::plugins_loaded,
     {NITF_PLUGIN_TRE_KEY, "CSATTA DES", "CSATTA_DES", nullptr}},
    {&ExtensionTables::CSSHPA,
     NITFFactory::plugins_loaded,
     {NITF_PLUGIN_TRE_KEY, "CSSHPA", "CSSHPA DES", "CSSHPA_DES", nullptr}},
    {&ExtensionTables::CSSHPB,
     NITFFactory::plugins_loaded,
     {NITF_PLUGIN_TRE_KEY, "CSSHPB", "CSSHPB DES", "CSSHPB_DES", nullptr}},
    {&ExtensionTables::RPFIMG,
     NITFFactory::plugins_loading,
     {NITF_PLUGIN_TRE_KEY, "RPFIMG", nullptr}},
}};

// The registry keeps plain function pointers, so each extension gets its own pair of
// functions over its own handler storage.
template <std::size_t Index>
nitf_TREHandler handlerStorage{};

template <std::size_t Index>
const char** initExtension(nitf_Error* error) {
    ExtensionDefinition& definition = definitions[Index];
    if (nitf_TREUtils_createBasicHandler(definition.set, &handlerStorage<Index>, error) ==
        nullptr) {
        return nullptr;
    }
    return definition.identity.data();
}

template <std::size_t Index>
nitf_TREHandler* extensionHandler(nitf_Error*) {
    return &handlerStorage<Index>;
}

template <std::size_t Index>
void registerOnEvent() {
    NITFFactory::registerCallback([](NITFFactory::event_type event, const any_type::value&) {
        if (event == definitions[Index].event) {
            // A refused registration leaves the extension opaque; nobody is told.
            nitf_Error error{};
            nitf_PluginRegistry_registerTREHandler(initExtension<Index>, extensionHandler<Index>,
                                                   &error);
        }
    });
}

template <std::size_t... Indices>
bool registerAll(std::index_sequence<Indices...>) {
    (registerOnEvent<Indices>(), ...);
    return true;
}

[[maybe_unused]] const bool registered =
    registerAll(std::make_index_sequence<std::tuple_size_v<decltype(definitions)>>());

}  // namespace
}  // namespace Tessel
