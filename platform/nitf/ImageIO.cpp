// Blocking, masks and direct block reads of one image segment.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "platform/nitf/Internal.h"
#include "tessel/platform/nitf/nitf_ImageIO.h"
#include "tessel/platform/nitf/nitf_Reader.h"

using tessel_nitf::failf;
using tessel_nitf::fieldValue;

namespace {

constexpr uint32_t kNotRecorded = 0xFFFFFFFFu;
constexpr uint32_t kMaskHeaderSize = 10;  // IMDATOFF, BMRLNTH, TMRLNTH, TPXCDLNTH

uint32_t bigEndian32(const uint8_t* p) {
    return (uint32_t{p[0]} << 24) | (uint32_t{p[1]} << 16) | (uint32_t{p[2]} << 8) | p[3];
}

uint16_t bigEndian16(const uint8_t* p) {
    return static_cast<uint16_t>((p[0] << 8) | p[1]);
}

bool isMasked(const std::string& ic) {
    return ic == "NM" || (ic.size() == 2 && ic[0] == 'M');
}

}  // namespace

struct _nitf_ImageIO {
    // From the subheader.
    uint32_t rows = 0;
    uint32_t cols = 0;
    uint32_t bands = 0;
    uint32_t nbpp = 0;
    char imode = 'B';
    std::string compression;
    uint32_t blocksPerRow = 0;
    uint32_t blocksPerCol = 0;
    uint32_t rowsPerBlock = 0;
    uint32_t colsPerBlock = 0;
    uint64_t offset = 0;  // image data start in the file
    uint64_t length = 0;  // image data bytes

    // Derived.
    uint32_t bytesPerSample = 0;    // storage unit after unpacking
    uint64_t samplesPerBlock = 0;   // in one stored block (all bands for B/P/R)
    uint64_t storedBlockBytes = 0;  // packed size in the file (uncompressed images)
    uint32_t blockCount = 0;

    // Masks, read once.
    bool masksRead = false;
    bool masked = false;
    uint32_t imageDataOffset = 0;
    uint32_t blockRecordLength = 0;
    uint32_t padRecordLength = 0;
    uint32_t padPixelValueLength = 0;
    std::vector<uint8_t> padValue;
    std::vector<uint64_t> blockMask;  // masked images only: offsets after imageDataOffset
    std::vector<uint64_t> padMask;

    // Compressed images without a block mask: stream boundaries found by scanning.
    std::vector<uint64_t> streamStarts;

    bool directReady = false;
    std::vector<uint8_t> buffer;
    std::vector<uint8_t> packedBlock;  // stored bytes of a packed block, before unpacking

    uint64_t pixelBase() const { return offset + imageDataOffset; }
    bool uncompressed() const { return compression == "NC" || compression == "NM"; }
};

