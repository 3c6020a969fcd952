#include "tessel/platform/geo/lumo_geo.h"

#include <GeographicLib/Geocentric.hpp>
#include <GeographicLib/MGRS.hpp>
#include <GeographicLib/UTMUPS.hpp>

#include <cmath>
#include <string>

namespace lumo_geo {

namespace {

constexpr double kRadiansToDegrees = 57.29577951308232;

std::optional<geodetic_degrees> finiteOrNothing(double lat, double lon) {
    if (!std::isfinite(lat) || !std::isfinite(lon)) {
        return std::nullopt;
    }
    return geodetic_degrees{lat, lon};
}

std::optional<geodetic_degrees> convert(const geodetic_degrees& point) {
    return finiteOrNothing(point.lat, point.lon);
}

std::optional<geodetic_degrees> convert(const geodetic_radians& point) {
    return finiteOrNothing(point.lat * kRadiansToDegrees, point.lon * kRadiansToDegrees);
}

std::optional<geodetic_degrees> convert(const ecef& point) {
    if (!std::isfinite(point.x) || !std::isfinite(point.y) || !std::isfinite(point.z)) {
        return std::nullopt;
    }
    double lat = 0.0;
    double lon = 0.0;
    double height = 0.0;
    GeographicLib::Geocentric::WGS84().Reverse(point.x, point.y, point.z, lat, lon, height);
    return finiteOrNothing(lat, lon);
}

std::optional<geodetic_degrees> convert(const unsupported&) {
    return std::nullopt;
}

std::optional<geodetic_degrees> convert(const utm& grid) {
    return utm_to_geodetic(grid);
}

std::string_view trimBlanks(std::string_view text) {
    const auto first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

}  // namespace

std::optional<geodetic_degrees> to_geodetic_degrees(const corner& c) {
    return std::visit([](const auto& value) { return convert(value); }, c);
}

std::optional<geodetic_degrees> utm_to_geodetic(const utm& grid) {
    if (grid.zone < GeographicLib::UTMUPS::MINZONE || grid.zone > GeographicLib::UTMUPS::MAXZONE) {
        return std::nullopt;
    }
    try {
        double lat = 0.0;
        double lon = 0.0;
        GeographicLib::UTMUPS::Reverse(grid.zone, grid.north, grid.easting, grid.northing, lat,
                                       lon);
        return finiteOrNothing(lat, lon);
    } catch (...) {
        // Zone, easting or northing outside the ranges the grids allow.
        return std::nullopt;
    }
}

std::optional<utm> geodetic_to_utm(const geodetic_degrees& point) {
    return geodetic_to_utm(point, GeographicLib::UTMUPS::STANDARD);
}

std::optional<utm> geodetic_to_utm(const geodetic_degrees& point, int zone) {
    if (!std::isfinite(point.lat) || !std::isfinite(point.lon)) {
        return std::nullopt;
    }
    try {
        utm grid;
        double gamma = 0.0;
        double scale = 0.0;
        GeographicLib::UTMUPS::Forward(point.lat, point.lon, grid.zone, grid.north, grid.easting,
                                       grid.northing, gamma, scale, zone);
        return grid;
    } catch (...) {
        // Latitude beyond the poles, or a forced zone too far from the point.
        return std::nullopt;
    }
}

std::optional<utm> mgrs_to_utm(std::string_view mgrs) {
    const std::string reference(trimBlanks(mgrs));
    if (reference.empty()) {
        return std::nullopt;
    }
    try {
        utm grid;
        int precision = 0;
        GeographicLib::MGRS::Reverse(reference, grid.zone, grid.north, grid.easting, grid.northing,
                                     precision, false);
        // A bare grid zone designation (-1) names no point; "INV" (-2) is the invalid mark.
        if (precision < 0) {
            return std::nullopt;
        }
        return grid;
    } catch (...) {
        return std::nullopt;
    }
}

std::optional<geodetic_degrees> mgrs_to_geodetic(std::string_view mgrs) {
    const auto grid = mgrs_to_utm(mgrs);
    if (!grid) {
        return std::nullopt;
    }
    return utm_to_geodetic(*grid);
}

}  // namespace lumo_geo
