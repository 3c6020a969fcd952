#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "support/InfoResources.h"
#include "support/TestPaths.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFile.h"
#include "tessel/file/NITFInfo.h"

using Tessel::NITFInfo;
using tessel_test::writeDescription;
using Json = nlohmann::json;

namespace {

const char* const kBands = R"({
  "Name": "Test bands",
  "Fields": {
    "COUNT": {"Name": "Number of bands", "Field": "replaced"},
    "BAND<n>": {"Name": "One band", "Units": "nm"}
  }
})";

}  // namespace

TEST(NITFInfoPath, NameAndField) {
    const std::string path = "ACFTB/ACMSNID";
    const auto info = NITFInfo::getInfoPath(path);
    EXPECT_EQ(info.name, "ACFTB");
    EXPECT_EQ(info.field, "ACMSNID");
    EXPECT_EQ(info.name.data(), path.data());  // views into the path
}

TEST(NITFInfoPath, NameAloneHasEmptyField) {
    const auto info = NITFInfo::getInfoPath("ACFTB");
    EXPECT_EQ(info.name, "ACFTB");
    EXPECT_TRUE(info.field.empty());
}

TEST(NITFInfoPath, EmptyPiecesAreDropped) {
    const auto info = NITFInfo::getInfoPath("//ACFTB///ACMSNID/");
    EXPECT_EQ(info.name, "ACFTB");
    EXPECT_EQ(info.field, "ACMSNID");
}

TEST(NITFInfoPath, ThreeOrNoPiecesGiveNothing) {
    for (const char* path : {"a/b/c", "", "///"}) {
        const auto info = NITFInfo::getInfoPath(path);
        EXPECT_TRUE(info.name.empty()) << path;
        EXPECT_TRUE(info.field.empty()) << path;
    }
}

TEST(NITFInfo, FieldOfAnAngleNameIsFoundUnderItsStem) {
    writeDescription("TESTBANDS1", kBands);
    const std::string text = NITFInfo::get().readJSON({"TESTBANDS1", "BAND"});
    const Json band = Json::parse(text);
    EXPECT_EQ(band["Field"], "BAND<n>");
    EXPECT_EQ(band["Units"], "nm");
}

TEST(NITFInfo, FieldMemberIsReplacedByTheProperName) {
    writeDescription("TESTBANDS2", kBands);
    const Json count = Json::parse(NITFInfo::get().readJSON({"TESTBANDS2", "COUNT"}));
    EXPECT_EQ(count["Field"], "COUNT");
    EXPECT_EQ(count["Name"], "Number of bands");
}

TEST(NITFInfo, FieldTextIsCompactJson) {
    writeDescription("TESTBANDS3", kBands);
    EXPECT_EQ(NITFInfo::get().readJSON({"TESTBANDS3", "COUNT"}),
              R"({"Name":"Number of bands","Field":"COUNT"})");
}

TEST(NITFInfo, UnknownFieldGivesTheWholeDocument) {
    writeDescription("TESTBANDS4", kBands);
    const std::string text = NITFInfo::get().readJSON({"TESTBANDS4", "NOSUCH"});
    const Json document = Json::parse(text);
    EXPECT_EQ(document["Name"], "Test bands");
    EXPECT_EQ(document["Fields"]["BAND<n>"]["Field"], "BAND<n>");
    EXPECT_EQ(NITFInfo::get().readJSON({"TESTBANDS4", ""}), text);
}

TEST(NITFInfo, LoadFieldKeysAreStemsAndNone) {
    writeDescription("TESTBANDS5", kBands);
    const auto fields = NITFInfo::loadField("TESTBANDS5");
    ASSERT_EQ(fields.size(), 3u);
    EXPECT_EQ(fields.count("BAND"), 1u);
    EXPECT_EQ(fields.count("COUNT"), 1u);
    EXPECT_EQ(fields.count("None"), 1u);
}

TEST(NITFInfo, FileWithoutFieldsHasOnlyNone) {
    writeDescription("TESTNOFIELDS", R"({"Name": "No fields", "Other": {"A": {}}})");
    const auto fields = NITFInfo::loadField("TESTNOFIELDS");
    ASSERT_EQ(fields.size(), 1u);
    EXPECT_EQ(fields.begin()->first, "None");
    EXPECT_EQ(fields.begin()->second, R"({"Name":"No fields","Other":{"A":{}}})");
    EXPECT_EQ(NITFInfo::get().readJSON({"TESTNOFIELDS", "A"}), fields.begin()->second);
}

TEST(NITFInfo, BrokenFileGivesEmptyTextNowAndLater) {
    writeDescription("TESTBROKEN", R"({"Fields": {"A": )");
    EXPECT_TRUE(NITFInfo::loadField("TESTBROKEN").empty());
    EXPECT_EQ(NITFInfo::get().readJSON({"TESTBROKEN", "A"}), "");
    EXPECT_EQ(NITFInfo::get().readJSON({"TESTBROKEN", "A"}), "");
    // The empty answer is remembered: mending the file doesn't change it.
    writeDescription("TESTBROKEN", kBands);
    EXPECT_EQ(NITFInfo::get().readJSON({"TESTBROKEN", "COUNT"}), "");
    EXPECT_FALSE(NITFInfo::loadField("TESTBROKEN").empty());
}

