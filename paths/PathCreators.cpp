// What the path writer makes on its way: image, text, graphic and data extension segments,
// bands (by reshaping the image), comments and TREs.

#include <fmt/format.h>

#include <cstdlib>
#include <cstring>
#include <memory>

#include "paths/PathWriter.h"
#include "platform/nitf/Internal.h"
#include "tessel/core/NitroError.h"
#include "tessel/paths/PathWalker.h"
#include "tessel/platform/nitf/nitf_Segments.h"
#include "tessel/platform/nitf/nitf_TRE.h"

using Tessel::NITFMessages;

namespace NITFPathInternal {
namespace detail_path_creators {

// An image has at most nine comments: NICOM is one digit.
constexpr size_t kMaxComments = 9;

bool readNumber(nitf_Field* field, uint32_t& value, NITFMessages& messages, const PathList& path) {
    nrt_Error error{};
    const bool ok = nitf_Field_get(field, &value, NITF_CONV_UINT, sizeof value, &error);
    return !Tessel::checkNitroError(error, messages, path, !ok);
}

// The subheader's band count: NBANDS, or XBANDS when NBANDS is 0; 0 when neither says.
uint32_t currentBandCount(nitf_ImageSubheader* subheader) {
    nrt_Error error{};
    const uint32_t count = nitf_ImageSubheader_getBandCount(subheader, &error);
    return count == NITF_INVALID_BAND_COUNT ? 0 : count;
}

// A band table being built, released unless handed over to the subheader.
class BandTable {
public:
    explicit BandTable(uint32_t count)
        : count_(count),
          bands_(static_cast<nitf_BandInfo**>(
              std::calloc(count == 0 ? 1 : count, sizeof(nitf_BandInfo*)))) {}
    BandTable(const BandTable&) = delete;
    BandTable& operator=(const BandTable&) = delete;
    ~BandTable() {
        if (bands_ == nullptr) {
            return;
        }
        for (uint32_t i = 0; i < count_; ++i) {
            nitf_BandInfo_destruct(&bands_[i]);
        }
        std::free(bands_);
    }

