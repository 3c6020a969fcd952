// USE00A: exploitation usability: orientation, sample distance, obliquity and sun angles
// of an image, with many reserved fields. 107 bytes.

#include "platform/nitf/tres/BuiltinTREs.h"

namespace {

nitf_TREDescription description[] = {
    {NITF_BCS_N, 3, "Angle to north, degrees", "ANGLE_TO_NORTH", nullptr},
    {NITF_BCS_A, 5, "Mean ground sample distance, inches", "MEAN_GSD", nullptr},
    {NITF_BCS_A, 1, "Reserved", "rsrvd01", nullptr},
    {NITF_BCS_N, 5, "Dynamic range", "DYNAMIC_RANGE", nullptr},
    {NITF_BCS_A, 3, "Reserved", "rsrvd02", nullptr},
    {NITF_BCS_A, 1, "Reserved", "rsrvd03", nullptr},
    {NITF_BCS_A, 3, "Reserved", "rsrvd04", nullptr},
    {NITF_BCS_A, 5, "Obliquity angle, degrees", "OBL_ANG", nullptr},
    {NITF_BCS_A, 6, "Roll angle, degrees", "ROLL_ANG", nullptr},
    {NITF_BCS_A, 12, "Reserved", "rsrvd05", nullptr},
    {NITF_BCS_A, 15, "Reserved", "rsrvd06", nullptr},
    {NITF_BCS_A, 4, "Reserved", "rsrvd07", nullptr},
    {NITF_BCS_A, 1, "Reserved", "rsrvd08", nullptr},
    {NITF_BCS_A, 3, "Reserved", "rsrvd09", nullptr},
    {NITF_BCS_A, 1, "Reserved", "rsrvd10", nullptr},
    {NITF_BCS_A, 1, "Reserved", "rsrvd11", nullptr},
    {NITF_BCS_N, 2, "Reference number", "N_REF", nullptr},
    {NITF_BCS_N, 5, "Revolution number", "REV_NUM", nullptr},
    {NITF_BCS_N, 3, "Segment number", "N_SEG", nullptr},
    {NITF_BCS_N, 6, "Lines per segment, at most", "MAX_LP_SEG", nullptr},
    {NITF_BCS_A, 6, "Reserved", "rsrvd12", nullptr},
    {NITF_BCS_A, 6, "Reserved", "rsrvd13", nullptr},
    {NITF_BCS_A, 5, "Sun elevation, degrees", "SUN_EL", nullptr},
    {NITF_BCS_A, 5, "Sun azimuth, degrees", "SUN_AZ", nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescriptionInfo infos[] = {
    {"USE00A", description, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

}  // namespace

nitf_TREDescriptionSet tessel::tres::USE00A = {0, infos};
