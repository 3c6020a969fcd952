#include <algorithm>
#include <cstring>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "image/NITFImageSegment.h"
#include "image/TileMakers.h"
#include "tessel/file/NITFFile.h"
#include "tessel/image/NITFImage.h"
#include "tessel/image/NITFTileFactory.h"
#include "tessel/io/IOPool.h"
#include "tessel/io/IOSource.h"
#include "tessel/io/NitroGdalIOInterface.h"
#include "tessel/platform/nitf.h"

namespace Tessel {

std::unique_ptr<TileFactory> makeComplexTileFactory(const NITFImage* image,
                                                    const ImageOptions& options);

namespace {

constexpr uint64_t kMissingBlock = 0xFFFFFFFF;

// What the reader reports of a masked image's masks, copied once the reader has read them:
// the reader may read its tables again later, under the read mutex only.
struct MaskInfo {
    bool present = false;
    uint32_t imageDataOffset = 0;     // where the blocks begin, after the mask table
    std::optional<uint8_t> padValue;  // the first byte of the pad pixel value
    std::vector<uint64_t> blockMask;  // empty when the image has no block mask
};

MaskInfo maskInfoOf(nitf_ImageReader* reader, uint64_t blocks) {
    MaskInfo info;
    if (reader == nullptr) {
        return info;
    }
    uint32_t imageDataOffset = 0;
    uint32_t blockRecordLength = 0;
    uint32_t padRecordLength = 0;
    uint32_t padValueLength = 0;
    uint8_t* padValue = nullptr;
    uint64_t* blockMask = nullptr;
    uint64_t* padMask = nullptr;
    info.present = nitf_ImageIO_getMaskInfo(reader->imageDeblocker, &imageDataOffset,
                                            &blockRecordLength, &padRecordLength, &padValueLength,
                                            &padValue, &blockMask, &padMask) != 0;
    if (!info.present) {
        return info;
    }
    info.imageDataOffset = imageDataOffset;
    if (padValue != nullptr && padValueLength != 0) {
        info.padValue = padValue[0];
    }
    // A block mask exists only when the table records block offsets.
    if (blockRecordLength != 0 && blockMask != nullptr) {
        info.blockMask.assign(blockMask, blockMask + blocks);
    }
    return info;
}

class NITFTileFactory_NC : public NITFTileFactory {
public:
    NITFTileFactory_NC(const NITFImage* image, const ImageOptions& options)
        : NITFTileFactory(image) {
        if (options.mode == ImageOptions::write_mode) {
            return;
        }
        openReader(image);
    }

    ~NITFTileFactory_NC() override {
        nitf_ImageReader_destruct(&reader_);
        nrt_IOInterface_destruct(&input_);
    }

    std::map<std::string, std::string> getCompressionInfo() const override {
        if (!mask_.padValue) {
            return {};
        }
        return {{"PadValue", std::to_string(unsigned{*mask_.padValue})}};
    }

    bool hasInternalLevel(uint32_t /*level*/) const override { return false; }

    lumo_pixel::pixel getNoData() const override {
        if (reader_ == nullptr || !mask_.padValue) {
            return lumo_pixel::pixel::none();
        }
        return lumo_pixel::pixel::fromUnsigned(lumo_pixel::unsigned_integer, 8, *mask_.padValue);
    }

    TileGroup createTiles(const tile_id& id) const override;

    // Copies the tile's band of its block into `buffer`; false when the block can't be read.
    bool readTile(const tile_id& id, uint8_t* buffer) const;

