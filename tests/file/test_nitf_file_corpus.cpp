#include <gtest/gtest.h>
#include <libxml/parser.h>

#include <memory>
#include <string>

#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFileContext.h"
#include "tests/paths/dictionary_files_support.h"

namespace {

using namespace dictionary_files;
using Tessel::NITFFactory;
using Tessel::NITFFileContext;

std::shared_ptr<NITFFileContext> openShared(const std::filesystem::path& path) {
    Tessel::NITFMessages messages;
    auto context = std::make_shared<NITFFileContext>(
        NITFFactory::get().open(Tessel::NITFURI(std::string_view(path.string())), messages));
    return *context ? context : nullptr;
}

std::string xmlRoot(const std::string& text) {
    xmlDocPtr document =
        xmlReadMemory(text.data(), static_cast<int>(text.size()), "isd.xml", nullptr,
                      XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_HUGE);
    if (document == nullptr) {
        return {};
    }
    const xmlNode* root = xmlDocGetRootElement(document);
    std::string name = root != nullptr ? reinterpret_cast<const char*>(root->name) : "";
    xmlFreeDoc(document);
    return name;
}

// Both whole-file documents of an open file parse: JSON once the path language's escapes of
// bytes above 127 are replaced, XML with libxml2.
void expectDocumentsParse(const NITFFileContext& context) {
    const std::string json = context.getISD("JSON");
    const Json parsed = Json::parse(withoutNegativeEscapes(json), nullptr, false);
    ASSERT_FALSE(parsed.is_discarded()) << json.substr(0, 2000);
    EXPECT_TRUE(parsed.contains("FileHeader"));
    EXPECT_EQ(xmlRoot(context.getISD("XML")), "NITF");
}

// A path's value read through a context's getPathString; the fallback marks a missing path.
std::optional<std::string> readThrough(const NITFFileContext& context, const std::string& path) {
    static const std::string kMissing = "\x01missing";
    std::string value = context.getPathString(path, kMissing);
    if (value == kMissing) {
        return std::nullopt;
    }
    return value;
}

}  // namespace

TEST(NITFFileCorpus, EveryFixtureGivesParsableDocuments) {
    if (!haveShared()) {
        GTEST_SKIP() << "no shared data at " << kShared;
    }
    int checked = 0;
    for (const auto& path : fixtureFiles(".ntf")) {
        SCOPED_TRACE(path.filename().string());
        const auto context = openShared(path);
        ASSERT_TRUE(context);
        expectDocumentsParse(*context);
        ++checked;
    }
    EXPECT_GT(checked, 70);
}

TEST(NITFFileCorpus, EveryCorpusFileGivesParsableDocuments) {
    if (!haveShared()) {
        GTEST_SKIP() << "no shared data at " << kShared;
    }
    int checked = 0;
    int refused = 0;
    for (const auto& row : corpusRows()) {
        const auto path = kShared / "corpus" / row.at("relative_path");
        SCOPED_TRACE(path.string());
        const auto context = openShared(path);
        if (!context) {
            ++refused;  // raw TRE dumps, truncated and non-NITF files
            continue;
        }
        expectDocumentsParse(*context);
        ++checked;
    }
    RecordProperty("checked", checked);
    EXPECT_GE(checked, 150);
    EXPECT_GT(refused, 0);
}

// What GDAL reports of the fixtures' header, subheader and TRE fields reads back the same
// through a file context. Paths of image n are read by a context on "#IM_n" where the path
// itself doesn't say which image it means.
TEST(NITFFileCorpus, WhatGdalReportsReadsBackThroughTheContext) {
    if (!haveShared()) {
        GTEST_SKIP() << "no shared data at " << kShared;
    }
    const GdalComparison totals = compareWithGdal([](const std::filesystem::path& file) {
        auto context = openShared(file);
        EXPECT_TRUE(context) << file;
        if (!context) {
            return Comparison([](const std::string&, int) { return std::optional<std::string>(); });
        }
        std::vector<std::shared_ptr<NITFFileContext>> images{context};
        for (size_t i = 1; i < context->getNumberImages(); ++i) {
            images.push_back(openShared(file.string() + "#IM_" + std::to_string(i)));
        }
        return Comparison([images](const std::string& path, int image) {
            const auto index = static_cast<size_t>(image);
            if (index >= images.size() || !images[index]) {
                return std::optional<std::string>();
            }
            return readThrough(*images[index], path);
        });
    });
    RecordProperty("values", totals.values);
    EXPECT_GT(totals.values, 3000);
    EXPECT_GT(totals.treFields, 100);
}

TEST(NITFFileCorpus, HeaderAndTreFieldsOfKnownFiles) {
    const auto path = kShared / "corpus" / "nitro" / "sicd_50x50.nitf";
    if (!std::filesystem::exists(path)) {
        GTEST_SKIP() << "no shared data at " << kShared;
    }
    const auto context = openShared(path);
    ASSERT_TRUE(context);
    EXPECT_EQ(context->getPathString("/FileHeader/FHDR", ""), "NITF");
    EXPECT_EQ(context->getPathString("/DESs/0/XML/SICD/CollectionInfo/CollectorName", ""), "RCM-1");
    EXPECT_EQ(context->getPathString("/DESs/0/DESTAG", ""), "XML_DATA_CONTENT");
}
