#include "platform/jpeg12/Jpeg12Decoder.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>
#include <string>

namespace Tessel::jpeg12 {

namespace detail_jpeg12 {

constexpr int kMaxSample = 4095;
constexpr int kCenterSample = 2048;
constexpr int kMaxComponents = 4;
constexpr int kMaxBlocksInMcu = 10;
constexpr uint32_t kMaxDimension = 65500;
constexpr int kLookaheadBits = 9;
// AC codes whose code and magnitude bits together fit in this many bits decode in one step.
constexpr int kFastAcBits = 12;

// The natural position of each coefficient in zig-zag order, with sixteen extra entries so
// that a corrupt run length past the end lands harmlessly on the last coefficient.
constexpr std::array<uint8_t, 80> kNaturalOrder = {
    0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,  12, 19, 26, 33,
    40, 48, 41, 34, 27, 20, 13, 6,  7,  14, 21, 28, 35, 42, 49, 56, 57, 50, 43, 36,
    29, 22, 15, 23, 30, 37, 44, 51, 58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54,
    47, 55, 62, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63, 63};

// A thrown failure: the message of the call that fails.
struct Failure {
    int code;
    std::string message;
};

// A Huffman table ready for decoding: the largest code of each length, the offset from a
// code to its symbol's index, and a lookup of the codes up to kLookaheadBits long.
struct DerivedTable {
    std::array<int32_t, 18> maxcode{};
    std::array<int32_t, 17> valoffset{};
    std::array<uint8_t, 256> values{};
    std::array<uint16_t, 1u << kLookaheadBits> lookup{};  // length << 8 | symbol; 0 none
    // For AC tables: coefficient << 16 | run << 8 | code and magnitude length; 0 none.
    std::array<int32_t, 1u << kFastAcBits> fastAc{};
};

// The small helpers of the decoding loops are inline: the library is position-independent,
// where a function of external linkage may be interposed and so isn't inlined otherwise.
inline int64_t descale(int64_t value, int bits) {
    return (value + (int64_t{1} << (bits - 1))) >> bits;
}

// The sample of an inverse-DCT output: wrapped into the table's range like libjpeg's
// RANGE_MASK index, then clamped around the centre.
inline uint16_t idctLimit(int64_t value) {
    const int wrapped = ((static_cast<int>(value) & 16383) ^ 8192) - 8192;
    return static_cast<uint16_t>(std::clamp(wrapped + kCenterSample, 0, kMaxSample));
}

inline uint16_t clampSample(int value) {
    return static_cast<uint16_t>(std::clamp(value, 0, kMaxSample));
}

// The integer "islow" inverse DCT at 12-bit samples: 13 fraction bits for the constants and
// one extra bit between the passes.
constexpr int kConstBits = 13;
constexpr int kPass1Bits = 1;
constexpr int64_t kFix0298631336 = 2446;
constexpr int64_t kFix0390180644 = 3196;
constexpr int64_t kFix0541196100 = 4433;
constexpr int64_t kFix0765366865 = 6270;
constexpr int64_t kFix0899976223 = 7373;
constexpr int64_t kFix1175875602 = 9633;
constexpr int64_t kFix1501321110 = 12299;
constexpr int64_t kFix1847759065 = 15137;
constexpr int64_t kFix1961570560 = 16069;
constexpr int64_t kFix2053119869 = 16819;
constexpr int64_t kFix2562915447 = 20995;
constexpr int64_t kFix3072711026 = 25172;

// One 1-D pass over eight values at `in` (step `step`); results in `out` (even, odd terms
// before descaling) as the pair of sums each output needs.
struct Butterfly {
    int64_t tmp10, tmp11, tmp12, tmp13, tmp0, tmp1, tmp2, tmp3;
};

inline Butterfly butterfly(const int64_t v[8]) {
    Butterfly b{};
    int64_t z2 = v[2];
    int64_t z3 = v[6];
    int64_t z1 = (z2 + z3) * kFix0541196100;
    const int64_t even2 = z1 + z3 * -kFix1847759065;
    const int64_t even3 = z1 + z2 * kFix0765366865;
    z2 = v[0];
    z3 = v[4];
    const int64_t even0 = (z2 + z3) * (int64_t{1} << kConstBits);
    const int64_t even1 = (z2 - z3) * (int64_t{1} << kConstBits);
    b.tmp10 = even0 + even3;
    b.tmp13 = even0 - even3;
    b.tmp11 = even1 + even2;
    b.tmp12 = even1 - even2;

    int64_t t0 = v[7];
    int64_t t1 = v[5];
    int64_t t2 = v[3];
    int64_t t3 = v[1];
    z1 = t0 + t3;
    z2 = t1 + t2;
    z3 = t0 + t2;
    int64_t z4 = t1 + t3;
    const int64_t z5 = (z3 + z4) * kFix1175875602;
    t0 *= kFix0298631336;
    t1 *= kFix2053119869;
    t2 *= kFix3072711026;
    t3 *= kFix1501321110;
    z1 *= -kFix0899976223;
    z2 *= -kFix2562915447;
    z3 *= -kFix1961570560;
    z4 *= -kFix0390180644;
    z3 += z5;
    z4 += z5;
    b.tmp0 = t0 + z1 + z3;
    b.tmp1 = t1 + z2 + z4;
    b.tmp2 = t2 + z2 + z3;
    b.tmp3 = t3 + z1 + z4;
    return b;
}

inline void inverseDct(const int16_t* coefficients, const uint16_t* quant, uint16_t* out,
                       size_t stride) {
    std::array<int32_t, 64> workspace;  // every entry is written by the column pass
    for (int column = 0; column < 8; ++column) {
        // A column of zero AC terms gives its DC term everywhere (what the full pass gives).
        bool flat = true;
        for (int k = 1; k < 8 && flat; ++k) {
            flat = coefficients[k * 8 + column] == 0;
        }
        if (flat) {
            const auto value = static_cast<int32_t>(int64_t{coefficients[column]} * quant[column] *
                                                    (int64_t{1} << kPass1Bits));
            for (int row = 0; row < 8; ++row) {
                workspace[static_cast<size_t>(row * 8 + column)] = value;
            }
            continue;
        }
        int64_t v[8];
        for (int k = 0; k < 8; ++k) {
            v[k] = int64_t{coefficients[k * 8 + column]} * quant[k * 8 + column];
        }
        const Butterfly b = butterfly(v);
        const int shift = kConstBits - kPass1Bits;
        const auto put = [&](int row, int64_t value) {
            workspace[static_cast<size_t>(row * 8 + column)] =
                static_cast<int32_t>(descale(value, shift));
        };
        put(0, b.tmp10 + b.tmp3);
        put(7, b.tmp10 - b.tmp3);
        put(1, b.tmp11 + b.tmp2);
        put(6, b.tmp11 - b.tmp2);
        put(2, b.tmp12 + b.tmp1);
        put(5, b.tmp12 - b.tmp1);
        put(3, b.tmp13 + b.tmp0);
        put(4, b.tmp13 - b.tmp0);
    }
    for (int row = 0; row < 8; ++row) {
        const int32_t* in = workspace.data() + static_cast<size_t>(row) * 8;
        uint16_t* line = out + static_cast<size_t>(row) * stride;
        if (in[1] == 0 && in[2] == 0 && in[3] == 0 && in[4] == 0 && in[5] == 0 && in[6] == 0 &&
            in[7] == 0) {
            // A flat row: the full pass reduces to this descale of the DC term.
            std::fill(line, line + 8, idctLimit(descale(in[0], kPass1Bits + 3)));
            continue;
        }
        int64_t v[8];
        for (int k = 0; k < 8; ++k) {
            v[k] = in[k];
        }
        const Butterfly b = butterfly(v);
        const int shift = kConstBits + kPass1Bits + 3;
        line[0] = idctLimit(descale(b.tmp10 + b.tmp3, shift));
        line[7] = idctLimit(descale(b.tmp10 - b.tmp3, shift));
        line[1] = idctLimit(descale(b.tmp11 + b.tmp2, shift));
        line[6] = idctLimit(descale(b.tmp11 - b.tmp2, shift));
        line[2] = idctLimit(descale(b.tmp12 + b.tmp1, shift));
        line[5] = idctLimit(descale(b.tmp12 - b.tmp1, shift));
        line[3] = idctLimit(descale(b.tmp13 + b.tmp0, shift));
        line[4] = idctLimit(descale(b.tmp13 - b.tmp0, shift));
    }
}

// A block without AC terms: every column and row of the full transform is flat, and all 64
// samples are the DC term descaled through both passes.
inline void inverseDctOfDcOnly(int16_t dc, uint16_t quant, uint16_t* out, size_t stride) {
    const auto column = static_cast<int32_t>(int64_t{dc} * quant * (int64_t{1} << kPass1Bits));
    const uint16_t sample = idctLimit(descale(column, kPass1Bits + 3));
    for (size_t row = 0; row < 8; ++row) {
        std::fill(out + row * stride, out + row * stride + 8, sample);
    }
}

// The integer YCbCr to RGB tables at 12 bits, 16 fraction bits.
struct ColorTables {
    std::array<int32_t, kMaxSample + 1> crToR{};
    std::array<int32_t, kMaxSample + 1> cbToB{};
    std::array<int32_t, kMaxSample + 1> crToG{};
    std::array<int32_t, kMaxSample + 1> cbToG{};

