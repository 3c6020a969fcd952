#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// The output side of a path rendering: text is appended to a target string, characters
// that may need escaping one at a time through a filter.

#include <string>
#include <string_view>

#include "tessel/platform/nitf/nitf_Field.h"

namespace NitroUtils {

struct Encoder {
    // Writes one character, escaped as the output format needs, to encoder.target.
    using Filter = void (*)(Encoder& encoder, char c);

    std::string* target = nullptr;
    Filter filter = nullptr;  // null writes every character as it is
    bool raw = false;         // keep the padding of field text instead of trimming it

    // One character through the filter.
    void put(char c);
    // Text through the filter, character by character.
    void write(std::string_view text);
    // Text that can't need escaping (base64, markup), appended as it is.
    void writeDirect(std::string_view text);
};

// Filters. passFilter writes the character unchanged.
void passFilter(Encoder& encoder, char c);
// The five XML entities; bytes 32..126 pass; others become "&#x{:04X};" of the byte, or of
// 0x20 for the bytes that XML 1.0 forbids or discourages.
void xmlFilter(Encoder& encoder, char c);
// The two-character escapes of JSON; a zero byte becomes a blank; bytes 32..126 pass;
// others become "\u{:04x}" of the byte taken as a signed 8-bit number.
void jsonFilter(Encoder& encoder, char c);

// The default field encoder: BCS-A and BCS-N text (trimmed of white space unless the
// encoder is raw) through the filter; binary bytes as base64, appended directly. A null
// field writes nothing.
void encodeField(Encoder& encoder, nitf_Field* field);

// Binary field bytes rendered by a type word: "uint" with 1, 2, 4 or 8 bytes writes the
// unsigned value in decimal, "real" with 8 bytes the IEEE double in its shortest
// round-trip form. Four- and eight-byte values are held in network order and swapped;
// a two-byte value is held in host order. Anything else writes nothing.
void encodeTypedField(Encoder& encoder, nitf_Field* field, std::string_view typeWord);

}  // namespace NitroUtils

TESSEL_PUBLIC_END
