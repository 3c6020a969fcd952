#include "image/J2KRules.h"

#include <fmt/format.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>
#include <string_view>

#include "tessel/platform/base/nitf_fs.h"
#include "tessel/platform/base/nitf_log.h"

namespace Tessel {

namespace detail_j2k_rules {

const std::vector<std::pair<std::string_view, uint32_t>>& ruleNames() {
    static const std::vector<std::pair<std::string_view, uint32_t>> names{
        {"Priority", J2KRule::priority},
        {"Order", J2KRule::order},
        {"Reversible", J2KRule::reversible},
        {"Level", J2KRule::level},
        {"Type", J2KRule::type},
        {"Index", J2KRule::index},
        {"File", J2KRule::file}};
    return names;
}

std::string_view nameOfKey(uint32_t key) {
    for (const auto& [name, value] : ruleNames()) {
        if (value == key) {
            return name;
        }
    }
    return "?";
}

// A whole decimal number, with an optional "+", becomes a number; anything else a string.
nlohmann::ordered_json conditionValue(const std::string& text) {
    std::string_view digits = text;
    if (!digits.empty() && digits.front() == '+') {
        digits.remove_prefix(1);
    }
    const bool whole =
        !digits.empty() && digits.size() < 18 &&
        std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; });
    if (!whole) {
        return text;
    }
    return std::stoll(std::string(digits));
}

std::vector<std::string> split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::string part;
    std::istringstream in(text);
    while (std::getline(in, part, separator)) {
        parts.push_back(part);
    }
    if (!text.empty() && text.back() == separator) {
        parts.emplace_back();
    }
    return parts;
}

J2KRule ruleOf(const std::string& key, const nlohmann::ordered_json& value) {
    J2KRule rule;
    rule.value = value;
    for (const std::string& part : split(key, ';')) {
        const std::vector<std::string> pieces = split(part, '=');
        if (pieces.size() != 2) {
            continue;
        }
        for (const auto& [name, number] : ruleNames()) {
            if (pieces[0] == name) {
                rule.set(number, conditionValue(pieces[1]));
            }
        }
    }
    return rule;
}

// Objects merge key by key, recursively; anything else replaces.
void mergeInto(nlohmann::ordered_json& target, const nlohmann::ordered_json& source) {
    if (!target.is_object() || !source.is_object()) {
        target = source;
        return;
    }
    for (const auto& [key, value] : source.items()) {
        if (target.contains(key) && target[key].is_object() && value.is_object()) {
            mergeInto(target[key], value);
        } else {
            target[key] = value;
        }
    }
}

const char* orderName(int order) {
    static const char* const names[] = {"LRCP", "RLCP", "RPCL", "PCRL", "CPRL"};
    return order >= 0 && order < 5 ? names[order] : "";
}

bool conditionHolds(uint32_t key, const nlohmann::ordered_json& value,
                    const J2KRuleSubject& subject) {
    switch (key) {
        case J2KRule::order:
            return value.is_string() && value.get<std::string>() == orderName(subject.corder);
        case J2KRule::reversible:
            return value.is_number() && (value.get<double>() != 0) == (subject.creversible != 0);
        case J2KRule::level:
            return value.is_number() && value.get<double>() == subject.level;
        case J2KRule::index:
            return value.is_number() && value.get<double>() == subject.index;
        case J2KRule::file:
            if (!value.is_string()) {
                return false;
            }
            try {
                return std::regex_match(subject.path, std::regex(value.get<std::string>()));
            } catch (const std::regex_error& error) {
                nitf_log::write_logln(nitf_log::error,
                                      fmt::format("J2K Rule Regex Error: {}", error.what()));
                return false;
            }
        default:
            return true;
    }
}

bool ruleMatches(const J2KRule& rule, const J2KRuleSubject& subject) {
    for (const auto& [key, value] : rule.conditions) {
        if (key != J2KRule::priority && key != J2KRule::type &&
            !conditionHolds(key, value, subject)) {
            return false;
        }
    }
    return true;
}

}  // namespace detail_j2k_rules

