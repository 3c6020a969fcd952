#include "tessel/core/NITFType.h"

#include <array>
#include <cstring>
#include <ostream>

namespace Tessel {
namespace {

struct TypeForm {
    NITFType type;
    const char* header;
    const char* shortForm;
    const char* streamForm;
};

constexpr std::array<TypeForm, 4> kVersions{{
    {NITFType::NITF20, "NITF02.00", "2.00", "NITF-2.00"},
    {NITFType::NITF21, "NITF02.10", "2.10", "NITF-2.10"},
    {NITFType::NSIF10, "NSIF01.00", "1.00", "NSIF-1.00"},
    {NITFType::OSDE120, "OSDE01.20", "1.20", "OSDE-1.20"},
}};

const TypeForm* findForm(NITFType type) {
    for (const auto& form : kVersions) {
        if (form.type == type) {
            return &form;
        }
    }
    return nullptr;
}

const char* streamForm(NITFType type) {
    if (type == NITFType::NotNITF) {
        return "NOT-NITF";
    }
    const TypeForm* form = findForm(type);
    return form != nullptr ? form->streamForm : "UNKNOWN";
}

}  // namespace

NITFType Str2NITFType(const char* header) {
    if (header == nullptr) {
        return NITFType::NotNITF;
    }
    for (const auto& form : kVersions) {
        if (std::strncmp(header, form.header, 9) == 0) {
            return form.type;
        }
    }
    return NITFType::NotNITF;
}

std::string NITFType2Str(const NITFType& type) {
    const TypeForm* form = findForm(type);
    return form != nullptr ? form->shortForm : "UNKN";
}

std::ostream& operator<<(std::ostream& os, const NITFType& type) {
    return os << streamForm(type);
}

std::wostream& operator<<(std::wostream& os, const NITFType& type) {
    const std::string text = streamForm(type);
    return os << std::wstring(text.begin(), text.end());
}

}  // namespace Tessel
