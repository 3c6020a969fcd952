// HISTOA: softcopy processing history: the system, then per processing event its date,
// site, comments, input and output pixel formats and the steps applied (rotation,
// magnification, sharpening, dynamic range adjustment, tonal transfer).

#include "platform/nitf/tres/BuiltinTREs.h"

namespace {

nitf_TREDescription description[] = {
    {NITF_BCS_A, 20, "System type", "SYSTYPE", nullptr},
    {NITF_BCS_A, 12, "Earlier compression", "PC", nullptr},
    {NITF_BCS_A, 4, "Earlier enhancements", "PE", nullptr},
    {NITF_BCS_A, 1, "System specific remap", "REMAP_FLAG", nullptr},
    {NITF_BCS_N, 2, "Data mapping identifier", "LUTID", nullptr},
    {NITF_BCS_N, 2, "Number of processing events", "NEVENTS", nullptr},
    {NITF_LOOP, 0, nullptr, "NEVENTS", nullptr},
    {NITF_BCS_A, 14, "Processing date and time", "PDATE", nullptr},
    {NITF_BCS_A, 10, "Processing site", "PSITE", nullptr},
    {NITF_BCS_A, 10, "Processing application", "PAS", nullptr},
    {NITF_BCS_N, 1, "Number of processing comments", "NIPCOM", nullptr},
    {NITF_LOOP, 0, nullptr, "NIPCOM", nullptr},
    {NITF_BCS_A, 80, "Processing comment", "IPCOM", nullptr},
    {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_BCS_N, 2, "Input bits per pixel", "IBPP", nullptr},
    {NITF_BCS_A, 3, "Input pixel value type", "IPVTYPE", nullptr},
    {NITF_BCS_A, 10, "Input compression", "INBWC", nullptr},
    {NITF_BCS_A, 1, "Display ready", "DISP_FLAG", nullptr},
    {NITF_BCS_N, 1, "Rotated", "ROT_FLAG", nullptr},
    {NITF_IF, 0, "== 1", "ROT_FLAG", nullptr},
    {NITF_BCS_A, 8, "Rotation angle", "ROT_ANGLE", nullptr},
    {NITF_ENDIF, 0, nullptr, nullptr, nullptr},
    {NITF_BCS_A, 1, "Asymmetric correction applied", "ASYM_FLAG", nullptr},
    {NITF_IF, 0, "eq 1", "ASYM_FLAG", nullptr},
    {NITF_BCS_A, 7, "Magnification along rows", "ZOOMROW", nullptr},
    {NITF_BCS_A, 7, "Magnification along columns", "ZOOMCOL", nullptr},
    {NITF_ENDIF, 0, nullptr, nullptr, nullptr},
    {NITF_BCS_A, 1, "Projected", "PROJ_FLAG", nullptr},
    {NITF_BCS_N, 1, "Sharpened", "SHARP_FLAG", nullptr},
    {NITF_IF, 0, "== 1", "SHARP_FLAG", nullptr},
    {NITF_BCS_N, 2, "Sharpening family", "SHARPFAM", nullptr},
    {NITF_BCS_N, 2, "Sharpening member", "SHARPMEM", nullptr},
    {NITF_ENDIF, 0, nullptr, nullptr, nullptr},
    {NITF_BCS_N, 1, "Magnified", "MAG_FLAG", nullptr},
    {NITF_IF, 0, "== 1", "MAG_FLAG", nullptr},
    {NITF_BCS_A, 7, "Magnification level", "MAG_LEVEL", nullptr},
    {NITF_ENDIF, 0, nullptr, nullptr, nullptr},
    {NITF_BCS_N, 1, "Dynamic range adjusted", "DRA_FLAG", nullptr},
    {NITF_IF, 0, "== 1", "DRA_FLAG", nullptr},
    {NITF_BCS_A, 7, "Adjustment multiplier", "DRA_MULT", nullptr},
    {NITF_BCS_N, 5, "Adjustment subtractor", "DRA_SUB", nullptr},
    {NITF_ENDIF, 0, nullptr, nullptr, nullptr},
    {NITF_BCS_N, 1, "Tonal transfer curve applied", "TTC_FLAG", nullptr},
    {NITF_IF, 0, "== 1", "TTC_FLAG", nullptr},
    {NITF_BCS_N, 2, "Curve family", "TTCFAM", nullptr},
    {NITF_BCS_N, 2, "Curve member", "TTCMEM", nullptr},
    {NITF_ENDIF, 0, nullptr, nullptr, nullptr},
    {NITF_BCS_N, 1, "Device lookup table applied", "DEVLUT_FLAG", nullptr},
    {NITF_BCS_N, 2, "Output bits per pixel", "OBPP", nullptr},
    {NITF_BCS_A, 3, "Output pixel value type", "OPVTYPE", nullptr},
    {NITF_BCS_A, 10, "Output compression", "OUTBWC", nullptr},
    {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescriptionInfo infos[] = {
    {"HISTOA", description, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

}  // namespace

nitf_TREDescriptionSet tessel::tres::HISTOA = {0, infos};
