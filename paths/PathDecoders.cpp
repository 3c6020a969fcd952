// Field decoders of the path writer: text into BCS fields, hexadecimal or base64 into binary
// fields, the background colour, the image shape fields and segment bodies.

#include <fmt/format.h>

#include <bit>
#include <charconv>
#include <cstring>
#include <optional>
#include <vector>

#include "paths/PathWriter.h"
#include "tessel/core/NitroError.h"
#include "tessel/file/BlockCache.h"
#include "tessel/paths/PathWalker.h"
#include "tessel/platform/base/lumo_codec.h"

using Tessel::NITFMessages;

namespace NITFPathInternal {
namespace detail_path_decoders {

constexpr std::string_view kHexPrefix = "HEX:";
constexpr size_t kMaxHexField = 8;

bool refuse(NITFMessages& messages, const PathList& path, const std::string& text,
            std::string_view reason) {
    messages.push_back(
        fmt::format("{}: Can not set '{}': {}", pathText(path), shortenedValue(text), reason));
    return false;
}

bool isHexDigits(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
}

bool storeRaw(nitf_Field* field, const void* bytes, size_t size, NITFMessages& messages,
              const PathList& path) {
    nrt_Error error{};
    const bool ok = nitf_Field_setRawData(field, const_cast<void*>(bytes), size, &error);
    return !Tessel::checkNitroError(error, messages, path, !ok);
}

// "HEX:" and a number, written as the field's bytes in machine order.
bool decodeHex(nitf_Field* field, const std::string& text, NITFMessages& messages,
               const PathList& path) {
    const std::string_view digits = std::string_view(text).substr(kHexPrefix.size());
    uint64_t value = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
    if (!isHexDigits(digits) || error != std::errc() || end != digits.data() + digits.size()) {
        return refuse(messages, path, text, "not a hexadecimal number");
    }
    if (field->length < sizeof value && (value >> (8 * field->length)) != 0) {
        return refuse(messages, path, text,
                      fmt::format("the number does not fit in {} bytes", field->length));
    }
    uint8_t bytes[sizeof value];
    std::memcpy(bytes, &value, sizeof value);
    if (std::endian::native == std::endian::big) {
        return storeRaw(field, bytes + sizeof value - field->length, field->length, messages, path);
    }
    return storeRaw(field, bytes, field->length, messages, path);
}

bool decodeBase64(nitf_Field* field, const std::string& text, NITFMessages& messages,
                  const PathList& path) {
    const auto bytes = lumo_codec::base64_decode(text);
    if (!bytes) {
        return refuse(messages, path, text, "not base64");
    }
    if (!field->resizable && bytes->size() != field->length) {
        return refuse(messages, path, text,
                      fmt::format("{} bytes for a field of {}", bytes->size(), field->length));
    }
    return storeRaw(field, bytes->data(), bytes->size(), messages, path);
}

// Why a text can't go into a BCS field, or nothing when it fits.
std::optional<std::string> textProblem(const nitf_Field& field, std::string_view text) {
    if (text.size() > field.length && !field.resizable) {
        return fmt::format("{} characters for a field of {}", text.size(), field.length);
    }
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte > 0x7e) {
            return fmt::format("character 0x{:02x} is not allowed in a text field", byte);
        }
    }
    if (field.type != NITF_BCS_N) {
        return std::nullopt;
    }
    // Numeric fields: digits, a leading sign, one decimal point, and '-' or '/' for unknown
    // values and dates; a field of blanks only is an absent value.
    if (text.find_first_not_of(' ') == std::string_view::npos) {
        return std::nullopt;
    }
    const size_t start = !text.empty() && (text[0] == '+' || text[0] == '-') ? 1 : 0;
    bool point = false;
    for (size_t i = start; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '.' && !point) {
            point = true;
        } else if ((c < '0' || c > '9') && c != '-' && c != '/') {
            return fmt::format("'{}' is not allowed in a numeric field", c);
        }
    }
    return std::nullopt;
}

bool decodeText(nitf_Field* field, const std::string& text, NITFMessages& messages,
                const PathList& path) {
    if (const auto problem = textProblem(*field, text)) {
        return refuse(messages, path, text, *problem);
    }
    nrt_Error error{};
    const bool ok = nitf_Field_setString(field, text.c_str(), &error);
    return !Tessel::checkNitroError(error, messages, path, !ok);
}

