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

// The path language writes a byte above 127 in JSON text as "\u" and its value as a
// negative 8-bit number ("\u-017" for 0xE9). Such escapes become the character of that
// byte read as ISO 8859-1 ("\u00e9"), so that the text parses as JSON.
std::string withByteEscapes(const std::string& json);

}  // namespace tessel_cli
