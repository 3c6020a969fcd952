// The handler of TREs held raw: a single binary field "raw_data" with the TRE's bytes.

#include <cstdlib>
#include <cstring>
#include <vector>

#include "tessel/platform/nitf/nitf_TREPrivateData.h"

namespace {

nitf_TREPrivateData* rawPrivateOf(nitf_TRE* tre) {
    return static_cast<nitf_TREPrivateData*>(tre->priv);
}

NITF_BOOL rawInit(nitf_TRE* tre, const char*, nitf_Error* error) {
    nitf_TREPrivateData* priv = nitf_TREPrivateData_construct(error);
    if (priv == nullptr) {
        return false;
    }
    if (!nitf_TREPrivateData_setDescriptionName(priv, NITF_TRE_RAW, error)) {
        nitf_TREPrivateData_destruct(&priv);
        return false;
    }
    tre->priv = priv;
    return true;
}

const char* rawGetID(nitf_TRE*) {
    return NITF_TRE_RAW;
}

// Replaces the raw bytes; an empty TRE has no field.
bool storeBytes(nitf_TRE* tre, const char* bytes, size_t length, nitf_Error* error) {
    nitf_TREPrivateData* priv = rawPrivateOf(tre);
    NITF_DATA* old = nitf_HashTable_remove(priv->hash, NITF_TRE_RAW);
    auto* oldField = static_cast<nitf_Field*>(old);
    nitf_Field_destruct(&oldField);
    priv->length = static_cast<uint32_t>(length);
    if (length == 0) {
        return true;
    }
    nitf_Field* field = nitf_Field_construct(length, NITF_BINARY, error);
    if (field == nullptr) {
        return false;
    }
    std::memcpy(field->raw, bytes, length);
    if (!nitf_HashTable_insert(priv->hash, NITF_TRE_RAW, field, error)) {
        nitf_Field_destruct(&field);
        return false;
    }
    return true;
}

NITF_BOOL rawRead(nitf_IOInterface* io, uint32_t length, nitf_TRE* tre, nitf_Record*,
                  nitf_Error* error) {
    if (tre->priv == nullptr && !rawInit(tre, nullptr, error)) {
        return false;
    }
    std::vector<char> bytes(length);
    if (length > 0 && !nitf_IOInterface_read(io, bytes.data(), length, error)) {
        return false;
    }
    return storeBytes(tre, bytes.data(), length, error);
}

NITF_BOOL rawSetField(nitf_TRE* tre, const char* tag, NITF_DATA* data, size_t dataLength,
                      nitf_Error* error) {
    if (tag == nullptr || std::strcmp(tag, NITF_TRE_RAW) != 0) {
        nitf_Error_initf(error, NITF_CTXT, NITF_ERR_INVALID_PARAMETER,
                         "TRE %s is held raw: it has no field %s", tre->tag,
                         tag != nullptr ? tag : "(null)");
        return false;
    }
    if (data == nullptr && dataLength > 0) {
        nitf_Error_init(error, "NULL data", NITF_CTXT, NITF_ERR_INVALID_PARAMETER);
        return false;
    }
    return storeBytes(tre, static_cast<const char*>(data), dataLength, error);
}

nitf_Field* rawGetField(nitf_TRE* tre, const char* tag) {
    nitf_Pair* pair = nitf_HashTable_find(rawPrivateOf(tre)->hash, tag);
    return pair != nullptr ? static_cast<nitf_Field*>(pair->data) : nullptr;
}

nitf_List* rawFind(nitf_TRE* tre, const char* pattern, nitf_Error* error) {
    nitf_Pair* pair = nitf_HashTable_find(rawPrivateOf(tre)->hash, NITF_TRE_RAW);
    if (pair == nullptr || pattern == nullptr || std::strstr(NITF_TRE_RAW, pattern) == nullptr) {
        return nullptr;
    }
    nitf_List* list = nitf_List_construct(error);
    if (list != nullptr && !nitf_List_pushBack(list, pair, error)) {
        nitf_List_destruct(&list);
    }
    return list;
}

NITF_BOOL rawWrite(nitf_IOInterface* io, nitf_TRE* tre, nitf_Record*, nitf_Error* error) {
    nitf_Field* field = rawGetField(tre, NITF_TRE_RAW);
    return field == nullptr || nitf_IOInterface_write(io, field->raw, field->length, error);
}

struct RawCursor {
    nitf_TRE* tre;
    bool done;
};

nitf_Pair* rawNext(nitf_TREEnumerator* it, nitf_Error* error) {
    auto* cursor = static_cast<RawCursor*>(it->data);
    nitf_Pair* pair = nitf_HashTable_find(rawPrivateOf(cursor->tre)->hash, NITF_TRE_RAW);
    cursor->done = true;
    if (pair == nullptr) {
        nitf_Error_init(error, "raw TRE has no data", NITF_CTXT, NITF_ERR_INVALID_OBJECT);
    }
    return pair;
}

NITF_BOOL rawHasNext(nitf_TREEnumerator** it) {
    if (it == nullptr || *it == nullptr) {
        return false;
    }
    auto* cursor = static_cast<RawCursor*>((*it)->data);
    if (!cursor->done && rawGetField(cursor->tre, NITF_TRE_RAW) != nullptr) {
        return true;
    }
    delete cursor;
    std::free(*it);
    *it = nullptr;
    return false;
}

const char* rawDescription(nitf_TREEnumerator*, nitf_Error*) {
    return "Raw data";
}

nitf_TREEnumerator* rawBegin(nitf_TRE* tre, nitf_Error* error) {
    auto* it = static_cast<nitf_TREEnumerator*>(std::malloc(sizeof(nitf_TREEnumerator)));
    if (it == nullptr) {
        nitf_Error_init(error, "out of memory", NITF_CTXT, NITF_ERR_MEMORY);
        return nullptr;
    }
    it->next = rawNext;
    it->hasNext = rawHasNext;
    it->getFieldDescription = rawDescription;
    it->data = new RawCursor{tre, false};
    return it;
}

int rawGetCurrentSize(nitf_TRE* tre, nitf_Error*) {
    nitf_Field* field = rawGetField(tre, NITF_TRE_RAW);
    return field != nullptr ? static_cast<int>(field->length) : 0;
}

NITF_BOOL rawClone(nitf_TRE* source, nitf_TRE* dest, nitf_Error* error) {
    if (source->priv == nullptr) {
        return true;
    }
    dest->priv = nitf_TREPrivateData_clone(rawPrivateOf(source), error);
    return dest->priv != nullptr;
}

void rawDestruct(nitf_TRE* tre) {
    auto* priv = rawPrivateOf(tre);
    nitf_TREPrivateData_destruct(&priv);
    tre->priv = nullptr;
}

nitf_TREHandler rawHandler = {rawInit,           rawGetID, rawRead,     rawSetField,
                              rawGetField,       rawFind,  rawWrite,    rawBegin,
                              rawGetCurrentSize, rawClone, rawDestruct, nullptr};

}  // namespace

extern "C" nitf_TREHandler* nitf_DefaultTRE_handler(nitf_Error*) {
    return &rawHandler;
}
