#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
/* The private data TRE handlers keep: the length read, the layout in use and its name, and
 * the fields by full name. */

#include "tessel/platform/nitf/nitf_TRE.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct _nitf_TREPrivateData {
    uint32_t length;
    char* descriptionName;
    nitf_TREDescription* description;
    nitf_HashTable* hash; /* full field name -> nitf_Field*, adopted */
    NITF_DATA* userData;
} nitf_TREPrivateData;

nitf_TREPrivateData* nitf_TREPrivateData_construct(nitf_Error* error);
/* Deep copy of the fields; the description pointer and user data are shared. */
nitf_TREPrivateData* nitf_TREPrivateData_clone(nitf_TREPrivateData* source, nitf_Error* error);
void nitf_TREPrivateData_destruct(nitf_TREPrivateData** priv);
/* Drops every field. */
NITF_BOOL nitf_TREPrivateData_flush(nitf_TREPrivateData* priv, nitf_Error* error);
NITF_BOOL nitf_TREPrivateData_setDescriptionName(nitf_TREPrivateData* priv, const char* name,
                                                 nitf_Error* error);

#ifdef __cplusplus
}
#endif

TESSEL_PUBLIC_END
