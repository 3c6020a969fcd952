// Writes a record as a file. The header goes out first with its lengths unknown; each
// segment's subheader is formed in memory and written, then its data by its handler, and
// the lengths measured on the way are stored in the header, which is written again at the
// start of the file when everything else is out.

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "platform/nitf/Internal.h"
#include "tessel/platform/nitf/nitf_Writer.h"

using tessel_nitf::failf;
using tessel_nitf::fieldValue;
using tessel_nitf::trimmedText;

namespace {

bool isOverflowDes(nitf_Version version, const std::string& tag) {
    if (version == NITF_VER_20) {
        return tag == "Registered Extensions" || tag == "Controlled Extensions";
    }
    return tag == "TRE_OVERFLOW";
}

// Bytes formed in memory: fields as they stand, numbers in a fixed width, TREs by their
// handlers.
class Bytes {
public:
    explicit Bytes(nitf_Error* error) : error_(error) {}

    std::string& text() { return text_; }
    nitf_Error* error() const { return error_; }
    size_t size() const { return text_.size(); }

    void raw(const char* bytes, size_t count) { text_.append(bytes, count); }
    void field(const nitf_Field* f) { text_.append(f->raw, f->length); }

    // A decimal number right-aligned with zeros; false when it doesn't fit the width.
    bool number(uint64_t value, size_t width, const char* name) {
        std::string digits = std::to_string(value);
        if (digits.size() > width) {
            failf(error_, NITF_ERR_INVALID_OBJECT, "{} of {} doesn't fit in {} digits", name, value,
                  width);
            return false;
        }
        text_.append(width - digits.size(), '0');
        text_ += digits;
        return true;
    }

    // The data of a TRE as its handler writes it.
    bool treData(nitf_TRE* tre, nitf_Record* record) {
        nitf_IOInterface* io = nitf_BufferAdapter_constructGrowable(error_);
        if (io == nullptr) {
            return false;
        }
        bool ok = tre->handler != nullptr && tre->handler->write(io, tre, record, error_);
        if (tre->handler == nullptr) {
            failf(error_, NITF_ERR_INVALID_OBJECT, "TRE {} has no handler", tre->tag);
        }
        if (ok) {
            size_t size = 0;
            const char* bytes = nitf_BufferAdapter_getBuffer(io, &size);
            text_.append(bytes != nullptr ? bytes : "", bytes != nullptr ? size : 0);
        }
        nitf_IOInterface_destruct(&io);
        return ok;
    }

    // Tag, length and data of each TRE of the section.
    bool tres(nitf_Extensions* ext, nitf_Record* record) {
        if (ext == nullptr) {
            return true;
        }
        nitf_ExtensionsIterator it = nitf_Extensions_begin(ext);
        nitf_ExtensionsIterator end = nitf_Extensions_end(ext);
        for (; nitf_ExtensionsIterator_notEqualTo(&it, &end);
             nitf_ExtensionsIterator_increment(&it)) {
            nitf_TRE* tre = nitf_ExtensionsIterator_get(&it);
            std::string tag(tre->tag);
            tag.resize(NITF_ETAG_SZ, ' ');
            text_ += tag;
            const size_t lengthAt = text_.size();
            text_.append(NITF_EL_SZ, '0');
            const size_t dataAt = text_.size();
            if (!treData(tre, record)) {
                return false;
            }
            const size_t length = text_.size() - dataAt;
            std::string digits = std::to_string(length);
            if (digits.size() > NITF_EL_SZ) {
                failf(error_, NITF_ERR_INVALID_OBJECT, "TRE {} of {} bytes is too long", tre->tag,
                      length);
                return false;
            }
            text_.replace(lengthAt + NITF_EL_SZ - digits.size(), digits.size(), digits);
        }
        return true;
    }

