#include "tables/TableSources.h"

#include "tessel/core/NitroError.h"
#include "tessel/platform/nitf/nitf_Extensions.h"
#include "tessel/platform/nitf/nitf_Segments.h"

namespace Tessel::detail_tables {
namespace {

// The user-defined section of the data extension segment that an overflow field names: its
// value minus one is the index in the DES list, and 0 means none.
nitf_Extensions* tableOverflowSection(nitf_Record* record, nitf_Field* overflow,
                                      NITFMessages& messages) {
    if (overflow == nullptr) {
        return nullptr;
    }
    uint32_t number = 0;
    nrt_Error error{};
    if (!nitf_Field_get(overflow, &number, NITF_CONV_UINT, sizeof(number), &error)) {
        checkNitroError(error, messages, {"Table", "Overflow"}, true);
        return nullptr;
    }
    if (number == 0) {
        return nullptr;
    }
    auto* segment = static_cast<nitf_DESegment*>(
        nrt_List_get(record->dataExtensions, static_cast<int>(number - 1), &error));
    if (segment == nullptr || segment->subheader == nullptr) {
        checkNitroError(error, messages, {"Table", "Overflow"}, true);
        return nullptr;
    }
    return segment->subheader->userDefinedSection;
}

nitf_ImageSubheader* tableImageSubheader(nitf_Record* record, int index, NITFMessages& messages) {
    nrt_Error error{};
    auto* segment = static_cast<nitf_ImageSegment*>(nrt_List_get(record->images, index, &error));
    if (segment == nullptr || segment->subheader == nullptr) {
        checkNitroError(error, messages, {"Table", "Images"}, true);
        return nullptr;
    }
    return segment->subheader;
}

std::vector<nitf_Extensions*> tableSections(nitf_Record* record, std::wstring_view segment,
                                            int index, NITFMessages& messages) {
    std::vector<nitf_Extensions*> sections;
    if (segment == L"FileHeader") {
        if (record->header != nullptr) {
            sections.push_back(record->header->userDefinedSection);
            sections.push_back(record->header->extendedSection);
        }
        // Image segment 0's overflow, not the header's own: kept as the readers expect.
        if (record->images != nullptr && nrt_List_size(record->images) > 0) {
            if (nitf_ImageSubheader* subheader = tableImageSubheader(record, 0, messages)) {
                sections.push_back(
                    tableOverflowSection(record, subheader->extendedHeaderOverflow, messages));
            }
        }
    } else if (segment == L"Images") {
        nitf_ImageSubheader* subheader = tableImageSubheader(record, index, messages);
        if (subheader != nullptr) {
            sections.push_back(subheader->userDefinedSection);
            sections.push_back(subheader->extendedSection);
            sections.push_back(
                tableOverflowSection(record, subheader->extendedHeaderOverflow, messages));
        }
    }
    return sections;
}

bool isTableBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\v' || c == '\0';
}

}  // namespace

void appendSourceTREs(nitf_Record* record, std::wstring_view segment, int index,
                      std::string_view tag, std::vector<nitf_TRE*>& out, NITFMessages& messages) {
    if (record == nullptr) {
        return;
    }
    for (nitf_Extensions* section : tableSections(record, segment, index, messages)) {
        if (section == nullptr) {
            continue;
        }
        nitf_ExtensionsIterator it = nitf_Extensions_begin(section);
        nitf_ExtensionsIterator end = nitf_Extensions_end(section);
        for (; nitf_ExtensionsIterator_notEqualTo(&it, &end);
             nitf_ExtensionsIterator_increment(&it)) {
            nitf_TRE* tre = nitf_ExtensionsIterator_get(&it);
            if (tre != nullptr && std::string_view(tre->tag) == tag) {
                out.push_back(tre);
            }
        }
    }
}

std::string_view fieldText(const nitf_Field* field) {
    if (field == nullptr || field->raw == nullptr) {
        return {};
    }
    return {field->raw, field->length};
}

std::string_view trimmedFieldText(const nitf_Field* field) {
    std::string_view text = fieldText(field);
    while (!text.empty() && isTableBlank(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isTableBlank(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

}  // namespace Tessel::detail_tables
