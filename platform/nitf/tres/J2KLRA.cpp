// J2KLRA: the layers of a JPEG 2000 codestream: the original wavelet levels, bands and
// layers with each layer's bitrate and, when the stream was parsed from another one (ORIG
// 1, 3 or 9), what remains of it.

#include "platform/nitf/tres/BuiltinTREs.h"

namespace {

nitf_TREDescription description[] = {
    {NITF_BCS_N, 1, "Original (0, 2, 4, 8) or parsed (1, 3, 5, 9) stream", "ORIG", nullptr},
    {NITF_BCS_N, 2, "Wavelet levels of the original", "NLEVELS_O", nullptr},
    {NITF_BCS_N, 5, "Bands of the original", "NBANDS_O", nullptr},
    {NITF_BCS_N, 3, "Layers of the original", "NLAYERS_O", nullptr},
    {NITF_LOOP, 0, nullptr, "NLAYERS_O", nullptr},
    {NITF_BCS_N, 3, "Layer number", "LAYER_ID", nullptr},
    {NITF_BCS_A, 9, "Bitrate of the layer", "BITRATE", nullptr},
    {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_IF, 0, "== 1", "ORIG", nullptr},
    {NITF_BCS_N, 2, "Wavelet levels now", "NLEVELS_I", nullptr},
    {NITF_BCS_N, 5, "Bands now", "NBANDS_I", nullptr},
    {NITF_BCS_N, 3, "Layers now", "NLAYERS_I", nullptr},
    {NITF_ENDIF, 0, nullptr, nullptr, nullptr},
    {NITF_IF, 0, "== 3", "ORIG", nullptr},
    {NITF_BCS_N, 2, "Wavelet levels now", "NLEVELS_I", nullptr},
    {NITF_BCS_N, 5, "Bands now", "NBANDS_I", nullptr},
    {NITF_BCS_N, 3, "Layers now", "NLAYERS_I", nullptr},
    {NITF_ENDIF, 0, nullptr, nullptr, nullptr},
    {NITF_IF, 0, "== 9", "ORIG", nullptr},
    {NITF_BCS_N, 2, "Wavelet levels now", "NLEVELS_I", nullptr},
    {NITF_BCS_N, 5, "Bands now", "NBANDS_I", nullptr},
    {NITF_BCS_N, 3, "Layers now", "NLAYERS_I", nullptr},
    {NITF_ENDIF, 0, nullptr, nullptr, nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescriptionInfo infos[] = {
    {"J2KLRA", description, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

}  // namespace

nitf_TREDescriptionSet tessel::tres::J2KLRA = {0, infos};
