#pragma once
// Support for the tests of the path dictionary: a context over a record read from a file or
// from bytes, and a writer of small NITF 2.10 files with chosen segments and extensions.

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "tessel/core/NITFMessages.h"
#include "tessel/file/BlockCache.h"
#include "tessel/paths/PathContext.h"
#include "tessel/platform/base/text.h"
#include "tessel/platform/nitf.h"

namespace dictionary_test {

// A record read with NITRO's reader over a file or over bytes in memory; no images.
class RecordContext : public PathContext {
public:
    explicit RecordContext(const std::filesystem::path& path) {
        io_ =
            nrt_IOHandleAdapter_open(path.c_str(), NRT_ACCESS_READONLY, NRT_OPEN_EXISTING, &error_);
        read();
    }
    explicit RecordContext(std::string bytes) : bytes_(std::move(bytes)) {
        io_ = nrt_BufferAdapter_construct(bytes_.data(), bytes_.size(), false, &error_);
        read();
    }
    RecordContext(const RecordContext&) = delete;
    RecordContext& operator=(const RecordContext&) = delete;
    ~RecordContext() override {
        nitf_Record_destruct(&record_);
        nitf_Reader_destruct(&reader_);
        nitf_Reader_destruct(&hiddenReader_);
        nrt_IOInterface_destruct(&io_);
    }

    nitf_Record*& getRecord() override { return record_; }
    nitf_Reader*& getReader() override { return reader_; }
    Tessel::BlockCache& getBlockCache() override { return cache_; }
    std::shared_ptr<Tessel::NITFImage> getImage(int, Tessel::NITFMessages&) override { return {}; }

    bool ok() const { return record_ != nullptr; }
    const char* error() const { return error_.message; }
    // Segment bodies can't be read without the reader; the record stays.
    void forgetReader() { hiddenReader_ = std::exchange(reader_, nullptr); }

    // The value of a path as narrow text: wide text narrowed, nothing for an empty value.
    std::optional<std::string> text(std::string_view path, int image = 0) {
        return textOf(GetByPathAsVariant(image, path, messages));
    }

    static std::optional<std::string> textOf(const any_type::value& value) {
        if (const auto* wide = std::get_if<std::wstring>(&value)) {
            return std::to_string(std::wstring_view(*wide));
        }
        if (const auto* narrow = std::get_if<std::string>(&value)) {
            return *narrow;
        }
        return std::nullopt;
    }

    Tessel::NITFMessages messages;

private:
    void read() {
        reader_ = nitf_Reader_construct(&error_);
        if (reader_ != nullptr && io_ != nullptr) {
            record_ = nitf_Reader_readIO(reader_, io_, &error_);
        }
    }

