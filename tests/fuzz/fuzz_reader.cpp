// libFuzzer target: any bytes through the record reader, then a walk over everything it
// read: every TRE field, the JSON description of the record, the blocking of every image
// and, for uncompressed images, the first block, and the start of every text segment.

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "tessel/platform/nitf.h"
#include "tools/RecordJson.h"

namespace {

// Enumerators free themselves at the end: walk each one to its end.
void walkTre(nitf_TRE* tre) {
    nitf_Error error{};
    nitf_TREEnumerator* it = nitf_TRE_begin(tre, &error);
    while (it != nullptr && it->hasNext(&it)) {
        nitf_Pair* pair = it->next(it, &error);
        if (pair != nullptr) {
            auto* field = static_cast<nitf_Field*>(pair->data);
            char text[64];
            nitf_Field_get(field, text, NITF_CONV_STRING, sizeof text, &error);
            (void)it->getFieldDescription(it, &error);
        }
    }
    (void)nitf_TRE_getField(tre, NITF_TRE_RAW);
    (void)nitf_TRE_getCurrentSize(tre, &error);
}

void walkSection(nitf_Extensions* extensions) {
    if (extensions == nullptr) {
        return;
    }
    for (nitf_ListNode* node = extensions->ref->first; node != nullptr; node = node->next) {
        walkTre(static_cast<nitf_TRE*>(node->data));
    }
}

void walkTres(nitf_Record* record) {
    walkSection(record->header->userDefinedSection);
    walkSection(record->header->extendedSection);
    for (nitf_ListNode* n = record->images->first; n != nullptr; n = n->next) {
        auto* segment = static_cast<nitf_ImageSegment*>(n->data);
        walkSection(segment->subheader->userDefinedSection);
        walkSection(segment->subheader->extendedSection);
    }
    for (nitf_ListNode* n = record->dataExtensions->first; n != nullptr; n = n->next) {
        auto* segment = static_cast<nitf_DESegment*>(n->data);
        if (segment->subheader->subheaderFields != nullptr) {
            walkTre(segment->subheader->subheaderFields);
        }
        walkSection(segment->subheader->userDefinedSection);
    }
}

bool isUncompressed(nitf_ImageSubheader* subheader) {
    const char* ic = subheader->imageCompression->raw;
    return std::strncmp(ic, "NC", 2) == 0 || std::strncmp(ic, "NM", 2) == 0;
}

void walkImage(nitf_Reader* reader, int index, nitf_ImageSubheader* subheader) {
    nitf_Error error{};
    nitf_ImageReader* imageReader = nitf_Reader_newImageReader(reader, index, nullptr, &error);
    if (imageReader == nullptr) {
        return;
    }
    nitf_BlockingInfo* info = nitf_ImageReader_getBlockingInfo(imageReader, &error);
    if (info != nullptr && isUncompressed(subheader)) {
        uint64_t size = 0;
        (void)nitf_ImageReader_readBlock(imageReader, 0, &size, &error);
        uint32_t offset = 0, blockRecord = 0, padRecord = 0, padLength = 0;
        uint8_t* padValue = nullptr;
        uint64_t* blockMask = nullptr;
        uint64_t* padMask = nullptr;
        (void)nitf_ImageIO_getMaskInfo(imageReader->imageDeblocker, &offset, &blockRecord,
                                       &padRecord, &padLength, &padValue, &blockMask, &padMask);
    }
    nitf_BlockingInfo_destruct(&info);
    nitf_ImageReader_destruct(&imageReader);
}

void walkImages(nitf_Reader* reader, nitf_Record* record) {
    int index = 0;
    for (nitf_ListNode* n = record->images->first; n != nullptr; n = n->next, ++index) {
        walkImage(reader, index, static_cast<nitf_ImageSegment*>(n->data)->subheader);
    }
}

void walkTexts(nitf_Reader* reader, nitf_Record* record) {
    const uint32_t texts = nitf_List_size(record->texts);
    for (uint32_t i = 0; i < texts; ++i) {
        nitf_Error error{};
        nitf_SegmentReader* text = nitf_Reader_newTextReader(reader, static_cast<int>(i), &error);
        if (text == nullptr) {
            continue;
        }
        char start[64];
        const nitf_Off size = nitf_SegmentReader_getSize(text, &error);
        if (size > 0) {
            const auto count = static_cast<size_t>(size < 64 ? size : 64);
            (void)nitf_SegmentReader_read(text, start, count, &error);
        }
        nitf_SegmentReader_destruct(&text);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    nitf_Error error{};
    // The adapter takes a writable buffer of its own.
    auto* bytes = static_cast<char*>(std::malloc(size > 0 ? size : 1));
    if (bytes == nullptr) {
        return 0;
    }
    if (size > 0) {
        std::memcpy(bytes, data, size);
    }
    nitf_IOInterface* io = nrt_BufferAdapter_construct(bytes, size, true, &error);
    if (io == nullptr) {
        std::free(bytes);
        return 0;
    }
    nitf_Reader* reader = nitf_Reader_construct(&error);
    nitf_Record* record = reader != nullptr ? nitf_Reader_readIO(reader, io, &error) : nullptr;
    if (record != nullptr) {
        walkTres(record);
        (void)tessel_cli::recordJson(record, reader).dump();
        walkImages(reader, record);
        walkTexts(reader, record);
    }
    nitf_Record_destruct(&record);
    nitf_Reader_destruct(&reader);
    nitf_IOInterface_destruct(&io);
    return 0;
}
