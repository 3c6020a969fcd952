#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN

#include <cstdint>
#include <iosfwd>
#include <string>

namespace Tessel {

// Kinds of file. The numbers are stored in caches and compared: they never change.
enum class NITFType : uint16_t {
    Unknown = 0,  // nothing known yet (a cache miss)
    NotNITF = 1,  // examined, and not a NITF-family file
    NITF20 = 120,
    NITF21 = 121,
    NSIF10 = 210,
    OSDE120 = 1120,
};

// A value above NotNITF is a NITF-family file.
inline bool isNITFType(NITFType type) {
    return static_cast<uint16_t>(type) > 1;
}

// Compares the first nine characters of a file's first bytes with the known version
// texts; anything else is NotNITF.
NITFType Str2NITFType(const char* header);
std::string NITFType2Str(const NITFType& type);

std::ostream& operator<<(std::ostream& os, const NITFType& type);
std::wostream& operator<<(std::wostream& os, const NITFType& type);

}  // namespace Tessel

TESSEL_PUBLIC_END
