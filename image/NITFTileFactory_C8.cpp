#include "tessel/image/NITFTileFactory_C8.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "image/J2KRules.h"
#include "image/NITFImageSegment.h"
#include "image/TileMakers.h"
#include "platform/j2k/J2KEngine.h"
#include "tessel/core/Options.h"
#include "tessel/image/NITFImage.h"
#include "tessel/image/TilePool.h"
#include "tessel/io/IOPool.h"
#include "tessel/io/IOSource.h"
#include "tessel/platform/base/nitf_log.h"

namespace Tessel {

namespace detail_c8 {

// The segment's image data as the engine's source: reads through the IO pool, and on a
// tile-part header asks the pool for the whole tile-part without waiting, so that the
// engine's many small reads of it find the block cache filled.
class J2KSource_IOPool : public tessel_j2k::Source {
public:
    J2KSource_IOPool(const NITFURI& uri, uint64_t base, uint64_t length)
        : uri_(uri), base_(base), length_(length), source_(IOSource::Create(uri)) {}

    size_t read(uint8_t* buffer, size_t size) override {
        if (!source_ || position_ >= length_) {
            return 0;
        }
        const uint64_t count = std::min<uint64_t>(size, length_ - position_);
        try {
            auto request = IOPool::Read(source_, base_ + position_, count, buffer);
            IOPool::Await(request);
            readAheadTilePart(buffer, count);
        } catch (const std::exception&) {
            return 0;
        }
        position_ += count;
        return static_cast<size_t>(count);
    }

    bool seek(uint64_t position) override {
        position_ = position;
        return true;
    }
    uint64_t position() const override { return position_; }
    uint64_t length() const override { return length_; }

private:
    // An SOT marker with its length (FF 90 00 0A) at the start: Psot, bytes 6 to 9, is the
    // tile-part's length, bounded here by the data.
    void readAheadTilePart(const uint8_t* buffer, uint64_t count) const {
        if (count < 10 || buffer[0] != 0xFF || buffer[1] != 0x90 || buffer[2] != 0x00 ||
            buffer[3] != 0x0A) {
            return;
        }
        const uint64_t psot = uint64_t{buffer[6]} << 24 | uint64_t{buffer[7]} << 16 |
                              uint64_t{buffer[8]} << 8 | buffer[9];
        const uint64_t ahead = std::min(psot, length_ - position_);
        if (ahead > count) {
            IOPool::Read(source_, base_ + position_, ahead, nullptr);
        }
    }

    NITFURI uri_;
    uint64_t base_;
    uint64_t length_;
    uint64_t position_ = 0;
    std::shared_ptr<IOSource> source_;
};

// Engine messages go to the log; an error ends the operation with an exception.
void engineMessage(std::string_view text, bool fatal) {
    if (!text.empty()) {
        nitf_log::write_logln(nitf_log::error, text);
    }
    if (fatal) {
        throw std::runtime_error("J2K Compression Error");
    }
}

bool hasJP2Signature(const uint8_t* data, size_t size) {
    static constexpr std::array<uint8_t, 12> signature{0x00, 0x00, 0x00, 0x0C, 0x6A, 0x50,
                                                       0x20, 0x20, 0x0D, 0x0A, 0x87, 0x0A};
    return size > 12 && std::equal(signature.begin(), signature.end(), data);
}

std::optional<uint32_t> unsignedOf(const std::string& text) {
    const size_t first = text.find_first_not_of(' ');
    const size_t last = text.find_last_not_of(' ');
    if (first == std::string::npos) {
        return std::nullopt;
    }
    const std::string digits = text.substr(first, last - first + 1);
    if (digits.size() > 9 ||
        !std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; })) {
        return std::nullopt;
    }
    return static_cast<uint32_t>(std::stoul(digits));
}

const char* orderText(int order) {
    static const char* const names[] = {"LRCP", "RLCP", "RPCL", "PCRL", "CPRL"};
    return order >= 0 && order < 5 ? names[order] : "";
}

uint64_t divideUp(uint64_t value, uint64_t by) {
    return by == 0 ? 0 : (value + by - 1) / by;
}

}  // namespace detail_c8

using namespace detail_c8;

NITFTileFactory_C8::Rental::Rental() = default;
NITFTileFactory_C8::Rental::~Rental() = default;
NITFTileFactory_C8::Rental::Rental(Rental&&) noexcept = default;
NITFTileFactory_C8::Rental& NITFTileFactory_C8::Rental::operator=(Rental&&) noexcept = default;

size_t NITFTileFactory_C8::inventoryCapacity() {
    const int inventory = s_opt_nitf_j2k_kdu_inventory();
    return inventory > 0 ? static_cast<size_t>(inventory) : TilePool::get()->numThreads() + 1;
}

bool NITFTileFactory_C8::useTilePackage() {
    static const bool package = s_opt_nitf_j2k_kdu_use_tile_package();
    return package;
}

