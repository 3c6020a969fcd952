#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// Base64 text of binary bytes, with the standard alphabet of RFC 4648.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace lumo_codec {

// Standard alphabet ("+", "/") with "=" padding to a multiple of four characters.
std::string base64_encode(const void* data, size_t size);
std::string base64_encode(std::string_view bytes);

// Reads the standard alphabet. The padding may be left out; when present it must end
// the text and make it a multiple of four characters. Spaces, tabs and line breaks are
// skipped, so that wrapped text decodes. Any other character outside the alphabet, "="
// before the end, or a length that no byte count gives (one character over a multiple of
// four) yields nothing. Unused low bits of the last character are ignored.
std::optional<std::vector<uint8_t>> base64_decode(std::string_view text);

}  // namespace lumo_codec

TESSEL_PUBLIC_END
