// RPFHDR: the header section of a raster product format frame: byte order, section length,
// frame file name, governing standard, security and the offset of the location section.
// 48 bytes; the multi-byte numbers are big-endian binary.

#include "platform/nitf/tres/BuiltinTREs.h"

namespace {

nitf_TREDescription description[] = {
    {NITF_BINARY, 1, "Byte order (0 = big-endian)", "ENDIAN", nullptr},
    {NITF_BINARY, 2, "Header section length", "HDSECL", nullptr},
    {NITF_BCS_A, 12, "Frame file name", "FILENM", nullptr},
    {NITF_BINARY, 1, "New, replacement or update", "NEWFLG", nullptr},
    {NITF_BCS_A, 15, "Governing standard number", "STDNUM", nullptr},
    {NITF_BCS_A, 8, "Governing standard date", "STDDAT", nullptr},
    {NITF_BCS_A, 1, "Security classification", "CLASS", nullptr},
    {NITF_BCS_A, 2, "Security country", "COUNTR", nullptr},
    {NITF_BCS_A, 2, "Security release", "RELEAS", nullptr},
    {NITF_BINARY, 4, "Offset of the location section", "LOCSEC", nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescriptionInfo infos[] = {
    {"RPFHDR", description, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

}  // namespace

nitf_TREDescriptionSet tessel::tres::RPFHDR = {0, infos};
