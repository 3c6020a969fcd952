// The segments of a record as dictionaries: images with their bands and comments, text,
// graphic, label and data extension segments, their bodies and the lookup of a data
// extension segment by key.

#include <fmt/format.h>

#include <array>
#include <mutex>

#include "paths/PathDictionary.h"
#include "paths/PathDictionaryRpf.h"
#include "paths/PathWriter.h"
#include "platform/nitf/Internal.h"
#include "tessel/core/NitroError.h"
#include "tessel/file/BlockCache.h"
#include "tessel/file/NITFFile.h"
#include "tessel/image/NITFImage.h"
#include "tessel/platform/base/lumo_codec.h"
#include "tessel/platform/nitf/nitf_Segments.h"

using Tessel::NITFMessages;

namespace NITFPathInternal {
namespace {

using NitroUtils::NitroFieldHelper;

const NitroFieldHelper<nitf_ImageSubheader>* imageTable() {
    using I = nitf_ImageSubheader;
    static const std::array<NitroFieldHelper<I>, 38> table{{
        TESSEL_FIELD_RO(I, IM),    TESSEL_FIELD(I, IID1),     TESSEL_FIELD(I, IDATIM),
        TESSEL_FIELD(I, TGTID),    TESSEL_FIELD(I, IID2),     TESSEL_FIELD(I, ISCLAS),
        TESSEL_FIELD(I, ENCRYP),   TESSEL_FIELD(I, ISORCE),   TESSEL_FIELD(I, NROWS),
        TESSEL_FIELD(I, NCOLS),    TESSEL_FIELD(I, PVTYPE),   TESSEL_FIELD(I, IREP),
        TESSEL_FIELD(I, ICAT),     TESSEL_FIELD(I, ABPP),     TESSEL_FIELD(I, PJUST),
        TESSEL_FIELD(I, ICORDS),   TESSEL_FIELD(I, IGEOLO),   TESSEL_FIELD(I, NICOM),
        TESSEL_FIELD(I, IC),       TESSEL_FIELD(I, COMRAT),   TESSEL_FIELD(I, NBANDS),
        TESSEL_FIELD(I, XBANDS),   TESSEL_FIELD(I, ISYNC),    TESSEL_FIELD(I, IMODE),
        TESSEL_FIELD_RO(I, NBPR),  TESSEL_FIELD_RO(I, NBPC),  TESSEL_FIELD(I, NPPBH),
        TESSEL_FIELD(I, NPPBV),    TESSEL_FIELD(I, NBPP),     TESSEL_FIELD(I, IDLVL),
        TESSEL_FIELD(I, IALVL),    TESSEL_FIELD(I, ILOC),     TESSEL_FIELD(I, IMAG),
        TESSEL_FIELD_RO(I, UDIDL), TESSEL_FIELD_RO(I, UDOFL), TESSEL_FIELD_RO(I, IXSHDL),
        TESSEL_FIELD(I, IXSOFL),   NitroFieldHelper<I>{},
    }};
    return table.data();
}

const NitroFieldHelper<nitf_BandInfo>* bandTable() {
    using B = nitf_BandInfo;
    static const std::array<NitroFieldHelper<B>, 7> table{{
        TESSEL_FIELD(B, IREPBAND),
        TESSEL_FIELD(B, ISUBCAT),
        TESSEL_FIELD(B, IFC),
        TESSEL_FIELD(B, IMFLT),
        TESSEL_FIELD(B, NLUTS),
        TESSEL_FIELD(B, NELUT),
        NitroFieldHelper<B>{},
    }};
    return table.data();
}

const NitroFieldHelper<nitf_TextSubheader>* textTable() {
    using T = nitf_TextSubheader;
    static const std::array<NitroFieldHelper<T>, 10> table{{
        TESSEL_FIELD(T, TEXTID),
        TESSEL_FIELD(T, TXTALVL),
        TESSEL_FIELD(T, TXTDT),
        TESSEL_FIELD(T, TXTITL),
        TESSEL_FIELD(T, TSCLAS),
        TESSEL_FIELD(T, ENCRYP),
        TESSEL_FIELD(T, TXTFMT),
        TESSEL_FIELD(T, TXSHDL),
        TESSEL_FIELD(T, TXSOFL),
        NitroFieldHelper<T>{},
    }};
    return table.data();
}

const NitroFieldHelper<nitf_GraphicSubheader>* graphicTable() {
    using G = nitf_GraphicSubheader;
    static const std::array<NitroFieldHelper<G>, 16> table{{
        TESSEL_FIELD(G, SID),
        TESSEL_FIELD(G, SNAME),
        TESSEL_FIELD(G, SSCLAS),
        TESSEL_FIELD(G, ENCRYP),
        TESSEL_FIELD(G, SFMT),
        TESSEL_FIELD(G, SSTRUCT),
        TESSEL_FIELD(G, SDLVL),
        TESSEL_FIELD(G, SALVL),
        TESSEL_FIELD(G, SLOC),
        TESSEL_FIELD(G, SBND1),
        TESSEL_FIELD(G, SCOLOR),
        TESSEL_FIELD(G, SBND2),
        TESSEL_FIELD(G, SRES2),
        TESSEL_FIELD(G, SXSHDL),
        TESSEL_FIELD(G, SXSOFL),
        NitroFieldHelper<G>{},
    }};
    return table.data();
}

const NitroFieldHelper<nitf_LabelSubheader>* labelTable() {
    using L = nitf_LabelSubheader;
    static const std::array<NitroFieldHelper<L>, 14> table{{
        TESSEL_FIELD(L, LID),
        TESSEL_FIELD(L, LSCLAS),
        TESSEL_FIELD(L, LFS),
        TESSEL_FIELD(L, LCW),
        TESSEL_FIELD(L, LCH),
        TESSEL_FIELD(L, LDLVL),
        TESSEL_FIELD(L, LALVL),
        TESSEL_FIELD(L, LLOCR),
        TESSEL_FIELD(L, LLOCC),
        TESSEL_FIELD(L, LTC),
        TESSEL_FIELD(L, LBC),
        TESSEL_FIELD(L, LXSHDL),
        TESSEL_FIELD(L, LXSOFL),
        NitroFieldHelper<L>{},
    }};
    return table.data();
}

const NitroFieldHelper<nitf_DESubheader>* desTable() {
    using D = nitf_DESubheader;
    static const std::array<NitroFieldHelper<D>, 8> table{{
        TESSEL_FIELD_RO(D, DE),
        TESSEL_FIELD(D, DESTAG),
        TESSEL_FIELD(D, DESVER),
        TESSEL_FIELD(D, DESCLAS),
        TESSEL_FIELD(D, DESOFLW),
        TESSEL_FIELD(D, DESITEM),
        TESSEL_FIELD(D, DESSHL),
        NitroFieldHelper<D>{},
    }};
    return table.data();
}

// One Dictionary per band of the subheader.
Node encodeBands(nitf_ImageSubheader* subheader) {
    Node node = Node::makeArray("Band", [subheader](NITFMessages& messages, const PathList& path) {
        Array bands;
        nrt_Error error{};
        const uint32_t count = nitf_ImageSubheader_getBandCount(subheader, &error);
        if (count == NITF_INVALID_BAND_COUNT) {
            Tessel::checkNitroError(error, messages, path, true);
            return bands;
        }
        for (uint32_t i = 0; i < count && subheader->bandInfo != nullptr; ++i) {
            nitf_BandInfo* band = subheader->bandInfo[i];
            if (band == nullptr) {
                break;
            }
            bands.add(Node::makeDict([band](NITFMessages&, const PathList&) {
                Dict dict;
                push_back_fields(dict, band, bandTable());
                return dict;
            }));
        }
        return bands;
    });
    node.create = createBand(subheader);
    return node;
}

// The fields whose change reshapes the image, each with the decoder that does it.
void push_back_image_decoders(Dict& dict, nitf_ImageSubheader* subheader) {
    for (const char* key :
         {"NROWS", "NCOLS", "PVTYPE", "PJUST", "IMODE", "NBPR", "NBPC", "NPPBH", "NPPBV"}) {
        if (Node* node = dict.find(key)) {
            node->decoder = imageShapeDecoder(subheader);
        }
    }
    if (Node* node = dict.find("NBANDS")) {
        node->decoder = bandCountDecoder(subheader);
    }
    // XBANDS holds the band count of more than nine bands: it may never disagree with the
    // band table, so it reshapes too.
    if (Node* node = dict.find("XBANDS")) {
        node->decoder = extendedBandCountDecoder(subheader);
    }
}

// A Field per element of a list of fields.
Node encode_field_list(std::string elementName, nrt_List* fields) {
    return Node::makeArray(std::move(elementName), [fields](NITFMessages&, const PathList&) {
        Array array;
        for (nrt_ListNode* node = fields != nullptr ? fields->first : nullptr; node != nullptr;
             node = node->next) {
            array.add(Node::makeField(static_cast<nitf_Field*>(node->data)));
        }
        return array;
    });
}

// "DataPath", "DataLength" and "DataOffset" of a segment with a body.
void push_back_data_location(Dict& dict, std::string_view pathFormat, int index, uint64_t length,
                             uint64_t offset) {
    dict.add("DataPath", Node::makeString(fmt::format(fmt::runtime(pathFormat), index)));
    dict.add("DataLength", Node::makeString(std::to_string(length)));
    dict.add("DataOffset", Node::makeString(std::to_string(offset)));
}

uint64_t spanLength(uint64_t offset, uint64_t end) {
    return end >= offset ? end - offset : 0;
}

constexpr std::array<std::string_view, 6> kShapefileTags{
    "CSSHPA", "CSSHPA_DES", "CSSHPA DES", "CSSHPB", "CSSHPB_DES", "CSSHPB DES",
};

bool isShapefileTag(std::string_view tag) {
    for (std::string_view shapefile : kShapefileTags) {
        if (tag == shapefile) {
            return true;
        }
    }
    return false;
}

// Whether one of the keys of a data extension segment is `key`.
bool desMatches(nitf_DESubheader* subheader, int index, std::string_view key) {
    const std::string tag = tessel_nitf::strippedText(subheader->typeID);
    if (key == tag) {
        return true;
    }
    const std::string item = tessel_nitf::strippedText(subheader->dataItemOverflowed);
    if (key == fmt::format("{}-I{}", tag, item) ||
        key == fmt::format("{}-I{}-S{}", tag, item, index) ||
        key == fmt::format("{}-S{}", tag, index)) {
        return true;
    }
    if (isShapefileTag(tag) && subheader->subheaderFields != nullptr) {
        const std::string use =
            tessel_nitf::strippedText(nitf_TRE_getField(subheader->subheaderFields, "SHAPE_USE"));
        return key == fmt::format("{}-{}", tag, use) || key == fmt::format("CSSHP-{}", use);
    }
    return false;
}

// The parsed XML of an XML_DATA_CONTENT segment.
Node encodeXMLSegment(int index, PathContext& context) {
    return Node::makeDict(
        [index, &context](NITFMessages& messages, const PathList& path) {
            const std::string_view body =
                readSegmentBody(context, "DES", index, nitf_Reader_newDEReader);
            if (body.empty()) {
                messages.push_back("DES: Unable to read segment");
                return Dict();
            }
            return encodeXMLContent(body, messages, path);
        },
        FlagXML);
}

}  // namespace

std::string_view readSegmentBody(PathContext& context, std::string_view name, int index,
                                 SegmentReaderConstructor construct) {
    Tessel::BlockCache& cache = context.getBlockCache();
    const std::string key = fmt::format("{}-{}", name, index);
    if (cache.hasBlock(key)) {
        return cache.getBlock(key);
    }
    nitf_Reader* reader = context.getReader();
    if (reader == nullptr || reader->input == nullptr) {
        return {};
    }
    // The file's input has one position that every segment reader seeks and reads: readers
    // of an opened file run without the record lock, so the reads of bodies take turns with
    // each other and with the image's RPF reads, under the file's input lock.
    static std::mutex contextsWithoutFile;
    auto* file = dynamic_cast<Tessel::NITFFilePrivate*>(&context);
    const std::unique_lock lock =
        file != nullptr ? file->lockIO() : std::unique_lock(contextsWithoutFile);
    if (cache.hasBlock(key)) {
        return cache.getBlock(key);  // another thread read it meanwhile
    }
    nrt_Error error{};
    nitf_SegmentReader* segmentReader = construct(reader, index, &error);
    if (segmentReader == nullptr) {
        return {};
    }
    const nitf_Off size = nitf_SegmentReader_getSize(segmentReader, &error);
    const nrt_Off available = nrt_IOInterface_getSize(reader->input, &error);
    // A declared size beyond the file can't be read; don't allocate it.
    bool ok = size >= 0 && available >= 0 && size <= available;
    std::string bytes;
    if (ok && size > 0) {
        bytes.resize(static_cast<size_t>(size));
        ok = nitf_SegmentReader_read(segmentReader, bytes.data(), bytes.size(), &error);
    }
    nitf_SegmentReader_destruct(&segmentReader);
    if (!ok) {
        return {};
    }
    cache.addBlock(key, bytes);
    return cache.getBlock(key);
}

Node encode_segment_data(int index, PathContext& context, std::string_view name,
                         SegmentReaderConstructor construct, bool base64) {
    return Node::makeField(
        nullptr,
        [index, &context, name = std::string(name), construct, base64](NitroUtils::Encoder& encoder,
                                                                       nitf_Field*) {
            const std::string_view body = readSegmentBody(context, name, index, construct);
            if (base64) {
                encoder.writeDirect(lumo_codec::base64_encode(body));
            } else {
                encoder.write(body);
            }
        },
        segmentDataDecoder(context, std::string(name), index, base64));
}

// The codec's own description of the image, one String per property.
Node encode_image_compression(int index, PathContext& context) {
    return Node::makeDict([index, &context](NITFMessages& messages, const PathList&) {
        Dict dict;
        if (const auto image = context.getImage(index, messages)) {
            for (const auto& [key, value] : image->getCompressionInfo()) {
                dict.add(key, Node::makeString(value));
            }
        }
        return dict;
    });
}

// Reads the RPF sections through the file's own input, one seek and read at a time.
RpfByteSource rpfSourceOf(const std::shared_ptr<Tessel::NITFFile>& file) {
    return [file](uint64_t offset, size_t size, std::string& out) {
        if (!file) {
            return false;
        }
        const auto lock = file->getPrivate()->lockIO();
        return rpfSourceOver(file->getPrivate()->getIO())(offset, size, out);
    };
}

// The RPF sections that the image's location records list.
Node encode_rpfimg_tables(int index, PathContext& context) {
    return Node::makeDict([index, &context](NITFMessages& messages, const PathList&) {
        const auto image = context.getImage(index, messages);
        if (!image || image->getLocationTables().empty()) {
            return Dict();
        }
        std::vector<RpfLocation> locations;
        for (const auto& table : image->getLocationTables()) {
            locations.push_back({table.id, table.length, table.offset});
        }
        return encodeRpfTables(locations, rpfSourceOf(image->getNITFFile()));
    });
}

Dict encodeImage(nitf_ImageSegment* segment, int index, PathContext& context) {
    Dict dict;
    nitf_ImageSubheader* subheader = segment != nullptr ? segment->subheader : nullptr;
    if (subheader == nullptr) {
        return dict;
    }
    push_back_fields(dict, subheader, imageTable());
    push_back_image_decoders(dict, subheader);
    push_back_block(dict, subheader->securityGroup, "IS");
    dict.add("Bands", encodeBands(subheader));
    dict.add("Comments", encode_field_list("Comment", subheader->imageComments)).create =
        createComment(subheader);
    dict.add("Compression", encode_image_compression(index, context));
    push_back_tres(dict, subheader->extendedSection, subheader->userDefinedSection,
                   subheader->extendedHeaderOverflow, context);
    dict.add("RPFTables", encode_rpfimg_tables(index, context));
    return dict;
}

Dict encodeText(nitf_TextSegment* segment, int index, PathContext& context) {
    Dict dict;
    nitf_TextSubheader* subheader = segment != nullptr ? segment->subheader : nullptr;
    if (subheader == nullptr) {
        return dict;
    }
    push_back_fields(dict, subheader, textTable());
    push_back_block(dict, subheader->securityGroup, "TS");
    push_back_tres(dict, subheader->extendedSection, nullptr, subheader->extendedHeaderOverflow,
                   context);
    dict.add("Data", encode_segment_data(index, context, "TEXT", nitf_Reader_newTextReader, false));
    push_back_data_location(dict, "Text/{}/Data", index, spanLength(segment->offset, segment->end),
                            segment->offset);
    return dict;
}

Dict encodeGraphic(nitf_GraphicSegment* segment, int index, PathContext& context) {
    Dict dict;
    nitf_GraphicSubheader* subheader = segment != nullptr ? segment->subheader : nullptr;
    if (subheader == nullptr) {
        return dict;
    }
    push_back_fields(dict, subheader, graphicTable());
    push_back_block(dict, subheader->securityGroup, "SS");
    push_back_tres(dict, subheader->extendedSection, nullptr, subheader->extendedHeaderOverflow,
                   context);
    // Graphic bodies go through the data extension reader, as they always have here.
    dict.add("Data",
             encode_segment_data(index, context, "GRAPHIC", nitf_Reader_newDEReader, false));
    push_back_data_location(dict, "Graphics/{}/Data", index,
                            spanLength(segment->offset, segment->end), segment->offset);
    return dict;
}

Dict encodeLabel(nitf_LabelSegment* segment, int, PathContext& context) {
    Dict dict;
    nitf_LabelSubheader* subheader = segment != nullptr ? segment->subheader : nullptr;
    if (subheader == nullptr) {
        return dict;
    }
    push_back_fields(dict, subheader, labelTable());
    push_back_block(dict, subheader->securityGroup, "LS");
    push_back_tres(dict, subheader->extendedSection, nullptr, subheader->extendedHeaderOverflow,
                   context);
    return dict;
}

Dict encodeDESAlt(nitf_DESegment* segment, int index, PathContext& context, bool withID) {
    Dict dict;
    nitf_DESubheader* subheader = segment != nullptr ? segment->subheader : nullptr;
    if (subheader == nullptr) {
        return dict;
    }
    push_back_fields(dict, subheader, desTable());
    push_back_block(dict, subheader->securityGroup, "DES");
    // The subheader TRE is looked up on each entry: a write may have just made it.
    dict.add("UserDefinedSubHeader",
             Node::makeDict([subheader](NITFMessages& messages, const PathList& path) {
                 nitf_TRE* fields = subheader->subheaderFields;
                 return fields != nullptr ? encodeNitroTRE(fields, messages, path) : Dict();
             }))
        .create = createDESSubheaderTRE(subheader);
    dict.add("DataBase64",
             encode_segment_data(index, context, "DES", nitf_Reader_newDEReader, true));
    dict.add("Data", encode_segment_data(index, context, "DES", nitf_Reader_newDEReader, false));
    push_back_data_location(dict, "DESs/{}/Data", index, subheader->dataLength, segment->offset);
    if (tessel_nitf::strippedText(subheader->typeID) == "XML_DATA_CONTENT") {
        dict.add("XML", encodeXMLSegment(index, context));
    }
    if (withID) {
        dict.add("_desID", Node::makeString(std::to_string(index)));
    }
    push_back_tres(dict, subheader->userDefinedSection, nullptr, nullptr, context);
    return dict;
}

Node findDES(nrt_List* segments, PathContext& context, std::string_view key) {
    int index = 0;
    for (nrt_ListNode* node = segments != nullptr ? segments->first : nullptr; node != nullptr;
         node = node->next, ++index) {
        auto* segment = static_cast<nitf_DESegment*>(node->data);
        if (segment == nullptr || segment->subheader == nullptr ||
            !desMatches(segment->subheader, index, key)) {
            continue;
        }
        return Node::makeDict([segment, index, &context](NITFMessages&, const PathList&) {
            return encodeDESAlt(segment, index, context, true);
        });
    }
    return Node();
}

}  // namespace NITFPathInternal
