// The handlers that write one segment's data: a copy of bytes from an input, a segment
// source's bytes, and an image source's rows formed into blocks.

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "platform/nitf/Internal.h"
#include "tessel/platform/nitf/nitf_Writer.h"

using tessel_nitf::fieldValue;
using tessel_nitf::trimmedText;

namespace {

constexpr size_t kWriterChunk = size_t{1} << 20;

// --- a stream copy ---------------------------------------------------------------------------

struct StreamCopy {
    nitf_IOInterface* input;
    uint64_t offset;
    uint64_t bytes;
};

NITF_BOOL streamCopyWrite(NITF_DATA* data, nitf_IOInterface* output, nitf_Error* error) {
    auto* copy = static_cast<StreamCopy*>(data);
    if (!NITF_IO_SUCCESS(nitf_IOInterface_seek(copy->input, static_cast<nitf_Off>(copy->offset),
                                               NITF_SEEK_SET, error))) {
        return false;
    }
    std::vector<char> buffer(static_cast<size_t>(std::min<uint64_t>(copy->bytes, kWriterChunk)));
    for (uint64_t done = 0; done < copy->bytes;) {
        const auto count =
            static_cast<size_t>(std::min<uint64_t>(copy->bytes - done, kWriterChunk));
        if (!nitf_IOInterface_read(copy->input, buffer.data(), count, error) ||
            !nitf_IOInterface_write(output, buffer.data(), count, error)) {
            return false;
        }
        done += count;
    }
    return true;
}

void streamCopyDestruct(NITF_DATA* data) {
    delete static_cast<StreamCopy*>(data);
}

nitf_IWriteHandler streamCopyInterface = {streamCopyWrite, streamCopyDestruct};

// --- a segment source ------------------------------------------------------------------------

struct SegmentSourceWrite {
    nitf_SegmentSource* source = nullptr;
};

NITF_BOOL segmentSourceWrite(NITF_DATA* data, nitf_IOInterface* output, nitf_Error* error) {
    nitf_SegmentSource* source = static_cast<SegmentSourceWrite*>(data)->source;
    if (source == nullptr) {
        return true;  // nothing attached: the segment has no data
    }
    const nitf_Off size = source->iface->getSize(source->data, error);
    if (size < 0) {
        return false;
    }
    std::vector<char> buffer(static_cast<size_t>(std::min<nitf_Off>(size, kWriterChunk)));
    for (nitf_Off done = 0; done < size;) {
        const nitf_Off count = std::min<nitf_Off>(size - done, kWriterChunk);
        if (!source->iface->read(source->data, buffer.data(), count, error) ||
            !nitf_IOInterface_write(output, buffer.data(), static_cast<size_t>(count), error)) {
            return false;
        }
        done += count;
    }
    return true;
}

void segmentSourceDestruct(NITF_DATA* data) {
    auto* write = static_cast<SegmentSourceWrite*>(data);
    nitf_DataSource_destruct(&write->source);
    delete write;
}

nitf_IWriteHandler segmentSourceInterface = {segmentSourceWrite, segmentSourceDestruct};

// --- an image source -------------------------------------------------------------------------

struct ImageRowsWrite {
    nitf_ImageSubheader* subheader = nullptr;
    nitf_ImageSource* source = nullptr;
};

// The shape of the image as its subheader gives it.
struct BlockShape {
    uint32_t rows = 0, columns = 0, bands = 0;
    uint32_t blockRows = 0, blockColumns = 0, blocksPerRow = 0, blocksPerColumn = 0;
    uint32_t bytesPerPixel = 0, swapWidth = 0;
    char mode = 'B';

