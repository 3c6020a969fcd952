#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <string>

#include "tests/platform/nitf/nitf_test_files.h"
#include "tests/platform/nitf/sha256.h"

namespace {

using nitf_test::items;
using nitf_test::OpenFile;
using nitf_test::text;
using nitf_test::treNames;
using Json = nlohmann::json;

std::filesystem::path fixtureDir() {
    return nitf_test::sharedDir() / "fixtures";
}

std::vector<std::filesystem::path> fixtureSidecars() {
    std::vector<std::filesystem::path> out;
    for (const auto& entry : std::filesystem::directory_iterator(fixtureDir())) {
        if (entry.path().extension() == ".json" && entry.path().filename() != "manifest.json") {
            out.push_back(entry.path());
        }
    }
    std::sort(out.begin(), out.end());
    return out;
}

std::string metadataValue(const Json& metadata, const std::string& key) {
    if (!metadata.contains("default") || !metadata["default"].contains(key)) {
        return "<absent>";
    }
    std::string value = metadata["default"][key].get<std::string>();
    while (!value.empty() && value.back() == ' ') {
        value.pop_back();
    }
    return value;
}

// One band of the image as GDAL's ReadRaster gives it: native type, little-endian.
std::vector<uint8_t> assembleBand(nitf_Reader* reader, int image, nitf_ImageSubheader* sh,
                                  uint32_t band, nitf_Error* error) {
    nitf_ImageReader* imageReader = nitf_Reader_newImageReader(reader, image, nullptr, error);
    if (imageReader == nullptr) {
        return {};
    }
    nitf_BlockingInfo* info = nitf_ImageReader_getBlockingInfo(imageReader, error);
    uint32_t rows = std::stoul(text(sh->numRows));
    uint32_t cols = std::stoul(text(sh->numCols));
    uint32_t bands = nitf_ImageSubheader_getBandCount(sh, error);
    uint32_t nbpp = std::stoul(text(sh->numBitsPerPixel));
    uint32_t bps = nbpp > 8 && nbpp < 16 ? 2 : (nbpp + 7) / 8;
    uint32_t swapUnit = text(sh->pixelValueType) == "C" ? bps / 2 : bps;
    char imode = sh->imageMode->raw[0];
    std::vector<uint8_t> out(size_t{rows} * cols * bps);
    uint32_t bpr = info->numBlocksPerRow, bpc = info->numBlocksPerCol;
    uint32_t rpb = info->numRowsPerBlock, cpb = info->numColsPerBlock;
    for (uint32_t br = 0; br < bpc; ++br) {
        for (uint32_t bc = 0; bc < bpr; ++bc) {
            uint32_t number = br * bpr + bc + (imode == 'S' ? band * bpr * bpc : 0);
            uint64_t size = 0;
            uint8_t* block = nitf_ImageReader_readBlock(imageReader, number, &size, error);
            if (block == nullptr) {
                nitf_BlockingInfo_destruct(&info);
                nitf_ImageReader_destruct(&imageReader);
                return {};
            }
            for (uint32_t y = 0; y < rpb; ++y) {
                for (uint32_t x = 0; x < cpb; ++x) {
                    uint32_t row = br * rpb + y, col = bc * cpb + x;
                    if (row >= rows || col >= cols) {
                        continue;
                    }
                    size_t sample = 0;
                    switch (imode) {
                        case 'B':
                            sample = size_t{band} * rpb * cpb + size_t{y} * cpb + x;
                            break;
                        case 'P':
                            sample = (size_t{y} * cpb + x) * bands + band;
                            break;
                        case 'R':
                            sample = (size_t{y} * bands + band) * cpb + x;
                            break;
                        default:
                            sample = size_t{y} * cpb + x;
                    }
                    const uint8_t* from = block + sample * bps;
                    uint8_t* to = out.data() + (size_t{row} * cols + col) * bps;
                    for (uint32_t u = 0; u < bps; u += swapUnit) {
                        for (uint32_t k = 0; k < swapUnit; ++k) {
                            to[u + k] = from[u + swapUnit - 1 - k];
                        }
                    }
                }
            }
        }
    }
    nitf_BlockingInfo_destruct(&info);
    nitf_ImageReader_destruct(&imageReader);
    return out;
}

void checkTREs(const Json& md, nitf_ImageSubheader* sh, nitf_Record* record);

class FixtureReader : public ::testing::Test {
protected:
    void SetUp() override {
        if (!std::filesystem::exists(fixtureDir())) {
            GTEST_SKIP() << "no shared fixtures at " << fixtureDir();
        }
    }
};

TEST_F(FixtureReader, HeadersMatchWhatGdalReports) {
    for (const auto& sidecar : fixtureSidecars()) {
        SCOPED_TRACE(sidecar.filename().string());
        Json meta = Json::parse(std::ifstream(sidecar));
        OpenFile file(fixtureDir() / meta["file"].get<std::string>());
        ASSERT_NE(file.record, nullptr) << file.error.message;
        const Json& images = meta["images"];
        ASSERT_EQ(nitf_Record_getNumImages(file.record, &file.error), images.size());
        nitf_FileHeader* h = file.record->header;
        auto imageSegments = items<nitf_ImageSegment>(file.record->images);
        for (size_t i = 0; i < images.size(); ++i) {
            const Json& image = images[i];
            const Json& md = image["metadata"];
            nitf_ImageSubheader* sh = imageSegments[i]->subheader;
            EXPECT_EQ(metadataValue(md, "NITF_FHDR"), text(h->fileHeader) + text(h->fileVersion));
            EXPECT_EQ(metadataValue(md, "NITF_FTITLE"), text(h->fileTitle));
            EXPECT_EQ(metadataValue(md, "NITF_OSTAID"), text(h->originStationID));
            EXPECT_EQ(metadataValue(md, "NITF_FSCLAS"), text(h->classification));
            EXPECT_EQ(metadataValue(md, "NITF_IID1"), text(sh->imageId));
            EXPECT_EQ(metadataValue(md, "NITF_IC"), text(sh->imageCompression));
            EXPECT_EQ(metadataValue(md, "NITF_IMODE"), text(sh->imageMode));
            EXPECT_EQ(metadataValue(md, "NITF_PVTYPE"), text(sh->pixelValueType));
            EXPECT_EQ(metadataValue(md, "NITF_IREP"), text(sh->imageRepresentation));
            EXPECT_EQ(metadataValue(md, "NITF_ICAT"), text(sh->imageCategory));
            EXPECT_EQ(metadataValue(md, "NITF_ISORCE"), text(sh->imageSource));
            EXPECT_EQ(metadataValue(md, "NITF_ABPP"), text(sh->actualBitsPerPixel));
            EXPECT_EQ(metadataValue(md, "NITF_ISCLAS"), text(sh->imageSecurityClass));
            if (md["default"].contains("NITF_ISCODE")) {
                EXPECT_EQ(metadataValue(md, "NITF_ISCODE"), text(sh->securityGroup->codewords));
            }
            EXPECT_EQ(image["size"][0].get<uint32_t>(), std::stoul(text(sh->numCols)));
            EXPECT_EQ(image["size"][1].get<uint32_t>(), std::stoul(text(sh->numRows)));
            EXPECT_EQ(image["band_count"].get<uint32_t>(),
                      nitf_ImageSubheader_getBandCount(sh, &file.error));
            const Json& parsed = meta["segments_parsed_by_script"];
            if (parsed.is_array() && i < parsed.size()) {
                EXPECT_EQ(parsed[i]["NBPR"].get<std::string>(),
                          std::string(sh->numBlocksPerRow->raw, 4));
                EXPECT_EQ(parsed[i]["NPPBH"].get<std::string>(),
                          std::string(sh->numPixelsPerHorizBlock->raw, 4));
                EXPECT_EQ(parsed[i]["NPPBV"].get<std::string>(),
                          std::string(sh->numPixelsPerVertBlock->raw, 4));
                EXPECT_EQ(parsed[i]["data_length"].get<uint64_t>(),
                          imageSegments[i]->imageEnd - imageSegments[i]->imageOffset);
            }
            checkTREs(md, sh, file.record);
        }
    }
}

void checkTREs(const Json& md, nitf_ImageSubheader* sh, nitf_Record* record) {
    if (!md.contains("TRE")) {
        return;
    }
    std::map<std::string, nitf_TRE*> ours;
    auto collect = [&](nitf_Extensions* ext) {
        for (nitf_ListNode* n = ext->ref->first; n != nullptr; n = n->next) {
            auto* tre = static_cast<nitf_TRE*>(n->data);
            ours.emplace(tre->tag, tre);
        }
    };
    // GDAL lists the file header's TREs with each image's.
    collect(sh->userDefinedSection);
    collect(sh->extendedSection);
    collect(record->header->userDefinedSection);
    collect(record->header->extendedSection);
    for (auto* des : items<nitf_DESegment>(record->dataExtensions)) {
        collect(des->subheader->userDefinedSection);
    }
    for (const auto& [name, value] : md["TRE"].items()) {
        auto found = ours.find(name);
        ASSERT_NE(found, ours.end()) << "TRE " << name << " not read";
        nitf_Field* raw = nitf_TRE_getField(found->second, "raw_data");
        if (raw != nullptr && value.is_string() &&
            value.get<std::string>().find('\\') == std::string::npos) {
            EXPECT_EQ(std::string(raw->raw, raw->length), value.get<std::string>()) << name;
        }
    }
}

TEST_F(FixtureReader, UncompressedPixelsMatchTheDigests) {
    int checked = 0;
    for (const auto& sidecar : fixtureSidecars()) {
        SCOPED_TRACE(sidecar.filename().string());
        Json meta = Json::parse(std::ifstream(sidecar));
        OpenFile file(fixtureDir() / meta["file"].get<std::string>());
        ASSERT_NE(file.record, nullptr) << file.error.message;
        auto imageSegments = items<nitf_ImageSegment>(file.record->images);
        for (size_t i = 0; i < imageSegments.size(); ++i) {
            nitf_ImageSubheader* sh = imageSegments[i]->subheader;
            std::string ic = text(sh->imageCompression);
            if (ic != "NC" && ic != "NM") {
                continue;
            }
            const Json& image = meta["images"][i];
            uint32_t bands = nitf_ImageSubheader_getBandCount(sh, &file.error);
            // GDAL's own unpacking of 12-bit samples is not the truth: use the source's digest.
            bool useSource = text(sh->numBitsPerPixel) == "12";
            std::vector<uint8_t> all;
            for (uint32_t b = 0; b < bands; ++b) {
                std::vector<uint8_t> pixels =
                    assembleBand(file.reader, static_cast<int>(i), sh, b, &file.error);
                ASSERT_FALSE(pixels.empty()) << file.error.message;
                if (!useSource) {
                    EXPECT_EQ(nitf_test::sha256Hex(pixels),
                              image["bands"][b]["sha256_readraster"].get<std::string>())
                        << "band " << b;
                }
                all.insert(all.end(), pixels.begin(), pixels.end());
            }
            if (useSource) {
                EXPECT_EQ(nitf_test::sha256Hex(all), meta["source_sha256"][i].get<std::string>());
            }
            ++checked;
        }
    }
    EXPECT_GT(checked, 20);
}

TEST_F(FixtureReader, MaskedImageReportsItsMissingBlocks) {
    OpenFile file(fixtureDir() / "derived_nm_missing_blocks.ntf");
    ASSERT_NE(file.record, nullptr) << file.error.message;
    nitf_ImageReader* reader = nitf_Reader_newImageReader(file.reader, 0, nullptr, &file.error);
    ASSERT_NE(reader, nullptr) << file.error.message;
    nitf_BlockingInfo* info = nitf_ImageReader_getBlockingInfo(reader, &file.error);
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->numBlocksPerRow, 4u);
    EXPECT_EQ(info->numBlocksPerCol, 3u);
    EXPECT_EQ(info->length, 32u * 32u);
    uint32_t dataOffset = 0, bmr = 0, tmr = 0, padLength = 0;
    uint8_t* pad = nullptr;
    uint64_t* blockMask = nullptr;
    uint64_t* padMask = nullptr;
    ASSERT_TRUE(nitf_ImageIO_getMaskInfo(reader->imageDeblocker, &dataOffset, &bmr, &tmr,
                                         &padLength, &pad, &blockMask, &padMask));
    EXPECT_EQ(bmr, 4u);
    EXPECT_EQ(blockMask[5], 0xFFFFFFFFu);
    EXPECT_EQ(blockMask[10], 0xFFFFFFFFu);
    EXPECT_NE(blockMask[4], 0xFFFFFFFFu);
    EXPECT_GE(dataOffset, 10u + 12u * 4u);
    uint64_t size = 0;
    uint8_t* block = nitf_ImageReader_readBlock(reader, 5, &size, &file.error);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(size, 32u * 32u);
    EXPECT_EQ(block[0], 0);
    EXPECT_EQ(nitf_ImageReader_readBlock(reader, 12, &size, &file.error), nullptr);
    EXPECT_NE(std::string(file.error.message).find("out of range"), std::string::npos);
    nitf_BlockingInfo_destruct(&info);
    nitf_ImageReader_destruct(&reader);
}

