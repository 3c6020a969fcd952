#pragma once
// The record layer's view of a NITF file as JSON: every header and subheader field under
// NITRO's field name, the bands, where each segment lies, and every TRE field by field.
//
// Values:
//   * text fields (BCS-A, BCS-N) are strings holding every byte of the field, blanks
//     included. The bytes are read as ISO 8859-1, the character set of NITF's extended
//     text, so that bytes above 127 become the UTF-8 form of the same character and the
//     document stays valid UTF-8 (control bytes come out as JSON escapes);
//   * binary fields are objects {"base64": "..."} of the bytes the record layer holds (it
//     holds 2-byte binary TRE fields in host order);
//   * a TRE is {"tag", "id" (its layout, or "raw_data"), "length", "fields"}; a TRE that
//     no layout parsed has the single binary field "raw_data".
// NITF 2.00 security groups show the fields the file has under their own names (CODE,
// CTLH, REL, CAUT, CTLN, DWNG and DEVT after the prefix).

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "tessel/platform/nitf.h"

namespace tessel_cli {

using RecordJson = nlohmann::ordered_json;

// The key of the object that holds a binary value.
inline constexpr const char* kBinaryKey = "base64";

// Bytes read as ISO 8859-1, written as UTF-8.
std::string latin1ToUtf8(std::string_view bytes);

// One field: a string for text, {"base64": ...} for binary; null for a missing field.
RecordJson fieldJson(const nitf_Field* field);

// One TRE with its fields in the enumerator's order.
RecordJson treJson(nitf_TRE* tre);

// The whole record; `reader` (may be null) gives the warnings of the read.
RecordJson recordJson(nitf_Record* record, const nitf_Reader* reader);

// Reads the file and describes its record; throws std::runtime_error with the record
// layer's message when the file can't be read.
RecordJson readRecordJson(const std::string& path);

// The same description for people: indented, one field per line, text trimmed of
// trailing blanks and quoted, binary values in hexadecimal.
std::string recordText(const RecordJson& record);

}  // namespace tessel_cli
