#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// Each function forgets the cached enable option of one model family, so that the next use
// reads "Preferences" again. vexa_igeolo_reset also drops the factory table of
// RasterSensorFactory.

extern "C" {
void vexa_igeolo_reset();
void vexa_blocka_reset();
void vexa_cscrna_reset();
void vexa_rpc00_reset();
void vexa_rsm_reset();
}

TESSEL_PUBLIC_END
