#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
/* The data extension subheader; its user-defined fields are a TRE named by DESTAG. */

#include "tessel/platform/nitf/nitf_FileHeader.h"

#ifdef __cplusplus
extern "C" {
#endif

#define NITF_DE_SZ 2
#define NITF_DESTAG_SZ 25
#define NITF_DESVER_SZ 2
#define NITF_DESCLAS_SZ 1
#define NITF_DESOFLW_SZ 6
#define NITF_DESITEM_SZ 3
#define NITF_DESSHL_SZ 4

#define NITF_DE filePartType
#define NITF_DESTAG typeID
#define NITF_DESVER version
#define NITF_DESCLAS securityClass
#define NITF_DESOFLW overflowedHeaderType
#define NITF_DESITEM dataItemOverflowed
#define NITF_DESSHL subheaderFieldsLength

typedef struct _nitf_DESubheader {
    nitf_Field* filePartType;
    nitf_Field* typeID;
    nitf_Field* version;
    nitf_Field* securityClass;
    nitf_FileSecurity* securityGroup;
    nitf_Field* overflowedHeaderType;
    nitf_Field* dataItemOverflowed;
    nitf_Field* subheaderFieldsLength;
    nitf_TRE* subheaderFields; /* NULL when DESSHL is 0 */
    uint64_t dataLength;

    nitf_Extensions* userDefinedSection; /* TREs of an overflow DES */
} nitf_DESubheader;

nitf_DESubheader* nitf_DESubheader_construct(nitf_Error* error);
nitf_DESubheader* nitf_DESubheader_clone(nitf_DESubheader* source, nitf_Error* error);
void nitf_DESubheader_destruct(nitf_DESubheader** subhdr);

#ifdef __cplusplus
}
#endif

TESSEL_PUBLIC_END
