#include <cstdlib>
#include <cstring>

#include "tessel/platform/nitf/nitf_Extensions.h"

namespace {

void destroyNameList(NITF_DATA* data) {
    auto* list = static_cast<nitf_List*>(data);
    nitf_List_destruct(&list);
}

// The list of TREs named like this one, created on demand.
nitf_List* nameList(nitf_Extensions* ext, const char* name, nitf_Error* error) {
    nitf_Pair* pair = nitf_HashTable_find(ext->hash, name);
    if (pair != nullptr) {
        return static_cast<nitf_List*>(pair->data);
    }
    nitf_List* list = nitf_List_construct(error);
    if (list != nullptr && !nitf_HashTable_insert(ext->hash, name, list, error)) {
        nitf_List_destruct(&list);
    }
    return list;
}

// Rebuilds the by-name list of `name` in section order.
bool reindex(nitf_Extensions* ext, const char* name, nitf_Error* error) {
    NITF_DATA* old = nitf_HashTable_remove(ext->hash, name);
    destroyNameList(old);
    nitf_List* list = nullptr;
    for (nitf_ListNode* node = ext->ref->first; node != nullptr; node = node->next) {
        auto* tre = static_cast<nitf_TRE*>(node->data);
        if (std::strcmp(tre->tag, name) != 0) {
            continue;
        }
        if (list == nullptr && (list = nameList(ext, name, error)) == nullptr) {
            return false;
        }
        if (!nitf_List_pushBack(list, tre, error)) {
            return false;
        }
    }
    return true;
}

}  // namespace

