#include "tools/RecordJson.h"

#include <fmt/format.h>

#include <cstring>
#include <memory>
#include <stdexcept>

#include "tessel/platform/base/lumo_codec.h"

namespace tessel_cli {
namespace {

using Json = RecordJson;

std::string trimmed(const nitf_Field* field) {
    if (field == nullptr) {
        return {};
    }
    std::string text(field->raw, field->length);
    const size_t first = text.find_first_not_of(' ');
    const size_t last = text.find_last_not_of(' ');
    return first == std::string::npos ? std::string() : text.substr(first, last - first + 1);
}

// The digits of a BCS-N field (blanks around them allowed) as a number; 0 when it holds
// anything else.
uint64_t numberOf(const nitf_Field* field) {
    const std::string text = trimmed(field);
    if (text.empty() || text.size() > 19 ||
        text.find_first_not_of("0123456789") != std::string::npos) {
        return 0;
    }
    return std::stoull(text);
}

Json binaryJson(const void* bytes, size_t size) {
    return Json{{kBinaryKey, lumo_codec::base64_encode(bytes, size)}};
}

// Appends fields to an object under their names, skipping the ones the record lacks.
class Fields {
public:
    explicit Fields(Json& out) : out_(out) {}
    Fields& operator()(const std::string& name, const nitf_Field* field) {
        if (field != nullptr) {
            out_[name] = fieldJson(field);
        }
        return *this;
    }

private:
    Json& out_;
};

template <typename T>
std::vector<T*> listItems(nitf_List* list) {
    std::vector<T*> out;
    for (nitf_ListNode* node = list != nullptr ? list->first : nullptr; node != nullptr;
         node = node->next) {
        if (node->data != nullptr) {
            out.push_back(static_cast<T*>(node->data));
        }
    }
    return out;
}

bool isOverflowTag(nitf_Version version, const std::string& tag) {
    if (version == NITF_VER_20) {
        return tag == "Registered Extensions" || tag == "Controlled Extensions";
    }
    return tag == "TRE_OVERFLOW";
}

// The security group in the file's own layout; the prefix names the segment (FS, IS, ...).
void addSecurity(Json& out, const std::string& prefix, const nitf_FileSecurity* fs,
                 nitf_Version version) {
    if (fs == nullptr) {
        return;
    }
    Fields add(out);
    if (version == NITF_VER_20) {
        // The record holds DWNG in DGDT and DEVT in CLTX.
        add(prefix + "CODE", fs->codewords)(prefix + "CTLH", fs->controlAndHandling)(
            prefix + "REL", fs->releasingInstructions)(prefix + "CAUT",
                                                       fs->classificationAuthority)(
            prefix + "CTLN", fs->securityControlNumber)(prefix + "DWNG", fs->downgradeDateTime);
        if (fs->downgradeDateTime != nullptr && fs->downgradeDateTime->length >= 6 &&
            std::strncmp(fs->downgradeDateTime->raw, "999998", 6) == 0) {
            add(prefix + "DEVT", fs->classificationText);
        }
        return;
    }
    add(prefix + "CLSY", fs->classificationSystem)(prefix + "CODE", fs->codewords)(
        prefix + "CTLH", fs->controlAndHandling)(prefix + "REL", fs->releasingInstructions)(
        prefix + "DCTP", fs->declassificationType)(prefix + "DCDT", fs->declassificationDate)(
        prefix + "DCXM", fs->declassificationExemption)(prefix + "DG", fs->downgrade)(
        prefix + "DGDT", fs->downgradeDateTime)(prefix + "CLTX", fs->classificationText)(
        prefix + "CATP", fs->classificationAuthorityType)(
        prefix + "CAUT", fs->classificationAuthority)(prefix + "CRSN", fs->classificationReason)(
        prefix + "SRDT", fs->securitySourceDate)(prefix + "CTLN", fs->securityControlNumber);
}

Json sectionJson(nitf_Extensions* extensions) {
    Json tres = Json::array();
    for (auto* tre : listItems<nitf_TRE>(extensions != nullptr ? extensions->ref : nullptr)) {
        tres.push_back(treJson(tre));
    }
    return tres;
}

// A length field, its overflow field when the length is not 0, and the section's TREs.
void addSection(Json& out, const char* lengthName, const nitf_Field* length,
                const char* overflowName, const nitf_Field* overflow, const char* sectionName,
                nitf_Extensions* extensions) {
    Fields add(out);
    add(lengthName, length);
    if (numberOf(length) == 0) {
        return;
    }
    add(overflowName, overflow);
    out[sectionName] = sectionJson(extensions);
}

// NUMI and the LISHnnn / LInnn pairs, and the like.
void addComponents(Json& out, const char* countName, const nitf_Field* count,
                   nitf_ComponentInfo** infos, const char* subheaderName, const char* dataName) {
    Fields add(out);
    add(countName, count);
    const uint64_t n = numberOf(count);
    for (uint64_t i = 0; infos != nullptr && i < n; ++i) {
        if (infos[i] != nullptr) {
            add(fmt::format("{}{:03}", subheaderName, i + 1), infos[i]->lengthSubheader);
            add(fmt::format("{}{:03}", dataName, i + 1), infos[i]->lengthData);
        }
    }
}

Json headerJson(nitf_FileHeader* h, nitf_Version version) {
    Json out = Json::object();
    Fields add(out);
    add("FHDR", h->fileHeader)("FVER", h->fileVersion)("CLEVEL", h->complianceLevel)(
        "STYPE", h->systemType)("OSTAID", h->originStationID)("FDT", h->fileDateTime)(
        "FTITLE", h->fileTitle)("FSCLAS", h->classification);
    addSecurity(out, "FS", h->securityGroup, version);
    add("FSCOP", h->messageCopyNum)("FSCPYS", h->messageNumCopies)("ENCRYP", h->encrypted);
    if (version != NITF_VER_20) {
        add("FBKGC", h->backgroundColor);
    }
    add("ONAME", h->originatorName)("OPHONE", h->originatorPhone)("FL", h->fileLength)(
        "HL", h->headerLength);
    addComponents(out, "NUMI", h->numImages, h->imageInfo, "LISH", "LI");
    addComponents(out, "NUMS", h->numGraphics, h->graphicInfo, "LSSH", "LS");
    addComponents(out, "NUMX", h->numLabels, h->labelInfo, "LLSH", "LL");
    addComponents(out, "NUMT", h->numTexts, h->textInfo, "LTSH", "LT");
    addComponents(out, "NUMDES", h->numDataExtensions, h->dataExtensionInfo, "LDSH", "LD");
    addComponents(out, "NUMRES", h->numReservedExtensions, h->reservedExtensionInfo, "LRESH",
                  "LRE");
    addSection(out, "UDHDL", h->userDefinedHeaderLength, "UDHOFL", h->userDefinedOverflow, "UDHD",
               h->userDefinedSection);
    addSection(out, "XHDL", h->extendedHeaderLength, "XHDLOFL", h->extendedHeaderOverflow, "XHD",
               h->extendedSection);
    return out;
}

Json lutJson(const nitf_LookupTable* lut) {
    if (lut == nullptr || lut->table == nullptr) {
        return binaryJson("", 0);
    }
    return binaryJson(lut->table, size_t{lut->tables} * lut->entries);
}

Json bandJson(const nitf_BandInfo* band) {
    Json out = Json::object();
    Fields add(out);
    add("IREPBAND", band->representation)("ISUBCAT", band->subcategory)(
        "IFC", band->imageFilterCondition)("IMFLT", band->imageFilterCode)("NLUTS", band->numLUTs);
    if (numberOf(band->numLUTs) > 0) {
        add("NELUT", band->bandEntriesPerLUT);
        out["LUTD"] = lutJson(band->lut);
    }
    return out;
}

void addBands(Json& out, nitf_ImageSubheader* sh, nitf_Version version) {
    Fields add(out);
    add("NBANDS", sh->numImageBands);
    if (version != NITF_VER_20 && numberOf(sh->numImageBands) == 0) {
        add("XBANDS", sh->numMultispectralImageBands);
    }
    nitf_Error error{};
    const uint32_t count = nitf_ImageSubheader_getBandCount(sh, &error);
    Json bands = Json::array();
    for (uint32_t b = 0; count != NITF_INVALID_BAND_COUNT && sh->bandInfo != nullptr && b < count;
         ++b) {
        if (sh->bandInfo[b] != nullptr) {
            bands.push_back(bandJson(sh->bandInfo[b]));
        }
    }
    out["bands"] = std::move(bands);
}

Json imageSubheaderJson(nitf_ImageSubheader* sh, nitf_Version version) {
    Json out = Json::object();
    Fields add(out);
    add("IM", sh->filePartType)("IID1", sh->imageId)("IDATIM", sh->imageDateAndTime)(
        "TGTID", sh->targetId)("IID2", sh->imageTitle)("ISCLAS", sh->imageSecurityClass);
    addSecurity(out, "IS", sh->securityGroup, version);
    add("ENCRYP", sh->encrypted)("ISORCE", sh->imageSource)("NROWS", sh->numRows)(
        "NCOLS", sh->numCols)("PVTYPE", sh->pixelValueType)("IREP", sh->imageRepresentation)(
        "ICAT", sh->imageCategory)("ABPP", sh->actualBitsPerPixel)("PJUST", sh->pixelJustification)(
        "ICORDS", sh->imageCoordinateSystem);
    const char icords =
        sh->imageCoordinateSystem != nullptr ? sh->imageCoordinateSystem->raw[0] : '\0';
    const char* located = version == NITF_VER_20 ? "UGC" : "UGNSD";
    if (icords != '\0' && std::strchr(located, icords) != nullptr) {
        add("IGEOLO", sh->cornerCoordinates);
    }
    add("NICOM", sh->numImageComments);
    Json comments = Json::array();
    for (auto* comment : listItems<nitf_Field>(sh->imageComments)) {
        comments.push_back(fieldJson(comment));
    }
    out["ICOM"] = std::move(comments);
    add("IC", sh->imageCompression);
    const std::string ic = trimmed(sh->imageCompression);
    if (ic != "NC" && ic != "NM") {
        add("COMRAT", sh->compressionRate);
    }
    addBands(out, sh, version);
    add("ISYNC", sh->imageSyncCode)("IMODE", sh->imageMode)("NBPR", sh->numBlocksPerRow)(
        "NBPC", sh->numBlocksPerCol)("NPPBH", sh->numPixelsPerHorizBlock)(
        "NPPBV", sh->numPixelsPerVertBlock)("NBPP", sh->numBitsPerPixel)(
        "IDLVL", sh->imageDisplayLevel)("IALVL", sh->imageAttachmentLevel)(
        "ILOC", sh->imageLocation)("IMAG", sh->imageMagnification);
    addSection(out, "UDIDL", sh->userDefinedImageDataLength, "UDOFL", sh->userDefinedOverflow,
               "UDID", sh->userDefinedSection);
    addSection(out, "IXSHDL", sh->extendedHeaderLength, "IXSOFL", sh->extendedHeaderOverflow,
               "IXSHD", sh->extendedSection);
    return out;
}

// NITF 2.0 symbols: their own fields after ENCRYP, with the colour table.
void addSymbolFields(Json& out, nitf_GraphicSubheader* sh) {
    Fields add(out);
    add("STYPE", sh->stype)("NLIPS", sh->numLinesPerSymbol)("NPIXPL", sh->numPixelsPerLine)(
        "NWDTH", sh->lineWidth)("NBPP", sh->numBitsPerPixel)("SDLVL", sh->displayLevel)(
        "SALVL", sh->attachmentLevel)("SLOC", sh->location)("SLOC2", sh->location2)(
        "SCOLOR", sh->color)("SNUM", sh->symbolNumber)("SROT", sh->rotation)("NELUT",
                                                                             sh->numLUTEntries);
    if (numberOf(sh->numLUTEntries) > 0) {
        out["DLUT"] = lutJson(sh->lut);
    }
}

Json graphicSubheaderJson(nitf_GraphicSubheader* sh, nitf_Version version) {
    Json out = Json::object();
    Fields add(out);
    add("SY", sh->filePartType)("SID", sh->graphicID)("SNAME", sh->name)("SSCLAS",
                                                                         sh->securityClass);
    addSecurity(out, "SS", sh->securityGroup, version);
    add("ENCRYP", sh->encrypted);
    if (version == NITF_VER_20) {
        addSymbolFields(out, sh);
    } else {
        add("SFMT", sh->stype)("SSTRUCT", sh->res1)("SDLVL", sh->displayLevel)(
            "SALVL", sh->attachmentLevel)("SLOC", sh->location)("SBND1", sh->bound1Loc)(
            "SCOLOR", sh->color)("SBND2", sh->bound2Loc)("SRES2", sh->res2);
    }
    addSection(out, "SXSHDL", sh->extendedHeaderLength, "SXSOFL", sh->extendedHeaderOverflow,
               "SXSHD", sh->extendedSection);
    return out;
}

Json labelSubheaderJson(nitf_LabelSubheader* sh, nitf_Version version) {
    Json out = Json::object();
    Fields add(out);
    add("LA", sh->filePartType)("LID", sh->labelID)("LSCLAS", sh->securityClass);
    addSecurity(out, "LS", sh->securityGroup, version);
    add("ENCRYP", sh->encrypted)("LFS", sh->fontStyle)("LCW", sh->cellWidth)("LCH", sh->cellHeight)(
        "LDLVL", sh->displayLevel)("LALVL", sh->attachmentLevel)("LLOCR", sh->locationRow)(
        "LLOCC", sh->locationColumn)("LTC", sh->textColor)("LBC", sh->backgroundColor);
    addSection(out, "LXSHDL", sh->extendedHeaderLength, "LXSOFL", sh->extendedHeaderOverflow,
               "LXSHD", sh->extendedSection);
    return out;
}

Json textSubheaderJson(nitf_TextSubheader* sh, nitf_Version version) {
    Json out = Json::object();
    Fields add(out);
    add("TE", sh->filePartType);
    if (version == NITF_VER_20 && sh->textID != nullptr && sh->attachmentLevel != nullptr) {
        // A NITF 2.0 TEXTID has 10 characters, held across TEXTID and TXTALVL.
        out["TEXTID"] =
            latin1ToUtf8(std::string(sh->textID->raw, sh->textID->length) +
                         std::string(sh->attachmentLevel->raw, sh->attachmentLevel->length));
    } else {
        add("TEXTID", sh->textID)("TXTALVL", sh->attachmentLevel);
    }
    add("TXTDT", sh->dateTime)("TXTITL", sh->title)("TSCLAS", sh->securityClass);
    addSecurity(out, "TS", sh->securityGroup, version);
    add("ENCRYP", sh->encrypted)("TXTFMT", sh->format);
    addSection(out, "TXSHDL", sh->extendedHeaderLength, "TXSOFL", sh->extendedHeaderOverflow,
               "TXSHD", sh->extendedSection);
    return out;
}

Json deSubheaderJson(nitf_DESubheader* sh, nitf_Version version) {
    Json out = Json::object();
    Fields add(out);
    add("DE", sh->filePartType)("DESTAG", sh->typeID)("DESVER", sh->version)("DESCLAS",
                                                                             sh->securityClass);
    addSecurity(out, "DES", sh->securityGroup, version);
    if (isOverflowTag(version, trimmed(sh->typeID))) {
        add("DESOFLW", sh->overflowedHeaderType)("DESITEM", sh->dataItemOverflowed);
    }
    add("DESSHL", sh->subheaderFieldsLength);
    if (sh->subheaderFields != nullptr) {
        out["DESSHF"] = treJson(sh->subheaderFields);
    }
    return out;
}

Json reSubheaderJson(nitf_RESubheader* sh, nitf_Version version) {
    Json out = Json::object();
    Fields add(out);
    add("RE", sh->filePartType)("RESTAG", sh->typeID)("RESVER", sh->version)("RESCLAS",
                                                                             sh->securityClass);
    addSecurity(out, "RES", sh->securityGroup, version);
    add("RESSHL", sh->subheaderFieldsLength);
    const uint64_t length = numberOf(sh->subheaderFieldsLength);
    if (length > 0 && sh->subheaderFields != nullptr) {
        out["RESSHF"] = binaryJson(sh->subheaderFields, length);
    }
    return out;
}

// Segments follow each other from the end of the file header: a segment's subheader starts
// where the previous segment's data ends.
class Placement {
public:
    explicit Placement(uint64_t headerLength) : next_(headerLength) {}

