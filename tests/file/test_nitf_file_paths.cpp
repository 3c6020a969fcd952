#include <gtest/gtest.h>
#include <libxml/parser.h>

#include <chrono>
#include <future>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "support/InfoResources.h"
#include "support/TestPaths.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFile.h"
#include "tessel/file/NITFFileContext.h"
#include "tessel/platform/base/text.h"

using Tessel::NITFFactory;
using Tessel::NITFFile;
using Tessel::NITFFileContext;
using Tessel::NITFMessages;
using Tessel::NITFURI;
using Json = nlohmann::json;

namespace {

NITFURI sampleURI(const std::string& object = {}) {
    return NITFURI(std::string_view(std::string(TESSEL_SAMPLE_FILE) + object));
}

std::shared_ptr<NITFFile> openSample() {
    NITFMessages messages;
    return std::make_shared<NITFFile>(sampleURI(), messages);
}

NITFFileContext openContext(const std::string& object = {}) {
    NITFMessages messages;
    NITFFileContext context = NITFFactory::get().open(sampleURI(object), messages);
    EXPECT_TRUE(context) << (messages.empty() ? "" : messages.front());
    return context;
}

bool parsesAsXML(const std::string& text, std::string& root) {
    xmlDocPtr document = xmlReadMemory(text.data(), static_cast<int>(text.size()), "isd.xml",
                                       nullptr, XML_PARSE_NONET | XML_PARSE_NOERROR);
    if (document == nullptr) {
        return false;
    }
    const xmlNode* element = xmlDocGetRootElement(document);
    root = element != nullptr ? reinterpret_cast<const char*>(element->name) : "";
    xmlFreeDoc(document);
    return true;
}

}  // namespace

// --- reads -------------------------------------------------------------------------------

TEST(NITFFilePaths, HeaderFieldReadsAsWideText) {
    const auto file = openSample();
    EXPECT_EQ(file->getPath(0, "/FileHeader/FTITLE"),
              any_type::value(std::wstring(L"TesselLib sample")));
    EXPECT_EQ(file->getPathString(0, "/FileHeader/OSTAID", "?"), "TESSEL");
}

TEST(NITFFilePaths, MissingPathIsEmptyAndSilent) {
    const auto file = openSample();
    EXPECT_EQ(file->getPath(0, "/FileHeader/NOSUCH").index(), any_type::tag_empty);
    EXPECT_EQ(file->getPath(0, "/FileHeader/NOSUCH", any_type::value(int64_t{7})),
              any_type::value(int64_t{7}));
    EXPECT_EQ(file->getPathString(0, "/fileheader", "fallback"), "fallback");
}

TEST(NITFFilePaths, ImageNumberChoosesTheSegmentOfImage) {
    const auto file = openSample();
    EXPECT_EQ(file->getPathInt(0, "/Image/NROWS", -1), 48);
    EXPECT_EQ(file->getPathInt(1, "/Image/NROWS", -1), 16);
    EXPECT_EQ(file->getPathInt(5, "/Image/NROWS", -1), -1);
}

TEST(NITFFilePaths, TypedFormsConvertOrFallBack) {
    const auto file = openSample();
    EXPECT_EQ(file->getPathInt(0, "/FileHeader/CLEVEL", -1), 3);
    EXPECT_EQ(file->getPathInt(0, L"/FileHeader/CLEVEL", -1), 3);
    EXPECT_EQ(file->getPathInt(0, "/FileHeader/FTITLE", -1), -1);
    EXPECT_DOUBLE_EQ(file->getPathDouble(0, "/TRE/RPC00B/ERR_BIAS", 0.0), 1.5);
    EXPECT_DOUBLE_EQ(file->getPathDouble(0, "/FileHeader/ONAME", -2.5), -2.5);
}

TEST(NITFFilePaths, TreFieldInsideRepeatedGroup) {
    const auto file = openSample();
    EXPECT_NEAR(file->getPathDouble(0, "/Images/0/TREs/RPC00B/LINE_NUM_COEFF/2", 0.0), -1.05,
                1e-12);
    EXPECT_EQ(file->getPathString(0, "/Images/0/TREs/RPC00B/LINE_NUM_COEFF/_count", ""), "20");
}

TEST(NITFFilePaths, StringFormOfEveryAlternative) {
    const auto file = openSample();
    EXPECT_EQ(file->getPathString(0, "/Image/NROWS?parse=int", ""), "48");
    EXPECT_EQ(file->getPathString(0, "/TRE/RPC00B/ERR_BIAS?parse=double", ""), "1.500000");
    const std::string date = file->getPathString(0, "/FileHeader/FDT?parse=FDT", "");
    EXPECT_FALSE(date.empty());
    EXPECT_EQ(date,
              std::to_string(std::get<nitf_date>(file->getPath(0, "/FileHeader/FDT?parse=FDT"))));
    EXPECT_EQ(file->getPathString(0, "/FileHeader/FTITLE?format=RAW", "").size(), 80u);
}

