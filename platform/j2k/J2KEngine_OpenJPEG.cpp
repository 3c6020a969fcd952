// The JPEG 2000 engine over OpenJPEG. OpenJPEG decodes whole tiles: a region is decoded tile
// by tile and the covered part of each copied out. OpenJPEG reports through C callbacks,
// which must not throw: messages are collected and handed to the handler after each call.

#include <openjpeg.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "platform/j2k/J2KEngine.h"
#include "platform/j2k/J2KMainHeader.h"
#include "platform/j2k/J2KSamples.h"

namespace tessel_j2k {

namespace detail_j2k_opj {

constexpr OPJ_SIZE_T kStreamBuffer = 64 * 1024;
// Samples of one decoded tile, all components, at most: a codestream can code a huge uniform
// tile in a few bytes, so the claim is trusted only as far as its data could describe it.
constexpr uint64_t kMinTileSamples = uint64_t{1} << 26;
constexpr uint64_t kSamplesPerByte = 256;
constexpr uint64_t kMaxTileSamples = uint64_t{1} << 31;

OPJ_SIZE_T readSource(void* buffer, OPJ_SIZE_T size, void* user) {
    const size_t got = static_cast<Source*>(user)->read(static_cast<uint8_t*>(buffer), size);
    return got == 0 ? static_cast<OPJ_SIZE_T>(-1) : got;
}

OPJ_BOOL seekSource(OPJ_OFF_T position, void* user) {
    return position >= 0 && static_cast<Source*>(user)->seek(static_cast<uint64_t>(position))
               ? OPJ_TRUE
               : OPJ_FALSE;
}

OPJ_OFF_T skipSource(OPJ_OFF_T count, void* user) {
    auto* source = static_cast<Source*>(user);
    const int64_t target = static_cast<int64_t>(source->position()) + count;
    if (target < 0 || !source->seek(static_cast<uint64_t>(target))) {
        return -1;
    }
    return count;
}

uint64_t ceilShift(uint64_t value, uint32_t shift) {
    return shift >= 63 ? (value != 0 ? 1 : 0) : (value + (uint64_t{1} << shift) - 1) >> shift;
}

uint64_t ceilDivide(uint64_t value, uint32_t by) {
    return by == 0 ? value : (value + by - 1) / by;
}

// A window of another source: the contiguous codestream box of a JP2 file.
class WindowSource : public Source {
public:
    WindowSource(std::shared_ptr<Source> outer, uint64_t start, uint64_t length)
        : outer_(std::move(outer)), start_(start), length_(length) {}
    size_t read(uint8_t* buffer, size_t size) override {
        if (position_ >= length_ || !outer_->seek(start_ + position_)) {
            return 0;
        }
        const size_t got = outer_->read(
            buffer, static_cast<size_t>(std::min<uint64_t>(size, length_ - position_)));
        position_ += got;
        return got;
    }
    bool seek(uint64_t position) override {
        position_ = position;
        return true;
    }
    uint64_t position() const override { return position_; }
    uint64_t length() const override { return length_; }

private:
    std::shared_ptr<Source> outer_;
    uint64_t start_;
    uint64_t length_;
    uint64_t position_ = 0;
};

bool readExactly(Source& source, uint64_t at, uint8_t* buffer, size_t size) {
    return source.seek(at) && source.read(buffer, size) == size;
}

uint64_t bigEndian(const uint8_t* bytes, size_t count) {
    uint64_t value = 0;
    for (size_t i = 0; i < count; ++i) {
        value = value << 8 | bytes[i];
    }
    return value;
}

// The codestream box of a JP2 file, after its signature box: the components as coded, with
// no channel definitions or colour conversions applied. Null when the boxes don't lead there.
std::shared_ptr<Source> jp2Codestream(const std::shared_ptr<Source>& source) {
    static constexpr uint8_t signature[12] = {0x00, 0x00, 0x00, 0x0C, 0x6A, 0x50,
                                              0x20, 0x20, 0x0D, 0x0A, 0x87, 0x0A};
    uint8_t header[16];
    if (!readExactly(*source, 0, header, 12) || std::memcmp(header, signature, 12) != 0) {
        return nullptr;
    }
    const uint64_t total = source->length();
    uint64_t at = 12;
    while (at + 8 <= total) {
        if (!readExactly(*source, at, header, 8)) {
            return nullptr;
        }
        uint64_t length = bigEndian(header, 4);
        uint64_t headerSize = 8;
        if (length == 1) {
            if (!readExactly(*source, at + 8, header + 8, 8)) {
                return nullptr;
            }
            length = bigEndian(header + 8, 8);
            headerSize = 16;
        } else if (length == 0) {
            length = total - at;
        }
        if (length < headerSize || length > total - at) {
            return nullptr;
        }
        if (std::memcmp(header + 4, "jp2c", 4) == 0) {
            return std::make_shared<WindowSource>(source, at + headerSize, length - headerSize);
        }
        at += length;
    }
    return nullptr;
}

class Codestream_OpenJPEG : public Codestream {
public:
    Codestream_OpenJPEG(std::shared_ptr<Source> source, uint32_t discard, MessageHandler handler)
        : source_(std::move(source)), discard_(discard), handler_(std::move(handler)) {}

