#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// Image support data for CSM plug-ins that don't know this library's files: a path becomes a
// csm::Isd through a list of factories in priority order. Two are built in: "NITF" (1), which
// reads the whole file into a csm::Nitf20Isd or csm::Nitf21Isd, and "FILE" (10000), which hands
// over the file name only.

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tessel/csm/Isd.h"

namespace VEXASensors {

class IIsdFactory {
public:
    virtual ~IIsdFactory();
    // An ISD for the path, or null when this factory can't make one.
    virtual std::unique_ptr<csm::Isd> create(const std::filesystem::path& path) const = 0;
};

class FileIsdFactory : public IIsdFactory {
public:
    std::unique_ptr<csm::Isd> create(const std::filesystem::path& path) const override;
};

class NitfIsdFactory : public IIsdFactory {
public:
    std::unique_ptr<csm::Isd> create(const std::filesystem::path& path) const override;
};

// The mark of a file of this library: the plug-ins of its own models read the file itself.
class VexaIsd : public csm::Isd {
public:
    explicit VexaIsd(const std::string& path) : csm::Isd("VEXAISD", path) {}
};

struct FactoryInfo {
    int priority = 0;
    std::string name;
};

class CsmIsdFactory {
public:
    using Maker = std::function<std::unique_ptr<IIsdFactory>()>;

    virtual ~CsmIsdFactory();

    // False, and nothing changes, when the name is registered already.
    static bool registerFactory(int priority, const std::string& name, Maker maker);
    // The first ISD that a factory gives, walking from the lowest priority number; null when
    // none answers. An empty maker throws std::bad_function_call.
    static std::unique_ptr<csm::Isd> create(const std::filesystem::path& path);
    // Priority and name of each factory, in the order of the walk.
    static std::vector<std::pair<int, std::string>> getFactoryInfo();
};

}  // namespace VEXASensors

namespace NitroUtils {

class NitroISD {
public:
    // The file's header, TREs, image subheaders and data extension segments, as the file
    // holds them; null after a message in `errors`.
    static std::unique_ptr<csm::Isd> create(const std::string& path,
                                            std::vector<std::string>& errors);
};

}  // namespace NitroUtils

TESSEL_PUBLIC_END
