#include <gtest/gtest.h>

#include <bit>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "paths/PathDictionary.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/paths/PathWalker.h"
#include "tessel/platform/base/lumo_codec.h"
#include "tests/paths/dictionary_test_support.h"

namespace {

using namespace dictionary_test;
using namespace NITFPathInternal;
using Json = nlohmann::json;

// --- extensions known to these tests ----------------------------------------------------------

constexpr nitf_TREDescription kEnd{NITF_END, 0, nullptr, nullptr, nullptr};
constexpr nitf_TREDescription kEndLoop{NITF_ENDLOOP, 0, nullptr, nullptr, nullptr};

constexpr nitf_TREDescription field(int type, int width, const char* tag) {
    return {type, width, tag, tag, nullptr};
}

// "ABC": text, typed binary fields, and a repeating group with a nested one.
nitf_TREDescription kAbcFields[] = {
    field(NITF_BCS_A, 4, "NAME"),
    field(NITF_BCS_A, 2, "X.uint"),
    field(NITF_BINARY, 2, "U2.uint"),
    field(NITF_BINARY, 4, "U4.uint"),
    field(NITF_BINARY, 8, "U8.uint"),
    field(NITF_BINARY, 8, "R8.real"),
    field(NITF_BCS_N, 1, "COUNT"),
    {NITF_LOOP, 0, nullptr, "COUNT", nullptr},
    field(NITF_BCS_A, 2, "ITEM"),
    field(NITF_BCS_N, 1, "NSUB"),
    {NITF_LOOP, 0, nullptr, "NSUB", nullptr},
    field(NITF_BCS_A, 1, "SUB"),
    kEndLoop,
    kEndLoop,
    kEnd,
};
nitf_TREDescriptionInfo kAbcInfos[] = {{"ABC", kAbcFields, NITF_TRE_DESC_NO_LENGTH},
                                       {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH}};
nitf_TREDescriptionSet kAbcSet{0, kAbcInfos};

void registerTestExtensions() {
    static const bool registered = [] {
        nitf_Error error{};
        nitf_PluginRegistry_registerDescriptionSet("ABC", &kAbcSet, &error);
        // The shapefile subheaders are the library's own; they register at start.
        Tessel::NITFFactory::get();
        return true;
    }();
    (void)registered;
}

std::string bigEndian(uint64_t value, size_t width) {
    std::string out(width, '\0');
    for (size_t i = 0; i < width; ++i) {
        out[width - 1 - i] = static_cast<char>(value >> (8 * i));
    }
    return out;
}

// NAME "ABCD", X.uint "42", U2 258, U4 16777217, U8 5, R8 2.5, two items with one and two
// sub-items.
std::string abcData(std::string_view name = "ABCD") {
    return std::string(name) + "42" + bigEndian(258, 2) + bigEndian(0x01000001, 4) +
           bigEndian(5, 8) + bigEndian(std::bit_cast<uint64_t>(2.5), 8) + "2" + "AA1x" + "BB2yz";
}

std::string shapeUse(std::string_view use) {
    const std::string source = use == "CLOUD_SHAPES" ? A("SENSOR", 18) : std::string();
    return A(use, 25) + A("POLYGON", 10) + source + "SHP000000SHX000100DBF000200";
}

const char* const kXml =
    "<?xml version='1.0'?><root kind='test' n='2'>head<item id='1'>alpha</item>"
    "<item id='2'>beta &amp; gamma</item><!--note--></root>";

class Dictionary : public ::testing::Test {
protected:
    void SetUp() override { registerTestExtensions(); }

    std::unique_ptr<RecordContext> open(const FileLayout& file) {
        auto context = std::make_unique<RecordContext>(buildFile(file));
        EXPECT_TRUE(context->ok()) << context->error();
        return context;
    }

