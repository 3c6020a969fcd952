// A sensor model plug-in written against the published interface only, with the headers
// included by their bare names as such plug-ins do. It offers no model.

#include "Plugin.h"
#include "RasterGM.h"
#include "csm.h"

namespace {

class TestCsmPlugin : public csm::Plugin {
public:
    std::string getPluginName() const override { return "TESSEL_TEST_CSM"; }
    std::string getManufacturer() const override { return "Tessel tests"; }
    std::string getReleaseDate() const override { return "20260101"; }
    csm::Version getCsmVersion() const override{return CURRENT_CSM_VERSION} size_t
        getNumModels() const override {
        return 1;
    }
    std::string getModelName(size_t) const override { return "TESSEL_TEST_MODEL"; }
    std::string getModelFamily(size_t) const override {
        return CSM_GEOMETRIC_MODEL_FAMILY CSM_RASTER_FAMILY;
    }
    csm::Version getModelVersion(const std::string&) const override {
        return csm::Version(1, 0, 0);
    }
    bool canModelBeConstructedFromState(const std::string&, const std::string&,
                                        csm::WarningList*) const override {
        return false;
    }
    bool canModelBeConstructedFromISD(const csm::Isd&, const std::string&,
                                      csm::WarningList*) const override {
        return false;
    }
    csm::Model* constructModelFromState(const std::string&, csm::WarningList*) const override {
        return nullptr;
    }
    csm::Model* constructModelFromISD(const csm::Isd&, const std::string&,
                                      csm::WarningList*) const override {
        return nullptr;
    }
    std::string getModelNameFromModelState(const std::string& state,
                                           csm::WarningList*) const override {
        return state.substr(0, state.find(' '));
    }
    bool canISDBeConvertedToModelState(const csm::Isd&, const std::string&,
                                       csm::WarningList*) const override {
        return false;
    }
    std::string convertISDToModelState(const csm::Isd&, const std::string&,
                                       csm::WarningList*) const override {
        return "";
    }
};

// Entered in the process-wide list when the module is loaded.
const TestCsmPlugin thePlugin;

}  // namespace
