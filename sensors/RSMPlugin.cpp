#include "tessel/sensors/RSMPlugin.h"

#include "tessel/core/Options.h"
#include "tessel/sensors/RSMPolyModel.h"

namespace VEXASensors {

const std::string RSM_PLUGIN_NAME = "VEXA_RSM";

namespace detail {

namespace detail_rsm_plugin_sink {

RSMFailSink rsmPluginSink(const IsdReader& reader) {
    return [&reader](const std::string& message) { reader.fail(message); };
}

}  // namespace detail_rsm_plugin_sink

using detail_rsm_plugin_sink::rsmPluginSink;

bool VerifyIsdRSM::operator()(const DocumentReader& reader) const {
    return RSMPolyModel::fromDocument(reader.value(), rsmPluginSink(reader)) != nullptr;
}

bool VerifyIsdRSM::operator()(const NitfReader& reader) const {
    return RSMPolyModel::fromFile(reader.file(), rsmPluginSink(reader)) != nullptr;
}

csm::Model* ConstructModelRSM::operator()(const DocumentReader& reader) const {
    return RSMPolyModel::fromDocument(reader.value(), rsmPluginSink(reader)).release();
}

csm::Model* ConstructModelRSM::operator()(const NitfReader& reader) const {
    return RSMPolyModel::fromFile(reader.file(), rsmPluginSink(reader)).release();
}

}  // namespace detail

// The grid form's name stands in no list: nothing reads grid records yet.
RSMPlugin::RSMPlugin()
    : Plugin(&Tessel::s_opt_vexa_rsm_enable, "VEXA_RSM", {&RSM_POLY_MODEL_NAME}) {}

namespace detail_rsm_plugin {

// Entered in CSM's list of plug-ins when the library loads.
const RSMPlugin theRsmPlugin;

}  // namespace detail_rsm_plugin

}  // namespace VEXASensors
