#include <cstdlib>
#include <cstring>

#include "tessel/platform/nitf/nitf_TREPrivateData.h"

namespace {

void destroyField(NITF_DATA* data) {
    auto* field = static_cast<nitf_Field*>(data);
    nitf_Field_destruct(&field);
}

NITF_DATA* cloneField(NITF_DATA* data, nitf_Error* error) {
    return nitf_Field_clone(static_cast<nitf_Field*>(data), error);
}

nitf_HashTable* newFieldTable(nitf_Error* error) {
    nitf_HashTable* hash = nitf_HashTable_construct(NITF_TRE_HASH_SIZE, error);
    if (hash != nullptr) {
        nitf_HashTable_setPolicy(hash, NITF_DATA_ADOPT);
        nitf_HashTable_setDataDestructor(hash, destroyField);
    }
    return hash;
}

}  // namespace

extern "C" {

nitf_TREPrivateData* nitf_TREPrivateData_construct(nitf_Error* error) {
    auto* priv = static_cast<nitf_TREPrivateData*>(std::calloc(1, sizeof(nitf_TREPrivateData)));
    if (priv == nullptr) {
        nitf_Error_init(error, "out of memory", NITF_CTXT, NITF_ERR_MEMORY);
        return nullptr;
    }
    priv->hash = newFieldTable(error);
    if (priv->hash == nullptr) {
        std::free(priv);
        return nullptr;
    }
    return priv;
}

nitf_TREPrivateData* nitf_TREPrivateData_clone(nitf_TREPrivateData* source, nitf_Error* error) {
    if (source == nullptr) {
        return nullptr;
    }
    auto* priv = static_cast<nitf_TREPrivateData*>(std::calloc(1, sizeof(nitf_TREPrivateData)));
    if (priv == nullptr) {
        nitf_Error_init(error, "out of memory", NITF_CTXT, NITF_ERR_MEMORY);
        return nullptr;
    }
    priv->length = source->length;
    priv->description = source->description;
    priv->userData = source->userData;
    priv->hash = nitf_HashTable_clone(source->hash, cloneField, error);
    if (priv->hash == nullptr ||
        !nitf_TREPrivateData_setDescriptionName(priv, source->descriptionName, error)) {
        nitf_TREPrivateData_destruct(&priv);
        return nullptr;
    }
    return priv;
}

void nitf_TREPrivateData_destruct(nitf_TREPrivateData** priv) {
    if (priv == nullptr || *priv == nullptr) {
        return;
    }
    nitf_HashTable_destruct(&(*priv)->hash);
    std::free((*priv)->descriptionName);
    std::free(*priv);
    *priv = nullptr;
}

NITF_BOOL nitf_TREPrivateData_flush(nitf_TREPrivateData* priv, nitf_Error* error) {
    nitf_HashTable_destruct(&priv->hash);
    priv->hash = newFieldTable(error);
    return priv->hash != nullptr;
}

NITF_BOOL nitf_TREPrivateData_setDescriptionName(nitf_TREPrivateData* priv, const char* name,
                                                 nitf_Error* error) {
    std::free(priv->descriptionName);
    priv->descriptionName = nullptr;
    if (name == nullptr) {
        return true;
    }
    size_t length = std::strlen(name);
    priv->descriptionName = static_cast<char*>(std::malloc(length + 1));
    if (priv->descriptionName == nullptr) {
        nitf_Error_init(error, "out of memory", NITF_CTXT, NITF_ERR_MEMORY);
        return false;
    }
    std::memcpy(priv->descriptionName, name, length + 1);
    return true;
}

}  // extern "C"
