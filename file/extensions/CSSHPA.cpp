// CSSHPA: the user-defined subheader of a shapefile data extension: what the shapes are for,
// their class, the cloud cover source of cloud shapes, and where the three component files
// start in the segment's data. Whatever follows is kept as it stands.

#include "file/extensions/ExtensionTables.h"

namespace {

nitf_TREDescription description[] = {
    {NITF_BCS_A, 25, "Shapefile Use", "SHAPE_USE", nullptr},
    {NITF_BCS_A, 10, "Type of shapes", "SHAPE_CLASS", nullptr},
    // The use is compared over the whole blank-padded field.
    {NITF_IF, 0, "eq CLOUD_SHAPES             ", "SHAPE_USE", nullptr},
    {NITF_BCS_A, 18, "Source sensors(s) for determining cloud cover", "CC_SOURCE", nullptr},
    {NITF_ENDIF, 0, nullptr, nullptr, nullptr},
    {NITF_BCS_A, 3, "Name of first file in shapefile", "SHAPE1_NAME", nullptr},
    {NITF_BCS_N, 6, "Start location in bytes of the file as offset in the DES USER data",
     "SHAPE1_START", nullptr},
    {NITF_BCS_A, 3, "Name of second file in shapefile", "SHAPE2_NAME", nullptr},
    {NITF_BCS_N, 6, "Start location in bytes of the file as offset in the DES USER data",
     "SHAPE2_START", nullptr},
    {NITF_BCS_A, 3, "Name of third file in shapefile", "SHAPE3_NAME", nullptr},
    {NITF_BCS_N, 6, "Start location in bytes of the file as offset in the DES USER data",
     "SHAPE3_START", nullptr},
    {NITF_BCS_A, NITF_TRE_GOBBLE, "Not Supported", "NOT_SUPPORTED", nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescriptionInfo infos[] = {
    {"CSSHPA", description, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

}  // namespace

nitf_TREDescriptionSet Tessel::ExtensionTables::CSSHPA = {0, infos};
