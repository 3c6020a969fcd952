#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// The replacement sensor model family: the identification record that every form shares and
// the model base that answers the identifiers, the time of reference and the reference point
// from it. The polynomial form is RSMPolyModel.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "tessel/sensors/RasterGM.h"

namespace VEXASensors {

extern const std::string RSM_POLY_MODEL_NAME;  // "VEXA_RSM_POLY"
// The grid form has a name but no model yet.
extern const std::string RSM_GRID_MODEL_NAME;  // "VEXA_RSM_GRID"

// Where a reader sends the words of a failure before it gives up.
using RSMFailSink = std::function<void(const std::string&)>;

// The ground domain of the support data: geodetic (longitude -pi..pi), geodetic with
// longitudes 0..2pi, or rectangular Earth-centred.
enum class RSMGroundDomain { G = 0, H = 1, R = 2 };

// The identification record (RSMIDA). An absent optional value was empty in the source.
struct RSMID {
    std::string IID;
    std::string EDITION;
    std::string ISID;
    std::string SID;
    std::string STID;
    std::optional<int32_t> YEAR;
    std::optional<int32_t> MONTH;
    std::optional<int32_t> DAY;
    std::optional<int32_t> HOUR;
    std::optional<int32_t> MINUTE;
    std::optional<double> SECOND;
    std::optional<int32_t> NRG;
    std::optional<int32_t> NCG;
    std::optional<double> TRG;
    std::optional<double> TCG;
    RSMGroundDomain GRNDD = RSMGroundDomain::G;
    // The rectangular frame: kept for the state, never applied.
    std::optional<double> XUOR, YUOR, ZUOR;
    std::optional<double> XUXR, YUXR, ZUXR;
    std::optional<double> XUYR, YUYR, ZUYR;
    std::optional<double> XUZR, YUZR, ZUZR;
    double V1X = 0, V1Y = 0, V1Z = 0;
    double V2X = 0, V2Y = 0, V2Z = 0;
    double V3X = 0, V3Y = 0, V3Z = 0;
    double V4X = 0, V4Y = 0, V4Z = 0;
    double V5X = 0, V5Y = 0, V5Z = 0;
    double V6X = 0, V6Y = 0, V6Z = 0;
    double V7X = 0, V7Y = 0, V7Z = 0;
    double V8X = 0, V8Y = 0, V8Z = 0;
    std::optional<double> GRPX, GRPY, GRPZ;
    std::optional<int32_t> FULLR;
    std::optional<int32_t> FULLC;
    int32_t MINR = 0;
    int32_t MAXR = 0;
    int32_t MINC = 0;
    int32_t MAXC = 0;
    std::optional<double> IE0, IER, IEC, IERR, IERC, IECC;
    std::optional<double> IA0, IAR, IAC, IARR, IARC, IACC;
    std::optional<double> SPX, SPY, SPZ;
    std::optional<double> SVX, SVY, SVZ;
    std::optional<double> SAX, SAY, SAZ;
};

class RSMModel : public RasterGM {
public:
    ~RSMModel() override;

    const RSMID& identification() const { return rsmid; }

    std::string getImageIdentifier() const override;
    std::string getSensorIdentifier() const override;
    std::string getPlatformIdentifier() const override;
    std::string getCollectionIdentifier() const override;
    std::string getTrajectoryIdentifier() const override;
    std::string getSensorType() const override;
    std::string getReferenceDateAndTime() const override;

    csm::EcefCoord getReferencePoint() const override;
    double getParameterCovariance(int index1, int index2) const override;
    void setParameterCovariance(int index1, int index2, double covariance) override;
    int getNumGeometricCorrectionSwitches() const override;
    std::string getGeometricCorrectionName(int index) const override;
    void setGeometricCorrectionSwitch(int index, bool value, csm::param::Type pType) override;
    bool getGeometricCorrectionSwitch(int index) const override;
    std::vector<double> getCrossCovarianceMatrix(
        const csm::GeometricModel& comparisonModel, csm::param::Set pSet = csm::param::VALID,
        const GeometricModelList& otherModels = GeometricModelList()) const override;

    std::vector<SensorPartials> computeAllSensorPartials(
        const csm::EcefCoord& groundPt, csm::param::Set pSet = csm::param::VALID,
        double desiredPrecision = 0.001, double* achievedPrecision = nullptr,
        csm::WarningList* warnings = nullptr) const override;
    std::vector<SensorPartials> computeAllSensorPartials(
        const csm::ImageCoord& imagePt, const csm::EcefCoord& groundPt,
        csm::param::Set pSet = csm::param::VALID, double desiredPrecision = 0.001,
        double* achievedPrecision = nullptr, csm::WarningList* warnings = nullptr) const override;

protected:
    // Reads the pixel offset option once, for the life of the model.
    explicit RSMModel(RSMID id);

    // The ground domain's (x, y, z) of an Earth-centred point, and back.
    void toDomain(const csm::EcefCoord& ecef, double domain[3]) const;
    csm::EcefCoord fromDomain(const double domain[3]) const;

    double pixelOffset = 0.0;
    RSMID rsmid;
};

}  // namespace VEXASensors

TESSEL_PUBLIC_END
