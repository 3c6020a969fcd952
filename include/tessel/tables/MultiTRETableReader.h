#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// "MultiTRE": one TRE per row, every TRE of the sources in source order; the cell of column
// "NAME" is the TRE's field "NAME".

#include <vector>

#include "tessel/platform/nitf/nitf_TRE.h"
#include "tessel/tables/TableReader.h"

namespace Tessel {

class MultiTRETableReader : public TableReader {
public:
    MultiTRETableReader(const std::shared_ptr<NITFFile>& file, const TableArguments& arguments);

    int GetRowCount() const override;
    // Throws std::out_of_range "invalid vector subscript" for a row or column out of range;
    // an empty value when the field isn't there, else its trimmed text as wide text.
    any_type::value GetValue(int row, int column) const override;

private:
    std::vector<nitf_TRE*> tres_;
};

}  // namespace Tessel

TESSEL_PUBLIC_END
