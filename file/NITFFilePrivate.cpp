#include "tessel/file/NITFFilePrivate.h"

#include <fmt/format.h>
#include <exception>

#include "tessel/core/Options.h"
#include "tessel/file/NITFFile.h"
#include "tessel/image/NITFImage.h"
#include "tessel/platform/base/nitf_log.h"

namespace Tessel {
namespace {

void logImageCache(const NITFFile* file, const ImageOptions& options, const NITFImage* image,
                   std::string_view outcome) {
    if (!s_opt_lumo_log_cache_usage() || !nitf_log::is_enabled(nitf_log::info)) {
        return;
    }
    nitf_log::write_logln(
        nitf_log::info,
        fmt::format("[CACHE] NITFFile[{}]::getImage({}, {}) {} = {}", fmt::ptr(file),
                    options.segment, options.level, outcome, fmt::ptr(image)));
}

}  // namespace

NITFFilePrivate::NITFFilePrivate(NITFFile* owner, const NITFURI& uri) : owner_(owner), uri_(uri) {}

NITFFilePrivate::~NITFFilePrivate() {
    images_.clear();  // images hold the file weakly; their factories go before the record
    sources_.clear();
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

std::shared_ptr<NITFImage> NITFFilePrivate::getImage(int index, NITFMessages& messages) {
    try {
        ImageOptions options;
        options.segment = index;
        return getImage(owner_->shared_from_this(), options, messages);
    } catch (const std::exception& e) {
        messages.emplace_back(e.what());
        return {};
    }
}

std::shared_ptr<NITFImage> NITFFilePrivate::getImage(const std::shared_ptr<NITFFile>& file,
                                                     const ImageOptions& options,
                                                     NITFMessages& messages) {
    if (!readOnly_) {
        return {};
    }
    {
        const std::lock_guard lock(imageMutex_);
        const auto found = images_.find(options);
        if (found != images_.end()) {
            logImageCache(file.get(), options, found->second.get(), "HIT");
            return found->second;
        }
    }
    // Construction may take long (a level 0 image opens its overviews): no lock is held.
    auto image = std::make_shared<NITFImage>(file, options, messages);
    {
        const std::lock_guard lock(imageMutex_);
        images_.emplace(options, image);  // an image made meanwhile by another thread stays
    }
    logImageCache(file.get(), options, image.get(), "MISS");
    return image;
}

}  // namespace Tessel
