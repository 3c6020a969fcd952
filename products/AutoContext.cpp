#include "products/AutoContext.h"

#include <fmt/format.h>

#include <algorithm>
#include <boost/property_tree/json_parser.hpp>
#include <fstream>
#include <regex>
#include <sstream>
#include <system_error>

#include "tessel/platform/base/nitf_fs.h"
#include "tessel/platform/base/text.h"

namespace Tessel::detail_profiles {
namespace {

namespace fs = std::filesystem;

constexpr size_t maxProfileFileSize = 16U << 20;
constexpr size_t maxProfileDepth = 200;
constexpr size_t maxReferenceSteps = 64;
constexpr size_t maxVariableSteps = 1000;
constexpr size_t maxExpandedLength = 1U << 20;

// The parser descends once per level: deeper documents are refused before it sees them.
bool profileNestingWithin(const std::string& text, size_t limit, size_t& line) {
    size_t depth = 0;
    bool inString = false;
    line = 1;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '\n') {
            ++line;
        }
        if (inString) {
            if (c == '\\') {
                ++i;
            } else if (c == '"') {
                inString = false;
            }
        } else if (c == '"') {
            inString = true;
        } else if (c == '[' || c == '{') {
            if (++depth > limit) {
                return false;
            }
        } else if ((c == ']' || c == '}') && depth > 0) {
            --depth;
        }
    }
    return true;
}

std::string profileTreeAsJson(const Tree& node) {
    std::ostringstream out;
    boost::property_tree::write_json(out, node, false);
    std::string text = out.str();
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) {
        text.pop_back();
    }
    return text;
}

bool profileFileIsInside(const fs::path& file, const fs::path& folder) {
    std::error_code error;
    const fs::path realFile = fs::canonical(file, error);
    if (error) {
        return false;
    }
    const fs::path realFolder = fs::canonical(folder, error);
    if (error) {
        return false;
    }
    const auto mismatch =
        std::mismatch(realFolder.begin(), realFolder.end(), realFile.begin(), realFile.end());
    return mismatch.first == realFolder.end();
}

// The node that a pointer "/A/0/B" names below `root`, or null.
const Tree* profilePointTo(const Tree& root, std::string_view pointer, std::string& missing) {
    const Tree* node = &root;
    size_t start = 0;
    while (start < pointer.size()) {
        size_t end = pointer.find('/', start);
        if (end == std::string_view::npos) {
            end = pointer.size();
        }
        const std::string key(pointer.substr(start, end - start));
        start = end + 1;
        if (key.empty()) {
            continue;
        }
        const auto found = node->find(key);
        if (found != node->not_found()) {
            node = &found->second;
            continue;
        }
        const bool isIndex =
            std::all_of(key.begin(), key.end(), [](char c) { return c >= '0' && c <= '9'; });
        if (isIndex && key.size() < 9 && std::stoul(key) < node->size()) {
            auto it = node->begin();
            std::advance(it, static_cast<std::ptrdiff_t>(std::stoul(key)));
            node = &it->second;
            continue;
        }
        missing = key;
        return nullptr;
    }
    return node;
}

}  // namespace

std::shared_ptr<const Tree> parseProfileText(const std::string& text, std::string& failure) {
    if (text.empty()) {
        failure = "File does not exist or is empty.";
        return nullptr;
    }
    size_t line = 0;
    if (!profileNestingWithin(text, maxProfileDepth, line)) {
        failure = fmt::format("File does not contain valid JSON - Line {} - Message: {}.", line,
                              "nesting deeper than 200 levels");
        return nullptr;
    }
    auto tree = std::make_shared<Tree>();
    try {
        std::istringstream in(text);
        boost::property_tree::read_json(in, *tree);
    } catch (const boost::property_tree::json_parser_error& error) {
        failure = fmt::format("File does not contain valid JSON - Line {} - Message: {}.",
                              error.line(), error.message());
        return nullptr;
    }
    return tree;
}

