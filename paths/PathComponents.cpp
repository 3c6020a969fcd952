#include "tessel/paths/PathComponents.h"

#include <fmt/format.h>
#include <fmt/xchar.h>

#include <cmath>
#include <cstdlib>
#include <iostream>
#include <locale>
#include <optional>
#include <regex>
#include <stdexcept>
#include <vector>

#include "tessel/core/ImageID.h"
#include "tessel/paths/PathWalker.h"
#include "tessel/platform/base/nitf_date.h"
#include "tessel/platform/base/text.h"

namespace {

using Value = any_type::value;

// A number as the range filter reads it: an optional leading "+", then the whole text.
std::optional<double> readDouble(std::string_view text) {
    return any_type::to_double(Value(std::string(text)));
}

Value readToken(const std::string& token) {
    Value text(token);
    if (auto number = any_type::to_double(text)) {
        return *number;
    }
    if (auto integer = any_type::to_integer(text)) {
        return *integer;
    }
    return text;
}

void parseRange(std::string_view value, PathComponents& out) {
    const auto comma = value.find(',');
    if (comma == std::string_view::npos) {
        return;
    }
    const std::string_view low = value.substr(0, comma);
    const std::string_view high = value.substr(comma + 1);
    if (low != "-") {
        if (auto number = readDouble(low)) {
            out.rangeMin = *number;
        }
    }
    if (high != "-") {
        if (auto number = readDouble(high)) {
            out.rangeMax = *number;
        }
    }
}

bool parseParseType(std::string_view word, PathComponents& out) {
    static constexpr std::pair<std::string_view, PathComponents::ParseType> kWords[] = {
        {"string", PathComponents::ParseString}, {"double", PathComponents::ParseDouble},
        {"int", PathComponents::ParseInt},       {"ImageID", PathComponents::ParseImageID},
        {"FDT", PathComponents::ParseFDT},
    };
    for (const auto& [text, type] : kWords) {
        if (word == text) {
            out.parseType = type;
            return true;
        }
    }
    return false;
}

void parseUnits(std::string_view word, PathComponents& out) {
    if (word == "ft") {
        out.units = PathComponents::UnitsFeet;
    } else if (word == "in") {
        out.units = PathComponents::UnitsInches;
    } else if (word == "m") {
        out.units = PathComponents::UnitsMeters;
    }
}

std::optional<PathContext::FormatType> formatWord(std::string_view word) {
    if (word == "XML") {
        return PathContext::FormatXML;
    }
    if (word == "RAW") {
        return PathContext::FormatRaw;
    }
    if (word == "JSON") {
        return PathContext::FormatJSON;
    }
    return std::nullopt;
}

void parseItem(std::string_view text, std::string_view item, PathComponents& out) {
    const auto equals = item.find('=');
    if (equals == std::string_view::npos) {
        return;
    }
    const std::string_view key = item.substr(0, equals);
    const std::string_view value = item.substr(equals + 1);
    if (key == "parse") {
        if (!parseParseType(value, out)) {
            std::cerr << "NITFProfile::AttributeSourcePart::parse(" << text << "): "
                      << "parse type unknown" << '\n';
        }
    } else if (key == "range") {
        parseRange(value, out);
    } else if (key == "units") {
        parseUnits(value, out);
    } else if (key == "format") {
        out.format = formatWord(value).value_or(PathContext::FormatString);
    } else if (key == "exp") {
        out.exp.clear();
        for (const auto& token : NITFPathInternal::splitItems(value, ',')) {
            out.exp.push_back(readToken(token));
        }
    } else if (key == "depth") {
        if (auto number = readDouble(value)) {
            out.depth = *number;
        }
    }
}

// ---- The expression machine ----

// The failures of an expression; they end the evaluation with an empty result.
struct ExpressionError : std::runtime_error {
    using std::runtime_error::runtime_error;
};
// An operator whose outcome is empty ends the evaluation with an empty result.
struct EmptyOutcome {};

class Expression {
public:
    Expression(const Value& current, const Tessel::ImageID* id) : current_(current), id_(id) {}

    std::optional<Value> run(const std::vector<Value>& tokens) {
        for (const Value& token : tokens) {
            const auto* name = std::get_if<std::string>(&token);
            if (name == nullptr || !runOperator(*name)) {
                stack_.push_back(token);
            }
        }
        if (stack_.size() != 1) {
            return std::nullopt;
        }
        return std::move(stack_.back());
    }

private:
    bool runOperator(const std::string& name) {
        if (name == "+" || name == "-" || name == "*" || name == "/") {
            arithmetic(name.front());
        } else if (name == "trim") {
            trim();
        } else if (name == "replace") {
            replace();
        } else if (name == "substr") {
            substr();
        } else if (name == "toupper" || name == "tolower") {
            changeCase(name == "toupper");
        } else if (name == "mission") {
            if (id_ != nullptr) {
                stack_.emplace_back(std::to_wstring(std::string_view(id_->mission)));
            }
        } else if (name == "regex") {
            regex();
        } else if (name == "@") {
            stack_.push_back(current_);
        } else if (name == "ws") {
            stack_.emplace_back(std::wstring(L" \t\r\v\n"));
        } else {
            return false;
        }
        return true;
    }

