#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
/* A key and its payload, as hash tables hold them. */

#include "tessel/platform/nitf/nrt_Types.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct _NRT_Pair {
    char* key;
    NRT_DATA* data;
} nrt_Pair;

/* Copies the key; the data pointer is stored as given. */
void nrt_Pair_init(nrt_Pair* pair, const char* key, NRT_DATA* data);
void nrt_Pair_copy(nrt_Pair* dst, nrt_Pair* src);

typedef nrt_Pair nitf_Pair;
#define nitf_Pair_init nrt_Pair_init
#define nitf_Pair_copy nrt_Pair_copy

#ifdef __cplusplus
}
#endif

TESSEL_PUBLIC_END
