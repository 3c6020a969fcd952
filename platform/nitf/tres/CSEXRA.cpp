// CSEXRA: exploitation reference data of a commercial image: timing, sample distances,
// viewing and sun angles, predicted quality and error estimates. 132 bytes.

#include "platform/nitf/tres/BuiltinTREs.h"

namespace {

nitf_TREDescription description[] = {
    {NITF_BCS_A, 6, "Sensor", "SENSOR", nullptr},
    {NITF_BCS_N, 12, "Time of the first line, seconds of day", "TIME_FIRST_LINE_IMAGE", nullptr},
    {NITF_BCS_N, 12, "Collection duration, seconds", "TIME_IMAGE_DURATION", nullptr},
    {NITF_BCS_N, 5, "Largest ground sample distance", "MAX_GSD", nullptr},
    {NITF_BCS_A, 5, "Along-scan sample distance", "ALONG_SCAN_GSD", nullptr},
    {NITF_BCS_A, 5, "Cross-scan sample distance", "CROSS_SCAN_GSD", nullptr},
    {NITF_BCS_A, 5, "Geometric mean sample distance", "GEO_MEAN_GSD", nullptr},
    {NITF_BCS_A, 5, "Along-scan vertical sample distance", "A_S_VERT_GSD", nullptr},
    {NITF_BCS_A, 5, "Cross-scan vertical sample distance", "C_S_VERT_GSD", nullptr},
    {NITF_BCS_A, 5, "Geometric mean vertical sample distance", "GEO_MEAN_VERT_GSD", nullptr},
    {NITF_BCS_A, 5, "Angle between the sample axes", "GSD_BETA_ANGLE", nullptr},
    {NITF_BCS_N, 5, "Dynamic range", "DYNAMIC_RANGE", nullptr},
    {NITF_BCS_N, 7, "Lines", "NUM_LINES", nullptr},
    {NITF_BCS_N, 5, "Samples per line", "NUM_SAMPLES", nullptr},
    {NITF_BCS_N, 7, "Angle to north, degrees", "ANGLE_TO_NORTH", nullptr},
    {NITF_BCS_N, 6, "Obliquity angle, degrees", "OBLIQUITY_ANGLE", nullptr},
    {NITF_BCS_N, 7, "Azimuth of obliquity, degrees", "AZ_OF_OBLIQUITY", nullptr},
    {NITF_BCS_N, 1, "Ground cover", "GRD_COVER", nullptr},
    {NITF_BCS_N, 1, "Snow depth category", "SNOW_DEPTH_CAT", nullptr},
    {NITF_BCS_N, 7, "Sun azimuth, degrees", "SUN_AZIMUTH", nullptr},
    {NITF_BCS_N, 7, "Sun elevation, degrees", "SUN_ELEVATION", nullptr},
    {NITF_BCS_A, 3, "Predicted interpretability rating", "PREDICTED_NIIRS", nullptr},
    {NITF_BCS_N, 3, "Circular error, feet", "CIRCL_ERR", nullptr},
    {NITF_BCS_N, 3, "Linear error, feet", "LINEAR_ERR", nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescriptionInfo infos[] = {
    {"CSEXRA", description, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

}  // namespace

nitf_TREDescriptionSet tessel::tres::CSEXRA = {0, infos};
