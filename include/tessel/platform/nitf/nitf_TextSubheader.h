#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
/* The text subheader. */

#include "tessel/platform/nitf/nitf_FileHeader.h"

#ifdef __cplusplus
extern "C" {
#endif

#define NITF_TE_SZ 2
#define NITF_TEXTID_SZ 7
#define NITF_TXTALVL_SZ 3
#define NITF_TXTDT_SZ 14
#define NITF_TXTITL_SZ 80
#define NITF_TSCLAS_SZ 1
#define NITF_TXTFMT_SZ 3
#define NITF_TXSHDL_SZ 5
#define NITF_TXSOFL_SZ 3

#define NITF_TE filePartType
#define NITF_TEXTID textID
#define NITF_TXTALVL attachmentLevel
#define NITF_TXTDT dateTime
#define NITF_TXTITL title
#define NITF_TSCLAS securityClass
#define NITF_TXTFMT format
#define NITF_TXSHDL extendedHeaderLength
#define NITF_TXSOFL extendedHeaderOverflow

/* A NITF 2.0 TEXTID (10 characters) spans textID and attachmentLevel. */
typedef struct _nitf_TextSubheader {
    nitf_Field* filePartType;
    nitf_Field* textID;
    nitf_Field* attachmentLevel;
    nitf_Field* dateTime;
    nitf_Field* title;
    nitf_Field* securityClass;
    nitf_FileSecurity* securityGroup;
    nitf_Field* encrypted;
    nitf_Field* format;

    nitf_Field* extendedHeaderLength;
    nitf_Field* extendedHeaderOverflow;

    nitf_Extensions* extendedSection;
} nitf_TextSubheader;

nitf_TextSubheader* nitf_TextSubheader_construct(nitf_Error* error);
nitf_TextSubheader* nitf_TextSubheader_clone(nitf_TextSubheader* source, nitf_Error* error);
void nitf_TextSubheader_destruct(nitf_TextSubheader** subhdr);

#ifdef __cplusplus
}
#endif

TESSEL_PUBLIC_END
