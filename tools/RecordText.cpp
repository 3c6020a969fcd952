// The record's description as text for people, rendered from its JSON form.

#include <fmt/format.h>

#include <algorithm>
#include <map>

#include "tessel/platform/base/lumo_codec.h"
#include "tools/RecordJson.h"

namespace tessel_cli {
namespace {

using Json = RecordJson;

// What one element of an array is called.
const std::map<std::string, std::string>& itemNames() {
    static const std::map<std::string, std::string> names = {
        {"images", "image"},
        {"graphics", "graphic"},
        {"labels", "label"},
        {"texts", "text"},
        {"data_extensions", "data extension"},
        {"reserved_extensions", "reserved extension"},
        {"bands", "band"},
        {"ICOM", "ICOM"},
        {"warnings", "warning"}};
    return names;
}

// Binary values longer than this are dumped over several lines, up to kDumpLimit bytes.
constexpr size_t kInlineBytes = 16;
constexpr size_t kDumpLimit = 256;
constexpr size_t kMaxNameWidth = 24;

bool isBinary(const Json& value) {
    return value.is_object() && value.size() == 1 && value.contains(kBinaryKey);
}

bool isTre(const Json& value) {
    return value.is_object() && value.contains("tag") && value.contains("fields");
}

bool isSegment(const Json& value) {
    return value.is_object() && value.contains("subheader_offset") && value.contains("subheader");
}

bool isLeaf(const Json& value) {
    return !value.is_structured() || isBinary(value);
}

// Trailing blanks trimmed, quotes and control characters escaped.
std::string quoted(const std::string& text) {
    const size_t end = text.find_last_not_of(' ');
    std::string out = "\"";
    for (size_t i = 0; end != std::string::npos && i <= end; ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c == '"' || c == '\\') {
            out += '\\';
            out += static_cast<char>(c);
        } else if (c < 0x20 || c == 0x7F) {
            out += fmt::format("\\x{:02x}", c);
        } else {
            out += static_cast<char>(c);
        }
    }
    return out + "\"";
}

std::string hexBytes(const uint8_t* bytes, size_t count) {
    std::string out;
    for (size_t i = 0; i < count; ++i) {
        out += fmt::format("{}{:02x}", i == 0 ? "" : " ", bytes[i]);
    }
    return out;
}

std::string printableBytes(const uint8_t* bytes, size_t count) {
    std::string out;
    for (size_t i = 0; i < count; ++i) {
        out += bytes[i] >= 0x20 && bytes[i] < 0x7F ? static_cast<char>(bytes[i]) : '.';
    }
    return out;
}

class TextWriter {
public:
    std::string take() { return std::move(out_); }

    void members(int indent, const Json& object) {
        size_t width = 0;
        for (const auto& item : object.items()) {
            if (isLeaf(item.value()) || (item.value().is_array() && item.value().empty())) {
                width = std::max(width, std::min(item.key().size(), kMaxNameWidth));
            }
        }
        for (const auto& item : object.items()) {
            member(indent, item.key(), width, item.value());
        }
    }

private:
    void line(int indent, const std::string& text) {
        out_.append(static_cast<size_t>(indent), ' ');
        out_ += text;
        out_ += '\n';
    }

    void member(int indent, const std::string& name, size_t width, const Json& value) {
        if (isBinary(value)) {
            binary(indent, name, width, value[kBinaryKey].get<std::string>());
        } else if (isTre(value)) {
            tre(indent, name + " ", value);
        } else if (value.is_object()) {
            line(indent, name);
            members(indent + 2, value);
        } else if (value.is_array()) {
            array(indent, name, width, value);
        } else {
            scalar(indent, name, width, value);
        }
    }

    void scalar(int indent, const std::string& name, size_t width, const Json& value) {
        const std::string text =
            value.is_string() ? quoted(value.get<std::string>()) : value.dump();
        line(indent, fmt::format("{:<{}}  {}", name, width, text));
    }

    void binary(int indent, const std::string& name, size_t width, const std::string& base64) {
        const auto bytes = lumo_codec::base64_decode(base64).value_or(std::vector<uint8_t>{});
        const std::string size =
            fmt::format("<{} byte{}>", bytes.size(), bytes.size() == 1 ? "" : "s");
        if (bytes.size() <= kInlineBytes) {
            line(indent, fmt::format("{:<{}}  {} {}", name, width, size,
                                     hexBytes(bytes.data(), bytes.size())));
            return;
        }
        line(indent, fmt::format("{:<{}}  {}", name, width, size));
        const size_t shown = std::min(bytes.size(), kDumpLimit);
        for (size_t at = 0; at < shown; at += kInlineBytes) {
            const size_t count = std::min(kInlineBytes, shown - at);
            line(indent + 2, fmt::format("{:04x}  {:<47}  |{}|", at, hexBytes(&bytes[at], count),
                                         printableBytes(&bytes[at], count)));
        }
        if (shown < bytes.size()) {
            line(indent + 2,
                 fmt::format("... {} more bytes (all of them in --json)", bytes.size() - shown));
        }
    }

    void tre(int indent, const std::string& prefix, const Json& value) {
        std::string heading = prefix + value["tag"].get<std::string>();
        if (value["id"].is_string()) {
            heading += fmt::format(" (layout {}", value["id"].get<std::string>());
            heading +=
                value.contains("length") ? fmt::format(", {} bytes)", value["length"].dump()) : ")";
        }
        line(indent, heading);
        if (value.contains("error")) {
            line(indent + 2, "error  " + quoted(value["error"].get<std::string>()));
        }
        members(indent + 2, value["fields"]);
    }

    void segment(int indent, const std::string& heading, const Json& value) {
        line(indent, fmt::format("{}: subheader at {} ({} bytes), data at {} ({} bytes)", heading,
                                 value["subheader_offset"].dump(), value["subheader_length"].dump(),
                                 value["data_offset"].dump(), value["data_length"].dump()));
        members(indent + 2, value["subheader"]);
        for (const auto& item : value.items()) {
            if (item.key() != "subheader" && item.value().is_structured()) {
                member(indent + 2, item.key(), 0, item.value());
            }
        }
    }

    void array(int indent, const std::string& name, size_t width, const Json& items) {
        if (items.empty()) {
            line(indent, fmt::format("{:<{}}  (none)", name, width));
            return;
        }
        const auto known = itemNames().find(name);
        const std::string itemName = known != itemNames().end() ? known->second : name;
        const bool segments = isSegment(items.front());
        if (!segments) {
            line(indent, name);
        }
        const int inner = segments ? indent : indent + 2;
        for (size_t i = 0; i < items.size(); ++i) {
            const Json& item = items[i];
            const std::string heading = fmt::format("{} {}", itemName, i + 1);
            if (isSegment(item)) {
                segment(inner, heading, item);
            } else if (isTre(item)) {
                tre(inner, "", item);
            } else if (item.is_object()) {
                line(inner, heading);
                members(inner + 2, item);
            } else {
                member(inner, heading, 0, item);
            }
        }
    }

    std::string out_;
};

}  // namespace

std::string recordText(const RecordJson& record) {
    TextWriter writer;
    writer.members(0, record);
    return writer.take();
}

}  // namespace tessel_cli
