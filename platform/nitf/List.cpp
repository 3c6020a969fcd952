#include <cstdlib>

#include "tessel/platform/nitf/nrt_List.h"

namespace {

void listOutOfMemory(nrt_Error* error) {
    nrt_Error_init(error, "out of memory", NRT_CTXT, NRT_ERR_MEMORY);
}

}  // namespace

extern "C" {

nrt_ListNode* nrt_ListNode_construct(nrt_ListNode* prev, nrt_ListNode* next, NRT_DATA* data,
                                     nrt_Error* error) {
    auto* node = static_cast<nrt_ListNode*>(std::malloc(sizeof(nrt_ListNode)));
    if (node == nullptr) {
        listOutOfMemory(error);
        return nullptr;
    }
    node->prev = prev;
    node->next = next;
    node->data = data;
    return node;
}

void nrt_ListNode_destruct(nrt_ListNode** node) {
    if (node != nullptr && *node != nullptr) {
        std::free(*node);
        *node = nullptr;
    }
}

nrt_List* nrt_List_construct(nrt_Error* error) {
    auto* list = static_cast<nrt_List*>(std::malloc(sizeof(nrt_List)));
    if (list == nullptr) {
        listOutOfMemory(error);
        return nullptr;
    }
    list->first = nullptr;
    list->last = nullptr;
    return list;
}

void nrt_List_destruct(nrt_List** list) {
    if (list == nullptr || *list == nullptr) {
        return;
    }
    nrt_ListNode* node = (*list)->first;
    while (node != nullptr) {
        nrt_ListNode* next = node->next;
        std::free(node);
        node = next;
    }
    std::free(*list);
    *list = nullptr;
}

nrt_List* nrt_List_clone(nrt_List* source, NRT_DATA_ITEM_CLONE cloner, nrt_Error* error) {
    if (source == nullptr) {
        return nullptr;
    }
    nrt_List* copy = nrt_List_construct(error);
    if (copy == nullptr) {
        return nullptr;
    }
    for (nrt_ListNode* node = source->first; node != nullptr; node = node->next) {
        NRT_DATA* data = node->data;
        if (cloner != nullptr) {
            data = cloner(node->data, error);
            if (data == nullptr && node->data != nullptr) {
                nrt_List_destruct(&copy);
                return nullptr;
            }
        }
        if (!nrt_List_pushBack(copy, data, error)) {
            nrt_List_destruct(&copy);
            return nullptr;
        }
    }
    return copy;
}

NRT_BOOL nrt_List_pushBack(nrt_List* list, NRT_DATA* data, nrt_Error* error) {
    nrt_ListNode* node = nrt_ListNode_construct(list->last, nullptr, data, error);
    if (node == nullptr) {
        return false;
    }
    if (list->last != nullptr) {
        list->last->next = node;
    } else {
        list->first = node;
    }
    list->last = node;
    return true;
}

NRT_BOOL nrt_List_pushFront(nrt_List* list, NRT_DATA* data, nrt_Error* error) {
    nrt_ListNode* node = nrt_ListNode_construct(nullptr, list->first, data, error);
    if (node == nullptr) {
        return false;
    }
    if (list->first != nullptr) {
        list->first->prev = node;
    } else {
        list->last = node;
    }
    list->first = node;
    return true;
}

NRT_DATA* nrt_List_popFront(nrt_List* list) {
    if (list == nullptr || list->first == nullptr) {
        return nullptr;
    }
    nrt_ListIterator first{list->first};
    return nrt_List_remove(list, &first);
}

NRT_DATA* nrt_List_popBack(nrt_List* list) {
    if (list == nullptr || list->last == nullptr) {
        return nullptr;
    }
    nrt_ListIterator last{list->last};
    return nrt_List_remove(list, &last);
}

NRT_BOOL nrt_List_isEmpty(nrt_List* list) {
    return list == nullptr || list->first == nullptr;
}

uint32_t nrt_List_size(nrt_List* list) {
    uint32_t count = 0;
    if (list != nullptr) {
        for (nrt_ListNode* node = list->first; node != nullptr; node = node->next) {
            ++count;
        }
    }
    return count;
}

NRT_BOOL nrt_List_insert(nrt_List* list, nrt_ListIterator iter, NRT_DATA* data, nrt_Error* error) {
    if (iter.current == nullptr) {
        return nrt_List_pushBack(list, data, error);
    }
    if (iter.current == list->first) {
        return nrt_List_pushFront(list, data, error);
    }
    nrt_ListNode* node = nrt_ListNode_construct(iter.current->prev, iter.current, data, error);
    if (node == nullptr) {
        return false;
    }
    iter.current->prev->next = node;
    iter.current->prev = node;
    return true;
}

NRT_DATA* nrt_List_remove(nrt_List* list, nrt_ListIterator* where) {
    if (list == nullptr || where == nullptr || where->current == nullptr) {
        return nullptr;
    }
    nrt_ListNode* node = where->current;
    if (node->prev != nullptr) {
        node->prev->next = node->next;
    } else {
        list->first = node->next;
    }
    if (node->next != nullptr) {
        node->next->prev = node->prev;
    } else {
        list->last = node->prev;
    }
    where->current = node->next;
    NRT_DATA* data = node->data;
    std::free(node);
    return data;
}

NRT_DATA* nrt_List_get(nrt_List* list, int index, nrt_Error* error) {
    nrt_ListIterator it = nrt_List_at(list, index);
    if (it.current == nullptr) {
        nrt_Error_initf(error, NRT_CTXT, NRT_ERR_INVALID_PARAMETER, "list index %d out of range",
                        index);
        return nullptr;
    }
    return it.current->data;
}

nrt_ListIterator nrt_List_begin(const nrt_List* list) {
    return nrt_ListIterator{list != nullptr ? list->first : nullptr};
}

nrt_ListIterator nrt_List_at(const nrt_List* list, int i) {
    nrt_ListIterator it = nrt_List_begin(list);
    if (i < 0) {
        it.current = nullptr;
        return it;
    }
    for (int k = 0; k < i && it.current != nullptr; ++k) {
        it.current = it.current->next;
    }
    return it;
}

nrt_ListIterator nrt_List_end(const nrt_List*) {
    return nrt_ListIterator{nullptr};
}

NRT_BOOL nrt_ListIterator_equals(const nrt_ListIterator* it1, const nrt_ListIterator* it2) {
    return it1->current == it2->current;
}

NRT_BOOL nrt_ListIterator_notEqualTo(const nrt_ListIterator* it1, const nrt_ListIterator* it2) {
    return it1->current != it2->current;
}

void nrt_ListIterator_increment(nrt_ListIterator* it) {
    if (it->current != nullptr) {
        it->current = it->current->next;
    }
}

NRT_DATA* nrt_ListIterator_get(nrt_ListIterator* it) {
    return it->current != nullptr ? it->current->data : nullptr;
}

}  // extern "C"