NITFTileFactory_C8::NITFTileFactory_C8(const NITFImage* image, const ImageOptions& options)
    : NITFTileFactory(image), options_(options), capacity_(inventoryCapacity()) {
    const ImageSegmentFields fields = readImageSegmentFields(image);
    skipMaskTable(fields.compression);
    const std::optional<uint32_t> abpp = unsignedOf(fields.abpp);
    if (!abpp) {
        throw std::runtime_error("Unable to read ABPP");
    }
    abpp_ = *abpp;
    if (pixelType_ == lumo_pixel::signed_integer) {
        signed_ = true;
    } else if (pixelType_ != lumo_pixel::unsigned_integer && pixelType_ != lumo_pixel::bilevel) {
        throw std::runtime_error("For J2k compression, PVTYPE must be INT, SI or B");
    }
    std::vector<uint8_t> head(static_cast<size_t>(std::min<uint64_t>(1024, dataLength_)));
    if (!head.empty()) {
        try {
            auto request = IOPool::Read(uri_, dataOffset_, head.size(), head.data());
            IOPool::Await(request);
            isJP2_ = hasJP2Signature(head.data(), head.size());
        } catch (const std::exception&) {
            // an unreadable start fails the opening below
        }
    }
    RentalPtr rental = rent();
    tessel_j2k::Codestream& codestream = *rental->codestream;
    layers_ = static_cast<uint32_t>(std::max(0, options_.layers));
    const J2KRuleSubject subject{uri_.nativePath().string(),
                                 options_.segment,
                                 options_.level,
                                 codestream.parameter("Clayers").value_or(0),
                                 codestream.parameter("Corder").value_or(0),
                                 codestream.parameter("Creversible").value_or(0)};
    applyJ2KRules(j2kRules(capacity_), subject, layers_, rmse_);
    const tessel_j2k::Rect dims = codestream.dims(0);
    const tessel_j2k::Rect tile = codestream.tileDims(0, 0, 0);
    components_ = codestream.numComponents();
    bitDepth_ = codestream.bitDepth(0);
    width_ = dims.width;
    height_ = dims.height;
    blockWidth_ = static_cast<uint32_t>(std::min<uint64_t>(tile.width, UINT32_MAX));
    blockHeight_ = static_cast<uint32_t>(std::min<uint64_t>(tile.height, UINT32_MAX));
    limit_.x = static_cast<uint32_t>(std::min<uint64_t>(divideUp(width_, blockWidth_), UINT32_MAX));
    limit_.y =
        static_cast<uint32_t>(std::min<uint64_t>(divideUp(height_, blockHeight_), UINT32_MAX));
    blockBytes_ = uint64_t{getBytesPerPixel()} * blockHeight_ * blockWidth_;
    const uint32_t sampleBytes = bitDepth_ == 0 ? 0 : (bitDepth_ - 1) / 8 + 1;
    if (sampleBytes > 2) {
        std::fprintf(stderr, "NITF JPEG200 unsupported output buffer type %d\n", sampleBytes);
    }
    const int levels = codestream.parameter("Clevels").value_or(0);
    internalLevels_ =
        static_cast<uint32_t>(std::max(0, std::min(levels, s_opt_nitf_j2k_kdu_max_rlevel())));
    giveBack(std::move(rental));
}

NITFTileFactory_C8::~NITFTileFactory_C8() = default;

NITFTileFactory_C8::RentalPtr NITFTileFactory_C8::open() const {
    auto rental = std::make_unique<Rental>();
    rental->source = std::make_shared<J2KSource_IOPool>(uri_, dataOffset_, dataLength_);
    try {
        rental->codestream = tessel_j2k::defaultEngine()->open(
            rental->source, isJP2_, static_cast<uint32_t>(std::max(0, options_.level)),
            engineMessage);
    } catch (const std::exception&) {
        rental->codestream.reset();
    }
    if (!rental->codestream) {
        throw std::runtime_error(isJP2_ ? "For J2k compression, Cannot read JP2 boxes"
                                        : "J2K Compression Error");
    }
    return rental;
}

NITFTileFactory_C8::RentalPtr NITFTileFactory_C8::rent() const {
    {
        std::lock_guard lock(poolMutex_);
        if (!idle_.empty()) {
            RentalPtr rental = std::move(idle_.front());
            idle_.pop_front();
            return rental;
        }
    }
    // Opening reads the main header: not under the pool's lock.
    return open();
}

void NITFTileFactory_C8::giveBack(RentalPtr rental) const {
    if (!rental || !rental->codestream) {
        return;
    }
    std::lock_guard lock(poolMutex_);
    if (idle_.size() < capacity_) {
        idle_.push_back(std::move(rental));
    }
}

size_t NITFTileFactory_C8::getIdleCount() const {
    std::lock_guard lock(poolMutex_);
    return idle_.size();
}

