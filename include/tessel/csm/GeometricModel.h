#pragma once

#include <string>
#include <vector>

#include "Model.h"
#include "csm.h"

#define CSM_GEOMETRIC_MODEL_FAMILY "Geometric"

namespace csm {

class CSM_EXPORT_API GeometricModel : public Model {
public:
    struct Parameter {
        Parameter() : name("UNKNOWN"), value(0.0), units("UNKNOWN"), type(param::NONE) {}
        Parameter(const std::string& paramName, double paramValue, const std::string& paramUnits,
                  param::Type paramType, const SharingCriteria& paramSharingCriteria)
            : name(paramName),
              value(paramValue),
              units(paramUnits),
              type(paramType),
              sharingCriteria(paramSharingCriteria) {}

        std::string name;
        double value;
        std::string units;
        param::Type type;
        SharingCriteria sharingCriteria;
    };

    GeometricModel() = default;
    ~GeometricModel() override;

    std::string getFamily() const override;

    virtual EcefCoord getReferencePoint() const = 0;
    virtual void setReferencePoint(const EcefCoord& groundPt) = 0;

    virtual int getNumParameters() const = 0;
    virtual std::string getParameterName(int index) const = 0;
    virtual std::string getParameterUnits(int index) const = 0;
    virtual bool hasShareableParameters() const = 0;
    virtual bool isParameterShareable(int index) const = 0;
    virtual SharingCriteria getParameterSharingCriteria(int index) const = 0;
    virtual double getParameterValue(int index) const = 0;
    virtual void setParameterValue(int index, double value) = 0;
    virtual param::Type getParameterType(int index) const = 0;
    virtual void setParameterType(int index, param::Type pType) = 0;
    virtual Parameter getParameter(int index) const;
    virtual void setParameter(int index, const Parameter& parameter);

    std::vector<int> getParameterSetIndices(param::Set pSet = param::VALID) const;
    std::vector<Parameter> getParameters(param::Set pSet = param::VALID) const;

    virtual double getParameterCovariance(int index1, int index2) const = 0;
    virtual void setParameterCovariance(int index1, int index2, double covariance) = 0;

    virtual int getNumGeometricCorrectionSwitches() const = 0;
    virtual std::string getGeometricCorrectionName(int index) const = 0;
    virtual void setGeometricCorrectionSwitch(int index, bool value, param::Type pType) = 0;
    virtual bool getGeometricCorrectionSwitch(int index) const = 0;

    typedef std::vector<const GeometricModel*> GeometricModelList;

    std::vector<double> getCovarianceMatrix(param::Set pSet = param::VALID) const {
        return getCrossCovarianceMatrix(*this, pSet);
    }
    virtual std::vector<double> getCrossCovarianceMatrix(
        const GeometricModel& comparisonModel, param::Set pSet = param::VALID,
        const GeometricModelList& otherModels = GeometricModelList()) const = 0;
};

}  // namespace csm
