#include <array>
#include <cstring>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "image/RpfLocationReader.h"
#include "image/TileMakers.h"
#include "tessel/core/NITFMessages.h"
#include "tessel/file/NITFFile.h"
#include "tessel/image/NITFImage.h"
#include "tessel/image/NITFTileFactory.h"
#include "tessel/io/IOPool.h"
#include "tessel/io/IOSource.h"
#include "tessel/platform/base/lumo_concurrency.h"
#include "tessel/platform/base/nitf_fs.h"

namespace Tessel {

namespace {

// RPF component locations of a frame's compression tables, masks and codes.
constexpr uint32_t kVqCompressionSection = 131;
constexpr uint32_t kVqLookupSubsection = 132;
constexpr uint32_t kVqMaskSubsection = 138;
constexpr uint32_t kVqSpatialData = 140;

// A subframe: 256 by 256 pixels from 64 by 64 codes of 12 bits, a code per 4 by 4 pixels.
constexpr uint32_t kVqSubframeSide = 256;
constexpr size_t kVqSubframeBytes = 6144;
constexpr size_t kVqCodes = 4096;
constexpr size_t kVqKernelRows = 4;
constexpr uint64_t kVqAbsentSubframe = 0xFFFFFFFF;
constexpr uint8_t kVqNoData = 217;

// The lookup layout that a vector quantised frame must have for its tables to be read.
constexpr uint16_t kVqAlgorithm = 1;
constexpr uint16_t kVqLookupRecords = 4;
constexpr uint16_t kVqLookupRecordLength = 14;
constexpr uint16_t kVqValuesPerRecord = 4;
constexpr uint16_t kVqBitsPerValue = 8;
constexpr uint16_t kVqMaskRecordLength = 4;
constexpr uint16_t kVqTransparentCodeBits = 8;

// The four kernel rows of every code: table r holds the four indices of row r.
struct VqCodebooks {
    std::array<uint8_t, 16> head{};
    std::array<std::array<uint32_t, kVqCodes>, kVqKernelRows> rows{};
};

// Vector quantised RPF frames (C4, M4): the parameters come from the frame's RPF sections,
// not from the subheader, and each 256 by 256 block is one subframe of 12-bit codes.
class NITFTileFactory_C4 : public NITFTileFactory {
public:
    explicit NITFTileFactory_C4(const NITFImage* image)
        : NITFTileFactory(image), codebooks_(std::make_unique<VqCodebooks>()) {
        path_ = uri_.nativePath().string();
        masked_ = image->getCompressionType() == eCompressionM4;
        fileSize_ = nitf_fs::ext::status(uri_.nativePath()).size();
        // One source for all loads: making one per load would look the file up each time.
        source_ = IOSource::Create(uri_);
        loadTables(image);
    }

    std::map<std::string, std::string> getCompressionInfo() const override {
        return {{"Type", "Vector Quantization"}};
    }

    bool hasInternalLevel(uint32_t /*level*/) const override { return false; }

    lumo_pixel::pixel getNoData() const override {
        return lumo_pixel::pixel::fromUnsigned(lumo_pixel::unsigned_integer, 8, kVqNoData);
    }

    TileGroup createTiles(const tile_id& id) const override;

    // Entry `block` of the subframe offset table, which must be below subframeCount_.
    uint64_t subframeOffset(uint64_t block) const {
        return maskOffsets_.empty() ? block * kVqSubframeBytes
                                    : uint64_t{maskOffsets_[static_cast<size_t>(block)]};
    }

    // Expands the tile's subframe into `buffer`; false when it can't be read.
    bool decode(const tile_id& id, uint8_t* buffer) const;

private:
    void loadTables(const NITFImage* image) {
        const std::shared_ptr<NITFFile> file = image->getNITFFile();
        const std::vector<LocationTable>& tables = image->getLocationTables();
        NITFMessages messages;
        try {
            loadSubframeOffsets(tables, file, messages);
            loadCodebooks(tables, file, messages);
            RpfLocationReader spatial(tables, kVqSpatialData, file, messages);
            spatialDataOffset_ = spatial ? spatial.location().offset : 0;
        } catch (const std::runtime_error&) {
            // Tables that the file can't supply leave the frame without usable codes, as if
            // it had no spatial data: every tile fails.
            spatialDataOffset_ = 0;
        }
    }

