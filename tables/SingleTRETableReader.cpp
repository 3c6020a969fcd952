#include "tessel/tables/SingleTRETableReader.h"

#include <boost/format.hpp>

#include "paths/PathDictionary.h"
#include "tables/TableSources.h"
#include "tessel/platform/base/text.h"

namespace Tessel {
namespace {

const bool singleTRERegistered = [] {
    TableReader::registerTableReader(
        [](const std::shared_ptr<NITFFile>& file,
           const TableArguments& arguments) -> std::shared_ptr<TableReader> {
            if (tableArgumentText(arguments, L"TableType") != "SingleTRE") {
                return nullptr;
            }
            return std::make_shared<SingleTRETableReader>(file, arguments);
        });
    return true;
}();

}  // namespace

SingleTRETableReader::SingleTRETableReader(const std::shared_ptr<NITFFile>& file,
                                           const TableArguments& arguments)
    : TableReader(file, arguments), rowCountField_(tableArgumentText(arguments, L"RowCountField")) {
    const std::vector<nitf_TRE*> tres = collectSourceTREs(arguments);
    if (!tres.empty()) {
        tre_ = tres.front();
    }
}

int SingleTRETableReader::GetRowCount() const {
    if (rowCountField_.empty() || tre_ == nullptr) {
        return 0;
    }
    nitf_Field* field = nitf_TRE_getField(tre_, rowCountField_.c_str());
    if (field == nullptr) {
        return 0;
    }
    int32_t count = 0;
    nrt_Error error{};
    if (!nitf_Field_get(field, &count, NITF_CONV_INT, sizeof(count), &error)) {
        throw NitroUtils::NitroFieldException("Field '" + rowCountField_ + "' of " + tre_->tag +
                                              " is not an integer: " + error.message);
    }
    return count;
}

any_type::value SingleTRETableReader::GetValue(int row, int column) const {
    const FieldDefinition& definition = this->column(column);
    if (tre_ == nullptr) {
        return {};
    }
    const std::string name =
        (boost::format("%1%[%2%]") % std::to_string(definition.name) % static_cast<unsigned>(row))
            .str();
    nitf_Field* field = nitf_TRE_getField(tre_, name.c_str());
    if (field == nullptr) {
        return {};
    }
    return std::to_wstring(detail_tables::trimmedFieldText(field));
}

}  // namespace Tessel
