#include "tools/Commands.h"

#include <algorithm>
#include <cstdio>

namespace tessel_cli {
namespace {

void printUsage(FILE* out) {
    std::fprintf(out, "usage: tessel <command> [arguments] [--help]\n\ncommands:\n");
    for (const auto& command : commands()) {
        std::fprintf(out, "  %-40s %s\n", command.synopsis.c_str(), command.summary.c_str());
    }
}

void printCommandHelp(const Command& command) {
    std::printf("usage: tessel %s\n\n%s\n", command.synopsis.c_str(), command.summary.c_str());
    if (!command.help.empty()) {
        std::printf("\n%s\n", command.help.c_str());
    }
}

Arguments split(const std::vector<std::string>& words) {
    Arguments arguments;
    arguments.words = words;
    for (const auto& word : words) {
        if (word.size() > 2 && word.rfind("--", 0) == 0) {
            arguments.flags.push_back(word);
        } else {
            arguments.positional.push_back(word);
        }
    }
    return arguments;
}

}  // namespace

bool Arguments::has(const std::string& flag) const {
    return std::find(flags.begin(), flags.end(), flag) != flags.end();
}

const std::vector<Command>& commands() {
    static const std::vector<Command> all{
        versionCommand(), versionsCommand(),  uriCommand(),     configCommand(),   infoCommand(),
        readCommand(),    histogramCommand(), recordCommand(),  pathCommand(),     dumpCommand(),
        sensorCommand(),  tableCommand(),     productCommand(), profilesCommand(), copyCommand(),
        setCommand(),     convertCommand()};
    return all;
}

int fail(const std::string& command, const std::string& message) {
    std::fprintf(stderr, "tessel %s: %s\n", command.c_str(), message.c_str());
    return 1;
}

int run(const std::vector<std::string>& args) {
    if (args.empty()) {
        printUsage(stderr);
        return 2;
    }
    if (args[0] == "--help" || args[0] == "-h" || args[0] == "help") {
        printUsage(stdout);
        return 0;
    }
    const auto found =
        std::find_if(commands().begin(), commands().end(),
                     [&](const Command& command) { return command.name == args[0]; });
    if (found == commands().end()) {
        std::fprintf(stderr, "tessel: unknown command '%s' (try 'tessel --help')\n",
                     args[0].c_str());
        return 2;
    }
    const Arguments arguments = split({args.begin() + 1, args.end()});
    if (arguments.has("--help") || arguments.has("-h")) {
        printCommandHelp(*found);
        return 0;
    }
    try {
        return found->run(arguments);
    } catch (const std::exception& error) {
        return fail(found->name, error.what());
    }
}

}  // namespace tessel_cli
