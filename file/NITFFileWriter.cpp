// Composing and writing a new file: image segments added to the record, and the sources of
// their bands and of the data extensions pulled by the record layer's writer.

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>
#include <variant>

#include <fmt/format.h>

#include "platform/nitf/Internal.h"
#include "tessel/core/NitroError.h"
#include "tessel/core/TextForms.h"
#include "tessel/file/NITFFile.h"
#include "tessel/image/NITFImage.h"
#include "tessel/io/NitroGdalIOInterface.h"
#include "tessel/platform/base/lumo_system.h"
#include "tessel/platform/base/nitf_config.h"
#include "tessel/platform/nitf/nitf_BandInfo.h"
#include "tessel/platform/nitf/nitf_DataSource.h"
#include "tessel/platform/nitf/nitf_Field.h"
#include "tessel/platform/nitf/nitf_Record.h"
#include "tessel/platform/nitf/nitf_Writer.h"
#include "tessel/platform/nitf/nrt_HashTable.h"
#include "tessel/platform/nitf/nrt_List.h"

namespace Tessel {
namespace detail_writer {

constexpr std::string_view kSourceContext = "/SegmentSource";
constexpr size_t kBandKeyStride = 1000;
// The host's configuration, where its build number and name stand.
constexpr std::wstring_view kHostSection = L"Preferences";

const char* pixelValueType(lumo_pixel::type type) {
    switch (type) {
        case lumo_pixel::unsigned_integer:
            return "INT";
        case lumo_pixel::bilevel:
            return "B";
        case lumo_pixel::signed_integer:
            return "SI";
        case lumo_pixel::real:
            return "R";
        case lumo_pixel::complex_float:
            return "C";
        default:
            return "UNK";
    }
}

// Text as a header field holds it: printable ASCII, cut to the field's length.
std::string fieldText(const std::string& text, const nitf_Field* field) {
    std::string result = text.substr(0, field->length);
    for (char& c : result) {
        const auto u = static_cast<unsigned char>(c);
        if (u < 0x20 || u > 0x7e) {
            c = '_';
        }
    }
    return result;
}

void setText(nitf_Field* field, const std::string& text) {
    nrt_Error error{};
    nitf_Field_setString(field, fieldText(text, field).c_str(), &error);
}

// The host's build number: a number, or text that holds one; 0 otherwise.
int64_t buildNumber() {
    const nitf_config::property value = nitf_config::read_property(kHostSection, L"BuildNumber");
    if (const auto* number = std::get_if<double>(&value)) {
        return std::isfinite(*number) ? static_cast<int64_t>(*number) : 0;
    }
    if (const auto* text = std::get_if<std::wstring>(&value)) {
        wchar_t* end = nullptr;
        const long long parsed = std::wcstoll(text->c_str(), &end, 10);
        return end != text->c_str() ? parsed : 0;
    }
    return 0;
}

std::string appName() {
    const nitf_config::property value = nitf_config::read_property(kHostSection, L"AppName");
    const auto* text = std::get_if<std::wstring>(&value);
    return text != nullptr ? ToString(*text) : std::string();
}

// Band infos with an empty representation, a blank filter and no lookup table, in memory
// that the subheader adopts.
nitf_BandInfo** makeBandInfos(unsigned bands, nrt_Error* error) {
    auto** infos = static_cast<nitf_BandInfo**>(std::calloc(bands, sizeof(nitf_BandInfo*)));
    if (infos == nullptr) {
        nrt_Error_init(error, nrt_strerror(errno), NRT_CTXT, NRT_ERR_MEMORY);
        return nullptr;
    }
    for (unsigned band = 0; band < bands; ++band) {
        infos[band] = nitf_BandInfo_construct(error);
        if (infos[band] == nullptr ||
            !nitf_BandInfo_init(infos[band], "", "", "N", "   ", 0, 0, nullptr, error)) {
            for (unsigned made = 0; made <= band; ++made) {
                nitf_BandInfo_destruct(&infos[made]);
            }
            std::free(static_cast<void*>(infos));
            return nullptr;
        }
    }
    return infos;
}

// The NITRO data source over a host's source. Without a source it delivers zero bytes.
struct SourceWrapper {
    std::shared_ptr<NITFSegmentSource> source;
};

NITF_BOOL wrapperRead(NITF_DATA* data, void* buffer, nitf_Off count, nitf_Error* error) {
    auto* wrapper = static_cast<SourceWrapper*>(data);
    if (!wrapper->source) {
        std::memset(buffer, 0, static_cast<size_t>(count));
        return true;
    }
    std::vector<std::string> messages;
    const bool ok = wrapper->source->read(buffer, static_cast<size_t>(count), messages);
    if (!ok && !messages.empty()) {
        nrt_Error_init(error, messages.front().c_str(), __FILE__, __LINE__, "SegmentSource_read",
                       NRT_ERR_READING_FROM_FILE);
    }
    return ok;
}

void wrapperDestruct(NITF_DATA* data) {
    delete static_cast<SourceWrapper*>(data);
}

nitf_Off wrapperGetSize(NITF_DATA* data, nitf_Error* error) {
    auto* wrapper = static_cast<SourceWrapper*>(data);
    if (!wrapper->source) {
        return 0;
    }
    std::vector<std::string> messages;
    const int64_t size = wrapper->source->size(messages);
    if (size < 0 && !messages.empty()) {
        nrt_Error_init(error, messages.front().c_str(), NRT_CTXT, NRT_ERR_READING_FROM_FILE);
    }
    return size;
}

NITF_BOOL wrapperSetSize(NITF_DATA*, nitf_Off, nitf_Error* error) {
    nrt_Error_init(error, "a segment source's size is its own", NRT_CTXT,
                   NRT_ERR_INVALID_PARAMETER);
    return false;
}

nitf_IDataSource wrapperInterface = {wrapperRead, wrapperDestruct, wrapperGetSize, wrapperSetSize};

nitf_DataSource* wrapSource(const std::shared_ptr<NITFSegmentSource>& source, const char* function,
                            nrt_Error* error) {
    auto* wrapped = static_cast<nitf_DataSource*>(std::calloc(1, sizeof(nitf_DataSource)));
    if (wrapped == nullptr) {
        nrt_Error_init(error, nrt_strerror(errno), __FILE__, __LINE__, function, NRT_ERR_MEMORY);
        return nullptr;
    }
    wrapped->iface = &wrapperInterface;
    wrapped->data = new SourceWrapper{source};
    return wrapped;
}

template <typename T>
T* listAt(nitf_List* list, size_t index) {
    nrt_ListIterator at = nrt_List_at(list, static_cast<int>(index));
    nrt_ListIterator end = nrt_List_end(list);
    if (nrt_ListIterator_equals(&at, &end)) {
        return nullptr;
    }
    return static_cast<T*>(nrt_ListIterator_get(&at));
}

// The bytes one band of the image holds, as its subheader gives the shape.
uint64_t bandBytes(nitf_ImageSubheader* subheader) {
    const uint64_t bits = tessel_nitf::fieldValue64(subheader->numBitsPerPixel);
    return tessel_nitf::fieldValue64(subheader->numRows) *
           tessel_nitf::fieldValue64(subheader->numCols) * ((bits + 7) / 8);
}

// The objects of one write, destroyed in the reverse order of their making.
struct WriteObjects {
    nrt_IOInterface* io = nullptr;
    nitf_Writer* writer = nullptr;
    std::vector<nrt_HashTable*> options;