int hexValue(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return -1;
}

// A whole unsigned number with an optional leading "+"; anything else counts as 0.
uint32_t bandCountOf(std::string_view text) {
    if (!text.empty() && text.front() == '+') {
        text.remove_prefix(1);
    }
    uint32_t count = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
    if (text.empty() || error != std::errc() || end != text.data() + text.size()) {
        return 0;
    }
    return count;
}

}  // namespace detail_path_decoders

bool decodeField(nitf_Field* field, const std::string& text, NITFMessages& messages,
                 const PathList& path) {
    using namespace detail_path_decoders;
    if (field == nullptr) {
        return refuse(messages, path, text, "there is no field");
    }
    switch (field->type) {
        case NITF_BCS_A:
        case NITF_BCS_N:
            return decodeText(field, text, messages, path);
        case NITF_BINARY:
            if (field->length <= kMaxHexField && text.size() > kHexPrefix.size() &&
                text.starts_with(kHexPrefix)) {
                return decodeHex(field, text, messages, path);
            }
            return decodeBase64(field, text, messages, path);
        default:
            messages.push_back(fmt::format("{}: Unable to encode field type {}", pathText(path),
                                           static_cast<int>(field->type)));
            return false;
    }
}

bool decodeBackgroundColor(nitf_Field* field, const std::string& text, NITFMessages& messages,
                           const PathList& path) {
    using namespace detail_path_decoders;
    uint8_t bytes[3] = {};
    bool ok = field != nullptr && text.size() == 7 && text[0] == '#';
    for (size_t i = 0; ok && i < 3; ++i) {
        const int high = hexValue(text[1 + 2 * i]);
        const int low = hexValue(text[2 + 2 * i]);
        ok = high >= 0 && low >= 0;
        bytes[i] = static_cast<uint8_t>(ok ? high * 16 + low : 0);
    }
    if (!ok) {
        messages.push_back(
            fmt::format("{}: Can not be set to '{}', expected HTML style color '#RRGGBB'",
                        pathText(path), text));
        return false;
    }
    return storeRaw(field, bytes, sizeof bytes, messages, path);
}

FieldDecoder imageShapeDecoder(nitf_ImageSubheader* subheader) {
    return [subheader](nitf_Field* field, const std::string& text, NITFMessages& messages,
                       const PathList& path) {
        return decodeField(field, text, messages, path) &&
               reshapeImage(subheader, std::nullopt, messages, path);
    };
}

FieldDecoder bandCountDecoder(nitf_ImageSubheader* subheader) {
    return [subheader](nitf_Field*, const std::string& text, NITFMessages& messages,
                       const PathList& path) {
        return reshapeImage(subheader, detail_path_decoders::bandCountOf(text), messages, path);
    };
}

FieldDecoder extendedBandCountDecoder(nitf_ImageSubheader* subheader) {
    return [subheader](nitf_Field*, const std::string& text, NITFMessages& messages,
                       const PathList& path) {
        const uint32_t count = detail_path_decoders::bandCountOf(text);
        if (count == 0 && text.find_first_not_of("+0") == std::string::npos && !text.empty()) {
            nrt_Error error{};
            uint32_t nbands = 0;
            nitf_Field_get(subheader->NITF_NBANDS, &nbands, NITF_CONV_UINT, sizeof nbands, &error);
            if (nbands != 0) {
                return true;  // the count stands in NBANDS, where it belongs
            }
        }
        return reshapeImage(subheader, count, messages, path);
    };
}

FieldDecoder segmentDataDecoder(PathContext& context, std::string name, int index, bool base64) {
    return [&context, key = fmt::format("{}-{}", name, index), base64](
               nitf_Field*, const std::string& text, NITFMessages& messages, const PathList& path) {
        if (!base64) {
            context.getBlockCache().setBlock(key, text);
            return true;
        }
        const auto bytes = lumo_codec::base64_decode(text);
        if (!bytes) {
            return detail_path_decoders::refuse(messages, path, text, "not base64");
        }
        context.getBlockCache().setBlock(key, std::string(bytes->begin(), bytes->end()));
        return true;
    };
}

}  // namespace NITFPathInternal
