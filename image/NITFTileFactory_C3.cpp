#include "tessel/image/NITFTileFactory_C3.h"

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <vector>

// libjpeg's headers need the standard types declared first.
// clang-format off
#include <jpeglib.h>
#include <jerror.h>
// clang-format on

#include "image/NITFImageSegment.h"
#include "image/TileMakers.h"
#include "platform/jpeg12/Jpeg12Decoder.h"
#include "tessel/image/NITFImage.h"

namespace Tessel {

namespace detail_c3 {

constexpr size_t kSourceBufferBytes = 4096;
constexpr long kMaxMemoryToUse = 524288000;
constexpr uint8_t kStartOfImage = 0xD8;

// The quantisation tables of the NITF JPEG profile, by COMRAT digit.
constexpr std::array<std::array<uint16_t, 64>, 5> kDefaultQuant = {{
    {8,   72,  72,  72,  72,  72,  72,  72,  72,  72,  78,  74,  76,  74,  78,  89,
     81,  84,  84,  81,  89,  106, 93,  94,  99,  94,  93,  106, 129, 111, 108, 116,
     116, 108, 111, 129, 135, 128, 136, 145, 136, 128, 135, 155, 160, 177, 177, 160,
     155, 193, 213, 228, 213, 193, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255},
    {8,  36, 36,  36,  36,  36, 36,  36,  36,  36,  39,  37,  38,  37,  39,  45,
     41, 42, 42,  41,  45,  53, 47,  47,  50,  47,  47,  53,  65,  56,  54,  59,
     59, 54, 56,  65,  68,  64, 69,  73,  69,  64,  68,  78,  81,  89,  89,  81,
     78, 98, 108, 115, 108, 98, 130, 144, 144, 130, 178, 190, 178, 243, 243, 255},
    {8,  10, 10, 10, 10, 10, 10, 10, 10, 10, 11, 10, 11, 10, 11, 13, 11, 12, 12, 11, 13, 15,
     13, 13, 14, 13, 13, 15, 18, 16, 15, 16, 16, 15, 16, 18, 19, 18, 19, 21, 19, 18, 19, 22,
     23, 25, 25, 23, 22, 27, 30, 32, 30, 27, 36, 40, 40, 36, 50, 53, 50, 68, 68, 91},
    {8,  7,  7,  7,  7,  7,  7,  7,  7,  7,  8,  7,  8,  7,  8,  9,  8,  8,  8,  8,  9,  11,
     9,  9,  10, 9,  9,  11, 13, 11, 11, 12, 12, 11, 11, 13, 14, 13, 14, 15, 14, 13, 14, 16,
     16, 18, 18, 16, 16, 20, 22, 23, 22, 20, 26, 29, 29, 26, 36, 38, 36, 49, 49, 65},
    {4, 4,  4,  4, 4, 4,  4,  4,  4,  4,  4,  4,  4,  4,  4,  5,  5,  5,  5,  5, 5, 6,
     5, 5,  6,  5, 5, 6,  7,  6,  6,  6,  6,  6,  6,  7,  8,  7,  8,  8,  8,  7, 8, 9,
     9, 10, 10, 9, 9, 11, 12, 13, 12, 11, 14, 16, 16, 14, 20, 21, 20, 27, 27, 36},
}};

// The luminance DC and AC Huffman tables of ITU T.81 Annex K (K.3 and K.5).
constexpr std::array<uint8_t, 16> kDcBits = {0, 1, 5, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0};
constexpr std::array<uint8_t, 12> kDcValues = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
constexpr std::array<uint8_t, 16> kAcBits = {0, 2, 1, 3, 3, 2, 4, 3, 5, 5, 4, 4, 0, 0, 1, 125};
constexpr std::array<uint8_t, 162> kAcValues = {
    0x01, 0x02, 0x03, 0x00, 0x04, 0x11, 0x05, 0x12, 0x21, 0x31, 0x41, 0x06, 0x13, 0x51, 0x61,
    0x07, 0x22, 0x71, 0x14, 0x32, 0x81, 0x91, 0xa1, 0x08, 0x23, 0x42, 0xb1, 0xc1, 0x15, 0x52,
    0xd1, 0xf0, 0x24, 0x33, 0x62, 0x72, 0x82, 0x09, 0x0a, 0x16, 0x17, 0x18, 0x19, 0x1a, 0x25,
    0x26, 0x27, 0x28, 0x29, 0x2a, 0x34, 0x35, 0x36, 0x37, 0x38, 0x39, 0x3a, 0x43, 0x44, 0x45,
    0x46, 0x47, 0x48, 0x49, 0x4a, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58, 0x59, 0x5a, 0x63, 0x64,
    0x65, 0x66, 0x67, 0x68, 0x69, 0x6a, 0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7a, 0x83,
    0x84, 0x85, 0x86, 0x87, 0x88, 0x89, 0x8a, 0x92, 0x93, 0x94, 0x95, 0x96, 0x97, 0x98, 0x99,
    0x9a, 0xa2, 0xa3, 0xa4, 0xa5, 0xa6, 0xa7, 0xa8, 0xa9, 0xaa, 0xb2, 0xb3, 0xb4, 0xb5, 0xb6,
    0xb7, 0xb8, 0xb9, 0xba, 0xc2, 0xc3, 0xc4, 0xc5, 0xc6, 0xc7, 0xc8, 0xc9, 0xca, 0xd2, 0xd3,
    0xd4, 0xd5, 0xd6, 0xd7, 0xd8, 0xd9, 0xda, 0xe1, 0xe2, 0xe3, 0xe4, 0xe5, 0xe6, 0xe7, 0xe8,
    0xe9, 0xea, 0xf1, 0xf2, 0xf3, 0xf4, 0xf5, 0xf6, 0xf7, 0xf8, 0xf9, 0xfa};

// The compressed bytes of one block: read from the factory's file, from where it was put,
// 4096 bytes at a time. Running out of bytes at the very start is an error; later, the
// stream is ended by a made-up EOI marker.
class BlockStreamSource {
public:
    enum class Refill : uint8_t { data, emptyAtStart, endOfFile };

