// The root of the dictionary, the file header and the segment lists, and the installation of
// the builders that a path read starts from.

#include "paths/PathDictionary.h"

#include <array>
#include <mutex>

#include "paths/PathWriter.h"
#include "tessel/core/NitroError.h"
#include "tessel/paths/PathWalker.h"
#include "tessel/platform/nitf/nitf_Segments.h"

using Tessel::NITFMessages;

namespace NITFPathInternal {
namespace {

using NitroUtils::NitroFieldHelper;

// The background colour as HTML writes it: "#" and two lower-case hexadecimal digits a byte.
void encodeBackgroundColor(NitroUtils::Encoder& encoder, nitf_Field* field) {
    if (field == nullptr || field->raw == nullptr || field->length < 3) {
        return;
    }
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text = "#";
    for (size_t i = 0; i < 3; ++i) {
        const auto byte = static_cast<uint8_t>(field->raw[i]);
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    encoder.writeDirect(text);
}

const NitroFieldHelper<nitf_FileHeader>* fileHeaderTable() {
    using H = nitf_FileHeader;
    static const std::array<NitroFieldHelper<H>, 27> table{{
        TESSEL_FIELD_RO(H, FHDR),
        TESSEL_FIELD_RO(H, FVER),
        TESSEL_FIELD(H, CLEVEL),
        TESSEL_FIELD(H, STYPE),
        TESSEL_FIELD(H, OSTAID),
        TESSEL_FIELD(H, FDT),
        TESSEL_FIELD(H, FTITLE),
        TESSEL_FIELD(H, FSCLAS),
        TESSEL_FIELD(H, FSCOP),
        TESSEL_FIELD(H, FSCPYS),
        TESSEL_FIELD(H, ENCRYP),
        NitroFieldHelper<H>{"NITF_FBKGC", &H::NITF_FBKGC, encodeBackgroundColor,
                            decodeBackgroundColor, false},
        TESSEL_FIELD(H, ONAME),
        TESSEL_FIELD(H, OPHONE),
        TESSEL_FIELD_RO(H, FL),
        TESSEL_FIELD_RO(H, HL),
        TESSEL_FIELD_RO(H, NUMI),
        TESSEL_FIELD_RO(H, NUMS),
        TESSEL_FIELD_RO(H, NUMX),
        TESSEL_FIELD_RO(H, NUMT),
        TESSEL_FIELD_RO(H, NUMDES),
        TESSEL_FIELD_RO(H, NUMRES),
        TESSEL_FIELD_RO(H, UDHDL),
        TESSEL_FIELD(H, UDHOFL),
        TESSEL_FIELD_RO(H, XHDL),
        TESSEL_FIELD(H, XHDLOFL),
        NitroFieldHelper<H>{},
    }};
    return table.data();
}

const NitroFieldHelper<nitf_FileSecurity>* securityTable() {
    using S = nitf_FileSecurity;
    static const std::array<NitroFieldHelper<S>, 16> table{{
        TESSEL_FIELD(S, CLSY),
        TESSEL_FIELD(S, CODE),
        TESSEL_FIELD(S, CTLH),
        TESSEL_FIELD(S, REL),
        TESSEL_FIELD(S, DCTP),
        TESSEL_FIELD(S, DCDT),
        TESSEL_FIELD(S, DCXM),
        TESSEL_FIELD(S, DG),
        TESSEL_FIELD(S, DGDT),
        TESSEL_FIELD(S, CLTX),
        TESSEL_FIELD(S, CATP),
        TESSEL_FIELD(S, CAUT),
        TESSEL_FIELD(S, CRSN),
        TESSEL_FIELD(S, RDT),
        TESSEL_FIELD(S, CTLN),
        NitroFieldHelper<S>{},
    }};
    return table.data();
}

const NitroFieldHelper<nitf_ComponentInfo>* componentInfoTable() {
    using C = nitf_ComponentInfo;
    static const std::array<NitroFieldHelper<C>, 3> table{{
        NitroFieldHelper<C>{"NITF_LISH", &C::lengthSubheader, {}, {}, false},
        NitroFieldHelper<C>{"NITF_LI", &C::lengthData, {}, {}, false},
        NitroFieldHelper<C>{},
    }};
    return table.data();
}

// The sizes of the image segments as the file header lists them, one "LISH"/"LI" pair each.
Node encodeComponentInfo(nitf_FileHeader* header) {
    return Node::makeArray("ImageSize", [header](NITFMessages& messages, const PathList& path) {
        Array sizes;
        uint32_t count = 0;
        nrt_Error error{};
        if (!nitf_Field_get(header->numImages, &count, NITF_CONV_UINT, sizeof count, &error)) {
            Tessel::checkNitroError(error, messages, path, true);
            return sizes;
        }
        for (uint32_t i = 0; i < count && header->imageInfo != nullptr; ++i) {
            nitf_ComponentInfo* info = header->imageInfo[i];
            if (info == nullptr) {
                break;
            }
            sizes.add(Node::makeDict([info](NITFMessages&, const PathList&) {
                Dict dict;
                push_back_fields(dict, info, componentInfoTable());
                return dict;
            }));
        }
        return sizes;
    });
}

// An array over one segment list of the record: a Dictionary element per segment, built
// when entered; `create` adds a segment, `find` makes the list addressable by key.
template <typename Segment>
Node encode_list(std::string elementName, nrt_List* list, PathContext& context,
                 Dict (*build)(Segment* segment, int index, PathContext& context),
                 CreateFunction create, ArrayLookup find = {}) {
    Node node = Node::makeArray(
        std::move(elementName),
        [list, &context, build, find = std::move(find)](NITFMessages&, const PathList&) {
            Array array;
            int index = 0;
            for (nrt_ListNode* entry = list != nullptr ? list->first : nullptr; entry != nullptr;
                 entry = entry->next, ++index) {
                auto* segment = static_cast<Segment*>(entry->data);
                array.add(Node::makeDict(
                    [segment, index, &context, build](NITFMessages&, const PathList&) {
                        return build(segment, index, context);
                    }));
            }
            array.lookup = find;
            return array;
        });
    node.create = std::move(create);
    return node;
}

Dict encodeDES(nitf_DESegment* segment, int index, PathContext& context) {
    return encodeDESAlt(segment, index, context, false);
}

// The builders that reads start from, installed when the library is loaded.
[[maybe_unused]] const bool installed = [] {
    RootBuilders builders;
    builders.root = toDict;
    builders.image = encodeImage;
    builders.appendSection = [](Dict& dict, nitf_Extensions* section, PathContext&,
                                NITFMessages& messages, const PathList& path) {
        appendSection(dict, section, messages, path);
    };
    installRootBuilders(std::move(builders));
    return true;
}();

}  // namespace

std::string fieldKey(std::string_view name) {
    constexpr std::string_view kPrefix = "NITF_";
    if (name.size() < kPrefix.size()) {
        throw std::length_error("field name shorter than its NITF_ prefix");
    }
    return std::string(name.substr(kPrefix.size()));
}

void push_back_block(Dict& dict, nitf_FileSecurity* security, std::string_view prefix) {
    dict.add("Security", Node::makeDict([security, prefix = std::string(prefix)](NITFMessages&,
                                                                                 const PathList&) {
                 Dict block;
                 if (security != nullptr) {
                     push_back_fields(block, security, securityTable(), prefix);
                 }
                 return block;
             }));
}

Dict encodeFileHeader(nitf_FileHeader* header, PathContext& context) {
    Dict dict;
    if (header == nullptr) {
        return dict;
    }
    push_back_fields(dict, header, fileHeaderTable());
    dict.add("ImageSizes", encodeComponentInfo(header));
    push_back_block(dict, header->securityGroup, "FS");
    push_back_tres(dict, header->userDefinedSection, header->extendedSection,
                   header->extendedHeaderOverflow, context);
    return dict;
}

Dict toDict(PathContext& context) {
    Dict root;
    nitf_Record* record = context.getRecord();
    if (record == nullptr || record->header == nullptr) {
        return root;
    }
    nitf_FileHeader* header = record->header;
    root.add("Version", Node::makeField(header->fileVersion));
    root.add("FileHeader", Node::makeDict([header, &context](NITFMessages&, const PathList&) {
                 return encodeFileHeader(header, context);
             }));
    root.add("Images", encode_list<nitf_ImageSegment>("Image", record->images, context, encodeImage,
                                                      createImageSegment(record)));
    root.add("Text", encode_list<nitf_TextSegment>("Text", record->texts, context, encodeText,
                                                   createTextSegment(record)));
    root.add("Graphics",
             encode_list<nitf_GraphicSegment>("Graphic", record->graphics, context, encodeGraphic,
                                              createGraphicSegment(record)));
    root.add("Labels", encode_list<nitf_LabelSegment>("Label", record->labels, context, encodeLabel,
                                                      createLabelSegment()));
    nrt_List* des = record->dataExtensions;
    root.add("DESs", encode_list<nitf_DESegment>(
                         "DES", des, context, encodeDES, createDESegment(record),
                         [des, &context](std::string_view key, NITFMessages&, const PathList&) {
                             return findDES(des, context, key);
                         }));
    root.add("Data", Node::makeDict(Dict(), FlagReadOnly));
    return root;
}

}  // namespace NITFPathInternal
