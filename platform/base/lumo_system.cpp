#include "tessel/platform/base/lumo_system.h"

#include "tessel/platform/base/text.h"

#include <dlfcn.h>
#include <pthread.h>
#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

namespace lumo_system {
namespace {

// Linux keeps thread names of 16 bytes with the terminating zero.
constexpr size_t kThreadNameBytes = 15;

std::atomic<bool>& interactiveFlag() {
    static std::atomic<bool> flag{[] {
        const char* value = std::getenv("TESSEL_INTERACTIVE");
        return value != nullptr && std::strcmp(value, "1") == 0;
    }()};
    return flag;
}

// setenv and getenv of other code can't be guarded; this only keeps our own
// read-modify-write updates from losing each other's changes.
std::mutex& environmentMutex() {
    static std::mutex mutex;
    return mutex;
}

bool isValidVariableName(const std::string& name) {
    return !name.empty() && name.find('=') == std::string::npos &&
           name.find('\0') == std::string::npos;
}

// The longest prefix of at most `limit` bytes that doesn't end inside a UTF-8 sequence.
std::string cutAtCharacter(const std::string& text, size_t limit) {
    if (text.size() <= limit) {
        return text;
    }
    size_t end = limit;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) {
        --end;
    }
    return text.substr(0, end);
}

std::vector<std::string> splitList(const std::string& list) {
    std::vector<std::string> entries;
    size_t start = 0;
    while (start <= list.size()) {
        const size_t end = std::min(list.find(':', start), list.size());
        entries.push_back(list.substr(start, end - start));
        start = end + 1;
    }
    return entries;
}

bool listContains(const char* list, const std::string& entry) {
    if (list == nullptr) {
        return false;
    }
    for (const std::string& item : splitList(list)) {
        if (item == entry) {
            return true;
        }
    }
    return false;
}

// Any address inside this library, for the dynamic linker to place.
void anchor() {}

}  // namespace

bool is_running_interactive() {
    return interactiveFlag().load();
}

void set_running_interactive(bool interactive) {
    interactiveFlag().store(interactive);
}

void set_thread_name(const std::wstring_view& name) {
    std::string narrow = std::to_string(name);
    narrow = narrow.substr(0, narrow.find('\0'));
    pthread_setname_np(pthread_self(), cutAtCharacter(narrow, kThreadNameBytes).c_str());
}

bool set_environment(const std::wstring_view& name, const std::wstring_view& value,
                     const bool& overwrite) {
    const std::string key = std::to_string(name);
    const std::string text = std::to_string(value);
    if (!isValidVariableName(key) || text.find('\0') != std::string::npos) {
        return false;
    }
    std::lock_guard lock(environmentMutex());
    if (!overwrite && std::getenv(key.c_str()) != nullptr) {
        return false;
    }
    return ::setenv(key.c_str(), text.c_str(), 1) == 0;
}

bool append_environment(const std::wstring_view& name, const std::wstring_view& value) {
    const std::string key = std::to_string(name);
    const std::string entry = std::to_string(value);
    if (!isValidVariableName(key) || entry.empty() || entry.find('\0') != std::string::npos) {
        return false;
    }
    std::lock_guard lock(environmentMutex());
    const char* current = std::getenv(key.c_str());
    if (listContains(current, entry)) {
        return true;
    }
    const std::string updated =
        (current == nullptr || *current == '\0') ? entry : std::string(current) + ":" + entry;
    return ::setenv(key.c_str(), updated.c_str(), 1) == 0;
}

bool add_directory(const std::wstring_view& variable, const std::filesystem::path& directory) {
    const std::string key = std::to_string(variable);
    const std::string entry = directory.string();
    if (!isValidVariableName(key) || entry.empty() || entry.find('\0') != std::string::npos) {
        return false;
    }
    std::lock_guard lock(environmentMutex());
    const char* current = std::getenv(key.c_str());
    if (listContains(current, entry)) {
        return true;
    }
    const std::string updated =
        (current == nullptr || *current == '\0') ? entry : entry + ":" + std::string(current);
    return ::setenv(key.c_str(), updated.c_str(), 1) == 0;
}

std::wstring get_shared_library_suffix() {
    return L".so";
}

module_info get_module_info(const std::filesystem::path& module) {
    module_info info;
    if (module.empty()) {
        // dlopen of no name would hand out the program itself.
        info.error = "empty module path";
        return info;
    }
    ::dlerror();
    info.handle = ::dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL);
    info.loaded = info.handle != nullptr;
    if (!info.loaded) {
        const char* text = ::dlerror();
        info.error = text != nullptr ? text : "cannot load " + module.string();
    }
    return info;
}

std::wstring get_user_name() {
    long size = ::sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> buffer(size > 0 ? static_cast<size_t>(size) : 16384);
    passwd entry{};
    passwd* found = nullptr;
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 &&
        found != nullptr && found->pw_name != nullptr) {
        return std::to_wstring(found->pw_name);
    }
    for (const char* variable : {"USER", "LOGNAME"}) {
        if (const char* value = std::getenv(variable)) {
            return std::to_wstring(value);
        }
    }
    return {};
}

std::wstring get_computer_name() {
    char name[HOST_NAME_MAX + 1] = {};
    if (::gethostname(name, sizeof(name) - 1) != 0) {
        return {};
    }
    return std::to_wstring(name);
}

std::filesystem::path library_location() {
    static const std::filesystem::path location = [] {
        Dl_info info{};
        if (::dladdr(reinterpret_cast<void*>(&anchor), &info) == 0 || info.dli_fname == nullptr) {
            return std::filesystem::path();
        }
        std::error_code ec;
        const std::filesystem::path file = std::filesystem::absolute(info.dli_fname, ec);
        return ec ? std::filesystem::path() : file.lexically_normal().parent_path();
    }();
    return location;
}

}  // namespace lumo_system
