// The record layer's writer: images from band sources in each interleaving, segment data
// from sources, and failures of the output.

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tessel/platform/nitf.h"
#include "tests/support/GdalOracle.h"

namespace {

namespace fs = std::filesystem;

// A record of one image: `bands` bands of 16-bit samples, blocked as asked.
nitf_Record* imageRecord(uint32_t rows, uint32_t columns, uint32_t bands, uint32_t blockRows,
                         uint32_t blockColumns, const char* imode) {
    nitf_Error error{};
    nitf_Record* record = nitf_Record_construct(NITF_VER_21, &error);
    nitf_ImageSegment* segment = nitf_Record_newImageSegment(record, &error);
    auto** infos = static_cast<nitf_BandInfo**>(std::calloc(bands, sizeof(nitf_BandInfo*)));
    for (uint32_t b = 0; b < bands; ++b) {
        infos[b] = nitf_BandInfo_construct(&error);
        nitf_BandInfo_init(infos[b], "M", " ", "N", "   ", 0, 0, nullptr, &error);
    }
    nitf_ImageSubheader* sh = segment->subheader;
    EXPECT_TRUE(nitf_ImageSubheader_setPixelInformation(sh, "INT", 16, 16, "R", "MULTI", "VIS",
                                                        bands, infos, &error))
        << error.message;
    EXPECT_TRUE(
        nitf_ImageSubheader_setBlocking(sh, rows, columns, blockRows, blockColumns, imode, &error))
        << error.message;
    nitf_Field_setString(sh->imageCompression, "NC", &error);
    return record;
}

// Sample value of band b at (row, column), distinct everywhere and in both bytes.
uint16_t sampleAt(uint32_t b, uint32_t row, uint32_t column) {
    return static_cast<uint16_t>(0x0101 * (b + 1) + row * 0x1000 + column * 3);
}

std::string writeToMemory(nitf_Record* record, const std::vector<std::vector<uint16_t>>& bands,
                          bool* ok, std::string* message) {
    nitf_Error error{};
    nitf_IOInterface* io = nitf_BufferAdapter_constructGrowable(&error);
    nitf_Writer* writer = nitf_Writer_construct(&error);
    *ok = nitf_Writer_prepareIO(writer, record, io, &error);
    nitf_ImageWriter* image = nitf_Writer_newImageWriter(writer, 0, nullptr, &error);
    nitf_ImageSource* source = nitf_ImageSource_construct(&error);
    for (const auto& band : bands) {
        nitf_ImageSource_addBand(
            source,
            nitf_MemorySource_construct(band.data(), static_cast<nitf_Off>(band.size() * 2), 0, 2,
                                        0, &error),
            &error);
    }
    *ok = *ok && image != nullptr && nitf_ImageWriter_attachSource(image, source, &error) &&
          nitf_Writer_write(writer, &error);
    *message = error.message;
    size_t size = 0;
    const char* bytes = nitf_BufferAdapter_getBuffer(io, &size);
    std::string out(bytes, size);
    nitf_Writer_destruct(&writer);
    nitf_IOInterface_destruct(&io);
    return out;
}

class ImageWriterModes : public ::testing::TestWithParam<const char*> {};

// 5 rows of 7 columns in blocks of 2x3 (partial blocks at the right and bottom) come back
// through our image reader sample for sample, in every interleaving.
TEST_P(ImageWriterModes, RowsFromBandSourcesReadBackAsWritten) {
    const uint32_t rows = 5, columns = 7, bandCount = 3;
    nitf_Record* record = imageRecord(rows, columns, bandCount, 2, 3, GetParam());
    std::vector<std::vector<uint16_t>> bands(bandCount);
    for (uint32_t b = 0; b < bandCount; ++b) {
        for (uint32_t r = 0; r < rows; ++r) {
            for (uint32_t c = 0; c < columns; ++c) {
                bands[b].push_back(sampleAt(b, r, c));
            }
        }
    }
    bool ok = false;
    std::string message;
    const std::string bytes = writeToMemory(record, bands, &ok, &message);
    nitf_Record_destruct(&record);
    ASSERT_TRUE(ok) << message;
    // 3 block columns x 3 block rows x 3 bands x 2x3 samples of 2 bytes follow the subheader.
    const size_t dataBytes = 3 * 3 * bandCount * 6 * 2;
    ASSERT_GT(bytes.size(), dataBytes);
    EXPECT_EQ(std::stoull(bytes.substr(342, 12)), bytes.size()) << "FL";

    const fs::path path =
        fs::path(::testing::TempDir()) / (std::string("image_writer_") + GetParam() + ".ntf");
    std::ofstream(path, std::ios::binary) << bytes;
    // Our image reader doesn't serve IMODE R yet: GDAL reads every mode.
    if (std::string(GetParam()) != "R") {
        const auto all = [](Tessel::eCompressionType) { return true; };
        const auto images = tessel_test::decodeImages(path, all);
        ASSERT_EQ(images.size(), 1u);
        ASSERT_TRUE(images[0].error.empty()) << images[0].error;
        ASSERT_EQ(images[0].bands.size(), bandCount);
        for (uint32_t b = 0; b < bandCount; ++b) {
            std::vector<uint16_t> read(rows * columns);
            ASSERT_EQ(images[0].bands[b].size(), read.size() * 2);
            std::memcpy(read.data(), images[0].bands[b].data(), images[0].bands[b].size());
            EXPECT_EQ(read, bands[b]) << "band " << b;
        }
    }
    if (tessel_test::gdalAvailable()) {
        const auto gdal = tessel_test::jsonFromCommand(
            "/usr/bin/python3 -c \"import json, sys; from osgeo import gdal; d = "
            "gdal.Open(sys.argv[1]); "
            "print(json.dumps([d.GetRasterBand(b + 1).ReadAsArray().ravel().tolist() "
            "for b in range(d.RasterCount)]))\" '" +
            path.string() + "'");
        ASSERT_TRUE(gdal.is_array()) << "GDAL doesn't read " << path;
        ASSERT_EQ(gdal.size(), bandCount);
        for (uint32_t b = 0; b < bandCount; ++b) {
            EXPECT_EQ(gdal[b].get<std::vector<uint16_t>>(), bands[b]) << "GDAL, band " << b;
        }
    }
    if (std::getenv("TESSEL_KEEP_WRITTEN") == nullptr) {
        fs::remove(path);
    }
}

INSTANTIATE_TEST_SUITE_P(NitfWriter, ImageWriterModes, ::testing::Values("B", "P", "R", "S"));

TEST(NitfWriter, ImageWithFewerSourcesThanBandsFails) {
    nitf_Record* record = imageRecord(2, 2, 2, 2, 2, "B");
    bool ok = true;
    std::string message;
    writeToMemory(record, {std::vector<uint16_t>(4, 1)}, &ok, &message);
    nitf_Record_destruct(&record);
    EXPECT_FALSE(ok);
    EXPECT_NE(message.find("2 bands in the subheader, 1 band sources attached"), std::string::npos)
        << message;
}

TEST(NitfWriter, SourceShorterThanTheImageFails) {
    nitf_Record* record = imageRecord(4, 4, 1, 4, 4, "B");
    bool ok = true;
    std::string message;
    writeToMemory(record, {std::vector<uint16_t>(5, 1)}, &ok, &message);
    nitf_Record_destruct(&record);
    EXPECT_FALSE(ok);
    EXPECT_NE(message.find("passes the end of the source"), std::string::npos) << message;
}

TEST(NitfWriter, TextSegmentDataComesFromItsSourceAndReadsBack) {
    nitf_Error error{};
    nitf_Record* record = nitf_Record_construct(NITF_VER_21, &error);
    ASSERT_NE(nitf_Record_newTextSegment(record, &error), nullptr);
    nitf_IOInterface* io = nitf_BufferAdapter_constructGrowable(&error);
    nitf_Writer* writer = nitf_Writer_construct(&error);
    ASSERT_TRUE(nitf_Writer_prepareIO(writer, record, io, &error));
    nitf_SegmentWriter* text = nitf_Writer_newTextWriter(writer, 0, &error);
    const std::string body = "twelve bytes";
    ASSERT_TRUE(nitf_SegmentWriter_attachSource(
        text,
        nitf_SegmentMemorySource_construct(body.data(), static_cast<nitf_Off>(body.size()), 0, 0,
                                           true, &error),
        &error));
    ASSERT_TRUE(nitf_Writer_write(writer, &error)) << error.message;
    nitf_Writer_destruct(&writer);

    size_t size = 0;
    const char* bytes = nitf_BufferAdapter_getBuffer(io, &size);
    char* copy = static_cast<char*>(std::malloc(size));
    std::memcpy(copy, bytes, size);
    nitf_IOInterface* input = nitf_BufferAdapter_construct(copy, size, true, &error);
    nitf_Reader* reader = nitf_Reader_construct(&error);
    nitf_Record* read = nitf_Reader_readIO(reader, input, &error);
    ASSERT_NE(read, nullptr) << error.message;
    EXPECT_TRUE(nitf_List_isEmpty(reader->warningList));
    nitf_SegmentReader* segment = nitf_Reader_newTextReader(reader, 0, &error);
    ASSERT_NE(segment, nullptr);
    std::string back(body.size(), '\0');
    ASSERT_EQ(nitf_SegmentReader_getSize(segment, &error), static_cast<nitf_Off>(body.size()));
    ASSERT_TRUE(nitf_SegmentReader_read(segment, back.data(), back.size(), &error));
    EXPECT_EQ(back, body);
    nitf_SegmentReader_destruct(&segment);
    nitf_Record_destruct(&read);
    nitf_Reader_destruct(&reader);
    nitf_IOInterface_destruct(&input);
    nitf_IOInterface_destruct(&io);
    nitf_Record_destruct(&record);
}

// An output whose writes fail once `room` bytes are out, as a full disk does.
struct FailingOutput {
    nitf_IOInterface* inner;
    size_t room;
};

nrt_IOInterface* failingOutput(size_t room) {
    static nrt_IIOInterface table = {
        [](NRT_DATA* d, void* b, size_t s, nrt_Error* e) {
            return nrt_IOInterface_read(static_cast<FailingOutput*>(d)->inner, b, s, e);
        },
        [](NRT_DATA* d, const void* b, size_t s, nrt_Error* e) -> NRT_BOOL {
            auto* out = static_cast<FailingOutput*>(d);
            nrt_Error ignored{};
            const nrt_Off at = nrt_IOInterface_tell(out->inner, &ignored);
            if (static_cast<size_t>(at) + s > out->room) {
                nrt_Error_init(e, "No space left on device", NRT_CTXT, NRT_ERR_WRITING_TO_FILE);
                return false;
            }
            return nrt_IOInterface_write(out->inner, b, s, e);
        },
        [](NRT_DATA*, nrt_Error*) -> NRT_BOOL { return true; },
        [](NRT_DATA* d, nrt_Off o, int w, nrt_Error* e) {
            return nrt_IOInterface_seek(static_cast<FailingOutput*>(d)->inner, o, w, e);
        },
        [](NRT_DATA* d, nrt_Error* e) {
            return nrt_IOInterface_tell(static_cast<FailingOutput*>(d)->inner, e);
        },
        [](NRT_DATA* d, nrt_Error* e) {
            return nrt_IOInterface_getSize(static_cast<FailingOutput*>(d)->inner, e);
        },
        [](NRT_DATA*, nrt_Error*) { return static_cast<int>(NRT_ACCESS_READWRITE); },
        [](NRT_DATA*, nrt_Error*) -> NRT_BOOL { return true; },
        [](NRT_DATA* d) {
            auto* out = static_cast<FailingOutput*>(d);
            nrt_IOInterface_destruct(&out->inner);
            delete out;
        },
    };
    nrt_Error error{};
    auto* io = static_cast<nrt_IOInterface*>(std::calloc(1, sizeof(nrt_IOInterface)));
    io->data = new FailingOutput{nrt_BufferAdapter_constructGrowable(&error), room};
    io->iface = &table;
    return io;
}

TEST(NitfWriter, WriteErrorOfTheOutputFailsTheWriteWithItsReason) {
    for (size_t room : {size_t{0}, size_t{100}, size_t{500}}) {
        SCOPED_TRACE(room);
        nitf_Record* record = imageRecord(8, 8, 1, 8, 8, "B");
        nitf_Error error{};
        nrt_IOInterface* io = failingOutput(room);
        nitf_Writer* writer = nitf_Writer_construct(&error);
        ASSERT_TRUE(nitf_Writer_prepareIO(writer, record, io, &error));
        nitf_ImageWriter* image = nitf_Writer_newImageWriter(writer, 0, nullptr, &error);
        nitf_ImageSource* source = nitf_ImageSource_construct(&error);
        std::vector<uint16_t> band(64, 7);
        nitf_ImageSource_addBand(
            source, nitf_MemorySource_construct(band.data(), 128, 0, 2, 0, &error), &error);
        ASSERT_TRUE(nitf_ImageWriter_attachSource(image, source, &error));
        EXPECT_FALSE(nitf_Writer_write(writer, &error));
        EXPECT_STREQ(error.message, "No space left on device");
        nitf_Writer_destruct(&writer);
        nrt_IOInterface_destruct(&io);
        nitf_Record_destruct(&record);
    }
}

}  // namespace
