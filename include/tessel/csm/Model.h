#pragma once

#include <string>

#include "Version.h"
#include "Warning.h"
#include "csm.h"

namespace csm {

class CSM_EXPORT_API Model {
public:
    Model() = default;
    virtual ~Model();

    virtual std::string getFamily() const = 0;
    virtual Version getVersion() const = 0;
    virtual std::string getModelName() const = 0;
    virtual std::string getPedigree() const = 0;
    virtual std::string getImageIdentifier() const = 0;
    virtual void setImageIdentifier(const std::string& imageId,
                                    WarningList* warnings = nullptr) = 0;
    virtual std::string getSensorIdentifier() const = 0;
    virtual std::string getPlatformIdentifier() const = 0;
    virtual std::string getCollectionIdentifier() const = 0;
    virtual std::string getTrajectoryIdentifier() const = 0;
    virtual std::string getSensorType() const = 0;
    virtual std::string getSensorMode() const = 0;
    virtual std::string getReferenceDateAndTime() const = 0;
    virtual std::string getModelState() const = 0;
    virtual void replaceModelState(const std::string& argState) = 0;
};

}  // namespace csm
