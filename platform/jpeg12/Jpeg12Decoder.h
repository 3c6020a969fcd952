#pragma once

#include "tessel/core/Visibility.h"
TESSEL_INTERNAL_BEGIN
// A decoder of sequential-DCT JPEG streams with 12-bit samples (SOF0/SOF1, Huffman coded,
// restart intervals, one to four components with any sampling factors in one interleaved
// scan). Its arithmetic is that of the integer "islow" inverse DCT, fancy upsampling of
// h2v1 and h2v2 components and the integer YCbCr to RGB tables of the classic libjpeg built
// with 12-bit samples, so that its samples equal that library's, bit for bit.
//
// The calls follow the shape of a libjpeg decompression: read the header, inspect or inject
// tables, choose the colour spaces, start, read scanlines, finish. No call throws: a failed
// call returns false and leaves its message in errorMessage(). Every allocation is bounded by
// the frame header's checked dimensions.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Tessel::jpeg12 {

class Decompressor;

// Message codes of the events a source reports (the numbers of libjpeg's own codes).
enum MessageCode : int {
    kInputEmpty = 42,  // no data at all at the start of the stream: an error
    kJpegEof = 120,    // the data ended before the stream's end: a warning, fake EOI follows
};

// Where compressed bytes come from, as libjpeg's source manager: a window of bytes that
// fillInputBuffer replaces when it is used up.
class SourceManager {
public:
    virtual ~SourceManager() = default;
    const uint8_t* nextInputByte = nullptr;
    size_t bytesInBuffer = 0;

    virtual void initSource(Decompressor& /*decoder*/) {}
    // Refills the window; never leaves it empty. May call decoder.fail or decoder.warn.
    virtual void fillInputBuffer(Decompressor& decoder) = 0;
    // Skips `count` bytes, refilling as needed.
    virtual void skipInputData(Decompressor& decoder, size_t count);
    virtual void termSource(Decompressor& /*decoder*/) {}
};

// The colour spaces of a stream and of the output.
enum class ColorSpace : uint8_t { unknown, grayscale, rgb, ycbcr };

// A Huffman table as a DHT segment gives it: counts of codes of each length 1 to 16
// (bits[0] unused) and the symbols in code order.
struct HuffmanTable {
    std::array<uint8_t, 17> bits{};
    std::array<uint8_t, 256> values{};
};

class Decompressor {
public:
    explicit Decompressor(SourceManager& source);
    ~Decompressor();
    Decompressor(const Decompressor&) = delete;
    Decompressor& operator=(const Decompressor&) = delete;

    // Reads markers up to the first SOS. With `requireImage`, a stream that ends first fails.
    bool readHeader(bool requireImage);

    int dataPrecision() const { return precision_; }
    uint32_t imageWidth() const { return width_; }
    uint32_t imageHeight() const { return height_; }
    int numComponents() const;
    uint32_t restartInterval() const { return restartInterval_; }

    bool hasQuantTable(int slot) const;
    bool hasDcHuffmanTable(int slot) const;
    bool hasAcHuffmanTable(int slot) const;
    // Quantisation steps in natural (row-major) order.
    void setQuantTable(int slot, const std::array<uint16_t, 64>& steps);
    void setDcHuffmanTable(int slot, const HuffmanTable& table);
    void setAcHuffmanTable(int slot, const HuffmanTable& table);

    // The guess from the header (like libjpeg's: grey, JFIF/Adobe/component ids), and the
    // pair that decoding uses; both may be set before startDecompress.
    ColorSpace jpegColorSpace = ColorSpace::unknown;
    ColorSpace outColorSpace = ColorSpace::unknown;

    // Checks the tables and the colour conversion and prepares the buffers.
    bool startDecompress();
    uint32_t outputWidth() const { return width_; }
    uint32_t outputHeight() const { return height_; }
    int outputComponents() const { return numComponents(); }
    uint32_t outputScanline() const { return outputScanline_; }
    // Decodes the next output row into `row` (outputWidth() * outputComponents() samples,
    // interleaved). False on an error or when all rows were read.
    bool readScanline(uint16_t* row);
    // Reads on to the end of the stream.
    bool finishDecompress();

    // The events of the last call: error text, and the warnings so far.
    const std::string& errorMessage() const { return error_; }
    int lastWarning() const { return lastWarning_; }
    int warningCount() const { return warnings_; }

    // For source managers: fail the current call, or note a warning.
    [[noreturn]] void fail(int code, const std::string& message);
    void warn(int code);

    struct Component;
    struct Scan;

private:
    template <class Step>
    bool guarded(Step&& step);

    uint8_t readByte();
    uint16_t readWord();
    int firstMarker();
    int nextMarker();
    void skipVariable();
    void readQuantTables();
    void readHuffmanTables();
    void readRestartInterval();
    void readFrame();
    void readScanHeader();
    void guessColorSpace();
    void readApp(int marker);

    void decodeRowGroup();
    void decodeMcu(int16_t* blocks);
    void processRestart();
    bool resyncToRestart();
    const uint16_t* componentRow(size_t component, int64_t row);
    void upsampleRow(size_t component, uint32_t outputRow, uint16_t* out);

    SourceManager& source_;
    std::string error_;
    int lastWarning_ = 0;
    int warnings_ = 0;

    int precision_ = 0;
    uint32_t width_ = 0;
    uint32_t height_ = 0;
    uint32_t restartInterval_ = 0;
    bool sawFrame_ = false;
    bool sawScan_ = false;
    bool started_ = false;
    bool sawJfif_ = false;
    bool sawAdobe_ = false;
    int adobeTransform_ = 0;
    std::vector<Component> components_;
    std::unique_ptr<Scan> scan_;
    std::array<bool, 4> quantDefined_{};
    std::array<std::array<uint16_t, 64>, 4> quant_{};
    std::array<bool, 4> dcDefined_{};
    std::array<bool, 4> acDefined_{};
    std::array<HuffmanTable, 4> dcTables_{};
    std::array<HuffmanTable, 4> acTables_{};
    int unreadMarker_ = 0;
    uint32_t outputScanline_ = 0;
};

}  // namespace Tessel::jpeg12

TESSEL_INTERNAL_END
