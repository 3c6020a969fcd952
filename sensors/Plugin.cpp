#include "tessel/sensors/Plugin.h"

#include <fmt/format.h>
#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>

#include "tessel/core/NITFURI.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/platform/base/nitf_log.h"
#include "tessel/platform/base/text.h"
#include "tessel/sensors/RasterGM.h"

namespace VEXASensors::detail {

void warnPlugin(const PluginCall& call, const std::string& second, const std::string& text,
                const std::string& label) {
    sendPluginWarning(call.warnings, csm::Warning::DATA_NOT_AVAILABLE, call.pluginName, second,
                      text, label);
}

namespace {

// The compiler's "Mmm dd yyyy" as "yyyymmdd".
std::string pluginBuildDate() {
    static constexpr const char* kMonths = "JanFebMarAprMayJunJulAugSepOctNovDec";
    const std::string date = __DATE__;
    const char* found = std::strstr(kMonths, date.substr(0, 3).c_str());
    const int month = found == nullptr ? 0 : static_cast<int>((found - kMonths) / 3) + 1;
    std::string day = date.substr(4, 2);
    if (day.front() == ' ') {
        day.front() = '0';
    }
    return date.substr(7, 4) + fmt::format("{:02d}", month) + day;
}

}  // namespace

const std::string& pluginReleaseDate() {
    static std::once_flag once;
    static std::string date;
    std::call_once(once, [] { date = pluginBuildDate(); });
    return date;
}

csm::Version configuredModelVersion() {
    return VEXASensors::configuredVersion();
}

void logModelsEnabled(const std::string& pluginName, const nitf_config::option<bool>& enable) {
    if (!nitf_log::is_enabled(nitf_log::info)) {
        return;
    }
    nitf_log::write_logln(nitf_log::info,
                          fmt::format("Sensor Model {} Enabled ({}): {}", pluginName,
                                      std::to_string(std::wstring(enable.name())), enable()));
}

bool listsModel(const std::vector<const std::string*>& models, const std::string& name) {
    return std::any_of(models.begin(), models.end(),
                       [&](const std::string* model) { return *model == name; });
}

namespace {

bool acceptableIsd(const csm::Isd& isd) {
    return isd.format() == "FILENAME" || isd.format() == "VEXAISD" || !isd.filename().empty();
}

nlohmann::json readJsonIsd(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        throw std::runtime_error("Unable to read File: " + path.string());
    }
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    return nlohmann::json::parse(text);
}

}  // namespace

std::optional<IsdSource> openIsdSource(const PluginCall& call,
                                       const std::vector<const std::string*>& models,
                                       const csm::Isd& isd, const std::string& modelName) {
    if (!listsModel(models, modelName)) {
        warnPlugin(call, "UNKNOWN", "Model name not supported: " + modelName,
                   call.label + "::ModelName");
        return std::nullopt;
    }
    if (!acceptableIsd(isd)) {
        warnPlugin(call, modelName, "ISD type not supported: " + isd.format(), call.label);
        return std::nullopt;
    }
    const std::string fileName = isd.filename();
    const std::filesystem::path path(fileName);
    IsdSource source;
    // Exactly ".json": any other spelling names a file for the NITF reader.
    if (path.extension() == ".json") {
        source.document = readJsonIsd(path);
        return source;
    }
    Tessel::NITFMessages messages;
    Tessel::NITFFileContext file =
        Tessel::NITFFactory::get().open(Tessel::NITFURI(std::string_view(fileName)), messages);
    for (const std::string& message : messages) {
        sendPluginWarning(call.warnings, csm::Warning::UNKNOWN_WARNING, call.pluginName, modelName,
                          message, "CanConstructFromISD::Open");
    }
    if (!file) {
        warnPlugin(call, modelName, "Unable to open File: " + fileName, call.label + "::NITF");
        return std::nullopt;
    }
    source.file.emplace(std::move(file));
    return source;
}

std::optional<nlohmann::json> parseStateDocument(const PluginCall& call,
                                                 const std::vector<const std::string*>& models,
                                                 const std::string& requested,
                                                 const std::string& state) {
    const std::string label = call.label + "::ModelName";
    const size_t blank = state.find(' ');
    if (blank == std::string::npos) {
        warnPlugin(call, "UNKNOWN", "Model State not formated correctly", label);
        return std::nullopt;
    }
    const std::string name = state.substr(0, blank);
    if (name != requested) {
        // The spelling and the missing blank are what clients have always seen.
        warnPlugin(call, requested,
                   "Discrepency with model name. Expected " + requested + "and found " + name,
                   label);
        return std::nullopt;
    }
    if (!listsModel(models, name)) {
        warnPlugin(call, "UNKNOWN", "Model name not supported: " + name, label);
        return std::nullopt;
    }
    return nlohmann::json::parse(state.substr(blank));
}

}  // namespace VEXASensors::detail
