// The list of built-in description sets, their registration, and the helpers the tables'
// count functions use.

#include "platform/nitf/tres/BuiltinTREs.h"

#include <iterator>
#include <string>

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

const char* loopCount(LoopCountFunction function) {
    // NITRO's convention: a NITF_FUNCTION loop carries its count function in the tag.
    return reinterpret_cast<const char*>(function);
}

int intField(nitf_TRE* tre, const char* name, const char* suffix, nitf_Error* error) {
    const std::string fullName = std::string(name) + suffix;
    nitf_Field* field = nitf_TRE_getField(tre, fullName.c_str());
    int32_t value = 0;
    if (field == nullptr || !nitf_Field_get(field, &value, NITF_CONV_INT, sizeof value, error)) {
        return 0;
    }
    return value;
}

}  // namespace tessel::tres
