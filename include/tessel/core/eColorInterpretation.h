#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN

#include <cstdint>
#include <iosfwd>
#include <string_view>

namespace Tessel {

enum eColorInterpretation : int32_t {
    eColorRed = 0,
    eColorGreen = 1,
    eColorBlue = 2,
    eColorMonochrome = 3,
    eColorLuminance = 4,
    eColorChromaBlue = 5,
    eColorChromaRed = 6,
    eColorPalette = 7,
    eColorUndefined = 8,
};

// The narrow text of the palette is "RGB/LUT", the wide one "RBG/LUT"; the parsers
// accept only "RBG/LUT". Hosts depend on both spellings.
std::string_view ToString(eColorInterpretation color);
std::wstring_view ToWString(eColorInterpretation color);

// Note the argument orders: band first for the narrow form, image first for the wide.
eColorInterpretation ToColorInterpretation(const std::string_view& bandRepresentation,
                                           const std::string_view& imageRepresentation);
eColorInterpretation ToColorInterpretationW(const std::wstring_view& imageRepresentation,
                                            const std::wstring_view& bandRepresentation);

std::ostream& operator<<(std::ostream& os, const eColorInterpretation& color);
std::wostream& operator<<(std::wostream& os, const eColorInterpretation& color);

}  // namespace Tessel

TESSEL_PUBLIC_END
