// tessel copy: the file written again, and output that appears whole or not at all.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "tessel/file/RecordCopy.h"
#include "tests/support/RunTool.h"
#include "tests/support/TestPaths.h"

namespace {

namespace fs = std::filesystem;

std::string bytesOf(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

class CommandCopy : public ::testing::Test {
protected:
    void SetUp() override {
        folder_ = fs::path(::testing::TempDir()) / ("command_copy_" + std::to_string(::getpid()));
        fs::create_directories(folder_);
    }
    void TearDown() override {
        std::error_code ignored;
        fs::remove_all(folder_, ignored);
    }
    size_t filesInFolder() const {
        return static_cast<size_t>(std::distance(fs::directory_iterator(folder_), {}));
    }
    fs::path folder_;
};

TEST_F(CommandCopy, CopiesTheSampleByteForByte) {
    const fs::path out = folder_ / "copy.ntf";
    const auto result = tessel_test::runTool("copy '" + std::string(TESSEL_SAMPLE_FILE) + "' '" +
                                             out.string() + "' 2>&1");
    EXPECT_EQ(result.status, 0) << result.out;
    EXPECT_EQ(bytesOf(out), bytesOf(TESSEL_SAMPLE_FILE));
    EXPECT_EQ(filesInFolder(), 1u);
}

TEST_F(CommandCopy, AMissingInputWritesNothing) {
    const auto result = tessel_test::runTool("copy '" + (folder_ / "none.ntf").string() + "' '" +
                                             (folder_ / "out.ntf").string() + "' 2>&1");
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.out.find("No such file or directory"), std::string::npos) << result.out;
    EXPECT_EQ(filesInFolder(), 0u);
}

TEST_F(CommandCopy, WrongArgumentsAreAUsageError) {
    const auto result = tessel_test::runTool("copy only-one 2>&1");
    EXPECT_EQ(result.status, 1);
    EXPECT_NE(result.out.find("expected URI OUT"), std::string::npos) << result.out;
}

// A full disk, as a file size limit in the child makes it: the copy fails, the old output
// is unchanged and no temporary file stays behind.
TEST_F(CommandCopy, DiskFullLeavesTheOldFileAndNoPartialFile) {
    const fs::path out = folder_ / "out.ntf";
    std::ofstream(out) << "the old file";
    // One block of 1024 bytes; the sample is larger.
    ASSERT_GT(fs::file_size(TESSEL_SAMPLE_FILE), 1024u);
    const auto [status, printed] = tessel_test::runToolOnFullDisk(
        "copy '" + std::string(TESSEL_SAMPLE_FILE) + "' '" + out.string() + "'", 1);
    EXPECT_EQ(status, 1) << printed;
    EXPECT_NE(printed.find("tessel copy: "), std::string::npos) << printed;
    EXPECT_EQ(bytesOf(out), "the old file");
    EXPECT_EQ(filesInFolder(), 1u) << "a temporary file stayed behind";
}

TEST_F(CommandCopy, AFailedWriteLeavesTheOldFileAndNoPartialFile) {
    const fs::path out = folder_ / "out.ntf";
    std::ofstream(out) << "the old file";
    std::string error;
    const bool written = Tessel::writeAtomically(
        out.string(),
        [](const std::string& temporary, std::string& why) {
            std::ofstream(temporary) << "half a file";
            why = "write failed: No space left on device";
            return false;
        },
        error);
    EXPECT_FALSE(written);
    EXPECT_EQ(error, "write failed: No space left on device");
    EXPECT_EQ(bytesOf(out), "the old file");
    EXPECT_EQ(filesInFolder(), 1u);
}

TEST_F(CommandCopy, ASuccessfulWriteReplacesTheOldFile) {
    const fs::path out = folder_ / "out.ntf";
    std::ofstream(out) << "the old file";
    std::string error;
    std::string seenName;
    const bool written = Tessel::writeAtomically(
        out.string(),
        [&](const std::string& temporary, std::string&) {
            seenName = temporary;
            std::ofstream(temporary) << "the new file";
            return true;
        },
        error);
    EXPECT_TRUE(written) << error;
    EXPECT_EQ(fs::path(seenName).parent_path(), folder_);
    EXPECT_EQ(bytesOf(out), "the new file");
    EXPECT_EQ(filesInFolder(), 1u);
}

TEST_F(CommandCopy, AnOutputFolderThatDoesNotExistIsReported) {
    std::string error;
    const bool written =
        Tessel::writeAtomically((folder_ / "no" / "out.ntf").string(),
                                [](const std::string&, std::string&) { return true; }, error);
    EXPECT_FALSE(written);
    EXPECT_NE(error.find("can't create a file in"), std::string::npos) << error;
}

}  // namespace
