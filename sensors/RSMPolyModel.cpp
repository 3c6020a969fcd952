#include "tessel/sensors/RSMPolyModel.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>

#include "sensors/RSMRecords.h"
#include "sensors/RSMTerms.h"
#include "sensors/RSMTrace.h"
#include "sensors/SupportData.h"
#include "tessel/core/Options.h"
#include "tessel/csm/Error.h"
#include "tessel/file/NITFFileContext.h"
#include "tessel/platform/geo/gx.h"

namespace VEXASensors {

namespace detail_rsm_poly {

void SectionTerms::build(const std::array<std::array<int32_t, 3>, 4>& powers,
                         const std::array<const std::vector<double>*, 4>& coefficients) {
    // Keyed by (k, j, i): the rows come out in the polynomials' own order.
    std::map<std::tuple<int32_t, int32_t, int32_t>, Quad> merged;
    for (size_t q = 0; q < 4; ++q) {
        const auto& p = powers[q];
        if (p[0] < 0 || p[1] < 0 || p[2] < 0) {
            continue;
        }
        const int64_t nx = int64_t{p[0]} + 1;
        const int64_t ny = int64_t{p[1]} + 1;
        const int64_t nz = int64_t{p[2]} + 1;
        const std::vector<double>& list = *coefficients[q];
        for (size_t n = 0; n < list.size(); ++n) {
            const auto index = static_cast<int64_t>(n);
            const int64_t k = index / nx / ny;
            if (k >= nz) {
                break;
            }
            const auto i = static_cast<int32_t>(index % nx);
            const auto j = static_cast<int32_t>((index / nx) % ny);
            merged[{static_cast<int32_t>(k), j, i}][q] = list[n];
        }
    }
    rows.clear();
    blocks.clear();
    maxJ = maxK = 0;
    for (const auto& [key, c] : merged) {
        const auto [k, j, i] = key;
        if (rows.empty() || rows.back().j != j || rows.back().k != k) {
            rows.push_back(Row{j, k, blocks.size(), 0});
            maxJ = std::max(maxJ, std::min<int>(j, kPowerTable - 1));
            maxK = std::max(maxK, std::min<int>(k, kPowerTable - 1));
        }
        Row& row = rows.back();
        // The x powers of a row are at most the length of one list, so the zeros that fill
        // the gaps stay bounded by the input.
        row.count = static_cast<size_t>(i) + 1;
        blocks.resize(row.offset + row.count, Quad{});
        blocks[row.offset + static_cast<size_t>(i)] = c;
    }
}

constexpr double kTwoPi = 6.283185307179586;
constexpr double kRsmLocusEpsilon = 1.1920928955078125e-07;
constexpr const char* kPolyClass = "VEXASensors::RSMPolyModel::";
constexpr const char* kNoSection =
    "[VEXA_RSM_POLY::VEXA_RSM_POLY] Did not find appropriate section";

void warnNoSection(csm::WarningList* warnings, const char* function) {
    if (warnings != nullptr) {
        warnings->push_back(csm::Warning(csm::Warning::NO_INTERSECTION, kNoSection, function));
    }
}

void normaliseRsm(csm::EcefVector& v) {
    const double length = std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
    if (length > kRsmLocusEpsilon) {
        v.x /= length;
        v.y /= length;
        v.z /= length;
    }
}

// A section number along one axis, clamped to the grid; a NaN takes the first.
int64_t clampedSection(double position, double start, double size, int32_t count) {
    const double section = std::floor((position - start) / size);
    if (!(section > 0.0)) {
        return 0;
    }
    return section >= static_cast<double>(count - 1) ? count - 1 : static_cast<int64_t>(section);
}

std::string ecefText(const csm::EcefCoord& p) {
    return boost::str(boost::format("[ECEF: %11.2f, %11.2f, %11.2f ]") % p.x % p.y % p.z);
}

std::string llhText(const LLHCoord& p) {
    return boost::str(boost::format("[LLH: %21.16f, %21.16f, %9.2f ]") % p.lat % p.lon % p.height);
}

// The member of a document, or of its "TRE" object; null when neither holds it.
const nlohmann::json* rsmRecordOf(const nlohmann::json& document, const char* key) {
    if (!document.is_object()) {
        return nullptr;
    }
    auto it = document.find(key);
    if (it != document.end()) {
        return &*it;
    }
    it = document.find("TRE");
    if (it != document.end() && it->is_object()) {
        const auto nested = it->find(key);
        if (nested != it->end()) {
            return &*nested;
        }
    }
    return nullptr;
}

const nlohmann::json& requiredRecord(const nlohmann::json& document, const char* key,
                                     const RSMFailSink& fail) {
    const nlohmann::json* record = rsmRecordOf(document, key);
    return record != nullptr ? *record : detail_support::memberOf(document, key, fail);
}

// The section TREs of a file in their order: one TRE is a dictionary, several are listed
// under the same name and addressed by position.
std::vector<RSMPCA> fileSections(const Tessel::NITFFileContext& file, const RSMFailSink& fail) {
    if (!detail_support::fileHasTre(file, "RSMPCA")) {
        detail_support::failAndThrow(fail, fmt::format("{} '{}' not found", "Key", "RSMPCA"));
    }
    std::vector<RSMPCA> sections;
    for (size_t n = 0;; ++n) {
        const std::string base = "/TRE/RSMPCA/" + std::to_string(n);
        if (file.getPathString(base + "/_treID", "") != "RSMPCA") {
            break;
        }
        const nlohmann::json object =
            nlohmann::json::parse(file.getPathString(base + "/?JSON", ""), nullptr, false);
        sections.push_back(detail_rsm_records::readRSMPCA(object, fail));
    }
    if (sections.empty()) {
        sections.push_back(
            detail_rsm_records::readRSMPCA(detail_support::treDocument(file, "RSMPCA"), fail));
    }
    return sections;
}

}  // namespace detail_rsm_poly

namespace rsmp = detail_rsm_poly;
namespace rsmr = detail_rsm_records;
namespace rsmt = detail_rsm_trace;

RSMPolyModel::RSMPolyModel(RSMID id, RSMPIA index, std::vector<RSMPCA> sections,
                           const PropertyMap& props)
    : RSMModel(std::move(id)), rsmpia(std::move(index)), rsmpca(std::move(sections)) {
    properties = props;
    addMarkerParameter();
    modelName = RSM_POLY_MODEL_NAME;
    terms.resize(rsmpca.size());
    for (size_t s = 0; s < rsmpca.size(); ++s) {
        const RSMPCA& p = rsmpca[s];
        terms[s].build({{{p.RNPWRX, p.RNPWRY, p.RNPWRZ},
                         {p.RDPWRX, p.RDPWRY, p.RDPWRZ},
                         {p.CNPWRX, p.CNPWRY, p.CNPWRZ},
                         {p.CDPWRX, p.CDPWRY, p.CDPWRZ}}},
                       {&p.RNPCF, &p.RDPCF, &p.CNPCF, &p.CDPCF});
        terms[s].invScale[0] = 1.0 / p.XNRMSF;
        terms[s].invScale[1] = 1.0 / p.YNRMSF;
        terms[s].invScale[2] = 1.0 / p.ZNRMSF;
    }
}

RSMPolyModel::~RSMPolyModel() = default;

std::unique_ptr<RSMPolyModel> RSMPolyModel::fromDocument(const nlohmann::json& document,
                                                         const RSMFailSink& fail) {
    return detail_support::guardedConstruction<RSMPolyModel>(
        fail, [&]() -> std::unique_ptr<RSMPolyModel> {
            const nlohmann::json* idObject = rsmp::rsmRecordOf(document, "RSMIDA");
            if (idObject == nullptr) {
                detail_support::failAndThrow(fail, "Could not find RSMIDA");
            }
            const PropertyMap props = loadProperties(document);
            RSMID id = rsmr::readRSMID(*idObject, fail);
            RSMPIA index = rsmr::readRSMPIA(rsmp::requiredRecord(document, "RSMPIA", fail), fail);
            std::vector<RSMPCA> sections =
                rsmr::readRSMPCAList(rsmp::requiredRecord(document, "RSMPCA", fail), fail);
            return std::make_unique<RSMPolyModel>(std::move(id), std::move(index),
                                                  std::move(sections), props);
        });
}

std::unique_ptr<RSMPolyModel> RSMPolyModel::fromFile(const Tessel::NITFFileContext& file,
                                                     const RSMFailSink& fail) {
    return detail_support::guardedConstruction<RSMPolyModel>(
        fail, [&]() -> std::unique_ptr<RSMPolyModel> {
            if (!detail_support::fileHasTre(file, "RSMIDA")) {
                detail_support::failAndThrow(fail, "Could not find RSMIDA");
            }
            RSMID id = rsmr::readRSMID(detail_support::treDocument(file, "RSMIDA"), fail);
            if (!detail_support::fileHasTre(file, "RSMPIA")) {
                detail_support::failAndThrow(fail,
                                             fmt::format("{} '{}' not found", "Key", "RSMPIA"));
            }
            RSMPIA index = rsmr::readRSMPIA(detail_support::treDocument(file, "RSMPIA"), fail);
            std::vector<RSMPCA> sections = rsmp::fileSections(file, fail);
            return std::make_unique<RSMPolyModel>(std::move(id), std::move(index),
                                                  std::move(sections), PropertyMap{});
        });
}

std::string RSMPolyModel::getModelState() const {
    nlohmann::ordered_json document = nlohmann::ordered_json::object();
    addProperties(document, properties);
    document["RSMIDA"] = rsmr::writeRSMID(rsmid);
    document["RSMPIA"] = rsmr::writeRSMPIA(rsmpia);
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const RSMPCA& section : rsmpca) {
        list.push_back(rsmr::writeRSMPCA(section));
    }
    document["RSMPCA"] = std::move(list);
    return formatState(document);
}

