#pragma once
// JPEG streams for tests: 8-bit ones written and read by libjpeg, and 12-bit ones of flat
// blocks written by hand (libjpeg here has no 12-bit coder), whose decoded samples are
// known exactly. Header-only.

#include <array>
#include <cstdint>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

// clang-format off
#include <jpeglib.h>
// clang-format on

namespace jpeg_test {

struct Encoding {
    int quality = 75;
    bool writeTables = true;  // false: an abbreviated stream, without DQT and DHT
    bool jfif = true;         // the JFIF APP0 marker (libjpeg writes it for grey and YCbCr)
    unsigned restartInterval = 0;
    // When set, quantisation table 0 holds these steps (as libjpeg stores them) unscaled.
    const std::array<uint16_t, 64>* quant = nullptr;
    bool rgbInput = true;  // three components: RGB in, YCbCr stored
};

// Compresses interleaved 8-bit samples (1 or 3 components) into a baseline stream.
inline std::string encode8(const std::vector<uint8_t>& samples, unsigned width, unsigned height,
                           int components, const Encoding& options = {}) {
    jpeg_compress_struct cinfo{};
    jpeg_error_mgr errors{};
    cinfo.err = jpeg_std_error(&errors);
    jpeg_create_compress(&cinfo);
    unsigned char* out = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&cinfo, &out, &size);
    cinfo.image_width = width;
    cinfo.image_height = height;
    cinfo.input_components = components;
    cinfo.in_color_space = components == 1 ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&cinfo);
    jpeg_set_quality(&cinfo, options.quality, TRUE);
    if (options.quant != nullptr) {
        std::array<unsigned int, 64> steps{};
        for (size_t i = 0; i < 64; ++i) {
            steps[i] = (*options.quant)[i];
        }
        jpeg_add_quant_table(&cinfo, 0, steps.data(), 100, TRUE);
        for (int c = 0; c < cinfo.num_components; ++c) {
            cinfo.comp_info[c].quant_tbl_no = 0;
            cinfo.comp_info[c].dc_tbl_no = 0;
            cinfo.comp_info[c].ac_tbl_no = 0;
        }
    }
    cinfo.write_JFIF_header = options.jfif ? TRUE : FALSE;
    cinfo.restart_interval = options.restartInterval;
    jpeg_start_compress(&cinfo, options.writeTables ? TRUE : FALSE);
    if (!options.writeTables) {
        jpeg_suppress_tables(&cinfo, TRUE);
    }
    std::vector<uint8_t> row(static_cast<size_t>(width) * static_cast<size_t>(components));
    while (cinfo.next_scanline < height) {
        const auto* first = samples.data() + size_t{cinfo.next_scanline} * row.size();
        row.assign(first, first + row.size());
        JSAMPROW rows[1] = {row.data()};
        jpeg_write_scanlines(&cinfo, rows, 1);
    }
    jpeg_finish_compress(&cinfo);
    jpeg_destroy_compress(&cinfo);
    std::string stream(reinterpret_cast<const char*>(out), size);
    std::free(out);
    return stream;
}

// Copies libjpeg's own standard luminance tables (Annex K, K.3 and K.5) into table 0 of a
// decompressor, as an encoder's defaults give them.
inline void putStandardLuminanceTables(jpeg_decompress_struct& cinfo) {
    jpeg_compress_struct encoder{};
    jpeg_error_mgr errors{};
    encoder.err = jpeg_std_error(&errors);
    jpeg_create_compress(&encoder);
    encoder.in_color_space = JCS_GRAYSCALE;
    encoder.input_components = 1;
    jpeg_set_defaults(&encoder);
    auto* common = reinterpret_cast<j_common_ptr>(&cinfo);
    cinfo.dc_huff_tbl_ptrs[0] = jpeg_alloc_huff_table(common);
    cinfo.ac_huff_tbl_ptrs[0] = jpeg_alloc_huff_table(common);
    *cinfo.dc_huff_tbl_ptrs[0] = *encoder.dc_huff_tbl_ptrs[0];
    *cinfo.ac_huff_tbl_ptrs[0] = *encoder.ac_huff_tbl_ptrs[0];
    jpeg_destroy_compress(&encoder);
}

// Decodes an 8-bit stream as libjpeg does by itself; `raw` keeps three components as they
// are stored (no conversion to RGB); `standardTablesWithoutAc0` puts the standard tables in
// place of Huffman tables 0 when the header defined no AC table 0.
inline std::vector<uint8_t> decode8(const std::string& stream, bool raw = false,
                                    bool standardTablesWithoutAc0 = false) {
    jpeg_decompress_struct cinfo{};
    jpeg_error_mgr errors{};
    cinfo.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&cinfo);
    jpeg_mem_src(&cinfo, reinterpret_cast<const unsigned char*>(stream.data()), stream.size());
    jpeg_read_header(&cinfo, TRUE);
    if (standardTablesWithoutAc0 && cinfo.ac_huff_tbl_ptrs[0] == nullptr) {
        putStandardLuminanceTables(cinfo);
    }
    if (raw && cinfo.num_components == 3) {
        cinfo.jpeg_color_space = JCS_RGB;
        cinfo.out_color_space = JCS_RGB;
    }
    jpeg_start_decompress(&cinfo);
    const size_t stride = size_t{cinfo.output_width} * static_cast<size_t>(cinfo.output_components);
    std::vector<uint8_t> samples(stride * cinfo.output_height);
    while (cinfo.output_scanline < cinfo.output_height) {
        JSAMPROW rows[1] = {samples.data() + size_t{cinfo.output_scanline} * stride};
        jpeg_read_scanlines(&cinfo, rows, 1);
    }
    jpeg_finish_decompress(&cinfo);
    jpeg_destroy_decompress(&cinfo);
    return samples;
}

