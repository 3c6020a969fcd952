// ACFTB: aircraft information: mission, aircraft and sensor identification, entry and exit
// locations, sample spacing and sensor calibration. 207 bytes.

#include "platform/nitf/tres/BuiltinTREs.h"

namespace {

nitf_TREDescription description[] = {
    {NITF_BCS_A, 20, "Aircraft mission identification", "AC_MSN_ID", nullptr},
    {NITF_BCS_A, 10, "Aircraft tail number", "AC_TAIL_NO", nullptr},
    {NITF_BCS_A, 12, "Take-off date and time", "AC_TO", nullptr},
    {NITF_BCS_A, 4, "Sensor type", "SENSOR_ID_TYPE", nullptr},
    {NITF_BCS_A, 6, "Sensor", "SENSOR_ID", nullptr},
    {NITF_BCS_N, 1, "Scene source", "SCENE_SOURCE", nullptr},
    {NITF_BCS_N, 6, "Scene number", "SCNUM", nullptr},
    {NITF_BCS_N, 8, "Processing date", "PDATE", nullptr},
    {NITF_BCS_N, 6, "Immediate scene host", "IMHOSTNO", nullptr},
    {NITF_BCS_N, 5, "Immediate scene request", "IMREQID", nullptr},
    {NITF_BCS_N, 3, "Mission plan mode", "MPLAN", nullptr},
    {NITF_BCS_A, 25, "Entry location", "ENTLOC", nullptr},
    {NITF_BCS_A, 6, "Location accuracy", "LOC_ACCY", nullptr},
    {NITF_BCS_A, 6, "Entry elevation", "ENTELV", nullptr},
    {NITF_BCS_A, 1, "Elevation unit", "ELV_UNIT", nullptr},
    {NITF_BCS_A, 25, "Exit location", "EXITLOC", nullptr},
    {NITF_BCS_A, 6, "Exit elevation", "EXITELV", nullptr},
    {NITF_BCS_A, 7, "True map angle", "TMAP", nullptr},
    {NITF_BCS_A, 7, "Row spacing", "ROW_SPACING", nullptr},
    {NITF_BCS_A, 1, "Row spacing unit", "ROW_SPACING_UNITS", nullptr},
    {NITF_BCS_A, 7, "Column spacing", "COL_SPACING", nullptr},
    {NITF_BCS_A, 1, "Column spacing unit", "COL_SPACING_UNITS", nullptr},
    {NITF_BCS_A, 6, "Focal length, cm", "FOCAL_LENGTH", nullptr},
    {NITF_BCS_A, 6, "Sensor serial number", "SENSERIAL", nullptr},
    {NITF_BCS_A, 7, "Airborne software version", "ABSWVER", nullptr},
    {NITF_BCS_A, 8, "Calibration date", "CAL_DATE", nullptr},
    {NITF_BCS_N, 4, "Number of patches", "PATCH_TOT", nullptr},
    {NITF_BCS_N, 3, "Number of moving target reports", "MTI_TOT", nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescriptionInfo infos[] = {
    {"ACFTB", description, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

}  // namespace

nitf_TREDescriptionSet tessel::tres::ACFTB = {0, infos};
