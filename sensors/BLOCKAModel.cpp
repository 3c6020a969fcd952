#include "tessel/sensors/BLOCKAModel.h"

#include <charconv>
#include <string_view>

#include "sensors/SupportData.h"
#include "tessel/file/NITFFileContext.h"

namespace VEXASensors {

const std::string BLOCKA_MODEL_NAME = "VEXA_4C_BLOCKA";

namespace detail_blocka {

using namespace detail_support;

constexpr size_t kLocationLength = 21;

// A field of digits with a decimal point and an optional sign, read without regard to the
// locale; 0 when it doesn't read.
double fieldValue(std::string_view text) {
    if (!text.empty() && text.front() == '+') {
        text.remove_prefix(1);
    }
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() ? value : 0.0;
}

double sexagesimal(std::string_view degrees, std::string_view minutes, std::string_view seconds,
                   bool negative) {
    const double value =
        fieldValue(seconds) / 3600.0 + fieldValue(minutes) / 60.0 + fieldValue(degrees);
    return negative ? -value : value;
}

std::string_view trimmed(std::string_view text) {
    const size_t first = text.find_first_not_of(' ');
    if (first == std::string_view::npos) {
        return {};
    }
    const size_t last = text.find_last_not_of(' ');
    return text.substr(first, last - first + 1);
}

BLOCKARecord readRecord(const nlohmann::json& object, const FailSink& fail) {
    BLOCKARecord record;
    record.BLOCK_INSTANCE = readText(memberOf(object, "BLOCK_INSTANCE", fail));
    record.N_GRAY = readNumber(memberOf(object, "N_GRAY", fail), fail);
    record.L_LINES = readNumber(memberOf(object, "L_LINES", fail), fail);
    record.LAYOVER_ANGLE = readNumber(memberOf(object, "LAYOVER_ANGLE", fail), fail);
    record.SHADOW_ANGLE = readNumber(memberOf(object, "SHADOW_ANGLE", fail), fail);
    record.FRLC_LOC = readText(memberOf(object, "FRLC_LOC", fail));
    record.LRLC_LOC = readText(memberOf(object, "LRLC_LOC", fail));
    record.LRFC_LOC = readText(memberOf(object, "LRFC_LOC", fail));
    record.FRFC_LOC = readText(memberOf(object, "FRFC_LOC", fail));
    return record;
}

void checkName(const std::string& name, const FailSink& fail) {
    if (name != BLOCKA_MODEL_NAME) {
        failAndThrow(fail, "Modelname not supported");
    }
}

}  // namespace detail_blocka

LLHCoord parseBlockaLocation(const std::string& location) {
    using namespace detail_blocka;
    const std::string_view text = trimmed(location);
    if (text.size() != kLocationLength) {
        return LLHCoord(0.0, 0.0, 0.0);
    }
    if (text.front() != '+' && text.front() != '-') {
        const double lat =
            sexagesimal(text.substr(1, 2), text.substr(3, 2), text.substr(5, 5), text[0] == 'S');
        const double lon = sexagesimal(text.substr(11, 3), text.substr(14, 2), text.substr(16, 5),
                                       text[10] == 'W');
        return LLHCoord(lat, lon, 0.0);
    }
    const double lat = fieldValue(text.substr(0, 10));
    const double lon = fieldValue(text.substr(10, 11));
    return LLHCoord(lat, lon, 0.0);
}

BLOCKAModel::BLOCKAModel(const BLOCKARecord& record, const StateHeader& header,
                         const PropertyMap& props, const std::string& name)
    : FourCornerModel(header,
                      {parseBlockaLocation(record.FRFC_LOC), parseBlockaLocation(record.FRLC_LOC),
                       parseBlockaLocation(record.LRLC_LOC), parseBlockaLocation(record.LRFC_LOC)},
                      props, name),
      blocka(record) {}

std::unique_ptr<BLOCKAModel> BLOCKAModel::fromDocument(const nlohmann::json& document,
                                                       const std::string& name,
                                                       const FailSink& fail) {
    using namespace detail_blocka;
    return guardedConstruction<BLOCKAModel>(fail, [&] {
        const PropertyMap props = loadProperties(document);
        const StateHeader header = readHeader(document, fail);
        checkName(name, fail);
        if (!document.is_object() || !document.contains("BLOCKA")) {
            failAndThrow(fail, "Could not find a BLOCKA TRE");
        }
        if (document.contains("ICHIPB")) {
            failAndThrow(fail, "BLOCKA ICHIP not supported");
        }
        return std::make_unique<BLOCKAModel>(readRecord(document["BLOCKA"], fail), header, props,
                                             name);
    });
}

std::unique_ptr<BLOCKAModel> BLOCKAModel::fromFile(const Tessel::NITFFileContext& file,
                                                   const std::string& name, const FailSink& fail) {
    using namespace detail_blocka;
    return guardedConstruction<BLOCKAModel>(fail, [&] {
        const StateHeader header = readHeader(file, fail);
        checkName(name, fail);
        if (!fileHasTre(file, "BLOCKA")) {
            failAndThrow(fail, "Could not find a BLOCKA TRE");
        }
        if (fileHasTre(file, "ICHIPB")) {
            failAndThrow(fail, "BLOCKA ICHIP not supported");
        }
        return std::make_unique<BLOCKAModel>(readRecord(treDocument(file, "BLOCKA"), fail), header,
                                             PropertyMap{}, name);
    });
}

std::string BLOCKAModel::getModelState() const {
    nlohmann::ordered_json document = stateDocument();
    nlohmann::ordered_json record = nlohmann::ordered_json::object();
    record["BLOCK_INSTANCE"] = blocka.BLOCK_INSTANCE;
    record["N_GRAY"] = blocka.N_GRAY;
    record["L_LINES"] = blocka.L_LINES;
    record["LAYOVER_ANGLE"] = blocka.LAYOVER_ANGLE;
    record["SHADOW_ANGLE"] = blocka.SHADOW_ANGLE;
    record["FRLC_LOC"] = blocka.FRLC_LOC;
    record["LRLC_LOC"] = blocka.LRLC_LOC;
    record["LRFC_LOC"] = blocka.LRFC_LOC;
    record["FRFC_LOC"] = blocka.FRFC_LOC;
    document["BLOCKA"] = std::move(record);
    return formatState(document);
}

}  // namespace VEXASensors
