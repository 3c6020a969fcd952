#include "platform/nitf/Internal.h"

#include <cstdlib>

namespace tessel_nitf {

namespace {

std::string_view digitsOf(const nitf_Field* field) {
    if (field == nullptr || field->raw == nullptr) {
        return {};
    }
    std::string_view text(field->raw, field->length);
    size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) {
        return {};
    }
    size_t last = text.find_last_not_of(' ');
    return text.substr(first, last - first + 1);
}

}  // namespace

bool isNumber(const nitf_Field* field) {
    std::string_view digits = digitsOf(field);
    if (digits.empty()) {
        return false;
    }
    for (char c : digits) {
        if (c < '0' || c > '9') {
            return false;
        }
    }
    return true;
}

uint64_t fieldValue64(const nitf_Field* field) {
    if (!isNumber(field)) {
        return 0;
    }
    uint64_t value = 0;
    for (char c : digitsOf(field)) {
        value = value * 10 + static_cast<uint64_t>(c - '0');
    }
    return value;
}

std::string trimmedText(const nitf_Field* field) {
    if (field == nullptr) {
        return {};
    }
    std::string text(field->raw, field->length);
    while (!text.empty() && (text.back() == ' ' || text.back() == '\0')) {
        text.pop_back();
    }
    return text;
}

std::string strippedText(const nitf_Field* field) {
    if (field == nullptr || field->raw == nullptr) {
        return {};
    }
    constexpr std::string_view kBlanks = " \t\r\v\n";
    const std::string_view text(field->raw, field->length);
    const size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return std::string(text.substr(first, text.find_last_not_of(kBlanks) - first + 1));
}

uint32_t storedBandCount(const nitf_ImageSubheader* subheader) {
    uint32_t bands = fieldValue(subheader->numImageBands);
    return bands != 0 ? bands : fieldValue(subheader->numMultispectralImageBands);
}

void destroyBands(nitf_ImageSubheader* subheader) {
    if (subheader->bandInfo == nullptr) {
        return;
    }
    uint32_t bands = storedBandCount(subheader);
    for (uint32_t b = 0; b < bands; ++b) {
        nitf_BandInfo_destruct(&subheader->bandInfo[b]);
    }
    std::free(subheader->bandInfo);
    subheader->bandInfo = nullptr;
}

void setError(nitf_Error* error, int code, const std::string& message) {
    nitf_Error_init(error, message.c_str(), NITF_CTXT, code);
}

}  // namespace tessel_nitf
