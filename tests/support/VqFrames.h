#pragma once
// Small vector quantised RPF frames for tests: an image segment of 256 by 256 subframes whose
// RPFIMG extension lists the compression, lookup, mask, colour and spatial data sections,
// all stored in the image data. A test chooses the codes, the codebook records, the mask
// and what to break. Header-only.

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/ImageFileBuilder.h"

namespace vq_test {

using image_test::bigEndian;

constexpr uint32_t kSide = 256;
constexpr size_t kSubframeBytes = 6144;

// Index k of kernel row r of code c in the frame's codebooks.
using KernelFunction = std::function<uint8_t(uint32_t code, uint32_t row, uint32_t column)>;

inline uint8_t defaultKernel(uint32_t code, uint32_t row, uint32_t column) {
    return static_cast<uint8_t>((code * 7 + row * 4 + column) % 251);
}

// One record of the compression lookup subsection.
struct LookupRecord {
    uint32_t records = 4096;
    uint16_t values = 4;
    uint16_t bits = 8;
};

struct Frame {
    std::string ic = "C4";
    uint32_t blocksX = 1;
    uint32_t blocksY = 1;
    uint32_t blockSide = kSide;  // NPPBH and NPPBV as written
    // The spatial data, stored subframes one after the other (6144 bytes each).
    std::vector<std::string> subframes;
    // Offsets of the mask subsection, one per subframe; none: no mask subsection.
    std::optional<std::vector<uint32_t>> mask;
    bool transparentCode = false;  // the mask carries an 8-bit transparent pixel code
    uint16_t algorithm = 1;
    uint16_t lookupRecordLength = 14;
    uint32_t lookupOffsetTable = 6;            // where the lookup records start in their subsection
    std::optional<uint32_t> firstTableOffset;  // announced instead of table 1's offset
    std::array<LookupRecord, 4> lookups{};
    KernelFunction kernel = defaultKernel;
    bool withSpatialData = true;
    // RGBM colours of a colour table of the colour/grey section; empty: no such section.
    std::vector<std::array<uint8_t, 4>> palette;
    uint32_t paletteId = 2;
    // Location offsets to announce instead of the true ones, by id.
    std::map<uint16_t, uint32_t> lyingOffsets;
    // A record count to announce for the colour table instead of its size.
    std::optional<uint32_t> claimedPaletteRecords;
    // Bytes cut off the end of the file.
    size_t truncate = 0;
};

// The 12-bit codes of one subframe, packed two in three bytes, most significant bits first;
// code(g, j) is code j of row group g (64 groups of 64 codes).
inline std::string packCodes(const std::function<uint32_t(uint32_t, uint32_t)>& code) {
    std::string out;
    for (uint32_t g = 0; g < 64; ++g) {
        for (uint32_t j = 0; j < 64; j += 2) {
            const uint32_t a = code(g, j) & 0xFFF;
            const uint32_t b = code(g, j + 1) & 0xFFF;
            const uint32_t bits = (a << 12) | b;
            out += static_cast<char>((bits >> 16) & 0xFF);
            out += static_cast<char>((bits >> 8) & 0xFF);
            out += static_cast<char>(bits & 0xFF);
        }
    }
    return out;
}

// What a subframe of these codes decodes to, pixel by pixel, through `kernel`.
inline std::vector<uint8_t> expectedPixels(const std::string& codes, const KernelFunction& kernel,
                                           const std::array<bool, 4>& rowsLoaded = {true, true,
                                                                                    true, true}) {
    std::vector<uint8_t> out(size_t{kSide} * kSide);
    for (uint32_t row = 0; row < kSide; ++row) {
        for (uint32_t col = 0; col < kSide; ++col) {
            // The code's first bit in the subframe's bit string.
            const size_t bit = (size_t{row / 4} * 64 + col / 4) * 12;
            uint32_t code = 0;
            for (size_t i = 0; i < 12; ++i) {
                const auto byte = static_cast<uint8_t>(codes[(bit + i) / 8]);
                code = (code << 1) | ((byte >> (7 - (bit + i) % 8)) & 1u);
            }
            out[size_t{row} * kSide + col] =
                rowsLoaded[row % 4] ? kernel(code, row % 4, col % 4) : 0;
        }
    }
    return out;
}

namespace detail {

inline std::string compressionSection(const Frame& frame) {
    return bigEndian(frame.algorithm, 2) + bigEndian(4, 2) + bigEndian(0, 2);
}

inline std::string lookupSubsection(const Frame& frame) {
    constexpr size_t kTableBytes = 4096 * 4;
    std::string out =
        bigEndian(frame.lookupOffsetTable, 4) + bigEndian(frame.lookupRecordLength, 2);
    for (size_t i = 0; i < 4; ++i) {
        const LookupRecord& record = frame.lookups[i];
        const uint64_t tableAt =
            i == 0 && frame.firstTableOffset ? *frame.firstTableOffset : 62 + i * kTableBytes;
        out += bigEndian(i + 1, 2) + bigEndian(record.records, 4) + bigEndian(record.values, 2) +
               bigEndian(record.bits, 2) + bigEndian(tableAt, 4);
    }
    for (uint32_t row = 0; row < 4; ++row) {
        for (uint32_t code = 0; code < 4096; ++code) {
            for (uint32_t column = 0; column < 4; ++column) {
                out += static_cast<char>(frame.kernel(code, row, column));
            }
        }
    }
    return out;
}

inline std::string maskSubsection(const Frame& frame) {
    std::string out =
        bigEndian(4, 2) + bigEndian(0, 2) + bigEndian(frame.transparentCode ? 8 : 0, 2);
    if (frame.transparentCode) {
        out += static_cast<char>(216);
    }
    for (const uint32_t offset : *frame.mask) {
        out += bigEndian(offset, 4);
    }
    return out;
}

inline std::string colorGraySection() {
    return std::string(1, '\1') + std::string(1, '\0') + "COLORS.XXX  ";
}

inline std::string colormapSubsection(const Frame& frame) {
    const size_t width = frame.paletteId == 1 ? 3 : frame.paletteId == 2 ? 4 : 1;
    const uint32_t records =
        frame.claimedPaletteRecords.value_or(static_cast<uint32_t>(frame.palette.size()));
    const size_t tableAt = 6 + 17;
    const size_t histogramAt = tableAt + frame.palette.size() * width;
    std::string out = bigEndian(6, 4) + bigEndian(17, 2) + bigEndian(frame.paletteId, 2) +
                      bigEndian(records, 4) + bigEndian(width, 1) + bigEndian(4, 2) +
                      bigEndian(tableAt, 4) + bigEndian(histogramAt, 4);
    for (const auto& colour : frame.palette) {
        if (width == 1) {
            out += static_cast<char>(colour[3]);
        } else {
            out.append(reinterpret_cast<const char*>(colour.data()), width);
        }
    }
    return out + std::string(frame.palette.size() * 4, '\0');
}

// The sections in data order, each with its location id.
inline std::vector<std::pair<uint16_t, std::string>> sections(const Frame& frame) {
    std::vector<std::pair<uint16_t, std::string>> out;
    if (!frame.palette.empty()) {
        out.emplace_back(134, colorGraySection());
        out.emplace_back(135, colormapSubsection(frame));
    }
    out.emplace_back(131, compressionSection(frame));
    out.emplace_back(132, lookupSubsection(frame));
    if (frame.mask) {
        out.emplace_back(138, maskSubsection(frame));
    }
    if (frame.withSpatialData) {
        std::string spatial;
        for (const auto& subframe : frame.subframes) {
            spatial += subframe;
        }
        out.emplace_back(140, spatial);
    }
    return out;
}

// The location section that the RPFIMG extension carries; `dataOffset` is where the image
// data, and so the first section, begins in the file.
inline std::string locationSection(const Frame& frame, uint64_t dataOffset, size_t prefix) {
    const auto parts = sections(frame);
    std::string records;
    uint64_t at = dataOffset + prefix;
    uint64_t aggregate = 0;
    for (const auto& [id, bytes] : parts) {
        const auto lie = frame.lyingOffsets.find(id);
        const uint64_t offset = lie != frame.lyingOffsets.end() ? lie->second : at;
        records += bigEndian(id, 2) + bigEndian(bytes.size(), 4) + bigEndian(offset, 4);
        at += bytes.size();
        aggregate += bytes.size();
    }
    return bigEndian(14 + records.size(), 2) + bigEndian(14, 4) + bigEndian(parts.size(), 2) +
           bigEndian(10, 2) + bigEndian(aggregate, 4) + records;
}

}  // namespace detail

inline image_test::ImageLayout layoutOf(const Frame& frame, uint64_t dataOffset) {
    image_test::ImageLayout layout;
    layout.rows = uint64_t{frame.blocksY} * kSide;
    layout.cols = uint64_t{frame.blocksX} * kSide;
    layout.irep = frame.palette.empty() ? "MONO" : "RGB/LUT";
    layout.icat = "MAP";
    layout.ic = frame.ic;
    layout.comrat = "    ";
    layout.imode = "B";
    layout.nbpr = frame.blocksX;
    layout.nbpc = frame.blocksY;
    layout.nppbh = frame.blockSide;
    layout.nppbv = frame.blockSide;
    // A masked image's data begins with a mask table of no masks (IMDATOFF 10).
    const std::string prefix = frame.ic == "M4" ? bigEndian(10, 4) + std::string(6, '\0') : "";
    layout.tres = {
        image_test::rawTre("RPFIMG", detail::locationSection(frame, dataOffset, prefix.size()))};
    layout.data = prefix;
    for (const auto& section : detail::sections(frame)) {
        layout.data += section.second;
    }
    return layout;
}

// The file's bytes: laid out once to learn where the data begins, then with the true offsets.
inline std::string frameFile(const Frame& frame) {
    const uint64_t dataOffset =
        image_test::ImageFileBuilder().add(layoutOf(frame, 0)).dataOffset(0);
    std::string bytes = image_test::ImageFileBuilder().add(layoutOf(frame, dataOffset)).bytes();
    bytes.resize(bytes.size() - std::min(frame.truncate, bytes.size()));
    return bytes;
}

inline void writeFrame(const std::filesystem::path& path, const Frame& frame) {
    const std::string bytes = frameFile(frame);
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

}  // namespace vq_test
