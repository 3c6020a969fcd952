#include "tessel/sensors/CsmIsdFactory.h"

#include <algorithm>
#include <mutex>

#include "tessel/core/NITFURI.h"

namespace VEXASensors {

IIsdFactory::~IIsdFactory() = default;
CsmIsdFactory::~CsmIsdFactory() = default;

namespace detail_isd_factory {

using Entry = std::pair<FactoryInfo, CsmIsdFactory::Maker>;

struct Registry {
    std::mutex mutex;
    std::vector<Entry> entries;
};

Registry& registry() {
    static Registry instance;
    return instance;
}

// The file part of a URI and its image number.
std::pair<std::string, std::string> fileAndImage(const std::filesystem::path& path) {
    const Tessel::NITFURI uri(std::string_view(path.string()));
    return {uri.getURI_u8(Tessel::URIParts::Path), std::to_string(uri.object_index())};
}

}  // namespace detail_isd_factory

namespace isdf = detail_isd_factory;

std::unique_ptr<csm::Isd> FileIsdFactory::create(const std::filesystem::path& path) const {
    const auto [file, image] = isdf::fileAndImage(path);
    auto isd = std::make_unique<csm::Isd>(file);
    isd->addParam("IMAGE_INDEX", image);
    return isd;
}

std::unique_ptr<csm::Isd> NitfIsdFactory::create(const std::filesystem::path& path) const {
    const auto [file, image] = isdf::fileAndImage(path);
    std::vector<std::string> errors;
    std::unique_ptr<csm::Isd> isd = NitroUtils::NitroISD::create(file, errors);
    if (isd) {
        isd->addParam("IMAGE_INDEX", image);
    }
    return isd;
}

bool CsmIsdFactory::registerFactory(int priority, const std::string& name, Maker maker) {
    isdf::Registry& r = isdf::registry();
    std::lock_guard lock(r.mutex);
    if (std::any_of(r.entries.begin(), r.entries.end(),
                    [&](const isdf::Entry& e) { return e.first.name == name; })) {
        return false;
    }
    r.entries.emplace_back(FactoryInfo{priority, name}, std::move(maker));
    std::stable_sort(r.entries.begin(), r.entries.end(),
                     [](const isdf::Entry& a, const isdf::Entry& b) {
                         return a.first.priority < b.first.priority;
                     });
    return true;
}

std::unique_ptr<csm::Isd> CsmIsdFactory::create(const std::filesystem::path& path) {
    std::vector<isdf::Entry> entries;
    {
        isdf::Registry& r = isdf::registry();
        std::lock_guard lock(r.mutex);
        entries = r.entries;
    }
    for (const isdf::Entry& entry : entries) {
        const std::unique_ptr<IIsdFactory> factory = entry.second();
        if (!factory) {
            continue;
        }
        if (std::unique_ptr<csm::Isd> isd = factory->create(path)) {
            return isd;
        }
    }
    return nullptr;
}

std::vector<std::pair<int, std::string>> CsmIsdFactory::getFactoryInfo() {
    isdf::Registry& r = isdf::registry();
    std::lock_guard lock(r.mutex);
    std::vector<std::pair<int, std::string>> info;
    for (const isdf::Entry& entry : r.entries) {
        info.emplace_back(entry.first.priority, entry.first.name);
    }
    return info;
}

namespace detail_isd_factory {

const bool builtInIsdFactories =
    CsmIsdFactory::registerFactory(1, "NITF", [] { return std::make_unique<NitfIsdFactory>(); }) &&
    CsmIsdFactory::registerFactory(10000, "FILE",
                                   [] { return std::make_unique<FileIsdFactory>(); });

}  // namespace detail_isd_factory

}  // namespace VEXASensors
