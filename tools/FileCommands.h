#pragma once
// What the commands that read one file share: opening it with clear errors, and the JSON
// text of the path language made readable by a standard parser.

#include <optional>
#include <string>

#include "tessel/file/NITFFileContext.h"

namespace tessel_cli {

// Opens the file of a URI given on the command line (relative to the working folder). A
// file that doesn't open reports why on standard error under `command`; the result is
// then empty.
std::optional<Tessel::NITFFileContext> openFile(const std::string& command,
                                                const std::string& uriText);

}  // namespace tessel_cli