    // A length field, the overflow field when there are TREs, and the TREs.
    // A section that held only its overflow field keeps it, so that it reads back the same.
    bool section(nitf_Extensions* ext, const nitf_Field* length, const nitf_Field* overflow,
                 const char* name, nitf_Record* record) {
        const size_t lengthWidth = length->length;
        Bytes tresBytes(error_);
        if (!tresBytes.tres(ext, record)) {
            return false;
        }
        if (tresBytes.size() == 0) {
            if (tessel_nitf::fieldValue64(length) != overflow->length) {
                return number(0, lengthWidth, name);
            }
            field(length);
            field(overflow);
            return true;
        }
        if (!number(tresBytes.size() + overflow->length, lengthWidth, name)) {
            return false;
        }
        field(overflow);
        text_ += tresBytes.text();
        return true;
    }

private:
    std::string text_;
    nitf_Error* error_;
};

void security(Bytes& out, const nitf_FileSecurity* fs, nitf_Version version) {
    if (version == NITF_VER_20) {
        out.field(fs->codewords);
        out.field(fs->controlAndHandling);
        out.field(fs->releasingInstructions);
        out.field(fs->classificationAuthority);
        out.field(fs->securityControlNumber);
        out.field(fs->downgradeDateTime);
        if (std::strncmp(fs->downgradeDateTime->raw, "999998", 6) == 0) {
            out.field(fs->classificationText);
        }
        return;
    }
    for (const nitf_Field* f :
         {fs->classificationSystem, fs->codewords, fs->controlAndHandling,
          fs->releasingInstructions, fs->declassificationType, fs->declassificationDate,
          fs->declassificationExemption, fs->downgrade, fs->downgradeDateTime,
          fs->classificationText, fs->classificationAuthorityType, fs->classificationAuthority,
          fs->classificationReason, fs->securitySourceDate, fs->securityControlNumber}) {
        out.field(f);
    }
}

bool geolocated(nitf_Version version, char icords) {
    if (icords == '\0') {
        return false;
    }
    return version == NITF_VER_20 ? std::strchr("UGC", icords) != nullptr
                                  : std::strchr("UGNSD", icords) != nullptr;
}

bool bandBytes(Bytes& out, const nitf_BandInfo* band) {
    out.field(band->representation);
    out.field(band->subcategory);
    out.field(band->imageFilterCondition);
    out.field(band->imageFilterCode);
    out.field(band->numLUTs);
    if (fieldValue(band->numLUTs) == 0) {
        return true;
    }
    out.field(band->bandEntriesPerLUT);
    const size_t size = size_t{fieldValue(band->numLUTs)} * fieldValue(band->bandEntriesPerLUT);
    if (band->lut == nullptr || size_t{band->lut->tables} * band->lut->entries < size) {
        out.text().append(size, '\0');  // a table the fields promise but the record lacks
        return true;
    }
    out.raw(reinterpret_cast<const char*>(band->lut->table), size);
    return true;
}

bool imageSubheaderBytes(Bytes& out, nitf_ImageSubheader* sh, nitf_Version v, nitf_Record* r) {
    for (const nitf_Field* f : {sh->filePartType, sh->imageId, sh->imageDateAndTime, sh->targetId,
                                sh->imageTitle, sh->imageSecurityClass}) {
        out.field(f);
    }
    security(out, sh->securityGroup, v);
    for (const nitf_Field* f :
         {sh->encrypted, sh->imageSource, sh->numRows, sh->numCols, sh->pixelValueType,
          sh->imageRepresentation, sh->imageCategory, sh->actualBitsPerPixel,
          sh->pixelJustification, sh->imageCoordinateSystem}) {
        out.field(f);
    }
    if (geolocated(v, sh->imageCoordinateSystem->raw[0])) {
        out.field(sh->cornerCoordinates);
    }
    const uint32_t comments = nitf_List_size(sh->imageComments);
    if (!out.number(comments, NITF_NICOM_SZ, "NICOM")) {
        return false;
    }
    for (nitf_ListIterator it = nitf_List_begin(sh->imageComments),
                           end = nitf_List_end(sh->imageComments);
         nitf_ListIterator_notEqualTo(&it, &end); nitf_ListIterator_increment(&it)) {
        out.field(static_cast<nitf_Field*>(nitf_ListIterator_get(&it)));
    }
    out.field(sh->imageCompression);
    const std::string ic = trimmedText(sh->imageCompression);
    if (ic != "NC" && ic != "NM") {
        out.field(sh->compressionRate);
    }
    out.field(sh->numImageBands);
    if (fieldValue(sh->numImageBands) == 0 && v == NITF_VER_21) {
        out.field(sh->numMultispectralImageBands);
    }
    const uint32_t bands = tessel_nitf::storedBandCount(sh);
    for (uint32_t b = 0; b < bands; ++b) {
        if (sh->bandInfo == nullptr || sh->bandInfo[b] == nullptr) {
            failf(out.error(), NITF_ERR_INVALID_OBJECT, "band {} of {} has no band info", b + 1,
                  bands);
            return false;
        }
        bandBytes(out, sh->bandInfo[b]);
    }
    for (const nitf_Field* f :
         {sh->imageSyncCode, sh->imageMode, sh->numBlocksPerRow, sh->numBlocksPerCol,
          sh->numPixelsPerHorizBlock, sh->numPixelsPerVertBlock, sh->numBitsPerPixel,
          sh->imageDisplayLevel, sh->imageAttachmentLevel, sh->imageLocation,
          sh->imageMagnification}) {
        out.field(f);
    }
    return out.section(sh->userDefinedSection, sh->userDefinedImageDataLength,
                       sh->userDefinedOverflow, "UDIDL", r) &&
           out.section(sh->extendedSection, sh->extendedHeaderLength, sh->extendedHeaderOverflow,
                       "IXSHDL", r);
}

bool graphicSubheaderBytes(Bytes& out, nitf_GraphicSubheader* sh, nitf_Version v, nitf_Record* r) {
    for (const nitf_Field* f : {sh->filePartType, sh->graphicID, sh->name, sh->securityClass}) {
        out.field(f);
    }
    security(out, sh->securityGroup, v);
    out.field(sh->encrypted);
    if (v == NITF_VER_20 && sh->numLUTEntries != nullptr) {
        for (const nitf_Field* f :
             {sh->stype, sh->numLinesPerSymbol, sh->numPixelsPerLine, sh->lineWidth,
              sh->numBitsPerPixel, sh->displayLevel, sh->attachmentLevel, sh->location,
              sh->location2, sh->color, sh->symbolNumber, sh->rotation, sh->numLUTEntries}) {
            out.field(f);
        }
        const size_t entries = fieldValue(sh->numLUTEntries);
        if (entries > 0) {
            if (sh->lut != nullptr && size_t{sh->lut->entries} * sh->lut->tables >= entries * 3) {
                out.raw(reinterpret_cast<const char*>(sh->lut->table), entries * 3);
            } else {
                out.text().append(entries * 3, '\0');
            }
        }
    } else {
        for (const nitf_Field* f :
             {sh->stype, sh->res1, sh->displayLevel, sh->attachmentLevel, sh->location,
              sh->bound1Loc, sh->color, sh->bound2Loc, sh->res2}) {
            out.field(f);
        }
    }
    return out.section(sh->extendedSection, sh->extendedHeaderLength, sh->extendedHeaderOverflow,
                       "SXSHDL", r);
}

bool labelSubheaderBytes(Bytes& out, nitf_LabelSubheader* sh, nitf_Version v, nitf_Record* r) {
    for (const nitf_Field* f : {sh->filePartType, sh->labelID, sh->securityClass}) {
        out.field(f);
    }
    security(out, sh->securityGroup, v);
    for (const nitf_Field* f : {sh->encrypted, sh->fontStyle, sh->cellWidth, sh->cellHeight,
                                sh->displayLevel, sh->attachmentLevel, sh->locationRow,
                                sh->locationColumn, sh->textColor, sh->backgroundColor}) {
        out.field(f);
    }
    return out.section(sh->extendedSection, sh->extendedHeaderLength, sh->extendedHeaderOverflow,
                       "LXSHDL", r);
}

bool textSubheaderBytes(Bytes& out, nitf_TextSubheader* sh, nitf_Version v, nitf_Record* r) {
    for (const nitf_Field* f : {sh->filePartType, sh->textID, sh->attachmentLevel, sh->dateTime,
                                sh->title, sh->securityClass}) {
        out.field(f);
    }
    security(out, sh->securityGroup, v);
    out.field(sh->encrypted);
    out.field(sh->format);
    return out.section(sh->extendedSection, sh->extendedHeaderLength, sh->extendedHeaderOverflow,
                       "TXSHDL", r);
}

bool desSubheaderBytes(Bytes& out, nitf_DESubheader* sh, nitf_Version v, nitf_Record* r) {
    for (const nitf_Field* f : {sh->filePartType, sh->typeID, sh->version, sh->securityClass}) {
        out.field(f);
    }
    security(out, sh->securityGroup, v);
    if (isOverflowDes(v, trimmedText(sh->typeID))) {
        out.field(sh->overflowedHeaderType);
        out.field(sh->dataItemOverflowed);
    }
    if (sh->subheaderFields == nullptr) {
        return out.number(0, NITF_DESSHL_SZ, "DESSHL");
    }
    Bytes fields(out.error());
    if (!fields.treData(sh->subheaderFields, r) ||
        !out.number(fields.size(), NITF_DESSHL_SZ, "DESSHL")) {
        return false;
    }
    out.text() += fields.text();
    return true;
}

bool resSubheaderBytes(Bytes& out, nitf_RESubheader* sh, nitf_Version v) {
    for (const nitf_Field* f : {sh->filePartType, sh->typeID, sh->version, sh->securityClass}) {
        out.field(f);
    }
    security(out, sh->securityGroup, v);
    const size_t length =
        sh->subheaderFields != nullptr ? fieldValue(sh->subheaderFieldsLength) : 0;
    if (!out.number(length, NITF_RESSHL_SZ, "RESSHL")) {
        return false;
    }
    out.raw(sh->subheaderFields, length);
    return true;
}

// The segment kinds in file order, with the widths of their lengths in the file header.
struct SegmentKind {
    nitf_List* nitf_Record::*list;
    nitf_WriteHandler** nitf_Writer::*handlers;
    uint32_t nitf_Writer::*count;
    size_t countWidth, subheaderWidth, dataWidth;
    const char* countName;
    const char* lengthName;
};

const SegmentKind kSegmentKinds[] = {
    {&nitf_Record::images, &nitf_Writer::imageWriters, &nitf_Writer::numImageWriters, NITF_NUMI_SZ,
     NITF_LISH_SZ, NITF_LI_SZ, "NUMI", "LI"},
    {&nitf_Record::graphics, &nitf_Writer::graphicWriters, &nitf_Writer::numGraphicWriters,
     NITF_NUMS_SZ, NITF_LSSH_SZ, NITF_LS_SZ, "NUMS", "LS"},
    {&nitf_Record::labels, &nitf_Writer::labelWriters, &nitf_Writer::numLabelWriters, NITF_NUMX_SZ,
     NITF_LLSH_SZ, NITF_LL_SZ, "NUMX", "LL"},
    {&nitf_Record::texts, &nitf_Writer::textWriters, &nitf_Writer::numTextWriters, NITF_NUMT_SZ,
     NITF_LTSH_SZ, NITF_LT_SZ, "NUMT", "LT"},
    {&nitf_Record::dataExtensions, &nitf_Writer::dataExtensionWriters,
     &nitf_Writer::numDataExtensionWriters, NITF_NUMDES_SZ, NITF_LDSH_SZ, NITF_LD_SZ, "NUMDES",
     "LD"},
    {&nitf_Record::reservedExtensions, &nitf_Writer::reservedExtensionWriters,
     &nitf_Writer::numReservedExtensionWriters, NITF_NUMRES_SZ, NITF_LRESH_SZ, NITF_LRE_SZ,
     "NUMRES", "LRE"},
};
constexpr size_t kKindCount = std::size(kSegmentKinds);

// The file header with room for the lengths, and where each one goes.
struct HeaderPlan {
    std::string bytes;
    size_t fileLengthAt = 0;
    size_t headerLengthAt = 0;
    std::vector<size_t> componentsAt[kKindCount];
};

bool headerBytes(nitf_Record* record, nitf_Version v, HeaderPlan& plan, nitf_Error* error) {
    nitf_FileHeader* h = record->header;
    Bytes out(error);
    for (const nitf_Field* f :
         {h->fileHeader, h->fileVersion, h->complianceLevel, h->systemType, h->originStationID,
          h->fileDateTime, h->fileTitle, h->classification}) {
        out.field(f);
    }
    security(out, h->securityGroup, v);
    out.field(h->messageCopyNum);
    out.field(h->messageNumCopies);
    out.field(h->encrypted);
    if (v != NITF_VER_20) {
        out.field(h->backgroundColor);
    }
    out.field(h->originatorName);
    out.field(h->originatorPhone);
    plan.fileLengthAt = out.size();
    out.text().append(NITF_FL_SZ, '0');
    plan.headerLengthAt = out.size();
    out.text().append(NITF_HL_SZ, '0');
    for (size_t k = 0; k < kKindCount; ++k) {
        const SegmentKind& kind = kSegmentKinds[k];
        const uint32_t count = nitf_List_size(record->*kind.list);
        if (!out.number(count, kind.countWidth, kind.countName)) {
            return false;
        }
        for (uint32_t i = 0; i < count; ++i) {
            plan.componentsAt[k].push_back(out.size());
            out.text().append(kind.subheaderWidth + kind.dataWidth, '0');
        }
    }
    if (!out.section(h->userDefinedSection, h->userDefinedHeaderLength, h->userDefinedOverflow,
                     "UDHDL", record) ||
        !out.section(h->extendedSection, h->extendedHeaderLength, h->extendedHeaderOverflow, "XHDL",
                     record)) {
        return false;
    }
    plan.bytes = std::move(out.text());
    return true;
}

// Stores a number in a place of the header made for it.
bool patch(HeaderPlan& plan, size_t at, uint64_t value, size_t width, const char* name,
           nitf_Error* error) {
    Bytes digits(error);
    if (!digits.number(value, width, name)) {
        return false;
    }
    plan.bytes.replace(at, width, digits.text());
    return true;
}

bool subheaderBytes(Bytes& out, size_t kind, void* segment, nitf_Version v, nitf_Record* r) {
    switch (kind) {
        case 0:
            return imageSubheaderBytes(out, static_cast<nitf_ImageSegment*>(segment)->subheader, v,
                                       r);
        case 1:
            return graphicSubheaderBytes(out, static_cast<nitf_GraphicSegment*>(segment)->subheader,
                                         v, r);
        case 2:
            return labelSubheaderBytes(out, static_cast<nitf_LabelSegment*>(segment)->subheader, v,
                                       r);
        case 3:
            return textSubheaderBytes(out, static_cast<nitf_TextSegment*>(segment)->subheader, v,
                                      r);
        case 4:
            return desSubheaderBytes(out, static_cast<nitf_DESegment*>(segment)->subheader, v, r);
        default:
            return resSubheaderBytes(out, static_cast<nitf_RESegment*>(segment)->subheader, v);
    }
}

nitf_Off positionOf(nitf_Writer* writer, nitf_Error* error) {
    return nitf_IOInterface_tell(writer->output, error);
}

// The data of one segment: its handler's bytes, or the TREs of an overflow extension.
bool segmentData(nitf_Writer* writer, size_t kind, void* segment, nitf_WriteHandler* handler,
                 nitf_Version v, nitf_Error* error) {
    if (kind == 4) {
        nitf_DESubheader* sh = static_cast<nitf_DESegment*>(segment)->subheader;
        if (isOverflowDes(v, trimmedText(sh->typeID))) {
            Bytes tres(error);
            return tres.tres(sh->userDefinedSection, writer->record) &&
                   (tres.size() == 0 ||
                    nitf_IOInterface_write(writer->output, tres.text().data(), tres.size(), error));
        }
    }
    return handler == nullptr || handler->iface->write(handler->data, writer->output, error);
}

bool writeSegments(nitf_Writer* writer, nitf_Version v, HeaderPlan& plan, nitf_Error* error) {
    for (size_t k = 0; k < kKindCount; ++k) {
        const SegmentKind& kind = kSegmentKinds[k];
        nitf_List* list = writer->record->*kind.list;
        uint32_t index = 0;
        for (nitf_ListIterator it = nitf_List_begin(list), last = nitf_List_end(list);
             nitf_ListIterator_notEqualTo(&it, &last); nitf_ListIterator_increment(&it), ++index) {
            void* segment = nitf_ListIterator_get(&it);
            Bytes sub(error);
            if (!subheaderBytes(sub, k, segment, v, writer->record) ||
                !nitf_IOInterface_write(writer->output, sub.text().data(), sub.size(), error)) {
                return false;
            }
            const nitf_Off start = positionOf(writer, error);
            nitf_WriteHandler* handler =
                index < writer->*kind.count ? (writer->*kind.handlers)[index] : nullptr;
            if (start < 0 || !segmentData(writer, k, segment, handler, v, error)) {
                return false;
            }
            const nitf_Off end = positionOf(writer, error);
            if (end < start) {
                return false;
            }
            const size_t at = plan.componentsAt[k][index];
            if (!patch(plan, at, sub.size(), kind.subheaderWidth, "subheader length", error) ||
                !patch(plan, at + kind.subheaderWidth, static_cast<uint64_t>(end - start),
                       kind.dataWidth, kind.lengthName, error)) {
                return false;
            }
        }
    }
    return true;
}

nitf_WriteHandler** slotOf(nitf_Writer* writer, size_t kind, int index, nitf_Error* error) {
    const SegmentKind& k = kSegmentKinds[kind];
    if (writer == nullptr || writer->record == nullptr) {
        nitf_Error_init(error, "the writer has not been prepared", NITF_CTXT,
                        NITF_ERR_INVALID_OBJECT);
        return nullptr;
    }
    if (index < 0 || static_cast<uint32_t>(index) >= writer->*k.count) {
        failf(error, NITF_ERR_INVALID_PARAMETER, "there is no segment {} for {}", index,
              k.lengthName);
        return nullptr;
    }
    return &(writer->*k.handlers)[index];
}

NITF_BOOL setHandler(nitf_Writer* writer, size_t kind, int index, nitf_WriteHandler* handler,
                     nitf_Error* error) {
    nitf_WriteHandler** slot = slotOf(writer, kind, index, error);
    if (slot == nullptr) {
        return false;
    }
    nitf_WriteHandler_destruct(slot);
    *slot = handler;
    return true;
}

void releaseHandlers(nitf_Writer* writer) {
    for (const SegmentKind& kind : kSegmentKinds) {
        nitf_WriteHandler**& handlers = writer->*kind.handlers;
        for (uint32_t i = 0; i < writer->*kind.count; ++i) {
            nitf_WriteHandler_destruct(&handlers[i]);
        }
        std::free(handlers);
        handlers = nullptr;
        writer->*kind.count = 0;
    }
}

nitf_SegmentWriter* newSegmentWriter(nitf_Writer* writer, size_t kind, int index,
                                     nitf_Error* error) {
    if (slotOf(writer, kind, index, error) == nullptr) {
        return nullptr;
    }
    nitf_SegmentWriter* handler = tessel_nitf::newSegmentSourceWriter(error);
    if (handler != nullptr) {
        setHandler(writer, kind, index, handler, error);
    }
    return handler;
}

}  // namespace

