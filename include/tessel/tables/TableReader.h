#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// TREs as tables of rows and typed columns. A table definition, given as data, names the
// TREs, the segments to search, the columns and how rows are counted; a reader holds no copy
// of the table and reads every cell from the TRE when it is asked for. Readers keep raw
// pointers into the file's record: the file must outlive them.

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "tessel/core/any_type.h"
#include "tessel/platform/nitf/nitf_TRE.h"

namespace Tessel {

class NITFFile;

// The definition of a table: "TableType", "Fields", "Sources" and "RowCountField".
using TableArguments = std::map<std::wstring, any_type::value, std::less<>>;

// One column of a table. The type is information for the caller: no reader converts a
// cell by it.
struct FieldDefinition {
    enum eFieldType : int32_t {
        eString = 0,   // "string", and any word not listed here
        eDouble = 1,   // "double"
        eInteger = 2,  // "integer"
        eOID = 3,      // "oid"
    };
    std::wstring name;
    eFieldType type = eString;

    // The type of a word of a definition; unknown words are strings.
    static eFieldType typeFromWord(std::string_view word);
};

class TableReader {
public:
    using maker_type = std::function<std::shared_ptr<TableReader>(
        const std::shared_ptr<NITFFile>& file, const TableArguments& arguments)>;

    // Appends a maker; makers are tried in the order of registration. For static
    // initialisers: the registry isn't locked.
    static void registerTableReader(maker_type maker);

    virtual ~TableReader();
    TableReader(const TableReader&) = delete;
    TableReader& operator=(const TableReader&) = delete;

    virtual int GetRowCount() const = 0;
    // Throws std::out_of_range "invalid vector subscript" for a column out of range.
    virtual any_type::value GetValue(int row, int column) const = 0;

    // The columns in definition order.
    const std::vector<FieldDefinition>& GetFields() const { return fields_; }

protected:
    // Reads the columns of "Fields"; malformed JSON or a column object without "name" or
    // "type" throws the JSON library's exception.
    TableReader(const std::shared_ptr<NITFFile>& file, const TableArguments& arguments);

    std::shared_ptr<NITFFile> getNITFFile() const { return file_.lock(); }

    // Calls `callback` for every source object of a "Sources" text, in order. An element
    // that isn't an object, or lacks "name", "segment" or "index", throws the JSON
    // library's exception; a name or segment that isn't a string skips the element. The
    // index is a number, or a text holding an integer, else -1.
    void iterateSources(
        const any_type::value& sources,
        const std::function<void(const std::wstring_view& name, const std::wstring_view& segment,
                                 int index)>& callback) const;

    // Every TRE of the "Sources" of `arguments`, in source order; none without a file.
    std::vector<nitf_TRE*> collectSourceTREs(const TableArguments& arguments) const;

    // The column, or std::out_of_range "invalid vector subscript".
    const FieldDefinition& column(int index) const;

    std::vector<FieldDefinition> fields_;
    std::weak_ptr<NITFFile> file_;

private:
    friend class NITFFile;
    // The first reader that a registered maker makes of the arguments, or nothing.
    static std::shared_ptr<TableReader> createTableReader(const std::shared_ptr<NITFFile>& file,
                                                          const TableArguments& arguments);
};

// The value of a definition key as narrow text: texts as they are, other values in their
// text form, nothing for an absent key.
std::string tableArgumentText(const TableArguments& arguments, std::wstring_view key);

}  // namespace Tessel

TESSEL_PUBLIC_END
