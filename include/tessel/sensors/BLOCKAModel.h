#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// The four-corner model whose corners come from the BLOCKA record.

#include <memory>
#include <string>

#include <nlohmann/json.hpp>

#include "tessel/sensors/FourCornerModel.h"

namespace Tessel {
class NITFFileContext;
}

namespace VEXASensors {

extern const std::string BLOCKA_MODEL_NAME;  // "VEXA_4C_BLOCKA"

struct BLOCKARecord {
    std::string BLOCK_INSTANCE = "01";
    double N_GRAY = 0.0;
    double L_LINES = 0.0;
    double LAYOVER_ANGLE = 0.0;
    double SHADOW_ANGLE = 0.0;
    std::string FRLC_LOC;
    std::string LRLC_LOC;
    std::string LRFC_LOC;
    std::string FRFC_LOC;
};

// A corner location of 21 characters once trimmed: degrees, minutes and seconds with
// hemisphere letters, or signed decimal degrees. Any other length gives latitude and
// longitude 0.
LLHCoord parseBlockaLocation(const std::string& location);

class BLOCKAModel : public FourCornerModel {
public:
    using FailSink = std::function<void(const std::string&)>;

    BLOCKAModel(const BLOCKARecord& record, const StateHeader& header, const PropertyMap& props,
                const std::string& name);

    // A model from a state's or JSON ISD's document, or from a file's TRE; null after the
    // failure went to `fail`. Neither throws.
    static std::unique_ptr<BLOCKAModel> fromDocument(const nlohmann::json& document,
                                                     const std::string& name, const FailSink& fail);
    static std::unique_ptr<BLOCKAModel> fromFile(const Tessel::NITFFileContext& file,
                                                 const std::string& name, const FailSink& fail);

    std::string getModelState() const override;
    const BLOCKARecord& record() const { return blocka; }

private:
    BLOCKARecord blocka;
};

}  // namespace VEXASensors

TESSEL_PUBLIC_END
