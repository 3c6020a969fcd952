#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
/* Tagged record extensions: a TRE is a tag, a handler that knows its layout, and the
 * handler's private data. A TRE without a known layout is held raw, as the single binary
 * field "raw_data". */

#include "tessel/platform/nitf/nitf_Field.h"
#include "tessel/platform/nitf/nitf_Types.h"
#include "tessel/platform/nitf/nrt_HashTable.h"
#include "tessel/platform/nitf/nrt_IOInterface.h"
#include "tessel/platform/nitf/nrt_List.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Description entry kinds; the first three are the field types NITF_BCS_A, NITF_BCS_N and
 * NITF_BINARY. */
#define NITF_LOOP 3
#define NITF_ENDLOOP 4
#define NITF_IF 5
#define NITF_ENDIF 6
#define NITF_COMP_LEN 7
#define NITF_END 8

/* Widths with a meaning: the rest of the TRE, or the value of the entry's expression. */
#define NITF_TRE_GOBBLE (-1)
#define NITF_TRE_CONDITIONAL_LENGTH (-100)

/* Loop labels: a literal count, or a function computing it. */
#define NITF_CONST_N "CONSTANT"
#define NITF_FUNCTION "FUNCTION"

/* lengthMatch of a description that fits any length. */
#define NITF_TRE_DESC_NO_LENGTH (-1)

/* The id and field name of a raw TRE. */
#define NITF_TRE_RAW "raw_data"

#define NITF_TRE_HASH_SIZE 8

/* Construct with the layout's own length. */
#define NITF_TRE_DEFAULT_LENGTH 0
#define NITF_TRE_END NULL

/* One entry of a description: a field (type, width, label, name), or a loop, if or end. */
typedef struct _nitf_TREDescription {
    int data_type;
    int data_count;
    const char* label;
    const char* tag;
    const char* special; /* the width expression of NITF_TRE_CONDITIONAL_LENGTH fields */
} nitf_TREDescription;

/* A named layout; lengthMatch is the TRE length it applies to, or NITF_TRE_DESC_NO_LENGTH. */
typedef struct _nitf_TREDescriptionInfo {
    const char* name;
    nitf_TREDescription* description;
    int lengthMatch;
} nitf_TREDescriptionInfo;

/* The layouts of one TRE, ending with an entry whose name is NULL. */
typedef struct _nitf_TREDescriptionSet {
    int defaultIndex;
    nitf_TREDescriptionInfo* descriptions;
} nitf_TREDescriptionSet;

struct _nitf_TRE;
struct _nitf_TREEnumerator;

/* Walks a TRE's fields in order. next gives a pair whose key is the full field name and
 * whose data is the nitf_Field*. hasNext frees the enumerator and NULLs it at the end. */
typedef nitf_Pair* (*NITF_TRE_ITERATOR_INCREMENT)(struct _nitf_TREEnumerator*, nitf_Error*);
typedef NITF_BOOL (*NITF_TRE_ITERATOR_HAS_NEXT)(struct _nitf_TREEnumerator**);
typedef const char* (*NITF_TRE_ITERATOR_GET_DESCRIPTION)(struct _nitf_TREEnumerator*, nitf_Error*);

typedef struct _nitf_TREEnumerator {
    NITF_TRE_ITERATOR_INCREMENT next;
    NITF_TRE_ITERATOR_HAS_NEXT hasNext;
    NITF_TRE_ITERATOR_GET_DESCRIPTION getFieldDescription;
    NITF_DATA* data;
} nitf_TREEnumerator;

typedef NITF_BOOL (*NITF_TRE_INIT)(struct _nitf_TRE* tre, const char* id, nitf_Error* error);
typedef const char* (*NITF_TRE_ID_GET)(struct _nitf_TRE* tre);
typedef NITF_BOOL (*NITF_TRE_READER)(nitf_IOInterface* io, uint32_t length, struct _nitf_TRE* tre,
                                     struct _nitf_Record* record, nitf_Error* error);
