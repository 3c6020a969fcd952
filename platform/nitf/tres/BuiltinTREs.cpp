// The list of built-in description sets and their registration.

#include "platform/nitf/tres/BuiltinTREs.h"

#include <iterator>

#include "tessel/platform/nitf/nitf_PluginRegistry.h"

namespace tessel::tres {

namespace {

const NamedSet kBuiltinSets[] = {
    {"ACFTB", &ACFTB},
    {"AIMIDB", &AIMIDB},
    {"BLOCKA", &BLOCKA},
    {"CSCRNA", &CSCRNA},
    {"CSDIDA", &CSDIDA},
    {"CSEXRA", &CSEXRA},
    {"ENGRDA", &ENGRDA},
    {"GEOLOB", &GEOLOB},
    {"GEOPSB", &GEOPSB},
    {"HISTOA", &HISTOA},
    {"ICHIPB", &ICHIPB},
    {"J2KLRA", &J2KLRA},
    {"MSTGTA", &MSTGTA},
    {"PIAIMC", &PIAIMC},
    {"PIAPRD", &PIAPRD},
    {"RPC00A", &RPC00A},
    {"RPC00B", &RPC00B},
    {"RPFHDR", &RPFHDR},
    {"RSMAPA", &RSMAPA},
    {"RSMDCA", &RSMDCA},
    {"RSMECA", &RSMECA},
    {"RSMGGA", &RSMGGA},
    {"RSMGIA", &RSMGIA},
    {"RSMIDA", &RSMIDA},
    {"RSMPCA", &RSMPCA},
    {"RSMPIA", &RSMPIA},
    {"SENSRB", &SENSRB},
    {"STDIDC", &STDIDC},
    {"USE00A", &USE00A},
    {"TRE_OVERFLOW", &TRE_OVERFLOW},
    {"XML_DATA_CONTENT", &XML_DATA_CONTENT},
};

}  // namespace

const NamedSet* builtinSets(size_t* count) {
    *count = std::size(kBuiltinSets);
    return kBuiltinSets;
}

}  // namespace tessel::tres

void tessel_registerBuiltinTREs(nitf_Error* error) {
    size_t count = 0;
    const tessel::tres::NamedSet* sets = tessel::tres::builtinSets(&count);
    for (size_t i = 0; i < count; ++i) {
        // A name registered already keeps its handler.
        if (!nitf_PluginRegistry_registerDescriptionSet(sets[i].name, sets[i].set, error)) {
            return;
        }
    }
}