TEST(NITFFilePaths, WideOverloadsConvertPathAndResult) {
    const auto file = openSample();
    EXPECT_EQ(file->getPathString(0, std::wstring_view(L"/FileHeader/FTITLE"), L"?"),
              L"TesselLib sample");
    EXPECT_EQ(file->getPathString(0, std::wstring_view(L"/FileHeader/NOSUCH"), L"?"), L"?");
}

// --- "@Info" -----------------------------------------------------------------------------

TEST(NITFFilePaths, InfoAloneIsEmpty) {
    const auto file = openSample();
    EXPECT_EQ(file->getPath(0, "@Info").index(), any_type::tag_empty);
    EXPECT_EQ(file->getPathString(0, "@Info", "none"), "none");
}

TEST(NITFFilePaths, InfoDescribesTheFieldBeforeIt) {
    tessel_test::infoResourceFolder();
    const auto file = openSample();
    for (const char* path :
         {"RPC00B/SUCCESS/@Info", "RPC00B/SUCCESS@Info", "/RPC00B/SUCCESS/@Info"}) {
        const any_type::value value = file->getPath(0, path);
        ASSERT_EQ(value.index(), any_type::tag_string) << path;
        const Json field = Json::parse(std::get<std::string>(value));
        EXPECT_EQ(field["Field"], "SUCCESS") << path;
    }
    const Json header = Json::parse(file->getPathString(0, "NITF_FILE_HEADER/FL/@Info", ""));
    EXPECT_EQ(header["Field"], "FL");
}

TEST(NITFFilePaths, InfoOfANameGivesTheWholeDescription) {
    tessel_test::infoResourceFolder();
    const auto file = openSample();
    const Json document = Json::parse(file->getPathString(0, "USE00A/@Info", ""));
    EXPECT_TRUE(document.contains("Fields"));
}

TEST(NITFFilePaths, InfoWithoutADescriptionIsEmptyTextNotTheFallback) {
    tessel_test::infoResourceFolder();
    const auto file = openSample();
    const any_type::value value = file->getPath(0, "NO_SUCH_TRE/X/@Info");
    ASSERT_EQ(value.index(), any_type::tag_string);
    EXPECT_EQ(std::get<std::string>(value), "");
    EXPECT_EQ(file->getPathString(0, "NO_SUCH_TRE/X/@Info", "fallback"), "");
    const any_type::value withFallback =
        file->getPath(0, "NO_SUCH_TRE/X/@Info", any_type::value(std::string("fallback")));
    ASSERT_EQ(withFallback.index(), any_type::tag_string);
    EXPECT_EQ(std::get<std::string>(withFallback), "");
}

// --- the whole file ----------------------------------------------------------------------

TEST(NITFFileISD, XmlHasTheDeclarationAndRootNITF) {
    const auto file = openSample();
    const std::string xml = file->getISD("XML");
    EXPECT_EQ(xml.rfind("<?xml version='1.0' encoding='UTF-8'?>\n<NITF>", 0), 0u)
        << xml.substr(0, 80);
    std::string root;
    ASSERT_TRUE(parsesAsXML(xml, root));
    EXPECT_EQ(root, "NITF");
}

TEST(NITFFileISD, JsonIsTheRootDictionary) {
    const auto file = openSample();
    const Json isd = Json::parse(file->getISD("JSON"));
    EXPECT_EQ(isd["FileHeader"]["FTITLE"], "TesselLib sample");
    EXPECT_EQ(isd["Images"].size(), 2u);
    EXPECT_EQ(isd["Images"][0]["TREs"]["RPC00B"]["SUCCESS"], "1");
}

TEST(NITFFileISD, FormatNameIsTrimmedAndCaseSensitive) {
    const auto file = openSample();
    EXPECT_EQ(file->getISD(" \tJSON\r\n"), file->getISD("JSON"));
    const std::string text = file->getISD("json");
    EXPECT_NE(text.front(), '{');
    EXPECT_NE(text.find("TesselLib sample"), std::string::npos);
    EXPECT_EQ(text, file->getISD(""));
}

TEST(NITFFileISD, RawKeepsThePaddingThatTextTrims) {
    const auto file = openSample();
    const std::string raw = file->getISD("RAW");
    const std::string text = file->getISD("STRING");
    EXPECT_GT(raw.size(), text.size());
    EXPECT_NE(raw.find("TesselLib sample" + std::string(64, ' ')), std::string::npos);
}

// --- writes and the record lock ----------------------------------------------------------

TEST(NITFFileWrites, OpenedFileRefusesWritesWithoutMessage) {
    const auto file = openSample();
    NITFMessages messages;
    EXPECT_FALSE(file->setPath(0, "/FileHeader/FTITLE", "\"New\"", messages));
    EXPECT_FALSE(file->setPathAsString(0, "/FileHeader/FTITLE", "New", messages));
    EXPECT_FALSE(file->setISD(file->getISD("JSON"), messages));
    EXPECT_TRUE(messages.empty());
    EXPECT_EQ(file->getPathString(0, "/FileHeader/FTITLE", ""), "TesselLib sample");
}

