// New files composed with createImage and setSource and written with write: the keys of the
// sources, the header fields of a new image, zero fill, data extensions, and files that read
// back with the same pixels and fields by our reader and by GDAL.

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFile.h"
#include "tessel/file/NITFFileContext.h"
#include "tessel/file/NITFMemorySource.h"
#include "tessel/image/NITFImage.h"
#include "tessel/platform/nitf.h"
#include "tests/platform/nitf/sha256.h"
#include "tests/support/GdalOracle.h"
#include "tests/support/TestPaths.h"

namespace {

namespace fs = std::filesystem;
using Tessel::NITFFile;

// Has the right size but can't deliver.
class BrokenSource final : public NITFFile::SegmentSource {
public:
    explicit BrokenSource(int64_t size) : size_(size) {}
    int64_t size(std::vector<std::string>&) override { return size_; }
    bool read(void*, size_t, std::vector<std::string>& messages) override {
        messages.emplace_back("the camera went away");
        return false;
    }

private:
    int64_t size_;
};

std::shared_ptr<NITFFile::SegmentSource> bytesOf(std::vector<uint8_t> bytes) {
    return std::make_shared<Tessel::NITFMemorySource>(
        std::make_shared<const std::vector<uint8_t>>(std::move(bytes)));
}

// `count` bytes counting up from `first`.
std::vector<uint8_t> ramp(size_t count, uint8_t first) {
    std::vector<uint8_t> bytes(count);
    for (size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<uint8_t>(first + i);
    }
    return bytes;
}

template <typename T>
std::vector<uint8_t> samplesOf(const std::vector<T>& values) {
    std::vector<uint8_t> bytes(values.size() * sizeof(T));
    std::memcpy(bytes.data(), values.data(), bytes.size());
    return bytes;
}

std::string fileBytes(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::string fieldText(const nitf_Field* field) {
    std::string text(field->raw, field->length);
    const size_t end = text.find_last_not_of(' ');
    return end == std::string::npos ? std::string() : text.substr(0, end + 1);
}

void setField(nitf_Field* field, const std::string& value) {
    nrt_Error error{};
    ASSERT_TRUE(nitf_Field_setString(field, value.c_str(), &error)) << error.message;
}

// Limits the size of files this process writes while it lives; a write past the limit puts
// what fits and then fails with EFBIG instead of raising SIGXFSZ.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        previousHandler_ = std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &previous_);
        rlimit limited = previous_;
        limited.rlim_cur = bytes;
        ::setrlimit(RLIMIT_FSIZE, &limited);
    }
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &previous_);
        std::signal(SIGXFSZ, previousHandler_);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit previous_{};
    void (*previousHandler_)(int) = nullptr;
};