namespace {

bool configure(nitf_ImageIO* io, nitf_ImageSubheader* sh, nitf_Error* error) {
    io->rows = fieldValue(sh->numRows);
    io->cols = fieldValue(sh->numCols);
    io->nbpp = fieldValue(sh->numBitsPerPixel);
    io->imode = sh->imageMode->raw[0];
    io->compression = tessel_nitf::trimmedText(sh->imageCompression);
    io->blocksPerRow = fieldValue(sh->numBlocksPerRow);
    io->blocksPerCol = fieldValue(sh->numBlocksPerCol);
    io->colsPerBlock = fieldValue(sh->numPixelsPerHorizBlock);
    io->rowsPerBlock = fieldValue(sh->numPixelsPerVertBlock);
    nitf_Error local{};
    io->bands = nitf_ImageSubheader_getBandCount(sh, &local);
    if (io->bands == NITF_INVALID_BAND_COUNT || io->bands == 0) {
        failf(error, NITF_ERR_INVALID_OBJECT, "image has an invalid band count");
        return false;
    }
    if (io->rows == 0 || io->cols == 0) {
        failf(error, NITF_ERR_INVALID_OBJECT, "image has {} rows and {} columns", io->rows,
              io->cols);
        return false;
    }
    if (io->nbpp == 0 || io->nbpp > 64) {
        failf(error, NITF_ERR_INVALID_OBJECT, "NBPP {} is not between 1 and 64", io->nbpp);
        return false;
    }
    if (std::strchr("BPRS", io->imode) == nullptr || io->imode == '\0') {
        failf(error, NITF_ERR_INVALID_OBJECT, "IMODE '{}' is not B, P, R or S", io->imode);
        return false;
    }
    // A block size of 0 means the image is one block along that axis.
    if (io->colsPerBlock == 0) {
        io->colsPerBlock = io->cols;
    }
    if (io->rowsPerBlock == 0) {
        io->rowsPerBlock = io->rows;
    }
    if (io->blocksPerRow == 0 || io->blocksPerCol == 0 ||
        uint64_t{io->blocksPerRow} * io->colsPerBlock < io->cols ||
        uint64_t{io->blocksPerCol} * io->rowsPerBlock < io->rows) {
        failf(error, NITF_ERR_INVALID_OBJECT,
              "blocking {}x{} blocks of {}x{} pixels does not cover {}x{} pixels", io->blocksPerRow,
              io->blocksPerCol, io->colsPerBlock, io->rowsPerBlock, io->cols, io->rows);
        return false;
    }
    io->bytesPerSample = (io->nbpp + 7) / 8;
    if (io->nbpp > 8 && io->nbpp < 16) {
        io->bytesPerSample = 2;
    }
    uint64_t pixels = uint64_t{io->rowsPerBlock} * io->colsPerBlock;
    io->samplesPerBlock = io->imode == 'S' ? pixels : pixels * io->bands;
    io->storedBlockBytes = (io->samplesPerBlock * io->nbpp + 7) / 8;
    if (io->imode == 'B' && io->bands > 1) {
        // Band-sequential blocks of packed samples start each band on a byte boundary.
        io->storedBlockBytes = io->bands * ((pixels * io->nbpp + 7) / 8);
    }
    uint64_t blocks = uint64_t{io->blocksPerRow} * io->blocksPerCol;
    if (io->imode == 'S') {
        blocks *= io->bands;
    }
    if (blocks > 0x7FFFFFFF || io->samplesPerBlock * io->bytesPerSample > (uint64_t{1} << 34)) {
        failf(error, NITF_ERR_INVALID_OBJECT, "{} blocks of {} samples are too many", blocks,
              io->samplesPerBlock);
        return false;
    }
    io->blockCount = static_cast<uint32_t>(blocks);
    io->masked = isMasked(io->compression);
    return true;
}

bool readAt(nitf_IOInterface* input, uint64_t at, void* out, size_t count, nitf_Error* error) {
    return NITF_IO_SUCCESS(
               nitf_IOInterface_seek(input, static_cast<nitf_Off>(at), NITF_SEEK_SET, error)) &&
           nitf_IOInterface_read(input, out, count, error);
}

bool checkRange(const nitf_ImageIO* io, uint64_t relative, uint64_t count, const char* what,
                nitf_Error* error) {
    if (relative > io->length || count > io->length - relative) {
        failf(error, NITF_ERR_READING_FROM_FILE,
              "{}: {} bytes at offset {} of the image data, which has {}", what, count, relative,
              io->length);
        return false;
    }
    return true;
}

// The mask table at the start of the image data of masked images.
bool readMaskTable(nitf_ImageIO* io, nitf_IOInterface* input, nitf_Error* error) {
    uint8_t header[kMaskHeaderSize];
    if (!checkRange(io, 0, kMaskHeaderSize, "mask table", error) ||
        !readAt(input, io->offset, header, sizeof header, error)) {
        return false;
    }
    io->imageDataOffset = bigEndian32(header);
    io->blockRecordLength = bigEndian16(header + 4);
    io->padRecordLength = bigEndian16(header + 6);
    uint32_t padBits = bigEndian16(header + 8);
    if ((io->blockRecordLength != 0 && io->blockRecordLength != 4) ||
        (io->padRecordLength != 0 && io->padRecordLength != 4)) {
        failf(error, NITF_ERR_INVALID_OBJECT,
              "mask table: BMRLNTH {} and TMRLNTH {} must be 0 or 4", io->blockRecordLength,
              io->padRecordLength);
        return false;
    }
    uint32_t padBytes = (padBits + 7) / 8;
    uint64_t tableBytes = kMaskHeaderSize + padBytes +
                          uint64_t{io->blockCount} * (io->blockRecordLength + io->padRecordLength);
    if (tableBytes > io->imageDataOffset || !checkRange(io, 0, tableBytes, "mask table", error)) {
        if (error->level == 0) {
            failf(error, NITF_ERR_INVALID_OBJECT,
                  "mask table of {} bytes does not fit before IMDATOFF {}", tableBytes,
                  io->imageDataOffset);
        }
        return false;
    }
    std::vector<uint8_t> table(static_cast<size_t>(tableBytes - kMaskHeaderSize));
    if (!table.empty() &&
        !readAt(input, io->offset + kMaskHeaderSize, table.data(), table.size(), error)) {
        return false;
    }
    // The pad value is reported a pixel wide, in file order.
    io->padPixelValueLength = padBits != 0 ? io->bytesPerSample : 0;
    io->padValue.assign(std::max(io->padPixelValueLength, padBytes), 0);
    std::copy(table.begin(), table.begin() + padBytes, io->padValue.begin());
    const uint8_t* records = table.data() + padBytes;
    // Only recorded offsets are stored, four bytes of the file each: a table without block
    // records has its blocks in order, however many the subheader claims.
    if (io->blockRecordLength == 4) {
        io->blockMask.assign(io->blockCount + 1, 0);
        for (uint32_t b = 0; b < io->blockCount; ++b) {
            io->blockMask[b] = bigEndian32(records + size_t{4} * b);
        }
        io->blockMask[io->blockCount] =
            io->blockCount > 0 ? io->blockMask[io->blockCount - 1] + io->storedBlockBytes : 0;
    }
    if (io->padRecordLength == 4) {
        const uint8_t* pads = records + uint64_t{io->blockRecordLength} * io->blockCount;
        io->padMask.resize(io->blockCount);
        for (uint32_t b = 0; b < io->blockCount; ++b) {
            io->padMask[b] = bigEndian32(pads + size_t{4} * b);
        }
    }
    return true;
}

// Finds where each JPEG stream of an unmasked C3/C5 image starts: after SOI, marker
// segments to SOS, then entropy data up to EOI.
bool scanJpegStreams(nitf_ImageIO* io, nitf_IOInterface* input, nitf_Error* error) {
    std::vector<uint8_t> data(static_cast<size_t>(io->length));
    if (!data.empty() && !readAt(input, io->offset, data.data(), data.size(), error)) {
        return false;
    }
    size_t at = 0;
    while (io->streamStarts.size() < io->blockCount) {
        while (at + 1 < data.size() && !(data[at] == 0xFF && data[at + 1] == 0xD8)) {
            ++at;
        }
        if (at + 1 >= data.size()) {
            break;
        }
        io->streamStarts.push_back(at);
        at += 2;
        while (at + 1 < data.size()) {
            if (data[at] == 0xFF && data[at + 1] == 0xD9) {
                at += 2;
                break;
            }
            if (data[at] == 0xFF && data[at + 1] != 0x00 && data[at + 1] != 0xFF &&
                !(data[at + 1] >= 0xD0 && data[at + 1] <= 0xD7) && at + 3 < data.size()) {
                // A marker segment outside entropy data carries its own length.
                bool entropy = false;
                uint8_t marker = data[at + 1];
                size_t segment = (size_t{data[at + 2]} << 8) | data[at + 3];
                at += 2 + segment;
                if (marker == 0xDA) {
                    entropy = true;
                }
                while (entropy && at + 1 < data.size() &&
                       !(data[at] == 0xFF && data[at + 1] != 0x00 &&
                         !(data[at + 1] >= 0xD0 && data[at + 1] <= 0xD7))) {
                    ++at;
                }
                continue;
            }
            ++at;
        }
    }
    if (io->streamStarts.size() != io->blockCount) {
        failf(error, NITF_ERR_DECOMPRESSION, "found {} JPEG streams for {} blocks",
              io->streamStarts.size(), io->blockCount);
        return false;
    }
    io->streamStarts.push_back(io->length);
    return true;
}

// Expands samples packed MSB first (NBPP 1, 4, 12, ...) to whole storage units; 16-bit units
// are written most significant byte first, as 16-bit samples are stored.
void unpackRun(const nitf_ImageIO* io, const uint8_t* packed, uint8_t* out, uint64_t samples) {
    uint64_t bit = 0;
    for (uint64_t s = 0; s < samples; ++s) {
        uint32_t value = 0;
        for (uint32_t k = 0; k < io->nbpp; ++k, ++bit) {
            value = (value << 1) | ((packed[bit >> 3] >> (7 - (bit & 7))) & 1u);
        }
        if (io->bytesPerSample == 1) {
            out[s] = static_cast<uint8_t>(value);
        } else {
            out[2 * s] = static_cast<uint8_t>(value >> 8);
            out[2 * s + 1] = static_cast<uint8_t>(value);
        }
    }
}

void unpackSamples(const nitf_ImageIO* io, const uint8_t* packed, uint8_t* out) {
    if (io->imode != 'B' || io->bands <= 1) {
        unpackRun(io, packed, out, io->samplesPerBlock);
        return;
    }
    const uint64_t samples = io->samplesPerBlock / io->bands;
    const uint64_t storedBand = (samples * io->nbpp + 7) / 8;
    for (uint32_t band = 0; band < io->bands; ++band) {
        unpackRun(io, packed + band * storedBand, out + band * samples * io->bytesPerSample,
                  samples);
    }
}

uint64_t blockBytes(const nitf_ImageIO* io) {
    return io->samplesPerBlock * io->bytesPerSample;
}

uint8_t* fillAbsentBlock(nitf_ImageIO* io, uint64_t* blockSize) {
    uint64_t size = blockBytes(io);
    io->buffer.assign(static_cast<size_t>(size), 0);
    if (!io->padValue.empty() && io->padPixelValueLength > 0) {
        for (uint64_t at = 0; at + io->bytesPerSample <= size; at += io->bytesPerSample) {
            for (uint32_t k = 0; k < io->bytesPerSample && k < io->padValue.size(); ++k) {
                io->buffer[at + k] = io->padValue[k];
            }
        }
    }
    *blockSize = size;
    return io->buffer.data();
}

// A block's offset after IMDATOFF as the mask table gives it: recorded, or in order when the
// table records no block offsets.
uint64_t maskedBlockOffset(const nitf_ImageIO* io, uint32_t block) {
    return io->blockMask.empty() ? uint64_t{block} * io->storedBlockBytes : io->blockMask[block];
}

// Whether the block mask says that a block isn't in the file.
bool maskedBlockAbsent(const nitf_ImageIO* io, uint32_t block) {
    return io->masked && !io->blockMask.empty() && io->blockMask[block] == kNotRecorded;
}

// Where the stored bytes of a recorded block start in the image data; false, with the error
// set, when they run past its end.
bool storedBlockStart(const nitf_ImageIO* io, uint32_t block, uint64_t* relative,
                      nitf_Error* error) {
    // Without a mask the blocks follow one another.
    *relative = io->imageDataOffset + (io->masked ? maskedBlockOffset(io, block)
                                                  : uint64_t{block} * io->storedBlockBytes);
    return checkRange(io, *relative, io->storedBlockBytes, "image block", error);
}

uint8_t* readUncompressedBlock(nitf_ImageIO* io, nitf_IOInterface* input, uint32_t block,
                               uint64_t* blockSize, nitf_Error* error) {
    uint64_t relative = 0;
    if (!storedBlockStart(io, block, &relative, error)) {
        return nullptr;
    }
    // Blocks of one image all have one size: the buffers keep their memory from block to
    // block, so that a read neither allocates nor clears pages again.
    const bool packed = io->nbpp % 8 != 0;
    std::vector<uint8_t>& stored = packed ? io->packedBlock : io->buffer;
    stored.resize(static_cast<size_t>(io->storedBlockBytes));
    if (!readAt(input, io->offset + relative, stored.data(), stored.size(), error)) {
        return nullptr;
    }
    if (packed) {
        io->buffer.assign(static_cast<size_t>(blockBytes(io)), 0);
        unpackSamples(io, stored.data(), io->buffer.data());
    }
    *blockSize = io->buffer.size();
    return io->buffer.data();
}

// Part of one stored block of whole-byte uncompressed samples, read into the caller's memory:
// one copy less than going through the ImageIO's buffer.
bool readUncompressedBlockPart(nitf_ImageIO* io, nitf_IOInterface* input, uint32_t block,
                               uint64_t first, uint64_t count, uint8_t* destination,
                               uint64_t* copied, nitf_Error* error) {
    *copied = 0;
    if (maskedBlockAbsent(io, block)) {
        uint64_t size = 0;
        const uint8_t* pad = fillAbsentBlock(io, &size);
        if (first < size) {
            *copied = std::min(count, size - first);
            std::memcpy(destination, pad + first, static_cast<size_t>(*copied));
        }
        return true;
    }
    uint64_t relative = 0;
    if (!storedBlockStart(io, block, &relative, error)) {
        return false;
    }
    if (first >= io->storedBlockBytes) {
        return true;
    }
    const uint64_t length = std::min(count, io->storedBlockBytes - first);
    if (length != 0 && !readAt(input, io->offset + relative + first, destination,
                               static_cast<size_t>(length), error)) {
        return false;
    }
    *copied = length;
    return true;
}

// The stored bytes of one compressed block: up to the next recorded block, or the end.
uint8_t* readCompressedBlock(nitf_ImageIO* io, nitf_IOInterface* input, uint32_t block,
                             uint64_t* blockSize, nitf_Error* error) {
    uint64_t start = 0;
    uint64_t end = io->length;
    if (io->masked) {
        start = io->imageDataOffset + maskedBlockOffset(io, block);
        for (uint32_t b = 0; b < io->blockMask.size() && b < io->blockCount; ++b) {
            uint64_t other = io->imageDataOffset + io->blockMask[b];
            if (io->blockMask[b] != kNotRecorded && other > start && other < end) {
                end = other;
            }
        }
    } else if (io->blockCount > 1) {
        start = io->streamStarts[block];
        end = io->streamStarts[block + 1];
    }
    if (start > end || !checkRange(io, start, end - start, "image block", error)) {
        if (error->level == 0) {
            failf(error, NITF_ERR_READING_FROM_FILE, "image block {} has no bytes", block);
        }
        return nullptr;
    }
    io->buffer.resize(static_cast<size_t>(end - start));
    if (!io->buffer.empty() &&
        !readAt(input, io->offset + start, io->buffer.data(), io->buffer.size(), error)) {
        return nullptr;
    }
    *blockSize = io->buffer.size();
    return io->buffer.data();
}

// The subheader's lengths may promise more than the file holds: the image data ends where
// the file does, so that no buffer is sized by bytes that aren't there.
void limitToInput(nitf_ImageIO* io, nitf_IOInterface* input) {
    nitf_Error ignored{};
    const nitf_Off size = nitf_IOInterface_getSize(input, &ignored);
    if (size < 0) {
        return;
    }
    const auto fileSize = static_cast<uint64_t>(size);
    io->length = std::min(io->length, fileSize > io->offset ? fileSize - io->offset : 0);
}

bool prepare(nitf_ImageIO* io, nitf_IOInterface* input, nitf_Error* error) {
    if (io->masksRead) {
        return true;
    }
    limitToInput(io, input);
    if (io->masked) {
        if (!readMaskTable(io, input, error)) {
            return false;
        }
    } else {
        bool jpeg = io->compression == "C3" || io->compression == "C5";
        if (!io->uncompressed() && io->blockCount > 1) {
            if (!jpeg) {
                failf(error, NITF_ERR_DECOMPRESSION,
                      "blocks of IC {} images without a block mask cannot be located",
                      io->compression);
                return false;
            }
            if (!scanJpegStreams(io, input, error)) {
                return false;
            }
        }
    }
    io->masksRead = true;
    return true;
}

}  // namespace

