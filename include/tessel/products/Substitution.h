#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// Evaluation of property definitions, layer, item and mosaic definitions, and match rules.

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tessel/core/any_type.h"
#include "tessel/products/NITFProductProfile.h"
#include "tessel/products/Products.h"

namespace Tessel::Products {

// Gives the value of one template.
using Evaluator = std::function<any_type::value(std::wstring_view templateText)>;

// Escapes a text for a JSON string: quote, apostrophe, backslash, \b \f \n \r \t, and other
// control characters as \u00XX.
std::wstring JsonEncoder(std::wstring_view text);

// The value of the first source that yields one (after its map, and unless it is the
// source's not-set value or empty), else the default.
any_type::value substitution(const PropertyDefinition& definition, const Evaluator& evaluator,
                             const ProfileEvalHooks& hooks, std::wstring_view label = {});
// Every definition of the map by the above; true.
bool substitution(const PropertyDefinitions& definitions, PropertyValues& values,
                  const Evaluator& evaluator, const ProfileEvalHooks& hooks);

// A layer, item or mosaic with values, for the file and indices of `context`.
Layer substitution(const LayerDefinition& definition,
                   const NITFProductProfile::ComputeContext& context,
                   const ProfileEvalHooks& hooks);
ItemURI substitution(const ItemURIDefinition& definition,
                     const NITFProductProfile::ComputeContext& context,
                     const ProfileEvalHooks& hooks);
Mosaic substitution(const MosaicDefinition& definition,
                    const NITFProductProfile::ComputeContext& context,
                    const ProfileEvalHooks& hooks);

// n when all n rules hold, -n when the first n held and the next didn't, 0 for no rules or
// when the first failed.
int matchesFile(const std::vector<MatchRule>& rules, const Evaluator& evaluator,
                const ProfileEvalHooks& hooks);

// An evaluator that expands templates with ComputeIsdValue in `context`.
Evaluator contextEvaluator(const NITFProductProfile::ComputeContext& context);

// The wide text of a value: booleans and dates in their text forms, numbers in decimal.
std::wstring valueText(const any_type::value& value);

}  // namespace Tessel::Products

TESSEL_PUBLIC_END
