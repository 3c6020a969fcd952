#include "tessel/sensors/RasterSensorFactory.h"

#include <fmt/format.h>
#include <algorithm>
#include <boost/format.hpp>
#include <boost/property_tree/json_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <charconv>
#include <mutex>
#include <nlohmann/json.hpp>
#include <regex>

#include "tessel/csm/Error.h"
#include "tessel/platform/base/lumo_system.h"
#include "tessel/platform/base/nitf_config.h"
#include "tessel/platform/base/nitf_fs.h"
#include "tessel/platform/base/nitf_log.h"
#include "tessel/platform/base/text.h"
#include "tessel/sensors/CsmIsdFactory.h"
#include "tessel/sensors/RasterGM.h"

namespace VEXASensors {

namespace detail_sensor_factory {

constexpr const wchar_t* kSection = L"RasterSensors";
constexpr const wchar_t* kSearchPath = L"RSPROVIDER_MODULE_SEARCH_PATH";
constexpr const wchar_t* kSensorPattern = L"SENSOR_*";

std::mutex& factoryMutex() {
    static std::mutex mutex;
    return mutex;
}

std::unique_ptr<RasterSensorFactory>& factoryInstance() {
    static std::unique_ptr<RasterSensorFactory> instance;
    return instance;
}

void logSensorFactory(int level, const std::string& line) {
    if (nitf_log::is_enabled(level)) {
        nitf_log::write_logln(level, line);
    }
}

std::wstring propertyText(const nitf_config::property& value) {
    if (const auto* text = std::get_if<std::wstring>(&value)) {
        return *text;
    }
    if (const auto* number = std::get_if<double>(&value)) {
        return std::to_wstring((boost::format("%f") % *number).str());
    }
    return {};
}

// The number after "SENSOR_": decimal digits after an optional plus, the whole text, 32 bits.
std::optional<int32_t> sensorPosition(const std::wstring& key) {
    std::string digits = std::to_string(key.substr(std::wstring(L"SENSOR_").size()));
    if (!digits.empty() && digits.front() == '+') {
        digits.erase(0, 1);
    }
    if (digits.empty() || !std::all_of(digits.begin(), digits.end(), ::isdigit)) {
        return std::nullopt;
    }
    int32_t value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error != std::errc() || end != digits.data() + digits.size()) {
        return std::nullopt;
    }
    return value;
}

// "[!]plugin:model" as (enabled, plugin, model); anything but two parts gives empty names.
std::tuple<bool, std::wstring, std::wstring> parseEntry(const std::wstring& text) {
    bool enabled = true;
    const size_t colon = text.find(L':');
    if (colon == std::wstring::npos || text.find(L':', colon + 1) != std::wstring::npos) {
        return {enabled, L"", L""};
    }
    std::wstring plugin = text.substr(0, colon);
    if (!plugin.empty() && plugin.front() == L'!') {
        enabled = false;
        plugin.erase(0, 1);
    }
    return {enabled, plugin, text.substr(colon + 1)};
}

void loadConfigurationFile(const std::filesystem::path& file) {
    const std::filesystem::path folder = file.parent_path();
    lumo_system::add_directory(kSearchPath, folder);
    boost::property_tree::ptree tree;
    boost::property_tree::read_json(file.string(), tree);
    if (const auto env = tree.get_child_optional("env")) {
        for (const auto& [key, value] : *env) {
            const std::wstring text = std::to_wstring(value.data());
            if (key == "PATH") {
                lumo_system::append_environment(L"PATH", text);
            } else {
                lumo_system::set_environment(std::to_wstring(key), text, true);
            }
        }
    }
    if (const auto paths = tree.get_child_optional("paths")) {
        for (const auto& entry : *paths) {
            lumo_system::add_directory(kSearchPath, std::filesystem::path(entry.second.data()));
        }
    }
    const std::filesystem::path module = folder / tree.get<std::string>("plugin");
    const lumo_system::module_info info = lumo_system::get_module_info(module);
    if (!info.loaded) {
        logSensorFactory(nitf_log::warning,
                         fmt::format("RasterSensor -- Failed to load module : {} : {}",
                                     module.string(), info.error));
    }
}

}  // namespace detail_sensor_factory