    size_t blockBandBytes() const { return size_t{blockRows} * blockColumns * bytesPerPixel; }
};

bool shapeOf(const nitf_ImageSubheader* sh, BlockShape& shape, nitf_Error* error) {
    const std::string compression = trimmedText(sh->imageCompression);
    if (compression != "NC") {
        tessel_nitf::failf(error, NITF_ERR_INVALID_OBJECT,
                           "image writer: compression '{}' can't be written from a source",
                           compression);
        return false;
    }
    const uint32_t bits = fieldValue(sh->numBitsPerPixel);
    if (bits == 0 || bits % 8 != 0 || bits > 128) {
        tessel_nitf::failf(error, NITF_ERR_INVALID_OBJECT,
                           "image writer: NBPP {} is not a whole number of bytes", bits);
        return false;
    }
    shape.rows = fieldValue(sh->numRows);
    shape.columns = fieldValue(sh->numCols);
    shape.bands = tessel_nitf::storedBandCount(sh);
    shape.blocksPerRow = fieldValue(sh->numBlocksPerRow);
    shape.blocksPerColumn = fieldValue(sh->numBlocksPerCol);
    shape.blockColumns = fieldValue(sh->numPixelsPerHorizBlock);
    shape.blockRows = fieldValue(sh->numPixelsPerVertBlock);
    // A block size of 0 stands for a single block as wide or as high as the image.
    shape.blockColumns = shape.blockColumns == 0 ? shape.columns : shape.blockColumns;
    shape.blockRows = shape.blockRows == 0 ? shape.rows : shape.blockRows;
    shape.bytesPerPixel = bits / 8;
    const bool complex = trimmedText(sh->pixelValueType) == "C";
    shape.swapWidth = complex ? shape.bytesPerPixel / 2 : shape.bytesPerPixel;
    shape.mode = sh->imageMode->raw[0];
    const uint64_t coveredColumns = uint64_t{shape.blocksPerRow} * shape.blockColumns;
    const uint64_t coveredRows = uint64_t{shape.blocksPerColumn} * shape.blockRows;
    if (shape.rows == 0 || shape.columns == 0 || shape.bands == 0 ||
        coveredColumns < shape.columns || coveredRows < shape.rows ||
        std::strchr("BPRS", shape.mode) == nullptr || shape.mode == '\0') {
        tessel_nitf::failf(error, NITF_ERR_INVALID_OBJECT,
                           "image writer: the subheader's blocking ({}x{} blocks of {}x{}, IMODE "
                           "'{}') doesn't cover a {}x{} image of {} bands",
                           shape.blocksPerRow, shape.blocksPerColumn, shape.blockColumns,
                           shape.blockRows, shape.mode, shape.columns, shape.rows, shape.bands);
        return false;
    }
    return true;
}

// Host-order samples into the file's big-endian order.
void toFileOrder(char* bytes, size_t count, uint32_t width) {
    if constexpr (std::endian::native == std::endian::little) {
        if (width <= 1) {
            return;
        }
        for (size_t at = 0; at + width <= count; at += width) {
            std::reverse(bytes + at, bytes + at + width);
        }
    }
}

// Writes the image one block row at a time: each row of each band is read from its source
// into a small buffer and placed at once where it stands in the file's order, so the pixels
// are copied once in memory before the output takes them.
class BlockRowWriter {
public:
    BlockRowWriter(const BlockShape& shape, nitf_ImageSource* source, nitf_IOInterface* output,
                   nitf_Error* error)
        : s_(shape), source_(source), output_(output), error_(error) {
        rowBytes_ = size_t{s_.blocksPerRow} * s_.blockColumns * s_.bytesPerPixel;
        blockWidth_ = size_t{s_.blockColumns} * s_.bytesPerPixel;
        row_ = std::make_unique_for_overwrite<char[]>(rowBytes_);
        // Every byte is placed for each block row before it is written, so the buffer isn't
        // cleared here: a large image would clear it for nothing.
        blockRowBytes_ = size_t{s_.bands} * s_.blockRows * rowBytes_;
        blockRow_ = std::make_unique_for_overwrite<char[]>(blockRowBytes_);
    }

    bool run() {
        const nitf_Off base = nitf_IOInterface_tell(output_, error_);
        if (base < 0) {
            return false;
        }
        base_ = static_cast<uint64_t>(base);
        for (uint32_t r = 0; r < s_.blocksPerColumn; ++r) {
            if (!readBlockRow(r) || !writeBlockRow(r)) {
                return false;
            }
        }
        const uint64_t total =
            uint64_t{s_.blocksPerRow} * s_.blocksPerColumn * s_.bands * s_.blockBandBytes();
        return NITF_IO_SUCCESS(nitf_IOInterface_seek(output_, static_cast<nitf_Off>(base_ + total),
                                                     NITF_SEEK_SET, error_));
    }

private:
    const BlockShape& s_;
    nitf_ImageSource* source_;
    nitf_IOInterface* output_;
    nitf_Error* error_;
    uint64_t base_ = 0;
    size_t rowBytes_ = 0;    // one row of one band across every block, padding included
    size_t blockWidth_ = 0;  // one row of one band in one block
    std::unique_ptr<char[]> row_;
    std::unique_ptr<char[]> blockRow_;  // the block row in file order (for S, band after band)
    size_t blockRowBytes_ = 0;

