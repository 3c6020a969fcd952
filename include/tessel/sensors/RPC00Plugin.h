#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// The CSM plug-in of the rational polynomial models, VEXA_RPC_A and VEXA_RPC_B.

#include "tessel/csm/Model.h"
#include "tessel/sensors/IsdReader.h"
#include "tessel/sensors/Plugin.h"

namespace VEXASensors {

extern const std::string RPC00_PLUGIN_NAME;  // "VEXA_RPC00"

namespace detail {

// A model can be made when the record is there, reads and says it was computed.
struct VerifyIsdRPC {
    bool operator()(const DocumentReader& reader) const;
    bool operator()(const NitfReader& reader) const;
};

struct ConstructModelRPC {
    csm::Model* operator()(const DocumentReader& reader) const;
    csm::Model* operator()(const NitfReader& reader) const;
};

}  // namespace detail

class RPC00Plugin : public Plugin<detail::VerifyIsdRPC, detail::ConstructModelRPC> {
public:
    RPC00Plugin();
};

}  // namespace VEXASensors

TESSEL_PUBLIC_END
