#include "tessel/paths/PathWalker.h"

#include <fmt/format.h>

#include <charconv>
#include <cstdint>
#include <optional>
#include <utility>

#include "tessel/core/NitroError.h"
#include "tessel/platform/base/text.h"
#include "tessel/platform/nitf/nitf_FileHeader.h"
#include "tessel/platform/nitf/nitf_Record.h"
#include "tessel/platform/nitf/nrt_List.h"

namespace NITFPathInternal {
namespace {

using Tessel::NITFMessages;

constexpr std::string_view kBlanks = " \t\r\v\n";
constexpr std::size_t kReserve = 50000;

std::string_view trimBlanks(std::string_view text) {
    const auto first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) {
        return {};
    }
    const auto last = text.find_last_not_of(kBlanks);
    return text.substr(first, last - first + 1);
}

// A component of decimal digits only that fits in 32 bits unsigned is an index.
std::optional<std::size_t> readIndex(std::string_view component) {
    if (component.empty() || component.find_first_not_of("0123456789") != std::string_view::npos) {
        return std::nullopt;
    }
    uint32_t index = 0;
    const auto [end, error] =
        std::from_chars(component.data(), component.data() + component.size(), index);
    if (error != std::errc() || end != component.data() + component.size()) {
        return std::nullopt;
    }
    return index;
}

// Writes the content of an element and closes it, or turns it into "<tag/>" when the
// content was empty.
template <typename WriteContent>
void element(std::string& out, std::string_view tag, WriteContent&& writeContent) {
    if (tag.empty()) {
        writeContent();
        return;
    }
    out += '<';
    out += tag;
    out += '>';
    const std::size_t mark = out.size();
    writeContent();
    if (out.size() == mark) {
        out.pop_back();
        out += "/>";
    } else {
        out += "</";
        out += tag;
        out += '>';
    }
}

bool isNullField(const Node& node) {
    return node.kind == NodeKind::Field && node.field == nullptr;
}

bool isContainer(const Node& node) {
    return node.kind == NodeKind::Dictionary || node.kind == NodeKind::Array;
}

// Entered containers with no content are left out of dumps.
bool enteredIsEmpty(Node& node, NITFMessages& messages, const PathList& path) {
    if (node.kind == NodeKind::Dictionary) {
        return node.enterDict(messages, path).empty();
    }
    return node.enterArray(messages, path).empty();
}

class XMLRenderer {
public:
    XMLRenderer(std::string& out, NITFMessages& messages, PathList path)
        : out_(out), messages_(messages), path_(std::move(path)) {
        encoder_.target = &out_;
        encoder_.filter = NitroUtils::xmlFilter;
    }

    void render(Node& node, std::string_view tag) {
        switch (node.kind) {
            case NodeKind::String:
                element(out_, tag, [&] { encoder_.write(node.value); });
                return;
            case NodeKind::Field:
                element(out_, tag, [&] { node.encodeInto(encoder_); });
                return;
            case NodeKind::Dictionary:
                dictContent(node.enterDict(messages_, path_), tag);
                return;
            case NodeKind::Array:
                arrayContent(node.enterArray(messages_, path_), node.elementName, tag);
                return;
            default:
                return;
        }
    }

private:
    void open(std::string_view tag) {
        if (!tag.empty()) {
            out_ += '<';
            out_ += tag;
            out_ += '>';
        }
    }

    void close(std::string_view tag) {
        if (!tag.empty()) {
            out_ += "</";
            out_ += tag;
            out_ += '>';
        }
    }

    void dictContent(Dict& dict, std::string_view tag) {
        open(tag);
        for (auto& [name, child] : dict) {
            if (isNullField(child) || child.isXML()) {
                continue;
            }
            path_.push_back(name);
            entry(child, name);
            path_.pop_back();
        }
        close(tag);
    }

    // An entry that is an empty container is skipped; entering it once serves both the
    // test and the rendering.
    void entry(Node& child, std::string_view name) {
        if (!isContainer(child)) {
            render(child, name);
        } else if (!enteredIsEmpty(child, messages_, path_)) {
            if (child.kind == NodeKind::Dictionary) {
                dictContent(*child.dict, name);
            } else {
                arrayContent(*child.array, child.elementName, name);
            }
        }
    }

    void arrayContent(Array& array, std::string_view elementName, std::string_view tag) {
        open(tag);
        for (std::size_t i = 0; i < array.size(); ++i) {
            const std::string index = std::to_string(i);
            path_.push_back(index);
            render(array.elements[i], elementName);
            path_.pop_back();
        }
        close(tag);
    }

    std::string& out_;
    NITFMessages& messages_;
    PathList path_;
    NitroUtils::Encoder encoder_;
};

class JSONRenderer {
public:
    JSONRenderer(std::string& out, double depth, NITFMessages& messages, PathList path)
        : out_(out), depth_(depth), messages_(messages), path_(std::move(path)) {
        encoder_.target = &out_;
        encoder_.filter = NitroUtils::jsonFilter;
    }

