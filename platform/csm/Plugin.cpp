#include "tessel/csm/Plugin.h"

#include <algorithm>
#include <mutex>

#include "tessel/csm/Error.h"

namespace csm {

class Plugin::Impl {
public:
    std::mutex mutex;
};

Plugin::PluginList* Plugin::theList = nullptr;
Plugin::Impl* Plugin::theImpl = nullptr;
std::string Plugin::theDataDir;

// Plug-ins register from static constructors, possibly before this library's own statics
// would be initialised in a different order, so both are made on first use and kept for the
// life of the process.
Plugin::Impl* Plugin::impl() {
    static Impl* const made = [] {
        theImpl = new Impl();
        return theImpl;
    }();
    return made;
}

const Plugin::PluginList& Plugin::getList() {
    std::lock_guard lock(impl()->mutex);
    if (theList == nullptr) {
        theList = new PluginList();
    }
    return *theList;
}

Plugin::Plugin() {
    getList();
    std::lock_guard lock(impl()->mutex);
    theList->push_back(this);
}

const Plugin* Plugin::findPlugin(const std::string& pluginName, WarningList* warnings) {
    getList();
    std::lock_guard lock(impl()->mutex);
    for (const Plugin* plugin : *theList) {
        if (plugin->getPluginName() == pluginName) {
            return plugin;
        }
    }
    if (warnings != nullptr) {
        warnings->push_back(
            Warning(Warning::DATA_NOT_AVAILABLE, "No matching plugin found", "Plugin::findPlugin"));
    }
    return nullptr;
}

void Plugin::removePlugin(const std::string& pluginName, WarningList* warnings) {
    const Plugin* plugin = findPlugin(pluginName, warnings);
    if (plugin == nullptr) {
        return;
    }
    std::lock_guard lock(impl()->mutex);
    const auto it = std::find(theList->begin(), theList->end(), plugin);
    if (it == theList->end()) {
        throw Error(Error::BOUNDS, "Plugin " + pluginName + " not in the list",
                    "Plugin::removePlugin");
    }
    theList->erase(it);
}

const std::string& Plugin::getDataDirectory() {
    return theDataDir;
}

void Plugin::setDataDirectory(const std::string& dataDir) {
    theDataDir = dataDir;
}

}  // namespace csm
