// CSDIDA: dataset identification of a commercial file: collection date, platform, pass,
// sensor and product. 70 bytes; in the file header.

#include "platform/nitf/tres/BuiltinTREs.h"

namespace {

nitf_TREDescription description[] = {
    {NITF_BCS_N, 2, "Day of collection", "DAY", nullptr},
    {NITF_BCS_A, 3, "Month of collection, three letters", "MONTH", nullptr},
    {NITF_BCS_N, 4, "Year of collection", "YEAR", nullptr},
    {NITF_BCS_A, 2, "Platform code", "PLATFORM_CODE", nullptr},
    {NITF_BCS_N, 2, "Vehicle number", "VEHICLE_ID", nullptr},
    {NITF_BCS_N, 2, "Pass number", "PASS", nullptr},
    {NITF_BCS_N, 3, "Operation number", "OPERATION", nullptr},
    {NITF_BCS_A, 2, "Sensor", "SENSOR_ID", nullptr},
    {NITF_BCS_A, 2, "Product type", "PRODUCT_ID", nullptr},
    {NITF_BCS_A, 4, "Reserved", "RESERVED_1", nullptr},
    {NITF_BCS_N, 14, "Image start time", "TIME", nullptr},
    {NITF_BCS_N, 14, "Processing time", "PROCESS_TIME", nullptr},
    {NITF_BCS_N, 2, "Reserved", "RESERVED_2", nullptr},
    {NITF_BCS_N, 2, "Reserved", "RESERVED_3", nullptr},
    {NITF_BCS_A, 1, "Reserved", "RESERVED_4", nullptr},
    {NITF_BCS_A, 1, "Reserved", "RESERVED_5", nullptr},
    {NITF_BCS_A, 10, "Processing software version", "SOFTWARE_VERSION_NUMBER", nullptr},
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescriptionInfo infos[] = {
    {"CSDIDA", description, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

}  // namespace

nitf_TREDescriptionSet tessel::tres::CSDIDA = {0, infos};