extern "C" {

nitf_Extensions* nitf_Extensions_construct(nitf_Error* error) {
    auto* ext = static_cast<nitf_Extensions*>(std::calloc(1, sizeof(nitf_Extensions)));
    if (ext == nullptr) {
        nitf_Error_init(error, "out of memory", NITF_CTXT, NITF_ERR_MEMORY);
        return nullptr;
    }
    ext->hash = nitf_HashTable_construct(NITF_TRE_HASH_SIZE, error);
    ext->ref = nitf_List_construct(error);
    if (ext->hash == nullptr || ext->ref == nullptr) {
        nitf_Extensions_destruct(&ext);
        return nullptr;
    }
    nitf_HashTable_setPolicy(ext->hash, NITF_DATA_ADOPT);
    nitf_HashTable_setDataDestructor(ext->hash, destroyNameList);
    return ext;
}

nitf_Extensions* nitf_Extensions_clone(nitf_Extensions* source, nitf_Error* error) {
    if (source == nullptr) {
        return nullptr;
    }
    nitf_Extensions* ext = nitf_Extensions_construct(error);
    if (ext == nullptr) {
        return nullptr;
    }
    for (nitf_ListNode* node = source->ref->first; node != nullptr; node = node->next) {
        nitf_TRE* copy = nitf_TRE_clone(static_cast<nitf_TRE*>(node->data), error);
        if (copy == nullptr || !nitf_Extensions_appendTRE(ext, copy, error)) {
            nitf_TRE_destruct(&copy);
            nitf_Extensions_destruct(&ext);
            return nullptr;
        }
    }
    return ext;
}

void nitf_Extensions_destruct(nitf_Extensions** ext) {
    if (ext == nullptr || *ext == nullptr) {
        return;
    }
    if ((*ext)->ref != nullptr) {
        while (!nitf_List_isEmpty((*ext)->ref)) {
            auto* tre = static_cast<nitf_TRE*>(nitf_List_popFront((*ext)->ref));
            nitf_TRE_destruct(&tre);
        }
        nitf_List_destruct(&(*ext)->ref);
    }
    nitf_HashTable_destruct(&(*ext)->hash);
    std::free(*ext);
    *ext = nullptr;
}

NITF_BOOL nitf_Extensions_appendTRE(nitf_Extensions* ext, nitf_TRE* tre, nitf_Error* error) {
    if (ext == nullptr || tre == nullptr) {
        nitf_Error_init(error, "extension section or TRE is NULL", NITF_CTXT,
                        NITF_ERR_INVALID_PARAMETER);
        return false;
    }
    nitf_List* list = nameList(ext, tre->tag, error);
    if (list == nullptr || !nitf_List_pushBack(list, tre, error)) {
        return false;
    }
    if (!nitf_List_pushBack(ext->ref, tre, error)) {
        nitf_List_popBack(list);
        return false;
    }
    return true;
}

nitf_List* nitf_Extensions_getTREsByName(nitf_Extensions* ext, const char* name) {
    if (ext == nullptr || name == nullptr) {
        return nullptr;
    }
    nitf_Pair* pair = nitf_HashTable_find(ext->hash, name);
    return pair != nullptr ? static_cast<nitf_List*>(pair->data) : nullptr;
}

NITF_BOOL nitf_Extensions_exists(nitf_Extensions* ext, const char* name) {
    return nitf_Extensions_getTREsByName(ext, name) != nullptr;
}

void nitf_Extensions_removeTREsByName(nitf_Extensions* ext, const char* name) {
    if (ext == nullptr || name == nullptr) {
        return;
    }
    destroyNameList(nitf_HashTable_remove(ext->hash, name));
    nitf_ListIterator it = nitf_List_begin(ext->ref);
    while (it.current != nullptr) {
        auto* tre = static_cast<nitf_TRE*>(it.current->data);
        if (std::strcmp(tre->tag, name) == 0) {
            nitf_List_remove(ext->ref, &it);
            nitf_TRE_destruct(&tre);
        } else {
            nitf_ListIterator_increment(&it);
        }
    }
}

NITF_BOOL nitf_Extensions_insert(nitf_Extensions* ext, nitf_ExtensionsIterator* atThis,
                                 nitf_TRE* tre, nitf_Error* error) {
    if (ext == nullptr || atThis == nullptr || tre == nullptr) {
        nitf_Error_init(error, "extension section, position or TRE is NULL", NITF_CTXT,
                        NITF_ERR_INVALID_PARAMETER);
        return false;
    }
    return nitf_List_insert(ext->ref, atThis->iter, tre, error) && reindex(ext, tre->tag, error);
}

nitf_TRE* nitf_Extensions_remove(nitf_Extensions* ext, nitf_ExtensionsIterator* atThis,
                                 nitf_Error* error) {
    if (ext == nullptr || atThis == nullptr || atThis->iter.current == nullptr) {
        nitf_Error_init(error, "no TRE at that position", NITF_CTXT, NITF_ERR_INVALID_PARAMETER);
        return nullptr;
    }
    auto* tre = static_cast<nitf_TRE*>(nitf_List_remove(ext->ref, &atThis->iter));
    if (tre != nullptr && !reindex(ext, tre->tag, error)) {
        return tre;
    }
    return tre;
}

uint32_t nitf_Extensions_computeLength(nitf_Extensions* ext, nitf_Version, nitf_Error* error) {
    uint32_t length = 0;
    if (ext == nullptr) {
        return 0;
    }
    for (nitf_ListNode* node = ext->ref->first; node != nullptr; node = node->next) {
        int size = nitf_TRE_getCurrentSize(static_cast<nitf_TRE*>(node->data), error);
        if (size < 0) {
            return 0;
        }
        length += NITF_ETAG_SZ + NITF_EL_SZ + static_cast<uint32_t>(size);
    }
    return length;
}

nitf_ExtensionsIterator nitf_Extensions_begin(nitf_Extensions* ext) {
    return nitf_ExtensionsIterator{nitf_List_begin(ext != nullptr ? ext->ref : nullptr)};
}

nitf_ExtensionsIterator nitf_Extensions_end(nitf_Extensions*) {
    return nitf_ExtensionsIterator{nitf_ListIterator{nullptr}};
}

void nitf_ExtensionsIterator_increment(nitf_ExtensionsIterator* it) {
    nitf_ListIterator_increment(&it->iter);
}

nitf_TRE* nitf_ExtensionsIterator_get(nitf_ExtensionsIterator* it) {
    return static_cast<nitf_TRE*>(nitf_ListIterator_get(&it->iter));
}

NITF_BOOL nitf_ExtensionsIterator_equals(nitf_ExtensionsIterator* it1,
                                         nitf_ExtensionsIterator* it2) {
    return nitf_ListIterator_equals(&it1->iter, &it2->iter);
}

NITF_BOOL nitf_ExtensionsIterator_notEqualTo(nitf_ExtensionsIterator* it1,
                                             nitf_ExtensionsIterator* it2) {
    return nitf_ListIterator_notEqualTo(&it1->iter, &it2->iter);
}

}  // extern "C"