class NITFFileWriter : public ::testing::Test {
protected:
    void SetUp() override {
        Tessel::NITFMessages messages;
        context_ = std::make_unique<Tessel::NITFFileContext>(Tessel::NITFFactory::create(messages));
        ASSERT_TRUE(*context_);
        folder_ = fs::temp_directory_path() /
                  ("tessel-writer-" + std::to_string(::getpid()) + "-" +
                   ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(folder_);
        fs::create_directories(folder_);
    }
    void TearDown() override { fs::remove_all(folder_); }

    NITFFile& file() { return context_->getFile(); }
    nitf_Record* record() { return file().getPrivate()->getRecord(); }
    nitf_ImageSubheader* subheader(int index) {
        nrt_ListIterator at = nrt_List_at(record()->images, index);
        return static_cast<nitf_ImageSegment*>(nrt_ListIterator_get(&at))->subheader;
    }
    fs::path path(const std::string& name) const { return folder_ / name; }

    std::shared_ptr<Tessel::NITFImage> addImage(unsigned columns, unsigned rows, unsigned bands,
                                                unsigned bits, lumo_pixel::type type,
                                                const std::string& name = "image.ntf",
                                                unsigned block = 1024) {
        Tessel::ImageOptions options;
        return file().createImage(columns, rows, bands, bits, block, block, type, name, options);
    }

    nitf_DESubheader* addExtension(const std::string& tag) {
        nrt_Error error{};
        nitf_DESegment* segment = nitf_Record_newDataExtensionSegment(record(), &error);
        EXPECT_NE(segment, nullptr) << error.message;
        if (segment == nullptr) {
            return nullptr;
        }
        setField(segment->subheader->typeID, tag);
        setField(segment->subheader->version, "01");
        return segment->subheader;
    }

    // Writes, and expects success.
    Tessel::NITFMessages writeTo(const fs::path& out) {
        Tessel::NITFMessages messages;
        EXPECT_TRUE(file().write(out.string(), messages))
            << (messages.empty() ? "" : messages.front());
        return messages;
    }

    std::vector<tessel_test::DecodedImage> readBack(const fs::path& out) {
        auto images = tessel_test::decodeImages(out, [](Tessel::eCompressionType) { return true; });
        for (const auto& image : images) {
            EXPECT_EQ(image.error, "");
        }
        return images;
    }

    std::unique_ptr<Tessel::NITFFileContext> context_;
    fs::path folder_;
};

TEST_F(NITFFileWriter, BandWithoutSourceGivesOneMessageAndZeroPixels) {
    ASSERT_TRUE(addImage(4, 3, 2, 8, lumo_pixel::unsigned_integer));
    file().setSource(NITFFile::SegmentType::ImageBand, 1000, bytesOf(ramp(12, 1)));
    const auto messages = writeTo(path("zero.ntf"));
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0],
              "/SegmentSource: Missing Segment Source from Image 0, Band 1, Using Zero Fill");
    const auto images = readBack(path("zero.ntf"));
    ASSERT_EQ(images.size(), 1u);
    ASSERT_EQ(images[0].bands.size(), 2u);
    EXPECT_EQ(images[0].bands[0], ramp(12, 1));
    EXPECT_EQ(images[0].bands[1], std::vector<uint8_t>(12, 0));
}

TEST_F(NITFFileWriter, BandTwoOfImageZeroUsesKey1002AndBandZeroOfImageOneUses2000) {
    ASSERT_TRUE(addImage(2, 2, 3, 8, lumo_pixel::unsigned_integer));
    ASSERT_TRUE(addImage(3, 1, 1, 8, lumo_pixel::unsigned_integer));
    file().setSource(NITFFile::SegmentType::ImageBand, 1000, bytesOf(ramp(4, 10)));
    file().setSource(NITFFile::SegmentType::ImageBand, 1001, bytesOf(ramp(4, 20)));
    file().setSource(NITFFile::SegmentType::ImageBand, 1002, bytesOf(ramp(4, 30)));
    file().setSource(NITFFile::SegmentType::ImageBand, 2000, bytesOf(ramp(3, 40)));
    EXPECT_TRUE(writeTo(path("keys.ntf")).empty());
    const auto images = readBack(path("keys.ntf"));
    ASSERT_EQ(images.size(), 2u);
    ASSERT_EQ(images[0].bands.size(), 3u);
    EXPECT_EQ(images[0].bands[2], ramp(4, 30));
    ASSERT_EQ(images[1].bands.size(), 1u);
    EXPECT_EQ(images[1].bands[0], ramp(3, 40));
}

TEST_F(NITFFileWriter, SecondSetSourceForAKeyIsIgnored) {
    ASSERT_TRUE(addImage(3, 2, 1, 8, lumo_pixel::unsigned_integer));
    file().setSource(NITFFile::SegmentType::ImageBand, 1000, bytesOf(ramp(6, 7)));
    file().setSource(NITFFile::SegmentType::ImageBand, 1000, bytesOf(ramp(6, 100)));
    EXPECT_EQ(file().getPrivate()->getSources().size(), 1u);
    EXPECT_TRUE(writeTo(path("first.ntf")).empty());
    const auto images = readBack(path("first.ntf"));
    ASSERT_EQ(images.size(), 1u);
    ASSERT_EQ(images[0].bands.size(), 1u);
    EXPECT_EQ(images[0].bands[0], ramp(6, 7));
}

