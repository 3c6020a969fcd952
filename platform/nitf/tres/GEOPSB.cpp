// GEOPSB: the geographic reference system of a file: coordinate type and unit, datum,
// ellipsoid, vertical and sounding datums, and the grid. 443 bytes.

#include "platform/nitf/tres/BuiltinTREs.h"

namespace {

nitf_TREDescription description[] = {
    {NITF_BCS_A, 3, "Coordinate system type", "TYP", nullptr},
    {NITF_BCS_A, 3, "Coordinate unit", "UNI", nullptr},
    {NITF_BCS_A, 80, "Geodetic datum name", "DAG", nullptr},
    {NITF_BCS_A, 4, "Geodetic datum code", "DCD", nullptr},
    {NITF_BCS_A, 80, "Ellipsoid name", "ELL", nullptr},
    {NITF_BCS_A, 3, "Ellipsoid code", "ELC", nullptr},
    {NITF_BCS_A, 80, "Vertical datum name", "DVR", nullptr},
    {NITF_BCS_A, 4, "Vertical datum code", "VDCDVR", nullptr},
    {NITF_BCS_A, 80, "Sounding datum name", "SDA", nullptr},
    {NITF_BCS_A, 4, "Sounding datum code", "VDCSDA", nullptr},
    {NITF_BCS_N, 15, "False origin of Z values", "ZOR", nullptr},
    {NITF_BCS_A, 3, "Grid code", "GRD", nullptr},
    {NITF_BCS_A, 80, "Grid description", "GRN", nullptr},
    {NITF_BCS_N, 4, "Grid zone", "ZNA", nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescriptionInfo infos[] = {
    {"GEOPSB", description, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

}  // namespace

nitf_TREDescriptionSet tessel::tres::GEOPSB = {0, infos};
