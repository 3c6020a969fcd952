#include "sensors/RSMTrace.h"

#include <iostream>

#ifdef _WIN32
#include <windows.h>
#endif

namespace VEXASensors::detail_rsm_trace {

void writeTraceLine(const std::string& line) {
    std::cout << line << std::endl;
#ifdef _WIN32
    OutputDebugStringA((line + "\n").c_str());
#endif
}

std::string vectorText(double x, double y, double z) {
    return boost::str(boost::format("[ %15.8f, %15.8f, %15.8f ]") % x % y % z);
}

}  // namespace VEXASensors::detail_rsm_trace
