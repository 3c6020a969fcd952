#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tessel/file/OpenFailure.h"

namespace {

Tessel::NITFURI uriOf(const std::filesystem::path& path) {
    return Tessel::NITFURI{std::string_view(path.string()), std::string_view("/")};
}

TEST(OpenFailureText, MissingFileSaysSo) {
    const auto path = std::filesystem::temp_directory_path() / "tessel-no-such-file.ntf";
    std::filesystem::remove(path);
    EXPECT_EQ(Tessel::openFailureText(uriOf(path), {}),
              path.string() + ": No such file or directory");
}

TEST(OpenFailureText, ExistingFileWithoutMessagesIsNotNitf) {
    const auto path = std::filesystem::temp_directory_path() / "tessel-not-nitf.txt";
    std::ofstream(path) << "hello";
    EXPECT_EQ(Tessel::openRefusalText(uriOf(path)), path.string() + ": not a NITF file");
    std::filesystem::remove(path);
}

TEST(OpenFailureText, MessagesAreJoinedBySemicolons) {
    const Tessel::NITFMessages messages{"first", "second"};
    EXPECT_EQ(Tessel::openFailureText(uriOf("/nowhere.ntf"), messages), "first; second");
}

}  // namespace
