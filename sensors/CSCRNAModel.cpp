#include "tessel/sensors/CSCRNAModel.h"

#include <cmath>

#include "sensors/SupportData.h"
#include "tessel/file/NITFFileContext.h"

namespace VEXASensors {

const std::string CSCRNA_MODEL_NAME = "VEXA_4C_CSCRNA";

namespace detail_cscrna {

using namespace detail_support;

CSCRNARecord readRecord(const nlohmann::json& object, const FailSink& fail) {
    const auto number = [&](const char* key) {
        return readNumber(memberOf(object, key, fail), fail);
    };
    CSCRNARecord r;
    r.PREDICT_CORNERS = readText(memberOf(object, "PREDICT_CORNERS", fail));
    r.ULCNR_LAT = number("ULCNR_LAT");
    r.ULCNR_LONG = number("ULCNR_LONG");
    r.ULCNR_HT = number("ULCNR_HT");
    r.URCNR_LAT = number("URCNR_LAT");
    r.URCNR_LONG = number("URCNR_LONG");
    r.URCNR_HT = number("URCNR_HT");
    r.LRCNR_LAT = number("LRCNR_LAT");
    r.LRCNR_LONG = number("LRCNR_LONG");
    r.LRCNR_HT = number("LRCNR_HT");
    r.LLCNR_LAT = number("LLCNR_LAT");
    r.LLCNR_LONG = number("LLCNR_LONG");
    r.LLCNR_HT = number("LLCNR_HT");
    return r;
}

void checkName(const std::string& name, const FailSink& fail) {
    if (name != CSCRNA_MODEL_NAME) {
        failAndThrow(fail, "Modelname not supported");
    }
}

}  // namespace detail_cscrna

FourCornerModel::Corners cscrnaCorners(const CSCRNARecord& r, const StateHeader& header) {
    const double lonStep = std::fabs(r.URCNR_LONG - r.ULCNR_LONG) / header.NCOLS;
    const double latStep = std::fabs(r.ULCNR_LAT - r.LLCNR_LAT) / header.NROWS;
    return {LLHCoord(r.ULCNR_LAT, r.ULCNR_LONG, 0.0),
            LLHCoord(r.URCNR_LAT, r.URCNR_LONG - lonStep, 0.0),
            LLHCoord(r.LRCNR_LAT + latStep, r.LRCNR_LONG - lonStep, 0.0),
            LLHCoord(r.LLCNR_LAT + latStep, r.LLCNR_LONG, 0.0)};
}

CSCRNAModel::CSCRNAModel(const CSCRNARecord& record, const StateHeader& header,
                         const PropertyMap& props, const std::string& name)
    : FourCornerModel(header, cscrnaCorners(record, header), props, name), cscrna(record) {}

std::unique_ptr<CSCRNAModel> CSCRNAModel::fromDocument(const nlohmann::json& document,
                                                       const std::string& name,
                                                       const FailSink& fail) {
    using namespace detail_cscrna;
    return guardedConstruction<CSCRNAModel>(fail, [&] {
        const PropertyMap props = loadProperties(document);
        const StateHeader header = readHeader(document, fail);
        checkName(name, fail);
        if (!document.is_object() || !document.contains("CSCRNA")) {
            failAndThrow(fail, "Could not find a CSCRNA TRE");
        }
        if (document.contains("ICHIPB")) {
            failAndThrow(fail, "CSCRNA ICHIP not supported");
        }
        return std::make_unique<CSCRNAModel>(readRecord(document["CSCRNA"], fail), header, props,
                                             name);
    });
}

std::unique_ptr<CSCRNAModel> CSCRNAModel::fromFile(const Tessel::NITFFileContext& file,
                                                   const std::string& name, const FailSink& fail) {
    using namespace detail_cscrna;
    return guardedConstruction<CSCRNAModel>(fail, [&] {
        const StateHeader header = readHeader(file, fail);
        checkName(name, fail);
        if (!fileHasTre(file, "CSCRNA")) {
            failAndThrow(fail, "Could not find a CSCRNA TRE");
        }
        if (fileHasTre(file, "ICHIPB")) {
            failAndThrow(fail, "CSCRNA ICHIP not supported");
        }
        return std::make_unique<CSCRNAModel>(readRecord(treDocument(file, "CSCRNA"), fail), header,
                                             PropertyMap{}, name);
    });
}

std::string CSCRNAModel::getModelState() const {
    nlohmann::ordered_json document = stateDocument();
    nlohmann::ordered_json record = nlohmann::ordered_json::object();
    const CSCRNARecord& r = cscrna;
    record["PREDICT_CORNERS"] = r.PREDICT_CORNERS;
    record["ULCNR_LAT"] = r.ULCNR_LAT;
    record["ULCNR_LONG"] = r.ULCNR_LONG;
    record["ULCNR_HT"] = r.ULCNR_HT;
    record["URCNR_LAT"] = r.URCNR_LAT;
    record["URCNR_LONG"] = r.URCNR_LONG;
    record["URCNR_HT"] = r.URCNR_HT;
    record["LRCNR_LAT"] = r.LRCNR_LAT;
    record["LRCNR_LONG"] = r.LRCNR_LONG;
    record["LRCNR_HT"] = r.LRCNR_HT;
    record["LLCNR_LAT"] = r.LLCNR_LAT;
    record["LLCNR_LONG"] = r.LLCNR_LONG;
    record["LLCNR_HT"] = r.LLCNR_HT;
    document["CSCRNA"] = std::move(record);
    return formatState(document);
}

}  // namespace VEXASensors
