#include "sensors/SupportData.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <string_view>

#include "tessel/file/NITFFileContext.h"

namespace VEXASensors::detail_support {

void failAndThrow(const FailSink& fail, const std::string& message) {
    if (fail) {
        fail(message);
    }
    throw already_logged();
}

double readNumber(const nlohmann::json& value, const FailSink& fail) {
    if (value.is_number()) {
        return value.get<double>();
    }
    if (!value.is_string()) {
        failAndThrow(fail, fmt::format("'{}' is not a number", value.dump()));
    }
    const std::string& text = value.get_ref<const std::string&>();
    if (text.empty()) {
        return 0.0;
    }
    std::string_view digits(text);
    if (digits.front() == '+') {
        digits.remove_prefix(1);
    }
    double result = 0.0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), result);
    if (error != std::errc() || end != digits.data() + digits.size() || digits.empty()) {
        failAndThrow(fail, fmt::format("'{}' is not a number", text));
    }
    return result;
}

std::string readText(const nlohmann::json& value) {
    return value.is_string() ? value.get<std::string>() : value.dump();
}

const nlohmann::json& memberOf(const nlohmann::json& object, const std::string& key,
                               const FailSink& fail) {
    if (!object.is_object()) {
        failAndThrow(fail,
                     fmt::format("Not an object ({}) looking for '{}'", object.type_name(), key));
    }
    const auto it = object.find(key);
    if (it == object.end()) {
        failAndThrow(fail, fmt::format("{} '{}' not found", "Key", key));
    }
    return *it;
}

namespace {

std::optional<std::string> documentMemberText(const nlohmann::json& document,
                                              const std::string& key) {
    if (!document.is_object()) {
        return std::nullopt;
    }
    const auto it = document.find(key);
    if (it == document.end()) {
        return std::nullopt;
    }
    return readText(*it);
}

std::string parameterText(std::optional<std::string> value, const std::string& key,
                          const FailSink& fail) {
    if (!value) {
        if (fail) {
            fail("Image parameter not found: " + key);
        }
        return "UNKNOWN";
    }
    std::erase(*value, '"');
    return *value;
}

// The counts stay at 1 when their text doesn't parse.
template <typename Source>
StateHeader headerFrom(const Source& source, const FailSink& fail) {
    const auto count = [&](const char* key) {
        const std::string value = imageParameter(source, key, fail);
        int32_t parsed = 1;
        const auto [end, error] =
            std::from_chars(value.data(), value.data() + value.size(), parsed);
        return error == std::errc() ? parsed : 1;
    };
    StateHeader header;
    header.IID2 = imageParameter(source, "IID2", fail);
    header.IDATIM = imageParameter(source, "IDATIM", fail);
    header.NROWS = count("NROWS");
    header.NCOLS = count("NCOLS");
    return header;
}

}  // namespace

std::string imageParameter(const nlohmann::json& document, const std::string& key,
                           const FailSink& fail) {
    return parameterText(documentMemberText(document, key), key, fail);
}

std::string imageParameter(const Tessel::NITFFileContext& file, const std::string& key,
                           const FailSink& fail) {
    return parameterText(imageField(file, key), key, fail);
}

StateHeader readHeader(const nlohmann::json& document, const FailSink& fail) {
    return headerFrom(document, fail);
}

StateHeader readHeader(const Tessel::NITFFileContext& file, const FailSink& fail) {
    return headerFrom(file, fail);
}

std::optional<std::string> imageField(const Tessel::NITFFileContext& file, const std::string& key) {
    // A fallback that no field holds tells a missing field from a blank one.
    const std::string missing(1, '\x01');
    std::string value = file.getPathString("/Image/" + key, missing);
    if (value == missing) {
        return std::nullopt;
    }
    return value;
}

bool fileHasTre(const Tessel::NITFFileContext& file, const std::string& name) {
    return !file.getPathString("/TRE/" + name + "/_exists", "").empty();
}

nlohmann::json treDocument(const Tessel::NITFFileContext& file, const std::string& name) {
    return nlohmann::json::parse(file.getPathString("/TRE/" + name + "/?JSON", ""), nullptr, false);
}

}  // namespace VEXASensors::detail_support