    // `level` is the nesting level of the node: the top is 1.
    void render(Node& node, std::string_view key, int level) {
        writeKey(key);
        switch (node.kind) {
            case NodeKind::String:
                quoted([&] { encoder_.write(node.value); });
                return;
            case NodeKind::Field:
                quoted([&] { node.encodeInto(encoder_); });
                return;
            case NodeKind::Dictionary:
                if (node.isXML()) {
                    out_ += "\"...xml...\"";
                } else if (level > depth_) {
                    out_ += "\"...object...\"";
                } else {
                    dictContent(node.enterDict(messages_, path_), level);
                }
                return;
            case NodeKind::Array:
                if (level > depth_) {
                    out_ += "\"...array...\"";
                } else {
                    arrayContent(node.enterArray(messages_, path_), level);
                }
                return;
            default:
                out_ += "null";
                return;
        }
    }

private:
    void writeKey(std::string_view key) {
        if (!key.empty()) {
            out_ += '"';
            out_ += key;
            out_ += "\": ";
        }
    }

    template <typename WriteText>
    void quoted(WriteText&& writeText) {
        out_ += '"';
        writeText();
        out_ += '"';
    }

    // Null fields and empty containers are left out with their separator, and emptiness is
    // looked at before the depth limit: only a container with content past the limit is
    // written as a marker.
    bool skipped(Node& child) {
        if (isNullField(child)) {
            return true;
        }
        if (!isContainer(child) || child.isXML()) {
            return false;
        }
        return enteredIsEmpty(child, messages_, path_);
    }

    void dictContent(Dict& dict, int level) {
        out_ += '{';
        bool first = true;
        for (auto& [name, child] : dict) {
            path_.push_back(name);
            if (!skipped(child)) {
                if (!first) {
                    out_ += ',';
                }
                first = false;
                entered(child, name, level + 1);
            }
            path_.pop_back();
        }
        out_ += '}';
    }

    // Renders an entry whose container content skipped() may have taken already.
    void entered(Node& child, std::string_view name, int level) {
        if (isContainer(child) && !child.isXML() && level <= depth_) {
            writeKey(name);
            if (child.kind == NodeKind::Dictionary) {
                dictContent(*child.dict, level);
            } else {
                arrayContent(*child.array, level);
            }
            return;
        }
        render(child, name, level);
    }

    void arrayContent(Array& array, int level) {
        out_ += '[';
        for (std::size_t i = 0; i < array.size(); ++i) {
            if (i != 0) {
                out_ += ',';
            }
            const std::string index = std::to_string(i);
            path_.push_back(index);
            render(array.elements[i], {}, level + 1);
            path_.pop_back();
        }
        out_ += ']';
    }

    std::string& out_;
    double depth_;
    NITFMessages& messages_;
    PathList path_;
    NitroUtils::Encoder encoder_;
};

class TextRenderer {
public:
    TextRenderer(std::string& out, bool raw, NITFMessages& messages, PathList path)
        : out_(out), messages_(messages), path_(std::move(path)) {
        encoder_.target = &out_;
        encoder_.raw = raw;
    }