    Value pop() {
        if (stack_.empty()) {
            throw ExpressionError("Missing Operand");
        }
        Value top = std::move(stack_.back());
        stack_.pop_back();
        return top;
    }

    double popNumber() {
        const Value top = pop();
        if (const auto* number = std::get_if<double>(&top)) {
            return *number;
        }
        if (const auto* integer = std::get_if<int64_t>(&top)) {
            return static_cast<double>(*integer);
        }
        throw ExpressionError("Not numeric");
    }

    std::wstring popString() {
        const Value top = pop();
        if (const auto* wide = std::get_if<std::wstring>(&top)) {
            return *wide;
        }
        if (const auto* narrow = std::get_if<std::string>(&top)) {
            return std::to_wstring(std::string_view(*narrow));
        }
        if (std::holds_alternative<std::monostate>(top)) {
            throw ExpressionError("Not String");
        }
        return {};
    }

    // A non-empty text result, or the end of the evaluation.
    void pushText(std::wstring text) {
        if (text.empty()) {
            throw EmptyOutcome{};
        }
        stack_.emplace_back(std::move(text));
    }

    void arithmetic(char op) {
        const double a = popNumber();
        const double b = popNumber();
        switch (op) {
            case '+':
                stack_.emplace_back(b + a);
                break;
            case '-':
                stack_.emplace_back(b - a);
                break;
            case '*':
                stack_.emplace_back(b * a);
                break;
            default:
                if (a == 0.0) {
                    throw EmptyOutcome{};
                }
                stack_.emplace_back(b / a);
                break;
        }
    }

    void trim() {
        const std::wstring chars = popString();
        const std::wstring text = popString();
        if (chars.empty()) {
            throw EmptyOutcome{};
        }
        const auto first = text.find_first_not_of(chars);
        if (first == std::wstring::npos) {
            throw EmptyOutcome{};
        }
        const auto last = text.find_last_not_of(chars);
        pushText(text.substr(first, last - first + 1));
    }

    void replace() {
        const std::wstring pattern = popString();
        const std::wstring format = popString();
        const std::wstring text = popString();
        const std::wregex expression(pattern, std::regex_constants::ECMAScript);
        pushText(std::regex_replace(text, expression, format));
    }

    // A popped number as an unsigned count: truncated, negative values wrap as a cast would.
    static std::size_t toCount(double number) {
        if (std::isnan(number)) {
            return 0;
        }
        if (number >= 1.8446744073709552e19) {
            return static_cast<std::size_t>(-1);
        }
        if (number <= -9.2233720368547758e18) {
            return static_cast<std::size_t>(INT64_MIN);
        }
        if (number < 0) {
            return static_cast<std::size_t>(static_cast<int64_t>(number));
        }
        return static_cast<std::size_t>(number);
    }

    void substr() {
        const std::size_t length = toCount(popNumber());
        const std::size_t position = toCount(popNumber());
        const std::wstring text = popString();
        pushText(text.substr(position, length));
    }

    void changeCase(bool upper) {
        std::wstring text = popString();
        const std::locale& classic = std::locale::classic();
        for (wchar_t& c : text) {
            c = upper ? std::toupper(c, classic) : std::tolower(c, classic);
        }
        pushText(std::move(text));
    }

    void regex() {
        const std::wstring format = popString();
        const std::wstring pattern = popString();
        const std::wstring text = popString();
        const std::wregex expression(
            pattern, std::regex_constants::ECMAScript | std::regex_constants::icase);
        std::wsmatch match;
        if (std::regex_match(text, match, expression)) {
            stack_.emplace_back(match.format(format));
        }
    }

    const Value& current_;
    const Tessel::ImageID* id_;
    std::vector<Value> stack_;
};

std::wstring valueText(const Value& value) {
    switch (value.index()) {
        case any_type::tag_string:
            return std::to_wstring(std::string_view(std::get<std::string>(value)));
        case any_type::tag_wstring:
            return std::get<std::wstring>(value);
        default:
            return {};
    }
}

// Step 1 of the post-processor; nullopt is the empty result.
std::optional<Value> convert(const Value& value, PathComponents::ParseType type,
                             std::optional<Tessel::ImageID>& id) {
    switch (type) {
        case PathComponents::ParseDouble:
            if (auto number = any_type::to_double(value)) {
                return Value(*number);
            }
            return std::nullopt;
        case PathComponents::ParseInt:
            if (auto integer = any_type::to_integer(value)) {
                return Value(*integer);
            }
            return std::nullopt;
        case PathComponents::ParseImageID:
            id = Tessel::ImageID::parse(std::wstring_view(valueText(value)));
            if (id->text.empty()) {
                return std::nullopt;
            }
            return value;
        case PathComponents::ParseFDT: {
            if (std::holds_alternative<nitf_date>(value)) {
                return value;
            }
            const nitf_date date = nitf_date::parse(std::wstring_view(valueText(value)));
            if (!date.is_valid()) {
                return std::nullopt;
            }
            return Value(date);
        }
        default:
            return value;
    }
}

// The U.S. survey inch in meters.
constexpr double kInch = 0.025400050800101603;

}  // namespace

