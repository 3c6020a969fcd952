#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
/* The label subheader (NITF 2.0 only). */

#include "tessel/platform/nitf/nitf_FileHeader.h"

#ifdef __cplusplus
extern "C" {
#endif

#define NITF_LA_SZ 2
#define NITF_LID_SZ 10
#define NITF_LSCLAS_SZ 1
#define NITF_LFS_SZ 1
#define NITF_LCW_SZ 2
#define NITF_LCH_SZ 2
#define NITF_LDLVL_SZ 3
#define NITF_LALVL_SZ 3
#define NITF_LLOCR_SZ 5
#define NITF_LLOCC_SZ 5
#define NITF_LTC_SZ 3
#define NITF_LBC_SZ 3
#define NITF_LXSHDL_SZ 5
#define NITF_LXSOFL_SZ 3

#define NITF_LA filePartType
#define NITF_LID labelID
#define NITF_LSCLAS securityClass
#define NITF_LFS fontStyle
#define NITF_LCW cellWidth
#define NITF_LCH cellHeight
#define NITF_LDLVL displayLevel
#define NITF_LALVL attachmentLevel
#define NITF_LLOCR locationRow
#define NITF_LLOCC locationColumn
#define NITF_LTC textColor
#define NITF_LBC backgroundColor
#define NITF_LXSHDL extendedHeaderLength
#define NITF_LXSOFL extendedHeaderOverflow

typedef struct _nitf_LabelSubheader {
    nitf_Field* filePartType;
    nitf_Field* labelID;
    nitf_Field* securityClass;
    nitf_FileSecurity* securityGroup;
    nitf_Field* encrypted;
    nitf_Field* fontStyle;
    nitf_Field* cellWidth;
    nitf_Field* cellHeight;
    nitf_Field* displayLevel;
    nitf_Field* attachmentLevel;
    nitf_Field* locationRow;
    nitf_Field* locationColumn;
    nitf_Field* textColor;       /* 3 bytes RGB */
    nitf_Field* backgroundColor; /* 3 bytes RGB */

    nitf_Field* extendedHeaderLength;
    nitf_Field* extendedHeaderOverflow;

    nitf_Extensions* extendedSection;
} nitf_LabelSubheader;

nitf_LabelSubheader* nitf_LabelSubheader_construct(nitf_Error* error);
nitf_LabelSubheader* nitf_LabelSubheader_clone(nitf_LabelSubheader* source, nitf_Error* error);
void nitf_LabelSubheader_destruct(nitf_LabelSubheader** subhdr);

#ifdef __cplusplus
}
#endif

TESSEL_PUBLIC_END