    void render(Node& node) {
        switch (node.kind) {
            case NodeKind::String:
                out_ += node.value;
                return;
            case NodeKind::Field:
                node.encodeInto(encoder_);
                return;
            case NodeKind::Dictionary:
                for (auto& [name, child] : node.enterDict(messages_, path_)) {
                    if (!isNullField(child)) {
                        path_.push_back(name);
                        render(child);
                        path_.pop_back();
                    }
                }
                return;
            case NodeKind::Array: {
                Array& array = node.enterArray(messages_, path_);
                for (std::size_t i = 0; i < array.size(); ++i) {
                    const std::string index = std::to_string(i);
                    path_.push_back(index);
                    render(array.elements[i]);
                    path_.pop_back();
                }
                return;
            }
            default:
                return;
        }
    }

private:
    std::string& out_;
    NITFMessages& messages_;
    PathList path_;
    NitroUtils::Encoder encoder_;
};

RootBuilders& installedBuilders() {
    static RootBuilders builders;
    return builders;
}

// The section of the DES that an overflow field points to: its value minus one is the
// index in the DES list, and 0 means none.
nitf_Extensions* overflowSection(nitf_Record* record, nitf_Field* overflow) {
    if (overflow == nullptr) {
        return nullptr;
    }
    uint32_t number = 0;
    nrt_Error error{};
    if (!nitf_Field_get(overflow, &number, NITF_CONV_UINT, sizeof(number), &error) || number == 0) {
        return nullptr;
    }
    auto* segment = static_cast<nitf_DESegment*>(
        nrt_List_get(record->dataExtensions, static_cast<int>(number - 1), &error));
    if (segment == nullptr || segment->subheader == nullptr) {
        return nullptr;
    }
    return segment->subheader->userDefinedSection;
}

nitf_ImageSegment* imageSegment(nitf_Record* record, int index, nrt_Error& error) {
    return static_cast<nitf_ImageSegment*>(
        nrt_List_get(record != nullptr ? record->images : nullptr, index, &error));
}

// Every TRE that concerns an image, the image's own before the file's, so that the first
// match of a name is the image's copy.
Dict mergedExtensions(PathContext& context, int image, const RootBuilders& builders,
                      NITFMessages& messages, const PathList& path) {
    Dict merged;
    nitf_Record* record = context.getRecord();
    if (!builders.appendSection || record == nullptr) {
        return merged;
    }
    const auto append = [&](nitf_Extensions* section) {
        builders.appendSection(merged, section, context, messages, path);
    };
    nrt_Error error{};
    if (nitf_ImageSegment* segment = imageSegment(record, image, error);
        segment != nullptr && segment->subheader != nullptr) {
        nitf_ImageSubheader* subheader = segment->subheader;
        append(subheader->userDefinedSection);
        append(subheader->extendedSection);
        append(overflowSection(record, subheader->extendedHeaderOverflow));
    }
    if (nitf_FileHeader* header = record->header; header != nullptr) {
        append(header->userDefinedSection);
        append(header->extendedSection);
        append(overflowSection(record, header->extendedHeaderOverflow));
    }
    return merged;
}

}  // namespace

std::vector<std::string> splitItems(std::string_view text, char separator) {
    std::vector<std::string> items;
    std::size_t start = 0;
    while (start <= text.size()) {
        auto end = text.find(separator, start);
        if (end == std::string_view::npos) {
            end = text.size();
        }
        const std::string_view item = trimBlanks(text.substr(start, end - start));
        if (!item.empty()) {
            items.emplace_back(item);
        }
        start = end + 1;
    }
    return items;
}

std::vector<std::string> splitPath(std::string_view path) {
    return splitItems(path, '/');
}

std::string pathText(const PathList& path) {
    std::string text;
    for (std::string_view component : path) {
        text += '/';
        text += component;
    }
    return text;
}

PathWalk::PathWalk(Node& root, std::vector<std::string> components, NITFMessages& messages,
                   bool create)
    : components_(std::move(components)), create_(create), node_(&root) {
    path_.reserve(components_.size());
    for (const std::string& component : components_) {
        if (!step(component, messages)) {
            break;
        }
    }
}

// Takes one component; false ends the walk (with node_ set to the result).
bool PathWalk::step(const std::string& component, NITFMessages& messages) {
    if (component == "_exists") {
        path_.push_back(component);
        node_ = &keep(Node::makeString(node_->isEmpty() ? "0" : "1"));
        return false;
    }
    switch (node_->kind) {
        case NodeKind::Dictionary:
            return stepInDict(component, messages);
        case NodeKind::Array:
            return stepInArray(component, messages);
        default:
            path_.push_back(component);
            return fail(messages, "Field not Found");
    }
}

bool PathWalk::stepInDict(const std::string& component, NITFMessages& messages) {
    Dict& dict = node_->enterDict(messages, path_);
    path_.push_back(component);
    if (component == "_count") {
        node_ = &keep(Node::makeString(std::to_string(dict.size())));
        return false;
    }
    if (const auto index = readIndex(component)) {
        if (*index > dict.size()) {
            return fail(messages, fmt::format("Index {} Out of Range", *index));
        }
        if (*index == dict.size()) {
            // One past the last entry: nothing is there, and nothing outside is read.
            node_ = nullptr;
            return false;
        }
        node_ = &dict.entries[*index].second;
        return true;
    }
    Node* child = dict.find(component);
    if (child == nullptr) {
        return create_ ? createInDict(component, messages) : fail(messages, "Not Found");
    }
    node_ = child;
    return true;
}

// A name missing in a dictionary that is written to: the dictionary's create function
// makes it, and the dictionary is taken again from its provider.
bool PathWalk::createInDict(const std::string& component, NITFMessages& messages) {
    if (!node_->create || !node_->create(component, messages, path_)) {
        return fail(messages, fmt::format("Unable to create field '{}'", component));
    }
    path_.pop_back();
    Dict& dict = node_->enterDict(messages, path_);
    path_.push_back(component);
    Node* child = dict.find(component);
    if (child == nullptr) {
        return fail(messages, "Field Not Found After Grow");
    }
    node_ = child;
    return true;
}

