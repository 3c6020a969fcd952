#include <gtest/gtest.h>

#include "tessel/platform/base/lumo_system.h"
#include "tessel/platform/base/text.h"

#include "platform/scoped_environment.h"

#include <dlfcn.h>
#include <pthread.h>
#include <pwd.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <string>
#include <thread>

namespace fs = std::filesystem;
using tessel_test::ScopedEnvironment;

namespace {

// The name the kernel keeps for a thread that asked for `name`.
std::string nameKeptFor(const std::wstring& name) {
    std::string kept;
    std::thread worker([&] {
        lumo_system::set_thread_name(name);
        char buffer[64] = {};
        if (pthread_getname_np(pthread_self(), buffer, sizeof(buffer)) == 0) {
            kept = buffer;
        }
    });
    worker.join();
    return kept;
}

std::string environment(const std::string& name) {
    const char* value = std::getenv(name.c_str());
    return value ? value : "<unset>";
}

std::string uniqueVariable(const char* stem) {
    return std::string("TESSEL_TEST_") + stem + "_" + std::to_string(::getpid());
}

TEST(ThreadName, ShortNamesAreKeptWhole) {
    EXPECT_EQ(nameKeptFor(L"NITF IOPool"), "NITF IOPool");
}

TEST(ThreadName, LongNamesAreCutToFifteenBytes) {
    EXPECT_EQ(nameKeptFor(L"NITF TilePool Service"), "NITF TilePool S");
}

TEST(ThreadName, CutNeverSplitsACharacter) {
    // Fourteen letters and a two-byte letter: sixteen bytes, so the last letter goes whole.
    EXPECT_EQ(nameKeptFor(L"abcdefghijklmn\u00e9"), "abcdefghijklmn");
    // Three-byte characters: five of them fill fifteen bytes exactly.
    EXPECT_EQ(nameKeptFor(L"\u65e5\u672c\u8a9e\u65e5\u672c\u8a9e"),
              "\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e\xe6\x97\xa5\xe6\x9c\xac");
}

TEST(Interactive, HostCanSwitchItOnAndOff) {
    const bool saved = lumo_system::is_running_interactive();
    lumo_system::set_running_interactive(true);
    EXPECT_TRUE(lumo_system::is_running_interactive());
    lumo_system::set_running_interactive(false);
    EXPECT_FALSE(lumo_system::is_running_interactive());
    lumo_system::set_running_interactive(saved);
}

// The environment is read once per process, so each case runs in a fresh child process.
TEST(Interactive, OnlyTheValueOneInTheEnvironmentMeansInteractive) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    {
        ScopedEnvironment env("TESSEL_INTERACTIVE", "1");
        EXPECT_EXIT(std::exit(lumo_system::is_running_interactive() ? 7 : 0),
                    ::testing::ExitedWithCode(7), "");
    }
    {
        ScopedEnvironment env("TESSEL_INTERACTIVE", "yes");
        EXPECT_EXIT(std::exit(lumo_system::is_running_interactive() ? 7 : 0),
                    ::testing::ExitedWithCode(0), "");
    }
    {
        ScopedEnvironment env("TESSEL_INTERACTIVE", std::nullopt);
        EXPECT_EXIT(std::exit(lumo_system::is_running_interactive() ? 7 : 0),
                    ::testing::ExitedWithCode(0), "");
    }
}

TEST(Environment, SetEnvironmentRespectsOverwrite) {
    const std::string name = uniqueVariable("SET");
    const std::wstring wide = std::to_wstring(name);
    ScopedEnvironment cleanup(name, std::nullopt);

    EXPECT_TRUE(lumo_system::set_environment(wide, L"first", false));
    EXPECT_EQ(environment(name), "first");
    EXPECT_FALSE(lumo_system::set_environment(wide, L"second", false));
    EXPECT_EQ(environment(name), "first");
    EXPECT_TRUE(lumo_system::set_environment(wide, L"caf\u00e9", true));
    EXPECT_EQ(environment(name), "caf\xc3\xa9");
}

