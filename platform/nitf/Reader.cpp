// Parses NITF 2.00, NITF 2.10 and NSIF 1.00 files into records. Every length, count and
// offset is checked against the bytes the input holds; what a careful reader can get past
// (a subheader length that disagrees with its fields, text where TREs belong, a segment cut
// short at the end of the file) is noted in the reader's warning list instead.

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "platform/nitf/Internal.h"
#include "tessel/platform/nitf/nitf_PluginRegistry.h"
#include "tessel/platform/nitf/nitf_Reader.h"

using tessel_nitf::fieldValue64;
using tessel_nitf::isNumber;
using tessel_nitf::trimmedText;

namespace {

// The lengths of one segment as the file header gives them.
struct Extent {
    uint64_t subheader = 0;
    uint64_t data = 0;
    bool streaming = false;  // data length written as all 9s
};

bool allNines(const nitf_Field* field) {
    for (size_t i = 0; i < field->length; ++i) {
        if (field->raw[i] != '9') {
            return false;
        }
    }
    return true;
}

std::string printable(const char* bytes, size_t length) {
    std::string text;
    for (size_t i = 0; i < length; ++i) {
        auto c = static_cast<unsigned char>(bytes[i]);
        text += (c >= 0x20 && c < 0x7f) ? static_cast<char>(c) : '?';
    }
    return text;
}

bool isOverflowTag(nitf_Version version, const std::string& tag) {
    if (version == NITF_VER_20) {
        return tag == "Registered Extensions" || tag == "Controlled Extensions";
    }
    return tag == "TRE_OVERFLOW";
}

class Parser {
public:
    Parser(nitf_Reader* reader, nitf_IOInterface* io, nitf_Error* error)
        : reader_(reader), io_(io), error_(error) {}

    nitf_Record* parse() {
        nitf_Off size = nitf_IOInterface_getSize(io_, error_);
        if (size < 0) {
            return nullptr;
        }
        fileSize_ = static_cast<uint64_t>(size);
        where_ = "file header";
        if (!seekTo(0) || !readVersion()) {
            return nullptr;
        }
        record_ = nitf_Record_construct(version_, error_);
        if (record_ == nullptr) {
            return nullptr;
        }
        nitf_Field_setRawData(record_->header->fileHeader, fhdr_, NITF_FHDR_SZ, error_);
        nitf_Field_setRawData(record_->header->fileVersion, fver_, NITF_FVER_SZ, error_);
        if (!readFileHeader() || !readSegments()) {
            nitf_Record_destruct(&record_);
            return nullptr;
        }
        return record_;
    }

private:
    nitf_Reader* reader_;
    nitf_IOInterface* io_;
    nitf_Error* error_;
    nitf_Record* record_ = nullptr;
    nitf_Version version_ = NITF_VER_UNKNOWN;
    uint64_t fileSize_ = 0;
    uint64_t pos_ = 0;
    std::string where_;
    char fhdr_[NITF_FHDR_SZ] = {};
    char fver_[NITF_FVER_SZ] = {};

    // --- primitives ------------------------------------------------------------------------

    bool fail(const std::string& message) {
        tessel_nitf::setError(error_, NITF_ERR_PARSING_FILE, where_ + ": " + message);
        return false;
    }

    void warn(const std::string& message) {
        if (reader_ == nullptr || reader_->warningList == nullptr) {
            return;
        }
        std::string text = where_ + ": " + message;
        char* copy = static_cast<char*>(std::malloc(text.size() + 1));
        if (copy == nullptr) {
            return;
        }
        std::memcpy(copy, text.c_str(), text.size() + 1);
        if (!nitf_List_pushBack(reader_->warningList, copy, error_)) {
            std::free(copy);
        }
    }

    uint64_t available() const { return pos_ < fileSize_ ? fileSize_ - pos_ : 0; }

    bool seekTo(uint64_t offset) {
        if (offset > fileSize_) {
            return fail(
                fmt::format("offset {} is past the end of the file ({} bytes)", offset, fileSize_));
        }
        if (!NITF_IO_SUCCESS(
                nitf_IOInterface_seek(io_, static_cast<nitf_Off>(offset), NITF_SEEK_SET, error_))) {
            return false;
        }
        pos_ = offset;
        return true;
    }

    bool readBytes(void* out, uint64_t count, std::string_view what) {
        if (count > available()) {
            return fail(fmt::format("{}: {} bytes needed at offset {}, {} present", what, count,
                                    pos_, available()));
        }
        if (count > 0 && !nitf_IOInterface_read(io_, out, static_cast<size_t>(count), error_)) {
            return false;
        }
        pos_ += count;
        return true;
    }

    bool field(nitf_Field* f, std::string_view name) { return readBytes(f->raw, f->length, name); }

    // A field whose value sizes or counts something: it must be a number.
    bool number(nitf_Field* f, std::string_view name, uint64_t* value) {
        if (!field(f, name)) {
            return false;
        }
        if (!isNumber(f)) {
            return fail(
                fmt::format("{} is not a number ('{}')", name, printable(f->raw, f->length)));
        }
        *value = fieldValue64(f);
        return true;
    }

    bool expectPartType(nitf_Field* f, const char* expected) {
        if (!field(f, expected)) {
            return false;
        }
        if (std::strncmp(f->raw, expected, 2) != 0) {
            return fail(fmt::format("starts with '{}', not {}", printable(f->raw, 2), expected));
        }
        return true;
    }

    // --- TREs ------------------------------------------------------------------------------

