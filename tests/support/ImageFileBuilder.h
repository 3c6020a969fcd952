#pragma once
// Writes small NITF 2.10 files with image segments whose subheader fields a test chooses,
// followed by the image data bytes the test supplies (mask tables included). Header-only.
//
//   image_test::ImageLayout layout;
//   layout.rows = 4; layout.cols = 6; layout.data = ...;
//   image_test::ImageFileBuilder().add(layout).write(path);

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace image_test {

// One band's entries of the image subheader.
struct BandLayout {
    std::string irepband = "M";
    std::string isubcat;
    // NLUTS look-up tables of equal length (NELUT); empty for none.
    std::vector<std::vector<uint8_t>> luts;
};

// A band with only its representation set.
inline BandLayout band(const std::string& irepband) {
    BandLayout layout;
    layout.irepband = irepband;
    return layout;
}

// `count` bands of representation `irepband`.
inline std::vector<BandLayout> bands(size_t count, const std::string& irepband = "M") {
    return std::vector<BandLayout>(count, band(irepband));
}

struct ImageLayout {
    std::string iid1 = "IMAGE";
    std::string idatim = "20240115103000";
    uint64_t rows = 1;
    uint64_t cols = 1;
    std::string pvtype = "INT";
    std::string irep = "MONO";
    std::string icat = "VIS";
    uint32_t abpp = 8;
    uint32_t nbpp = 8;
    std::string pjust = "R";
    std::string ic = "NC";
    std::string comrat;  // written only when IC is neither NC nor NM
    std::string imode = "B";
    uint32_t nbpr = 1;
    uint32_t nbpc = 1;
    uint32_t nppbh = 0;  // 0 means the image width; written as given otherwise
    uint32_t nppbv = 0;
    // One entry per band; more than 9 are written with NBANDS 0 and XBANDS.
    std::vector<BandLayout> bands = {BandLayout{}};
    // When true NBANDS is written as 0 and the count goes to XBANDS, whatever it is.
    bool useXbands = false;
    // Extension TREs as raw bytes: tag, length and data each.
    std::vector<std::string> tres;
    // The image data as stored, mask table included.
    std::string data;
};

// A TRE in raw form: six-character tag, five-digit length, payload.
inline std::string rawTre(const std::string& tag, const std::string& payload) {
    std::string length = std::to_string(payload.size());
    length.insert(0, 5 - std::min<size_t>(5, length.size()), '0');
    std::string tagField = tag.substr(0, 6);
    tagField.resize(6, ' ');
    return tagField + length + payload;
}

// Big-endian bytes of `value` in `width` bytes.
inline std::string bigEndian(uint64_t value, size_t width) {
    std::string out(width, '\0');
    for (size_t i = 0; i < width; ++i) {
        out[width - 1 - i] = static_cast<char>((value >> (8 * i)) & 0xFF);
    }
    return out;
}

class ImageFileBuilder {
public:
    ImageFileBuilder& add(const ImageLayout& image) {
        images_.push_back(image);
        return *this;
    }

    // The whole file.
    std::string bytes() const {
        std::vector<std::string> subheaders;
        for (const ImageLayout& image : images_) {
            subheaders.push_back(subheader(image));
        }
        std::string start = "NITF02.10" + std::string("03") + "BF01" + alpha("TESSEL", 10) +
                            alpha("20240115120000", 14) + alpha("Image test file", 80) +
                            security() + "00000" + "00000" + "0" + std::string(3, '\0') +
                            alpha("", 24) + alpha("", 18);
        const size_t headerLength =
            start.size() + 12 + 6 + 3 + images_.size() * 16 + 3 + 3 + 3 + 3 + 3 + 5 + 5;
        uint64_t fileLength = headerLength;
        for (size_t i = 0; i < images_.size(); ++i) {
            fileLength += subheaders[i].size() + images_[i].data.size();
        }
        std::string out =
            start + number(fileLength, 12) + number(headerLength, 6) + number(images_.size(), 3);
        for (size_t i = 0; i < images_.size(); ++i) {
            out += number(subheaders[i].size(), 6) + number(images_[i].data.size(), 10);
        }
        out += "000" + std::string("000") + "000" + "000" + "000" + "00000" + "00000";
        for (size_t i = 0; i < images_.size(); ++i) {
            out += subheaders[i] + images_[i].data;
        }
        return out;
    }

    // Writes the file; throws std::runtime_error when it can't.
    void write(const std::filesystem::path& path) const {
        const std::string content = bytes();
        std::ofstream out(path, std::ios::binary | std::ios::trunc);
        out.write(content.data(), static_cast<std::streamsize>(content.size()));
        if (!out) {
            throw std::runtime_error("cannot write " + path.string());
        }
    }

    // The byte offset of image segment `index`'s data in bytes().
    uint64_t dataOffset(size_t index) const {
        const std::string all = bytes();
        uint64_t offset = all.size();
        for (size_t i = images_.size(); i-- > index;) {
            offset -= images_[i].data.size();
            if (i > index) {
                offset -= subheader(images_[i]).size();
            }
        }
        return offset;
    }

    static std::string alpha(const std::string& value, size_t width) {
        std::string out = value.substr(0, width);
        out.resize(width, ' ');
        return out;
    }
    static std::string number(uint64_t value, size_t width) {
        const std::string text = std::to_string(value);
        if (text.size() > width) {
            throw std::runtime_error("number " + text + " is wider than its field");
        }
        return std::string(width - text.size(), '0') + text;
    }

private:
    static std::string security() {
        std::string out = "U";
        for (const size_t width : {2, 11, 2, 20, 2, 8, 4, 1, 8, 43, 1, 40, 1, 8, 15}) {
            out += std::string(width, ' ');
        }
        return out;
    }

    static std::string subheader(const ImageLayout& image) {
        std::string out = "IM" + alpha(image.iid1, 10) + alpha(image.idatim, 14) + alpha("", 17) +
                          alpha("Test image", 80) + security() + "0" +
                          alpha("TesselLib tests", 42) + number(image.rows, 8) +
                          number(image.cols, 8) + alpha(image.pvtype, 3) + alpha(image.irep, 8) +
                          alpha(image.icat, 8) + number(image.abpp, 2) + alpha(image.pjust, 1) +
                          " " /* ICORDS: none, so no IGEOLO */ + "0" /* NICOM */ +
                          alpha(image.ic, 2);
        if (image.ic != "NC" && image.ic != "NM") {
            out += alpha(image.comrat, 4);
        }
        const size_t count = image.bands.size();
        if (image.useXbands || count > 9) {
            out += "0" + number(count, 5);
        } else {
            out += number(count, 1);
        }
        for (const BandLayout& band : image.bands) {
            out += alpha(band.irepband, 2) + alpha(band.isubcat, 6) + "N" + alpha("", 3) +
                   number(band.luts.size(), 1);
            if (!band.luts.empty()) {
                out += number(band.luts.front().size(), 5);
                for (const auto& lut : band.luts) {
                    out.append(lut.begin(), lut.end());
                }
            }
        }
        out += "0" /* ISYNC */ + alpha(image.imode, 1) + number(image.nbpr, 4) +
               number(image.nbpc, 4) + number(image.nppbh, 4) + number(image.nppbv, 4) +
               number(image.nbpp, 2) + "001" + "000" + number(0, 10) + alpha("1.0", 4) + "00000";
        std::string extensions;
        for (const std::string& tre : image.tres) {
            extensions += tre;
        }
        if (extensions.empty()) {
            out += "00000";
        } else {
            out += number(extensions.size() + 3, 5) + "000" + extensions;
        }
        return out;
    }

    std::vector<ImageLayout> images_;
};

// A mask table for an NM image: IMDATOFF, BMRLNTH 4, TMRLNTH and TPXCDLNTH, the pad value,
// the block offsets (0xFFFFFFFF for a missing block). IMDATOFF is the table's own length.
inline std::string blockMaskTable(const std::vector<uint32_t>& blockOffsets, bool withPad,
                                  uint8_t padValue = 0) {
    const size_t padLength = withPad ? 8 : 0;
    const size_t tableLength = 4 + 2 + 2 + 2 + (padLength + 7) / 8 + 4 * blockOffsets.size();
    std::string out =
        bigEndian(tableLength, 4) + bigEndian(4, 2) + bigEndian(0, 2) + bigEndian(padLength, 2);
    if (withPad) {
        out += static_cast<char>(padValue);
    }
    for (const uint32_t offset : blockOffsets) {
        out += bigEndian(offset, 4);
    }
    return out;
}

}  // namespace image_test
