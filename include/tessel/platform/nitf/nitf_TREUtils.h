#pragma once
/* The basic handler, which reads, writes and edits a TRE from a description set. */

#include "tessel/platform/nitf/nitf_TREPrivateData.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Fills handler with the basic operations over the set (handler->data = set); returns it. */
nitf_TREHandler* nitf_TREUtils_createBasicHandler(nitf_TREDescriptionSet* set,
                                                  nitf_TREHandler* handler, nitf_Error* error);
/* The TRE's data as it would be written (malloc'd, caller frees), and its length. */
char* nitf_TREUtils_getRawData(nitf_TRE* tre, uint32_t* treLength, nitf_Error* error);
/* The length of the TRE's data walked with its current values, or -1. */
int nitf_TREUtils_computeLength(nitf_TRE* tre);
/* Creates the TRE's fields from the bytes of its data (priv->length of them). */
NITF_BOOL nitf_TREUtils_parse(nitf_TRE* tre, char* bufptr, nitf_Error* error);
NITF_BOOL nitf_TREUtils_setValue(nitf_TRE* tre, const char* tag, NITF_DATA* data, size_t dataLength,
                                 nitf_Error* error);
/* Creates the fields of a description with default values. */
NITF_BOOL nitf_TREUtils_fillData(nitf_TRE* tre, const nitf_TREDescription* descrip,
                                 nitf_Error* error);

#ifdef __cplusplus
}
#endif
