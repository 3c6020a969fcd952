// BLOCKA: image block information: where the block's four corners lie on the ground and
// the viewing geometry of the block. 123 bytes.

#include "platform/nitf/tres/BuiltinTREs.h"

namespace {

nitf_TREDescription description[] = {
    {NITF_BCS_N, 2, "Block number", "BLOCK_INSTANCE", nullptr},
    {NITF_BCS_A, 5, "Gray fill pixels", "N_GRAY", nullptr},
    {NITF_BCS_N, 5, "Lines in the block", "L_LINES", nullptr},
    {NITF_BCS_A, 3, "Layover angle, degrees", "LAYOVER_ANGLE", nullptr},
    {NITF_BCS_A, 3, "Shadow angle, degrees", "SHADOW_ANGLE", nullptr},
    {NITF_BCS_A, 16, "Reserved", "RESERVED-001", nullptr},
    {NITF_BCS_A, 21, "First row, last column location", "FRLC_LOC", nullptr},
    {NITF_BCS_A, 21, "Last row, last column location", "LRLC_LOC", nullptr},
    {NITF_BCS_A, 21, "Last row, first column location", "LRFC_LOC", nullptr},
    {NITF_BCS_A, 21, "First row, first column location", "FRFC_LOC", nullptr},
    {NITF_BCS_A, 5, "Reserved", "RESERVED-002", nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescriptionInfo infos[] = {
    {"BLOCKA", description, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

}  // namespace

nitf_TREDescriptionSet tessel::tres::BLOCKA = {0, infos};
