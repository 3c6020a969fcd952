#include <gtest/gtest.h>

#include <malloc.h>

#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "tessel/platform/nitf.h"

namespace {

std::string field(const std::string& value, size_t width, char fill = ' ') {
    std::string out = value.substr(0, width);
    out.resize(width, fill);
    return out;
}

std::string number(uint64_t value, size_t width) {
    std::string digits = std::to_string(value);
    return std::string(width - digits.size(), '0') + digits;
}

// A small NITF 2.1 file: one 2x4 image with an IXSHD TRE, one text segment.
struct SmallFile {
    std::string imageTRE = "TESTAB00005hello";
    std::string nrows = "00000002";
    std::string text = "Hello text";
    std::string pixels = std::string("\x01\x02\x03\x04\x05\x06\x07\x08", 8);
    std::string blocking = "0001000100040002";  // NBPR, NBPC, NPPBH, NPPBV
    uint64_t claimedPixels = 0;  // the image length the header gives; 0 for the real one
    bool withText = true;

    std::string imageSubheader() const {
        std::string s = "IM" + field("IMAGE1", 10) + field("20240101000000", 14) + field("", 17) +
                        field("title", 80) + "U" + std::string(166, ' ') + "0" + field("", 42) +
                        nrows + "00000004" + "INT" + field("MONO", 8) + field("VIS", 8) + "08" +
                        "R" + " " + "0" + "NC" + "1" + field("M", 2) + field("", 6) + "N" +
                        field("", 3) + "0" + "0" + "B" + blocking + "08" + "001" + "000" +
                        "0000000000" + "1.0 " + "00000";
        s += imageTRE.empty() ? "00000" : number(imageTRE.size() + 3, 5) + "000" + imageTRE;
        return s;
    }
    std::string textSubheader() const {
        return "TE" + field("TXT1", 7) + "000" + field("20240101000000", 14) + field("", 80) + "U" +
               std::string(166, ' ') + "0" + "STA" + "00000";
    }
    std::string bytes() const {
        std::string image = imageSubheader();
        std::string textHeader = withText ? textSubheader() : "";
        const std::string textBody = withText ? text : "";
        const uint64_t imageLength = claimedPixels != 0 ? claimedPixels : pixels.size();
        std::string header = "NITF02.10" + std::string("03") + "BF01" + field("STATION", 10) +
                             field("20240101000000", 14) + field("A title", 80) + "U" +
                             std::string(166, ' ') + "00000" + "00000" + "0" +
                             std::string(3, '\0') + field("", 24) + field("", 18);
        size_t headerLength = header.size() + 12 + 6 + 3 + 16 + 3 + 3 + 3 + 9 + 3 + 3 + 5 + 5;
        if (!withText) {
            headerLength -= 4 + 5;
        }
        size_t total =
            headerLength + image.size() + imageLength + textHeader.size() + textBody.size();
        header += number(total, 12) + number(headerLength, 6) + "001" + number(image.size(), 6) +
                  number(imageLength, 10) + "000" + "000" +
                  (withText ? "001" + number(textHeader.size(), 4) + number(text.size(), 5)
                            : std::string("000")) +
                  "000" + "000" + "00000" + "00000";
        return header + image + pixels + textHeader + textBody;
    }
};

struct Parsed {
    nitf_Error error{};
    std::string bytes;
    nitf_IOInterface* io = nullptr;
    nitf_Reader* reader = nullptr;
    nitf_Record* record = nullptr;

