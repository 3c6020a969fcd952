#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// Reading of the image corner field IGEOLO of a NITF image subheader, interpreted by the
// coordinate kind in ICORDS.

#include "tessel/platform/geo/lumo_geo.h"

#include <optional>
#include <string_view>

namespace nitf_igeolo {

// IGEOLO is four 15-character corners, upper left, upper right, lower right and lower
// left, returned in that order. The forms, by ICORDS:
//   'G'  geographic "ddmmssXdddmmssY" (X = N/S, Y = E/W)            -> geodetic_degrees
//   'D'  decimal degrees "+dd.ddd+ddd.ddd" (each sign + or -)       -> geodetic_degrees
//   'N'  UTM northern hemisphere "zzeeeeeennnnnnn" (zone, easting,
//        northing in metres)                                        -> utm
//   'S'  UTM southern hemisphere, same layout, false northing 10,000 km -> utm
//   'U'  MGRS "zzBCCeeeeennnnn" at 1 m (UPS references without zone
//        digits, blank-padded)                                      -> utm (zone 0 for UPS)
//   'C'  NITF 2.00 geocentric: the geographic layout with a geocentric
//        latitude, returned as geodetic latitude on WGS-84          -> geodetic_degrees
// A blank ICORDS (and NITF 2.00 'N' for "none", which comes without IGEOLO) holds no
// coordinates. Any text other than exactly 60 characters of one of these forms, with
// degrees, minutes and seconds in range and grid values the projections accept, gives
// nothing. Never throws.
std::optional<lumo_geo::corners> parse(char icords, std::string_view igeolo);

}  // namespace nitf_igeolo

TESSEL_PUBLIC_END
