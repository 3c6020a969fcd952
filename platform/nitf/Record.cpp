// The record, its segments and the operations that add segments.

#include <cstdlib>
#include <cstring>

#include "platform/nitf/Internal.h"
#include "tessel/platform/nitf/nitf_Record.h"

using tessel_nitf::fieldValue;

namespace {

template <typename Segment, typename Subheader>
Segment* constructSegment(Subheader* (*constructSubheader)(nitf_Error*), nitf_Error* error) {
    auto* segment = static_cast<Segment*>(std::calloc(1, sizeof(Segment)));
    if (segment == nullptr) {
        nitf_Error_init(error, "out of memory", NITF_CTXT, NITF_ERR_MEMORY);
        return nullptr;
    }
    segment->subheader = constructSubheader(error);
    if (segment->subheader == nullptr) {
        std::free(segment);
        return nullptr;
    }
    return segment;
}

template <typename Segment, typename Subheader>
void destructSegment(Segment** segment, void (*destructSubheader)(Subheader**)) {
    if (segment == nullptr || *segment == nullptr) {
        return;
    }
    destructSubheader(&(*segment)->subheader);
    std::free(*segment);
    *segment = nullptr;
}

template <typename Segment, typename Subheader>
Segment* cloneSegment(Segment* source, Subheader* (*cloneSubheader)(Subheader*, nitf_Error*),
                      nitf_Error* error) {
    if (source == nullptr) {
        return nullptr;
    }
    auto* segment = static_cast<Segment*>(std::malloc(sizeof(Segment)));
    if (segment == nullptr) {
        nitf_Error_init(error, "out of memory", NITF_CTXT, NITF_ERR_MEMORY);
        return nullptr;
    }
    std::memcpy(segment, source, sizeof(Segment));
    segment->subheader = cloneSubheader(source->subheader, error);
    if (segment->subheader == nullptr) {
        std::free(segment);
        return nullptr;
    }
    return segment;
}

template <typename Segment>
void destroyList(nitf_List*& list, void (*destruct)(Segment**)) {
    if (list == nullptr) {
        return;
    }
    while (!nitf_List_isEmpty(list)) {
        auto* segment = static_cast<Segment*>(nitf_List_popFront(list));
        destruct(&segment);
    }
    nitf_List_destruct(&list);
}

template <typename Segment>
bool cloneList(nitf_List*& target, nitf_List* source, Segment* (*clone)(Segment*, nitf_Error*),
               nitf_Error* error) {
    target = nitf_List_construct(error);
    if (target == nullptr) {
        return false;
    }
    for (nitf_ListNode* node = source->first; node != nullptr; node = node->next) {
        Segment* copy = clone(static_cast<Segment*>(node->data), error);
        if (copy == nullptr || !nitf_List_pushBack(target, copy, error)) {
            return false;
        }
    }
    return true;
}

// Appends a component info to the header's array for one segment kind and bumps its count.
bool addComponent(nitf_Field* countField, nitf_ComponentInfo**& infos, uint32_t subheaderWidth,
                  uint32_t dataWidth, nitf_Error* error) {
    uint32_t count = fieldValue(countField);
    if (count >= 999) {
        nitf_Error_init(error, "a file holds at most 999 segments of a kind", NITF_CTXT,
                        NITF_ERR_INVALID_OBJECT);
        return false;
    }
    nitf_ComponentInfo* info = nitf_ComponentInfo_construct(subheaderWidth, dataWidth, error);
    if (info == nullptr) {
        return false;
    }
    auto* grown = static_cast<nitf_ComponentInfo**>(
        std::realloc(infos, (count + 1) * sizeof(nitf_ComponentInfo*)));
    if (grown == nullptr) {
        nitf_ComponentInfo_destruct(&info);
        nitf_Error_init(error, "out of memory", NITF_CTXT, NITF_ERR_MEMORY);
        return false;
    }
    infos = grown;
    infos[count] = info;
    return nitf_Field_setUint32(countField, count + 1, error);
}

template <typename Segment>
Segment* appendSegment(nitf_List* list, Segment* segment, nitf_Field* countField,
                       nitf_ComponentInfo**& infos, uint32_t subheaderWidth, uint32_t dataWidth,
                       void (*destruct)(Segment**), nitf_Error* error) {
    if (segment == nullptr) {
        return nullptr;
    }
    if (!addComponent(countField, infos, subheaderWidth, dataWidth, error)) {
        destruct(&segment);
        return nullptr;
    }
    if (!nitf_List_pushBack(list, segment, error)) {
        destruct(&segment);
        return nullptr;
    }
    return segment;
}

}  // namespace

