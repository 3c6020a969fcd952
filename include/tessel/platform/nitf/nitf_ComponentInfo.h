#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
/* A segment's subheader and data lengths as the file header lists them. */

#include "tessel/platform/nitf/nitf_Field.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct _nitf_ComponentInfo {
    nitf_Field* lengthSubheader;
    nitf_Field* lengthData;
} nitf_ComponentInfo;

typedef nitf_ComponentInfo* nitf_PComponentInfo;

/* Fields of the given widths (BCS-N). */
nitf_ComponentInfo* nitf_ComponentInfo_construct(uint32_t subheaderFieldWidth,
                                                 uint32_t dataFieldWidth, nitf_Error* error);
nitf_ComponentInfo* nitf_ComponentInfo_clone(nitf_ComponentInfo* source, nitf_Error* error);
void nitf_ComponentInfo_destruct(nitf_ComponentInfo** info);

#ifdef __cplusplus
}
#endif

TESSEL_PUBLIC_END