    // Reads one TRE of `length` bytes at the current position, with the registered handler
    // when there is one that can parse it, else raw.
    nitf_TRE* readTRE(const std::string& tag, uint32_t length) {
        nitf_TRE* tre = nitf_TRE_createSkeleton(tag.c_str(), error_);
        if (tre == nullptr) {
            return nullptr;
        }
        uint64_t start = pos_;
        nitf_Error local{};
        int hadError = 0;
        nitf_PluginRegistry* registry = nitf_PluginRegistry_getInstance(&local);
        nitf_TREHandler* handler =
            registry != nullptr
                ? nitf_PluginRegistry_retrieveTREHandler(registry, tag.c_str(), &hadError, &local)
                : nullptr;
        bool parsed = false;
        if (handler != nullptr) {
            tre->handler = handler;
            parsed = handler->read(io_, length, tre, record_, &local);
            if (!parsed) {
                if (handler->destruct != nullptr) {
                    handler->destruct(tre);
                }
                tre->priv = nullptr;
                warn(fmt::format("TRE {} kept raw: {}", tag, local.message));
            }
        }
        if (!parsed) {
            tre->handler = nitf_DefaultTRE_handler(error_);
            if (!seekTo(start) || !tre->handler->read(io_, length, tre, record_, error_)) {
                nitf_TRE_destruct(&tre);
                return nullptr;
            }
        }
        if (!seekTo(start + length)) {
            nitf_TRE_destruct(&tre);
            return nullptr;
        }
        return tre;
    }

    // TREs filling `length` bytes from the current position into `ext`.
    bool readTREs(uint64_t length, nitf_Extensions* ext, std::string_view section) {
        if (length > available()) {
            return fail(fmt::format("{} of {} bytes runs past the end of the file ({} present)",
                                    section, length, available()));
        }
        uint64_t end = pos_ + length;
        while (pos_ < end) {
            uint64_t left = end - pos_;
            if (left < NITF_ETAG_SZ + NITF_EL_SZ) {
                warn(fmt::format("{}: {} bytes after the last TRE ignored", section, left));
                return seekTo(end);
            }
            char head[NITF_ETAG_SZ + NITF_EL_SZ];
            if (!readBytes(head, sizeof head, section)) {
                return false;
            }
            std::string tag(head, NITF_ETAG_SZ);
            while (!tag.empty() && tag.back() == ' ') {
                tag.pop_back();
            }
            std::string lengthText(head + NITF_ETAG_SZ, NITF_EL_SZ);
            bool numeric = lengthText.find_first_not_of("0123456789") == std::string::npos;
            uint64_t declared = numeric ? std::strtoull(lengthText.c_str(), nullptr, 10) : 0;
            if (!numeric) {
                warn(
                    fmt::format("{}: TRE '{}' has length '{}', not a number; the rest of the "
                                "section ignored",
                                section, printable(tag.data(), tag.size()),
                                printable(lengthText.data(), lengthText.size())));
                return seekTo(end);
            }
            if (declared > available()) {
                return fail(fmt::format("TRE {}: {} bytes declared, {} present", tag, declared,
                                        available()));
            }
            bool overruns = declared > end - pos_;
            if (overruns) {
                // The bytes are there: the section's length was counted short.
                warn(
                    fmt::format("{}: TRE {}: {} bytes declared, {} left in the section; read "
                                "past the section's end",
                                section, printable(tag.data(), tag.size()), declared, end - pos_));
            }
            nitf_TRE* tre = readTRE(tag, static_cast<uint32_t>(declared));
            if (tre == nullptr) {
                return false;
            }
            if (!nitf_Extensions_appendTRE(ext, tre, error_)) {
                nitf_TRE_destruct(&tre);
                return false;
            }
            if (overruns) {
                return true;
            }
        }
        return true;
    }

    // A length field, its overflow field when the length is not 0, and the TREs.
    bool extensionSection(nitf_Field* lengthField, const char* lengthName,
                          nitf_Field* overflowField, const char* overflowName, nitf_Extensions* ext,
                          const char* section) {
        uint64_t length = 0;
        if (!number(lengthField, lengthName, &length)) {
            return false;
        }
        if (length == 0) {
            return true;
        }
        if (length < NITF_UDHOFL_SZ) {
            return fail(
                fmt::format("{} {} is too short to hold {}", lengthName, length, overflowName));
        }
        if (!field(overflowField, overflowName)) {
            return false;
        }
        uint64_t tres = length - NITF_UDHOFL_SZ;
        if (!isNumber(overflowField)) {
            // Free text where the overflow field and TREs belong: keep nothing of it.
            if (tres > available()) {
                return fail(
                    fmt::format("{} of {} bytes runs past the end of the file ({} "
                                "present)",
                                section, tres, available()));
            }
            warn(fmt::format("{} is not a number ('{}'): {} holds no TREs", overflowName,
                             printable(overflowField->raw, overflowField->length), section));
            return seekTo(pos_ + tres);
        }
        return readTREs(tres, ext, section);
    }

    // --- headers ---------------------------------------------------------------------------

    bool readVersion() {
        if (!readBytes(fhdr_, NITF_FHDR_SZ, "FHDR") || !readBytes(fver_, NITF_FVER_SZ, "FVER")) {
            return false;
        }
        std::string id = printable(fhdr_, NITF_FHDR_SZ) + printable(fver_, NITF_FVER_SZ);
        if (id == "NITF02.10" || id == "NSIF01.00") {
            version_ = NITF_VER_21;
        } else if (id == "NITF02.00") {
            version_ = NITF_VER_20;
        } else {
            return fail(fmt::format("'{}' is not NITF 2.00, NITF 2.10 or NSIF 1.00", id));
        }
        return true;
    }

