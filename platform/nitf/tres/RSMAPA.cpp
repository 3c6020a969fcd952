// RSMAPA: the adjustable parameters of a replacement sensor model: the local frame they
// act in, which parameter drives which adjustment (blank when none), and their values.

#include "platform/nitf/tres/BuiltinTREs.h"

namespace {

nitf_TREDescription description[] = {
    {NITF_BCS_A, 80, "Image identifier", "IID", nullptr},
    {NITF_BCS_A, 40, "Model edition identifier", "EDITION", nullptr},
    {NITF_BCS_A, 40, "Triangulation identifier", "TID", nullptr},
    {NITF_BCS_N, 2, "Number of adjustable parameters", "NPAR", nullptr},
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
    {NITF_LOOP, 0, nullptr, "NPAR", nullptr},
    {NITF_BCS_A, 21, "Parameter value", "PARVAL", nullptr},
    {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescriptionInfo infos[] = {
    {"RSMAPA", description, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

}  // namespace

nitf_TREDescriptionSet tessel::tres::RSMAPA = {0, infos};
