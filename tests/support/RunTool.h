#pragma once
// Runs the tessel command and captures what it prints.

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <string>
#include "support/TestPaths.h"

namespace tessel_test {

struct ToolResult {
    int status = -1;
    std::string out;
};

// Runs a shell command line and captures its standard output.
inline ToolResult runCommand(const std::string& command) {
    ToolResult result;
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) {
        return result;
    }
    std::array<char, 4096> buffer{};
    size_t count = 0;
    while ((count = fread(buffer.data(), 1, buffer.size(), pipe)) > 0) {
        result.out.append(buffer.data(), count);
    }
    const int status = pclose(pipe);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

// `arguments` is appended to the tool's path as shell text; standard error is dropped
// unless the caller redirects it.
inline ToolResult runTool(const std::string& arguments) {
    return runCommand(std::string(TESSEL_TOOL) + " " + arguments);
}

// The tool on a full disk: a file size limit of `blocks` 1024-byte blocks, with SIGXFSZ
// ignored so that writes past it fail with EFBIG. `arguments` is shell text inside double
// quotes (quote paths with single quotes); standard error is captured too.
inline ToolResult runToolOnFullDisk(const std::string& arguments, int blocks) {
    return runCommand("bash -c \"trap '' XFSZ; ulimit -f " + std::to_string(blocks) + "; exec '" +
                      TESSEL_TOOL + "' " + arguments + "\" 2>&1");
}

}  // namespace tessel_test
