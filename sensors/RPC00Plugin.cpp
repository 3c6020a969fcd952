#include "tessel/sensors/RPC00Plugin.h"

#include "tessel/core/Options.h"
#include "tessel/sensors/RPC00Model.h"

namespace VEXASensors {

const std::string RPC00_PLUGIN_NAME = "VEXA_RPC00";

namespace detail {

namespace {

RPC00FailSink rpcPluginSink(const IsdReader& reader) {
    return [&reader](const std::string& message) { reader.fail(message); };
}

}  // namespace

bool VerifyIsdRPC::operator()(const DocumentReader& reader) const {
    return RPC00Model::fromDocument(reader.value(), reader.modelName(), rpcPluginSink(reader)) !=
           nullptr;
}

bool VerifyIsdRPC::operator()(const NitfReader& reader) const {
    return RPC00Model::fromFile(reader.file(), reader.modelName(), rpcPluginSink(reader)) !=
           nullptr;
}

csm::Model* ConstructModelRPC::operator()(const DocumentReader& reader) const {
    return RPC00Model::fromDocument(reader.value(), reader.modelName(), rpcPluginSink(reader))
        .release();
}

csm::Model* ConstructModelRPC::operator()(const NitfReader& reader) const {
    return RPC00Model::fromFile(reader.file(), reader.modelName(), rpcPluginSink(reader)).release();
}

}  // namespace detail

// The names are the globals that the models carry; their addresses are fixed before any
// static object is made, so the order of initialisation between files doesn't matter.
RPC00Plugin::RPC00Plugin()
    : Plugin(&Tessel::s_opt_vexa_rpc_enable, "VEXA_RPC00", {&RPC_A_MODEL_NAME, &RPC_B_MODEL_NAME}) {
}

namespace detail_rpc_plugin {

// Entered in CSM's list of plug-ins when the library loads.
const RPC00Plugin theRpc00Plugin;

}  // namespace detail_rpc_plugin

}  // namespace VEXASensors
