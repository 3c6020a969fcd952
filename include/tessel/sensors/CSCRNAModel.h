#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// The four-corner model whose corners come from the CSCRNA record, each moved in by one
// pixel step on the right and bottom edges.

#include <memory>
#include <string>

#include <nlohmann/json.hpp>

#include "tessel/sensors/FourCornerModel.h"

namespace Tessel {
class NITFFileContext;
}

namespace VEXASensors {

extern const std::string CSCRNA_MODEL_NAME;  // "VEXA_4C_CSCRNA"

struct CSCRNARecord {
    std::string PREDICT_CORNERS;
    double ULCNR_LAT = 0.0, ULCNR_LONG = 0.0, ULCNR_HT = 0.0;
    double URCNR_LAT = 0.0, URCNR_LONG = 0.0, URCNR_HT = 0.0;
    double LRCNR_LAT = 0.0, LRCNR_LONG = 0.0, LRCNR_HT = 0.0;
    double LLCNR_LAT = 0.0, LLCNR_LONG = 0.0, LLCNR_HT = 0.0;
};

// The corners of the model: upper left as recorded, the others one pixel step in towards
// it, with fixed signs whatever the direction in which the image runs.
FourCornerModel::Corners cscrnaCorners(const CSCRNARecord& record, const StateHeader& header);

class CSCRNAModel : public FourCornerModel {
public:
    using FailSink = std::function<void(const std::string&)>;

    CSCRNAModel(const CSCRNARecord& record, const StateHeader& header, const PropertyMap& props,
                const std::string& name);

    static std::unique_ptr<CSCRNAModel> fromDocument(const nlohmann::json& document,
                                                     const std::string& name, const FailSink& fail);
    static std::unique_ptr<CSCRNAModel> fromFile(const Tessel::NITFFileContext& file,
                                                 const std::string& name, const FailSink& fail);

    std::string getModelState() const override;
    const CSCRNARecord& record() const { return cscrna; }

private:
    CSCRNARecord cscrna;
};

}  // namespace VEXASensors

TESSEL_PUBLIC_END
