#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
/* Geodetic <-> Earth-centred conversion on an ellipsoid given by its semi-major axis a
 * (metres) and first eccentricity squared e2. Angles are in radians: lambda is the
 * longitude, phi the geodetic latitude; heights are metres above the ellipsoid.
 * Callable from C. */

#ifdef __cplusplus
extern "C" {
#endif

enum gx_status {
    GX_OK = 0,
    /* a is not a positive finite number, or e2 is not finite and below 1. */
    GX_BAD_ELLIPSOID = 1,
    /* An output pointer is null. */
    GX_NULL_ARGUMENT = 2,
    /* An input coordinate is NaN or infinite; the outputs are NaN. */
    GX_NOT_FINITE = 3,
};

/* Writes the Earth-centred x, y, z (metres) of the geodetic point (lambda, phi, h).
 * Returns GX_OK, or one of the gx_status codes; on GX_BAD_ELLIPSOID and GX_NULL_ARGUMENT
 * nothing is written. */
int gx_lph_to_xyz(double a, double e2, double lambda, double phi, double h, double* x, double* y,
                  double* z);

/* The inverse: writes the longitude lambda in [-pi, pi], the geodetic latitude phi in
 * [-pi/2, pi/2] (both radians) and the ellipsoidal height h (metres) of (x, y, z).
 * At the centre of the Earth the result is a pole with a height of minus the polar radius.
 * Returns as gx_lph_to_xyz does. */
int gx_xyz_to_lph(double a, double e2, double x, double y, double z, double* lambda, double* phi,
                  double* h);

#ifdef __cplusplus
}
#endif

TESSEL_PUBLIC_END
