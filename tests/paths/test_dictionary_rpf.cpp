#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <filesystem>
#include <variant>

#include "tessel/platform/base/text.h"

#include "paths/PathDictionaryRpf.h"
#include "paths/RpfTables.h"
#include "tessel/paths/PathWalker.h"
#include "tests/platform/nitf/nitf_test_files.h"

namespace {

using NITFPathInternal::parseRpfLocations;
using NITFPathInternal::readRpfLocations;
using NITFPathInternal::readRpfTables;
using NITFPathInternal::RpfByteSource;
using NITFPathInternal::RpfLocation;
using NITFPathInternal::rpfSourceOver;
using Json = nlohmann::ordered_json;

// --- frames of the shared corpus -------------------------------------------------------

class RpfFrame : public ::testing::Test {
protected:
    Json tablesOf(const std::string& name) {
        const auto path = nitf_test::sharedDir() / "corpus" / name;
        if (!std::filesystem::exists(path)) {
            return nullptr;
        }
        nitf_test::OpenFile file(path);
        EXPECT_NE(file.record, nullptr) << file.error.message;
        if (file.record == nullptr) {
            return nullptr;
        }
        auto* segment = static_cast<nitf_ImageSegment*>(file.record->images->first->data);
        return readRpfTables(readRpfLocations(segment->subheader), rpfSourceOver(file.io));
    }
};

TEST_F(RpfFrame, CadrgFrameGivesCoverageDescriptionCompressionColormapAndAttributes) {
    const Json tables = tablesOf("codice/fromOSGEO/cadrg/001zc013.on1");
    if (tables.is_null()) {
        GTEST_SKIP() << "no shared corpus";
    }
    EXPECT_EQ(tables["Coverage"]["UpperLeft"]["lat"], "31.034482758620694");
    EXPECT_EQ(tables["Coverage"]["LowerRight"]["lon"], "-97.00934579439252");
    EXPECT_EQ(tables["Coverage"]["UpperLeft"]["hgt"], "0");
    EXPECT_EQ(std::stod(tables["Coverage"]["VerticalResolution"].get<std::string>()),
              double(149.66000366210938));
    EXPECT_EQ(tables["ImageDescription"]["SubframesEastWest"], "6");
    EXPECT_EQ(tables["ImageDescription"]["SubframesNorthSouth"], "6");
    EXPECT_EQ(tables["ImageDescription"]["ColumnsPerSubframe"], "256");
    EXPECT_EQ(tables["ImageDescription"]["MaskTableOffset"], "4294967295");
    EXPECT_EQ(tables["ImageDisplayParameters"]["ImageRows"], "64");
    EXPECT_EQ(tables["ImageDisplayParameters"]["CodeBitLength"], "12");
    EXPECT_EQ(tables["Compression"]["AlgorithmID"], "1");
    EXPECT_EQ(tables["Compression"]["LookupOffsetRecords"], "4");
    EXPECT_EQ(tables["Compression"]["OffsetTableRecLength"], "14");
    EXPECT_EQ(tables["Colormap"]["ColorOffestRecords"], "3");
    EXPECT_EQ(tables["Colormap"]["ConverterOffestRecords"], "2");
    EXPECT_EQ(tables["Colormap"]["ExternalFile"], "");
    ASSERT_EQ(tables["Colormap"]["Tables"].size(), 3u);
    EXPECT_EQ(tables["Colormap"]["Tables"][0]["ColorRecords"], "216");
    EXPECT_EQ(tables["Colormap"]["Tables"][1]["ColorRecords"], "32");
    EXPECT_EQ(tables["Colormap"]["Tables"][2]["ColorRecords"], "16");
    EXPECT_EQ(tables["Colormap"]["Tables"][0]["ColorElemLen"], "4");
    EXPECT_FALSE(tables.contains("Mask"));  // this frame has no mask subsection
    EXPECT_EQ(tables["Attributes"]["CurrencyDate"], "19950720");
    EXPECT_EQ(tables["Attributes"]["MapSource"]["DataSeries"], "ON");
    EXPECT_EQ(tables["Attributes"]["ProjectionSystem"]["Code"], "LE");
    EXPECT_EQ(tables["Attributes"]["HighestKnownElevation"]["Elevation"], "12306");
    EXPECT_EQ(tables["Attributes"]["HighestKnownElevation"]["Longitude"], "-100.55");
    ASSERT_EQ(tables["ArealCoverages"].size(), 3u);
    EXPECT_EQ(tables["ArealCoverages"][0], "24,-109 32,-109 32,-97 24,-97 24,-109");
    // The keys come in a fixed order.
    std::vector<std::string> keys;
    for (const auto& item : tables.items()) {
        keys.push_back(item.key());
    }
    EXPECT_EQ(keys, (std::vector<std::string>{"Coverage", "Attributes", "ArealCoverages",
                                              "ImageDescription", "ImageDisplayParameters",
                                              "Compression", "Colormap"}));
}

TEST_F(RpfFrame, CibFrameGivesTheSubframeMask) {
    const Json tables = tablesOf("ogdi-test/rpf/ftdrum/rpf/n44w076/004b1r16.i12");
    if (tables.is_null()) {
        GTEST_SKIP() << "no shared corpus";
    }
    const Json& mask = tables["Mask"];
    EXPECT_EQ(mask["SubframeSeqRecLen"], "4");
    EXPECT_EQ(mask["TransSeqRecLen"], "4");
    EXPECT_EQ(mask["TransPixelCodeLen"], "8");
    EXPECT_EQ(mask["TransPixelCode"], "216");
    ASSERT_EQ(mask["Blocks"].size(), 36u);
    EXPECT_EQ(mask["Blocks"][0], "4294967295");
    EXPECT_EQ(mask["Blocks"][2], "0");
    EXPECT_EQ(mask["Blocks"][3], "6144");
    EXPECT_EQ(mask["Blocks"][5], "18432");
    EXPECT_EQ(tables["Colormap"]["Tables"][0]["TableID"], "3");
    EXPECT_EQ(tables["Colormap"]["Tables"][0]["ColorRecords"], "217");
    EXPECT_EQ(tables["Attributes"]["ImageSource"]["Source"], "SPOT");
    EXPECT_EQ(tables["Attributes"]["ImageSource"]["GSD"], "10");
    EXPECT_EQ(tables["Coverage"]["VerticalResolution"], "9.99");
}

TEST_F(RpfFrame, AttributeSubsectionDeclaredTooShortIsReadToTheNextComponent) {
    // This frame's attribute subsection holds 52 offset records (416 bytes) but declares 302.
    const Json tables = tablesOf("codice/fromOSGEO/0000M033.GN3");
    if (tables.is_null()) {
        GTEST_SKIP() << "no shared corpus";
    }
    const Json& attributes = tables["Attributes"];
    EXPECT_EQ(attributes["CurrencyDate"], "19941201");
    EXPECT_EQ(attributes["MapSource"]["Edition"], "1");
    // Given once per areal coverage: a list.
    ASSERT_TRUE(attributes["HorizontalAbsoluteAccuracy"].is_array());
    EXPECT_EQ(attributes["HorizontalAbsoluteAccuracy"].size(), 3u);
    EXPECT_EQ(attributes["HorizontalAbsoluteAccuracy"][2]["Accuracy"], "8750");
    // An attribute of the catalogue without a known layout shows its bytes.
    EXPECT_EQ(attributes["ContourInterval"]["Parameter1"], "270F");
    // The areal coverage table runs past the end of this (truncated) file.
    EXPECT_FALSE(tables.contains("ArealCoverages"));
}

TEST(RpfTables, DictionaryOfAFrameAnswersPaths) {
    const auto path =
        nitf_test::sharedDir() / "corpus" / "ogdi-test/rpf/ftdrum/rpf/n44w076/004b1r16.i12";
    if (!std::filesystem::exists(path)) {
        GTEST_SKIP() << "no shared corpus";
    }
    nitf_test::OpenFile file(path);
    ASSERT_NE(file.record, nullptr);
    auto* segment = static_cast<nitf_ImageSegment*>(file.record->images->first->data);
    NITFPathInternal::Node root =
        NITFPathInternal::Node::makeDict(NITFPathInternal::encodeRpfTables(
            readRpfLocations(segment->subheader), rpfSourceOver(file.io)));
    Tessel::NITFMessages messages;
    auto read = [&](std::string_view query) {
        const auto value = NITFPathInternal::queryTree(root, query, messages);
        const auto* text = std::get_if<std::wstring>(&value);
        return text != nullptr ? std::to_string(std::wstring_view(*text)) : std::string("<none>");
    };
    EXPECT_EQ(read("/Mask/Blocks/_count"), "36");
    EXPECT_EQ(read("/Mask/Blocks/3"), "6144");
    EXPECT_EQ(read("/Coverage/UpperLeft/hgt"), "0");
    EXPECT_EQ(read("/Colormap/Tables/0/ColorRecords"), "217");
    EXPECT_EQ(read("/Attributes/ImageSource/GSD"), "10");
    const auto xml = NITFPathInternal::queryTree(root, "/Mask/Blocks?XML", messages);
    ASSERT_TRUE(std::holds_alternative<std::string>(xml));
    EXPECT_NE(std::get<std::string>(xml).find("<NITFFragment><Element>4294967295</Element>"),
              std::string::npos);
    EXPECT_TRUE(messages.empty());
}

TEST(RpfLocations, ImageWithoutRpfimgHasNone) {
    const auto path = nitf_test::sharedDir() / "fixtures" / "nc_u8_basic.ntf";
    if (!std::filesystem::exists(path)) {
        GTEST_SKIP() << "no shared fixtures";
    }
    nitf_test::OpenFile file(path);
    ASSERT_NE(file.record, nullptr);
    auto* segment = static_cast<nitf_ImageSegment*>(file.record->images->first->data);
    EXPECT_TRUE(readRpfLocations(segment->subheader).empty());
    EXPECT_TRUE(readRpfLocations(nullptr).empty());
    EXPECT_TRUE(readRpfTables({}, rpfSourceOver(file.io)).empty());
}

// --- synthetic frames --------------------------------------------------------------------

// Big-endian bytes, appended.
struct Bytes {
    std::string data;
    Bytes& u8(uint32_t v) {
        data += static_cast<char>(v);
        return *this;
    }
    Bytes& u16(uint32_t v) { return u8(v >> 8).u8(v); }
    Bytes& u32(uint32_t v) { return u16(v >> 16).u16(v); }
    Bytes& f64(double v) {
        const auto bits = std::bit_cast<uint64_t>(v);
        return u32(static_cast<uint32_t>(bits >> 32)).u32(static_cast<uint32_t>(bits));
    }
    Bytes& text(std::string_view t) {
        data += t;
        return *this;
    }
};

// A file image: sections placed one after another behind some leading bytes.
struct Frame {
    std::string file = std::string(100, 'x');
    std::vector<RpfLocation> locations;