    ColorTables() {
        const auto fix = [](double x) { return static_cast<int32_t>(x * 65536.0 + 0.5); };
        constexpr int32_t half = 1 << 15;
        for (int i = 0; i <= kMaxSample; ++i) {
            const int32_t x = i - kCenterSample;
            const auto index = static_cast<size_t>(i);
            crToR[index] = (fix(1.40200) * x + half) >> 16;
            cbToB[index] = (fix(1.77200) * x + half) >> 16;
            crToG[index] = -fix(0.71414) * x;
            cbToG[index] = -fix(0.34414) * x + half;
        }
    }
};

const ColorTables& colorTables() {
    static const ColorTables tables;
    return tables;
}

enum class Upsampling : uint8_t { fullSize, fancyH2V1, fancyH2V2, replicate };

}  // namespace detail_jpeg12

using namespace detail_jpeg12;

struct Decompressor::Component {
    int id = 0;
    int h = 1;
    int v = 1;
    int quantTable = 0;
    int dcTable = 0;
    int acTable = 0;
    uint32_t downsampledWidth = 0;
    uint32_t downsampledHeight = 0;
    size_t rowStride = 0;  // samples of a buffered row: whole MCUs across
    size_t rowsPerGroup = 0;
    Upsampling upsampling = Upsampling::fullSize;
    std::vector<uint16_t> rows;  // three row groups, used in turn
    std::vector<uint16_t> upsampled;
};

struct Decompressor::Scan {
    std::vector<size_t> order;  // frame components in scan order
    std::vector<DerivedTable> dc;
    std::vector<DerivedTable> ac;
    std::vector<int32_t> lastDc;
    std::vector<size_t> mcuComponent;            // the component of each block of an MCU
    std::vector<std::pair<int, int>> mcuOffset;  // its block column and row in the MCU
    int maxH = 1;
    int maxV = 1;
    uint32_t mcusPerRow = 0;
    uint32_t groups = 0;  // rows of MCUs
    uint32_t decodedGroups = 0;
    uint32_t restartsToGo = 0;
    int nextRestart = 0;
    bool insufficient = false;
    uint64_t bits = 0;
    int bitsLeft = 0;
    int paddedBits = 0;  // zero bits at the bottom of `bits` that aren't data
    std::vector<int16_t> blocks;
    // Whether each block of the MCU just decoded has an AC term other than zero.
    std::array<bool, kMaxBlocksInMcu> hasAc{};
};

void SourceManager::skipInputData(Decompressor& decoder, size_t count) {
    while (count > bytesInBuffer) {
        count -= bytesInBuffer;
        bytesInBuffer = 0;
        fillInputBuffer(decoder);
    }
    nextInputByte += count;
    bytesInBuffer -= count;
}

Decompressor::Decompressor(SourceManager& source) : source_(source) {}

int Decompressor::numComponents() const {
    return static_cast<int>(components_.size());
}
Decompressor::~Decompressor() = default;

void Decompressor::fail(int code, const std::string& message) {
    throw Failure{code, message};
}

void Decompressor::warn(int code) {
    lastWarning_ = code;
    ++warnings_;
}

template <class Step>
bool Decompressor::guarded(Step&& step) {
    try {
        step();
        return true;
    } catch (const Failure& failure) {
        error_ = failure.message;
    } catch (const std::bad_alloc&) {
        error_ = "Insufficient memory";
    }
    return false;
}

inline uint8_t Decompressor::readByte() {
    if (source_.bytesInBuffer == 0) {
        source_.fillInputBuffer(*this);
        if (source_.bytesInBuffer == 0 || source_.nextInputByte == nullptr) {
            fail(0, "Source manager gave no data");
        }
    }
    --source_.bytesInBuffer;
    return *source_.nextInputByte++;
}

uint16_t Decompressor::readWord() {
    const uint16_t high = readByte();
    return static_cast<uint16_t>(high << 8 | readByte());
}

int Decompressor::firstMarker() {
    const int c = readByte();
    const int c2 = readByte();
    if (c != 0xFF || c2 != 0xD8) {
        fail(55,
             "Not a JPEG file: starts with 0x" + std::to_string(c) + " 0x" + std::to_string(c2));
    }
    return c2;
}

int Decompressor::nextMarker() {
    for (;;) {
        int c = readByte();
        while (c != 0xFF) {
            c = readByte();
        }
        do {
            c = readByte();
        } while (c == 0xFF);
        if (c != 0) {
            return c;
        }
    }
}

void Decompressor::skipVariable() {
    const uint16_t length = readWord();
    if (length < 2) {
        fail(11, "Bogus marker length");
    }
    source_.skipInputData(*this, length - 2u);
}

bool Decompressor::readHeader(bool requireImage) {
    return guarded([&] {
        if (sawScan_) {
            fail(21, "Improper call to JPEG library in state");
        }
        source_.initSource(*this);
        firstMarker();
        for (;;) {
            const int marker = unreadMarker_ != 0 ? unreadMarker_ : nextMarker();
            unreadMarker_ = 0;
            switch (marker) {
                case 0xD8:
                    fail(63, "Invalid JPEG file structure: two SOI markers");
                case 0xC0:
                case 0xC1:
                    readFrame();
                    break;
                case 0xC2:
                case 0xC3:
                case 0xC5:
                case 0xC6:
                case 0xC7:
                case 0xC9:
                case 0xCA:
                case 0xCB:
                case 0xCD:
                case 0xCE:
                case 0xCF:
                    fail(62, "Unsupported JPEG process: SOF type 0x" + std::to_string(marker));
                case 0xDA:
                    readScanHeader();
                    guessColorSpace();
                    return;
                case 0xD9:
                    if (requireImage) {
                        fail(51, "JPEG datastream contains no image");
                    }
                    return;
                case 0xC4:
                    readHuffmanTables();
                    break;
                case 0xDB:
                    readQuantTables();
                    break;
                case 0xDD:
                    readRestartInterval();
                    break;
                case 0xE0:
                case 0xEE:
                    readApp(marker);
                    break;
                case 0xD0:
                case 0xD1:
                case 0xD2:
                case 0xD3:
                case 0xD4:
                case 0xD5:
                case 0xD6:
                case 0xD7:
                case 0x01:
                    break;
                default:
                    if ((marker >= 0xE1 && marker <= 0xEF) || marker == 0xFE || marker == 0xCC ||
                        marker == 0xDC) {
                        skipVariable();
                        break;
                    }
                    fail(68, "Unsupported marker type 0x" + std::to_string(marker));
            }
        }
    });
}

void Decompressor::readApp(int marker) {
    int length = readWord() - 2;
    if (length < 0) {
        fail(11, "Bogus marker length");
    }
    std::array<uint8_t, 14> head{};
    const int kept = std::min(length, 14);
    for (int i = 0; i < kept; ++i) {
        head[static_cast<size_t>(i)] = readByte();
    }
    length -= kept;
    if (marker == 0xE0 && kept >= 5 && std::memcmp(head.data(), "JFIF", 5) == 0) {
        sawJfif_ = true;
    }
    if (marker == 0xEE && kept >= 12 && std::memcmp(head.data(), "Adobe", 5) == 0) {
        sawAdobe_ = true;
        adobeTransform_ = head[11];
    }
    if (length > 0) {
        source_.skipInputData(*this, static_cast<size_t>(length));
    }
}

void Decompressor::readQuantTables() {
    int length = readWord() - 2;
    while (length > 0) {
        const int index = readByte();
        const bool wide = (index >> 4) != 0;
        const int slot = index & 0x0F;
        if (slot >= 4) {
            fail(32, "Bogus DQT index " + std::to_string(slot));
        }
        for (size_t k = 0; k < 64; ++k) {
            quant_[static_cast<size_t>(slot)][kNaturalOrder[k]] = wide ? readWord() : readByte();
        }
        quantDefined_[static_cast<size_t>(slot)] = true;
        length -= 1 + (wide ? 128 : 64);
    }
    if (length != 0) {
        fail(11, "Bogus marker length");
    }
}

void Decompressor::readHuffmanTables() {
    int length = readWord() - 2;
    while (length > 16) {
        const int index = readByte();
        HuffmanTable table;
        int count = 0;
        for (size_t l = 1; l <= 16; ++l) {
            table.bits[l] = readByte();
            count += table.bits[l];
        }
        length -= 17;
        if (count > 256 || count > length) {
            fail(9, "Bogus Huffman table definition");
        }
        for (int i = 0; i < count; ++i) {
            table.values[static_cast<size_t>(i)] = readByte();
        }
        length -= count;
        const int slot = index & 0x0F;
        if ((index & ~0x1F) != 0 || slot >= 4) {
            fail(31, "Bogus DHT index " + std::to_string(index));
        }
        if ((index & 0x10) != 0) {
            setAcHuffmanTable(slot, table);
        } else {
            setDcHuffmanTable(slot, table);
        }
    }
    if (length != 0) {
        fail(11, "Bogus marker length");
    }
}

void Decompressor::readRestartInterval() {
    if (readWord() != 4) {
        fail(11, "Bogus marker length");
    }
    restartInterval_ = readWord();
}

void Decompressor::readFrame() {
    if (sawFrame_) {
        fail(60, "Invalid JPEG file structure: two SOF markers");
    }
    const int length = readWord();
    precision_ = readByte();
    height_ = readWord();
    width_ = readWord();
    const int count = readByte();
    if (length != 8 + count * 3) {
        fail(11, "Bogus marker length");
    }
    if (width_ == 0 || height_ == 0 || count == 0) {
        fail(33, "Empty JPEG image (DNL not supported)");
    }
    if (count > kMaxComponents) {
        fail(27, "Too many color components: " + std::to_string(count) + ", max " +
                     std::to_string(kMaxComponents));
    }
    if (width_ > kMaxDimension || height_ > kMaxDimension) {
        fail(42, "Maximum supported image dimension is 65500 pixels");
    }
    components_.assign(static_cast<size_t>(count), Component{});
    for (Component& component : components_) {
        component.id = readByte();
        const int sampling = readByte();
        component.h = sampling >> 4;
        component.v = sampling & 0x0F;
        component.quantTable = readByte();
        if (component.h < 1 || component.h > 4 || component.v < 1 || component.v > 4) {
            fail(19, "Bogus sampling factors");
        }
        if (component.quantTable > 3) {
            fail(32, "Bogus DQT index " + std::to_string(component.quantTable));
        }
    }
    sawFrame_ = true;
}

void Decompressor::readScanHeader() {
    if (!sawFrame_) {
        fail(64, "Invalid JPEG file structure: SOS before SOF");
    }
    if (precision_ != 12) {
        fail(16, "Unsupported JPEG data precision " + std::to_string(precision_));
    }
    const int length = readWord();
    const int count = readByte();
    if (length != 6 + count * 2 || count < 1 || count > numComponents()) {
        fail(11, "Bogus marker length");
    }
    scan_ = std::make_unique<Scan>();
    for (int i = 0; i < count; ++i) {
        const int id = readByte();
        const int tables = readByte();
        const auto found = std::find_if(components_.begin(), components_.end(),
                                        [&](const Component& c) { return c.id == id; });
        if (found == components_.end()) {
            fail(29, "Invalid component ID " + std::to_string(id) + " in SOS");
        }
        const auto index = static_cast<size_t>(found - components_.begin());
        if (std::find(scan_->order.begin(), scan_->order.end(), index) != scan_->order.end()) {
            fail(29, "Invalid component ID " + std::to_string(id) + " in SOS");
        }
        found->dcTable = tables >> 4;
        found->acTable = tables & 0x0F;
        scan_->order.push_back(index);
    }
    const int ss = readByte();
    const int se = readByte();
    const int approximation = readByte();
    if (ss != 0 || se != 63 || approximation != 0) {
        warn(125);  // not a sequential scan's parameters; decoded as one
    }
    sawScan_ = true;
}

void Decompressor::guessColorSpace() {
    if (numComponents() == 1) {
        jpegColorSpace = ColorSpace::grayscale;
    } else if (numComponents() == 3) {
        jpegColorSpace = ColorSpace::ycbcr;
        if (!sawJfif_ && sawAdobe_) {
            jpegColorSpace = adobeTransform_ == 0 ? ColorSpace::rgb : ColorSpace::ycbcr;
        } else if (!sawJfif_ && components_[0].id == 'R' && components_[1].id == 'G' &&
                   components_[2].id == 'B') {
            jpegColorSpace = ColorSpace::rgb;
        }
    } else {
        jpegColorSpace = ColorSpace::unknown;
    }
    outColorSpace = jpegColorSpace == ColorSpace::ycbcr ? ColorSpace::rgb : jpegColorSpace;
}

bool Decompressor::hasQuantTable(int slot) const {
    return slot >= 0 && slot < 4 && quantDefined_[static_cast<size_t>(slot)];
}
bool Decompressor::hasDcHuffmanTable(int slot) const {
    return slot >= 0 && slot < 4 && dcDefined_[static_cast<size_t>(slot)];
}
bool Decompressor::hasAcHuffmanTable(int slot) const {
    return slot >= 0 && slot < 4 && acDefined_[static_cast<size_t>(slot)];
}
void Decompressor::setQuantTable(int slot, const std::array<uint16_t, 64>& steps) {
    if (slot >= 0 && slot < 4) {
        quant_[static_cast<size_t>(slot)] = steps;
        quantDefined_[static_cast<size_t>(slot)] = true;
    }
}
void Decompressor::setDcHuffmanTable(int slot, const HuffmanTable& table) {
    if (slot >= 0 && slot < 4) {
        dcTables_[static_cast<size_t>(slot)] = table;
        dcDefined_[static_cast<size_t>(slot)] = true;
    }
}
void Decompressor::setAcHuffmanTable(int slot, const HuffmanTable& table) {
    if (slot >= 0 && slot < 4) {
        acTables_[static_cast<size_t>(slot)] = table;
        acDefined_[static_cast<size_t>(slot)] = true;
    }
}

namespace detail_jpeg12 {

// Canonical codes from the counts, checked: no more than 256 codes, no length overfull,
// DC symbols no larger than 15.
inline int32_t extend(int32_t value, int bits) {
    return value < (int32_t{1} << (bits - 1)) ? value - (int32_t{1} << bits) + 1 : value;
}

// Every window of kFastAcBits that starts with this code and holds its whole magnitude
// gets the decoded coefficient, its run and the bits both take.
void addFastAcEntries(DerivedTable& derived, uint32_t code, int length, uint8_t symbol) {
    const int run = symbol >> 4;
    const int size = symbol & 15;
    const int total = length + size;
    if (size == 0 || total > kFastAcBits) {
        return;  // end of block, sixteen zeros or too long: decoded step by step
    }
    const int spare = kFastAcBits - length;
    const uint32_t first = code << spare;
    for (uint32_t k = 0; k < (uint32_t{1} << spare); ++k) {
        const auto magnitude = static_cast<int32_t>(k >> (spare - size));
        const int32_t value = extend(magnitude, size);
        derived.fastAc[first + k] =
            static_cast<int32_t>(static_cast<uint32_t>(value) << 16 |
                                 static_cast<uint32_t>(run) << 8 | static_cast<uint32_t>(total));
    }
}

DerivedTable deriveTable(const HuffmanTable& table, bool dc, Decompressor& decoder, int slot) {
    DerivedTable derived;
    const auto bad = [&] {
        decoder.fail(9, "Huffman table 0x" + std::to_string(slot) + " was not defined");
    };
    std::array<uint32_t, 257> codes{};
    std::array<uint8_t, 257> sizes{};
    size_t count = 0;
    for (size_t l = 1; l <= 16; ++l) {
        if (count + table.bits[l] > 256) {
            bad();
        }
        for (int i = 0; i < table.bits[l]; ++i) {
            sizes[count++] = static_cast<uint8_t>(l);
        }
    }
    uint32_t code = 0;
    size_t p = 0;
    for (uint32_t length = 1; length <= 16; ++length) {
        while (p < count && sizes[p] == length) {
            codes[p++] = code++;
        }
        if (code >= (uint32_t{1} << length)) {
            bad();
        }
        code <<= 1;
    }
    p = 0;
    for (size_t l = 1; l <= 16; ++l) {
        if (table.bits[l] != 0) {
            derived.valoffset[l] = static_cast<int32_t>(p) - static_cast<int32_t>(codes[p]);
            p += table.bits[l];
            derived.maxcode[l] = static_cast<int32_t>(codes[p - 1]);
        } else {
            derived.maxcode[l] = -1;
        }
    }
    derived.maxcode[17] = 0xFFFFF;
    for (size_t i = 0; i < count; ++i) {
        const int length = sizes[i];
        if (length <= kLookaheadBits) {
            const int spare = kLookaheadBits - length;
            const uint32_t first = codes[i] << spare;
            for (uint32_t k = 0; k < (uint32_t{1} << spare); ++k) {
                derived.lookup[first + k] = static_cast<uint16_t>(length << 8 | table.values[i]);
            }
        }
        if (dc && table.values[i] > 15) {
            bad();
        }
        if (!dc) {
            addFastAcEntries(derived, codes[i], length, table.values[i]);
        }
    }
    derived.values = table.values;
    return derived;
}

}  // namespace detail_jpeg12

bool Decompressor::startDecompress() {
    return guarded([&] {
        if (!sawScan_ || started_) {
            fail(21, "Improper call to JPEG library in state");
        }
        Scan& scan = *scan_;
        const bool threeColor =
            jpegColorSpace == ColorSpace::rgb || jpegColorSpace == ColorSpace::ycbcr;
        const bool gray = jpegColorSpace == ColorSpace::grayscale &&
                          outColorSpace == ColorSpace::grayscale && numComponents() == 1;
        const bool color = threeColor && outColorSpace == ColorSpace::rgb && numComponents() == 3;
        if (!gray && !color) {
            fail(28, "Unsupported color conversion request");
        }
        if (components_.size() > 1 && scan.order.size() != components_.size()) {
            fail(62, "Unsupported JPEG process: multiple scans");
        }
        if (components_.size() == 1) {
            components_[0].h = components_[0].v = 1;  // one component: one block per MCU
        }
        for (const Component& c : components_) {
            scan.maxH = std::max(scan.maxH, c.h);
            scan.maxV = std::max(scan.maxV, c.v);
        }
        const uint32_t mcuWidth = 8u * static_cast<uint32_t>(scan.maxH);
        const uint32_t mcuHeight = 8u * static_cast<uint32_t>(scan.maxV);
        scan.mcusPerRow = (width_ + mcuWidth - 1) / mcuWidth;
        scan.groups = (height_ + mcuHeight - 1) / mcuHeight;
        for (size_t index : scan.order) {
            Component& c = components_[index];
            for (int by = 0; by < c.v; ++by) {
                for (int bx = 0; bx < c.h; ++bx) {
                    scan.mcuComponent.push_back(index);
                    scan.mcuOffset.emplace_back(bx, by);
                }
            }
            if (scan.mcuComponent.size() > kMaxBlocksInMcu) {
                fail(13, "Sampling factors too large for interleaved scan");
            }
            if (!hasQuantTable(c.quantTable)) {
                fail(52,
                     "Quantization table 0x" + std::to_string(c.quantTable) + " was not defined");
            }
            if (!hasDcHuffmanTable(c.dcTable) || !hasAcHuffmanTable(c.acTable)) {
                fail(50, "Huffman table 0x" + std::to_string(c.dcTable) + " was not defined");
            }
            scan.dc.push_back(
                deriveTable(dcTables_[static_cast<size_t>(c.dcTable)], true, *this, c.dcTable));
            scan.ac.push_back(
                deriveTable(acTables_[static_cast<size_t>(c.acTable)], false, *this, c.acTable));
        }
        for (Component& c : components_) {
            const auto h = static_cast<uint64_t>(c.h);
            const auto v = static_cast<uint64_t>(c.v);
            const auto maxH = static_cast<uint64_t>(scan.maxH);
            const auto maxV = static_cast<uint64_t>(scan.maxV);
            c.downsampledWidth = static_cast<uint32_t>((width_ * h + maxH - 1) / maxH);
            c.downsampledHeight = static_cast<uint32_t>((height_ * v + maxV - 1) / maxV);
            const bool wide = c.downsampledWidth > 2;
            if (c.h == scan.maxH && c.v == scan.maxV) {
                c.upsampling = Upsampling::fullSize;
            } else if (c.h * 2 == scan.maxH && c.v == scan.maxV && wide) {
                c.upsampling = Upsampling::fancyH2V1;
            } else if (c.h * 2 == scan.maxH && c.v * 2 == scan.maxV && wide) {
                c.upsampling = Upsampling::fancyH2V2;
            } else if (scan.maxH % c.h == 0 && scan.maxV % c.v == 0) {
                c.upsampling = Upsampling::replicate;
            } else {
                fail(26, "Fractional sampling not implemented yet");
            }
            c.rowStride = size_t{scan.mcusPerRow} * h * 8;
            c.rowsPerGroup = v * 8;
            c.rows.assign(3 * c.rowsPerGroup * c.rowStride, 0);
            c.upsampled.assign(2 * c.rowStride + 16, 0);
        }
        scan.lastDc.assign(scan.order.size(), 0);
        scan.blocks.assign(scan.mcuComponent.size() * 64, 0);
        scan.restartsToGo = restartInterval_;
        started_ = true;
    });
}

void Decompressor::processRestart() {
    Scan& scan = *scan_;
    scan.bitsLeft = 0;
    scan.paddedBits = 0;
    if (unreadMarker_ == 0) {
        unreadMarker_ = nextMarker();
    }
    if (unreadMarker_ == 0xD0 + scan.nextRestart) {
        unreadMarker_ = 0;
    } else {
        warn(121);
        resyncToRestart();
    }
    scan.nextRestart = (scan.nextRestart + 1) & 7;
    std::fill(scan.lastDc.begin(), scan.lastDc.end(), 0);
    scan.restartsToGo = restartInterval_;
    if (unreadMarker_ == 0) {
        scan.insufficient = false;
    }
}

// Decides about a marker found where a restart marker was due: drops the expected one or
// a far one, skips on past earlier ones, and leaves others (or the next two) for later.
bool Decompressor::resyncToRestart() {
    const int desired = scan_->nextRestart;
    for (;;) {
        const int marker = unreadMarker_;
        int action = 1;
        if (marker < 0xC0) {
            action = 2;
        } else if (marker < 0xD0 || marker > 0xD7) {
            action = 3;
        } else if (marker == 0xD0 + ((desired + 1) & 7) || marker == 0xD0 + ((desired + 2) & 7)) {
            action = 3;
        } else if (marker == 0xD0 + ((desired - 1) & 7) || marker == 0xD0 + ((desired - 2) & 7)) {
            action = 2;
        }
        if (action == 1) {
            unreadMarker_ = 0;
            return true;
        }
        if (action == 3) {
            return true;
        }
        unreadMarker_ = nextMarker();
    }
}

namespace detail_jpeg12 {

// The bit reader over the entropy-coded bytes: stuffed zeros removed, a marker ends the
// data and zero bits follow, noted as padding so that using them can be told.
template <class NextByte>
struct BitReader {
    // The scan's bit state is kept here while an MCU decodes, and handed back by save().
    BitReader(Decompressor::Scan& s, int& marker, SourceManager& input, NextByte nextByte)
        : scan(s),
          unreadMarker(marker),
          source(input),
          next(nextByte),
          bits(s.bits),
          bitsLeft(s.bitsLeft),
          paddedBits(s.paddedBits),
          insufficient(s.insufficient) {}

