#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "platform/nitf/sha256.h"
#include "support/TestPaths.h"
#include "support/TileReading.h"

namespace fs = std::filesystem;
using tile_test::OpenImage;

namespace {

fs::path fixtures() {
    return fs::path(TESSEL_SHARED_DIR) / "fixtures";
}

nlohmann::json sidecar(const std::string& name) {
    std::ifstream in(fixtures() / (name + ".json"));
    return nlohmann::json::parse(in);
}

// The band's samples split out of complex pixels: component `part` of each pixel.
std::vector<uint8_t> component(const std::vector<uint8_t>& pixels, size_t pixelBytes, size_t part) {
    const size_t half = pixelBytes / 2;
    std::vector<uint8_t> out;
    out.reserve(pixels.size() / 2);
    for (size_t at = part * half; at + half <= pixels.size(); at += pixelBytes) {
        out.insert(out.end(), pixels.begin() + static_cast<std::ptrdiff_t>(at),
                   pixels.begin() + static_cast<std::ptrdiff_t>(at + half));
    }
    return out;
}

bool isTwoBandComplex(const nlohmann::json& segment) {
    return segment.value("IC", "") == "NC" && segment.value("IMODE", "") == "P" &&
           segment.value("NBANDS", "") == "2";
}

class TileFixtures : public ::testing::TestWithParam<std::string> {
protected:
    void SetUp() override {
        if (!fs::exists(fixtures() / (GetParam() + ".ntf"))) {
            GTEST_SKIP() << "the shared fixtures are not here";
        }
    }
};

}  // namespace

// Every band of every uncompressed image, assembled from its tiles, hashes as GDAL's read.
TEST_P(TileFixtures, BandsAssembledFromTilesMatchGdal) {
    const nlohmann::json meta = sidecar(GetParam());
    const auto& segments = meta.at("segments_parsed_by_script");
    size_t checked = 0;
    for (size_t i = 0; i < segments.size(); ++i) {
        const std::string ic = segments[i].value("IC", "");
        if (ic != "NC" && ic != "NM") {
            continue;
        }
        Tessel::ImageOptions options;
        options.segment = static_cast<int32_t>(i);
        OpenImage image(fixtures() / (GetParam() + ".ntf"), options);
        const auto& factory = image.factory();
        const auto& bands = meta.at("images").at(i).at("bands");
        if (isTwoBandComplex(segments[i])) {
            ASSERT_EQ(factory.getNumBands(), 1u);
            const auto pixels = tile_test::readBand(factory, 0);
            for (size_t part = 0; part < 2; ++part) {
                EXPECT_EQ(nitf_test::sha256Hex(component(pixels, factory.getBytesPerPixel(), part)),
                          bands.at(part).at("sha256_readraster").get<std::string>())
                    << "image " << i << " component " << part;
                ++checked;
            }
            continue;
        }
        ASSERT_EQ(factory.getNumBands(), bands.size());
        for (uint32_t band = 0; band < bands.size(); ++band) {
            bool failed = false;
            const auto samples = tile_test::readBand(factory, band, &failed);
            EXPECT_FALSE(failed) << "image " << i << " band " << band;
            EXPECT_EQ(nitf_test::sha256Hex(samples),
                      bands.at(band).at("sha256_readraster").get<std::string>())
                << "image " << i << " band " << band;
            ++checked;
        }
    }
    EXPECT_GT(checked, 0u);
}

INSTANTIATE_TEST_SUITE_P(
    Uncompressed, TileFixtures,
    ::testing::Values("nc_u8_basic", "nc_u8_tiled", "nc_u8_rgb", "nc_u8_rgb_tiled",
                      "nc_u8_4band_multi", "nc_u16", "nc_u16_tiled", "nc_u16_abpp12", "nc_u32",
                      "nc_i16", "nc_i32", "nc_f32", "nc_f64", "nc_c64", "nc_lut16", "nc_lut256",
                      "nc_lut_create", "derived_imode_P_u8_3b", "derived_imode_P_u16_3b_tiled",
                      "derived_imode_S_u8_3b_tiled", "derived_nbpp1", "derived_nm_missing_blocks",
                      "derived_sicd_like_p_f32", "derived_sicd_like_p_i16", "multi_nc_x2",
                      "multi_nc_c3_c8_des"));

// Row-interleaved blocks have no block number here: every tile fails, where GDAL decodes.
TEST(TileFixturesByDesign, RowInterleavedFixturesGiveFailedTilesUnlikeGdal) {
    for (const std::string name : {"derived_imode_R_u8_3b_tiled", "derived_imode_R_i16_2b"}) {
        if (!fs::exists(fixtures() / (name + ".ntf"))) {
            GTEST_SKIP() << "the shared fixtures are not here";
        }
        OpenImage image(fixtures() / (name + ".ntf"));
        const auto& factory = image.factory();
        for (uint32_t band = 0; band < factory.getNumBands(); ++band) {
            bool failed = false;
            const auto samples = tile_test::readBand(factory, band, &failed);
            EXPECT_TRUE(failed) << name;
            EXPECT_TRUE(std::all_of(samples.begin(), samples.end(), [](uint8_t b) {
                return b == 0xFF;
            })) << name;
        }
    }
}

// Twelve-bit samples packed two in three bytes, most significant bits first, come out as
// 16-bit host-order values; compared with the file's packed bytes rather than with GDAL.
TEST(TileFixturesByDesign, TwelveBitSamplesUnpackMostSignificantFirstAsTheStandardPacks) {
    const fs::path path = fixtures() / "derived_nbpp12.ntf";
    if (!fs::exists(path)) {
        GTEST_SKIP() << "the shared fixtures are not here";
    }
    OpenImage image(path);
    const auto& factory = image.factory();
    ASSERT_EQ(factory.getBitsPerPixel(), 16u);
    const auto* nitf = image.nitfFactory();
    ASSERT_NE(nitf, nullptr);
    std::ifstream in(path, std::ios::binary);
    in.seekg(static_cast<std::streamoff>(nitf->getDataOffset()));
    std::vector<uint8_t> packed(nitf->getDataLength());
    in.read(reinterpret_cast<char*>(packed.data()), static_cast<std::streamsize>(packed.size()));
    const uint64_t count = factory.getWidth() * factory.getHeight();
    ASSERT_GE(packed.size(), (count * 12 + 7) / 8);
    std::vector<uint16_t> expected;
    for (uint64_t i = 0; i < count; ++i) {
        const uint64_t bit = i * 12;
        const uint32_t word = uint32_t{packed[bit / 8]} << 8 |
                              (bit / 8 + 1 < packed.size() ? packed[bit / 8 + 1] : 0);
        expected.push_back(static_cast<uint16_t>((word >> (4 - bit % 8)) & 0xFFF));
    }
    const auto bytes = tile_test::readBand(factory, 0);
    std::vector<uint16_t> samples(bytes.size() / 2);
    std::memcpy(samples.data(), bytes.data(), samples.size() * 2);
    EXPECT_EQ(samples, expected);
}