    std::string bytes_;
    nitf_Error error_{};
    nrt_IOInterface* io_ = nullptr;
    nitf_Reader* reader_ = nullptr;
    nitf_Reader* hiddenReader_ = nullptr;
    nitf_Record* record_ = nullptr;
    Tessel::BlockCache cache_;
};

// --- a writer of small files ----------------------------------------------------------------

// Text left-justified and blank-filled, or cut, to the width.
inline std::string A(std::string_view text, size_t width) {
    std::string out(text.substr(0, width));
    out.resize(width, ' ');
    return out;
}

// A number right-justified with leading zeros.
inline std::string N(uint64_t value, size_t width) {
    std::string digits = std::to_string(value);
    return digits.size() >= width ? digits : std::string(width - digits.size(), '0') + digits;
}

struct Tre {
    std::string tag;
    std::string data;
};

inline std::string extensionBytes(const std::vector<Tre>& tres) {
    std::string out;
    for (const Tre& tre : tres) {
        out += A(tre.tag, 6) + N(tre.data.size(), 5) + tre.data;
    }
    return out;
}

// A length field, and when there is a section the overflow field and the section.
inline std::string section(const std::vector<Tre>& tres, int overflow = 0) {
    const std::string bytes = extensionBytes(tres);
    if (bytes.empty() && overflow == 0) {
        return N(0, 5);
    }
    return N(bytes.size() + 3, 5) + N(overflow, 3) + bytes;
}

inline std::string security(std::string_view code = {}) {
    return A("", 2) + A(code, 11) + std::string(153, ' ');
}

struct ImageLayout {
    std::string iid1 = "IMAGE";
    std::string securityCode;
    std::vector<std::string> comments;
    std::vector<std::string> bandSubcategories{"SUB0"};
    std::vector<Tre> extended;     // IXSHD
    std::vector<Tre> userDefined;  // UDID
    int extendedOverflow = 0;      // IXSOFL
    uint32_t rows = 2;
    uint32_t cols = 3;
};

struct TextLayout {
    std::string id = "TXT";
    std::string body;
    std::vector<Tre> extended;
};

struct GraphicLayout {
    std::string name = "GRAPHIC";
    std::string body;
};

struct DesLayout {
    std::string tag;
    std::string subheaderFields;
    std::string body;
    std::string overflowedHeader;  // DESOFLW of a TRE_OVERFLOW segment
    int item = 0;                  // DESITEM of a TRE_OVERFLOW segment
};

struct FileLayout {
    std::string background = std::string(3, '\0');
    std::string title = "Dictionary test";
    std::vector<Tre> userDefined;  // UDHD
    std::vector<Tre> extended;     // XHD
    std::vector<ImageLayout> images;
    std::vector<GraphicLayout> graphics;
    std::vector<TextLayout> texts;
    std::vector<DesLayout> des;
};

inline std::string imageSubheader(const ImageLayout& image) {
    std::string out = "IM" + A(image.iid1, 10) + "20240102030405" + A("", 17) + A("title", 80);
    out += "U" + security(image.securityCode) + "0" + A("source", 42);
    out += N(image.rows, 8) + N(image.cols, 8) + "INT" + A("MONO", 8) + A("VIS", 8) + "08R ";
    out += N(image.comments.size(), 1);
    for (const std::string& comment : image.comments) {
        out += A(comment, 80);
    }
    out += "NC" + N(image.bandSubcategories.size(), 1);
    for (const std::string& subcategory : image.bandSubcategories) {
        out += "M " + A(subcategory, 6) + "N" + "   " + "0";
    }
    out += "0B" + N(1, 4) + N(1, 4) + N(image.cols, 4) + N(image.rows, 4) + "08";
    out += "001000" + N(0, 10) + "1.0 ";
    out += section(image.userDefined) + section(image.extended, image.extendedOverflow);
    return out;
}

inline std::string graphicSubheader(const GraphicLayout& graphic) {
    return "SY" + A("G1", 10) + A(graphic.name, 20) + "U" + security() + "0" + "C" + N(0, 13) +
           "001000" + N(0, 10) + N(0, 10) + "C" + N(100010, 10) + "00" + N(0, 5);
}

inline std::string textSubheader(const TextLayout& text) {
    return "TE" + A(text.id, 7) + "000" + "20240102030405" + A("text title", 80) + "U" +
           security() + "0" + "STA" + section(text.extended);
}

inline std::string desSubheader(const DesLayout& des) {
    std::string out = "DE" + A(des.tag, 25) + "01" + "U" + security();
    if (des.tag == "TRE_OVERFLOW") {
        out += A(des.overflowedHeader, 6) + N(des.item, 3);
    }
    return out + N(des.subheaderFields.size(), 4) + des.subheaderFields;
}

// The bytes of a NITF 2.10 file: header, then images, graphics, texts and data extensions.
inline std::string buildFile(const FileLayout& file) {
    std::string lengths;
    std::string body;
    auto add = [&](const std::string& subheader, const std::string& data, size_t subheaderWidth,
                   size_t dataWidth) {
        lengths += N(subheader.size(), subheaderWidth) + N(data.size(), dataWidth);
        body += subheader + data;
    };
    lengths += N(file.images.size(), 3);
    for (const ImageLayout& image : file.images) {
        add(imageSubheader(image),
            std::string(size_t{image.rows} * image.cols * image.bandSubcategories.size(), '\x7f'),
            6, 10);
    }
    lengths += N(file.graphics.size(), 3);
    for (const GraphicLayout& graphic : file.graphics) {
        add(graphicSubheader(graphic), graphic.body, 4, 6);
    }
    lengths += "000";  // NUMX
    lengths += N(file.texts.size(), 3);
    for (const TextLayout& text : file.texts) {
        add(textSubheader(text), text.body, 4, 5);
    }
    lengths += N(file.des.size(), 3);
    for (const DesLayout& des : file.des) {
        add(desSubheader(des), des.body, 4, 9);
    }
    lengths += "000";  // NUMRES
    const std::string before = "NITF02.1003BF01" + A("TESTSTN", 10) + "20240102030405" +
                               A(file.title, 80) + "U" + security() + "00000" + "00000" + "0" +
                               file.background + A("", 24) + A("", 18);
    const std::string after = lengths + section(file.userDefined) + section(file.extended);
    const size_t headerLength = before.size() + 12 + 6 + after.size();
    return before + N(headerLength + body.size(), 12) + N(headerLength, 6) + after + body;
}

}  // namespace dictionary_test