PathComponents PathComponents::parse(std::string_view text) {
    PathComponents out;
    const auto question = text.find('?');
    out.path = std::string(text.substr(0, question));
    if (question == std::string_view::npos) {
        return out;
    }
    const std::string_view query = text.substr(question + 1);
    if (auto format = formatWord(query)) {
        out.format = *format;
        return out;
    }
    for (const auto& item : NITFPathInternal::splitItems(query, '&')) {
        parseItem(text, item, out);
    }
    return out;
}

any_type::value PathComponents::postProcess(const any_type::value& input) const {
    try {
        std::optional<Tessel::ImageID> id;
        std::optional<Value> value = convert(input, parseType, id);
        if (!value) {
            return {};
        }
        if (const auto* number = std::get_if<double>(&*value)) {
            if (*number < rangeMin || *number > rangeMax) {
                return {};
            }
        }
        if (!exp.empty()) {
            Expression expression(*value, id ? &*id : nullptr);
            value = expression.run(exp);
            if (!value) {
                return {};
            }
        }
        if (auto* number = std::get_if<double>(&*value)) {
            if (units == UnitsFeet) {
                *number = *number * 12.0 * kInch;
            } else if (units == UnitsInches) {
                *number *= kInch;
            }
        }
        return std::move(*value);
    } catch (const EmptyOutcome&) {
        return {};
    } catch (const std::exception&) {
        return {};
    }
}

namespace {

std::wstring tokenText(const Value& token) {
    switch (token.index()) {
        case any_type::tag_double:
            return fmt::format(L"{:f}", std::get<double>(token));
        case any_type::tag_int:
            return std::to_wstring(std::get<int64_t>(token));
        default:
            return valueText(token);
    }
}

std::wstring boundText(double bound, double open) {
    return bound == open ? std::wstring(L"-") : fmt::format(L"{:f}", bound);
}

std::wstring_view formatName(PathContext::FormatType format) {
    switch (format) {
        case PathContext::FormatXML:
            return L"XML";
        case PathContext::FormatJSON:
            return L"JSON";
        case PathContext::FormatRaw:
            return L"RAW";
        default:
            return {};
    }
}

std::wstring_view parseName(PathComponents::ParseType type) {
    switch (type) {
        case PathComponents::ParseDouble:
            return L"double";
        case PathComponents::ParseInt:
            return L"int";
        case PathComponents::ParseImageID:
            return L"ImageID";
        case PathComponents::ParseFDT:
            return L"FDT";
        default:
            return {};
    }
}

std::wstring_view unitsName(PathComponents::Units units) {
    switch (units) {
        case PathComponents::UnitsNone:
            return {};
        case PathComponents::UnitsFeet:
            return L"Feet";
        case PathComponents::UnitsInches:
            return L"Inchs";
        case PathComponents::UnitsMeters:
            return L"Meters";
    }
    return L"Unknown";
}

}  // namespace

std::wostream& operator<<(std::wostream& os, const PathComponents& components) {
    os << std::to_wstring(std::string_view(components.path));
    // Keys in sorted order: exp, format, parse, range, units.
    std::vector<std::wstring> parts;
    if (!components.exp.empty()) {
        std::wstring tokens;
        for (const auto& token : components.exp) {
            if (!tokens.empty()) {
                tokens += L',';
            }
            tokens += tokenText(token);
        }
        parts.push_back(L"exp=" + tokens);
    }
    if (auto name = formatName(components.format); !name.empty()) {
        parts.push_back(L"format=" + std::wstring(name));
    }
    if (auto name = parseName(components.parseType); !name.empty()) {
        parts.push_back(L"parse=" + std::wstring(name));
    }
    const double lowest = std::numeric_limits<double>::lowest();
    const double highest = std::numeric_limits<double>::max();
    if (components.rangeMin != lowest || components.rangeMax != highest) {
        parts.push_back(L"range=" + boundText(components.rangeMin, lowest) + L"," +
                        boundText(components.rangeMax, highest));
    }
    if (auto name = unitsName(components.units); !name.empty()) {
        parts.push_back(L"units=" + std::wstring(name));
    }
    for (std::size_t i = 0; i < parts.size(); ++i) {
        os << (i == 0 ? L"?" : L"&") << parts[i];
    }
    return os;
}
