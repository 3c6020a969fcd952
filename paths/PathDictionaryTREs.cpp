// Extension sections and TREs as dictionaries: the listing of a section, a TRE's fields, and
// the nesting of the fields of repeating groups.

#include <strings.h>

#include <charconv>
#include <cstring>
#include <optional>
#include <unordered_map>
#include <vector>

#include "paths/PathDictionary.h"
#include "paths/PathWriter.h"
#include "tessel/core/NitroError.h"
#include "tessel/platform/nitf/nitf_Extensions.h"

using Tessel::NITFMessages;

namespace NITFPathInternal {
namespace {

// No repeating group of a TRE comes near this many elements; a larger subscript is not one.
constexpr size_t kMaxSubscript = size_t{1} << 24;

// The subscripts of "[2][1]", or nothing when the text isn't a run of them.
std::optional<std::vector<size_t>> parseSubscripts(std::string_view text) {
    std::vector<size_t> subscripts;
    while (!text.empty()) {
        const size_t close = text.find(']');
        if (text.front() != '[' || close == std::string_view::npos || close < 2) {
            return std::nullopt;
        }
        size_t value = 0;
        const char* first = text.data() + 1;
        const char* last = text.data() + close;
        const auto result = std::from_chars(first, last, value);
        if (result.ec != std::errc() || result.ptr != last || value > kMaxSubscript) {
            return std::nullopt;
        }
        subscripts.push_back(value);
        text.remove_prefix(close + 1);
    }
    return subscripts;
}

// The last Array entry under a key, where the elements of a repeating group gather.
Node* findArray(Dict& dict, std::string_view key) {
    for (auto it = dict.entries.rbegin(); it != dict.entries.rend(); ++it) {
        if (it->first == key && it->second.kind == NodeKind::Array && it->second.array) {
            return &it->second;
        }
    }
    return nullptr;
}

Node makeRepeatArray() {
    return Node::makeArray("Value", Array());
}

// The TREs of one section that carry an id, compared without regard to case.
Array repeatedTREs(nitf_Extensions* section, const std::string& id) {
    Array array;
    for (nitf_ListNode* node = section->ref != nullptr ? section->ref->first : nullptr;
         node != nullptr; node = node->next) {
        auto* tre = static_cast<nitf_TRE*>(node->data);
        if (tre != nullptr && strcasecmp(tre->tag, id.c_str()) == 0) {
            array.add(Node::makeDict([tre](NITFMessages& messages, const PathList& path) {
                return encodeNitroTRE(tre, messages, path);
            }));
        }
    }
    return array;
}

}  // namespace

void push_back_tres(Dict& dict, nitf_Extensions* first, nitf_Extensions* second, nitf_Field*,
                    PathContext&) {
    // Overflow segments are reached through the "TRE" shortcut, not here.
    Node& tres = dict.add(
        "TREs", Node::makeDict([first, second](NITFMessages& messages, const PathList& path) {
            Dict listing;
            appendSection(listing, first, messages, path);
            appendSection(listing, second, messages, path);
            return listing;
        }));
    // New TREs go into the first section.
    tres.create = createTRE(first);
}

void appendSection(Dict& dict, nitf_Extensions* section, NITFMessages&, const PathList&) {
    if (section == nullptr || section->ref == nullptr) {
        return;
    }
    // Where the first TRE of each id of this section stands in the dictionary.
    std::unordered_map<std::string, size_t> firstOfId;
    for (nitf_ListNode* node = section->ref->first; node != nullptr; node = node->next) {
        auto* tre = static_cast<nitf_TRE*>(node->data);
        if (tre == nullptr) {
            continue;
        }
        std::string id(tre->tag);
        const auto [seen, added] = firstOfId.try_emplace(id, dict.size());
        if (!added) {
            dict.entries[seen->second].second.kind = NodeKind::Array;
            continue;
        }
        Node entry = Node::makeDict([tre](NITFMessages& messages, const PathList& path) {
            return encodeNitroTRE(tre, messages, path);
        });
        entry.arrayProvider = [section, id](NITFMessages&, const PathList&) {
            return repeatedTREs(section, id);
        };
        entry.create = createInTRE(tre, section);
        dict.add(std::move(id), std::move(entry));
    }
}

Dict encodeNitroTRE(nitf_TRE* tre, NITFMessages& messages, const PathList& path) {
    Dict dict;
    if (tre == nullptr) {
        return dict;
    }
    dict.add("_treID", Node::makeString(tre->tag));
    const char* id = nitf_TRE_getID(tre);
    if (id != nullptr && std::strcmp(id, NITF_TRE_RAW) == 0) {
        dict.add("_isRaw", Node::makeString("true"));
        dict.add(NITF_TRE_RAW, Node::makeField(nitf_TRE_getField(tre, NITF_TRE_RAW)));
        return dict;
    }
    nrt_Error error{};
    nitf_TREEnumerator* it = nitf_TRE_begin(tre, &error);
    if (it == nullptr && error.level != 0) {
        Tessel::checkNitroError(error, messages, path, true);
        return Dict();
    }
    // hasNext releases the enumerator at its end, so the loop runs to the end.
    while (it != nullptr && it->hasNext(&it)) {
        nrt_Error step{};
        nitf_Pair* pair = it->next(it, &step);
        if (pair != nullptr && pair->key != nullptr) {
            encodeNitroByPath(dict, pair->key, static_cast<nitf_Field*>(pair->data));
        }
    }
    return dict;
}

void encodeNitroByPath(Dict& dict, std::string_view tag, nitf_Field* field) {
    const size_t bracket = tag.find('[');
    const std::string_view head = tag.substr(0, bracket);
    const size_t dot = head.find('.');
    const bool typed =
        dot != std::string_view::npos && field != nullptr && field->type == NITF_BINARY;
    FieldEncoder encoder;
    if (typed) {
        encoder = [type = std::string(head.substr(dot + 1))](NitroUtils::Encoder& out,
                                                             nitf_Field* f) {
            NitroUtils::encodeTypedField(out, f, type);
        };
    }
    const std::string_view key = typed ? head.substr(0, dot) : head;
    std::optional<std::vector<size_t>> subscripts;
    if (bracket != std::string_view::npos) {
        subscripts = parseSubscripts(tag.substr(bracket));
    }
    if (!subscripts || subscripts->empty()) {
        // A name that isn't a run of subscripts stays one entry under its whole tag.
        dict.add(std::string(bracket == std::string_view::npos ? key : tag),
                 Node::makeField(field, std::move(encoder)));
        return;
    }
    Node* current = findArray(dict, key);
    if (current == nullptr) {
        current = &dict.add(std::string(key), makeRepeatArray());
    }
    for (size_t level = 0; level < subscripts->size(); ++level) {
        std::vector<Node>& elements = current->array->elements;
        const size_t index = (*subscripts)[level];
        while (elements.size() <= index) {
            elements.emplace_back();
        }
        Node& element = elements[index];
        if (level + 1 == subscripts->size()) {
            element = Node::makeField(field, encoder);
        } else {
            if (element.kind != NodeKind::Array || !element.array) {
                element = makeRepeatArray();
            }
            current = &element;
        }
    }
}

}  // namespace NITFPathInternal