TEST(NITFFileWrites, NewFileReadsItsEmptyRecordAndIsWritable) {
    const auto file = std::make_shared<NITFFile>();
    EXPECT_EQ(file->getPathString(0, "/FileHeader/FHDR", ""), "NITF");
    EXPECT_EQ(file->getPathString(0, "/FileHeader/FVER", ""), "02.10");
    EXPECT_EQ(file->getPathString(0, "/Images/_count", ""), "0");
    std::string root;
    EXPECT_TRUE(parsesAsXML(file->getISD("XML"), root));
    NITFMessages messages;
    EXPECT_TRUE(file->setPath(0, "/FileHeader/FTITLE", "\"New\"", messages));
    EXPECT_EQ(file->getPathString(0, "/FileHeader/FTITLE", ""), "New");
    EXPECT_TRUE(file->setPathAsString(0, "/FileHeader/ONAME", "Name", messages));
    EXPECT_EQ(file->getPathString(0, "/FileHeader/ONAME", ""), "Name");
    EXPECT_TRUE(file->setISD(R"({"FileHeader": {"FTITLE": "From ISD"}})", messages));
    EXPECT_EQ(file->getPathString(0, "/FileHeader/FTITLE", ""), "From ISD");
    EXPECT_TRUE(messages.empty());
}

// A writable file's reads wait for its record lock; an opened file's reads take none.
TEST(NITFFileLocks, WritableFileReadsWaitForTheRecordLock) {
    const auto file = std::make_shared<NITFFile>();
    std::future<std::string> read;
    {
        const auto lock = file->getPrivate()->lockRecord();
        ASSERT_TRUE(lock.owns_lock());
        read = std::async(std::launch::async,
                          [&] { return file->getPathString(0, "/FileHeader/FHDR", ""); });
        EXPECT_EQ(read.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    }
    EXPECT_EQ(read.get(), "NITF");
}

TEST(NITFFileLocks, OpenedFileReadsTakeNoLock) {
    const auto file = openSample();
    const auto lock = file->getPrivate()->lockRecord();
    EXPECT_FALSE(lock.owns_lock());
    auto read = std::async(std::launch::async,
                           [&] { return file->getPathString(0, "/FileHeader/FHDR", ""); });
    ASSERT_EQ(read.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    EXPECT_EQ(read.get(), "NITF");
}

// --- the context -------------------------------------------------------------------------

TEST(NITFFileContextPaths, ObjectOfTheURIIsTheImageNumber) {
    const NITFFileContext context = openContext("#IM_1");
    EXPECT_EQ(context.getPathInt("/Image/NROWS", -1), 16);
    EXPECT_EQ(context.getPathString("/Image/IREP", ""), "RGB");
    EXPECT_EQ(context.getPathWString(L"/Image/IREP", L""), L"RGB");
    EXPECT_DOUBLE_EQ(context.getPathDouble("/Image/NCOLS", 0.0), 16.0);
    EXPECT_EQ(context.getPath("/Image/IREP"), any_type::value(std::wstring(L"RGB")));
    const NITFFileContext first = openContext();
    EXPECT_EQ(first.getPathInt("/Image/NROWS", -1), 48);
}

TEST(NITFFileContextPaths, ForwardsTheWholeFile) {
    const NITFFileContext context = openContext();
    EXPECT_EQ(context.getISD("JSON"), context.getFile().getISD("JSON"));
    NITFMessages messages;
    EXPECT_FALSE(context.setPath("/FileHeader/FTITLE", "\"x\"", messages));
    EXPECT_FALSE(context.setISD("{}", messages));
    EXPECT_TRUE(messages.empty());
}

TEST(NITFFileContextPaths, EmptyContextGivesDefaults) {
    const NITFFileContext context(sampleURI());
    NITFMessages messages;
    EXPECT_EQ(context.getISD("JSON"), "");
    EXPECT_EQ(context.getPath("/FileHeader/FHDR").index(), any_type::tag_empty);
    EXPECT_EQ(context.getPath("/FileHeader/FHDR", any_type::value(true)), any_type::value(true));
    EXPECT_EQ(context.getPathString("/FileHeader/FHDR", "d"), "d");
    EXPECT_EQ(context.getPathWString(L"/FileHeader/FHDR", L"w"), L"w");
    EXPECT_EQ(context.getPathInt("/FileHeader/FL", 9), 9);
    EXPECT_DOUBLE_EQ(context.getPathDouble("/FileHeader/FL", 0.5), 0.5);
    EXPECT_FALSE(context.setPath("/FileHeader/FTITLE", "\"x\"", messages));
    EXPECT_FALSE(context.setISD("{}", messages));
    EXPECT_TRUE(messages.empty());
}
