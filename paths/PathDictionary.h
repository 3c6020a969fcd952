#pragma once

#include "tessel/core/Visibility.h"
TESSEL_INTERNAL_BEGIN
// The path dictionary: which keys a file offers, in which order, and how each maps onto the
// NITRO record. Every builder records pointers into the record only; the children of a
// segment are made when the walker enters them.

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

#include "tessel/core/NITFMessages.h"
#include "tessel/paths/Node.h"
#include "tessel/paths/PathContext.h"
#include "tessel/platform/nitf/nitf_Reader.h"
#include "tessel/platform/nitf/nitf_Record.h"

namespace NitroUtils {

// The exception class of the dictionary layer; the tables never throw it in normal use.
class NitroFieldException : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// One row of a field table: the field's name as the NITRO constant ("NITF_IID1"), where the
// field sits in the header structure, its encoder and decoder (empty: the defaults) and
// whether a write leaves it alone. A table ends with a row without a name.
template <typename Header>
struct NitroFieldHelper {
    const char* name = nullptr;
    nitf_Field* Header::*member = nullptr;
    NITFPathInternal::FieldEncoder encoder;
    NITFPathInternal::FieldDecoder decoder;
    bool readOnly = false;
};

}  // namespace NitroUtils

// A row of a field table: the name as the NITRO constant and the member that it names.
#define TESSEL_FIELD(Header, NAME)                         \
    NitroUtils::NitroFieldHelper<Header> {                 \
        "NITF_" #NAME, &Header::NITF_##NAME, {}, {}, false \
    }
#define TESSEL_FIELD_RO(Header, NAME)                     \
    NitroUtils::NitroFieldHelper<Header> {                \
        "NITF_" #NAME, &Header::NITF_##NAME, {}, {}, true \
    }

namespace NITFPathInternal {

// The key of a field: its NITRO name without "NITF_". Throws std::length_error for a name
// shorter than that prefix.
std::string fieldKey(std::string_view name);

// Adds a Field node for each row of the table, the prefix before each key.
template <typename Header>
void push_back_fields(Dict& dict, Header* header, const NitroUtils::NitroFieldHelper<Header>* table,
                      std::string_view prefix = {}) {
    for (const auto* row = table; row->name != nullptr; ++row) {
        std::string key(prefix);
        key += fieldKey(row->name);
        dict.add(std::move(key), Node::makeField(header->*(row->member), row->encoder, row->decoder,
                                                 row->readOnly ? FlagReadOnly : FlagNormal));
    }
}

// The root: "Version", "FileHeader", "Images", "Text", "Graphics", "Labels", "DESs", "Data".
Dict toDict(PathContext& context);

Dict encodeFileHeader(nitf_FileHeader* header, PathContext& context);
Dict encodeImage(nitf_ImageSegment* segment, int index, PathContext& context);
Dict encodeText(nitf_TextSegment* segment, int index, PathContext& context);
Dict encodeGraphic(nitf_GraphicSegment* segment, int index, PathContext& context);
Dict encodeLabel(nitf_LabelSegment* segment, int index, PathContext& context);
// A data extension segment; `withID` adds "_desID", as a lookup by key does.
Dict encodeDESAlt(nitf_DESegment* segment, int index, PathContext& context, bool withID);

// The lookup of the "DESs" array: the first segment whose tag, tag and item, tag, item and
// index, tag and index, or (for shapefile segments) use matches the key; Empty when none.
Node findDES(nrt_List* segments, PathContext& context, std::string_view key);

// Adds "Security" over a security group, each key with the prefix before it.
void push_back_block(Dict& dict, nitf_FileSecurity* security, std::string_view prefix);

// Adds "TREs": the listing of the first section, then of the second (either may be null).
void push_back_tres(Dict& dict, nitf_Extensions* first, nitf_Extensions* second,
                    nitf_Field* overflow, PathContext& context);

// Lists one section: an entry per TRE id, which turns into an array when the id comes again.
void appendSection(Dict& dict, nitf_Extensions* section, Tessel::NITFMessages& messages,
                   const PathList& path);

// A TRE's fields: "_treID", then either "_isRaw" and "raw_data", or every field in order,
// with the fields of repeating groups as nested arrays.
Dict encodeNitroTRE(nitf_TRE* tre, Tessel::NITFMessages& messages, const PathList& path);

// Places one TRE field by its NITRO name: "ABC" or "ABC.uint" as an entry, "ABC[2][1]" as
// element 1 of element 2 of the array "ABC".
void encodeNitroByPath(Dict& dict, std::string_view tag, nitf_Field* field);

// Makes a reader of segment `index` of the record behind `reader`.
using SegmentReaderConstructor = nitf_SegmentReader* (*)(nitf_Reader* reader, int index,
                                                         nitf_Error* error);

// The body of a segment, read once and then kept in the context's block cache under
// "{name}-{index}"; empty when it can't be read. The view lives as long as the cache.
std::string_view readSegmentBody(PathContext& context, std::string_view name, int index,
                                 SegmentReaderConstructor construct);

// A Field node with no field that renders the segment body: as it is, or as base64.
Node encode_segment_data(int index, PathContext& context, std::string_view name,
                         SegmentReaderConstructor construct, bool base64);

// An XML document as a dictionary: per element its attributes ("@name"), then its children,
// text as "#text". An unparsable document gives an empty dictionary and a message.
Dict encodeXMLContent(std::string_view bytes, Tessel::NITFMessages& messages, const PathList& path);

}  // namespace NITFPathInternal

TESSEL_INTERNAL_END
