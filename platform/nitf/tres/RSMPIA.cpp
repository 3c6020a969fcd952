// RSMPIA: how the image is split into the sections of a polynomial replacement sensor
// model: low-order polynomials giving the section row and column, and the section sizes.
// 591 bytes.

#include "platform/nitf/tres/BuiltinTREs.h"

namespace {

nitf_TREDescription description[] = {
    {NITF_BCS_A, 80, "Image identifier", "IID", nullptr},
    {NITF_BCS_A, 40, "Model edition identifier", "EDITION", nullptr},
    {NITF_BCS_A, 21, "Section row polynomial, constant term", "R0", nullptr},
    {NITF_BCS_A, 21, "Section row polynomial, X term", "RX", nullptr},
    {NITF_BCS_A, 21, "Section row polynomial, Y term", "RY", nullptr},
    {NITF_BCS_A, 21, "Section row polynomial, Z term", "RZ", nullptr},
    {NITF_BCS_A, 21, "Section row polynomial, XX term", "RXX", nullptr},
    {NITF_BCS_A, 21, "Section row polynomial, XY term", "RXY", nullptr},
    {NITF_BCS_A, 21, "Section row polynomial, XZ term", "RXZ", nullptr},
    {NITF_BCS_A, 21, "Section row polynomial, YY term", "RYY", nullptr},
    {NITF_BCS_A, 21, "Section row polynomial, YZ term", "RYZ", nullptr},
    {NITF_BCS_A, 21, "Section row polynomial, ZZ term", "RZZ", nullptr},
    {NITF_BCS_A, 21, "Section column polynomial, constant term", "C0", nullptr},
    {NITF_BCS_A, 21, "Section column polynomial, X term", "CX", nullptr},
    {NITF_BCS_A, 21, "Section column polynomial, Y term", "CY", nullptr},
    {NITF_BCS_A, 21, "Section column polynomial, Z term", "CZ", nullptr},
    {NITF_BCS_A, 21, "Section column polynomial, XX term", "CXX", nullptr},
    {NITF_BCS_A, 21, "Section column polynomial, XY term", "CXY", nullptr},
    {NITF_BCS_A, 21, "Section column polynomial, XZ term", "CXZ", nullptr},
    {NITF_BCS_A, 21, "Section column polynomial, YY term", "CYY", nullptr},
    {NITF_BCS_A, 21, "Section column polynomial, YZ term", "CYZ", nullptr},
    {NITF_BCS_A, 21, "Section column polynomial, ZZ term", "CZZ", nullptr},
    {NITF_BCS_N, 3, "Sections along rows", "RNIS", nullptr},
    {NITF_BCS_N, 3, "Sections along columns", "CNIS", nullptr},
    {NITF_BCS_N, 3, "Sections in all", "TNIS", nullptr},
    {NITF_BCS_A, 21, "Section size in rows", "RSSIZ", nullptr},
    {NITF_BCS_A, 21, "Section size in columns", "CSSIZ", nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescriptionInfo infos[] = {
    {"RSMPIA", description, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

}  // namespace

nitf_TREDescriptionSet tessel::tres::RSMPIA = {0, infos};
