#include "tessel/paths/Encoder.h"

#include <fmt/format.h>

#include <bit>
#include <charconv>
#include <cstdint>
#include <cstring>

#include "tessel/platform/base/lumo_codec.h"
#include "tessel/platform/nitf/nrt_System.h"

namespace NitroUtils {
namespace {

constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(kWhiteSpace);
    if (first == std::string_view::npos) {
        return {};
    }
    const auto last = text.find_last_not_of(kWhiteSpace);
    return text.substr(first, last - first + 1);
}

// The bytes that XML 1.0 forbids or discourages are written as a blank reference.
bool isXMLDiscouraged(unsigned char byte) {
    return byte <= 0x08 || byte == 0x0B || byte == 0x0C || (byte >= 0x0E && byte <= 0x1F) ||
           (byte >= 0x7F && byte <= 0x84) || (byte >= 0x86 && byte <= 0x9F);
}

template <typename T>
T loadBytes(const char* bytes) {
    T value;
    std::memcpy(&value, bytes, sizeof(T));
    return value;
}

// Four- and eight-byte binary values are held in network order.
uint32_t fromNetwork32(uint32_t value) {
    return std::endian::native == std::endian::little ? nrt_System_swap32(value) : value;
}

uint64_t fromNetwork64(uint64_t value) {
    return std::endian::native == std::endian::little ? nrt_System_swap64(value) : value;
}

std::string unsignedText(const nitf_Field& field) {
    switch (field.length) {
        case 1:
            return std::to_string(static_cast<unsigned char>(field.raw[0]));
        case 2:
            // Two-byte values are kept in host order: read them without a swap.
            return std::to_string(loadBytes<uint16_t>(field.raw));
        case 4:
            return std::to_string(fromNetwork32(loadBytes<uint32_t>(field.raw)));
        case 8:
            return std::to_string(fromNetwork64(loadBytes<uint64_t>(field.raw)));
        default:
            return {};
    }
}

std::string realText(const nitf_Field& field) {
    if (field.length != 8) {
        return {};
    }
    const double value = std::bit_cast<double>(fromNetwork64(loadBytes<uint64_t>(field.raw)));
    char buffer[32];
    const auto result = std::to_chars(buffer, buffer + sizeof(buffer), value);
    return std::string(buffer, result.ptr);
}

}  // namespace

void Encoder::put(char c) {
    if (filter != nullptr) {
        filter(*this, c);
    } else {
        target->push_back(c);
    }
}

void Encoder::write(std::string_view text) {
    if (filter == nullptr) {
        target->append(text);
        return;
    }
    for (char c : text) {
        filter(*this, c);
    }
}

void Encoder::writeDirect(std::string_view text) {
    target->append(text);
}

void passFilter(Encoder& encoder, char c) {
    encoder.target->push_back(c);
}

void xmlFilter(Encoder& encoder, char c) {
    std::string& out = *encoder.target;
    switch (c) {
        case '"':
            out.append("&quot;");
            return;
        case '&':
            out.append("&amp;");
            return;
        case '\'':
            out.append("&apos;");
            return;
        case '<':
            out.append("&lt;");
            return;
        case '>':
            out.append("&gt;");
            return;
        default:
            break;
    }
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 32 && byte <= 126) {
        out.push_back(c);
        return;
    }
    const unsigned reference = isXMLDiscouraged(byte) ? 0x20U : byte;
    fmt::format_to(std::back_inserter(out), "&#x{:04X};", reference);
}

void jsonFilter(Encoder& encoder, char c) {
    std::string& out = *encoder.target;
    switch (c) {
        case '\b':
            out.append("\\b");
            return;
        case '\t':
            out.append("\\t");
            return;
        case '\n':
            out.append("\\n");
            return;
        case '\f':
            out.append("\\f");
            return;
        case '\r':
            out.append("\\r");
            return;
        case '"':
            out.append("\\\"");
            return;
        case '\\':
            out.append("\\\\");
            return;
        case '\0':
            out.push_back(' ');
            return;
        default:
            break;
    }
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 32 && byte <= 126) {
        out.push_back(c);
        return;
    }
    // The value as a signed byte: a high byte shows a minus sign ("\u-017" for 0xE9).
    fmt::format_to(std::back_inserter(out), "\\u{:04x}", static_cast<int>(static_cast<int8_t>(c)));
}

void encodeField(Encoder& encoder, nitf_Field* field) {
    if (field == nullptr || field->raw == nullptr) {
        return;
    }
    const std::string_view bytes(field->raw, field->length);
    switch (field->type) {
        case NITF_BCS_A:
        case NITF_BCS_N:
            encoder.write(encoder.raw ? bytes : trimmed(bytes));
            return;
        case NITF_BINARY:
            encoder.writeDirect(lumo_codec::base64_encode(bytes));
            return;
    }
}

void encodeTypedField(Encoder& encoder, nitf_Field* field, std::string_view typeWord) {
    if (field == nullptr || field->raw == nullptr) {
        return;
    }
    if (typeWord == "uint") {
        encoder.writeDirect(unsignedText(*field));
    } else if (typeWord == "real") {
        encoder.writeDirect(realText(*field));
    }
}

}  // namespace NitroUtils
