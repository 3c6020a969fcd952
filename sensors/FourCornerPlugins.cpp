#include "tessel/sensors/FourCornerPlugins.h"

#include "tessel/core/Options.h"
#include "tessel/sensors/BLOCKAModel.h"
#include "tessel/sensors/CSCRNAModel.h"
#include "tessel/sensors/IGEOLOModel.h"

namespace VEXASensors {

namespace detail {

namespace {

std::function<void(const std::string&)> fourCornerSink(const IsdReader& reader) {
    return [&reader](const std::string& message) { reader.fail(message); };
}

// The model a policy makes from either kind of reader.
template <typename Model>
std::unique_ptr<Model> fourCornerModel(const DocumentReader& reader) {
    return Model::fromDocument(reader.value(), reader.modelName(), fourCornerSink(reader));
}

template <typename Model>
std::unique_ptr<Model> fourCornerModel(const NitfReader& reader) {
    return Model::fromFile(reader.file(), reader.modelName(), fourCornerSink(reader));
}

}  // namespace

bool VerifyIsdIGEOLO::operator()(const DocumentReader& reader) const {
    return fourCornerModel<IGEOLOModel>(reader) != nullptr;
}
bool VerifyIsdIGEOLO::operator()(const NitfReader& reader) const {
    return fourCornerModel<IGEOLOModel>(reader) != nullptr;
}
csm::Model* ConstructModelIGEOLO::operator()(const DocumentReader& reader) const {
    return fourCornerModel<IGEOLOModel>(reader).release();
}
csm::Model* ConstructModelIGEOLO::operator()(const NitfReader& reader) const {
    return fourCornerModel<IGEOLOModel>(reader).release();
}

bool VerifyIsdBLOCKA::operator()(const DocumentReader& reader) const {
    return fourCornerModel<BLOCKAModel>(reader) != nullptr;
}
bool VerifyIsdBLOCKA::operator()(const NitfReader& reader) const {
    return fourCornerModel<BLOCKAModel>(reader) != nullptr;
}
csm::Model* ConstructModelBLOCKA::operator()(const DocumentReader& reader) const {
    return fourCornerModel<BLOCKAModel>(reader).release();
}
csm::Model* ConstructModelBLOCKA::operator()(const NitfReader& reader) const {
    return fourCornerModel<BLOCKAModel>(reader).release();
}

bool VerifyIsdCSCRNA::operator()(const DocumentReader& reader) const {
    return fourCornerModel<CSCRNAModel>(reader) != nullptr;
}
bool VerifyIsdCSCRNA::operator()(const NitfReader& reader) const {
    return fourCornerModel<CSCRNAModel>(reader) != nullptr;
}
csm::Model* ConstructModelCSCRNA::operator()(const DocumentReader& reader) const {
    return fourCornerModel<CSCRNAModel>(reader).release();
}
csm::Model* ConstructModelCSCRNA::operator()(const NitfReader& reader) const {
    return fourCornerModel<CSCRNAModel>(reader).release();
}

}  // namespace detail

IGEOLOPlugin::IGEOLOPlugin()
    : Plugin(&Tessel::s_opt_vexa_igeolo_enable, "VEXA_4C_IGEOLO", {&IGEOLO_MODEL_NAME}) {}

BLOCKAPlugin::BLOCKAPlugin()
    : Plugin(&Tessel::s_opt_vexa_blocka_enable, "VEXA_4C_BLOCKA", {&BLOCKA_MODEL_NAME}) {}

CSCRNAPlugin::CSCRNAPlugin()
    : Plugin(&Tessel::s_opt_vexa_cscrna_enable, "VEXA_4C_CSCRNA", {&CSCRNA_MODEL_NAME}) {}

namespace detail_four_corner_plugins {

// Entered in CSM's list of plug-ins when the library loads.
const IGEOLOPlugin theIgeoloPlugin;
const BLOCKAPlugin theBlockaPlugin;
const CSCRNAPlugin theCscrnaPlugin;

}  // namespace detail_four_corner_plugins

}  // namespace VEXASensors