extern "C" {

nitf_ImageSegment* nitf_ImageSegment_construct(nitf_Error* error) {
    return constructSegment<nitf_ImageSegment>(nitf_ImageSubheader_construct, error);
}
nitf_ImageSegment* nitf_ImageSegment_clone(nitf_ImageSegment* source, nitf_Error* error) {
    return cloneSegment(source, nitf_ImageSubheader_clone, error);
}
void nitf_ImageSegment_destruct(nitf_ImageSegment** segment) {
    destructSegment(segment, nitf_ImageSubheader_destruct);
}
nitf_GraphicSegment* nitf_GraphicSegment_construct(nitf_Error* error) {
    return constructSegment<nitf_GraphicSegment>(nitf_GraphicSubheader_construct, error);
}
nitf_GraphicSegment* nitf_GraphicSegment_clone(nitf_GraphicSegment* source, nitf_Error* error) {
    return cloneSegment(source, nitf_GraphicSubheader_clone, error);
}
void nitf_GraphicSegment_destruct(nitf_GraphicSegment** segment) {
    destructSegment(segment, nitf_GraphicSubheader_destruct);
}
nitf_LabelSegment* nitf_LabelSegment_construct(nitf_Error* error) {
    return constructSegment<nitf_LabelSegment>(nitf_LabelSubheader_construct, error);
}
nitf_LabelSegment* nitf_LabelSegment_clone(nitf_LabelSegment* source, nitf_Error* error) {
    nitf_LabelSegment* segment = cloneSegment(source, nitf_LabelSubheader_clone, error);
    if (segment != nullptr) {
        segment->label = nullptr;
    }
    return segment;
}
void nitf_LabelSegment_destruct(nitf_LabelSegment** segment) {
    if (segment != nullptr && *segment != nullptr) {
        std::free((*segment)->label);
    }
    destructSegment(segment, nitf_LabelSubheader_destruct);
}
nitf_TextSegment* nitf_TextSegment_construct(nitf_Error* error) {
    return constructSegment<nitf_TextSegment>(nitf_TextSubheader_construct, error);
}
nitf_TextSegment* nitf_TextSegment_clone(nitf_TextSegment* source, nitf_Error* error) {
    return cloneSegment(source, nitf_TextSubheader_clone, error);
}
void nitf_TextSegment_destruct(nitf_TextSegment** segment) {
    destructSegment(segment, nitf_TextSubheader_destruct);
}
nitf_DESegment* nitf_DESegment_construct(nitf_Error* error) {
    return constructSegment<nitf_DESegment>(nitf_DESubheader_construct, error);
}
nitf_DESegment* nitf_DESegment_clone(nitf_DESegment* source, nitf_Error* error) {
    return cloneSegment(source, nitf_DESubheader_clone, error);
}
void nitf_DESegment_destruct(nitf_DESegment** segment) {
    destructSegment(segment, nitf_DESubheader_destruct);
}
nitf_RESegment* nitf_RESegment_construct(nitf_Error* error) {
    return constructSegment<nitf_RESegment>(nitf_RESubheader_construct, error);
}
nitf_RESegment* nitf_RESegment_clone(nitf_RESegment* source, nitf_Error* error) {
    nitf_RESegment* segment = cloneSegment(source, nitf_RESubheader_clone, error);
    if (segment != nullptr) {
        segment->data = nullptr;
    }
    return segment;
}
void nitf_RESegment_destruct(nitf_RESegment** segment) {
    if (segment != nullptr && *segment != nullptr) {
        std::free((*segment)->data);
    }
    destructSegment(segment, nitf_RESubheader_destruct);
}

nitf_Record* nitf_Record_construct(nitf_Version version, nitf_Error* error) {
    auto* record = static_cast<nitf_Record*>(std::calloc(1, sizeof(nitf_Record)));
    if (record == nullptr) {
        nitf_Error_init(error, "out of memory", NITF_CTXT, NITF_ERR_MEMORY);
        return nullptr;
    }
    bool ok = (record->header = nitf_FileHeader_construct(error)) != nullptr &&
              (record->images = nitf_List_construct(error)) != nullptr &&
              (record->graphics = nitf_List_construct(error)) != nullptr &&
              (record->labels = nitf_List_construct(error)) != nullptr &&
              (record->texts = nitf_List_construct(error)) != nullptr &&
              (record->dataExtensions = nitf_List_construct(error)) != nullptr &&
              (record->reservedExtensions = nitf_List_construct(error)) != nullptr;
    if (ok) {
        ok = nitf_Field_setString(record->header->fileHeader, "NITF", error) &&
             nitf_Field_setString(record->header->fileVersion,
                                  version == NITF_VER_20 ? "02.00" : "02.10", error);
        if (version == NITF_VER_20) {
            ok = ok && nitf_FileSecurity_resizeForVersion(record->header->securityGroup,
                                                          NITF_VER_20, error);
        }
    }
    if (!ok) {
        nitf_Record_destruct(&record);
    }
    return record;
}

nitf_Record* nitf_Record_clone(nitf_Record* source, nitf_Error* error) {
    if (source == nullptr) {
        return nullptr;
    }
    auto* record = static_cast<nitf_Record*>(std::calloc(1, sizeof(nitf_Record)));
    if (record == nullptr) {
        nitf_Error_init(error, "out of memory", NITF_CTXT, NITF_ERR_MEMORY);
        return nullptr;
    }
    bool ok =
        (record->header = nitf_FileHeader_clone(source->header, error)) != nullptr &&
        cloneList(record->images, source->images, nitf_ImageSegment_clone, error) &&
        cloneList(record->graphics, source->graphics, nitf_GraphicSegment_clone, error) &&
        cloneList(record->labels, source->labels, nitf_LabelSegment_clone, error) &&
        cloneList(record->texts, source->texts, nitf_TextSegment_clone, error) &&
        cloneList(record->dataExtensions, source->dataExtensions, nitf_DESegment_clone, error) &&
        cloneList(record->reservedExtensions, source->reservedExtensions, nitf_RESegment_clone,
                  error);
    if (!ok) {
        nitf_Record_destruct(&record);
    }
    return record;
}

void nitf_Record_destruct(nitf_Record** record) {
    if (record == nullptr || *record == nullptr) {
        return;
    }
    nitf_Record* r = *record;
    destroyList(r->images, nitf_ImageSegment_destruct);
    destroyList(r->graphics, nitf_GraphicSegment_destruct);
    destroyList(r->labels, nitf_LabelSegment_destruct);
    destroyList(r->texts, nitf_TextSegment_destruct);
    destroyList(r->dataExtensions, nitf_DESegment_destruct);
    destroyList(r->reservedExtensions, nitf_RESegment_destruct);
    nitf_FileHeader_destruct(&r->header);
    std::free(r);
    *record = nullptr;
}

nitf_Version nitf_Record_getVersion(const nitf_Record* record) {
    if (record == nullptr || record->header == nullptr) {
        return NITF_VER_UNKNOWN;
    }
    const nitf_Field* fhdr = record->header->fileHeader;
    const nitf_Field* fver = record->header->fileVersion;
    if (std::strncmp(fhdr->raw, "NSIF", 4) == 0 || std::strncmp(fver->raw, "02.10", 5) == 0) {
        return NITF_VER_21;
    }
    if (std::strncmp(fver->raw, "02.00", 5) == 0) {
        return NITF_VER_20;
    }
    return NITF_VER_UNKNOWN;
}

uint32_t nitf_Record_getNumImages(const nitf_Record* record, nitf_Error*) {
    return fieldValue(record->header->numImages);
}
uint32_t nitf_Record_getNumGraphics(const nitf_Record* record, nitf_Error*) {
    return fieldValue(record->header->numGraphics);
}
uint32_t nitf_Record_getNumLabels(const nitf_Record* record, nitf_Error*) {
    return fieldValue(record->header->numLabels);
}
uint32_t nitf_Record_getNumTexts(const nitf_Record* record, nitf_Error*) {
    return fieldValue(record->header->numTexts);
}
uint32_t nitf_Record_getNumDataExtensions(const nitf_Record* record, nitf_Error*) {
    return fieldValue(record->header->numDataExtensions);
}
uint32_t nitf_Record_getNumReservedExtensions(const nitf_Record* record, nitf_Error*) {
    return fieldValue(record->header->numReservedExtensions);
}

nitf_ImageSegment* nitf_Record_newImageSegment(nitf_Record* record, nitf_Error* error) {
    nitf_ImageSegment* segment = nitf_ImageSegment_construct(error);
    if (segment != nullptr && nitf_Record_getVersion(record) == NITF_VER_20) {
        nitf_FileSecurity_resizeForVersion(segment->subheader->securityGroup, NITF_VER_20, error);
    }
    return appendSegment(record->images, segment, record->header->numImages,
                         record->header->imageInfo, NITF_LISH_SZ, NITF_LI_SZ,
                         nitf_ImageSegment_destruct, error);
}

nitf_GraphicSegment* nitf_Record_newGraphicSegment(nitf_Record* record, nitf_Error* error) {
    return appendSegment(record->graphics, nitf_GraphicSegment_construct(error),
                         record->header->numGraphics, record->header->graphicInfo, NITF_LSSH_SZ,
                         NITF_LS_SZ, nitf_GraphicSegment_destruct, error);
}

nitf_TextSegment* nitf_Record_newTextSegment(nitf_Record* record, nitf_Error* error) {
    return appendSegment(record->texts, nitf_TextSegment_construct(error), record->header->numTexts,
                         record->header->textInfo, NITF_LTSH_SZ, NITF_LT_SZ,
                         nitf_TextSegment_destruct, error);
}

nitf_DESegment* nitf_Record_newDataExtensionSegment(nitf_Record* record, nitf_Error* error) {
    return appendSegment(record->dataExtensions, nitf_DESegment_construct(error),
                         record->header->numDataExtensions, record->header->dataExtensionInfo,
                         NITF_LDSH_SZ, NITF_LD_SZ, nitf_DESegment_destruct, error);
}

}  // extern "C"
