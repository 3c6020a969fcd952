#include <cstdio>
#include <nlohmann/json.hpp>

#include "tessel/core/Options.h"
#include "tessel/core/TextForms.h"
#include "tessel/platform/base/nitf_config.h"
#include "tessel/platform/base/text.h"
#include "tools/Commands.h"

namespace tessel_cli {
namespace {

nlohmann::ordered_json toJson(const nitf_config::property& value) {
    if (const auto* number = std::get_if<double>(&value)) {
        return *number;
    }
    if (const auto* text = std::get_if<std::wstring>(&value)) {
        return std::to_string(*text);
    }
    return nullptr;
}

std::string toText(const nitf_config::property& value) {
    if (const auto* number = std::get_if<double>(&value)) {
        return Tessel::ToString(*number);
    }
    if (const auto* text = std::get_if<std::wstring>(&value)) {
        return std::to_string(*text);
    }
    return "";
}

// A value given on the command line: a number when it reads as one, else text.
nitf_config::property parseValue(const std::string& text) {
    const auto decoded = any_type::decode(std::to_wstring(text));
    if (const auto number = any_type::to_double(decoded);
        number &&
        (decoded.index() == any_type::tag_int || decoded.index() == any_type::tag_double)) {
        return *number;
    }
    return std::to_wstring(text);
}

int getValue(const std::wstring& section, const std::string& key, bool asJson) {
    const auto value = nitf_config::read_property(section, std::to_wstring(key));
    if (std::holds_alternative<std::monostate>(value)) {
        return fail("config", "no value for '" + key + "' in " + std::to_string(section));
    }
    std::printf("%s\n", asJson ? toJson(value).dump().c_str() : toText(value).c_str());
    return 0;
}

int listValues(const std::wstring& section, const std::string& pattern, bool asJson) {
    const auto values = nitf_config::read_properties(section, std::to_wstring(pattern));
    nlohmann::ordered_json out = nlohmann::ordered_json::object();
    for (const auto& [key, value] : values) {
        out[std::to_string(key)] = toJson(value);
    }
    if (section == L"Preferences" && asJson) {
        // Also show every option with its default and what the process would use.
        nlohmann::ordered_json options = nlohmann::ordered_json::object();
        for (const auto& registration : nitf_config::option_base::registeredOptions()) {
            const auto fallback = registration.getDefault();
            nlohmann::ordered_json entry;
            entry["default"] = std::holds_alternative<bool>(fallback)
                                   ? nlohmann::ordered_json(std::get<bool>(fallback))
                               : fallback.index() == any_type::tag_int
                                   ? nlohmann::ordered_json(std::get<int64_t>(fallback))
                                   : nlohmann::ordered_json(std::get<double>(fallback));
            options[std::to_string(registration.name)] = entry;
        }
        std::printf("%s\n",
                    nlohmann::ordered_json{{"values", out}, {"options", options}}.dump(2).c_str());
        return 0;
    }
    if (asJson) {
        std::printf("%s\n", out.dump(2).c_str());
        return 0;
    }
    for (const auto& [key, value] : values) {
        std::printf("%s = %s\n", std::to_string(key).c_str(), toText(value).c_str());
    }
    return 0;
}

int runConfig(const Arguments& arguments) {
    const auto& words = arguments.positional;
    if (words.size() < 2) {
        return fail("config", "expected get|set|list SECTION [KEY [VALUE]]");
    }
    const std::string& action = words[0];
    const std::wstring section = std::to_wstring(words[1]);
    const bool asJson = arguments.has("--json");
    if (action == "get" && words.size() == 3) {
        return getValue(section, words[2], asJson);
    }
    if (action == "set" && words.size() == 4) {
        if (!nitf_config::write_property(section, std::to_wstring(words[2]),
                                         parseValue(words[3]))) {
            return fail("config", "cannot write " + nitf_config::store_path().string());
        }
        return 0;
    }
    if (action == "list" && words.size() <= 3) {
        return listValues(section, words.size() == 3 ? words[2] : "*", asJson);
    }
    return fail("config",
                "expected get SECTION KEY, set SECTION KEY VALUE or list SECTION [PATTERN]");
}

}  // namespace

Command configCommand() {
    return {"config", "config get|set|list SECTION [KEY [VALUE]]",
            "Read and write the property store (sections \"Preferences\", \"RasterSensors\").",
            "The store is $TESSEL_CONFIG, else $XDG_CONFIG_HOME/tessel/config.json.\n"
            "list takes an optional pattern with \"*\"; --json prints JSON (for Preferences,\n"
            "with every option's default).",
            runConfig};
}

}  // namespace tessel_cli