TEST_F(NITFFileWriter, TreOverflowDataExtensionWithoutSourceWritesWithoutMessage) {
    ASSERT_TRUE(addImage(2, 2, 1, 8, lumo_pixel::unsigned_integer));
    file().setSource(NITFFile::SegmentType::ImageBand, 1000, bytesOf(ramp(4, 1)));
    nitf_DESubheader* overflow = addExtension("TRE_OVERFLOW");
    ASSERT_NE(overflow, nullptr);
    setField(overflow->NITF_DESOFLW, "UDID");
    setField(overflow->NITF_DESITEM, "001");
    EXPECT_TRUE(writeTo(path("overflow.ntf")).empty());
    Tessel::NITFMessages messages;
    const auto reopened = Tessel::NITFFactory::get().open(
        Tessel::NITFURI(std::string_view(path("overflow.ntf").string())), messages);
    ASSERT_TRUE(reopened) << (messages.empty() ? "" : messages.front());
    EXPECT_EQ(reopened.getPathString("/FileHeader/NUMDES", ""), "001");
}

TEST_F(NITFFileWriter, DataExtensionWithoutSourceGivesAMessageAndTheWriteGoesOn) {
    ASSERT_TRUE(addImage(2, 2, 1, 8, lumo_pixel::unsigned_integer));
    file().setSource(NITFFile::SegmentType::ImageBand, 1000, bytesOf(ramp(4, 1)));
    ASSERT_NE(addExtension("TEST_DES"), nullptr);
    const auto messages = writeTo(path("des.ntf"));
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0], "/SegmentSource: Missing Segment Source for DES 0");
    EXPECT_TRUE(fs::exists(path("des.ntf")));
}

TEST_F(NITFFileWriter, ImageNameWithExtensionIsTheFileTitleAndWithoutItTheImageTitle) {
    ASSERT_TRUE(addImage(2, 2, 1, 8, lumo_pixel::unsigned_integer, "x.ntf"));
    EXPECT_EQ(fieldText(record()->header->fileTitle), "x.ntf");
    EXPECT_EQ(fieldText(subheader(0)->imageTitle), "x");
    EXPECT_EQ(fieldText(subheader(0)->imageId), "RasEx0");
    EXPECT_EQ(fieldText(record()->header->originatorPhone), "None");
    ASSERT_TRUE(addImage(2, 2, 1, 8, lumo_pixel::unsigned_integer, "abcd"));
    EXPECT_EQ(fieldText(subheader(1)->imageTitle), "abcd");  // four characters stay whole
}

TEST_F(NITFFileWriter, BlocksLargerThanTheImageUseTheImageSize) {
    ASSERT_TRUE(addImage(5, 3, 1, 8, lumo_pixel::unsigned_integer, "big.ntf", 4096));
    EXPECT_EQ(fieldText(subheader(0)->numPixelsPerHorizBlock), "0005");
    EXPECT_EQ(fieldText(subheader(0)->numPixelsPerVertBlock), "0003");
    EXPECT_EQ(fieldText(subheader(0)->numBlocksPerRow), "0001");
    EXPECT_EQ(fieldText(subheader(0)->numBlocksPerCol), "0001");
    EXPECT_EQ(fieldText(subheader(0)->imageMode), "S");
}