    Json segment(uint64_t dataOffset, uint64_t dataEnd, Json subheader) {
        Json out = Json::object();
        out["subheader_offset"] = next_;
        out["subheader_length"] = dataOffset >= next_ ? dataOffset - next_ : 0;
        out["data_offset"] = dataOffset;
        out["data_length"] = dataEnd >= dataOffset ? dataEnd - dataOffset : 0;
        out["subheader"] = std::move(subheader);
        next_ = dataEnd;
        return out;
    }

private:
    uint64_t next_;
};

Json warningsJson(const nitf_Reader* reader) {
    Json warnings = Json::array();
    if (reader != nullptr) {
        for (auto* text : listItems<char>(reader->warningList)) {
            warnings.push_back(latin1ToUtf8(text));
        }
    }
    return warnings;
}

}  // namespace

std::string latin1ToUtf8(std::string_view bytes) {
    std::string out;
    out.reserve(bytes.size());
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            out.push_back(c);
        } else {
            out.push_back(static_cast<char>(0xC0 | (byte >> 6)));
            out.push_back(static_cast<char>(0x80 | (byte & 0x3F)));
        }
    }
    return out;
}

Json fieldJson(const nitf_Field* field) {
    if (field == nullptr || field->raw == nullptr) {
        return nullptr;
    }
    if (field->type == NITF_BINARY) {
        return binaryJson(field->raw, field->length);
    }
    return latin1ToUtf8(std::string_view(field->raw, field->length));
}

