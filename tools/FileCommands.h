#pragma once
// What the commands that read one file share: opening it with clear errors, and the JSON
// text of the path language made readable by a standard parser.

#include <optional>
#include <string>

#include "tessel/core/NITFURI.h"
#include "tessel/file/NITFFileContext.h"

namespace tessel_cli {

// A URI as typed on the command line: a relative path is taken from the working folder.
Tessel::NITFURI uriFromArgument(const std::string& text);

// Reports a failed open under `command`: each message, or when there are none whether the
// file is missing or isn't NITF. Returns the exit status 1.
int reportOpenFailure(const std::string& command, const Tessel::NITFURI& uri,
                      const Tessel::NITFMessages& messages);

// Opens the file of a URI given on the command line (relative to the working folder). A
// file that doesn't open reports why on standard error under `command`; the result is
// then empty.
std::optional<Tessel::NITFFileContext> openFile(const std::string& command,
                                                const std::string& uriText);

}  // namespace tessel_cli
