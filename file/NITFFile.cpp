#include "tessel/file/NITFFile.h"

#include <cstdint>
#include <stdexcept>
#include <string>

#include "tessel/core/NitroError.h"
#include "tessel/io/NitroGdalIOInterface.h"
#include "tessel/platform/nitf/nitf_Field.h"
#include "tessel/platform/nitf/nitf_Types.h"

namespace Tessel {
namespace {

struct IODeleter {
    void operator()(nrt_IOInterface* io) const { nrt_IOInterface_destruct(&io); }
};
struct ReaderDeleter {
    void operator()(nitf_Reader* reader) const { nitf_Reader_destruct(&reader); }
};
struct RecordDeleter {
    void operator()(nitf_Record* record) const { nitf_Record_destruct(&record); }
};

// Reports a step; a failed one ends the construction with the sink's first message.
void check(const nrt_Error& error, NITFMessages& messages, std::string_view step, bool failed) {
    if (checkNitroError(error, messages, {step}, failed)) {
        throw std::runtime_error(messages.empty() ? std::string(step) : messages.front());
    }
}

int32_t headerCount(nitf_Field* field, NITFMessages& messages, std::string_view step) {
    nrt_Error error{};
    int32_t value = 0;
    nitf_Field_get(field, &value, NITF_CONV_INT, sizeof(value), &error);
    check(error, messages, step, false);
    return value;
}

NITFType toNITFType(nitf_Version version) {
    switch (version) {
        case NITF_VER_20:
            return NITFType::NITF20;
        case NITF_VER_21:
            return NITFType::NITF21;
        default:
            return NITFType::Unknown;
    }
}

}  // namespace

NITFFile::NITFFile(const NITFURI& uri, NITFMessages& messages)
    : d_(std::make_unique<NITFFilePrivate>(this, uri)) {
    nrt_Error error{};
    std::unique_ptr<nrt_IOInterface, IODeleter> io(
        NitroGdalIOInterface::Create(uri, NRT_ACCESS_READONLY, &error));
    check(error, messages, "NITF Open", io == nullptr);

    error = {};
    std::unique_ptr<nitf_Reader, ReaderDeleter> reader(nitf_Reader_construct(&error));
    check(error, messages, "NITF Construct", reader == nullptr);

    error = {};
    std::unique_ptr<nitf_Record, RecordDeleter> record(
        nitf_Reader_readIO(reader.get(), io.get(), &error));
    check(error, messages, "NITF Parse", record == nullptr);

    // NUMI only proves the header readable; NUMX is reserved in NITF 2.10 and must be 0.
    headerCount(record->header->numImages, messages, "NITF Verification/NUMI");
    const int32_t numx = headerCount(record->header->NITF_NUMX, messages, "NITF Verification/NUMX");
    if (nitf_Record_getVersion(record.get()) == NITF_VER_21 && numx != 0) {
        throw std::runtime_error("NITF/NUMX != 000");
    }

    d_->getIO() = io.release();
    d_->getReader() = reader.release();
    d_->getRecord() = record.release();
}

NITFFile::NITFFile() : d_(std::make_unique<NITFFilePrivate>(this, NITFURI())) {
    nrt_Error error{};
    NITFMessages messages;  // nobody reads it: an unusable file shows by its empty record
    nitf_Record* record = nitf_Record_construct(NITF_VER_21, &error);
    if (checkNitroError(error, messages, {"NITF Construct"}, record == nullptr)) {
        nitf_Record_destruct(&record);
        return;
    }
    d_->getRecord() = record;
    d_->setReadOnly(false);
}

NITFFile::~NITFFile() = default;

NITFType NITFFile::getNITFVersion() const {
    const auto lock = d_->lockRecord();
    nitf_Record* record = d_->getRecord();
    return record == nullptr ? NITFType::Unknown : toNITFType(nitf_Record_getVersion(record));
}

size_t NITFFile::getNumberImages() const {
    const auto lock = d_->lockRecord();
    nitf_Record* record = d_->getRecord();
    if (record == nullptr) {
        return 0;
    }
    nrt_Error error{};
    return nitf_Record_getNumImages(record, &error);
}

std::shared_ptr<NITFImage> NITFFile::getImage(const ImageOptions& options) {
    const std::shared_ptr<NITFFile> self = shared_from_this();
    NITFMessages messages;  // the caller learns of a failure by the exception
    return d_->getImage(self, options, messages);
}

std::shared_ptr<TableReader> NITFFile::getTableReader(const TableArguments& arguments) {
    return TableReader::createTableReader(shared_from_this(), arguments);
}

std::unique_ptr<NITFFilePrivate>& NITFFile::getPrivate() {
    return d_;
}

}  // namespace Tessel
