#include "paths/PathDictionaryRpf.h"

namespace NITFPathInternal {
namespace {

using Json = nlohmann::ordered_json;

Node toNode(const Json& value);

Dict toDict(const Json& object) {
    Dict dict;
    for (const auto& item : object.items()) {
        dict.add(item.key(), toNode(item.value()));
    }
    return dict;
}

Node toNode(const Json& value) {
    if (value.is_object()) {
        return Node::makeDict(toDict(value));
    }
    if (value.is_array()) {
        Array array;
        for (const Json& element : value) {
            array.add(toNode(element));
        }
        return Node::makeArray("Element", std::move(array));
    }
    return Node::makeString(value.is_string() ? value.get<std::string>() : value.dump());
}

}  // namespace

Dict encodeRpfTables(const std::vector<RpfLocation>& locations, const RpfByteSource& source) {
    return toDict(readRpfTables(locations, source));
}

}  // namespace NITFPathInternal
