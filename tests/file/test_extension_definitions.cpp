#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <regex>
#include <string>
#include <vector>

#include "paths/RpfTables.h"
#include "support/TestPaths.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFile.h"
#include "tessel/file/NITFFilePrivate.h"
#include "tessel/platform/base/lumo_codec.h"
#include "tessel/platform/base/nitf_fs.h"
#include "tessel/platform/base/versions.h"
#include "tessel/platform/nitf/nitf_PluginRegistry.h"
#include "tests/paths/dictionary_test_support.h"
#include "tests/platform/scoped_environment.h"
#include "tests/support/FileTestSupport.h"
#include "tests/support/InfoResources.h"

namespace {

using dictionary_test::A;
using dictionary_test::N;
namespace fs = std::filesystem;

// --- bytes of the extensions ------------------------------------------------------------------

std::string bigEndian32(uint32_t value) {
    std::string out(4, '\0');
    for (int i = 3; i >= 0; --i) {
        out[static_cast<size_t>(i)] = static_cast<char>(value & 0xFF);
        value >>= 8;
    }
    return out;
}

std::string bigEndian16(uint16_t value) {
    return {static_cast<char>(value >> 8), static_cast<char>(value & 0xFF)};
}

std::string floatBytes(float value) {
    return bigEndian32(std::bit_cast<uint32_t>(value));
}

// The fields of BANDSB up to and including the existence mask.
std::string bandsbHeader(int count, uint32_t mask) {
    return N(static_cast<uint64_t>(count), 5) + A("RADIANCE", 24) + "S" + floatBytes(1.5F) +
           floatBytes(0.0F) + "0030.49" + "M" + "0029.96" + "M" + "-------" + "M" + "-------" +
           "M" + std::string(48, '\0') + bigEndian32(mask);
}

// Every band-level group, with values that tell the band apart.
std::string bandsbAllBandFields(int band) {
    const std::string b = std::to_string(band);
    std::string out = A("BAND" + b, 50) + "0" + "05" + b + "0012" + b;  // id, bad, NIIRS, focal
    out += "0000.5" + b + "0000.1" + b + "0000.0" + b + "0000.4" + b + "0000.0" + b;
    out += "0000.3" + b + "0000.6" + b;                // lower and upper bound
    out += floatBytes(2.0F) + floatBytes(-1.0F);       // scale, additive
    out += A("20240102030405" + b, 16) + "00010" + b;  // start, integration
    out += "00020" + b + "0003" + b;                   // dark, increment
    out += "0000.7" + b + "0000.0" + b + "M" + "0000.8" + b + "0000.0" + b + "M";
    out += "0001" + b + "0002" + b;  // noise
    out += "0000.9" + b + "0000.0" + b + "M" + "0001.0" + b + "0000.0" + b + "M";
    out +=
        std::string(16, 'a') + std::string(24, 'b') + std::string(32, 'c') + std::string(48, 'd');
    return out;
}

constexpr uint32_t kAllCubeAndBandBits = 0xFFFFFFC0;

std::string csattaFields() {
    return A("ORIGINAL", 12) + "0000000.062500" + "20240102" + "000012345.678" + "00010";
}

std::string csshpaFields(const std::string& use) {
    std::string out = A(use, 25) + A("POLYGON", 10);
    if (use == "CLOUD_SHAPES") {
        out += A("SOURCE_SENSOR", 18);
    }
    return out + "SHP000000" + "SHX000236" + "DBF000344" + "extra";
}

std::string csshpbFields(const std::string& numais) {
    std::string out = A("FILE-ID", 36) + A("SHAPES-ID", 36) + numais;
    if (numais != "ALL") {
        for (int i = 0; i < std::stoi(numais); ++i) {
            out += N(static_cast<uint64_t>(10 + i), 3);
        }
    }
    out += A("2024-01-02T03:04:05.000Z", 24) + "002" + A("ELEM-1", 36) + A("ELEM-2", 36);
    out += A("CLOUD_SHAPES", 25) + "001" + A("COVER", 15) + A("0.5", 10);
    out += A("POLYGON", 11) + A("GEOGRAPHIC", 10) + "00000000001" + "001" + "001";
    out += A("SENSOR", 18) + "SHP" + "000000000" + "SHX" + "000000236" + "DBF" + "000000344";
    return out + "tail";
}

// Two location records, then table bytes.
std::string rpfimgBytes() {
    return bigEndian16(34) + bigEndian32(0x01020304) + bigEndian16(2) + bigEndian16(10) +
           bigEndian32(1000) + bigEndian16(134) + bigEndian32(84) + bigEndian32(1234) +
           bigEndian16(135) + bigEndian32(96) + bigEndian32(0x00ABCDEF) + "TABLE";
}

// --- files written and opened through the factory ---------------------------------------------

class Extensions : public ::testing::Test {
protected:
    static void SetUpTestSuite() { Tessel::NITFFactory::get(); }

