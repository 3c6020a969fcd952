#include "tessel/platform/geo/nitf_igeolo.h"

#include <GeographicLib/Math.hpp>

#include <charconv>
#include <cmath>
#include <cstddef>

namespace nitf_igeolo {

namespace {

using lumo_geo::corner;
using lumo_geo::geodetic_degrees;
using lumo_geo::utm;

constexpr std::size_t kCornerLength = 15;
constexpr std::size_t kCornerCount = 4;
constexpr double kWgs84E2 = 0.006694379990141317;

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
bool isUpper(char c) {
    return c >= 'A' && c <= 'Z';
}

bool allDigits(std::string_view text) {
    if (text.empty()) {
        return false;
    }
    for (const char c : text) {
        if (!isDigit(c)) {
            return false;
        }
    }
    return true;
}

// The value of a run of decimal digits; no sign, no blanks.
std::optional<long> digitsValue(std::string_view text) {
    if (!allDigits(text)) {
        return std::nullopt;
    }
    long value = 0;
    for (const char c : text) {
        value = value * 10 + (c - '0');
    }
    return value;
}

// Degrees, minutes and seconds, with the hemisphere letter that makes the value negative
// given separately. At the limit (90 or 180) minutes and seconds must be zero.
std::optional<double> dmsValue(std::string_view degrees, std::string_view minutes,
                               std::string_view seconds, char hemisphere, char positive,
                               char negative, long limit) {
    const auto d = digitsValue(degrees);
    const auto m = digitsValue(minutes);
    const auto s = digitsValue(seconds);
    if (!d || !m || !s || *m > 59 || *s > 59 || *d > limit) {
        return std::nullopt;
    }
    if (*d == limit && (*m != 0 || *s != 0)) {
        return std::nullopt;
    }
    if (hemisphere != positive && hemisphere != negative) {
        return std::nullopt;
    }
    const double value =
        static_cast<double>(*d) + static_cast<double>(*m) / 60.0 + static_cast<double>(*s) / 3600.0;
    return hemisphere == negative ? -value : value;
}

// "ddmmssXdddmmssY".
std::optional<geodetic_degrees> geographicCorner(std::string_view text) {
    const auto lat =
        dmsValue(text.substr(0, 2), text.substr(2, 2), text.substr(4, 2), text[6], 'N', 'S', 90);
    const auto lon = dmsValue(text.substr(7, 3), text.substr(10, 2), text.substr(12, 2), text[14],
                              'E', 'W', 180);
    if (!lat || !lon) {
        return std::nullopt;
    }
    return geodetic_degrees{*lat, *lon};
}

// A geocentric latitude becomes geodetic through tan(geodetic) = tan(geocentric) / (1 - e2);
// the degree-exact sine and cosine keep the poles at exactly 90 degrees.
double geocentricToGeodeticLatitude(double latitude) {
    double sine = 0.0;
    double cosine = 0.0;
    GeographicLib::Math::sincosd(latitude, sine, cosine);
    return GeographicLib::Math::atan2d(sine, (1.0 - kWgs84E2) * cosine);
}

std::optional<geodetic_degrees> geocentricCorner(std::string_view text) {
    auto point = geographicCorner(text);
    if (point) {
        point->lat = geocentricToGeodeticLatitude(point->lat);
    }
    return point;
}

// A signed decimal "+dd.ddd": sign, integer digits, point, three decimals.
std::optional<double> signedDecimal(std::string_view text, std::size_t integerDigits,
                                    double limit) {
    const char sign = text[0];
    const std::string_view magnitude = text.substr(1);
    if ((sign != '+' && sign != '-') || magnitude[integerDigits] != '.' ||
        !allDigits(magnitude.substr(0, integerDigits)) ||
        !allDigits(magnitude.substr(integerDigits + 1))) {
        return std::nullopt;
    }
    double value = 0.0;
    const auto [end, error] =
        std::from_chars(magnitude.data(), magnitude.data() + magnitude.size(), value);
    if (error != std::errc() || end != magnitude.data() + magnitude.size() || value > limit) {
        return std::nullopt;
    }
    return sign == '-' ? -value : value;
}

// "+dd.ddd+ddd.ddd".
std::optional<geodetic_degrees> decimalCorner(std::string_view text) {
    const auto lat = signedDecimal(text.substr(0, 7), 2, 90.0);
    const auto lon = signedDecimal(text.substr(7, 8), 3, 180.0);
    if (!lat || !lon) {
        return std::nullopt;
    }
    return geodetic_degrees{*lat, *lon};
}

// A grid position is kept only if it also maps back to a latitude and longitude.
std::optional<utm> projectable(const utm& grid) {
    if (!lumo_geo::utm_to_geodetic(grid)) {
        return std::nullopt;
    }
    return grid;
}

// "zzeeeeeennnnnnn": zone 01 to 60, easting and northing in metres.
std::optional<utm> utmCorner(std::string_view text, bool north) {
    const auto zone = digitsValue(text.substr(0, 2));
    const auto easting = digitsValue(text.substr(2, 6));
    const auto northing = digitsValue(text.substr(8, 7));
    if (!zone || !easting || !northing || *zone < 1 || *zone > 60) {
        return std::nullopt;
    }
    return projectable(utm{static_cast<int>(*zone), north, static_cast<double>(*easting),
                           static_cast<double>(*northing)});
}

// An MGRS reference at 1 m: up to two zone digits (none for UPS), the band letter, the two
// letters of the 100 km square, then five digits of easting and five of northing. Blanks
// may pad a reference shorter than the field.
bool isMgrsLayout(std::string_view text) {
    const auto first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) {
        return false;
    }
    const std::string_view reference = text.substr(first, text.find_last_not_of(' ') - first + 1);
    std::size_t zoneDigits = 0;
    while (zoneDigits < reference.size() && isDigit(reference[zoneDigits])) {
        ++zoneDigits;
    }
    if (zoneDigits > 2 || reference.size() != zoneDigits + 13) {
        return false;
    }
    for (std::size_t i = zoneDigits; i < zoneDigits + 3; ++i) {
        if (!isUpper(reference[i])) {
            return false;
        }
    }
    return allDigits(reference.substr(zoneDigits + 3));
}

std::optional<utm> mgrsCorner(std::string_view text) {
    if (!isMgrsLayout(text)) {
        return std::nullopt;
    }
    const auto grid = lumo_geo::mgrs_to_utm(text);
    if (!grid) {
        return std::nullopt;
    }
    return projectable(*grid);
}

std::optional<corner> parseCorner(char icords, std::string_view text) {
    const auto lift = [](const auto& value) -> std::optional<corner> {
        if (!value) {
            return std::nullopt;
        }
        return corner{*value};
    };
    switch (icords) {
        case 'G':
            return lift(geographicCorner(text));
        case 'C':
            return lift(geocentricCorner(text));
        case 'D':
            return lift(decimalCorner(text));
        case 'N':
            return lift(utmCorner(text, true));
        case 'S':
            return lift(utmCorner(text, false));
        case 'U':
            return lift(mgrsCorner(text));
        default:
            return std::nullopt;
    }
}

}  // namespace

std::optional<lumo_geo::corners> parse(char icords, std::string_view igeolo) {
    if (igeolo.size() != kCornerLength * kCornerCount) {
        return std::nullopt;
    }
    try {
        lumo_geo::corners result;
        for (std::size_t i = 0; i < kCornerCount; ++i) {
            const auto value = parseCorner(icords, igeolo.substr(i * kCornerLength, kCornerLength));
            if (!value) {
                return std::nullopt;
            }
            result[i] = *value;
        }
        return result;
    } catch (...) {
        // Only allocation can throw here; a reader of file fields must not.
        return std::nullopt;
    }
}

}  // namespace nitf_igeolo