    void save() {
        scan.bits = bits;
        scan.bitsLeft = bitsLeft;
        scan.paddedBits = paddedBits;
        scan.insufficient = insufficient;
    }

    Decompressor::Scan& scan;
    int& unreadMarker;
    SourceManager& source;
    NextByte next;
    uint64_t bits;
    int bitsLeft;
    int paddedBits;
    bool insufficient;

    // Takes the bytes the loop below would take in one step when the next eight bytes of the
    // buffer hold no 0xFF (no stuffing, no marker): the common case of entropy-coded data.
    void fillWithoutStuffing() {
        if (source.bytesInBuffer < 8 || unreadMarker != 0 || bitsLeft > 48) {
            return;
        }
        uint64_t word = 0;
        std::memcpy(&word, source.nextInputByte, sizeof word);
        const uint64_t inverted = ~word;  // a 0xFF byte is a zero byte here
        if (((inverted - 0x0101010101010101ull) & ~inverted & 0x8080808080808080ull) != 0) {
            return;
        }
        if constexpr (std::endian::native == std::endian::little) {
            word = __builtin_bswap64(word);
        }
        const int take = (56 - bitsLeft) / 8;
        bits = bits << (8 * take) | word >> (64 - 8 * take);
        bitsLeft += 8 * take;
        source.nextInputByte += take;
        source.bytesInBuffer -= static_cast<size_t>(take);
    }

