#include "tessel/products/Products.h"

#include "tessel/platform/base/text.h"

namespace Tessel::Products {
namespace {

constexpr std::pair<LayerDisposition::Flag, std::string_view> dispositionWords[] = {
    {LayerDisposition::Hidden, "Hidden"},
    {LayerDisposition::TOC, "TOC"},
    {LayerDisposition::Menu, "Menu"},
    {LayerDisposition::Catalog, "Catalog"},
};

uint8_t dispositionBits(std::string_view words) {
    uint8_t bits = 0;
    size_t start = 0;
    while (start <= words.size()) {
        size_t end = words.find('|', start);
        if (end == std::string_view::npos) {
            end = words.size();
        }
        const std::string_view piece = words.substr(start, end - start);
        for (const auto& [flag, word] : dispositionWords) {
            if (piece == word) {
                bits |= flag;
            }
        }
        start = end + 1;
    }
    return bits;
}

template <typename Value>
bool samePairs(const std::vector<std::pair<Value, Value>>& a,
               const std::vector<std::pair<Value, Value>>& b) {
    if (a.size() != b.size()) {
        return false;
    }
    for (size_t i = 0; i < a.size(); ++i) {
        if (!(a[i].first == b[i].first) || !(a[i].second == b[i].second)) {
            return false;
        }
    }
    return true;
}

}  // namespace

LayerType ToLayerType(std::string_view word) {
    if (word == "Image") {
        return Image;
    }
    if (word == "Feature") {
        return Feature;
    }
    if (word == "Table") {
        return Table;
    }
    if (word == "ScreenOverlay") {
        return ScreenOverlay;
    }
    return None;
}

LayerType ToLayerTypeW(std::wstring_view word) {
    return ToLayerType(std::to_string(word));
}

std::ostream& operator<<(std::ostream& out, LayerType type) {
    return out << (type == Image ? "Image" : type == Feature ? "Feature" : "None");
}

std::wostream& operator<<(std::wostream& out, LayerType type) {
    return out << (type == Image ? L"Image" : type == Feature ? L"Feature" : L"None");
}

LayerDisposition::LayerDisposition(bool hidden, bool toc, bool menu, bool catalog)
    : bits_(static_cast<uint8_t>((hidden ? Hidden : 0) | (toc ? TOC : 0) | (menu ? Menu : 0) |
                                 (catalog ? Catalog : 0))) {}

LayerDisposition::LayerDisposition(std::string_view words) : bits_(dispositionBits(words)) {}

LayerDisposition::LayerDisposition(std::wstring_view words)
    : bits_(dispositionBits(std::to_string(words))) {}

LayerDisposition::operator std::string() const {
    std::string text;
    for (const auto& [flag, word] : dispositionWords) {
        if ((bits_ & flag) != 0) {
            text += (text.empty() ? "" : "|") + std::string(word);
        }
    }
    return text;
}

LayerDisposition::operator std::wstring() const {
    return std::to_wstring(static_cast<std::string>(*this));
}

bool LayerDisposition::operator==(const LayerDisposition& other) const {
    return (bits_ & 0x0F) == (other.bits_ & 0x0F);
}

bool LayerDisposition::contains(const LayerDisposition& other) const {
    return (bits_ & other.bits_ & 0x0F) != 0;
}

std::ostream& operator<<(std::ostream& out, const LayerDisposition& disposition) {
    return out << static_cast<std::string>(disposition);
}

std::wostream& operator<<(std::wostream& out, const LayerDisposition& disposition) {
    return out << static_cast<std::wstring>(disposition);
}

Source::Source(std::wstring_view sourcePath) : path(sourcePath) {}

Source::Source(std::wstring_view sourcePath, std::wstring_view content, Arguments values)
    : path(sourcePath), templateContent(content), arguments(std::move(values)) {}

bool Source::hasArgument(std::wstring_view name) const {
    return arguments.find(name) != arguments.end();
}

bool Source::getArgumentValue(std::wstring_view name, std::wstring& out) const {
    const auto found = arguments.find(name);
    if (found == arguments.end()) {
        return false;
    }
    out = found->second;
    return true;
}

bool Source::operator==(const Source& other) const {
    return path == other.path && templateContent == other.templateContent &&
           arguments == other.arguments;
}

bool PropertySource::operator==(const PropertySource& other) const {
    return path == other.path && samePairs(map, other.map) && notSet == other.notSet;
}

bool PropertyDefinition::operator==(const PropertyDefinition& other) const {
    return aliases == other.aliases && sources == other.sources &&
           defaultValue == other.defaultValue;
}

}  // namespace Tessel::Products