TileGroup NITFTileFactory_C8::createTiles(const tile_id& id) const {
    TileGroup group;
    if (!useTilePackage()) {
        group.emplace_back(id, std::make_shared<NITFTile_C8>(id, this));
        return group;
    }
    for (uint32_t band = 0; band < getNumBands(); ++band) {
        const tile_id member{id.factory, id.x, id.y, band};
        group.emplace_back(member, std::make_shared<NITFTile_C8>(member, this));
    }
    return group;
}

namespace detail_c8 {

void failAll(TileGroup& group) {
    for (auto& member : group) {
        member.second->markFailed();
    }
}

// An engine that can't limit the distortion decodes without the limit; said once.
void noteIgnoredDistortion() {
    static std::once_flag once;
    std::call_once(once, [] {
        nitf_log::write_logln(nitf_log::warning,
                              "J2K distortion limit not supported by the engine; ignored");
    });
}

}  // namespace detail_c8

bool NITFTileFactory_C8::loadGroup(TileGroup& group) const {
    if (group.empty()) {
        return true;
    }
    for (auto& member : group) {
        member.second->allocateBuffer();
    }
    const tile_id& id = group.front().first;
    RentalPtr rental;
    try {
        rental = rent();
        tessel_j2k::Codestream& codestream = *rental->codestream;
        const tessel_j2k::Rect region = codestream.tileDims(id.x, id.y, id.band);
        const bool edge = id.x == 0 || id.x + 1 >= limit_.x || id.y == 0 || id.y + 1 >= limit_.y;
        const bool partial = region.width < blockWidth_ || region.height < blockHeight_;
        if (edge || partial) {
            for (auto& member : group) {
                std::memset(member.second->getBuffer(), 0, blockBytes_);
            }
        }
        // Every band's tile must have the first one's samples; a tile larger than a block
        // (tiles offset from the image's origin) has no room in the buffers.
        bool equal = id.x < codestream.tilesAcross() && id.y < codestream.tilesDown() &&
                     region.width <= blockWidth_ && region.height <= blockHeight_;
        for (uint32_t band = 0; equal && band < getNumBands(); ++band) {
            equal = band < codestream.numComponents() &&
                    codestream.tileDims(id.x, id.y, band) == region;
        }
        if (!equal) {
            failAll(group);
            return false;  // the rental goes with its codestream
        }
        // 1- and 2-byte samples as they are, anything wider as 32-bit integers.
        const uint32_t bytes = getBytesPerPixel() <= 2 ? std::max(1U, getBytesPerPixel()) : 4;
        std::vector<tessel_j2k::ComponentTarget> targets;
        for (auto& member : group) {
            targets.push_back({member.first.band, member.second->getBuffer(), bytes, blockWidth_});
        }
        tessel_j2k::DecodeLimits limits{layers_, rmse_};
        if (rmse_ != 0 && !tessel_j2k::defaultEngine()->honoursDistortionLimit()) {
            noteIgnoredDistortion();
            limits.distortion = 0;
        }
        if (!codestream.decode(region, targets, limits)) {
            failAll(group);
            return false;
        }
    } catch (const std::exception& error) {
        nitf_log::write_logln(nitf_log::error, error.what());
        failAll(group);
        return false;
    }
    giveBack(std::move(rental));
    return true;
}

std::map<std::string, std::string> NITFTileFactory_C8::getCompressionInfo() const {
    std::map<std::string, std::string> info{{"Type", "JPEG2000"}, {"Library", "Kakadu"}};
    if (isJP2_) {
        info["IsJP2"] = "true";
    }
    info["UseTilePackages"] = useTilePackage() ? "true" : "false";
    RentalPtr rental;
    try {
        rental = rent();
    } catch (const std::exception&) {
        return info;
    }
    const tessel_j2k::Codestream& codestream = *rental->codestream;
    const auto truth = [&](const char* name) {
        return codestream.parameter(name).value_or(0) != 0 ? "true" : "false";
    };
    info["UsePrecincts"] = truth("Cuse_precincts");
    info["Levels"] = std::to_string(codestream.parameter("Clevels").value_or(0));
    info["Layers"] = std::to_string(codestream.parameter("Clayers").value_or(0));
    info["UseSOP"] = truth("Cuse_sop");
    info["UseEPH"] = truth("Cuse_eph");
    info["Reversible"] = truth("Creversible");
    info["Order"] = orderText(codestream.parameter("Corder").value_or(-1));
    info["UseYCC"] = truth("Cycc");
    giveBack(std::move(rental));
    return info;
}

std::unique_ptr<TileFactory> makeJ2KTileFactory(const NITFImage* image,
                                                const ImageOptions& options) {
    if (!s_opt_nitf_j2k_kdu_enabled()) {
        return nullptr;
    }
    const ImageSegmentFields fields = readImageSegmentFields(image);
    if (fields.compression != eCompressionC8 && fields.compression != eCompressionM8) {
        return nullptr;
    }
    return std::make_unique<NITFTileFactory_C8>(image, options);
}

}  // namespace Tessel
