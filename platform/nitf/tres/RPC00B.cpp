// RPC00B: rational polynomial camera coefficients, terms in the "B" order.
// 1041 bytes: offsets and scales of the normalised coordinates, then four sets of 20
// coefficients. Offsets and scales of latitude and longitude carry a sign, so they are text.

#include "platform/nitf/tres/BuiltinTREs.h"

nitf_TREDescription tessel::tres::RPC00_description[] = {
    {NITF_BCS_N, 1, "Coefficients usable (1) or not (0)", "SUCCESS", nullptr},
    {NITF_BCS_A, 7, "Bias error, metres", "ERR_BIAS", nullptr},
    {NITF_BCS_A, 7, "Random error, metres", "ERR_RAND", nullptr},
    {NITF_BCS_N, 6, "Line offset, pixels", "LINE_OFF", nullptr},
    {NITF_BCS_N, 5, "Sample offset, pixels", "SAMP_OFF", nullptr},
    {NITF_BCS_A, 8, "Latitude offset, degrees", "LAT_OFF", nullptr},
    {NITF_BCS_A, 9, "Longitude offset, degrees", "LONG_OFF", nullptr},
    {NITF_BCS_N, 5, "Height offset, metres", "HEIGHT_OFF", nullptr},
    {NITF_BCS_N, 6, "Line scale, pixels", "LINE_SCALE", nullptr},
    {NITF_BCS_N, 5, "Sample scale, pixels", "SAMP_SCALE", nullptr},
    {NITF_BCS_A, 8, "Latitude scale, degrees", "LAT_SCALE", nullptr},
    {NITF_BCS_A, 9, "Longitude scale, degrees", "LONG_SCALE", nullptr},
    {NITF_BCS_N, 5, "Height scale, metres", "HEIGHT_SCALE", nullptr},
    {NITF_LOOP, 0, NITF_CONST_N, "20", nullptr},
    {NITF_BCS_A, 12, "Line numerator coefficient", "LINE_NUM_COEFF", nullptr},
    {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_LOOP, 0, NITF_CONST_N, "20", nullptr},
    {NITF_BCS_A, 12, "Line denominator coefficient", "LINE_DEN_COEFF", nullptr},
    {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_LOOP, 0, NITF_CONST_N, "20", nullptr},
    {NITF_BCS_A, 12, "Sample numerator coefficient", "SAMP_NUM_COEFF", nullptr},
    {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_LOOP, 0, NITF_CONST_N, "20", nullptr},
    {NITF_BCS_A, 12, "Sample denominator coefficient", "SAMP_DEN_COEFF", nullptr},
    {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

namespace {

nitf_TREDescriptionInfo infos[] = {
    {"RPC00B", tessel::tres::RPC00_description, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

}  // namespace

nitf_TREDescriptionSet tessel::tres::RPC00B = {0, infos};
