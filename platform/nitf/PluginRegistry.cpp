// The process-wide table of TRE handlers: built-in description sets, handlers registered by
// the host, and plug-ins loaded from shared libraries. The first registration of a name wins.
// Registration takes an exclusive lock; lookups a shared one.

#include <dlfcn.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "platform/nitf/tres/BuiltinTREs.h"
#include "tessel/platform/base/nitf_log.h"
#include "tessel/platform/nitf/nitf_PluginRegistry.h"
#include "tessel/platform/nitf/nitf_TREUtils.h"

namespace {

constexpr std::string_view kPluginSuffix = ".so";

// A registered handler function is a plain function pointer, which can't carry the set it
// serves; each description set therefore gets one of these slots, a function returning the
// handler stored at its index.
constexpr std::size_t kSetSlots = 256;

struct Registry {
    nitf_PluginRegistry shared{};
    std::shared_mutex mutex;
    std::unordered_map<std::string, NITF_PLUGIN_TRE_HANDLER_FUNCTION> handlers;
    std::array<nitf_TREHandler, kSetSlots> setHandlers{};
    std::map<const nitf_TREDescriptionSet*, std::size_t> setSlots;
    std::mutex searchMutex;
    std::atomic<bool> searched{false};
};

bool constructTables(nitf_PluginRegistry& shared) {
    nitf_Error error{};
    shared.treHandlers = nitf_HashTable_construct(64, &error);
    shared.compressionHandlers = nitf_HashTable_construct(2, &error);
    shared.decompressionHandlers = nitf_HashTable_construct(2, &error);
    shared.dsos = nitf_List_construct(&error);
    if (shared.treHandlers == nullptr || shared.compressionHandlers == nullptr ||
        shared.decompressionHandlers == nullptr || shared.dsos == nullptr) {
        return false;
    }
    // The tables hold function pointers and library handles, never owned data.
    nitf_HashTable_setPolicy(shared.treHandlers, NITF_DATA_RETAIN_OWNER);
    nitf_HashTable_setPolicy(shared.compressionHandlers, NITF_DATA_RETAIN_OWNER);
    nitf_HashTable_setPolicy(shared.decompressionHandlers, NITF_DATA_RETAIN_OWNER);
    return true;
}

// Never destroyed: plug-ins and handlers stay usable until the process ends.
Registry* registry() {
    static Registry* instance = [] {
        auto* created = new Registry;
        if (!constructTables(created->shared)) {
            delete created;
            return static_cast<Registry*>(nullptr);
        }
        return created;
    }();
    return instance;
}

template <std::size_t N>
nitf_TREHandler* setHandlerSlot(nitf_Error*) {
    return &registry()->setHandlers[N];
}

template <std::size_t... N>
constexpr std::array<NITF_PLUGIN_TRE_HANDLER_FUNCTION, sizeof...(N)> makeSlotFunctions(
    std::index_sequence<N...>) {
    return {&setHandlerSlot<N>...};
}

constexpr auto kSlotFunctions = makeSlotFunctions(std::make_index_sequence<kSetSlots>());

NITF_DATA* asData(NITF_PLUGIN_TRE_HANDLER_FUNCTION handler) {
    return reinterpret_cast<NITF_DATA*>(handler);
}

// Under the exclusive lock. An existing name keeps its handler.
bool insertLocked(Registry& reg, const char* name, NITF_PLUGIN_TRE_HANDLER_FUNCTION handler,
                  nitf_Error* error) {
    if (!reg.handlers.try_emplace(name, handler).second) {
        return true;
    }
    if (!nitf_HashTable_insert(reg.shared.treHandlers, name, asData(handler), error)) {
        reg.handlers.erase(name);
        return false;
    }
    return true;
}

bool noRegistry(nitf_Error* error) {
    nitf_Error_init(error, "the plug-in registry could not be created", NITF_CTXT, NITF_ERR_MEMORY);
    return false;
}

void setPath(nitf_PluginRegistry& shared, const std::string& folder) {
    std::string path = folder;
    if (!path.empty() && path.back() != '/') {
        path += '/';
    }
    std::size_t length = std::min(path.size(), sizeof shared.path - 1);
    std::memcpy(shared.path, path.data(), length);
    shared.path[length] = '\0';
}

thread_local bool searchingHere = false;

// Loads the plug-ins of $NITF_PLUGIN_PATH once. A plug-in that asks for the registry while
// it loads gets it without waiting for the search it is part of.
void searchPluginPath(Registry& reg) {
    if (reg.searched.load(std::memory_order_acquire) || searchingHere) {
        return;
    }
    std::lock_guard lock(reg.searchMutex);
    if (reg.searched.load(std::memory_order_relaxed)) {
        return;
    }
    searchingHere = true;
    const char* folder = std::getenv(NITF_PLUGIN_PATH);
    if (folder != nullptr && *folder != '\0') {
        setPath(reg.shared, folder);
        std::error_code code;
        if (std::filesystem::is_directory(folder, code)) {
            nitf_Error error{};
            nitf_PluginRegistry_loadDir(folder, &error);
        }
    }
    searchingHere = false;
    reg.searched.store(true, std::memory_order_release);
}

// The file name without its folder and without the ".so" suffix: the plug-in's prefix.
std::string pluginPrefix(std::string_view path) {
    std::size_t slash = path.rfind('/');
    std::string_view name = slash == std::string_view::npos ? path : path.substr(slash + 1);
    if (name.size() > kPluginSuffix.size() && name.ends_with(kPluginSuffix)) {
        name.remove_suffix(kPluginSuffix.size());
    }
    return std::string(name);
}

std::string handlerSymbol(std::string name) {
    std::replace(name.begin(), name.end(), ' ', '_');
    return name + NITF_PLUGIN_HOOK_SUFFIX;
}

const char* lastDlError() {
    const char* text = dlerror();
    return text != nullptr ? text : "unknown reason";
}

bool failPlugin(void* library, nitf_Error* error, int code, const std::string& message) {
    if (library != nullptr) {
        dlclose(library);
    }
    nitf_Error_init(error, message.c_str(), NITF_CTXT, code);
    return false;
}

}  // namespace