    ~Codestream_OpenJPEG() override { close(); }

    Codestream_OpenJPEG(const Codestream_OpenJPEG&) = delete;
    Codestream_OpenJPEG& operator=(const Codestream_OpenJPEG&) = delete;

    // The tile grid of the SIZ marker against the length of the data; the source is left at
    // its start.
    bool tilesFitSource() {
        std::array<uint8_t, kMainHeaderProbeBytes> head{};
        const size_t got = source_->read(head.data(), head.size());
        const bool fits = tilesFitTheData(std::span(head.data(), got), source_->length());
        return source_->seek(0) && fits;
    }

    // Opens the codec for `layers` quality layers; false after telling the handler.
    bool open(uint32_t layers) {
        close();
        layers_ = layers;
        codec_ = opj_create_decompress(OPJ_CODEC_J2K);
        if (codec_ == nullptr) {
            return fail("J2K engine: no decoder");
        }
        opj_set_info_handler(codec_, dropMessage, nullptr);
        opj_set_warning_handler(codec_, keepWarning, this);
        opj_set_error_handler(codec_, keepError, this);
        opj_dparameters_t parameters;
        opj_set_default_decoder_parameters(&parameters);
        parameters.cp_reduce = discard_;
        parameters.cp_layer = layers;
        stream_ = opj_stream_create(kStreamBuffer, OPJ_TRUE);
        if (stream_ == nullptr || !opj_setup_decoder(codec_, &parameters) ||
            !opj_codec_set_threads(codec_, 0) || !source_->seek(0)) {
            return fail("J2K engine: cannot set up the decoder");
        }
        if (!tilesFitSource()) {
            return fail("J2K engine: the main header claims more tiles than the data holds");
        }
        opj_stream_set_user_data(stream_, source_.get(), nullptr);
        opj_stream_set_user_data_length(stream_, source_->length());
        opj_stream_set_read_function(stream_, readSource);
        opj_stream_set_seek_function(stream_, seekSource);
        opj_stream_set_skip_function(stream_, skipSource);
        if (!opj_read_header(stream_, codec_, &image_) || image_ == nullptr ||
            !opj_set_decoded_resolution_factor(codec_, discard_)) {
            return fail("J2K engine: cannot read the main header");
        }
        info_ = opj_get_cstr_info(codec_);
        if (info_ == nullptr || image_->numcomps == 0 || image_->comps == nullptr ||
            info_->tw == 0 || info_->th == 0 || info_->m_default_tile_info.tccp_info == nullptr) {
            return fail("J2K engine: the main header describes no image");
        }
        // Decoding a tile overwrites the image's geometry with the tile's: the header's is
        // kept apart.
        canvas_ = {image_->x0, image_->y0, image_->x1, image_->y1};
        header_.assign(image_->comps, image_->comps + image_->numcomps);
        for (auto& component : header_) {
            component.data = nullptr;
        }
        return checkTileSize() && flush(false);
    }

    uint32_t numComponents() const override { return static_cast<uint32_t>(header_.size()); }

    Rect dims(uint32_t component) const override {
        // OpenJPEG keeps a component's origin at full resolution and its size reduced.
        const opj_image_comp_t& c = header_[component];
        return {static_cast<int64_t>(ceilShift(c.x0, c.factor)),
                static_cast<int64_t>(ceilShift(c.y0, c.factor)), c.w, c.h};
    }

    uint32_t bitDepth(uint32_t component) const override { return header_[component].prec; }
    bool isSigned(uint32_t component) const override { return header_[component].sgnd != 0; }
    std::pair<uint32_t, uint32_t> subsampling(uint32_t component) const override {
        return {header_[component].dx, header_[component].dy};
    }
    uint32_t tilesAcross() const override { return info_->tw; }
    uint32_t tilesDown() const override { return info_->th; }
    uint32_t discardedLevels() const override { return discard_; }

