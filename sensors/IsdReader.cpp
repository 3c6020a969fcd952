#include "tessel/sensors/IsdReader.h"

#include <fmt/format.h>

#include "tessel/file/NITFFileContext.h"
#include "tessel/sensors/Coordinates.h"

namespace VEXASensors {

void sendPluginWarning(csm::WarningList* warnings, csm::Warning::WarningType type,
                       const std::string& pluginName, const std::string& second,
                       const std::string& text, const std::string& label) {
    if (warnings == nullptr) {
        return;
    }
    const std::string& middle = second.empty() ? std::string("UNKNOWN") : second;
    warnings->push_back(csm::Warning(type, "[" + pluginName + "::" + middle + "] " + text, label));
}

IsdReader::IsdReader(const IsdReader* parent, csm::WarningList* warnings, std::string pluginName,
                     std::string modelName, std::string name)
    : parent_(parent),
      warnings_(warnings),
      plugin_(std::move(pluginName)),
      model_(std::move(modelName)),
      name_(std::move(name)) {}

IsdReader::~IsdReader() = default;

std::string IsdReader::label() const {
    if (parent_ == nullptr) {
        return name_;
    }
    return parent_->label() + "::" + name_;
}

void IsdReader::fail(const std::string& message) const {
    sendPluginWarning(warnings_, csm::Warning::DATA_NOT_AVAILABLE, plugin_, model_, message,
                      label());
}

std::string IsdReader::imageParameter(const std::string& key) const {
    std::string text;
    if (!rawImageParameter(key, text)) {
        fail("Image parameter not found: " + key);
        return "UNKNOWN";
    }
    std::erase(text, '"');
    return text;
}

DocumentReader::DocumentReader(const IsdReader* parent, csm::WarningList* warnings,
                               std::string pluginName, std::string modelName, std::string name,
                               const nlohmann::json* value)
    : IsdReader(parent, warnings, std::move(pluginName), std::move(modelName), std::move(name)),
      value_(value) {}

DocumentReader::Lookup DocumentReader::find(const std::string& key) const {
    Lookup result;
    if (value_ == nullptr || !value_->is_object()) {
        return result;
    }
    result.isObject = true;
    const auto it = value_->find(key);
    if (it != value_->end()) {
        result.exists = true;
        result.value = &*it;
    }
    return result;
}

const nlohmann::json& DocumentReader::member(const std::string& key,
                                             const std::string& word) const {
    const Lookup found = find(key);
    if (!found.isObject) {
        const char* type = value_ == nullptr ? "null" : value_->type_name();
        fail(fmt::format("Not an object ({}) looking for '{}'", type, key));
        throw already_logged();
    }
    if (!found.exists) {
        fail(fmt::format("{} '{}' not found", word, key));
        throw already_logged();
    }
    return *found.value;
}

bool DocumentReader::rawImageParameter(const std::string& key, std::string& text) const {
    const Lookup found = find(key);
    if (!found.exists) {
        return false;
    }
    text = found.value->is_string() ? found.value->get<std::string>() : found.value->dump();
    return true;
}

bool DocumentReader::hasTre(const std::string& name) const {
    return find(name).exists;
}

DocumentReader DocumentReader::tre(const std::string& name) const {
    return DocumentReader(this, warnings(), pluginName(), modelName(), "TRE", &member(name));
}

NitfReader::NitfReader(const IsdReader* parent, csm::WarningList* warnings, std::string pluginName,
                       std::string modelName, std::string name, const Tessel::NITFFileContext* file)
    : IsdReader(parent, warnings, std::move(pluginName), std::move(modelName), std::move(name)),
      file_(file) {}

bool NitfReader::rawImageParameter(const std::string& key, std::string& text) const {
    // A fallback that no field holds tells a missing field from a blank one.
    const std::string missing(1, '\x01');
    text = file_->getPathString("/Image/" + key, missing);
    return text != missing;
}

bool NitfReader::hasTre(const std::string& name) const {
    return !file_->getPathString("/TRE/" + name + "/_exists", "").empty();
}

DocumentReader NitfReader::tre(const std::string& name) const {
    auto parsed = std::make_shared<const nlohmann::json>(
        nlohmann::json::parse(file_->getPathString("/TRE/" + name + "/?JSON", ""), nullptr, false));
    DocumentReader child(this, warnings(), pluginName(), modelName(), "TRE", parsed.get());
    child.owned_ = std::move(parsed);
    return child;
}

}  // namespace VEXASensors