// --- Sections -------------------------------------------------------------------------

namespace detail_rsm_poly {

int sectionAt(const RSMID& id, const RSMPIA& index, size_t count, double row, double column) {
    if (index.RNIS <= 0 || index.CNIS <= 0) {
        return -1;
    }
    const int64_t r = clampedSection(row, id.MINR, index.RSSIZ, index.RNIS);
    const int64_t c = clampedSection(column, id.MINC, index.CSSIZ, index.CNIS);
    const int64_t position = r * index.CNIS + c;
    TESSEL_RSM_TRACE(1, boost::format("RSMPIA::Sec  : rSection(%1%), cSection(%2%), index(%3%)") %
                            r % c % position);
    return position < static_cast<int64_t>(count) ? static_cast<int>(position) : -1;
}

}  // namespace detail_rsm_poly

int RSMPolyModel::sectionFromGround(const double ground[3]) const {
    const RSMPIA& p = rsmpia;
    const double x = ground[0];
    const double y = ground[1];
    const double z = ground[2];
    const double row = p.R0 + p.RX * x + p.RY * y + p.RZ * z + p.RXX * x * x + p.RXY * x * y +
                       p.RXZ * x * z + p.RYY * y * y + p.RYZ * y * z + p.RZZ * z * z;
    const double column = p.C0 + p.CX * x + p.CY * y + p.CZ * z + p.CXX * x * x + p.CXY * x * y +
                          p.CXZ * x * z + p.CYY * y * y + p.CYZ * y * z + p.CZZ * z * z;
    return rsmp::sectionAt(rsmid, rsmpia, rsmpca.size(), row, column);
}

