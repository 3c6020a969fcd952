#pragma once
// The engine behind the basic TRE handler. A walk goes through a TRE description with the
// TRE's current field values: loops repeat, conditions choose, conditional widths are
// computed, and each field the description reaches is handed to a visitor with its full name
// and width. Parsing, writing, sizing, filling defaults and enumeration are all such walks.

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tessel/platform/nitf/nitf_TREPrivateData.h"

namespace tessel::nitf_tre {

// One field reached by a walk. width is > 0, or NITF_TRE_GOBBLE for a "rest" field.
struct FieldStep {
    const nitf_TREDescription* entry;
    const std::string& name;
    int width;
};

// Returns false to end the walk; a non-empty failure text marks it failed.
using FieldVisitor = std::function<bool(const FieldStep& step, std::string& failure)>;

// Bounds the work of one walk, so that a huge count in a damaged TRE ends in a failure.
inline constexpr std::uint64_t kDefaultStepBudget = 50'000'000;

// Walks description over the fields of tre (its private hash). Returns true when the walk
// ended without failure (the end of the description, or a visitor that stopped without one).
bool walkDescription(nitf_TRE* tre, const nitf_TREDescription* description,
                     const FieldVisitor& visit, std::string& failure,
                     std::uint64_t stepBudget = kDefaultStepBudget);

// The field of exactly that name in the TRE's hash, or nullptr.
nitf_Field* findField(nitf_TRE* tre, const std::string& name);

// Converts between the file's byte order and the held order of a binary field's bytes (a
// 2-byte field is held in host order, every other width as in the file). Its own inverse.
void swapForHolding(char* bytes, std::size_t width);

// The unsigned value of a binary field as the file defines it (big-endian), for widths 1 to
// 8; false for wider fields.
bool binaryValue(const nitf_Field* field, std::uint64_t& value);

// Creates the TRE's fields from bytes (file order) with its private description; true only
// when the description takes exactly length bytes. Fields are left in place on failure.
bool parseFields(nitf_TRE* tre, const char* bytes, std::uint32_t length, std::string& failure);

// The TRE's data as it would be written, in the file's order.
bool serializeFields(nitf_TRE* tre, std::string& bytes, std::string& failure);

// Makes the fields match what the description reaches with the current values: missing
// fields get defaults ("rest" fields only when createRest), fields of a changed computed
// width are resized, and fields out of reach are dropped when prune.
bool syncFields(nitf_TRE* tre, bool createRest, bool prune, std::string& failure);

// The full names and labels of the fields the description reaches that exist, in order.
struct FieldEntry {
    std::string name;
    const char* label;
};
bool listFields(nitf_TRE* tre, std::vector<FieldEntry>& fields, std::string& failure);

}  // namespace tessel::nitf_tre
