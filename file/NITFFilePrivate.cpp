#include "tessel/file/NITFFilePrivate.h"

namespace Tessel {

NITFFilePrivate::NITFFilePrivate(NITFFile* owner, const NITFURI& uri) : owner_(owner), uri_(uri) {}

NITFFilePrivate::~NITFFilePrivate() {
    nitf_ImageReader_destruct(&imageReader_);
    nitf_Record_destruct(&record_);
    nitf_Reader_destruct(&reader_);
    nrt_IOInterface_destruct(&io_);
}

nitf_Record*& NITFFilePrivate::getRecord() {
    return record_;
}

nitf_Reader*& NITFFilePrivate::getReader() {
    return reader_;
}

BlockCache& NITFFilePrivate::getBlockCache() {
    return blockCache_;
}

std::unique_lock<std::recursive_mutex> NITFFilePrivate::lockRecord() const {
    if (readOnly_) {
        return {};
    }
    return std::unique_lock(recordMutex_);
}

std::shared_ptr<NITFImage> NITFFilePrivate::getImage(int /*index*/, NITFMessages& /*messages*/) {
    return {};
}

}  // namespace Tessel