TEST(NITFInfo, MissingFileIsRememberedAsEmpty) {
    tessel_test::infoResourceFolder();
    EXPECT_EQ(NITFInfo::get().readJSON({"TESTLATE", "COUNT"}), "");
    writeDescription("TESTLATE", kBands);
    EXPECT_EQ(NITFInfo::get().readJSON({"TESTLATE", "COUNT"}), "");
}

TEST(NITFInfo, FieldsOfTheWrongShapeDescribeNothing) {
    writeDescription("TESTSHAPE", R"({"Fields": {"A": "text, not an object"}})");
    EXPECT_TRUE(NITFInfo::loadField("TESTSHAPE").empty());
    writeDescription("TESTARRAY", R"({"Fields": [1, 2]})");
    EXPECT_TRUE(NITFInfo::loadField("TESTARRAY").empty());
}

TEST(NITFInfo, BlankInNameMeansUnderscoreInFileName) {
    tessel_test::infoResourceFolder();
    const Json field = Json::parse(NITFInfo::get().readJSON({"CSATTA DES", "NUM_ATT"}));
    EXPECT_EQ(field["Field"], "NUM_ATT");
}

TEST(NITFInfo, NamesThatAreNoFilesGiveNothing) {
    tessel_test::infoResourceFolder();
    for (const char* name : {"", "..", ".", "NO_SUCH_TRE"}) {
        EXPECT_EQ(NITFInfo::get().readJSON({name, "X"}), "") << name;
    }
}

// The descriptions that come with the library: every one is a JSON object whose fields are
// objects, and the ones the library carries for common extensions are there.
TEST(NITFInfoResources, ShippedDescriptionsLoad) {
    tessel_test::infoResourceFolder();
    for (const char* name :
         {"NITF_FILE_HEADER", "NITF_IMAGE_SUBHEADER", "RPC00B", "USE00A", "BLOCKA", "ICHIPB",
          "STDIDC", "PIAIMC", "BANDSB", "CSATTA DES", "RPFIMG"}) {
        const auto fields = NITFInfo::loadField(name);
        EXPECT_GT(fields.size(), 2u) << name;
        for (const auto& [key, text] : fields) {
            const Json value = Json::parse(text);
            EXPECT_TRUE(value.is_object()) << name << "/" << key;
            if (key != "None") {
                EXPECT_TRUE(value.contains("Field")) << name << "/" << key;
                EXPECT_TRUE(value.contains("Name")) << name << "/" << key;
            }
        }
    }
}

TEST(NITFInfoResources, RepeatedCoefficientsAreDescribedOnce) {
    tessel_test::infoResourceFolder();
    const Json field = Json::parse(NITFInfo::get().readJSON({"RPC00B", "LINE_NUM_COEFF"}));
    EXPECT_EQ(field["Field"], "LINE_NUM_COEFF<n>");
    EXPECT_EQ(field["Length"], 12);
}

TEST(NITFInfo, NameWithBytesThatAreNotTextDescribesNothing) {
    tessel_test::infoResourceFolder();
    // Found by fuzzing metadata paths: "USE\xff...00A/@Info" ended the process.
    EXPECT_TRUE(NITFInfo::loadField("USE\xff\xff\xff\xff\xff\xff\xff"
                                    "00A")
                    .empty());
    EXPECT_EQ(NITFInfo::get().readJSON({"USE\xff\xff\xff"
                                        "00A",
                                        "X"}),
              "");
}

TEST(NITFInfo, NameWithPathSeparatorsDescribesNothing) {
    writeDescription("TESTESCAPE", kBands);
    EXPECT_FALSE(NITFInfo::loadField("TESTESCAPE").empty());
    EXPECT_TRUE(NITFInfo::loadField("../TREs/TESTESCAPE").empty());
    EXPECT_TRUE(NITFInfo::loadField("..").empty());
}

TEST(NITFInfo, InfoPathWithBytesThatAreNotTextGivesEmptyTextOnAFile) {
    tessel_test::infoResourceFolder();
    Tessel::NITFMessages messages;
    const auto context = Tessel::NITFFactory::get().open(
        Tessel::NITFURI(std::string_view(TESSEL_SAMPLE_FILE)), messages);
    ASSERT_TRUE(context);
    // The input the metadata path fuzzer found, byte for byte.
    const std::string path(
        "USE\xff\xff\xff\xff\xff\xff\xff"
        "00A/@Info");
    // No description has that name: the text is empty, and nothing is thrown.
    EXPECT_NO_THROW(context.getFile().getPath(0, path));
    EXPECT_EQ(context.getFile().getPathString(0, path, "fallback"), "");
}
