#include <cstdio>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "tessel/file/NITFFileContext.h"
#include "tessel/platform/base/text.h"
#include "tools/Commands.h"
#include "tools/FileCommands.h"

namespace tessel_cli {
namespace {

using Json = nlohmann::ordered_json;

const char* typeName(const any_type::value& value) {
    static const char* const names[] = {"empty",  "bool",    "int", "double",
                                        "string", "wstring", "date"};
    return names[value.index()];
}

std::string valueText(const any_type::value& value) {
    switch (value.index()) {
        case any_type::tag_bool:
            return std::get<bool>(value) ? "true" : "false";
        case any_type::tag_int:
            return std::to_string(std::get<int64_t>(value));
        case any_type::tag_double: {
            char text[64];
            std::snprintf(text, sizeof text, "%.17g", std::get<double>(value));
            return text;
        }
        case any_type::tag_string:
            return std::get<std::string>(value);
        case any_type::tag_wstring:
            return std::to_string(std::get<std::wstring>(value));
        case any_type::tag_date:
            return std::to_string(std::get<nitf_date>(value));
        default:
            return {};
    }
}

Json valueJson(const any_type::value& value) {
    switch (value.index()) {
        case any_type::tag_empty:
            return nullptr;
        case any_type::tag_bool:
            return std::get<bool>(value);
        case any_type::tag_int:
            return std::get<int64_t>(value);
        case any_type::tag_double:
            return std::get<double>(value);
        default:
            return valueText(value);
    }
}

// "--format json", "--format=json": the query word that goes behind each path.
std::optional<std::string> formatWord(const Arguments& arguments,
                                      std::vector<std::string>& positional, std::string& error) {
    std::string name;
    for (const auto& flag : arguments.flags) {
        if (flag.rfind("--format=", 0) == 0) {
            name = flag.substr(9);
        }
    }
    if (name.empty() && arguments.has("--format")) {
        if (positional.size() < 3) {
            error = "--format needs one of json, xml, raw";
            return std::nullopt;
        }
        name = positional.back();
        positional.pop_back();
    }
    if (name.empty()) {
        return std::string();
    }
    if (name == "json" || name == "JSON") {
        return std::string("JSON");
    }
    if (name == "xml" || name == "XML") {
        return std::string("XML");
    }
    if (name == "raw" || name == "RAW") {
        return std::string("RAW");
    }
    error = "unknown format '" + name + "' (json, xml or raw)";
    return std::nullopt;
}

// A path with the format's query word: "?JSON", or "&format=JSON" behind a query.
std::string withFormat(const std::string& path, const std::string& word) {
    if (word.empty()) {
        return path;
    }
    return path + (path.find('?') == std::string::npos ? "?" + word : "&format=" + word);
}

int runPath(const Arguments& arguments) {
    std::vector<std::string> positional = arguments.positional;
    std::string error;
    const std::optional<std::string> word = formatWord(arguments, positional, error);
    if (!word) {
        return fail("path", error);
    }
    if (positional.size() < 2) {
        return fail("path", "expected a URI and at least one path (see 'tessel path --help')");
    }
    const auto context = openFile("path", positional[0]);
    if (!context) {
        return 1;
    }
    Json out = Json::object();
    for (size_t i = 1; i < positional.size(); ++i) {
        const std::string path = withFormat(positional[i], *word);
        const any_type::value value = context->getPath(path);
        if (arguments.has("--json")) {
            out[path] = {{"value", valueJson(value)}, {"type", typeName(value)}};
        } else {
            std::printf("%s = %s (%s)\n", path.c_str(), valueText(value).c_str(), typeName(value));
        }
    }
    if (arguments.has("--json")) {
        std::printf("%s\n", out.dump(2, ' ', false, Json::error_handler_t::replace).c_str());
    }
    return 0;
}

}  // namespace

Command pathCommand() {
    return {"path", "path URI PATH... [--format json|xml|raw] [--json]",
            "Read metadata paths of a NITF file and print each value with its type.",
            "Each line is 'PATH = VALUE (type)'; the type is empty, bool, int, double, string,\n"
            "wstring or date, and an empty value means the path isn't there. --json prints\n"
            "one object with the value and type of each path instead. --format appends the\n"
            "query word JSON, XML or RAW to every path. The image of \"Image\" and \"TRE\" is\n"
            "the URI's object (\"file.ntf#IM_2\"). A path ending in \"@Info\" describes the\n"
            "field (\"RPC00B/SUCCESS/@Info\", \"NITF_FILE_HEADER/FL/@Info\").",
            runPath};
}

}  // namespace tessel_cli