TEST_F(NITFFileWriter, SmallerBlocksTileTheImage) {
    ASSERT_TRUE(addImage(5, 3, 1, 8, lumo_pixel::unsigned_integer, "tiles.ntf", 2));
    EXPECT_EQ(fieldText(subheader(0)->numBlocksPerRow), "0003");
    EXPECT_EQ(fieldText(subheader(0)->numBlocksPerCol), "0002");
    file().setSource(NITFFile::SegmentType::ImageBand, 1000, bytesOf(ramp(15, 1)));
    EXPECT_TRUE(writeTo(path("tiles.ntf")).empty());
    const auto images = readBack(path("tiles.ntf"));
    ASSERT_EQ(images.size(), 1u);
    ASSERT_EQ(images[0].bands.size(), 1u);
    EXPECT_EQ(images[0].bands[0], ramp(15, 1));
}

TEST_F(NITFFileWriter, CreatedImageIsInWriteModeWithTheNewSegment) {
    Tessel::ImageOptions options;
    ASSERT_TRUE(
        file().createImage(2, 2, 1, 8, 8, 8, lumo_pixel::unsigned_integer, "a.ntf", options));
    const auto image =
        file().createImage(6, 4, 3, 16, 8, 8, lumo_pixel::signed_integer, "b.ntf", options);
    ASSERT_TRUE(image);
    EXPECT_EQ(options.mode, Tessel::ImageOptions::write_mode);
    EXPECT_EQ(options.segment, 1);
    EXPECT_EQ(image->getCurrentImageSegment(), 1);
    EXPECT_EQ(image->getWidth(), 6u);
    EXPECT_EQ(image->getHeight(), 4u);
    EXPECT_EQ(image->getNumBands(), 3u);
    EXPECT_EQ(fieldText(subheader(1)->pixelValueType), "SI");
    EXPECT_EQ(fieldText(subheader(1)->numBitsPerPixel), "16");
    EXPECT_EQ(fieldText(subheader(1)->actualBitsPerPixel), "16");
    EXPECT_EQ(file().getNumberImages(), 2u);
}

TEST_F(NITFFileWriter, PixelTypesGiveTheirValueTypes) {
    const std::pair<lumo_pixel::type, std::string> cases[] = {
        {lumo_pixel::unsigned_integer, "INT"}, {lumo_pixel::bilevel, "B"},
        {lumo_pixel::signed_integer, "SI"},    {lumo_pixel::real, "R"},
        {lumo_pixel::complex_float, "C"},      {lumo_pixel::complex_integer, "UNK"}};
    int index = 0;
    for (const auto& [type, text] : cases) {
        Tessel::ImageOptions options;
        file().createImage(2, 2, 1, 8, 8, 8, type, "p.ntf", options);
        ASSERT_EQ(file().getNumberImages(), static_cast<size_t>(index + 1));
        EXPECT_EQ(fieldText(subheader(index)->pixelValueType), text);
        ++index;
    }
}

TEST_F(NITFFileWriter, SourceOfTheWrongSizeIsRefusedAndNothingIsWritten) {
    ASSERT_TRUE(addImage(4, 4, 1, 16, lumo_pixel::unsigned_integer));
    file().setSource(NITFFile::SegmentType::ImageBand, 1000, bytesOf(ramp(16, 0)));
    Tessel::NITFMessages messages;
    EXPECT_FALSE(file().write(path("short.ntf").string(), messages));
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0],
              "/SegmentSource: Image 0, Band 0: the source delivers 16 bytes, the subheader "
              "needs 32");
    EXPECT_FALSE(fs::exists(path("short.ntf")));
}

TEST_F(NITFFileWriter, FailingSourceFailsTheWriteWithItsMessage) {
    ASSERT_TRUE(addImage(4, 2, 1, 8, lumo_pixel::unsigned_integer));
    file().setSource(NITFFile::SegmentType::ImageBand, 1000, std::make_shared<BrokenSource>(8));
    Tessel::NITFMessages messages;
    EXPECT_FALSE(file().write(path("broken.ntf").string(), messages));
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0], "/Write: the camera went away");
}