int RSMPolyModel::sectionFromImage(double line, double sample) const {
    return rsmp::sectionAt(rsmid, rsmpia, rsmpca.size(), line - pixelOffset, sample - pixelOffset);
}

// --- Forward and inverse --------------------------------------------------------------

bool RSMPolyModel::forward(const double ground[3], double image[3], const char* function,
                           csm::WarningList* warnings) const {
    image[0] = image[1] = image[2] = 0.0;
    const int s = sectionFromGround(ground);
    if (s < 0) {
        rsmp::warnNoSection(warnings, function);
        return false;
    }
    const RSMPCA& p = rsmpca[static_cast<size_t>(s)];
    TESSEL_RSM_TRACE(
        1, boost::format("RSM_POLY::G2I: inD(%1%, %2%, %3%)") % ground[0] % ground[1] % ground[2]);
    const rsmp::SectionTerms& section = terms[static_cast<size_t>(s)];
    const double xN = (ground[0] - p.XNRMO) * section.invScale[0];
    const double yN = (ground[1] - p.YNRMO) * section.invScale[1];
    const double zN =
        IsUndefinedElevation(ground[2]) ? 0.0 : (ground[2] - p.ZNRMO) * section.invScale[2];
    const rsmp::Quad sums = rsmp::evaluate(section, xN, yN, zN);
    const double row = sums[0] / sums[1];
    const double column = sums[2] / sums[3];
    TESSEL_RSM_TRACE(
        2, boost::format("RSM_POLY::G2I:     row = %1% / %2% = %3%") % sums[0] % sums[1] % row);
    TESSEL_RSM_TRACE(
        2, boost::format("RSM_POLY::G2I:     col = %1% / %2% = %3%") % sums[2] % sums[3] % column);
    image[1] = row * p.RNRMSF + p.RNRMO + pixelOffset;
    image[0] = column * p.CNRMSF + p.CNRMO + pixelOffset;
    image[2] = ground[2];
    TESSEL_RSM_TRACE(1, boost::format("RSM_POLY::G2I: row(%1%), col(%2%)") % image[1] % image[0]);
    return true;
}