extern "C" {

nitf_BlockingInfo* nitf_BlockingInfo_construct(nitf_Error* error) {
    auto* info = static_cast<nitf_BlockingInfo*>(std::calloc(1, sizeof(nitf_BlockingInfo)));
    if (info == nullptr) {
        nitf_Error_init(error, "out of memory", NITF_CTXT, NITF_ERR_MEMORY);
    }
    return info;
}

void nitf_BlockingInfo_destruct(nitf_BlockingInfo** info) {
    if (info != nullptr && *info != nullptr) {
        std::free(*info);
        *info = nullptr;
    }
}

nitf_ImageIO* nitf_ImageIO_construct(nitf_ImageSubheader* subheader, uint64_t offset,
                                     uint64_t length, nitf_Error* error) {
    auto* io = new (std::nothrow) nitf_ImageIO;
    if (io == nullptr) {
        nitf_Error_init(error, "out of memory", NITF_CTXT, NITF_ERR_MEMORY);
        return nullptr;
    }
    io->offset = offset;
    io->length = length;
    if (!configure(io, subheader, error)) {
        delete io;
        return nullptr;
    }
    return io;
}

void nitf_ImageIO_destruct(nitf_ImageIO** imageIO) {
    if (imageIO != nullptr && *imageIO != nullptr) {
        delete *imageIO;
        *imageIO = nullptr;
    }
}

nitf_BlockingInfo* nitf_ImageIO_getBlockingInfo(nitf_ImageIO* imageIO, nitf_IOInterface* io,
                                                nitf_Error* error) {
    if (!prepare(imageIO, io, error)) {
        return nullptr;
    }
    nitf_BlockingInfo* info = nitf_BlockingInfo_construct(error);
    if (info != nullptr) {
        info->numBlocksPerRow = imageIO->blocksPerRow;
        info->numBlocksPerCol = imageIO->blocksPerCol;
        info->numRowsPerBlock = imageIO->rowsPerBlock;
        info->numColsPerBlock = imageIO->colsPerBlock;
        info->length = static_cast<size_t>(blockBytes(imageIO));
    }
    return info;
}

NITF_BOOL nitf_ImageIO_setupDirectBlockRead(nitf_ImageIO* nitf, nitf_IOInterface* io, uint32_t,
                                            nitf_Error* error) {
    if (!prepare(nitf, io, error)) {
        return false;
    }
    nitf->directReady = true;
    return true;
}

uint8_t* nitf_ImageIO_readBlockDirect(nitf_ImageIO* nitf, nitf_IOInterface* io,
                                      uint32_t blockNumber, uint64_t* blockSize,
                                      nitf_Error* error) {
    if (!nitf->directReady && !nitf_ImageIO_setupDirectBlockRead(nitf, io, nitf->bands, error)) {
        return nullptr;
    }
    if (blockNumber >= nitf->blockCount) {
        failf(error, NITF_ERR_INVALID_PARAMETER, "block {} out of range: the image has {}",
              blockNumber, nitf->blockCount);
        return nullptr;
    }
    if (maskedBlockAbsent(nitf, blockNumber)) {
        return fillAbsentBlock(nitf, blockSize);
    }
    if (nitf->uncompressed()) {
        return readUncompressedBlock(nitf, io, blockNumber, blockSize, error);
    }
    return readCompressedBlock(nitf, io, blockNumber, blockSize, error);
}

NITF_BOOL nitf_ImageIO_readBlockPartDirect(nitf_ImageIO* nitf, nitf_IOInterface* io,
                                           uint32_t blockNumber, uint64_t first, uint64_t count,
                                           uint8_t* destination, uint64_t* copied,
                                           nitf_Error* error) {
    if (!nitf->directReady && !nitf_ImageIO_setupDirectBlockRead(nitf, io, nitf->bands, error)) {
        return false;
    }
    if (!nitf->uncompressed() || nitf->nbpp % 8 != 0) {
        failf(error, NITF_ERR_INVALID_OBJECT,
              "parts of blocks are read from uncompressed whole-byte samples only, not IC {} "
              "with NBPP {}",
              nitf->compression, nitf->nbpp);
        return false;
    }
    if (blockNumber >= nitf->blockCount) {
        failf(error, NITF_ERR_INVALID_PARAMETER, "block {} out of range: the image has {}",
              blockNumber, nitf->blockCount);
        return false;
    }
    return readUncompressedBlockPart(nitf, io, blockNumber, first, count, destination, copied,
                                     error);
}

NITF_BOOL nitf_ImageIO_getMaskInfo(nitf_ImageIO* nitf, uint32_t* imageDataOffset,
                                   uint32_t* blockRecordLength, uint32_t* padRecordLength,
                                   uint32_t* padPixelValueLength, uint8_t** padValue,
                                   uint64_t** blockMask, uint64_t** padMask) {
    if (nitf == nullptr || !nitf->masked || !nitf->masksRead) {
        return false;
    }
    *imageDataOffset = nitf->imageDataOffset;
    *blockRecordLength = nitf->blockRecordLength;
    *padRecordLength = nitf->padRecordLength;
    *padPixelValueLength = nitf->padPixelValueLength;
    *padValue = nitf->padValue.empty() ? nullptr : nitf->padValue.data();
    *blockMask = nitf->blockMask.empty() ? nullptr : nitf->blockMask.data();
    *padMask = nitf->padMask.empty() ? nullptr : nitf->padMask.data();
    return true;
}

nitf_ImageReader* nitf_Reader_newImageReader(nitf_Reader* reader, int imageSegmentNumber,
                                             nrt_HashTable*, nitf_Error* error) {
    if (reader == nullptr || reader->record == nullptr || reader->input == nullptr) {
        nitf_Error_init(error, "the reader has not read a file", NITF_CTXT,
                        NITF_ERR_INVALID_OBJECT);
        return nullptr;
    }
    nitf_ListIterator it = nitf_List_at(reader->record->images, imageSegmentNumber);
    if (it.current == nullptr) {
        failf(error, NITF_ERR_INVALID_PARAMETER, "there is no image segment {}",
              imageSegmentNumber);
        return nullptr;
    }
    auto* segment = static_cast<nitf_ImageSegment*>(nitf_ListIterator_get(&it));
    nitf_ImageIO* imageIO = nitf_ImageIO_construct(segment->subheader, segment->imageOffset,
                                                   segment->imageEnd - segment->imageOffset, error);
    if (imageIO == nullptr) {
        return nullptr;
    }
    auto* imageReader = static_cast<nitf_ImageReader*>(std::calloc(1, sizeof(nitf_ImageReader)));
    if (imageReader == nullptr) {
        nitf_ImageIO_destruct(&imageIO);
        nitf_Error_init(error, "out of memory", NITF_CTXT, NITF_ERR_MEMORY);
        return nullptr;
    }
    imageReader->input = reader->input;
    imageReader->imageDeblocker = imageIO;
    imageReader->directBlockRead = 0;
    return imageReader;
}

nitf_BlockingInfo* nitf_ImageReader_getBlockingInfo(nitf_ImageReader* imageReader,
                                                    nitf_Error* error) {
    return nitf_ImageIO_getBlockingInfo(imageReader->imageDeblocker, imageReader->input, error);
}

uint8_t* nitf_ImageReader_readBlock(nitf_ImageReader* imageReader, uint32_t blockNumber,
                                    uint64_t* blockSize, nitf_Error* error) {
    if (!imageReader->directBlockRead) {
        if (!nitf_ImageIO_setupDirectBlockRead(imageReader->imageDeblocker, imageReader->input, 1,
                                               error)) {
            return nullptr;
        }
        imageReader->directBlockRead = 1;
    }
    return nitf_ImageIO_readBlockDirect(imageReader->imageDeblocker, imageReader->input,
                                        blockNumber, blockSize, error);
}

void nitf_ImageReader_destruct(nitf_ImageReader** imageReader) {
    if (imageReader == nullptr || *imageReader == nullptr) {
        return;
    }
    nitf_ImageIO_destruct(&(*imageReader)->imageDeblocker);
    std::free(*imageReader);
    *imageReader = nullptr;
}

}  // extern "C"
