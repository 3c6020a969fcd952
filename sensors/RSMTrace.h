#pragma once
// The debug trace of the replacement sensor model. Each site reads `vexa_rsm.debug` once per
// process (a function-local static, so the first use from any thread decides) and formats
// its line only when the level is high enough; the line goes to standard output and, on
// Windows, to the debugger.

#include <boost/format.hpp>
#include <string>

#include "tessel/core/Options.h"

namespace VEXASensors::detail_rsm_trace {

void writeTraceLine(const std::string& line);

// "[ %15.8f, %15.8f, %15.8f ]"
std::string vectorText(double x, double y, double z);

}  // namespace VEXASensors::detail_rsm_trace

// Writes the boost format expression `expr` when the site's cached level reaches `level`.
#define TESSEL_RSM_TRACE(level, expr)                                          \
    do {                                                                       \
        static const int tesselRsmSiteLevel = Tessel::s_opt_vexa_rsm_debug();  \
        if (tesselRsmSiteLevel >= (level)) {                                   \
            ::VEXASensors::detail_rsm_trace::writeTraceLine(boost::str(expr)); \
        }                                                                      \
    } while (false)