    // Asks the block pool for the file bytes of the tile's block without waiting for them,
    // so that the blocks of tiles waiting for the read mutex are read meanwhile.
    void readAhead(const tile_id& id) const;

private:
    void openReader(const NITFImage* image) {
        const ImageSegmentFields fields = readImageSegmentFields(image);
        if (!fields.found) {
            throw std::runtime_error("Cannot Read Image.");
        }
        nitf_Error error{};
        {
            NITFFilePrivate& file = *fields.file->getPrivate();
            const auto lock = file.lockRecord();
            reader_ = nitf_Reader_newImageReader(file.getReader(), fields.segment, nullptr, &error);
        }
        if (reader_ == nullptr) {
            throw std::runtime_error("Cannot Read Image.");
        }
        // A position of its own, so that the loads of this image don't move the file's.
        input_ = NitroGdalIOInterface::Create(uri_, NRT_ACCESS_READONLY, &error);
        if (input_ != nullptr) {
            reader_->input = input_;
        }
        nitf_BlockingInfo* blocking = nitf_ImageReader_getBlockingInfo(reader_, &error);
        if (blocking == nullptr) {
            return;  // the reads fail later, one tile at a time
        }
        limit_.x = blocking->numBlocksPerRow;
        limit_.y = blocking->numBlocksPerCol;
        blockHeight_ = blocking->numRowsPerBlock;
        blockWidth_ = blocking->numColsPerBlock;
        blockBytes_ = uint64_t{blockHeight_} * getBytesPerPixel() * blockWidth_;
        blockLength_ = blocking->length;
        nitf_BlockingInfo_destruct(&blocking);
        const uint64_t blocks =
            uint64_t{limit_.x} * limit_.y * (mode_ == mode_S ? uint64_t{limit_.band} : 1);
        mask_ = maskInfoOf(reader_, blocks);
        // Packed samples are stored shorter than the block table says, and are unpacked by
        // the reader.
        wholeByteSamples_ = fields.nbpp % 8 == 0;
        if (wholeByteSamples_) {
            source_ = IOSource::Create(uri_);
        }
    }

    mutable std::mutex readMutex_;  // the NITRO reader isn't thread-safe
    nitf_ImageReader* reader_ = nullptr;
    nrt_IOInterface* input_ = nullptr;
    uint64_t blockLength_ = 0;  // bytes of one block as the reader stores it
    MaskInfo mask_;
    bool wholeByteSamples_ = false;
    std::shared_ptr<IOSource> source_;  // for reading ahead; none when that isn't possible
};

// One band of one block.
class NITFTile_NC : public Tile {
public:
    NITFTile_NC(const tile_id& id, const NITFTileFactory_NC* factory)
        : Tile(id), factory_(factory) {}