    explicit Parsed(std::string data) : bytes(std::move(data)) {
        io = nitf_BufferAdapter_construct(bytes.data(), bytes.size(), false, &error);
        reader = nitf_Reader_construct(&error);
        record = nitf_Reader_readIO(reader, io, &error);
    }
    ~Parsed() {
        nitf_Record_destruct(&record);
        nitf_Reader_destruct(&reader);
        nitf_IOInterface_destruct(&io);
    }
    std::string message() const { return error.message; }
};

TEST(NitfReader, ReadsASmallFile) {
    Parsed p(SmallFile{}.bytes());
    ASSERT_NE(p.record, nullptr) << p.message();
    EXPECT_EQ(nitf_Record_getVersion(p.record), NITF_VER_21);
    EXPECT_EQ(nitf_Record_getNumImages(p.record, &p.error), 1u);
    EXPECT_EQ(nitf_Record_getNumTexts(p.record, &p.error), 1u);
    EXPECT_EQ(std::string(p.record->header->NITF_FTITLE->raw, 7), "A title");
    nitf_ListIterator it = nitf_List_begin(p.record->images);
    auto* image = static_cast<nitf_ImageSegment*>(nitf_ListIterator_get(&it));
    uint32_t rows = 0, cols = 0;
    nitf_ImageSubheader_getDimensions(image->subheader, &rows, &cols, &p.error);
    EXPECT_EQ(rows, 2u);
    EXPECT_EQ(cols, 4u);
    EXPECT_EQ(nitf_ImageSubheader_getBandCount(image->subheader, &p.error), 1u);
    nitf_List* tres = nitf_Extensions_getTREsByName(image->subheader->extendedSection, "TESTAB");
    ASSERT_NE(tres, nullptr);
    nitf_ListIterator first = nitf_List_begin(tres);
    nitf_Field* raw =
        nitf_TRE_getField(static_cast<nitf_TRE*>(nitf_ListIterator_get(&first)), "raw_data");
    ASSERT_NE(raw, nullptr);
    EXPECT_EQ(std::string(raw->raw, raw->length), "hello");
    EXPECT_TRUE(nitf_List_isEmpty(p.reader->warningList));

    nitf_ImageReader* imageReader = nitf_Reader_newImageReader(p.reader, 0, nullptr, &p.error);
    ASSERT_NE(imageReader, nullptr) << p.message();
    uint64_t size = 0;
    uint8_t* block = nitf_ImageReader_readBlock(imageReader, 0, &size, &p.error);
    ASSERT_NE(block, nullptr) << p.message();
    EXPECT_EQ(std::string(reinterpret_cast<char*>(block), size), SmallFile{}.pixels);
    nitf_ImageReader_destruct(&imageReader);
}

TEST(NitfReader, TextSegmentReaderReadsSeeksAndStops) {
    Parsed p(SmallFile{}.bytes());
    ASSERT_NE(p.record, nullptr) << p.message();
    nitf_SegmentReader* text = nitf_Reader_newTextReader(p.reader, 0, &p.error);
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(nitf_SegmentReader_getSize(text, &p.error), 10);
    char buffer[16] = {};
    ASSERT_TRUE(nitf_SegmentReader_read(text, buffer, 5, &p.error));
    EXPECT_EQ(std::string(buffer, 5), "Hello");
    EXPECT_EQ(nitf_SegmentReader_tell(text, &p.error), 5);
    EXPECT_EQ(nitf_SegmentReader_seek(text, -4, NITF_SEEK_END, &p.error), 6);
    ASSERT_TRUE(nitf_SegmentReader_read(text, buffer, 4, &p.error));
    EXPECT_EQ(std::string(buffer, 4), "text");
    EXPECT_FALSE(nitf_SegmentReader_read(text, buffer, 1, &p.error));
    EXPECT_EQ(nitf_SegmentReader_seek(text, 11, NITF_SEEK_SET, &p.error), -1);
    nitf_SegmentReader_destruct(&text);
    EXPECT_EQ(nitf_Reader_newTextReader(p.reader, 1, &p.error), nullptr);
}

TEST(NitfReader, NumericFieldHoldingTextIsNamed) {
    SmallFile file;
    file.nrows = "00000A02";
    Parsed p(file.bytes());
    EXPECT_EQ(p.record, nullptr);
    EXPECT_EQ(p.message(), "image 1 subheader: NROWS is not a number ('00000A02')");
    EXPECT_EQ(p.error.level, NITF_ERR_PARSING_FILE);
}

TEST(NitfReader, TRELongerThanTheFileIsAnError) {
    SmallFile file;
    std::string bytes = file.bytes();
    // Declare 1041 bytes for the image TRE in a file that ends soon after.
    size_t at = bytes.find("TESTAB00005");
    ASSERT_NE(at, std::string::npos);
    bytes.replace(at + 6, 5, "01041");
    Parsed p(bytes);
    EXPECT_EQ(p.record, nullptr);
    std::string expected = "image 1 subheader: TRE TESTAB: 1041 bytes declared, " +
                           std::to_string(bytes.size() - at - 11) + " present";
    EXPECT_EQ(p.message(), expected);
}

TEST(NitfReader, TextWhereTREsBelongIsSkippedWithAWarning) {
    SmallFile file;
    file.imageTRE = "This is no TRE at all";
    Parsed p(file.bytes());
    ASSERT_NE(p.record, nullptr) << p.message();
    ASSERT_FALSE(nitf_List_isEmpty(p.reader->warningList));
    nitf_ListIterator it = nitf_List_begin(p.reader->warningList);
    std::string warning = static_cast<char*>(nitf_ListIterator_get(&it));
    EXPECT_NE(warning.find("IXSHD"), std::string::npos) << warning;
}

TEST(NitfReader, UnknownVersionIsRefused) {
    std::string bytes = SmallFile{}.bytes();
    bytes.replace(4, 5, "01.10");
    Parsed p(bytes);
    EXPECT_EQ(p.record, nullptr);
    EXPECT_EQ(p.message(), "file header: 'NITF01.10' is not NITF 2.00, NITF 2.10 or NSIF 1.00");
}

TEST(NitfReader, EveryTruncationFailsCleanly) {
    std::string bytes = SmallFile{}.bytes();
    size_t dataStart = bytes.size() - SmallFile{}.text.size();
    for (size_t length = 0; length < dataStart; ++length) {
        Parsed p(bytes.substr(0, length));
        if (p.record == nullptr) {
            EXPECT_NE(p.error.level, 0) << length;
            EXPECT_GT(std::strlen(p.error.message), 0u) << length;
        }
    }
}

TEST(NitfReader, CorruptedBytesNeverCrash) {
    std::string original = SmallFile{}.bytes();
    uint32_t seed = 12345;
    for (int trial = 0; trial < 400; ++trial) {
        std::string bytes = original;
        for (int k = 0; k < 4; ++k) {
            seed = seed * 1103515245u + 12345u;
            size_t at = (seed >> 8) % bytes.size();
            seed = seed * 1103515245u + 12345u;
            bytes[at] = static_cast<char>("0123456789 9Z\xff\x00"[(seed >> 16) % 15]);
        }
        Parsed p(bytes);
        if (p.record == nullptr) {
            EXPECT_NE(p.error.level, 0);
            continue;
        }
        // Whatever parsed must also be safe to read.
        nitf_Error error{};
        nitf_ImageReader* image = nitf_Reader_newImageReader(p.reader, 0, nullptr, &error);
        if (image != nullptr) {
            uint64_t size = 0;
            nitf_ImageReader_readBlock(image, 0, &size, &error);
            nitf_ImageReader_destruct(&image);
        }
    }
}

TEST(NitfReader, Version20SecurityWithDowngradeEvent) {
    // NITF 2.0 file header with DWNG 999998 and a DEVT, no segments.
    std::string header = "NITF02.00" + std::string("01") + "BF01" + field("STATION", 10) +
                         field("20240101000000", 14) + field("Old title", 80) + "U" +
                         field("CODES", 40) + field("CTLH", 40) + field("REL", 40) +
                         field("CAUT", 20) + field("CTLN", 20) + "999998" + field("ON EVENT", 40) +
                         "00000" + "00000" + "0" + field("NAME", 27) + field("", 18);
    size_t headerLength = header.size() + 12 + 6 + 6 * 3 + 5 + 5;
    header += number(headerLength, 12) + number(headerLength, 6) + "000000000000000000" + "00000" +
              "00000";
    Parsed p(header);
    ASSERT_NE(p.record, nullptr) << p.message();
    EXPECT_EQ(nitf_Record_getVersion(p.record), NITF_VER_20);
    nitf_FileSecurity* fs = p.record->header->securityGroup;
    EXPECT_EQ(fs->NITF_CODE->length, 40u);
    EXPECT_EQ(std::string(fs->NITF_CODE->raw, 5), "CODES");
    EXPECT_EQ(std::string(fs->NITF_DGDT->raw, fs->NITF_DGDT->length), "999998");
    EXPECT_EQ(std::string(fs->NITF_CLTX->raw, 8), "ON EVENT");
    EXPECT_EQ(p.record->header->NITF_ONAME->length, 27u);
    EXPECT_EQ(std::string(p.record->header->NITF_ONAME->raw, 4), "NAME");
}

TEST(NitfRecord, NewSegmentsBumpTheCounts) {
    nitf_Error error{};
    nitf_Record* record = nitf_Record_construct(NITF_VER_21, &error);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(nitf_Record_getVersion(record), NITF_VER_21);
    ASSERT_NE(nitf_Record_newImageSegment(record, &error), nullptr);
    ASSERT_NE(nitf_Record_newImageSegment(record, &error), nullptr);
    ASSERT_NE(nitf_Record_newTextSegment(record, &error), nullptr);
    ASSERT_NE(nitf_Record_newDataExtensionSegment(record, &error), nullptr);
    ASSERT_NE(nitf_Record_newGraphicSegment(record, &error), nullptr);
    EXPECT_EQ(nitf_Record_getNumImages(record, &error), 2u);
    EXPECT_EQ(nitf_Record_getNumTexts(record, &error), 1u);
    EXPECT_EQ(nitf_Record_getNumDataExtensions(record, &error), 1u);
    EXPECT_EQ(nitf_Record_getNumGraphics(record, &error), 1u);
    EXPECT_EQ(std::string(record->header->NITF_NUMI->raw, 3), "002");
    EXPECT_EQ(record->header->imageInfo[1]->lengthSubheader->length, 6u);
    nitf_Record* copy = nitf_Record_clone(record, &error);
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(nitf_List_size(copy->images), 2u);
    nitf_Record_destruct(&copy);
    nitf_Record_destruct(&record);
    EXPECT_EQ(record, nullptr);
}

TEST(NitfImageSubheader, PixelInformationBlockingAndBands) {
    nitf_Error error{};
    nitf_ImageSubheader* sh = nitf_ImageSubheader_construct(&error);
    auto** bands = static_cast<nitf_BandInfo**>(std::malloc(12 * sizeof(nitf_BandInfo*)));
    for (int b = 0; b < 12; ++b) {
        bands[b] = nitf_BandInfo_construct(&error);
        ASSERT_TRUE(nitf_BandInfo_init(bands[b], "M", "", "N", "", 0, 0, nullptr, &error));
    }
    ASSERT_TRUE(nitf_ImageSubheader_setPixelInformation(sh, "INT", 16, 12, "R", "MULTI", "MS", 12,
                                                        bands, &error));
    EXPECT_EQ(std::string(sh->NITF_NBANDS->raw, 1), "0");
    EXPECT_EQ(std::string(sh->NITF_XBANDS->raw, 5), "00012");
    EXPECT_EQ(nitf_ImageSubheader_getBandCount(sh, &error), 12u);
    EXPECT_EQ(nitf_ImageSubheader_getBandInfo(sh, 11, &error), bands[11]);
    EXPECT_EQ(nitf_ImageSubheader_getBandInfo(sh, 12, &error), nullptr);
    ASSERT_TRUE(nitf_ImageSubheader_setBlocking(sh, 1000, 300, 256, 10000, "B", &error));
    uint32_t r, c, rpb, cpb, bpr, bpc;
    char imode[2];
    nitf_ImageSubheader_getBlocking(sh, &r, &c, &rpb, &cpb, &bpr, &bpc, imode, &error);
    EXPECT_EQ(rpb, 256u);
    EXPECT_EQ(cpb, 0u);  // over 8192: not blocked
    EXPECT_EQ(bpc, 4u);
    EXPECT_EQ(bpr, 1u);
    EXPECT_STREQ(imode, "B");
    nitf_ImageSubheader* copy = nitf_ImageSubheader_clone(sh, &error);
    ASSERT_NE(copy, nullptr);
    EXPECT_NE(copy->bandInfo[3], sh->bandInfo[3]);
    nitf_ImageSubheader_destruct(&copy);
    nitf_ImageSubheader_destruct(&sh);
}

}  // namespace