    WriteObjects() = default;
    WriteObjects(const WriteObjects&) = delete;
    WriteObjects& operator=(const WriteObjects&) = delete;
    ~WriteObjects() {
        for (auto it = options.rbegin(); it != options.rend(); ++it) {
            nrt_HashTable_destruct(&*it);
        }
        nitf_Writer_destruct(&writer);
        nrt_IOInterface_destruct(&io);
    }
};

using SourceMap = NITFFilePrivate::SourceMap;

// Where the source of a band of an image stands in the sources map.
NITFFilePrivate::SourceKey bandKey(uint32_t image, uint32_t band) {
    return {NITFSegmentType::ImageBand, (size_t{image} + 1) * kBandKeyStride + band};
}

// The band count of an image segment; 0 when the segment or its count is missing.
uint32_t bandCount(nitf_ImageSegment* segment) {
    if (segment == nullptr) {
        return 0;
    }
    nrt_Error error{};
    const uint32_t bands = nitf_ImageSubheader_getBandCount(segment->subheader, &error);
    return bands == NITF_INVALID_BAND_COUNT ? 0 : bands;
}

// A band source must deliver the band as the subheader shapes it: a wrong size is refused
// before anything is written.
bool sourcesFitTheirBands(nitf_Record* record, uint32_t images, const SourceMap& sources,
                          NITFMessages& messages) {
    for (uint32_t index = 0; index < images; ++index) {
        auto* segment = listAt<nitf_ImageSegment>(record->images, index);
        const uint32_t bands = bandCount(segment);
        for (uint32_t band = 0; band < bands; ++band) {
            const auto found = sources.find(bandKey(index, band));
            if (found == sources.end() || !found->second) {
                continue;
            }
            const uint64_t expected = bandBytes(segment->subheader);
            const int64_t size = found->second->size(messages);
            if (size < 0 || static_cast<uint64_t>(size) != expected) {
                messages.push_back(fmt::format(
                    "{}: Image {}, Band {}: the source delivers {} bytes, the subheader needs {}",
                    kSourceContext, index, band, size, expected));
                return false;
            }
        }
    }
    return true;
}

// The image writer of one image, fed band by band from the host's sources (zero fill, with
// a message, for a band without one).
bool attachImageSources(WriteObjects& objects, nitf_Record* record, uint32_t index,
                        const SourceMap& sources, NITFMessages& messages) {
    nrt_Error error{};
    nrt_HashTable* table = nrt_HashTable_construct(4, &error);
    if (table != nullptr) {
        objects.options.push_back(table);
    }
    nitf_ImageWriter* imageWriter =
        table == nullptr
            ? nullptr
            : nitf_Writer_newImageWriter(objects.writer, static_cast<int>(index), table, &error);
    if (checkNitroError(error, messages, {"ImageWriter"}, imageWriter == nullptr)) {
        return false;
    }
    error = {};
    nitf_ImageSource* imageSource = nitf_ImageSource_construct(&error);
    if (checkNitroError(error, messages, {"ImageSource"}, imageSource == nullptr)) {
        return false;
    }
    const uint32_t bands = bandCount(listAt<nitf_ImageSegment>(record->images, index));
    for (uint32_t band = 0; band < bands; ++band) {
        const auto found = sources.find(bandKey(index, band));
        const std::shared_ptr<NITFSegmentSource> source =
            found == sources.end() ? nullptr : found->second;
        if (found == sources.end()) {
            messages.push_back(
                fmt::format("{}: Missing Segment Source from Image {}, Band {}, Using Zero Fill",
                            kSourceContext, index, band));
        }
        error = {};
        nitf_BandSource* wrapped = wrapSource(source, "BandSource_construct", &error);
        if (checkNitroError(error, messages, {"ImageSource", "MapSource"}, wrapped == nullptr)) {
            nitf_ImageSource_destruct(&imageSource);
            return false;
        }
        error = {};
        const bool added = nitf_ImageSource_addBand(imageSource, wrapped, &error);
        if (checkNitroError(error, messages, {"ImageSource", "AddBand"}, !added)) {
            nitf_ImageSource_destruct(&imageSource);
            return false;
        }
    }
    error = {};
    const bool attached = nitf_ImageWriter_attachSource(imageWriter, imageSource, &error);
    if (checkNitroError(error, messages, {"ImageSource", "AttachSource"}, !attached)) {
        nitf_ImageSource_destruct(&imageSource);
        return false;
    }
    return true;
}

// The segment writer of one data extension, fed from the host's source. A missing source
// is reported and the extension skipped, except for an overflow segment, which the writer
// fills from its TREs.
bool attachExtensionSource(WriteObjects& objects, nitf_Record* record, uint32_t index,
                           const SourceMap& sources, NITFMessages& messages) {
    nrt_Error error{};
    nitf_SegmentWriter* segmentWriter =
        nitf_Writer_newDEWriter(objects.writer, static_cast<int>(index), &error);
    if (checkNitroError(error, messages, {"DEWriter"}, segmentWriter == nullptr)) {
        return false;
    }
    const auto found = sources.find({NITFSegmentType::DataExtension, index});
    if (found == sources.end()) {
        auto* segment = listAt<nitf_DESegment>(record->dataExtensions, index);
        const bool overflow =
            segment != nullptr &&
            tessel_nitf::strippedText(segment->subheader->typeID) == "TRE_OVERFLOW";
        if (!overflow) {
            messages.push_back(
                fmt::format("{}: Missing Segment Source for DES {}", kSourceContext, index));
        }
        return true;
    }
    error = {};
    nitf_SegmentSource* wrapped = wrapSource(found->second, "SegmentSource_construct", &error);
    if (checkNitroError(error, messages, {"DESSource", "MapSource"}, wrapped == nullptr)) {
        return false;
    }
    error = {};
    const bool attached = nitf_SegmentWriter_attachSource(segmentWriter, wrapped, &error);
    if (checkNitroError(error, messages, {"DESSource", "AttachSource"}, !attached)) {
        nitf_SegmentSource_destruct(&wrapped);
        return false;
    }
    return true;
}

}  // namespace detail_writer

void NITFFile::setSource(SegmentType type, size_t index,
                         const std::shared_ptr<SegmentSource>& source) {
    d_->getSources().emplace(NITFFilePrivate::SourceKey{type, index}, source);
}

std::shared_ptr<NITFImage> NITFFile::createImage(unsigned columns, unsigned rows, unsigned bands,
                                                 unsigned bits, unsigned blockRows,
                                                 unsigned blockColumns, lumo_pixel::type pixelType,
                                                 const std::string& name, ImageOptions& options) {
    NITFMessages messages;  // the caller learns of a failure by the empty result
    nitf_Record* record = d_->getRecord();
    nrt_Error error{};
    nitf_ImageSegment* segment = nitf_Record_newImageSegment(record, &error);
    if (checkNitroError(error, messages, {"Create Image"}, segment == nullptr)) {
        return {};
    }
    nitf_ImageSubheader* subheader = segment->subheader;
    error = {};
    nitf_BandInfo** infos = detail_writer::makeBandInfos(bands, &error);
    if (infos == nullptr) {
        return {};
    }
    if (!nitf_ImageSubheader_setPixelInformation(subheader,
                                                 detail_writer::pixelValueType(pixelType), bits,
                                                 bits, "R", "", "", bands, infos, &error)) {
        for (unsigned band = 0; band < bands; ++band) {
            nitf_BandInfo_destruct(&infos[band]);
        }
        std::free(static_cast<void*>(infos));
        return {};
    }
    if (!nitf_ImageSubheader_setBlocking(subheader, rows, columns, std::min(rows, blockRows),
                                         std::min(columns, blockColumns), "S", &error)) {
        return {};
    }

    // The pixels come from sources as they are: nothing compresses them.
    detail_writer::setText(subheader->imageCompression, "NC");

    nitf_FileHeader* header = record->header;
    detail_writer::setText(header->fileTitle, name);
    detail_writer::setText(header->originatorName, ToString(lumo_system::get_user_name()));
    detail_writer::setText(header->originatorPhone, "None");
    detail_writer::setText(header->originStationID, ToString(lumo_system::get_computer_name()));

    detail_writer::setText(subheader->imageId,
                           fmt::format("RasEx{}", detail_writer::buildNumber()));
    detail_writer::setText(subheader->imageTitle,
                           name.size() > 4 ? name.substr(0, name.size() - 4) : name);
    detail_writer::setText(subheader->imageSource, detail_writer::appName());

    try {
        options.mode = ImageOptions::write_mode;
        error = {};
        options.segment = static_cast<int32_t>(nitf_Record_getNumImages(record, &error)) - 1;
        return std::make_shared<NITFImage>(shared_from_this(), options, messages);
    } catch (const std::exception&) {
        return {};
    }
}

namespace detail_writer {

// The output counts a write that put some of its bytes as done, so a full disk shows only
// here: the file on disk ends before the end the writer reached.
bool outputIsWhole(nitf_IOInterface* io, NITFMessages& messages) {
    nrt_Error error{};
    const nrt_Off reached = nitf_IOInterface_tell(io, &error);
    const nrt_Off stored = nitf_IOInterface_getSize(io, &error);
    if (stored >= reached) {
        return true;
    }
    const std::string text =
        fmt::format("the output holds {} of its {} bytes (is the disk full?)", stored, reached);
    nrt_Error_init(&error, text.c_str(), NRT_CTXT, NRT_ERR_WRITING_TO_FILE);
    checkNitroError(error, messages, {"Write"}, true);
    return false;
}

}  // namespace detail_writer

bool NITFFile::write(const std::string_view& path, NITFMessages& messages) {
    nitf_Record* record = d_->getRecord();
    const auto& sources = d_->getSources();
    nrt_Error error{};
    const uint32_t images = record == nullptr ? 0 : nitf_Record_getNumImages(record, &error);
    const uint32_t extensions =
        record == nullptr ? 0 : nitf_Record_getNumDataExtensions(record, &error);
    if (!detail_writer::sourcesFitTheirBands(record, images, sources, messages)) {
        return false;
    }

    detail_writer::WriteObjects objects;
    error = {};
    objects.io = NitroGdalIOInterface::Create(NITFURI(path), NRT_ACCESS_READWRITE, &error);
    if (checkNitroError(error, messages, {"IO"}, objects.io == nullptr)) {
        return false;
    }
    error = {};
    objects.writer = nitf_Writer_construct(&error);
    if (checkNitroError(error, messages, {"Writer"}, objects.writer == nullptr)) {
        return false;
    }
    error = {};
    const bool prepared = nitf_Writer_prepareIO(objects.writer, record, objects.io, &error);
    if (checkNitroError(error, messages, {"Prepare"}, !prepared)) {
        return false;
    }
    for (uint32_t index = 0; index < images; ++index) {
        if (!detail_writer::attachImageSources(objects, record, index, sources, messages)) {
            return false;
        }
    }
    for (uint32_t index = 0; index < extensions; ++index) {
        if (!detail_writer::attachExtensionSource(objects, record, index, sources, messages)) {
            return false;
        }
    }
    error = {};
    const bool written = nitf_Writer_write(objects.writer, &error);
    return !checkNitroError(error, messages, {"Write"}, !written) &&
           detail_writer::outputIsWhole(objects.io, messages);
}

}  // namespace Tessel
