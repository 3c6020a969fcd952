#include "tools/Commands.h"

#include <cstdio>
#include <functional>
#include <map>

namespace tessel_cli {
namespace {

int printVersion(const std::vector<std::string>&) {
    std::printf("tessel %s\n", TESSEL_VERSION_TEXT);
    return 0;
}

}  // namespace

int run(const std::vector<std::string>& args) {
    if (args.empty() || args[0] == "--help" || args[0] == "-h") {
        std::printf("usage: tessel <command> [options]\n\ncommands:\n  version\n");
        return args.empty() ? 2 : 0;
    }
    if (args[0] == "version") {
        return printVersion(args);
    }
    std::fprintf(stderr, "tessel: unknown command '%s' (try 'tessel --help')\n", args[0].c_str());
    return 2;
}

}  // namespace tessel_cli
