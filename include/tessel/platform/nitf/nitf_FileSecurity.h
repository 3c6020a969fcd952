#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
/* The security group of the file header and of every subheader. */

#include "tessel/platform/nitf/nitf_Field.h"
#include "tessel/platform/nitf/nitf_Types.h"

#ifdef __cplusplus
extern "C" {
#endif

#define NITF_CLSY_SZ 2
#define NITF_CODE_SZ 11
#define NITF_CTLH_SZ 2
#define NITF_REL_SZ 20
#define NITF_DCTP_SZ 2
#define NITF_DCDT_SZ 8
#define NITF_DCXM_SZ 4
#define NITF_DG_SZ 1
#define NITF_DGDT_SZ 8
#define NITF_CLTX_SZ 43
#define NITF_CATP_SZ 1
#define NITF_CAUT_SZ 40
#define NITF_CRSN_SZ 1
#define NITF_RDT_SZ 8
#define NITF_CTLN_SZ 15

/* NITF 2.0 widths of the fields that group holds. */
#define NITF_CODE_20_SZ 40
#define NITF_CTLH_20_SZ 40
#define NITF_REL_20_SZ 40
#define NITF_CAUT_20_SZ 20
#define NITF_CTLN_20_SZ 20
#define NITF_DGDT_20_SZ 6
#define NITF_CLTX_20_SZ 40

#define NITF_CLSY classificationSystem
#define NITF_CODE codewords
#define NITF_CTLH controlAndHandling
#define NITF_REL releasingInstructions
#define NITF_DCTP declassificationType
#define NITF_DCDT declassificationDate
#define NITF_DCXM declassificationExemption
#define NITF_DG downgrade
#define NITF_DGDT downgradeDateTime
#define NITF_CLTX classificationText
#define NITF_CATP classificationAuthorityType
#define NITF_CAUT classificationAuthority
#define NITF_CRSN classificationReason
#define NITF_RDT securitySourceDate
#define NITF_CTLN securityControlNumber

/* In NITF 2.0 files DWNG is held in downgradeDateTime and DEVT in classificationText. */
typedef struct _nitf_FileSecurity {
    nitf_Field* classificationSystem;
    nitf_Field* codewords;
    nitf_Field* controlAndHandling;
    nitf_Field* releasingInstructions;
    nitf_Field* declassificationType;
    nitf_Field* declassificationDate;
    nitf_Field* declassificationExemption;
    nitf_Field* downgrade;
    nitf_Field* downgradeDateTime;
    nitf_Field* classificationText;
    nitf_Field* classificationAuthorityType;
    nitf_Field* classificationAuthority;
    nitf_Field* classificationReason;
    nitf_Field* securitySourceDate;
    nitf_Field* securityControlNumber;
} nitf_FileSecurity;

nitf_FileSecurity* nitf_FileSecurity_construct(nitf_Error* error);
nitf_FileSecurity* nitf_FileSecurity_clone(nitf_FileSecurity* source, nitf_Error* error);
void nitf_FileSecurity_destruct(nitf_FileSecurity** fs);
/* Gives the fields the widths of that version's group (blank contents). */
NITF_BOOL nitf_FileSecurity_resizeForVersion(nitf_FileSecurity* fs, nitf_Version ver,
                                             nitf_Error* error);

#ifdef __cplusplus
}
#endif

TESSEL_PUBLIC_END