namespace rsf = detail_sensor_factory;

RasterSensorFactory& RasterSensorFactory::get() {
    std::lock_guard lock(rsf::factoryMutex());
    auto& instance = rsf::factoryInstance();
    if (!instance) {
        instance.reset(new RasterSensorFactory());
    }
    return *instance;
}

void RasterSensorFactory::reset() {
    std::lock_guard lock(rsf::factoryMutex());
    rsf::factoryInstance().reset();
}

RasterSensorFactory::RasterSensorFactory() {
    initialise();
}

RasterSensorFactory::~RasterSensorFactory() = default;

void RasterSensorFactory::loadModuleConfigurations() {
    for (const auto& folder : nitf_fs::getConfigFolders("bin/csm")) {
        for (const auto& file : nitf_fs::readDirectory(folder / "*.json")) {
            try {
                rsf::loadConfigurationFile(file);
            } catch (const boost::property_tree::json_parser_error& e) {
                rsf::logSensorFactory(
                    nitf_log::warning,
                    fmt::format("RasterSensor -- Failed to load config file : {}({}) : {}",
                                file.string(), e.line(), e.message()));
            } catch (const std::exception& e) {
                rsf::logSensorFactory(
                    nitf_log::warning,
                    fmt::format("RasterSensor -- Failed to load config file : {} : {}",
                                file.string(), e.what()));
            } catch (...) {
                rsf::logSensorFactory(
                    nitf_log::warning,
                    fmt::format("RasterSensor -- Failed to load config file : {}", file.string()));
            }
        }
    }
}

void RasterSensorFactory::initialise() {
    factories_.clear();
    providers_.clear();
    loadModuleConfigurations();
    const std::wstring exclusions = getProperty(L"DefaultModelExclusions", L"ORTHOGRAPHIC");
    std::optional<std::wregex> excluded;
    try {
        excluded.emplace(exclusions);
    } catch (const std::regex_error& e) {
        rsf::logSensorFactory(nitf_log::warning,
                              fmt::format("RasterSensor -- DefaultModelExclusions '{}' : {}",
                                          std::to_string(exclusions), e.what()));
    }
    for (const auto& [priority, name] : SensorProviderFactory::getProviderInfo()) {
        try {
            std::unique_ptr<SensorProvider> provider = SensorProviderFactory::createProvider(name);
            if (!provider) {
                rsf::logSensorFactory(
                    nitf_log::warning,
                    fmt::format("RasterSensor -- Failed to load provider : {}", name));
                continue;
            }
            provider->getModelFactories(factories_);
            providers_.push_back(std::move(provider));
        } catch (const std::exception& e) {
            rsf::logSensorFactory(
                nitf_log::warning,
                fmt::format("RasterSensor -- Failed to load provider : {} : {}", name, e.what()));
        }
    }
    std::erase(factories_, nullptr);
    if (excluded) {
        for (const auto& factory : factories_) {
            if (std::regex_match(factory->getSensorModelName(), *excluded)) {
                factory->isEnabled(false);
            }
        }
    }
    applyOrder();
}

