#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// Everything that leads to a RasterSensor: the plug-in modules named by the configuration
// files of "bin/csm" (lib/tessel/csm of the installation, or under $TESSEL_HOME), the ordered
// list of model factories with their enabled state, the choice of a model for a file, and the
// settings of the section "RasterSensors" that keep that order.

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "tessel/sensors/ModelFactory.h"
#include "tessel/sensors/RasterSensor.h"
#include "tessel/sensors/SensorProvider.h"

namespace VEXASensors {

class RasterSensorFactory {
public:
    // The process-wide factory, made and initialised on first use.
    static RasterSensorFactory& get();
    // Destroys the factory; the next get starts afresh. Sensors made earlier stay valid.
    static void reset();

    ~RasterSensorFactory();
    RasterSensorFactory(const RasterSensorFactory&) = delete;
    RasterSensorFactory& operator=(const RasterSensorFactory&) = delete;

    // A sensor over the first model that an enabled factory builds for the file, walking the
    // list, or in the order that `properties` (a JSON object keyed by model name, each member
    // with an optional "Priority") gives. Invalid when no model comes.
    RasterSensor createRasterSensorFromFile(const std::filesystem::path& path,
                                            const std::string& properties = {}) const;
    // Throws SensorException when the state names no known model or yields no raster model.
    RasterSensor createRasterSensorFromState(const std::wstring& state) const;
    // The model names of every enabled factory that can serve the file, in walking order.
    std::vector<std::wstring> getAllSupportedModels(const std::filesystem::path& path) const;
    // "[!]<plugin>:<model>" of each factory, in the order in force.
    std::vector<std::wstring> getModelFactories() const;
    // Stores the order and enabled states as "SENSOR_<n>" and applies them.
    void setModelFactories(const std::vector<std::wstring>& list);
    void resetPluginPreferences();

    std::map<std::wstring, std::wstring> getProperties(const std::wstring& pattern) const;
    std::wstring getProperty(const std::wstring& key, const std::wstring& defaultValue) const;
    bool setProperty(const std::wstring& key, const std::wstring& value);

private:
    RasterSensorFactory();
    void initialise();
    void loadModuleConfigurations();
    void applyOrder();
    // One try of one factory; null when it can't or fails.
    csm::Model* tryFactory(const ModelFactory& factory, const csm::Isd& isd) const;

    std::vector<std::unique_ptr<SensorProvider>> providers_;
    std::vector<std::unique_ptr<ModelFactory>> factories_;
};

}  // namespace VEXASensors

TESSEL_PUBLIC_END
