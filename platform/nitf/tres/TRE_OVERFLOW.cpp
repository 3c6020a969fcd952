// TRE_OVERFLOW: the user-defined subheader of an overflow data extension, which has no
// fields; the segment's data holds the overflowed extensions.

#include "platform/nitf/tres/BuiltinTREs.h"

namespace {

nitf_TREDescription description[] = {
    {NITF_END, 0, nullptr, nullptr, nullptr},
};

nitf_TREDescriptionInfo infos[] = {
    {"TRE_OVERFLOW", description, NITF_TRE_DESC_NO_LENGTH},
    {nullptr, nullptr, NITF_TRE_DESC_NO_LENGTH},
};

}  // namespace

nitf_TREDescriptionSet tessel::tres::TRE_OVERFLOW = {0, infos};
