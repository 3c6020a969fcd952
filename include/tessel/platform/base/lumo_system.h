#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// Process and platform services: interactive mode, thread names, environment variables,
// shared modules, and facts about the user, the machine and this library.

#include <filesystem>
#include <string>
#include <string_view>

namespace lumo_system {

// False unless $TESSEL_INTERACTIVE is "1" (read once) or the host said otherwise.
bool is_running_interactive();
void set_running_interactive(bool interactive);

// Names the calling thread. The kernel keeps 15 bytes of UTF-8: longer names are cut at
// a character boundary.
void set_thread_name(const std::wstring_view& name);

// Sets a variable. With overwrite false an existing variable is left alone. True when the
// variable now has this value by this call; false when it was left alone or the name is
// not a valid variable name.
bool set_environment(const std::wstring_view& name, const std::wstring_view& value,
                     const bool& overwrite);
// Appends a value to a ':'-separated list, unless it is one of its entries already.
// False for an empty value or an invalid name.
bool append_environment(const std::wstring_view& name, const std::wstring_view& value);
// Puts a directory in front of a ':'-separated search path, unless it is listed already.
bool add_directory(const std::wstring_view& variable, const std::filesystem::path& directory);

// The file name suffix of shared modules on this platform.
std::wstring get_shared_library_suffix();

struct module_info {
    void* handle = nullptr;
    bool loaded = false;
    std::string error;  // the loader's text when loading failed
};
// Loads a shared module with all its symbols resolved now and kept local to it. Modules
// are never unloaded: objects they registered may live until the process ends.
module_info get_module_info(const std::filesystem::path& module);

// The login name of the process's user, or an empty text when it can't be found.
std::wstring get_user_name();
// The host name of the machine, or an empty text.
std::wstring get_computer_name();

// The absolute folder that holds this library's shared object.
std::filesystem::path library_location();

}  // namespace lumo_system

TESSEL_PUBLIC_END