void RasterSensorFactory::applyOrder() {
    std::map<int32_t, std::wstring> entries;
    for (const auto& [key, value] :
         nitf_config::read_properties(rsf::kSection, rsf::kSensorPattern)) {
        const auto* text = std::get_if<std::wstring>(&value);
        const std::optional<int32_t> position = rsf::sensorPosition(key);
        if (text == nullptr || !position) {
            continue;
        }
        entries.emplace(*position, *text);
    }
    std::vector<std::unique_ptr<ModelFactory>> ordered;
    for (const auto& [position, text] : entries) {
        const auto parsed = rsf::parseEntry(text);
        const bool enabled = std::get<0>(parsed);
        const std::wstring& plugin = std::get<1>(parsed);
        const std::wstring& model = std::get<2>(parsed);
        const auto it = std::find_if(factories_.begin(), factories_.end(), [&](const auto& f) {
            return f && f->getPluginName() == plugin && f->getSensorModelName() == model;
        });
        if (it == factories_.end()) {
            continue;
        }
        (*it)->isEnabled(enabled);
        ordered.push_back(std::move(*it));
    }
    for (auto& factory : factories_) {
        if (!factory) {
            continue;
        }
        const bool standing = std::any_of(ordered.begin(), ordered.end(), [&](const auto& f) {
            return f->getPluginName() == factory->getPluginName() &&
                   f->getSensorModelName() == factory->getSensorModelName();
        });
        if (!standing) {
            ordered.push_back(std::move(factory));
        }
    }
    factories_ = std::move(ordered);
}

csm::Model* RasterSensorFactory::tryFactory(const ModelFactory& factory,
                                            const csm::Isd& isd) const {
    if (!factory.isEnabled()) {
        return nullptr;
    }
    try {
        csm::WarningList warnings;
        if (factory.canConstruct(isd, &warnings)) {
            return factory.construct(isd, &warnings);
        }
    } catch (const std::exception& e) {
        rsf::logSensorFactory(nitf_log::warning, fmt::format("{}", e.what()));
    }
    return nullptr;
}

namespace detail_sensor_factory {

// The factories taking part in a walk, as (list position) in walking order.
std::vector<std::pair<size_t, nlohmann::json>> walkOrder(
    const std::vector<std::unique_ptr<ModelFactory>>& factories, const std::string& properties) {
    std::vector<std::pair<size_t, nlohmann::json>> order;
    if (properties.empty()) {
        for (size_t i = 0; i < factories.size(); ++i) {
            order.emplace_back(i, nlohmann::json());
        }
        return order;
    }
    const nlohmann::json document = nlohmann::json::parse(properties);
    std::vector<std::tuple<size_t, double, nlohmann::json>> ranked;
    for (size_t i = 0; i < factories.size(); ++i) {
        const auto it = document.find(std::to_string(factories[i]->getSensorModelName()));
        if (it == document.end()) {
            continue;
        }
        double rank = 5000;
        if (it->is_object() && it->contains("Priority") && it->at("Priority").is_number()) {
            rank = it->at("Priority").get<double>();
        }
        ranked.emplace_back(i, rank, *it);
    }
    std::stable_sort(ranked.begin(), ranked.end(),
                     [](const auto& a, const auto& b) { return std::get<1>(a) < std::get<1>(b); });
    for (auto& [position, rank, member] : ranked) {
        order.emplace_back(position, std::move(member));
    }
    return order;
}

// Loads the string members of `member` into the model's display properties.
void addModelProperties(csm::Model& model, const nlohmann::json& member) {
    auto* raster = dynamic_cast<csm::RasterGM*>(&model);
    if (raster == nullptr || findVexaRasterGM(raster) == nullptr || !member.is_object()) {
        return;
    }
    try {
        const std::string state = model.getModelState();
        const size_t blank = state.find(' ');
        nlohmann::json document = nlohmann::json::parse(state.substr(blank + 1));
        nlohmann::json& props = document["Properties"];
        if (!props.is_object()) {
            props = nlohmann::json::object();
        }
        for (const auto& [key, value] : member.items()) {
            if (value.is_string()) {
                props[key] = value;
            }
        }
        model.replaceModelState(state.substr(0, blank) + " " + document.dump());
    } catch (...) {
        logSensorFactory(nitf_log::warning, "Failed to add model properties to model state");
    }
}

}  // namespace detail_sensor_factory