    // Writes the file and opens it; the test fails when it doesn't open.
    void open(const dictionary_test::FileLayout& layout) {
        const fs::path path = dir_ / ("file" + std::to_string(++files_) + ".ntf");
        file_test::writeFile(path, dictionary_test::buildFile(layout));
        Tessel::NITFMessages messages;
        context_ = std::make_unique<Tessel::NITFFileContext>(
            Tessel::NITFFactory::get().open(file_test::uriOf(path), messages));
        ASSERT_TRUE(*context_) << (messages.empty() ? "" : messages.front());
    }

    void openWithImageTre(const std::string& tag, const std::string& data) {
        dictionary_test::FileLayout layout;
        layout.images.emplace_back();
        layout.images[0].extended = {{tag, data}};
        open(layout);
    }

    void openWithDes(const std::string& tag, const std::string& fields) {
        dictionary_test::FileLayout layout;
        layout.des.push_back({tag, fields, "body", "", 0});
        open(layout);
    }

    any_type::value value(std::string_view path) {
        messages_.clear();
        return context_->getFile().getPrivate()->GetByPathAsVariant(0, path, messages_);
    }

    // The value as narrow text; nothing for an empty value or one of another type.
    std::optional<std::string> text(std::string_view path) {
        return dictionary_test::RecordContext::textOf(value(path));
    }

    file_test::TempDir dir_;
    int files_ = 0;
    std::unique_ptr<Tessel::NITFFileContext> context_;
    Tessel::NITFMessages messages_;
};

// --- registration -----------------------------------------------------------------------------

const void* descriptionOf(const char* name) {
    nitf_Error error{};
    nitf_PluginRegistry* registry = nitf_PluginRegistry_getInstance(&error);
    int hadError = 0;
    nitf_TREHandler* handler =
        nitf_PluginRegistry_retrieveTREHandler(registry, name, &hadError, &error);
    return handler != nullptr ? handler->data : nullptr;
}

TEST_F(Extensions, EveryNameOfAnExtensionSharesOneDescription) {
    EXPECT_NE(descriptionOf("BANDSB"), nullptr);
    EXPECT_NE(descriptionOf("RPFIMG"), nullptr);
    EXPECT_NE(descriptionOf("CSATTA DES"), nullptr);
    EXPECT_EQ(descriptionOf("CSATTA DES"), descriptionOf("CSATTA_DES"));
    EXPECT_NE(descriptionOf("CSSHPA"), nullptr);
    EXPECT_EQ(descriptionOf("CSSHPA"), descriptionOf("CSSHPA DES"));
    EXPECT_EQ(descriptionOf("CSSHPA"), descriptionOf("CSSHPA_DES"));
    EXPECT_NE(descriptionOf("CSSHPB"), nullptr);
    EXPECT_EQ(descriptionOf("CSSHPB"), descriptionOf("CSSHPB DES"));
    EXPECT_EQ(descriptionOf("CSSHPB"), descriptionOf("CSSHPB_DES"));
    EXPECT_NE(descriptionOf("CSSHPA"), descriptionOf("CSSHPB"));
}

// The tag of the first field of the description that a name's handler parses with.
std::string firstTagOf(const char* name) {
    const auto* set = static_cast<const nitf_TREDescriptionSet*>(descriptionOf(name));
    if (set == nullptr || set->descriptions == nullptr ||
        set->descriptions[0].description == nullptr) {
        return {};
    }
    return set->descriptions[0].description[0].tag;
}

// Starts the subsystem with a plug-in that claims BANDSB and "CSATTA DES"; 0 when BANDSB
// stays ours (registered before the plug-ins load) and "CSATTA DES" is the plug-in's (ours
// registers after them), while the name the plug-in doesn't claim is still ours.
int startWithClaimingPlugin(const fs::path& home) {
    ::setenv("TESSEL_HOME", home.c_str(), 1);
    ::unsetenv("NITF_PLUGIN_PATH");
    Tessel::NITFFactory::get();
    const bool ok = firstTagOf("BANDSB") == "COUNT" && firstTagOf("RPFIMG") == "LOCLEN.uint" &&
                    firstTagOf("CSATTA DES") == "PLUGIN_DATA" &&
                    firstTagOf("CSATTA_DES") == "ATT_TYPE";
    return ok ? 0 : 1;
}

// The subsystem starts once per process, so this runs in a child process of its own.
TEST(ExtensionsDeathTest, PluginsLoadBetweenTheEarlyAndTheLateDefinitions) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    file_test::TempDir home;
    const fs::path plugins = home.path() / "lib" / "tessel" / "nitroplugins";
    fs::create_directories(plugins);
    fs::copy_file(TESSEL_TEST_EXTPLUGIN, plugins / "TESTEXT.so");
    EXPECT_EXIT(std::exit(startWithClaimingPlugin(home.path())), ::testing::ExitedWithCode(0), "");
}

