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

// `arguments` is appended to the tool's path as shell text; standard error is dropped
// unless the caller redirects it.
inline ToolResult runTool(const std::string& arguments) {
    ToolResult result;
    const std::string command = std::string(TESSEL_TOOL) + " " + arguments;
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

}  // namespace tessel_test