std::shared_ptr<const Tree> readProfileTree(const fs::path& file, std::string& failure) {
    std::error_code error;
    const auto size = fs::file_size(file, error);
    if (error || size == 0) {
        failure = "File does not exist or is empty.";
        return nullptr;
    }
    if (size > maxProfileFileSize) {
        failure = "File is larger than 16 MiB.";
        return nullptr;
    }
    std::ifstream in(file, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    return parseProfileText(text, failure);
}

fs::path findInsideFolder(const char* folder, const std::string& name, std::string& failure) {
    const fs::path relative(name);
    if (name.empty()) {
        failure = "File not found ''";
        return {};
    }
    if (relative.has_root_path() || relative.is_absolute()) {
        failure = fmt::format("File name '{}' leads outside the folder {}", name, folder);
        return {};
    }
    for (const auto& part : relative) {
        if (part == "..") {
            failure = fmt::format("File name '{}' leads outside the folder {}", name, folder);
            return {};
        }
    }
    fs::path found = nitf_fs::findFile(folder, relative);
    if (found.empty()) {
        failure = fmt::format("File not found '{}'", name);
        return {};
    }
    for (const fs::path& root : nitf_fs::getConfigFolders(folder)) {
        if (profileFileIsInside(found, root)) {
            return found;
        }
    }
    failure = fmt::format("File name '{}' leads outside the folder {}", name, folder);
    return {};
}

AutoContext::AutoContext(LoadState& state, fs::path file, const std::shared_ptr<const Tree>& root)
    : AutoContext(state, std::move(file), root, root.get(), {}, {}) {}

AutoContext::AutoContext(LoadState& state, fs::path file, std::shared_ptr<const Tree> root,
                         const Tree* node, std::string trail, Variables variables)
    : state_(&state),
      file_(std::move(file)),
      root_(std::move(root)),
      node_(node),
      trail_(std::move(trail)),
      variables_(std::move(variables)) {
    if (node_ != nullptr) {
        followReferences();
    }
    if (node_ != nullptr) {
        pickUpVariables();
    }
}

void AutoContext::fail(std::string_view text) const {
    state_->messages->push_back(
        fmt::format("{}: {}", file_.filename().string() + "#/" + trail_, text));
}

void AutoContext::followReferences() {
    std::set<std::pair<fs::path, std::string>> seen;
    for (size_t step = 0;; ++step) {
        const auto ref = node_->find("ref");
        if (ref == node_->not_found()) {
            return;
        }
        if (step >= maxReferenceSteps) {
            fail("References nest deeper than 64 steps");
            node_ = nullptr;
            return;
        }
        if (!ref->second.empty()) {
            fail("Value is not a string");
            node_ = nullptr;
            return;
        }
        const std::string text = expand(ref->second.data());
        const size_t hash = text.find('#');
        std::string filePart = text.substr(0, hash);
        const std::string pointer =
            hash == std::string::npos ? std::string() : text.substr(hash + 1);
        filePart = std::regex_replace(filePart, std::regex("[.][.][\\\\/]"), "");
        fs::path targetFile = file_;
        std::shared_ptr<const Tree> targetRoot = root_;
        if (!filePart.empty()) {
            std::string failure;
            targetFile = findInsideFolder(ProfilesFolder, filePart, failure);
            if (targetFile.empty()) {
                fail(fmt::format("Reference '{}': {}", text, failure));
                node_ = nullptr;
                return;
            }
            auto& cached = state_->files[targetFile];
            if (!cached) {
                cached = readProfileTree(targetFile, failure);
            }
            if (!cached) {
                fail(fmt::format("Reference '{}': {}", text, failure));
                node_ = nullptr;
                return;
            }
            targetRoot = cached;
            // The variables of the other file's root hold for what is read from it.
            if (const auto variables = targetRoot->find("@Variables");
                variables != targetRoot->not_found()) {
                for (const auto& [name, value] : variables->second) {
                    if (value.empty()) {
                        variables_[name] = value.data();
                    }
                }
            }
        }
        if (!seen.emplace(targetFile, pointer).second) {
            fail(fmt::format("Circular reference '{}'", text));
            node_ = nullptr;
            return;
        }
        std::string missing;
        const Tree* target = profilePointTo(*targetRoot, pointer, missing);
        if (target == nullptr) {
            fail(fmt::format("Missing Node '{}' of reference '{}'", missing, text));
            node_ = nullptr;
            return;
        }
        auto merged = std::make_shared<Tree>(*target);
        for (const auto& [key, value] : *node_) {
            if (key == "ref") {
                continue;
            }
            // Keys are taken as they stand, the empty key included (no path parsing).
            if (auto existing = merged->find(key); existing != merged->not_found()) {
                existing->second = value;
            } else {
                merged->push_back(Tree::value_type(key, value));
            }
        }
        state_->made.push_back(merged);
        node_ = merged.get();
        file_ = targetFile;
        root_ = targetRoot;
    }
}

void AutoContext::pickUpVariables() {
    const auto found = node_->find("@Variables");
    if (found == node_->not_found()) {
        return;
    }
    for (const auto& [name, value] : found->second) {
        if (!value.empty()) {
            fail(fmt::format("Variable '{}' is not a string", name));
            continue;
        }
        variables_[name] = value.data();
    }
}

std::string AutoContext::expand(std::string text) const {
    size_t steps = 0;
    for (size_t at = text.find("@{"); at != std::string::npos; at = text.find("@{", at)) {
        const size_t close = text.find('}', at + 2);
        if (close == std::string::npos) {
            break;
        }
        const std::string name = text.substr(at + 2, close - at - 2);
        const auto found = variables_.find(name);
        if (found == variables_.end()) {
            fail(fmt::format("Missing Variable '{}'", name));
            return {};
        }
        if (++steps > maxVariableSteps || text.size() > maxExpandedLength) {
            fail(fmt::format("Variable '{}' does not stop expanding", name));
            return {};
        }
        text.replace(at, close - at + 1, found->second);
    }
    return text;
}

AutoContext AutoContext::child(std::string_view key, bool optional) const {
    const std::string trail = trail_.empty() ? std::string(key) : trail_ + "/" + std::string(key);
    if (node_ == nullptr) {
        if (!optional) {
            AutoContext(*state_, file_, root_, nullptr, trail, variables_).fail("Missing Node");
        }
        return {*state_, file_, root_, nullptr, trail, variables_};
    }
    const auto found = node_->find(std::string(key));
    if (found == node_->not_found()) {
        AutoContext missing(*state_, file_, root_, nullptr, trail, variables_);
        if (!optional) {
            missing.fail("Missing Node");
        }
        return missing;
    }
    return {*state_, file_, root_, &found->second, trail, variables_};
}

std::vector<std::pair<std::string, AutoContext>> AutoContext::children() const {
    std::vector<std::pair<std::string, AutoContext>> out;
    if (node_ == nullptr) {
        return out;
    }
    size_t index = 0;
    for (const auto& [key, value] : *node_) {
        const std::string label = key.empty() ? std::to_string(index) : key;
        ++index;
        if (key == "@Variables") {
            continue;
        }
        out.emplace_back(key,
                         AutoContext(*state_, file_, root_, &value,
                                     trail_.empty() ? label : trail_ + "/" + label, variables_));
    }
    return out;
}

bool AutoContext::has(std::string_view key) const {
    return node_ != nullptr && node_->find(std::string(key)) != node_->not_found();
}

std::string AutoContext::getString(bool allowTree) const {
    if (node_ == nullptr) {
        return {};
    }
    if (!node_->empty()) {
        if (!allowTree) {
            fail("Value is not a string");
            return {};
        }
        return profileTreeAsJson(*node_);
    }
    return expand(node_->data());
}

std::wstring AutoContext::getWideString(bool allowTree) const {
    return std::to_wstring(getString(allowTree));
}

any_type::value AutoContext::getValue(bool allowTree) const {
    if (node_ == nullptr) {
        return {};
    }
    return any_type::decode(getWideString(allowTree));
}

std::vector<std::wstring> AutoContext::getStringList() const {
    std::vector<std::wstring> list;
    if (node_ == nullptr) {
        return list;
    }
    if (node_->empty()) {
        list.push_back(getWideString());
        return list;
    }
    for (const auto& [key, element] : children()) {
        if (!key.empty()) {
            element.fail("Value is not a list element");
            continue;
        }
        list.push_back(element.getWideString());
    }
    return list;
}

bool AutoContext::checkKeys(std::initializer_list<std::string_view> allowed) const {
    if (node_ == nullptr) {
        return true;
    }
    bool known = true;
    for (const auto& [key, value] : *node_) {
        if (key == "@Variables" ||
            std::find(allowed.begin(), allowed.end(), key) != allowed.end()) {
            continue;
        }
        fail(fmt::format("Unknown key '{}'", key));
        known = false;
    }
    return known;
}

}  // namespace Tessel::detail_profiles