    static FileLayout richFile() {
        FileLayout file;
        ImageLayout image;
        image.securityCode = "CODEWORD";
        image.comments = {"first comment", "second comment"};
        image.bandSubcategories = {"SUB0", "SUB1"};
        image.extended = {{"ABC", abcData()}, {"ZZRAW1", "raw bytes"}};
        file.images = {image};
        file.texts = {{"TXT1", "Hello text", {}}, {"TXT2", "Second", {}}};
        file.graphics = {{"GRAPHIC", "CGM bytes"}};
        file.des = {{"XML_DATA_CONTENT", "", kXml, "", 0},
                    {"CSSHPA DES", shapeUse("IMAGE_SHAPE"), "shapefile bytes", "", 0}};
        file.userDefined = {{"ABC", abcData("FIL1")}};
        file.extended = {{"ZZRAW2", "xyz"}};
        return file;
    }
};

// --- the root and the file header ---------------------------------------------------------------

TEST_F(Dictionary, RootHasItsKeysInOrder) {
    auto context = open(richFile());
    EXPECT_EQ(context->text("/_count"), "8");
    EXPECT_EQ(context->text("/0"), "02.10");
    EXPECT_EQ(context->text("/Version"), "02.10");
    Dict root = toDict(*context);
    std::vector<std::string> keys;
    for (const auto& [key, node] : root) {
        keys.push_back(key);
    }
    EXPECT_EQ(keys, (std::vector<std::string>{"Version", "FileHeader", "Images", "Text", "Graphics",
                                              "Labels", "DESs", "Data"}));
    EXPECT_FALSE(root.find("Version")->isReadOnly());
    EXPECT_EQ(root.find("Images")->elementName, "Image");
    EXPECT_EQ(root.find("Text")->elementName, "Text");
    EXPECT_EQ(root.find("Graphics")->elementName, "Graphic");
    EXPECT_EQ(root.find("Labels")->elementName, "Label");
    EXPECT_EQ(root.find("DESs")->elementName, "DES");
    EXPECT_EQ(context->text("/Images/_count"), "1");
    EXPECT_EQ(context->text("/Text/_count"), "2");
    EXPECT_EQ(context->text("/Graphics/_count"), "1");
    EXPECT_EQ(context->text("/Labels/_count"), "0");
    EXPECT_EQ(context->text("/DESs/_count"), "2");
}

TEST_F(Dictionary, DataIsAnEmptyReadOnlyDictionary) {
    auto context = open(richFile());
    EXPECT_EQ(context->text("/Data/_count"), "0");
    EXPECT_EQ(context->text("/Data/anything"), std::nullopt);
    EXPECT_EQ(context->messages.back(), "/Data/anything: Not Found");
    Dict root = toDict(*context);
    EXPECT_TRUE(root.find("Data")->isReadOnly());
}

TEST_F(Dictionary, FileHeaderFieldsComeInTableOrderWithTheirFlags) {
    auto context = open(richFile());
    Dict header = encodeFileHeader(context->getRecord()->header, *context);
    const std::vector<std::pair<std::string, bool>> expected{
        {"FHDR", true},    {"FVER", true},     {"CLEVEL", false},     {"STYPE", false},
        {"OSTAID", false}, {"FDT", false},     {"FTITLE", false},     {"FSCLAS", false},
        {"FSCOP", false},  {"FSCPYS", false},  {"ENCRYP", false},     {"FBKGC", false},
        {"ONAME", false},  {"OPHONE", false},  {"FL", true},          {"HL", true},
        {"NUMI", true},    {"NUMS", true},     {"NUMX", true},        {"NUMT", true},
        {"NUMDES", true},  {"NUMRES", true},   {"UDHDL", true},       {"UDHOFL", false},
        {"XHDL", true},    {"XHDLOFL", false}, {"ImageSizes", false}, {"Security", false},
        {"TREs", false}};
    ASSERT_EQ(header.size(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(header.entries[i].first, expected[i].first);
        EXPECT_EQ(header.entries[i].second.isReadOnly(), expected[i].second) << expected[i].first;
    }
    EXPECT_EQ(context->text("/FileHeader/FHDR"), "NITF");
    EXPECT_EQ(context->text("/FileHeader/0"), "NITF");
    EXPECT_EQ(context->text("/FileHeader/FTITLE"), "Dictionary test");
    EXPECT_EQ(context->text("/FileHeader/NUMDES"), "002");
}

TEST_F(Dictionary, BlackBackgroundReadsAsHashZeros) {
    auto context = open(richFile());
    EXPECT_EQ(context->text("/FileHeader/FBKGC"), "#000000");
    FileLayout coloured = richFile();
    coloured.background = "\xff\x80\x01";
    auto other = open(coloured);
    EXPECT_EQ(other->text("/FileHeader/FBKGC"), "#ff8001");
    EXPECT_EQ(other->text("/FileHeader/FBKGC?JSON"), "\"#ff8001\"");
}

TEST_F(Dictionary, ImageSizesListLengthsOfEachImage) {
    FileLayout file = richFile();
    file.images.push_back(ImageLayout{});
    auto context = open(file);
    EXPECT_EQ(context->text("/FileHeader/ImageSizes/_count"), "2");
    const std::string lish = *context->text("/FileHeader/ImageSizes/1/LISH");
    EXPECT_EQ(context->text("/FileHeader/ImageSizes/1/LI"), "0000000006");
    EXPECT_EQ(lish.size(), 6u);
    const auto xml = context->text("/FileHeader/ImageSizes?XML");
    ASSERT_TRUE(xml);
    EXPECT_NE(xml->find("<NITFFragment><ImageSize><LISH>"), std::string::npos);
}

TEST_F(Dictionary, SecurityBlocksPrefixTheirKeys) {
    auto context = open(richFile());
    EXPECT_EQ(context->text("/FileHeader/Security/_count"), "15");
    EXPECT_EQ(context->text("/FileHeader/Security/0"), std::nullopt);  // blank CLSY
    EXPECT_TRUE(context->messages.empty());
    EXPECT_EQ(context->text("/FileHeader/Security/FSCLSY/_exists"), "1");
    EXPECT_EQ(context->text("/FileHeader/Security/FSCTLN/_exists"), "1");
    EXPECT_EQ(context->text("/Images/0/Security/ISCODE"), "CODEWORD");
    EXPECT_EQ(context->text("/Text/0/Security/TSRDT/_exists"), "1");
    EXPECT_EQ(context->text("/Graphics/0/Security/SSCAUT/_exists"), "1");
    EXPECT_EQ(context->text("/DESs/0/Security/DESCLTX/_exists"), "1");
    EXPECT_EQ(context->text("/Images/0/Security/CODE"), std::nullopt);
}

TEST_F(Dictionary, FieldNamesShorterThanTheirPrefixAreAnError) {
    EXPECT_EQ(fieldKey("NITF_IID1"), "IID1");
    EXPECT_EQ(fieldKey("NITF_"), "");
    EXPECT_THROW(fieldKey("NITF"), std::length_error);
}

// --- image segments ------------------------------------------------------------------------------

TEST_F(Dictionary, ImageFieldsComeInTableOrderThenItsBlocks) {
    auto context = open(richFile());
    auto* segment = static_cast<nitf_ImageSegment*>(context->getRecord()->images->first->data);
    Dict image = encodeImage(segment, 0, *context);
    std::vector<std::string> keys;
    std::vector<std::string> readOnly;
    for (const auto& [key, node] : image) {
        keys.push_back(key);
        if (node.isReadOnly()) {
            readOnly.push_back(key);
        }
    }
    const std::vector<std::string> fields{
        "IM",     "IID1",  "IDATIM", "TGTID",  "IID2",   "ISCLAS", "ENCRYP", "ISORCE",
        "NROWS",  "NCOLS", "PVTYPE", "IREP",   "ICAT",   "ABPP",   "PJUST",  "ICORDS",
        "IGEOLO", "NICOM", "IC",     "COMRAT", "NBANDS", "XBANDS", "ISYNC",  "IMODE",
        "NBPR",   "NBPC",  "NPPBH",  "NPPBV",  "NBPP",   "IDLVL",  "IALVL",  "ILOC",
        "IMAG",   "UDIDL", "UDOFL",  "IXSHDL", "IXSOFL"};
    ASSERT_GE(keys.size(), fields.size());
    EXPECT_EQ(std::vector<std::string>(keys.begin(), keys.begin() + fields.size()), fields);
    EXPECT_EQ(std::vector<std::string>(keys.begin() + fields.size(), keys.end()),
              (std::vector<std::string>{"Security", "Bands", "Comments", "Compression", "TREs",
                                        "RPFTables"}));
    EXPECT_EQ(readOnly,
              (std::vector<std::string>{"IM", "NBPR", "NBPC", "UDIDL", "UDOFL", "IXSHDL"}));
    EXPECT_EQ(context->text("/Images/0/IID1"), "IMAGE");
    EXPECT_EQ(context->text("/Images/0/NROWS"), "00000002");
    EXPECT_EQ(context->text("/Image/NCOLS"), "00000003");
}

TEST_F(Dictionary, BandsAndCommentsAreArrays) {
    auto context = open(richFile());
    EXPECT_EQ(context->text("/Images/0/Bands/_count"), "2");
    EXPECT_EQ(context->text("/Images/0/Bands/1/ISUBCAT"), "SUB1");
    EXPECT_EQ(context->text("/Images/0/Bands/0/IREPBAND"), "M");
    EXPECT_EQ(context->text("/Images/0/Bands/0/_count"), "6");
    EXPECT_EQ(context->text("/Images/0/Bands/0/NELUT/_exists"), "1");
    EXPECT_EQ(context->text("/Images/0/Comments/_count"), "2");
    EXPECT_EQ(context->text("/Images/0/Comments/1"), "second comment");
    const auto xml = context->text("/Images/0/Comments?XML");
    ASSERT_TRUE(xml);
    EXPECT_NE(xml->find("<Comment>first comment</Comment><Comment>second comment</Comment>"),
              std::string::npos);
}

// --- extensions
// -------------------------------------------------------------------------------------

TEST_F(Dictionary, OneTreCountsItsFieldsTwoCountTheTREs) {
    auto context = open(richFile());
    // "_treID", NAME, X.uint, U2, U4, U8, R8, COUNT, ITEM, NSUB, SUB
    EXPECT_EQ(context->text("/Images/0/TREs/ABC/_count"), "11");
    EXPECT_EQ(context->text("/Images/0/TREs/ABC/NAME"), "ABCD");
    EXPECT_EQ(context->text("/Images/0/TREs/ABC/_treID"), "ABC");

    FileLayout twice = richFile();
    twice.images[0].extended = {
        {"ABC", abcData("ONE ")}, {"ZZRAW1", "x"}, {"ABC", abcData("TWO ")}};
    auto repeated = open(twice);
    EXPECT_EQ(repeated->text("/Images/0/TREs/_count"), "2");
    EXPECT_EQ(repeated->text("/Images/0/TREs/ABC/_count"), "2");
    EXPECT_EQ(repeated->text("/Images/0/TREs/ABC/0/NAME"), "ONE");
    EXPECT_EQ(repeated->text("/Images/0/TREs/ABC/1/NAME"), "TWO");
    EXPECT_EQ(repeated->text("/Images/0/TREs/ABC/1/ITEM/1"), "BB");
    EXPECT_EQ(repeated->text("/Images/0/TREs/ABC/NAME"), std::nullopt);
    const auto json = repeated->text("/Images/0/TREs?JSON");
    ASSERT_TRUE(json);
    const Json parsed = Json::parse(*json);
    ASSERT_TRUE(parsed["ABC"].is_array());
    EXPECT_EQ(parsed["ABC"][1]["NAME"], "TWO");
}

TEST_F(Dictionary, TreWithoutDefinitionIsRaw) {
    auto context = open(richFile());
    EXPECT_EQ(context->text("/Images/0/TREs/ZZRAW1/_count"), "3");
    EXPECT_EQ(context->text("/Images/0/TREs/ZZRAW1/_treID"), "ZZRAW1");
    EXPECT_EQ(context->text("/Images/0/TREs/ZZRAW1/_isRaw"), "true");
    EXPECT_EQ(context->text("/Images/0/TREs/ZZRAW1/raw_data"),
              lumo_codec::base64_encode(std::string_view("raw bytes")));
    EXPECT_EQ(context->text("/Images/0/TREs/ABC/_isRaw"), std::nullopt);
}

TEST_F(Dictionary, RepeatingGroupsBecomeNestedArrays) {
    auto context = open(richFile());
    EXPECT_EQ(context->text("/Images/0/TREs/ABC/ITEM/_count"), "2");
    EXPECT_EQ(context->text("/Images/0/TREs/ABC/ITEM/0"), "AA");
    EXPECT_EQ(context->text("/Images/0/TREs/ABC/NSUB/1"), "2");
    EXPECT_EQ(context->text("/Images/0/TREs/ABC/SUB/_count"), "2");
    EXPECT_EQ(context->text("/Images/0/TREs/ABC/SUB/0/0"), "x");
    EXPECT_EQ(context->text("/Images/0/TREs/ABC/SUB/1/1"), "z");
    const auto xml = context->text("/Images/0/TREs/ABC/SUB?XML");
    ASSERT_TRUE(xml);
    EXPECT_NE(xml->find("<NITFFragment><Value><Value>x</Value></Value><Value><Value>y</Value>"
                        "<Value>z</Value></Value></NITFFragment>"),
              std::string::npos);
}

TEST_F(Dictionary, TypedBinaryFieldsRenderByTheirTypeWord) {
    auto context = open(richFile());
    EXPECT_EQ(context->text("/Images/0/TREs/ABC/U2"), "258");
    EXPECT_EQ(context->text("/Images/0/TREs/ABC/U4"), "16777217");
    EXPECT_EQ(context->text("/Images/0/TREs/ABC/U8"), "5");
    EXPECT_EQ(context->text("/Images/0/TREs/ABC/R8"), "2.5");
    EXPECT_EQ(context->text("/Images/0/TREs/ABC/R8?parse=double"), std::nullopt);  // a double
    EXPECT_EQ(std::get<double>(context->GetByPathAsVariant(0, "/Images/0/TREs/ABC/R8?parse=double",
                                                           context->messages)),
              2.5);
    // A type word on a text field stays part of its name.
    EXPECT_EQ(context->text("/Images/0/TREs/ABC/X.uint"), "42");
    EXPECT_EQ(context->text("/Images/0/TREs/ABC/X"), std::nullopt);
    EXPECT_EQ(context->text("/Images/0/TREs/ABC/U2.uint"), std::nullopt);
}

TEST_F(Dictionary, SubscriptedTagsFillGapsWithEmptyNodes) {
    nitf_Error error{};
    nitf_Field* field = nitf_Field_construct(2, NITF_BCS_A, &error);
    ASSERT_TRUE(nitf_Field_setString(field, "ok", &error));
    Dict dict;
    encodeNitroByPath(dict, "ABC[2][1]", field);
    encodeNitroByPath(dict, "ODD[x]", field);
    encodeNitroByPath(dict, "PLAIN", field);
    Node root = Node::makeDict(std::move(dict));
    Tessel::NITFMessages messages;
    auto read = [&](std::string_view path) {
        return RecordContext::textOf(queryTree(root, path, messages));
    };
    EXPECT_EQ(read("/ABC/_count"), "3");
    EXPECT_EQ(read("/ABC/2/_count"), "2");
    EXPECT_EQ(read("/ABC/2/1"), "ok");
    EXPECT_EQ(read("/ABC/0/_exists"), "0");
    EXPECT_EQ(read("/ABC/2/0/_exists"), "0");
    EXPECT_EQ(read("/ODD[x]"), "ok");
    EXPECT_EQ(read("/PLAIN"), "ok");
    nitf_Field_destruct(&field);
}

TEST_F(Dictionary, SectionsListInTheirOrder) {
    FileLayout file = richFile();
    file.images[0].userDefined = {{"ZZUDID", "u"}};
    auto context = open(file);
    // The image lists its extended section, then its user-defined one.
    EXPECT_EQ(context->text("/Images/0/TREs/_count"), "3");
    EXPECT_EQ(context->text("/Images/0/TREs/2/_treID"), "ZZUDID");
    // The file header lists its user-defined section, then its extended one.
    EXPECT_EQ(context->text("/FileHeader/TREs/0/_treID"), "ABC");
    EXPECT_EQ(context->text("/FileHeader/TREs/1/_treID"), "ZZRAW2");
    EXPECT_EQ(context->text("/FileHeader/TREs/ABC/NAME"), "FIL1");
}

TEST_F(Dictionary, TreShortcutPrefersTheImageAndReachesOverflowSegments) {
    FileLayout file = richFile();
    file.images[0].extended = {};
    file.images[0].extendedOverflow = 3;
    file.des.push_back(
        {"TRE_OVERFLOW", "", extensionBytes({{"ABC", abcData("OVER")}}), "IXSHD", 1});
    auto context = open(file);
    EXPECT_EQ(context->text("/TRE/ABC/NAME"), "OVER");
    EXPECT_EQ(context->text("/DESs/2/TREs/ABC/NAME"), "OVER");
    EXPECT_EQ(context->text("/DESs/TRE_OVERFLOW-I001/DESOFLW"), "IXSHD");
    EXPECT_EQ(context->text("/Images/0/TREs/_count"), "0");
    EXPECT_EQ(context->text("/TRE/ZZRAW2/_treID"), "ZZRAW2");

    auto plain = open(richFile());
    EXPECT_EQ(plain->text("/TRE/ABC/NAME"), "ABCD");
}

// --- text and graphic segments
// ------------------------------------------------------------------------

TEST_F(Dictionary, TextSegmentsGiveFieldsAndTheirBody) {
    auto context = open(richFile());
    EXPECT_EQ(context->text("/Text/1/TEXTID"), "TXT2");
    EXPECT_EQ(context->text("/Text/0/TXTFMT"), "STA");
    EXPECT_EQ(context->text("/Text/0/Data"), "Hello text");
    EXPECT_EQ(context->text("/Text/1/Data"), "Second");
    EXPECT_EQ(context->text("/Text/1/DataPath"), "Text/1/Data");
    EXPECT_EQ(context->text("/Text/0/DataLength"), "10");
    const auto offset = context->text("/Text/0/DataOffset");
    ASSERT_TRUE(offset);
    auto* text = static_cast<nitf_TextSegment*>(context->getRecord()->texts->first->data);
    EXPECT_EQ(*offset, std::to_string(text->offset));
    EXPECT_EQ(context->text("/Text/0/TREs/_count"), "0");
    EXPECT_EQ(context->text("/Text/0/_count"), "15");
}

TEST_F(Dictionary, GraphicSegmentsGiveFieldsAndWhereTheirBodyIs) {
    auto context = open(richFile());
    EXPECT_EQ(context->text("/Graphics/0/SNAME"), "GRAPHIC");
    EXPECT_EQ(context->text("/Graphics/0/SFMT"), "C");
    EXPECT_EQ(context->text("/Graphics/0/DataPath"), "Graphics/0/Data");
    EXPECT_EQ(context->text("/Graphics/0/DataLength"), "9");
    EXPECT_EQ(context->text("/Graphics/0/Security/SSCLSY/_exists"), "1");
}

// --- data extension segments
// ---------------------------------------------------------------------------

TEST_F(Dictionary, DesBodyIsReadableButSkippedInDumps) {
    auto context = open(richFile());
    EXPECT_EQ(context->text("/DESs/0/Data?format=RAW"), kXml);
    const auto first = context->text("/DESs/0?JSON");
    ASSERT_TRUE(first);
    EXPECT_EQ(first->find("\"Data\""), std::string::npos);
    EXPECT_EQ(first->find("\"DataBase64\""), std::string::npos);
    EXPECT_NE(first->find("\"DataPath\": \"DESs/0/Data\""), std::string::npos);
    EXPECT_EQ(context->text("/DESs/1/Data"), "shapefile bytes");
    EXPECT_EQ(context->text("/DESs/1/DataBase64"),
              lumo_codec::base64_encode(std::string_view("shapefile bytes")));
    EXPECT_EQ(context->text("/DESs/1/DataPath"), "DESs/1/Data");
    EXPECT_EQ(context->text("/DESs/1/DataLength"), "15");
    const auto json = context->text("/DESs/1?JSON");
    ASSERT_TRUE(json);
    const Json parsed = Json::parse(*json);
    EXPECT_FALSE(parsed.contains("Data"));
    EXPECT_FALSE(parsed.contains("DataBase64"));
    EXPECT_EQ(parsed["DataPath"], "DESs/1/Data");
    EXPECT_EQ(parsed["DESTAG"], "CSSHPA DES");
    EXPECT_EQ(parsed["UserDefinedSubHeader"]["SHAPE_USE"], "IMAGE_SHAPE");
    const auto xml = context->text("/DESs/1?XML");
    ASSERT_TRUE(xml);
    EXPECT_EQ(xml->find("<Data>"), std::string::npos);
    EXPECT_NE(xml->find("<DataPath>DESs/1/Data</DataPath>"), std::string::npos);
    const auto text = context->text("/DESs/1");
    ASSERT_TRUE(text);
    EXPECT_EQ(text->find("shapefile bytes"), std::string::npos);
}

TEST_F(Dictionary, DesKeysComeInOrder) {
    auto context = open(richFile());
    auto* segment = static_cast<nitf_DESegment*>(context->getRecord()->dataExtensions->first->data);
    Dict des = encodeDESAlt(segment, 0, *context, true);
    std::vector<std::string> keys;
    for (const auto& [key, node] : des) {
        keys.push_back(key);
    }
    EXPECT_EQ(keys, (std::vector<std::string>{
                        "DE", "DESTAG", "DESVER", "DESCLAS", "DESOFLW", "DESITEM", "DESSHL",
                        "Security", "UserDefinedSubHeader", "DataBase64", "Data", "DataPath",
                        "DataLength", "DataOffset", "XML", "_desID", "TREs"}));
    EXPECT_TRUE(des.find("DE")->isReadOnly());
    EXPECT_TRUE(des.find("XML")->isXML());
    EXPECT_EQ(des.find("Data")->field, nullptr);
}

TEST_F(Dictionary, DesIsFoundByItsKeys) {
    auto context = open(richFile());
    EXPECT_EQ(context->text("/DESs/XML_DATA_CONTENT/_desID"), "0");
    EXPECT_EQ(context->text("/DESs/XML_DATA_CONTENT-S0/_desID"), "0");
    EXPECT_EQ(context->text("/DESs/XML_DATA_CONTENT-I000/_desID"), "0");
    EXPECT_EQ(context->text("/DESs/XML_DATA_CONTENT-I000-S0/_desID"), "0");
    EXPECT_EQ(context->text("/DESs/CSSHPA DES/_desID"), "1");
    EXPECT_EQ(context->text("/DESs/CSSHPA DES-S1/Data"), "shapefile bytes");
    EXPECT_EQ(context->text("/DESs/CSSHPA DES-IMAGE_SHAPE/_desID"), "1");
    EXPECT_EQ(context->text("/DESs/CSSHP-IMAGE_SHAPE/Data"), "shapefile bytes");
    context->messages.clear();
    EXPECT_EQ(context->text("/DESs/0/_desID"), std::nullopt);
    EXPECT_EQ(context->messages.back(), "/DESs/0/_desID: Not Found");
    EXPECT_EQ(context->text("/DESs/CSSHPA DES-S0"), std::nullopt);
    EXPECT_EQ(context->messages.back(), "/DESs/CSSHPA DES-S0: Field not an Index");
    EXPECT_EQ(context->text("/DESs/CSSHP-CLOUD_SHAPES"), std::nullopt);
}

TEST_F(Dictionary, FirstDesWithAMatchingKeyWins) {
    FileLayout file = richFile();
    file.des.push_back({"CSSHPA DES", shapeUse("IMAGE_SHAPE"), "second shapefile", "", 0});
    file.des.push_back({"CSSHPA DES", shapeUse("CLOUD_SHAPES"), "clouds", "", 0});
    auto context = open(file);
    EXPECT_EQ(context->text("/DESs/CSSHP-IMAGE_SHAPE/_desID"), "1");
    EXPECT_EQ(context->text("/DESs/CSSHPA DES-S2/Data"), "second shapefile");
    EXPECT_EQ(context->text("/DESs/CSSHP-CLOUD_SHAPES/Data"), "clouds");
}

TEST_F(Dictionary, XmlContentIsADictionaryOfTheDocument) {
    auto context = open(richFile());
    EXPECT_EQ(context->text("/DESs/0/XML/_count"), "1");
    EXPECT_EQ(context->text("/DESs/0/XML/root/@kind"), "test");
    EXPECT_EQ(context->text("/DESs/0/XML/root/1"), "2");  // the attributes come first
    EXPECT_EQ(context->text("/DESs/0/XML/root/#text"), "head");
    EXPECT_EQ(context->text("/DESs/0/XML/root/item/@id"), "1");
    EXPECT_EQ(context->text("/DESs/0/XML/root/item"), "1alpha");
    EXPECT_EQ(context->text("/DESs/0/XML/root/4/#text"), "beta & gamma");
    EXPECT_EQ(context->text("/DESs/0/XML/root/comment/_count"), "0");
    EXPECT_EQ(context->text("/DESs/0/XML?JSON"), "\"...xml...\"");
    const auto json = context->text("/DESs/0?JSON");
    ASSERT_TRUE(json);
    EXPECT_EQ(Json::parse(*json)["XML"], "...xml...");
    const auto xml = context->text("/DESs/0?XML");
    ASSERT_TRUE(xml);
    EXPECT_EQ(xml->find("<XML>"), std::string::npos);
    EXPECT_EQ(context->text("/DESs/1/XML"), std::nullopt);  // not an XML segment
}

TEST_F(Dictionary, XmlThatDoesNotParseGivesAnEmptyDictionaryAndAMessage) {
    FileLayout file = richFile();
    file.des[0].body = "<root><open></root>";
    auto context = open(file);
    EXPECT_EQ(context->text("/DESs/0/XML/_count"), "0");
    EXPECT_EQ(context->messages.back(), "DES: Unable to parse XML segment");
    file.des[0].body.clear();
    auto empty = open(file);
    EXPECT_EQ(empty->text("/DESs/0/XML/_count"), "0");
    EXPECT_EQ(empty->messages.back(), "DES: Unable to read segment");
}

TEST_F(Dictionary, SegmentBodiesStayInTheBlockCache) {
    auto context = open(richFile());
    EXPECT_FALSE(context->getBlockCache().hasBlock("TEXT-0"));
    EXPECT_EQ(context->text("/Text/0/Data"), "Hello text");
    ASSERT_TRUE(context->getBlockCache().hasBlock("TEXT-0"));
    EXPECT_EQ(context->getBlockCache().getBlock("TEXT-0"), "Hello text");
    // A body already kept is not read again.
    context->getBlockCache().addBlock("DES-1", "kept before");
    EXPECT_EQ(context->text("/DESs/1/Data"), "kept before");
    EXPECT_EQ(context->text("/DESs/1/DataBase64"),
              lumo_codec::base64_encode(std::string_view("kept before")));
}

TEST_F(Dictionary, WithoutAReaderBodiesAreEmpty) {
    auto context = open(richFile());
    context->forgetReader();
    EXPECT_EQ(context->text("/Text/0/Data"), std::nullopt);
    EXPECT_EQ(context->text("/Text/0/TEXTID"), "TXT1");
    EXPECT_EQ(context->text("/DESs/0/XML/_count"), "0");
    EXPECT_EQ(context->messages.back(), "DES: Unable to read segment");
}

TEST_F(Dictionary, BodyBytesAreEscapedByTheOutputFormat) {
    FileLayout file = richFile();
    file.texts[0].body = std::string("a<b>\"c\"\n\xe9", 9);
    auto context = open(file);
    EXPECT_EQ(context->text("/Text/0/Data?XML"),
              "<?xml version='1.0' encoding='UTF-8'?>\n"
              "<NITFFragment>a&lt;b&gt;&quot;c&quot;&#x000A;&#x00E9;</NITFFragment>");
    EXPECT_EQ(context->text("/Text/0/Data?JSON"), "\"a<b>\\\"c\\\"\\n\\u-017\"");
}

TEST_F(Dictionary, WholeFileRendersAsJsonAndXml) {
    auto context = open(richFile());
    const auto json = context->text("/?JSON");
    ASSERT_TRUE(json);
    const Json parsed = Json::parse(*json);
    EXPECT_EQ(parsed["Version"], "02.10");
    EXPECT_EQ(parsed["FileHeader"]["FBKGC"], "#000000");
    EXPECT_EQ(parsed["Images"][0]["TREs"]["ABC"]["SUB"][1][1], "z");
    EXPECT_FALSE(parsed.contains("Labels"));  // empty containers are left out
    EXPECT_FALSE(parsed.contains("Data"));
    const auto xml = context->text("?XML");
    ASSERT_TRUE(xml);
    Tessel::NITFMessages messages;
    Dict document = encodeXMLContent(*xml, messages, {});
    EXPECT_TRUE(messages.empty()) << messages.front();
    ASSERT_NE(document.find("NITFFragment"), nullptr);
    const auto text = context->text("/");
    ASSERT_TRUE(text);
    EXPECT_NE(text->find("Dictionary test"), std::string::npos);
}

}  // namespace
