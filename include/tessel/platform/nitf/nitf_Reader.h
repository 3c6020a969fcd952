#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
/* Parses a file into a record, and gives readers of its segments' data. */

#include "tessel/platform/nitf/nitf_ImageIO.h"
#include "tessel/platform/nitf/nitf_Record.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct _nitf_Reader {
    nitf_List* warningList; /* of char* (malloc'd): what was tolerated while reading */
    nitf_IOInterface* input;
    nitf_Record* record;
    NITF_BOOL ownInput;
} nitf_Reader;

/* Sequential reads of one segment's data. */
typedef struct _nitf_SegmentReader {
    nitf_IOInterface* input;
    uint32_t dataLength;
    uint64_t baseOffset;
    uint64_t virtualOffset;
} nitf_SegmentReader;

nitf_Reader* nitf_Reader_construct(nitf_Error* error);
/* Destroys the reader, not the record nor an input it does not own. */
void nitf_Reader_destruct(nitf_Reader** reader);
/* Reads every header, subheader and TRE and the segments' places; the caller owns the
 * record. The input must stay open while segment readers are used. */
nitf_Record* nitf_Reader_readIO(nitf_Reader* reader, nitf_IOInterface* io, nitf_Error* error);
/* Like readIO on a file opened for reading; the reader owns that input. */
nitf_Record* nitf_Reader_read(nitf_Reader* reader, const char* path, nitf_Error* error);
/* NITF_VER_20, NITF_VER_21 or NITF_VER_UNKNOWN from the first bytes of a file. */
nitf_Version nitf_Reader_getNITFVersion(const char* path);
nitf_Version nitf_Reader_getNITFVersionIO(nitf_IOInterface* io);

nitf_ImageReader* nitf_Reader_newImageReader(nitf_Reader* reader, int imageSegmentNumber,
                                             nrt_HashTable* options, nitf_Error* error);
nitf_SegmentReader* nitf_Reader_newTextReader(nitf_Reader* reader, int textSegmentNumber,
                                              nitf_Error* error);
nitf_SegmentReader* nitf_Reader_newGraphicReader(nitf_Reader* reader, int index, nitf_Error* error);
nitf_SegmentReader* nitf_Reader_newDEReader(nitf_Reader* reader, int index, nitf_Error* error);
nitf_SegmentReader* nitf_Reader_newLabelReader(nitf_Reader* reader, int index, nitf_Error* error);
nitf_SegmentReader* nitf_Reader_newREReader(nitf_Reader* reader, int index, nitf_Error* error);

NITF_BOOL nitf_SegmentReader_read(nitf_SegmentReader* segmentReader, NITF_DATA* buffer,
                                  size_t count, nitf_Error* error);
/* whence is NITF_SEEK_SET/CUR/END within the segment; returns the new offset or -1. */
nitf_Off nitf_SegmentReader_seek(nitf_SegmentReader* segmentReader, nitf_Off offset, int whence,
                                 nitf_Error* error);
nitf_Off nitf_SegmentReader_tell(nitf_SegmentReader* segmentReader, nitf_Error* error);
nitf_Off nitf_SegmentReader_getSize(nitf_SegmentReader* segmentReader, nitf_Error* error);
/* Does not close the input. */
void nitf_SegmentReader_destruct(nitf_SegmentReader** segmentReader);

#ifdef __cplusplus
}
#endif

TESSEL_PUBLIC_END
