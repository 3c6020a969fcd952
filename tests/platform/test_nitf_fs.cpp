#include <gtest/gtest.h>

#include "tessel/platform/base/lumo_system.h"
#include "tessel/platform/base/nitf_fs.h"

#include "platform/scoped_environment.h"

#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <fstream>
#include <numeric>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using tessel_test::ScopedEnvironment;
using tessel_test::TemporaryFolder;

namespace {

void writeFile(const fs::path& path, const std::vector<uint8_t>& bytes) {
    fs::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
}

void writeFile(const fs::path& path, const std::string& text) {
    writeFile(path, std::vector<uint8_t>(text.begin(), text.end()));
}

std::vector<uint8_t> countingBytes(size_t count) {
    std::vector<uint8_t> bytes(count);
    for (size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<uint8_t>(i % 251);
    }
    return bytes;
}

std::vector<std::string> names(const std::vector<fs::path>& paths) {
    std::vector<std::string> out;
    for (const fs::path& path : paths) {
        out.push_back(path.filename().string());
    }
    return out;
}

// Resource and user folders under one temporary root, with the environment pointed at them.
class ConfigFoldersTest : public ::testing::Test {
protected:
    ConfigFoldersTest()
        : resourcePath_("TESSEL_RESOURCE_PATH", (root_ / "first").string() +
                                                    "::" + (root_ / "missing").string() + ":" +
                                                    (root_ / "second").string()),
          userConfig_("XDG_CONFIG_HOME", (root_ / "user").string()) {}

