#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>

#include "tests/paths/dictionary_files_support.h"

namespace {

using namespace dictionary_files;

// The whole file as JSON and as XML; both must parse. Returns how many were checked.
void expectWholeTreeParses(RecordContext& context) {
    const auto json = context.text("/?JSON");
    ASSERT_TRUE(json) << "no JSON";
    const Json parsed = Json::parse(withoutNegativeEscapes(*json), nullptr, false);
    ASSERT_FALSE(parsed.is_discarded()) << json->substr(0, 2000);
    EXPECT_TRUE(parsed.contains("FileHeader"));
    const auto xml = context.text("/?XML");
    ASSERT_TRUE(xml) << "no XML";
    Tessel::NITFMessages messages;
    const Dict document = encodeXMLContent(*xml, messages, {});
    EXPECT_TRUE(messages.empty()) << xml->substr(0, 2000);
    EXPECT_NE(document.find("NITFFragment"), nullptr);
}

TEST(DictionaryFiles, EveryFixtureRendersAsJsonAndXmlThatParse) {
    if (!haveShared()) {
        GTEST_SKIP() << "no shared data at " << kShared;
    }
    int checked = 0;
    for (const auto& path : fixtureFiles(".ntf")) {
        SCOPED_TRACE(path.filename().string());
        RecordContext context(path);
        ASSERT_TRUE(context.ok()) << context.error();
        expectWholeTreeParses(context);
        ++checked;
    }
    EXPECT_GT(checked, 70);
}

TEST(DictionaryFiles, EveryCorpusFileRendersAsJsonAndXmlThatParse) {
    if (!haveShared()) {
        GTEST_SKIP() << "no shared data at " << kShared;
    }
    int checked = 0;
    int refused = 0;
    for (const auto& row : corpusRows()) {
        const auto path = kShared / "corpus" / row.at("relative_path");
        SCOPED_TRACE(path.string());
        RecordContext context(path);
        if (!context.ok()) {
            ++refused;  // raw TRE dumps, truncated and non-NITF files
            continue;
        }
        expectWholeTreeParses(context);
        ++checked;
    }
    EXPECT_GE(checked, 150);
    EXPECT_GT(refused, 0);
}

TEST(DictionaryFiles, WhatGdalReportsReadsBackThroughPaths) {
    if (!haveShared()) {
        GTEST_SKIP() << "no shared data at " << kShared;
    }
    const GdalComparison totals = compareWithGdal([](const std::filesystem::path& file) {
        auto context = std::make_shared<RecordContext>(file);
        EXPECT_TRUE(context->ok()) << context->error();
        return Comparison(
            [context](const std::string& path, int image) { return context->text(path, image); });
    });
    const int compared = totals.values;
    const int treFields = totals.treFields;
    RecordProperty("values", compared);
    RecordProperty("tre_fields", treFields);
    EXPECT_GT(compared, 3000);
    EXPECT_GT(treFields, 100);
}

// --- the XML of SICD and SIDD segments ----------------------------------------------------------

// The text of the first element of that name in a document, found without a parser.
std::string elementText(const std::string& body, const std::string& element) {
    std::smatch match;
    const std::regex pattern("<" + element + ">([^<]*)</" + element + ">");
    return std::regex_search(body, match, pattern) ? match[1].str() : std::string();
}

TEST(DictionaryFiles, SicdAndSiddXmlIsReachableByPath) {
    if (!haveShared()) {
        GTEST_SKIP() << "no shared data at " << kShared;
    }
    int documents = 0;
    for (const auto& row : corpusRows()) {
        if (row.at("des_tags").find("XML_DATA_CONTENT") == std::string::npos) {
            continue;
        }
        SCOPED_TRACE(row.at("relative_path"));
        RecordContext context(kShared / "corpus" / row.at("relative_path"));
        ASSERT_TRUE(context.ok()) << context.error();
        const int count = std::stoi(context.text("/DESs/_count").value_or("0"));
        for (int n = 0; n < count; ++n) {
            const std::string des = "/DESs/" + std::to_string(n) + "/";
            if (context.text(des + "DESTAG") != "XML_DATA_CONTENT") {
                continue;
            }
            const std::string body = context.text(des + "Data?format=RAW").value_or("");
            if (context.text(des + "XML/SICD/_exists") == "1") {
                EXPECT_EQ(context.text(des + "XML/SICD/CollectionInfo/CollectorName"),
                          elementText(body, "CollectorName"));
                EXPECT_EQ(context.text(des + "XML/SICD/@xmlns"), std::nullopt);
                ++documents;
            } else if (context.text(des + "XML/SIDD/_exists") == "1") {
                EXPECT_EQ(context.text(des + "XML/SIDD/ProductCreation/ProductName"),
                          elementText(body, "ProductName"));
                ++documents;
            }
        }
    }
    EXPECT_GE(documents, 6);
}

TEST(DictionaryFiles, FirstSicdSegmentIsTheFirstDes) {
    const auto path = kShared / "corpus" / "nitro" / "sicd_50x50.nitf";
    if (!std::filesystem::exists(path)) {
        GTEST_SKIP() << "no shared data at " << kShared;
    }
    RecordContext context(path);
    ASSERT_TRUE(context.ok());
    EXPECT_EQ(context.text("/DESs/0/XML/SICD/CollectionInfo/CollectorName"), "RCM-1");
    EXPECT_EQ(context.text("/DESs/XML_DATA_CONTENT/XML/SICD/CollectionInfo/CoreName"),
              "28OCT19RCM1224339");
    EXPECT_EQ(context.text("/DESs/0/XML/SICD/CollectionInfo/RadarMode/ModeType"), "STRIPMAP");
}

TEST(DictionaryFiles, LabelsOfNitf20Files) {
    const auto path = kShared / "corpus" / "codice" / "JitcNitf20Samples" / "U_1122A.NTF";
    if (!std::filesystem::exists(path)) {
        GTEST_SKIP() << "no shared data at " << kShared;
    }
    RecordContext context(path);
    ASSERT_TRUE(context.ok()) << context.error();
    const int count = std::stoi(context.text("/Labels/_count").value_or("0"));
    ASSERT_GT(count, 0);
    EXPECT_EQ(std::stoi(context.text("/FileHeader/NUMX").value_or("-1")), count);
    EXPECT_EQ(context.text("/Labels/0/_exists"), "1");
    EXPECT_EQ(context.text("/Labels/0/LCW/_exists"), "1");
    EXPECT_EQ(context.text("/Labels/0/Security/LSCODE/_exists"), "1");
    EXPECT_EQ(context.text("/Labels/0/Data"), std::nullopt);  // labels have no body nodes
    EXPECT_EQ(context.text("/Labels/0/_count"), "15");
}

}  // namespace
