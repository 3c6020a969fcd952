#include "tessel/sensors/IGEOLOModel.h"

#include <stdexcept>
#include <variant>

#include "sensors/SupportData.h"
#include "tessel/file/NITFFileContext.h"
#include "tessel/platform/geo/nitf_igeolo.h"

namespace VEXASensors {

const std::string IGEOLO_MODEL_NAME = "VEXA_4C_IGEOLO";

namespace detail_igeolo {

using namespace detail_support;

LLHCoord cornerDegrees(const lumo_geo::corner& corner) {
    const std::optional<lumo_geo::geodetic_degrees> degrees =
        std::holds_alternative<lumo_geo::unsupported>(corner)
            ? std::nullopt
            : lumo_geo::to_geodetic_degrees(corner);
    if (!degrees) {
        throw std::runtime_error("Unsupported coordinate conversion (no path defined).");
    }
    return LLHCoord(degrees->lat, degrees->lon, 0.0);
}

// The two fields as the image parameter reader gives them; nothing, without a further
// message, when either is missing or ICORDS is blank.
struct IgeoloFields {
    std::string icords;
    std::string igeolo;
};

std::optional<IgeoloFields> usableFields(const std::string& icords, std::string igeolo) {
    if (icords == "UNKNOWN" || igeolo == "UNKNOWN") {
        return std::nullopt;
    }
    const size_t first = icords.find_first_not_of(' ');
    if (first == std::string::npos) {
        return std::nullopt;
    }
    return IgeoloFields{icords.substr(first), std::move(igeolo)};
}

std::unique_ptr<IGEOLOModel> makeModel(const IgeoloFields& fields, bool chipped,
                                       const StateHeader& header,
                                       const RasterGM::PropertyMap& props, const std::string& name,
                                       const FailSink& fail) {
    if (chipped) {
        failAndThrow(fail, "IGEOLO ICHIP not supported");
    }
    const std::optional<FourCornerModel::Corners> corners =
        igeoloCorners(fields.icords, fields.igeolo);
    if (!corners) {
        failAndThrow(fail, "Unable to parse IGEOLO string");
    }
    return std::make_unique<IGEOLOModel>(fields.icords, fields.igeolo, *corners, header, props,
                                         name);
}

void checkName(const std::string& name, const FailSink& fail) {
    if (name != IGEOLO_MODEL_NAME) {
        failAndThrow(fail, "Modelname not supported");
    }
}

}  // namespace detail_igeolo

std::optional<FourCornerModel::Corners> igeoloCorners(const std::string& icords,
                                                      const std::string& igeolo) {
    const std::optional<lumo_geo::corners> parsed =
        nitf_igeolo::parse(icords.empty() ? ' ' : icords.front(), igeolo);
    if (!parsed) {
        return std::nullopt;
    }
    FourCornerModel::Corners corners;
    for (size_t i = 0; i < corners.size(); ++i) {
        corners[i] = detail_igeolo::cornerDegrees((*parsed)[i]);
    }
    return corners;
}

IGEOLOModel::IGEOLOModel(const std::string& icords, const std::string& igeolo,
                         const Corners& corners, const StateHeader& header,
                         const PropertyMap& props, const std::string& name)
    : FourCornerModel(header, corners, props, name), ICORDS(icords), IGEOLO(igeolo) {}

std::unique_ptr<IGEOLOModel> IGEOLOModel::fromDocument(const nlohmann::json& document,
                                                       const std::string& name,
                                                       const FailSink& fail) {
    using namespace detail_igeolo;
    return guardedConstruction<IGEOLOModel>(fail, [&]() -> std::unique_ptr<IGEOLOModel> {
        const PropertyMap props = loadProperties(document);
        const StateHeader header = readHeader(document, fail);
        checkName(name, fail);
        const std::optional<IgeoloFields> fields = usableFields(
            imageParameter(document, "ICORDS", fail), imageParameter(document, "IGEOLO", fail));
        if (!fields) {
            return nullptr;
        }
        const bool chipped = document.is_object() && document.contains("ICHIPB");
        return makeModel(*fields, chipped, header, props, name, fail);
    });
}

std::unique_ptr<IGEOLOModel> IGEOLOModel::fromFile(const Tessel::NITFFileContext& file,
                                                   const std::string& name, const FailSink& fail) {
    using namespace detail_igeolo;
    return guardedConstruction<IGEOLOModel>(fail, [&]() -> std::unique_ptr<IGEOLOModel> {
        const StateHeader header = readHeader(file, fail);
        checkName(name, fail);
        const std::optional<IgeoloFields> fields = usableFields(
            imageParameter(file, "ICORDS", fail), imageParameter(file, "IGEOLO", fail));
        if (!fields) {
            return nullptr;
        }
        return makeModel(*fields, fileHasTre(file, "ICHIPB"), header, PropertyMap{}, name, fail);
    });
}

std::string IGEOLOModel::getModelState() const {
    nlohmann::ordered_json document = stateDocument();
    document["ICORDS"] = ICORDS;
    document["IGEOLO"] = IGEOLO;
    return formatState(document);
}

}  // namespace VEXASensors
