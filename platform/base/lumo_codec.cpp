#include "tessel/platform/base/lumo_codec.h"

#include <array>

namespace lumo_codec {
namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr int8_t kSkip = -2;
constexpr int8_t kBad = -1;

// The six-bit value of each character, kSkip for white space, kBad for the rest.
constexpr std::array<int8_t, 256> makeDecodeTable() {
    std::array<int8_t, 256> table{};
    for (auto& entry : table) {
        entry = kBad;
    }
    for (size_t i = 0; i < kAlphabet.size(); ++i) {
        table[static_cast<unsigned char>(kAlphabet[i])] = static_cast<int8_t>(i);
    }
    for (char space : {' ', '\t', '\r', '\n'}) {
        table[static_cast<unsigned char>(space)] = kSkip;
    }
    return table;
}

constexpr std::array<int8_t, 256> kDecodeTable = makeDecodeTable();

bool isSpace(char c) {
    return kDecodeTable[static_cast<unsigned char>(c)] == kSkip;
}

// Checks that only white space and at most two "=" follow `pos`, and counts the "=".
bool readPadding(std::string_view text, size_t pos, size_t& padding) {
    padding = 0;
    for (; pos < text.size(); ++pos) {
        if (text[pos] == '=' && padding < 2) {
            ++padding;
        } else if (!isSpace(text[pos])) {
            return false;
        }
    }
    return true;
}

}  // namespace

std::string base64_encode(const void* data, size_t size) {
    const auto* bytes = static_cast<const uint8_t*>(data);
    std::string text;
    text.reserve((size + 2) / 3 * 4);
    for (size_t i = 0; i < size; i += 3) {
        const size_t count = size - i < 3 ? size - i : 3;
        uint32_t group = uint32_t{bytes[i]} << 16;
        if (count > 1) {
            group |= uint32_t{bytes[i + 1]} << 8;
        }
        if (count > 2) {
            group |= bytes[i + 2];
        }
        text += kAlphabet[(group >> 18) & 0x3F];
        text += kAlphabet[(group >> 12) & 0x3F];
        text += count > 1 ? kAlphabet[(group >> 6) & 0x3F] : '=';
        text += count > 2 ? kAlphabet[group & 0x3F] : '=';
    }
    return text;
}

std::string base64_encode(std::string_view bytes) {
    return base64_encode(bytes.data(), bytes.size());
}

std::optional<std::vector<uint8_t>> base64_decode(std::string_view text) {
    std::vector<uint8_t> bytes;
    bytes.reserve(text.size() / 4 * 3 + 2);
    uint32_t bits = 0;
    size_t symbols = 0;
    size_t pos = 0;
    for (; pos < text.size() && text[pos] != '='; ++pos) {
        const int8_t value = kDecodeTable[static_cast<unsigned char>(text[pos])];
        if (value == kSkip) {
            continue;
        }
        if (value == kBad) {
            return std::nullopt;
        }
        bits = (bits << 6) | static_cast<uint32_t>(value);
        if (++symbols % 4 == 0) {
            bytes.push_back(static_cast<uint8_t>(bits >> 16));
            bytes.push_back(static_cast<uint8_t>(bits >> 8));
            bytes.push_back(static_cast<uint8_t>(bits));
            bits = 0;
        }
    }
    size_t padding = 0;
    if (!readPadding(text, pos, padding)) {
        return std::nullopt;
    }
    const size_t tail = symbols % 4;
    if (tail == 1 || (padding != 0 && tail + padding != 4)) {
        return std::nullopt;
    }
    if (tail == 2) {
        bytes.push_back(static_cast<uint8_t>(bits >> 4));
    } else if (tail == 3) {
        bytes.push_back(static_cast<uint8_t>(bits >> 10));
        bytes.push_back(static_cast<uint8_t>(bits >> 2));
    }
    return bytes;
}

}  // namespace lumo_codec
