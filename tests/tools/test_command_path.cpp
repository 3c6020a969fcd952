#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "support/InfoResources.h"
#include "support/RunTool.h"
#include "support/TestPaths.h"
#include "tests/paths/dictionary_files_support.h"

using tessel_test::runTool;

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

std::string quoted(const std::string& text) {
    std::string out = "'";
    for (const char c : text) {
        out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return out + "'";
}

const std::string kSample = quoted(TESSEL_SAMPLE_FILE);

}  // namespace

TEST(CommandPath, PrintsEachValueWithItsType) {
    const auto result =
        runTool("path " + kSample + " /FileHeader/FTITLE '/Image/NROWS?parse=int' /NoSuch");
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.out,
              "/FileHeader/FTITLE = TesselLib sample (wstring)\n"
              "/Image/NROWS?parse=int = 48 (int)\n"
              "/NoSuch =  (empty)\n");
}

TEST(CommandPath, ImageOfTheURIObject) {
    const auto result =
        runTool("path " + quoted(std::string(TESSEL_SAMPLE_FILE) + "#IM_1") + " /Image/NROWS");
    EXPECT_EQ(result.out, "/Image/NROWS = 00000016 (wstring)\n");
}

TEST(CommandPath, JsonOutputHoldsValueAndType) {
    const auto result =
        runTool("path " + kSample + " '/Image/NCOLS?parse=double' /FileHeader/CLEVEL --json");
    ASSERT_EQ(result.status, 0);
    const Json out = Json::parse(result.out);
    EXPECT_EQ(out["/Image/NCOLS?parse=double"]["value"], 64.0);
    EXPECT_EQ(out["/Image/NCOLS?parse=double"]["type"], "double");
    EXPECT_EQ(out["/FileHeader/CLEVEL"]["value"], "03");
}

TEST(CommandPath, FormatAppendsTheQueryWord) {
    for (const char* option : {"--format json", "--format=JSON"}) {
        const auto result = runTool("path " + kSample + " /FileHeader " + option + " --json");
        ASSERT_EQ(result.status, 0) << option;
        const Json out = Json::parse(result.out);
        ASSERT_TRUE(out.contains("/FileHeader?JSON")) << result.out;
        const Json header = Json::parse(out["/FileHeader?JSON"]["value"].get<std::string>());
        EXPECT_EQ(header["FTITLE"], "TesselLib sample");
    }
    const auto xml = runTool("path " + kSample + " '/Image/NROWS?parse=int' --format xml");
    EXPECT_NE(xml.out.find("/Image/NROWS?parse=int&format=XML = <?xml"), std::string::npos)
        << xml.out;
    const auto raw = runTool("path " + kSample + " /FileHeader/FTITLE --format raw");
    EXPECT_NE(raw.out.find("TesselLib sample" + std::string(64, ' ') + " (wstring)"),
              std::string::npos);
}

TEST(CommandPath, InfoOfAField) {
    tessel_test::infoResourceFolder();  // the tool inherits the resource path
    const auto result = runTool("path " + kSample + " RPC00B/SUCCESS/@Info --json");
    ASSERT_EQ(result.status, 0);
    const Json out = Json::parse(result.out);
    const Json field = Json::parse(out["RPC00B/SUCCESS/@Info"]["value"].get<std::string>());
    EXPECT_EQ(field["Field"], "SUCCESS");
}

TEST(CommandPath, Errors) {
    EXPECT_EQ(runTool("path " + kSample).status, 1);
    EXPECT_EQ(runTool("path " + kSample + " /FileHeader --format yaml 2>/dev/null").status, 1);
    const auto missing = runTool("path /no/such/file.ntf /FileHeader 2>&1");
    EXPECT_EQ(missing.status, 1);
    EXPECT_NE(missing.out.find("tessel path: "), std::string::npos) << missing.out;
    EXPECT_NE(missing.out.find("No such file"), std::string::npos) << missing.out;
}

TEST(CommandDump, TextFormHasOneLinePerField) {
    const auto result = runTool("dump " + kSample);
    ASSERT_EQ(result.status, 0);
    EXPECT_NE(result.out.find("/FileHeader/FTITLE = TesselLib sample\n"), std::string::npos);
    EXPECT_NE(result.out.find("/Images/0/TREs/RPC00B/LINE_NUM_COEFF/19 = "), std::string::npos);
}

TEST(CommandDump, JsonAndXmlForms) {
    const auto json = runTool("dump " + kSample + " --json");
    ASSERT_EQ(json.status, 0);
    EXPECT_EQ(Json::parse(json.out)["Version"], "02.10");
    const auto xml = runTool("dump " + kSample + " --xml");
    ASSERT_EQ(xml.status, 0);
    EXPECT_EQ(xml.out.rfind("<?xml version='1.0' encoding='UTF-8'?>\n<NITF>", 0), 0u);
}

TEST(CommandDump, FileThatDoesNotOpen) {
    const auto result = runTool("dump /no/such/file.ntf 2>&1");
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.out.find("tessel dump: "), std::string::npos) << result.out;
}

// Both commands on every file of the shared data: no crash, and a file that opens prints
// its tree.
TEST(CommandDump, EverySharedFile) {
    using namespace dictionary_files;
    if (!haveShared()) {
        GTEST_SKIP() << "no shared data at " << kShared;
    }
    std::vector<fs::path> files = fixtureFiles(".ntf");
    for (const auto& row : corpusRows()) {
        files.push_back(kShared / "corpus" / row.at("relative_path"));
    }
    // Each run is a process of its own; four at a time keep the test short.
    struct Runs {
        tessel_test::ToolResult dump;
        tessel_test::ToolResult path;
    };
    std::vector<Runs> runs(files.size());
    std::atomic<size_t> next{0};
    std::vector<std::thread> workers;
    for (int w = 0; w < 4; ++w) {
        workers.emplace_back([&] {
            for (size_t i = next++; i < files.size(); i = next++) {
                const std::string file = quoted(files[i].string());
                runs[i].dump = runTool("dump " + file + " 2>/dev/null");
                runs[i].path = runTool("path " + file +
                                       " /FileHeader/FTITLE /TRE/_count /DESs/0?XML 2>/dev/null");
            }
        });
    }
    for (auto& worker : workers) {
        worker.join();
    }
    int opened = 0;
    for (size_t i = 0; i < files.size(); ++i) {
        SCOPED_TRACE(files[i].string());
        const Runs& run = runs[i];
        EXPECT_TRUE(run.dump.status == 0 || run.dump.status == 1) << run.dump.status;
        EXPECT_EQ(run.path.status, run.dump.status);
        if (run.dump.status == 0) {
            EXPECT_NE(run.dump.out.find("/FileHeader/FHDR = "), std::string::npos);
            ++opened;
        }
    }
    EXPECT_GT(opened, 200);
}
