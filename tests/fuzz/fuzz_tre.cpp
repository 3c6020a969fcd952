// libFuzzer target: any bytes as the data of a TRE with a description, in a small NITF file
// read by the record reader. The first byte picks the tag; the rest is the TRE's data, in
// the extended section of an image subheader. Every field is then walked,
// the raw data asked for, and the record described as JSON, which renders each field.

#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "support/ImageFileBuilder.h"
#include "tessel/platform/nitf.h"
#include "tools/RecordJson.h"

namespace {

// The tags whose descriptions the library carries.
constexpr std::array<const char*, 32> kDescribedTags = {
    "ACFTB",  "AIMIDB", "BLOCKA", "CSCRNA", "CSDIDA", "CSEXRA", "ENGRDA", "GEOLOB",
    "GEOPSB", "HISTOA", "ICHIPB", "J2KLRA", "MSTGTA", "PIAIMC", "PIAPRD", "RPC00A",
    "RPC00B", "RPFHDR", "RSMAPA", "RSMDCA", "RSMECA", "RSMGGA", "RSMGIA", "RSMIDA",
    "RSMPCA", "RSMPIA", "SENSRB", "STDIDC", "USE00A", "RPFDES", "MATESA", "BANDSB"};

void walkTre(nitf_TRE* tre) {
    nitf_Error error{};
    nitf_TREEnumerator* it = nitf_TRE_begin(tre, &error);
    while (it != nullptr && it->hasNext(&it)) {
        nitf_Pair* pair = it->next(it, &error);
        if (pair != nullptr) {
            auto* field = static_cast<nitf_Field*>(pair->data);
            std::array<char, 64> text{};
            nitf_Field_get(field, text.data(), NITF_CONV_STRING, text.size(), &error);
            (void)it->getFieldDescription(it, &error);
        }
    }
    (void)nitf_TRE_getField(tre, NITF_TRE_RAW);
    (void)nitf_TRE_getCurrentSize(tre, &error);
    nitf_TRE* copy = nitf_TRE_clone(tre, &error);
    nitf_TRE_destruct(&copy);
}

void walkSection(nitf_Extensions* extensions) {
    if (extensions == nullptr) {
        return;
    }
    for (nitf_ListNode* node = extensions->ref->first; node != nullptr; node = node->next) {
        walkTre(static_cast<nitf_TRE*>(node->data));
    }
}

// The file: one 1 x 1 image with the TRE in its subheader's extended section.
std::string fileWith(const std::string& tre) {
    image_test::ImageLayout layout;
    layout.data = std::string(1, '\0');
    layout.tres.push_back(tre);
    return image_test::ImageFileBuilder().add(layout).bytes();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1 || size > 99999 + 1) {
        return 0;
    }
    const std::string tag = kDescribedTags[data[0] % kDescribedTags.size()];
    const std::string payload(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::string file = fileWith(image_test::rawTre(tag, payload));

    nitf_Error error{};
    auto* bytes = static_cast<char*>(std::malloc(file.size()));
    if (bytes == nullptr) {
        return 0;
    }
    std::memcpy(bytes, file.data(), file.size());
    nitf_IOInterface* io = nrt_BufferAdapter_construct(bytes, file.size(), true, &error);
    if (io == nullptr) {
        std::free(bytes);
        return 0;
    }
    nitf_Reader* reader = nitf_Reader_construct(&error);
    nitf_Record* record = reader != nullptr ? nitf_Reader_readIO(reader, io, &error) : nullptr;
    if (record != nullptr) {
        walkSection(record->header->extendedSection);
        for (nitf_ListNode* n = record->images->first; n != nullptr; n = n->next) {
            walkSection(static_cast<nitf_ImageSegment*>(n->data)->subheader->extendedSection);
        }
        (void)tessel_cli::recordJson(record, reader).dump();
    }
    nitf_Record_destruct(&record);
    nitf_Reader_destruct(&reader);
    nitf_IOInterface_destruct(&io);
    return 0;
}
