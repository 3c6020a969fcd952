#include "image/NITFImageSegment.h"

#include "tessel/file/NITFFile.h"
#include "tessel/image/NITFImage.h"
#include "tessel/platform/nitf.h"

namespace Tessel {

namespace {

template <class T>
T numberOf(nitf_Field* field) {
    T value = 0;
    nitf_Error error{};
    if (field == nullptr || !nitf_Field_get(field, &value, NITF_CONV_UINT, sizeof(T), &error)) {
        return 0;
    }
    return value;
}

std::string textOf(nitf_Field* field) {
    return field == nullptr || field->raw == nullptr ? std::string()
                                                     : std::string(field->raw, field->length);
}

nitf_ImageSegment* segmentAt(nitf_Record* record, int index) {
    if (record == nullptr || record->images == nullptr || index < 0) {
        return nullptr;
    }
    nitf_Error error{};
    return static_cast<nitf_ImageSegment*>(nrt_List_get(record->images, index, &error));
}

}  // namespace

ImageSegmentFields readImageSegmentFields(const NITFImage* image) {
    ImageSegmentFields fields;
    if (image == nullptr) {
        return fields;
    }
    fields.file = image->getNITFFile();
    if (!fields.file || !fields.file->getPrivate()) {
        return fields;
    }
    NITFFilePrivate& file = *fields.file->getPrivate();
    fields.uri = file.getURI();
    fields.segment = image->getCurrentImageSegment();
    fields.compression = image->getCompressionType();

    const auto lock = file.lockRecord();
    nitf_ImageSegment* segment = segmentAt(file.getRecord(), fields.segment);
    if (segment == nullptr || segment->subheader == nullptr) {
        return fields;
    }
    nitf_ImageSubheader* subheader = segment->subheader;
    fields.ncols = numberOf<uint64_t>(subheader->numCols);
    fields.nrows = numberOf<uint64_t>(subheader->numRows);
    fields.nbpr = numberOf<uint32_t>(subheader->numBlocksPerRow);
    fields.nbpc = numberOf<uint32_t>(subheader->numBlocksPerCol);
    fields.nppbh = numberOf<uint32_t>(subheader->numPixelsPerHorizBlock);
    fields.nppbv = numberOf<uint32_t>(subheader->numPixelsPerVertBlock);
    fields.nbpp = numberOf<uint32_t>(subheader->numBitsPerPixel);
    fields.nbands = numberOf<uint32_t>(subheader->numImageBands);
    if (fields.nbands == 0) {
        fields.nbands = numberOf<uint32_t>(subheader->numMultispectralImageBands);
    }
    fields.abpp = textOf(subheader->actualBitsPerPixel);
    fields.pvtype = textOf(subheader->pixelValueType);
    fields.imode = textOf(subheader->imageMode);
    fields.comrat = textOf(subheader->compressionRate);
    fields.irep = textOf(subheader->imageRepresentation);
    fields.dataOffset = segment->imageOffset;
    fields.dataLength =
        segment->imageEnd > segment->imageOffset ? segment->imageEnd - segment->imageOffset : 0;
    fields.found = true;
    return fields;
}

}  // namespace Tessel