    // The mask's subframe offsets when it has them, else subframes one after the other. The
    // plain layout is computed, not stored, so that a claimed block count takes no memory; it
    // stands until a whole mask table was read from the file.
    void loadSubframeOffsets(const std::vector<LocationTable>& tables,
                             const std::shared_ptr<NITFFile>& file, NITFMessages& messages) {
        subframeCount_ = uint64_t{limit_.x} * limit_.y;
        RpfLocationReader mask(tables, kVqMaskSubsection, file, messages);
        if (!mask || mask.u16(0) != kVqMaskRecordLength) {
            return;
        }
        const size_t first = mask.u16(4) == kVqTransparentCodeBits ? 7 : 6;
        // The whole table is fetched, and so checked against the file, before it is kept.
        const uint8_t* entries = mask.bytes(first, static_cast<size_t>(subframeCount_) * 4);
        maskOffsets_.resize(subframeCount_);
        for (uint64_t i = 0; i < subframeCount_; ++i) {
            const uint8_t* entry = entries + i * 4;
            maskOffsets_[i] = (uint32_t{entry[0]} << 24) | (uint32_t{entry[1]} << 16) |
                              (uint32_t{entry[2]} << 8) | uint32_t{entry[3]};
        }
    }

    // Each lookup record of the expected shape fills its table; the others stay zero.
    void loadCodebooks(const std::vector<LocationTable>& tables,
                       const std::shared_ptr<NITFFile>& file, NITFMessages& messages) {
        RpfLocationReader compression(tables, kVqCompressionSection, file, messages);
        RpfLocationReader lookup(tables, kVqLookupSubsection, file, messages);
        if (!compression || !lookup || compression.u16(0) != kVqAlgorithm ||
            compression.u16(2) != kVqLookupRecords || lookup.u16(4) != kVqLookupRecordLength) {
            return;
        }
        const size_t recordTable = lookup.u32(0);
        for (size_t i = 0; i < kVqKernelRows; ++i) {
            const size_t at = recordTable + i * kVqLookupRecordLength;
            const uint32_t records = lookup.u32(at + 2);
            const uint16_t values = lookup.u16(at + 6);
            const uint16_t bits = lookup.u16(at + 8);
            const uint32_t offset = lookup.u32(at + 10);
            if (records != kVqCodes || values != kVqValuesPerRecord || bits != kVqBitsPerValue) {
                continue;
            }
            const uint8_t* bytes = lookup.bytes(offset, kVqCodes * 4);
            std::memcpy(codebooks_->rows[i].data(), bytes, kVqCodes * 4);
        }
    }

    std::unique_ptr<VqCodebooks> codebooks_;
    uint64_t subframeCount_ = 0;         // entries of the subframe offset table
    std::vector<uint32_t> maskOffsets_;  // the mask's table; empty: block i at i times 6144
    bool masked_ = false;
    uint64_t spatialDataOffset_ = 0;  // 0: the frame has none
    std::string path_;
    uint64_t fileSize_ = 0;
    std::shared_ptr<IOSource> source_;  // empty when the file can't be a source: loads fail
};

class NITFTile_C4 : public Tile {
public:
    NITFTile_C4(const tile_id& id, const NITFTileFactory_C4* factory)
        : Tile(id), factory_(factory) {}