namespace {

// The image of a small file, parsed, with a reader of its own that goes with it.
struct ParsedImage {
    Parsed parsed;
    nitf_ImageReader* reader = nullptr;

    explicit ParsedImage(const SmallFile& file) : parsed(file.bytes()) {
        if (parsed.record != nullptr) {
            reader = nitf_Reader_newImageReader(parsed.reader, 0, nullptr, &parsed.error);
        }
    }
    ~ParsedImage() { nitf_ImageReader_destruct(&reader); }
    ParsedImage(const ParsedImage&) = delete;
    ParsedImage& operator=(const ParsedImage&) = delete;

    // The bytes of block `number`; nothing when the reader refuses it.
    std::optional<std::string> block(uint32_t number) {
        uint64_t size = 0;
        const uint8_t* data = nitf_ImageReader_readBlock(reader, number, &size, &parsed.error);
        if (data == nullptr) {
            return std::nullopt;
        }
        return std::string(reinterpret_cast<const char*>(data), size);
    }
};

// A small file without a text segment, so that its image data may end the file.
SmallFile imageOnlyFile() {
    SmallFile file;
    file.withText = false;
    return file;
}

}  // namespace

// The header promises 9,999,999,999 bytes of image data; the file holds four. The reader
// sizes nothing by the promise: the image data ends where the file does.
TEST(NitfImageReader, ImageDataEndsWhereTheFileDoesWhateverTheHeaderClaims) {
    SmallFile file = imageOnlyFile();
    file.pixels = std::string("\x01\x02\x03\x04", 4);
    file.claimedPixels = 9999999999;
    ParsedImage image(file);
    ASSERT_NE(image.reader, nullptr) << image.parsed.message();
    EXPECT_EQ(image.block(0), std::nullopt);
    EXPECT_NE(image.parsed.message().find("of the image data, which has 4"), std::string::npos)
        << image.parsed.message();
}

