// AIMIDB: additional image identification of an airborne collection: acquisition time,
// mission and flight, segment and tile range, country and location. 89 bytes.

#include "platform/nitf/tres/BuiltinTREs.h"

namespace {

nitf_TREDescription description[] = {
    {NITF_BCS_A, 14, "Acquisition date and time", "ACQUISITION_DATE", nullptr},
    {NITF_BCS_A, 4, "Mission number", "MISSION_NO", nullptr},
    {NITF_BCS_A, 10, "Mission identification", "MISSION_IDENTIFICATION", nullptr},
    {NITF_BCS_A, 2, "Flight number", "FLIGHT_NO", nullptr},
    {NITF_BCS_N, 3, "Image operation number", "OP_NUM", nullptr},
    {NITF_BCS_A, 2, "Current segment", "CURRENT_SEGMENT", nullptr},
    {NITF_BCS_N, 2, "Reprocessing number", "REPRO_NUM", nullptr},
    {NITF_BCS_A, 3, "Replay", "REPLAY", nullptr},
    {NITF_BCS_A, 1, "Reserved", "RESERVED_001", nullptr},
    {NITF_BCS_N, 3, "First tile column", "START_TILE_COLUMN", nullptr},
    {NITF_BCS_N, 5, "First tile row", "START_TILE_ROW", nullptr},
    {NITF_BCS_A, 2, "Last segment", "END_SEGMENT", nullptr},
    {NITF_BCS_N, 3, "Last tile column", "END_TILE_COLUMN", nullptr},
    {NITF_BCS_N, 5, "Last tile row", "END_TILE_ROW", nullptr},
    {NITF_BCS_A, 2, "Country code", "COUNTRY", nullptr},
    {NITF_BCS_A, 4, "Reserved", "RESERVED002", nullptr},
    {NITF_BCS_A, 11, "Location, latitude and longitude", "LOCATION", nullptr},
    {NITF_BCS_A, 13, "Reserved", "RESERVED003", nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescriptionInfo infos[] = {
    {"AIMIDB", description, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

}  // namespace

nitf_TREDescriptionSet tessel::tres::AIMIDB = {0, infos};
