#include "tessel/sensors/ModelFactory.h"

namespace VEXASensors {

ModelFactory::ModelFactory(bool isOn, int32_t order, std::wstring plugin, std::wstring maker,
                           std::wstring model)
    : enabled(isOn),
      priority(order),
      pluginName(std::move(plugin)),
      manufacturer(std::move(maker)),
      sensorModelName(std::move(model)) {}

ModelFactory::~ModelFactory() = default;

bool ModelFactory::isValid() const {
    return priority >= 1 && !pluginName.empty() && !sensorModelName.empty();
}

std::wstring ModelFactory::toString() const {
    return (enabled ? L"" : L"!") + pluginName + L":" + sensorModelName;
}

}  // namespace VEXASensors