// Reads block `number` whole through the reader's buffer, then the part [first, first +
// count) straight into memory of the test's own; both must agree byte for byte.
static void expectPartEqualsBlock(nitf_ImageReader* reader, uint32_t number, uint64_t first,
                                  uint64_t count, nitf_Error* error) {
    uint64_t size = 0;
    const uint8_t* block = nitf_ImageReader_readBlock(reader, number, &size, error);
    ASSERT_NE(block, nullptr) << error->message;
    const std::vector<uint8_t> whole(block, block + size);
    std::vector<uint8_t> part(static_cast<size_t>(count), 0xAB);
    uint64_t copied = 0;
    ASSERT_TRUE(nitf_ImageIO_readBlockPartDirect(reader->imageDeblocker, reader->input, number,
                                                 first, count, part.data(), &copied, error))
        << error->message;
    const uint64_t expected = first < size ? std::min(count, size - first) : 0;
    ASSERT_EQ(copied, expected) << "block " << number << " from " << first;
    EXPECT_TRUE(std::equal(part.begin(), part.begin() + static_cast<ptrdiff_t>(copied),
                           whole.begin() + static_cast<ptrdiff_t>(std::min(first, size))))
        << "block " << number << " from " << first;
    // Nothing is written past the block's end.
    EXPECT_TRUE(std::all_of(part.begin() + static_cast<ptrdiff_t>(copied), part.end(),
                            [](uint8_t b) { return b == 0xAB; }));
}