    bool readSecurity(nitf_FileSecurity* fs) {
        if (version_ == NITF_VER_21) {
            return field(fs->classificationSystem, "CLSY") && field(fs->codewords, "CODE") &&
                   field(fs->controlAndHandling, "CTLH") &&
                   field(fs->releasingInstructions, "REL") &&
                   field(fs->declassificationType, "DCTP") &&
                   field(fs->declassificationDate, "DCDT") &&
                   field(fs->declassificationExemption, "DCXM") && field(fs->downgrade, "DG") &&
                   field(fs->downgradeDateTime, "DGDT") && field(fs->classificationText, "CLTX") &&
                   field(fs->classificationAuthorityType, "CATP") &&
                   field(fs->classificationAuthority, "CAUT") &&
                   field(fs->classificationReason, "CRSN") &&
                   field(fs->securitySourceDate, "RDT") && field(fs->securityControlNumber, "CTLN");
        }
        if (!nitf_FileSecurity_resizeForVersion(fs, NITF_VER_20, error_)) {
            return false;
        }
        bool ok = field(fs->codewords, "CODE") && field(fs->controlAndHandling, "CTLH") &&
                  field(fs->releasingInstructions, "REL") &&
                  field(fs->classificationAuthority, "CAUT") &&
                  field(fs->securityControlNumber, "CTLN") && field(fs->downgradeDateTime, "DWNG");
        if (ok && std::strncmp(fs->downgradeDateTime->raw, "999998", 6) == 0) {
            ok = field(fs->classificationText, "DEVT");
        }
        return ok;
    }

    bool readComponents(nitf_Field* countField, const char* countName, nitf_ComponentInfo**& infos,
                        uint32_t subheaderWidth, uint32_t dataWidth, const char* subheaderName,
                        const char* dataName) {
        uint64_t count = 0;
        if (!number(countField, countName, &count)) {
            return false;
        }
        if (count == 0) {
            return true;
        }
        infos = static_cast<nitf_ComponentInfo**>(std::calloc(count, sizeof(nitf_ComponentInfo*)));
        if (infos == nullptr) {
            nitf_Error_init(error_, "out of memory", NITF_CTXT, NITF_ERR_MEMORY);
            return false;
        }
        for (uint64_t i = 0; i < count; ++i) {
            infos[i] = nitf_ComponentInfo_construct(subheaderWidth, dataWidth, error_);
            uint64_t value = 0;
            if (infos[i] == nullptr ||
                !number(infos[i]->lengthSubheader, fmt::format("{} {}", subheaderName, i + 1),
                        &value) ||
                !number(infos[i]->lengthData, fmt::format("{} {}", dataName, i + 1), &value)) {
                return false;
            }
        }
        return true;
    }

    bool readFileHeader() {
        nitf_FileHeader* h = record_->header;
        pos_ = NITF_FHDR_SZ + NITF_FVER_SZ;
        bool ok = field(h->complianceLevel, "CLEVEL") && field(h->systemType, "STYPE") &&
                  field(h->originStationID, "OSTAID") && field(h->fileDateTime, "FDT") &&
                  field(h->fileTitle, "FTITLE") && field(h->classification, "FSCLAS") &&
                  readSecurity(h->securityGroup) && field(h->messageCopyNum, "FSCOP") &&
                  field(h->messageNumCopies, "FSCPYS") && field(h->encrypted, "ENCRYP");
        if (!ok) {
            return false;
        }
        if (version_ == NITF_VER_21) {
            ok = field(h->backgroundColor, "FBKGC") && field(h->originatorName, "ONAME");
        } else {
            ok = nitf_Field_resetLength(h->originatorName, NITF_FBKGC_SZ + NITF_ONAME_SZ, false,
                                        error_) &&
                 field(h->originatorName, "ONAME");
        }
        uint64_t value = 0;
        ok = ok && field(h->originatorPhone, "OPHONE") && number(h->fileLength, "FL", &value) &&
             number(h->headerLength, "HL", &value) &&
             readComponents(h->numImages, "NUMI", h->imageInfo, NITF_LISH_SZ, NITF_LI_SZ, "LISH",
                            "LI") &&
             readComponents(h->numGraphics, "NUMS", h->graphicInfo, NITF_LSSH_SZ, NITF_LS_SZ,
                            "LSSH", "LS") &&
             readComponents(h->numLabels, "NUMX", h->labelInfo, NITF_LLSH_SZ, NITF_LL_SZ, "LLSH",
                            "LL") &&
             readComponents(h->numTexts, "NUMT", h->textInfo, NITF_LTSH_SZ, NITF_LT_SZ, "LTSH",
                            "LT") &&
             readComponents(h->numDataExtensions, "NUMDES", h->dataExtensionInfo, NITF_LDSH_SZ,
                            NITF_LD_SZ, "LDSH", "LD") &&
             readComponents(h->numReservedExtensions, "NUMRES", h->reservedExtensionInfo,
                            NITF_LRESH_SZ, NITF_LRE_SZ, "LRESH", "LRE") &&
             extensionSection(h->userDefinedHeaderLength, "UDHDL", h->userDefinedOverflow, "UDHOFL",
                              h->userDefinedSection, "UDHD") &&
             extensionSection(h->extendedHeaderLength, "XHDL", h->extendedHeaderOverflow, "XHDLOFL",
                              h->extendedSection, "XHD");
        if (!ok) {
            return false;
        }
        uint64_t declared = fieldValue64(h->headerLength);
        if (declared != pos_) {
            warn(fmt::format("HL is {}, the fields take {} bytes", declared, pos_));
        }
        return true;
    }