    Rect tileDims(uint32_t x, uint32_t y, uint32_t component) const override {
        const opj_image_comp_t& c = header_[component];
        const auto edges = [&](uint64_t origin, uint64_t size, uint32_t index, uint64_t low,
                               uint64_t high, uint32_t step) {
            const uint64_t start = std::max(origin + uint64_t{index} * size, low);
            const uint64_t end = std::min(origin + (uint64_t{index} + 1) * size, high);
            const uint64_t a = ceilShift(ceilDivide(start, step), c.factor);
            const uint64_t b = ceilShift(ceilDivide(std::max(start, end), step), c.factor);
            return std::make_pair(a, b - a);
        };
        const auto [left, width] = edges(info_->tx0, info_->tdx, x, canvas_[0], canvas_[2], c.dx);
        const auto [top, height] = edges(info_->ty0, info_->tdy, y, canvas_[1], canvas_[3], c.dy);
        return {static_cast<int64_t>(left), static_cast<int64_t>(top), width, height};
    }

    std::optional<int> parameter(std::string_view name) const override {
        const opj_tile_info_v2_t& tile = info_->m_default_tile_info;
        const opj_tccp_info_t& first = tile.tccp_info[0];
        if (name == "Clevels") {
            return static_cast<int>(first.numresolutions) - 1;
        }
        if (name == "Clayers") {
            return static_cast<int>(tile.numlayers);
        }
        if (name == "Corder") {
            return static_cast<int>(tile.prg);
        }
        if (name == "Creversible") {
            return first.qmfbid == 1 ? 1 : 0;
        }
        if (name == "Cuse_precincts") {
            return (tile.csty & 1U) != 0 ? 1 : 0;
        }
        if (name == "Cuse_sop") {
            return (tile.csty & 2U) != 0 ? 1 : 0;
        }
        if (name == "Cuse_eph") {
            return (tile.csty & 4U) != 0 ? 1 : 0;
        }
        if (name == "Cycc") {
            return static_cast<int>(tile.mct);
        }
        return std::nullopt;
    }

    bool decode(const Rect& region, std::span<const ComponentTarget> targets,
                const DecodeLimits& limits) override {
        if (targets.empty()) {
            return true;
        }
        for (const ComponentTarget& target : targets) {
            if (target.component >= header_.size()) {
                return fail("J2K engine: no such component");
            }
        }
        if ((broken_ || limits.maxLayers != layers_) && !open(limits.maxLayers)) {
            return false;
        }
        const uint32_t grid = targets[0].component;
        for (uint32_t ty = 0; ty < info_->th; ++ty) {
            for (uint32_t tx = 0; tx < info_->tw; ++tx) {
                if (!overlaps(tileDims(tx, ty, grid), region)) {
                    continue;
                }
                if (!opj_get_decoded_tile(codec_, stream_, image_, ty * info_->tw + tx)) {
                    broken_ = true;  // a failed decode leaves the codec unusable
                    return fail("J2K engine: cannot decode tile " + std::to_string(tx) + "," +
                                std::to_string(ty));
                }
                for (const ComponentTarget& target : targets) {
                    copyTile(region, target);
                }
            }
        }
        return flush(false);
    }

private:
    static bool overlaps(const Rect& a, const Rect& b) {
        return a.x < b.x + static_cast<int64_t>(b.width) &&
               b.x < a.x + static_cast<int64_t>(a.width) &&
               a.y < b.y + static_cast<int64_t>(b.height) &&
               b.y < a.y + static_cast<int64_t>(a.height);
    }

    // Copies the decoded tile's part of `region` into the target.
    void copyTile(const Rect& region, const ComponentTarget& target) const {
        const opj_image_comp_t& c = image_->comps[target.component];
        if (c.data == nullptr) {
            return;
        }
        // The decoded tile's origin is at full resolution, its size reduced.
        const auto x0 = static_cast<int64_t>(ceilShift(c.x0, c.factor));
        const auto y0 = static_cast<int64_t>(ceilShift(c.y0, c.factor));
        const int64_t left = std::max<int64_t>(x0, region.x);
        const int64_t right =
            std::min<int64_t>(x0 + c.w, region.x + static_cast<int64_t>(region.width));
        const int64_t top = std::max<int64_t>(y0, region.y);
        const int64_t bottom =
            std::min<int64_t>(y0 + c.h, region.y + static_cast<int64_t>(region.height));
        if (left >= right || top >= bottom) {
            return;
        }
        auto* out = static_cast<uint8_t*>(target.buffer);
        for (int64_t y = top; y < bottom; ++y) {
            const OPJ_INT32* row = c.data + static_cast<size_t>(y - y0) * c.w + (left - x0);
            const size_t at = static_cast<size_t>(y - region.y) * target.rowGap +
                              static_cast<size_t>(left - region.x);
            storeJ2KSamples(row, static_cast<size_t>(right - left), target.bytes,
                            out + at * target.bytes);
        }
    }