extern "C" {

nitf_Writer* nitf_Writer_construct(nitf_Error* error) {
    auto* writer = static_cast<nitf_Writer*>(std::calloc(1, sizeof(nitf_Writer)));
    if (writer == nullptr) {
        nitf_Error_init(error, "out of memory", NITF_CTXT, NITF_ERR_MEMORY);
    }
    return writer;
}

void nitf_Writer_destruct(nitf_Writer** writer) {
    if (writer == nullptr || *writer == nullptr) {
        return;
    }
    releaseHandlers(*writer);
    if ((*writer)->ownOutput) {
        nitf_IOInterface_destruct(&(*writer)->output);
    }
    std::free(*writer);
    *writer = nullptr;
}

NITF_BOOL nitf_Writer_prepareIO(nitf_Writer* writer, nitf_Record* record, nitf_IOInterface* io,
                                nitf_Error* error) {
    if (writer == nullptr || record == nullptr || io == nullptr) {
        nitf_Error_init(error, "writer, record or output is NULL", NITF_CTXT,
                        NITF_ERR_INVALID_PARAMETER);
        return false;
    }
    releaseHandlers(writer);
    if (writer->ownOutput && writer->output != io) {
        nitf_IOInterface_destruct(&writer->output);
        writer->ownOutput = false;
    }
    writer->record = record;
    writer->output = io;
    for (const SegmentKind& kind : kSegmentKinds) {
        const uint32_t count = nitf_List_size(record->*kind.list);
        if (count == 0) {
            continue;
        }
        auto* slots = static_cast<nitf_WriteHandler**>(std::calloc(count, sizeof(void*)));
        if (slots == nullptr) {
            nitf_Error_init(error, "out of memory", NITF_CTXT, NITF_ERR_MEMORY);
            return false;
        }
        writer->*kind.handlers = slots;
        writer->*kind.count = count;
    }
    return true;
}

NITF_BOOL nitf_Writer_prepare(nitf_Writer* writer, nitf_Record* record, const char* path,
                              nitf_Error* error) {
    nitf_IOInterface* io =
        nitf_IOHandleAdapter_open(path, NITF_ACCESS_WRITEONLY, NITF_CREATE | NITF_TRUNCATE, error);
    if (io == nullptr) {
        return false;
    }
    if (!nitf_Writer_prepareIO(writer, record, io, error)) {
        nitf_IOInterface_destruct(&io);
        return false;
    }
    writer->ownOutput = true;
    return true;
}

nitf_ImageWriter* nitf_Writer_newImageWriter(nitf_Writer* writer, int index,
                                             nrt_HashTable* /*options*/, nitf_Error* error) {
    if (slotOf(writer, 0, index, error) == nullptr) {
        return nullptr;
    }
    nitf_ListIterator it = nitf_List_at(writer->record->images, index);
    auto* segment = static_cast<nitf_ImageSegment*>(nitf_ListIterator_get(&it));
    nitf_ImageWriter* handler = tessel_nitf::newImageRowsWriter(segment->subheader, error);
    if (handler != nullptr) {
        setHandler(writer, 0, index, handler, error);
    }
    return handler;
}

nitf_SegmentWriter* nitf_Writer_newGraphicWriter(nitf_Writer* writer, int index,
                                                 nitf_Error* error) {
    return newSegmentWriter(writer, 1, index, error);
}

nitf_SegmentWriter* nitf_Writer_newLabelWriter(nitf_Writer* writer, int index, nitf_Error* error) {
    return newSegmentWriter(writer, 2, index, error);
}

nitf_SegmentWriter* nitf_Writer_newTextWriter(nitf_Writer* writer, int index, nitf_Error* error) {
    return newSegmentWriter(writer, 3, index, error);
}

nitf_SegmentWriter* nitf_Writer_newDEWriter(nitf_Writer* writer, int index, nitf_Error* error) {
    return newSegmentWriter(writer, 4, index, error);
}

nitf_SegmentWriter* nitf_Writer_newREWriter(nitf_Writer* writer, int index, nitf_Error* error) {
    return newSegmentWriter(writer, 5, index, error);
}

NITF_BOOL nitf_Writer_setImageWriteHandler(nitf_Writer* writer, int index,
                                           nitf_WriteHandler* handler, nitf_Error* error) {
    return setHandler(writer, 0, index, handler, error);
}

NITF_BOOL nitf_Writer_setGraphicWriteHandler(nitf_Writer* writer, int index,
                                             nitf_WriteHandler* handler, nitf_Error* error) {
    return setHandler(writer, 1, index, handler, error);
}

NITF_BOOL nitf_Writer_setLabelWriteHandler(nitf_Writer* writer, int index,
                                           nitf_WriteHandler* handler, nitf_Error* error) {
    return setHandler(writer, 2, index, handler, error);
}

NITF_BOOL nitf_Writer_setTextWriteHandler(nitf_Writer* writer, int index,
                                          nitf_WriteHandler* handler, nitf_Error* error) {
    return setHandler(writer, 3, index, handler, error);
}

NITF_BOOL nitf_Writer_setDEWriteHandler(nitf_Writer* writer, int index, nitf_WriteHandler* handler,
                                        nitf_Error* error) {
    return setHandler(writer, 4, index, handler, error);
}

NITF_BOOL nitf_Writer_setREWriteHandler(nitf_Writer* writer, int index, nitf_WriteHandler* handler,
                                        nitf_Error* error) {
    return setHandler(writer, 5, index, handler, error);
}

NITF_BOOL nitf_Writer_write(nitf_Writer* writer, nitf_Error* error) {
    if (writer == nullptr || writer->record == nullptr || writer->output == nullptr) {
        nitf_Error_init(error, "the writer has not been prepared", NITF_CTXT,
                        NITF_ERR_INVALID_OBJECT);
        return false;
    }
    nitf_Version version = nitf_Record_getVersion(writer->record);
    if (version == NITF_VER_UNKNOWN) {
        version = NITF_VER_21;
    }
    HeaderPlan plan;
    const nitf_Off start = positionOf(writer, error);
    if (start < 0 || !headerBytes(writer->record, version, plan, error) ||
        !nitf_IOInterface_write(writer->output, plan.bytes.data(), plan.bytes.size(), error) ||
        !writeSegments(writer, version, plan, error)) {
        return false;
    }
    const nitf_Off end = positionOf(writer, error);
    if (end < start ||
        !patch(plan, plan.fileLengthAt, static_cast<uint64_t>(end - start), NITF_FL_SZ, "FL",
               error) ||
        !patch(plan, plan.headerLengthAt, plan.bytes.size(), NITF_HL_SZ, "HL", error)) {
        return false;
    }
    return NITF_IO_SUCCESS(nitf_IOInterface_seek(writer->output, start, NITF_SEEK_SET, error)) &&
           nitf_IOInterface_write(writer->output, plan.bytes.data(), plan.bytes.size(), error) &&
           NITF_IO_SUCCESS(nitf_IOInterface_seek(writer->output, end, NITF_SEEK_SET, error));
}

}  // extern "C"
