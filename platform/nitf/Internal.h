#pragma once
// Helpers shared by the record layer's sources.

#include <fmt/format.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "tessel/platform/nitf/nitf_GraphicSubheader.h"
#include "tessel/platform/nitf/nitf_ImageSubheader.h"
#include "tessel/platform/nitf/nitf_Writer.h"

namespace tessel_nitf {

// The decimal value of a numeric field (blanks around it allowed); 0 when it holds none.
uint64_t fieldValue64(const nitf_Field* field);
inline uint32_t fieldValue(const nitf_Field* field) {
    uint64_t value = fieldValue64(field);
    return value > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(value);
}
// Whether the field holds a decimal number (digits with optional blanks around them).
bool isNumber(const nitf_Field* field);
// The field's text without trailing blanks.
std::string trimmedText(const nitf_Field* field);
// The field's text without the blanks, tabs and line ends around it; empty for no field.
std::string strippedText(const nitf_Field* field);

// NBANDS, or XBANDS when NBANDS is 0: the count of the bandInfo array.
uint32_t storedBandCount(const nitf_ImageSubheader* subheader);
void destroyBands(nitf_ImageSubheader* subheader);
// Creates the NITF 2.0 symbol fields of a graphic subheader.
bool constructSymbolFields(nitf_GraphicSubheader* subheader, nitf_Error* error);

void setError(nitf_Error* error, int code, const std::string& message);

// The write handlers behind nitf_Writer_newImageWriter and the segment writers.
nitf_WriteHandler* newImageRowsWriter(nitf_ImageSubheader* subheader, nitf_Error* error);
nitf_WriteHandler* newSegmentSourceWriter(nitf_Error* error);

template <typename... Args>
void failf(nitf_Error* error, int code, fmt::format_string<Args...> format, Args&&... args) {
    setError(error, code, fmt::format(format, std::forward<Args>(args)...));
}

}  // namespace tessel_nitf
