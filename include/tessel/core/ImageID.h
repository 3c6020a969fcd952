#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// The structured image identifier that certain producers write into a NITF image's
// identifier field: acquisition date, mission and operation.

#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

namespace Tessel {

struct ImageID {
    std::string text;      // the whole text; empty when parsing failed
    uint8_t day = 0;       // as written, not checked against the month
    uint8_t month = 0;     // 1..12
    uint16_t year = 0;     // the two written digits expanded to a full year
    std::string mission;   // four characters: platform and vehicle
    std::string platform;  // the first two characters of the mission
    uint8_t vehicle = 0;   // the last two characters of the mission as a number
    std::string pass;
    uint16_t operation = 0;

    ImageID() = default;
    ImageID(const std::string& text, uint8_t day, uint8_t month, uint16_t year,
            const std::string& mission, const std::string& platform, uint8_t vehicle,
            const std::string& pass, uint16_t operation);
    ImageID(const ImageID&) = default;
    ImageID(ImageID&&) = default;
    ImageID& operator=(const ImageID&) = default;
    ImageID& operator=(ImageID&&) = default;

    // A text that doesn't have the structure gives the default ImageID; never throws.
    static ImageID parse(const std::string_view& text);
    static ImageID parse(const std::wstring_view& text);

    bool operator==(const ImageID& other) const;
};

// "(D: 4, M: 5, Y: 2012, MS: AB12, PL: AB, VH: 12, PS: X1, OP: 7)"
std::ostream& operator<<(std::ostream& os, const ImageID& id);
std::wostream& operator<<(std::wostream& os, const ImageID& id);

}  // namespace Tessel

TESSEL_PUBLIC_END
