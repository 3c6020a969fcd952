#include "tessel/paths/Node.h"

namespace NITFPathInternal {

std::string_view kindName(NodeKind kind) {
    switch (kind) {
        case NodeKind::Empty:
            return "Empty";
        case NodeKind::String:
            return "String";
        case NodeKind::Field:
            return "Field";
        case NodeKind::Dictionary:
            return "Dictionary";
        case NodeKind::Array:
            return "Array";
    }
    return "Unknown";
}

Node::Node() = default;
Node::~Node() = default;
Node::Node(Node&& other) noexcept = default;
Node& Node::operator=(Node&& other) noexcept = default;

Node Node::makeString(std::string text, uint32_t flags) {
    Node node;
    node.kind = NodeKind::String;
    node.value = std::move(text);
    node.flags = flags;
    return node;
}

Node Node::makeField(nitf_Field* field, FieldEncoder encoder, FieldDecoder decoder,
                     uint32_t flags) {
    Node node;
    node.kind = NodeKind::Field;
    node.field = field;
    node.encoder = std::move(encoder);
    node.decoder = std::move(decoder);
    node.flags = flags;
    return node;
}

Node Node::makeDict(Dict content, uint32_t flags) {
    Node node;
    node.kind = NodeKind::Dictionary;
    node.dict = std::make_unique<Dict>(std::move(content));
    node.flags = flags;
    return node;
}

Node Node::makeDict(DictProvider provider, uint32_t flags) {
    Node node;
    node.kind = NodeKind::Dictionary;
    node.dictProvider = std::move(provider);
    node.flags = flags;
    return node;
}

Node Node::makeArray(std::string elementName, Array content, uint32_t flags) {
    Node node;
    node.kind = NodeKind::Array;
    node.elementName = std::move(elementName);
    node.array = std::make_unique<Array>(std::move(content));
    node.flags = flags;
    return node;
}

Node Node::makeArray(std::string elementName, ArrayProvider provider, uint32_t flags) {
    Node node;
    node.kind = NodeKind::Array;
    node.elementName = std::move(elementName);
    node.arrayProvider = std::move(provider);
    node.flags = flags;
    return node;
}

Dict& Node::enterDict(Tessel::NITFMessages& messages, const PathList& path) {
    if (dictProvider) {
        // Drop the old content first: the provider may read state that a write changed.
        dict.reset();
        dict = std::make_unique<Dict>(dictProvider(messages, path));
    } else if (!dict) {
        dict = std::make_unique<Dict>();
    }
    return *dict;
}

Array& Node::enterArray(Tessel::NITFMessages& messages, const PathList& path) {
    if (arrayProvider) {
        array.reset();
        array = std::make_unique<Array>(arrayProvider(messages, path));
    } else if (!array) {
        array = std::make_unique<Array>();
    }
    return *array;
}

void Node::encodeInto(NitroUtils::Encoder& out) const {
    if (encoder) {
        encoder(out, field);
    } else {
        NitroUtils::encodeField(out, field);
    }
}

Node* Dict::find(std::string_view name) {
    for (auto& [key, node] : entries) {
        if (key == name) {
            return &node;
        }
    }
    return nullptr;
}

const Node* Dict::find(std::string_view name) const {
    for (const auto& [key, node] : entries) {
        if (key == name) {
            return &node;
        }
    }
    return nullptr;
}

Node& Dict::add(std::string name, Node node) {
    return entries.emplace_back(std::move(name), std::move(node)).second;
}

Node& Array::add(Node node) {
    return elements.emplace_back(std::move(node));
}

const Node& emptyNode() {
    static const Node empty;
    return empty;
}

}  // namespace NITFPathInternal
