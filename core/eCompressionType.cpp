#include "tessel/core/eCompressionType.h"

#include <array>
#include <ostream>
#include <string>

namespace Tessel {
namespace {

struct CodeEntry {
    eCompressionType type;
    std::string_view narrow;
    std::wstring_view wide;
    bool parsable;  // C5 and M5 print but never parse back
};

constexpr std::array<CodeEntry, 19> kCodes{{
    {eCompressionNC, "NC", L"NC", true},  {eCompressionNM, "NM", L"NM", true},
    {eCompressionC1, "C1", L"C1", true},  {eCompressionM1, "M1", L"M1", true},
    {eCompressionC3, "C3", L"C3", true},  {eCompressionM3, "M3", L"M3", true},
    {eCompressionC4, "C4", L"C4", true},  {eCompressionM4, "M4", L"M4", true},
    {eCompressionC5, "C5", L"C5", false}, {eCompressionM5, "M5", L"M5", false},
    {eCompressionC8, "C8", L"C8", true},  {eCompressionM8, "M8", L"M8", true},
    {eCompressionI1, "I1", L"I1", true},  {eCompressionC9, "C9", L"C9", true},
    {eCompressionM9, "M9", L"M9", true},  {eCompressionCA, "CA", L"CA", true},
    {eCompressionMA, "MA", L"MA", true},  {eCompressionCB, "CB", L"CB", true},
    {eCompressionMB, "MB", L"MB", true},
}};

const CodeEntry* findEntry(eCompressionType type) {
    for (const auto& entry : kCodes) {
        if (entry.type == type) {
            return &entry;
        }
    }
    return nullptr;
}

template <typename View, typename Member>
eCompressionType parseCode(const View& code, Member member) {
    if (code.size() != 2) {
        return eCompressionUnknown;
    }
    for (const auto& entry : kCodes) {
        if (entry.parsable && entry.*member == code) {
            return entry.type;
        }
    }
    return eCompressionUnknown;
}

}  // namespace

std::string_view ToString(eCompressionType type) {
    const CodeEntry* entry = findEntry(type);
    return entry != nullptr ? entry->narrow : std::string_view("  ");
}

std::wstring_view ToWString(eCompressionType type) {
    const CodeEntry* entry = findEntry(type);
    return entry != nullptr ? entry->wide : std::wstring_view(L"  ");
}

eCompressionType ToCompressionType(const std::string_view& code) {
    return parseCode(code, &CodeEntry::narrow);
}

eCompressionType ToCompressionTypeW(const std::wstring_view& code) {
    return parseCode(code, &CodeEntry::wide);
}

std::ostream& operator<<(std::ostream& os, const eCompressionType& type) {
    return os << ToString(type);
}

std::wostream& operator<<(std::wostream& os, const eCompressionType& type) {
    return os << ToWString(type);
}

}  // namespace Tessel
