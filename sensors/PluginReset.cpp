#include "tessel/sensors/PluginReset.h"

#include "tessel/core/Options.h"
#include "tessel/sensors/RasterSensorFactory.h"

extern "C" {

void vexa_igeolo_reset() {
    Tessel::s_opt_vexa_igeolo_enable.reset();
    VEXASensors::RasterSensorFactory::reset();
}

void vexa_blocka_reset() {
    Tessel::s_opt_vexa_blocka_enable.reset();
}

void vexa_cscrna_reset() {
    Tessel::s_opt_vexa_cscrna_enable.reset();
}

void vexa_rpc00_reset() {
    Tessel::s_opt_vexa_rpc_enable.reset();
}

void vexa_rsm_reset() {
    Tessel::s_opt_vexa_rsm_enable.reset();
}
}
