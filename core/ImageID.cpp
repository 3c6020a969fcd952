#include "tessel/core/ImageID.h"

#include "tessel/platform/base/nitf_date.h"
#include "tessel/platform/base/text.h"

#include <ostream>
#include <regex>
#include <tuple>
#include <utility>

namespace Tessel {
namespace {

// Day, month, two-digit year, mission (platform and vehicle), pass, operation, then up to
// 64 characters that are matched and dropped.
constexpr const char* kPattern =
    "^([0-3][0-9])(JAN|FEB|MAR|APR|MAY|JUN|JUL|AUG|SEP|OCT|NOV|DEC)([0-9]{2})"
    "(([A-Z0-9]{2})([0-9]{2}))([A-Z0-9]{2})([0-9]{3})(.{0,48})(.{0,16})";

// The groups hold digits only, and few enough to fit an int.
int toNumber(const std::string& digits) {
    int value = 0;
    for (char c : digits) {
        value = value * 10 + (c - '0');
    }
    return value;
}

// The fields in print order, with their labels.
template <typename Stream, typename Widen>
void printFields(Stream& os, const ImageID& id, Widen widen) {
    os << widen("(D: ") << unsigned{id.day} << widen(", M: ") << unsigned{id.month}
       << widen(", Y: ") << id.year << widen(", MS: ") << widen(id.mission) << widen(", PL: ")
       << widen(id.platform) << widen(", VH: ") << unsigned{id.vehicle} << widen(", PS: ")
       << widen(id.pass) << widen(", OP: ") << id.operation << widen(")");
}

}  // namespace

ImageID::ImageID(const std::string& text_, uint8_t day_, uint8_t month_, uint16_t year_,
                 const std::string& mission_, const std::string& platform_, uint8_t vehicle_,
                 const std::string& pass_, uint16_t operation_)
    : text(text_),
      day(day_),
      month(month_),
      year(year_),
      mission(mission_),
      platform(platform_),
      vehicle(vehicle_),
      pass(pass_),
      operation(operation_) {}

ImageID ImageID::parse(const std::string_view& text) {
    const std::regex pattern(kPattern, std::regex::ECMAScript);
    std::match_results<std::string_view::const_iterator> groups;
    if (!std::regex_match(text.begin(), text.end(), groups, pattern)) {
        return {};
    }
    ImageID id;
    id.text = std::string(text);
    id.day = static_cast<uint8_t>(toNumber(groups.str(1)));
    id.month = static_cast<uint8_t>(nitf_date::lookupMonth(groups.str(2)));
    id.year = static_cast<uint16_t>(nitf_date::adjustYear(toNumber(groups.str(3))));
    id.mission = groups.str(4);
    id.platform = groups.str(5);
    id.vehicle = static_cast<uint8_t>(toNumber(groups.str(6)));
    id.pass = groups.str(7);
    id.operation = static_cast<uint16_t>(toNumber(groups.str(8)));
    return id;
}

ImageID ImageID::parse(const std::wstring_view& text) {
    const std::string narrow = std::to_string(text);
    return parse(std::string_view(narrow));
}

bool ImageID::operator==(const ImageID& other) const {
    return std::tie(text, day, month, year, mission, platform, vehicle, pass, operation) ==
           std::tie(other.text, other.day, other.month, other.year, other.mission, other.platform,
                    other.vehicle, other.pass, other.operation);
}

std::ostream& operator<<(std::ostream& os, const ImageID& id) {
    printFields(os, id, [](const auto& text) { return std::string_view(text); });
    return os;
}

std::wostream& operator<<(std::wostream& os, const ImageID& id) {
    printFields(os, id, [](const auto& text) { return std::to_wstring(std::string_view(text)); });
    return os;
}

}  // namespace Tessel
