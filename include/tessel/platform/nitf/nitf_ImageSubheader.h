#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
/* The image subheader: the NITF_<NAME> macros name each member by its field name. */

#include "tessel/platform/nitf/nitf_BandInfo.h"
#include "tessel/platform/nitf/nitf_FileHeader.h"

#ifdef __cplusplus
extern "C" {
#endif

#define NITF_IM_SZ 2
#define NITF_IID1_SZ 10
#define NITF_IDATIM_SZ 14
#define NITF_TGTID_SZ 17
#define NITF_IID2_SZ 80
#define NITF_ISCLAS_SZ 1
#define NITF_ISORCE_SZ 42
#define NITF_NROWS_SZ 8
#define NITF_NCOLS_SZ 8
#define NITF_PVTYPE_SZ 3
#define NITF_IREP_SZ 8
#define NITF_ICAT_SZ 8
#define NITF_ABPP_SZ 2
#define NITF_PJUST_SZ 1
#define NITF_ICORDS_SZ 1
#define NITF_IGEOLO_SZ 60
#define NITF_NICOM_SZ 1
#define NITF_ICOM_SZ 80
#define NITF_IC_SZ 2
#define NITF_COMRAT_SZ 4
#define NITF_NBANDS_SZ 1
#define NITF_XBANDS_SZ 5
#define NITF_ISYNC_SZ 1
#define NITF_IMODE_SZ 1
#define NITF_NBPR_SZ 4
#define NITF_NBPC_SZ 4
#define NITF_NPPBH_SZ 4
#define NITF_NPPBV_SZ 4
#define NITF_NBPP_SZ 2
#define NITF_IDLVL_SZ 3
#define NITF_IALVL_SZ 3
#define NITF_ILOC_SZ 10
#define NITF_IMAG_SZ 4
#define NITF_UDIDL_SZ 5
#define NITF_UDOFL_SZ 3
#define NITF_IXSHDL_SZ 5
#define NITF_IXSOFL_SZ 3

#define NITF_IM filePartType
#define NITF_IID1 imageId
#define NITF_IDATIM imageDateAndTime
#define NITF_TGTID targetId
#define NITF_IID2 imageTitle
#define NITF_ISCLAS imageSecurityClass
#define NITF_ISORCE imageSource
#define NITF_NROWS numRows
#define NITF_NCOLS numCols
#define NITF_PVTYPE pixelValueType
#define NITF_IREP imageRepresentation
#define NITF_ICAT imageCategory
#define NITF_ABPP actualBitsPerPixel
#define NITF_PJUST pixelJustification
#define NITF_ICORDS imageCoordinateSystem
#define NITF_IGEOLO cornerCoordinates
#define NITF_NICOM numImageComments
#define NITF_ICOM imageComments
#define NITF_IC imageCompression
#define NITF_COMRAT compressionRate
#define NITF_NBANDS numImageBands
#define NITF_XBANDS numMultispectralImageBands
#define NITF_ISYNC imageSyncCode
#define NITF_IMODE imageMode
#define NITF_NBPR numBlocksPerRow
#define NITF_NBPC numBlocksPerCol
#define NITF_NPPBH numPixelsPerHorizBlock
#define NITF_NPPBV numPixelsPerVertBlock
#define NITF_NBPP numBitsPerPixel
#define NITF_IDLVL imageDisplayLevel
#define NITF_IALVL imageAttachmentLevel
#define NITF_ILOC imageLocation
#define NITF_IMAG imageMagnification
#define NITF_UDIDL userDefinedImageDataLength
#define NITF_UDOFL userDefinedOverflow
#define NITF_IXSHDL extendedHeaderLength
#define NITF_IXSOFL extendedHeaderOverflow

#define NITF_MAX_BAND_COUNT 99999
#define NITF_INVALID_BAND_COUNT ((uint32_t)-1)
/* Blocks of more pixels than this along an axis are recorded as 0 ("not blocked"). */
#define NITF_BLOCK_DIM_MAX 8192

typedef struct _nitf_ImageSubheader {
    nitf_Field* filePartType;
    nitf_Field* imageId;
    nitf_Field* imageDateAndTime;
    nitf_Field* targetId;
    nitf_Field* imageTitle;
    nitf_Field* imageSecurityClass;

    nitf_FileSecurity* securityGroup;
    nitf_Field* encrypted;
    nitf_Field* imageSource;

    nitf_Field* numRows;
    nitf_Field* numCols;

    nitf_Field* pixelValueType;
    nitf_Field* imageRepresentation;
    nitf_Field* imageCategory;

    nitf_Field* actualBitsPerPixel;

    nitf_Field* pixelJustification;
    nitf_Field* imageCoordinateSystem;
    nitf_Field* cornerCoordinates;

    nitf_Field* numImageComments;
    nitf_List* imageComments; /* of nitf_Field*, one per comment */

    nitf_Field* imageCompression;
    nitf_Field* compressionRate;

    nitf_Field* numImageBands;
    nitf_Field* numMultispectralImageBands;

    nitf_BandInfo** bandInfo;

    nitf_Field* imageSyncCode;
    nitf_Field* imageMode;
    nitf_Field* numBlocksPerRow;
    nitf_Field* numBlocksPerCol;
    nitf_Field* numPixelsPerHorizBlock;
    nitf_Field* numPixelsPerVertBlock;
    nitf_Field* numBitsPerPixel;

    nitf_Field* imageDisplayLevel;
    nitf_Field* imageAttachmentLevel;
    nitf_Field* imageLocation;
    nitf_Field* imageMagnification;

    nitf_Field* userDefinedImageDataLength;
    nitf_Field* userDefinedOverflow;

    nitf_Field* extendedHeaderLength;
    nitf_Field* extendedHeaderOverflow;

    nitf_Extensions* userDefinedSection;
    nitf_Extensions* extendedSection;
} nitf_ImageSubheader;

nitf_ImageSubheader* nitf_ImageSubheader_construct(nitf_Error* error);
nitf_ImageSubheader* nitf_ImageSubheader_clone(nitf_ImageSubheader* source, nitf_Error* error);
void nitf_ImageSubheader_destruct(nitf_ImageSubheader** subhdr);

/* Sets PVTYPE, NBPP, ABPP, PJUST, IREP, ICAT and the band count (NBANDS up to 9, else
 * XBANDS); destroys the old bands and adopts the malloc'd array `bands`. */
NITF_BOOL nitf_ImageSubheader_setPixelInformation(nitf_ImageSubheader* subhdr, const char* pvtype,
                                                  uint32_t nbpp, uint32_t abpp,
                                                  const char* justification, const char* irep,
                                                  const char* icat, uint32_t bandCount,
                                                  nitf_BandInfo** bands, nitf_Error* error);
/* NBANDS, or XBANDS when NBANDS is 0; NITF_INVALID_BAND_COUNT (error set) when both are set,
 * or the count is out of range. */
uint32_t nitf_ImageSubheader_getBandCount(nitf_ImageSubheader* subhdr, nitf_Error* error);
/* The band's information (not a copy), range-checked. */
nitf_BandInfo* nitf_ImageSubheader_getBandInfo(nitf_ImageSubheader* subhdr, uint32_t band,
                                               nitf_Error* error);
/* Adds numBands new bands and updates NBANDS/XBANDS. */
NITF_BOOL nitf_ImageSubheader_createBands(nitf_ImageSubheader* subhdr, uint32_t numBands,
                                          nitf_Error* error);
NITF_BOOL nitf_ImageSubheader_getDimensions(nitf_ImageSubheader* subhdr, uint32_t* numRows,
                                            uint32_t* numCols, nitf_Error* error);
/* imode receives NITF_IMODE_SZ+1 bytes. */
NITF_BOOL nitf_ImageSubheader_getBlocking(nitf_ImageSubheader* subhdr, uint32_t* numRows,
                                          uint32_t* numCols, uint32_t* numRowsPerBlock,
                                          uint32_t* numColsPerBlock, uint32_t* numBlocksPerRow,
                                          uint32_t* numBlocksPerCol, char* imode,
                                          nitf_Error* error);
/* imageCompression receives NITF_IC_SZ+1 bytes, compressionRate NITF_COMRAT_SZ+1. */
NITF_BOOL nitf_ImageSubheader_getCompression(nitf_ImageSubheader* subhdr, char* imageCompression,
                                             char* compressionRate, nitf_Error* error);
/* Sets NROWS, NCOLS, NPPBV, NPPBH, NBPC, NBPR and IMODE (blocking as computeBlocking). */
NITF_BOOL nitf_ImageSubheader_setBlocking(nitf_ImageSubheader* subhdr, uint32_t numRows,
                                          uint32_t numCols, uint32_t numRowsPerBlock,
                                          uint32_t numColsPerBlock, const char* imode,
                                          nitf_Error* error);
/* Per-block sizes above NITF_BLOCK_DIM_MAX become 0; a size of 0 means one block; block
 * counts round up. */
void nitf_ImageSubheader_computeBlocking(uint32_t numRows, uint32_t numCols,
                                         uint32_t* numRowsPerBlock, uint32_t* numColsPerBlock,
                                         uint32_t* numBlocksPerCol, uint32_t* numBlocksPerRow);
/* Adds a comment (ICOM) and bumps NICOM; returns its index or -1. */
int nitf_ImageSubheader_insertImageComment(nitf_ImageSubheader* subhdr, const char* comment,
                                           int position, nitf_Error* error);

#ifdef __cplusplus
}
#endif

TESSEL_PUBLIC_END
