#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// The CSM plug-ins of the four-corner models: VEXA_4C_IGEOLO, VEXA_4C_BLOCKA and
// VEXA_4C_CSCRNA, one model each.

#include "tessel/csm/Model.h"
#include "tessel/sensors/IsdReader.h"
#include "tessel/sensors/Plugin.h"

namespace VEXASensors {

namespace detail {

struct VerifyIsdIGEOLO {
    bool operator()(const DocumentReader& reader) const;
    bool operator()(const NitfReader& reader) const;
};
struct ConstructModelIGEOLO {
    csm::Model* operator()(const DocumentReader& reader) const;
    csm::Model* operator()(const NitfReader& reader) const;
};

struct VerifyIsdBLOCKA {
    bool operator()(const DocumentReader& reader) const;
    bool operator()(const NitfReader& reader) const;
};
struct ConstructModelBLOCKA {
    csm::Model* operator()(const DocumentReader& reader) const;
    csm::Model* operator()(const NitfReader& reader) const;
};

struct VerifyIsdCSCRNA {
    bool operator()(const DocumentReader& reader) const;
    bool operator()(const NitfReader& reader) const;
};
struct ConstructModelCSCRNA {
    csm::Model* operator()(const DocumentReader& reader) const;
    csm::Model* operator()(const NitfReader& reader) const;
};

}  // namespace detail

class IGEOLOPlugin : public Plugin<detail::VerifyIsdIGEOLO, detail::ConstructModelIGEOLO> {
public:
    IGEOLOPlugin();
};

class BLOCKAPlugin : public Plugin<detail::VerifyIsdBLOCKA, detail::ConstructModelBLOCKA> {
public:
    BLOCKAPlugin();
};

class CSCRNAPlugin : public Plugin<detail::VerifyIsdCSCRNA, detail::ConstructModelCSCRNA> {
public:
    CSCRNAPlugin();
};

}  // namespace VEXASensors

TESSEL_PUBLIC_END
