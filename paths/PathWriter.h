#pragma once
// The write side of the path dictionary: field decoders that store text into NITRO fields,
// the reshaping of an image subheader, the create functions that add segments, bands,
// comments and TREs, and the walk of a value tree onto a target tree.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "tessel/core/NITFMessages.h"
#include "tessel/paths/Node.h"
#include "tessel/paths/PathContext.h"
#include "tessel/platform/nitf/nitf_Extensions.h"
#include "tessel/platform/nitf/nitf_ImageSubheader.h"
#include "tessel/platform/nitf/nitf_Record.h"

namespace NITFPathInternal {

// The default field decoder. BCS-A and BCS-N text is stored as it is; a binary field of at
// most 8 bytes takes "HEX:" and a hexadecimal number as its raw bytes in machine order,
// any other binary text is base64. A value that doesn't fit the field's type or width is
// refused before anything is stored, with the path, the value and the reason.
bool decodeField(nitf_Field* field, const std::string& text, Tessel::NITFMessages& messages,
                 const PathList& path);

// The decoder of FBKGC: "#RRGGBB" into the field's three bytes, most significant first.
bool decodeBackgroundColor(nitf_Field* field, const std::string& text,
                           Tessel::NITFMessages& messages, const PathList& path);

// Sets the pixel information and the blocking of a subheader again from its own fields,
// with `bands` bands (or its band count): existing bands are kept, new ones are "R" bands
// with no lookup tables. NBPR and NBPC follow from the blocking.
bool reshapeImage(nitf_ImageSubheader* subheader, std::optional<uint32_t> bands,
                  Tessel::NITFMessages& messages, const PathList& path);

// The decoder of NROWS, NCOLS, PVTYPE, PJUST, IMODE, NBPR, NBPC, NPPBH and NPPBV: the text
// is stored, then the subheader reshaped.
FieldDecoder imageShapeDecoder(nitf_ImageSubheader* subheader);
// The decoder of NBANDS: the text is a band count to reshape to; anything that isn't a whole
// unsigned number reshapes to 0 bands, which NITRO refuses.
FieldDecoder bandCountDecoder(nitf_ImageSubheader* subheader);

// The decoder of XBANDS: a count of 0 is accepted as it stands while NBANDS holds the
// count; any other text reshapes as NBANDS does.
FieldDecoder extendedBandCountDecoder(nitf_ImageSubheader* subheader);

// Create functions of the segment lists of a record. Labels can't be added.
CreateFunction createImageSegment(nitf_Record* record);
CreateFunction createTextSegment(nitf_Record* record);
CreateFunction createGraphicSegment(nitf_Record* record);
CreateFunction createDESegment(nitf_Record* record);
CreateFunction createLabelSegment();
// A new band: a reshape to one band more.
CreateFunction createBand(nitf_ImageSubheader* subheader);
// A new 80-character comment.
CreateFunction createComment(nitf_ImageSubheader* subheader);
// A new TRE of the name, appended to `section`.
CreateFunction createTRE(nitf_Extensions* section);
// The create function of a TRE's entry: another TRE of its id for "TRE" or the id.
CreateFunction createInTRE(nitf_TRE* tre, nitf_Extensions* section);
// The subheader TRE of a data extension segment, named by its DESTAG.
CreateFunction createDESSubheaderTRE(nitf_DESubheader* subheader);

// The decoder of a segment body: the text (or, with base64, its decoded bytes) is kept in
// the context's block cache under "{name}-{index}", where a later read and the writer find
// it.
FieldDecoder segmentDataDecoder(PathContext& context, std::string name, int index, bool base64);

// Stores a value tree into a target tree. Dictionaries go entry by entry (making missing
// entries), arrays element by element (growing the target), String values into fields
// through their decoders. `path` is the path of the target; it is restored on return.
bool decodeNode(Node& target, Node& source, Tessel::NITFMessages& messages, PathList& path);

// The value of a write as a node: a String for FormatString, the tree of a JSON text for
// FormatJSON, Empty for any other format or a JSON text that can't be used.
Node valueNode(const std::string& value, PathContext::FormatType format,
               Tessel::NITFMessages& messages);

// A value as messages quote it: its first 30 characters, with "..." behind when it is longer.
std::string shortenedValue(const std::string& value);

}  // namespace NITFPathInternal
