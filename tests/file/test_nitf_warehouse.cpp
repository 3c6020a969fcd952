#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <regex>
#include <string>
#include <thread>

#include "support/FileTestSupport.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/file/NITFFile.h"
#include "tessel/platform/base/lumo_system.h"

using file_test::cachedIn;
using file_test::headerOnlyFile;
using file_test::keyOf;
using file_test::LogCapture;
using file_test::ScopedWarehouse;
using file_test::TempDir;
using file_test::uriOf;
using file_test::writeFile;
using Tessel::NITFFactory;
using Tessel::NITFFile;
using Tessel::NITFFileContext;
using Tessel::NITFMessages;
using Tessel::NITFType;
using Tessel::NITFWarehouse;
using namespace std::chrono_literals;

namespace {

NITFFileContext openFile(const std::filesystem::path& path) {
    NITFMessages messages;
    NITFFileContext context = NITFFactory::get().open(uriOf(path), messages);
    EXPECT_TRUE(context) << path;
    EXPECT_TRUE(messages.empty());
    return context;
}

std::weak_ptr<NITFFile> weakFile(const NITFFileContext& context) {
    return context.getFile().weak_from_this();
}

}  // namespace

TEST(NITFWarehouse, ReopenWithinTheTimeToLiveGivesTheSameFileFromL2) {
    ScopedWarehouse settings(100, 300ms);
    TempDir dir;
    writeFile(dir / "a.ntf", headerOnlyFile(false));
    LogCapture log;
    std::weak_ptr<NITFFile> first;
    {
        const auto context = openFile(dir / "a.ntf");
        first = weakFile(context);
    }
    EXPECT_EQ(log.count("MOVE TO L2"), 1u);
    EXPECT_TRUE(cachedIn(2, keyOf(dir / "a.ntf")));
    const auto again = openFile(dir / "a.ntf");
    EXPECT_FALSE(first.expired());
    EXPECT_EQ(&again.getFile(), first.lock().get());
    EXPECT_EQ(log.count("CACHE-L2"), 1u);
    EXPECT_EQ(log.count("OPEN-L1"), 1u);
    // In use, the file is in level 1 only.
    EXPECT_TRUE(cachedIn(1, keyOf(dir / "a.ntf")));
    EXPECT_FALSE(cachedIn(2, keyOf(dir / "a.ntf")));
}

TEST(NITFWarehouse, AfterTheTimeToLiveTheSweeperClosesTheFile) {
    ScopedWarehouse settings(100, 150ms);
    TempDir dir;
    writeFile(dir / "a.ntf", headerOnlyFile(false));
    LogCapture log;
    std::weak_ptr<NITFFile> first;
    {
        const auto context = openFile(dir / "a.ntf");
        first = weakFile(context);
    }
    std::this_thread::sleep_for(150ms);
    ASSERT_TRUE(log.waitFor("::~NITFFile()"));
    const auto ended = log.with("::~NITFFile()");
    ASSERT_EQ(ended.size(), 1u);
    EXPECT_NE(ended[0].thread, std::this_thread::get_id());
    EXPECT_TRUE(first.expired());
    EXPECT_FALSE(cachedIn(1, keyOf(dir / "a.ntf")));
    EXPECT_FALSE(cachedIn(2, keyOf(dir / "a.ntf")));

    log.clear();
    const auto again = openFile(dir / "a.ntf");
    EXPECT_EQ(log.count("OPEN-L1"), 1u);
    EXPECT_EQ(log.count("CACHE-L2"), 0u);
}

TEST(NITFWarehouse, ReleasingOneOfTwoContextsMovesNothing) {
    ScopedWarehouse settings(100, 300ms);
    TempDir dir;
    writeFile(dir / "a.ntf", headerOnlyFile(false));
    LogCapture log;
    auto kept = openFile(dir / "a.ntf");
    {
        const auto second = openFile(dir / "a.ntf");
        EXPECT_EQ(&second.getFile(), &kept.getFile());
        EXPECT_EQ(log.count("CACHE-L1"), 1u);
    }
    EXPECT_EQ(log.count("MOVE TO L2"), 0u);
    EXPECT_TRUE(cachedIn(1, keyOf(dir / "a.ntf")));
    { const NITFFileContext last = std::move(kept); }
    EXPECT_EQ(log.count("MOVE TO L2"), 1u);
}

TEST(NITFWarehouse, NegativeTimeToLiveKeepsReleasedFilesUntilClearCache) {
    ScopedWarehouse settings(100, -1ms);
    TempDir dir;
    writeFile(dir / "a.ntf", headerOnlyFile(false));
    std::weak_ptr<NITFFile> file;
    { file = weakFile(openFile(dir / "a.ntf")); }
    std::this_thread::sleep_for(250ms);
    EXPECT_TRUE(cachedIn(2, keyOf(dir / "a.ntf")));
    EXPECT_FALSE(file.expired());
    NITFFactory::get().clearCache();
    EXPECT_TRUE(file.expired());
    EXPECT_FALSE(cachedIn(2, keyOf(dir / "a.ntf")));
}

