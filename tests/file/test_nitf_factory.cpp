#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "support/FileTestSupport.h"
#include "support/TestPaths.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFile.h"
#include "tessel/platform/base/nitf_fs.h"
#include "tessel/platform/nitf/nitf_PluginRegistry.h"

using file_test::headerOnlyFile;
using file_test::keyOf;
using file_test::TempDir;
using file_test::uriOf;
using file_test::writeFile;
using Tessel::NITFFactory;
using Tessel::NITFMessages;
using Tessel::NITFType;
using Tessel::NITFWarehouse;

namespace {

// Events seen by a callback registered before any factory call, as modules do.
std::vector<int>& startEvents() {
    static std::vector<int> events;
    return events;
}
// Whether the test plug-in's TRE was known at each event.
std::vector<bool>& pluginKnownAtEvent() {
    static std::vector<bool> known;
    return known;
}

const bool registered = [] {
    NITFFactory::registerCallback([](NITFFactory::event_type event, const any_type::value& value) {
        startEvents().push_back(event);
        pluginKnownAtEvent().push_back(nitf_PluginRegistry_TREHandlerExists("TESTTR") != 0);
        EXPECT_EQ(value.index(), 0u);
    });
    return true;
}();

// Starts the factory with plug-ins under `home`; 0 when everything went as it should.
int startWithPlugins(const std::filesystem::path& home, const std::string& expectedPath) {
    ::setenv("TESSEL_HOME", home.c_str(), 1);
    ::unsetenv("NITF_PLUGIN_PATH");
    ::unsetenv("TESSEL_RESOURCE_PATH");
    file_test::LogCapture log;
    NITFFactory::get();
    const char* nitroPath = std::getenv("NITF_PLUGIN_PATH");
    const auto failures = log.with("NITF Subsystem: ");
    const bool ok = startEvents() == std::vector<int>{0, 1} &&
                    pluginKnownAtEvent() == std::vector<bool>{false, true} &&
                    nitroPath != nullptr && expectedPath == nitroPath &&
                    log.count("NITF Subsystem Starting") == 1 && failures.size() == 1 &&
                    failures[0].level == 1 &&
                    failures[0].text.find("broken.so") != std::string::npos;
    return ok ? 0 : 1;
}

}  // namespace

TEST(NITFFactory, StartAnnouncesBothEventsInOrder) {
    ASSERT_TRUE(registered);
    NITFFactory::get();
    EXPECT_EQ(startEvents(),
              (std::vector<int>{NITFFactory::plugins_loading, NITFFactory::plugins_loaded}));
}

TEST(NITFFactory, CallbackRegisteredAfterStartIsNeverCalled) {
    NITFFactory::get();
    int calls = 0;
    NITFFactory::registerCallback(
        [&calls](NITFFactory::event_type, const any_type::value&) { ++calls; });
    NITFFactory::get();
    TempDir dir;
    writeFile(dir / "a.ntf", headerOnlyFile(false));
    NITFMessages messages;
    EXPECT_TRUE(NITFFactory::get().open(uriOf(dir / "a.ntf"), messages));
    EXPECT_EQ(calls, 0);
}

// The start runs once per process: this test runs it in a child process of its own, with
// a plug-in folder in the installation layout under $TESSEL_HOME.
TEST(NITFFactoryDeathTest, StartLoadsPluginsBetweenTheEventsAndNeutralisesNitroSearch) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    TempDir home;
    const auto plugins = home.path() / "lib" / "tessel" / "nitroplugins";
    std::filesystem::create_directories(plugins);
    std::filesystem::copy_file(TESSEL_TEST_TREPLUGIN, plugins / "TESTTR.so");
    writeFile(plugins / "broken.so", "not a shared object");
    writeFile(plugins / "notes.txt", "not a plug-in at all");
    const std::string expectedPath = (plugins / "not_a_file").string();
    EXPECT_EXIT(std::exit(startWithPlugins(home.path(), expectedPath)),
                ::testing::ExitedWithCode(0), "");
}

TEST(NITFFactory, TwoObjectsOfOneFileShareOneNITFFile) {
    TempDir dir;
    writeFile(dir / "a.ntf", file_test::sampleBytes());
    NITFMessages messages;
    const auto first = NITFFactory::get().open(uriOf(dir / "a.ntf", "#IM_0"), messages);
    const auto second = NITFFactory::get().open(uriOf(dir / "a.ntf", "#IM_1"), messages);
    ASSERT_TRUE(first);
    ASSERT_TRUE(second);
    EXPECT_EQ(&first.getFile(), &second.getFile());
    EXPECT_EQ(first.getURI().object_index(), 0u);
    EXPECT_EQ(second.getURI().object_index(), 1u);
    EXPECT_TRUE(messages.empty());
}