typedef NITF_BOOL (*NITF_TRE_FIELD_SET)(struct _nitf_TRE* tre, const char* tag, NITF_DATA* data,
                                        size_t dataLength, nitf_Error* error);
typedef nitf_Field* (*NITF_TRE_FIELD_GET)(struct _nitf_TRE* tre, const char* tag);
typedef nitf_List* (*NITF_TRE_FIND)(struct _nitf_TRE* tre, const char* pattern, nitf_Error* error);
typedef NITF_BOOL (*NITF_TRE_WRITER)(nitf_IOInterface* io, struct _nitf_TRE* tre,
                                     struct _nitf_Record* record, nitf_Error* error);
typedef nitf_TREEnumerator* (*NITF_TRE_ITERATOR)(struct _nitf_TRE* tre, nitf_Error* error);
typedef int (*NITF_TRE_SIZE)(struct _nitf_TRE* tre, nitf_Error* error);
typedef NITF_BOOL (*NITF_TRE_CLONE)(struct _nitf_TRE* source, struct _nitf_TRE* dest,
                                    nitf_Error* error);
typedef void (*NITF_TRE_DESTRUCT)(struct _nitf_TRE* tre);

/* The operations of one kind of TRE; data is the handler's own (a description set for the
 * basic handler). */
typedef struct _nitf_TREHandler {
    NITF_TRE_INIT init;
    NITF_TRE_ID_GET getID;
    NITF_TRE_READER read;
    NITF_TRE_FIELD_SET setField;
    NITF_TRE_FIELD_GET getField;
    NITF_TRE_FIND find;
    NITF_TRE_WRITER write;
    NITF_TRE_ITERATOR begin;
    NITF_TRE_SIZE getCurrentSize;
    NITF_TRE_CLONE clone;
    NITF_TRE_DESTRUCT destruct;
    NITF_DATA* data;
} nitf_TREHandler;

typedef struct _nitf_TRE {
    nitf_TREHandler* handler;
    NITF_DATA* priv;
    char tag[NITF_MAX_TAG + 1];
} nitf_TRE;

/* A TRE with the tag only: no handler yet and nothing initialised. Callers attach the
 * handler (the reader takes it from the registry, a clone from its source). */
nitf_TRE* nitf_TRE_createSkeleton(const char* tag, nitf_Error* error);
/* A TRE of the tag with its layout's default values. The handler comes from the registry;
 * without one, or when id is "raw_data", the TRE is raw. id names the layout (NULL: the
 * first); an id no layout has fails. */
nitf_TRE* nitf_TRE_construct(const char* tag, const char* id, nitf_Error* error);
nitf_TRE* nitf_TRE_clone(nitf_TRE* source, nitf_Error* error);
void nitf_TRE_destruct(nitf_TRE** tre);

NITF_BOOL nitf_TRE_exists(nitf_TRE* tre, const char* tag);
NITF_BOOL nitf_TRE_setField(nitf_TRE* tre, const char* tag, NITF_DATA* data, size_t dataLength,
                            nitf_Error* error);
/* The field of that exact name (loop fields carry "[i]" subscripts), or NULL. */
nitf_Field* nitf_TRE_getField(nitf_TRE* tre, const char* tag);
/* The pairs (name, field) whose names contain the pattern; NULL when none. */
nitf_List* nitf_TRE_find(nitf_TRE* tre, const char* pattern, nitf_Error* error);
nitf_TREEnumerator* nitf_TRE_begin(nitf_TRE* tre, nitf_Error* error);
/* The length of the TRE's data as it would be written. */
int nitf_TRE_getCurrentSize(nitf_TRE* tre, nitf_Error* error);
/* The name of the layout in use, or "raw_data". */
const char* nitf_TRE_getID(nitf_TRE* tre);

/* The handler of raw TREs: one binary field "raw_data" holding the TRE's bytes. */
nitf_TREHandler* nitf_DefaultTRE_handler(nitf_Error* error);

#ifdef __cplusplus
}
#endif

TESSEL_PUBLIC_END
