#include "tessel/tables/TableReader.h"

#include <charconv>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "tables/TableSources.h"
#include "tessel/file/NITFFile.h"
#include "tessel/platform/base/text.h"

namespace Tessel {
namespace {

using TableJson = nlohmann::ordered_json;

std::vector<TableReader::maker_type>& tableMakers() {
    static std::vector<TableReader::maker_type> makers;
    return makers;
}

// "2", "+2" and "-2" are integers; anything else, "2x" included, is not.
int tableSourceIndex(const TableJson& index) {
    if (index.is_number_integer()) {
        return index.get<int>();
    }
    if (index.is_number()) {
        return static_cast<int>(index.get<double>());
    }
    if (!index.is_string()) {
        return -1;
    }
    std::string_view text = index.get_ref<const std::string&>();
    if (!text.empty() && text.front() == '+') {
        text.remove_prefix(1);
    }
    int value = -1;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || text.empty()) {
        return -1;
    }
    return value;
}

std::string tableValueText(const any_type::value& value) {
    switch (value.index()) {
        case any_type::tag_bool:
            return std::get<bool>(value) ? "true" : "false";
        case any_type::tag_int:
            return std::to_string(std::get<int64_t>(value));
        case any_type::tag_double:
            return std::to_string(std::get<double>(value));
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

}  // namespace

FieldDefinition::eFieldType FieldDefinition::typeFromWord(std::string_view word) {
    if (word == "double") {
        return eDouble;
    }
    if (word == "integer") {
        return eInteger;
    }
    if (word == "oid") {
        return eOID;
    }
    return eString;
}

std::string tableArgumentText(const TableArguments& arguments, std::wstring_view key) {
    const auto found = arguments.find(key);
    return found == arguments.end() ? std::string() : tableValueText(found->second);
}

void TableReader::registerTableReader(maker_type maker) {
    tableMakers().push_back(std::move(maker));
}

std::shared_ptr<TableReader> TableReader::createTableReader(const std::shared_ptr<NITFFile>& file,
                                                            const TableArguments& arguments) {
    for (const auto& maker : tableMakers()) {
        if (auto reader = maker(file, arguments)) {
            return reader;
        }
    }
    return {};
}

TableReader::TableReader(const std::shared_ptr<NITFFile>& file, const TableArguments& arguments)
    : file_(file) {
    const auto found = arguments.find(std::wstring_view(L"Fields"));
    if (found == arguments.end()) {
        return;
    }
    const TableJson columns = TableJson::parse(tableValueText(found->second));
    for (const auto& column : columns) {
        FieldDefinition definition;
        definition.name = std::to_wstring(column.at("name").get<std::string>());
        definition.type = FieldDefinition::typeFromWord(column.at("type").get<std::string>());
        fields_.push_back(std::move(definition));
    }
}

TableReader::~TableReader() = default;

void TableReader::iterateSources(
    const any_type::value& sources,
    const std::function<void(const std::wstring_view& name, const std::wstring_view& segment,
                             int index)>& callback) const {
    const TableJson list = TableJson::parse(tableValueText(sources));
    for (const auto& element : list) {
        if (!element.is_object()) {
            // The library's own type error, as for any non-object key lookup.
            (void)element.at("name");
        }
        const TableJson& name = element.at("name");
        if (!name.is_string()) {
            continue;
        }
        const TableJson& segment = element.at("segment");
        if (!segment.is_string()) {
            continue;
        }
        const int index = tableSourceIndex(element.at("index"));
        callback(std::to_wstring(name.get<std::string>()),
                 std::to_wstring(segment.get<std::string>()), index);
    }
}

std::vector<nitf_TRE*> TableReader::collectSourceTREs(const TableArguments& arguments) const {
    std::vector<nitf_TRE*> tres;
    const auto found = arguments.find(std::wstring_view(L"Sources"));
    if (found == arguments.end()) {
        return tres;
    }
    const std::shared_ptr<NITFFile> file = getNITFFile();
    nitf_Record* record = file ? file->getPrivate()->getRecord() : nullptr;
    NITFMessages messages;
    iterateSources(found->second,
                   [&](const std::wstring_view& name, const std::wstring_view& segment, int index) {
                       detail_tables::appendSourceTREs(record, segment, index, std::to_string(name),
                                                       tres, messages);
                   });
    return tres;
}

const FieldDefinition& TableReader::column(int index) const {
    if (index < 0 || static_cast<size_t>(index) >= fields_.size()) {
        throw std::out_of_range("invalid vector subscript");
    }
    return fields_[static_cast<size_t>(index)];
}

}  // namespace Tessel
