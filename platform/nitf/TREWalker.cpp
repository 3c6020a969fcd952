#include "platform/nitf/TREEngine.h"

#include <bit>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>
#include <string_view>
#include <vector>

#include <fmt/format.h>

#include "tessel/platform/nitf/nitf_TREUtils.h"

namespace tessel::nitf_tre {

namespace {

// Index strings of NITF_FUNCTION counts hold ten levels of "[i]" in ten characters each.
constexpr std::size_t kMaxDepth = 10;
constexpr std::int64_t kMaxLoopIndex = 99'999'999;  // "[99999999]" fills the 10 characters

std::string_view viewOf(const char* text) {
    return text != nullptr ? std::string_view(text) : std::string_view();
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front()))) {
        text.remove_prefix(1);
    }
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) {
        text.remove_suffix(1);
    }
    return text;
}

// Leading integer of the text, as atoi reads it: blanks, a sign, digits; nothing is 0.
std::int64_t leadingInteger(std::string_view text) {
    text = trimmed(text);
    bool negative = false;
    if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
        negative = text.front() == '-';
        text.remove_prefix(1);
    }
    std::int64_t value = 0;
    for (char c : text) {
        if (!std::isdigit(static_cast<unsigned char>(c))) {
            break;
        }
        if (value > (std::numeric_limits<std::int64_t>::max() - 9) / 10) {
            break;  // saturate: such counts fail later on the step budget or the data length
        }
        value = value * 10 + (c - '0');
    }
    return negative ? -value : value;
}

bool isIntegerLiteral(std::string_view token) {
    if (!token.empty() && (token.front() == '+' || token.front() == '-')) {
        token.remove_prefix(1);
    }
    if (token.empty()) {
        return false;
    }
    for (char c : token) {
        if (!std::isdigit(static_cast<unsigned char>(c))) {
            return false;
        }
    }
    return true;
}

// The value of a field used as a number: text fields as atoi reads them, binary fields as
// the file defines them.
bool fieldInteger(const nitf_Field* field, std::int64_t& value) {
    if (field->type == NITF_BINARY) {
        std::uint64_t bits = 0;
        if (!binaryValue(field, bits)) {
            return false;
        }
        value = static_cast<std::int64_t>(bits);
        return true;
    }
    value = leadingInteger(std::string_view(field->raw, field->length));
    return true;
}

std::vector<std::string_view> splitOnBlanks(std::string_view text) {
    std::vector<std::string_view> tokens;
    std::size_t at = 0;
    while (at < text.size()) {
        while (at < text.size() && std::isspace(static_cast<unsigned char>(text[at]))) {
            ++at;
        }
        std::size_t start = at;
        while (at < text.size() && !std::isspace(static_cast<unsigned char>(text[at]))) {
            ++at;
        }
        if (at > start) {
            tokens.push_back(text.substr(start, at - start));
        }
    }
    return tokens;
}

bool applyOperator(char op, std::int64_t left, std::int64_t right, std::int64_t& result) {
    switch (op) {
        case '+':
            result = left + right;
            return true;
        case '-':
            result = left - right;
            return true;
        case '*':
            result = left * right;
            return true;
        case '/':
            if (right == 0) {
                return false;
            }
            result = left / right;
            return true;
        case '%':
            if (right == 0) {
                return false;
            }
            result = left % right;
            return true;
        default:
            return false;
    }
}

bool isOperatorToken(std::string_view token) {
    return token.size() == 1 && std::strchr("+-*/%", token[0]) != nullptr;
}

class Walker {
public:
    Walker(nitf_TRE* tre, const nitf_TREDescription* description, const FieldVisitor& visit,
           std::uint64_t budget)
        : tre_(tre), description_(description), visit_(visit), budget_(budget) {}