namespace detail_rsm_poly {

// The quotient rule for one ratio, traced as the model's developers read it.
double quotientSlope(const char* name, double numSlope, double den, double demSlope, double num) {
    const double slope = (numSlope * den - demSlope * num) / (den * den);
    TESSEL_RSM_TRACE(2, boost::format("RSM_POLY::I2G:     %1% = (%2% * %3% - %4% * %5%) / "
                                      "(%6%^2) = %7%") %
                            name % numSlope % den % demSlope % num % den % slope);
    return slope;
}

void traceSlopes(const Quad& dy, const Quad& dx) {
    TESSEL_RSM_TRACE(2, boost::format("RSM_POLY::I2G:     rowNumPartialLat = %1%") % dy[0]);
    TESSEL_RSM_TRACE(2, boost::format("RSM_POLY::I2G:     rowDemPartialLat = %1%") % dy[1]);
    TESSEL_RSM_TRACE(2, boost::format("RSM_POLY::I2G:     colNumPartialLat = %1%") % dy[2]);
    TESSEL_RSM_TRACE(2, boost::format("RSM_POLY::I2G:     colDemPartialLat = %1%") % dy[3]);
    TESSEL_RSM_TRACE(2, boost::format("RSM_POLY::I2G:     rowNumPartialLon = %1%") % dx[0]);
    TESSEL_RSM_TRACE(2, boost::format("RSM_POLY::I2G:     rowDemPartialLon = %1%") % dx[1]);
    TESSEL_RSM_TRACE(2, boost::format("RSM_POLY::I2G:     colNumPartialLon = %1%") % dx[2]);
    TESSEL_RSM_TRACE(2, boost::format("RSM_POLY::I2G:     colDemPartialLon = %1%") % dx[3]);
}

}  // namespace detail_rsm_poly

