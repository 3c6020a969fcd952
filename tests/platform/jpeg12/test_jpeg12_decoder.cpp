// The 12-bit JPEG decoder by itself: exact samples of flat blocks, restart intervals, the
// tables a stream lacks, the end of data, and streams it refuses.

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "platform/jpeg12/Jpeg12Decoder.h"
#include "support/JpegStreams.h"

namespace {

using Tessel::jpeg12::ColorSpace;
using Tessel::jpeg12::Decompressor;

// A stream in memory, ended by a made-up EOI marker (with a warning) when it runs out.
class MemorySource : public Tessel::jpeg12::SourceManager {
public:
    explicit MemorySource(std::string bytes) : bytes_(std::move(bytes)) {}

    void fillInputBuffer(Decompressor& decoder) override {
        if (!given_) {
            given_ = true;
            if (bytes_.empty()) {
                decoder.fail(Tessel::jpeg12::kInputEmpty, "Input file is empty");
            }
            nextInputByte = reinterpret_cast<const uint8_t*>(bytes_.data());
            bytesInBuffer = bytes_.size();
            return;
        }
        decoder.warn(Tessel::jpeg12::kJpegEof);
        nextInputByte = endOfImage_.data();
        bytesInBuffer = endOfImage_.size();
    }

private:
    std::string bytes_;
    bool given_ = false;
    std::array<uint8_t, 2> endOfImage_ = {0xFF, 0xD9};
};

// Every row of a grey stream, or nothing when a step fails; the header may be read already.
std::vector<uint16_t> decodeGrey(Decompressor& decoder, bool readHeader = true) {
    std::vector<uint16_t> out;
    if ((readHeader && !decoder.readHeader(true)) || !decoder.startDecompress()) {
        return out;
    }
    std::vector<uint16_t> row(decoder.outputWidth());
    while (decoder.outputScanline() < decoder.outputHeight()) {
        if (!decoder.readScanline(row.data())) {
            return {};
        }
        out.insert(out.end(), row.begin(), row.end());
    }
    return decoder.finishDecompress() ? out : std::vector<uint16_t>{};
}

// The value of each sample of a flat-block image, block i having values[i % size].
std::vector<uint16_t> flatSamples(unsigned width, unsigned height,
                                  const std::vector<uint16_t>& values) {
    std::vector<uint16_t> out;
    const unsigned across = (width + 7) / 8;
    for (unsigned y = 0; y < height; ++y) {
        for (unsigned x = 0; x < width; ++x) {
            out.push_back(values[((y / 8) * across + x / 8) % values.size()]);
        }
    }
    return out;
}

}  // namespace

TEST(Jpeg12Decoder, FlatBlocksDecodeToTheirExactValues) {
    const std::vector<uint16_t> values = {0, 4095, 2048, 1, 4094, 1234, 777};
    MemorySource source(jpeg_test::flat12(45, 21, values));
    Decompressor decoder(source);
    EXPECT_EQ(decodeGrey(decoder), flatSamples(45, 21, values)) << decoder.errorMessage();
    EXPECT_EQ(decoder.dataPrecision(), 12);
    EXPECT_EQ(decoder.jpegColorSpace, ColorSpace::grayscale);
    EXPECT_EQ(decoder.warningCount(), 0);
}

TEST(Jpeg12Decoder, RestartIntervalsResetThePrediction) {
    const std::vector<uint16_t> values = {100, 3000, 50, 4000, 2222};
    for (unsigned interval : {1u, 2u, 5u, 7u}) {
        MemorySource source(jpeg_test::flat12(64, 24, values, interval));
        Decompressor decoder(source);
        EXPECT_EQ(decodeGrey(decoder), flatSamples(64, 24, values)) << interval;
        EXPECT_EQ(decoder.restartInterval(), interval);
        EXPECT_EQ(decoder.warningCount(), 0) << interval;
    }
}

TEST(Jpeg12Decoder, StreamWithoutTablesReportsThemMissingAndTakesInjectedOnes) {
    MemorySource source(jpeg_test::flat12(16, 8, {500, 600}, 0, false));
    Decompressor decoder(source);
    ASSERT_TRUE(decoder.readHeader(true)) << decoder.errorMessage();
    EXPECT_FALSE(decoder.hasQuantTable(0));
    EXPECT_FALSE(decoder.hasAcHuffmanTable(0));
    EXPECT_FALSE(decoder.hasDcHuffmanTable(0));
    EXPECT_FALSE(decoder.startDecompress());
    EXPECT_EQ(decoder.errorMessage(), "Quantization table 0x0 was not defined");

    // The tables the stream was written with, put in from outside.
    MemorySource again(jpeg_test::flat12(16, 8, {500, 600}, 0, false));
    Decompressor injected(again);
    ASSERT_TRUE(injected.readHeader(true));
    std::array<uint16_t, 64> ones{};
    ones.fill(1);
    injected.setQuantTable(0, ones);
    Tessel::jpeg12::HuffmanTable dc;
    dc.bits[5] = 16;
    for (uint8_t s = 0; s < 16; ++s) {
        dc.values[s] = s;
    }
    Tessel::jpeg12::HuffmanTable ac;
    ac.bits[1] = 1;
    injected.setDcHuffmanTable(0, dc);
    injected.setAcHuffmanTable(0, ac);
    EXPECT_EQ(decodeGrey(injected, false), flatSamples(16, 8, {500, 600}));
}