bool PathWalk::stepInArray(const std::string& component, NITFMessages& messages) {
    Array& array = node_->enterArray(messages, path_);
    path_.push_back(component);
    if (component == "_count") {
        node_ = &keep(Node::makeString(std::to_string(array.size())));
        return false;
    }
    if (const auto index = readIndex(component)) {
        if (*index >= array.size() && !create_) {
            return fail(messages, "Index Out of Range");
        }
        if (*index >= array.size()) {
            if (!growArray(*node_, *index + 1, messages, path_)) {
                node_ = nullptr;
                return false;
            }
            if (*index >= node_->array->size()) {
                return fail(messages, fmt::format("Unable to grow array to {}", *index + 1));
            }
        }
        node_ = &node_->array->elements[*index];
        return true;
    }
    if (!array.lookup) {
        return fail(messages, "Field not an Index");
    }
    Node found = array.lookup(component, messages, path_);
    if (found.isEmpty()) {
        return fail(messages, "Field not an Index");
    }
    node_ = &keep(std::move(found));
    return true;
}

bool growArray(Node& node, std::size_t count, NITFMessages& messages, const PathList& path) {
    Array* array = &node.enterArray(messages, path);
    const auto unable = [&] {
        messages.push_back(fmt::format("{}: Unable to grow array to {}", pathText(path), count));
        return false;
    };
    // Growth one element at a time is quadratic for bands; a bound keeps it short.
    if (count > array->size() + kMaxArrayGrowth) {
        return unable();
    }
    while (array->size() < count) {
        const std::size_t before = array->size();
        if (!node.create || !node.create(node.elementName, messages, path)) {
            return unable();
        }
        array = &node.enterArray(messages, path);
        if (array->size() <= before) {
            break;  // the create function made nothing: the caller sees too few elements
        }
    }
    return true;
}

bool PathWalk::fail(NITFMessages& messages, std::string_view what) {
    messages.push_back(fmt::format("{}: {}", pathText(path_), what));
    node_ = nullptr;
    return false;
}

Node& PathWalk::keep(Node node) {
    return made_.emplace_back(std::move(node));
}

std::string renderXML(Node& node, NITFMessages& messages, const PathList& path,
                      std::string_view tag) {
    std::string out;
    out.reserve(kReserve);
    out += "<?xml version='1.0' encoding='UTF-8'?>\n";
    XMLRenderer(out, messages, path).render(node, tag);
    return out;
}

std::string renderJSON(Node& node, double depth, NITFMessages& messages, const PathList& path) {
    std::string out;
    out.reserve(kReserve);
    JSONRenderer(out, depth, messages, path).render(node, {}, 1);
    return out;
}

std::string renderText(Node& node, bool raw, NITFMessages& messages, const PathList& path) {
    std::string out;
    TextRenderer(out, raw, messages, path).render(node);
    return out;
}

any_type::value renderValue(Node* node, const PathComponents& query, NITFMessages& messages,
                            const PathList& path) {
    if (node == nullptr || node->isEmpty()) {
        return {};
    }
    switch (query.format) {
        case PathContext::FormatXML:
            return renderXML(*node, messages, path);
        case PathContext::FormatJSON:
            return renderJSON(*node, query.depth, messages, path);
        default: {
            const std::string text =
                renderText(*node, query.format == PathContext::FormatRaw, messages, path);
            if (text.empty()) {
                return {};
            }
            return query.postProcess(std::to_wstring(std::string_view(text)));
        }
    }
}

any_type::value queryTree(Node& root, std::string_view path, NITFMessages& messages) {
    const PathComponents query = PathComponents::parse(path);
    const PathWalk walk(root, splitPath(query.path), messages);
    return renderValue(walk.node(), query, messages, walk.path());
}

RootBuilders installRootBuilders(RootBuilders builders) {
    return std::exchange(installedBuilders(), std::move(builders));
}

const RootBuilders& rootBuilders() {
    return installedBuilders();
}

Node startNode(PathContext& context, int image, std::vector<std::string>& components,
               NITFMessages& messages) {
    const RootBuilders& builders = rootBuilders();
    const std::string_view first = components.empty() ? std::string_view() : components.front();
    if (first == "Image") {
        nrt_Error error{};
        nitf_ImageSegment* segment = imageSegment(context.getRecord(), image, error);
        if (segment == nullptr) {
            Tessel::checkNitroError(error, messages, {"Image"}, true);
            return Node();
        }
        components.erase(components.begin());
        return Node::makeDict(
            [&context, segment, image, build = builders.image](NITFMessages&, const PathList&) {
                return build ? build(segment, image, context) : Dict();
            });
    }
    if (first == "TRE") {
        components.erase(components.begin());
        return Node::makeDict(
            [&context, image, builders](NITFMessages& sink, const PathList& path) {
                return mergedExtensions(context, image, builders, sink, path);
            });
    }
    return Node::makeDict([&context, build = builders.root](NITFMessages&, const PathList&) {
        return build ? build(context) : Dict();
    });
}

}  // namespace NITFPathInternal
