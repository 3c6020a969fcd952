// tessel set: fields changed by path and the file written again, or nothing written at all.

#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "tessel/core/NITFMessages.h"
#include "tessel/file/NITFFile.h"
#include "tests/support/RunTool.h"
#include "tests/support/TestPaths.h"

namespace {

namespace fs = std::filesystem;

class CommandSet : public ::testing::Test {
protected:
    void SetUp() override {
        folder_ = fs::path(::testing::TempDir()) / ("command_set_" + std::to_string(::getpid()));
        fs::create_directories(folder_);
        // A name per test: the block cache of this process remembers files by path.
        out_ =
            folder_ /
            (std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()) + ".ntf");
    }
    void TearDown() override {
        std::error_code ignored;
        fs::remove_all(folder_, ignored);
    }
    tessel_test::ToolResult set(const std::string& assignments) {
        return tessel_test::runTool("set '" + std::string(TESSEL_SAMPLE_FILE) + "' " + assignments +
                                    " -o '" + out_.string() + "' 2>&1");
    }
    std::string read(const std::string& path) {
        Tessel::NITFMessages messages;
        Tessel::NITFFile file(Tessel::NITFURI(out_.string()), messages);
        return file.getPathString(0, path, "<none>");
    }
    size_t filesInFolder() const {
        return static_cast<size_t>(std::distance(fs::directory_iterator(folder_), {}));
    }
    fs::path folder_;
    fs::path out_;
};

TEST_F(CommandSet, SetsFieldsAndWritesTheFile) {
    const auto result = set("'/FileHeader/FTITLE=Set by the command' /Images/0/IID1=CMDID");
    ASSERT_EQ(result.status, 0) << result.out;
    EXPECT_EQ(read("/FileHeader/FTITLE"), "Set by the command");
    EXPECT_EQ(read("/Images/0/IID1"), "CMDID");
    EXPECT_EQ(filesInFolder(), 1u);
}

TEST_F(CommandSet, TakesJSONValues) {
    const auto result =
        set("'/FileHeader:={\"ONAME\": \"Someone\", \"OPHONE\": \"555\"}' '/FileHeader/CLEVEL:=5'");
    ASSERT_EQ(result.status, 0) << result.out;
    EXPECT_EQ(read("/FileHeader/ONAME"), "Someone");
    EXPECT_EQ(read("/FileHeader/OPHONE"), "555");
    EXPECT_EQ(read("/FileHeader/CLEVEL?format=RAW"), "05");
}

TEST_F(CommandSet, AddsATRE) {
    const auto result = set("/FileHeader/TREs/BLOCKA/BLOCK_INSTANCE=7");
    ASSERT_EQ(result.status, 0) << result.out;
    EXPECT_EQ(read("/FileHeader/TREs/BLOCKA/BLOCK_INSTANCE?format=RAW"), "07");
}

TEST_F(CommandSet, ARefusedValueWritesNothing) {
    const auto result = set("/FileHeader/FTITLE=fine /FileHeader/CLEVEL=XY");
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.out.find("/FileHeader/CLEVEL: Can not set 'XY': 'X' is not allowed in a "
                              "numeric field"),
              std::string::npos)
        << result.out;
    EXPECT_NE(result.out.find("Unable to set '/FileHeader/CLEVEL'"), std::string::npos);
    EXPECT_FALSE(fs::exists(out_));
    EXPECT_EQ(filesInFolder(), 0u);
}

TEST_F(CommandSet, ARefusedValueLeavesAnExistingOutputAsItWas) {
    std::ofstream(out_) << "old";
    const auto result = set("/FileHeader/NOSUCH=1");
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.out.find("Unable to find '/FileHeader/NOSUCH'"), std::string::npos)
        << result.out;
    std::ifstream in(out_);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "old");
}

TEST_F(CommandSet, AValueTooLongIsRefused) {
    const auto result = set("/FileHeader/OPHONE=1234567890123456789");
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.out.find("19 characters for a field of 18"), std::string::npos) << result.out;
    EXPECT_FALSE(fs::exists(out_));
}

TEST_F(CommandSet, ANewSegmentIsRefused) {
    const auto result = set("/Images/5/IID1=X");
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.out.find("adds a segment"), std::string::npos) << result.out;
    EXPECT_FALSE(fs::exists(out_));
}

TEST_F(CommandSet, WithoutAnOutputItExplainsTheUsage) {
    const auto result = tessel_test::runTool("set '" + std::string(TESSEL_SAMPLE_FILE) +
                                             "' /FileHeader/FTITLE=x 2>&1");
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.out.find("expected URI PATH=VALUE... -o OUT"), std::string::npos)
        << result.out;
}

TEST_F(CommandSet, AMissingInputWritesNothing) {
    const auto result =
        tessel_test::runTool("set '" + (folder_ / "none.ntf").string() +
                             "' /FileHeader/FTITLE=x -o '" + out_.string() + "' 2>&1");
    EXPECT_EQ(result.status, 1);
    EXPECT_FALSE(fs::exists(out_));
}

}  // namespace
