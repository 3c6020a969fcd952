#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// One CSM plug-in per model family, all made from this template: `VerifyIsd` decides whether
// support data can yield a model, `ConstructModel` builds it. The template holds the whole
// protocol with CSM clients: which data sources are acceptable, the enable option that
// silences a family, and the wording of every warning. Nothing throws to a client.

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tessel/core/Option.h"
#include "tessel/csm/Plugin.h"
#include "tessel/file/NITFFileContext.h"
#include "tessel/sensors/Coordinates.h"
#include "tessel/sensors/IsdReader.h"

namespace VEXASensors {

namespace detail {

// What an operation works with: the plug-in's names, the caller's list and its label.
struct PluginCall {
    const std::string& pluginName;
    csm::WarningList* warnings;
    std::string label;
};

void warnPlugin(const PluginCall& call, const std::string& second, const std::string& text,
                const std::string& label);
// The build date as YYYYMMDD, computed once.
const std::string& pluginReleaseDate();
csm::Version configuredModelVersion();
void logModelsEnabled(const std::string& pluginName, const nitf_config::option<bool>& enable);

// The support data behind an ISD: a parsed JSON document or an open file.
struct IsdSource {
    std::optional<nlohmann::json> document;
    std::optional<Tessel::NITFFileContext> file;
};
// Checks the model name and the ISD's kind, then opens or parses its file; nothing after a
// warning.
std::optional<IsdSource> openIsdSource(const PluginCall& call,
                                       const std::vector<const std::string*>& models,
                                       const csm::Isd& isd, const std::string& modelName);
// Checks a state against the requested name and parses its document; nothing after a
// warning.
std::optional<nlohmann::json> parseStateDocument(const PluginCall& call,
                                                 const std::vector<const std::string*>& models,
                                                 const std::string& requested,
                                                 const std::string& state);
bool listsModel(const std::vector<const std::string*>& models, const std::string& name);

// Runs `body` so that nothing escapes: already_logged ends quietly, an exception becomes a
// warning under "<label>::Exception".
template <typename Result, typename Body>
Result guardPluginCall(const PluginCall& call, const std::string& second, const char* generic,
                       Body&& body) {
    try {
        return body();
    } catch (const already_logged&) {
        return Result{};
    } catch (const std::exception& e) {
        warnPlugin(call, second, e.what(), call.label + "::Exception");
    } catch (...) {
        warnPlugin(call, second, generic, call.label + "::Exception");
    }
    return Result{};
}

}  // namespace detail

template <typename VerifyIsd, typename ConstructModel>
class Plugin : public csm::Plugin {
public:
    // `models` point at the global names that the models use too, so both always agree.
    Plugin(nitf_config::option<bool>* enable, std::string name,
           std::vector<const std::string*> models)
        : enable_(enable), name_(std::move(name)), models_(std::move(models)) {}

    std::string getPluginName() const override { return name_; }
    std::string getManufacturer() const override { return "Vexa"; }
    std::string getReleaseDate() const override { return detail::pluginReleaseDate(); }
    csm::Version getCsmVersion() const override { return csm::Version(3, 1, 0); }

    size_t getNumModels() const override {
        const bool enabled = isEnabled();
        detail::logModelsEnabled(name_, *enable_);
        return enabled ? models_.size() : 0;
    }
    std::string getModelName(size_t modelIndex) const override {
        if (!isEnabled() || modelIndex >= models_.size()) {
            return "";
        }
        return *models_[modelIndex];
    }
    std::string getModelFamily(size_t /*modelIndex*/) const override {
        return isEnabled() ? "GeometricRaster" : "";
    }
    csm::Version getModelVersion(const std::string& /*modelName*/) const override {
        return isEnabled() ? detail::configuredModelVersion() : csm::Version(0, 0, 0);
    }

    bool canModelBeConstructedFromState(const std::string& modelName, const std::string& modelState,
                                        csm::WarningList* warnings = nullptr) const override {
        if (!isEnabled()) {
            return false;
        }
        const detail::PluginCall call{name_, warnings, "CanConstructFromState"};
        if (!detail::listsModel(models_, modelName)) {
            detail::warnPlugin(call, "UNKNOWN", "Model name not supported: " + modelName,
                               call.label + "::ModelName");
            return false;
        }
        return fromState<bool>(call, modelName, modelState,
                               [](const DocumentReader& reader) { return VerifyIsd{}(reader); });
    }

