// RPC00A: rational polynomial camera coefficients, terms in the older "A" order.
// 1041 bytes: offsets and scales of the normalised coordinates, then four sets of 20
// coefficients. Offsets and scales of latitude and longitude carry a sign, so they are text.
// The layout and names are those of RPC00B; only the meaning of the term order differs.

#include "platform/nitf/tres/BuiltinTREs.h"

namespace {

nitf_TREDescriptionInfo infos[] = {
    {"RPC00A", tessel::tres::RPC00_description, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

}  // namespace

nitf_TREDescriptionSet tessel::tres::RPC00A = {0, infos};