TEST(NITFFactory, ReplacingAFileThatFailedHasNoEffectUntilClearCache) {
    TempDir dir;
    const auto path = dir / "later.ntf";
    writeFile(path, "Not yet a NITF file, just some text of a decent length.");
    NITFMessages messages;
    EXPECT_FALSE(NITFFactory::get().open(uriOf(path), messages));
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].rfind("/NITF Parse: ", 0), 0u) << messages[0];

    writeFile(path, file_test::sampleBytes());
    messages.clear();
    EXPECT_FALSE(NITFFactory::get().open(uriOf(path), messages));
    EXPECT_TRUE(messages.empty());
    EXPECT_EQ(NITFFactory::get().getNITFVersion(uriOf(path)), NITFType::NotNITF);

    NITFFactory::get().clearCache();
    const auto context = NITFFactory::get().open(uriOf(path), messages);
    EXPECT_TRUE(context);
    EXPECT_TRUE(messages.empty());
    EXPECT_EQ(context.getNumberImages(), 2u);
}

TEST(NITFFactory, NsifHeaderGivesItsVersionWithoutParsing) {
    TempDir dir;
    const auto path = dir / "n.nsf";
    writeFile(path, "NSIF01.00 and nothing that would parse");
    EXPECT_EQ(NITFFactory::get().getNITFVersion(uriOf(path)), NITFType::NSIF10);
    EXPECT_TRUE(NITFFactory::get().isNITFFile(uriOf(path)));
    EXPECT_FALSE(file_test::cachedIn(1, keyOf(path)));
    EXPECT_FALSE(file_test::cachedIn(2, keyOf(path)));
    // Only an open finds out; its failure overwrites the remembered type.
    NITFMessages messages;
    EXPECT_FALSE(NITFFactory::get().open(uriOf(path), messages));
    EXPECT_EQ(messages.size(), 1u);
    EXPECT_FALSE(NITFFactory::get().isNITFFile(uriOf(path)));
}

TEST(NITFFactory, VersionOfHeaderBytesIsRemembered) {
    TempDir dir;
    writeFile(dir / "v20.ntf", headerOnlyFile(true));
    writeFile(dir / "text.txt", "plain words");
    EXPECT_EQ(NITFFactory::get().getNITFVersion(uriOf(dir / "v20.ntf")), NITFType::NITF20);
    EXPECT_EQ(NITFWarehouse::get().type_cache_get(keyOf(dir / "v20.ntf")), NITFType::NITF20);
    EXPECT_EQ(NITFFactory::get().getNITFVersion(uriOf(dir / "text.txt")), NITFType::NotNITF);
    EXPECT_EQ(NITFWarehouse::get().type_cache_get(keyOf(dir / "text.txt")), NITFType::NotNITF);
}

TEST(NITFFactory, EmptyFileIsNotNitfAndNotRemembered) {
    TempDir dir;
    writeFile(dir / "empty.ntf", "");
    EXPECT_EQ(NITFFactory::get().getNITFVersion(uriOf(dir / "empty.ntf")), NITFType::NotNITF);
    EXPECT_FALSE(NITFFactory::get().isNITFFile(uriOf(dir / "empty.ntf")));
    EXPECT_EQ(NITFWarehouse::get().type_cache_get(keyOf(dir / "empty.ntf")), NITFType::Unknown);
}

TEST(NITFFactory, OpenOfEmptyFileFailsInOpenAndIsRemembered) {
    TempDir dir;
    writeFile(dir / "empty.ntf", "");
    NITFMessages messages;
    EXPECT_FALSE(NITFFactory::get().open(uriOf(dir / "empty.ntf"), messages));
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].rfind("/NITF Open: ", 0), 0u) << messages[0];
    EXPECT_EQ(NITFWarehouse::get().type_cache_get(keyOf(dir / "empty.ntf")), NITFType::NotNITF);
}

TEST(NITFFactory, MissingFileGivesEmptyContextNoMessageAndNothingCached) {
    TempDir dir;
    NITFMessages messages;
    const auto context = NITFFactory::get().open(uriOf(dir / "missing.ntf"), messages);
    EXPECT_FALSE(context);
    EXPECT_TRUE(messages.empty());
    EXPECT_EQ(NITFWarehouse::get().type_cache_get(keyOf(dir / "missing.ntf")), NITFType::Unknown);

    // It may yet appear.
    writeFile(dir / "missing.ntf", headerOnlyFile(false));
    EXPECT_TRUE(NITFFactory::get().open(uriOf(dir / "missing.ntf"), messages));
}

