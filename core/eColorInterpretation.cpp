#include "tessel/core/eColorInterpretation.h"

#include <array>
#include <ostream>

namespace Tessel {
namespace {

constexpr std::array<std::string_view, 9> kNarrow{"R",  "G",  "B",       "M", "Y",
                                                  "Cb", "Cr", "RGB/LUT", " "};
constexpr std::array<std::wstring_view, 9> kWide{L"R",  L"G",  L"B",       L"M", L"Y",
                                                 L"Cb", L"Cr", L"RBG/LUT", L" "};
// What the parsers accept as the palette, in both widths.
constexpr std::string_view kPaletteNarrow = "RBG/LUT";
constexpr std::wstring_view kPaletteWide = L"RBG/LUT";

template <typename View, size_t N>
eColorInterpretation parse(const View& band, const View& image, const View& palette,
                           const std::array<View, N>& names) {
    if (image == palette) {
        return eColorPalette;
    }
    for (size_t i = 0; i < static_cast<size_t>(eColorPalette); ++i) {
        if (band == names[i]) {
            return static_cast<eColorInterpretation>(i);
        }
    }
    return eColorUndefined;
}

bool inRange(eColorInterpretation color) {
    return color >= eColorRed && color <= eColorUndefined;
}

}  // namespace

std::string_view ToString(eColorInterpretation color) {
    return inRange(color) ? kNarrow[color] : kNarrow[eColorUndefined];
}

std::wstring_view ToWString(eColorInterpretation color) {
    return inRange(color) ? kWide[color] : kWide[eColorUndefined];
}

eColorInterpretation ToColorInterpretation(const std::string_view& bandRepresentation,
                                           const std::string_view& imageRepresentation) {
    return parse(bandRepresentation, imageRepresentation, kPaletteNarrow, kNarrow);
}

eColorInterpretation ToColorInterpretationW(const std::wstring_view& imageRepresentation,
                                            const std::wstring_view& bandRepresentation) {
    return parse(bandRepresentation, imageRepresentation, kPaletteWide, kWide);
}

std::ostream& operator<<(std::ostream& os, const eColorInterpretation& color) {
    return os << ToString(color);
}

std::wostream& operator<<(std::wostream& os, const eColorInterpretation& color) {
    return os << ToWString(color);
}

}  // namespace Tessel
