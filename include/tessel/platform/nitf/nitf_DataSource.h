#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
/* Sources of the bytes a writer stores: band sources deliver an image band row after row,
 * segment sources the data of a graphic, text, label or data extension segment. */

#include "tessel/platform/nitf/nitf_Reader.h"
#include "tessel/platform/nitf/nrt_List.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef NITF_BOOL (*NITF_IDATASOURCE_READ)(NITF_DATA* data, void* buf, nitf_Off size,
                                           nitf_Error* error);
typedef void (*NITF_IDATASOURCE_DESTRUCT)(NITF_DATA* data);
typedef nitf_Off (*NITF_IDATASOURCE_GET_SIZE)(NITF_DATA* data, nitf_Error* error);
typedef NITF_BOOL (*NITF_IDATASOURCE_SET_SIZE)(NITF_DATA* data, nitf_Off size, nitf_Error* error);

typedef struct _nitf_IDataSource {
    NITF_IDATASOURCE_READ read;
    NITF_IDATASOURCE_DESTRUCT destruct;
    NITF_IDATASOURCE_GET_SIZE getSize;
    NITF_IDATASOURCE_SET_SIZE setSize;
} nitf_IDataSource;

typedef struct _nitf_DataSource {
    nitf_IDataSource* iface;
    NITF_DATA* data;
} nitf_DataSource;

typedef nitf_DataSource nitf_BandSource;
typedef nitf_DataSource nitf_SegmentSource;

/* Calls the destructor of the private data, frees the source and NULLs the pointer. */
void nitf_DataSource_destruct(nitf_DataSource** source);
#define nitf_BandSource_destruct nitf_DataSource_destruct
#define nitf_SegmentSource_destruct nitf_DataSource_destruct

/* Reads from memory that the caller keeps alive: from `start`, `numBytesPerPixel` bytes a
 * pixel, skipping `pixelSkip` pixels after each one (0 for contiguous data), so that one
 * band of pixel-interleaved memory can be a source. */
nitf_BandSource* nitf_MemorySource_construct(const void* data, nitf_Off size, nitf_Off start,
                                             int numBytesPerPixel, int pixelSkip,
                                             nitf_Error* error);
/* Segment bytes from memory, from `start`, skipping `byteSkip` bytes after each one; with
 * copyData the bytes are copied and the caller may free its buffer. */
nitf_SegmentSource* nitf_SegmentMemorySource_construct(const char* data, nitf_Off size,
                                                       nitf_Off start, int byteSkip,
                                                       NITF_BOOL copyData, nitf_Error* error);
/* The bytes of a segment reader, which the source adopts. */
nitf_SegmentSource* nitf_SegmentReaderSource_construct(nitf_SegmentReader* reader,
                                                       nitf_Error* error);

/* The bands of one image, in band order; owns its band sources. */
typedef struct _nitf_ImageSource {
    nitf_List* bandSources;
    int size;
} nitf_ImageSource;

nitf_ImageSource* nitf_ImageSource_construct(nitf_Error* error);
void nitf_ImageSource_destruct(nitf_ImageSource** source);
/* Adopts the band source. */
NITF_BOOL nitf_ImageSource_addBand(nitf_ImageSource* source, nitf_BandSource* band,
                                   nitf_Error* error);
nitf_BandSource* nitf_ImageSource_getBand(nitf_ImageSource* source, int n, nitf_Error* error);

#ifdef __cplusplus
}
#endif

TESSEL_PUBLIC_END
