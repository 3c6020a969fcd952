#pragma once
// A read position in a product profile file. Scalars are text (the property tree's JSON
// parser keeps them so) and arrays are nodes with empty keys. A position follows "ref"
// references before anything is read, picks up "@Variables" for everything under it, and
// expands "@{Name}" in every string it reads. Failed reads append "{trail}: {text}" to the
// sink and give a default.

#include <boost/property_tree/ptree.hpp>
#include <filesystem>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tessel/core/NITFMessages.h"
#include "tessel/core/any_type.h"

namespace Tessel::detail_profiles {

using Tree = boost::property_tree::ptree;

// The folder, under each configuration root, of profile files; references name files there.
inline constexpr const char* ProfilesFolder = "Resources/Raster/NITF/Profiles";
inline constexpr const char* FunctionsFolder = "Resources/Raster/NITF/Functions";

// Reads and parses a profile file. A missing or empty file, one too large, too deeply nested
// or not JSON gives a message (the first two "File does not exist or is empty.") and null.
std::shared_ptr<const Tree> readProfileTree(const std::filesystem::path& file,
                                            std::string& failure);
// Parses profile text as readProfileTree does.
std::shared_ptr<const Tree> parseProfileText(const std::string& text, std::string& failure);

// A file found by name in the configuration folders of `folder`; empty, with the reason,
// when the name is absolute, or the file is missing or lies (through links) outside every
// such folder.
std::filesystem::path findInsideFolder(const char* folder, const std::string& name,
                                       std::string& failure);

// What one load shares: the sink, the files read for references, and the trees that
// merging made.
struct LoadState {
    NITFMessages* messages = nullptr;
    std::map<std::filesystem::path, std::shared_ptr<const Tree>> files;
    std::vector<std::shared_ptr<Tree>> made;
};

class AutoContext {
public:
    using Variables = std::map<std::string, std::string, std::less<>>;

    // The root of a file's tree.
    AutoContext(LoadState& state, std::filesystem::path file,
                const std::shared_ptr<const Tree>& root);

    // The child `key`: "Missing Node" when it isn't there and isn't optional; an empty
    // position when it is optional.
    AutoContext child(std::string_view key, bool optional = false) const;
    // The children in order, with their keys (empty for array elements).
    std::vector<std::pair<std::string, AutoContext>> children() const;

    bool exists() const { return node_ != nullptr; }
    bool hasChildren() const { return node_ != nullptr && !node_->empty(); }
    bool has(std::string_view key) const;

    // Scalar text with variables expanded; a node with children fails with "Value is not a
    // string" unless `allowTree`, and then gives the node as JSON.
    std::string getString(bool allowTree = false) const;
    std::wstring getWideString(bool allowTree = false) const;
    // Wide text decoded into a value: "12" an integer, "true" a bool.
    any_type::value getValue(bool allowTree = false) const;
    // An array of strings, or one string as a list of one.
    std::vector<std::wstring> getStringList() const;

    // Reports "Unknown key '{}'" for each key not in `allowed`; whether all were known.
    bool checkKeys(std::initializer_list<std::string_view> allowed) const;

    // Appends "{trail}: {text}".
    void fail(std::string_view text) const;
    const std::string& trail() const { return trail_; }
    const std::filesystem::path& file() const { return file_; }
    NITFMessages& messages() const { return *state_->messages; }

private:
    AutoContext(LoadState& state, std::filesystem::path file, std::shared_ptr<const Tree> root,
                const Tree* node, std::string trail, Variables variables);
    void followReferences();
    void pickUpVariables();
    std::string expand(std::string text) const;

    LoadState* state_;
    std::filesystem::path file_;
    std::shared_ptr<const Tree> root_;
    const Tree* node_;
    std::string trail_;
    Variables variables_;
};

}  // namespace Tessel::detail_profiles
