// The tessel command: one subcommand per capability of the library.

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "tools/Commands.h"

int main(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    return tessel_cli::run(args);
}
