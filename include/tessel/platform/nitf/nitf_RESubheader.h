#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
/* The reserved extension subheader. */

#include "tessel/platform/nitf/nitf_FileHeader.h"

#ifdef __cplusplus
extern "C" {
#endif

#define NITF_RE_SZ 2
#define NITF_RESTAG_SZ 25
#define NITF_RESVER_SZ 2
#define NITF_RESCLAS_SZ 1
#define NITF_RESSHL_SZ 4

#define NITF_RE filePartType
#define NITF_RESTAG typeID
#define NITF_RESVER version
#define NITF_RESCLAS securityClass
#define NITF_RESSHL subheaderFieldsLength

typedef struct _nitf_RESubheader {
    nitf_Field* filePartType;
    nitf_Field* typeID;
    nitf_Field* version;
    nitf_Field* securityClass;
    nitf_FileSecurity* securityGroup;
    nitf_Field* subheaderFieldsLength;
    char* subheaderFields; /* RESSHL bytes (malloc'd), or NULL */
    uint64_t dataLength;
} nitf_RESubheader;

nitf_RESubheader* nitf_RESubheader_construct(nitf_Error* error);
nitf_RESubheader* nitf_RESubheader_clone(nitf_RESubheader* source, nitf_Error* error);
void nitf_RESubheader_destruct(nitf_RESubheader** subhdr);

#ifdef __cplusplus
}
#endif

TESSEL_PUBLIC_END