    bool readImageSubheader(nitf_ImageSubheader* sh) {
        uint64_t value = 0;
        bool ok = expectPartType(sh->filePartType, "IM") && field(sh->imageId, "IID1") &&
                  field(sh->imageDateAndTime, "IDATIM") && field(sh->targetId, "TGTID") &&
                  field(sh->imageTitle, "IID2") && field(sh->imageSecurityClass, "ISCLAS") &&
                  readSecurity(sh->securityGroup) && field(sh->encrypted, "ENCRYP") &&
                  field(sh->imageSource, "ISORCE") && number(sh->numRows, "NROWS", &value) &&
                  number(sh->numCols, "NCOLS", &value) && field(sh->pixelValueType, "PVTYPE") &&
                  field(sh->imageRepresentation, "IREP") && field(sh->imageCategory, "ICAT") &&
                  field(sh->actualBitsPerPixel, "ABPP") && field(sh->pixelJustification, "PJUST") &&
                  field(sh->imageCoordinateSystem, "ICORDS");
        if (!ok) {
            return false;
        }
        char icords = sh->imageCoordinateSystem->raw[0];
        bool geolocated = version_ == NITF_VER_20 ? std::strchr("UGC", icords) != nullptr
                                                  : std::strchr("UGNSD", icords) != nullptr;
        if (icords != '\0' && geolocated && !field(sh->cornerCoordinates, "IGEOLO")) {
            return false;
        }
        uint64_t comments = 0;
        if (!number(sh->numImageComments, "NICOM", &comments)) {
            return false;
        }
        for (uint64_t c = 0; c < comments; ++c) {
            nitf_Field* comment = nitf_Field_construct(NITF_ICOM_SZ, NITF_BCS_A, error_);
            if (comment == nullptr || !nitf_List_pushBack(sh->imageComments, comment, error_)) {
                nitf_Field_destruct(&comment);
                return false;
            }
            if (!field(comment, fmt::format("ICOM{}", c + 1))) {
                return false;
            }
        }
        if (!field(sh->imageCompression, "IC")) {
            return false;
        }
        std::string ic = trimmedText(sh->imageCompression);
        if (ic != "NC" && ic != "NM" && !field(sh->compressionRate, "COMRAT")) {
            return false;
        }
        return readBands(sh) && readBlockingAndRest(sh);
    }

    bool readBands(nitf_ImageSubheader* sh) {
        uint64_t bands = 0;
        if (!number(sh->numImageBands, "NBANDS", &bands)) {
            return false;
        }
        if (bands == 0 && version_ == NITF_VER_21 &&
            !number(sh->numMultispectralImageBands, "XBANDS", &bands)) {
            return false;
        }
        if (bands == 0) {
            return fail("NBANDS and XBANDS are 0: the image has no bands");
        }
        // Each band takes at least 13 bytes: refuse counts the file cannot hold.
        if (bands * 13 > available()) {
            return fail(fmt::format("{} bands need at least {} bytes, {} present", bands,
                                    bands * 13, available()));
        }
        sh->bandInfo = static_cast<nitf_BandInfo**>(std::calloc(bands, sizeof(nitf_BandInfo*)));
        if (sh->bandInfo == nullptr) {
            nitf_Error_init(error_, "out of memory", NITF_CTXT, NITF_ERR_MEMORY);
            return false;
        }
        for (uint64_t b = 0; b < bands; ++b) {
            nitf_BandInfo* band = sh->bandInfo[b] = nitf_BandInfo_construct(error_);
            if (band == nullptr || !readBand(band, b + 1)) {
                return false;
            }
        }
        return true;
    }

    bool readBand(nitf_BandInfo* band, uint64_t n) {
        uint64_t luts = 0;
        bool ok = field(band->representation, fmt::format("IREPBAND{}", n)) &&
                  field(band->subcategory, fmt::format("ISUBCAT{}", n)) &&
                  field(band->imageFilterCondition, fmt::format("IFC{}", n)) &&
                  field(band->imageFilterCode, fmt::format("IMFLT{}", n)) &&
                  number(band->numLUTs, fmt::format("NLUTS{}", n), &luts);
        if (!ok || luts == 0) {
            return ok;
        }
        uint64_t entries = 0;
        if (!number(band->bandEntriesPerLUT, fmt::format("NELUT{}", n), &entries)) {
            return false;
        }
        uint64_t size = luts * entries;
        if (size > available()) {
            return fail(fmt::format("LUTD{}: {} bytes needed at offset {}, {} present", n, size,
                                    pos_, available()));
        }
        band->lut = nitf_LookupTable_construct(static_cast<uint32_t>(luts),
                                               static_cast<uint32_t>(entries), error_);
        return band->lut != nullptr && readBytes(band->lut->table, size, fmt::format("LUTD{}", n));
    }

    bool readBlockingAndRest(nitf_ImageSubheader* sh) {
        uint64_t value = 0;
        return field(sh->imageSyncCode, "ISYNC") && field(sh->imageMode, "IMODE") &&
               number(sh->numBlocksPerRow, "NBPR", &value) &&
               number(sh->numBlocksPerCol, "NBPC", &value) &&
               number(sh->numPixelsPerHorizBlock, "NPPBH", &value) &&
               number(sh->numPixelsPerVertBlock, "NPPBV", &value) &&
               number(sh->numBitsPerPixel, "NBPP", &value) &&
               field(sh->imageDisplayLevel, "IDLVL") && field(sh->imageAttachmentLevel, "IALVL") &&
               field(sh->imageLocation, "ILOC") && field(sh->imageMagnification, "IMAG") &&
               extensionSection(sh->userDefinedImageDataLength, "UDIDL", sh->userDefinedOverflow,
                                "UDOFL", sh->userDefinedSection, "UDID") &&
               extensionSection(sh->extendedHeaderLength, "IXSHDL", sh->extendedHeaderOverflow,
                                "IXSOFL", sh->extendedSection, "IXSHD");
    }

