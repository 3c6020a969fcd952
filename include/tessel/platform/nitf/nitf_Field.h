#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
/* A header or TRE field: BCS-A text, BCS-N numeric text or binary bytes of a fixed width. */

#include "tessel/platform/nitf/nrt_Types.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef enum _nitf_FieldType { NITF_BCS_A = 0, NITF_BCS_N = 1, NITF_BINARY = 2 } nitf_FieldType;

typedef enum _nitf_ConvType {
    NITF_CONV_UINT = 0,
    NITF_CONV_INT = 1,
    NITF_CONV_REAL = 2,
    NITF_CONV_STRING = 3,
    NITF_CONV_RAW = 4
} nitf_ConvType;

typedef struct _nitf_Field {
    nitf_FieldType type;
    char* raw; /* length bytes plus a trailing NUL; binary bytes may hold NULs */
    size_t length;
    NITF_BOOL resizable;
} nitf_Field;

/* A new field of the width, filled with blanks (BCS-A), '0' (BCS-N) or zero bytes. */
nitf_Field* nitf_Field_construct(size_t length, nitf_FieldType type, nitf_Error* error);
void nitf_Field_destruct(nitf_Field** field);
nitf_Field* nitf_Field_clone(nitf_Field* source, nitf_Error* error);

/* Exact-width copy; shorter data is blank-filled on the right (BCS-A) or zero-filled on the
 * left (BCS-N, a leading sign moving to the first column); shorter binary data fails. A
 * resizable field takes the data's width. */
NITF_BOOL nitf_Field_setRawData(nitf_Field* field, const NITF_DATA* data, size_t dataLength,
                                nitf_Error* error);
/* Validated text, padded as setRawData pads; fails on binary fields and text too long. */
NITF_BOOL nitf_Field_setString(nitf_Field* field, const char* str, nitf_Error* error);
NITF_BOOL nitf_Field_setUint32(nitf_Field* field, uint32_t number, nitf_Error* error);
NITF_BOOL nitf_Field_setUint64(nitf_Field* field, uint64_t number, nitf_Error* error);
NITF_BOOL nitf_Field_setInt32(nitf_Field* field, int32_t number, nitf_Error* error);
NITF_BOOL nitf_Field_setInt64(nitf_Field* field, int64_t number, nitf_Error* error);
/* Text of a real number in the field's width: type "f", "e" or "E"; plus forces a sign. */
NITF_BOOL nitf_Field_setReal(nitf_Field* field, const char* type, NITF_BOOL plus, double value,
                             nitf_Error* error);

/* Converts the field into outValue, whose size is length:
 *  UINT/INT: BCS text read as a decimal into a 1, 2, 4 or 8-byte integer; binary fields of
 *            width 2, 4 or 8 are read in host order.
 *  REAL:     BCS text into a float (length 4) or double (8); binary bytes copied.
 *  STRING:   at most length-1 bytes and a NUL; binary of width 2, 4, 8 as decimal text.
 *  RAW:      the first length bytes (at most the width). */
NITF_BOOL nitf_Field_get(nitf_Field* field, NITF_DATA* outValue, nitf_ConvType convType,
                         size_t length, nitf_Error* error);

/* Gives a resizable field a new width, refilled with its type's blank. */
NITF_BOOL nitf_Field_resizeField(nitf_Field* field, size_t newLength, nitf_Error* error);
/* Gives any field a new width, keeping the data (truncated or padded) when keepData. */
NITF_BOOL nitf_Field_resetLength(nitf_Field* field, size_t newLength, NITF_BOOL keepData,
                                 nitf_Error* error);

/* Trims blanks on both ends, in place. */
void nitf_Field_trimString(char* str);

#define NITF_TRY_GET_UINT32(FIELD, DATA_PTR, error)                                               \
    if (!nitf_Field_get((FIELD), (NITF_DATA*)(DATA_PTR), NITF_CONV_UINT, NITF_INT32_SZ, (error))) \
    goto CATCH_ERROR
#define NITF_TRY_GET_UINT64(FIELD, DATA_PTR, error)                                               \
    if (!nitf_Field_get((FIELD), (NITF_DATA*)(DATA_PTR), NITF_CONV_UINT, NITF_INT64_SZ, (error))) \
    goto CATCH_ERROR
#define NITF_TRY_GET_INT32(FIELD, DATA_PTR, error)                                               \
    if (!nitf_Field_get((FIELD), (NITF_DATA*)(DATA_PTR), NITF_CONV_INT, NITF_INT32_SZ, (error))) \
    goto CATCH_ERROR
#define NITF_TRY_GET_INT64(FIELD, DATA_PTR, error)                                               \
    if (!nitf_Field_get((FIELD), (NITF_DATA*)(DATA_PTR), NITF_CONV_INT, NITF_INT64_SZ, (error))) \
    goto CATCH_ERROR

#ifdef __cplusplus
}
#endif

TESSEL_PUBLIC_END