TEST(NITFFactory, FolderGivesEmptyContextWithoutMessage) {
    TempDir dir;
    NITFMessages messages;
    EXPECT_FALSE(NITFFactory::get().open(uriOf(dir.path()), messages));
    EXPECT_TRUE(messages.empty());
}

TEST(NITFFactory, NonNitfFileIsRememberedUntilClearCache) {
    TempDir dir;
    const auto path = dir / "words.ntf";
    writeFile(path, "Words, words, words: no NITF header anywhere in here at all.");
    NITFMessages messages;
    EXPECT_FALSE(NITFFactory::get().open(uriOf(path), messages));
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].rfind("/NITF Parse: ", 0), 0u);
    EXPECT_EQ(NITFWarehouse::get().type_cache_get(keyOf(path)), NITFType::NotNITF);

    NITFMessages again;
    EXPECT_FALSE(NITFFactory::get().open(uriOf(path), again));
    EXPECT_TRUE(again.empty());

    NITFFactory::get().clearCache();
    EXPECT_EQ(NITFWarehouse::get().type_cache_get(keyOf(path)), NITFType::Unknown);
    EXPECT_FALSE(NITFFactory::get().open(uriOf(path), again));
    EXPECT_EQ(again.size(), 1u);
}

TEST(NITFFactory, OpenAfterClearCacheOfAHeldFileMakesAnotherFile) {
    TempDir dir;
    writeFile(dir / "held.ntf", headerOnlyFile(false));
    NITFMessages messages;
    const auto held = NITFFactory::get().open(uriOf(dir / "held.ntf"), messages);
    ASSERT_TRUE(held);
    NITFFactory::get().clearCache();
    const auto fresh = NITFFactory::get().open(uriOf(dir / "held.ntf"), messages);
    ASSERT_TRUE(fresh);
    EXPECT_NE(&held.getFile(), &fresh.getFile());
    // The older file stays usable with its context.
    EXPECT_EQ(held.getNITFVersion(), NITFType::NITF21);
}

TEST(NITFFactory, OpenRemembersTheVersionOfTheParsedFile) {
    TempDir dir;
    writeFile(dir / "v20.ntf", headerOnlyFile(true));
    NITFMessages messages;
    const auto context = NITFFactory::get().open(uriOf(dir / "v20.ntf"), messages);
    ASSERT_TRUE(context);
    EXPECT_EQ(context.getNITFVersion(), NITFType::NITF20);
    EXPECT_EQ(NITFWarehouse::get().type_cache_get(keyOf(dir / "v20.ntf")), NITFType::NITF20);
}

TEST(NITFFactory, CreateGivesAnUncachedWritableFile) {
    NITFMessages messages;
    const auto context = NITFFactory::create(messages);
    ASSERT_TRUE(context);
    EXPECT_TRUE(messages.empty());
    EXPECT_TRUE(context.getURI().cacheKey().empty());
    EXPECT_FALSE(context.getFile().getPrivate()->isReadOnly());
    EXPECT_EQ(context.getNITFVersion(), NITFType::NITF21);
}

TEST(NITFFactory, CacheOnExportLeavesTheFileWarmForTheNextOpen) {
    file_test::ScopedWarehouse warehouse(100, std::chrono::seconds(-1));
    TempDir dir;
    writeFile(dir / "export.ntf", headerOnlyFile(true));
    EXPECT_TRUE(NITFFactory::get().cacheOnExport(L"ignored", uriOf(dir / "export.ntf")));
    EXPECT_EQ(NITFWarehouse::get().type_cache_get(keyOf(dir / "export.ntf")), NITFType::NITF20);
    EXPECT_TRUE(file_test::cachedIn(2, keyOf(dir / "export.ntf")));

    file_test::LogCapture log;
    NITFMessages messages;
    EXPECT_TRUE(NITFFactory::get().open(uriOf(dir / "export.ntf"), messages));
    EXPECT_EQ(log.count("CACHE-L2"), 1u);
}

TEST(NITFFactory, CacheOnExportOfABadFileThrows) {
    TempDir dir;
    writeFile(dir / "bad.ntf", "not NITF");
    EXPECT_THROW(NITFFactory::get().cacheOnExport(L"", uriOf(dir / "bad.ntf")), std::runtime_error);
}
