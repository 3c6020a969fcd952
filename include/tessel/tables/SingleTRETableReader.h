#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// "SingleTRE": the rows of one repeating group of one TRE. The row count is the value of the
// field named by "RowCountField", and the cell of row r in column "NAME" is the field
// "NAME[r]". Only the first TRE found by the sources is read.

#include <string>

#include "tessel/platform/nitf/nitf_TRE.h"
#include "tessel/tables/TableReader.h"

namespace Tessel {

class SingleTRETableReader : public TableReader {
public:
    SingleTRETableReader(const std::shared_ptr<NITFFile>& file, const TableArguments& arguments);

    // 0 without a count field name, a TRE or the field; throws
    // NitroUtils::NitroFieldException when the field isn't an integer.
    int GetRowCount() const override;
    // The field's text, trimmed, as wide text; an empty value when the field isn't there.
    any_type::value GetValue(int row, int column) const override;

private:
    nitf_TRE* tre_ = nullptr;
    std::string rowCountField_;
};

}  // namespace Tessel

TESSEL_PUBLIC_END