TEST_F(Extensions, AttitudeDescriptionRegistersOnlyUnderItsDataExtensionNames) {
    EXPECT_EQ(descriptionOf("CSATTA"), nullptr);
}

// --- CSATTA -----------------------------------------------------------------------------------

TEST_F(Extensions, AttitudeSegmentHasItsFiveFields) {
    openWithDes("CSATTA DES", csattaFields());
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/_count"), "6");  // "_treID" and five fields
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/_treID"), "CSATTA DES");
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/_isRaw"), std::nullopt);
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/ATT_TYPE"), "ORIGINAL");
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/DT_ATT"), "0000000.062500");
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/DATE_ATT"), "20240102");
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/T0_ATT"), "000012345.678");
    EXPECT_EQ(value("/DESs/0/UserDefinedSubHeader/NUM_ATT?parse=int"),
              any_type::value(int64_t{10}));
}

TEST_F(Extensions, AttitudeSegmentUnderTheUnderscoreNameParsesToo) {
    openWithDes("CSATTA_DES", csattaFields());
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/NUM_ATT"), "00010");
}

TEST_F(Extensions, AttitudeSubheaderOfTheWrongLengthStaysRaw) {
    openWithDes("CSATTA DES", csattaFields() + "x");
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/_isRaw"), "true");
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/ATT_TYPE"), std::nullopt);
}

// --- CSSHPA -----------------------------------------------------------------------------------

TEST_F(Extensions, CloudShapesCarryTheirCoverSource) {
    openWithDes("CSSHPA DES", csshpaFields("CLOUD_SHAPES"));
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/SHAPE_USE"), "CLOUD_SHAPES");
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/CC_SOURCE"), "SOURCE_SENSOR");
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/SHAPE2_NAME"), "SHX");
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/SHAPE3_START"), "000344");
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/NOT_SUPPORTED"), "extra");
}

TEST_F(Extensions, OtherShapesHaveNoCoverSource) {
    openWithDes("CSSHPA DES", csshpaFields("IMAGE_SHAPE"));
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/SHAPE_USE"), "IMAGE_SHAPE");
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/CC_SOURCE"), std::nullopt);
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/SHAPE1_NAME"), "SHP");
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/SHAPE2_START"), "000236");
}

TEST_F(Extensions, ShapefileWithoutTrailingBytesHasAnEmptyRest) {
    std::string fields = csshpaFields("IMAGE_SHAPE");
    fields.resize(fields.size() - 5);
    openWithDes("CSSHPA", fields);
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/SHAPE3_NAME"), "DBF");
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/_isRaw"), std::nullopt);
}

// --- CSSHPB -----------------------------------------------------------------------------------

TEST_F(Extensions, AllImageSegmentsMeanNoDisplayLevels) {
    openWithDes("CSSHPB DES", csshpbFields("ALL"));
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/NUMAIS"), "ALL");
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/AISDLVL"), std::nullopt);
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/TIMESTAMP"), "2024-01-02T03:04:05.000Z");
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/ASSOC_ELEM_ID/1"), "ELEM-2");
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/SHAPE_USE_ATTR_NAME/0"), "COVER");
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/SHAPE_USE_ATTR_VALUE/0"), "0.5");
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/SHAPE_COORD"), "GEOGRAPHIC");
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/SHAPE3_START"), "000000344");
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/NOT_SUPPORTED"), "tail");
}

TEST_F(Extensions, CountedImageSegmentsHaveOneDisplayLevelEach) {
    openWithDes("CSSHPB", csshpbFields("002"));
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/AISDLVL/_count"), "2");
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/AISDLVL/0"), "010");
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/AISDLVL/1"), "011");
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/SOURCE"), "SENSOR");
}

TEST_F(Extensions, ShapefileSegmentsAreFoundByTheirUse) {
    openWithDes("CSSHPB_DES", csshpbFields("ALL"));
    EXPECT_EQ(text("/DESs/CSSHPB_DES-CLOUD_SHAPES/UserDefinedSubHeader/SHAPE_CLASS"), "POLYGON");
}

// --- BANDSB -----------------------------------------------------------------------------------

