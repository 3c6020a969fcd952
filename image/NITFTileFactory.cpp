#include "tessel/image/NITFTileFactory.h"

#include <algorithm>
#include <bit>
#include <cctype>
#include <cstring>
#include <stdexcept>

#include "image/NITFImageSegment.h"
#include "image/ShuffleGather.h"
#include "tessel/file/NITFFile.h"
#include "tessel/image/NITFImage.h"
#include "tessel/platform/base/nitf_fs.h"

namespace Tessel {

namespace {

bool equalsIgnoringCase(std::string_view text, std::string_view expected) {
    return text.size() == expected.size() &&
           std::equal(text.begin(), text.end(), expected.begin(), [](char a, char b) {
               return std::toupper(static_cast<unsigned char>(a)) ==
                      std::toupper(static_cast<unsigned char>(b));
           });
}

// How many entries the block table of a mode has; nothing for X and Z.
uint64_t blockTableLength(NITFTileFactory::Mode mode, uint64_t blocksPerRow,
                          uint64_t blocksPerColumn, uint64_t bands) {
    switch (mode) {
        case NITFTileFactory::mode_B:
        case NITFTileFactory::mode_P:
        case NITFTileFactory::mode_R:
        case NITFTileFactory::mode_T:
        case NITFTileFactory::mode_E:
            return blocksPerRow * blocksPerColumn;
        case NITFTileFactory::mode_S:
        case NITFTileFactory::mode_D:
        case NITFTileFactory::mode_F:
            return bands * blocksPerColumn * blocksPerRow;
        default:
            return 0;
    }
}

// How many block table entries the file can hold, whatever the subheader claims: each
// entry of a masked image has a 4-byte record in the data, a block of uncompressed samples
// takes its bytes, and a compressed block at least one byte. The segment's data ends where
// the file does.
uint64_t blockTableCapacity(const NITFURI& uri, uint64_t dataOffset, uint64_t dataLength,
                            uint64_t blockBytes, eCompressionType compression) {
    const uint64_t fileSize = nitf_fs::file_size(uri.nativePath());
    const uint64_t available =
        std::min(dataLength, fileSize > dataOffset ? fileSize - dataOffset : 0);
    if (isMasked(compression)) {
        return available / 4;
    }
    if (compression == eCompressionNC && blockBytes > 0) {
        return available / blockBytes + (available % blockBytes != 0 ? 1 : 0);
    }
    return available;
}

// Reads one mask (block or pad pixel) of 32-bit offsets into the table: each entry's offset
// becomes the value plus IMDATOFF, and the sizes follow from the offsets. False when the
// file ends first; the entries read so far stay.
bool applyMask(nitf_fs::ext::mini_reader& reader, uint32_t imageDataOffset, uint64_t dataLength,
               std::vector<NITFTileFactory::BlockEntry>& table) {
    for (NITFTileFactory::BlockEntry& entry : table) {
        const std::optional<uint32_t> value = reader.read_be32();
        if (!value) {
            return false;
        }
        entry.offset = static_cast<uint32_t>(*value + imageDataOffset);
    }
    for (size_t i = 0; i + 1 < table.size(); ++i) {
        table[i].size = table[i + 1].offset - table[i].offset;
    }
    if (!table.empty()) {
        table.back().size = dataLength - table.back().offset;
    }
    return true;
}

}  // namespace

NITFTileFactory::NITFTileFactory(const NITFImage* image) {
    limit_.factory = this;
    const ImageSegmentFields fields = readImageSegmentFields(image);
    if (!fields.found) {
        return;  // the file has gone: no geometry, nothing to read
    }
    uri_ = fields.uri;

    width_ = fields.ncols;
    height_ = fields.nrows;
    bitsPerPixel_ = roundBitsPerPixel(fields.nbpp);
    const uint32_t blocksPerRow = fields.nbpr == 0 ? 1 : fields.nbpr;
    blockWidth_ = fields.nppbh == 0 ? static_cast<uint32_t>(fields.ncols) : fields.nppbh;
    blockHeight_ = fields.nppbv == 0 ? static_cast<uint32_t>(fields.nrows) : fields.nppbv;
    limit_ = tile_id{this, blocksPerRow, fields.nbpc, fields.nbands};
    blockBytes_ = uint64_t{getBytesPerPixel()} * blockHeight_ * blockWidth_;
    pixelType_ = pixelTypeFromPVTYPE(fields.pvtype);
    mode_ = modeFromIMODE(fields.imode);
    dataOffset_ = fields.dataOffset;
    dataLength_ = fields.dataLength;

    if (mode_ == mode_none) {
        throw std::runtime_error("IMODE is not defined");
    }
    // The table holds the blocks the file has room for: a subheader that claims 9999 x 9999
    // blocks of a file of a few bytes gets a table of a few entries. Blocks past its end
    // aren't in the file.
    const uint64_t claimed = blockTableLength(mode_, limit_.x, limit_.y, limit_.band);
    const uint64_t capacity =
        blockTableCapacity(uri_, dataOffset_, dataLength_, blockBytes_, fields.compression);
    const uint64_t entries = std::min(claimed, std::max<uint64_t>(capacity, 1));
    blockTable_.reserve(entries);
    for (uint64_t i = 0; i < entries; ++i) {
        blockTable_.push_back({i * blockBytes_, blockBytes_});
    }
    if (claimed == 1) {
        blockTable_.front().size = dataLength_;
    }
    if (isMasked(fields.compression)) {
        readMaskTable();
    }
}

NITFTileFactory::~NITFTileFactory() = default;

void NITFTileFactory::readMaskTable() {
    nitf_fs::ext::mini_reader reader(uri_.nativePath(), dataOffset_);
    const std::optional<uint32_t> imageDataOffset = reader.read_be32();
    const std::optional<uint16_t> blockRecordLength = reader.read_be16();
    const std::optional<uint16_t> padRecordLength = reader.read_be16();
    const std::optional<uint16_t> padCodeLength = reader.read_be16();
    if (!reader.ok()) {
        return;  // a table cut short leaves the plain layout
    }
    if (*padCodeLength != 0) {
        reader.skip((*padCodeLength + 7u) / 8u);
    }
    if (*blockRecordLength == 4 && !applyMask(reader, *imageDataOffset, dataLength_, blockTable_)) {
        return;
    }
    if (*padRecordLength == 4) {
        applyMask(reader, *imageDataOffset, dataLength_, blockTable_);
    }
}

void NITFTileFactory::skipMaskTable(eCompressionType compression) {
    if (!isMasked(compression)) {
        return;
    }
    nitf_fs::ext::mini_reader reader(uri_.nativePath(), dataOffset_);
    const std::optional<uint32_t> imageDataOffset = reader.read_be32();
    if (!reader.ok() || !imageDataOffset) {
        throw std::runtime_error("Unable to read the mask table of a masked image");
    }
    if (*imageDataOffset > dataLength_) {
        throw std::runtime_error("The mask table's IMDATOFF lies past the image data");
    }
    dataOffset_ += *imageDataOffset;
    dataLength_ -= *imageDataOffset;
}

uint32_t NITFTileFactory::getBytesPerPixel() const {
    return bitsPerPixel_ == 0 ? 0 : (bitsPerPixel_ - 1) / 8 + 1;
}

uint32_t NITFTileFactory::roundBitsPerPixel(uint32_t nbpp) {
    if (nbpp <= 8 || nbpp > 64) {
        return nbpp;
    }
    if (nbpp <= 16) {
        return 16;
    }
    return nbpp <= 32 ? 32 : 64;
}

lumo_pixel::type NITFTileFactory::pixelTypeFromPVTYPE(std::string_view pvtype) {
    if (equalsIgnoringCase(pvtype, "INT")) {
        return lumo_pixel::unsigned_integer;
    }
    if (equalsIgnoringCase(pvtype, "B  ")) {
        return lumo_pixel::bilevel;
    }
    if (equalsIgnoringCase(pvtype, "SI ")) {
        return lumo_pixel::signed_integer;
    }
    if (equalsIgnoringCase(pvtype, "R  ")) {
        return lumo_pixel::real;
    }
    if (equalsIgnoringCase(pvtype, "C  ")) {
        return lumo_pixel::complex_float;
    }
    return lumo_pixel::unknown;
}

NITFTileFactory::Mode NITFTileFactory::modeFromIMODE(std::string_view imode) {
    if (imode.size() != 1) {
        return mode_none;
    }
    switch (imode.front()) {
        case 'S':
            return mode_S;
        case 'B':
            return mode_B;
        case 'P':
            return mode_P;
        case 'R':
            return mode_R;
        case 'D':
            return mode_D;
        case 'T':
            return mode_T;
        case 'E':
            return mode_E;
        case 'F':
            return mode_F;
        case 'X':
            return mode_X;
        case 'Z':
            return mode_Z;
        default:
            return mode_none;
    }
}

namespace {

// One pass over the visited elements with the swap known at compile time, so that the
// compiler turns it into plain loads, byte swaps and stores.
inline uint8_t fromBigEndian(uint8_t word) {
    return word;
}
inline uint16_t fromBigEndian(uint16_t word) {
    return __builtin_bswap16(word);
}
inline uint32_t fromBigEndian(uint32_t word) {
    return __builtin_bswap32(word);
}
inline uint64_t fromBigEndian(uint64_t word) {
    return __builtin_bswap64(word);
}

// Elements from output position `out` on; the ones before are written already.
template <class Word>
void swapStrided(const uint8_t* source, uint8_t* destination, size_t count, size_t start,
                 size_t stride, size_t out) {
    for (size_t index = start + out * stride; index < count; index += stride, ++out) {
        Word word;
        std::memcpy(&word, source + index * sizeof(Word), sizeof(Word));
        if constexpr (std::endian::native == std::endian::little) {
            word = fromBigEndian(word);
        }
        std::memcpy(destination + out * sizeof(Word), &word, sizeof(Word));
    }
}

}  // namespace

void swappingCopy(size_t elementSize, const uint8_t* source, uint8_t* destination,
                  size_t sourceLength, size_t start, size_t stride) {
    if (elementSize != 1 && elementSize != 2 && elementSize != 4 && elementSize != 8) {
        return;  // other sizes copy nothing
    }
    const size_t count = sourceLength / elementSize;
    if (elementSize == 1 && stride == 1) {
        if (start < count && source != destination) {
            std::memmove(destination, source + start, count - start);
        }
        return;
    }
    if (stride == 0) {
        // A zero stride visits its one element once.
        stride = count;
    }
    // The bulk goes through byte shuffles where the processor has them; the loops below
    // take what is left.
    const size_t out = shuffleGather(elementSize, source, destination, count, start, stride);
    switch (elementSize) {
        case 1:
            swapStrided<uint8_t>(source, destination, count, start, stride, out);
            break;
        case 2:
            swapStrided<uint16_t>(source, destination, count, start, stride, out);
            break;
        case 4:
            swapStrided<uint32_t>(source, destination, count, start, stride, out);
            break;
        case 8:
            swapStrided<uint64_t>(source, destination, count, start, stride, out);
            break;
        default:
            break;  // other sizes copy nothing
    }
}

int64_t NITFTileFactory::blockNumber(const tile_id& id) const {
    const uint64_t across = limit_.x;
    const uint64_t down = limit_.y;
    switch (mode_) {
        case mode_S:
            return static_cast<int64_t>(id.band * across * down + id.y * across + id.x);
        case mode_B:
        case mode_P:
            return static_cast<int64_t>(id.y * across + id.x);
        default:
            return -1;
    }
}

}  // namespace Tessel
