// Writes by path: the value becomes a tree of nodes, the walk makes what is missing on its
// way, and the value tree is stored onto the node reached.

#include "paths/PathWriter.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "tessel/paths/PathWalker.h"

using Tessel::NITFMessages;

namespace NITFPathInternal {
namespace detail_path_writer {

// Deeper JSON values are refused: the tree is walked recursively.
constexpr int kMaxValueDepth = 256;

Node jsonToNode(const nlohmann::ordered_json& json, NITFMessages& messages, int depth) {
    if (depth > kMaxValueDepth) {
        messages.emplace_back("JSON Parser Error");
        return Node();
    }
    switch (json.type()) {
        case nlohmann::ordered_json::value_t::object: {
            Dict dict;
            for (const auto& [key, child] : json.items()) {
                const size_t before = messages.size();
                Node node = jsonToNode(child, messages, depth + 1);
                if (messages.size() != before) {
                    return Node();
                }
                dict.add(key, std::move(node));
            }
            return Node::makeDict(std::move(dict));
        }
        case nlohmann::ordered_json::value_t::array: {
            Array array;
            for (const auto& child : json) {
                array.add(jsonToNode(child, messages, depth + 1));
            }
            return Node::makeArray("Value", std::move(array));
        }
        case nlohmann::ordered_json::value_t::string:
            return Node::makeString(json.get<std::string>());
        case nlohmann::ordered_json::value_t::boolean:
        case nlohmann::ordered_json::value_t::number_integer:
        case nlohmann::ordered_json::value_t::number_unsigned:
        case nlohmann::ordered_json::value_t::number_float:
            return Node::makeString(json.dump());
        default:
            messages.push_back(fmt::format("JSON Parsing Error: unsupported type: {}",
                                           static_cast<int>(json.type())));
            return Node();
    }
}

bool decodeDictionary(Node& target, Node& source, NITFMessages& messages, PathList& path) {
    if (target.isReadOnly()) {
        return true;
    }
    Dict* dict = &target.enterDict(messages, path);
    for (auto& [key, child] : source.enterDict(messages, path)) {
        Node* entry = dict->find(key);
        if (entry == nullptr) {
            if (!target.create || !target.create(key, messages, path)) {
                messages.push_back(
                    fmt::format("{}: Could not create new field '{}'", pathText(path), key));
                return false;
            }
            dict = &target.enterDict(messages, path);
            entry = dict->find(key);
            if (entry == nullptr) {
                messages.push_back(fmt::format("{}: Field '{}' not found", pathText(path), key));
                return false;
            }
        }
        path.push_back(key);
        const bool ok = decodeNode(*entry, child, messages, path);
        path.pop_back();
        if (!ok) {
            return false;
        }
    }
    return true;
}

bool decodeArray(Node& target, Node& source, NITFMessages& messages, PathList& path) {
    if (target.isReadOnly()) {
        return true;
    }
    Array* array = &target.enterArray(messages, path);
    Array& values = source.enterArray(messages, path);
    for (size_t i = 0; i < values.size(); ++i) {
        if (array->size() <= i) {
            if (!growArray(target, i + 1, messages, path)) {
                return false;
            }
            array = target.array.get();
            if (array->size() <= i) {
                messages.push_back(fmt::format("{}: Array is not large enough", pathText(path)));
                return false;
            }
        }
        const std::string index = std::to_string(i);
        path.push_back(index);
        const bool ok = decodeNode(array->elements[i], values.elements[i], messages, path);
        path.pop_back();
        if (!ok) {
            return false;
        }
    }
    return true;
}

bool decodeIntoField(Node& target, const Node& source, NITFMessages& messages,
                     const PathList& path) {
    if (target.isReadOnly()) {
        return true;
    }
    std::string text;
    NitroUtils::Encoder encoder;
    encoder.target = &text;
    encoder.write(source.value);
    if (target.decoder) {
        return target.decoder(target.field, text, messages, path);
    }
    return decodeField(target.field, text, messages, path);
}

// The value as messages quote it: its first 30 characters, and "..." when it is longer.
std::string quotedValue(const std::string& value) {
    constexpr size_t kShown = 30;
    return value.size() > kShown ? value.substr(0, kShown) + "..." : value;
}

}  // namespace detail_path_writer

bool decodeNode(Node& target, Node& source, NITFMessages& messages, PathList& path) {
    using namespace detail_path_writer;
    if (target.kind == NodeKind::Dictionary && source.kind == NodeKind::Dictionary) {
        return decodeDictionary(target, source, messages, path);
    }
    if (source.kind == NodeKind::Array &&
        (target.kind == NodeKind::Array || target.arrayProvider)) {
        return decodeArray(target, source, messages, path);
    }
    if (target.kind == NodeKind::Field && source.kind == NodeKind::String) {
        return decodeIntoField(target, source, messages, path);
    }
    if (target.kind == NodeKind::String) {
        return true;
    }
    messages.push_back(fmt::format("{}: Can not set a '{}' with '{}'", pathText(path),
                                   kindName(target.kind), kindName(source.kind)));
    return false;
}

Node valueNode(const std::string& value, PathContext::FormatType format, NITFMessages& messages) {
    if (format == PathContext::FormatString) {
        return Node::makeString(value);
    }
    if (format != PathContext::FormatJSON) {
        return Node();
    }
    const auto json = nlohmann::ordered_json::parse(value, nullptr, false);
    if (json.is_discarded()) {
        messages.emplace_back("JSON Parser Error");
        return Node();
    }
    return detail_path_writer::jsonToNode(json, messages, 0);
}

std::string shortenedValue(const std::string& value) {
    return detail_path_writer::quotedValue(value);
}

}  // namespace NITFPathInternal

bool PathContext::SetByPath(const std::string& path, const std::string& value, FormatType format,
                            Tessel::NITFMessages& messages) {
    using namespace NITFPathInternal;
    Node source = valueNode(value, format, messages);
    if (source.isEmpty()) {
        messages.push_back(fmt::format("Unable to evaluate value '{}'", shortenedValue(value)));
        return false;
    }
    Node root = Node::makeDict([this, build = rootBuilders().root](NITFMessages&, const PathList&) {
        return build ? build(*this) : Dict();
    });
    const PathWalk walk(root, splitPath(path), messages, true);
    if (walk.failed() || walk.node()->isEmpty()) {
        messages.push_back(fmt::format("Unable to find '{}'", path));
        return false;
    }
    PathList walked = walk.path();
    if (!decodeNode(*walk.node(), source, messages, walked)) {
        messages.push_back(fmt::format("Unable to set '{}'", path));
        return false;
    }
    return true;
}