    bool load(TileGroup& /*group*/) override {
        factory_->readAhead(getId());
        uint8_t* buffer = allocateBuffer();
        if (!factory_->readTile(getId(), buffer)) {
            markFailed();
            return false;
        }
        return true;
    }

private:
    const NITFTileFactory_NC* factory_;
};

TileGroup NITFTileFactory_NC::createTiles(const tile_id& id) const {
    if (reader_ == nullptr) {
        return {{id, errorTile()}};
    }
    const int64_t block = blockNumber(id);
    if (block >= 0 && static_cast<uint64_t>(block) < mask_.blockMask.size() &&
        mask_.blockMask[static_cast<uint64_t>(block)] == kMissingBlock) {
        return {{id, blankTile()}};
    }
    return {{id, std::make_shared<NITFTile_NC>(id, this)}};
}

bool NITFTileFactory_NC::readTile(const tile_id& id, uint8_t* buffer) const {
    std::lock_guard lock(readMutex_);
    if (reader_ == nullptr) {
        return false;
    }
    nitf_Error error{};
    if (!reader_->directBlockRead) {
        if (!nitf_ImageIO_setupDirectBlockRead(reader_->imageDeblocker, reader_->input, 1,
                                               &error)) {
            return false;
        }
        reader_->directBlockRead = 1;
    }
    const int64_t block = blockNumber(id);
    if (block < 0 || block > int64_t{UINT32_MAX}) {
        return false;
    }
    // A complex sample is two components, each swapped by itself.
    const size_t element =
        pixelType_ == lumo_pixel::complex_float ? getBytesPerPixel() / 2 : getBytesPerPixel();
    const bool swappable = element == 1 || element == 2 || element == 4 || element == 8;
    if (wholeByteSamples_ && swappable && mode_ != mode_P) {
        // The band's samples lie together in the block: read them into the tile at once.
        const uint64_t first = mode_ == mode_B ? uint64_t{id.band} * blockBytes_ : 0;
        uint64_t copied = 0;
        if (!nitf_ImageIO_readBlockPartDirect(reader_->imageDeblocker, reader_->input,
                                              static_cast<uint32_t>(block), first, blockBytes_,
                                              buffer, &copied, &error)) {
            return false;
        }
        swappingCopy(element, buffer, buffer, copied, 0, 1);
        // A block cut short ends early; the rest of the tile holds no earlier memory.
        if (copied < blockBytes_) {
            std::memset(buffer + copied, 0, blockBytes_ - copied);
        }
        return true;
    }
    uint64_t size = 0;
    const uint8_t* data = nitf_ImageIO_readBlockDirect(reader_->imageDeblocker, reader_->input,
                                                       static_cast<uint32_t>(block), &size, &error);
    if (data == nullptr) {
        return false;
    }
    if (size == 0) {
        size = blockLength_;
    }
    // What a short block or an unusual sample width leaves untouched is cleared, never
    // bytes of an earlier tile.
    std::memset(buffer, 0, blockBytes_);
    switch (mode_) {
        case mode_B: {
            // Band after band within the block; a block cut short stops where it ends.
            const uint64_t start = uint64_t{id.band} * blockBytes_;
            if (start < size) {
                swappingCopy(element, data + start, buffer, std::min(blockBytes_, size - start), 0,
                             1);
            }
            break;
        }
        case mode_P: {
            // Interleaved samples: never more than the tile holds.
            const uint64_t bands = std::max<uint32_t>(limit_.band, 1);
            swappingCopy(element, data, buffer, std::min(size, blockBytes_ * bands), id.band,
                         bands);
            break;
        }
        default:
            swappingCopy(element, data, buffer, std::min(blockBytes_, size), 0, 1);
            break;
    }
    return true;
}

void NITFTileFactory_NC::readAhead(const tile_id& id) const {
    const int64_t block = blockNumber(id);
    // The bands of a block in mode B or P share its bytes: the first band reads them.
    if (!source_ || block < 0 || (mode_ != mode_S && id.band != 0)) {
        return;
    }
    // Where the reader will look: after the mask table, at the block mask's entry or at
    // the block's place in the plain layout.
    uint64_t start = uint64_t{mask_.imageDataOffset} + static_cast<uint64_t>(block) * blockLength_;
    if (!mask_.blockMask.empty()) {
        if (static_cast<uint64_t>(block) >= mask_.blockMask.size() ||
            mask_.blockMask[static_cast<size_t>(block)] == kMissingBlock) {
            return;
        }
        start = uint64_t{mask_.imageDataOffset} + mask_.blockMask[static_cast<size_t>(block)];
    }
    if (start >= dataLength_ || dataOffset_ > UINT64_MAX - dataLength_) {
        return;
    }
    try {
        // The future isn't waited for: the blocks stay in the pool for the reader.
        IOPool::Read(source_, dataOffset_ + start, std::min(blockLength_, dataLength_ - start),
                     nullptr);
    } catch (const std::exception&) {
        // Reading ahead is only a hint; the reader reports real failures.
    }
}

// A single block of the whole image: no more than one block across and one down.
bool isSingleBlock(const ImageSegmentFields& fields) {
    const bool across = fields.nppbh == 0 || fields.nppbh == fields.ncols || fields.nbpr == 1;
    const bool down = fields.nppbv == 0 || fields.nppbv == fields.nrows || fields.nbpc == 1;
    return across && down;
}

}  // namespace

std::unique_ptr<TileFactory> makeUncompressedTileFactory(const NITFImage* image,
                                                         const ImageOptions& options) {
    const ImageSegmentFields fields = readImageSegmentFields(image);
    if (fields.compression != eCompressionNC && fields.compression != eCompressionNM) {
        return nullptr;
    }
    if (options.mode != ImageOptions::write_mode && fields.compression == eCompressionNC &&
        isSingleBlock(fields) && fields.nbands == 2 && fields.imode == "P") {
        return makeComplexTileFactory(image, options);
    }
    return std::make_unique<NITFTileFactory_NC>(image, options);
}

}  // namespace Tessel