TEST_F(NITFFileWriter, OutputThatCantBeCreatedFailsInIO) {
    ASSERT_TRUE(addImage(2, 2, 1, 8, lumo_pixel::unsigned_integer));
    Tessel::NITFMessages messages;
    EXPECT_FALSE(file().write(path("no-such-folder/out.ntf").string(), messages));
    ASSERT_FALSE(messages.empty());
    EXPECT_EQ(messages[0].rfind("/IO: ", 0), 0u) << messages[0];
}

// A full disk, as a file size limit makes it: the write stops part way and fails, saying so.
TEST_F(NITFFileWriter, OutputCutShortByAFullDiskFailsTheWrite) {
    ASSERT_TRUE(addImage(256, 256, 1, 8, lumo_pixel::unsigned_integer));
    file().setSource(NITFFile::SegmentType::ImageBand, 1000, bytesOf(ramp(256 * 256, 1)));
    Tessel::NITFMessages messages;
    bool written = true;
    {
        const FileSizeLimit limit(40000);
        written = file().write(path("full.ntf").string(), messages);
    }
    EXPECT_FALSE(written);
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].rfind("/Write: the output holds 40000 of its ", 0), 0u) << messages[0];
    EXPECT_EQ(fs::file_size(path("full.ntf")), 40000u);
}

TEST_F(NITFFileWriter, WritingTwiceGivesTheSameBytesAndLeavesTheRecord) {
    ASSERT_TRUE(addImage(3, 3, 1, 8, lumo_pixel::unsigned_integer));
    file().setSource(NITFFile::SegmentType::ImageBand, 1000, bytesOf(ramp(9, 1)));
    const std::string before = fieldText(record()->header->fileLength);
    EXPECT_TRUE(writeTo(path("one.ntf")).empty());
    EXPECT_EQ(fieldText(record()->header->fileLength), before);
    EXPECT_TRUE(writeTo(path("two.ntf")).empty());
    EXPECT_EQ(fileBytes(path("one.ntf")), fileBytes(path("two.ntf")));
    EXPECT_GT(fs::file_size(path("one.ntf")), 9u);
}

