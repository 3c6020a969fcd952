#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
/* The graphic subheader (NITF 2.1), which also holds NITF 2.0 symbol subheaders. */

#include "tessel/platform/nitf/nitf_BandInfo.h"
#include "tessel/platform/nitf/nitf_FileHeader.h"

#ifdef __cplusplus
extern "C" {
#endif

#define NITF_SY_SZ 2
#define NITF_SID_SZ 10
#define NITF_SNAME_SZ 20
#define NITF_SSCLAS_SZ 1
#define NITF_SFMT_SZ 1
#define NITF_SSTRUCT_SZ 13
#define NITF_SDLVL_SZ 3
#define NITF_SALVL_SZ 3
#define NITF_SLOC_SZ 10
#define NITF_SBND1_SZ 10
#define NITF_SCOLOR_SZ 1
#define NITF_SBND2_SZ 10
#define NITF_SRES2_SZ 2
#define NITF_SXSHDL_SZ 5
#define NITF_SXSOFL_SZ 3

/* NITF 2.0 symbol fields. */
#define NITF_STYPE20_SZ 1
#define NITF_NLIPS_SZ 4
#define NITF_NPIXPL_SZ 4
#define NITF_NWDTH_SZ 4
#define NITF_SYNBPP_SZ 1
#define NITF_SLOC2_SZ 10
#define NITF_SNUM_SZ 6
#define NITF_SROT_SZ 3
#define NITF_SYNELUT_SZ 3

#define NITF_SY filePartType
#define NITF_SID graphicID
#define NITF_SNAME name
#define NITF_SSCLAS securityClass
#define NITF_SFMT stype
#define NITF_SSTRUCT res1
#define NITF_SDLVL displayLevel
#define NITF_SALVL attachmentLevel
#define NITF_SLOC location
#define NITF_SBND1 bound1Loc
#define NITF_SCOLOR color
#define NITF_SBND2 bound2Loc
#define NITF_SRES2 res2
#define NITF_SXSHDL extendedHeaderLength
#define NITF_SXSOFL extendedHeaderOverflow
#define NITF_NLIPS numLinesPerSymbol
#define NITF_NPIXPL numPixelsPerLine
#define NITF_NWDTH lineWidth
#define NITF_SLOC2 location2
#define NITF_SNUM symbolNumber
#define NITF_SROT rotation

/* A NITF 2.0 symbol keeps STYPE in stype, SDLVL, SALVL, SLOC and SCOLOR in the shared
 * members, and its own fields in the members after extendedSection (NULL for 2.1 graphics). */
typedef struct _nitf_GraphicSubheader {
    nitf_Field* filePartType;
    nitf_Field* graphicID;
    nitf_Field* name;
    nitf_Field* securityClass;
    nitf_FileSecurity* securityGroup;
    nitf_Field* encrypted;
    nitf_Field* stype;
    nitf_Field* res1;
    nitf_Field* displayLevel;
    nitf_Field* attachmentLevel;
    nitf_Field* location;
    nitf_Field* bound1Loc;
    nitf_Field* color;
    nitf_Field* bound2Loc;
    nitf_Field* res2;

    nitf_Field* extendedHeaderLength;
    nitf_Field* extendedHeaderOverflow;

    nitf_Extensions* extendedSection;

    /* NITF 2.0 symbols only. */
    nitf_Field* numLinesPerSymbol; /* NLIPS */
    nitf_Field* numPixelsPerLine;  /* NPIXPL */
    nitf_Field* lineWidth;         /* NWDTH */
    nitf_Field* numBitsPerPixel;   /* NBPP */
    nitf_Field* location2;         /* SLOC2 */
    nitf_Field* symbolNumber;      /* SNUM */
    nitf_Field* rotation;          /* SROT */
    nitf_Field* numLUTEntries;     /* NELUT */
    nitf_LookupTable* lut;         /* DLUT: NELUT entries of 3 bytes */
} nitf_GraphicSubheader;

nitf_GraphicSubheader* nitf_GraphicSubheader_construct(nitf_Error* error);
nitf_GraphicSubheader* nitf_GraphicSubheader_clone(nitf_GraphicSubheader* source,
                                                   nitf_Error* error);
void nitf_GraphicSubheader_destruct(nitf_GraphicSubheader** subhdr);

#ifdef __cplusplus
}
#endif

TESSEL_PUBLIC_END
