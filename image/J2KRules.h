#pragma once

#include "tessel/core/Visibility.h"
TESSEL_INTERNAL_BEGIN
// The rules of j2k.json: conditions on a codestream and the image, and a quality layer limit
// or distortion limit that they set. Built once per process from the configuration folders.

#include <cstdint>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

namespace Tessel {

// The check sees a throw inside the JSON type's special members, which are noexcept.
struct J2KRule {  // NOLINT(bugprone-exception-escape)
    enum Key : uint32_t {
        priority = 1,
        order = 2,
        reversible = 3,
        level = 4,
        index = 5,
        file = 6,
        type = 100,
    };
    // Entries by key, in ascending order of key, each key once.
    std::vector<std::pair<uint32_t, nlohmann::ordered_json>> conditions;
    nlohmann::ordered_json value;

    // The entry of `key`, or null.
    const nlohmann::ordered_json* find(uint32_t key) const;
    // Sets the entry of `key`, in its place.
    void set(uint32_t key, nlohmann::ordered_json entry);

    // The rule's conditions as "Name=value" joined by ";".
    std::string text() const;
};

// What the rules look at of a codestream, by its COD parameters.
struct J2KRuleSubject {
    std::string path;
    int32_t index = 0;
    int32_t level = 0;
    int clayers = 0;
    int corder = 0;
    int creversible = 0;
};

// The rules of the j2k.json files in `folders`, later folders winning, sorted by priority.
std::vector<J2KRule> buildJ2KRules(const std::vector<std::filesystem::path>& folders);

// The process's rules, from the configuration folders of "Resources/Raster/NITF"; logs the
// inventory line when first built.
const std::vector<J2KRule>& j2kRules(size_t inventory);

// Applies every matching rule: the first "Layer" sets `layers` while it is 0, the last
// "RMSE" sets `rmse`.
void applyJ2KRules(const std::vector<J2KRule>& rules, const J2KRuleSubject& subject,
                   uint32_t& layers, float& rmse);

}  // namespace Tessel

TESSEL_INTERNAL_END
