#include "tessel/tables/MultiTRETableReader.h"

#include <stdexcept>

#include "tables/TableSources.h"
#include "tessel/platform/base/text.h"

namespace Tessel {
namespace {

const bool multiTRERegistered = [] {
    TableReader::registerTableReader(
        [](const std::shared_ptr<NITFFile>& file,
           const TableArguments& arguments) -> std::shared_ptr<TableReader> {
            if (tableArgumentText(arguments, L"TableType") != "MultiTRE") {
                return nullptr;
            }
            return std::make_shared<MultiTRETableReader>(file, arguments);
        });
    return true;
}();

}  // namespace

MultiTRETableReader::MultiTRETableReader(const std::shared_ptr<NITFFile>& file,
                                         const TableArguments& arguments)
    : TableReader(file, arguments), tres_(collectSourceTREs(arguments)) {}

int MultiTRETableReader::GetRowCount() const {
    return static_cast<int>(tres_.size());
}

any_type::value MultiTRETableReader::GetValue(int row, int column) const {
    if (row < 0 || static_cast<size_t>(row) >= tres_.size()) {
        throw std::out_of_range("invalid vector subscript");
    }
    const FieldDefinition& definition = this->column(column);
    nitf_Field* field =
        nitf_TRE_getField(tres_[static_cast<size_t>(row)], std::to_string(definition.name).c_str());
    if (field == nullptr) {
        return {};
    }
    return std::to_wstring(detail_tables::trimmedFieldText(field));
}

}  // namespace Tessel
