#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// The property store: named values grouped by section ("Preferences", "RasterSensors"),
// kept in a JSON document, and the registry of configuration options.

#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <tuple>
#include <typeinfo>
#include <variant>
#include <vector>

#include "tessel/core/any_type.h"

namespace nitf_config {

// A stored property: nothing, a number or text.
using property = std::variant<std::monostate, double, std::wstring>;
using property_map = std::map<std::wstring, property>;

// The store's file: $TESSEL_CONFIG, else $XDG_CONFIG_HOME/tessel/config.json, else
// ~/.config/tessel/config.json. A missing file is an empty store.
std::filesystem::path store_path();

property read_property(const std::wstring_view& section, const std::wstring_view& key);
// Writes go to a temporary file that then replaces the store, so a reader never sees
// half a document. Writing an empty property removes the key.
bool write_property(const std::wstring_view& section, const std::wstring_view& key,
                    const property& value);
// Keys matching a pattern in which "*" stands for any run of characters.
property_map read_properties(const std::wstring_view& section, const std::wstring_view& pattern);
bool write_properties(const std::wstring_view& section, const property_map& values);
// Removes the matching keys; returns how many went.
size_t clear_properties(const std::wstring_view& section, const std::wstring_view& pattern);

// Whether a key matches a "*" pattern (exact otherwise, case respected).
bool matches_pattern(const std::wstring_view& key, const std::wstring_view& pattern);

class option_base {
public:
    using default_getter = std::function<any_type::value()>;
    using current_getter = std::function<std::tuple<any_type::value, any_type::value>()>;

    struct registration {
        std::wstring name;
        const std::type_info* type;
        default_getter getDefault;
        current_getter getCurrent;
    };

    static void registerOption(const wchar_t* name, const std::type_info& type,
                               default_getter getDefault, current_getter getCurrent);
    // Every option registered so far, in registration order.
    static std::vector<registration> registeredOptions();

protected:
    option_base() = default;
    ~option_base() = default;
};

}  // namespace nitf_config

TESSEL_PUBLIC_END
