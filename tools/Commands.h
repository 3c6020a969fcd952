#pragma once

#include <functional>
#include <string>
#include <vector>

namespace tessel_cli {

// The words of one command line after the subcommand, split into positional
// arguments and "--flag" / "--key value" options.
struct Arguments {
    std::vector<std::string> positional;
    std::vector<std::string> flags;
    // Every word in the order given, for commands whose options take values.
    std::vector<std::string> words;

    bool has(const std::string& flag) const;
};

struct Command {
    std::string name;
    std::string synopsis;  // "uri TEXT [BASE] [--json]"
    std::string summary;   // one line for the command list
    std::string help;      // further lines for "tessel NAME --help"
    std::function<int(const Arguments&)> run;
};

// Every subcommand, in the order the help lists them.
const std::vector<Command>& commands();

// Runs one command line (without the program name); returns the exit status.
int run(const std::vector<std::string>& args);

// Reports a usage or runtime error on standard error; returns the exit status to use.
int fail(const std::string& command, const std::string& message);

Command versionCommand();
Command versionsCommand();
Command uriCommand();
Command configCommand();
Command infoCommand();
Command recordCommand();
Command readCommand();
Command histogramCommand();
Command pathCommand();
Command dumpCommand();
Command sensorCommand();
Command tableCommand();
Command productCommand();
Command profilesCommand();
Command copyCommand();
Command setCommand();
Command convertCommand();

}  // namespace tessel_cli
