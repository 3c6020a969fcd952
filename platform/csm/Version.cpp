#include "tessel/csm/Version.h"

#include <sstream>

#include "tessel/csm/Error.h"

namespace csm {

Version::Version(int major, int minor, int revision) {
    if (major < 0 || minor < 0) {
        throw Error(Error::BOUNDS, "Invalid major/minor version number", "csm::Version::Version");
    }
    theVersions.push_back(major);
    theVersions.push_back(minor);
    if (revision >= 0) {
        theVersions.push_back(revision);
    }
}

Version::Version(const std::string& version) {
    std::string::size_type start = 0;
    while (start <= version.size()) {
        std::string::size_type end = version.find('.', start);
        if (end == std::string::npos) {
            end = version.size();
        }
        const std::string part = version.substr(start, end - start);
        if (part.empty() || part.find_first_not_of("0123456789") != std::string::npos ||
            part.size() > 9) {
            throw Error(Error::INVALID_USE, "Invalid version component: " + part,
                        "csm::Version::Version");
        }
        theVersions.push_back(std::stoi(part));
        start = end + 1;
    }
}

Version::~Version() = default;

std::ostream& Version::print(std::ostream& os) const {
    for (size_t i = 0; i < theVersions.size(); ++i) {
        if (i > 0) {
            os << '.';
        }
        os << theVersions[i];
    }
    return os;
}

std::string Version::version() const {
    std::ostringstream out;
    print(out);
    return out.str();
}

int Version::version(unsigned int part) const {
    return part < theVersions.size() ? theVersions[part] : -1;
}

bool Version::operator==(const Version& rhs) const {
    return theVersions == rhs.theVersions;
}

bool Version::operator<(const Version& rhs) const {
    return theVersions < rhs.theVersions;
}

}  // namespace csm

std::ostream& operator<<(std::ostream& os, const csm::Version& version) {
    return version.print(os);
}