TEST(Jpeg12Decoder, EmptyInputFailsAtTheStart) {
    MemorySource source("");
    Decompressor decoder(source);
    EXPECT_FALSE(decoder.readHeader(true));
    EXPECT_EQ(decoder.errorMessage(), "Input file is empty");
}

TEST(Jpeg12Decoder, DataEndingEarlyWarnsAndLeavesTheRestGrey) {
    const std::vector<uint16_t> values = {300, 3300};
    const std::string stream = jpeg_test::flat12(64, 64, values);
    // Cut in the entropy-coded data: the first blocks decode, the rest are zero
    // coefficients, the centre value.
    const size_t scan = stream.find("\xFF\xDA") + 10;
    MemorySource source(stream.substr(0, scan + 8));
    Decompressor decoder(source);
    const auto samples = decodeGrey(decoder);
    ASSERT_EQ(samples.size(), 64u * 64u) << decoder.errorMessage();
    EXPECT_EQ(decoder.lastWarning() != 0, true);
    EXPECT_EQ(samples.front(), 300);
    EXPECT_EQ(samples.back(), 2048);
}

TEST(Jpeg12Decoder, RefusesWhatItCantDecode) {
    const std::string good = jpeg_test::flat12(16, 16, {1000});
    const size_t sof = good.find("\xFF\xC1");
    std::vector<std::pair<std::string, std::string>> bad;
    std::string eight = good;
    eight[sof + 4] = 8;
    bad.emplace_back(eight, "Unsupported JPEG data precision 8");
    std::string wide = good;
    wide[sof + 7] = '\xFF';
    wide[sof + 8] = '\xFF';
    bad.emplace_back(wide, "Maximum supported image dimension is 65500 pixels");
    std::string progressive = good;
    progressive[sof + 1] = '\xC2';
    bad.emplace_back(progressive, "Unsupported JPEG process: SOF type 0x194");
    std::string noImage = good.substr(0, sof) + "\xFF\xD9";
    bad.emplace_back(noImage, "JPEG datastream contains no image");
    bad.emplace_back("\x12\x34", "Not a JPEG file: starts with 0x18 0x52");
    for (const auto& [stream, message] : bad) {
        MemorySource source(stream);
        Decompressor decoder(source);
        EXPECT_TRUE(decodeGrey(decoder).empty()) << message;
        EXPECT_EQ(decoder.errorMessage(), message);
    }
}

TEST(Jpeg12Decoder, ColourConversionNeedsThreeComponents) {
    // Two components: no conversion of libjpeg's takes them.
    std::string stream = jpeg_test::flat12(8, 8, {1000});
    const size_t sof = stream.find("\xFF\xC1");
    stream.replace(
        sof, 13,
        std::string("\xFF\xC1\x00\x0E\x0C\x00\x08\x00\x08\x02\x01\x11\x00\x02\x11\x00", 16));
    MemorySource source(stream);
    Decompressor decoder(source);
    ASSERT_TRUE(decoder.readHeader(true)) << decoder.errorMessage();
    decoder.outColorSpace = ColorSpace::rgb;
    EXPECT_FALSE(decoder.startDecompress());
    EXPECT_EQ(decoder.errorMessage(), "Unsupported color conversion request");
}

TEST(Jpeg12Decoder, FrameWithComponentsMissingFromTheScanIsRefused) {
    // Three components, a scan of the first only: decoding needs all in one scan.
    std::string stream = jpeg_test::flat12(8, 8, {1000});
    const size_t sof = stream.find("\xFF\xC1");
    stream.replace(sof, 13,
                   std::string("\xFF\xC1\x00\x11\x0C\x00\x08\x00\x08\x03\x01\x11\x00\x02\x11\x00"
                               "\x03\x11\x00",
                               19));
    MemorySource source(stream);
    Decompressor decoder(source);
    ASSERT_TRUE(decoder.readHeader(true)) << decoder.errorMessage();
    EXPECT_FALSE(decoder.startDecompress());
    EXPECT_EQ(decoder.errorMessage(), "Unsupported JPEG process: multiple scans");
}
