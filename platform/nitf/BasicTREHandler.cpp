// The basic TRE handler: the handler operations over a description set. A TRE that no
// description of its set fits is kept raw, under the default handler, so that it is never
// lost and its bytes are written back unchanged.

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "platform/nitf/TREEngine.h"
#include "tessel/platform/base/nitf_log.h"
#include "tessel/platform/nitf/nitf_TREUtils.h"

using namespace tessel::nitf_tre;

namespace {

// What the handler keeps beside the fields (in the private data's userData): the read-only
// "raw_data" view, rebuilt at each request and kept so that its address stays valid.
struct BasicState {
    nitf_Field* rawView = nullptr;
};

nitf_TREPrivateData* privateOf(nitf_TRE* tre) {
    return static_cast<nitf_TREPrivateData*>(tre->priv);
}

void releaseState(nitf_TREPrivateData* priv) {
    auto* state = static_cast<BasicState*>(priv->userData);
    if (state != nullptr) {
        nitf_Field_destruct(&state->rawView);
        delete state;
        priv->userData = nullptr;
    }
}

void dropPrivate(nitf_TRE* tre) {
    nitf_TREPrivateData* priv = privateOf(tre);
    if (priv != nullptr) {
        releaseState(priv);
        nitf_TREPrivateData_destruct(&priv);
        tre->priv = nullptr;
    }
}

nitf_TREDescriptionSet* setOf(nitf_TRE* tre, nitf_Error* error) {
    auto* set = tre->handler != nullptr ? static_cast<nitf_TREDescriptionSet*>(tre->handler->data)
                                        : nullptr;
    if (set == nullptr || set->descriptions == nullptr) {
        nitf_Error_initf(error, NITF_CTXT, NITF_ERR_INVALID_OBJECT, "TRE %s has no description set",
                         tre->tag);
        return nullptr;
    }
    return set;
}

bool isEnd(const nitf_TREDescriptionInfo& info) {
    return info.name == nullptr || info.description == nullptr;
}

std::vector<const nitf_TREDescriptionInfo*> infosOf(const nitf_TREDescriptionSet* set) {
    std::vector<const nitf_TREDescriptionInfo*> infos;
    for (const nitf_TREDescriptionInfo* info = set->descriptions; !isEnd(*info); ++info) {
        infos.push_back(info);
    }
    return infos;
}

// The description a new TRE takes: the one named id; for no id, or an id that is the TRE's
// own name (a set registered under several names), the set's default.
const nitf_TREDescriptionInfo* initialInfo(nitf_TRE* tre, const nitf_TREDescriptionSet* set,
                                           const char* id, nitf_Error* error) {
    auto infos = infosOf(set);
    if (infos.empty()) {
        nitf_Error_initf(error, NITF_CTXT, NITF_ERR_INVALID_OBJECT,
                         "the description set of TRE %s is empty", tre->tag);
        return nullptr;
    }
    if (id != nullptr) {
        for (const nitf_TREDescriptionInfo* info : infos) {
            if (std::strcmp(info->name, id) == 0) {
                return info;
            }
        }
        if (std::strcmp(id, tre->tag) != 0) {
            nitf_Error_initf(error, NITF_CTXT, NITF_ERR_INVALID_OBJECT,
                             "No matching id '%s' found for TRE %s", id, tre->tag);
            return nullptr;
        }
    }
    bool validDefault =
        set->defaultIndex >= 0 && static_cast<std::size_t>(set->defaultIndex) < infos.size();
    return infos[validDefault ? static_cast<std::size_t>(set->defaultIndex) : 0];
}

// The descriptions to try on data of a length: those made for that length, then those for
// any length (lengthMatch NITF_TRE_DESC_NO_LENGTH, or not set), in the set's order.
std::vector<const nitf_TREDescriptionInfo*> candidatesFor(const nitf_TREDescriptionSet* set,
                                                          std::uint32_t length) {
    std::vector<const nitf_TREDescriptionInfo*> exact;
    std::vector<const nitf_TREDescriptionInfo*> any;
    for (const nitf_TREDescriptionInfo* info : infosOf(set)) {
        if (info->lengthMatch > 0 && static_cast<std::uint32_t>(info->lengthMatch) == length) {
            exact.push_back(info);
        } else if (info->lengthMatch <= 0) {
            any.push_back(info);
        }
    }
    exact.insert(exact.end(), any.begin(), any.end());
    return exact;
}

bool installPrivate(nitf_TRE* tre, const nitf_TREDescriptionInfo* info, std::uint32_t length,
                    nitf_Error* error) {
    dropPrivate(tre);
    nitf_TREPrivateData* priv = nitf_TREPrivateData_construct(error);
    if (priv == nullptr) {
        return false;
    }
    priv->length = length;
    priv->description = info->description;
    tre->priv = priv;
    if (!nitf_TREPrivateData_setDescriptionName(priv, info->name, error)) {
        dropPrivate(tre);
        return false;
    }
    return true;
}

// Hands the TRE to the default handler with its bytes as "raw_data".
bool keepRaw(nitf_TRE* tre, const std::vector<char>& bytes, const std::string& reasons,
             nitf_Error* error) {
    if (nitf_log::is_enabled(nitf_log::info)) {
        nitf_log::write_logln(nitf_log::info, fmt::format("TRE {} ({} bytes) is kept raw: {}",
                                                          tre->tag, bytes.size(), reasons));
    }
    dropPrivate(tre);
    tre->handler = nitf_DefaultTRE_handler(error);
    if (tre->handler == nullptr || !tre->handler->init(tre, NITF_TRE_RAW, error)) {
        return false;
    }
    return bytes.empty() ||
           tre->handler->setField(tre, NITF_TRE_RAW, const_cast<char*>(bytes.data()), bytes.size(),
                                  error);
}

nitf_Field* rawView(nitf_TRE* tre) {
    std::string bytes;
    std::string failure;
    if (!serializeFields(tre, bytes, failure) || bytes.empty()) {
        return nullptr;
    }
    nitf_TREPrivateData* priv = privateOf(tre);
    auto* state = static_cast<BasicState*>(priv->userData);
    if (state == nullptr) {
        state = new BasicState;
        priv->userData = state;
    }
    nitf_Error error{};
    if (state->rawView == nullptr) {
        state->rawView = nitf_Field_construct(bytes.size(), NITF_BINARY, &error);
    } else if (state->rawView->length != bytes.size() &&
               !nitf_Field_resetLength(state->rawView, bytes.size(), false, &error)) {
        return nullptr;
    }
    if (state->rawView == nullptr) {
        return nullptr;
    }
    std::memcpy(state->rawView->raw, bytes.data(), bytes.size());
    return state->rawView;
}

// The enumerator walks a list of names taken at its start.
struct BasicCursor {
    nitf_TRE* tre;
    std::vector<FieldEntry> fields;
    std::size_t next = 0;
    const char* label = nullptr;
};

nitf_Pair* cursorNext(nitf_TREEnumerator* it, nitf_Error* error) {
    auto* cursor = it != nullptr ? static_cast<BasicCursor*>(it->data) : nullptr;
    while (cursor != nullptr && cursor->next < cursor->fields.size()) {
        const FieldEntry& entry = cursor->fields[cursor->next++];
        nitf_Pair* pair = nitf_HashTable_find(privateOf(cursor->tre)->hash, entry.name.c_str());
        if (pair != nullptr) {
            cursor->label = entry.label;
            return pair;
        }
    }
    nitf_Error_init(error, "the TRE enumerator is at its end", NITF_CTXT, NITF_ERR_INVALID_OBJECT);
    return nullptr;
}

NITF_BOOL cursorHasNext(nitf_TREEnumerator** it) {
    if (it == nullptr || *it == nullptr) {
        return false;
    }
    auto* cursor = static_cast<BasicCursor*>((*it)->data);
    if (cursor->next < cursor->fields.size()) {
        return true;
    }
    delete cursor;
    std::free(*it);
    *it = nullptr;
    return false;
}

const char* cursorDescription(nitf_TREEnumerator* it, nitf_Error*) {
    auto* cursor = it != nullptr ? static_cast<BasicCursor*>(it->data) : nullptr;
    return cursor != nullptr && cursor->label != nullptr ? cursor->label : "";
}

std::string joined(const std::vector<std::string>& parts) {
    std::string text;
    for (const std::string& part : parts) {
        text += text.empty() ? part : "; " + part;
    }
    return text;
}

}  // namespace