    bool run(std::string& failure) {
        if (description_ == nullptr) {
            failure = "the TRE has no description";
            return false;
        }
        if (!matchBlocks()) {
            failure = failure_;
            return false;
        }
        walkBlock(0, count_);
        failure = failure_;
        return failure_.empty();
    }

private:
    // Counts the entries and pairs every LOOP and IF with its end. An unclosed group runs to
    // the end of the description; a stray end is ignored.
    bool matchBlocks() {
        while (description_[count_].data_type != NITF_END) {
            ++count_;
        }
        match_.assign(count_, count_);
        std::vector<std::size_t> open;
        for (std::size_t i = 0; i < count_; ++i) {
            int type = description_[i].data_type;
            if (type == NITF_LOOP || type == NITF_IF) {
                open.push_back(i);
            } else if (type == NITF_ENDLOOP || type == NITF_ENDIF) {
                int opener = type == NITF_ENDLOOP ? NITF_LOOP : NITF_IF;
                if (!open.empty() && description_[open.back()].data_type == opener) {
                    match_[open.back()] = i;
                    open.pop_back();
                } else if (!open.empty()) {
                    failure_ = fmt::format("entry {} closes a group it doesn't match", i);
                    return false;
                }
            }
        }
        return true;
    }

    bool fail(std::string text) {
        if (failure_.empty()) {
            failure_ = std::move(text);
        }
        stopped_ = true;
        return false;
    }

    bool spend() {
        if (++steps_ > budget_) {
            return fail(fmt::format("the description needs more than {} steps", budget_));
        }
        return true;
    }

    // Walks entries [begin, end); false once the walk is over (stopped or failed).
    bool walkBlock(std::size_t begin, std::size_t end) {
        std::size_t i = begin;
        while (i < end) {
            if (stopped_ || !spend()) {
                return false;
            }
            const nitf_TREDescription& entry = description_[i];
            switch (entry.data_type) {
                case NITF_BCS_A:
                case NITF_BCS_N:
                case NITF_BINARY:
                    if (!visitField(entry)) {
                        return false;
                    }
                    ++i;
                    break;
                case NITF_LOOP:
                    if (!walkLoop(i)) {
                        return false;
                    }
                    i = match_[i] + 1;
                    break;
                case NITF_IF:
                    if (!walkCondition(i)) {
                        return false;
                    }
                    i = match_[i] + 1;
                    break;
                case NITF_ENDLOOP:
                case NITF_ENDIF:
                case NITF_COMP_LEN:
                    ++i;
                    break;
                default:
                    return fail(
                        fmt::format("entry {} has the unknown type {}", i, entry.data_type));
            }
        }
        return !stopped_;
    }

    std::string subscripts(std::size_t levels) const {
        std::string text;
        for (std::size_t level = 0; level < levels; ++level) {
            text += fmt::format("[{}]", indices_[level]);
        }
        return text;
    }

    bool visitField(const nitf_TREDescription& entry) {
        std::string tag(viewOf(entry.tag));
        auto width = fieldWidth(entry, tag);
        if (!width) {
            return false;
        }
        if (*width == 0) {
            return true;
        }
        std::string name = tag + subscripts(indices_.size());
        std::string failure;
        bool more = visit_(FieldStep{&entry, name, *width}, failure);
        if (!failure.empty()) {
            return fail(std::move(failure));
        }
        if (!more) {
            stopped_ = true;
        }
        return more;
    }

    std::optional<int> fieldWidth(const nitf_TREDescription& entry, const std::string& tag) {
        int count = entry.data_count;
        if (count == NITF_TRE_GOBBLE || count >= 0) {
            return count;
        }
        if (count != NITF_TRE_CONDITIONAL_LENGTH) {
            fail(fmt::format("field {} has the invalid width {}", tag, count));
            return std::nullopt;
        }
        // The expression is in `special`; a four-part entry has it in its label.
        const char* expression = entry.special != nullptr ? entry.special : entry.label;
        if (expression == nullptr) {
            return 0;
        }
        auto value = evaluatePostfix(expression);
        if (!value) {
            return std::nullopt;
        }
        if (*value < 0 || *value > std::numeric_limits<int>::max()) {
            fail(fmt::format("field {} has the computed width {}", tag, *value));
            return std::nullopt;
        }
        return static_cast<int>(*value);
    }

    bool walkLoop(std::size_t at) {
        auto count = loopCount(description_[at]);
        if (!count) {
            return false;
        }
        if (*count <= 0) {
            return true;
        }
        if (indices_.size() >= kMaxDepth) {
            return fail(fmt::format("loops are nested deeper than {} levels", kMaxDepth));
        }
        if (*count - 1 > kMaxLoopIndex) {
            return fail(fmt::format("loop count {} is too large", *count));
        }
        indices_.push_back(0);
        for (std::int64_t k = 0; k < *count; ++k) {
            indices_.back() = k;
            if (!walkBlock(at + 1, match_[at])) {
                indices_.pop_back();
                return false;
            }
        }
        indices_.pop_back();
        return true;
    }

