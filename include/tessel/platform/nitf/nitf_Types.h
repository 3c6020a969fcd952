#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
/* Names shared by the record, the TREs and the reader. */

#include "tessel/platform/nitf/nrt_Types.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef enum _nitf_Version {
    NITF_VER_20 = 100,
    NITF_VER_21 = 101,
    NITF_VER_UNKNOWN = 102
} nitf_Version;

/* Widths of a TRE's tag and length in a file. */
#define NITF_ETAG_SZ 6
#define NITF_EL_SZ 5
#define NITF_MAX_TAG 32

struct _nitf_Record;
typedef struct _nitf_Record nitf_Record;

#ifdef __cplusplus
}
#endif

TESSEL_PUBLIC_END