    explicit BlockStreamSource(nitf_fs::adapter::nitf_fs_adapter_io& file) : file_(file) {}

    void start() { startOfFile_ = true; }

    Refill refill(const uint8_t*& next, size_t& count) {
        const size_t got = file_.read(buffer_.data(), buffer_.size());
        if (got == 0) {
            if (startOfFile_) {
                next = buffer_.data();
                count = 0;
                return Refill::emptyAtStart;
            }
            buffer_[0] = 0xFF;
            buffer_[1] = JPEG_EOI;
            next = buffer_.data();
            count = 2;
            return Refill::endOfFile;
        }
        startOfFile_ = false;
        next = buffer_.data();
        count = got;
        return Refill::data;
    }

private:
    nitf_fs::adapter::nitf_fs_adapter_io& file_;
    std::array<uint8_t, kSourceBufferBytes> buffer_{};
    bool startOfFile_ = true;
};

// Where the rows of one band go: a tile's buffer of `capacity` bytes.
struct BandTarget {
    uint32_t band;
    uint8_t* buffer;
};

struct BlockJob {
    nitf_fs::adapter::nitf_fs_adapter_io* file;
    uint64_t offset;
    const BandTarget* targets;
    size_t targetCount;
    uint64_t capacity;  // bytes of each tile's buffer
    int quantDigit;     // -1: COMRAT selects no table
    bool ycbcr;         // IREP names YCbCr601
};

// Whether a frame's rows, at `bytesPerSample`, fit the tiles' buffers.
bool frameFits(const BlockJob& job, uint64_t width, uint64_t height, uint64_t bytesPerSample) {
    return width * height * bytesPerSample <= job.capacity;
}

// Copies band b of an interleaved row (every `components`-th sample from b) into each
// tile's row `line`.
template <class Sample>
void copyRow(const BlockJob& job, const Sample* row, uint32_t width, uint32_t components,
             uint32_t line) {
    for (size_t t = 0; t < job.targetCount; ++t) {
        const BandTarget& target = job.targets[t];
        if (target.band >= components) {
            continue;  // the stream has fewer components than the image has bands
        }
        auto* destination = target.buffer + uint64_t{line} * width * sizeof(Sample);
        if (components == 1) {
            std::memcpy(destination, row, size_t{width} * sizeof(Sample));
            continue;
        }
        for (uint32_t x = 0; x < width; ++x) {
            const Sample sample = row[uint64_t{x} * components + target.band];
            std::memcpy(destination + uint64_t{x} * sizeof(Sample), &sample, sizeof(Sample));
        }
    }
}

// --- 8-bit streams through libjpeg -------------------------------------------------------

struct LibjpegSource {
    jpeg_source_mgr pub;  // first: libjpeg sees only this
    BlockStreamSource* stream;
};

struct LibjpegErrors {
    jpeg_error_mgr pub;  // first: libjpeg sees only this
    std::jmp_buf jump;
};

LibjpegSource* sourceOf(j_decompress_ptr cinfo) {
    return reinterpret_cast<LibjpegSource*>(cinfo->src);
}

void initLibjpegSource(j_decompress_ptr cinfo) {
    sourceOf(cinfo)->stream->start();
}

boolean fillLibjpegSource(j_decompress_ptr cinfo) {
    LibjpegSource* source = sourceOf(cinfo);
    const uint8_t* next = nullptr;
    size_t count = 0;
    switch (source->stream->refill(next, count)) {
        case BlockStreamSource::Refill::emptyAtStart:
            ERREXIT(cinfo, JERR_INPUT_EMPTY);
            break;
        case BlockStreamSource::Refill::endOfFile:
            WARNMS(cinfo, JWRN_JPEG_EOF);
            break;
        case BlockStreamSource::Refill::data:
            break;
    }
    source->pub.next_input_byte = next;
    source->pub.bytes_in_buffer = count;
    return TRUE;
}

void skipLibjpegSource(j_decompress_ptr cinfo, long count) {
    if (count <= 0) {
        return;
    }
    LibjpegSource* source = sourceOf(cinfo);
    auto remaining = static_cast<size_t>(count);
    while (remaining > source->pub.bytes_in_buffer) {
        remaining -= source->pub.bytes_in_buffer;
        fillLibjpegSource(cinfo);
    }
    source->pub.next_input_byte += remaining;
    source->pub.bytes_in_buffer -= remaining;
}

void termLibjpegSource(j_decompress_ptr /*cinfo*/) {}

// Reports the error as libjpeg would and returns to the decoding function. A 12-bit stream
// isn't an error for us: it goes to the other decoder, without a message.
[[noreturn]] void exitByJump(j_common_ptr cinfo) {
    auto* errors = reinterpret_cast<LibjpegErrors*>(cinfo->err);
    if (cinfo->err->msg_code != JERR_BAD_PRECISION) {
        (*cinfo->err->output_message)(cinfo);
    }
    std::longjmp(errors->jump, 1);
}

void installDefaultHuffmanTables(j_decompress_ptr cinfo) {
    JHUFF_TBL* ac = jpeg_alloc_huff_table(reinterpret_cast<j_common_ptr>(cinfo));
    JHUFF_TBL* dc = jpeg_alloc_huff_table(reinterpret_cast<j_common_ptr>(cinfo));
    std::memset(ac->bits, 0, sizeof ac->bits);
    std::memset(dc->bits, 0, sizeof dc->bits);
    std::copy(kAcBits.begin(), kAcBits.end(), ac->bits + 1);
    std::copy(kAcValues.begin(), kAcValues.end(), ac->huffval);
    std::copy(kDcBits.begin(), kDcBits.end(), dc->bits + 1);
    std::copy(kDcValues.begin(), kDcValues.end(), dc->huffval);
    ac->sent_table = FALSE;
    dc->sent_table = FALSE;
    cinfo->ac_huff_tbl_ptrs[0] = ac;
    cinfo->dc_huff_tbl_ptrs[0] = dc;
}

enum class Outcome : uint8_t { decoded, failed, twelveBit };

// Decodes one 8-bit stream. Nothing in this frame has a destructor: libjpeg's errors
// return here by longjmp.
Outcome decodeWithLibjpeg(const BlockJob& job, BlockStreamSource& stream) {
    jpeg_decompress_struct cinfo;
    LibjpegErrors errors;
    LibjpegSource source;
    std::memset(&cinfo, 0, sizeof cinfo);
    std::memset(&source, 0, sizeof source);
    cinfo.err = jpeg_std_error(&errors.pub);
    errors.pub.error_exit = exitByJump;
    if (setjmp(errors.jump) != 0) {
        const bool twelveBit =
            errors.pub.msg_code == JERR_BAD_PRECISION && cinfo.data_precision == 12;
        jpeg_destroy_decompress(&cinfo);
        return twelveBit ? Outcome::twelveBit : Outcome::failed;
    }
    jpeg_create_decompress(&cinfo);
    cinfo.mem->max_memory_to_use = kMaxMemoryToUse;
    source.stream = &stream;
    source.pub.init_source = initLibjpegSource;
    source.pub.fill_input_buffer = fillLibjpegSource;
    source.pub.skip_input_data = skipLibjpegSource;
    source.pub.resync_to_restart = jpeg_resync_to_restart;
    source.pub.term_source = termLibjpegSource;
    cinfo.src = &source.pub;

    jpeg_read_header(&cinfo, TRUE);
    if (cinfo.quant_tbl_ptrs[0] == nullptr) {
        if (job.quantDigit < 0) {
            jpeg_destroy_decompress(&cinfo);
            return Outcome::failed;
        }
        JQUANT_TBL* table = jpeg_alloc_quant_table(reinterpret_cast<j_common_ptr>(&cinfo));
        const auto& steps = NITFTileFactory_C3::defaultQuantTable(job.quantDigit);
        std::copy(steps.begin(), steps.end(), table->quantval);
        table->sent_table = FALSE;
        cinfo.quant_tbl_ptrs[0] = table;
    }
    if (cinfo.ac_huff_tbl_ptrs[0] == nullptr) {
        installDefaultHuffmanTables(&cinfo);
    }
    if (cinfo.num_components == 1) {
        cinfo.jpeg_color_space = JCS_GRAYSCALE;
        cinfo.out_color_space = JCS_GRAYSCALE;
    } else {
        cinfo.jpeg_color_space = job.ycbcr ? JCS_YCbCr : JCS_RGB;
        cinfo.out_color_space = JCS_RGB;
    }
    const uint64_t bytesPerSample = cinfo.data_precision < 9 ? 1 : 2;
    if (!frameFits(job, cinfo.image_width, cinfo.image_height, bytesPerSample)) {
        jpeg_destroy_decompress(&cinfo);
        return Outcome::failed;  // a frame larger than the block
    }
    jpeg_start_decompress(&cinfo);
    const JDIMENSION samples =
        cinfo.output_width * static_cast<JDIMENSION>(cinfo.output_components);
    JSAMPARRAY row =
        (*cinfo.mem->alloc_sarray)(reinterpret_cast<j_common_ptr>(&cinfo), JPOOL_IMAGE, samples, 1);
    while (cinfo.output_scanline < cinfo.output_height) {
        const JDIMENSION line = cinfo.output_scanline;
        if (cinfo.data_precision != 8) {
            jpeg_destroy_decompress(&cinfo);
            return Outcome::failed;
        }
        jpeg_read_scanlines(&cinfo, row, 1);
        copyRow<uint8_t>(job, row[0], cinfo.output_width,
                         static_cast<uint32_t>(cinfo.output_components), line);
    }
    jpeg_finish_decompress(&cinfo);
    jpeg_destroy_decompress(&cinfo);
    return Outcome::decoded;
}

// --- 12-bit streams through our decoder ----------------------------------------------------

class Jpeg12Source : public jpeg12::SourceManager {
public:
    explicit Jpeg12Source(BlockStreamSource& stream) : stream_(stream) {}

