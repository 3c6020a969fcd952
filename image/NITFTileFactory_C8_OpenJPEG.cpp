#include "tessel/image/NITFTileFactory_C8_OpenJPEG.h"

#include <fmt/format.h>
#include <openjpeg.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <iostream>
#include <limits>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "image/NITFImageSegment.h"
#include "image/TileMakers.h"
#include "platform/j2k/J2KMainHeader.h"
#include "platform/j2k/J2KSamples.h"
#include "tessel/core/Options.h"
#include "tessel/image/TilePool.h"
#include "tessel/io/IOPool.h"
#include "tessel/io/IOSource.h"
#include "tessel/platform/base/nitf_log.h"

namespace Tessel {

namespace detail_opj {

// What a decoder's stream reads: the segment's image data, and nothing behind it.
struct StreamData {
    NITFURI uri;
    uint64_t base = 0;
    uint64_t length = 0;
    uint64_t position = 0;
};

// Samples of one decoded tile that a decoder may allocate, at most: a codestream can code a
// huge uniform tile in a few bytes, so the claim alone isn't trusted beyond what its data
// could plausibly describe.
constexpr uint64_t kMinTileSampleLimit = uint64_t{1} << 26;
constexpr uint64_t kSamplesPerDataByte = 256;
constexpr uint64_t kMaxTileSampleLimit = uint64_t{1} << 31;

OPJ_SIZE_T readStream(void* buffer, OPJ_SIZE_T size, void* user) {
    auto* data = static_cast<StreamData*>(user);
    // The end of the data is the end of the stream: OpenJPEG keeps asking while it gets
    // anything but the end marker, so a failed read ends the stream as well.
    constexpr auto kEnd = static_cast<OPJ_SIZE_T>(-1);
    if (data->position >= data->length) {
        return kEnd;
    }
    const uint64_t count = std::min<uint64_t>(size, data->length - data->position);
    try {
        const std::shared_ptr<IOSource> source = IOSource::Create(data->uri);
        if (!source) {
            return kEnd;
        }
        auto read =
            IOPool::Read(source, data->base + data->position, count, static_cast<uint8_t*>(buffer));
        IOPool::Await(read);
    } catch (const std::exception&) {
        return kEnd;
    }
    data->position += count;
    return static_cast<OPJ_SIZE_T>(count);
}

// The tile grid of the SIZ marker against the length of the data: the decoder would set up
// every tile the header claims. The stream is left at its start.
bool tilesFitStream(StreamData& data) {
    std::array<uint8_t, tessel_j2k::kMainHeaderProbeBytes> head{};
    const OPJ_SIZE_T got = readStream(head.data(), head.size(), &data);
    data.position = 0;
    const size_t count = got == static_cast<OPJ_SIZE_T>(-1) ? 0 : got;
    return tessel_j2k::tilesFitTheData(std::span(head.data(), count), data.length);
}

OPJ_BOOL seekStream(OPJ_OFF_T position, void* user) {
    static_cast<StreamData*>(user)->position =
        static_cast<uint64_t>(std::max<OPJ_OFF_T>(0, position));
    return OPJ_TRUE;
}

OPJ_OFF_T skipStream(OPJ_OFF_T count, void* user) {
    auto* data = static_cast<StreamData*>(user);
    const auto moved = static_cast<int64_t>(data->position) + count;
    data->position = static_cast<uint64_t>(std::max<int64_t>(0, moved));
    return count;
}

void freeStreamData(void* user) {
    delete static_cast<StreamData*>(user);
}

// Warnings and errors go to the standard output, one line each; info is dropped.
void printMessage(const char* message, void* /*client*/) {
    std::string_view text = message != nullptr ? message : "";
    while (!text.empty() && text.back() == '\n') {
        text.remove_suffix(1);
    }
    std::cout << text << std::endl;
}

void dropMessage(const char* /*message*/, void* /*client*/) {}

const char* progressionName(int order) {
    static const char* const names[] = {"LRCP", "RLCP", "RPCL", "PCRL", "CPRL"};
    return order >= 0 && order < 5 ? names[order] : nullptr;
}

std::string namedOr(const char* name, int value) {
    return name != nullptr ? std::string(name) : std::to_string(value);
}

std::string colorSpaceName(int space) {
    static const char* const names[] = {"UNSPECIFIED", "SRGB", "GRAY", "SYCC", "EYCC", "CMYK"};
    return namedOr(space >= 0 && space < 6 ? names[space] : nullptr, space);
}

// The names of the code-block style bits; every bit from 64 on counts as one more "SEGSYM".
std::string codeBlockStyleNames(uint32_t style) {
    static const char* const names[] = {"LAZY", "RESET", "TERMALL", "VSC", "PTERM", "SEGSYM"};
    std::string text;
    for (uint32_t bit = 0; bit < 32; ++bit) {
        if ((style & (uint32_t{1} << bit)) == 0) {
            continue;
        }
        if (!text.empty()) {
            text += ",";
        }
        text += names[std::min<uint32_t>(bit, 5)];
    }
    return text;
}

const char* truth(bool value) {
    return value ? "true" : "false";
}

// The fields in which every component must equal the first.
bool sameComponent(const opj_image_comp_t& a, const opj_image_comp_t& b) {
    return a.dx == b.dx && a.dy == b.dy && a.w == b.w && a.h == b.h && a.x0 == b.x0 &&
           a.y0 == b.y0 && a.prec == b.prec && a.sgnd == b.sgnd &&
           a.resno_decoded == b.resno_decoded && a.factor == b.factor && a.alpha == b.alpha;
}

uint32_t reducedSize(uint32_t size, uint32_t factor) {
    if (factor >= 32) {
        return size == 0 ? 0 : 1;
    }
    return static_cast<uint32_t>((uint64_t{size} + (uint64_t{1} << factor) - 1) >> factor);
}

}  // namespace detail_opj

using namespace detail_opj;

NITFTileFactory_C8_OpenJPEG::opj_objects::~opj_objects() {
    if (stream != nullptr) {
        opj_stream_destroy(static_cast<opj_stream_t*>(stream));
    }
    if (codec != nullptr) {
        opj_destroy_codec(static_cast<opj_codec_t*>(codec));
    }
    if (image != nullptr) {
        opj_image_destroy(image);
    }
}

size_t NITFTileFactory_C8_OpenJPEG::inventoryCapacity() {
    const int inventory = s_opt_nitf_j2k_opj_inventory();
    if (inventory > 0) {
        return static_cast<size_t>(inventory);
    }
    return TilePool::get()->numThreads() + 1;
}

NITFTileFactory_C8_OpenJPEG::NITFTileFactory_C8_OpenJPEG(const NITFImage* image,
                                                         const ImageOptions& options)
    : NITFTileFactory(image), options_(options) {
    skipMaskTable(readImageSegmentFields(image).compression);
    capacity_ = inventoryCapacity();
    static std::once_flag logged;
    std::call_once(logged, [this] {
        nitf_log::write_logln(
            nitf_log::info,
            fmt::format("J2K OpenJPEG Inventory (tessel.j2k.obj.inventory): {} codestreams",
                        capacity_));
    });
    Rental rental = rent();
    if (rental->empty()) {
        throw std::runtime_error("[NITF:OPJ]: Cannot read the codestream header");
    }
    info_.reset(opj_get_cstr_info(static_cast<opj_codec_t*>(rental->codec)));
    const opj_image_t& header = *rental->image;
    if (header.numcomps == 0 || header.comps == nullptr || !info_) {
        throw std::runtime_error(fmt::format(
            "[NITF:OPJ]: Image has an invalid number of components ({})", header.numcomps));
    }
    const opj_image_comp_t& first = header.comps[0];
    for (uint32_t index = 1; index < header.numcomps; ++index) {
        if (!sameComponent(first, header.comps[index])) {
            throw std::runtime_error(
                fmt::format("[NITF:OPJ]: Image Inconsistant Components  (0 != {})", index));
        }
    }
    width_ = first.w;
    height_ = first.h;
    blockWidth_ = reducedSize(info_->tdx, first.factor);
    blockHeight_ = reducedSize(info_->tdy, first.factor);
    limit_.x = info_->tw;
    limit_.y = info_->th;
    blockBytes_ = uint64_t{getBytesPerPixel()} * blockHeight_ * blockWidth_;
    // The decoder holds a tile of every component as 32-bit samples.
    const uint64_t samples = uint64_t{blockWidth_} * blockHeight_ * header.numcomps;
    const uint64_t limit = std::min(
        kMaxTileSampleLimit, std::max(kMinTileSampleLimit, dataLength_ * kSamplesPerDataByte));
    if (samples > limit) {
        throw std::runtime_error(
            fmt::format("[NITF:OPJ]: Tile of {} x {} samples exceeds what the data can hold",
                        blockWidth_, blockHeight_));
    }
    if (options_.level == 0 && info_->m_default_tile_info.tccp_info != nullptr) {
        for (uint32_t c = 0; c < info_->nbcomps; ++c) {
            const uint32_t resolutions = info_->m_default_tile_info.tccp_info[c].numresolutions;
            maximumLevel_ = std::max(maximumLevel_, resolutions > 0 ? resolutions - 1 : 0);
        }
    }
    giveBack(std::move(rental));
}

NITFTileFactory_C8_OpenJPEG::~NITFTileFactory_C8_OpenJPEG() = default;

void NITFTileFactory_C8_OpenJPEG::InfoRelease::operator()(opj_codestream_info_v2* info) const {
    opj_destroy_cstr_info(&info);
}

NITFTileFactory_C8_OpenJPEG::Rental NITFTileFactory_C8_OpenJPEG::makeRental() const {
    auto rental = std::make_unique<opj_objects>();
    opj_codec_t* codec = opj_create_decompress(OPJ_CODEC_J2K);
    rental->codec = codec;
    if (codec == nullptr) {
        return rental;
    }
    opj_set_info_handler(codec, dropMessage, nullptr);
    opj_set_warning_handler(codec, printMessage, nullptr);
    opj_set_error_handler(codec, printMessage, nullptr);
    opj_dparameters_t parameters;
    opj_set_default_decoder_parameters(&parameters);
    parameters.cp_reduce = static_cast<OPJ_UINT32>(std::max(0, options_.level));
    parameters.cp_layer = static_cast<OPJ_UINT32>(std::max(0, options_.layers));
    if (!opj_setup_decoder(codec, &parameters) || !opj_codec_set_threads(codec, 0)) {
        return std::make_unique<opj_objects>();  // destroys what was made
    }
    opj_stream_t* stream = opj_stream_create(1024, OPJ_TRUE);
    rental->stream = stream;
    if (stream == nullptr) {
        return std::make_unique<opj_objects>();
    }
    auto* data = new StreamData{uri_, dataOffset_, dataLength_, 0};
    opj_stream_set_user_data(stream, data, freeStreamData);
    if (!tilesFitStream(*data)) {
        return std::make_unique<opj_objects>();  // a grid the data can't hold
    }
    opj_stream_set_user_data_length(stream, dataLength_);
    opj_stream_set_read_function(stream, readStream);
    opj_stream_set_seek_function(stream, seekStream);
    opj_stream_set_skip_function(stream, skipStream);
    if (!opj_read_header(stream, codec, &rental->image) || rental->image == nullptr ||
        !opj_set_decoded_resolution_factor(codec,
                                           static_cast<OPJ_UINT32>(std::max(0, options_.level)))) {
        return std::make_unique<opj_objects>();
    }
    return rental;
}

NITFTileFactory_C8_OpenJPEG::Rental NITFTileFactory_C8_OpenJPEG::rent() const {
    {
        std::lock_guard lock(poolMutex_);
        if (!idle_.empty()) {
            Rental rental = std::move(idle_.front());
            idle_.pop_front();
            return rental;
        }
    }
    // Opening reads the header, which waits for the file: not under the pool's lock.
    return makeRental();
}

void NITFTileFactory_C8_OpenJPEG::giveBack(Rental rental) const {
    if (!rental || rental->empty()) {
        return;
    }
    std::lock_guard lock(poolMutex_);
    if (idle_.size() < capacity_) {
        idle_.push_back(std::move(rental));
    }
}

size_t NITFTileFactory_C8_OpenJPEG::getIdleCount() const {
    std::lock_guard lock(poolMutex_);
    return idle_.size();
}

TileGroup NITFTileFactory_C8_OpenJPEG::createTiles(const tile_id& id) const {
    TileGroup group;
    for (uint32_t band = 0; band < getNumBands(); ++band) {
        const tile_id member{id.factory, id.x, id.y, band};
        group.emplace_back(member, std::make_shared<NITFTile_C8_OpenJPEG>(member, this));
    }
    return group;
}

uint32_t NITFTileFactory_C8_OpenJPEG::tileNumber(const tile_id& id) const {
    const uint64_t across = limit_.x;
    const uint64_t down = limit_.y;
    uint64_t number = uint64_t{id.y} * across + id.x;
    switch (mode_) {
        case mode_S:
            number += uint64_t{id.band} * across * down;
            break;
        case mode_B:
        case mode_P:
            break;
        default:
            return 0xFFFFFFFF;
    }
    return number > 0xFFFFFFFF ? 0xFFFFFFFF : static_cast<uint32_t>(number);
}

bool NITFTileFactory_C8_OpenJPEG::loadGroup(TileGroup& group, Tile& tile) const {
    for (auto& member : group) {
        member.second->allocateBuffer();
    }
    const tile_id& id = tile.getId();
    const bool edge = id.x == 0 || id.x + 1 >= limit_.x || id.y == 0 || id.y + 1 >= limit_.y;
    Rental rental = rent();
    if (rental->empty() || !opj_get_decoded_tile(static_cast<opj_codec_t*>(rental->codec),
                                                 static_cast<opj_stream_t*>(rental->stream),
                                                 rental->image, tileNumber(id))) {
        // A codec whose decode failed is left half-way and may not decode again: it is
        // destroyed, not given back.
        tile.markFailed();
        return false;
    }
    for (auto& member : group) {
        copyComponent(member.first, member.second->getBuffer(), edge, *rental, *member.second);
    }
    giveBack(std::move(rental));
    return true;
}

void NITFTileFactory_C8_OpenJPEG::copyComponent(const tile_id& id, uint8_t* buffer, bool edge,
                                                const opj_objects& rental, Tile& tile) const {
    const opj_image_t& decoded = *rental.image;
    if (id.band >= decoded.numcomps || decoded.comps == nullptr ||
        decoded.comps[id.band].data == nullptr) {
        tile.markFailed();  // a band the codestream doesn't have
        return;
    }
    const opj_image_comp_t& component = decoded.comps[id.band];
    const uint32_t bytes = getBytesPerPixel();
    const uint64_t capacity = bytes == 0 ? 0 : blockBytes_ / bytes;
    const uint64_t count = std::min<uint64_t>(uint64_t{component.w} * component.h, capacity);
    // Memory that the copy leaves alone is cleared, not left as it was.
    if (edge || count < capacity) {
        std::memset(buffer, 0, blockBytes_);
    }
    tessel_j2k::storeJ2KSamples(component.data, static_cast<size_t>(count), bytes, buffer);
}

std::map<std::string, std::string> NITFTileFactory_C8_OpenJPEG::getCompressionInfo() const {
    std::map<std::string, std::string> info{
        {"Type", "JPEG2000"}, {"Library", "OpenJPEG"}, {"LibraryVersion", opj_version()}};
    Rental rental = rent();
    if (rental->empty() || !info_) {
        return info;
    }
    const opj_image_t& image = *rental->image;
    info["Components"] = std::to_string(image.numcomps);
    info["ColorSpace"] = colorSpaceName(image.color_space);
    info["UseYCC"] = image.color_space == OPJ_CLRSPC_EYCC ? "" : "false";
    if (image.icc_profile_len != 0 && image.icc_profile_buf != nullptr) {
        const auto* bytes = reinterpret_cast<const char*>(image.icc_profile_buf);
        info["ICCProfile"] = std::string(bytes, strnlen(bytes, image.icc_profile_len));
    }
    if (image.numcomps > 0 && image.comps != nullptr) {
        info["Precision"] = std::to_string(image.comps[0].prec);
        info["Signed"] = truth(image.comps[0].sgnd != 0);
        info["DecodedRes"] = std::to_string(image.comps[0].resno_decoded);
    }
    const opj_tile_info_v2_t& tile = info_->m_default_tile_info;
    info["UsePRT"] = truth((tile.csty & 1U) != 0);
    info["UseSOP"] = truth((tile.csty & 2U) != 0);
    info["UseEPH"] = truth((tile.csty & 4U) != 0);
    info["Order"] = namedOr(progressionName(tile.prg), tile.prg);
    info["Layers"] = std::to_string(tile.numlayers);
    info["MultiComponentID"] = std::to_string(tile.mct);
    info["Levels"] = std::to_string(maximumLevel_);
    if (tile.tccp_info != nullptr && info_->nbcomps > 0) {
        const opj_tccp_info_t& first = tile.tccp_info[0];
        info["CodeBlocksWidth"] = std::to_string(uint64_t{1} << std::min(first.cblkw, 31U));
        info["CodeBlocksHeight"] = std::to_string(uint64_t{1} << std::min(first.cblkh, 31U));
        info["CodeBlockCodingStyle"] = codeBlockStyleNames(first.cblksty);
        info["WaveletTransform"] = namedOr(first.qmfbid == 0   ? "9-7I"
                                           : first.qmfbid == 1 ? "5-3I"
                                                               : nullptr,
                                           static_cast<int>(first.qmfbid));
        static const char* const quantisation[] = {"NOQNT", "SIQNT", "SEQNT"};
        info["QuantisationStyle"] = namedOr(first.qntsty < 3 ? quantisation[first.qntsty] : nullptr,
                                            static_cast<int>(first.qntsty));
    }
    giveBack(std::move(rental));
    return info;
}

std::unique_ptr<TileFactory> makeJ2KOpenJPEGTileFactory(const NITFImage* image,
                                                        const ImageOptions& options) {
    if (!s_opt_nitf_j2k_opj_enabled()) {
        return nullptr;
    }
    const ImageSegmentFields fields = readImageSegmentFields(image);
    if (fields.compression != eCompressionC8 && fields.compression != eCompressionM8) {
        return nullptr;
    }
    return std::make_unique<NITFTileFactory_C8_OpenJPEG>(image, options);
}

}  // namespace Tessel