    bool readGraphicSubheader(nitf_GraphicSubheader* sh) {
        bool ok = expectPartType(sh->filePartType, "SY") && field(sh->graphicID, "SID") &&
                  field(sh->name, "SNAME") && field(sh->securityClass, "SSCLAS") &&
                  readSecurity(sh->securityGroup) && field(sh->encrypted, "ENCRYP");
        if (!ok) {
            return false;
        }
        if (version_ == NITF_VER_20) {
            return readSymbolFields(sh);
        }
        return field(sh->stype, "SFMT") && field(sh->res1, "SSTRUCT") &&
               field(sh->displayLevel, "SDLVL") && field(sh->attachmentLevel, "SALVL") &&
               field(sh->location, "SLOC") && field(sh->bound1Loc, "SBND1") &&
               field(sh->color, "SCOLOR") && field(sh->bound2Loc, "SBND2") &&
               field(sh->res2, "SRES2") &&
               extensionSection(sh->extendedHeaderLength, "SXSHDL", sh->extendedHeaderOverflow,
                                "SXSOFL", sh->extendedSection, "SXSHD");
    }

    // NITF 2.0 symbols have their own layout.
    bool readSymbolFields(nitf_GraphicSubheader* sh) {
        if (!tessel_nitf::constructSymbolFields(sh, error_)) {
            return false;
        }
        uint64_t entries = 0;
        bool ok = field(sh->stype, "STYPE") && field(sh->numLinesPerSymbol, "NLIPS") &&
                  field(sh->numPixelsPerLine, "NPIXPL") && field(sh->lineWidth, "NWDTH") &&
                  field(sh->numBitsPerPixel, "NBPP") && field(sh->displayLevel, "SDLVL") &&
                  field(sh->attachmentLevel, "SALVL") && field(sh->location, "SLOC") &&
                  field(sh->location2, "SLOC2") && field(sh->color, "SCOLOR") &&
                  field(sh->symbolNumber, "SNUM") && field(sh->rotation, "SROT") &&
                  number(sh->numLUTEntries, "NELUT", &entries);
        if (!ok) {
            return false;
        }
        if (entries > 0) {
            sh->lut = nitf_LookupTable_construct(3, static_cast<uint32_t>(entries), error_);
            if (sh->lut == nullptr || !readBytes(sh->lut->table, entries * 3, "DLUT")) {
                return false;
            }
        }
        return extensionSection(sh->extendedHeaderLength, "SXSHDL", sh->extendedHeaderOverflow,
                                "SXSOFL", sh->extendedSection, "SXSHD");
    }

    bool readLabelSubheader(nitf_LabelSubheader* sh) {
        return expectPartType(sh->filePartType, "LA") && field(sh->labelID, "LID") &&
               field(sh->securityClass, "LSCLAS") && readSecurity(sh->securityGroup) &&
               field(sh->encrypted, "ENCRYP") && field(sh->fontStyle, "LFS") &&
               field(sh->cellWidth, "LCW") && field(sh->cellHeight, "LCH") &&
               field(sh->displayLevel, "LDLVL") && field(sh->attachmentLevel, "LALVL") &&
               field(sh->locationRow, "LLOCR") && field(sh->locationColumn, "LLOCC") &&
               field(sh->textColor, "LTC") && field(sh->backgroundColor, "LBC") &&
               extensionSection(sh->extendedHeaderLength, "LXSHDL", sh->extendedHeaderOverflow,
                                "LXSOFL", sh->extendedSection, "LXSHD");
    }

    bool readTextSubheader(nitf_TextSubheader* sh) {
        return expectPartType(sh->filePartType, "TE") && field(sh->textID, "TEXTID") &&
               field(sh->attachmentLevel, "TXTALVL") && field(sh->dateTime, "TXTDT") &&
               field(sh->title, "TXTITL") && field(sh->securityClass, "TSCLAS") &&
               readSecurity(sh->securityGroup) && field(sh->encrypted, "ENCRYP") &&
               field(sh->format, "TXTFMT") &&
               extensionSection(sh->extendedHeaderLength, "TXSHDL", sh->extendedHeaderOverflow,
                                "TXSOFL", sh->extendedSection, "TXSHD");
    }

    bool readDESubheader(nitf_DESubheader* sh) {
        bool ok = expectPartType(sh->filePartType, "DE") && field(sh->typeID, "DESTAG") &&
                  field(sh->version, "DESVER") && field(sh->securityClass, "DESCLAS") &&
                  readSecurity(sh->securityGroup);
        if (!ok) {
            return false;
        }
        std::string tag = trimmedText(sh->typeID);
        if (isOverflowTag(version_, tag) && !(field(sh->overflowedHeaderType, "DESOFLW") &&
                                              field(sh->dataItemOverflowed, "DESITEM"))) {
            return false;
        }
        uint64_t length = 0;
        if (!number(sh->subheaderFieldsLength, "DESSHL", &length)) {
            return false;
        }
        if (length == 0) {
            return true;
        }
        if (length > available()) {
            return fail(fmt::format("DESSHF: {} bytes declared, {} present", length, available()));
        }
        if (tag.empty()) {
            tag = "DES";
        }
        sh->subheaderFields = readTRE(tag, static_cast<uint32_t>(length));
        return sh->subheaderFields != nullptr;
    }

    bool readRESubheader(nitf_RESubheader* sh) {
        uint64_t length = 0;
        bool ok = expectPartType(sh->filePartType, "RE") && field(sh->typeID, "RESTAG") &&
                  field(sh->version, "RESVER") && field(sh->securityClass, "RESCLAS") &&
                  readSecurity(sh->securityGroup) &&
                  number(sh->subheaderFieldsLength, "RESSHL", &length);
        if (!ok || length == 0) {
            return ok;
        }
        if (length > available()) {
            return fail(fmt::format("RESSHF: {} bytes declared, {} present", length, available()));
        }
        sh->subheaderFields = static_cast<char*>(std::malloc(length));
        return sh->subheaderFields != nullptr && readBytes(sh->subheaderFields, length, "RESSHF");
    }