bool RSMPolyModel::inverse(const double image[3], double ground[3], double desiredPrecision,
                           double* achievedPrecision, csm::WarningList* warnings) const {
    const int maxIterations = Tessel::s_opt_vexa_rsm_max_iterations();
    ground[0] = ground[1] = ground[2] = 0.0;
    TESSEL_RSM_TRACE(1, boost::format("RSM_POLY::I2G: in(%1%), dp(%2%)") %
                            rsmt::vectorText(image[0], image[1], image[2]) % desiredPrecision);
    const int s = sectionFromImage(image[1], image[0]);
    if (s < 0) {
        rsmp::warnNoSection(warnings, "ImageToGround");
        return false;
    }
    const RSMPCA& p = rsmpca[static_cast<size_t>(s)];
    const rsmp::SectionTerms& section = terms[static_cast<size_t>(s)];
    const double rowN = (image[1] - pixelOffset - p.RNRMO) / p.RNRMSF;
    const double colN = (image[0] - pixelOffset - p.CNRMO) / p.CNRMSF;
    const double hN = IsUndefinedElevation(image[2]) ? 0.0 : (image[2] - p.ZNRMO) / p.ZNRMSF;
    TESSEL_RSM_TRACE(1, boost::format("RSM_POLY::I2G: rcN(%1%, %2%), hN(%3%)") % rowN % colN % hN);
    const double rowTolerance = desiredPrecision / p.RNRMSF;
    const double colTolerance = desiredPrecision / p.CNRMSF;
    TESSEL_RSM_TRACE(1,
                     boost::format("RSM_POLY::I2G: \xEE(%1%, %2%)") % rowTolerance % colTolerance);
    double lonN = 0.0;
    double latN = 0.0;
    int i = 0;
    rsmp::Quad dx{};
    rsmp::Quad dy{};
    for (;;) {
        TESSEL_RSM_TRACE(
            1, boost::format("RSM_POLY::I2G: [%1%] llN(%2%, %3%), hN(%4%)") % i % latN % lonN % hN);
        const rsmp::Quad value = rsmp::evaluate(section, lonN, latN, hN);
        const double row = value[0] / value[1];
        const double col = value[2] / value[3];
        TESSEL_RSM_TRACE(2, boost::format("RSM_POLY::I2G:     row = %1% / %2% = %3%") % value[0] %
                                value[1] % row);
        TESSEL_RSM_TRACE(2, boost::format("RSM_POLY::I2G:     col = %1% / %2% = %3%") % value[2] %
                                value[3] % col);
        const double drow = rowN - row;
        const double dcol = colN - col;
        TESSEL_RSM_TRACE(1, boost::format("RSM_POLY::I2G:     rcC(%1% \xEB{%2%}, %3% {%4%})") %
                                row % drow % col % dcol);
        if (achievedPrecision != nullptr) {
            *achievedPrecision = (dcol + drow) * 0.5;
        }
        if (std::fabs(drow) < rowTolerance && std::fabs(dcol) < colTolerance) {
            break;
        }
        // The slopes only when another step follows.
        rsmp::evaluateSlopes(section, lonN, latN, hN, dx, dy);
        rsmp::traceSlopes(dy, dx);
        const double rowPartialLat =
            rsmp::quotientSlope("rowPartialLat", dy[0], value[1], dy[1], value[0]);
        const double rowPartialLon =
            rsmp::quotientSlope("rowPartialLon", dx[0], value[1], dx[1], value[0]);
        const double colPartialLat =
            rsmp::quotientSlope("colPartialLat", dy[2], value[3], dy[3], value[2]);
        const double colPartialLon =
            rsmp::quotientSlope("colPartialLon", dx[2], value[3], dx[3], value[2]);
        const double W = colPartialLat * rowPartialLon - colPartialLon * rowPartialLat;
        TESSEL_RSM_TRACE(2, boost::format("RSM_POLY::I2G:     W(%1%)") % W);
        const double latStep = (rowPartialLon * dcol - colPartialLon * drow) / W;
        const double lonStep = (colPartialLat * drow - rowPartialLat * dcol) / W;
        TESSEL_RSM_TRACE(1, boost::format("RSM_POLY::I2G:     llO(%1%, %2%)") % latStep % lonStep);
        latN += latStep;
        lonN += lonStep;
        i += 1;
        if (i >= maxIterations) {
            break;
        }
    }
    if (i >= maxIterations) {
        TESSEL_RSM_TRACE(1, boost::format("RSM_POLY::I2G: DID NOT CONVERGE"));
        if (warnings != nullptr) {
            warnings->push_back(
                csm::Warning(csm::Warning::NO_INTERSECTION,
                             "[VEXA_RSM_POLY::VEXA_RSM_POLY] Did not converge in n Iterations",
                             "ImageToGround"));
        }
    }
    ground[0] = lonN * p.XNRMSF + p.XNRMO;
    ground[1] = latN * p.YNRMSF + p.YNRMO;
    ground[2] = hN * p.ZNRMSF + p.ZNRMO;
    TESSEL_RSM_TRACE(1, boost::format("RSM_POLY::I2G: x(%1%), y(%2%), z(%3%)") % ground[0] %
                            ground[1] % ground[2]);
    return true;
}

