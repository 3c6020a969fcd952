#pragma once
// What the pixel commands share: options with values, number lists, and opening the image
// that a URI names.

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "tessel/file/NITFFileContext.h"
#include "tessel/image/NITFImage.h"
#include "tools/Commands.h"

namespace tessel_cli {

// A command line split by what the command knows: options that take a value ("--size W,H",
// "--size=W,H" or "-o FILE"), plain flags, and positional words. Anything else is an error.
struct OptionWords {
    std::vector<std::string> positional;
    std::map<std::string, std::string> values;
    std::set<std::string> flags;

    bool has(const std::string& flag) const { return flags.count(flag) != 0; }
    std::optional<std::string> value(const std::string& key) const;
};

// Throws std::invalid_argument with a message for the user.
OptionWords parseOptions(const Arguments& arguments, const std::set<std::string>& valued,
                         const std::set<std::string>& plain);

// "12" as an unsigned number; throws std::invalid_argument naming `what`.
uint32_t parseUnsigned(const std::string& text, const std::string& what);
// "1,2,3": exactly `count` numbers when count is not 0, at least one otherwise.
std::vector<uint32_t> parseNumberList(const std::string& text, size_t count,
                                      const std::string& what);

// An image with the context that keeps its file open.
struct OpenedImage {
    Tessel::NITFFileContext context;
    std::shared_ptr<Tessel::NITFImage> image;
};

// Opens the image a URI names ("file", "file#IM_n", "NITF_IM:n:file"; image 0 by default),
// at pyramid level `level`. Throws std::runtime_error with a message for the user.
OpenedImage openImage(const std::string& uriText, uint32_t level);

}  // namespace tessel_cli