TEST(NITFWarehouse, TypeCacheOfCapacityOneKeepsTheLastPath) {
    ScopedWarehouse settings(1, 300ms);
    NITFWarehouse& warehouse = NITFWarehouse::get();
    warehouse.type_cache_set(L"/first.ntf", NITFType::NITF21);
    EXPECT_EQ(warehouse.type_cache_get(L"/first.ntf"), NITFType::NITF21);
    warehouse.type_cache_set(L"/second.ntf", NITFType::NotNITF);
    EXPECT_EQ(warehouse.type_cache_get(L"/first.ntf"), NITFType::Unknown);
    EXPECT_EQ(warehouse.type_cache_get(L"/second.ntf"), NITFType::NotNITF);
    EXPECT_EQ(warehouse.type_cache_size(), 1u);
}

TEST(NITFWarehouse, TypeCacheEvictsTheLeastRecentlyUsed) {
    ScopedWarehouse settings(2, 300ms);
    NITFWarehouse& warehouse = NITFWarehouse::get();
    warehouse.type_cache_set(L"/a", NITFType::NITF20);
    warehouse.type_cache_set(L"/b", NITFType::NITF21);
    EXPECT_EQ(warehouse.type_cache_get(L"/a"), NITFType::NITF20);  // now the most recent
    warehouse.type_cache_set(L"/c", NITFType::NSIF10);
    EXPECT_EQ(warehouse.type_cache_get(L"/b"), NITFType::Unknown);
    EXPECT_EQ(warehouse.type_cache_get(L"/a"), NITFType::NITF20);
    warehouse.type_cache_set(L"/a", NITFType::NotNITF);  // replaced, not added
    EXPECT_EQ(warehouse.type_cache_size(), 2u);
    EXPECT_EQ(warehouse.type_cache_get(L"/a"), NITFType::NotNITF);
    const auto [hits, misses] = warehouse.type_cache_hits_misses();
    EXPECT_EQ(hits, 3u);
    EXPECT_EQ(misses, 1u);
}

TEST(NITFWarehouse, FailedOpenLeavesOnlyTheNotNitfType) {
    ScopedWarehouse settings(100, 300ms);
    TempDir dir;
    writeFile(dir / "bad.ntf", "NITF02.10 but nothing after that which could parse");
    NITFMessages messages;
    EXPECT_FALSE(NITFFactory::get().open(uriOf(dir / "bad.ntf"), messages));
    EXPECT_EQ(messages.size(), 1u);
    EXPECT_FALSE(cachedIn(1, keyOf(dir / "bad.ntf")));
    EXPECT_FALSE(cachedIn(2, keyOf(dir / "bad.ntf")));
    bool listed = false;
    NITFWarehouse::get().file_cache_visit(
        [&](int, const std::wstring_view& key, const std::shared_ptr<NITFFile>&) {
            listed = listed || key == keyOf(dir / "bad.ntf");
        });
    EXPECT_FALSE(listed);
    EXPECT_EQ(NITFWarehouse::get().type_cache_get(keyOf(dir / "bad.ntf")), NITFType::NotNITF);
}

TEST(NITFWarehouse, CreatedFileEndsAtReleaseAndLogsNothing) {
    LogCapture log;
    std::weak_ptr<NITFFile> file;
    {
        NITFMessages messages;
        const auto context = NITFFactory::create(messages);
        ASSERT_TRUE(context);
        file = weakFile(context);
    }
    EXPECT_TRUE(file.expired());
    EXPECT_EQ(log.count("[CACHE]"), 0u);
}

TEST(NITFWarehouse, CacheLinesNameAddressUseCountAndKey) {
    ScopedWarehouse settings(100, 300ms);
    TempDir dir;
    writeFile(dir / "a.ntf", headerOnlyFile(false));
    const std::string key = std::to_string(keyOf(dir / "a.ntf"));
    LogCapture log;
    {
        const auto context = openFile(dir / "a.ntf");
        const auto second = openFile(dir / "a.ntf");
    }
    const std::string address = "0x[0-9a-f]+";
    const auto lines = log.with("[CACHE]");
    ASSERT_GE(lines.size(), 5u);
    EXPECT_TRUE(std::regex_match(
        lines[0].text, std::regex("\\[CACHE\\] NITFFile\\[" + address + "/1\\] OPEN-L1 / .*")))
        << lines[0].text;
    EXPECT_EQ(lines[0].text.substr(lines[0].text.size() - key.size()), key);
    EXPECT_TRUE(
        std::regex_match(lines[1].text, std::regex("\\[CACHE\\] NITFFileContext\\[" + address +
                                                   "/1\\]::NITFFileContext\\(NEW\\) ")))
        << lines[1].text;
    EXPECT_TRUE(std::regex_match(
        lines[2].text, std::regex("\\[CACHE\\] NITFFile\\[" + address + "/2\\] CACHE-L1 / .*")))
        << lines[2].text;
    EXPECT_TRUE(
        std::regex_match(lines[3].text, std::regex("\\[CACHE\\] NITFFileContext\\[" + address +
                                                   "/2\\]::NITFFileContext\\(CACHE\\) ")))
        << lines[3].text;
    EXPECT_TRUE(std::regex_match(
        lines[4].text, std::regex("\\[CACHE\\] NITFFile\\[" + address + "/2\\] MOVE TO L2")))
        << lines[4].text;
    for (const auto& line : lines) {
        EXPECT_EQ(line.level, 0);
    }
}