TEST(Environment, InvalidNamesAreRefused) {
    EXPECT_FALSE(lumo_system::set_environment(L"", L"x", true));
    EXPECT_FALSE(lumo_system::set_environment(L"A=B", L"x", true));
    EXPECT_FALSE(lumo_system::append_environment(L"", L"x"));
    EXPECT_FALSE(lumo_system::add_directory(L"", "/tmp"));
}

TEST(Environment, AppendAddsEntriesAtTheEndOnce) {
    const std::string name = uniqueVariable("APPEND");
    const std::wstring wide = std::to_wstring(name);
    ScopedEnvironment cleanup(name, std::nullopt);

    EXPECT_TRUE(lumo_system::append_environment(wide, L"/opt/a"));
    EXPECT_EQ(environment(name), "/opt/a");
    EXPECT_TRUE(lumo_system::append_environment(wide, L"/opt/b"));
    EXPECT_EQ(environment(name), "/opt/a:/opt/b");
    EXPECT_TRUE(lumo_system::append_environment(wide, L"/opt/a"));
    EXPECT_EQ(environment(name), "/opt/a:/opt/b");
    EXPECT_FALSE(lumo_system::append_environment(wide, L""));
    EXPECT_EQ(environment(name), "/opt/a:/opt/b");
}

TEST(Environment, AddDirectoryPrependsWithoutDuplicates) {
    const std::string name = uniqueVariable("SEARCH");
    const std::wstring wide = std::to_wstring(name);
    ScopedEnvironment cleanup(name, "");

    EXPECT_TRUE(lumo_system::add_directory(wide, "/opt/csm"));
    EXPECT_EQ(environment(name), "/opt/csm");
    EXPECT_TRUE(lumo_system::add_directory(wide, "/opt/csm/plugins"));
    EXPECT_EQ(environment(name), "/opt/csm/plugins:/opt/csm");
    EXPECT_TRUE(lumo_system::add_directory(wide, "/opt/csm"));
    EXPECT_EQ(environment(name), "/opt/csm/plugins:/opt/csm");
}

TEST(Modules, SharedLibrarySuffix) {
    EXPECT_EQ(lumo_system::get_shared_library_suffix(), L".so");
}

TEST(Modules, LoadingARealModuleGivesAHandle) {
    const lumo_system::module_info info = lumo_system::get_module_info("libm.so.6");
    ASSERT_TRUE(info.loaded) << info.error;
    ASSERT_NE(info.handle, nullptr);
    EXPECT_TRUE(info.error.empty());
    EXPECT_NE(::dlsym(info.handle, "cos"), nullptr);
}

TEST(Modules, AMissingModuleGivesTheLoadersText) {
    const lumo_system::module_info info =
        lumo_system::get_module_info("/nonexistent/folder/libnothing.so");
    EXPECT_FALSE(info.loaded);
    EXPECT_EQ(info.handle, nullptr);
    EXPECT_NE(info.error.find("libnothing.so"), std::string::npos) << info.error;

    const lumo_system::module_info empty = lumo_system::get_module_info("");
    EXPECT_FALSE(empty.loaded);
    EXPECT_EQ(empty.handle, nullptr);
    EXPECT_FALSE(empty.error.empty());
}

TEST(Machine, ComputerNameIsTheHostName) {
    char host[HOST_NAME_MAX + 1] = {};
    ASSERT_EQ(::gethostname(host, sizeof(host) - 1), 0);
    EXPECT_EQ(lumo_system::get_computer_name(), std::to_wstring(host));
}

TEST(Machine, UserNameIsTheLoginName) {
    const passwd* entry = ::getpwuid(::getuid());
    if (entry == nullptr) {
        GTEST_SKIP() << "the user has no password entry";
    }
    EXPECT_EQ(lumo_system::get_user_name(), std::to_wstring(entry->pw_name));
}

TEST(Machine, LibraryLocationHoldsTheLibrary) {
    const fs::path folder = lumo_system::library_location();
    ASSERT_TRUE(folder.is_absolute()) << folder;
    bool found = false;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        found = found || entry.path().filename().string().starts_with("libtessel.so");
    }
    EXPECT_TRUE(found) << folder;
}

}  // namespace
