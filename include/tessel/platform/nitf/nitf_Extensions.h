#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
/* One extension section (UDHD, XHD, UDID, IXSHD, ...): its TREs in file order, and by name. */

#include "tessel/platform/nitf/nitf_TRE.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct _nitf_Extensions {
    nitf_HashTable* hash; /* name -> nitf_List* of the TREs of that name, in order */
    nitf_List* ref;       /* every TRE, in order; owns them */
} nitf_Extensions;

typedef struct _nitf_ExtensionsIterator {
    nitf_ListIterator iter;
} nitf_ExtensionsIterator;

nitf_Extensions* nitf_Extensions_construct(nitf_Error* error);
nitf_Extensions* nitf_Extensions_clone(nitf_Extensions* source, nitf_Error* error);
/* Destroys the TREs too. */
void nitf_Extensions_destruct(nitf_Extensions** ext);

/* Adopts the TRE. */
NITF_BOOL nitf_Extensions_appendTRE(nitf_Extensions* ext, nitf_TRE* tre, nitf_Error* error);
/* The TREs of that name in file order (owned by the section), or NULL. */
nitf_List* nitf_Extensions_getTREsByName(nitf_Extensions* ext, const char* name);
NITF_BOOL nitf_Extensions_exists(nitf_Extensions* ext, const char* name);
/* Destroys every TRE of that name. */
void nitf_Extensions_removeTREsByName(nitf_Extensions* ext, const char* name);
/* Inserts the TRE before the iterator's position; adopts it. */
NITF_BOOL nitf_Extensions_insert(nitf_Extensions* ext, nitf_ExtensionsIterator* atThis,
                                 nitf_TRE* tre, nitf_Error* error);
/* Unlinks the TRE at the iterator and gives it to the caller; the iterator moves on. */
nitf_TRE* nitf_Extensions_remove(nitf_Extensions* ext, nitf_ExtensionsIterator* atThis,
                                 nitf_Error* error);
/* Bytes the section takes in a file: per TRE its tag, length and data. */
uint32_t nitf_Extensions_computeLength(nitf_Extensions* ext, nitf_Version fver, nitf_Error* error);

nitf_ExtensionsIterator nitf_Extensions_begin(nitf_Extensions* ext);
nitf_ExtensionsIterator nitf_Extensions_end(nitf_Extensions* ext);
void nitf_ExtensionsIterator_increment(nitf_ExtensionsIterator* it);
nitf_TRE* nitf_ExtensionsIterator_get(nitf_ExtensionsIterator* it);
NITF_BOOL nitf_ExtensionsIterator_equals(nitf_ExtensionsIterator* it1,
                                         nitf_ExtensionsIterator* it2);
NITF_BOOL nitf_ExtensionsIterator_notEqualTo(nitf_ExtensionsIterator* it1,
                                             nitf_ExtensionsIterator* it2);

#ifdef __cplusplus
}
#endif

TESSEL_PUBLIC_END