// Two images of different pixel types and a data extension, read back by our reader and by
// GDAL.
TEST_F(NITFFileWriter, ComposedFileReadsBackByUsAndByGdal) {
    ASSERT_TRUE(addImage(7, 5, 3, 8, lumo_pixel::unsigned_integer, "scene.ntf", 4));
    ASSERT_TRUE(addImage(6, 4, 1, 32, lumo_pixel::real, "height.ntf", 1024));
    setField(subheader(0)->imageRepresentation, "RGB");
    setField(subheader(0)->imageCategory, "VIS");
    for (int band = 0; band < 3; ++band) {
        setField(subheader(0)->bandInfo[band]->representation, std::string(1, "RGB"[band]));
    }
    setField(subheader(1)->imageRepresentation, "MONO");
    setField(subheader(1)->imageCategory, "DTEM");
    setField(subheader(1)->bandInfo[0]->representation, "M");
    setField(record()->header->fileTitle, "composed by the writer test");

    std::vector<std::vector<uint8_t>> bands;
    for (int band = 0; band < 3; ++band) {
        bands.push_back(ramp(35, static_cast<uint8_t>(band * 50)));
        file().setSource(NITFFile::SegmentType::ImageBand, 1000 + band, bytesOf(bands.back()));
    }
    std::vector<float> heights(24);
    for (size_t i = 0; i < heights.size(); ++i) {
        heights[i] = -12.5f + 3.25f * static_cast<float>(i);
    }
    bands.push_back(samplesOf(heights));
    file().setSource(NITFFile::SegmentType::ImageBand, 2000, bytesOf(bands.back()));
    ASSERT_NE(addExtension("TEST_DES"), nullptr);
    const std::string payload = "data extension payload";
    file().setSource(NITFFile::SegmentType::DataExtension, 0,
                     bytesOf(std::vector<uint8_t>(payload.begin(), payload.end())));

    const fs::path out = path("composed.ntf");
    EXPECT_TRUE(writeTo(out).empty());
    const std::string bytes = fileBytes(out);
    EXPECT_EQ(bytes.substr(bytes.size() - payload.size()), payload);

    // Our reader: pixels and fields.
    const auto images = readBack(out);
    ASSERT_EQ(images.size(), 2u);
    ASSERT_EQ(images[0].bands.size(), 3u);
    ASSERT_EQ(images[1].bands.size(), 1u);
    for (size_t band = 0; band < 3; ++band) {
        EXPECT_EQ(images[0].bands[band], bands[band]) << band;
    }
    EXPECT_EQ(images[1].pixelType, lumo_pixel::real);
    EXPECT_EQ(images[1].bands[0], bands[3]);
    Tessel::NITFMessages messages;
    const auto context =
        Tessel::NITFFactory::get().open(Tessel::NITFURI(std::string_view(out.string())), messages);
    ASSERT_TRUE(context);
    EXPECT_EQ(context.getPathString("/FileHeader/FTITLE", ""), "composed by the writer test");
    EXPECT_EQ(context.getPathString("/FileHeader/OPHONE", ""), "None");
    EXPECT_EQ(context.getPathString("/FileHeader/NUMI", ""), "002");
    EXPECT_EQ(context.getPathString("/FileHeader/NUMDES", ""), "001");
    EXPECT_EQ(context.getPathString("/Images/0/IID2", ""), "scene");
    EXPECT_EQ(context.getPathString("/Images/1/IID2", ""), "height");
    EXPECT_EQ(context.getPathString("/Images/1/PVTYPE", ""), "R");

    if (!tessel_test::gdalAvailable()) {
        GTEST_SKIP() << "GDAL's Python bindings are not available";
    }
    const auto gdal =
        tessel_test::jsonFromCommand(std::string("/usr/bin/python3 '") + TESSEL_SOURCE_DIR +
                                     "/tests/file/gdal_written_images.py' '" + out.string() + "'");
    ASSERT_TRUE(gdal.is_array()) << gdal.dump();
    ASSERT_EQ(gdal.size(), 2u);
    EXPECT_EQ(gdal[0]["size"], nlohmann::json::array({7, 5}));
    EXPECT_EQ(gdal[1]["size"], nlohmann::json::array({6, 4}));
    ASSERT_EQ(gdal[0]["bands"].size(), 3u);
    ASSERT_EQ(gdal[1]["bands"].size(), 1u);
    for (size_t band = 0; band < 3; ++band) {
        EXPECT_EQ(gdal[0]["bands"][band]["type"], "Byte");
        EXPECT_EQ(gdal[0]["bands"][band]["sha256"], nitf_test::sha256Hex(bands[band])) << band;
    }
    EXPECT_EQ(gdal[1]["bands"][0]["type"], "Float32");
    EXPECT_EQ(gdal[1]["bands"][0]["sha256"], nitf_test::sha256Hex(bands[3]));
    for (size_t image = 0; image < 2; ++image) {
        const auto& metadata = gdal[image]["metadata"];
        const std::string prefix = "/Images/" + std::to_string(image) + "/";
        for (const char* field : {"IID1", "IID2", "ICAT", "IREP", "PVTYPE", "ABPP", "IMODE"}) {
            ASSERT_TRUE(metadata.contains(std::string("NITF_") + field)) << field;
            EXPECT_EQ(metadata[std::string("NITF_") + field].get<std::string>(),
                      context.getPathString(prefix + field, ""))
                << image << " " << field;
        }
        EXPECT_EQ(metadata["NITF_FTITLE"].get<std::string>(),
                  context.getPathString("/FileHeader/FTITLE", ""));
        EXPECT_EQ(metadata["NITF_OSTAID"].get<std::string>(),
                  context.getPathString("/FileHeader/OSTAID", ""));
    }
}

}  // namespace
