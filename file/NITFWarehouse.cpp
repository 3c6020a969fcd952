#include "file/NITFWarehouse.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <vector>

#include "tessel/core/Options.h"
#include "tessel/file/NITFFile.h"
#include "tessel/platform/base/lumo_system.h"
#include "tessel/platform/base/nitf_log.h"
#include "tessel/platform/base/text.h"

namespace Tessel {
namespace {

std::atomic<bool> s_warehouseAlive{false};

const void* address(const void* object) {
    return object;
}

std::string narrow(const std::wstring_view& key) {
    return std::to_string(key);
}

// A cached file knows its key, so that its end can clear its level-1 entry.
class NITFFileMakeShared final : public NITFFile {
public:
    NITFFileMakeShared(const NITFURI& uri, NITFMessages& messages, const std::wstring_view& key)
        : NITFFile(uri, messages), key_(key) {}

    ~NITFFileMakeShared() override {
        if (cacheLogEnabled()) {
            cacheLog(fmt::format("[CACHE] NITFFile[{:p}]::~NITFFile()", address(this)));
        }
        if (NITFWarehouse::alive()) {
            NITFWarehouse::get().file_ended(key_);
        }
    }

    NITFFileMakeShared(const NITFFileMakeShared&) = delete;
    NITFFileMakeShared& operator=(const NITFFileMakeShared&) = delete;

private:
    std::wstring key_;
};

// Both references name the same file (or `entry` names a file that is gone).
bool refersTo(const std::weak_ptr<NITFFile>& entry, const std::shared_ptr<NITFFile>& file) {
    return entry.expired() || (!entry.owner_before(file) && !file.owner_before(entry));
}

}  // namespace

void NITFFile_Deleter::operator()(NITFFile* file) const {
    delete file;
}

bool cacheLogEnabled() {
    return nitf_log::is_enabled(nitf_log::info) && s_opt_lumo_log_cache_usage();
}

void cacheLog(const std::string& line) {
    nitf_log::write_logln(nitf_log::info, line);
}

NITFWarehouse::Settings NITFWarehouse::Settings::fromOptions() {
    const bool interactive = lumo_system::is_running_interactive();
    const int capacity = interactive ? s_opt_tessel_warehouse_interactive_type_cache_size()
                                     : s_opt_tessel_warehouse_background_type_cache_size();
    const int ttlMilliseconds = interactive ? s_opt_tessel_warehouse_interactive_file_cache_ttl()
                                            : s_opt_tessel_warehouse_background_file_cache_ttl();
    return {interactive ? "interactive" : "background",
            capacity > 0 ? static_cast<size_t>(capacity) : 0,
            std::chrono::nanoseconds(static_cast<int64_t>(ttlMilliseconds) * 1000000)};
}

NITFWarehouse& NITFWarehouse::get() {
    static NITFWarehouse warehouse(Settings::fromOptions());
    return warehouse;
}

bool NITFWarehouse::alive() {
    return s_warehouseAlive.load(std::memory_order_acquire);
}

NITFWarehouse::NITFWarehouse(const Settings& settings)
    : typeCacheCapacity_(settings.typeCacheCapacity),
      l2_(std::make_unique<FileCache>(settings.fileCacheTtl)),
      settings_(settings) {
    logSettings();
    s_warehouseAlive.store(true, std::memory_order_release);
}

NITFWarehouse::~NITFWarehouse() {
    if (cacheLogEnabled()) {
        cacheLog("Closeout NITF Warehouse");
        file_cache_log_dump();
    }
    // The sweeping thread may still be running at exit: it must not reach the tables while
    // they go. A sweep under way is waited for, and it takes no lock that is held here.
    FileCache::unregister_storage(&l2_->storage());
    std::vector<std::shared_ptr<NITFFile>> idle;
    l2_->sweep_if([&idle](const std::wstring&, const std::shared_ptr<NITFFile>& file) {
        idle.push_back(file);
        return true;
    });
    s_warehouseAlive.store(false, std::memory_order_release);
    idle.clear();  // files still warm at process end close here, with no lock held
}

void NITFWarehouse::logSettings() const {
    if (!nitf_log::is_enabled(nitf_log::info)) {
        return;
    }
    nitf_log::write_logln(
        nitf_log::info,
        fmt::format(
            "NITF Warehouse Type Cache Size (tessel.warehouse.{}_type_cache.size): {} items",
            settings_.mode, typeCacheCapacity_));
    nitf_log::write_logln(
        nitf_log::info,
        fmt::format(
            "NITF Warehouse File Cache Time To Live (tessel.warehouse.{}_file_cache.ttl): {}",
            settings_.mode, l2_->ttl()));
}

NITFType NITFWarehouse::type_cache_get(const std::wstring_view& key) {
    std::lock_guard lock(mutex_);
    const auto found = typeMap_.find(key);
    if (found == typeMap_.end()) {
        ++misses_;
        return NITFType::Unknown;
    }
    typeList_.splice(typeList_.begin(), typeList_, found->second);
    ++hits_;
    return found->second->second;
}

void NITFWarehouse::type_cache_set(const std::wstring_view& key, const NITFType& type) {
    std::lock_guard lock(mutex_);
    typeList_.emplace_front(std::wstring(key), type);
    if (const auto old = typeMap_.find(key); old != typeMap_.end()) {
        typeList_.erase(old->second);
        typeMap_.erase(old);
    }
    typeMap_.emplace(typeList_.front().first, typeList_.begin());
    if (typeList_.size() > typeCacheCapacity_) {
        typeMap_.erase(typeList_.back().first);
        typeList_.pop_back();
    }
}

std::shared_ptr<NITFFile> NITFWarehouse::file_cache_create_in_l1(const std::wstring_view& key,
                                                                 const NITFURI& uri,
                                                                 NITFMessages& messages) {
    std::lock_guard lock(mutex_);
    file_cache_remove(key);
    std::shared_ptr<NITFFile> file(new NITFFileMakeShared(uri, messages, key),
                                   NITFFile_Deleter{std::wstring(key)});
    l1_.emplace(std::wstring(key), file);
    if (cacheLogEnabled()) {
        cacheLog(fmt::format("[CACHE] NITFFile[{:p}/{}] OPEN-L1 / {}", address(file.get()),
                             file.use_count(), narrow(key)));
    }
    return file;
}

void NITFWarehouse::file_cache_remove(const std::wstring_view& key) {
    std::lock_guard lock(mutex_);
    if (const auto found = l1_.find(key); found != l1_.end()) {
        l1_.erase(found);
    }
    l2_->sweep_if([key](const std::wstring& entryKey, const std::shared_ptr<NITFFile>&) {
        return entryKey == key;
    });
}

void NITFWarehouse::file_cache_visit(Visitor&& visitor) {
    std::lock_guard lock(mutex_);
    // A file locked here may lose its last other owner meanwhile, and its end erases its
    // level-1 entry: the table isn't walked while the visitor runs.
    std::vector<std::pair<std::wstring, std::shared_ptr<NITFFile>>> open;
    open.reserve(l1_.size());
    for (const auto& [key, weak] : l1_) {
        open.emplace_back(key, weak.lock());
    }
    for (const auto& [key, file] : open) {
        visitor(1, key, file);
    }
    l2_->visit([&visitor](const FileCache::entry& entry) { visitor(2, entry.key, entry.value); });
}

void NITFWarehouse::file_cache_log_dump() {
    if (!cacheLogEnabled()) {
        return;
    }
    cacheLog("[CACHE] NITFFile_Cache:");
    file_cache_visit([](int state, const std::wstring_view& key,
                        const std::shared_ptr<NITFFile>& file) {
        cacheLog(fmt::format("[CACHE]     FILE {} - {} = {:p}/{}", state == 1 ? "opened" : "closed",
                             narrow(key), address(file.get()), file ? file.use_count() : 0));
    });
}

std::shared_ptr<NITFFile> NITFWarehouse::file_cache_find(const std::wstring_view& key) {
    std::lock_guard lock(mutex_);
    if (const auto found = l1_.find(key); found != l1_.end()) {
        if (std::shared_ptr<NITFFile> file = found->second.lock()) {
            if (cacheLogEnabled()) {
                cacheLog(fmt::format("[CACHE] NITFFile[{:p}/{}] CACHE-L1 / {}", address(file.get()),
                                     file.use_count(), narrow(key)));
            }
            return file;
        }
    }
    std::optional<std::shared_ptr<NITFFile>> idle = l2_->take(std::wstring(key));
    if (!idle || !*idle) {
        return {};
    }
    std::shared_ptr<NITFFile> file = std::move(*idle);
    l1_.insert_or_assign(std::wstring(key), file);
    if (cacheLogEnabled()) {
        cacheLog(fmt::format("[CACHE] NITFFile[{:p}/{}] CACHE-L2 / {}", address(file.get()),
                             file.use_count(), narrow(key)));
    }
    return file;
}

void NITFWarehouse::file_cache_release(const std::wstring& key, std::shared_ptr<NITFFile>& file) {
    {
        std::lock_guard lock(mutex_);
        // Another thread may have taken the file from level 1 since the caller looked.
        if (file.use_count() != 1) {
            file.reset();
            return;
        }
        // After a clearCache the key may name a newer file: its entry stays.
        if (const auto found = l1_.find(key); found != l1_.end() && refersTo(found->second, file)) {
            l1_.erase(found);
        }
    }
    l2_->sweep_if([&key](const std::wstring& entryKey, const std::shared_ptr<NITFFile>&) {
        return entryKey == key;
    });
    l2_->insert(key, file);  // an entry of the key made meanwhile stays, with its time stamp
    if (cacheLogEnabled()) {
        cacheLog(fmt::format("[CACHE] NITFFile[{:p}/{}] MOVE TO L2", address(file.get()),
                             file.use_count()));
    }
    file.reset();
}

void NITFWarehouse::clear() {
    std::vector<std::shared_ptr<NITFFile>> idle;
    ProfileTables profiles;
    {
        std::lock_guard lock(mutex_);
        std::swap(profiles, profiles_);
        typeMap_.clear();
        typeList_.clear();
        l1_.clear();
        l2_->sweep_if([&idle](const std::wstring&, const std::shared_ptr<NITFFile>& file) {
            idle.push_back(file);
            return true;
        });
    }
    // `idle` goes here: the files that only level 2 held close outside the locks.
}

void NITFWarehouse::file_ended(const std::wstring& key) {
    std::lock_guard lock(mutex_);
    // Only the entry of the file that ends goes: a newer file of the same path keeps its
    // entry. Level 2 can't hold the file any more, since an entry there would keep it alive.
    if (const auto found = l1_.find(key); found != l1_.end() && found->second.expired()) {
        l1_.erase(found);
    }
}

NITFWarehouse::Settings NITFWarehouse::settings() const {
    std::lock_guard lock(mutex_);
    return settings_;
}

std::pair<uint64_t, uint64_t> NITFWarehouse::type_cache_hits_misses() const {
    std::lock_guard lock(mutex_);
    return {hits_, misses_};
}

size_t NITFWarehouse::type_cache_size() const {
    std::lock_guard lock(mutex_);
    return typeList_.size();
}

void NITFWarehouse::resetForTesting(const Settings& settings) {
    NITFWarehouse& warehouse = get();
    std::unique_ptr<FileCache> old;
    {
        std::lock_guard lock(warehouse.mutex_);
        warehouse.typeMap_.clear();
        warehouse.typeList_.clear();
        warehouse.hits_ = 0;
        warehouse.misses_ = 0;
        warehouse.l1_.clear();
        warehouse.profiles_ = ProfileTables();
        warehouse.typeCacheCapacity_ = settings.typeCacheCapacity;
        warehouse.settings_ = settings;
        old = std::move(warehouse.l2_);
        warehouse.l2_ = std::make_unique<FileCache>(settings.fileCacheTtl);
    }
    // The old level 2 unregisters and lets its files go here, outside the warehouse lock,
    // since a sweep under way may be waiting for that lock in a file's end.
    old.reset();
}

}  // namespace Tessel
