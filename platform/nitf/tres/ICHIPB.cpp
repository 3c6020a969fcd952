// ICHIPB: the mapping between a chipped image and the full image it came from, given by
// four grid points in both pixel spaces. 224 bytes.

#include "platform/nitf/tres/BuiltinTREs.h"

namespace {

nitf_TREDescription description[] = {
    {NITF_BCS_A, 2, "Non-linear transform (01) or not (00)", "XFRM_FLAG", nullptr},
    {NITF_BCS_A, 10, "Scale relative to the original", "SCALE_FACTOR", nullptr},
    {NITF_BCS_A, 2, "Anamorphic correction applied", "ANAMRPH_CORR", nullptr},
    {NITF_BCS_A, 2, "Scan block number", "SCANBLK_NUM", nullptr},
    {NITF_BCS_A, 12, "Chip row of grid point (1,1)", "OP_ROW_11", nullptr},
    {NITF_BCS_A, 12, "Chip column of grid point (1,1)", "OP_COL_11", nullptr},
    {NITF_BCS_A, 12, "Chip row of grid point (1,2)", "OP_ROW_12", nullptr},
    {NITF_BCS_A, 12, "Chip column of grid point (1,2)", "OP_COL_12", nullptr},
    {NITF_BCS_A, 12, "Chip row of grid point (2,1)", "OP_ROW_21", nullptr},
    {NITF_BCS_A, 12, "Chip column of grid point (2,1)", "OP_COL_21", nullptr},
    {NITF_BCS_A, 12, "Chip row of grid point (2,2)", "OP_ROW_22", nullptr},
    {NITF_BCS_A, 12, "Chip column of grid point (2,2)", "OP_COL_22", nullptr},
    {NITF_BCS_A, 12, "Full image row of grid point (1,1)", "FI_ROW_11", nullptr},
    {NITF_BCS_A, 12, "Full image column of grid point (1,1)", "FI_COL_11", nullptr},
    {NITF_BCS_A, 12, "Full image row of grid point (1,2)", "FI_ROW_12", nullptr},
    {NITF_BCS_A, 12, "Full image column of grid point (1,2)", "FI_COL_12", nullptr},
    {NITF_BCS_A, 12, "Full image row of grid point (2,1)", "FI_ROW_21", nullptr},
    {NITF_BCS_A, 12, "Full image column of grid point (2,1)", "FI_COL_21", nullptr},
    {NITF_BCS_A, 12, "Full image row of grid point (2,2)", "FI_ROW_22", nullptr},
    {NITF_BCS_A, 12, "Full image column of grid point (2,2)", "FI_COL_22", nullptr},
    {NITF_BCS_A, 8, "Rows of the full image", "FI_ROW", nullptr},
    {NITF_BCS_A, 8, "Columns of the full image", "FI_COL", nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescriptionInfo infos[] = {
    {"ICHIPB", description, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

}  // namespace

nitf_TREDescriptionSet tessel::tres::ICHIPB = {0, infos};
