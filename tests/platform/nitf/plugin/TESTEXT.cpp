// A TRE plug-in as a shared library that claims two extensions the library defines itself:
// "BANDSB", which the library registers before plug-ins load, and "CSATTA DES", which it
// registers after them. Its layout takes the whole record as one field.

#include "tessel/platform/nitf.h"

namespace {

nitf_TREDescription layout[] = {
    {NITF_BCS_A, NITF_TRE_GOBBLE, "plug-in data", "PLUGIN_DATA", nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescriptionInfo infos[] = {
    {"TESTEXT", layout, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

nitf_TREDescriptionSet descriptions = {0, infos};

const char* identifiers[] = {NITF_PLUGIN_TRE_KEY, "BANDSB", "CSATTA DES", nullptr};

nitf_TREHandler handler;

}  // namespace

extern "C" {

const char** TESTEXT_init(nitf_Error* error);
nitf_TREHandler* BANDSB_handler(nitf_Error* error);
nitf_TREHandler* CSATTA_DES_handler(nitf_Error* error);

const char** TESTEXT_init(nitf_Error* error) {
    if (nitf_TREUtils_createBasicHandler(&descriptions, &handler, error) == nullptr) {
        return nullptr;
    }
    return identifiers;
}

nitf_TREHandler* BANDSB_handler(nitf_Error*) {
    return &handler;
}

nitf_TREHandler* CSATTA_DES_handler(nitf_Error*) {
    return &handler;
}

}  // extern "C"
