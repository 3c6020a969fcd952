#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
/* Image data access: blocking information, masks and direct block reads. */

#include "tessel/platform/nitf/nitf_ImageSubheader.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef struct _nitf_BlockingInfo {
    uint32_t numBlocksPerRow;
    uint32_t numBlocksPerCol;
    uint32_t numRowsPerBlock;
    uint32_t numColsPerBlock;
    size_t length; /* bytes of one block: all bands for IMODE B, P and R, one for S */
} nitf_BlockingInfo;

nitf_BlockingInfo* nitf_BlockingInfo_construct(nitf_Error* error);
void nitf_BlockingInfo_destruct(nitf_BlockingInfo** info);

/* One image segment's blocking, masks and block buffer. */
typedef struct _nitf_ImageIO nitf_ImageIO;

typedef struct _nitf_ImageReader {
    nitf_IOInterface* input;
    nitf_ImageIO* imageDeblocker;
    int directBlockRead;
} nitf_ImageReader;

/* An ImageIO for the segment whose data starts at `offset` and runs `length` bytes. */
nitf_ImageIO* nitf_ImageIO_construct(nitf_ImageSubheader* subheader, uint64_t offset,
                                     uint64_t length, nitf_Error* error);
void nitf_ImageIO_destruct(nitf_ImageIO** imageIO);
/* The blocking of the image (a copy the caller destroys); reads the masks when there are. */
nitf_BlockingInfo* nitf_ImageIO_getBlockingInfo(nitf_ImageIO* imageIO, nitf_IOInterface* io,
                                                nitf_Error* error);
NITF_BOOL nitf_ImageIO_setupDirectBlockRead(nitf_ImageIO* nitf, nitf_IOInterface* io,
                                            uint32_t numBands, nitf_Error* error);
/* The bytes of one block: stored bytes for compressed images; for NC and NM, the samples
 * with each one widened to whole bytes when NBPP is 1, 4 or 12 (MSB-first packing). The
 * buffer belongs to the ImageIO and stays valid until the next call. Block numbers run
 * row-major over the blocks, and for IMODE S band after band. */
uint8_t* nitf_ImageIO_readBlockDirect(nitf_ImageIO* nitf, nitf_IOInterface* io,
                                      uint32_t blockNumber, uint64_t* blockSize, nitf_Error* error);
/* Bytes `first` to `first + count` of block `blockNumber` as readBlockDirect would give them,
 * read straight into `destination`, for NC and NM images of whole-byte samples only (FALSE
 * for others). The part stops at the block's end; `copied` tells how many bytes came. An
 * absent block of a masked image gives its pad value. */
NITF_BOOL nitf_ImageIO_readBlockPartDirect(nitf_ImageIO* nitf, nitf_IOInterface* io,
                                           uint32_t blockNumber, uint64_t first, uint64_t count,
                                           uint8_t* destination, uint64_t* copied,
                                           nitf_Error* error);
/* For masked images (IC NM, M1, M3, M4, M5, M8): the mask table's header values, the pad
 * value, and the block and pad masks (pointers into the ImageIO; blockMask has one entry per
 * block plus one, padMask one per block or NULL). FALSE for images without masks. */
NITF_BOOL nitf_ImageIO_getMaskInfo(nitf_ImageIO* nitf, uint32_t* imageDataOffset,
                                   uint32_t* blockRecordLength, uint32_t* padRecordLength,
                                   uint32_t* padPixelValueLength, uint8_t** padValue,
                                   uint64_t** blockMask, uint64_t** padMask);

nitf_BlockingInfo* nitf_ImageReader_getBlockingInfo(nitf_ImageReader* imageReader,
                                                    nitf_Error* error);
/* setupDirectBlockRead once, then readBlockDirect. */
uint8_t* nitf_ImageReader_readBlock(nitf_ImageReader* imageReader, uint32_t blockNumber,
                                    uint64_t* blockSize, nitf_Error* error);
/* Destroys the ImageIO, not the input. */
void nitf_ImageReader_destruct(nitf_ImageReader** imageReader);

#ifdef __cplusplus
}
#endif

TESSEL_PUBLIC_END