extern "C" {

nitf_PluginRegistry* nitf_PluginRegistry_getInstance(nitf_Error* error) {
    Registry* reg = registry();
    if (reg == nullptr) {
        noRegistry(error);
        return nullptr;
    }
    [[maybe_unused]] static const bool builtins = (tessel_registerBuiltinTREs(error), true);
    searchPluginPath(*reg);
    return &reg->shared;
}

NITF_BOOL nitf_PluginRegistry_registerTREHandler(NITF_PLUGIN_INIT_FUNCTION init,
                                                 NITF_PLUGIN_TRE_HANDLER_FUNCTION handler,
                                                 nitf_Error* error) {
    Registry* reg = registry();
    if (reg == nullptr) {
        return noRegistry(error);
    }
    if (init == nullptr || handler == nullptr) {
        nitf_Error_init(error, "TRE handler registration needs an init and a handler function",
                        NITF_CTXT, NITF_ERR_INVALID_PARAMETER);
        return false;
    }
    const char** ident = init(error);
    if (ident == nullptr || ident[0] == nullptr) {
        if (error != nullptr && error->level == NITF_NO_ERR) {
            nitf_Error_init(error, "TRE handler init gave no identifiers", NITF_CTXT,
                            NITF_ERR_INVALID_OBJECT);
        }
        return false;
    }
    if (std::strcmp(ident[0], NITF_PLUGIN_TRE_KEY) != 0) {
        nitf_Error_initf(error, NITF_CTXT, NITF_ERR_INVALID_OBJECT,
                         "TRE handler key is %s, expected %s", ident[0], NITF_PLUGIN_TRE_KEY);
        return false;
    }
    std::unique_lock lock(reg->mutex);
    for (int i = 1; ident[i] != nullptr; ++i) {
        if (!insertLocked(*reg, ident[i], handler, error)) {
            return false;
        }
    }
    return true;
}

NITF_BOOL nitf_PluginRegistry_registerDescriptionSet(const char* name, nitf_TREDescriptionSet* set,
                                                     nitf_Error* error) {
    Registry* reg = registry();
    if (reg == nullptr) {
        return noRegistry(error);
    }
    if (name == nullptr || *name == '\0') {
        nitf_Error_init(error, "a description set needs a TRE name", NITF_CTXT,
                        NITF_ERR_INVALID_PARAMETER);
        return false;
    }
    std::unique_lock lock(reg->mutex);
    if (reg->handlers.contains(name)) {
        return true;  // the first registration of a name wins
    }
    auto slot = reg->setSlots.find(set);
    if (slot == reg->setSlots.end()) {
        std::size_t next = reg->setSlots.size();
        if (next == kSetSlots) {
            nitf_Error_initf(error, NITF_CTXT, NITF_ERR_INVALID_OBJECT,
                             "no room for the description set of %s: %zu sets are registered", name,
                             kSetSlots);
            return false;
        }
        if (nitf_TREUtils_createBasicHandler(set, &reg->setHandlers[next], error) == nullptr) {
            return false;
        }
        slot = reg->setSlots.emplace(set, next).first;
    }
    return insertLocked(*reg, name, kSlotFunctions[slot->second], error);
}

nitf_TREHandler* nitf_PluginRegistry_retrieveTREHandler(nitf_PluginRegistry* reg, const char* ident,
                                                        int* hadError, nitf_Error* error) {
    if (hadError != nullptr) {
        *hadError = 0;
    }
    Registry* state = registry();
    if (reg == nullptr || ident == nullptr || state == nullptr) {
        return nullptr;
    }
    NITF_PLUGIN_TRE_HANDLER_FUNCTION function = nullptr;
    {
        std::shared_lock lock(state->mutex);
        auto found = state->handlers.find(ident);
        if (found == state->handlers.end()) {
            return nullptr;
        }
        function = found->second;
    }
    nitf_TREHandler* handler = function(error);
    if (handler == nullptr && hadError != nullptr) {
        *hadError = 1;
        if (error != nullptr && error->level == NITF_NO_ERR) {
            nitf_Error_initf(error, NITF_CTXT, NITF_ERR_INVALID_OBJECT,
                             "the handler of TRE %s could not be created", ident);
        }
    }
    return handler;
}

NITF_BOOL nitf_PluginRegistry_TREHandlerExists(const char* ident) {
    nitf_Error error{};
    if (nitf_PluginRegistry_getInstance(&error) == nullptr || ident == nullptr) {
        return false;
    }
    Registry* reg = registry();
    std::shared_lock lock(reg->mutex);
    return reg->handlers.contains(ident);
}

NITF_BOOL nitf_PluginRegistry_loadPlugin(const char* fullPathName, nitf_Error* error) {
    if (fullPathName == nullptr || *fullPathName == '\0') {
        nitf_Error_init(error, "loadPlugin: no plug-in path", NITF_CTXT,
                        NITF_ERR_INVALID_PARAMETER);
        return false;
    }
    Registry* reg = registry();
    if (nitf_PluginRegistry_getInstance(error) == nullptr) {
        return false;
    }
    void* library = dlopen(fullPathName, RTLD_LAZY | RTLD_LOCAL);
    if (library == nullptr) {
        return failPlugin(
            nullptr, error, NITF_ERR_LOADING_DLL,
            fmt::format("Unable to load plug-in {}: {}", fullPathName, lastDlError()));
    }
    std::string initName = pluginPrefix(fullPathName) + NITF_PLUGIN_INIT_SUFFIX;
    auto init = reinterpret_cast<NITF_PLUGIN_INIT_FUNCTION>(dlsym(library, initName.c_str()));
    if (init == nullptr) {
        return failPlugin(library, error, NITF_ERR_RETRIEVING_DLL_HOOK,
                          fmt::format("Plug-in {} has no function {}", fullPathName, initName));
    }
    const char** ident = init(error);
    if (ident == nullptr || ident[0] == nullptr) {
        return failPlugin(library, error, NITF_ERR_INVALID_OBJECT,
                          fmt::format("Plug-in {} gave no identifiers", fullPathName));
    }
    if (std::strcmp(ident[0], NITF_PLUGIN_TRE_KEY) != 0) {
        return failPlugin(library, error, NITF_ERR_INVALID_OBJECT,
                          fmt::format("Plug-in {} has the identity {}; only {} plug-ins load",
                                      fullPathName, ident[0], NITF_PLUGIN_TRE_KEY));
    }
    std::vector<std::pair<const char*, NITF_PLUGIN_TRE_HANDLER_FUNCTION>> hooks;
    for (int i = 1; ident[i] != nullptr; ++i) {
        std::string symbol = handlerSymbol(ident[i]);
        auto hook =
            reinterpret_cast<NITF_PLUGIN_TRE_HANDLER_FUNCTION>(dlsym(library, symbol.c_str()));
        if (hook == nullptr) {
            return failPlugin(library, error, NITF_ERR_RETRIEVING_DLL_HOOK,
                              fmt::format("Plug-in {} has no function {} for TRE {}", fullPathName,
                                          symbol, ident[i]));
        }
        hooks.emplace_back(ident[i], hook);
    }
    std::unique_lock lock(reg->mutex);
    if (!nitf_List_pushBack(reg->shared.dsos, library, error)) {
        return false;
    }
    for (const auto& [name, hook] : hooks) {
        if (!insertLocked(*reg, name, hook, error)) {
            return false;
        }
    }
    return true;
}

NITF_BOOL nitf_PluginRegistry_loadDir(const char* dirName, nitf_Error* error) {
    namespace fs = std::filesystem;
    std::error_code code;
    std::vector<std::string> plugins;
    fs::directory_iterator entries(dirName != nullptr ? dirName : "", code);
    if (dirName == nullptr || code) {
        nitf_Error_initf(error, NITF_CTXT, NITF_ERR_OPENING_FILE,
                         "Unable to read the plug-in folder %s", dirName != nullptr ? dirName : "");
        return false;
    }
    for (const fs::directory_entry& entry : entries) {
        std::string name = entry.path().filename().string();
        if (name.size() > kPluginSuffix.size() && name.ends_with(kPluginSuffix) &&
            entry.is_regular_file(code)) {
            plugins.push_back(entry.path().string());
        }
    }
    std::sort(plugins.begin(), plugins.end());
    for (const std::string& plugin : plugins) {
        nitf_Error pluginError{};
        if (!nitf_PluginRegistry_loadPlugin(plugin.c_str(), &pluginError)) {
            nitf_log::write_logln(nitf_log::warning,
                                  fmt::format("NITF plug-in skipped: {}", pluginError.message));
        }
    }
    return true;
}

}  // extern "C"
