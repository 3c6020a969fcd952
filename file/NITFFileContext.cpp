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

namespace Tessel {

// The image number of a path is the object of the URI: "a.ntf#IM_3" reads image 3.
namespace {
int imageOf(const NITFURI& uri) {
    return static_cast<int>(uri.object_index());
}
}  // namespace

std::string NITFFileContext::getISD(const std::string_view& format) const {
    return file_ ? file_->getISD(format) : std::string();
}

any_type::value NITFFileContext::getPath(const std::string_view& path) const {
    return file_ ? file_->getPath(imageOf(uri_), path) : any_type::value();
}

any_type::value NITFFileContext::getPath(const std::string_view& path,
                                         const any_type::value& fallback) const {
    return file_ ? file_->getPath(imageOf(uri_), path, fallback) : fallback;
}

std::string NITFFileContext::getPathString(const std::string_view& path,
                                           const std::string& fallback) const {
    return file_ ? file_->getPathString(imageOf(uri_), path, fallback) : fallback;
}

std::wstring NITFFileContext::getPathWString(const std::wstring_view& path,
                                             const std::wstring& fallback) const {
    return file_ ? file_->getPathString(imageOf(uri_), path, fallback) : fallback;
}

int64_t NITFFileContext::getPathInt(const std::string_view& path, int64_t fallback) const {
    return file_ ? file_->getPathInt(imageOf(uri_), path, fallback) : fallback;
}

double NITFFileContext::getPathDouble(const std::string_view& path, double fallback) const {
    return file_ ? file_->getPathDouble(imageOf(uri_), path, fallback) : fallback;
}

bool NITFFileContext::setPath(const std::string_view& path, const std::string& value,
                              NITFMessages& messages) const {
    return file_ && file_->setPath(imageOf(uri_), path, value, messages);
}

bool NITFFileContext::setISD(const std::string_view& text, NITFMessages& messages) const {
    return file_ && file_->setISD(text, messages);
}

std::shared_ptr<TableReader> NITFFileContext::getTableReader(
    const TableArguments& arguments) const {
    return file_ ? file_->getTableReader(arguments) : nullptr;
}

}  // namespace Tessel
