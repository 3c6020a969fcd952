#include "platform/nitf/FieldTable.h"

namespace tessel_nitf {

bool constructFields(void* object, FieldTable table, nitf_Error* error) {
    for (const FieldSpec& spec : table) {
        fieldAt(object, spec.offset) = nitf_Field_construct(spec.length, spec.type, error);
        if (fieldAt(object, spec.offset) == nullptr) {
            return false;
        }
    }
    return true;
}

void destroyFields(void* object, FieldTable table) {
    for (const FieldSpec& spec : table) {
        nitf_Field_destruct(&fieldAt(object, spec.offset));
    }
}

bool cloneFields(void* target, const void* source, FieldTable table, nitf_Error* error) {
    for (const FieldSpec& spec : table) {
        nitf_Field* from = fieldAt(const_cast<void*>(source), spec.offset);
        if (from == nullptr) {
            continue;
        }
        fieldAt(target, spec.offset) = nitf_Field_clone(from, error);
        if (fieldAt(target, spec.offset) == nullptr) {
            return false;
        }
    }
    return true;
}

}  // namespace tessel_nitf
