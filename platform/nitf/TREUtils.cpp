// Field operations of the basic TRE handler: parsing bytes into named fields, writing them
// back, sizing, default filling and setting values, all by walking the description.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>
#include <unordered_set>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "platform/nitf/TREEngine.h"
#include "tessel/platform/nitf/nitf_TREUtils.h"

namespace tessel::nitf_tre {

namespace {

// Parsing a damaged TRE must end soon: a few steps per byte are plenty for real layouts,
// where every field takes at least one byte.
std::uint64_t parseBudget(std::uint32_t length) {
    return 100'000 + 64 * static_cast<std::uint64_t>(length);
}

nitf_TREPrivateData* privateOf(nitf_TRE* tre) {
    return static_cast<nitf_TREPrivateData*>(tre->priv);
}

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

bool addField(nitf_TRE* tre, const std::string& name, nitf_Field* field, std::string& failure) {
    nitf_Error error{};
    if (!nitf_HashTable_insert(privateOf(tre)->hash, name.c_str(), field, &error)) {
        nitf_Field_destruct(&field);
        failure = error.message;
        return false;
    }
    return true;
}

nitf_Field* newField(const FieldStep& step, std::size_t width, std::string& failure) {
    nitf_Error error{};
    auto type = static_cast<nitf_FieldType>(step.entry->data_type);
    nitf_Field* field = nitf_Field_construct(width, type, &error);
    if (field == nullptr) {
        failure = fmt::format("field {}: {}", step.name, error.message);
        return nullptr;
    }
    field->resizable = step.width == NITF_TRE_GOBBLE;
    return field;
}

bool createDefault(nitf_TRE* tre, const FieldStep& step, std::string& failure) {
    std::size_t width = step.width == NITF_TRE_GOBBLE ? 1 : static_cast<std::size_t>(step.width);
    nitf_Field* field = newField(step, width, failure);
    return field != nullptr && addField(tre, step.name, field, failure);
}

bool resizeTo(nitf_Field* field, const FieldStep& step, std::string& failure) {
    nitf_Error error{};
    if (!nitf_Field_resetLength(field, static_cast<std::size_t>(step.width), true, &error)) {
        failure = fmt::format("field {}: {}", step.name, error.message);
        return false;
    }
    return true;
}

void dropUnreached(nitf_TRE* tre, const std::unordered_set<std::string>& reached) {
    nitf_HashTable* hash = privateOf(tre)->hash;
    std::vector<std::string> unreached;
    nitf_HashTableIterator it = nitf_HashTable_begin(hash);
    nitf_HashTableIterator end = nitf_HashTable_end(hash);
    for (; nitf_HashTableIterator_notEqualTo(&it, &end); nitf_HashTableIterator_increment(&it)) {
        const char* key = nitf_HashTableIterator_get(&it)->key;
        if (!reached.contains(key)) {
            unreached.emplace_back(key);
        }
    }
    for (const std::string& key : unreached) {
        auto* field = static_cast<nitf_Field*>(nitf_HashTable_remove(hash, key.c_str()));
        nitf_Field_destruct(&field);
    }
}

bool checkTRE(nitf_TRE* tre, nitf_Error* error, const char* operation) {
    if (tre == nullptr || tre->priv == nullptr) {
        nitf_Error_initf(error, NITF_CTXT, NITF_ERR_INVALID_PARAMETER,
                         "%s: the TRE is NULL or has no data", operation);
        return false;
    }
    return true;
}

void reportFailure(nitf_Error* error, nitf_TRE* tre, int code, const std::string& failure) {
    nitf_Error_initf(error, NITF_CTXT, code, "TRE %s: %s", tre->tag, failure.c_str());
}

// The entry whose field has that full name, among those the current values reach.
std::optional<std::pair<const nitf_TREDescription*, int>> reachableEntry(nitf_TRE* tre,
                                                                         const char* tag,
                                                                         std::string& failure) {
    std::optional<std::pair<const nitf_TREDescription*, int>> found;
    auto visit = [&](const FieldStep& step, std::string&) {
        if (step.name == tag) {
            found.emplace(step.entry, step.width);
            return false;
        }
        return true;
    };
    walkDescription(tre, privateOf(tre)->description, visit, failure);
    return found;
}

}  // namespace

bool parseFields(nitf_TRE* tre, const char* bytes, std::uint32_t length, std::string& failure) {
    std::uint32_t offset = 0;
    auto visit = [&](const FieldStep& step, std::string& stepFailure) {
        std::uint32_t left = length - offset;
        std::size_t width = step.width == NITF_TRE_GOBBLE ? left : step.width;
        if (width == 0) {
            return true;  // an empty rest
        }
        if (width > left) {
            stepFailure =
                fmt::format("the data ends inside field {} ({} bytes at byte {}, {} bytes in all)",
                            step.name, width, offset, length);
            return false;
        }
        nitf_Field* field = newField(step, width, stepFailure);
        if (field == nullptr) {
            return false;
        }
        std::memcpy(field->raw, bytes + offset, width);
        if (field->type == NITF_BINARY) {
            swapForHolding(field->raw, width);
        }
        offset += static_cast<std::uint32_t>(width);
        return addField(tre, step.name, field, stepFailure);
    };
    if (!walkDescription(tre, privateOf(tre)->description, visit, failure, parseBudget(length))) {
        return false;
    }
    if (offset < length) {
        failure = fmt::format("{} of its {} bytes are left after the last field", length - offset,
                              length);
        return false;
    }
    return true;
}

bool serializeFields(nitf_TRE* tre, std::string& bytes, std::string& failure) {
    bytes.clear();
    auto visit = [&](const FieldStep& step, std::string& stepFailure) {
        nitf_Field* field = findField(tre, step.name);
        if (field == nullptr) {
            if (step.width == NITF_TRE_GOBBLE) {
                return true;
            }
            stepFailure = fmt::format("field {} is missing", step.name);
            return false;
        }
        std::size_t width = step.width == NITF_TRE_GOBBLE ? field->length : step.width;
        std::size_t start = bytes.size();
        bytes.append(field->raw, std::min(width, field->length));
        bytes.append(width - std::min(width, field->length), blankOf(field->type));
        if (field->type == NITF_BINARY && width == field->length) {
            swapForHolding(bytes.data() + start, width);
        }
        return true;
    };
    return walkDescription(tre, privateOf(tre)->description, visit, failure);
}

bool syncFields(nitf_TRE* tre, bool createRest, bool prune, std::string& failure) {
    std::unordered_set<std::string> reached;
    auto visit = [&](const FieldStep& step, std::string& stepFailure) {
        reached.insert(step.name);
        nitf_Field* field = findField(tre, step.name);
        if (field != nullptr) {
            bool fixed = step.width != NITF_TRE_GOBBLE;
            return !fixed || field->length == static_cast<std::size_t>(step.width) ||
                   resizeTo(field, step, stepFailure);
        }
        if (step.width == NITF_TRE_GOBBLE && !createRest) {
            return true;
        }
        return createDefault(tre, step, stepFailure);
    };
    if (!walkDescription(tre, privateOf(tre)->description, visit, failure)) {
        return false;
    }
    if (prune) {
        dropUnreached(tre, reached);
    }
    return true;
}

bool listFields(nitf_TRE* tre, std::vector<FieldEntry>& fields, std::string& failure) {
    fields.clear();
    auto visit = [&](const FieldStep& step, std::string&) {
        if (findField(tre, step.name) != nullptr) {
            fields.push_back(FieldEntry{step.name, step.entry->label});
        }
        return true;
    };
    return walkDescription(tre, privateOf(tre)->description, visit, failure);
}

}  // namespace tessel::nitf_tre

