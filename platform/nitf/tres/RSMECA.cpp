// RSMECA: indirect error covariance of a replacement sensor model: the covariance of the
// original adjustable parameters by independent subgroup with its time correlation, the
// matrix mapping them onto the model's parameters, and the unmodelled error.

#include "platform/nitf/tres/BuiltinTREs.h"

namespace {

using tessel::tres::loopCount;

// Elements of the upper triangle of the subgroup's NUMOPG by NUMOPG matrix.
int subgroupCovarianceElements(nitf_TRE* tre, char idx[10][10], int depth, nitf_Error* error) {
    (void)depth;
    const int parameters = tessel::tres::intField(tre, "NUMOPG", idx[0], error);
    return (parameters + 1) * parameters / 2;
}

// Elements of the NPAR by NPAR0 mapping matrix.
int mappingElements(nitf_TRE* tre, char idx[10][10], int depth, nitf_Error* error) {
    (void)idx;
    (void)depth;
    return tessel::tres::intField(tre, "NPAR", "", error) *
           tessel::tres::intField(tre, "NPAR0", "", error);
}

nitf_TREDescription description[] = {
    {NITF_BCS_A, 80, "Image identifier", "IID", nullptr},
    {NITF_BCS_A, 40, "Model edition identifier", "EDITION", nullptr},
    {NITF_BCS_A, 40, "Triangulation identifier", "TID", nullptr},
    {NITF_BCS_A, 1, "Indirect covariance included (Y or N)", "INCLIC", nullptr},
    {NITF_BCS_A, 1, "Unmodelled error included (Y or N)", "INCLUC", nullptr},
    {NITF_IF, 0, "eq Y", "INCLIC", nullptr},
    {NITF_BCS_N, 2, "Adjustable parameters", "NPAR", nullptr},
    {NITF_BCS_N, 2, "Original adjustable parameters", "NPAR0", nullptr},
    {NITF_BCS_N, 2, "Independent subgroups", "IGN", nullptr},
    {NITF_BCS_A, 8, "Version date of the original covariance", "CVDATE", nullptr},
    {NITF_BCS_A, 21, "Local frame origin X", "XUOL", nullptr},
    {NITF_BCS_A, 21, "Local frame origin Y", "YUOL", nullptr},
    {NITF_BCS_A, 21, "Local frame origin Z", "ZUOL", nullptr},
    {NITF_BCS_A, 21, "Local X axis, X component", "XUXL", nullptr},
    {NITF_BCS_A, 21, "Local X axis, Y component", "XUYL", nullptr},
    {NITF_BCS_A, 21, "Local X axis, Z component", "XUZL", nullptr},
    {NITF_BCS_A, 21, "Local Y axis, X component", "YUXL", nullptr},
    {NITF_BCS_A, 21, "Local Y axis, Y component", "YUYL", nullptr},
    {NITF_BCS_A, 21, "Local Y axis, Z component", "YUZL", nullptr},
    {NITF_BCS_A, 21, "Local Z axis, X component", "ZUXL", nullptr},
    {NITF_BCS_A, 21, "Local Z axis, Y component", "ZUYL", nullptr},
    {NITF_BCS_A, 21, "Local Z axis, Z component", "ZUZL", nullptr},
    {NITF_BCS_A, 2, "Parameter index: row offset", "IR0", nullptr},
    {NITF_BCS_A, 2, "Parameter index: row, X term", "IRX", nullptr},
    {NITF_BCS_A, 2, "Parameter index: row, Y term", "IRY", nullptr},
    {NITF_BCS_A, 2, "Parameter index: row, Z term", "IRZ", nullptr},
    {NITF_BCS_A, 2, "Parameter index: row, XX term", "IRXX", nullptr},
    {NITF_BCS_A, 2, "Parameter index: row, XY term", "IRXY", nullptr},
    {NITF_BCS_A, 2, "Parameter index: row, XZ term", "IRXZ", nullptr},
    {NITF_BCS_A, 2, "Parameter index: row, YY term", "IRYY", nullptr},
    {NITF_BCS_A, 2, "Parameter index: row, YZ term", "IRYZ", nullptr},
    {NITF_BCS_A, 2, "Parameter index: row, ZZ term", "IRZZ", nullptr},
    {NITF_BCS_A, 2, "Parameter index: column offset", "IC0", nullptr},
    {NITF_BCS_A, 2, "Parameter index: column, X term", "ICX", nullptr},
    {NITF_BCS_A, 2, "Parameter index: column, Y term", "ICY", nullptr},
    {NITF_BCS_A, 2, "Parameter index: column, Z term", "ICZ", nullptr},
    {NITF_BCS_A, 2, "Parameter index: column, XX term", "ICXX", nullptr},
    {NITF_BCS_A, 2, "Parameter index: column, XY term", "ICXY", nullptr},
    {NITF_BCS_A, 2, "Parameter index: column, XZ term", "ICXZ", nullptr},
    {NITF_BCS_A, 2, "Parameter index: column, YY term", "ICYY", nullptr},
    {NITF_BCS_A, 2, "Parameter index: column, YZ term", "ICYZ", nullptr},
    {NITF_BCS_A, 2, "Parameter index: column, ZZ term", "ICZZ", nullptr},
    {NITF_BCS_A, 2, "Parameter index: ground X shift", "GX0", nullptr},
    {NITF_BCS_A, 2, "Parameter index: ground Y shift", "GY0", nullptr},
    {NITF_BCS_A, 2, "Parameter index: ground Z shift", "GZ0", nullptr},
    {NITF_BCS_A, 2, "Parameter index: rotation about X", "GXR", nullptr},
    {NITF_BCS_A, 2, "Parameter index: rotation about Y", "GYR", nullptr},
    {NITF_BCS_A, 2, "Parameter index: rotation about Z", "GZR", nullptr},
    {NITF_BCS_A, 2, "Parameter index: ground scale", "GS", nullptr},
    {NITF_BCS_A, 2, "Parameter index: ground X from X", "GXX", nullptr},
    {NITF_BCS_A, 2, "Parameter index: ground X from Y", "GXY", nullptr},
    {NITF_BCS_A, 2, "Parameter index: ground X from Z", "GXZ", nullptr},
    {NITF_BCS_A, 2, "Parameter index: ground Y from X", "GYX", nullptr},
    {NITF_BCS_A, 2, "Parameter index: ground Y from Y", "GYY", nullptr},
    {NITF_BCS_A, 2, "Parameter index: ground Y from Z", "GYZ", nullptr},
    {NITF_BCS_A, 2, "Parameter index: ground Z from X", "GZX", nullptr},
    {NITF_BCS_A, 2, "Parameter index: ground Z from Y", "GZY", nullptr},
    {NITF_BCS_A, 2, "Parameter index: ground Z from Z", "GZZ", nullptr},
    {NITF_LOOP, 0, nullptr, "IGN", nullptr},
    {NITF_BCS_N, 2, "Original parameters in the subgroup", "NUMOPG", nullptr},
    {NITF_LOOP, 0, NITF_FUNCTION, loopCount(&subgroupCovarianceElements), nullptr},
    {NITF_BCS_A, 21, "Covariance element", "ERRCVG", nullptr},
    {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_BCS_N, 1, "Time correlation domain", "TCDF", nullptr},
    {NITF_BCS_N, 1, "Correlation segments", "NCSEG", nullptr},
    {NITF_LOOP, 0, nullptr, "NCSEG", nullptr},
    {NITF_BCS_A, 21, "Segment correlation value", "CORSEG", nullptr},
    {NITF_BCS_A, 21, "Segment tau, seconds", "TAUSEG", nullptr},
    {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_LOOP, 0, NITF_FUNCTION, loopCount(&mappingElements), nullptr},
    {NITF_BCS_A, 21, "Mapping matrix element", "MAP", nullptr},
    {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_ENDIF, 0, nullptr, nullptr, nullptr},
    {NITF_IF, 0, "eq Y", "INCLUC", nullptr},
    {NITF_BCS_A, 21, "Unmodelled row variance", "URR", nullptr},
    {NITF_BCS_A, 21, "Unmodelled row-column covariance", "URC", nullptr},
    {NITF_BCS_A, 21, "Unmodelled column variance", "UCC", nullptr},
    {NITF_BCS_N, 1, "Row correlation segments", "UNCSR", nullptr},
    {NITF_LOOP, 0, nullptr, "UNCSR", nullptr},
    {NITF_BCS_A, 21, "Row segment correlation value", "UCORSR", nullptr},
    {NITF_BCS_A, 21, "Row segment tau", "UTAUSR", nullptr},
    {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_BCS_N, 1, "Column correlation segments", "UNCSC", nullptr},
    {NITF_LOOP, 0, nullptr, "UNCSC", nullptr},
    {NITF_BCS_A, 21, "Column segment correlation value", "UCORSC", nullptr},
    {NITF_BCS_A, 21, "Column segment tau", "UTAUSC", nullptr},
    {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_ENDIF, 0, nullptr, nullptr, nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescriptionInfo infos[] = {
    {"RSMECA", description, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

}  // namespace

nitf_TREDescriptionSet tessel::tres::RSMECA = {0, infos};