    // --- segments --------------------------------------------------------------------------

    static std::vector<Extent> extentsOf(nitf_ComponentInfo** infos, uint32_t count) {
        std::vector<Extent> extents(count);
        for (uint32_t i = 0; i < count; ++i) {
            extents[i].subheader = fieldValue64(infos[i]->lengthSubheader);
            extents[i].data = fieldValue64(infos[i]->lengthData);
            extents[i].streaming = allNines(infos[i]->lengthData);
        }
        return extents;
    }

    // A streaming file writes a data length as all 9s: that segment runs to where the
    // segments after it begin.
    bool resolveStreaming(std::vector<std::vector<Extent>*>& kinds) {
        nitf_FileHeader* h = record_->header;
        Extent* open = nullptr;
        uint64_t known = fieldValue64(h->headerLength);
        for (auto* kind : kinds) {
            for (Extent& e : *kind) {
                known += e.subheader;
                if (e.streaming && allNines(h->fileLength) && open == nullptr) {
                    open = &e;
                } else {
                    known += e.data;
                }
            }
        }
        if (open == nullptr) {
            return true;
        }
        if (known > fileSize_) {
            return fail(
                fmt::format("streaming file: the other segments take {} bytes, the file "
                            "has {}",
                            known, fileSize_));
        }
        open->data = fileSize_ - known;
        warn(fmt::format("streaming file: a segment's data length taken as {}", open->data));
        return true;
    }

    // Checks one segment's place, reads its subheader with `read` and returns its data range.
    template <typename ReadFn>
    bool placeSegment(const Extent& extent, uint64_t& offset, const std::string& name,
                      const char* lengthName, ReadFn read, uint64_t* dataOffset,
                      uint64_t* dataEnd) {
        where_ = name + " subheader";
        if (offset + extent.subheader > fileSize_) {
            return fail(fmt::format("{} bytes declared at offset {}, {} present", extent.subheader,
                                    offset, offset < fileSize_ ? fileSize_ - offset : 0));
        }
        if (!seekTo(offset) || !read()) {
            return false;
        }
        uint64_t parsed = pos_ - offset;
        if (parsed != extent.subheader) {
            warn(fmt::format("{} is {}, the fields take {} bytes", lengthName, extent.subheader,
                             parsed));
        }
        // Fields longer than declared push the data back; shorter ones leave padding.
        *dataOffset = offset + std::max(parsed, extent.subheader);
        *dataEnd = *dataOffset + extent.data;
        if (*dataEnd > fileSize_) {
            where_ = name;
            warn(
                fmt::format("data of {} bytes at offset {} runs {} bytes past the end of the "
                            "file",
                            extent.data, *dataOffset, *dataEnd - fileSize_));
        }
        offset = *dataEnd;
        return true;
    }

    template <typename Segment>
    Segment* appendNew(nitf_List* list, Segment* (*construct)(nitf_Error*),
                       void (*destruct)(Segment**)) {
        Segment* segment = construct(error_);
        if (segment != nullptr && !nitf_List_pushBack(list, segment, error_)) {
            destruct(&segment);
        }
        return segment;
    }

    bool readSegments() {
        nitf_FileHeader* h = record_->header;
        using tessel_nitf::fieldValue;
        std::vector<Extent> images = extentsOf(h->imageInfo, fieldValue(h->numImages));
        std::vector<Extent> graphics = extentsOf(h->graphicInfo, fieldValue(h->numGraphics));
        std::vector<Extent> labels = extentsOf(h->labelInfo, fieldValue(h->numLabels));
        std::vector<Extent> texts = extentsOf(h->textInfo, fieldValue(h->numTexts));
        std::vector<Extent> des = extentsOf(h->dataExtensionInfo, fieldValue(h->numDataExtensions));
        std::vector<Extent> res =
            extentsOf(h->reservedExtensionInfo, fieldValue(h->numReservedExtensions));
        std::vector<std::vector<Extent>*> kinds = {&images, &graphics, &labels, &texts, &des, &res};
        if (!resolveStreaming(kinds)) {
            return false;
        }
        uint64_t offset = fieldValue64(h->headerLength);
        if (offset > fileSize_) {
            return fail(
                fmt::format("HL {} is past the end of the file ({} bytes)", offset, fileSize_));
        }
        for (size_t i = 0; i < images.size(); ++i) {
            auto* seg =
                appendNew(record_->images, nitf_ImageSegment_construct, nitf_ImageSegment_destruct);
            if (seg == nullptr || !placeSegment(
                                      images[i], offset, fmt::format("image {}", i + 1), "LISH",
                                      [&] { return readImageSubheader(seg->subheader); },
                                      &seg->imageOffset, &seg->imageEnd)) {
                return false;
            }
        }
        for (size_t i = 0; i < graphics.size(); ++i) {
            auto* seg = appendNew(record_->graphics, nitf_GraphicSegment_construct,
                                  nitf_GraphicSegment_destruct);
            std::string name =
                fmt::format("{} {}", version_ == NITF_VER_20 ? "symbol" : "graphic", i + 1);
            if (seg == nullptr || !placeSegment(
                                      graphics[i], offset, name, "LSSH",
                                      [&] { return readGraphicSubheader(seg->subheader); },
                                      &seg->offset, &seg->end)) {
                return false;
            }
        }
        for (size_t i = 0; i < labels.size(); ++i) {
            auto* seg =
                appendNew(record_->labels, nitf_LabelSegment_construct, nitf_LabelSegment_destruct);
            if (seg == nullptr ||
                !placeSegment(
                    labels[i], offset, fmt::format("label {}", i + 1), "LLSH",
                    [&] { return readLabelSubheader(seg->subheader); }, &seg->offset, &seg->end)) {
                return false;
            }
        }
        for (size_t i = 0; i < texts.size(); ++i) {
            auto* seg =
                appendNew(record_->texts, nitf_TextSegment_construct, nitf_TextSegment_destruct);
            if (seg == nullptr ||
                !placeSegment(
                    texts[i], offset, fmt::format("text {}", i + 1), "LTSH",
                    [&] { return readTextSubheader(seg->subheader); }, &seg->offset, &seg->end)) {
                return false;
            }
        }
        for (size_t i = 0; i < des.size(); ++i) {
            auto* seg = appendNew(record_->dataExtensions, nitf_DESegment_construct,
                                  nitf_DESegment_destruct);
            std::string name = fmt::format("data extension {}", i + 1);
            if (seg == nullptr ||
                !placeSegment(
                    des[i], offset, name, "LDSH", [&] { return readDESubheader(seg->subheader); },
                    &seg->offset, &seg->end)) {
                return false;
            }
            seg->subheader->dataLength = des[i].data;
            where_ = name;
            if (!readOverflowData(seg)) {
                return false;
            }
        }
        for (size_t i = 0; i < res.size(); ++i) {
            auto* seg = appendNew(record_->reservedExtensions, nitf_RESegment_construct,
                                  nitf_RESegment_destruct);
            if (seg == nullptr ||
                !placeSegment(
                    res[i], offset, fmt::format("reserved extension {}", i + 1), "LRESH",
                    [&] { return readRESubheader(seg->subheader); }, &seg->offset, &seg->end)) {
                return false;
            }
            seg->subheader->dataLength = res[i].data;
        }
        where_ = "file";
        if (offset < fileSize_) {
            warn(fmt::format("{} bytes after the last segment", fileSize_ - offset));
        }
        return true;
    }

