#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <sstream>
#include <string>

#include "tests/platform/nitf/nitf_test_files.h"

namespace {

using nitf_test::items;
using nitf_test::OpenFile;
using nitf_test::text;
using nitf_test::treNames;

std::set<std::string> splitSet(const std::string& list, char separator = ',') {
    std::set<std::string> out;
    std::stringstream stream(list);
    std::string item;
    while (std::getline(stream, item, separator)) {
        if (!item.empty()) {
            out.insert(item);
        }
    }
    return out;
}

// "file:A,B; image:C; des-overflow:D" -> scope -> names (entries GDAL marks "(badlen)" are
// returned separately: they are text where TREs belong).
std::map<std::string, std::set<std::string>> expectedTREs(const std::string& column,
                                                          std::set<std::string>* badScopes) {
    std::map<std::string, std::set<std::string>> out;
    std::stringstream stream(column);
    std::string part;
    while (std::getline(stream, part, ';')) {
        part.erase(0, part.find_first_not_of(' '));
        size_t colon = part.find(':');
        if (colon == std::string::npos) {
            continue;
        }
        std::string scope = part.substr(0, colon);
        for (const std::string& name : splitSet(part.substr(colon + 1))) {
            // GDAL marks some; a tag with blanks inside is text read as a tag.
            if (name.find("(badlen)") != std::string::npos || name.find(' ') != std::string::npos) {
                badScopes->insert(scope);
            } else {
                out[scope].insert(name);
            }
        }
    }
    return out;
}

bool isNitfRow(const nitf_test::Row& row) {
    const std::string& v = row.at("nitf_version");
    return v.rfind("NITF", 0) == 0 || v.rfind("NSIF", 0) == 0;
}

bool readableVersion(const nitf_test::Row& row) {
    const std::string& v = row.at("nitf_version");
    return v.rfind("NITF02.10", 0) == 0 || v.rfind("NITF02.00", 0) == 0 ||
           v.rfind("NSIF01.00", 0) == 0;
}

// Files that are broken on purpose: truncated, fuzzed, or of a version we do not read.
bool brokenOnPurpose(const std::string& path) {
    static const std::set<std::string> broken = {
        "gdal/nitf/U_0002A.NTF", "gdal/nitf/oss_fuzz_1525.ntf", "gdal/nitf/testtest.on9",
        "nitro/bug2_crash.ntf",  "nitro/bug3_crash.ntf",        "nitro/bug4_crash.ntf",
        "nitro/bug5_crash.ntf",  "nitro/bug6_hangs.ntf",
    };
    return broken.count(path) != 0;
}

class CorpusReader : public ::testing::Test {
protected:
    void SetUp() override {
        manifest_ = nitf_test::sharedDir() / "corpus" / "MANIFEST.tsv";
        if (!std::filesystem::exists(manifest_)) {
            GTEST_SKIP() << "no shared corpus at " << manifest_;
        }
    }
    std::filesystem::path manifest_;
};

void checkAgainstManifest(const nitf_test::Row& row, OpenFile& file) {
    nitf_Record* record = file.record;
    const std::string& version = row.at("nitf_version");
    EXPECT_EQ(nitf_Record_getVersion(record),
              version.rfind("NITF02.00", 0) == 0 ? NITF_VER_20 : NITF_VER_21);
    EXPECT_EQ(std::to_string(nitf_Record_getNumImages(record, &file.error)), row.at("n_images"));
    std::set<std::string> compressions;
    std::set<std::string> imodes;
    std::set<std::string> nbpps;
    std::set<std::string> imageTREs;
    for (auto* image : items<nitf_ImageSegment>(record->images)) {
        compressions.insert(text(image->subheader->imageCompression));
        imodes.insert(text(image->subheader->imageMode));
        nbpps.insert(std::to_string(std::stoi(text(image->subheader->numBitsPerPixel))));
        for (const auto& n : treNames(image->subheader->userDefinedSection)) {
            imageTREs.insert(n);
        }
        for (const auto& n : treNames(image->subheader->extendedSection)) {
            imageTREs.insert(n);
        }
    }
    EXPECT_EQ(compressions, splitSet(row.at("compressions")));
    EXPECT_EQ(imodes, splitSet(row.at("imodes")));
    EXPECT_EQ(nbpps, splitSet(row.at("nbpp_list")));

    std::set<std::string> fileTREs;
    for (const auto& n : treNames(record->header->userDefinedSection)) {
        fileTREs.insert(n);
    }
    for (const auto& n : treNames(record->header->extendedSection)) {
        fileTREs.insert(n);
    }
    std::vector<std::string> desTags;
    std::set<std::string> overflowTREs;
    for (auto* des : items<nitf_DESegment>(record->dataExtensions)) {
        desTags.push_back(text(des->subheader->typeID));
        for (const auto& n : treNames(des->subheader->userDefinedSection)) {
            overflowTREs.insert(n);
        }
    }
    std::set<std::string> badScopes;
    auto expected = expectedTREs(row.at("tres"), &badScopes);
    auto compare = [&](const std::string& scope, const std::set<std::string>& ours) {
        const std::set<std::string>& theirs = expected[scope];
        for (const auto& name : theirs) {
            EXPECT_TRUE(ours.count(name)) << scope << " TRE " << name << " not read";
        }
        if (!badScopes.count(scope)) {
            EXPECT_EQ(ours, theirs) << scope << " TREs";
        }
    };
    compare("file", fileTREs);
    compare("image", imageTREs);
    compare("des-overflow", overflowTREs);
    std::string desColumn = row.at("des_tags");
    if (desColumn != "?") {
        std::string joined;
        for (const auto& tag : desTags) {
            joined += (joined.empty() ? "" : ",") + tag;
        }
        EXPECT_EQ(joined, desColumn);
    }
}

TEST_F(CorpusReader, EveryFileReadsOrFailsWithAMessage) {
    int read = 0;
    int failed = 0;
    for (const auto& row : nitf_test::readTable(manifest_)) {
        const std::string& path = row.at("relative_path");
        std::filesystem::path full = nitf_test::sharedDir() / "corpus" / path;
        SCOPED_TRACE(path);
        OpenFile file(full);
        if (file.record == nullptr) {
            ++failed;
            EXPECT_NE(file.error.level, 0);
            EXPECT_GT(std::strlen(file.error.message), 0u);
            if (isNitfRow(row) || row.at("nitf_version").rfind("RPF", 0) == 0) {
                EXPECT_TRUE(brokenOnPurpose(path) || !readableVersion(row))
                    << "failed: " << file.error.message;
            }
            continue;
        }
        ++read;
        EXPECT_TRUE(readableVersion(row)) << "read a file GDAL calls " << row.at("nitf_version");
        if (readableVersion(row)) {
            checkAgainstManifest(row, file);
        }
    }
    EXPECT_GT(read, 100);
    EXPECT_GT(failed, 0);
}

}  // namespace
