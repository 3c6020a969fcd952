#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// The polynomial form of the replacement sensor model: the image is divided into sections,
// each with its own ratio of polynomials in the normalised ground coordinates; a low-order
// polynomial over the whole image picks the section of a ground point.

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "tessel/sensors/RSMModel.h"

namespace Tessel {
class NITFFileContext;
}

namespace VEXASensors {

// The polynomial index record (RSMPIA): the low-order section finder and the section grid.
struct RSMPIA {
    std::string IID;
    std::string EDITION;
    double R0 = 0, RX = 0, RY = 0, RZ = 0, RXX = 0, RXY = 0, RXZ = 0, RYY = 0, RYZ = 0, RZZ = 0;
    double C0 = 0, CX = 0, CY = 0, CZ = 0, CXX = 0, CXY = 0, CXZ = 0, CYY = 0, CYZ = 0, CZZ = 0;
    int32_t RNIS = 0;
    int32_t CNIS = 0;
    int32_t TNIS = 0;
    double RSSIZ = 0;
    double CSSIZ = 0;
};

// The polynomials of one image section (RSMPCA). Each polynomial runs over x fastest, then
// y, then z, every power from 0 to its maximum inclusive; the term count is informative.
struct RSMPCA {
    std::string IID;
    std::string EDITION;
    int32_t RSN = 0;
    int32_t CSN = 0;
    std::optional<double> RFEP;
    std::optional<double> CFEP;
    double RNRMO = 0, CNRMO = 0, XNRMO = 0, YNRMO = 0, ZNRMO = 0;
    double RNRMSF = 0, CNRMSF = 0, XNRMSF = 0, YNRMSF = 0, ZNRMSF = 0;
    int32_t RNPWRX = 0, RNPWRY = 0, RNPWRZ = 0, RNTRMS = 0;
    std::vector<double> RNPCF;
    int32_t RDPWRX = 0, RDPWRY = 0, RDPWRZ = 0, RDTRMS = 0;
    std::vector<double> RDPCF;
    int32_t CNPWRX = 0, CNPWRY = 0, CNPWRZ = 0, CNTRMS = 0;
    std::vector<double> CNPCF;
    int32_t CDPWRX = 0, CDPWRY = 0, CDPWRZ = 0, CDTRMS = 0;
    std::vector<double> CDPCF;
};

namespace detail_rsm_poly {
struct SectionTerms;
}

class RSMPolyModel : public RSMModel {
public:
    RSMPolyModel(RSMID id, RSMPIA index, std::vector<RSMPCA> sections, const PropertyMap& props);
    ~RSMPolyModel() override;

    // A model from a state's or a JSON ISD's document, or from a NITF file's TREs; null after
    // the failure went to `fail`. Neither throws.
    static std::unique_ptr<RSMPolyModel> fromDocument(const nlohmann::json& document,
                                                      const RSMFailSink& fail);
    static std::unique_ptr<RSMPolyModel> fromFile(const Tessel::NITFFileContext& file,
                                                  const RSMFailSink& fail);

    const RSMPIA& index() const { return rsmpia; }
    const std::vector<RSMPCA>& sections() const { return rsmpca; }

    std::string getModelState() const override;

    // The covariance forms are the base's.
    using RasterGM::groundToImage;
    using RasterGM::imageToGround;
    csm::ImageCoord groundToImage(const csm::EcefCoord& groundPt, double desiredPrecision = 0.001,
                                  double* achievedPrecision = nullptr,
                                  csm::WarningList* warnings = nullptr) const override;
    csm::EcefCoord imageToGround(const csm::ImageCoord& imagePt, double height,
                                 double desiredPrecision = 0.001,
                                 double* achievedPrecision = nullptr,
                                 csm::WarningList* warnings = nullptr) const override;
    csm::EcefLocus imageToProximateImagingLocus(
        const csm::ImageCoord& imagePt, const csm::EcefCoord& groundPt,
        double desiredPrecision = 0.001, double* achievedPrecision = nullptr,
        csm::WarningList* warnings = nullptr) const override;
    csm::EcefLocus imageToRemoteImagingLocus(const csm::ImageCoord& imagePt,
                                             double desiredPrecision = 0.001,
                                             double* achievedPrecision = nullptr,
                                             csm::WarningList* warnings = nullptr) const override;
    csm::ImageCoord getImageStart() const override;
    csm::ImageVector getImageSize() const override;
    std::pair<csm::ImageCoord, csm::ImageCoord> getValidImageRange() const override;
    std::pair<double, double> getValidHeightRange() const override;
    csm::EcefVector getIlluminationDirection(const csm::EcefCoord& groundPt) const override;
    double getImageTime(const csm::ImageCoord& imagePt) const override;
    csm::EcefCoord getSensorPosition(double time) const override;
    csm::EcefCoord getSensorPosition(const csm::ImageCoord& imagePt) const override;
    csm::EcefVector getSensorVelocity(double time) const override;
    csm::EcefVector getSensorVelocity(const csm::ImageCoord& imagePt) const override;

    bool useLLH() const override;
    ImageCoord groundToImage_llh(const LLHCoord& groundPt, double desiredPrecision = 0.001,
                                 double* achievedPrecision = nullptr,
                                 csm::WarningList* warnings = nullptr) const override;
    LLHCoord imageToGround_llh(const ImageCoord& imagePt, double height,
                               double desiredPrecision = 0.001, double* achievedPrecision = nullptr,
                               csm::WarningList* warnings = nullptr) const override;

private:
    // The section of a ground point (domain values as they stand) or of an image point; -1
    // when the index falls beyond the list of sections.
    int sectionFromGround(const double ground[3]) const;
    int sectionFromImage(double line, double sample) const;
    // (x, y, z) of the domain to (column, row, z); false with a zero result when no section.
    bool forward(const double ground[3], double image[3], const char* function,
                 csm::WarningList* warnings) const;
    // (column, row, height) to (x, y, z) of the domain; false with a zero result when no
    // section.
    bool inverse(const double image[3], double ground[3], double desiredPrecision,
                 double* achievedPrecision, csm::WarningList* warnings) const;
    csm::EcefLocus locusAt(int section, const csm::ImageCoord& imagePt, const csm::EcefCoord* from,
                           csm::WarningList* warnings) const;
    double timeFraction() const;

    RSMPIA rsmpia;
    std::vector<RSMPCA> rsmpca;
    // The four polynomials of each section as one list of terms, built once.
    std::vector<detail_rsm_poly::SectionTerms> terms;
};

}  // namespace VEXASensors

TESSEL_PUBLIC_END