    // The data of an overflow DES is TREs; they go to the DES's own section.
    bool readOverflowData(nitf_DESegment* seg) {
        std::string tag = trimmedText(seg->subheader->typeID);
        if (!isOverflowTag(version_, tag)) {
            return true;
        }
        return seekTo(seg->offset) &&
               readTREs(seg->end - seg->offset, seg->subheader->userDefinedSection, tag);
    }
};

nitf_SegmentReader* newSegmentReader(nitf_Reader* reader, uint64_t offset, uint64_t end,
                                     nitf_Error* error) {
    auto* segmentReader =
        static_cast<nitf_SegmentReader*>(std::calloc(1, sizeof(nitf_SegmentReader)));
    if (segmentReader == nullptr) {
        nitf_Error_init(error, "out of memory", NITF_CTXT, NITF_ERR_MEMORY);
        return nullptr;
    }
    segmentReader->input = reader->input;
    segmentReader->baseOffset = offset;
    uint64_t length = end - offset;
    segmentReader->dataLength = length > UINT32_MAX ? UINT32_MAX : static_cast<uint32_t>(length);
    segmentReader->virtualOffset = 0;
    return segmentReader;
}

template <typename Segment>
Segment* segmentAt(nitf_Reader* reader, nitf_List* list, int index, const char* kind,
                   nitf_Error* error) {
    if (reader == nullptr || reader->record == nullptr || reader->input == nullptr) {
        nitf_Error_init(error, "the reader has not read a file", NITF_CTXT,
                        NITF_ERR_INVALID_OBJECT);
        return nullptr;
    }
    nitf_ListIterator it = nitf_List_at(list, index);
    if (it.current == nullptr) {
        tessel_nitf::failf(error, NITF_ERR_INVALID_PARAMETER, "there is no {} segment {}", kind,
                           index);
        return nullptr;
    }
    return static_cast<Segment*>(nitf_ListIterator_get(&it));
}

}  // namespace