TEST_F(FixtureReader, BlockPartsReadIntoTheCallersMemoryEqualTheWholeBlock) {
    for (const char* name : {"nc_u8_rgb_tiled.ntf", "nc_u16_tiled.ntf",
                             "derived_imode_S_u8_3b_tiled.ntf", "derived_nm_missing_blocks.ntf"}) {
        SCOPED_TRACE(name);
        OpenFile file(fixtureDir() / name);
        ASSERT_NE(file.record, nullptr) << file.error.message;
        nitf_ImageReader* reader = nitf_Reader_newImageReader(file.reader, 0, nullptr, &file.error);
        ASSERT_NE(reader, nullptr) << file.error.message;
        nitf_BlockingInfo* info = nitf_ImageReader_getBlockingInfo(reader, &file.error);
        ASSERT_NE(info, nullptr) << file.error.message;
        const uint64_t length = info->length;
        // Block 5 of the masked file is absent: its part is the pad value.
        for (uint32_t number : {0u, 1u, 5u}) {
            expectPartEqualsBlock(reader, number, 0, length, &file.error);
            expectPartEqualsBlock(reader, number, length / 3, length / 3, &file.error);
            expectPartEqualsBlock(reader, number, length - 7, 64, &file.error);
            expectPartEqualsBlock(reader, number, length + 1, 16, &file.error);
        }
        nitf_BlockingInfo_destruct(&info);
        nitf_ImageReader_destruct(&reader);
    }
}