    bool canModelBeConstructedFromISD(const csm::Isd& imageSupportData,
                                      const std::string& modelName,
                                      csm::WarningList* warnings = nullptr) const override {
        if (!isEnabled()) {
            return false;
        }
        const detail::PluginCall call{name_, warnings, "CanConstructFromISD"};
        return fromIsd<bool>(call, imageSupportData, modelName,
                             [](const auto& reader) { return VerifyIsd{}(reader); });
    }

    csm::Model* constructModelFromState(const std::string& modelState,
                                        csm::WarningList* warnings = nullptr) const override {
        if (!isEnabled()) {
            return nullptr;
        }
        const std::string modelName = getModelNameFromModelState(modelState, warnings);
        const detail::PluginCall call{name_, warnings, "ConstructFromState"};
        return fromState<csm::Model*>(
            call, modelName, modelState,
            [](const DocumentReader& reader) { return ConstructModel{}(reader); });
    }

    csm::Model* constructModelFromISD(const csm::Isd& imageSupportData,
                                      const std::string& modelName,
                                      csm::WarningList* warnings = nullptr) const override {
        if (!isEnabled()) {
            return nullptr;
        }
        const detail::PluginCall call{name_, warnings, "ConstructModelFromISD"};
        return fromIsd<csm::Model*>(call, imageSupportData, modelName,
                                    [](const auto& reader) { return ConstructModel{}(reader); });
    }

    std::string getModelNameFromModelState(const std::string& modelState,
                                           csm::WarningList* warnings = nullptr) const override {
        if (!isEnabled()) {
            return "";
        }
        const size_t blank = modelState.find(' ');
        if (blank == std::string::npos) {
            const detail::PluginCall call{name_, warnings, "GetModelNameFromModelState"};
            detail::warnPlugin(call, "UNKNOWN", "Model State not formated correctly",
                               call.label + "::ModelName");
            return "";
        }
        return modelState.substr(0, blank);
    }

    bool canISDBeConvertedToModelState(const csm::Isd& imageSupportData,
                                       const std::string& modelName,
                                       csm::WarningList* warnings = nullptr) const override {
        if (!isEnabled()) {
            return false;
        }
        return canModelBeConstructedFromISD(imageSupportData, modelName, warnings);
    }

    std::string convertISDToModelState(const csm::Isd& imageSupportData,
                                       const std::string& modelName,
                                       csm::WarningList* warnings = nullptr) const override {
        if (!isEnabled()) {
            return "";
        }
        const std::unique_ptr<csm::Model> model(
            constructModelFromISD(imageSupportData, modelName, warnings));
        return model ? model->getModelState() : std::string();
    }

    // The option key that enables this family.
    std::wstring_view enableKey() const { return enable_->name(); }

private:
    bool isEnabled() const { return (*enable_)(); }

    template <typename Result, typename Policy>
    Result fromState(const detail::PluginCall& call, const std::string& modelName,
                     const std::string& modelState, Policy&& policy) const {
        return detail::guardPluginCall<Result>(
            call, modelName, "Generic Exception at construction from state", [&]() -> Result {
                const std::optional<nlohmann::json> document =
                    detail::parseStateDocument(call, models_, modelName, modelState);
                if (!document) {
                    return Result{};
                }
                const DocumentReader reader(nullptr, call.warnings, name_, modelName, call.label,
                                            &*document);
                return policy(reader);
            });
    }

    template <typename Result, typename Policy>
    Result fromIsd(const detail::PluginCall& call, const csm::Isd& isd,
                   const std::string& modelName, Policy&& policy) const {
        return detail::guardPluginCall<Result>(
            call, modelName, "Generic Exception", [&]() -> Result {
                const std::optional<detail::IsdSource> source =
                    detail::openIsdSource(call, models_, isd, modelName);
                if (!source) {
                    return Result{};
                }
                if (source->document) {
                    const DocumentReader reader(nullptr, call.warnings, name_, modelName,
                                                call.label, &*source->document);
                    return policy(reader);
                }
                const NitfReader reader(nullptr, call.warnings, name_, modelName, call.label,
                                        &*source->file);
                return policy(reader);
            });
    }

    nitf_config::option<bool>* enable_;
    std::string name_;
    std::vector<const std::string*> models_;
};

}  // namespace VEXASensors

TESSEL_PUBLIC_END