Json treJson(nitf_TRE* tre) {
    Json out = Json::object();
    out["tag"] = latin1ToUtf8(tre->tag);
    const char* id = tre->handler != nullptr ? nitf_TRE_getID(tre) : nullptr;
    out["id"] = id != nullptr ? Json(latin1ToUtf8(id)) : Json(nullptr);
    nitf_Error error{};
    const int length = tre->handler != nullptr ? nitf_TRE_getCurrentSize(tre, &error) : -1;
    if (length >= 0) {
        out["length"] = length;
    }
    Json fields = Json::object();
    nitf_TREEnumerator* it = tre->handler != nullptr ? nitf_TRE_begin(tre, &error) : nullptr;
    if (it == nullptr) {
        out["error"] = latin1ToUtf8(error.message);
    }
    // hasNext frees the enumerator at the end: walk it to the end.
    while (it != nullptr && it->hasNext(&it)) {
        nitf_Pair* pair = it->next(it, &error);
        if (pair != nullptr && pair->key != nullptr) {
            fields[latin1ToUtf8(pair->key)] = fieldJson(static_cast<nitf_Field*>(pair->data));
        }
    }
    out["fields"] = std::move(fields);
    return out;
}

Json recordJson(nitf_Record* record, const nitf_Reader* reader) {
    const nitf_Version version = nitf_Record_getVersion(record);
    Json out = Json::object();
    out["header"] = headerJson(record->header, version);
    Placement place(numberOf(record->header->headerLength));

    Json images = Json::array();
    for (auto* seg : listItems<nitf_ImageSegment>(record->images)) {
        images.push_back(place.segment(seg->imageOffset, seg->imageEnd,
                                       imageSubheaderJson(seg->subheader, version)));
    }
    Json graphics = Json::array();
    for (auto* seg : listItems<nitf_GraphicSegment>(record->graphics)) {
        graphics.push_back(
            place.segment(seg->offset, seg->end, graphicSubheaderJson(seg->subheader, version)));
    }
    Json labels = Json::array();
    for (auto* seg : listItems<nitf_LabelSegment>(record->labels)) {
        labels.push_back(
            place.segment(seg->offset, seg->end, labelSubheaderJson(seg->subheader, version)));
    }
    Json texts = Json::array();
    for (auto* seg : listItems<nitf_TextSegment>(record->texts)) {
        texts.push_back(
            place.segment(seg->offset, seg->end, textSubheaderJson(seg->subheader, version)));
    }
    Json dataExtensions = Json::array();
    for (auto* seg : listItems<nitf_DESegment>(record->dataExtensions)) {
        Json des = place.segment(seg->offset, seg->end, deSubheaderJson(seg->subheader, version));
        if (isOverflowTag(version, trimmed(seg->subheader->typeID))) {
            des["DESDATA"] = sectionJson(seg->subheader->userDefinedSection);
        }
        dataExtensions.push_back(std::move(des));
    }
    Json reservedExtensions = Json::array();
    for (auto* seg : listItems<nitf_RESegment>(record->reservedExtensions)) {
        reservedExtensions.push_back(
            place.segment(seg->offset, seg->end, reSubheaderJson(seg->subheader, version)));
    }
    out["images"] = std::move(images);
    out["graphics"] = std::move(graphics);
    out["labels"] = std::move(labels);
    out["texts"] = std::move(texts);
    out["data_extensions"] = std::move(dataExtensions);
    out["reserved_extensions"] = std::move(reservedExtensions);
    out["warnings"] = warningsJson(reader);
    return out;
}