    void fill(int needed) {
        if (bitsLeft >= needed) {
            return;
        }
        fillWithoutStuffing();
        while (bitsLeft <= 48 && unreadMarker == 0) {
            int c = next();
            if (c == 0xFF) {
                do {
                    c = next();
                } while (c == 0xFF);
                if (c != 0) {
                    unreadMarker = c;
                    break;
                }
                c = 0xFF;
            }
            bits = bits << 8 | static_cast<uint64_t>(c);
            bitsLeft += 8;
        }
        while (bitsLeft < needed) {
            bits <<= 8;
            bitsLeft += 8;
            paddedBits += 8;
        }
    }

    void consume(int count, Decompressor& decoder) {
        if (paddedBits == 0) {
            bitsLeft -= count;  // fill() gave at least `count` bits of real data
            return;
        }
        const int real = bitsLeft - paddedBits;
        bitsLeft -= count;
        if (count > real && !insufficient) {
            insufficient = true;
            decoder.warn(122);
        }
        paddedBits = std::min(paddedBits, bitsLeft);
    }

    uint32_t peek(int count) const {
        return static_cast<uint32_t>(bits >> (bitsLeft - count)) & ((uint32_t{1} << count) - 1);
    }

    int32_t get(int count, Decompressor& decoder) {
        if (count == 0) {
            return 0;
        }
        fill(count);
        const auto value = static_cast<int32_t>(peek(count));
        consume(count, decoder);
        return value;
    }