    bool load(TileGroup& /*group*/) override {
        uint8_t* buffer = allocateBuffer();
        if (!factory_->decode(getId(), buffer)) {
            markFailed();
            return false;
        }
        return true;
    }

private:
    const NITFTileFactory_C4* factory_;
};

TileGroup NITFTileFactory_C4::createTiles(const tile_id& id) const {
    const int64_t block = blockNumber(id);
    if (block >= 0 && static_cast<uint64_t>(block) < subframeCount_ &&
        subframeOffset(static_cast<uint64_t>(block)) != kVqAbsentSubframe) {
        return {{id, std::make_shared<NITFTile_C4>(id, this)}};
    }
    return {{id, blankTile()}};
}

// Row r of a code's kernel, four indices, stored as one 32-bit word at `out`.
inline void storeKernelRow(const VqCodebooks& books, size_t r, uint32_t code, uint8_t* out) {
    std::memcpy(out, &books.rows[r][code], 4);
}

// Two 12-bit codes in three bytes give eight columns of four rows: each code's kernel row
// r is four indices, stored as one 32-bit word into row r.
void expandSubframe(const uint8_t* codes, const VqCodebooks& books, uint8_t* out) {
    constexpr size_t kRowGroupBytes = 96;
    constexpr size_t kRow = kVqSubframeSide;
    for (size_t group = 0; group < kVqSubframeSide / 4; ++group) {
        const uint8_t* in = codes + group * kRowGroupBytes;
        uint8_t* rows = out + group * 4 * kRow;
        for (size_t pair = 0; pair < kRowGroupBytes / 3; ++pair, in += 3) {
            const uint32_t code1 = (uint32_t{in[0]} << 4) | (uint32_t{in[1]} >> 4);
            const uint32_t code2 = ((uint32_t{in[1]} & 15) << 8) | uint32_t{in[2]};
            uint8_t* column = rows + pair * 8;
            storeKernelRow(books, 0, code1, column);
            storeKernelRow(books, 0, code2, column + 4);
            storeKernelRow(books, 1, code1, column + kRow);
            storeKernelRow(books, 1, code2, column + kRow + 4);
            storeKernelRow(books, 2, code1, column + 2 * kRow);
            storeKernelRow(books, 2, code2, column + 2 * kRow + 4);
            storeKernelRow(books, 3, code1, column + 3 * kRow);
            storeKernelRow(books, 3, code2, column + 3 * kRow + 4);
        }
    }
}

bool NITFTileFactory_C4::decode(const tile_id& id, uint8_t* buffer) const {
    // Only a subframe of 256 by 256 single-byte pixels fits the expansion.
    if (spatialDataOffset_ == 0 || blockWidth_ != kVqSubframeSide ||
        blockHeight_ != kVqSubframeSide || getBytesPerPixel() != 1) {
        return false;
    }
    const int64_t block = blockNumber(id);
    if (block < 0 || static_cast<uint64_t>(block) == subframeCount_) {
        return false;
    }
    if (static_cast<uint64_t>(block) > subframeCount_) {
        throw std::out_of_range("subframe beyond the offset table");
    }
    const uint64_t entry = subframeOffset(static_cast<uint64_t>(block));
    const uint64_t offset = spatialDataOffset_ + entry;
    // A subframe cut short by the end of the file fails rather than decode missing codes.
    if (entry == kVqAbsentSubframe || offset + kVqSubframeBytes > fileSize_) {
        return false;
    }
    std::array<uint8_t, kVqSubframeBytes> codes{};
    try {
        lumo_concurrency::track_span span(5, "Read");
        auto done = IOPool::Read(source_, offset, kVqSubframeBytes, codes.data());
        IOPool::Await(done);
    } catch (const std::exception&) {
        return false;
    }
    lumo_concurrency::track_span span(5, "VQ");
    expandSubframe(codes.data(), *codebooks_, buffer);
    return true;
}

}  // namespace

std::unique_ptr<TileFactory> makeVectorQuantisedTileFactory(const NITFImage* image,
                                                            const ImageOptions& /*options*/) {
    const eCompressionType compression = image->getCompressionType();
    if (compression != eCompressionC4 && compression != eCompressionM4) {
        return nullptr;
    }
    return std::make_unique<NITFTileFactory_C4>(image);
}

}  // namespace Tessel
