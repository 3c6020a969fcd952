#pragma once

#include "tessel/core/Visibility.h"
TESSEL_INTERNAL_BEGIN
// The file extensions of the NITF family: NITF and NSIF names and the raster product
// families. Internal to the library.

#include <algorithm>
#include <cctype>
#include <cwctype>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace Tessel::NITFExtensions {

// Orders text by the upper-case form of each character in the current locale, so that a
// lookup ignores case. Transparent: views are looked up without a copy.
template <typename Char>
struct CaseInsensitiveLess {
    using is_transparent = void;

    static auto upper(Char c) {
        if constexpr (sizeof(Char) == 1) {
            return std::toupper(static_cast<unsigned char>(c));
        } else {
            return std::towupper(static_cast<std::wint_t>(c));
        }
    }

    bool operator()(std::basic_string_view<Char> left, std::basic_string_view<Char> right) const {
        return std::lexicographical_compare(left.begin(), left.end(), right.begin(), right.end(),
                                            [](Char a, Char b) { return upper(a) < upper(b); });
    }
};

using NarrowSet = std::set<std::string, CaseInsensitiveLess<char>>;
using WideSet = std::set<std::wstring, CaseInsensitiveLess<wchar_t>>;

// Every entry of the table, in table order, duplicates included.
std::vector<std::string> tableEntries();

// The sets, built once on first use and kept until the process ends.
const NarrowSet& narrowSet();
const WideSet& wideSet();

}  // namespace Tessel::NITFExtensions

TESSEL_INTERNAL_END
