#pragma once
// A sensor model plug-in. Every concrete plug-in is one static object whose construction
// enters it in the process-wide list that this library holds.

#include <cstddef>
#include <list>
#include <string>

#include "Isd.h"
#include "Model.h"
#include "Version.h"
#include "Warning.h"
#include "csm.h"

namespace csm {

class CSM_EXPORT_API Plugin {
public:
    typedef std::list<const Plugin*> PluginList;

    static const PluginList& getList();
    static const Plugin* findPlugin(const std::string& pluginName, WarningList* warnings = nullptr);
    static void removePlugin(const std::string& pluginName, WarningList* warnings = nullptr);
    static const std::string& getDataDirectory();
    static void setDataDirectory(const std::string& dataDir);

    virtual ~Plugin() {}

    virtual std::string getPluginName() const = 0;
    virtual std::string getManufacturer() const = 0;
    virtual std::string getReleaseDate() const = 0;
    virtual Version getCsmVersion() const = 0;
    virtual size_t getNumModels() const = 0;
    virtual std::string getModelName(size_t modelIndex) const = 0;
    virtual std::string getModelFamily(size_t modelIndex) const = 0;
    virtual Version getModelVersion(const std::string& modelName) const = 0;
    virtual bool canModelBeConstructedFromState(const std::string& modelName,
                                                const std::string& modelState,
                                                WarningList* warnings = nullptr) const = 0;
    virtual bool canModelBeConstructedFromISD(const Isd& imageSupportData,
                                              const std::string& modelName,
                                              WarningList* warnings = nullptr) const = 0;
    virtual Model* constructModelFromState(const std::string& modelState,
                                           WarningList* warnings = nullptr) const = 0;
    virtual Model* constructModelFromISD(const Isd& imageSupportData, const std::string& modelName,
                                         WarningList* warnings = nullptr) const = 0;
    virtual std::string getModelNameFromModelState(const std::string& modelState,
                                                   WarningList* warnings = nullptr) const = 0;
    virtual bool canISDBeConvertedToModelState(const Isd& imageSupportData,
                                               const std::string& modelName,
                                               WarningList* warnings = nullptr) const = 0;
    virtual std::string convertISDToModelState(const Isd& imageSupportData,
                                               const std::string& modelName,
                                               WarningList* warnings = nullptr) const = 0;

protected:
    Plugin();

private:
    class Impl;
    static Impl* impl();

    static PluginList* theList;
    static Impl* theImpl;
    static std::string theDataDir;
};

}  // namespace csm
