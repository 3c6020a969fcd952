#include "platform/nitf/FieldTable.h"

namespace tessel_nitf {

bool constructFields(void* object, FieldTable table, nitf_Error* error) {
    for (const FieldEntry& entry : table) {
        fieldAt(object, entry.offset) = nitf_Field_construct(entry.length, entry.type, error);
        if (fieldAt(object, entry.offset) == nullptr) {
            return false;
        }
    }
    return true;
}

void destroyFields(void* object, FieldTable table) {
    for (const FieldEntry& entry : table) {
        nitf_Field_destruct(&fieldAt(object, entry.offset));
    }
}

bool cloneFields(void* target, const void* source, FieldTable table, nitf_Error* error) {
    for (const FieldEntry& entry : table) {
        nitf_Field* from = fieldAt(const_cast<void*>(source), entry.offset);
        if (from == nullptr) {
            continue;
        }
        fieldAt(target, entry.offset) = nitf_Field_clone(from, error);
        if (fieldAt(target, entry.offset) == nullptr) {
            return false;
        }
    }
    return true;
}

}  // namespace tessel_nitf