// --- CSM operations -------------------------------------------------------------------

csm::ImageCoord RSMPolyModel::groundToImage(const csm::EcefCoord& groundPt, double desiredPrecision,
                                            double* /*achievedPrecision*/,
                                            csm::WarningList* warnings) const {
    TESSEL_RSM_TRACE(1, boost::format("RSM_POLY::G2I: in(%1%), dp(%2%)") %
                            rsmp::ecefText(groundPt) % desiredPrecision);
    double ground[3] = {};
    toDomain(groundPt, ground);
    double image[3] = {};
    forward(ground, image, "GroundToImage", warnings);
    return csm::ImageCoord(image[1], image[0]);
}

csm::EcefCoord RSMPolyModel::imageToGround(const csm::ImageCoord& imagePt, double height,
                                           double desiredPrecision, double* achievedPrecision,
                                           csm::WarningList* warnings) const {
    const double image[3] = {imagePt.samp, imagePt.line, height};
    double ground[3] = {};
    if (!inverse(image, ground, desiredPrecision, achievedPrecision, warnings)) {
        return csm::EcefCoord(0.0, 0.0, 0.0);
    }
    return fromDomain(ground);
}

csm::EcefLocus RSMPolyModel::locusAt(int section, const csm::ImageCoord& imagePt,
                                     const csm::EcefCoord* from, csm::WarningList* warnings) const {
    const RSMPCA& p = rsmpca[static_cast<size_t>(section)];
    const csm::EcefCoord high =
        imageToGround(imagePt, p.ZNRMO + 2.0 * p.ZNRMSF, 0.001, nullptr, warnings);
    csm::EcefCoord low;
    if (from != nullptr) {
        low = *from;
    } else {
        low = imageToGround(imagePt, p.ZNRMO, 0.001, nullptr, warnings);
    }
    csm::EcefVector direction(high.x - low.x, high.y - low.y, high.z - low.z);
    rsmp::normaliseRsm(direction);
    if (from != nullptr) {
        return csm::EcefLocus(*from, direction);
    }
    const auto heights = getValidHeightRange();
    return csm::EcefLocus(
        imageToGround(imagePt, (heights.first + heights.second) / 2.0, 0.001, nullptr, warnings),
        direction);
}

// The section comes from the Earth-centred values of the ground point as they stand, not
// from the point in the model's domain.
csm::EcefLocus RSMPolyModel::imageToProximateImagingLocus(const csm::ImageCoord& imagePt,
                                                          const csm::EcefCoord& groundPt,
                                                          double /*desiredPrecision*/,
                                                          double* /*achievedPrecision*/,
                                                          csm::WarningList* warnings) const {
    const double raw[3] = {groundPt.x, groundPt.y, groundPt.z};
    TESSEL_RSM_TRACE(
        1, boost::format("RSM_POLY::I2PIL: inD(%1%, %2%, %3%)") % raw[0] % raw[1] % raw[2]);
    const int s = sectionFromGround(raw);
    if (s < 0) {
        rsmp::warnNoSection(warnings, "ImageToProximateImagingLocus");
        return csm::EcefLocus(csm::EcefCoord(0.0, 0.0, 0.0), csm::EcefVector(0.0, 0.0, 0.0));
    }
    return locusAt(s, imagePt, &groundPt, warnings);
}