    TemporaryFolder root_;
    ScopedEnvironment resourcePath_;
    ScopedEnvironment userConfig_;
};

TEST_F(ConfigFoldersTest, ResourcePathFoldersComeFirstThenTheUserFolder) {
    const fs::path relative = fs::path("Resources") / "Raster" / "NITF";
    for (const char* root : {"user/tessel", "second", "first"}) {
        fs::create_directories(root_ / root / relative);
    }
    const std::vector<fs::path> folders = nitf_fs::getConfigFolders(relative);
    const std::vector<fs::path> expected = {root_ / "first" / relative, root_ / "second" / relative,
                                            root_ / "user" / "tessel" / relative};
    EXPECT_EQ(folders, expected);
}

TEST_F(ConfigFoldersTest, OnlyExistingFoldersAreListed) {
    fs::create_directories(root_ / "second" / "bin" / "nitroplugins");
    fs::create_directories(root_ / "first" / "bin");
    writeFile(root_ / "user" / "tessel" / "bin" / "nitroplugins", "a file, not a folder");
    const std::vector<fs::path> folders =
        nitf_fs::getConfigFolders(fs::path("bin") / "nitroplugins");
    ASSERT_EQ(folders.size(), 1u);
    EXPECT_EQ(folders[0], root_ / "second" / "bin" / "nitroplugins");
    EXPECT_TRUE(nitf_fs::getConfigFolders("no such folder").empty());
}

TEST_F(ConfigFoldersTest, ModuleFoldersAlsoComeFromTheLibraryLayoutUnderTesselHome) {
    ScopedEnvironment home("TESSEL_HOME", (root_ / "home").string());
    const fs::path relative = fs::path("bin") / "nitroplugins";
    fs::create_directories(root_ / "second" / relative);
    fs::create_directories(root_ / "home" / "lib" / "tessel" / "nitroplugins");
    fs::create_directories(root_ / "user" / "tessel" / relative);
    const std::vector<fs::path> expected = {root_ / "second" / relative,
                                            root_ / "home" / "lib" / "tessel" / "nitroplugins",
                                            root_ / "user" / "tessel" / relative};
    EXPECT_EQ(nitf_fs::getConfigFolders(relative), expected);
    // Only "bin/..." names a module folder.
    fs::create_directories(root_ / "home" / "lib" / "tessel" / "Profiles");
    EXPECT_TRUE(nitf_fs::getConfigFolders("Profiles").empty());
}

TEST_F(ConfigFoldersTest, AFolderNamedTwiceIsListedOnce) {
    ScopedEnvironment twice("TESSEL_RESOURCE_PATH",
                            (root_ / "first").string() + ":" + (root_ / "first" / ".").string());
    fs::create_directories(root_ / "first" / "Profiles");
    EXPECT_EQ(nitf_fs::getConfigFolders("Profiles").size(), 1u);
}

TEST_F(ConfigFoldersTest, UserFolderDefaultsToHomeConfig) {
    ScopedEnvironment noXdg("XDG_CONFIG_HOME", std::nullopt);
    ScopedEnvironment home("HOME", (root_ / "home").string());
    fs::create_directories(root_ / "home" / ".config" / "tessel" / "Functions");
    const std::vector<fs::path> folders = nitf_fs::getConfigFolders("Functions");
    ASSERT_EQ(folders.size(), 1u);
    EXPECT_EQ(folders[0], root_ / "home" / ".config" / "tessel" / "Functions");
}

TEST_F(ConfigFoldersTest, InstalledResourcesComeBetweenResourcePathAndUserFolder) {
    const fs::path libraryFolder = lumo_system::library_location();
    ASSERT_FALSE(libraryFolder.empty());
    if (libraryFolder.filename() == "lib") {
        GTEST_SKIP() << "running against an installed library";
    }
    // A build tree counts the library folder's parent as the installation prefix.
    const fs::path share = libraryFolder.parent_path() / "share";
    const std::string unique = "tessel-test-" + std::to_string(::getpid());
    const fs::path installed = share / "tessel" / unique;
    // Remove afterwards only what this test makes.
    fs::path made = installed;
    for (const fs::path& ancestor : {share / "tessel", share}) {
        if (!fs::exists(ancestor)) {
            made = ancestor;
        }
    }
    fs::create_directories(installed);
    fs::create_directories(root_ / "second" / unique);
    fs::create_directories(root_ / "user" / "tessel" / unique);

    const std::vector<fs::path> folders = nitf_fs::getConfigFolders(unique);

    std::error_code ec;
    fs::remove_all(made, ec);
    const std::vector<fs::path> expected = {root_ / "second" / unique, installed,
                                            root_ / "user" / "tessel" / unique};
    EXPECT_EQ(folders, expected);
}

TEST_F(ConfigFoldersTest, FindFileTakesTheFirstFolderThatHoldsTheFile) {
    const fs::path folder = fs::path("Resources") / "Raster" / "NITF" / "TREs";
    writeFile(root_ / "second" / folder / "BLOCKA", "second");
    writeFile(root_ / "user" / "tessel" / folder / "BLOCKA", "user");
    fs::create_directories(root_ / "first" / folder / "BLOCKA");  // a folder, not a file
    writeFile(root_ / "user" / "tessel" / folder / "RPC00B", "user");

    EXPECT_EQ(nitf_fs::findFile(folder, "BLOCKA"), root_ / "second" / folder / "BLOCKA");
    EXPECT_EQ(nitf_fs::findFile(folder, "RPC00B"), root_ / "user" / "tessel" / folder / "RPC00B");
    EXPECT_TRUE(nitf_fs::findFile(folder, "ICHIPB").empty());
    EXPECT_TRUE(nitf_fs::findFile("nowhere", "BLOCKA").empty());
}

class ReadDirectoryTest : public ::testing::Test {
protected:
    void SetUp() override {
        for (const char* name :
             {"b.json", "a.json", "ab.json", "c.txt", "x\xc3\xa9.txt", ".json"}) {
            writeFile(folder_ / name, "{}");
        }
        fs::create_directories(folder_ / "sub.json");
    }
    TemporaryFolder folder_;
};

TEST_F(ReadDirectoryTest, StarMatchesAnyRunAndOnlyRegularFilesCount) {
    const std::vector<fs::path> files = nitf_fs::readDirectory(folder_ / "*.json");
    EXPECT_EQ(names(files), (std::vector<std::string>{".json", "a.json", "ab.json", "b.json"}));
    ASSERT_FALSE(files.empty());
    EXPECT_EQ(files[1], folder_ / "a.json");
    EXPECT_EQ(names(nitf_fs::readDirectory(folder_ / "a*")),
              (std::vector<std::string>{"a.json", "ab.json"}));
    EXPECT_EQ(nitf_fs::readDirectory(folder_ / "*").size(), 6u);
}

TEST_F(ReadDirectoryTest, QuestionMarkMatchesExactlyOneCharacter) {
    EXPECT_EQ(names(nitf_fs::readDirectory(folder_ / "?.json")),
              (std::vector<std::string>{"a.json", "b.json"}));
    EXPECT_EQ(names(nitf_fs::readDirectory(folder_ / "??.json")),
              (std::vector<std::string>{"ab.json"}));
    // A two-byte character is one character.
    EXPECT_EQ(names(nitf_fs::readDirectory(folder_ / "x?.txt")),
              (std::vector<std::string>{"x\xc3\xa9.txt"}));
}

TEST_F(ReadDirectoryTest, NameWithoutWildcardsMatchesItself) {
    EXPECT_EQ(names(nitf_fs::readDirectory(folder_ / "c.txt")),
              (std::vector<std::string>{"c.txt"}));
    EXPECT_TRUE(nitf_fs::readDirectory(folder_ / "C.TXT").empty());
    EXPECT_TRUE(nitf_fs::readDirectory(folder_ / "sub.json").empty());
}

TEST_F(ReadDirectoryTest, MissingFolderGivesNothing) {
    EXPECT_TRUE(nitf_fs::readDirectory(folder_ / "missing" / "*.json").empty());
    EXPECT_TRUE(nitf_fs::readDirectory(folder_ / "c.txt" / "*").empty());
}

TEST_F(ReadDirectoryTest, RelativePatternStartsAtTheCurrentDirectory) {
    const fs::path saved = fs::current_path();
    fs::current_path(folder_.path());
    const std::vector<fs::path> bare = nitf_fs::readDirectory("*.txt");
    fs::create_directories("nested");
    writeFile("nested/n.txt", "n");
    const std::vector<fs::path> nested = nitf_fs::readDirectory("nested/*.txt");
    fs::current_path(saved);
    EXPECT_EQ(bare, (std::vector<fs::path>{"c.txt", "x\xc3\xa9.txt"}));
    EXPECT_EQ(nested, (std::vector<fs::path>{"nested/n.txt"}));
}

TEST(FileStatus, RegularFilesAndSizes) {
    TemporaryFolder folder;
    writeFile(folder / "data.bin", countingBytes(100));
    EXPECT_TRUE(nitf_fs::is_regular_file(folder / "data.bin"));
    EXPECT_FALSE(nitf_fs::is_regular_file(folder.path()));
    EXPECT_FALSE(nitf_fs::is_regular_file(folder / "missing"));
    EXPECT_EQ(nitf_fs::file_size(folder / "data.bin"), 100u);
    EXPECT_EQ(nitf_fs::file_size(folder / "missing"), 0u);
    EXPECT_EQ(nitf_fs::file_size(folder.path()), 0u);
}

TEST(FileStatus, StatusReportsSizeAndLastWrite) {
    TemporaryFolder folder;
    const fs::path file = folder / "data.bin";
    writeFile(file, countingBytes(1234));
    const fs::file_time_type stamp = fs::file_time_type::clock::now() - std::chrono::hours(30);
    fs::last_write_time(file, stamp);

    const nitf_fs::ext::status_info info = nitf_fs::ext::status(file);
    EXPECT_TRUE(info.exists());
    EXPECT_EQ(info.size(), 1234u);
    EXPECT_EQ(info.last_write(), fs::last_write_time(file));
    EXPECT_LT(std::chrono::abs(info.last_write() - stamp), std::chrono::seconds(1));

    const nitf_fs::ext::status_info missing = nitf_fs::ext::status(folder / "missing");
    EXPECT_FALSE(missing.exists());
    EXPECT_EQ(missing.size(), 0u);

    const nitf_fs::ext::status_info directory = nitf_fs::ext::status(folder.path());
    EXPECT_TRUE(directory.exists());
    EXPECT_EQ(directory.size(), 0u);
}

TEST(FileStatus, ChangesOnDiskShowAfterClearCache) {
    TemporaryFolder folder;
    const fs::path file = folder / "grows.bin";
    writeFile(file, countingBytes(10));
    EXPECT_EQ(nitf_fs::file_size(file), 10u);
    writeFile(file, countingBytes(20));
    nitf_fs::clearCache();
    EXPECT_EQ(nitf_fs::file_size(file), 20u);
}

TEST(FileAccess, ReadSeekAndTellWithEachOrigin) {
    TemporaryFolder folder;
    const std::vector<uint8_t> bytes = countingBytes(100);
    writeFile(folder / "data.bin", bytes);
    auto file = nitf_fs::ext::open(folder / "data.bin", nitf_fs::ext::io_read_only);
    ASSERT_TRUE(file);

    uint8_t buffer[32] = {};
    EXPECT_EQ(file->read(buffer, 10), 10u);
    EXPECT_EQ(buffer[9], 9);
    EXPECT_EQ(file->tell(), 10);

    EXPECT_TRUE(file->seek(5, 1));
    EXPECT_EQ(file->tell(), 15);
    EXPECT_EQ(file->read(buffer, 1), 1u);
    EXPECT_EQ(buffer[0], 15);

    EXPECT_TRUE(file->seek(-10, 2));
    EXPECT_EQ(file->tell(), 90);
    EXPECT_EQ(file->read(buffer, sizeof(buffer)), 10u);  // short at the end of the file
    EXPECT_EQ(buffer[0], 90);
    EXPECT_EQ(buffer[9], 99);
    EXPECT_EQ(file->read(buffer, sizeof(buffer)), 0u);

    EXPECT_TRUE(file->seek(42, 0));
    EXPECT_EQ(file->tell(), 42);
    EXPECT_FALSE(file->seek(-1, 0));
    EXPECT_FALSE(file->seek(0, 3));
    EXPECT_EQ(file->tell(), 42);

    EXPECT_EQ(file->write(buffer, 4), 0u);  // opened for reading only
    EXPECT_EQ(nitf_fs::file_size(folder / "data.bin"), 100u);
}

TEST(FileAccess, CreateTruncatesAndWrites) {
    TemporaryFolder folder;
    const fs::path path = folder / "out.ntf";
    writeFile(path, countingBytes(500));

    auto file = nitf_fs::ext::open(path, nitf_fs::ext::io_create);
    ASSERT_TRUE(file);
    EXPECT_EQ(nitf_fs::file_size(path), 0u);
    EXPECT_EQ(file->write("NITF02.10", 9), 9u);
    EXPECT_TRUE(file->seek(4, 0));
    EXPECT_EQ(file->write("X", 1), 1u);
    EXPECT_EQ(file->tell(), 5);
    file->close();
    EXPECT_EQ(file->tell(), -1);
    EXPECT_EQ(file->write("Y", 1), 0u);

    auto reader = nitf_fs::ext::open(path, nitf_fs::ext::io_read_only);
    ASSERT_TRUE(reader);
    char text[16] = {};
    EXPECT_EQ(reader->read(text, sizeof(text)), 9u);
    EXPECT_EQ(std::string(text), "NITFX2.10");
}

TEST(FileAccess, WhatCannotBeOpenedGivesAnEmptyHandle) {
    TemporaryFolder folder;
    EXPECT_FALSE(nitf_fs::ext::open(folder / "missing.ntf", nitf_fs::ext::io_read_only));
    EXPECT_FALSE(nitf_fs::ext::open(folder.path(), nitf_fs::ext::io_read_only));
    EXPECT_FALSE(nitf_fs::ext::open(folder / "no" / "folder.ntf", nitf_fs::ext::io_create));
    EXPECT_FALSE(fs::exists(folder / "missing.ntf"));
}

class MiniReaderTest : public ::testing::Test {
protected:
    void SetUp() override {
        bytes_ = {0xFF, 0xFF, 0x01, 0x02, 0xAB, 0xCD, 0x12, 0x34, 0x56, 0x78, 0x9A};
        writeFile(folder_ / "table.bin", bytes_);
    }
    TemporaryFolder folder_;
    std::vector<uint8_t> bytes_;
};

TEST_F(MiniReaderTest, ReadsBigEndianFieldsFromAnOffset) {
    nitf_fs::ext::mini_reader reader(folder_ / "table.bin", 2);
    ASSERT_TRUE(reader.ok());
    EXPECT_EQ(reader.position(), 2u);
    EXPECT_EQ(reader.read_be16(), std::optional<uint16_t>(0x0102));
    EXPECT_EQ(reader.read_be32(), std::optional<uint32_t>(0xABCD1234u));
    EXPECT_EQ(reader.position(), 8u);
    EXPECT_TRUE(reader.skip(1));
    uint8_t rest[2] = {};
    EXPECT_TRUE(reader.read(rest, 2));
    EXPECT_EQ(rest[0], 0x78);
    EXPECT_EQ(rest[1], 0x9A);
    EXPECT_TRUE(reader.ok());
    EXPECT_EQ(reader.position(), 11u);
}

TEST_F(MiniReaderTest, ReadingPastTheEndFailsAndStaysFailed) {
    nitf_fs::ext::mini_reader reader(folder_ / "table.bin", 6);
    EXPECT_EQ(reader.read_be32(), std::optional<uint32_t>(0x12345678u));
    EXPECT_EQ(reader.read_be32(), std::nullopt);  // one byte is left
    EXPECT_FALSE(reader.ok());
    EXPECT_EQ(reader.position(), 10u);
    uint8_t last = 0;
    EXPECT_FALSE(reader.read(&last, 1));
    EXPECT_EQ(reader.read_be16(), std::nullopt);
}

TEST_F(MiniReaderTest, SkippingPastTheEndFails) {
    nitf_fs::ext::mini_reader reader(folder_ / "table.bin", 0);
    EXPECT_TRUE(reader.skip(11));
    EXPECT_EQ(reader.position(), 11u);
    EXPECT_TRUE(reader.ok());
    EXPECT_FALSE(reader.skip(1));
    EXPECT_FALSE(reader.ok());
}

TEST_F(MiniReaderTest, OffsetBeyondTheEndAndMissingFilesFail) {
    nitf_fs::ext::mini_reader beyond(folder_ / "table.bin", 1000);
    EXPECT_EQ(beyond.read_be16(), std::nullopt);
    EXPECT_FALSE(beyond.ok());

    nitf_fs::ext::mini_reader missing(folder_ / "missing.bin", 0);
    EXPECT_FALSE(missing.ok());
    EXPECT_EQ(missing.read_be32(), std::nullopt);
    EXPECT_FALSE(missing.skip(0));
}

TEST(MiniReader, ReadsAndSkipsAcrossItsBuffer) {
    TemporaryFolder folder;
    const std::vector<uint8_t> bytes = countingBytes(20000);
    writeFile(folder / "big.bin", bytes);
    nitf_fs::ext::mini_reader reader(folder / "big.bin", 10);

    std::vector<uint8_t> chunk(6000);
    ASSERT_TRUE(reader.read(chunk.data(), chunk.size()));
    EXPECT_TRUE(std::equal(chunk.begin(), chunk.end(), bytes.begin() + 10));

    ASSERT_TRUE(reader.skip(9000));
    EXPECT_EQ(reader.position(), 15010u);
    const std::optional<uint16_t> value = reader.read_be16();
    ASSERT_TRUE(value);
    EXPECT_EQ(*value, (bytes[15010] << 8) | bytes[15011]);
    EXPECT_FALSE(reader.skip(5000));
    EXPECT_FALSE(reader.ok());
}

}  // namespace