    // Refuses a codestream whose tiles would make the decoder allocate more than its data
    // could describe.
    bool checkTileSize() {
        uint64_t samples = 0;
        for (uint32_t c = 0; c < image_->numcomps; ++c) {
            const opj_image_comp_t& comp = image_->comps[c];
            const uint64_t w = ceilDivide(std::min<uint64_t>(info_->tdx, image_->x1), comp.dx);
            const uint64_t h = ceilDivide(std::min<uint64_t>(info_->tdy, image_->y1), comp.dy);
            samples += w * h;
        }
        const uint64_t limit = std::min(
            kMaxTileSamples, std::max(kMinTileSamples, source_->length() * kSamplesPerByte));
        return samples <= limit || fail("J2K engine: tiles larger than the data can hold");
    }

    static void dropMessage(const char* /*text*/, void* /*client*/) {}
    static void keepWarning(const char* text, void* client) {
        static_cast<Codestream_OpenJPEG*>(client)->keep(text, false);
    }
    static void keepError(const char* text, void* client) {
        static_cast<Codestream_OpenJPEG*>(client)->keep(text, true);
    }
    void keep(const char* text, bool error) {
        std::string line = text != nullptr ? text : "";
        while (!line.empty() && line.back() == '\n') {
            line.pop_back();
        }
        (error ? errors_ : warnings_) += (line + "\n");
    }

    // Hands the collected messages over; an error last, as fatal. Returns !fatal.
    bool flush(bool fatal) {
        std::string warnings = std::exchange(warnings_, {});
        std::string errors = std::exchange(errors_, {});
        if (!warnings.empty() && handler_) {
            warnings.pop_back();
            handler_(warnings, false);
        }
        if (fatal && handler_) {
            if (!errors.empty()) {
                errors.pop_back();
            }
            handler_(errors, true);
        }
        return !fatal;
    }

    bool fail(const std::string& what) {
        errors_ += what + "\n";
        broken_ = true;
        return flush(true);
    }

    void close() {
        if (info_ != nullptr) {
            opj_destroy_cstr_info(&info_);
        }
        if (stream_ != nullptr) {
            opj_stream_destroy(stream_);
            stream_ = nullptr;
        }
        if (codec_ != nullptr) {
            opj_destroy_codec(codec_);
            codec_ = nullptr;
        }
        if (image_ != nullptr) {
            opj_image_destroy(image_);
            image_ = nullptr;
        }
        broken_ = false;
    }

    std::shared_ptr<Source> source_;
    uint32_t discard_;
    MessageHandler handler_;
    uint32_t layers_ = 0;
    bool broken_ = false;
    opj_codec_t* codec_ = nullptr;
    opj_stream_t* stream_ = nullptr;
    opj_image_t* image_ = nullptr;
    opj_codestream_info_v2_t* info_ = nullptr;
    std::array<uint32_t, 4> canvas_{};      // x0, y0, x1, y1 of the reference grid
    std::vector<opj_image_comp_t> header_;  // the components as the main header gives them
    std::string warnings_;
    std::string errors_;
};

class Engine_OpenJPEG : public Engine {
public:
    std::string name() const override { return std::string("OpenJPEG ") + opj_version(); }
    bool honoursDistortionLimit() const override { return false; }

    std::unique_ptr<Codestream> open(std::shared_ptr<Source> source, bool jp2,
                                     uint32_t discardLevels,
                                     MessageHandler handler) const override {
        if (!source) {
            return nullptr;
        }
        if (jp2) {
            source = jp2Codestream(source);
            if (!source) {
                if (handler) {
                    handler("J2K engine: cannot read JP2 boxes", true);
                }
                return nullptr;
            }
        }
        auto codestream = std::make_unique<Codestream_OpenJPEG>(std::move(source), discardLevels,
                                                                std::move(handler));
        if (!codestream->open(0)) {
            return nullptr;
        }
        return codestream;
    }
};

}  // namespace detail_j2k_opj

std::shared_ptr<const Engine> openJpegEngine() {
    static const auto engine = std::make_shared<const detail_j2k_opj::Engine_OpenJPEG>();
    return engine;
}

std::shared_ptr<const Engine> defaultEngine() {
    return openJpegEngine();
}

}  // namespace tessel_j2k