    void initSource(jpeg12::Decompressor& /*decoder*/) override { stream_.start(); }

    void fillInputBuffer(jpeg12::Decompressor& decoder) override {
        const uint8_t* next = nullptr;
        size_t count = 0;
        switch (stream_.refill(next, count)) {
            case BlockStreamSource::Refill::emptyAtStart:
                decoder.fail(jpeg12::kInputEmpty, "Input file is empty");
            case BlockStreamSource::Refill::endOfFile:
                decoder.warn(jpeg12::kJpegEof);
                break;
            case BlockStreamSource::Refill::data:
                break;
        }
        nextInputByte = next;
        bytesInBuffer = count;
    }

private:
    BlockStreamSource& stream_;
};

bool reportJpeg12Failure(const jpeg12::Decompressor& decoder) {
    std::fprintf(stderr, "%s\n", decoder.errorMessage().c_str());
    return false;
}

bool decodeWithJpeg12(const BlockJob& job, BlockStreamSource& stream) {
    Jpeg12Source source(stream);
    jpeg12::Decompressor decoder(source);
    if (!decoder.readHeader(true)) {
        return reportJpeg12Failure(decoder);
    }
    if (!decoder.hasQuantTable(0)) {
        if (job.quantDigit < 0) {
            return false;
        }
        decoder.setQuantTable(0, NITFTileFactory_C3::defaultQuantTable(job.quantDigit));
    }
    if (!decoder.hasAcHuffmanTable(0)) {
        jpeg12::HuffmanTable ac;
        jpeg12::HuffmanTable dc;
        std::copy(kAcBits.begin(), kAcBits.end(), ac.bits.begin() + 1);
        std::copy(kAcValues.begin(), kAcValues.end(), ac.values.begin());
        std::copy(kDcBits.begin(), kDcBits.end(), dc.bits.begin() + 1);
        std::copy(kDcValues.begin(), kDcValues.end(), dc.values.begin());
        decoder.setAcHuffmanTable(0, ac);
        decoder.setDcHuffmanTable(0, dc);
    }
    if (decoder.numComponents() == 1) {
        decoder.jpegColorSpace = jpeg12::ColorSpace::grayscale;
        decoder.outColorSpace = jpeg12::ColorSpace::grayscale;
    } else {
        decoder.jpegColorSpace = job.ycbcr ? jpeg12::ColorSpace::ycbcr : jpeg12::ColorSpace::rgb;
        decoder.outColorSpace = jpeg12::ColorSpace::rgb;
    }
    if (!frameFits(job, decoder.imageWidth(), decoder.imageHeight(), 2)) {
        return false;
    }
    if (!decoder.startDecompress()) {
        return reportJpeg12Failure(decoder);
    }
    const auto components = static_cast<uint32_t>(decoder.outputComponents());
    std::vector<uint16_t> row(size_t{decoder.outputWidth()} * components);
    while (decoder.outputScanline() < decoder.outputHeight()) {
        const uint32_t line = decoder.outputScanline();
        if (!decoder.readScanline(row.data())) {
            return reportJpeg12Failure(decoder);
        }
        copyRow<uint16_t>(job, row.data(), decoder.outputWidth(), components, line);
    }
    if (!decoder.finishDecompress()) {
        return reportJpeg12Failure(decoder);
    }
    return true;
}

// The index of the next marker's 0xFF at or behind `i`, after the fill bytes 0xFF before
// it; the data's size when no marker byte follows.
size_t nextMarker(const std::vector<uint8_t>& data, size_t i) {
    const size_t size = data.size();
    if (i >= size) {
        return size;
    }
    const void* found = std::memchr(data.data() + i, 0xFF, size - i);
    i = found == nullptr ? size
                         : static_cast<size_t>(static_cast<const uint8_t*>(found) - data.data());
    while (i + 1 < size && data[i + 1] == 0xFF) {
        ++i;
    }
    return i + 1 < size ? i : size;
}

// Where the stream of the block that starts at `from` lies: the FF D8 that opens it and the
// byte behind the FF D9 that closes it; fill bytes 0xFF before a marker are skipped.
// False when the data ends first.
bool findStream(const std::vector<uint8_t>& data, size_t from, size_t& start, size_t& end) {
    size_t i = nextMarker(data, from);
    while (i < data.size() && data[i + 1] != kStartOfImage) {
        i = nextMarker(data, i + 1);
    }
    if (i >= data.size()) {
        return false;
    }
    start = i;
    i = nextMarker(data, i + 2);
    while (i < data.size() && data[i + 1] != JPEG_EOI) {
        i = nextMarker(data, i + 1);
    }
    if (i >= data.size()) {
        return false;
    }
    end = i + 2;
    return true;
}

// The image data as the file holds it: no more than is there, whatever length is claimed.
std::vector<uint8_t> readImageData(nitf_fs::adapter::nitf_fs_adapter_io& file, uint64_t offset,
                                   uint64_t length) {
    std::vector<uint8_t> data;
    if (offset > uint64_t{INT64_MAX} || !file.seek(static_cast<int64_t>(offset), 0)) {
        return data;
    }
    constexpr size_t chunk = size_t{1} << 20;
    while (data.size() < length) {
        const size_t want = static_cast<size_t>(std::min<uint64_t>(chunk, length - data.size()));
        const size_t at = data.size();
        data.resize(at + want);
        const size_t got = file.read(data.data() + at, want);
        data.resize(at + got);
        if (got < want) {
            break;
        }
    }
    return data;
}

}  // namespace detail_c3

NITFTileFactory_C3::NITFTileFactory_C3(const NITFImage* image) : NITFTileFactory(image) {
    const ImageSegmentFields fields = readImageSegmentFields(image);
    compressionRate_ = fields.comrat;
    representation_ = fields.irep;
    file_ = nitf_fs::ext::open(uri_.nativePath(), nitf_fs::ext::io_read_only);
    if (!file_) {
        throw std::runtime_error("Cannot open the file");
    }
    scanBlockTable();
}

NITFTileFactory_C3::~NITFTileFactory_C3() = default;

void NITFTileFactory_C3::scanBlockTable() {
    const uint64_t expected = uint64_t{limit_.x} * limit_.y;
    blockTable_.clear();
    // Each stream takes at least its four marker bytes: no more entries than that.
    blockTable_.reserve(static_cast<size_t>(std::min<uint64_t>(expected, dataLength_ / 4 + 1)));
    std::vector<uint8_t> data = detail_c3::readImageData(*file_, dataOffset_, dataLength_);
    size_t from = 0;
    while (blockTable_.size() < expected) {
        size_t start = 0;
        size_t end = 0;
        if (!detail_c3::findStream(data, from, start, end)) {
            throw std::runtime_error("Cannot parse file - error in image format.");
        }
        blockTable_.push_back({dataOffset_ + start, end - start});
        from = end;
    }
}

std::map<std::string, std::string> NITFTileFactory_C3::getCompressionInfo() const {
    return {{"Type", "JPEG"}};
}

TileGroup NITFTileFactory_C3::createTiles(const tile_id& id) const {
    TileGroup group;
    for (uint32_t band = 0; band < limit_.band; ++band) {
        const tile_id tileId{this, id.x, id.y, band};
        group.emplace_back(tileId, std::make_shared<NITFTile_C3>(tileId, this));
    }
    return group;
}

std::mutex& NITFTileFactory_C3::decodeMutex() {
    static std::mutex mutex;
    return mutex;
}

const std::array<uint16_t, 64>& NITFTileFactory_C3::defaultQuantTable(int digit) {
    return detail_c3::kDefaultQuant.at(static_cast<size_t>(std::clamp(digit, 1, 5) - 1));
}

int NITFTileFactory_C3::quantTableDigit(const std::string& comrat) {
    if (comrat.size() < 4) {
        return 1;
    }
    const char digit = comrat[3];
    return digit >= '1' && digit <= '5' ? digit - '0' : -1;
}

bool NITFTileFactory_C3::loadGroup(TileGroup& group) const {
    std::lock_guard lock(decodeMutex());
    std::vector<detail_c3::BandTarget> targets;
    for (auto& [tileId, tile] : group) {
        uint8_t* buffer = tile->allocateBuffer();
        std::memset(buffer, 0, blockBytes_);  // what no row reaches stays cleared
        targets.push_back({tileId.band, buffer});
    }
    if (group.empty()) {
        return true;
    }
    const tile_id& id = group.front().first;
    const bool blocked = mode_ == mode_S || mode_ == mode_B || mode_ == mode_P;
    const int64_t block = blocked ? int64_t{id.y} * limit_.x + id.x : -1;
    const BlockEntry& entry = blockTable_.at(static_cast<size_t>(block));
    if (entry.offset > uint64_t{INT64_MAX} || !file_->seek(static_cast<int64_t>(entry.offset), 0)) {
        return false;
    }
    const detail_c3::BlockJob job{file_.get(),
                                  entry.offset,
                                  targets.data(),
                                  targets.size(),
                                  blockBytes_,
                                  quantTableDigit(compressionRate_),
                                  representation_.find("YCbCr601") != std::string::npos};
    detail_c3::BlockStreamSource stream(*file_);
    switch (detail_c3::decodeWithLibjpeg(job, stream)) {
        case detail_c3::Outcome::decoded:
            return true;
        case detail_c3::Outcome::failed:
            return false;
        case detail_c3::Outcome::twelveBit:
            break;
    }
    // libjpeg here takes 8-bit samples only: the stream starts again in our 12-bit decoder.
    if (!file_->seek(static_cast<int64_t>(entry.offset), 0)) {
        return false;
    }
    detail_c3::BlockStreamSource again(*file_);
    return detail_c3::decodeWithJpeg12(job, again);
}

std::unique_ptr<TileFactory> makeJpegTileFactory(const NITFImage* image,
                                                 const ImageOptions& /*options*/) {
    const ImageSegmentFields fields = readImageSegmentFields(image);
    if (fields.compression != eCompressionC3 && fields.compression != eCompressionM3) {
        return nullptr;
    }
    return std::make_unique<NITFTileFactory_C3>(image);
}

}  // namespace Tessel
