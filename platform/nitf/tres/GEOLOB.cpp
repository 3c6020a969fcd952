// GEOLOB: the grid of a geographic (latitude and longitude) image: pixels per 360 degrees
// of longitude and of latitude, and the position of the first pixel. 48 bytes.

#include "platform/nitf/tres/BuiltinTREs.h"

namespace {

nitf_TREDescription description[] = {
    {NITF_BCS_N, 9, "Pixels per 360 degrees of longitude", "ARV", nullptr},
    {NITF_BCS_N, 9, "Pixels per 360 degrees of latitude", "BRV", nullptr},
    {NITF_BCS_N, 15, "Longitude of the origin, degrees", "LSO", nullptr},
    {NITF_BCS_N, 15, "Latitude of the origin, degrees", "PSO", nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescriptionInfo infos[] = {
    {"GEOLOB", description, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

}  // namespace

nitf_TREDescriptionSet tessel::tres::GEOLOB = {0, infos};
