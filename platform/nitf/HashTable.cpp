#include <cstdlib>
#include <cstring>

#include "tessel/platform/nitf/nrt_HashTable.h"

namespace {

void tableOutOfMemory(nrt_Error* error) {
    nrt_Error_init(error, "out of memory", NRT_CTXT, NRT_ERR_MEMORY);
}

char* copyKey(const char* key) {
    size_t length = std::strlen(key);
    auto* copy = static_cast<char*>(std::malloc(length + 1));
    if (copy != nullptr) {
        std::memcpy(copy, key, length + 1);
    }
    return copy;
}

unsigned int defaultHash(nrt_HashTable* ht, const char* key) {
    // djb2: fine spread for short tags and field names.
    unsigned int hash = 5381;
    for (const auto* c = reinterpret_cast<const unsigned char*>(key); *c != 0; ++c) {
        hash = hash * 33u + *c;
    }
    return hash % static_cast<unsigned int>(ht->nbuckets);
}

void freeData(nrt_HashTable* ht, NRT_DATA* data) {
    if (data == nullptr) {
        return;
    }
    if (ht->dataDestructor != nullptr) {
        ht->dataDestructor(data);
    } else {
        std::free(data);
    }
}

// Moves the iterator to the first pair at or after bucket `from`; the end when none.
// Moves a node to the back of a list without allocating, so that growing can't fail halfway.
void appendNode(nrt_List* list, nrt_ListNode* node) {
    node->next = nullptr;
    node->prev = list->last;
    if (list->last != nullptr) {
        list->last->next = node;
    } else {
        list->first = node;
    }
    list->last = node;
}

// Doubles the buckets once a table holds more than four pairs per bucket, so that lookups
// in large TREs (thousands of fields) stay short. Pairs of one key keep their order; when
// memory runs out the table simply stays as it is.
void growIfCrowded(nrt_HashTable* ht) {
    constexpr int maxBuckets = 1 << 20;
    if (ht->npairs <= 4 * ht->nbuckets || ht->nbuckets > maxBuckets / 2) {
        return;
    }
    const int grown = ht->nbuckets * 2;
    auto* buckets =
        static_cast<nrt_List**>(std::calloc(static_cast<size_t>(grown), sizeof(nrt_List*)));
    if (buckets == nullptr) {
        return;
    }
    nrt_Error ignored{};
    for (int b = 0; b < grown; ++b) {
        buckets[b] = nrt_List_construct(&ignored);
        if (buckets[b] == nullptr) {
            for (int made = 0; made < b; ++made) {
                nrt_List_destruct(&buckets[made]);
            }
            std::free(buckets);
            return;
        }
    }
    nrt_List** old = ht->buckets;
    const int oldCount = ht->nbuckets;
    ht->buckets = buckets;
    ht->nbuckets = grown;
    for (int b = 0; b < oldCount; ++b) {
        for (nrt_ListNode* node = old[b]->first; node != nullptr;) {
            nrt_ListNode* next = node->next;
            const auto* pair = static_cast<nrt_Pair*>(node->data);
            appendNode(buckets[nrt_HashTable_hash(ht, pair->key)], node);
            node = next;
        }
        old[b]->first = old[b]->last = nullptr;
        nrt_List_destruct(&old[b]);
    }
    std::free(old);
}

void settle(nrt_HashTableIterator* it, int from) {
    for (int b = from; b < it->hash->nbuckets; ++b) {
        nrt_List* bucket = it->hash->buckets[b];
        if (bucket != nullptr && bucket->first != nullptr) {
            it->curBucket = b;
            it->listIter.current = bucket->first;
            return;
        }
    }
    it->curBucket = -1;
    it->listIter.current = nullptr;
}

}  // namespace

