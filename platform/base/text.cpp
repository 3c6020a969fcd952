#include "tessel/platform/base/text.h"

#include <cstdint>

namespace {

constexpr char32_t kReplacement = 0xFFFD;

// Decodes one UTF-8 sequence; a malformed one yields the replacement character and
// consumes one byte, so that any byte string converts.
char32_t decodeOne(const unsigned char* p, size_t available, size_t& used) {
    const unsigned char lead = p[0];
    size_t length = 0;
    char32_t code = 0;
    if (lead < 0x80) {
        used = 1;
        return lead;
    }
    if ((lead & 0xE0) == 0xC0) {
        length = 2;
        code = lead & 0x1F;
    } else if ((lead & 0xF0) == 0xE0) {
        length = 3;
        code = lead & 0x0F;
    } else if ((lead & 0xF8) == 0xF0) {
        length = 4;
        code = lead & 0x07;
    } else {
        used = 1;
        return kReplacement;
    }
    if (available < length) {
        used = 1;
        return kReplacement;
    }
    for (size_t i = 1; i < length; ++i) {
        if ((p[i] & 0xC0) != 0x80) {
            used = 1;
            return kReplacement;
        }
        code = (code << 6) | (p[i] & 0x3F);
    }
    used = length;
    return code;
}

void encodeOne(char32_t code, std::string& out) {
    if (code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) {
        code = kReplacement;
    }
    if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += static_cast<char>(0xC0 | (code >> 6));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        out += static_cast<char>(0xE0 | (code >> 12));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (code >> 18));
        out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    }
}

}  // namespace

namespace std {

string to_string(const wstring_view& text) {
    string out;
    out.reserve(text.size());
    for (wchar_t c : text) {
        encodeOne(static_cast<char32_t>(c), out);
    }
    return out;
}

string to_string(const wstring& text) {
    return to_string(wstring_view(text));
}
string to_string(const wchar_t* text) {
    return to_string(wstring_view(text ? text : L""));
}

wstring to_wstring(const string_view& text) {
    wstring out;
    out.reserve(text.size());
    const auto* p = reinterpret_cast<const unsigned char*>(text.data());
    size_t offset = 0;
    while (offset < text.size()) {
        size_t used = 0;
        out += static_cast<wchar_t>(decodeOne(p + offset, text.size() - offset, used));
        offset += used;
    }
    return out;
}

wstring to_wstring(const string& text) {
    return to_wstring(string_view(text));
}
wstring to_wstring(const char* text) {
    return to_wstring(string_view(text ? text : ""));
}

string to_string(bool value) {
    return value ? "true" : "false";
}
wstring to_wstring(bool value) {
    return value ? L"true" : L"false";
}

}  // namespace std