TEST_F(Extensions, AdjustmentBitGivesTheAdjustmentFieldsAndNoBandFields) {
    openWithImageTre("BANDSB", bandsbHeader(3, 0x80000000) + A("SURFACE", 24) + floatBytes(100.0F));
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/_isRaw"), std::nullopt);
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/COUNT"), "00003");
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/RADIOMETRIC_ADJUSTMENT_SURFACE"), "SURFACE");
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/ATMOSPHERIC_ADJUSTMENT_ALTITUDE"),
              lumo_codec::base64_encode(floatBytes(100.0F)));
    // "_treID", fifteen header fields and the two adjustment fields: the loop added nothing.
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/_count"), "18");
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/BAND_BANDID"), std::nullopt);
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/DIAMETER"), std::nullopt);
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/NUM_AUX_B"), std::nullopt);
}

TEST_F(Extensions, HeaderFieldsOfTheBandDescription) {
    openWithImageTre("BANDSB", bandsbHeader(0, 0));
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/RADIOMETRIC_QUANTITY"), "RADIANCE");
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/RADIOMETRIC_QUANTITY_UNIT"), "S");
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/SCALE_FACTOR"),
              lumo_codec::base64_encode(floatBytes(1.5F)));
    EXPECT_EQ(value("/Images/0/TREs/BANDSB/ROW_GSD?parse=double"), any_type::value(30.49));
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/COL_GSD_UNIT"), "M");
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/SPT_RESP_COL"), "-------");
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/EXISTENCE_MASK"),
              lumo_codec::base64_encode(bigEndian32(0)));
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/_count"), "16");
}

TEST_F(Extensions, CubeBitsEachBringTheirField) {
    openWithImageTre("BANDSB", bandsbHeader(0, 0x40000000 | 0x20000000 | 0x00080000) + "0000.25" +
                                   std::string(32, 'x') + "U");
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/DIAMETER"), "0000.25");
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/DATA_FLD_2"),
              lumo_codec::base64_encode(std::string(32, 'x')));
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/WAVE_LENGTH_UNIT"), "U");
}

TEST_F(Extensions, EveryBandBitBringsItsFieldsToEachBand) {
    openWithImageTre("BANDSB", bandsbHeader(2, kAllCubeAndBandBits) + A("SURFACE", 24) +
                                   floatBytes(0.0F) + "0000.25" + std::string(32, 'x') + "U" +
                                   bandsbAllBandFields(0) + bandsbAllBandFields(1));
    ASSERT_EQ(text("/Images/0/TREs/BANDSB/_isRaw"), std::nullopt);
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/BAND_BANDID/_count"), "2");
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/BAND_BANDID/1"), "BAND1");
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/BAND_NIIRS/0"), "050");
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/BAND_CWAVE/1"), "0000.51");
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/BAND_UBOUND/0"), "0000.60");
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/BAND_START_TIME/1"), "202401020304051");
    // The spacing uncertainty bit guards the row and the column field.
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/BAND_ROW_GSD_UNC/1"), "0000.01");
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/BAND_COL_GSD/1"), "0000.81");
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/BAND_COL_GSD_UNC/0"), "0000.00");
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/BAND_COL_GSD_UNIT/0"), "M");
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/BAND_SCNNOISE/1"), "00021");
    // So does the spatial response uncertainty bit.
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/BAND_SPT_RESP_UNC_ROW/0"), "0000.00");
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/BAND_SPT_RESP_FUNCTION_COL/1"), "0001.01");
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/BAND_SPT_RESP_UNC_COL/1"), "0000.01");
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/BAND_DATA_FLD_6/1"),
              lumo_codec::base64_encode(std::string(48, 'd')));
}

TEST_F(Extensions, UncertaintiesAreLeftOutWithoutTheirBits) {
    const uint32_t mask = 0x00004000 | 0x00000800;
    std::string bands;
    for (int band = 0; band < 2; ++band) {
        const std::string b = std::to_string(band);
        bands += "0000.7" + b + "M" + "0000.8" + b + "K" + "0000.9" + b + "M" + "0001.0" + b + "K";
    }
    openWithImageTre("BANDSB", bandsbHeader(2, mask) + bands);
    ASSERT_EQ(text("/Images/0/TREs/BANDSB/_isRaw"), std::nullopt);
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/BAND_ROW_GSD/1"), "0000.71");
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/BAND_ROW_GSD_UNC"), std::nullopt);
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/BAND_COL_GSD_UNIT/0"), "K");
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/BAND_COL_GSD_UNC"), std::nullopt);
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/BAND_SPT_RESP_UNC_ROW"), std::nullopt);
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/BAND_SPT_RESP_FUNCTION_COL/1"), "0001.01");
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/BAND_SPT_RESP_UNIT_COL/1"), "K");
}

