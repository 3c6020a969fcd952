#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
/* A whole file in memory: the header and the lists of segments of each kind. */

#include "tessel/platform/nitf/nitf_Segments.h"

#ifdef __cplusplus
extern "C" {
#endif

struct _nitf_Record {
    nitf_FileHeader* header;
    nitf_List* images;             /* of nitf_ImageSegment* */
    nitf_List* graphics;           /* of nitf_GraphicSegment* */
    nitf_List* labels;             /* of nitf_LabelSegment* */
    nitf_List* texts;              /* of nitf_TextSegment* */
    nitf_List* dataExtensions;     /* of nitf_DESegment* */
    nitf_List* reservedExtensions; /* of nitf_RESegment* */
};

/* An empty record whose header says FHDR/FVER of that version (2.1 written "NITF02.10"). */
nitf_Record* nitf_Record_construct(nitf_Version version, nitf_Error* error);
nitf_Record* nitf_Record_clone(nitf_Record* source, nitf_Error* error);
void nitf_Record_destruct(nitf_Record** record);

/* NSIF or FVER 02.10: NITF_VER_21; FVER 02.00: NITF_VER_20; else NITF_VER_UNKNOWN. */
nitf_Version nitf_Record_getVersion(const nitf_Record* record);
uint32_t nitf_Record_getNumImages(const nitf_Record* record, nitf_Error* error);
uint32_t nitf_Record_getNumGraphics(const nitf_Record* record, nitf_Error* error);
uint32_t nitf_Record_getNumLabels(const nitf_Record* record, nitf_Error* error);
uint32_t nitf_Record_getNumTexts(const nitf_Record* record, nitf_Error* error);
uint32_t nitf_Record_getNumDataExtensions(const nitf_Record* record, nitf_Error* error);
uint32_t nitf_Record_getNumReservedExtensions(const nitf_Record* record, nitf_Error* error);

/* Each appends a new segment and its component info, and bumps the header's count. */
nitf_ImageSegment* nitf_Record_newImageSegment(nitf_Record* record, nitf_Error* error);
nitf_GraphicSegment* nitf_Record_newGraphicSegment(nitf_Record* record, nitf_Error* error);
nitf_TextSegment* nitf_Record_newTextSegment(nitf_Record* record, nitf_Error* error);
nitf_DESegment* nitf_Record_newDataExtensionSegment(nitf_Record* record, nitf_Error* error);

#ifdef __cplusplus
}
#endif

TESSEL_PUBLIC_END
