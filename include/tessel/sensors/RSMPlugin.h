#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// The CSM plug-in of the replacement sensor models; only the polynomial form, VEXA_RSM_POLY,
// is offered.

#include "tessel/csm/Model.h"
#include "tessel/sensors/IsdReader.h"
#include "tessel/sensors/Plugin.h"

namespace VEXASensors {

extern const std::string RSM_PLUGIN_NAME;  // "VEXA_RSM"

namespace detail {

// A model can be made when the identification, index and section records are there and read.
struct VerifyIsdRSM {
    bool operator()(const DocumentReader& reader) const;
    bool operator()(const NitfReader& reader) const;
};

struct ConstructModelRSM {
    csm::Model* operator()(const DocumentReader& reader) const;
    csm::Model* operator()(const NitfReader& reader) const;
};

}  // namespace detail

class RSMPlugin : public Plugin<detail::VerifyIsdRSM, detail::ConstructModelRSM> {
public:
    RSMPlugin();
};

}  // namespace VEXASensors

TESSEL_PUBLIC_END