Json readRecordJson(const std::string& path) {
    nitf_Error error{};
    std::unique_ptr<nitf_Reader, void (*)(nitf_Reader*)> reader(
        nitf_Reader_construct(&error), [](nitf_Reader* r) { nitf_Reader_destruct(&r); });
    if (reader == nullptr) {
        throw std::runtime_error(error.message);
    }
    std::unique_ptr<nitf_IOInterface, void (*)(nitf_IOInterface*)> io(
        nitf_IOHandleAdapter_open(path.c_str(), NITF_ACCESS_READONLY, NITF_OPEN_EXISTING, &error),
        [](nitf_IOInterface* i) { nitf_IOInterface_destruct(&i); });
    if (io == nullptr) {
        throw std::runtime_error(error.message);
    }
    std::unique_ptr<nitf_Record, void (*)(nitf_Record*)> record(
        nitf_Reader_readIO(reader.get(), io.get(), &error),
        [](nitf_Record* r) { nitf_Record_destruct(&r); });
    if (record == nullptr) {
        throw std::runtime_error(error.message[0] != '\0' ? error.message
                                                          : "the file could not be read");
    }
    Json out = Json::object();
    out["file"] = path;
    Json description = recordJson(record.get(), reader.get());
    for (auto& item : description.items()) {
        out[item.key()] = std::move(item.value());
    }
    return out;
}

}  // namespace tessel_cli
