#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
/* A hash table of string keys to payloads. Inserting an existing key appends another pair:
 * lookups return the earliest one. With the adopt policy the table frees its payloads. */

#include "tessel/platform/nitf/nrt_List.h"
#include "tessel/platform/nitf/nrt_Pair.h"

#ifdef __cplusplus
extern "C" {
#endif

struct _NRT_HashTable;

typedef unsigned int (*NRT_HASH_FUNCTION)(struct _NRT_HashTable* ht, const char* key);
/* Frees one adopted payload. */
typedef void (*NRT_HASH_DATA_DESTRUCT)(NRT_DATA* data);
typedef NRT_DATA* (*NRT_HASH_DATA_CLONE)(NRT_DATA* data, nrt_Error* error);
/* Visits one pair; return false to stop with an error. */
typedef NRT_BOOL (*NRT_HASH_FUNCTOR)(struct _NRT_HashTable* ht, nrt_Pair* pair, NRT_DATA* userData,
                                     nrt_Error* error);

typedef struct _NRT_HashTable {
    nrt_List** buckets; /* each a list of nrt_Pair* */
    int nbuckets;
    int adopt;
    NRT_HASH_FUNCTION hash;
    NRT_HASH_DATA_DESTRUCT dataDestructor; /* for adopted payloads; NULL means free() */
    int npairs; /* pairs held; past four per bucket the table doubles its buckets */
} nrt_HashTable;

typedef struct _NRT_HashTableIterator {
    nrt_HashTable* hash;
    int curBucket;
    nrt_ListIterator listIter;
} nrt_HashTableIterator;

nrt_HashTable* nrt_HashTable_construct(int nbuckets, nrt_Error* error);
/* Frees the pairs and keys, and the payloads when the table adopts them. */
void nrt_HashTable_destruct(nrt_HashTable** ht);
nrt_HashTable* nrt_HashTable_clone(nrt_HashTable* source, NRT_HASH_DATA_CLONE cloner,
                                   nrt_Error* error);
/* NRT_DATA_ADOPT or NRT_DATA_RETAIN_OWNER. */
void nrt_HashTable_setPolicy(nrt_HashTable* ht, int policy);
void nrt_HashTable_setDataDestructor(nrt_HashTable* ht, NRT_HASH_DATA_DESTRUCT destructor);
void nrt_HashTable_initDefaults(nrt_HashTable* ht);
unsigned int nrt_HashTable_hash(nrt_HashTable* ht, const char* key);

/* Copies the key and appends a pair, even when the key is there already. */
NRT_BOOL nrt_HashTable_insert(nrt_HashTable* ht, const char* key, NRT_DATA* data, nrt_Error* error);
/* The earliest pair with the key, or NULL. */
nrt_Pair* nrt_HashTable_find(nrt_HashTable* ht, const char* key);
NRT_BOOL nrt_HashTable_exists(nrt_HashTable* ht, const char* key);
/* Unlinks the earliest pair with the key and returns its payload (not freed), or NULL. */
NRT_DATA* nrt_HashTable_remove(nrt_HashTable* ht, const char* key);
NRT_BOOL nrt_HashTable_foreach(nrt_HashTable* ht, NRT_HASH_FUNCTOR fn, NRT_DATA* userData,
                               nrt_Error* error);

nrt_HashTableIterator nrt_HashTable_begin(nrt_HashTable* ht);
nrt_HashTableIterator nrt_HashTable_end(nrt_HashTable* ht);
NRT_BOOL nrt_HashTableIterator_equals(nrt_HashTableIterator* it1, nrt_HashTableIterator* it2);
NRT_BOOL nrt_HashTableIterator_notEqualTo(nrt_HashTableIterator* it1, nrt_HashTableIterator* it2);
void nrt_HashTableIterator_increment(nrt_HashTableIterator* it);
nrt_Pair* nrt_HashTableIterator_get(nrt_HashTableIterator* it);

typedef nrt_HashTable nitf_HashTable;
typedef nrt_HashTableIterator nitf_HashTableIterator;
#define NITF_HASH_FUNCTION NRT_HASH_FUNCTION
#define NITF_HASH_DATA_DESTRUCT NRT_HASH_DATA_DESTRUCT
#define NITF_HASH_DATA_CLONE NRT_HASH_DATA_CLONE
#define NITF_HASH_FUNCTOR NRT_HASH_FUNCTOR
#define nitf_HashTable_construct nrt_HashTable_construct
#define nitf_HashTable_destruct nrt_HashTable_destruct
#define nitf_HashTable_clone nrt_HashTable_clone
#define nitf_HashTable_setPolicy nrt_HashTable_setPolicy
#define nitf_HashTable_setDataDestructor nrt_HashTable_setDataDestructor
#define nitf_HashTable_initDefaults nrt_HashTable_initDefaults
#define nitf_HashTable_hash nrt_HashTable_hash
#define nitf_HashTable_insert nrt_HashTable_insert
#define nitf_HashTable_find nrt_HashTable_find
#define nitf_HashTable_exists nrt_HashTable_exists
#define nitf_HashTable_remove nrt_HashTable_remove
#define nitf_HashTable_foreach nrt_HashTable_foreach
#define nitf_HashTable_begin nrt_HashTable_begin
#define nitf_HashTable_end nrt_HashTable_end
#define nitf_HashTableIterator_equals nrt_HashTableIterator_equals
#define nitf_HashTableIterator_notEqualTo nrt_HashTableIterator_notEqualTo
#define nitf_HashTableIterator_increment nrt_HashTableIterator_increment
#define nitf_HashTableIterator_get nrt_HashTableIterator_get

#ifdef __cplusplus
}
#endif

TESSEL_PUBLIC_END