TEST_F(Extensions, AuxiliaryParametersFollowTheirFormatLetters) {
    std::string aux = "02" + std::string("03");
    aux += "I" + A("count", 7) + N(11, 10) + N(12, 10);             // per band integers
    aux += "R" + A("m", 7) + floatBytes(0.5F) + floatBytes(0.25F);  // per band reals
    aux += "A" + A("txt", 7) + N(123, 20);                          // cube text
    aux += "I" + A("n", 7) + N(7, 10);                              // cube integer
    aux += "R" + A("s", 7) + floatBytes(4.0F);                      // cube real
    openWithImageTre("BANDSB", bandsbHeader(2, 0x00000001) + aux);
    ASSERT_EQ(text("/Images/0/TREs/BANDSB/_isRaw"), std::nullopt);
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/NUM_AUX_B"), "02");
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/AUX_B_BAPF/1"), "R");
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/AUX_B_UBAP/0"), "count");
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/BAND_AUX_B_APN/0/1"), "0000000012");
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/BAND_AUX_B_APR/1/0"),
              lumo_codec::base64_encode(floatBytes(0.5F)));
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/BAND_AUX_B_APA"), std::nullopt);
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/AUX_C_CAPF/_count"), "3");
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/BAND_AUX_C_APA/0"), N(123, 20));
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/BAND_AUX_C_APN/1"), "0000000007");
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/BAND_AUX_C_APR/2"),
              lumo_codec::base64_encode(floatBytes(4.0F)));
}

TEST_F(Extensions, BandDescriptionThatEndsEarlyStaysRaw) {
    openWithImageTre("BANDSB", bandsbHeader(2, 0x10000000) + A("BAND0", 50));
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/_isRaw"), "true");
}

// --- RPFIMG -----------------------------------------------------------------------------------

TEST_F(Extensions, LocationSectionReadsAsUnsignedNumbers) {
    openWithImageTre("RPFIMG", rpfimgBytes());
    EXPECT_EQ(text("/Images/0/TREs/RPFIMG/LOCLEN"), "34");
    EXPECT_EQ(text("/Images/0/TREs/RPFIMG/CLTOFF"), "16909060");
    EXPECT_EQ(text("/Images/0/TREs/RPFIMG/SECRECS"), "2");
    EXPECT_EQ(text("/Images/0/TREs/RPFIMG/RECLEN"), "10");
    EXPECT_EQ(text("/Images/0/TREs/RPFIMG/AGGLEN"), "1000");
    EXPECT_EQ(text("/Images/0/TREs/RPFIMG/LOCID/_count"), "2");
    EXPECT_EQ(text("/Images/0/TREs/RPFIMG/LOCID/1"), "135");
    EXPECT_EQ(text("/Images/0/TREs/RPFIMG/LOCSZ/0"), "84");
    EXPECT_EQ(text("/Images/0/TREs/RPFIMG/LOCOFF/1"), "11259375");
    EXPECT_EQ(text("/Images/0/TREs/RPFIMG/TABLEDATA"), lumo_codec::base64_encode("TABLE"));
}

// --- files of the corpus ----------------------------------------------------------------------

fs::path sharedDir() {
    return fs::path(TESSEL_SHARED_DIR);
}

struct RpfLocationRecord {
    uint16_t id;
    uint32_t size;
    uint32_t offset;
};

uint32_t readBigEndian(const std::string& bytes, size_t at, size_t width) {
    uint32_t value = 0;
    for (size_t i = 0; i < width; ++i) {
        value = (value << 8) | static_cast<unsigned char>(bytes.at(at + i));
    }
    return value;
}

// The location records of the first RPFIMG in the file's bytes, decoded here by hand.
std::optional<std::vector<RpfLocationRecord>> rpfimgRecords(const std::string& file) {
    const size_t tag = file.find("RPFIMG");
    if (tag == std::string::npos) {
        return std::nullopt;
    }
    const size_t data = tag + 11;
    const uint32_t count = readBigEndian(file, data + 6, 2);
    std::vector<RpfLocationRecord> records;
    for (uint32_t i = 0; i < count; ++i) {
        const size_t at = data + 14 + size_t{i} * 10;
        records.push_back({static_cast<uint16_t>(readBigEndian(file, at, 2)),
                           readBigEndian(file, at + 2, 4), readBigEndian(file, at + 6, 4)});
    }
    return records;
}

