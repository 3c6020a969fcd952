#pragma once
// Where the TREs of a table's source are: the extension sections of the file header or of
// one image segment, each followed by the section of its overflow data extension segment.

#include <string_view>
#include <vector>

#include "tessel/core/NITFMessages.h"
#include "tessel/platform/nitf/nitf_Record.h"
#include "tessel/platform/nitf/nitf_TRE.h"

namespace Tessel::detail_tables {

// Appends every TRE tagged exactly `tag` of the sections that `segment` ("FileHeader" or
// "Images") and `index` name. For the file header the overflow followed is the one that
// image segment 0 names, never the header's own. NITRO failures go to `messages` and the
// sections gathered so far are still searched.
void appendSourceTREs(nitf_Record* record, std::wstring_view segment, int index,
                      std::string_view tag, std::vector<nitf_TRE*>& out, NITFMessages& messages);

// A field's text as stored, and trimmed of blanks at both ends.
std::string_view fieldText(const nitf_Field* field);
std::string_view trimmedFieldText(const nitf_Field* field);

}  // namespace Tessel::detail_tables
