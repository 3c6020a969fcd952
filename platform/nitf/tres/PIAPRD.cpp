// PIAPRD: profile for imagery access, product part: access and producer identification,
// then repeated section titles, requesting organisations, keywords, associated reports
// and free text, each list led by its count.

#include "platform/nitf/tres/BuiltinTREs.h"

namespace {

nitf_TREDescription description[] = {
    {NITF_BCS_A, 64, "Access identifier", "ACCESSID", nullptr},
    {NITF_BCS_A, 32, "File control number", "FMCNTROL", nullptr},
    {NITF_BCS_A, 1, "Subjective detail", "SUBDET", nullptr},
    {NITF_BCS_A, 2, "Product code", "PRODCODE", nullptr},
    {NITF_BCS_A, 6, "Producer supplement", "PRODCRSE", nullptr},
    {NITF_BCS_A, 20, "Product identification number", "PRODIDNO", nullptr},
    {NITF_BCS_A, 10, "Product short name", "PRODSNME", nullptr},
    {NITF_BCS_A, 2, "Producer code", "PRODCRCD", nullptr},
    {NITF_BCS_A, 14, "Product creation time", "PRODCRTM", nullptr},
    {NITF_BCS_A, 40, "Map identifier", "MAPID", nullptr},
    {NITF_BCS_N, 2, "Number of section titles", "SECTTREP", nullptr},
    {NITF_LOOP, 0, nullptr, "SECTTREP", nullptr},
    {NITF_BCS_A, 40, "Section title", "SECTITLE", nullptr},
    {NITF_BCS_A, 5, "Page or part number", "PPNUM", nullptr},
    {NITF_BCS_N, 3, "Total pages or parts", "TPP", nullptr},
    {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_BCS_N, 2, "Number of requesting organisations", "RQORGREP", nullptr},
    {NITF_LOOP, 0, nullptr, "RQORGREP", nullptr},
    {NITF_BCS_A, 64, "Requesting organisation", "REQORG", nullptr},
    {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_BCS_N, 2, "Number of keywords", "KEYWDREP", nullptr},
    {NITF_LOOP, 0, nullptr, "KEYWDREP", nullptr},
    {NITF_BCS_A, 255, "Keyword string", "KEYWORD", nullptr},
    {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_BCS_N, 2, "Number of associated reports", "ASRPTREP", nullptr},
    {NITF_LOOP, 0, nullptr, "ASRPTREP", nullptr},
    {NITF_BCS_A, 20, "Associated report", "ASSRPT", nullptr},
    {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_BCS_N, 2, "Number of text entries", "ATEXTREP", nullptr},
    {NITF_LOOP, 0, nullptr, "ATEXTREP", nullptr},
    {NITF_BCS_A, 255, "Text", "ATEXT", nullptr},
    {NITF_ENDLOOP, 0, nullptr, nullptr, nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescriptionInfo infos[] = {
    {"PIAPRD", description, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

}  // namespace

nitf_TREDescriptionSet tessel::tres::PIAPRD = {0, infos};