// The corpus files whose image subheaders carry an RPFIMG, as the corpus manifest lists them.
std::vector<std::string> corpusFramesWithLocations() {
    std::ifstream manifest(sharedDir() / "corpus" / "MANIFEST.tsv");
    std::vector<std::string> names;
    std::string line;
    while (std::getline(manifest, line)) {
        std::vector<std::string> columns;
        size_t start = 0;
        for (size_t tab = line.find('\t'); tab != std::string::npos; tab = line.find('\t', start)) {
            columns.push_back(line.substr(start, tab - start));
            start = tab + 1;
        }
        columns.push_back(line.substr(start));
        constexpr size_t kTresColumn = 11;
        if (columns.size() > kTresColumn &&
            columns[kTresColumn].find("RPFIMG") != std::string::npos) {
            names.push_back(columns[0]);
        }
    }
    return names;
}

TEST_F(Extensions, RasterProductFramesOfTheCorpusListTheirLocations) {
    int checked = 0;
    for (const std::string& name : corpusFramesWithLocations()) {
        const fs::path path = sharedDir() / "corpus" / name;
        SCOPED_TRACE(name);
        const auto records = rpfimgRecords(file_test::readFile(path));
        ASSERT_TRUE(records);
        Tessel::NITFMessages messages;
        context_ = std::make_unique<Tessel::NITFFileContext>(
            Tessel::NITFFactory::get().open(file_test::uriOf(path), messages));
        if (!*context_) {
            continue;  // damaged files of the corpus don't open at all
        }
        EXPECT_EQ(text("/Images/0/TREs/RPFIMG/_isRaw"), std::nullopt);
        EXPECT_EQ(text("/Images/0/TREs/RPFIMG/SECRECS"), std::to_string(records->size()));
        EXPECT_EQ(text("/Images/0/TREs/RPFIMG/LOCID/_count"), std::to_string(records->size()));
        for (size_t i = 0; i < records->size(); ++i) {
            const std::string index = std::to_string(i);
            EXPECT_EQ(text("/Images/0/TREs/RPFIMG/LOCID/" + index),
                      std::to_string((*records)[i].id));
            EXPECT_EQ(text("/Images/0/TREs/RPFIMG/LOCSZ/" + index),
                      std::to_string((*records)[i].size));
            EXPECT_EQ(text("/Images/0/TREs/RPFIMG/LOCOFF/" + index),
                      std::to_string((*records)[i].offset));
        }
        // The frame's tables are still located through the extension's bytes.
        nitf_Record* record = context_->getFile().getPrivate()->getRecord();
        auto* segment = static_cast<nitf_ImageSegment*>(record->images->first->data);
        const auto locations = NITFPathInternal::readRpfLocations(segment->subheader);
        ASSERT_EQ(locations.size(), records->size());
        for (size_t i = 0; i < locations.size(); ++i) {
            EXPECT_EQ(locations[i].id, (*records)[i].id);
            EXPECT_EQ(locations[i].offset, (*records)[i].offset);
        }
        ++checked;
    }
    if (checked == 0) {
        GTEST_SKIP() << "no raster product frames in " << sharedDir();
    }
    RecordProperty("frames", checked);
}

// GDAL's reading of the fields of the extensions of a file, as (name, value) in the order of
// its "xml:TRE" or "xml:DES" metadata; nothing when GDAL isn't there.
std::optional<std::vector<std::pair<std::string, std::string>>> gdalFields(
    const fs::path& file, const std::string& domain) {
    const std::string command =
        "gdalinfo -json -mdd " + domain + " '" + file.string() + "' 2>/dev/null";
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) {
        return std::nullopt;
    }
    std::string output;
    char buffer[4096];
    size_t got = 0;
    while ((got = fread(buffer, 1, sizeof buffer, pipe)) > 0) {
        output.append(buffer, got);
    }
    if (pclose(pipe) != 0 || output.empty()) {
        return std::nullopt;
    }
    const nlohmann::json info = nlohmann::json::parse(output, nullptr, false);
    if (info.is_discarded() || !info.contains("metadata") || !info["metadata"].contains(domain)) {
        return std::nullopt;
    }
    std::string xml;
    for (const auto& part : info["metadata"][domain]) {
        xml += part.get<std::string>();
    }
    std::vector<std::pair<std::string, std::string>> fields;
    const std::regex field(R"re(<field name="([^"]+)" value="([^"]*)")re");
    for (auto it = std::sregex_iterator(xml.begin(), xml.end(), field);
         it != std::sregex_iterator(); ++it) {
        fields.emplace_back((*it)[1].str(), (*it)[2].str());
    }
    return fields;
}

