// XML_DATA_CONTENT: the user-defined subheader of an XML data extension. Its length tells
// which fields it has: none, only the checksum (5 bytes), the document description
// (283 bytes) or also the location and abstract (773 bytes).

#include "platform/nitf/tres/BuiltinTREs.h"

namespace {

nitf_TREDescription descriptionCrc[] = {
    {NITF_BCS_N, 5, "Cyclic redundancy check, 99999 when absent", "DESCRC", nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescription descriptionDocument[] = {
    {NITF_BCS_N, 5, "Cyclic redundancy check, 99999 when absent", "DESCRC", nullptr},
    {NITF_BCS_A, 8, "XML file type", "DESSHFT", nullptr},
    {NITF_BCS_A, 20, "Date and time", "DESSHDT", nullptr},
    {NITF_BCS_A, 40, "Responsible party", "DESSHRP", nullptr},
    {NITF_BCS_A, 60, "Specification identifier", "DESSHSI", nullptr},
    {NITF_BCS_A, 10, "Specification version", "DESSHSV", nullptr},
    {NITF_BCS_A, 20, "Specification date", "DESSHSD", nullptr},
    {NITF_BCS_A, 120, "Target namespace", "DESSHTN", nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescription descriptionFull[] = {
    {NITF_BCS_N, 5, "Cyclic redundancy check, 99999 when absent", "DESCRC", nullptr},
    {NITF_BCS_A, 8, "XML file type", "DESSHFT", nullptr},
    {NITF_BCS_A, 20, "Date and time", "DESSHDT", nullptr},
    {NITF_BCS_A, 40, "Responsible party", "DESSHRP", nullptr},
    {NITF_BCS_A, 60, "Specification identifier", "DESSHSI", nullptr},
    {NITF_BCS_A, 10, "Specification version", "DESSHSV", nullptr},
    {NITF_BCS_A, 20, "Specification date", "DESSHSD", nullptr},
    {NITF_BCS_A, 120, "Target namespace", "DESSHTN", nullptr},
    {NITF_BCS_A, 125, "Location polygon", "DESSHLPG", nullptr},
    {NITF_BCS_A, 25, "Location point", "DESSHLPT", nullptr},
    {NITF_BCS_A, 20, "Location identifier", "DESSHLI", nullptr},
    {NITF_BCS_A, 120, "Location identifier namespace", "DESSHLIN", nullptr},
    {NITF_BCS_A, 200, "Abstract", "DESSHABS", nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescription descriptionEmpty[] = {
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescriptionInfo infos[] = {
    {"XML_DATA_CONTENT_005", descriptionCrc, 5},
    {"XML_DATA_CONTENT_283", descriptionDocument, 283},
    {"XML_DATA_CONTENT_773", descriptionFull, 773},
    // DESSHL 0: no subheader fields.
    {"XML_DATA_CONTENT_000", descriptionEmpty, 0},
    // The full layout again under the extension's own name, so that it can be built by name.
    {"XML_DATA_CONTENT", descriptionFull, 773},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

}  // namespace

nitf_TREDescriptionSet tessel::tres::XML_DATA_CONTENT = {0, infos};