csm::EcefLocus RSMPolyModel::imageToRemoteImagingLocus(const csm::ImageCoord& imagePt,
                                                       double /*desiredPrecision*/,
                                                       double* /*achievedPrecision*/,
                                                       csm::WarningList* warnings) const {
    TESSEL_RSM_TRACE(1, boost::format("RSM_POLY::I2RIL: inD(%1%, %2%, %3%)") % imagePt.samp %
                            imagePt.line % 0.0);
    const int s = sectionFromImage(imagePt.line, imagePt.samp);
    if (s < 0) {
        rsmp::warnNoSection(warnings, "ImageToRemoteImagingLocus");
        return csm::EcefLocus(csm::EcefCoord(0.0, 0.0, 0.0), csm::EcefVector(0.0, 0.0, 0.0));
    }
    return locusAt(s, imagePt, nullptr, warnings);
}

csm::ImageCoord RSMPolyModel::getImageStart() const {
    return csm::ImageCoord(rsmid.MINR, rsmid.MINC);
}

csm::ImageVector RSMPolyModel::getImageSize() const {
    if (!rsmid.FULLR || !rsmid.FULLC) {
        throw csm::Error(csm::Error::UNSUPPORTED_FUNCTION,
                         "RSMID.FULLR and RSMID.FULLC are not available",
                         std::string(rsmp::kPolyClass) + "getImageSize");
    }
    return csm::ImageVector(*rsmid.FULLR, *rsmid.FULLC);
}

std::pair<csm::ImageCoord, csm::ImageCoord> RSMPolyModel::getValidImageRange() const {
    return {csm::ImageCoord(rsmid.MINR + pixelOffset, rsmid.MINC + pixelOffset),
            csm::ImageCoord(rsmid.MAXR + pixelOffset, rsmid.MAXC + pixelOffset)};
}

std::pair<double, double> RSMPolyModel::getValidHeightRange() const {
    const double heights[8] = {rsmid.V1Z, rsmid.V2Z, rsmid.V3Z, rsmid.V4Z,
                               rsmid.V5Z, rsmid.V6Z, rsmid.V7Z, rsmid.V8Z};
    const auto [low, high] = std::minmax_element(std::begin(heights), std::end(heights));
    return {*low, *high};
}

// The illumination polynomials pair the sample with the letter R and the line with C.
csm::EcefVector RSMPolyModel::getIlluminationDirection(const csm::EcefCoord& groundPt) const {
    if (!rsmid.IE0 || !rsmid.IA0) {
        throw csm::Error(csm::Error::ISD_NOT_SUPPORTED, "RSMID.IE0, RSMID.IA0 are not available",
                         std::string(rsmp::kPolyClass) + "getIlluminationDirection");
    }
    const csm::ImageCoord image = groundToImage(groundPt, 0.001, nullptr, nullptr);
    const double s = image.samp;
    const double l = image.line;
    const RSMID& r = rsmid;
    const double azimuth = *r.IA0 + r.IAR.value_or(0) * s + r.IAC.value_or(0) * l +
                           r.IARR.value_or(0) * s * s + r.IARC.value_or(0) * l * s +
                           r.IACC.value_or(0) * l * l;
    const double elevation = *r.IE0 + r.IER.value_or(0) * s + r.IEC.value_or(0) * l +
                             r.IERR.value_or(0) * s * s + r.IERC.value_or(0) * l * s +
                             r.IECC.value_or(0) * l * l;
    csm::EcefVector direction;
    gx_lph_to_xyz(kWgs84A, kWgs84E2, azimuth, elevation, 1.0, &direction.x, &direction.y,
                  &direction.z);
    return direction;
}

double RSMPolyModel::timeFraction() const {
    if (!rsmid.SECOND) {
        return 0.0;
    }
    return *rsmid.SECOND - std::trunc(*rsmid.SECOND);
}

double RSMPolyModel::getImageTime(const csm::ImageCoord& imagePt) const {
    const double frac = timeFraction();
    if (!rsmid.NRG || !rsmid.NCG || !rsmid.TRG) {
        return frac;
    }
    return std::floor((imagePt.line - pixelOffset) / *rsmid.NRG) * *rsmid.TRG + frac +
           std::floor((imagePt.samp - pixelOffset) / *rsmid.NCG) * rsmid.TCG.value_or(0.0);
}

