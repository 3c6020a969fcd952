// A TRE plug-in as a shared library, for the registry tests: "TESTTR" and "TEST TR2" share a
// description of a count and that many 3-character items.

#include "tessel/platform/nitf.h"

namespace {

nitf_TREDescription layout[] = {
    {NITF_BCS_N, 2, "item count", "COUNT", nullptr}, {NITF_LOOP, 0, nullptr, "COUNT", nullptr},
    {NITF_BCS_A, 3, "item", "ITEM", nullptr},        {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescriptionInfo infos[] = {
    {"TESTTR", layout, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

nitf_TREDescriptionSet descriptions = {0, infos};

const char* identifiers[] = {NITF_PLUGIN_TRE_KEY, "TESTTR", "TEST TR2", nullptr};

nitf_TREHandler handler;

}  // namespace

extern "C" {

const char** TESTTR_init(nitf_Error* error);
nitf_TREHandler* TESTTR_handler(nitf_Error* error);
nitf_TREHandler* TEST_TR2_handler(nitf_Error* error);

const char** TESTTR_init(nitf_Error* error) {
    if (nitf_TREUtils_createBasicHandler(&descriptions, &handler, error) == nullptr) {
        return nullptr;
    }
    return identifiers;
}

nitf_TREHandler* TESTTR_handler(nitf_Error*) {
    return &handler;
}

nitf_TREHandler* TEST_TR2_handler(nitf_Error*) {
    return &handler;
}

}  // extern "C"
