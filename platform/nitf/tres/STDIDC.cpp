// STDIDC: standard identifier of the collection: when and by which mission and pass the
// image was taken, and where it lies in the collection. 89 bytes.

#include "platform/nitf/tres/BuiltinTREs.h"

namespace {

nitf_TREDescription description[] = {
    {NITF_BCS_A, 14, "Acquisition date and time", "ACQUISITION_DATE", nullptr},
    {NITF_BCS_A, 14, "Mission identifier", "MISSION", nullptr},
    {NITF_BCS_A, 2, "Pass number", "PASS", nullptr},
    {NITF_BCS_A, 3, "Image operation number", "OP_NUM", nullptr},
    {NITF_BCS_A, 2, "First segment", "START_SEGMENT", nullptr},
    {NITF_BCS_A, 2, "Reprocessing number", "REPRO_NUM", nullptr},
    {NITF_BCS_A, 3, "Replay or regeneration", "REPLAY_REGEN", nullptr},
    {NITF_BCS_A, 1, "Blank fill", "BLANK_FILL", nullptr},
    {NITF_BCS_A, 3, "First tile column", "START_COLUMN", nullptr},
    {NITF_BCS_A, 5, "First tile row", "START_ROW", nullptr},
    {NITF_BCS_A, 2, "Last segment", "END_SEGMENT", nullptr},
    {NITF_BCS_A, 3, "Last tile column", "END_COLUMN", nullptr},
    {NITF_BCS_A, 5, "Last tile row", "END_ROW", nullptr},
    {NITF_BCS_A, 2, "Country code", "COUNTRY", nullptr},
    {NITF_BCS_A, 4, "World aeronautical chart", "WAC", nullptr},
    {NITF_BCS_A, 11, "Location, latitude and longitude", "LOCATION", nullptr},
    {NITF_BCS_A, 5, "Reserved", "RESERV01", nullptr},
    {NITF_BCS_A, 8, "Reserved", "RESERV02", nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescriptionInfo infos[] = {
    {"STDIDC", description, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

}  // namespace

nitf_TREDescriptionSet tessel::tres::STDIDC = {0, infos};
