// Metadata paths of a file: reads through the path language, "@Info" descriptions, the
// typed forms and the whole-file document.

#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include "tessel/file/NITFFile.h"
#include "tessel/file/NITFInfo.h"
#include "tessel/paths/PathWalker.h"
#include "tessel/platform/base/text.h"

namespace Tessel {
namespace {

constexpr std::string_view kInfoWord = "@Info";

std::string_view trimFormatName(std::string_view name) {
    constexpr std::string_view kBlanks = " \t\r\n";
    const size_t first = name.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return name.substr(first, name.find_last_not_of(kBlanks) - first + 1);
}

PathContext::FormatType formatOf(std::string_view name) {
    const std::string_view trimmed = trimFormatName(name);
    if (trimmed == "XML") {
        return PathContext::FormatXML;
    }
    if (trimmed == "JSON") {
        return PathContext::FormatJSON;
    }
    if (trimmed == "RAW") {
        return PathContext::FormatRaw;
    }
    return PathContext::FormatString;
}

// The description of the field that the part of the path before "@Info" names; a path
// that is nothing but the word describes nothing. A field without a description is the
// empty text, not the empty value, so the forms with a fallback give that text.
any_type::value describeField(std::string_view path, size_t word) {
    const std::string_view rest = path.substr(0, word);
    if (rest.empty()) {
        return {};
    }
    return NITFInfo::get().readJSON(NITFInfo::getInfoPath(rest));
}

std::string doubleText(double value) {
    char text[512];
    std::snprintf(text, sizeof text, "%f", value);
    return text;
}

// Every alternative as narrow text; nothing for the empty value.
std::optional<std::string> textOf(const any_type::value& value) {
    switch (value.index()) {
        case any_type::tag_bool:
            return std::to_string(std::get<bool>(value));
        case any_type::tag_int:
            return std::to_string(std::get<int64_t>(value));
        case any_type::tag_double:
            return doubleText(std::get<double>(value));
        case any_type::tag_string:
            return std::get<std::string>(value);
        case any_type::tag_wstring:
            return std::to_string(std::get<std::wstring>(value));
        case any_type::tag_date:
            return std::to_string(std::get<nitf_date>(value));
        default:
            return std::nullopt;
    }
}

}  // namespace

std::string NITFFile::getISD(const std::string_view& format) const {
    const PathContext::FormatType type = formatOf(format);
    const auto lock = d_->lockRecord();
    if (d_->getRecord() == nullptr) {
        return {};
    }
    NITFMessages messages;  // a whole-file dump reports nothing to its caller
    std::vector<std::string> noComponents;
    NITFPathInternal::Node root = NITFPathInternal::startNode(*d_, 0, noComponents, messages);
    switch (type) {
        case PathContext::FormatXML:
            return NITFPathInternal::renderXML(root, messages, {}, "NITF");
        case PathContext::FormatJSON:
            return NITFPathInternal::renderJSON(root, std::numeric_limits<double>::max(), messages,
                                                {});
        default:
            return NITFPathInternal::renderText(root, type == PathContext::FormatRaw, messages, {});
    }
}

bool NITFFile::setISD(const std::string_view& text, NITFMessages& messages) {
    if (d_->isReadOnly()) {
        return false;
    }
    const auto lock = d_->lockRecord();
    return d_->SetByPath("/", std::string(text), PathContext::FormatJSON, messages);
}

any_type::value NITFFile::getPath(int image, const std::string_view& path) const {
    const auto lock = d_->lockRecord();
    if (path.size() >= kInfoWord.size()) {
        if (const size_t word = path.find(kInfoWord); word != std::string_view::npos) {
            return describeField(path, word);
        }
    }
    NITFMessages messages;  // a path that isn't there is silent for callers
    return d_->GetByPathAsVariant(image, path, messages);
}

any_type::value NITFFile::getPath(int image, const std::string_view& path,
                                  const any_type::value& fallback) const {
    any_type::value value = getPath(image, path);
    if (value.index() == any_type::tag_empty) {
        return fallback;
    }
    return value;
}

std::string NITFFile::getPathString(int image, const std::string_view& path,
                                    const std::string& fallback) const {
    return textOf(getPath(image, path)).value_or(fallback);
}

std::wstring NITFFile::getPathString(int image, const std::wstring_view& path,
                                     const std::wstring& fallback) const {
    const std::optional<std::string> text = textOf(getPath(image, std::to_string(path)));
    return text ? std::to_wstring(*text) : fallback;
}

int64_t NITFFile::getPathInt(int image, const std::string_view& path, int64_t fallback) const {
    return any_type::to_integer(getPath(image, path)).value_or(fallback);
}

int64_t NITFFile::getPathInt(int image, const std::wstring_view& path, int64_t fallback) const {
    return getPathInt(image, std::string_view(std::to_string(path)), fallback);
}

double NITFFile::getPathDouble(int image, const std::string_view& path, double fallback) const {
    return any_type::to_double(getPath(image, path)).value_or(fallback);
}

// Writes start at the root: the image index has no part in them.
bool NITFFile::setPath(int /*image*/, const std::string_view& path, const std::string& value,
                       NITFMessages& messages) const {
    if (d_->isReadOnly()) {
        return false;
    }
    const auto lock = d_->lockRecord();
    return d_->SetByPath(std::string(path), value, PathContext::FormatJSON, messages);
}

bool NITFFile::setPathAsString(int /*image*/, const std::string_view& path,
                               const std::string& value, NITFMessages& messages) const {
    if (d_->isReadOnly()) {
        return false;
    }
    const auto lock = d_->lockRecord();
    return d_->SetByPath(std::string(path), value, PathContext::FormatString, messages);
}

}  // namespace Tessel
