#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
/* Per-band information of an image subheader, with its lookup tables. */

#include "tessel/platform/nitf/nitf_Field.h"

#ifdef __cplusplus
extern "C" {
#endif

#define NITF_IREPBAND_SZ 2
#define NITF_ISUBCAT_SZ 6
#define NITF_IFC_SZ 1
#define NITF_IMFLT_SZ 3
#define NITF_NLUTS_SZ 1
#define NITF_NELUT_SZ 5

#define NITF_IREPBAND representation
#define NITF_ISUBCAT subcategory
#define NITF_IFC imageFilterCondition
#define NITF_IMFLT imageFilterCode
#define NITF_NLUTS numLUTs
#define NITF_NELUT bandEntriesPerLUT

/* tables lookup tables of entries bytes each, contiguous: table t entry i at t*entries+i. */
typedef struct _nitf_LookupTable {
    uint32_t tables;
    uint32_t entries;
    uint8_t* table;
} nitf_LookupTable;

nitf_LookupTable* nitf_LookupTable_construct(uint32_t tables, uint32_t entries, nitf_Error* error);
nitf_LookupTable* nitf_LookupTable_clone(nitf_LookupTable* source, nitf_Error* error);
void nitf_LookupTable_destruct(nitf_LookupTable** lt);
/* Copies tables*entries bytes into the table, resizing it. */
NITF_BOOL nitf_LookupTable_init(nitf_LookupTable* lut, uint32_t numTables, uint32_t numEntries,
                                const NITF_DATA* tables, nitf_Error* error);

typedef struct _nitf_BandInfo {
    nitf_Field* representation;
    nitf_Field* subcategory;
    nitf_Field* imageFilterCondition;
    nitf_Field* imageFilterCode;
    nitf_Field* numLUTs;
    nitf_Field* bandEntriesPerLUT;
    nitf_LookupTable* lut;
} nitf_BandInfo;

nitf_BandInfo* nitf_BandInfo_construct(nitf_Error* error);
nitf_BandInfo* nitf_BandInfo_clone(nitf_BandInfo* source, nitf_Error* error);
void nitf_BandInfo_destruct(nitf_BandInfo** info);
/* Sets the fields; takes the lookup table (which may be NULL). */
NITF_BOOL nitf_BandInfo_init(nitf_BandInfo* bandInfo, const char* representation,
                             const char* subcategory, const char* imageFilterCondition,
                             const char* imageFilterCode, uint32_t numLUTs,
                             uint32_t bandEntriesPerLUT, nitf_LookupTable* lut, nitf_Error* error);

#ifdef __cplusplus
}
#endif

TESSEL_PUBLIC_END