    int decode(const DerivedTable& table, Decompressor& decoder) {
        fill(16);
        const uint32_t window = peek(16);
        const uint16_t entry = table.lookup[window >> (16 - kLookaheadBits)];
        if (entry != 0) {
            consume(entry >> 8, decoder);
            return entry & 0xFF;
        }
        int length = kLookaheadBits + 1;
        auto code = static_cast<int32_t>(window >> (16 - length));
        while (length <= 16 && code > table.maxcode[static_cast<size_t>(length)]) {
            ++length;
            code = length <= 16 ? static_cast<int32_t>(window >> (16 - length)) : code;
        }
        if (length > 16) {
            decoder.warn(118);  // corrupt data: a code that no table has
            consume(16, decoder);
            return 0;
        }
        consume(length, decoder);
        const int32_t index = code + table.valoffset[static_cast<size_t>(length)];
        return index >= 0 && index < 256 ? table.values[static_cast<size_t>(index)] : 0;
    }
};

}  // namespace detail_jpeg12

void Decompressor::decodeMcu(int16_t* blocks) {
    Scan& scan = *scan_;
    if (restartInterval_ != 0) {
        if (scan.restartsToGo == 0) {
            processRestart();
        }
        --scan.restartsToGo;
    }
    std::fill(blocks, blocks + scan.mcuComponent.size() * 64, int16_t{0});
    scan.hasAc.fill(false);
    if (scan.insufficient) {
        return;  // out of data: the rest of the segment stays zero
    }
    const auto next = [this] { return readByte(); };
    BitReader<decltype(next)> reader(scan, unreadMarker_, source_, next);
    size_t block = 0;
    for (size_t s = 0; s < scan.order.size(); ++s) {
        const Component& c = components_[scan.order[s]];
        const auto count = static_cast<size_t>(c.h * c.v);
        for (size_t b = 0; b < count; ++b, ++block) {
            int16_t* out = blocks + block * 64;
            int size = reader.decode(scan.dc[s], *this);
            int32_t diff = size != 0 ? extend(reader.get(size, *this), size) : 0;
            const auto dc = static_cast<int32_t>(static_cast<uint32_t>(scan.lastDc[s]) +
                                                 static_cast<uint32_t>(diff));
            scan.lastDc[s] = dc;
            out[0] = static_cast<int16_t>(dc);
            const DerivedTable& ac = scan.ac[s];
            bool anyAc = false;
            for (size_t k = 1; k < 64; ++k) {
                reader.fill(16);
                const int32_t fast = ac.fastAc[reader.peek(16) >> (16 - kFastAcBits)];
                if (fast != 0) {
                    reader.consume(fast & 31, *this);
                    k += static_cast<size_t>((fast >> 8) & 15);
                    out[kNaturalOrder[k]] = static_cast<int16_t>(fast >> 16);
                    anyAc = true;
                    continue;
                }
                const int symbol = reader.decode(ac, *this);
                const int run = symbol >> 4;
                size = symbol & 15;
                if (size != 0) {
                    k += static_cast<size_t>(run);
                    diff = extend(reader.get(size, *this), size);
                    out[kNaturalOrder[k]] = static_cast<int16_t>(diff);
                    anyAc = true;
                } else {
                    if (run != 15) {
                        break;
                    }
                    k += 15;
                }
            }
            scan.hasAc[block] = anyAc;
        }
    }
    reader.save();
}

void Decompressor::decodeRowGroup() {
    Scan& scan = *scan_;
    const uint32_t group = scan.decodedGroups;
    const size_t slot = group % 3;
    for (uint32_t mcu = 0; mcu < scan.mcusPerRow; ++mcu) {
        decodeMcu(scan.blocks.data());
        for (size_t block = 0; block < scan.mcuComponent.size(); ++block) {
            Component& c = components_[scan.mcuComponent[block]];
            const auto [bx, by] = scan.mcuOffset[block];
            const size_t x = (size_t{mcu} * static_cast<size_t>(c.h) + static_cast<size_t>(bx)) * 8;
            const size_t y = slot * c.rowsPerGroup + static_cast<size_t>(by) * 8;
            const int16_t* coefficients = scan.blocks.data() + block * 64;
            const uint16_t* quant = quant_[static_cast<size_t>(c.quantTable)].data();
            uint16_t* out = c.rows.data() + y * c.rowStride + x;
            if (scan.hasAc[block]) {
                inverseDct(coefficients, quant, out, c.rowStride);
            } else {
                inverseDctOfDcOnly(coefficients[0], quant[0], out, c.rowStride);
            }
        }
    }
    ++scan.decodedGroups;
}

const uint16_t* Decompressor::componentRow(size_t component, int64_t row) {
    Component& c = components_[component];
    row = std::clamp<int64_t>(row, 0, int64_t{c.downsampledHeight} - 1);
    const auto group = static_cast<uint32_t>(static_cast<size_t>(row) / c.rowsPerGroup);
    while (scan_->decodedGroups <= group && scan_->decodedGroups < scan_->groups) {
        decodeRowGroup();
    }
    if (group >= scan_->decodedGroups || group + 3 < scan_->decodedGroups) {
        fail(21, "Improper call to JPEG library in state");
    }
    const size_t inGroup = static_cast<size_t>(row) % c.rowsPerGroup;
    return c.rows.data() + ((group % 3) * c.rowsPerGroup + inGroup) * c.rowStride;
}

void Decompressor::upsampleRow(size_t component, uint32_t outputRow, uint16_t* out) {
    Component& c = components_[component];
    const int maxV = scan_->maxV;
    const int maxH = scan_->maxH;
    const uint32_t dw = c.downsampledWidth;
    switch (c.upsampling) {
        case Upsampling::fullSize: {
            const uint16_t* in = componentRow(component, outputRow);
            std::copy(in, in + width_, out);
            break;
        }
        case Upsampling::fancyH2V1: {
            const uint16_t* in = componentRow(component, outputRow);
            out[0] = in[0];
            out[1] = static_cast<uint16_t>((in[0] * 3 + in[1] + 2) >> 2);
            for (uint32_t i = 1; i + 1 < dw; ++i) {
                const int value = in[i] * 3;
                out[2 * i] = static_cast<uint16_t>((value + in[i - 1] + 1) >> 2);
                out[2 * i + 1] = static_cast<uint16_t>((value + in[i + 1] + 2) >> 2);
            }
            out[2 * dw - 2] = static_cast<uint16_t>((in[dw - 1] * 3 + in[dw - 2] + 1) >> 2);
            out[2 * dw - 1] = in[dw - 1];
            break;
        }
        case Upsampling::fancyH2V2: {
            const int64_t row = outputRow / 2;
            const uint16_t* in0 = componentRow(component, row);
            const uint16_t* in1 = componentRow(component, outputRow % 2 == 0 ? row - 1 : row + 1);
            int thisSum = in0[0] * 3 + in1[0];
            int nextSum = in0[1] * 3 + in1[1];
            out[0] = static_cast<uint16_t>((thisSum * 4 + 8) >> 4);
            out[1] = static_cast<uint16_t>((thisSum * 3 + nextSum + 7) >> 4);
            int lastSum = thisSum;
            thisSum = nextSum;
            for (uint32_t i = 2; i < dw; ++i) {
                nextSum = in0[i] * 3 + in1[i];
                out[2 * i - 2] = static_cast<uint16_t>((thisSum * 3 + lastSum + 8) >> 4);
                out[2 * i - 1] = static_cast<uint16_t>((thisSum * 3 + nextSum + 7) >> 4);
                lastSum = thisSum;
                thisSum = nextSum;
            }
            out[2 * dw - 2] = static_cast<uint16_t>((thisSum * 3 + lastSum + 8) >> 4);
            out[2 * dw - 1] = static_cast<uint16_t>((thisSum * 4 + 7) >> 4);
            break;
        }
        case Upsampling::replicate: {
            const int hExpand = maxH / c.h;
            const int vExpand = maxV / c.v;
            const uint16_t* in =
                componentRow(component, outputRow / static_cast<uint32_t>(vExpand));
            for (uint32_t x = 0; x < width_; ++x) {
                out[x] = in[x / static_cast<uint32_t>(hExpand)];
            }
            break;
        }
    }
}

bool Decompressor::readScanline(uint16_t* row) {
    return guarded([&] {
        if (!started_ || outputScanline_ >= height_) {
            fail(21, "Improper call to JPEG library in state");
        }
        const size_t count = components_.size();
        for (size_t c = 0; c < count; ++c) {
            upsampleRow(c, outputScanline_, components_[c].upsampled.data());
        }
        if (count == 1) {
            std::copy_n(components_[0].upsampled.data(), width_, row);
        } else if (jpegColorSpace == ColorSpace::ycbcr) {
            const ColorTables& t = colorTables();
            const uint16_t* y = components_[0].upsampled.data();
            const uint16_t* cb = components_[1].upsampled.data();
            const uint16_t* cr = components_[2].upsampled.data();
            for (uint32_t x = 0; x < width_; ++x) {
                const int luma = y[x];
                row[3 * x] = clampSample(luma + t.crToR[cr[x]]);
                row[3 * x + 1] = clampSample(luma + ((t.cbToG[cb[x]] + t.crToG[cr[x]]) >> 16));
                row[3 * x + 2] = clampSample(luma + t.cbToB[cb[x]]);
            }
        } else {
            for (uint32_t x = 0; x < width_; ++x) {
                for (size_t c = 0; c < count; ++c) {
                    row[x * count + c] = components_[c].upsampled[x];
                }
            }
        }
        ++outputScanline_;
    });
}

bool Decompressor::finishDecompress() {
    return guarded([&] {
        if (!started_ || outputScanline_ < height_) {
            fail(21, "Improper call to JPEG library in state");
        }
        for (;;) {
            const int marker = unreadMarker_ != 0 ? unreadMarker_ : nextMarker();
            unreadMarker_ = 0;
            if (marker == 0xD9) {
                break;
            }
            const bool bare = (marker >= 0xD0 && marker <= 0xD8) || marker == 0x01;
            if (!bare) {
                skipVariable();
            }
        }
        source_.termSource(*this);
    });
}

}  // namespace Tessel::jpeg12
