#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// The four-corner model whose corners come from the image subheader's ICORDS and IGEOLO.

#include <memory>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "tessel/sensors/FourCornerModel.h"

namespace Tessel {
class NITFFileContext;
}

namespace VEXASensors {

extern const std::string IGEOLO_MODEL_NAME;  // "VEXA_4C_IGEOLO"

class IGEOLOModel : public FourCornerModel {
public:
    using FailSink = std::function<void(const std::string&)>;

    // `corners` are those that igeoloCorners gives for the two texts.
    IGEOLOModel(const std::string& icords, const std::string& igeolo, const Corners& corners,
                const StateHeader& header, const PropertyMap& props, const std::string& name);

    static std::unique_ptr<IGEOLOModel> fromDocument(const nlohmann::json& document,
                                                     const std::string& name, const FailSink& fail);
    static std::unique_ptr<IGEOLOModel> fromFile(const Tessel::NITFFileContext& file,
                                                 const std::string& name, const FailSink& fail);

    std::string getModelState() const override;
    const std::string& icords() const { return ICORDS; }
    const std::string& igeolo() const { return IGEOLO; }

private:
    std::string ICORDS;
    std::string IGEOLO;
};

// The corners that ICORDS and IGEOLO give, in the order upper left, upper right, lower
// right, lower left; nothing when the text doesn't parse. Throws std::runtime_error
// "Unsupported coordinate conversion (no path defined)." for a corner without conversion.
std::optional<FourCornerModel::Corners> igeoloCorners(const std::string& icords,
                                                      const std::string& igeolo);

}  // namespace VEXASensors

TESSEL_PUBLIC_END
