// RSMGIA: how the image is split into the sections of a grid replacement sensor model,
// the grid counterpart of RSMPIA. 591 bytes.

#include "platform/nitf/tres/BuiltinTREs.h"

namespace {

nitf_TREDescription description[] = {
    {NITF_BCS_A, 80, "Image identifier", "IID", nullptr},
    {NITF_BCS_A, 40, "Model edition identifier", "EDITION", nullptr},
    {NITF_BCS_A, 21, "Section row polynomial, constant term", "GR0", nullptr},
    {NITF_BCS_A, 21, "Section row polynomial, X term", "GRX", nullptr},
    {NITF_BCS_A, 21, "Section row polynomial, Y term", "GRY", nullptr},
    {NITF_BCS_A, 21, "Section row polynomial, Z term", "GRZ", nullptr},
    {NITF_BCS_A, 21, "Section row polynomial, XX term", "GRXX", nullptr},
    {NITF_BCS_A, 21, "Section row polynomial, XY term", "GRXY", nullptr},
    {NITF_BCS_A, 21, "Section row polynomial, XZ term", "GRXZ", nullptr},
    {NITF_BCS_A, 21, "Section row polynomial, YY term", "GRYY", nullptr},
    {NITF_BCS_A, 21, "Section row polynomial, YZ term", "GRYZ", nullptr},
    {NITF_BCS_A, 21, "Section row polynomial, ZZ term", "GRZZ", nullptr},
    {NITF_BCS_A, 21, "Section column polynomial, constant term", "GC0", nullptr},
    {NITF_BCS_A, 21, "Section column polynomial, X term", "GCX", nullptr},
    {NITF_BCS_A, 21, "Section column polynomial, Y term", "GCY", nullptr},
    {NITF_BCS_A, 21, "Section column polynomial, Z term", "GCZ", nullptr},
    {NITF_BCS_A, 21, "Section column polynomial, XX term", "GCXX", nullptr},
    {NITF_BCS_A, 21, "Section column polynomial, XY term", "GCXY", nullptr},
    {NITF_BCS_A, 21, "Section column polynomial, XZ term", "GCXZ", nullptr},
    {NITF_BCS_A, 21, "Section column polynomial, YY term", "GCYY", nullptr},
    {NITF_BCS_A, 21, "Section column polynomial, YZ term", "GCYZ", nullptr},
    {NITF_BCS_A, 21, "Section column polynomial, ZZ term", "GCZZ", nullptr},
    {NITF_BCS_N, 3, "Sections along rows", "GRNIS", nullptr},
    {NITF_BCS_N, 3, "Sections along columns", "GCNIS", nullptr},
    {NITF_BCS_N, 3, "Sections in all", "GTNIS", nullptr},
    {NITF_BCS_A, 21, "Section size in rows", "GRSSIZ", nullptr},
    {NITF_BCS_A, 21, "Section size in columns", "GCSSIZ", nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescriptionInfo infos[] = {
    {"RSMGIA", description, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

}  // namespace

nitf_TREDescriptionSet tessel::tres::RSMGIA = {0, infos};