    void add(uint32_t id, const std::string& bytes, uint32_t declaredLength = 0) {
        locations.push_back({id, declaredLength != 0 ? declaredLength : uint32_t(bytes.size()),
                             uint32_t(file.size())});
        file += bytes;
    }
    RpfByteSource source() const {
        return [this](uint64_t offset, size_t size, std::string& out) {
            if (offset + size > file.size()) {
                return false;
            }
            out = file.substr(offset, size);
            return true;
        };
    }
};

TEST(RpfTables, LocationRecordsFollowTheFourteenByteHeader) {
    Bytes section;
    section.u16(34).u32(14).u16(3).u16(10).u32(0);
    section.u16(130).u32(96).u32(1000);
    section.u16(136).u32(28).u32(2000);
    section.u16(138);  // a record cut short is dropped
    const auto locations = parseRpfLocations(section.data);
    ASSERT_EQ(locations.size(), 2u);
    EXPECT_EQ(locations[0].id, 130u);
    EXPECT_EQ(locations[0].length, 96u);
    EXPECT_EQ(locations[0].offset, 1000u);
    EXPECT_EQ(locations[1].id, 136u);
    EXPECT_TRUE(parseRpfLocations("short").empty());
}

TEST(RpfTables, SectionsThatCantBeReadAreLeftOut) {
    Frame frame;
    Bytes coverage;
    for (int i = 0; i < 12; ++i) {
        coverage.f64(i + 0.5);
    }
    frame.add(130, coverage.data);
    frame.add(137, Bytes().u32(64).u32(64).data);  // one byte short of its 9
    frame.add(131, Bytes().u16(1).u16(4).u16(0).data);
    frame.locations.push_back({136, 28, 1u << 30});  // far beyond the end of the file
    frame.locations.push_back({199, 4, 0});          // a component these tables don't read
    const Json tables = readRpfTables(frame.locations, frame.source());
    EXPECT_EQ(tables["Coverage"]["UpperLeft"]["lat"], "0.5");
    EXPECT_EQ(tables["Coverage"]["UpperLeft"]["lon"], "1.5");
    EXPECT_EQ(tables["Coverage"]["HorizontalInterval"], "11.5");
    EXPECT_EQ(tables["Compression"]["AlgorithmID"], "1");
    EXPECT_FALSE(tables["Compression"].contains("OffsetTableOffset"));  // no lookup subsection
    EXPECT_FALSE(tables.contains("ImageDisplayParameters"));
    EXPECT_FALSE(tables.contains("ImageDescription"));
    EXPECT_EQ(tables.size(), 2u);
}

TEST(RpfTables, MaskTableIsFoundThroughTheImageDescription) {
    Frame frame;
    Bytes description;
    description.u16(1).u16(4).u16(1).u16(1).u16(2).u16(2).u32(256).u32(256).u32(10).u32(0xFFFFFFFF);
    frame.add(136, description.data);
    Bytes mask;
    mask.u16(4).u16(0).u16(0).text("pad!").u32(0).u32(6144).u32(0xFFFFFFFF).u32(12288);
    frame.add(138, mask.data);
    const Json tables = readRpfTables(frame.locations, frame.source());
    const Json& out = tables["Mask"];
    EXPECT_FALSE(out.contains("TransPixelCode"));
    EXPECT_EQ(out["Blocks"],
              Json::parse(R"(["0", "6144", "4294967295", "12288"])", nullptr, true, false));
}

TEST(RpfTables, MaskTableCutShortEndsTheBlocks) {
    Frame frame;
    Bytes description;
    description.u16(1)
        .u16(36)
        .u16(1)
        .u16(1)
        .u16(6)
        .u16(6)
        .u32(256)
        .u32(256)
        .u32(0xFFFFFFFF)
        .u32(0xFFFFFFFF);
    frame.add(136, description.data);
    frame.add(138, Bytes().u16(4).u16(0).u16(8).u8(7).u32(0).u32(6144).data);
    const Json tables = readRpfTables(frame.locations, frame.source());
    EXPECT_EQ(tables["Mask"]["TransPixelCode"], "7");
    EXPECT_EQ(tables["Mask"]["Blocks"].size(), 2u);
}

TEST(RpfTables, AttributesOfUnknownIdsShowTheirBytes) {
    Frame frame;
    frame.add(141, Bytes().u16(3).u16(0).u32(0).u16(8).data);
    Bytes attributes;
    attributes.u16(1).u8(1).u8(0).u32(24);
    attributes.u16(77).u8(3).u8(0).u32(32);
    attributes.u16(14).u8(1).u8(0).u32(35);
    attributes.text("20240131").text("\x01\x02\x03").u16(9);
    frame.add(142, attributes.data);
    const Json tables = readRpfTables(frame.locations, frame.source());
    EXPECT_EQ(tables["Attributes"]["CurrencyDate"], "20240131");
    EXPECT_EQ(tables["Attributes"]["Attribute77"]["Parameter3"], "010203");
    EXPECT_EQ(tables["Attributes"]["NavigationSystem"], "9");
}

TEST(RpfTables, ArealCoverageRecordOfAnotherShapeIsHexadecimal) {
    Frame frame;
    Bytes table;
    table.u32(8).u16(6).u16(16);
    table.u16(9).u32(0xABCDEF01);  // claims 9 vertices in 6 bytes
    frame.add(143, table.data);
    const Json tables = readRpfTables(frame.locations, frame.source());
    ASSERT_EQ(tables["ArealCoverages"].size(), 1u);
    EXPECT_EQ(tables["ArealCoverages"][0], "0009ABCDEF01");
}

TEST(RpfTables, ColormapWithoutItsSubsectionKeepsTheHeader) {
    Frame frame;
    frame.add(134, Bytes().u8(2).u8(0).text("EXTERNAL.CLR").data);
    const Json tables = readRpfTables(frame.locations, frame.source());
    EXPECT_EQ(tables["Colormap"]["ColorOffestRecords"], "2");
    EXPECT_EQ(tables["Colormap"]["ExternalFile"], "EXTERNAL.CLR");
    EXPECT_FALSE(tables["Colormap"].contains("Tables"));
}

}  // namespace
