#include "tessel/paths/PathFunctionFactory.h"

#include <boost/date_time/gregorian/gregorian_types.hpp>
#include <boost/date_time/posix_time/posix_time_types.hpp>

#include <cmath>
#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "tessel/core/TextForms.h"
#include "tessel/paths/PathComponents.h"
#include "tessel/paths/PathWalker.h"
#include "tessel/platform/base/text.h"

namespace Tessel {
namespace {

using ComputeContext = NITFProductProfile::ComputeContext;
namespace pt = boost::posix_time;

using FunctionTable = std::map<std::string, PathFunctionFactory::function_type, std::less<>>;

FunctionTable& functionTable() {
    static FunctionTable table;
    return table;
}

std::string textOf(const any_type::value& value) {
    struct Visitor {
        std::string operator()(std::monostate) const { return {}; }
        std::string operator()(bool flag) const { return flag ? "true" : "false"; }
        std::string operator()(int64_t number) const { return std::to_string(number); }
        std::string operator()(double number) const { return ToString(number); }
        std::string operator()(const std::string& text) const { return text; }
        std::string operator()(const std::wstring& text) const { return std::to_string(text); }
        std::string operator()(const nitf_date& date) const { return std::to_string(date); }
    };
    return std::visit(Visitor{}, value);
}

// A path with its query: the evaluator gives the base value, the query refines it.
any_type::value evaluatePath(std::string_view pathWithQuery, const ComputeContext& context) {
    const PathComponents components = PathComponents::parse(pathWithQuery);
    return components.postProcess(context.evaluator(components.path, context));
}

// Microseconds from the date's fields; an invalid date is not a date.
pt::ptime toTime(const nitf_date& date) {
    if (!date.is_valid()) {
        return pt::ptime(pt::not_a_date_time);
    }
    const boost::gregorian::date day(static_cast<unsigned short>(date.year()),
                                     static_cast<unsigned short>(date.month()),
                                     static_cast<unsigned short>(date.day()));
    const auto micros = static_cast<int64_t>(std::llround(date.second() * 1e6));
    return pt::ptime(
        day, pt::hours(date.hour()) + pt::minutes(date.minute()) + pt::microseconds(micros));
}

pt::ptime evaluateDate(std::string_view pathWithQuery, const ComputeContext& context) {
    const any_type::value value = evaluatePath(pathWithQuery, context);
    if (const auto* date = std::get_if<nitf_date>(&value)) {
        return toTime(*date);
    }
    return toTime(nitf_date::parse(textOf(value)));
}

// A decimal integer, or a path whose value is one. The conversion errors reach the caller
// with the texts of the standard conversion.
int evaluateAmount(const std::string& amount, const ComputeContext& context) {
    const std::string text =
        amount.starts_with('/') ? textOf(evaluatePath(amount, context)) : amount;
    try {
        return std::stoi(text);
    } catch (const std::invalid_argument&) {
        throw std::invalid_argument("invalid stoi argument");
    } catch (const std::out_of_range&) {
        throw std::out_of_range("stoi argument out of range");
    }
}

pt::time_duration offsetOf(int amount, std::string_view unit) {
    if (unit == "days") {
        return pt::hours(int64_t{24} * amount);
    }
    if (unit == "hours") {
        return pt::hours(amount);
    }
    if (unit == "minutes") {
        return pt::minutes(amount);
    }
    if (unit == "seconds") {
        return pt::seconds(amount);
    }
    return pt::time_duration(0, 0, 0);
}

// Special times (infinities, not a date) stay what they are.
pt::ptime applyOffset(const pt::ptime& time, std::string_view op, const pt::time_duration& offset) {
    if (op == "+") {
        return time + offset;
    }
    if (op == "-") {
        return time - offset;
    }
    return time;
}

any_type::value outputForm(const pt::ptime& time, std::string_view form) {
    if (form != "msSince1970" || time.is_special()) {
        return {};
    }
    const pt::ptime epoch(boost::gregorian::date(1970, 1, 1));
    // Whole milliseconds, truncated towards zero.
    return static_cast<int64_t>((time - epoch).total_milliseconds());
}

// "path?query,form[,operator,amount,unit]": a date read through the evaluator, optionally
// moved by an amount of days, hours, minutes or seconds, in the output form.
any_type::value dateCalculator(std::string_view argument, const ComputeContext& context) {
    const std::vector<std::string> tokens = NITFPathInternal::splitItems(argument, ',');
    if (tokens.size() < 2 || !context.evaluator) {
        return {};
    }
    pt::ptime time = evaluateDate(tokens[0], context);
    if (tokens.size() == 5) {
        const int amount = evaluateAmount(tokens[3], context);
        time = applyOffset(time, tokens[2], offsetOf(amount, tokens[4]));
    }
    return outputForm(time, tokens[1]);
}

[[maybe_unused]] const bool builtinsRegistered = [] {
    PathFunctionFactory::registerPathFunction("DateCalculator", dateCalculator);
    return true;
}();

}  // namespace

void PathFunctionFactory::registerPathFunction(std::string name, function_type function) {
    FunctionTable& table = functionTable();
    if (!table.contains(name)) {
        table.emplace(std::move(name), std::move(function));
    }
}

any_type::value PathFunctionFactory::executePathFunction(std::string_view name,
                                                         std::string_view argument,
                                                         const ComputeContext& context) {
    const FunctionTable& table = functionTable();
    const auto found = table.find(name);
    if (found == table.end() || !found->second) {
        return {};
    }
    return found->second(argument, context);
}

}  // namespace Tessel