TEST_F(Extensions, ShapefileFixtureAgreesWithGdal) {
    const fs::path path = sharedDir() / "fixtures" / "des_csshpa.ntf";
    if (!fs::exists(path)) {
        GTEST_SKIP() << "no " << path;
    }
    Tessel::NITFMessages messages;
    context_ = std::make_unique<Tessel::NITFFileContext>(
        Tessel::NITFFactory::get().open(file_test::uriOf(path), messages));
    ASSERT_TRUE(*context_);
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/SHAPE_USE"), "CLOUD_SHAPES");
    EXPECT_EQ(text("/DESs/0/UserDefinedSubHeader/CC_SOURCE"), "FIXTURE_SOURCE");
    const auto gdal = gdalFields(path, "xml:DES");
    if (!gdal) {
        GTEST_SKIP() << "GDAL is not available";
    }
    int compared = 0;
    for (const char* name : {"SHAPE_USE", "SHAPE_CLASS", "CC_SOURCE", "SHAPE1_NAME", "SHAPE1_START",
                             "SHAPE2_NAME", "SHAPE2_START", "SHAPE3_NAME", "SHAPE3_START"}) {
        const auto found = std::find_if(gdal->begin(), gdal->end(),
                                        [&](const auto& field) { return field.first == name; });
        ASSERT_NE(found, gdal->end()) << name;
        EXPECT_EQ(text(std::string("/DESs/0/UserDefinedSubHeader/") + name), found->second) << name;
        ++compared;
    }
    EXPECT_EQ(compared, 9);
}

// Our text of a field against GDAL's: binary 4-byte fields are base64 with us, numbers with
// GDAL (the mask an integer, the others floats).
void expectSameValue(const std::string& name, const std::string& ours, const std::string& gdal) {
    const auto bytes = lumo_codec::base64_decode(ours);
    if (name.find("FACTOR") == std::string::npos && name != "EXISTENCE_MASK" &&
        name != "ATMOSPHERIC_ADJUSTMENT_ALTITUDE") {
        EXPECT_EQ(ours, gdal) << name;
        return;
    }
    ASSERT_TRUE(bytes && bytes->size() == 4) << name << " " << ours;
    const uint32_t bits = readBigEndian(std::string(bytes->begin(), bytes->end()), 0, 4);
    if (name == "EXISTENCE_MASK") {
        EXPECT_EQ(std::to_string(bits), gdal);
        return;
    }
    const float value = std::bit_cast<float>(bits);
    if (std::isnan(value)) {
        EXPECT_EQ(gdal, "nan") << name;
    } else {
        EXPECT_FLOAT_EQ(value, std::stof(gdal)) << name;
    }
}

// A hyperspectral band description taken from a real product, carried in a file of ours.
TEST_F(Extensions, RealBandDescriptionAgreesWithGdal) {
    const fs::path source = sharedDir() / "corpus" / "sarpy" / "example_bandsb_tre.bin";
    if (!fs::exists(source)) {
        GTEST_SKIP() << "no " << source;
    }
    const std::string bytes = file_test::readFile(source);
    ASSERT_EQ(bytes.substr(0, 6), "BANDSB");
    const std::string data = bytes.substr(11, std::stoul(bytes.substr(6, 5)));
    dictionary_test::FileLayout layout;
    layout.images.emplace_back();
    layout.images[0].extended = {{"BANDSB", data}};
    const fs::path path = dir_ / "bandsb.ntf";
    file_test::writeFile(path, dictionary_test::buildFile(layout));
    Tessel::NITFMessages messages;
    context_ = std::make_unique<Tessel::NITFFileContext>(
        Tessel::NITFFactory::get().open(file_test::uriOf(path), messages));
    ASSERT_TRUE(*context_);
    ASSERT_EQ(text("/Images/0/TREs/BANDSB/_isRaw"), std::nullopt);
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/COUNT"), "00172");
    EXPECT_EQ(text("/Images/0/TREs/BANDSB/RADIOMETRIC_QUANTITY"), "RADIANCE");
    const auto bands = text("/Images/0/TREs/BANDSB/BAND_CWAVE/_count");
    ASSERT_TRUE(bands);
    EXPECT_EQ(*bands, "172");

    const auto gdal = gdalFields(path, "xml:TRE");
    if (!gdal) {
        GTEST_SKIP() << "GDAL is not available";
    }
    // The whole extension in one query: single fields are strings, a band's fields arrays.
    const auto json = text("/Images/0/TREs/BANDSB?JSON");
    ASSERT_TRUE(json);
    const nlohmann::json ours = nlohmann::json::parse(*json);
    // GDAL gives a band's fields without the "BAND_" prefix, once per band in band order.
    std::map<std::string, size_t> seen;
    int compared = 0;
    for (const auto& [name, value] : *gdal) {
        const size_t occurrence = seen[name]++;
        if (value.empty()) {
            continue;  // reserved fields GDAL leaves blank
        }
        const nlohmann::json* field = nullptr;
        if (ours.contains(name) && ours[name].is_string()) {
            field = &ours[name];
        } else if (ours.contains("BAND_" + name) && occurrence < ours["BAND_" + name].size()) {
            field = &ours["BAND_" + name][occurrence];
        }
        ASSERT_NE(field, nullptr) << name << " " << occurrence;
        expectSameValue(name, field->get<std::string>(), value);
        ++compared;
    }
    EXPECT_EQ(compared, 17 + 3 * 172);
}

