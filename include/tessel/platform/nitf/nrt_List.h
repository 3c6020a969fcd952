#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
/* A doubly-linked list of opaque payloads, iterated by value. */

#include "tessel/platform/nitf/nrt_Types.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct _NRT_ListNode {
    struct _NRT_ListNode* next;
    struct _NRT_ListNode* prev;
    NRT_DATA* data;
} nrt_ListNode;

typedef struct _NRT_List {
    nrt_ListNode* first;
    nrt_ListNode* last;
} nrt_List;

typedef struct _NRT_ListIterator {
    nrt_ListNode* current;
} nrt_ListIterator;

/* Copies a payload for nrt_List_clone; returns NULL (with error set) on failure. */
typedef NRT_DATA* (*NRT_DATA_ITEM_CLONE)(NRT_DATA* data, nrt_Error* error);

nrt_ListNode* nrt_ListNode_construct(nrt_ListNode* prev, nrt_ListNode* next, NRT_DATA* data,
                                     nrt_Error* error);
/* Frees the node only, not its payload. */
void nrt_ListNode_destruct(nrt_ListNode** node);

nrt_List* nrt_List_construct(nrt_Error* error);
/* Frees the nodes and the list, not the payloads (pop them first to free them). */
void nrt_List_destruct(nrt_List** list);
nrt_List* nrt_List_clone(nrt_List* source, NRT_DATA_ITEM_CLONE cloner, nrt_Error* error);

NRT_BOOL nrt_List_pushBack(nrt_List* list, NRT_DATA* data, nrt_Error* error);
NRT_BOOL nrt_List_pushFront(nrt_List* list, NRT_DATA* data, nrt_Error* error);
NRT_DATA* nrt_List_popFront(nrt_List* list);
NRT_DATA* nrt_List_popBack(nrt_List* list);
NRT_BOOL nrt_List_isEmpty(nrt_List* list);
uint32_t nrt_List_size(nrt_List* list);
/* Inserts before the iterator's node (at the end when the iterator is at the end). */
NRT_BOOL nrt_List_insert(nrt_List* list, nrt_ListIterator iter, NRT_DATA* data, nrt_Error* error);
/* Unlinks the iterator's node, returns its payload and moves the iterator to the next node. */
NRT_DATA* nrt_List_remove(nrt_List* list, nrt_ListIterator* where);
/* Payload at an index, NULL when out of range. */
NRT_DATA* nrt_List_get(nrt_List* list, int index, nrt_Error* error);

nrt_ListIterator nrt_List_begin(const nrt_List* list);
/* Iterator at an index; the end iterator when out of range. */
nrt_ListIterator nrt_List_at(const nrt_List* list, int i);
nrt_ListIterator nrt_List_end(const nrt_List* list);

NRT_BOOL nrt_ListIterator_equals(const nrt_ListIterator* it1, const nrt_ListIterator* it2);
NRT_BOOL nrt_ListIterator_notEqualTo(const nrt_ListIterator* it1, const nrt_ListIterator* it2);
void nrt_ListIterator_increment(nrt_ListIterator* it);
NRT_DATA* nrt_ListIterator_get(nrt_ListIterator* it);

typedef nrt_ListNode nitf_ListNode;
typedef nrt_List nitf_List;
typedef nrt_ListIterator nitf_ListIterator;
#define NITF_DATA_ITEM_CLONE NRT_DATA_ITEM_CLONE
#define nitf_ListNode_construct nrt_ListNode_construct
#define nitf_ListNode_destruct nrt_ListNode_destruct
#define nitf_List_construct nrt_List_construct
#define nitf_List_destruct nrt_List_destruct
#define nitf_List_clone nrt_List_clone
#define nitf_List_pushBack nrt_List_pushBack
#define nitf_List_pushFront nrt_List_pushFront
#define nitf_List_popFront nrt_List_popFront
#define nitf_List_popBack nrt_List_popBack
#define nitf_List_isEmpty nrt_List_isEmpty
#define nitf_List_size nrt_List_size
#define nitf_List_insert nrt_List_insert
#define nitf_List_remove nrt_List_remove
#define nitf_List_get nrt_List_get
#define nitf_List_begin nrt_List_begin
#define nitf_List_at nrt_List_at
#define nitf_List_end nrt_List_end
#define nitf_ListIterator_equals nrt_ListIterator_equals
#define nitf_ListIterator_notEqualTo nrt_ListIterator_notEqualTo
#define nitf_ListIterator_increment nrt_ListIterator_increment
#define nitf_ListIterator_get nrt_ListIterator_get

#ifdef __cplusplus
}
#endif

TESSEL_PUBLIC_END
