#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
/* Segments: a subheader and where its data lies in the file (filled by the reader). */

#include "tessel/platform/nitf/nitf_DESubheader.h"
#include "tessel/platform/nitf/nitf_GraphicSubheader.h"
#include "tessel/platform/nitf/nitf_ImageSubheader.h"
#include "tessel/platform/nitf/nitf_LabelSubheader.h"
#include "tessel/platform/nitf/nitf_RESubheader.h"
#include "tessel/platform/nitf/nitf_TextSubheader.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct _nitf_ImageSegment {
    nitf_ImageSubheader* subheader;
    uint64_t imageOffset; /* first byte of the image data */
    uint64_t imageEnd;    /* one past its last byte */
} nitf_ImageSegment;

typedef struct _nitf_GraphicSegment {
    nitf_GraphicSubheader* subheader;
    uint64_t offset;
    uint64_t end;
} nitf_GraphicSegment;

typedef struct _nitf_LabelSegment {
    nitf_LabelSubheader* subheader;
    uint64_t offset;
    uint64_t end;
    char* label; /* unused: the text is read through a segment reader */
} nitf_LabelSegment;

typedef struct _nitf_TextSegment {
    nitf_TextSubheader* subheader;
    uint64_t offset;
    uint64_t end;
} nitf_TextSegment;

typedef struct _nitf_DESegment {
    nitf_DESubheader* subheader;
    uint64_t offset;
    uint64_t end;
} nitf_DESegment;

typedef struct _nitf_RESegment {
    nitf_RESubheader* subheader;
    uint64_t offset;
    uint64_t end;
    char* data; /* unused: the data is read through a segment reader */
} nitf_RESegment;

nitf_ImageSegment* nitf_ImageSegment_construct(nitf_Error* error);
nitf_ImageSegment* nitf_ImageSegment_clone(nitf_ImageSegment* source, nitf_Error* error);
void nitf_ImageSegment_destruct(nitf_ImageSegment** segment);
nitf_GraphicSegment* nitf_GraphicSegment_construct(nitf_Error* error);
nitf_GraphicSegment* nitf_GraphicSegment_clone(nitf_GraphicSegment* source, nitf_Error* error);
void nitf_GraphicSegment_destruct(nitf_GraphicSegment** segment);
nitf_LabelSegment* nitf_LabelSegment_construct(nitf_Error* error);
nitf_LabelSegment* nitf_LabelSegment_clone(nitf_LabelSegment* source, nitf_Error* error);
void nitf_LabelSegment_destruct(nitf_LabelSegment** segment);
nitf_TextSegment* nitf_TextSegment_construct(nitf_Error* error);
nitf_TextSegment* nitf_TextSegment_clone(nitf_TextSegment* source, nitf_Error* error);
void nitf_TextSegment_destruct(nitf_TextSegment** segment);
nitf_DESegment* nitf_DESegment_construct(nitf_Error* error);
nitf_DESegment* nitf_DESegment_clone(nitf_DESegment* source, nitf_Error* error);
void nitf_DESegment_destruct(nitf_DESegment** segment);
nitf_RESegment* nitf_RESegment_construct(nitf_Error* error);
nitf_RESegment* nitf_RESegment_clone(nitf_RESegment* source, nitf_Error* error);
void nitf_RESegment_destruct(nitf_RESegment** segment);

#ifdef __cplusplus
}
#endif

TESSEL_PUBLIC_END