TEST(NITFWarehouse, DumpListsOpenedAndClosedFiles) {
    ScopedWarehouse settings(100, -1ms);
    TempDir dir;
    writeFile(dir / "open.ntf", headerOnlyFile(false));
    writeFile(dir / "closed.ntf", headerOnlyFile(false));
    const auto held = openFile(dir / "open.ntf");
    { const auto released = openFile(dir / "closed.ntf"); }
    LogCapture log;
    NITFWarehouse::get().file_cache_log_dump();
    const auto lines = log.with("[CACHE]");
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0].text, "[CACHE] NITFFile_Cache:");
    EXPECT_TRUE(std::regex_match(
        lines[1].text, std::regex("\\[CACHE\\]     FILE opened - .*open\\.ntf = 0x[0-9a-f]+/2")))
        << lines[1].text;
    EXPECT_TRUE(std::regex_match(
        lines[2].text, std::regex("\\[CACHE\\]     FILE closed - .*closed\\.ntf = 0x[0-9a-f]+/1")))
        << lines[2].text;
}

TEST(NITFWarehouse, ClearCacheLogsAndDumps) {
    ScopedWarehouse settings(100, 300ms);
    LogCapture log;
    NITFFactory::get().clearCache();
    EXPECT_EQ(log.count("Clear NITF Warehouse"), 1u);
    EXPECT_EQ(log.count("[CACHE] NITFFile_Cache:"), 1u);
}

TEST(NITFWarehouse, NoCacheLinesWhenTheOptionIsOff) {
    ScopedWarehouse settings(100, 300ms);
    TempDir dir;
    writeFile(dir / "a.ntf", headerOnlyFile(false));
    LogCapture log;
    Tessel::s_opt_lumo_log_cache_usage.override_value(false);
    { const auto context = openFile(dir / "a.ntf"); }
    NITFFactory::get().clearCache();
    EXPECT_EQ(log.count("[CACHE]"), 0u);
    EXPECT_EQ(log.count("Clear NITF Warehouse"), 0u);
}

TEST(NITFWarehouse, FileHeldAcrossClearCacheStillMovesToL2) {
    ScopedWarehouse settings(100, 300ms);
    TempDir dir;
    writeFile(dir / "a.ntf", headerOnlyFile(false));
    std::weak_ptr<NITFFile> file;
    {
        const auto context = openFile(dir / "a.ntf");
        file = weakFile(context);
        NITFFactory::get().clearCache();
        EXPECT_FALSE(cachedIn(1, keyOf(dir / "a.ntf")));
    }
    EXPECT_TRUE(cachedIn(2, keyOf(dir / "a.ntf")));
    const auto again = openFile(dir / "a.ntf");
    EXPECT_EQ(&again.getFile(), file.lock().get());
}

TEST(NITFWarehouse, SettingsFollowTheKindOfProcess) {
    const bool before = lumo_system::is_running_interactive();
    lumo_system::set_running_interactive(true);
    const auto interactive = NITFWarehouse::Settings::fromOptions();
    lumo_system::set_running_interactive(false);
    const auto background = NITFWarehouse::Settings::fromOptions();
    lumo_system::set_running_interactive(before);

    EXPECT_EQ(interactive.mode, "interactive");
    EXPECT_EQ(interactive.typeCacheCapacity,
              static_cast<size_t>(Tessel::s_opt_tessel_warehouse_interactive_type_cache_size()));
    EXPECT_EQ(
        interactive.fileCacheTtl,
        std::chrono::milliseconds(Tessel::s_opt_tessel_warehouse_interactive_file_cache_ttl()));
    EXPECT_EQ(background.mode, "background");
    EXPECT_EQ(background.typeCacheCapacity,
              static_cast<size_t>(Tessel::s_opt_tessel_warehouse_background_type_cache_size()));
    EXPECT_EQ(
        background.fileCacheTtl,
        std::chrono::milliseconds(Tessel::s_opt_tessel_warehouse_background_file_cache_ttl()));
}

TEST(NITFWarehouse, ZeroTimeToLiveTakesTheDefault) {
    ScopedWarehouse settings(100, 0ms);
    TempDir dir;
    writeFile(dir / "a.ntf", headerOnlyFile(false));
    { const auto context = openFile(dir / "a.ntf"); }
    std::this_thread::sleep_for(100ms);
    EXPECT_TRUE(cachedIn(2, keyOf(dir / "a.ntf")));
    EXPECT_GT(lumo_concurrency::ttl_cache_base::default_ttl(), 100ms);
}
