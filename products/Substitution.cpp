#include "tessel/products/Substitution.h"

#include <cstdio>
#include <locale>

#include "tessel/platform/base/text.h"

namespace Tessel::Products {
namespace {

using ComputeContext = NITFProductProfile::ComputeContext;

bool substitutionSameValue(const any_type::value& a, const any_type::value& b) {
    return a.index() == b.index() && a == b;
}

bool substitutionIsEmpty(const any_type::value& value) {
    if (value.index() == any_type::tag_empty) {
        return true;
    }
    const auto* text = std::get_if<std::wstring>(&value);
    return text != nullptr && text->empty();
}

std::wstring substitutionUpper(std::wstring_view text) {
    const std::locale& classic = std::locale::classic();
    std::wstring out;
    out.reserve(text.size());
    for (const wchar_t c : text) {
        out.push_back(std::toupper(c, classic));
    }
    return out;
}

bool substitutionRuleHolds(const MatchRule& rule, const std::wstring& text) {
    if (rule.op == "Equals" || rule.op == "NotEqual") {
        bool any = false;
        for (const auto& value : rule.values) {
            any = any || value == text;
        }
        return rule.op == "Equals" ? any : !any;
    }
    if (rule.values.empty()) {
        return false;
    }
    const std::wstring first = substitutionUpper(rule.values.front());
    const std::wstring upper = substitutionUpper(text);
    if (rule.op == "StartsWith") {
        return upper.compare(0, first.size(), first) == 0 && upper.size() >= first.size();
    }
    if (rule.op == "EndsWith") {
        return upper.size() >= first.size() &&
               upper.compare(upper.size() - first.size(), first.size(), first) == 0;
    }
    return false;
}

std::wstring substitutionExpand(const ComputeContext& context, std::wstring_view templateText,
                                std::wstring_view label, const ProfileEvalHooks& hooks,
                                const NITFProductProfile::Encoder& encoder = {}) {
    const any_type::value value =
        NITFProductProfile::ComputeIsdValue(context, templateText, encoder);
    if (hooks.layer && !label.empty()) {
        hooks.layer(label, 5, value);
    }
    return valueText(value);
}

// 65535 ("not given") unless the text is a number that fits.
uint16_t substitutionDisplayLevel(const std::wstring& text) {
    const any_type::value value = any_type::decode(text);
    const auto number = text.empty() ? std::nullopt : any_type::to_integer(value);
    if (!number || *number < 0 || *number > 65535) {
        return 65535;
    }
    return static_cast<uint16_t>(*number);
}

PropertyValues substitutionEvaluateMap(const PropertyDefinitions& definitions,
                                       const ComputeContext& context,
                                       const ProfileEvalHooks& hooks) {
    PropertyValues values;
    substitution(definitions, values, contextEvaluator(context), hooks);
    return values;
}

}  // namespace

std::wstring valueText(const any_type::value& value) {
    switch (value.index()) {
        case any_type::tag_bool:
            return std::get<bool>(value) ? L"true" : L"false";
        case any_type::tag_int:
            return std::to_wstring(std::get<int64_t>(value));
        case any_type::tag_double:
            return std::to_wstring(std::get<double>(value));
        case any_type::tag_string:
            return std::to_wstring(std::get<std::string>(value));
        case any_type::tag_wstring:
            return std::get<std::wstring>(value);
        case any_type::tag_date:
            return std::to_wstring(std::get<nitf_date>(value));
        default:
            return {};
    }
}

std::wstring JsonEncoder(std::wstring_view text) {
    std::wstring out;
    out.reserve(text.size());
    for (const wchar_t c : text) {
        switch (c) {
            case L'"':
                out += L"\\\"";
                break;
            case L'\'':
                out += L"\\'";
                break;
            case L'\\':
                out += L"\\\\";
                break;
            case L'\b':
                out += L"\\b";
                break;
            case L'\f':
                out += L"\\f";
                break;
            case L'\n':
                out += L"\\n";
                break;
            case L'\r':
                out += L"\\r";
                break;
            case L'\t':
                out += L"\\t";
                break;
            default:
                if (c >= 0 && c < 32) {
                    wchar_t escaped[8];
                    std::swprintf(escaped, 8, L"\\u%04x", static_cast<unsigned>(c));
                    out += escaped;
                } else {
                    out += c;
                }
        }
    }
    return out;
}

any_type::value substitution(const PropertyDefinition& definition, const Evaluator& evaluator,
                             const ProfileEvalHooks& hooks, std::wstring_view label) {
    if (hooks.propertyDefinition) {
        hooks.propertyDefinition(label, definition, 0, {});
    }
    for (const PropertySource& source : definition.sources) {
        if (hooks.propertySource) {
            hooks.propertySource(source, 0, {});
        }
        any_type::value value = evaluator(source.path);
        if (hooks.propertySource) {
            hooks.propertySource(source, 5, value);
        }
        for (const auto& [from, to] : source.map) {
            if (substitutionSameValue(value, from)) {
                value = to;
                break;
            }
        }
        if (hooks.propertySource) {
            hooks.propertySource(source, 6, value);
        }
        if (substitutionSameValue(value, source.notSet) || substitutionIsEmpty(value)) {
            if (hooks.propertySource) {
                hooks.propertySource(source, 7, value);
            }
            continue;
        }
        if (hooks.propertyDefinition) {
            hooks.propertyDefinition(label, definition, 5, value);
        }
        return value;
    }
    if (hooks.propertyDefinition) {
        hooks.propertyDefinition(label, definition, 4, definition.defaultValue);
    }
    return definition.defaultValue;
}

bool substitution(const PropertyDefinitions& definitions, PropertyValues& values,
                  const Evaluator& evaluator, const ProfileEvalHooks& hooks) {
    for (const auto& [name, definition] : definitions) {
        values[name] = substitution(definition, evaluator, hooks, name);
    }
    return true;
}

Layer substitution(const LayerDefinition& definition, const ComputeContext& context,
                   const ProfileEvalHooks& hooks) {
    Layer layer;
    layer.Type = definition.Type;
    layer.Key = substitutionExpand(context, definition.Key, {}, hooks);
    for (const auto& alias : definition.Aliases) {
        layer.Aliases.push_back(substitutionExpand(context, alias, L"Alias", hooks));
    }
    layer.Title = substitutionExpand(context, definition.Title, L"Title", hooks);
    layer.DisplayLevel =
        definition.DisplayLevelTemplate.empty()
            ? definition.DisplayLevel
            : substitutionDisplayLevel(substitutionExpand(context, definition.DisplayLevelTemplate,
                                                          L"DisplayLevel", hooks));
    layer.MapDoc = substitutionExpand(
        context, definition.MapDoc, {}, hooks,
        [](std::string_view, std::wstring_view text) { return JsonEncoder(text); });
    layer.Source.path = substitutionExpand(context, definition.Source.path, L"Source", hooks);
    layer.Source.templateContent =
        substitutionExpand(context, definition.Source.templateContent, L"Template", hooks);
    for (const auto& [name, argument] : definition.Source.arguments) {
        layer.Source.arguments[name] = substitutionExpand(context, argument, {}, hooks);
    }
    layer.Disposition = definition.Disposition;
    layer.Properties = substitutionEvaluateMap(definition.Properties, context, hooks);
    ComputeContext band = context;
    for (size_t b = 0; b < definition.Bands.size(); ++b) {
        band.bandIndex = static_cast<int64_t>(b);
        layer.Bands.push_back(substitutionEvaluateMap(definition.Bands[b], band, hooks));
    }
    return layer;
}

ItemURI substitution(const ItemURIDefinition& definition, const ComputeContext& context,
                     const ProfileEvalHooks& hooks) {
    ItemURI item;
    item.Key = substitutionExpand(context, definition.Key, {}, hooks);
    item.Path = substitutionExpand(context, definition.Path, {}, hooks);
    item.Tag = substitutionExpand(context, definition.Tag, {}, hooks);
    item.Group = substitutionExpand(context, definition.Group, {}, hooks);
    item.DisplayName = substitutionExpand(context, definition.DisplayName, {}, hooks);
    item.ProductName = substitutionExpand(context, definition.ProductName, {}, hooks);
    if (const auto* stamp = std::get_if<std::wstring>(&definition.SourceTimeStamp)) {
        item.SourceTimeStamp = NITFProductProfile::ComputeIsdValue(context, *stamp);
        if (!std::holds_alternative<nitf_date>(item.SourceTimeStamp) &&
            !substitutionIsEmpty(item.SourceTimeStamp)) {
            const nitf_date date =
                nitf_date::parse(std::wstring_view(valueText(item.SourceTimeStamp)));
            if (date.is_valid()) {
                item.SourceTimeStamp = date;
            }
        }
    } else {
        item.SourceTimeStamp = definition.SourceTimeStamp;
    }
    item.Properties = substitutionEvaluateMap(definition.Properties, context, hooks);
    return item;
}

Mosaic substitution(const MosaicDefinition& definition, const ComputeContext& context,
                    const ProfileEvalHooks& hooks) {
    Mosaic mosaic;
    for (const auto& item : definition.ItemURIs) {
        mosaic.ItemURIs.push_back(substitution(item, context, hooks));
    }
    mosaic.Footprint = substitutionExpand(context, definition.Footprint, {}, hooks);
    mosaic.ProcessingTemplate =
        substitutionExpand(context, definition.ProcessingTemplate, {}, hooks);
    mosaic.Variables = substitutionEvaluateMap(definition.Variables, context, hooks);
    mosaic.Properties = substitutionEvaluateMap(definition.Properties, context, hooks);
    return mosaic;
}

int matchesFile(const std::vector<MatchRule>& rules, const Evaluator& evaluator,
                const ProfileEvalHooks& hooks) {
    int held = 0;
    for (const MatchRule& rule : rules) {
        if (hooks.matchRule) {
            hooks.matchRule(rule, 0, {});
        }
        const any_type::value value = substitution(rule.property, evaluator, hooks);
        const bool holds = substitutionRuleHolds(rule, valueText(value));
        if (hooks.matchRule) {
            hooks.matchRule(rule, holds ? 1 : 2, value);
        }
        if (!holds) {
            break;
        }
        ++held;
    }
    return held == static_cast<int>(rules.size()) ? held : -held;
}

Evaluator contextEvaluator(const ComputeContext& context) {
    return [context](std::wstring_view templateText) {
        return NITFProductProfile::ComputeIsdValue(context, templateText);
    };
}

}  // namespace Tessel::Products
