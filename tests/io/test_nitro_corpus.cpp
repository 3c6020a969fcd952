#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/IOTesting.h"
#include "tessel/io/IOPool.h"
#include "tessel/io/NitroGdalIOInterface.h"
#include "tests/platform/nitf/nitf_test_files.h"

using namespace Tessel;

namespace {

// What a parse yields, in a form that two parses can be compared by.
struct ParseSummary {
    bool ok = false;
    std::vector<std::string> values;

    bool operator==(const ParseSummary&) const = default;
};

void addField(std::vector<std::string>& values, const char* name, const nitf_Field* field) {
    values.push_back(std::string(name) + "=" + (field ? nitf_test::text(field) : "<none>"));
}

void addTREs(std::vector<std::string>& values, const char* scope, nitf_Extensions* extensions) {
    for (const std::string& name : nitf_test::treNames(extensions)) {
        values.push_back(std::string(scope) + " TRE " + name);
    }
}

ParseSummary summarise(nitf_IOInterface* io) {
    ParseSummary summary;
    if (io == nullptr) {
        return summary;
    }
    nitf_Error error{};
    nitf_Reader* reader = nitf_Reader_construct(&error);
    nitf_Record* record = reader ? nitf_Reader_readIO(reader, io, &error) : nullptr;
    if (record != nullptr) {
        summary.ok = true;
        auto& values = summary.values;
        const nitf_FileHeader* header = record->header;
        addField(values, "FHDR", header->fileHeader);
        addField(values, "FVER", header->fileVersion);
        addField(values, "FTITLE", header->fileTitle);
        addField(values, "FL", header->fileLength);
        addField(values, "HL", header->headerLength);
        addField(values, "NUMI", header->numImages);
        addField(values, "NUMS", header->numGraphics);
        addField(values, "NUMT", header->numTexts);
        addField(values, "NUMDES", header->numDataExtensions);
        values.push_back("images " + std::to_string(nitf_Record_getNumImages(record, &error)));
        addTREs(values, "file", header->userDefinedSection);
        addTREs(values, "file", header->extendedSection);
        for (auto* segment : nitf_test::items<nitf_ImageSegment>(record->images)) {
            addField(values, "IID1", segment->subheader->imageId);
            addField(values, "NROWS", segment->subheader->numRows);
            addField(values, "NCOLS", segment->subheader->numCols);
            values.push_back("data " + std::to_string(segment->imageOffset) + "-" +
                             std::to_string(segment->imageEnd));
            addTREs(values, "image", segment->subheader->userDefinedSection);
            addTREs(values, "image", segment->subheader->extendedSection);
        }
    }
    nitf_Record_destruct(&record);
    nitf_Reader_destruct(&reader);
    return summary;
}

ParseSummary throughHandle(const std::filesystem::path& path) {
    nitf_Error error{};
    nitf_IOInterface* io =
        nitf_IOHandleAdapter_open(path.c_str(), NITF_ACCESS_READONLY, NITF_OPEN_EXISTING, &error);
    ParseSummary summary = summarise(io);
    nitf_IOInterface_destruct(&io);
    return summary;
}

ParseSummary throughPool(const std::filesystem::path& path) {
    nitf_Error error{};
    nitf_IOInterface* io =
        NitroGdalIOInterface::Create(NITFURI(path.wstring()), NITF_ACCESS_READONLY, &error);
    ParseSummary summary = summarise(io);
    nitf_IOInterface_destruct(&io);
    return summary;
}

std::vector<std::filesystem::path> corpusFiles() {
    std::vector<std::filesystem::path> files;
    const auto corpus = nitf_test::sharedDir() / "corpus";
    for (const auto& row : nitf_test::readTable(corpus / "MANIFEST.tsv")) {
        const std::string& version = row.at("nitf_version");
        if (version.rfind("NITF", 0) == 0 || version.rfind("NSIF", 0) == 0) {
            files.push_back(corpus / row.at("relative_path"));
        }
    }
    return files;
}

// Every corpus file parses through the block pool as through a plain file handle. Bytes
// past the end of a file read as zeros through the pool, so a file that the handle can't
// parse (a truncated one) may fare differently; it must only not crash.
void compareCorpus(int blockCache, int blockSize, int threads) {
    if (!std::filesystem::exists(nitf_test::sharedDir() / "corpus" / "MANIFEST.tsv")) {
        GTEST_SKIP() << "no shared corpus";
    }
    tessel_test::ScopedIOPool pool(blockCache, blockSize, threads);
    const auto files = corpusFiles();
    ASSERT_GT(files.size(), 50u);
    size_t parsed = 0;
    for (const auto& path : files) {
        const ParseSummary expected = throughHandle(path);
        const ParseSummary actual = throughPool(path);
        if (!expected.ok) {
            continue;
        }
        ++parsed;
        EXPECT_TRUE(actual.ok) << path;
        EXPECT_EQ(actual.values, expected.values) << path;
        // A second parse is served by the cache and yields the same.
        EXPECT_EQ(throughPool(path), expected) << path;
    }
    EXPECT_GT(parsed, 50u);
}

}  // namespace

TEST(NitroGdalIOCorpus, EveryFileParsesAsThroughAFileHandle) {
    compareCorpus(1000, 1048576, 0);
}

TEST(NitroGdalIOCorpus, SmallBlocksOnWorkersParseTheSame) {
    compareCorpus(64, 4096, 4);
}