    nitf_BandInfo** get() const { return bands_; }
    nitf_BandInfo*& operator[](uint32_t i) { return bands_[i]; }
    nitf_BandInfo** release() { return std::exchange(bands_, nullptr); }

private:
    uint32_t count_;
    nitf_BandInfo** bands_;
};

// Existing bands are cloned; the others are new "R" bands with no lookup tables.
bool fillBands(BandTable& table, nitf_ImageSubheader* subheader, uint32_t count, nrt_Error& error) {
    const uint32_t existing = subheader->bandInfo != nullptr ? currentBandCount(subheader) : 0;
    for (uint32_t i = 0; i < count; ++i) {
        if (i < existing && subheader->bandInfo[i] != nullptr) {
            table[i] = nitf_BandInfo_clone(subheader->bandInfo[i], &error);
            if (table[i] == nullptr) {
                return false;
            }
            continue;
        }
        table[i] = nitf_BandInfo_construct(&error);
        if (table[i] == nullptr ||
            !nitf_BandInfo_init(table[i], "R", " ", "N", "   ", 0, 0, nullptr, &error)) {
            return false;
        }
    }
    return true;
}

bool setField(nitf_Field* field, const char* text, nrt_Error& error) {
    return nitf_Field_setString(field, text, &error);
}

bool setNumber(nitf_Field* field, uint32_t value, nrt_Error& error) {
    return nitf_Field_setUint32(field, value, &error);
}

// The fields of a new image: 16 by 16 pixels of 8-bit integers in one block, one band.
bool setImageDefaults(nitf_ImageSubheader* sh, nrt_Error& error) {
    return setField(sh->NITF_PVTYPE, "INT", error) && setField(sh->NITF_PJUST, "R", error) &&
           setNumber(sh->NITF_NBPP, 8, error) && setNumber(sh->NITF_ABPP, 8, error) &&
           setNumber(sh->NITF_NBANDS, 0, error) && setNumber(sh->NITF_XBANDS, 0, error) &&
           setField(sh->NITF_IREP, "MONO", error) && setField(sh->NITF_ICAT, "VIS", error) &&
           setNumber(sh->NITF_NROWS, 16, error) && setNumber(sh->NITF_NCOLS, 16, error) &&
           setNumber(sh->NITF_NPPBH, 16, error) && setNumber(sh->NITF_NPPBV, 16, error) &&
           setNumber(sh->NITF_NBPC, 1, error) && setNumber(sh->NITF_NBPR, 1, error) &&
           setField(sh->NITF_IMODE, "B", error);
}

template <typename Segment>
CreateFunction createSegment(nitf_Record* record, Segment* (*append)(nitf_Record*, nrt_Error*)) {
    return [record, append](std::string_view, NITFMessages& messages, const PathList& path) {
        nrt_Error error{};
        Segment* segment = append(record, &error);
        return !Tessel::checkNitroError(error, messages, path, segment == nullptr);
    };
}

bool appendTRE(nitf_Extensions* section, const char* tag, const char* id, NITFMessages& messages,
               const PathList& path) {
    nrt_Error error{};
    nitf_TRE* tre = nitf_TRE_construct(tag, id, &error);
    if (Tessel::checkNitroError(error, messages, path, tre == nullptr)) {
        nitf_TRE_destruct(&tre);
        return false;
    }
    if (!nitf_Extensions_appendTRE(section, tre, &error)) {
        nitf_TRE_destruct(&tre);
        Tessel::checkNitroError(error, messages, path, true);
        return false;
    }
    return true;
}

}  // namespace detail_path_creators

bool reshapeImage(nitf_ImageSubheader* subheader, std::optional<uint32_t> bands,
                  NITFMessages& messages, const PathList& path) {
    using namespace detail_path_creators;
    if (subheader == nullptr) {
        return false;
    }
    const std::string pvtype = tessel_nitf::strippedText(subheader->NITF_PVTYPE);
    const std::string pjust = tessel_nitf::strippedText(subheader->NITF_PJUST);
    const std::string irep = tessel_nitf::strippedText(subheader->NITF_IREP);
    const std::string icat = tessel_nitf::strippedText(subheader->NITF_ICAT);
    const std::string imode = tessel_nitf::strippedText(subheader->NITF_IMODE);
    uint32_t nbpp = 0;
    uint32_t abpp = 0;
    uint32_t rows = 0;
    uint32_t cols = 0;
    uint32_t colsPerBlock = 0;
    uint32_t rowsPerBlock = 0;
    if (!readNumber(subheader->NITF_NBPP, nbpp, messages, path) ||
        !readNumber(subheader->NITF_ABPP, abpp, messages, path) ||
        !readNumber(subheader->NITF_NROWS, rows, messages, path) ||
        !readNumber(subheader->NITF_NCOLS, cols, messages, path) ||
        !readNumber(subheader->NITF_NPPBH, colsPerBlock, messages, path) ||
        !readNumber(subheader->NITF_NPPBV, rowsPerBlock, messages, path)) {
        return false;
    }
    const uint32_t count = bands.value_or(currentBandCount(subheader));
    BandTable table(count);
    if (table.get() == nullptr) {
        messages.push_back(fmt::format("{}: Unable to allocate memory", pathText(path)));
        return false;
    }
    nrt_Error error{};
    if (!fillBands(table, subheader, count, error)) {
        Tessel::checkNitroError(error, messages, path, true);
        return false;
    }
    if (!nitf_ImageSubheader_setPixelInformation(subheader, pvtype.c_str(), nbpp, abpp,
                                                 pjust.c_str(), irep.c_str(), icat.c_str(), count,
                                                 table.get(), &error)) {
        Tessel::checkNitroError(error, messages, path, true);
        return false;
    }
    table.release();  // the subheader owns the bands now
    const bool blocked = nitf_ImageSubheader_setBlocking(subheader, rows, cols, rowsPerBlock,
                                                         colsPerBlock, imode.c_str(), &error);
    return !Tessel::checkNitroError(error, messages, path, !blocked);
}

CreateFunction createImageSegment(nitf_Record* record) {
    return [record](std::string_view, NITFMessages& messages, const PathList& path) {
        using namespace detail_path_creators;
        nrt_Error error{};
        nitf_ImageSegment* segment = nitf_Record_newImageSegment(record, &error);
        if (Tessel::checkNitroError(error, messages, path, segment == nullptr)) {
            return false;
        }
        if (!setImageDefaults(segment->subheader, error)) {
            Tessel::checkNitroError(error, messages, path, true);
            return false;
        }
        return reshapeImage(segment->subheader, 1, messages, path);
    };
}

CreateFunction createTextSegment(nitf_Record* record) {
    return detail_path_creators::createSegment(record, nitf_Record_newTextSegment);
}

CreateFunction createGraphicSegment(nitf_Record* record) {
    return detail_path_creators::createSegment(record, nitf_Record_newGraphicSegment);
}

CreateFunction createDESegment(nitf_Record* record) {
    return detail_path_creators::createSegment(record, nitf_Record_newDataExtensionSegment);
}

CreateFunction createLabelSegment() {
    return [](std::string_view, NITFMessages&, const PathList&) { return false; };
}

CreateFunction createBand(nitf_ImageSubheader* subheader) {
    return [subheader](std::string_view, NITFMessages& messages, const PathList& path) {
        const uint32_t count = detail_path_creators::currentBandCount(subheader);
        return reshapeImage(subheader, count + 1, messages, path);
    };
}

CreateFunction createComment(nitf_ImageSubheader* subheader) {
    return [subheader](std::string_view, NITFMessages& messages, const PathList& path) {
        if (nitf_List_size(subheader->imageComments) >= detail_path_creators::kMaxComments) {
            return false;
        }
        nrt_Error error{};
        nitf_Field* comment = nitf_Field_construct(80, NITF_BCS_A, &error);
        if (comment == nullptr || !nitf_List_pushBack(subheader->imageComments, comment, &error)) {
            nitf_Field_destruct(&comment);
            Tessel::checkNitroError(error, messages, path, true);
            return false;
        }
        return true;
    };
}

CreateFunction createTRE(nitf_Extensions* section) {
    return [section](std::string_view name, NITFMessages& messages, const PathList& path) {
        if (section == nullptr) {
            return false;
        }
        const std::string tag(name);
        return detail_path_creators::appendTRE(section, tag.c_str(), tag.c_str(), messages, path);
    };
}

CreateFunction createInTRE(nitf_TRE* tre, nitf_Extensions* section) {
    return [tre, section](std::string_view key, NITFMessages& messages, const PathList& path) {
        const char* id = nitf_TRE_getID(tre);
        const std::string_view ownID = id != nullptr ? id : "";
        if (key == "TRE" || key == ownID) {
            // Another TRE of this id: a later listing shows them as an array.
            return detail_path_creators::appendTRE(section, tre->tag, std::string(ownID).c_str(),
                                                   messages, path);
        }
        if (ownID == NITF_TRE_RAW) {
            // An undescribed TRE has no fields to make; it gets a byte of data to be written.
            uint8_t byte = 0;
            nrt_Error error{};
            if (!nitf_TRE_setField(tre, NITF_TRE_RAW, &byte, 1, &error)) {
                messages.push_back(
                    fmt::format("{}: Unable to add field '{}' to TRE '{}' because it is RAW",
                                pathText(path), key, tre->tag));
            }
        }
        return true;
    };
}

CreateFunction createDESSubheaderTRE(nitf_DESubheader* subheader) {
    return [subheader](std::string_view, NITFMessages& messages, const PathList& path) {
        const std::string tag = tessel_nitf::strippedText(subheader->NITF_DESTAG);
        if (tag.empty()) {
            messages.push_back(fmt::format("{}: DESTAG not set", pathText(path)));
            return false;
        }
        if (subheader->subheaderFields != nullptr) {
            return true;  // there is one already: the name is not one of its fields
        }
        nrt_Error error{};
        nitf_TRE* tre = nitf_TRE_construct(tag.c_str(), tag.c_str(), &error);
        if (Tessel::checkNitroError(error, messages, path, tre == nullptr)) {
            nitf_TRE_destruct(&tre);
            return false;
        }
        subheader->subheaderFields = tre;
        return true;
    };
}

}  // namespace NITFPathInternal
