#include "tessel/tables/SingleTREMultiLevelTableReader.h"

#include <algorithm>

#include "tables/TableSources.h"
#include "tessel/paths/PathWalker.h"
#include "tessel/platform/base/text.h"

namespace Tessel {
namespace {

const bool nestedTRERegistered = [] {
    TableReader::registerTableReader(
        [](const std::shared_ptr<NITFFile>& file,
           const TableArguments& arguments) -> std::shared_ptr<TableReader> {
            if (tableArgumentText(arguments, L"TableType") != "SingleTRENested") {
                return nullptr;
            }
            return std::make_shared<SingleTREMultiLevelTableReader>(file, arguments);
        });
    return true;
}();

// The count a level's field holds; 0 when it isn't there or isn't a number.
int nestedLevelCount(nitf_TRE* tre, const std::string& name) {
    nitf_Field* field = nitf_TRE_getField(tre, name.c_str());
    if (field == nullptr) {
        return 0;
    }
    int32_t count = 0;
    nrt_Error error{};
    if (!nitf_Field_get(field, &count, NITF_CONV_INT, sizeof(count), &error)) {
        return 0;
    }
    return count;
}

// A repeating group can't hold more entries than its TRE has bytes, so a count field that
// claims more (a corrupt TRE, or a level naming a field that isn't a count) is held to that.
size_t nestedRowLimit(nitf_TRE* tre) {
    nrt_Error error{};
    const int size = nitf_TRE_getCurrentSize(tre, &error);
    return size > 0 ? static_cast<size_t>(size) : 0;
}

}  // namespace

SingleTREMultiLevelTableReader::SingleTREMultiLevelTableReader(
    const std::shared_ptr<NITFFile>& file, const TableArguments& arguments)
    : TableReader(file, arguments) {
    for (FieldDefinition& field : fields_) {
        templates_.push_back(field);
        if (const size_t dot = field.name.find(L'.'); dot != std::wstring::npos) {
            field.name.resize(dot);
        }
    }
    if (arguments.find(std::wstring_view(L"RowCountField")) == arguments.end()) {
        return;
    }
    tres_ = collectSourceTREs(arguments);
    rowCountField_ = tableArgumentText(arguments, L"RowCountField");
    const std::vector<std::string> levels = NITFPathInternal::splitItems(rowCountField_, ',');
    if (levels.empty()) {
        return;
    }
    const std::vector<std::string> following(levels.begin() + 1, levels.end());
    for (nitf_TRE* tre : tres_) {
        enumerateLevel(tre, levels.front(), following, {}, rows_.size() + nestedRowLimit(tre));
    }
}

void SingleTREMultiLevelTableReader::enumerateLevel(nitf_TRE* tre, const std::string& level,
                                                    const std::vector<std::string>& following,
                                                    RowIndices indices, size_t rowLimit) {
    std::string key = level;
    std::string nameTemplate = level;
    if (const size_t equals = level.find('='); equals != std::string::npos) {
        key = level.substr(0, equals);
        nameTemplate = level.substr(equals + 1);
    }
    const int count = nestedLevelCount(tre, expandNameTemplate(nameTemplate, indices));
    indices[key] = 0;
    const std::vector<std::string> rest(
        following.empty() ? following.begin() : following.begin() + 1, following.end());
    for (int i = 0; i < count && rows_.size() < rowLimit; ++i) {
        indices[key] = i;
        if (following.empty()) {
            rows_.push_back(indices);
        } else {
            enumerateLevel(tre, following.front(), rest, indices, rowLimit);
        }
    }
}

std::string SingleTREMultiLevelTableReader::expandNameTemplate(std::string_view nameTemplate,
                                                               const RowIndices& indices) {
    size_t dot = nameTemplate.find('.');
    if (dot == std::string_view::npos) {
        return std::string(nameTemplate);
    }
    std::string result(nameTemplate.substr(0, dot));
    while (dot != std::string_view::npos) {
        const size_t start = dot + 1;
        dot = nameTemplate.find('.', start);
        const std::string piece(
            nameTemplate.substr(start, dot == std::string_view::npos ? dot : dot - start));
        if (const auto found = indices.find(piece); found != indices.end()) {
            result += "[" + std::to_string(found->second) + "]";
        } else {
            result += "." + piece;
        }
    }
    return result;
}

int SingleTREMultiLevelTableReader::GetRowCount() const {
    return static_cast<int>(rows_.size());
}

any_type::value SingleTREMultiLevelTableReader::GetValue(int row, int column) const {
    if (row < 0 || static_cast<size_t>(row) >= rows_.size()) {
        return {};
    }
    this->column(column);
    const std::string name =
        expandNameTemplate(std::to_string(templates_[static_cast<size_t>(column)].name),
                           rows_[static_cast<size_t>(row)]);
    // Always the first TRE, whichever TRE gave the row.
    nitf_Field* field = tres_.empty() ? nullptr : nitf_TRE_getField(tres_.front(), name.c_str());
    if (field == nullptr) {
        return std::string(" - ");
    }
    return std::string(detail_tables::fieldText(field));
}

}  // namespace Tessel