TEST_F(FixtureReader, BlockPartsAreRefusedForCompressedAndPackedSamples) {
    for (const char* name : {"c3_u8_tiled.ntf", "derived_nbpp12.ntf", "derived_nbpp1.ntf"}) {
        SCOPED_TRACE(name);
        OpenFile file(fixtureDir() / name);
        ASSERT_NE(file.record, nullptr) << file.error.message;
        nitf_ImageReader* reader = nitf_Reader_newImageReader(file.reader, 0, nullptr, &file.error);
        ASSERT_NE(reader, nullptr) << file.error.message;
        uint8_t bytes[16] = {};
        uint64_t copied = 99;
        EXPECT_FALSE(nitf_ImageIO_readBlockPartDirect(reader->imageDeblocker, reader->input, 0, 0,
                                                      sizeof bytes, bytes, &copied, &file.error));
        EXPECT_NE(std::string(file.error.message).find("whole-byte"), std::string::npos)
            << file.error.message;
        nitf_ImageReader_destruct(&reader);
    }
}

TEST_F(FixtureReader, BlockPartOfABlockBeyondTheImageIsRefused) {
    OpenFile file(fixtureDir() / "nc_u8_tiled.ntf");
    ASSERT_NE(file.record, nullptr) << file.error.message;
    nitf_ImageReader* reader = nitf_Reader_newImageReader(file.reader, 0, nullptr, &file.error);
    ASSERT_NE(reader, nullptr) << file.error.message;
    uint8_t bytes[16] = {};
    uint64_t copied = 0;
    EXPECT_FALSE(nitf_ImageIO_readBlockPartDirect(reader->imageDeblocker, reader->input, 100000, 0,
                                                  sizeof bytes, bytes, &copied, &file.error));
    EXPECT_NE(std::string(file.error.message).find("out of range"), std::string::npos);
    nitf_ImageReader_destruct(&reader);
}

