#include "tessel/file/NITFFileContext.h"

#include <stdexcept>
#include <utility>

#include "file/NITFWarehouse.h"
#include "tessel/file/NITFFile.h"

namespace Tessel {

NITFFileContext::NITFFileContext(const NITFURI& uri) : uri_(uri) {}

NITFFileContext::NITFFileContext(const NITFURI& uri, std::shared_ptr<NITFFile> file)
    : uri_(uri), file_(std::move(file)) {}

NITFFileContext::NITFFileContext(NITFFileContext&& other) noexcept
    : uri_(std::move(other.uri_)), file_(std::move(other.file_)) {}

NITFFileContext& NITFFileContext::operator=(NITFFileContext&& other) noexcept {
    std::swap(uri_, other.uri_);
    std::swap(file_, other.file_);
    return *this;
}

NITFFileContext::~NITFFileContext() {
    try {
        release();
    } catch (...) {
        // A context's end never throws; the file goes with the pointer.
    }
}

NITFFileContext::operator bool() const {
    return file_ != nullptr;
}

NITFType NITFFileContext::getNITFVersion() const {
    return file_ ? file_->getNITFVersion() : NITFType::Unknown;
}

size_t NITFFileContext::getNumberImages() const {
    return file_ ? file_->getNumberImages() : 0;
}

std::shared_ptr<NITFImage> NITFFileContext::getImage(const ImageOptions& options) const {
    if (!file_) {
        return {};
    }
    ImageOptions forFile = options;
    forFile.segment = static_cast<int32_t>(uri_.object_index());
    return file_->getImage(forFile);
}

const NITFURI& NITFFileContext::getURI() const {
    return uri_;
}

NITFFile& NITFFileContext::getFile() const {
    if (!file_) {
        throw std::runtime_error("No File");
    }
    return *file_;
}

void NITFFileContext::release() {
    if (!file_ || file_.use_count() != 1) {
        file_.reset();
        return;
    }
    const NITFFile_Deleter* deleter = std::get_deleter<NITFFile_Deleter>(file_);
    if (deleter == nullptr || deleter->key.empty() || !NITFWarehouse::alive()) {
        file_.reset();  // never cached: the file ends here
        return;
    }
    const std::wstring key = deleter->key;  // the deleter may go with the last reference
    NITFWarehouse::get().file_cache_release(key, file_);
}

}  // namespace Tessel
