#include <boost/format.hpp>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "tessel/csm/NitfIsd.h"
#include "tessel/platform/nitf.h"
#include "tessel/sensors/CsmIsdFactory.h"

namespace NitroUtils {

namespace detail_nitro_isd {

// A NITRO failure carries the step that failed.
struct NitroFailure {
    std::string text;
};

[[noreturn]] void throwNitro(const nitf_Error& error, const char* context) {
    const std::string message(error.message);
    if (message.empty()) {
        throw NitroFailure{(boost::format("%1%: Generic Error") % context).str()};
    }
    throw NitroFailure{(boost::format("%1%: %2%") % context % message).str()};
}

struct IoCloser {
    void operator()(nitf_IOInterface* io) const { nitf_IOInterface_destruct(&io); }
};
struct ReaderCloser {
    void operator()(nitf_Reader* reader) const { nitf_Reader_destruct(&reader); }
};
struct RecordCloser {
    void operator()(nitf_Record* record) const { nitf_Record_destruct(&record); }
};
struct SegmentReaderCloser {
    void operator()(nitf_SegmentReader* reader) const { nitf_SegmentReader_destruct(&reader); }
};

std::string fieldText(const nitf_Field* field) {
    if (field == nullptr || field->raw == nullptr) {
        return {};
    }
    return std::string(field->raw, field->length);
}

uint64_t fieldNumber(const nitf_Field* field) {
    return std::strtoull(fieldText(field).c_str(), nullptr, 10);
}

std::string trimmed(std::string text) {
    while (!text.empty() && (text.back() == ' ' || text.back() == '\0')) {
        text.pop_back();
    }
    return text;
}

// The bytes [offset, offset + length) of the file.
std::string readBytes(nitf_IOInterface* io, uint64_t offset, uint64_t length) {
    nitf_Error error{};
    std::string bytes(length, '\0');
    if (length == 0) {
        return bytes;
    }
    if (nitf_IOInterface_seek(io, static_cast<nitf_Off>(offset), NRT_SEEK_SET, &error) < 0 ||
        !nitf_IOInterface_read(io, bytes.data(), length, &error)) {
        throwNitro(error, "nitf_IOInterface_read");
    }
    return bytes;
}

// A TRE as the file stores it: tag, five-digit length, then its bytes.
csm::Tre treOf(nitf_TRE* tre) {
    const nitf_Field* raw = nitf_TRE_getField(tre, NITF_TRE_RAW);
    const std::string data = fieldText(raw);
    const std::string header = (boost::format("%-6s%05d") % tre->tag % data.size()).str();
    return csm::Tre(header + data);
}

void collectTres(nitf_Extensions* section, std::vector<csm::Tre>& out) {
    if (section == nullptr) {
        return;
    }
    nitf_ExtensionsIterator it = nitf_Extensions_begin(section);
    nitf_ExtensionsIterator end = nitf_Extensions_end(section);
    for (; nitf_ExtensionsIterator_notEqualTo(&it, &end); nitf_ExtensionsIterator_increment(&it)) {
        out.push_back(treOf(nitf_ExtensionsIterator_get(&it)));
    }
}

template <typename T>
std::vector<T*> listItems(nitf_List* list) {
    std::vector<T*> items;
    if (list == nullptr) {
        return items;
    }
    nitf_Error error{};
    const uint32_t count = nitf_List_size(list);
    for (uint32_t i = 0; i < count; ++i) {
        items.push_back(static_cast<T*>(nrt_List_get(list, static_cast<int>(i), &error)));
    }
    return items;
}

// TREs of a section that overflowed into a data extension segment: its overflow type names
// the section ("UDHD", "XHD", "UDID", "IXSHD") and its item the segment (0 for the header).
void collectOverflowTres(nitf_Record* record, const std::string& type, uint64_t item,
                         std::vector<csm::Tre>& out) {
    for (nitf_DESegment* des : listItems<nitf_DESegment>(record->dataExtensions)) {
        const nitf_DESubheader* sh = des->subheader;
        if (sh == nullptr || trimmed(fieldText(sh->overflowedHeaderType)) != type ||
            fieldNumber(sh->dataItemOverflowed) != item) {
            continue;
        }
        collectTres(sh->userDefinedSection, out);
    }
}

class IsdBuilder {
public:
    IsdBuilder(nitf_Record* record, nitf_Reader* reader, nitf_IOInterface* io)
        : record_(record), reader_(reader), io_(io) {}

