// RSMGGA: the ground-to-image grid of one section of a grid replacement sensor model.
// Planes of grid points at constant Z; each point holds a row and a column written with
// TNUMRD and TNUMCD digits. Planes after the first are shifted by (IXO, IYO).

#include "platform/nitf/tres/BuiltinTREs.h"

namespace {

nitf_TREDescription description[] = {
    {NITF_BCS_A, 80, "Image identifier", "IID", nullptr},
    {NITF_BCS_A, 40, "Model edition identifier", "EDITION", nullptr},
    {NITF_BCS_N, 3, "Section row number", "GGRSN", nullptr},
    {NITF_BCS_N, 3, "Section column number", "GGCSN", nullptr},
    {NITF_BCS_A, 21, "Row fitting error, pixels", "GGRFEP", nullptr},
    {NITF_BCS_A, 21, "Column fitting error, pixels", "GGCFEP", nullptr},
    {NITF_BCS_A, 1, "Interpolation order", "INTORD", nullptr},
    {NITF_BCS_N, 3, "Number of grid planes", "NPLN", nullptr},
    {NITF_BCS_A, 21, "Z spacing between planes", "DELTAZ", nullptr},
    {NITF_BCS_A, 21, "X spacing between grid points", "DELTAX", nullptr},
    {NITF_BCS_A, 21, "Y spacing between grid points", "DELTAY", nullptr},
    {NITF_BCS_A, 21, "Z of the first plane", "ZPLN1", nullptr},
    {NITF_BCS_A, 21, "X of the first point of the first plane", "XIPLN1", nullptr},
    {NITF_BCS_A, 21, "Y of the first point of the first plane", "YIPLN1", nullptr},
    {NITF_BCS_N, 9, "Reference row", "REFROW", nullptr},
    {NITF_BCS_N, 9, "Reference column", "REFCOL", nullptr},
    {NITF_BCS_N, 2, "Digits of a row coordinate", "TNUMRD", nullptr},
    {NITF_BCS_N, 2, "Digits of a column coordinate", "TNUMCD", nullptr},
    {NITF_BCS_N, 1, "Fraction digits of a row coordinate", "FNUMRD", nullptr},
    {NITF_BCS_N, 1, "Fraction digits of a column coordinate", "FNUMCD", nullptr},
    // an offset for each plane after the first
    {NITF_LOOP, 0, "- 1", "NPLN", nullptr},
    {NITF_BCS_N, 4, "X offset of the plane's first point, in grid steps", "IXO", nullptr},
    {NITF_BCS_N, 4, "Y offset of the plane's first point, in grid steps", "IYO", nullptr},
    {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_LOOP, 0, nullptr, "NPLN", nullptr},
    {NITF_BCS_N, 3, "Grid points along X", "NXPTS", nullptr},
    {NITF_BCS_N, 3, "Grid points along Y", "NYPTS", nullptr},
    // the grid points of the plane: NXPTS times NYPTS
    {NITF_LOOP, 0, NITF_TRE_LOOP_EXPRESSION, "NXPTS NYPTS *", nullptr},
    {NITF_BCS_A, NITF_TRE_CONDITIONAL_LENGTH, "Row of the grid point", "RCOORD", "TNUMRD"},
    {NITF_BCS_A, NITF_TRE_CONDITIONAL_LENGTH, "Column of the grid point", "CCOORD", "TNUMCD"},
    {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescriptionInfo infos[] = {
    {"RSMGGA", description, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

}  // namespace

nitf_TREDescriptionSet tessel::tres::RSMGGA = {0, infos};