// One band of interleaved samples.
inline std::vector<uint8_t> bandOf(const std::vector<uint8_t>& samples, int components, int band) {
    std::vector<uint8_t> out;
    for (size_t i = static_cast<size_t>(band); i < samples.size();
         i += static_cast<size_t>(components)) {
        out.push_back(samples[i]);
    }
    return out;
}

// A test pattern with detail in every block.
inline std::vector<uint8_t> pattern(unsigned width, unsigned height, int components,
                                    unsigned seed = 1) {
    std::vector<uint8_t> samples(size_t{width} * height * static_cast<size_t>(components));
    uint32_t state = seed * 2654435761u + 12345u;
    for (size_t i = 0; i < samples.size(); ++i) {
        state = state * 1664525u + 1013904223u;
        const size_t pixel = i / static_cast<size_t>(components);
        const auto x = static_cast<unsigned>(pixel % width);
        const auto y = static_cast<unsigned>(pixel / width);
        samples[i] = static_cast<uint8_t>((x * 7 + y * 3 + (i % 3) * 50 + (state >> 28)) & 0xFF);
    }
    return samples;
}

// Writes bits most significant first, stuffing a zero byte after each 0xFF.
class BitWriter {
public:
    void put(uint32_t value, int count) {
        for (int i = count - 1; i >= 0; --i) {
            current_ = static_cast<uint8_t>(current_ << 1 | ((value >> i) & 1u));
            if (++filled_ == 8) {
                flushByte();
            }
        }
    }
    // Pads the last byte with one bits.
    std::string finish() {
        while (filled_ != 0) {
            put(1, 1);
        }
        return bytes_;
    }

private:
    void flushByte() {
        bytes_.push_back(static_cast<char>(current_));
        if (current_ == 0xFF) {
            bytes_.push_back('\0');
        }
        current_ = 0;
        filled_ = 0;
    }
    std::string bytes_;
    uint8_t current_ = 0;
    int filled_ = 0;
};

inline std::string marker(int code, const std::string& payload) {
    const size_t length = payload.size() + 2;
    return std::string{'\xFF', static_cast<char>(code), static_cast<char>(length >> 8),
                       static_cast<char>(length & 0xFF)} +
           payload;
}

// A 12-bit single-component stream whose every 8x8 block is flat: block i (in raster order)
// decodes to values[i % values.size()] exactly (quantisation 1, DC coefficient only). The
// DC codes are five bits for categories 0 to 15; the AC table has the end-of-block code 0.
// With a restart interval, restart markers separate the intervals. `withTables` false
// leaves out DQT and DHT.
inline std::string flat12(unsigned width, unsigned height, const std::vector<uint16_t>& values,
                          unsigned restartInterval = 0, bool withTables = true) {
    std::string out = "\xFF\xD8";
    if (withTables) {
        std::string dqt(1, '\x10');  // 16-bit steps, table 0
        for (int i = 0; i < 64; ++i) {
            dqt += std::string{'\0', '\1'};
        }
        out += marker(0xDB, dqt);
        std::string dc(1, '\x00');
        std::array<char, 16> counts{};
        counts[4] = 16;  // 16 codes of five bits
        dc.append(counts.data(), counts.size());
        for (int s = 0; s < 16; ++s) {
            dc.push_back(static_cast<char>(s));
        }
        std::string ac(1, '\x10');
        counts = {};
        counts[0] = 1;  // one code of one bit: end of block
        ac.append(counts.data(), counts.size());
        ac.push_back('\0');
        out += marker(0xC4, dc + ac);
    }
    if (restartInterval != 0) {
        out += marker(0xDD, std::string{static_cast<char>(restartInterval >> 8),
                                        static_cast<char>(restartInterval & 0xFF)});
    }
    out += marker(0xC1, std::string{12, static_cast<char>(height >> 8),
                                    static_cast<char>(height & 0xFF), static_cast<char>(width >> 8),
                                    static_cast<char>(width & 0xFF), 1, 1, 0x11, 0});
    out += marker(0xDA, std::string{1, 1, 0x00, 0, 63, 0});
    const unsigned blocks = ((width + 7) / 8) * ((height + 7) / 8);
    BitWriter bits;
    int32_t previous = 0;
    for (unsigned i = 0; i < blocks; ++i) {
        if (restartInterval != 0 && i != 0 && i % restartInterval == 0) {
            out += bits.finish();
            bits = BitWriter();
            out += std::string{'\xFF', static_cast<char>(0xD0 + (i / restartInterval - 1) % 8)};
            previous = 0;
        }
        const int32_t coefficient = (static_cast<int32_t>(values[i % values.size()]) - 2048) * 8;
        const int32_t diff = coefficient - previous;
        previous = coefficient;
        const uint32_t magnitude = static_cast<uint32_t>(diff < 0 ? -diff : diff);
        int category = 0;
        while ((magnitude >> category) != 0) {
            ++category;
        }
        bits.put(static_cast<uint32_t>(category), 5);
        if (category != 0) {
            const int32_t coded = diff < 0 ? diff + (1 << category) - 1 : diff;
            bits.put(static_cast<uint32_t>(coded), category);
        }
        bits.put(0, 1);  // end of block
    }
    out += bits.finish();
    out += "\xFF\xD9";
    return out;
}

}  // namespace jpeg_test