    bool walkCondition(std::size_t at) {
        auto holds = conditionHolds(description_[at]);
        if (!holds) {
            return false;
        }
        return !*holds || walkBlock(at + 1, match_[at]);
    }

    // The field a description names: "X[]" takes the current index per bracket pair; a plain
    // name is tried bare, then with the indices of the outer levels appended one at a time.
    nitf_Field* resolve(std::string_view tag) {
        std::size_t bracket = tag.find('[');
        if (bracket != std::string_view::npos) {
            std::string name(tag.substr(0, bracket));
            std::size_t level = 0;
            for (char c : tag.substr(bracket)) {
                if (c == '[') {
                    if (level >= indices_.size()) {
                        return nullptr;
                    }
                    name += fmt::format("[{}]", indices_[level++]);
                }
            }
            return findField(tre_, name);
        }
        std::string name(tag);
        nitf_Field* field = findField(tre_, name);
        for (std::size_t level = 0; field == nullptr && level < indices_.size(); ++level) {
            name += fmt::format("[{}]", indices_[level]);
            field = findField(tre_, name);
        }
        return field;
    }

    std::optional<std::int64_t> namedValue(std::string_view tag, std::string_view purpose) {
        nitf_Field* field = resolve(tag);
        if (field == nullptr) {
            fail(fmt::format("the {} field {} is not there", purpose, tag));
            return std::nullopt;
        }
        std::int64_t value = 0;
        if (!fieldInteger(field, value)) {
            fail(fmt::format("the {} field {} has no integer value", purpose, tag));
            return std::nullopt;
        }
        return value;
    }

    std::optional<std::int64_t> evaluatePostfix(std::string_view expression) {
        std::vector<std::int64_t> stack;
        for (std::string_view token : splitOnBlanks(expression)) {
            if (isOperatorToken(token)) {
                if (stack.empty()) {
                    fail(
                        fmt::format("expression '{}' has an operator without operand", expression));
                    return std::nullopt;
                }
                std::int64_t right = stack.back();
                stack.pop_back();
                std::int64_t left = 0;  // a unary operator works on 0
                if (!stack.empty()) {
                    left = stack.back();
                    stack.pop_back();
                }
                std::int64_t result = 0;
                if (!applyOperator(token[0], left, right, result)) {
                    fail(fmt::format("expression '{}' divides by zero", expression));
                    return std::nullopt;
                }
                stack.push_back(result);
            } else if (isIntegerLiteral(token)) {
                stack.push_back(leadingInteger(token));
            } else {
                auto value = namedValue(token, "expression");
                if (!value) {
                    return std::nullopt;
                }
                stack.push_back(*value);
            }
        }
        if (stack.size() != 1) {
            fail(fmt::format("expression '{}' doesn't give one value", expression));
            return std::nullopt;
        }
        return stack.back();
    }

    std::optional<std::int64_t> functionCount(const nitf_TREDescription& entry) {
        auto function = reinterpret_cast<NITF_TRE_CURSOR_COUNT_FUNCTION>(
            reinterpret_cast<std::uintptr_t>(entry.tag));
        if (function == nullptr) {
            fail("a computed loop has no function");
            return std::nullopt;
        }
        char idx[kMaxDepth][10] = {};
        for (std::size_t level = 0; level < indices_.size(); ++level) {
            std::snprintf(idx[level], sizeof idx[level], "[%lld]",
                          static_cast<long long>(indices_[level]));
        }
        nitf_Error error{};
        int count = function(tre_, idx, static_cast<int>(indices_.size()), &error);
        if (count == -1) {
            fail(fmt::format("a computed loop count failed: {}", error.message));
            return std::nullopt;
        }
        return count;
    }

