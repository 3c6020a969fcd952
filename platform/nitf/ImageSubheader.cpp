// Band, blocking and comment operations of the image subheader.

#include <cstdlib>
#include <cstring>

#include "platform/nitf/Internal.h"
#include "tessel/platform/nitf/nitf_ImageSubheader.h"

using tessel_nitf::failf;
using tessel_nitf::fieldValue;

namespace {

bool copyText(const nitf_Field* field, char* out, nitf_Error* error) {
    return nitf_Field_get(const_cast<nitf_Field*>(field), out, NITF_CONV_STRING, field->length + 1,
                          error);
}

}  // namespace

extern "C" {

NITF_BOOL nitf_ImageSubheader_setPixelInformation(nitf_ImageSubheader* subhdr, const char* pvtype,
                                                  uint32_t nbpp, uint32_t abpp,
                                                  const char* justification, const char* irep,
                                                  const char* icat, uint32_t bandCount,
                                                  nitf_BandInfo** bands, nitf_Error* error) {
    if (bandCount == 0 || bandCount > NITF_MAX_BAND_COUNT) {
        failf(error, NITF_ERR_INVALID_PARAMETER, "band count {} is not between 1 and {}", bandCount,
              NITF_MAX_BAND_COUNT);
        return false;
    }
    if (!nitf_Field_setString(subhdr->pixelValueType, pvtype, error) ||
        !nitf_Field_setUint32(subhdr->numBitsPerPixel, nbpp, error) ||
        !nitf_Field_setUint32(subhdr->actualBitsPerPixel, abpp, error) ||
        !nitf_Field_setString(subhdr->pixelJustification, justification, error) ||
        !nitf_Field_setString(subhdr->imageRepresentation, irep, error) ||
        !nitf_Field_setString(subhdr->imageCategory, icat, error)) {
        return false;
    }
    tessel_nitf::destroyBands(subhdr);
    bool small = bandCount <= 9;
    nitf_Field_setUint32(subhdr->numImageBands, small ? bandCount : 0, error);
    nitf_Field_setUint32(subhdr->numMultispectralImageBands, small ? 0 : bandCount, error);
    subhdr->bandInfo = bands;
    return true;
}

uint32_t nitf_ImageSubheader_getBandCount(nitf_ImageSubheader* subhdr, nitf_Error* error) {
    uint32_t nbands = fieldValue(subhdr->numImageBands);
    uint32_t xbands = fieldValue(subhdr->numMultispectralImageBands);
    if ((nbands != 0 && xbands != 0) || (nbands == 0 && xbands == 0)) {
        failf(error, NITF_ERR_INVALID_OBJECT, "invalid band count: NBANDS {}, XBANDS {}", nbands,
              xbands);
        return NITF_INVALID_BAND_COUNT;
    }
    uint32_t count = nbands != 0 ? nbands : xbands;
    if (count > NITF_MAX_BAND_COUNT) {
        failf(error, NITF_ERR_INVALID_OBJECT, "invalid band count {}", count);
        return NITF_INVALID_BAND_COUNT;
    }
    return count;
}

nitf_BandInfo* nitf_ImageSubheader_getBandInfo(nitf_ImageSubheader* subhdr, uint32_t band,
                                               nitf_Error* error) {
    uint32_t count = nitf_ImageSubheader_getBandCount(subhdr, error);
    if (count == NITF_INVALID_BAND_COUNT) {
        return nullptr;
    }
    if (band >= count || subhdr->bandInfo == nullptr) {
        failf(error, NITF_ERR_INVALID_PARAMETER, "band {} out of range: the image has {}", band,
              subhdr->bandInfo == nullptr ? 0u : count);
        return nullptr;
    }
    return subhdr->bandInfo[band];
}

NITF_BOOL nitf_ImageSubheader_createBands(nitf_ImageSubheader* subhdr, uint32_t numBands,
                                          nitf_Error* error) {
    uint32_t current = subhdr->bandInfo != nullptr ? tessel_nitf::storedBandCount(subhdr) : 0;
    uint32_t total = current + numBands;
    if (numBands == 0 || total > NITF_MAX_BAND_COUNT) {
        failf(error, NITF_ERR_INVALID_PARAMETER, "cannot have {} bands", total);
        return false;
    }
    auto* bands = static_cast<nitf_BandInfo**>(std::calloc(total, sizeof(nitf_BandInfo*)));
    if (bands == nullptr) {
        failf(error, NITF_ERR_MEMORY, "out of memory");
        return false;
    }
    for (uint32_t b = current; b < total; ++b) {
        bands[b] = nitf_BandInfo_construct(error);
        if (bands[b] == nullptr) {
            for (uint32_t k = current; k < b; ++k) {
                nitf_BandInfo_destruct(&bands[k]);
            }
            std::free(bands);
            return false;
        }
    }
    if (current > 0) {
        std::memcpy(bands, subhdr->bandInfo, current * sizeof(nitf_BandInfo*));
    }
    std::free(subhdr->bandInfo);
    subhdr->bandInfo = bands;
    bool small = total <= 9;
    nitf_Field_setUint32(subhdr->numImageBands, small ? total : 0, error);
    nitf_Field_setUint32(subhdr->numMultispectralImageBands, small ? 0 : total, error);
    return true;
}

NITF_BOOL nitf_ImageSubheader_getDimensions(nitf_ImageSubheader* subhdr, uint32_t* numRows,
                                            uint32_t* numCols, nitf_Error*) {
    *numRows = fieldValue(subhdr->numRows);
    *numCols = fieldValue(subhdr->numCols);
    return true;
}

NITF_BOOL nitf_ImageSubheader_getBlocking(nitf_ImageSubheader* subhdr, uint32_t* numRows,
                                          uint32_t* numCols, uint32_t* numRowsPerBlock,
                                          uint32_t* numColsPerBlock, uint32_t* numBlocksPerRow,
                                          uint32_t* numBlocksPerCol, char* imode,
                                          nitf_Error* error) {
    *numRows = fieldValue(subhdr->numRows);
    *numCols = fieldValue(subhdr->numCols);
    *numRowsPerBlock = fieldValue(subhdr->numPixelsPerVertBlock);
    *numColsPerBlock = fieldValue(subhdr->numPixelsPerHorizBlock);
    *numBlocksPerRow = fieldValue(subhdr->numBlocksPerRow);
    *numBlocksPerCol = fieldValue(subhdr->numBlocksPerCol);
    return copyText(subhdr->imageMode, imode, error);
}

NITF_BOOL nitf_ImageSubheader_getCompression(nitf_ImageSubheader* subhdr, char* imageCompression,
                                             char* compressionRate, nitf_Error* error) {
    return copyText(subhdr->imageCompression, imageCompression, error) &&
           copyText(subhdr->compressionRate, compressionRate, error);
}

void nitf_ImageSubheader_computeBlocking(uint32_t numRows, uint32_t numCols,
                                         uint32_t* numRowsPerBlock, uint32_t* numColsPerBlock,
                                         uint32_t* numBlocksPerCol, uint32_t* numBlocksPerRow) {
    if (*numRowsPerBlock > NITF_BLOCK_DIM_MAX) {
        *numRowsPerBlock = 0;
    }
    if (*numColsPerBlock > NITF_BLOCK_DIM_MAX) {
        *numColsPerBlock = 0;
    }
    *numBlocksPerCol =
        *numRowsPerBlock == 0 ? 1 : (numRows + *numRowsPerBlock - 1) / *numRowsPerBlock;
    *numBlocksPerRow =
        *numColsPerBlock == 0 ? 1 : (numCols + *numColsPerBlock - 1) / *numColsPerBlock;
}

NITF_BOOL nitf_ImageSubheader_setBlocking(nitf_ImageSubheader* subhdr, uint32_t numRows,
                                          uint32_t numCols, uint32_t numRowsPerBlock,
                                          uint32_t numColsPerBlock, const char* imode,
                                          nitf_Error* error) {
    uint32_t blocksPerCol = 0;
    uint32_t blocksPerRow = 0;
    nitf_ImageSubheader_computeBlocking(numRows, numCols, &numRowsPerBlock, &numColsPerBlock,
                                        &blocksPerCol, &blocksPerRow);
    return nitf_Field_setUint32(subhdr->numRows, numRows, error) &&
           nitf_Field_setUint32(subhdr->numCols, numCols, error) &&
           nitf_Field_setUint32(subhdr->numPixelsPerVertBlock, numRowsPerBlock, error) &&
           nitf_Field_setUint32(subhdr->numPixelsPerHorizBlock, numColsPerBlock, error) &&
           nitf_Field_setUint32(subhdr->numBlocksPerCol, blocksPerCol, error) &&
           nitf_Field_setUint32(subhdr->numBlocksPerRow, blocksPerRow, error) &&
           nitf_Field_setString(subhdr->imageMode, imode, error);
}

int nitf_ImageSubheader_insertImageComment(nitf_ImageSubheader* subhdr, const char* comment,
                                           int position, nitf_Error* error) {
    uint32_t count = nitf_List_size(subhdr->imageComments);
    if (count >= 9) {
        failf(error, NITF_ERR_INVALID_OBJECT, "an image has at most 9 comments");
        return -1;
    }
    nitf_Field* field = nitf_Field_construct(NITF_ICOM_SZ, NITF_BCS_A, error);
    if (field == nullptr || (comment != nullptr && !nitf_Field_setString(field, comment, error))) {
        nitf_Field_destruct(&field);
        return -1;
    }
    if (position < 0 || static_cast<uint32_t>(position) > count) {
        position = static_cast<int>(count);
    }
    if (!nitf_List_insert(subhdr->imageComments, nitf_List_at(subhdr->imageComments, position),
                          field, error)) {
        nitf_Field_destruct(&field);
        return -1;
    }
    nitf_Field_setUint32(subhdr->numImageComments, count + 1, error);
    return position;
}

}  // extern "C"
