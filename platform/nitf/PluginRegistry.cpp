// The process-wide table of TRE handlers. Plug-in loading builds on the same table.

#include <cstring>
#include <mutex>

#include "tessel/platform/nitf/nitf_PluginRegistry.h"

namespace {

std::mutex& registryMutex() {
    static std::mutex mutex;
    return mutex;
}

nitf_PluginRegistry* createRegistry(nitf_Error* error) {
    auto* registry = new nitf_PluginRegistry{};
    registry->treHandlers = nitf_HashTable_construct(64, error);
    registry->compressionHandlers = nitf_HashTable_construct(2, error);
    registry->decompressionHandlers = nitf_HashTable_construct(2, error);
    registry->dsos = nitf_List_construct(error);
    if (registry->treHandlers == nullptr || registry->compressionHandlers == nullptr ||
        registry->decompressionHandlers == nullptr || registry->dsos == nullptr) {
        return nullptr;
    }
    // The tables hold function pointers, never owned data.
    nitf_HashTable_setPolicy(registry->treHandlers, NITF_DATA_RETAIN_OWNER);
    nitf_HashTable_setPolicy(registry->compressionHandlers, NITF_DATA_RETAIN_OWNER);
    nitf_HashTable_setPolicy(registry->decompressionHandlers, NITF_DATA_RETAIN_OWNER);
    return registry;
}

NITF_DATA* asData(NITF_PLUGIN_TRE_HANDLER_FUNCTION handler) {
    return reinterpret_cast<NITF_DATA*>(handler);
}

NITF_PLUGIN_TRE_HANDLER_FUNCTION asHandler(NITF_DATA* data) {
    return reinterpret_cast<NITF_PLUGIN_TRE_HANDLER_FUNCTION>(data);
}

}  // namespace

extern "C" {

nitf_PluginRegistry* nitf_PluginRegistry_getInstance(nitf_Error* error) {
    static nitf_PluginRegistry* instance = createRegistry(error);
    if (instance == nullptr) {
        nitf_Error_init(error, "the plug-in registry could not be created", NITF_CTXT,
                        NITF_ERR_MEMORY);
    }
    return instance;
}

NITF_BOOL nitf_PluginRegistry_registerTREHandler(NITF_PLUGIN_INIT_FUNCTION init,
                                                 NITF_PLUGIN_TRE_HANDLER_FUNCTION handler,
                                                 nitf_Error* error) {
    nitf_PluginRegistry* registry = nitf_PluginRegistry_getInstance(error);
    if (registry == nullptr) {
        return false;
    }
    if (init == nullptr || handler == nullptr) {
        nitf_Error_init(error, "TRE handler registration needs an init and a handler function",
                        NITF_CTXT, NITF_ERR_INVALID_PARAMETER);
        return false;
    }
    const char** ident = init(error);
    if (ident == nullptr || ident[0] == nullptr) {
        nitf_Error_init(error, "TRE handler init gave no identifiers", NITF_CTXT,
                        NITF_ERR_INVALID_OBJECT);
        return false;
    }
    if (std::strcmp(ident[0], NITF_PLUGIN_TRE_KEY) != 0) {
        nitf_Error_initf(error, NITF_CTXT, NITF_ERR_INVALID_OBJECT,
                         "TRE handler key is %s, expected %s", ident[0], NITF_PLUGIN_TRE_KEY);
        return false;
    }
    std::lock_guard lock(registryMutex());
    for (int i = 1; ident[i] != nullptr; ++i) {
        if (!nitf_HashTable_insert(registry->treHandlers, ident[i], asData(handler), error)) {
            return false;
        }
    }
    return true;
}

nitf_TREHandler* nitf_PluginRegistry_retrieveTREHandler(nitf_PluginRegistry* reg, const char* ident,
                                                        int* hadError, nitf_Error* error) {
    if (hadError != nullptr) {
        *hadError = 0;
    }
    if (reg == nullptr || ident == nullptr) {
        return nullptr;
    }
    NITF_PLUGIN_TRE_HANDLER_FUNCTION function = nullptr;
    {
        std::lock_guard lock(registryMutex());
        nitf_Pair* pair = nitf_HashTable_find(reg->treHandlers, ident);
        if (pair == nullptr) {
            return nullptr;
        }
        function = asHandler(pair->data);
    }
    nitf_TREHandler* handler = function != nullptr ? function(error) : nullptr;
    if (handler == nullptr && hadError != nullptr) {
        *hadError = 1;
        if (error != nullptr && error->level == NITF_NO_ERR) {
            nitf_Error_initf(error, NITF_CTXT, NITF_ERR_INVALID_OBJECT,
                             "the handler of TRE %s could not be created", ident);
        }
    }
    return handler;
}

NITF_BOOL nitf_PluginRegistry_TREHandlerExists(const char* ident) {
    nitf_Error error{};
    nitf_PluginRegistry* registry = nitf_PluginRegistry_getInstance(&error);
    if (registry == nullptr || ident == nullptr) {
        return false;
    }
    std::lock_guard lock(registryMutex());
    return nitf_HashTable_exists(registry->treHandlers, ident);
}

}  // extern "C"
