#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN

#include <cstdint>
#include <iosfwd>
#include <string_view>

namespace Tessel {

// The low part is the compression number; bit 0x10000 marks the masked form.
enum eCompressionType : int32_t {
    eCompressionUnknown = -1,
    eCompressionNC = 0,
    eCompressionC1 = 1,
    eCompressionC3 = 3,
    eCompressionC4 = 4,
    eCompressionC5 = 5,
    eCompressionC8 = 8,
    eCompressionC9 = 9,
    eCompressionCA = 10,
    eCompressionCB = 11,
    eCompressionI1 = 17,
    eCompressionMasked = 0x10000,
    eCompressionNM = 0x10000,
    eCompressionM1 = 0x10001,
    eCompressionM3 = 0x10003,
    eCompressionM4 = 0x10004,
    eCompressionM5 = 0x10005,
    eCompressionM8 = 0x10008,
    eCompressionM9 = 0x10009,
    eCompressionMA = 0x1000A,
    eCompressionMB = 0x1000B,
};

inline bool isMasked(eCompressionType type) {
    return type != eCompressionUnknown && (type & eCompressionMasked) != 0;
}

// The two-letter code; a value outside the table gives two blanks.
std::string_view ToString(eCompressionType type);
std::wstring_view ToWString(eCompressionType type);
// The reverse. C5 and M5 are deliberately not recognised: they read back as unknown.
eCompressionType ToCompressionType(const std::string_view& code);
eCompressionType ToCompressionTypeW(const std::wstring_view& code);

std::ostream& operator<<(std::ostream& os, const eCompressionType& type);
std::wostream& operator<<(std::wostream& os, const eCompressionType& type);

}  // namespace Tessel

TESSEL_PUBLIC_END
