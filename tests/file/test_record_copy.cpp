// Every file the reader accepts, written again through the record layer, reads back with
// the same header, subheader, TRE and segment values and the same pixels, by our reading
// and by GDAL's.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFile.h"
#include "tessel/file/NITFFileContext.h"
#include "tessel/file/RecordCopy.h"
#include "tessel/platform/nitf.h"
#include "tests/paths/dictionary_files_support.h"
#include "tests/support/GdalOracle.h"
#include "tests/support/TestPaths.h"

namespace {

using namespace dictionary_files;
namespace fs = std::filesystem;

// Pixels of larger files that aren't byte-stable are left to GDAL, to keep the run short.
constexpr uintmax_t kPixelCompareLimit = 2u << 20;

std::string fileBytes(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

std::optional<Tessel::NITFFileContext> openContext(const fs::path& path) {
    Tessel::NITFMessages messages;
    auto context =
        Tessel::NITFFactory::get().open(Tessel::NITFURI(std::string_view(path.string())), messages);
    if (!context) {
        return std::nullopt;
    }
    return context;
}

// Why a rewrite can't give the same bytes, or empty when it should: the reader tolerated
// something that the writer doesn't reproduce (padding, bytes past the last segment, TREs
// it couldn't read), or the file's length field is wrong (streaming or just miscounted).
std::string notByteStable(const Tessel::NITFFileContext& context, const fs::path& path) {
    auto& d = context.getFile().getPrivate();
    nitf_List* warnings = d->getReader()->warningList;
    if (warnings != nullptr && !nitf_List_isEmpty(warnings)) {
        nitf_ListIterator first = nitf_List_begin(warnings);
        return static_cast<const char*>(nitf_ListIterator_get(&first));
    }
    const uint64_t declared = std::stoull(context.getPathString("/FileHeader/FL", "0"));
    if (declared != fs::file_size(path)) {
        return "FL is " + std::to_string(declared) + ", the file has " +
               std::to_string(fs::file_size(path)) + " bytes";
    }
    return {};
}

void flatten(const Json& node, const std::string& path, std::map<std::string, std::string>& out) {
    if (node.is_object()) {
        for (const auto& [key, child] : node.items()) {
            flatten(child, path + "/" + key, out);
        }
    } else if (node.is_array()) {
        for (size_t i = 0; i < node.size(); ++i) {
            flatten(node[i], path + "/" + std::to_string(i), out);
        }
    } else {
        out[path] = node.is_string() ? node.get<std::string>() : node.dump();
    }
}

std::map<std::string, std::string> metadataOf(const Tessel::NITFFileContext& context) {
    std::map<std::string, std::string> values;
    const Json tree = Json::parse(withoutNegativeEscapes(context.getISD("JSON")), nullptr, false);
    flatten(tree, "", values);
    return values;
}

// The fields a writer measures anew (the file's, header's, segments' and sections'
// lengths), and the overflow fields of sections that held text instead of TREs, which the
// reader skips and the writer leaves out.
bool isMeasuredLength(const std::string& path) {
    static const std::set<std::string> names = {
        "FL",      "HL",     "LISH",   "LI",     "LSSH",   "LS",     "LLSH",   "LL",
        "LTSH",    "LT",     "LDSH",   "LD",     "LRESH",  "LRE",    "UDHDL",  "XHDL",
        "UDIDL",   "IXSHDL", "SXSHDL", "LXSHDL", "TXSHDL", "DESSHL", "RESSHL", "UDHOFL",
        "XHDLOFL", "UDOFL",  "IXSOFL", "SXSOFL", "LXSOFL", "TXSOFL"};
    return names.count(path.substr(path.rfind('/') + 1)) > 0;
}

// GDAL reads a table of contents with the frame files beside it, which a copy lacks.
bool isTableOfContents(const fs::path& path) {
    std::string name = path.filename().string();
    std::transform(name.begin(), name.end(), name.begin(), ::toupper);
    return name == "A.TOC";
}

// GDAL reads the streaming original's OSTAID as "I_3321A" where its header holds
// "NS3321A"; the copy, with its lengths filled in, reads right.
bool gdalMisreadsOriginal(const fs::path& original, const std::string& key) {
    return original.filename() == "ns3321a.nsf" && key == "/NITF_OSTAID";
}

struct CopiedFile {
    fs::path original;
    fs::path copy;
    std::string notStable;  // empty when the copy must equal the original byte for byte
};

class RecordCopy : public ::testing::Test {
protected:
    void SetUp() override {
        if (!haveShared()) {
            GTEST_SKIP() << "no shared data at " << kShared;
        }
        folder_ = fs::path(::testing::TempDir()) / ("record_copy_" + std::to_string(::getpid()));
        fs::create_directories(folder_);
    }
    void TearDown() override {
        std::error_code ignored;
        fs::remove_all(folder_, ignored);
    }

    // Copies the file when the reader accepts it; checks bytes, metadata and pixels.
    std::optional<CopiedFile> copyAndCompare(const fs::path& original) {
        const auto context = openContext(original);
        if (!context) {
            return std::nullopt;
        }
        // The copy keeps the name: GDAL takes an RPF series from the extension.
        const fs::path into = folder_ / std::to_string(count_++);
        fs::create_directories(into);
        CopiedFile copied{original, into / original.filename(), notByteStable(*context, original)};
        std::string error;
        nrt_IOInterface* output = Tessel::openOutput(copied.copy.string(), error);
        EXPECT_NE(output, nullptr) << error;
        if (output == nullptr) {
            return std::nullopt;
        }
        const bool written = Tessel::copyRecord(*context, output, error);
        nrt_IOInterface_destruct(&output);
        EXPECT_TRUE(written) << error;
        if (copied.notStable.empty()) {
            EXPECT_EQ(fileBytes(original), fileBytes(copied.copy)) << "not byte for byte";
        }
        const auto copyContext = openContext(copied.copy);
        EXPECT_TRUE(copyContext) << "the copy doesn't open";
        if (!copyContext) {
            return copied;
        }
        compareMetadata(metadataOf(*context), metadataOf(*copyContext), copied);
        // Equal bytes decode to equal pixels: only a copy that differs is decoded.
        if (!copied.notStable.empty()) {
            if (fs::file_size(original) <= kPixelCompareLimit) {
                comparePixels(copied);
            } else {
                ++pixelsSkipped_;
            }
        }
        return copied;
    }

    void compareMetadata(const std::map<std::string, std::string>& before,
                         const std::map<std::string, std::string>& after, const CopiedFile& c) {
        EXPECT_GT(before.size(), 10u);
        for (const auto& [path, value] : before) {
            const auto found = after.find(path);
            if (found != after.end() && found->second == value) {
                ++values_;
                continue;
            }
            const bool allowed = !c.notStable.empty() && isMeasuredLength(path);
            EXPECT_TRUE(allowed) << path << ": '" << value << "' became '"
                                 << (found == after.end() ? "(missing)" : found->second) << "'";
        }
        for (const auto& [path, value] : after) {
            EXPECT_TRUE(before.count(path) > 0) << "the copy has " << path << " more";
        }
    }

    void comparePixels(const CopiedFile& c) {
        const auto all = [](Tessel::eCompressionType) { return true; };
        const auto before = tessel_test::decodeImages(c.original, all);
        const auto after = tessel_test::decodeImages(c.copy, all);
        ASSERT_EQ(before.size(), after.size());
        for (size_t i = 0; i < before.size(); ++i) {
            EXPECT_EQ(before[i].error, after[i].error);
            ASSERT_EQ(before[i].bands.size(), after[i].bands.size());
            for (size_t b = 0; b < before[i].bands.size(); ++b) {
                EXPECT_EQ(before[i].digest(b), after[i].digest(b))
                    << "image " << i << " band " << b;
                ++bands_;
            }
        }
    }

    // GDAL reads every pair the same, but for the raw header bytes that it lists whole
    // ("NITF_METADATA"), which hold the lengths of a file that isn't byte-stable.
    void compareWithGdal(const std::vector<CopiedFile>& copies) {
        if (!tessel_test::gdalAvailable()) {
            std::printf("GDAL's Python bindings are missing: GDAL comparison skipped\n");
            return;
        }
        Json pairs = Json::array();
        for (const auto& c : copies) {
            if (!isTableOfContents(c.original)) {
                pairs.push_back({c.original.string(), c.copy.string(), c.notStable.empty()});
            }
        }
        const fs::path listing = folder_ / "pairs.json";
        std::ofstream(listing) << pairs.dump();
        const fs::path answer = folder_ / "gdal.json";
        const std::string command = std::string("/usr/bin/python3 '") + TESSEL_SOURCE_DIR +
                                    "/tests/file/gdal_copy_compare.py' '" + listing.string() +
                                    "' '" + answer.string() + "' >/dev/null 2>&1";
        ASSERT_EQ(std::system(command.c_str()), 0) << command;
        const Json result = Json::parse(fileBytes(answer), nullptr, false);
        ASSERT_TRUE(result.is_object()) << command;
        int opened = 0;
        for (const auto& c : copies) {
            SCOPED_TRACE(c.original.string());
            if (isTableOfContents(c.original)) {
                continue;
            }
            const auto& entry = result.at(c.original.string());
            opened += entry.at("opened").get<bool>() ? 1 : 0;
            for (const auto& key : entry.at("differences")) {
                const std::string text = key.get<std::string>();
                const bool allowed =
                    (!c.notStable.empty() && text.rfind("NITF_METADATA/", 0) == 0) ||
                    gdalMisreadsOriginal(c.original, text);
                EXPECT_TRUE(allowed) << "GDAL reads " << text << " differently";
            }
        }
        RecordProperty("gdal_opened", opened);
        EXPECT_GT(opened, 0);
    }

    fs::path folder_;
    int count_ = 0;
    int values_ = 0;
    int bands_ = 0;
    int pixelsSkipped_ = 0;
};

TEST_F(RecordCopy, EveryFixtureCopiesWithEqualMetadataAndPixels) {
    std::vector<CopiedFile> copies;
    int stable = 0;
    for (const auto& path : fixtureFiles(".ntf")) {
        SCOPED_TRACE(path.filename().string());
        if (auto copied = copyAndCompare(path)) {
            stable += copied->notStable.empty() ? 1 : 0;
            copies.push_back(*copied);
        }
    }
    compareWithGdal(copies);
    RecordProperty("copied", static_cast<int>(copies.size()));
    RecordProperty("byte_stable", stable);
    EXPECT_GT(copies.size(), 70u);
    EXPECT_GT(values_, 8000);
}

TEST_F(RecordCopy, EveryAcceptedCorpusFileCopiesWithEqualMetadataAndPixels) {
    std::vector<CopiedFile> copies;
    int refused = 0;
    int stable = 0;
    for (const auto& row : corpusRows()) {
        const fs::path path = kShared / "corpus" / row.at("relative_path");
        SCOPED_TRACE(path.string());
        if (auto copied = copyAndCompare(path)) {
            stable += copied->notStable.empty() ? 1 : 0;
            if (!copied->notStable.empty()) {
                std::printf("not byte-stable: %s: %s\n", path.c_str(), copied->notStable.c_str());
            }
            copies.push_back(*copied);
        } else {
            ++refused;  // raw TRE dumps, images of other formats, broken files
        }
    }
    compareWithGdal(copies);
    std::printf(
        "%zu copied (%d byte for byte), %d refused by the reader, pixels of %d files "
        "over %ju bytes left to GDAL\n",
        copies.size(), stable, refused, pixelsSkipped_, kPixelCompareLimit);
    RecordProperty("copied", static_cast<int>(copies.size()));
    RecordProperty("byte_stable", stable);
    EXPECT_GE(copies.size(), 150u);
    EXPECT_GT(stable, 130);
    EXPECT_GT(bands_, 20);
}

}  // namespace