extern "C" {

nitf_Reader* nitf_Reader_construct(nitf_Error* error) {
    auto* reader = static_cast<nitf_Reader*>(std::calloc(1, sizeof(nitf_Reader)));
    if (reader == nullptr) {
        nitf_Error_init(error, "out of memory", NITF_CTXT, NITF_ERR_MEMORY);
        return nullptr;
    }
    reader->warningList = nitf_List_construct(error);
    if (reader->warningList == nullptr) {
        std::free(reader);
        return nullptr;
    }
    return reader;
}

void nitf_Reader_destruct(nitf_Reader** reader) {
    if (reader == nullptr || *reader == nullptr) {
        return;
    }
    nitf_Reader* r = *reader;
    if (r->warningList != nullptr) {
        while (!nitf_List_isEmpty(r->warningList)) {
            std::free(nitf_List_popFront(r->warningList));
        }
        nitf_List_destruct(&r->warningList);
    }
    if (r->ownInput) {
        nitf_IOInterface_destruct(&r->input);
    }
    std::free(r);
    *reader = nullptr;
}

nitf_Record* nitf_Reader_readIO(nitf_Reader* reader, nitf_IOInterface* io, nitf_Error* error) {
    if (reader == nullptr || io == nullptr) {
        nitf_Error_init(error, "reader or input is NULL", NITF_CTXT, NITF_ERR_INVALID_PARAMETER);
        return nullptr;
    }
    if (reader->ownInput && reader->input != io) {
        nitf_IOInterface_destruct(&reader->input);
        reader->ownInput = false;
    }
    reader->input = io;
    reader->record = Parser(reader, io, error).parse();
    return reader->record;
}

nitf_Record* nitf_Reader_read(nitf_Reader* reader, const char* path, nitf_Error* error) {
    nitf_IOInterface* io =
        nitf_IOHandleAdapter_open(path, NITF_ACCESS_READONLY, NITF_OPEN_EXISTING, error);
    if (io == nullptr) {
        return nullptr;
    }
    nitf_Record* record = nitf_Reader_readIO(reader, io, error);
    reader->ownInput = true;
    return record;
}

nitf_Version nitf_Reader_getNITFVersionIO(nitf_IOInterface* io) {
    nitf_Error error{};
    char head[NITF_FHDR_SZ + NITF_FVER_SZ];
    if (!NITF_IO_SUCCESS(nitf_IOInterface_seek(io, 0, NITF_SEEK_SET, &error)) ||
        !nitf_IOInterface_read(io, head, sizeof head, &error)) {
        return NITF_VER_UNKNOWN;
    }
    std::string id(head, sizeof head);
    if (id == "NITF02.10" || id == "NSIF01.00") {
        return NITF_VER_21;
    }
    return id == "NITF02.00" ? NITF_VER_20 : NITF_VER_UNKNOWN;
}

nitf_Version nitf_Reader_getNITFVersion(const char* path) {
    nitf_Error error{};
    nitf_IOInterface* io =
        nitf_IOHandleAdapter_open(path, NITF_ACCESS_READONLY, NITF_OPEN_EXISTING, &error);
    if (io == nullptr) {
        return NITF_VER_UNKNOWN;
    }
    nitf_Version version = nitf_Reader_getNITFVersionIO(io);
    nitf_IOInterface_destruct(&io);
    return version;
}

nitf_SegmentReader* nitf_Reader_newTextReader(nitf_Reader* reader, int textSegmentNumber,
                                              nitf_Error* error) {
    auto* seg = segmentAt<nitf_TextSegment>(reader, reader ? reader->record->texts : nullptr,
                                            textSegmentNumber, "text", error);
    return seg != nullptr ? newSegmentReader(reader, seg->offset, seg->end, error) : nullptr;
}

nitf_SegmentReader* nitf_Reader_newGraphicReader(nitf_Reader* reader, int index,
                                                 nitf_Error* error) {
    auto* seg = segmentAt<nitf_GraphicSegment>(reader, reader ? reader->record->graphics : nullptr,
                                               index, "graphic", error);
    return seg != nullptr ? newSegmentReader(reader, seg->offset, seg->end, error) : nullptr;
}

nitf_SegmentReader* nitf_Reader_newDEReader(nitf_Reader* reader, int index, nitf_Error* error) {
    auto* seg = segmentAt<nitf_DESegment>(reader, reader ? reader->record->dataExtensions : nullptr,
                                          index, "data extension", error);
    return seg != nullptr ? newSegmentReader(reader, seg->offset, seg->end, error) : nullptr;
}

nitf_SegmentReader* nitf_Reader_newLabelReader(nitf_Reader* reader, int index, nitf_Error* error) {
    auto* seg = segmentAt<nitf_LabelSegment>(reader, reader ? reader->record->labels : nullptr,
                                             index, "label", error);
    return seg != nullptr ? newSegmentReader(reader, seg->offset, seg->end, error) : nullptr;
}

nitf_SegmentReader* nitf_Reader_newREReader(nitf_Reader* reader, int index, nitf_Error* error) {
    auto* seg =
        segmentAt<nitf_RESegment>(reader, reader ? reader->record->reservedExtensions : nullptr,
                                  index, "reserved extension", error);
    return seg != nullptr ? newSegmentReader(reader, seg->offset, seg->end, error) : nullptr;
}

NITF_BOOL nitf_SegmentReader_read(nitf_SegmentReader* segmentReader, NITF_DATA* buffer,
                                  size_t count, nitf_Error* error) {
    if (count > segmentReader->dataLength -
                    std::min<uint64_t>(segmentReader->virtualOffset, segmentReader->dataLength)) {
        tessel_nitf::failf(error, NITF_ERR_READING_FROM_FILE,
                           "read of {} bytes at {} passes the end of the segment ({} bytes)", count,
                           segmentReader->virtualOffset, segmentReader->dataLength);
        return false;
    }
    nitf_Off at = static_cast<nitf_Off>(segmentReader->baseOffset + segmentReader->virtualOffset);
    if (!NITF_IO_SUCCESS(nitf_IOInterface_seek(segmentReader->input, at, NITF_SEEK_SET, error)) ||
        !nitf_IOInterface_read(segmentReader->input, buffer, count, error)) {
        return false;
    }
    segmentReader->virtualOffset += count;
    return true;
}

nitf_Off nitf_SegmentReader_seek(nitf_SegmentReader* segmentReader, nitf_Off offset, int whence,
                                 nitf_Error* error) {
    nitf_Off base = 0;
    if (whence == NITF_SEEK_CUR) {
        base = static_cast<nitf_Off>(segmentReader->virtualOffset);
    } else if (whence == NITF_SEEK_END) {
        base = static_cast<nitf_Off>(segmentReader->dataLength);
    }
    nitf_Off target = base + offset;
    if (target < 0 || target > static_cast<nitf_Off>(segmentReader->dataLength)) {
        tessel_nitf::failf(error, NITF_ERR_SEEKING_IN_FILE,
                           "seek to {} is outside the segment ({} bytes)", target,
                           segmentReader->dataLength);
        return -1;
    }
    segmentReader->virtualOffset = static_cast<uint64_t>(target);
    return target;
}

nitf_Off nitf_SegmentReader_tell(nitf_SegmentReader* segmentReader, nitf_Error*) {
    return static_cast<nitf_Off>(segmentReader->virtualOffset);
}

nitf_Off nitf_SegmentReader_getSize(nitf_SegmentReader* segmentReader, nitf_Error*) {
    return static_cast<nitf_Off>(segmentReader->dataLength);
}

void nitf_SegmentReader_destruct(nitf_SegmentReader** segmentReader) {
    if (segmentReader != nullptr && *segmentReader != nullptr) {
        std::free(*segmentReader);
        *segmentReader = nullptr;
    }
}

}  // extern "C"
