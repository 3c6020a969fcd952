#include "core/NITFExtensions.h"

#include <array>
#include <string_view>
#include <utility>

namespace Tessel::NITFExtensions {

namespace {

// Names that stand as they are.
constexpr std::array<std::string_view, 13> kSingleNames = {
    ".ntf", ".nitf", ".nsf", ".nsif",  // NITF and NSIF
    ".r0",                             // matches exactly three characters
    ".hr1", ".hr2",  ".hr3", ".hr4",  ".hr5", ".hr6", ".hr7", ".hr8",
};

// A raster product family is a dot, two characters and one zone character. The zone alphabet
// has no "i".
constexpr std::string_view kZoneAlphabet = "123456789abcdefghj";

// Families that take every zone character.
constexpr std::array<std::string_view, 195> kFullFamilies = {
    "i1", "i2", "i3", "i4", "i5", "iv", "a1", "a2", "a3", "a4", "a5", "a6", "at", "c1", "c2",
    "c3", "c4", "c5", "c6", "c7", "c8", "c9", "ca", "cb", "cc", "cd", "ce", "cf", "cg", "ch",
    "cj", "ck", "cl", "cm", "cn", "co", "cp", "cq", "cr", "cs", "ct", "d1", "d2", "eg", "es",
    "et", "f1", "f2", "f3", "f4", "f5", "ha", "ja", "jg", "jn", "jo", "jr", "k1", "k2", "k3",
    "k7", "k8", "kb", "ke", "km", "kr", "ks", "ku", "l1", "l2", "l3", "l4", "l5", "lf", "ln",
    "m1", "m2", "mh", "mi", "mj", "mm", "oa", "oh", "on", "ow", "p1", "p2", "p3", "p4", "p5",
    "p6", "p7", "p8", "p9", "pa", "pc", "pe", "pf", "pg", "ph", "pi", "pj", "pk", "pl", "pm",
    "po", "pp", "pq", "ps", "pu", "pv", "r1", "r2", "r3", "r4", "r5", "rc", "rl", "rr", "rv",
    "rw", "sc", "sl", "sq", "sr", "ss", "st", "su", "tc", "tf", "tl", "tn", "tp", "tq", "tr",
    "ts", "tt", "tu", "uc", "ul", "ur", "us", "ut", "uu", "uv", "v1", "v2", "v3", "v4", "vh",
    "vn", "vt", "vu", "wa", "wb", "wc", "wd", "we", "wf", "wg", "wh", "wi", "wk", "xd", "xe",
    "xf", "xg", "xh", "xi", "xj", "xk", "y9", "ya", "yb", "yc", "yd", "ye", "yf", "yi", "yj",
    "z8", "za", "zb", "zc", "zd", "ze", "zf", "zg", "zh", "zi", "zj", "zk", "zt", "zv", "zz",
};

struct PartialFamily {
    std::string_view prefix;
    std::string_view zones;
};

// Families with gaps. The gaps decide which files are taken for NITF, so they stay as they
// are; "yz" lists "8" twice and has no "a".
constexpr std::array<PartialFamily, 7> kPartialFamilies = {{
    {"gn", "1234789abcdgj"},
    {"pb", "123456789abcdeghj"},
    {"pd", "123456789abcdeghj"},
    {"pn", "123456789abcdefhj"},
    {"pr", "123456789abcdefgh"},
    {"pt", "123456789abcdefgj"},
    {"yz", "1234567898bcdefghj"},
}};

void addFamily(std::vector<std::string>& entries, std::string_view prefix, std::string_view zones) {
    for (char zone : zones) {
        std::string entry = ".";
        entry += prefix;
        entry += zone;
        entries.push_back(std::move(entry));
    }
}

template <typename Set>
Set buildSet() {
    Set set;
    for (const std::string& entry : tableEntries()) {
        // The entries are ASCII, so widening is a plain copy.
        set.emplace(entry.begin(), entry.end());
    }
    return set;
}

}  // namespace

std::vector<std::string> tableEntries() {
    std::vector<std::string> entries(kSingleNames.begin(), kSingleNames.end());
    for (std::string_view family : kFullFamilies) {
        addFamily(entries, family, kZoneAlphabet);
    }
    for (const PartialFamily& family : kPartialFamilies) {
        addFamily(entries, family.prefix, family.zones);
    }
    return entries;
}

const NarrowSet& narrowSet() {
    static const NarrowSet set = buildSet<NarrowSet>();
    return set;
}

const WideSet& wideSet() {
    static const WideSet set = buildSet<WideSet>();
    return set;
}

}  // namespace Tessel::NITFExtensions
