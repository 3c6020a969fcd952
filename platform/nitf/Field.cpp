#include <algorithm>
#include <cctype>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <type_traits>

#include "tessel/platform/nitf/nitf_Field.h"

namespace {

char blankOf(nitf_FieldType type) {
    switch (type) {
        case NITF_BCS_A:
            return ' ';
        case NITF_BCS_N:
            return '0';
        default:
            return '\0';
    }
}

bool validType(nitf_FieldType type) {
    return type == NITF_BCS_A || type == NITF_BCS_N || type == NITF_BINARY;
}

// Replaces the field's storage with `length` bytes of its blank, plus a NUL.
bool reallocate(nitf_Field* field, size_t length, nitf_Error* error) {
    auto* raw = static_cast<char*>(std::malloc(length + 1));
    if (raw == nullptr) {
        nitf_Error_init(error, "out of memory", NITF_CTXT, NITF_ERR_MEMORY);
        return false;
    }
    std::memset(raw, blankOf(field->type), length);
    raw[length] = '\0';
    std::free(field->raw);
    field->raw = raw;
    field->length = length;
    return true;
}

void fillSpaces(nitf_Field* field, const char* data, size_t dataLength) {
    std::memcpy(field->raw, data, dataLength);
    std::memset(field->raw + dataLength, ' ', field->length - dataLength);
}

// Right-justifies with zeros; a leading sign goes to the first column.
void fillZeros(nitf_Field* field, const char* data, size_t dataLength) {
    size_t zeros = field->length - dataLength;
    std::memset(field->raw, '0', zeros);
    std::memcpy(field->raw + zeros, data, dataLength);
    if (zeros != 0 && dataLength > 0 && (data[0] == '+' || data[0] == '-')) {
        field->raw[0] = data[0];
        field->raw[zeros] = '0';
    }
}

bool isBCSA(const char* text, size_t length, nitf_Error* error) {
    for (size_t i = 0; i < length; ++i) {
        auto c = static_cast<unsigned char>(text[i]);
        if (c < 0x20 || c > 0x7e) {
            nitf_Error_initf(error, NITF_CTXT, NITF_ERR_INVALID_PARAMETER,
                             "Invalid character 0x%02x in BCS_A string", c);
            return false;
        }
    }
    return true;
}

// Digits with an optional leading sign, at most one '.', and '-' or '/' (unknown values and
// dates).
bool isBCSN(const char* text, size_t length, nitf_Error* error) {
    size_t start = (length > 0 && (text[0] == '+' || text[0] == '-')) ? 1 : 0;
    bool point = false;
    for (size_t i = start; i < length; ++i) {
        char c = text[i];
        if (c == '.') {
            if (point) {
                nitf_Error_init(error, "BCS_N string can only contain one decimal point", NITF_CTXT,
                                NITF_ERR_INVALID_PARAMETER);
                return false;
            }
            point = true;
        } else if (!std::isdigit(static_cast<unsigned char>(c)) && c != '-' && c != '/') {
            nitf_Error_initf(error, NITF_CTXT, NITF_ERR_INVALID_PARAMETER,
                             "Invalid character '%c' in BCS_N string", c);
            return false;
        }
    }
    return true;
}

// Gives a resizable field the width of the data about to be stored.
bool fitResizable(nitf_Field* field, size_t length, nitf_Error* error) {
    if (field->resizable && length != field->length && length > 0) {
        return nitf_Field_resizeField(field, length, error);
    }
    return true;
}

bool setNumberText(nitf_Field* field, const std::string& text, nitf_Error* error) {
    if (field->type == NITF_BINARY) {
        nitf_Error_init(error, "Integer set for binary field", NITF_CTXT,
                        NITF_ERR_INVALID_PARAMETER);
        return false;
    }
    if (!fitResizable(field, text.size(), error)) {
        return false;
    }
    if (text.size() > field->length) {
        nitf_Error_initf(error, NITF_CTXT, NITF_ERR_INVALID_PARAMETER,
                         "Value %s is too long for field of length %zu", text.c_str(),
                         field->length);
        return false;
    }
    if (field->type == NITF_BCS_N) {
        fillZeros(field, text.data(), text.size());
    } else {
        fillSpaces(field, text.data(), text.size());
    }
    return true;
}

std::string fieldText(const nitf_Field* field) {
    return std::string(field->raw, field->length);
}

// The field's bytes as a host-order integer, for binary widths 1, 2, 4 and 8; signed or
// unsigned extension follows the target type.
template <typename Narrow, typename Wide>
Wide extend(const char* raw) {
    std::conditional_t<std::is_signed_v<Wide>, std::make_signed_t<Narrow>, Narrow> value;
    std::memcpy(&value, raw, sizeof value);
    return static_cast<Wide>(value);
}

template <typename Wide>
bool binaryValue(const nitf_Field* field, Wide* value, nitf_Error* error) {
    switch (field->length) {
        case 1:
            *value = extend<uint8_t, Wide>(field->raw);
            return true;
        case 2:
            *value = extend<uint16_t, Wide>(field->raw);
            return true;
        case 4:
            *value = extend<uint32_t, Wide>(field->raw);
            return true;
        case 8:
            *value = extend<uint64_t, Wide>(field->raw);
            return true;
        default:
            nitf_Error_initf(error, NITF_CTXT, NITF_ERR_INVALID_PARAMETER,
                             "Unexpected field size for integer [%zu]", field->length);
            return false;
    }
}

template <typename Wide>
bool storeInteger(Wide value, NITF_DATA* out, size_t length, nitf_Error* error) {
    switch (length) {
        case 1: {
            auto v =
                static_cast<std::conditional_t<std::is_signed_v<Wide>, int8_t, uint8_t>>(value);
            std::memcpy(out, &v, 1);
            return true;
        }
        case 2: {
            auto v =
                static_cast<std::conditional_t<std::is_signed_v<Wide>, int16_t, uint16_t>>(value);
            std::memcpy(out, &v, 2);
            return true;
        }
        case 4: {
            auto v =
                static_cast<std::conditional_t<std::is_signed_v<Wide>, int32_t, uint32_t>>(value);
            std::memcpy(out, &v, 4);
            return true;
        }
        case 8:
            std::memcpy(out, &value, 8);
            return true;
        default:
            nitf_Error_initf(error, NITF_CTXT, NITF_ERR_INVALID_PARAMETER,
                             "Unsupported integer length [%zu]", length);
            return false;
    }
}

bool toInteger(nitf_Field* field, NITF_DATA* out, size_t length, bool isSigned, nitf_Error* error) {
    if (field->type == NITF_BINARY) {
        if (isSigned) {
            int64_t value = 0;
            return binaryValue(field, &value, error) && storeInteger(value, out, length, error);
        }
        uint64_t value = 0;
        return binaryValue(field, &value, error) && storeInteger(value, out, length, error);
    }
    std::string text = fieldText(field);
    if (isSigned) {
        int64_t value = length == 8 ? std::atoll(text.c_str()) : std::atol(text.c_str());
        return storeInteger(value, out, length, error);
    }
    uint64_t value = length == 8 ? std::strtoull(text.c_str(), nullptr, 10)
                                 : static_cast<uint32_t>(std::strtoul(text.c_str(), nullptr, 10));
    return storeInteger(value, out, length, error);
}

bool toText(nitf_Field* field, char* out, size_t length, nitf_Error* error) {
    if (length == 0) {
        return true;
    }
    bool numeric = field->type == NITF_BINARY &&
                   (field->length == 2 || field->length == 4 || field->length == 8);
    if (!numeric) {
        size_t amount = std::min(length - 1, field->length);
        std::memcpy(out, field->raw, amount);
        out[amount] = '\0';
        return true;
    }
    int64_t value = 0;
    if (!binaryValue(field, &value, error)) {
        return false;
    }
    std::string text = std::to_string(value);
    if (text.size() + 1 > length) {
        nitf_Error_initf(error, NITF_CTXT, NITF_ERR_INVALID_PARAMETER,
                         "Out value too small [%zu] size required", text.size() + 1);
        return false;
    }
    std::memcpy(out, text.c_str(), text.size() + 1);
    return true;
}

bool toRaw(nitf_Field* field, char* out, size_t length, nitf_Error* error) {
    if (length == 0 || length > field->length) {
        nitf_Error_initf(error, NITF_CTXT, NITF_ERR_INVALID_PARAMETER,
                         "Length [%zu] is longer than field width [%zu]", length, field->length);
        return false;
    }
    std::memcpy(out, field->raw, length);
    return true;
}

bool toReal(nitf_Field* field, NITF_DATA* out, size_t length, nitf_Error* error) {
    if (field->type == NITF_BINARY) {
        if (length > field->length) {
            nitf_Error_initf(error, NITF_CTXT, NITF_ERR_INVALID_PARAMETER,
                             "Length [%zu] is longer than field width [%zu]", length,
                             field->length);
            return false;
        }
        std::memcpy(out, field->raw, length);
        return true;
    }
    double value = std::atof(fieldText(field).c_str());
    if (length == sizeof(float)) {
        auto narrow = static_cast<float>(value);
        std::memcpy(out, &narrow, sizeof narrow);
        return true;
    }
    if (length == sizeof(double)) {
        std::memcpy(out, &value, sizeof value);
        return true;
    }
    nitf_Error_initf(error, NITF_CTXT, NITF_ERR_INVALID_PARAMETER,
                     "Real conversion needs 4 or 8 bytes, not %zu", length);
    return false;
}

}  // namespace