    std::optional<std::int64_t> loopCount(const nitf_TREDescription& entry) {
        std::string_view label = viewOf(entry.label);
        if (label == NITF_CONST_N) {
            return leadingInteger(viewOf(entry.tag));
        }
        if (label == NITF_FUNCTION) {
            return functionCount(entry);
        }
        if (label == NITF_TRE_LOOP_EXPRESSION) {
            return evaluatePostfix(viewOf(entry.tag));
        }
        auto value = namedValue(viewOf(entry.tag), "loop count");
        if (!value) {
            return std::nullopt;
        }
        std::string_view op = trimmed(label);
        if (op.empty()) {
            return value;
        }
        std::int64_t result = 0;
        if (!isOperatorToken(op.substr(0, 1)) ||
            !applyOperator(op[0], *value, leadingInteger(op.substr(1)), result)) {
            fail(fmt::format("loop label '{}' is not an operator and a number", label));
            return std::nullopt;
        }
        return result;
    }

    std::optional<bool> conditionHolds(const nitf_TREDescription& entry) {
        std::string_view label = viewOf(entry.label);
        while (!label.empty() && std::isspace(static_cast<unsigned char>(label.front()))) {
            label.remove_prefix(1);
        }
        std::size_t space = label.find(' ');
        if (space == std::string_view::npos) {
            fail(fmt::format("condition '{}' has no operand", label));
            return std::nullopt;
        }
        std::string_view op = label.substr(0, space);
        std::string operand(label.substr(space + 1));
        nitf_Field* field = resolve(viewOf(entry.tag));
        if (field == nullptr) {
            fail(fmt::format("the condition field {} is not there", viewOf(entry.tag)));
            return std::nullopt;
        }
        if (op == "eq" || op == "ne") {
            // The text covers the field's whole width, blanks included.
            bool equal = std::strncmp(field->raw, operand.c_str(), field->length) == 0;
            return op == "eq" ? equal : !equal;
        }
        std::int64_t value = 0;
        if (!fieldInteger(field, value)) {
            fail(fmt::format("the condition field {} has no integer value", viewOf(entry.tag)));
            return std::nullopt;
        }
        if (op == "&") {
            unsigned long long mask = std::strtoull(operand.c_str(), nullptr, 0);
            return (mask & static_cast<std::uint64_t>(value)) != 0;
        }
        std::int64_t limit = leadingInteger(operand);
        if (op == "<")
            return value < limit;
        if (op == ">")
            return value > limit;
        if (op == "<=")
            return value <= limit;
        if (op == ">=")
            return value >= limit;
        if (op == "==")
            return value == limit;
        if (op == "!=")
            return value != limit;
        fail(fmt::format("condition '{}' has the unknown operator '{}'", label, op));
        return std::nullopt;
    }

    nitf_TRE* tre_;
    const nitf_TREDescription* description_;
    const FieldVisitor& visit_;
    std::uint64_t budget_;
    std::uint64_t steps_ = 0;
    std::size_t count_ = 0;
    std::vector<std::size_t> match_;
    std::vector<std::int64_t> indices_;
    std::string failure_;
    bool stopped_ = false;
};

}  // namespace

bool walkDescription(nitf_TRE* tre, const nitf_TREDescription* description,
                     const FieldVisitor& visit, std::string& failure, std::uint64_t stepBudget) {
    Walker walker(tre, description, visit, stepBudget);
    return walker.run(failure);
}

nitf_Field* findField(nitf_TRE* tre, const std::string& name) {
    auto* priv = static_cast<nitf_TREPrivateData*>(tre->priv);
    if (priv == nullptr || priv->hash == nullptr) {
        return nullptr;
    }
    nitf_Pair* pair = nitf_HashTable_find(priv->hash, name.c_str());
    return pair != nullptr ? static_cast<nitf_Field*>(pair->data) : nullptr;
}

void swapForHolding(char* bytes, std::size_t width) {
    if constexpr (std::endian::native == std::endian::little) {
        if (width == 2) {
            std::swap(bytes[0], bytes[1]);
        }
    }
}

bool binaryValue(const nitf_Field* field, std::uint64_t& value) {
    if (field->length == 0 || field->length > 8) {
        return false;
    }
    char bytes[8];
    std::memcpy(bytes, field->raw, field->length);
    swapForHolding(bytes, field->length);  // back to the file's order
    value = 0;
    for (std::size_t i = 0; i < field->length; ++i) {
        value = (value << 8) | static_cast<unsigned char>(bytes[i]);
    }
    return true;
}

}  // namespace tessel::nitf_tre