RasterSensor RasterSensorFactory::createRasterSensorFromFile(const std::filesystem::path& path,
                                                             const std::string& properties) const {
    const VexaIsd vexa(path.string());
    const std::unique_ptr<csm::Isd> other = CsmIsdFactory::create(path);
    for (const auto& [position, member] : rsf::walkOrder(factories_, properties)) {
        const ModelFactory& factory = *factories_[position];
        if (!factory.isEnabled()) {
            continue;
        }
        csm::Model* model = tryFactory(factory, vexa);
        if (model == nullptr) {
            if (!other) {
                throw SensorException("Failed to create csm::Isd");
            }
            model = tryFactory(factory, *other);
        }
        if (model != nullptr) {
            if (!member.is_null() && !member.empty()) {
                rsf::addModelProperties(*model, member);
            }
            return RasterSensor(model);
        }
    }
    return RasterSensor();
}

RasterSensor RasterSensorFactory::createRasterSensorFromState(const std::wstring& state) const {
    const std::string narrow = std::to_string(state);
    const std::string name = narrow.substr(0, narrow.find(' '));
    const auto it = std::find_if(factories_.begin(), factories_.end(), [&](const auto& f) {
        return f->getSensorModelName() == std::to_wstring(name);
    });
    if (it == factories_.end()) {
        throw SensorException("Failed to find sensor model: " + name);
    }
    csm::WarningList warnings;
    std::unique_ptr<csm::Model> model((*it)->constructFromState(state, &warnings));
    if (!model) {
        throw SensorException("Failed to create CSM Model");
    }
    if (dynamic_cast<csm::RasterGM*>(model.get()) == nullptr) {
        throw SensorException("Failed to create CSM RasterGM");
    }
    return RasterSensor(model.release());
}

std::vector<std::wstring> RasterSensorFactory::getAllSupportedModels(
    const std::filesystem::path& path) const {
    const VexaIsd vexa(path.string());
    const std::unique_ptr<csm::Isd> other = CsmIsdFactory::create(path);
    std::vector<std::wstring> names;
    for (const auto& factory : factories_) {
        if (!factory->isEnabled()) {
            continue;
        }
        std::unique_ptr<csm::Model> model(tryFactory(*factory, vexa));
        if (!model && other) {
            model.reset(tryFactory(*factory, *other));
        }
        if (model) {
            names.push_back(factory->getSensorModelName());
        }
    }
    return names;
}

std::vector<std::wstring> RasterSensorFactory::getModelFactories() const {
    std::vector<std::wstring> list;
    for (const auto& factory : factories_) {
        list.push_back(factory->toString());
    }
    return list;
}

void RasterSensorFactory::setModelFactories(const std::vector<std::wstring>& list) {
    nitf_config::clear_properties(rsf::kSection, rsf::kSensorPattern);
    nitf_config::property_map values;
    for (size_t i = 0; i < list.size(); ++i) {
        values.emplace(std::to_wstring((boost::format("SENSOR_%1%") % i).str()), list[i]);
    }
    nitf_config::write_properties(rsf::kSection, values);
    initialise();
}

void RasterSensorFactory::resetPluginPreferences() {
    nitf_config::clear_properties(rsf::kSection, rsf::kSensorPattern);
}

std::map<std::wstring, std::wstring> RasterSensorFactory::getProperties(
    const std::wstring& pattern) const {
    std::map<std::wstring, std::wstring> result;
    for (const auto& [key, value] : nitf_config::read_properties(rsf::kSection, pattern)) {
        result.emplace(key, rsf::propertyText(value));
    }
    return result;
}

std::wstring RasterSensorFactory::getProperty(const std::wstring& key,
                                              const std::wstring& defaultValue) const {
    const nitf_config::property value = nitf_config::read_property(rsf::kSection, key);
    if (std::holds_alternative<std::monostate>(value)) {
        return defaultValue;
    }
    return rsf::propertyText(value);
}

bool RasterSensorFactory::setProperty(const std::wstring& key, const std::wstring& value) {
    nitf_config::write_property(rsf::kSection, key, value);
    return true;
}

}  // namespace VEXASensors