    // The image's rows of one block row, band by band, placed in file order; columns right
    // of the image and rows below it are zero.
    bool readBlockRow(uint32_t blockRow) {
        const size_t imageRowBytes = size_t{s_.columns} * s_.bytesPerPixel;
        for (uint32_t row = 0; row < s_.blockRows; ++row) {
            const uint64_t imageRow = uint64_t{blockRow} * s_.blockRows + row;
            for (uint32_t band = 0; band < s_.bands; ++band) {
                if (imageRow >= s_.rows) {
                    std::memset(row_.get(), 0, rowBytes_);
                } else if (!readRow(band, imageRowBytes)) {
                    return false;
                }
                placeRow(band, row);
            }
        }
        return true;
    }

    bool readRow(uint32_t band, size_t imageRowBytes) {
        nitf_BandSource* source = nitf_ImageSource_getBand(source_, static_cast<int>(band), error_);
        if (source == nullptr ||
            !source->iface->read(source->data, row_.get(), static_cast<nitf_Off>(imageRowBytes),
                                 error_)) {
            return false;
        }
        toFileOrder(row_.get(), imageRowBytes, s_.swapWidth);
        std::memset(row_.get() + imageRowBytes, 0, rowBytes_ - imageRowBytes);
        return true;
    }

    // Where row `row` of band `band` in block column `c` starts in the block row.
    size_t placeOf(uint32_t band, uint32_t row, uint32_t c) const {
        const size_t rows = s_.blockRows;
        const size_t bands = s_.bands;
        switch (s_.mode) {
            case 'S':  // each band's blocks together
                return ((band * size_t{s_.blocksPerRow} + c) * rows + row) * blockWidth_;
            case 'R':  // in each block, a row of every band before the next row
                return ((c * rows + row) * bands + band) * blockWidth_;
            default:  // B: in each block, every row of a band before the next band
                return ((c * bands + band) * rows + row) * blockWidth_;
        }
    }

    void placeRow(uint32_t band, uint32_t row) {
        const char* in = row_.get();
        for (uint32_t c = 0; c < s_.blocksPerRow; ++c, in += blockWidth_) {
            if (s_.mode != 'P') {
                std::memcpy(blockRow_.get() + placeOf(band, row, c), in, blockWidth_);
                continue;
            }
            // P: the bands of each pixel side by side.
            const size_t pixel = s_.bytesPerPixel;
            const size_t step = pixel * s_.bands;
            char* out = blockRow_.get() +
                        (size_t{c} * s_.blockRows + row) * blockWidth_ * s_.bands + band * pixel;
            for (uint32_t x = 0; x < s_.blockColumns; ++x, out += step) {
                std::memcpy(out, in + x * pixel, pixel);
            }
        }
    }

    bool writeAt(uint64_t offset, const char* bytes, size_t count) {
        return NITF_IO_SUCCESS(nitf_IOInterface_seek(output_, static_cast<nitf_Off>(base_ + offset),
                                                     NITF_SEEK_SET, error_)) &&
               nitf_IOInterface_write(output_, bytes, count, error_);
    }

