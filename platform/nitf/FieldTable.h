#pragma once
// Structs of nitf_Field* members built from tables of (member offset, width, type).

#include <cstddef>
#include <initializer_list>

#include "tessel/platform/nitf/nitf_Field.h"

namespace tessel_nitf {

struct FieldEntry {
    size_t offset;
    size_t length;
    nitf_FieldType type;
};

using FieldTable = std::initializer_list<FieldEntry>;

#define TESSEL_FIELD(Struct, member, width, kind) \
    tessel_nitf::FieldEntry {                     \
        offsetof(Struct, member), width, kind     \
    }

inline nitf_Field*& fieldAt(void* object, size_t offset) {
    return *reinterpret_cast<nitf_Field**>(static_cast<char*>(object) + offset);
}

// Creates every field of the table; false (error set) when one cannot be made.
bool constructFields(void* object, FieldTable table, nitf_Error* error);
// Destroys the fields of the table that exist.
void destroyFields(void* object, FieldTable table);
// Deep-copies the fields of the table that exist in source.
bool cloneFields(void* target, const void* source, FieldTable table, nitf_Error* error);

}  // namespace tessel_nitf
