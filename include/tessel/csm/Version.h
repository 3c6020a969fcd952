#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "csm.h"

// glibc's <sys/sysmacros.h> may define these as macros.
#undef major
#undef minor

namespace csm {

class CSM_EXPORT_API Version {
public:
    // Dot-separated non-negative integers, such as "3.1.0".
    explicit Version(const std::string& version);
    // A negative revision leaves the version with two components.
    Version(int major, int minor, int revision = -1);
    ~Version();

    std::ostream& print(std::ostream& os) const;
    std::string version() const;
    // A component by position, or -1 when the version has fewer.
    int version(unsigned int part) const;
    int major() const { return version(0); }
    int minor() const { return version(1); }
    int revision() const { return version(2); }

    // Const, unlike the first published form, so that C++20 finds one candidate for a == b.
    bool operator==(const Version& rhs) const;
    bool operator<(const Version& rhs) const;

private:
    std::vector<int> theVersions;
};

}  // namespace csm

CSM_EXPORT_API std::ostream& operator<<(std::ostream& os, const csm::Version& version);