extern "C" {

NITF_BOOL nitf_TREUtils_basicInit(nitf_TRE* tre, const char* id, nitf_Error* error) {
    if (tre == nullptr) {
        nitf_Error_init(error, "init: NULL TRE", NITF_CTXT, NITF_ERR_INVALID_PARAMETER);
        return false;
    }
    nitf_TREDescriptionSet* set = setOf(tre, error);
    const nitf_TREDescriptionInfo* info =
        set != nullptr ? initialInfo(tre, set, id, error) : nullptr;
    if (info == nullptr || !installPrivate(tre, info, 0, error)) {
        return false;
    }
    if (!nitf_TREUtils_fillData(tre, info->description, error)) {
        dropPrivate(tre);
        return false;
    }
    return true;
}

const char* nitf_TREUtils_basicGetID(nitf_TRE* tre) {
    return tre != nullptr && tre->priv != nullptr ? privateOf(tre)->descriptionName : nullptr;
}

NITF_BOOL nitf_TREUtils_basicRead(nitf_IOInterface* io, uint32_t length, nitf_TRE* tre,
                                  nitf_Record*, nitf_Error* error) {
    if (tre == nullptr) {
        nitf_Error_init(error, "read: NULL TRE", NITF_CTXT, NITF_ERR_INVALID_PARAMETER);
        return false;
    }
    std::vector<char> bytes(length);
    if (length > 0 && !nitf_TREUtils_readField(io, bytes.data(), static_cast<int>(length), error)) {
        return false;
    }
    nitf_TREDescriptionSet* set = setOf(tre, error);
    if (set == nullptr) {
        return false;
    }
    std::vector<std::string> reasons;
    for (const nitf_TREDescriptionInfo* info : candidatesFor(set, length)) {
        if (!installPrivate(tre, info, length, error)) {
            return false;
        }
        std::string failure;
        if (parseFields(tre, bytes.data(), length, failure)) {
            return true;
        }
        reasons.push_back(fmt::format("description {}: {}", info->name, failure));
    }
    if (reasons.empty()) {
        reasons.push_back(fmt::format("no description is made for {} bytes", length));
    }
    return keepRaw(tre, bytes, joined(reasons), error);
}

NITF_BOOL nitf_TREUtils_basicSetField(nitf_TRE* tre, const char* tag, NITF_DATA* data,
                                      size_t dataLength, nitf_Error* error) {
    if (tre != nullptr && tre->priv != nullptr && tag != nullptr &&
        std::strcmp(tag, NITF_TRE_RAW) == 0 && findField(tre, NITF_TRE_RAW) == nullptr) {
        nitf_Error_initf(error, NITF_CTXT, NITF_ERR_INVALID_PARAMETER,
                         "raw_data of TRE %s is a read-only view of its fields", tre->tag);
        return false;
    }
    return nitf_TREUtils_setValue(tre, tag, data, dataLength, error);
}

nitf_Field* nitf_TREUtils_basicGetField(nitf_TRE* tre, const char* tag) {
    if (tre == nullptr || tre->priv == nullptr || tag == nullptr) {
        return nullptr;
    }
    nitf_Field* field = findField(tre, tag);
    if (field == nullptr && std::strcmp(tag, NITF_TRE_RAW) == 0) {
        field = rawView(tre);
    }
    return field;
}

nitf_List* nitf_TREUtils_basicFind(nitf_TRE* tre, const char* pattern, nitf_Error* error) {
    if (tre == nullptr || tre->priv == nullptr || pattern == nullptr) {
        nitf_Error_init(error, "find: NULL TRE or pattern", NITF_CTXT, NITF_ERR_INVALID_PARAMETER);
        return nullptr;
    }
    std::vector<FieldEntry> fields;
    std::string failure;
    if (!listFields(tre, fields, failure)) {
        nitf_Error_initf(error, NITF_CTXT, NITF_ERR_INVALID_OBJECT, "TRE %s: %s", tre->tag,
                         failure.c_str());
        return nullptr;
    }
    nitf_List* list = nullptr;
    for (const FieldEntry& entry : fields) {
        if (entry.name.find(pattern) == std::string::npos) {
            continue;
        }
        if (list == nullptr && (list = nitf_List_construct(error)) == nullptr) {
            return nullptr;
        }
        nitf_Pair* pair = nitf_HashTable_find(privateOf(tre)->hash, entry.name.c_str());
        if (!nitf_List_pushBack(list, pair, error)) {
            nitf_List_destruct(&list);
            return nullptr;
        }
    }
    return list;
}

NITF_BOOL nitf_TREUtils_basicWrite(nitf_IOInterface* io, nitf_TRE* tre, nitf_Record*,
                                   nitf_Error* error) {
    uint32_t length = 0;
    char* data = nitf_TREUtils_getRawData(tre, &length, error);
    if (data == nullptr) {
        return false;
    }
    bool ok = length == 0 || nitf_IOInterface_write(io, data, length, error);
    std::free(data);
    return ok;
}

nitf_TREEnumerator* nitf_TREUtils_basicBegin(nitf_TRE* tre, nitf_Error* error) {
    if (tre == nullptr || tre->priv == nullptr) {
        nitf_Error_init(error, "begin: NULL TRE", NITF_CTXT, NITF_ERR_INVALID_PARAMETER);
        return nullptr;
    }
    auto* cursor = new BasicCursor{tre, {}, 0, nullptr};
    std::string failure;
    if (!listFields(tre, cursor->fields, failure)) {
        delete cursor;
        nitf_Error_initf(error, NITF_CTXT, NITF_ERR_INVALID_OBJECT, "TRE %s: %s", tre->tag,
                         failure.c_str());
        return nullptr;
    }
    auto* it = static_cast<nitf_TREEnumerator*>(std::malloc(sizeof(nitf_TREEnumerator)));
    if (it == nullptr) {
        delete cursor;
        nitf_Error_init(error, "out of memory", NITF_CTXT, NITF_ERR_MEMORY);
        return nullptr;
    }
    it->next = cursorNext;
    it->hasNext = cursorHasNext;
    it->getFieldDescription = cursorDescription;
    it->data = cursor;
    return it;
}

int nitf_TREUtils_basicGetCurrentSize(nitf_TRE* tre, nitf_Error* error) {
    int length = nitf_TREUtils_computeLength(tre);
    if (length < 0) {
        nitf_Error_initf(error, NITF_CTXT, NITF_ERR_INVALID_OBJECT,
                         "the length of TRE %s can't be computed",
                         tre != nullptr ? tre->tag : "(null)");
    }
    return length;
}

NITF_BOOL nitf_TREUtils_basicClone(nitf_TRE* source, nitf_TRE* tre, nitf_Error* error) {
    if (source == nullptr || tre == nullptr || source->priv == nullptr) {
        nitf_Error_init(error, "clone: NULL TRE", NITF_CTXT, NITF_ERR_INVALID_PARAMETER);
        return false;
    }
    nitf_TREPrivateData* priv = nitf_TREPrivateData_clone(privateOf(source), error);
    if (priv == nullptr) {
        return false;
    }
    priv->userData = nullptr;  // the raw view belongs to the source
    tre->priv = priv;
    return true;
}

void nitf_TREUtils_basicDestruct(nitf_TRE* tre) {
    if (tre != nullptr) {
        dropPrivate(tre);
    }
}

NITF_BOOL nitf_TREUtils_setDescription(nitf_TRE* tre, uint32_t length, nitf_Error* error) {
    if (tre == nullptr) {
        nitf_Error_init(error, "setDescription: NULL TRE", NITF_CTXT, NITF_ERR_INVALID_PARAMETER);
        return false;
    }
    nitf_TREDescriptionSet* set = setOf(tre, error);
    const nitf_TREDescriptionInfo* info =
        set != nullptr ? initialInfo(tre, set, nullptr, error) : nullptr;
    return info != nullptr && installPrivate(tre, info, length, error);
}

nitf_TREHandler* nitf_TREUtils_createBasicHandler(nitf_TREDescriptionSet* set,
                                                  nitf_TREHandler* handler, nitf_Error* error) {
    if (set == nullptr || handler == nullptr || set->descriptions == nullptr ||
        isEnd(set->descriptions[0])) {
        nitf_Error_init(error, "createBasicHandler needs a handler and a non-empty description set",
                        NITF_CTXT, NITF_ERR_INVALID_PARAMETER);
        return nullptr;
    }
    handler->init = nitf_TREUtils_basicInit;
    handler->getID = nitf_TREUtils_basicGetID;
    handler->read = nitf_TREUtils_basicRead;
    handler->setField = nitf_TREUtils_basicSetField;
    handler->getField = nitf_TREUtils_basicGetField;
    handler->find = nitf_TREUtils_basicFind;
    handler->write = nitf_TREUtils_basicWrite;
    handler->begin = nitf_TREUtils_basicBegin;
    handler->getCurrentSize = nitf_TREUtils_basicGetCurrentSize;
    handler->clone = nitf_TREUtils_basicClone;
    handler->destruct = nitf_TREUtils_basicDestruct;
    handler->data = set;
    return handler;
}

}  // extern "C"
