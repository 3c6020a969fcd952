// RSMPCA: the rational polynomials of one section of a polynomial replacement sensor model.
// Each of the four polynomials (row and column, numerator and denominator) gives its
// maximum powers of X, Y and Z, its term count and then its coefficients.

#include "platform/nitf/tres/BuiltinTREs.h"

namespace {

nitf_TREDescription description[] = {
    {NITF_BCS_A, 80, "Image identifier", "IID", nullptr},
    {NITF_BCS_A, 40, "Model edition identifier", "EDITION", nullptr},
    {NITF_BCS_N, 3, "Section row number", "RSN", nullptr},
    {NITF_BCS_N, 3, "Section column number", "CSN", nullptr},
    {NITF_BCS_A, 21, "Row fitting error, pixels", "RFEP", nullptr},
    {NITF_BCS_A, 21, "Column fitting error, pixels", "CFEP", nullptr},
    {NITF_BCS_A, 21, "Row normalisation offset", "RNRMO", nullptr},
    {NITF_BCS_A, 21, "Column normalisation offset", "CNRMO", nullptr},
    {NITF_BCS_A, 21, "X normalisation offset", "XNRMO", nullptr},
    {NITF_BCS_A, 21, "Y normalisation offset", "YNRMO", nullptr},
    {NITF_BCS_A, 21, "Z normalisation offset", "ZNRMO", nullptr},
    {NITF_BCS_A, 21, "Row normalisation scale", "RNRMSF", nullptr},
    {NITF_BCS_A, 21, "Column normalisation scale", "CNRMSF", nullptr},
    {NITF_BCS_A, 21, "X normalisation scale", "XNRMSF", nullptr},
    {NITF_BCS_A, 21, "Y normalisation scale", "YNRMSF", nullptr},
    {NITF_BCS_A, 21, "Z normalisation scale", "ZNRMSF", nullptr},
    {NITF_BCS_N, 1, "Row numerator, highest power of X", "RNPWRX", nullptr},
    {NITF_BCS_N, 1, "Row numerator, highest power of Y", "RNPWRY", nullptr},
    {NITF_BCS_N, 1, "Row numerator, highest power of Z", "RNPWRZ", nullptr},
    {NITF_BCS_N, 3, "Row numerator, number of terms", "RNTRMS", nullptr},
    {NITF_LOOP, 0, nullptr, "RNTRMS", nullptr},
    {NITF_BCS_A, 21, "Row numerator coefficient", "RNPCF", nullptr},
    {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_BCS_N, 1, "Row denominator, highest power of X", "RDPWRX", nullptr},
    {NITF_BCS_N, 1, "Row denominator, highest power of Y", "RDPWRY", nullptr},
    {NITF_BCS_N, 1, "Row denominator, highest power of Z", "RDPWRZ", nullptr},
    {NITF_BCS_N, 3, "Row denominator, number of terms", "RDTRMS", nullptr},
    {NITF_LOOP, 0, nullptr, "RDTRMS", nullptr},
    {NITF_BCS_A, 21, "Row denominator coefficient", "RDPCF", nullptr},
    {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_BCS_N, 1, "Column numerator, highest power of X", "CNPWRX", nullptr},
    {NITF_BCS_N, 1, "Column numerator, highest power of Y", "CNPWRY", nullptr},
    {NITF_BCS_N, 1, "Column numerator, highest power of Z", "CNPWRZ", nullptr},
    {NITF_BCS_N, 3, "Column numerator, number of terms", "CNTRMS", nullptr},
    {NITF_LOOP, 0, nullptr, "CNTRMS", nullptr},
    {NITF_BCS_A, 21, "Column numerator coefficient", "CNPCF", nullptr},
    {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_BCS_N, 1, "Column denominator, highest power of X", "CDPWRX", nullptr},
    {NITF_BCS_N, 1, "Column denominator, highest power of Y", "CDPWRY", nullptr},
    {NITF_BCS_N, 1, "Column denominator, highest power of Z", "CDPWRZ", nullptr},
    {NITF_BCS_N, 3, "Column denominator, number of terms", "CDTRMS", nullptr},
    {NITF_LOOP, 0, nullptr, "CDTRMS", nullptr},
    {NITF_BCS_A, 21, "Column denominator coefficient", "CDPCF", nullptr},
    {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescriptionInfo infos[] = {
    {"RSMPCA", description, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

}  // namespace

nitf_TREDescriptionSet tessel::tres::RSMPCA = {0, infos};