using namespace tessel::nitf_tre;

extern "C" {

NITF_BOOL nitf_TREUtils_parse(nitf_TRE* tre, char* bufptr, nitf_Error* error) {
    if (!checkTRE(tre, error, "parse")) {
        return false;
    }
    nitf_TREPrivateData* priv = privateOf(tre);
    if (bufptr == nullptr && priv->length > 0) {
        nitf_Error_init(error, "parse: no data", NITF_CTXT, NITF_ERR_INVALID_PARAMETER);
        return false;
    }
    std::string failure;
    if (!nitf_TREPrivateData_flush(priv, error)) {
        return false;
    }
    if (!parseFields(tre, bufptr, priv->length, failure)) {
        nitf_TREPrivateData_flush(priv, error);
        reportFailure(error, tre, NITF_ERR_INVALID_OBJECT, failure);
        return false;
    }
    return true;
}

char* nitf_TREUtils_getRawData(nitf_TRE* tre, uint32_t* treLength, nitf_Error* error) {
    if (!checkTRE(tre, error, "getRawData")) {
        return nullptr;
    }
    std::string bytes;
    std::string failure;
    if (!serializeFields(tre, bytes, failure)) {
        reportFailure(error, tre, NITF_ERR_INVALID_OBJECT, failure);
        return nullptr;
    }
    auto* data = static_cast<char*>(std::malloc(bytes.size() + 1));
    if (data == nullptr) {
        nitf_Error_init(error, "out of memory", NITF_CTXT, NITF_ERR_MEMORY);
        return nullptr;
    }
    std::memcpy(data, bytes.data(), bytes.size());
    data[bytes.size()] = '\0';
    if (treLength != nullptr) {
        *treLength = static_cast<uint32_t>(bytes.size());
    }
    return data;
}

int nitf_TREUtils_computeLength(nitf_TRE* tre) {
    if (tre == nullptr || tre->priv == nullptr) {
        return -1;
    }
    std::uint64_t length = 0;
    auto visit = [&](const FieldStep& step, std::string&) {
        if (step.width != NITF_TRE_GOBBLE) {
            length += static_cast<std::uint64_t>(step.width);
        } else if (nitf_Field* field = findField(tre, step.name); field != nullptr) {
            length += field->length;
        }
        return true;
    };
    std::string failure;
    if (!walkDescription(tre, privateOf(tre)->description, visit, failure) ||
        length > static_cast<std::uint64_t>(std::numeric_limits<int>::max())) {
        return -1;
    }
    return static_cast<int>(length);
}

NITF_BOOL nitf_TREUtils_setValue(nitf_TRE* tre, const char* tag, NITF_DATA* data, size_t dataLength,
                                 nitf_Error* error) {
    if (!checkTRE(tre, error, "setValue")) {
        return false;
    }
    if (tag == nullptr || (data == nullptr && dataLength > 0)) {
        nitf_Error_init(error, "setValue: NULL field name or data", NITF_CTXT,
                        NITF_ERR_INVALID_PARAMETER);
        return false;
    }
    if (dataLength < 1) {
        nitf_Error_initf(error, NITF_CTXT, NITF_ERR_INVALID_PARAMETER,
                         "setValue -> no data for field %s", tag);
        return false;
    }
    std::string failure;
    nitf_Field* field = findField(tre, tag);
    if (field == nullptr) {
        auto entry = reachableEntry(tre, tag, failure);
        if (!entry) {
            nitf_Error_initf(error, NITF_CTXT, NITF_ERR_UNK,
                             "Unable to find tag, '%s', in TRE hash for TRE '%s'", tag, tre->tag);
            return false;
        }
        std::size_t width =
            entry->second == NITF_TRE_GOBBLE ? std::max<size_t>(dataLength, 1) : entry->second;
        const std::string name(tag);
        FieldStep step{entry->first, name, entry->second};
        field = newField(step, width, failure);
        if (field == nullptr || !addField(tre, tag, field, failure)) {
            reportFailure(error, tre, NITF_ERR_MEMORY, failure);
            return false;
        }
    }
    if (dataLength > field->length && !field->resizable) {
        nitf_Error_initf(error, NITF_CTXT, NITF_ERR_INVALID_PARAMETER,
                         "setValue -> invalid dataLength %zu for field %s of length %zu",
                         dataLength, tag, field->length);
        return false;
    }
    if (!nitf_Field_setRawData(field, data, dataLength, error)) {
        return false;
    }
    // The value may be a count, a condition or a width: the layout follows it.
    if (!syncFields(tre, false, true, failure)) {
        reportFailure(error, tre, NITF_ERR_INVALID_OBJECT,
                      fmt::format("{} is set, but the layout can't follow it: {}", tag, failure));
        return false;
    }
    return true;
}

NITF_BOOL nitf_TREUtils_fillData(nitf_TRE* tre, const nitf_TREDescription* descrip,
                                 nitf_Error* error) {
    if (!checkTRE(tre, error, "fillData")) {
        return false;
    }
    privateOf(tre)->description = const_cast<nitf_TREDescription*>(descrip);
    std::string failure;
    if (!syncFields(tre, true, false, failure)) {
        reportFailure(error, tre, NITF_ERR_INVALID_OBJECT, failure);
        return false;
    }
    return true;
}

NITF_BOOL nitf_TREUtils_readField(nitf_IOInterface* io, char* field, int length,
                                  nitf_Error* error) {
    if (field == nullptr || length < 0) {
        nitf_Error_init(error, "readField: no buffer", NITF_CTXT, NITF_ERR_INVALID_PARAMETER);
        return false;
    }
    std::memset(field, 0, static_cast<std::size_t>(length));
    if (!nitf_IOInterface_read(io, field, static_cast<std::size_t>(length), error)) {
        nitf_Error_init(error, "Unable to read from IO object", NITF_CTXT,
                        NITF_ERR_READING_FROM_FILE);
        return false;
    }
    return true;
}

NITF_BOOL nitf_TREUtils_isSane(nitf_TRE* tre) {
    if (tre == nullptr || tre->priv == nullptr) {
        return false;
    }
    bool sane = true;
    auto visit = [&](const FieldStep& step, std::string&) {
        sane = step.width == NITF_TRE_GOBBLE || findField(tre, step.name) != nullptr;
        return sane;
    };
    std::string failure;
    return walkDescription(tre, privateOf(tre)->description, visit, failure) && sane;
}

}  // extern "C"
