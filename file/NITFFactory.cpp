#include "tessel/file/NITFFactory.h"

#include <fmt/format.h>

#include <array>
#include <filesystem>
#include <list>
#include <mutex>
#include <vector>

#include "file/NITFWarehouse.h"
#include "tessel/file/NITFFile.h"
#include "tessel/image/TilePool.h"
#include "tessel/io/IOPool.h"
#include "tessel/platform/base/lumo_system.h"
#include "tessel/platform/base/nitf_fs.h"
#include "tessel/platform/base/nitf_log.h"
#include "tessel/platform/base/text.h"
#include "tessel/platform/nitf/nitf_PluginRegistry.h"

namespace Tessel {
namespace {

// Filled by static initialisers, before the factory exists; read once by its start.
std::list<NITFFactory::callback_type>& callbacks() {
    static std::list<NITFFactory::callback_type> list;
    return list;
}

void announce(NITFFactory::event_type event) {
    const any_type::value nothing;
    for (const auto& callback : callbacks()) {
        callback(event, nothing);
    }
}

void logLine(int level, const std::string& line) {
    if (nitf_log::is_enabled(level)) {
        nitf_log::write_logln(level, line);
    }
}

// NITRO searches NITF_PLUGIN_PATH by itself at its first use. Pointing it at a file that
// doesn't exist leaves the loading below as the only one.
void neutraliseNitroPluginSearch(const std::vector<std::filesystem::path>& folders) {
    if (!folders.empty()) {
        lumo_system::set_environment(L"NITF_PLUGIN_PATH",
                                     (folders.front() / "not_a_file").wstring(), false);
    }
}

void loadPlugins(const std::vector<std::filesystem::path>& folders) {
    const std::wstring suffix = lumo_system::get_shared_library_suffix();
    for (const auto& folder : folders) {
        for (const auto& plugin : nitf_fs::readDirectory(folder / (L"*" + suffix))) {
            nrt_Error error{};
            nitf_PluginRegistry_loadPlugin(plugin.c_str(), &error);
            if (error.level != 0) {
                logLine(nitf_log::warning, fmt::format("NITF Subsystem: {}", error.message));
            }
        }
    }
}

// Up to the first 10 bytes of a file, through the file layer, which also reaches virtual
// file systems. Empty when nothing can be read.
std::string firstBytes(const std::filesystem::path& path) {
    std::string bytes;
    if (auto file = nitf_fs::ext::open(path, nitf_fs::ext::io_read_only)) {
        bytes.resize(10);
        bytes.resize(file->read(bytes.data(), bytes.size()));
    }
    return bytes;
}

const void* address(const void* object) {
    return object;
}

// A file made to be written: not cached, so its deleter has no key.
class NITFFileNew final : public NITFFile {};

}  // namespace

NITFFactory::NITFFactory() {
    logLine(nitf_log::info, "NITF Subsystem Starting");
    const std::vector<std::filesystem::path> folders =
        nitf_fs::getConfigFolders(std::filesystem::path("bin") / "nitroplugins");
    neutraliseNitroPluginSearch(folders);
    announce(plugins_loading);
    loadPlugins(folders);
    TilePool::get();
    announce(plugins_loaded);
}

NITFFactory& NITFFactory::get() {
    static NITFFactory factory;
    return factory;
}

void NITFFactory::registerCallback(callback_type&& callback) {
    callbacks().push_back(std::move(callback));
}

NITFFileContext NITFFactory::open(const NITFURI& uri, NITFMessages& messages) {
    const std::wstring key = uri.cacheKey();
    NITFFileContext context(uri);
    NITFWarehouse& warehouse = NITFWarehouse::get();
    if (warehouse.type_cache_get(key) == NITFType::NotNITF) {
        return context;
    }
    {
        // Held from the lookup through the construction, so that two threads opening one new
        // path make one file: the second waits, then finds it.
        std::unique_lock lock(warehouse.mutex());
        if (std::shared_ptr<NITFFile> file = warehouse.file_cache_find(key)) {
            lock.unlock();
            context.file_ = std::move(file);
            if (cacheLogEnabled()) {
                cacheLog(fmt::format("[CACHE] NITFFileContext[{:p}/{}]::NITFFileContext(CACHE) ",
                                     address(&context), context.file_.use_count()));
            }
            return context;
        }
        if (nitf_fs::is_regular_file(uri.nativePath())) {
            try {
                std::shared_ptr<NITFFile> file =
                    warehouse.file_cache_create_in_l1(key, uri, messages);
                if (!file) {
                    warehouse.type_cache_set(key, NITFType::NotNITF);
                    return context;
                }
                warehouse.type_cache_set(key, file->getNITFVersion());
                context.file_ = std::move(file);
                if (cacheLogEnabled()) {
                    cacheLog(fmt::format("[CACHE] NITFFileContext[{:p}/{}]::NITFFileContext(NEW) ",
                                         address(&context), context.file_.use_count()));
                }
            } catch (...) {
                // The reason stands in `messages` already.
                warehouse.type_cache_set(key, NITFType::NotNITF);
            }
            return context;
        }
    }
    if (firstBytes(uri.nativePath()).empty()) {
        return context;  // nothing there: a later open tries again
    }
    warehouse.type_cache_set(key, NITFType::NotNITF);
    messages.emplace_back("/NITF Open: No such file or directory");
    return context;
}

NITFFileContext NITFFactory::create(NITFMessages&) {
    NITFFileContext context{NITFURI()};
    try {
        context.file_ = std::shared_ptr<NITFFile>(new NITFFileNew(), NITFFile_Deleter{});
    } catch (...) {
        // An empty context tells the failure.
    }
    return context;
}

bool NITFFactory::isNITFFile(const NITFURI& uri) const {
    return isNITFType(getNITFVersion(uri));
}

NITFType NITFFactory::getNITFVersion(const NITFURI& uri) const {
    const std::wstring key = uri.cacheKey();
    NITFWarehouse& warehouse = NITFWarehouse::get();
    if (const NITFType known = warehouse.type_cache_get(key); known != NITFType::Unknown) {
        return known;
    }
    const std::string bytes = firstBytes(uri.nativePath());
    if (bytes.empty()) {
        return NITFType::NotNITF;  // not remembered: the file may yet appear
    }
    std::array<char, 11> header{};
    bytes.copy(header.data(), header.size() - 1);
    const NITFType type = Str2NITFType(header.data());
    warehouse.type_cache_set(key, type);
    return type;
}

bool NITFFactory::cacheOnExport(const std::wstring_view&, const NITFURI& uri) {
    const std::wstring key = uri.cacheKey();
    NITFMessages discarded;
    NITFWarehouse& warehouse = NITFWarehouse::get();
    // The context's end moves the new file to the second level, where the next open finds it.
    NITFFileContext context(uri, warehouse.file_cache_create_in_l1(key, uri, discarded));
    warehouse.type_cache_set(key, context.getNITFVersion());
    return true;
}

void NITFFactory::clearCache() {
    nitf_fs::clearCache();
    NITFWarehouse& warehouse = NITFWarehouse::get();
    if (cacheLogEnabled()) {
        cacheLog("Clear NITF Warehouse");
        warehouse.file_cache_log_dump();
    }
    warehouse.clear();
    IOPool::Clear(L"");
    TilePool::get()->clearCache(nullptr);
}

}  // namespace Tessel
