#include "tessel/products/NITFProductProfile.h"

#include <chrono>
#include <ctime>
#include <filesystem>

#include "tessel/file/NITFFileContext.h"
#include "tessel/paths/PathComponents.h"
#include "tessel/paths/PathFunctionFactory.h"
#include "tessel/paths/PathWalker.h"
#include "tessel/platform/base/nitf_fs.h"
#include "tessel/platform/base/text.h"
#include "tessel/products/NITFProductDefaultProfile.h"
#include "tessel/products/Substitution.h"

namespace Tessel {
namespace {

using ComputeContext = NITFProductProfile::ComputeContext;

// The file's last write time as a date; empty when the file isn't there.
any_type::value profileModifiedTime(const NITFURI& uri) {
    const nitf_fs::ext::status_info status = nitf_fs::ext::status(uri.nativePath());
    if (!status.exists()) {
        return {};
    }
    const auto system = std::chrono::file_clock::to_sys(status.last_write());
    const std::time_t seconds = std::chrono::system_clock::to_time_t(
        std::chrono::time_point_cast<std::chrono::system_clock::duration>(system));
    std::tm parts{};
    if (gmtime_r(&seconds, &parts) == nullptr) {
        return {};
    }
    return nitf_date(parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour,
                     parts.tm_min, parts.tm_sec);
}

std::string profileReplaceAll(std::string text, std::string_view what, const std::string& with) {
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at)) {
        text.replace(at, what.size(), with);
        at += with.size();
    }
    return text;
}

bool profileEndsWith(std::string_view text, std::string_view suffix) {
    return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

const char* profileFormatWord(PathContext::FormatType format) {
    switch (format) {
        case PathContext::FormatXML:
            return "XML";
        case PathContext::FormatJSON:
            return "JSON";
        case PathContext::FormatRaw:
            return "RAW";
        default:
            return nullptr;
    }
}

// The value of a path before the post-processor refines it.
any_type::value profileBaseValue(const PathComponents& components, const ComputeContext& context) {
    const std::string& path = components.path;
    const std::filesystem::path native = context.uri.nativePath();
    if (path == "uri.modifiedDateTime") {
        return profileModifiedTime(context.uri);
    }
    if (path == "uri.root_name") {
        return native.root_name().wstring();
    }
    if (path == "uri.relative_path") {
        return native.relative_path().wstring();
    }
    if (path == "uri.parent_path") {
        return native.parent_path().wstring();
    }
    if (path == "uri.stem") {
        return native.stem().wstring();
    }
    if (path == "uri.extension") {
        return native.extension().wstring();
    }
    if (path == "uri.file_name") {
        return native.filename().wstring();
    }
    if (path == "uri.path") {
        return native.wstring();
    }
    if (path == "uri.profile") {
        return std::wstring(context.uri.profile_name());
    }
    if (path == "uri.object") {
        return std::wstring(context.uri.object_name());
    }
    if (profileEndsWith(path, "/ConnectionString")) {
        if (context.fileContext == nullptr) {
            return {};
        }
        try {
            return NITFProductDefaultProfile::MakeFeatureConnectionString(*context.fileContext,
                                                                          std::to_wstring(path));
        } catch (const std::exception&) {
            return {};  // shape data that can't be read give no value
        }
    }
    if (profileEndsWith(path, "/Exists")) {
        if (context.fileContext == nullptr) {
            return {};
        }
        return NITFProductDefaultProfile::CheckForFeatureDefinition(*context.fileContext,
                                                                    std::to_wstring(path));
    }
    if (path.rfind("/Product", 0) == 0) {
        if (!context.evaluator) {
            return {};
        }
        return context.evaluator(std::string_view(path).substr(8), context);
    }
    if (path == "%i+1") {
        return std::to_wstring(context.imageIndex + 1);
    }
    if (path == "%i") {
        return std::to_wstring(context.imageIndex);
    }
    if (path == "%b") {
        return std::to_wstring(context.bandIndex);
    }
    if (context.fileContext == nullptr) {
        return {};
    }
    std::string query = profileReplaceAll(path, "%i", std::to_string(context.imageIndex));
    query = profileReplaceAll(std::move(query), "%b", std::to_string(context.bandIndex));
    if (const char* word = profileFormatWord(components.format)) {
        query += std::string("?") + word;
    }
    return context.fileContext->getPathWString(std::to_wstring(query), std::wstring());
}

any_type::value profileExpression(std::string_view expression, const ComputeContext& context) {
    if (!expression.empty() && expression.front() == ':') {
        const std::vector<std::string> pieces = NITFPathInternal::splitItems(expression, ':');
        if (pieces.size() != 2) {
            return {};
        }
        return PathFunctionFactory::executePathFunction(pieces[0], pieces[1], context);
    }
    const PathComponents components = PathComponents::parse(expression);
    return components.postProcess(profileBaseValue(components, context));
}

}  // namespace

const std::wstring NITFProductProfile::DefaultObjectName = L"Primary";
const std::wstring NITFProductProfile::DefaultProfileName = L"Generic";

NITFProductProfile::~NITFProductProfile() = default;

void NITFProductProfile::ProcessImageSegment(int /*index*/, const NITFFileContext& /*context*/,
                                             std::vector<Products::Layer>& /*layers*/,
                                             NITFMessages& /*messages*/,
                                             const ProfileEvalHooks& /*hooks*/) {}

void NITFProductProfile::ProcessFeatureSegment(int /*index*/, const NITFFileContext& /*context*/,
                                               std::vector<Products::Layer>& /*layers*/,
                                               NITFMessages& /*messages*/,
                                               const ProfileEvalHooks& /*hooks*/) {}

void NITFProductProfile::ProcessTables(const NITFFileContext& /*context*/, int& /*tableIndex*/,
                                       std::vector<Products::Layer>& /*layers*/,
                                       NITFMessages& /*messages*/,
                                       const ProfileEvalHooks& /*hooks*/) {}

any_type::value NITFProductProfile::getPropertyValue(std::string_view /*path*/,
                                                     const ComputeContext& /*context*/) const {
    return {};
}

any_type::value NITFProductProfile::ComputeIsdValue(const ComputeContext& context,
                                                    std::wstring_view templateText,
                                                    const Encoder& encoder) {
    size_t open = templateText.find(L'$');
    if (open == std::wstring_view::npos) {
        return std::wstring(templateText);
    }
    std::wstring out(templateText.substr(0, open));
    while (open != std::wstring_view::npos) {
        const size_t close = templateText.find(L'$', open + 1);
        if (close == std::wstring_view::npos) {
            // Not an expression: the rest stands as it is.
            out += templateText.substr(open);
            break;
        }
        const std::string expression =
            std::to_string(templateText.substr(open + 1, close - open - 1));
        any_type::value result = profileExpression(expression, context);
        if (encoder) {
            if (const auto* text = std::get_if<std::wstring>(&result)) {
                result = encoder(expression, *text);
            }
        }
        if (close + 1 == templateText.size() && out.empty()) {
            return result;
        }
        out += Products::valueText(result);
        open = templateText.find(L'$', close + 1);
        out +=
            templateText.substr(close + 1, open == std::wstring_view::npos ? std::wstring_view::npos
                                                                           : open - close - 1);
    }
    return out;
}

}  // namespace Tessel