namespace detail_rsm_poly {

bool hasMotion(const RSMID& r) {
    return r.SPX && r.SPY && r.SPZ && r.SVX && r.SVY && r.SVZ && r.SAX && r.SAY && r.SAZ;
}

[[noreturn]] void throwNoMotion(const char* function) {
    throw csm::Error(csm::Error::ISD_NOT_SUPPORTED,
                     "RSMID.SP, RSMID.SV, and RSMID.SA are not available",
                     std::string(kPolyClass) + function);
}

}  // namespace detail_rsm_poly

csm::EcefCoord RSMPolyModel::getSensorPosition(double time) const {
    const RSMID& r = rsmid;
    if (!rsmp::hasMotion(r)) {
        rsmp::throwNoMotion("getSensorPosition");
    }
    const double t = time - timeFraction();
    const double position[3] = {*r.SPX + *r.SVX * t + *r.SAX * 0.5 * t * t,
                                *r.SPY + *r.SVY * t + *r.SAY * 0.5 * t * t,
                                *r.SPZ + *r.SVZ * t + *r.SAZ * 0.5 * t * t};
    return fromDomain(position);
}

csm::EcefCoord RSMPolyModel::getSensorPosition(const csm::ImageCoord& imagePt) const {
    return getSensorPosition(getImageTime(imagePt));
}

csm::EcefVector RSMPolyModel::getSensorVelocity(double time) const {
    const RSMID& r = rsmid;
    if (!rsmp::hasMotion(r)) {
        rsmp::throwNoMotion("getSensorVelocity");
    }
    const double t = time - timeFraction();
    csm::EcefVector velocity(*r.SVX + *r.SAX * t, *r.SVY + *r.SAY * t, *r.SVZ + *r.SAZ * t);
    rsmp::normaliseRsm(velocity);
    return velocity;
}

csm::EcefVector RSMPolyModel::getSensorVelocity(const csm::ImageCoord& imagePt) const {
    return getSensorVelocity(getImageTime(imagePt));
}

bool RSMPolyModel::useLLH() const {
    return rsmid.GRNDD != RSMGroundDomain::R;
}

ImageCoord RSMPolyModel::groundToImage_llh(const LLHCoord& groundPt, double desiredPrecision,
                                           double* /*achievedPrecision*/,
                                           csm::WarningList* warnings) const {
    TESSEL_RSM_TRACE(1, boost::format("RSM_POLY::G2I: in(%1%), dp(%2%)") % rsmp::llhText(groundPt) %
                            desiredPrecision);
    double ground[3] = {groundPt.lon * kDegToRad, groundPt.lat * kDegToRad, groundPt.height};
    if (rsmid.GRNDD == RSMGroundDomain::H && ground[0] < 0.0) {
        ground[0] += rsmp::kTwoPi;
    } else if (rsmid.GRNDD == RSMGroundDomain::R) {
        gx_lph_to_xyz(kWgs84A, kWgs84E2, groundPt.lon * kDegToRad, groundPt.lat * kDegToRad,
                      groundPt.height, &ground[0], &ground[1], &ground[2]);
    }
    double image[3] = {};
    forward(ground, image, "GroundToImage", warnings);
    return ImageCoord(image[1], image[0]);
}

LLHCoord RSMPolyModel::imageToGround_llh(const ImageCoord& imagePt, double height,
                                         double desiredPrecision, double* achievedPrecision,
                                         csm::WarningList* warnings) const {
    const double image[3] = {imagePt.samp, imagePt.line, height};
    double ground[3] = {};
    if (!inverse(image, ground, desiredPrecision, achievedPrecision, warnings)) {
        return LLHCoord(0.0, 0.0, 0.0);
    }
    LLHCoord result(ground[1] * kRadToDeg, ground[0] * kRadToDeg, ground[2]);
    if (rsmid.GRNDD == RSMGroundDomain::R) {
        double lambda = 0.0;
        double phi = 0.0;
        double h = 0.0;
        gx_xyz_to_lph(kWgs84A, kWgs84E2, ground[0], ground[1], ground[2], &lambda, &phi, &h);
        result = LLHCoord(phi * kRadToDeg, lambda * kRadToDeg, h);
    }
    return result.wrap();
}

}  // namespace VEXASensors