extern "C" {

void nrt_Pair_init(nrt_Pair* pair, const char* key, NRT_DATA* data) {
    pair->key = copyKey(key);
    pair->data = data;
}

void nrt_Pair_copy(nrt_Pair* dst, nrt_Pair* src) {
    nrt_Pair_init(dst, src->key, src->data);
}

nrt_HashTable* nrt_HashTable_construct(int nbuckets, nrt_Error* error) {
    if (nbuckets <= 0) {
        nrt_Error_initf(error, NRT_CTXT, NRT_ERR_INVALID_PARAMETER,
                        "hash table needs at least one bucket, not %d", nbuckets);
        return nullptr;
    }
    auto* ht = static_cast<nrt_HashTable*>(std::malloc(sizeof(nrt_HashTable)));
    if (ht == nullptr) {
        tableOutOfMemory(error);
        return nullptr;
    }
    ht->nbuckets = nbuckets;
    ht->npairs = 0;
    ht->adopt = NRT_DATA_ADOPT;
    ht->hash = defaultHash;
    ht->dataDestructor = nullptr;
    ht->buckets =
        static_cast<nrt_List**>(std::calloc(static_cast<size_t>(nbuckets), sizeof(nrt_List*)));
    if (ht->buckets == nullptr) {
        std::free(ht);
        tableOutOfMemory(error);
        return nullptr;
    }
    for (int b = 0; b < nbuckets; ++b) {
        ht->buckets[b] = nrt_List_construct(error);
        if (ht->buckets[b] == nullptr) {
            nrt_HashTable_destruct(&ht);
            return nullptr;
        }
    }
    return ht;
}

void nrt_HashTable_destruct(nrt_HashTable** ht) {
    if (ht == nullptr || *ht == nullptr) {
        return;
    }
    nrt_HashTable* table = *ht;
    for (int b = 0; b < table->nbuckets; ++b) {
        nrt_List* bucket = table->buckets[b];
        if (bucket == nullptr) {
            continue;
        }
        while (!nrt_List_isEmpty(bucket)) {
            auto* pair = static_cast<nrt_Pair*>(nrt_List_popFront(bucket));
            if (table->adopt == NRT_DATA_ADOPT) {
                freeData(table, pair->data);
            }
            std::free(pair->key);
            std::free(pair);
        }
        nrt_List_destruct(&bucket);
    }
    std::free(table->buckets);
    std::free(table);
    *ht = nullptr;
}

nrt_HashTable* nrt_HashTable_clone(nrt_HashTable* source, NRT_HASH_DATA_CLONE cloner,
                                   nrt_Error* error) {
    if (source == nullptr) {
        return nullptr;
    }
    nrt_HashTable* copy = nrt_HashTable_construct(source->nbuckets, error);
    if (copy == nullptr) {
        return nullptr;
    }
    copy->adopt = source->adopt;
    copy->hash = source->hash;
    copy->dataDestructor = source->dataDestructor;
    for (int b = 0; b < source->nbuckets; ++b) {
        for (nrt_ListNode* node = source->buckets[b]->first; node != nullptr; node = node->next) {
            auto* pair = static_cast<nrt_Pair*>(node->data);
            NRT_DATA* data = pair->data;
            if (cloner != nullptr && data != nullptr) {
                data = cloner(pair->data, error);
                if (data == nullptr) {
                    nrt_HashTable_destruct(&copy);
                    return nullptr;
                }
            }
            if (!nrt_HashTable_insert(copy, pair->key, data, error)) {
                if (cloner != nullptr && copy->adopt == NRT_DATA_ADOPT) {
                    freeData(copy, data);
                }
                nrt_HashTable_destruct(&copy);
                return nullptr;
            }
        }
    }
    return copy;
}

void nrt_HashTable_setPolicy(nrt_HashTable* ht, int policy) {
    ht->adopt = policy;
}

void nrt_HashTable_setDataDestructor(nrt_HashTable* ht, NRT_HASH_DATA_DESTRUCT destructor) {
    ht->dataDestructor = destructor;
}

void nrt_HashTable_initDefaults(nrt_HashTable* ht) {
    ht->hash = defaultHash;
}

unsigned int nrt_HashTable_hash(nrt_HashTable* ht, const char* key) {
    return ht->hash(ht, key) % static_cast<unsigned int>(ht->nbuckets);
}

NRT_BOOL nrt_HashTable_insert(nrt_HashTable* ht, const char* key, NRT_DATA* data,
                              nrt_Error* error) {
    if (ht == nullptr || key == nullptr) {
        nrt_Error_init(error, "hash table or key is NULL", NRT_CTXT, NRT_ERR_INVALID_PARAMETER);
        return false;
    }
    auto* pair = static_cast<nrt_Pair*>(std::malloc(sizeof(nrt_Pair)));
    if (pair == nullptr) {
        tableOutOfMemory(error);
        return false;
    }
    nrt_Pair_init(pair, key, data);
    if (pair->key == nullptr) {
        std::free(pair);
        tableOutOfMemory(error);
        return false;
    }
    if (!nrt_List_pushBack(ht->buckets[nrt_HashTable_hash(ht, key)], pair, error)) {
        std::free(pair->key);
        std::free(pair);
        return false;
    }
    ++ht->npairs;
    growIfCrowded(ht);
    return true;
}

nrt_Pair* nrt_HashTable_find(nrt_HashTable* ht, const char* key) {
    if (ht == nullptr || key == nullptr) {
        return nullptr;
    }
    nrt_List* bucket = ht->buckets[nrt_HashTable_hash(ht, key)];
    for (nrt_ListNode* node = bucket->first; node != nullptr; node = node->next) {
        auto* pair = static_cast<nrt_Pair*>(node->data);
        if (std::strcmp(pair->key, key) == 0) {
            return pair;
        }
    }
    return nullptr;
}

NRT_BOOL nrt_HashTable_exists(nrt_HashTable* ht, const char* key) {
    return nrt_HashTable_find(ht, key) != nullptr;
}

NRT_DATA* nrt_HashTable_remove(nrt_HashTable* ht, const char* key) {
    if (ht == nullptr || key == nullptr) {
        return nullptr;
    }
    nrt_List* bucket = ht->buckets[nrt_HashTable_hash(ht, key)];
    for (nrt_ListIterator it{bucket->first}; it.current != nullptr;
         nrt_ListIterator_increment(&it)) {
        auto* pair = static_cast<nrt_Pair*>(it.current->data);
        if (std::strcmp(pair->key, key) == 0) {
            nrt_List_remove(bucket, &it);
            --ht->npairs;
            NRT_DATA* data = pair->data;
            std::free(pair->key);
            std::free(pair);
            return data;
        }
    }
    return nullptr;
}

NRT_BOOL nrt_HashTable_foreach(nrt_HashTable* ht, NRT_HASH_FUNCTOR fn, NRT_DATA* userData,
                               nrt_Error* error) {
    for (int b = 0; b < ht->nbuckets; ++b) {
        for (nrt_ListNode* node = ht->buckets[b]->first; node != nullptr;) {
            nrt_ListNode* next = node->next;  // the functor may free the pair's data
            if (!fn(ht, static_cast<nrt_Pair*>(node->data), userData, error)) {
                return false;
            }
            node = next;
        }
    }
    return true;
}

nrt_HashTableIterator nrt_HashTable_begin(nrt_HashTable* ht) {
    nrt_HashTableIterator it{ht, -1, {nullptr}};
    if (ht != nullptr) {
        settle(&it, 0);
    }
    return it;
}

nrt_HashTableIterator nrt_HashTable_end(nrt_HashTable* ht) {
    return nrt_HashTableIterator{ht, -1, {nullptr}};
}

NRT_BOOL nrt_HashTableIterator_equals(nrt_HashTableIterator* it1, nrt_HashTableIterator* it2) {
    return it1->hash == it2->hash && it1->curBucket == it2->curBucket &&
           it1->listIter.current == it2->listIter.current;
}

NRT_BOOL nrt_HashTableIterator_notEqualTo(nrt_HashTableIterator* it1, nrt_HashTableIterator* it2) {
    return !nrt_HashTableIterator_equals(it1, it2);
}

void nrt_HashTableIterator_increment(nrt_HashTableIterator* it) {
    if (it->hash == nullptr || it->listIter.current == nullptr) {
        return;
    }
    it->listIter.current = it->listIter.current->next;
    if (it->listIter.current == nullptr) {
        settle(it, it->curBucket + 1);
    }
}

nrt_Pair* nrt_HashTableIterator_get(nrt_HashTableIterator* it) {
    return it->listIter.current != nullptr ? static_cast<nrt_Pair*>(it->listIter.current->data)
                                           : nullptr;
}

}  // extern "C"
