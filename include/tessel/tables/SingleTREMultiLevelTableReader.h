#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// "SingleTRENested": the rows of nested repeating groups. "RowCountField" lists the levels,
// outermost first, each "key=template" or a bare template that is its own key; rows are the
// nested loops over the levels' counts, the last level fastest. Column names and level
// templates are name templates: "ATTR.i.VALUE.j" reads "ATTR[2].VALUE[3]" in the row where
// i is 2 and j is 3.

#include <map>
#include <string>
#include <vector>

#include "tessel/platform/nitf/nitf_TRE.h"
#include "tessel/tables/TableReader.h"

namespace Tessel {

class SingleTREMultiLevelTableReader : public TableReader {
public:
    using RowIndices = std::map<std::string, int>;

    SingleTREMultiLevelTableReader(const std::shared_ptr<NITFFile>& file,
                                   const TableArguments& arguments);

    int GetRowCount() const override;
    // An empty value for a row out of range; the field's raw text, not trimmed, as narrow
    // text, or " - " when the field isn't there. Cells always come from the first TRE.
    any_type::value GetValue(int row, int column) const override;

    // A name template with the indices of a row: pieces after the first dot that are keys
    // become "[index]", the others ".piece".
    static std::string expandNameTemplate(std::string_view nameTemplate, const RowIndices& indices);

private:
    void enumerateLevel(nitf_TRE* tre, const std::string& level,
                        const std::vector<std::string>& following, RowIndices indices,
                        size_t rowLimit);

    std::vector<nitf_TRE*> tres_;
    std::vector<RowIndices> rows_;
    std::vector<FieldDefinition> templates_;
    std::string rowCountField_;
};

}  // namespace Tessel

TESSEL_PUBLIC_END
