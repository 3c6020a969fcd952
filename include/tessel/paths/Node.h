#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// The tree that a record, a segment or a TRE becomes when read as a dictionary. Containers
// are usually filled on demand by providers, so that a query touches only the nodes on its
// way; each entry into a node with a provider asks the provider afresh.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tessel/core/NITFMessages.h"
#include "tessel/paths/Encoder.h"
#include "tessel/platform/nitf/nitf_Field.h"

namespace NITFPathInternal {

struct Node;
struct Dict;
struct Array;

// The path walked so far, one component per element; used for messages.
using PathList = std::vector<std::string_view>;

enum class NodeKind : int32_t {
    Empty = 0,       // nothing: the failed or absent result
    String = 1,      // a narrow string value
    Field = 2,       // a nitf_Field* (may be null) with an encoder and a decoder
    Dictionary = 3,  // a Dict, or a provider of one
    Array = 4,       // an Array, or a provider of one, and the element name
};

// "Empty", "String", "Field", "Dictionary", "Array"; "Unknown" for any other number.
std::string_view kindName(NodeKind kind);

// The flag word of a node.
enum NodeFlags : uint32_t {
    FlagNormal = 0,
    FlagReadOnly = 1,  // a write that reaches the node is accepted and does nothing
    FlagXML = 2,       // the dictionary is a parsed XML document; JSON output doesn't expand it
};

using DictProvider = std::function<Dict(Tessel::NITFMessages& messages, const PathList& path)>;
using ArrayProvider = std::function<Array(Tessel::NITFMessages& messages, const PathList& path)>;
using CreateFunction = std::function<bool(std::string_view name, Tessel::NITFMessages& messages,
                                          const PathList& path)>;
using FieldEncoder = std::function<void(NitroUtils::Encoder& encoder, nitf_Field* field)>;
using FieldDecoder = std::function<bool(nitf_Field* field, const std::string& text,
                                        Tessel::NITFMessages& messages, const PathList& path)>;
// Finds an array element by a key that isn't an index; an Empty node when there is none.
using ArrayLookup =
    std::function<Node(std::string_view key, Tessel::NITFMessages& messages, const PathList& path)>;

struct Node {
    NodeKind kind = NodeKind::Empty;
    std::string value;             // String
    nitf_Field* field = nullptr;   // Field
    std::unique_ptr<Dict> dict;    // Dictionary: the content last taken
    DictProvider dictProvider;     // Dictionary: gives the content on each entry
    std::string elementName;       // Array: XML tag of the elements, name for growing
    std::unique_ptr<Array> array;  // Array: the content last taken
    ArrayProvider arrayProvider;   // Array: gives the content on each entry
    CreateFunction create;         // makes a missing entry or grows the array
    FieldEncoder encoder;          // Field: renders the field; empty means encodeField
    FieldDecoder decoder;          // Field: stores text into the field
    uint32_t flags = FlagNormal;

    Node();
    ~Node();
    Node(Node&& other) noexcept;
    Node& operator=(Node&& other) noexcept;
    Node(const Node&) = delete;
    Node& operator=(const Node&) = delete;

    static Node makeString(std::string text, uint32_t flags = FlagNormal);
    static Node makeField(nitf_Field* field, FieldEncoder encoder = {}, FieldDecoder decoder = {},
                          uint32_t flags = FlagNormal);
    static Node makeDict(Dict content, uint32_t flags = FlagNormal);
    static Node makeDict(DictProvider provider, uint32_t flags = FlagNormal);
    static Node makeArray(std::string elementName, Array content, uint32_t flags = FlagNormal);
    static Node makeArray(std::string elementName, ArrayProvider provider,
                          uint32_t flags = FlagNormal);

    bool isEmpty() const { return kind == NodeKind::Empty; }
    bool isReadOnly() const { return (flags & FlagReadOnly) != 0; }
    bool isXML() const { return (flags & FlagXML) != 0; }

    // Enters a container: a node with a provider drops its old content and asks the
    // provider again; a node with neither provider nor content gets an empty container.
    // `path` is the path of this node, passed to the provider for its messages.
    Dict& enterDict(Tessel::NITFMessages& messages, const PathList& path);
    Array& enterArray(Tessel::NITFMessages& messages, const PathList& path);

    // Renders a Field node through its encoder, or encodeField when it has none.
    void encodeInto(NitroUtils::Encoder& encoder) const;
};

// An ordered list of named nodes: insertion order is output order, names need not be
// unique, and lookup is linear and exact; the first match wins.
struct Dict {
    using Entry = std::pair<std::string, Node>;
    std::vector<Entry> entries;

    Node* find(std::string_view name);
    const Node* find(std::string_view name) const;
    Node& add(std::string name, Node node);

    std::size_t size() const { return entries.size(); }
    bool empty() const { return entries.empty(); }
    auto begin() { return entries.begin(); }
    auto end() { return entries.end(); }
    auto begin() const { return entries.begin(); }
    auto end() const { return entries.end(); }
};

// An ordered list of nodes, and optionally a lookup that makes it addressable by name.
struct Array {
    std::vector<Node> elements;
    ArrayLookup lookup;

    Node& add(Node node);

    std::size_t size() const { return elements.size(); }
    bool empty() const { return elements.empty(); }
    auto begin() { return elements.begin(); }
    auto end() { return elements.end(); }
    auto begin() const { return elements.begin(); }
    auto end() const { return elements.end(); }
};

// The one shared Empty node: the result of every failed walk. Nobody changes it.
const Node& emptyNode();

}  // namespace NITFPathInternal

TESSEL_PUBLIC_END
