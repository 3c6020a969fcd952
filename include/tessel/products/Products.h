#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// The vocabulary of products: layer types and dispositions, data sources, property
// definitions and match rules, and the templates of layer, mosaic item and mosaic
// definitions. A profile holds the definition forms (every string still a template); a
// product holds the value forms.

#include <cstdint>
#include <map>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tessel/core/any_type.h"

namespace Tessel::Products {

enum LayerType : int32_t {
    None = 0,
    Image = 1,
    Feature = 2,
    Table = 3,
    // 4 is not assigned.
    ScreenOverlay = 5,
};

// "Image", "Feature", "Table" and "ScreenOverlay", case sensitive; anything else is None.
LayerType ToLayerType(std::string_view word);
LayerType ToLayerTypeW(std::wstring_view word);
// "Image", "Feature", and "None" for every other value (Table and ScreenOverlay too).
std::ostream& operator<<(std::ostream& out, LayerType type);
std::wostream& operator<<(std::wostream& out, LayerType type);

// Where a layer shows: four flags in the low bits of one byte.
class LayerDisposition {
public:
    enum Flag : uint8_t { Hidden = 1, TOC = 2, Menu = 4, Catalog = 8 };

    LayerDisposition() = default;
    LayerDisposition(bool hidden, bool toc, bool menu, bool catalog);
    // Words joined by "|": "Hidden", "TOC", "Menu", "Catalog"; other pieces are ignored.
    explicit LayerDisposition(std::string_view words);
    explicit LayerDisposition(std::wstring_view words);

    bool hidden() const { return (bits_ & Hidden) != 0; }
    bool toc() const { return (bits_ & TOC) != 0; }
    bool menu() const { return (bits_ & Menu) != 0; }
    bool catalog() const { return (bits_ & Catalog) != 0; }
    uint8_t bits() const { return bits_; }

    // The words of the set flags in bit order joined by "|"; empty when none is set.
    explicit operator std::string() const;
    explicit operator std::wstring() const;

    // Compares the four flags.
    bool operator==(const LayerDisposition& other) const;
    // Whether a flag set in `other` is set here too: nothing contains an empty disposition.
    bool contains(const LayerDisposition& other) const;

private:
    uint8_t bits_ = 0;
};

std::ostream& operator<<(std::ostream& out, const LayerDisposition& disposition);
std::wostream& operator<<(std::wostream& out, const LayerDisposition& disposition);

// Where a layer's data comes from: a source path template, or the content of a raster
// function template with its arguments.
class Source {
public:
    using Arguments = std::map<std::wstring, std::wstring, std::less<>>;

    Source() = default;
    explicit Source(std::wstring_view sourcePath);
    Source(std::wstring_view sourcePath, std::wstring_view content, Arguments values);

    bool specifiesPath() const { return !path.empty(); }
    bool specifiesTemplate() const { return !templateContent.empty(); }
    bool isValid() const { return specifiesPath() || specifiesTemplate(); }
    bool hasArgument(std::wstring_view name) const;
    // Copies the value to `out`; false, with `out` untouched, when there is no such argument.
    bool getArgumentValue(std::wstring_view name, std::wstring& out) const;

    bool operator==(const Source& other) const;

    std::wstring path;
    std::wstring templateContent;
    Arguments arguments;
};

// One way to get a value: a template, a translation table of [from, to] pairs, and the value
// that counts as not set.
struct PropertySource {
    std::wstring path;
    std::vector<std::pair<any_type::value, any_type::value>> map;
    any_type::value notSet;

    bool operator==(const PropertySource& other) const;
};

// A property: its aliases, its sources (the first that yields a value wins), its default.
struct PropertyDefinition {
    std::vector<std::wstring> aliases;
    std::vector<PropertySource> sources;
    any_type::value defaultValue;

    bool operator==(const PropertyDefinition& other) const;
};

// A test of a file: a property, an operator ("Equals", "NotEqual", "StartsWith",
// "EndsWith") and the texts to compare with.
struct MatchRule {
    PropertyDefinition property;
    std::string op;
    std::vector<std::wstring> values;
};

using PropertyDefinitions = std::map<std::wstring, PropertyDefinition, std::less<>>;
using PropertyValues = std::map<std::wstring, any_type::value, std::less<>>;

// A layer. DisplayLevel 65535 means "not given"; in the definition form the text of
// DisplayLevelTemplate comes in its place.
template <typename Map>
struct LayerDefinitionT {
    LayerType Type = None;
    std::wstring Key;
    std::vector<std::wstring> Aliases;
    std::wstring Title;
    uint16_t DisplayLevel = 65535;
    std::wstring DisplayLevelTemplate;
    std::wstring MapDoc;
    Products::Source Source;
    LayerDisposition Disposition;
    std::vector<MatchRule> Match;  // definition form only
    Map Properties;
    std::vector<Map> Bands;
};

// One item of a mosaic.
template <typename Map>
struct ItemURIT {
    std::wstring Path;
    std::wstring Key;
    std::wstring Tag;
    std::wstring Group;
    std::wstring DisplayName;
    std::wstring ProductName;
    // The template as wide text in the definition form, a date in the value form.
    any_type::value SourceTimeStamp;
    Map Properties;
};

template <typename Map>
struct MosaicDefinitionT {
    std::vector<ItemURIT<Map>> ItemURIs;
    std::wstring Footprint;
    std::wstring ProcessingTemplate;
    Map Variables;
    Map Properties;
    std::vector<MatchRule> Match;  // definition form only
};

using LayerDefinition = LayerDefinitionT<PropertyDefinitions>;
using Layer = LayerDefinitionT<PropertyValues>;
using ItemURIDefinition = ItemURIT<PropertyDefinitions>;
using ItemURI = ItemURIT<PropertyValues>;
using MosaicDefinition = MosaicDefinitionT<PropertyDefinitions>;
using Mosaic = MosaicDefinitionT<PropertyValues>;

}  // namespace Tessel::Products

TESSEL_PUBLIC_END
