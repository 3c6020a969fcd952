// CSATTA: the user-defined subheader of an attitude data extension: the kind of attitude
// data, the spacing and the start of its reference points, and their number.

#include "file/extensions/ExtensionTables.h"

namespace {

nitf_TREDescription description[] = {
    {NITF_BCS_A, 12, "Type of Attitude data provided", "ATT_TYPE", nullptr},
    {NITF_BCS_N, 14, "Time interval between attitude reference points", "DT_ATT", nullptr},
    {NITF_BCS_N, 8, "Day of First Attitude Reference Point", "DATE_ATT", nullptr},
    {NITF_BCS_N, 13, "UTC of First Attitude Reference Point", "T0_ATT", nullptr},
    {NITF_BCS_N, 5, "Number of Attitude Reference Points", "NUM_ATT", nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescriptionInfo infos[] = {
    {"CSATTA", description, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

}  // namespace

nitf_TREDescriptionSet Tessel::ExtensionTables::CSATTA = {0, infos};
