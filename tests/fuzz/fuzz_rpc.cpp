// The RPC record reader: any bytes, read either as the data of an RPC00A/RPC00B TRE cut into
// its fixed-width fields or as a JSON state document, then the model (if one is made)
// evaluated both ways. The same document also goes to the replacement sensor model's
// reader, and a model that it makes is evaluated through every operation. Nothing may
// crash, hang or read out of bounds.

#include <cstddef>
#include <cstdint>
#include <exception>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "tessel/sensors/RPC00Model.h"
#include "tessel/sensors/RSMPolyModel.h"

namespace {

// Field widths of the TRE in order: the scalars, then four lists of twenty coefficients.
constexpr size_t kScalarWidths[] = {1, 7, 7, 6, 5, 8, 9, 5, 6, 5, 8, 9, 5};
constexpr const char* kScalarNames[] = {
    "SUCCESS",    "ERR_BIAS",   "ERR_RAND",   "LINE_OFF",  "SAMP_OFF",   "LAT_OFF",     "LONG_OFF",
    "HEIGHT_OFF", "LINE_SCALE", "SAMP_SCALE", "LAT_SCALE", "LONG_SCALE", "HEIGHT_SCALE"};
constexpr const char* kListNames[] = {"LINE_NUM_COEFF", "LINE_DEN_COEFF", "SAMP_NUM_COEFF",
                                      "SAMP_DEN_COEFF"};

// Cuts the data as the TRE's layout does; a short input leaves the later fields out, as a
// cut TRE would.
nlohmann::json fieldsOf(std::string_view data) {
    nlohmann::json record = nlohmann::json::object();
    size_t at = 0;
    const auto take = [&](size_t width) -> std::string {
        const std::string field(data.substr(at, width));
        at += width;
        return field;
    };
    for (size_t i = 0; i < std::size(kScalarWidths) && at + kScalarWidths[i] <= data.size(); ++i) {
        record[kScalarNames[i]] = take(kScalarWidths[i]);
    }
    for (const char* name : kListNames) {
        if (at + 12 > data.size()) {
            break;
        }
        nlohmann::json list = nlohmann::json::array();
        for (int i = 0; i < 20 && at + 12 <= data.size(); ++i) {
            list.push_back(take(12));
        }
        record[name] = list;
    }
    return record;
}

void exercise(const VEXASensors::RPC00Model& model) {
    const auto range = model.getValidImageRange();
    const VEXASensors::ImageCoord image = model.groundToImage_llh(
        VEXASensors::LLHCoord(model.record().LAT_OFF, model.record().LONG_OFF, 0.0), 0.001, nullptr,
        nullptr);
    csm::WarningList warnings;
    (void)model.imageToGround_llh(VEXASensors::ImageCoord(range.second.line, image.samp), 0.0,
                                  0.001, nullptr, &warnings);
    (void)model.getModelState();
}

// Every operation of the model once; the CSM errors of missing data are expected.
void exerciseRsm(const VEXASensors::RSMPolyModel& model) {
    const auto range = model.getValidImageRange();
    const auto heights = model.getValidHeightRange();
    const double height = (heights.first + heights.second) / 2.0;
    const VEXASensors::ImageCoord centre((range.first.line + range.second.line) / 2.0,
                                         (range.first.samp + range.second.samp) / 2.0);
    csm::WarningList warnings;
    double achieved = 0.0;
    const VEXASensors::LLHCoord ground =
        model.imageToGround_llh(centre, height, 0.001, &achieved, &warnings);
    (void)model.groundToImage_llh(ground, 0.001, nullptr, &warnings);
    (void)model.groundToImage_llh(VEXASensors::LLHCoord(ground.lat, ground.lon, -9999.0), 0.001,
                                  nullptr, &warnings);
    const csm::ImageCoord corner(range.second.line, range.first.samp);
    const csm::EcefCoord ecef = model.imageToGround(corner, height, 0.001, &achieved, &warnings);
    (void)model.groundToImage(ecef, 0.001, nullptr, &warnings);
    (void)model.imageToProximateImagingLocus(corner, ecef, 0.001, nullptr, &warnings);
    (void)model.imageToRemoteImagingLocus(corner, 0.001, nullptr, &warnings);
    (void)model.getImageTime(corner);
    (void)model.getReferenceDateAndTime();
    (void)model.getModelState();
    const auto guarded = [](const auto& call) {
        try {
            call();
        } catch (const std::exception&) {
            // Missing support data is a CSM error by design.
        }
    };
    guarded([&] { (void)model.getReferencePoint(); });
    guarded([&] { (void)model.getImageSize(); });
    guarded([&] { (void)model.getSensorPosition(corner); });
    guarded([&] { (void)model.getSensorVelocity(corner); });
    guarded([&] { (void)model.getIlluminationDirection(ecef); });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::string_view rest(reinterpret_cast<const char*>(data) + 1, size - 1);
    const bool asB = (data[0] & 1) != 0;
    const std::string name = asB ? VEXASensors::RPC_B_MODEL_NAME : VEXASensors::RPC_A_MODEL_NAME;
    nlohmann::json document;
    if ((data[0] & 2) != 0) {
        document = nlohmann::json::parse(rest, nullptr, false);
    } else {
        document = {{"IID2", "fuzz"}, {"IDATIM", ""}, {"NROWS", 1}, {"NCOLS", 1}};
        document[asB ? "RPC00B" : "RPC00A"] = fieldsOf(rest);
    }
    const auto model = VEXASensors::RPC00Model::fromDocument(document, name, nullptr);
    if (model) {
        exercise(*model);
    }
    const nlohmann::json rsmDocument =
        (data[0] & 2) != 0 ? document : nlohmann::json::parse(rest, nullptr, false);
    const auto rsm = VEXASensors::RSMPolyModel::fromDocument(rsmDocument, nullptr);
    if (rsm) {
        exerciseRsm(*rsm);
    }
    return 0;
}
