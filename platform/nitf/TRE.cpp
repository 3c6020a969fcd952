#include <cstdlib>
#include <cstring>

#include "tessel/platform/nitf/nitf_PluginRegistry.h"
#include "tessel/platform/nitf/nitf_TRE.h"

namespace {

bool checkTRE(nitf_TRE* tre, nitf_Error* error) {
    if (tre == nullptr || tre->handler == nullptr) {
        nitf_Error_init(error, "TRE or its handler is NULL", NITF_CTXT, NITF_ERR_INVALID_OBJECT);
        return false;
    }
    return true;
}

}  // namespace

extern "C" {

nitf_TRE* nitf_TRE_createSkeleton(const char* tag, nitf_Error* error) {
    if (tag == nullptr) {
        nitf_Error_init(error, "TRE tag is NULL", NITF_CTXT, NITF_ERR_INVALID_PARAMETER);
        return nullptr;
    }
    size_t length = std::strlen(tag);
    if (length > NITF_MAX_TAG) {
        nitf_Error_initf(error, NITF_CTXT, NITF_ERR_INVALID_PARAMETER,
                         "TRE tag %.40s is longer than %d characters", tag, NITF_MAX_TAG);
        return nullptr;
    }
    auto* tre = static_cast<nitf_TRE*>(std::calloc(1, sizeof(nitf_TRE)));
    if (tre == nullptr) {
        nitf_Error_init(error, "out of memory", NITF_CTXT, NITF_ERR_MEMORY);
        return nullptr;
    }
    std::memcpy(tre->tag, tag, length + 1);
    return tre;
}

nitf_TRE* nitf_TRE_construct(const char* tag, const char* id, nitf_Error* error) {
    nitf_TRE* tre = nitf_TRE_createSkeleton(tag, error);
    if (tre == nullptr) {
        return nullptr;
    }
    if (id != nullptr && std::strcmp(id, NITF_TRE_RAW) == 0) {
        tre->handler = nitf_DefaultTRE_handler(error);
    } else {
        nitf_PluginRegistry* registry = nitf_PluginRegistry_getInstance(error);
        int hadError = 0;
        tre->handler = registry != nullptr
                           ? nitf_PluginRegistry_retrieveTREHandler(registry, tag, &hadError, error)
                           : nullptr;
        if (registry == nullptr || hadError) {
            std::free(tre);
            return nullptr;
        }
        if (tre->handler == nullptr) {
            tre->handler = nitf_DefaultTRE_handler(error);
        }
    }
    if (tre->handler->init != nullptr && !tre->handler->init(tre, id, error)) {
        nitf_TRE_destruct(&tre);
        return nullptr;
    }
    return tre;
}

nitf_TRE* nitf_TRE_clone(nitf_TRE* source, nitf_Error* error) {
    if (!checkTRE(source, error)) {
        return nullptr;
    }
    nitf_TRE* tre = nitf_TRE_createSkeleton(source->tag, error);
    if (tre == nullptr) {
        return nullptr;
    }
    tre->handler = source->handler;
    if (source->handler->clone != nullptr && !source->handler->clone(source, tre, error)) {
        nitf_TRE_destruct(&tre);
        return nullptr;
    }
    return tre;
}

void nitf_TRE_destruct(nitf_TRE** tre) {
    if (tre == nullptr || *tre == nullptr) {
        return;
    }
    if ((*tre)->handler != nullptr && (*tre)->handler->destruct != nullptr) {
        (*tre)->handler->destruct(*tre);
    }
    std::free(*tre);
    *tre = nullptr;
}

NITF_BOOL nitf_TRE_exists(nitf_TRE* tre, const char* tag) {
    return nitf_TRE_getField(tre, tag) != nullptr;
}

NITF_BOOL nitf_TRE_setField(nitf_TRE* tre, const char* tag, NITF_DATA* data, size_t dataLength,
                            nitf_Error* error) {
    if (!checkTRE(tre, error)) {
        return false;
    }
    return tre->handler->setField(tre, tag, data, dataLength, error);
}

nitf_Field* nitf_TRE_getField(nitf_TRE* tre, const char* tag) {
    if (tre == nullptr || tre->handler == nullptr || tre->priv == nullptr || tag == nullptr) {
        return nullptr;
    }
    return tre->handler->getField(tre, tag);
}

nitf_List* nitf_TRE_find(nitf_TRE* tre, const char* pattern, nitf_Error* error) {
    if (!checkTRE(tre, error) || tre->priv == nullptr) {
        return nullptr;
    }
    return tre->handler->find(tre, pattern, error);
}

nitf_TREEnumerator* nitf_TRE_begin(nitf_TRE* tre, nitf_Error* error) {
    if (!checkTRE(tre, error) || tre->priv == nullptr) {
        return nullptr;
    }
    return tre->handler->begin(tre, error);
}

int nitf_TRE_getCurrentSize(nitf_TRE* tre, nitf_Error* error) {
    if (!checkTRE(tre, error)) {
        return -1;
    }
    if (tre->priv == nullptr) {
        return 0;
    }
    return tre->handler->getCurrentSize(tre, error);
}

const char* nitf_TRE_getID(nitf_TRE* tre) {
    if (tre == nullptr || tre->handler == nullptr || tre->handler->getID == nullptr) {
        return nullptr;
    }
    return tre->handler->getID(tre);
}

}  // extern "C"