// --- the listing of registered extensions -----------------------------------------------------

// Descriptions are kept for the whole process once read, so the listing always reads them
// with the test resource folder in place (writeDescription sets it up).
// Two names get descriptions of the test's own, a good and a broken one, before any listing
// reads them; no other test reads these names.
nlohmann::ordered_json treListing() {
    static const bool written = [] {
        tessel_test::writeDescription(
            "CSSHPA",
            R"({"Name": "CSSHPA", "description": "Shapefile data", "Other": 1,)"
            R"( "Classification": {"level": "UNCLASSIFIED", "system": "x"}, "Fields": {}})");
        tessel_test::writeDescription("CSSHPB", "{ not json");
        nitf_fs::clearCache();
        return true;
    }();
    (void)written;
    return collectVersions({})["nitf-tres"];
}

TEST_F(Extensions, ListingNamesEveryRegisteredExtensionInOrder) {
    const auto listing = treListing();
    EXPECT_EQ(listing["description"], "List Registered NITF TREs");
    ASSERT_TRUE(listing["value"].is_array());
    std::vector<std::string> names;
    for (const auto& entry : listing["value"]) {
        names.push_back(entry["name"].get<std::string>());
    }
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
    for (const char* name : {"BANDSB", "CSATTA DES", "CSATTA_DES", "CSSHPA", "CSSHPA DES",
                             "CSSHPA_DES", "CSSHPB", "CSSHPB DES", "CSSHPB_DES", "RPFIMG"}) {
        EXPECT_NE(std::find(names.begin(), names.end(), name), names.end()) << name;
    }
}

TEST_F(Extensions, ListingLeavesOutTestExtensions) {
    static nitf_TREDescription fields[] = {
        {NITF_BCS_A, NITF_TRE_GOBBLE, "Anything", "ANY", nullptr},
        {NITF_END, 0, nullptr, nullptr, nullptr},
    };
    static nitf_TREDescriptionInfo infos[] = {{"TEST DES", fields, NITF_TRE_DESC_NO_LENGTH},
                                              {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH}};
    static nitf_TREDescriptionSet set{0, infos};
    nitf_Error error{};
    ASSERT_TRUE(nitf_PluginRegistry_registerDescriptionSet("TEST DES", &set, &error));
    ASSERT_TRUE(nitf_PluginRegistry_registerDescriptionSet("TEST_DES", &set, &error));
    ASSERT_TRUE(nitf_PluginRegistry_TREHandlerExists("TEST DES"));
    const std::string text = treListing()["value"].dump();
    EXPECT_EQ(text.find("TEST DES"), std::string::npos);
    EXPECT_EQ(text.find("TEST_DES"), std::string::npos);
    EXPECT_NE(text.find("BANDSB"), std::string::npos);
}

nlohmann::ordered_json listingEntry(const std::string& name) {
    const nlohmann::ordered_json listing = treListing();
    for (const auto& entry : listing["value"]) {
        if (entry["name"] == name) {
            return entry;
        }
    }
    return {};
}

TEST_F(Extensions, ListingCopiesNameDescriptionAndLevelFromTheDescriptionDocument) {
    const auto described = listingEntry("CSSHPA");
    EXPECT_EQ(described, nlohmann::ordered_json::parse(
                             R"({"name": "CSSHPA", "Name": "CSSHPA",
                                 "description": "Shapefile data", "level": "UNCLASSIFIED"})"));
    const auto broken = listingEntry("CSSHPB");
    ASSERT_TRUE(broken.contains("message"));
    EXPECT_TRUE(broken["message"].get<std::string>().starts_with("Failed to load: CSSHPB, "))
        << broken.dump();
    const auto missing = listingEntry("CSSHPA_DES");
    ASSERT_TRUE(missing.contains("message"));
    EXPECT_TRUE(missing["message"].get<std::string>().starts_with("Failed to load: CSSHPA_DES, "));
    nitf_fs::clearCache();
}

}  // namespace
