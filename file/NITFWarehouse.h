#pragma once

#include "tessel/core/Visibility.h"
TESSEL_INTERNAL_BEGIN
// The process-wide cache of the file model: the type of each path seen, the files open now
// (level 1, weak references) and the files closed a moment ago (level 2, kept alive for a
// time to live). Reached through NITFFactory and NITFFileContext only.
//
// Locks: the warehouse's recursive mutex, then the level-2 storage's own mutex, in that
// order. File construction runs under the warehouse mutex, so that a second opener of a path
// waits and then finds the file. Files leave level 2 and die outside the storage's mutex.

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tessel/core/NITFMessages.h"
#include "tessel/core/NITFType.h"
#include "tessel/core/NITFURI.h"
#include "tessel/platform/base/lumo_concurrency.h"

namespace Tessel {

class NITFFile;
class NITFProductProfile;

// The deleter of every file the factory gives out; it carries the cache key, which is empty
// for a file that is never cached.
struct NITFFile_Deleter {
    std::wstring key;
    void operator()(NITFFile* file) const;
};

// Whether "[CACHE]" lines are written: lumo.log.cache_usage is on and information is logged.
bool cacheLogEnabled();
void cacheLog(const std::string& line);

// The product profiles: in priority order (highest first), by name, by alias, and where
// each came from (a file, or "built-in"). Filled once on first use, under the warehouse lock.
struct ProfileTables {
    std::vector<std::pair<int, std::shared_ptr<NITFProductProfile>>> ordered;
    std::map<std::wstring, std::shared_ptr<NITFProductProfile>, std::less<>> byName;
    std::map<std::wstring, std::wstring, std::less<>> aliases;
    std::map<std::wstring, std::wstring, std::less<>> origins;
    bool loaded = false;
};

class NITFWarehouse {
public:
    using FileCache = lumo_concurrency::ttl_cache<std::wstring, std::shared_ptr<NITFFile>>;
    using Visitor = std::function<void(int state, const std::wstring_view& key,
                                       const std::shared_ptr<NITFFile>&)>;

    // The sizes and times the warehouse works with.
    struct Settings {
        std::string mode;                       // "interactive" or "background"
        size_t typeCacheCapacity;               // entries of the type cache
        std::chrono::nanoseconds fileCacheTtl;  // 0: the default; negative: never swept

        // From the options of the interactive or the background set, decided once.
        static Settings fromOptions();
    };

    // Made on first use from the options.
    static NITFWarehouse& get();
    // False before the warehouse is made and after it has been destroyed.
    static bool alive();

    ~NITFWarehouse();
    NITFWarehouse(const NITFWarehouse&) = delete;
    NITFWarehouse& operator=(const NITFWarehouse&) = delete;

    // The remembered type of a key, or Unknown (0) on a miss.
    NITFType type_cache_get(const std::wstring_view& key);
    void type_cache_set(const std::wstring_view& key, const NITFType& type);

    // Parses the file under the warehouse lock and enters it into level 1. Exceptions of
    // the construction leave the function with the tables untouched.
    std::shared_ptr<NITFFile> file_cache_create_in_l1(const std::wstring_view& key,
                                                      const NITFURI& uri, NITFMessages& messages);
    // Forgets the key in level 1 and level 2.
    void file_cache_remove(const std::wstring_view& key);
    // Calls `visitor` with state 1 for each level-1 entry (the pointer may be empty), then
    // with state 2 for each level-2 entry.
    void file_cache_visit(Visitor&& visitor);
    void file_cache_log_dump();

    // The file of the key from level 1, or moved from level 2 into level 1; empty when
    // neither has it. The caller holds the warehouse lock when it means to construct the file
    // on a miss.
    std::shared_ptr<NITFFile> file_cache_find(const std::wstring_view& key);
    // Hands the last reference of a context to level 2, unless another thread has just taken
    // the file; `file` is empty afterwards.
    void file_cache_release(const std::wstring& key, std::shared_ptr<NITFFile>& file);
    // Forgets every table; the files that only level 2 held die after the lock is released.
    void clear();
    // A cached file's destructor: its level-1 entry, now expired, goes.
    void file_ended(const std::wstring& key);

    std::recursive_mutex& mutex() { return mutex_; }
    // The profile tables; the caller holds the warehouse lock.
    ProfileTables& profiles() { return profiles_; }
    Settings settings() const;
    std::pair<uint64_t, uint64_t> type_cache_hits_misses() const;
    size_t type_cache_size() const;

    // Tests only, while no other thread uses the warehouse: forgets everything and starts
    // again with other settings.
    static void resetForTesting(const Settings& settings);

private:
    explicit NITFWarehouse(const Settings& settings);

    void logSettings() const;

    mutable std::recursive_mutex mutex_;
    size_t typeCacheCapacity_;
    uint64_t hits_ = 0;
    uint64_t misses_ = 0;
    std::list<std::pair<std::wstring, NITFType>> typeList_;
    std::map<std::wstring, decltype(typeList_)::iterator, std::less<>> typeMap_;
    std::unique_ptr<FileCache> l2_;
    std::map<std::wstring, std::weak_ptr<NITFFile>, std::less<>> l1_;
    Settings settings_;
    ProfileTables profiles_;
};

}  // namespace Tessel

TESSEL_INTERNAL_END