    void fill(csm::NitfIsd& isd) {
        nitf_FileHeader* header = record_->header;
        isd.setFileHeader(readBytes(io_, 0, fieldNumber(header->headerLength)));
        std::vector<csm::Tre> fileTres;
        collectTres(header->userDefinedSection, fileTres);
        collectOverflowTres(record_, "UDHD", 0, fileTres);
        collectTres(header->extendedSection, fileTres);
        collectOverflowTres(record_, "XHD", 0, fileTres);
        isd.setFileTres(fileTres);
        isd.setImages(images());
        addDataExtensions(isd);
    }

private:
    std::vector<csm::Image> images() {
        std::vector<csm::Image> out;
        nitf_Error error{};
        const uint32_t count = nitf_Record_getNumImages(record_, &error);
        const auto segments = listItems<nitf_ImageSegment>(record_->images);
        for (uint32_t i = 0; i < count && i < segments.size(); ++i) {
            const nitf_ImageSegment* segment = segments[i];
            const uint64_t length = fieldNumber(record_->header->imageInfo[i]->lengthSubheader);
            const uint64_t start =
                segment->imageOffset >= length ? segment->imageOffset - length : 0;
            std::vector<csm::Tre> tres;
            collectTres(segment->subheader->userDefinedSection, tres);
            collectOverflowTres(record_, "UDID", i + 1, tres);
            collectTres(segment->subheader->extendedSection, tres);
            collectOverflowTres(record_, "IXSHD", i + 1, tres);
            out.emplace_back(readBytes(io_, start, segment->imageOffset - start), tres);
        }
        return out;
    }

    void addDataExtensions(csm::NitfIsd& isd) {
        const auto segments = listItems<nitf_DESegment>(record_->dataExtensions);
        for (size_t i = 0; i < segments.size(); ++i) {
            const nitf_DESegment* segment = segments[i];
            const uint64_t length =
                fieldNumber(record_->header->dataExtensionInfo[i]->lengthSubheader);
            const uint64_t start = segment->offset >= length ? segment->offset - length : 0;
            const std::string subheader = readBytes(io_, start, segment->offset - start);
            nitf_Error error{};
            const std::unique_ptr<nitf_SegmentReader, SegmentReaderCloser> data(
                nitf_Reader_newDEReader(reader_, static_cast<int>(i), &error));
            if (!data) {
                throwNitro(error, "nitf_Reader_newDEReader");
            }
            const nitf_Off size = nitf_SegmentReader_getSize(data.get(), &error);
            if (size < 0) {
                throwNitro(error, "nitf_SegmentReader_getSize");
            }
            std::string bytes(static_cast<size_t>(size), '\0');
            if (size > 0 &&
                !nitf_SegmentReader_read(data.get(), bytes.data(), bytes.size(), &error)) {
                throwNitro(error, "nitf_SegmentReader_read");
            }
            isd.addFileDes(csm::Des(subheader, bytes));
        }
    }

    nitf_Record* record_;
    nitf_Reader* reader_;
    nitf_IOInterface* io_;
};

}  // namespace detail_nitro_isd

namespace nisd = detail_nitro_isd;

std::unique_ptr<csm::Isd> NitroISD::create(const std::string& path,
                                           std::vector<std::string>& errors) {
    try {
        nitf_Error error{};
        const std::unique_ptr<nitf_IOInterface, nisd::IoCloser> io(nitf_IOHandleAdapter_open(
            path.c_str(), NRT_ACCESS_READONLY, NRT_OPEN_EXISTING, &error));
        if (!io) {
            nisd::throwNitro(error, "nitf_IOHandleAdapter_open");
        }
        const std::unique_ptr<nitf_Reader, nisd::ReaderCloser> reader(
            nitf_Reader_construct(&error));
        if (!reader) {
            nisd::throwNitro(error, "nitf_Reader_construct");
        }
        const std::unique_ptr<nitf_Record, nisd::RecordCloser> record(
            nitf_Reader_readIO(reader.get(), io.get(), &error));
        if (!record) {
            nisd::throwNitro(error, "nitf_Reader_readIO");
        }
        std::unique_ptr<csm::NitfIsd> isd;
        switch (nitf_Record_getVersion(record.get())) {
            case NITF_VER_21:
                isd = std::make_unique<csm::Nitf21Isd>(path);
                break;
            case NITF_VER_20:
                isd = std::make_unique<csm::Nitf20Isd>(path);
                break;
            default:
                errors.emplace_back("File is not a supported version of NITF");
                return nullptr;
        }
        nisd::IsdBuilder(record.get(), reader.get(), io.get()).fill(*isd);
        return isd;
    } catch (const nisd::NitroFailure& failure) {
        errors.push_back(failure.text);
        return nullptr;
    }
}

}  // namespace NitroUtils
