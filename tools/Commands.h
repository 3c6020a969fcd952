#pragma once

#include <string>
#include <vector>

namespace tessel_cli {

// Runs one command line (without the program name); returns the exit status.
int run(const std::vector<std::string>& args);

}  // namespace tessel_cli