TEST(NitfImageReader, ImageDataThatTheFileHoldsReadsDespiteALargerClaim) {
    SmallFile file = imageOnlyFile();
    file.claimedPixels = 9999999999;
    ParsedImage image(file);
    ASSERT_NE(image.reader, nullptr) << image.parsed.message();
    EXPECT_EQ(image.block(0), file.pixels) << image.parsed.message();
}

// Nearly a hundred million blocks of two rows claimed by a file of a few hundred bytes: the
// blocks of an image without a mask are found by arithmetic, with no table per block.
TEST(NitfImageReader, ClaimedBlocksCostNoMemoryUntilRead) {
    SmallFile file = imageOnlyFile();
    file.blocking = "9999999900040002";
    ParsedImage image(file);
    ASSERT_NE(image.reader, nullptr) << image.parsed.message();
    const size_t mappedBefore = mallinfo2().hblkhd;
    nitf_BlockingInfo* info = nitf_ImageReader_getBlockingInfo(image.reader, &image.parsed.error);
    ASSERT_NE(info, nullptr) << image.parsed.message();
    EXPECT_EQ(info->numBlocksPerRow, 9999u);
    nitf_BlockingInfo_destruct(&info);
    EXPECT_LT(mallinfo2().hblkhd, mappedBefore + (size_t{64} << 20));
    EXPECT_EQ(image.block(0), file.pixels) << image.parsed.message();
    EXPECT_EQ(image.block(9999u * 9999u - 1), std::nullopt);
}
