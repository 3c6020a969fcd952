#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
/* Writes a record as a NITF file: the header, each segment's subheader, and each segment's
 * data as the write handler attached to it delivers it. Lengths (FL, HL and the lengths of
 * each segment in the header) are measured while writing and stored when the data is out. */

#include "tessel/platform/nitf/nitf_DataSource.h"
#include "tessel/platform/nitf/nitf_Record.h"
#include "tessel/platform/nitf/nrt_HashTable.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef NITF_BOOL (*NITF_IWRITEHANDLER_WRITE)(NITF_DATA* data, nitf_IOInterface* output,
                                              nitf_Error* error);
typedef void (*NITF_IWRITEHANDLER_DESTRUCT)(NITF_DATA* data);

typedef struct _nitf_IWriteHandler {
    NITF_IWRITEHANDLER_WRITE write;
    NITF_IWRITEHANDLER_DESTRUCT destruct;
} nitf_IWriteHandler;

/* Writes one segment's data at the output's position. */
typedef struct _nitf_WriteHandler {
    nitf_IWriteHandler* iface;
    NITF_DATA* data;
} nitf_WriteHandler;

typedef nitf_WriteHandler nitf_ImageWriter;
typedef nitf_WriteHandler nitf_SegmentWriter;

void nitf_WriteHandler_destruct(nitf_WriteHandler** handler);

/* Copies `bytes` bytes from `offset` of an input that the caller keeps open: a segment's
 * data taken as it stands, whatever its compression. */
nitf_WriteHandler* nitf_StreamIOWriteHandler_construct(nitf_IOInterface* input, uint64_t offset,
                                                       uint64_t bytes, nitf_Error* error);

/* Adopts the image source. The image writer takes one row of each band in turn and stores
 * blocks in the subheader's order (IMODE B, P, R or S), uncompressed, in big-endian sample
 * order; samples come from the sources in host order. */
NITF_BOOL nitf_ImageWriter_attachSource(nitf_ImageWriter* writer, nitf_ImageSource* source,
                                        nitf_Error* error);
/* Adopts the segment source. */
NITF_BOOL nitf_SegmentWriter_attachSource(nitf_SegmentWriter* writer, nitf_SegmentSource* source,
                                          nitf_Error* error);

typedef struct _nitf_Writer {
    nitf_Record* record;
    nitf_IOInterface* output;
    nitf_WriteHandler** imageWriters;
    nitf_WriteHandler** graphicWriters;
    nitf_WriteHandler** labelWriters;
    nitf_WriteHandler** textWriters;
    nitf_WriteHandler** dataExtensionWriters;
    nitf_WriteHandler** reservedExtensionWriters;
    uint32_t numImageWriters;
    uint32_t numGraphicWriters;
    uint32_t numLabelWriters;
    uint32_t numTextWriters;
    uint32_t numDataExtensionWriters;
    uint32_t numReservedExtensionWriters;
    NITF_BOOL ownOutput;
} nitf_Writer;

nitf_Writer* nitf_Writer_construct(nitf_Error* error);
/* Destroys the attached handlers, and the output when the writer owns it. */
void nitf_Writer_destruct(nitf_Writer** writer);

/* Binds the record (which the writer doesn't change) and the output, and makes a handler
 * slot for each segment. */
NITF_BOOL nitf_Writer_prepareIO(nitf_Writer* writer, nitf_Record* record, nitf_IOInterface* io,
                                nitf_Error* error);
/* As prepareIO on a new file at `path`, which the writer owns. */
NITF_BOOL nitf_Writer_prepare(nitf_Writer* writer, nitf_Record* record, const char* path,
                              nitf_Error* error);

/* A new image writer for the image segment, owned by the writer; options may be NULL. */
nitf_ImageWriter* nitf_Writer_newImageWriter(nitf_Writer* writer, int index, nrt_HashTable* options,
                                             nitf_Error* error);
nitf_SegmentWriter* nitf_Writer_newGraphicWriter(nitf_Writer* writer, int index, nitf_Error* error);
nitf_SegmentWriter* nitf_Writer_newTextWriter(nitf_Writer* writer, int index, nitf_Error* error);
nitf_SegmentWriter* nitf_Writer_newDEWriter(nitf_Writer* writer, int index, nitf_Error* error);
nitf_SegmentWriter* nitf_Writer_newLabelWriter(nitf_Writer* writer, int index, nitf_Error* error);
nitf_SegmentWriter* nitf_Writer_newREWriter(nitf_Writer* writer, int index, nitf_Error* error);

/* Attach a handler made elsewhere (a stream copy, for example); the writer adopts it and
 * destroys one attached before. */
NITF_BOOL nitf_Writer_setImageWriteHandler(nitf_Writer* writer, int index,
                                           nitf_WriteHandler* handler, nitf_Error* error);
NITF_BOOL nitf_Writer_setGraphicWriteHandler(nitf_Writer* writer, int index,
                                             nitf_WriteHandler* handler, nitf_Error* error);
NITF_BOOL nitf_Writer_setTextWriteHandler(nitf_Writer* writer, int index,
                                          nitf_WriteHandler* handler, nitf_Error* error);
NITF_BOOL nitf_Writer_setDEWriteHandler(nitf_Writer* writer, int index, nitf_WriteHandler* handler,
                                        nitf_Error* error);
NITF_BOOL nitf_Writer_setLabelWriteHandler(nitf_Writer* writer, int index,
                                           nitf_WriteHandler* handler, nitf_Error* error);
NITF_BOOL nitf_Writer_setREWriteHandler(nitf_Writer* writer, int index, nitf_WriteHandler* handler,
                                        nitf_Error* error);

/* Writes the whole file in the record's version. A segment without a handler gets no data,
 * except a TRE overflow data extension, whose data are the TREs it holds. */
NITF_BOOL nitf_Writer_write(nitf_Writer* writer, nitf_Error* error);

#ifdef __cplusplus
}
#endif

TESSEL_PUBLIC_END
