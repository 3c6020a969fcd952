// The 12-bit JPEG decoder on any bytes: header, tables, start, every scanline, finish, fed
// from memory by a source that ends the data with a made-up EOI marker, as the image
// reader's does. Frames are cut to a few million samples before decoding, as the reader
// cuts them to the block, so that a small input can't ask for hours of work.

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/jpeg12/Jpeg12Decoder.h"

namespace {

constexpr uint64_t kMaxSamples = uint64_t{1} << 22;

class MemorySource : public Tessel::jpeg12::SourceManager {
public:
    MemorySource(const uint8_t* data, size_t size) : data_(data), size_(size) {}

    void fillInputBuffer(Tessel::jpeg12::Decompressor& decoder) override {
        if (!given_) {
            given_ = true;
            if (size_ == 0) {
                decoder.fail(Tessel::jpeg12::kInputEmpty, "Input file is empty");
            }
            nextInputByte = data_;
            bytesInBuffer = size_;
            return;
        }
        decoder.warn(Tessel::jpeg12::kJpegEof);
        nextInputByte = endOfImage_.data();
        bytesInBuffer = endOfImage_.size();
    }

private:
    const uint8_t* data_;
    size_t size_;
    bool given_ = false;
    std::array<uint8_t, 2> endOfImage_ = {0xFF, 0xD9};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    MemorySource source(data, size);
    Tessel::jpeg12::Decompressor decoder(source);
    if (!decoder.readHeader(true)) {
        return 0;
    }
    if (decoder.numComponents() == 1) {
        decoder.jpegColorSpace = Tessel::jpeg12::ColorSpace::grayscale;
        decoder.outColorSpace = Tessel::jpeg12::ColorSpace::grayscale;
    } else {
        decoder.outColorSpace = Tessel::jpeg12::ColorSpace::rgb;
    }
    const uint64_t samples = uint64_t{decoder.imageWidth()} * decoder.imageHeight() *
                             static_cast<uint64_t>(decoder.numComponents());
    if (samples > kMaxSamples || !decoder.startDecompress()) {
        return 0;
    }
    std::vector<uint16_t> row(size_t{decoder.outputWidth()} *
                              static_cast<size_t>(decoder.outputComponents()));
    while (decoder.outputScanline() < decoder.outputHeight()) {
        if (!decoder.readScanline(row.data())) {
            return 0;
        }
    }
    decoder.finishDecompress();
    return 0;
}