TEST_F(FixtureReader, UnmaskedImageHasNoMaskInfo) {
    OpenFile file(fixtureDir() / "nc_u8_tiled.ntf");
    ASSERT_NE(file.record, nullptr);
    nitf_ImageReader* reader = nitf_Reader_newImageReader(file.reader, 0, nullptr, &file.error);
    ASSERT_NE(reader, nullptr);
    nitf_BlockingInfo* info = nitf_ImageReader_getBlockingInfo(reader, &file.error);
    uint32_t a, b, c, d;
    uint8_t* pad;
    uint64_t *bm, *pm;
    EXPECT_FALSE(nitf_ImageIO_getMaskInfo(reader->imageDeblocker, &a, &b, &c, &d, &pad, &bm, &pm));
    nitf_BlockingInfo_destruct(&info);
    nitf_ImageReader_destruct(&reader);
}

TEST_F(FixtureReader, JpegBlocksAreWholeStreams) {
    for (const char* name : {"c3_u8_tiled.ntf", "m3_u8_tiled.ntf", "c3_rgb_tiled.ntf"}) {
        SCOPED_TRACE(name);
        OpenFile file(fixtureDir() / name);
        ASSERT_NE(file.record, nullptr);
        nitf_ImageReader* reader = nitf_Reader_newImageReader(file.reader, 0, nullptr, &file.error);
        ASSERT_NE(reader, nullptr) << file.error.message;
        nitf_BlockingInfo* info = nitf_ImageReader_getBlockingInfo(reader, &file.error);
        ASSERT_NE(info, nullptr) << file.error.message;
        uint32_t blocks = info->numBlocksPerRow * info->numBlocksPerCol;
        EXPECT_GT(blocks, 1u);
        for (uint32_t n = 0; n < blocks; ++n) {
            uint64_t size = 0;
            uint8_t* block = nitf_ImageReader_readBlock(reader, n, &size, &file.error);
            ASSERT_NE(block, nullptr) << file.error.message;
            ASSERT_GT(size, 4u);
            EXPECT_EQ(block[0], 0xFF);
            EXPECT_EQ(block[1], 0xD8);
            EXPECT_EQ(block[size - 2], 0xFF);
            EXPECT_EQ(block[size - 1], 0xD9);
        }
        nitf_BlockingInfo_destruct(&info);
        nitf_ImageReader_destruct(&reader);
    }
}

}  // namespace