    bool writeBlockRow(uint32_t blockRow) {
        if (s_.mode != 'S') {
            return writeAt(uint64_t{blockRow} * blockRowBytes_, blockRow_.get(), blockRowBytes_);
        }
        // Band-sequential: each band's block row has a place of its own.
        const size_t bandBytes = blockRowBytes_ / s_.bands;
        for (uint32_t band = 0; band < s_.bands; ++band) {
            const uint64_t at = (uint64_t{band} * s_.blocksPerColumn + blockRow) * bandBytes;
            if (!writeAt(at, blockRow_.get() + band * bandBytes, bandBytes)) {
                return false;
            }
        }
        return true;
    }
};

NITF_BOOL imageRowsWrite(NITF_DATA* data, nitf_IOInterface* output, nitf_Error* error) {
    auto* write = static_cast<ImageRowsWrite*>(data);
    BlockShape shape;
    if (!shapeOf(write->subheader, shape, error)) {
        return false;
    }
    if (write->source == nullptr || write->source->size < static_cast<int>(shape.bands)) {
        tessel_nitf::failf(error, NITF_ERR_INVALID_OBJECT,
                           "image writer: {} bands in the subheader, {} band sources attached",
                           shape.bands, write->source == nullptr ? 0 : write->source->size);
        return false;
    }
    return BlockRowWriter(shape, write->source, output, error).run();
}

void imageRowsDestruct(NITF_DATA* data) {
    auto* write = static_cast<ImageRowsWrite*>(data);
    nitf_ImageSource_destruct(&write->source);
    delete write;
}

nitf_IWriteHandler imageRowsInterface = {imageRowsWrite, imageRowsDestruct};

nitf_WriteHandler* makeHandler(nitf_IWriteHandler* iface, NITF_DATA* data, nitf_Error* error) {
    auto* handler = static_cast<nitf_WriteHandler*>(std::calloc(1, sizeof(nitf_WriteHandler)));
    if (handler == nullptr) {
        iface->destruct(data);
        nitf_Error_init(error, "out of memory", NITF_CTXT, NITF_ERR_MEMORY);
        return nullptr;
    }
    handler->iface = iface;
    handler->data = data;
    return handler;
}

}  // namespace

namespace tessel_nitf {

nitf_WriteHandler* newImageRowsWriter(nitf_ImageSubheader* subheader, nitf_Error* error) {
    auto* write = new ImageRowsWrite;
    write->subheader = subheader;
    return makeHandler(&imageRowsInterface, write, error);
}

nitf_WriteHandler* newSegmentSourceWriter(nitf_Error* error) {
    return makeHandler(&segmentSourceInterface, new SegmentSourceWrite, error);
}

}  // namespace tessel_nitf

extern "C" {

void nitf_WriteHandler_destruct(nitf_WriteHandler** handler) {
    if (handler == nullptr || *handler == nullptr) {
        return;
    }
    if ((*handler)->iface != nullptr && (*handler)->iface->destruct != nullptr) {
        (*handler)->iface->destruct((*handler)->data);
    }
    std::free(*handler);
    *handler = nullptr;
}

nitf_WriteHandler* nitf_StreamIOWriteHandler_construct(nitf_IOInterface* input, uint64_t offset,
                                                       uint64_t bytes, nitf_Error* error) {
    if (input == nullptr) {
        nitf_Error_init(error, "no input to copy from", NITF_CTXT, NITF_ERR_INVALID_PARAMETER);
        return nullptr;
    }
    return makeHandler(&streamCopyInterface, new StreamCopy{input, offset, bytes}, error);
}

NITF_BOOL nitf_ImageWriter_attachSource(nitf_ImageWriter* writer, nitf_ImageSource* source,
                                        nitf_Error* error) {
    if (writer == nullptr || writer->iface != &imageRowsInterface || source == nullptr) {
        nitf_Error_init(error, "not an image writer, or no source", NITF_CTXT,
                        NITF_ERR_INVALID_PARAMETER);
        return false;
    }
    auto* write = static_cast<ImageRowsWrite*>(writer->data);
    nitf_ImageSource_destruct(&write->source);
    write->source = source;
    return true;
}

NITF_BOOL nitf_SegmentWriter_attachSource(nitf_SegmentWriter* writer, nitf_SegmentSource* source,
                                          nitf_Error* error) {
    if (writer == nullptr || writer->iface != &segmentSourceInterface || source == nullptr) {
        nitf_Error_init(error, "not a segment writer, or no source", NITF_CTXT,
                        NITF_ERR_INVALID_PARAMETER);
        return false;
    }
    auto* write = static_cast<SegmentSourceWrite*>(writer->data);
    nitf_DataSource_destruct(&write->source);
    write->source = source;
    return true;
}

}  // extern "C"
