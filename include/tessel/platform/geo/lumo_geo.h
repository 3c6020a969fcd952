#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// Coordinate kinds that an image's corner can be given in, and their conversion to
// geodetic degrees. Everything is on the WGS-84 ellipsoid. No operation throws: a value
// that cannot be converted gives an empty optional.

#include <array>
#include <optional>
#include <string_view>
#include <variant>

namespace lumo_geo {

struct geodetic_degrees {
    double lat = 0.0;
    double lon = 0.0;
    bool operator==(const geodetic_degrees&) const = default;
};

struct geodetic_radians {
    double lat = 0.0;
    double lon = 0.0;
    bool operator==(const geodetic_radians&) const = default;
};

// Earth-centred, Earth-fixed, metres.
struct ecef {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    bool operator==(const ecef&) const = default;
};

// A corner whose coordinate system has no conversion.
struct unsupported {
    bool operator==(const unsupported&) const = default;
};

// UTM grid coordinates in metres, the southern hemisphere with its false northing of
// 10,000 km. Zone 0 means the polar stereographic (UPS) grid of the given pole.
struct utm {
    int zone = 0;
    bool north = true;
    double easting = 0.0;
    double northing = 0.0;
    bool operator==(const utm&) const = default;
};

using corner = std::variant<geodetic_degrees, geodetic_radians, ecef, unsupported, utm>;

// Image corners in file order: upper left, upper right, lower right, lower left.
using corners = std::array<corner, 4>;

// Geodetic degrees of any corner kind: radians are scaled, UTM/UPS is projected back, an
// Earth-centred point is reduced to its latitude and longitude (its height is dropped).
// The unsupported kind, and values outside the grids' ranges, give nothing.
std::optional<geodetic_degrees> to_geodetic_degrees(const corner& c);

std::optional<geodetic_degrees> utm_to_geodetic(const utm& grid);

// In the standard zone of the point (UPS beyond 84 N and 80 S, the Norway and Svalbard
// exceptions included).
std::optional<utm> geodetic_to_utm(const geodetic_degrees& point);
// In the given zone (1 to 60, or 0 for UPS), for points near a zone boundary that must
// share their neighbours' grid.
std::optional<utm> geodetic_to_utm(const geodetic_degrees& point, int zone);

// A full MGRS reference ("34TDN1234567890"; blanks around it are ignored; UPS references
// have no zone digits) at any precision from 100 km down; the grid position is the
// south-west corner of the referenced square, not its centre.
std::optional<utm> mgrs_to_utm(std::string_view mgrs);
std::optional<geodetic_degrees> mgrs_to_geodetic(std::string_view mgrs);

}  // namespace lumo_geo

TESSEL_PUBLIC_END