using namespace detail_j2k_rules;

const nlohmann::ordered_json* J2KRule::find(uint32_t key) const {
    for (const auto& [entryKey, entry] : conditions) {
        if (entryKey == key) {
            return &entry;
        }
    }
    return nullptr;
}

void J2KRule::set(uint32_t key, nlohmann::ordered_json entry) {
    auto place = std::find_if(conditions.begin(), conditions.end(),
                              [key](const auto& item) { return item.first >= key; });
    if (place != conditions.end() && place->first == key) {
        place->second = std::move(entry);
    } else {
        conditions.emplace(place, key, std::move(entry));
    }
}

std::string J2KRule::text() const {
    std::string out;
    for (const auto& [key, condition] : conditions) {
        out += (out.empty() ? "" : ";") +
               fmt::format("{}={}", nameOfKey(key),
                           condition.is_string() ? condition.get<std::string>() : condition.dump());
    }
    return out;
}

std::vector<J2KRule> buildJ2KRules(const std::vector<std::filesystem::path>& folders) {
    nlohmann::ordered_json merged = nlohmann::ordered_json::object();
    for (const auto& folder : folders) {
        const std::filesystem::path path = folder / "j2k.json";
        if (!nitf_fs::is_regular_file(path)) {
            continue;
        }
        std::ifstream in(path, std::ios::binary);
        const std::string text((std::istreambuf_iterator<char>(in)),
                               std::istreambuf_iterator<char>());
        nlohmann::ordered_json parsed;
        try {
            parsed = nlohmann::ordered_json::parse(text);
        } catch (const nlohmann::json::exception& error) {
            nitf_log::write_logln(nitf_log::error, fmt::format("Config Error: '{}', {}",
                                                               path.string(), error.what()));
            continue;
        }
        if (parsed.is_object()) {
            parsed.erase("c");
            mergeInto(merged, parsed);
        }
    }
    std::vector<J2KRule> rules;
    for (const auto& [key, value] : merged.items()) {
        rules.push_back(ruleOf(key, value));
    }
    std::stable_sort(rules.begin(), rules.end(), [](const J2KRule& a, const J2KRule& b) {
        const auto* pa = a.find(J2KRule::priority);
        const auto* pb = b.find(J2KRule::priority);
        return pa != nullptr && pb != nullptr && pa->is_number() && pb->is_number() &&
               pa->get<double>() > pb->get<double>();
    });
    return rules;
}

const std::vector<J2KRule>& j2kRules(size_t inventory) {
    static const std::vector<J2KRule> rules = [inventory] {
        nitf_log::write_logln(
            nitf_log::info,
            fmt::format("J2K Inventory (nitf.j2k.cs.inventory): {} codestreams", inventory));
        return buildJ2KRules(nitf_fs::getConfigFolders("Resources/Raster/NITF"));
    }();
    return rules;
}

void applyJ2KRules(const std::vector<J2KRule>& rules, const J2KRuleSubject& subject,
                   uint32_t& layers, float& rmse) {
    for (const J2KRule& rule : rules) {
        if (!ruleMatches(rule, subject)) {
            continue;
        }
        if (nitf_log::is_enabled(nitf_log::info)) {
            nitf_log::write_logln(
                nitf_log::info,
                fmt::format("J2K Rule Match '{}#IM_{}_{}' || {} => {}", subject.path, subject.index,
                            subject.level, rule.text(), rule.value.dump()));
        }
        const auto* type = rule.find(J2KRule::type);
        if (type == nullptr || !type->is_string()) {
            continue;
        }
        const std::string kind = type->get<std::string>();
        if (kind == "Layer" && rule.value.is_number() && layers == 0) {
            const int64_t sum = rule.value.get<int64_t>() + subject.clayers;
            layers = static_cast<uint32_t>(std::max<int64_t>(1, sum));  // never below one layer
        } else if (kind == "RMSE" && rule.value.is_number()) {
            rmse = rule.value.get<float>();
        }
    }
}

}  // namespace Tessel
