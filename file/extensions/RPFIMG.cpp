// RPFIMG: the location section of a raster product frame and the tables it locates. The
// numbers are big-endian binary; their tags carry the type word ".uint" so that paths render
// them as unsigned integers.

#include "file/extensions/ExtensionTables.h"

namespace {

nitf_TREDescription description[] = {
    {NITF_BINARY, 2, "location section length", "LOCLEN.uint", nullptr},
    {NITF_BINARY, 4, "component location table offset", "CLTOFF.uint", nullptr},
    {NITF_BINARY, 2, "# of section location records", "SECRECS.uint", nullptr},
    {NITF_BINARY, 2, "location record length", "RECLEN.uint", nullptr},
    {NITF_BINARY, 4, "component aggregate length", "AGGLEN.uint", nullptr},
    {NITF_LOOP, 0, nullptr, "SECRECS.uint", nullptr},
    {NITF_BINARY, 2, "location ID", "LOCID.uint", nullptr},
    {NITF_BINARY, 4, "location Length", "LOCSZ.uint", nullptr},
    {NITF_BINARY, 4, "Location", "LOCOFF.uint", nullptr},
    {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_BINARY, NITF_TRE_GOBBLE, "Table Data", "TABLEDATA", nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescriptionInfo infos[] = {
    {"RPFIMG", description, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

}  // namespace

nitf_TREDescriptionSet Tessel::ExtensionTables::RPFIMG = {0, infos};
