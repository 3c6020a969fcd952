#include <cstdio>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <variant>
#include <vector>

#include "tessel/file/NITFFileContext.h"
#include "tessel/platform/base/text.h"
#include "tessel/tables/TableReader.h"
#include "tools/Commands.h"
#include "tools/FileCommands.h"

namespace tessel_cli {
namespace {

using TableJson = nlohmann::ordered_json;

const char* columnTypeWord(Tessel::FieldDefinition::eFieldType type) {
    switch (type) {
        case Tessel::FieldDefinition::eDouble:
            return "double";
        case Tessel::FieldDefinition::eInteger:
            return "integer";
        case Tessel::FieldDefinition::eOID:
            return "oid";
        default:
            return "string";
    }
}

// A definition file is one JSON object; arrays and objects go to the reader as their JSON
// text, strings as they are, other scalars as their text.
Tessel::TableArguments tableDefinition(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        throw std::runtime_error("cannot read '" + path + "'");
    }
    const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    const TableJson document = TableJson::parse(text, nullptr, false);
    if (document.is_discarded() || !document.is_object()) {
        throw std::runtime_error("'" + path + "' is not a JSON object");
    }
    Tessel::TableArguments arguments;
    for (const auto& [key, value] : document.items()) {
        arguments[std::to_wstring(key)] =
            value.is_string() ? value.get<std::string>() : value.dump();
    }
    return arguments;
}

std::string cellText(const any_type::value& value) {
    if (const auto* text = std::get_if<std::string>(&value)) {
        return *text;
    }
    if (const auto* text = std::get_if<std::wstring>(&value)) {
        return std::to_string(*text);
    }
    return {};
}

// A cell that the reader gives for a field that isn't there: nothing, or " - " for nested
// tables.
bool isMissingCell(const any_type::value& value) {
    const auto* text = std::get_if<std::string>(&value);
    return value.index() == any_type::tag_empty || (text != nullptr && *text == " - ");
}

std::string csvCell(const std::string& text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos) {
        return text;
    }
    std::string out = "\"";
    for (const char c : text) {
        out += c == '"' ? std::string("\"\"") : std::string(1, c);
    }
    return out + "\"";
}

int runTable(const Arguments& arguments) {
    if (arguments.positional.size() != 2) {
        return fail("table", "expected a URI and a definition file (see 'tessel table --help')");
    }
    if (arguments.has("--csv") && arguments.has("--json")) {
        return fail("table", "--csv and --json exclude each other");
    }
    Tessel::TableArguments definition;
    try {
        definition = tableDefinition(arguments.positional[1]);
    } catch (const std::exception& error) {
        return fail("table", error.what());
    }
    const auto context = openFile("table", arguments.positional[0]);
    if (!context) {
        return 1;
    }
    std::shared_ptr<Tessel::TableReader> reader;
    try {
        reader = context->getTableReader(definition);
    } catch (const std::exception& error) {
        return fail("table", std::string("bad table definition: ") + error.what());
    }
    if (!reader) {
        return fail("table",
                    "no table reader takes this definition (\"TableType\" must be \"SingleTRE\", "
                    "\"MultiTRE\" or \"SingleTRENested\")");
    }
    const auto& fields = reader->GetFields();
    const int rows = reader->GetRowCount();
    const bool json = arguments.has("--json");
    const bool csv = arguments.has("--csv");
    TableJson out = {{"fields", TableJson::array()}, {"rows", TableJson::array()}};
    // Readers don't check field names: a column missing from every row is most likely a
    // name that no field of the TREs has.
    std::vector<bool> found(fields.size(), false);
    std::string line;
    for (size_t c = 0; c < fields.size(); ++c) {
        const std::string name = std::to_string(fields[c].name);
        out["fields"].push_back({{"name", name}, {"type", columnTypeWord(fields[c].type)}});
        line += (c == 0 ? "" : (csv ? "," : "\t")) + (csv ? csvCell(name) : name);
    }
    if (!json) {
        std::printf("%s\n", line.c_str());
    }
    for (int r = 0; r < rows; ++r) {
        TableJson row = TableJson::array();
        line.clear();
        for (size_t c = 0; c < fields.size(); ++c) {
            const any_type::value value = reader->GetValue(r, static_cast<int>(c));
            found[c] = found[c] || !isMissingCell(value);
            const std::string text = cellText(value);
            row.push_back(value.index() == any_type::tag_empty ? TableJson() : TableJson(text));
            line += (c == 0 ? "" : (csv ? "," : "\t")) + (csv ? csvCell(text) : text);
        }
        if (json) {
            out["rows"].push_back(std::move(row));
        } else {
            std::printf("%s\n", line.c_str());
        }
    }
    if (json) {
        std::printf("%s\n", out.dump(2, ' ', false, TableJson::error_handler_t::replace).c_str());
    }
    for (size_t c = 0; rows > 0 && c < fields.size(); ++c) {
        if (!found[c]) {
            std::fprintf(stderr,
                         "tessel table: warning: column '%s' has no value in any row: no field "
                         "of the TREs has that name\n",
                         std::to_string(fields[c].name).c_str());
        }
    }
    return 0;
}

}  // namespace

Command tableCommand() {
    return {
        "table", "table URI DEFINITION.json [--csv|--json]",
        "Read TRE contents as a table through a table definition.",
        "The definition is a JSON object with \"TableType\" (\"SingleTRE\", \"MultiTRE\" or\n"
        "\"SingleTRENested\"), \"Fields\" (columns: {\"name\", \"type\"}), \"Sources\" (TREs:\n"
        "{\"name\", \"segment\": \"FileHeader\" or \"Images\", \"index\"}) and \"RowCountField\"\n"
        "(the count field, or for nested tables the levels \"i=NUMA,j=NUMB.i\"). Rows print\n"
        "tab-separated under a line of column names; --csv prints CSV, --json an object with\n"
        "\"fields\" and \"rows\" (a missing cell is null).",
        runTable};
}

}  // namespace tessel_cli
