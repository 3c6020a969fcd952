// CSCRNA: the ground coordinates and heights of the four image corners, as decimal
// degrees and metres. 109 bytes.

#include "platform/nitf/tres/BuiltinTREs.h"

namespace {

nitf_TREDescription description[] = {
    {NITF_BCS_A, 1, "Corners predicted (Y) or measured (N)", "PREDICT_CORNERS", nullptr},
    {NITF_BCS_N, 9, "Upper left corner latitude", "ULCNR_LAT", nullptr},
    {NITF_BCS_N, 10, "Upper left corner longitude", "ULCNR_LONG", nullptr},
    {NITF_BCS_N, 8, "Upper left corner height", "ULCNR_HT", nullptr},
    {NITF_BCS_N, 9, "Upper right corner latitude", "URCNR_LAT", nullptr},
    {NITF_BCS_N, 10, "Upper right corner longitude", "URCNR_LONG", nullptr},
    {NITF_BCS_N, 8, "Upper right corner height", "URCNR_HT", nullptr},
    {NITF_BCS_N, 9, "Lower right corner latitude", "LRCNR_LAT", nullptr},
    {NITF_BCS_N, 10, "Lower right corner longitude", "LRCNR_LONG", nullptr},
    {NITF_BCS_N, 8, "Lower right corner height", "LRCNR_HT", nullptr},
    {NITF_BCS_N, 9, "Lower left corner latitude", "LLCNR_LAT", nullptr},
    {NITF_BCS_N, 10, "Lower left corner longitude", "LLCNR_LONG", nullptr},
    {NITF_BCS_N, 8, "Lower left corner height", "LLCNR_HT", nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescriptionInfo infos[] = {
    {"CSCRNA", description, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

}  // namespace

nitf_TREDescriptionSet tessel::tres::CSCRNA = {0, infos};