extern "C" {

nitf_Field* nitf_Field_construct(size_t length, nitf_FieldType type, nitf_Error* error) {
    if (length == 0) {
        nitf_Error_init(error, "Cannot create field of size 0", NITF_CTXT,
                        NITF_ERR_INVALID_PARAMETER);
        return nullptr;
    }
    if (!validType(type)) {
        nitf_Error_initf(error, NITF_CTXT, NITF_ERR_INVALID_PARAMETER, "Invalid field type [%d]",
                         static_cast<int>(type));
        return nullptr;
    }
    auto* field = static_cast<nitf_Field*>(std::malloc(sizeof(nitf_Field)));
    if (field == nullptr) {
        nitf_Error_init(error, "out of memory", NITF_CTXT, NITF_ERR_MEMORY);
        return nullptr;
    }
    field->type = type;
    field->raw = nullptr;
    field->length = 0;
    field->resizable = false;
    if (!reallocate(field, length, error)) {
        std::free(field);
        return nullptr;
    }
    return field;
}

void nitf_Field_destruct(nitf_Field** field) {
    if (field == nullptr || *field == nullptr) {
        return;
    }
    std::free((*field)->raw);
    std::free(*field);
    *field = nullptr;
}

nitf_Field* nitf_Field_clone(nitf_Field* source, nitf_Error* error) {
    if (source == nullptr) {
        return nullptr;
    }
    nitf_Field* field = nitf_Field_construct(source->length, source->type, error);
    if (field != nullptr) {
        std::memcpy(field->raw, source->raw, source->length);
        field->resizable = source->resizable;
    }
    return field;
}

NITF_BOOL nitf_Field_setRawData(nitf_Field* field, const NITF_DATA* data, size_t dataLength,
                                nitf_Error* error) {
    if (field == nullptr || data == nullptr) {
        nitf_Error_init(error, "NULL data", NITF_CTXT, NITF_ERR_INVALID_PARAMETER);
        return false;
    }
    if (!fitResizable(field, dataLength, error)) {
        return false;
    }
    if (dataLength > field->length) {
        nitf_Error_initf(error, NITF_CTXT, NITF_ERR_INVALID_PARAMETER,
                         "Invalid data length: %zu bytes for a field of %zu", dataLength,
                         field->length);
        return false;
    }
    const auto* bytes = static_cast<const char*>(data);
    if (dataLength == field->length) {
        std::memcpy(field->raw, bytes, dataLength);
        return true;
    }
    if (field->type == NITF_BCS_A) {
        fillSpaces(field, bytes, dataLength);
        return true;
    }
    if (field->type == NITF_BCS_N) {
        fillZeros(field, bytes, dataLength);
        return true;
    }
    nitf_Error_initf(error, NITF_CTXT, NITF_ERR_INVALID_PARAMETER,
                     "Invalid data length: %zu bytes for a binary field of %zu", dataLength,
                     field->length);
    return false;
}

NITF_BOOL nitf_Field_setString(nitf_Field* field, const char* str, nitf_Error* error) {
    if (field == nullptr || str == nullptr) {
        nitf_Error_init(error, "NULL data", NITF_CTXT, NITF_ERR_INVALID_PARAMETER);
        return false;
    }
    if (field->type == NITF_BINARY) {
        nitf_Error_init(error, "Type for string set for field can not be binary", NITF_CTXT,
                        NITF_ERR_INVALID_PARAMETER);
        return false;
    }
    size_t length = std::strlen(str);
    if (!fitResizable(field, length, error)) {
        return false;
    }
    if (length > field->length) {
        nitf_Error_initf(error, NITF_CTXT, NITF_ERR_INVALID_PARAMETER,
                         "Value %s is too long for field of length %zu", str, field->length);
        return false;
    }
    if (field->type == NITF_BCS_A) {
        if (!isBCSA(str, length, error)) {
            return false;
        }
        fillSpaces(field, str, length);
    } else {
        if (!isBCSN(str, length, error)) {
            return false;
        }
        fillZeros(field, str, length);
    }
    return true;
}

NITF_BOOL nitf_Field_setUint32(nitf_Field* field, uint32_t number, nitf_Error* error) {
    return setNumberText(field, std::to_string(number), error);
}

NITF_BOOL nitf_Field_setUint64(nitf_Field* field, uint64_t number, nitf_Error* error) {
    return setNumberText(field, std::to_string(number), error);
}

NITF_BOOL nitf_Field_setInt32(nitf_Field* field, int32_t number, nitf_Error* error) {
    return setNumberText(field, std::to_string(number), error);
}

NITF_BOOL nitf_Field_setInt64(nitf_Field* field, int64_t number, nitf_Error* error) {
    return setNumberText(field, std::to_string(number), error);
}

NITF_BOOL nitf_Field_setReal(nitf_Field* field, const char* type, NITF_BOOL plus, double value,
                             nitf_Error* error) {
    if (type == nullptr || (std::strcmp(type, "f") != 0 && std::strcmp(type, "e") != 0 &&
                            std::strcmp(type, "E") != 0)) {
        nitf_Error_initf(error, NITF_CTXT, NITF_ERR_INVALID_PARAMETER, "Invalid conversion type %s",
                         type != nullptr ? type : "(null)");
        return false;
    }
    // Left-justified with as many decimals as the width leaves room for.
    auto format = [&](size_t precision) {
        std::string pattern =
            std::string(plus ? "%+-1." : "%-1.") + std::to_string(precision) + type;
        int needed = std::snprintf(nullptr, 0, pattern.c_str(), value);
        std::string text(static_cast<size_t>(needed > 0 ? needed : 0), '\0');
        std::snprintf(text.data(), text.size() + 1, pattern.c_str(), value);
        return text;
    };
    size_t precision = field->length;
    std::string text = format(precision);
    if (!field->resizable && text.size() > field->length) {
        size_t excess = text.size() - field->length;
        precision = precision > excess ? precision - excess : 0;
        text = format(precision);
    }
    if (text.size() > field->length && !field->resizable) {
        nitf_Error_initf(error, NITF_CTXT, NITF_ERR_INVALID_PARAMETER,
                         "Value %s is too long for field of length %zu", text.c_str(),
                         field->length);
        return false;
    }
    return nitf_Field_setRawData(field, text.data(), text.size(), error);
}

NITF_BOOL nitf_Field_get(nitf_Field* field, NITF_DATA* outValue, nitf_ConvType convType,
                         size_t length, nitf_Error* error) {
    if (field == nullptr || outValue == nullptr) {
        nitf_Error_init(error, "NULL field or output", NITF_CTXT, NITF_ERR_INVALID_PARAMETER);
        return false;
    }
    switch (convType) {
        case NITF_CONV_UINT:
            return toInteger(field, outValue, length, false, error);
        case NITF_CONV_INT:
            return toInteger(field, outValue, length, true, error);
        case NITF_CONV_REAL:
            return toReal(field, outValue, length, error);
        case NITF_CONV_STRING:
            return toText(field, static_cast<char*>(outValue), length, error);
        case NITF_CONV_RAW:
            return toRaw(field, static_cast<char*>(outValue), length, error);
    }
    nitf_Error_init(error, "Unknown conversion", NITF_CTXT, NITF_ERR_INVALID_PARAMETER);
    return false;
}

NITF_BOOL nitf_Field_resizeField(nitf_Field* field, size_t newLength, nitf_Error* error) {
    if (field == nullptr || !field->resizable) {
        nitf_Error_init(error, "Field is not resizable", NITF_CTXT, NITF_ERR_INVALID_PARAMETER);
        return false;
    }
    if (newLength == 0) {
        nitf_Error_init(error, "Cannot resize field to size 0", NITF_CTXT,
                        NITF_ERR_INVALID_PARAMETER);
        return false;
    }
    if (newLength == field->length) {
        return true;
    }
    return reallocate(field, newLength, error);
}

NITF_BOOL nitf_Field_resetLength(nitf_Field* field, size_t newLength, NITF_BOOL keepData,
                                 nitf_Error* error) {
    if (field == nullptr || newLength == 0) {
        nitf_Error_init(error, "Invalid length specified", NITF_CTXT, NITF_ERR_INVALID_PARAMETER);
        return false;
    }
    std::string old = fieldText(field);
    if (!reallocate(field, newLength, error)) {
        return false;
    }
    if (keepData) {
        size_t kept = std::min(old.size(), newLength);
        if (field->type == NITF_BCS_N) {
            fillZeros(field, old.data(), kept);
        } else if (field->type == NITF_BCS_A) {
            fillSpaces(field, old.data(), kept);
        } else {
            std::memcpy(field->raw, old.data(), kept);
        }
    }
    return true;
}

void nitf_Field_trimString(char* str) {
    if (str == nullptr) {
        return;
    }
    size_t length = std::strlen(str);
    while (length > 0 && std::isspace(static_cast<unsigned char>(str[length - 1]))) {
        str[--length] = '\0';
    }
    size_t start = 0;
    while (start < length && std::isspace(static_cast<unsigned char>(str[start]))) {
        ++start;
    }
    std::memmove(str, str + start, length - start + 1);
}

}  // extern "C"
