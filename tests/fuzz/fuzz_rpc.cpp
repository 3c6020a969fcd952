// The RPC record reader: any bytes, read either as the data of an RPC00A/RPC00B TRE cut into
// its fixed-width fields or as a JSON state document, then the model (if one is made)
// evaluated both ways. Nothing may crash, hang or read out of bounds.

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "tessel/sensors/RPC00Model.h"

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
    return 0;
}
