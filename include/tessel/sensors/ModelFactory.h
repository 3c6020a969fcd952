#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// One entry of the sensor factory's list: a model of one plug-in, with its priority and
// whether it takes part in the choice of a model for a file.

#include <cstdint>
#include <string>

#include "tessel/csm/Isd.h"
#include "tessel/csm/Model.h"
#include "tessel/csm/Warning.h"

namespace VEXASensors {

class ModelFactory {
public:
    ModelFactory() = default;
    ModelFactory(bool enabled, int32_t priority, std::wstring pluginName, std::wstring manufacturer,
                 std::wstring sensorModelName);
    ModelFactory(const ModelFactory&) = default;
    ModelFactory(ModelFactory&&) noexcept = default;
    ModelFactory& operator=(const ModelFactory&) = default;
    ModelFactory& operator=(ModelFactory&&) noexcept = default;

    virtual ~ModelFactory();
    virtual bool canConstruct(const csm::Isd& isd, csm::WarningList* warnings) const = 0;
    // A new model, owned by the caller, or null.
    virtual csm::Model* constructFromState(const std::wstring& state,
                                           csm::WarningList* warnings) const = 0;
    virtual csm::Model* construct(const csm::Isd& isd, csm::WarningList* warnings) const = 0;

    // A priority of at least 1 and both names given.
    bool isValid() const;
    bool isEnabled() const { return enabled; }
    void isEnabled(bool value) { enabled = value; }
    int32_t getPriority() const { return priority; }
    const std::wstring& getPluginName() const { return pluginName; }
    const std::wstring& getManufacturer() const { return manufacturer; }
    const std::wstring& getSensorModelName() const { return sensorModelName; }
    // "[!]<plugin>:<model>", the mark when disabled.
    std::wstring toString() const;
    bool operator<(const ModelFactory& other) const { return priority < other.priority; }

protected:
    bool enabled = true;
    int32_t priority = 0;
    std::wstring pluginName;
    std::wstring manufacturer;
    std::wstring sensorModelName;
};

}  // namespace VEXASensors

TESSEL_PUBLIC_END
