// ENGRDA: engineering data: records of a label and a matrix of values, each value
// ENGDTS bytes wide. The values are held as bytes.

#include "platform/nitf/tres/BuiltinTREs.h"

namespace {

nitf_TREDescription description[] = {
    {NITF_BCS_A, 20, "Source system", "RESRC", nullptr},
    {NITF_BCS_N, 3, "Number of records", "RECNT", nullptr},
    {NITF_LOOP, 0, nullptr, "RECNT", nullptr},
    {NITF_BCS_N, 2, "Label length", "ENGLN", nullptr},
    {NITF_BCS_A, NITF_TRE_CONDITIONAL_LENGTH, "Label", "ENGLBL", "ENGLN"},
    {NITF_BCS_N, 4, "Matrix columns", "ENGMTXC", nullptr},
    {NITF_BCS_N, 4, "Matrix rows", "ENGMTXR", nullptr},
    {NITF_BCS_A, 1, "Value type", "ENGTYP", nullptr},
    {NITF_BCS_N, 1, "Bytes per value", "ENGDTS", nullptr},
    {NITF_BCS_A, 2, "Unit of the values", "ENGDATU", nullptr},
    {NITF_BCS_N, 8, "Number of values", "ENGDATC", nullptr},
    {NITF_BINARY, NITF_TRE_CONDITIONAL_LENGTH, "Values", "ENGDATA", "ENGDATC ENGDTS *"},
    {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescriptionInfo infos[] = {
    {"ENGRDA", description, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

}  // namespace

nitf_TREDescriptionSet tessel::tres::ENGRDA = {0, infos};
