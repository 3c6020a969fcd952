// MSTGTA: a mission target: its number, identity, priority, request, type, category,
// time of collection, elevation and location. 101 bytes.

#include "platform/nitf/tres/BuiltinTREs.h"

namespace {

nitf_TREDescription description[] = {
    {NITF_BCS_A, 5, "Target number", "TGTNUM", nullptr},
    {NITF_BCS_A, 12, "Target identifier", "TGTID", nullptr},
    {NITF_BCS_A, 15, "Target basic encyclopedia number", "TGTBE", nullptr},
    {NITF_BCS_A, 3, "Target priority", "TGTPRI", nullptr},
    {NITF_BCS_A, 12, "Target requester", "TGTREQ", nullptr},
    {NITF_BCS_A, 12, "Latest time information is of value", "TGTLTIOV", nullptr},
    {NITF_BCS_A, 1, "Target type", "TGTTYPE", nullptr},
    {NITF_BCS_A, 1, "Collection requirement", "TGTCOLL", nullptr},
    {NITF_BCS_A, 5, "Target category", "TGTCAT", nullptr},
    {NITF_BCS_A, 7, "Planned collection time", "TGTUTC", nullptr},
    {NITF_BCS_A, 6, "Target elevation", "TGTELEV", nullptr},
    {NITF_BCS_A, 1, "Target elevation unit", "TGTELEVUNIT", nullptr},
    {NITF_BCS_A, 21, "Target location", "TGTLOC", nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescriptionInfo infos[] = {
    {"MSTGTA", description, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

}  // namespace

nitf_TREDescriptionSet tessel::tres::MSTGTA = {0, infos};
