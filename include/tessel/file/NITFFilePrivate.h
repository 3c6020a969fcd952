#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// The state of one open file: the NITRO objects it owns, the segment bodies read so far, the
// images made of it, and the lock that guards the record of a file made for writing.

#include <map>
#include <memory>
#include <mutex>
#include <utility>

#include "tessel/core/NITFURI.h"
#include "tessel/file/BlockCache.h"
#include "tessel/file/NITFSegmentSource.h"
#include "tessel/image/ImageOptions.h"
#include "tessel/paths/PathContext.h"
#include "tessel/platform/nitf/nitf_ImageIO.h"
#include "tessel/platform/nitf/nrt_IOInterface.h"

namespace Tessel {

class NITFFile;

class NITFFilePrivate : public PathContext {
public:
    NITFFilePrivate(NITFFile* owner, const NITFURI& uri);
    // Drops the images and the sources, then destroys the image reader, the record, the reader and
    // the input, in this order.
    ~NITFFilePrivate() override;

    nitf_Record*& getRecord() override;
    nitf_Reader*& getReader() override;
    BlockCache& getBlockCache() override;
    // The full-resolution image of segment `index`, or nothing with the reason in the sink.
    std::shared_ptr<NITFImage> getImage(int index, NITFMessages& messages) override;
    // The cached image for `options`, made on a miss without any lock held; when two threads
    // make one at once, the first to finish is cached and the other's is still returned.
    // Nothing for a file that isn't read only. Exceptions of the construction go through.
    std::shared_ptr<NITFImage> getImage(const std::shared_ptr<NITFFile>& file,
                                        const ImageOptions& options, NITFMessages& messages);

    // What a new file's segments are written from, by (type, index).
    using SourceKey = std::pair<NITFSegmentType, size_t>;
    using SourceMap = std::map<SourceKey, std::shared_ptr<NITFSegmentSource>>;
    SourceMap& getSources() { return sources_; }

    NITFFile* getOwner() const { return owner_; }
    const NITFURI& getURI() const { return uri_; }
    nrt_IOInterface*& getIO() { return io_; }
    nitf_ImageReader*& getImageReader() { return imageReader_; }

    // An opened file is read only: its record never changes, so readers take no lock.
    bool isReadOnly() const { return readOnly_; }
    void setReadOnly(bool readOnly) { readOnly_ = readOnly; }

    // Holds the record lock for a file that may change, and nothing for a read-only one.
    std::unique_lock<std::recursive_mutex> lockRecord() const;
    // Serialises a seek and the reads that follow on the file's NITRO input, whose position
    // all its users share, and the byte views that defined TREs build on request.
    std::unique_lock<std::mutex> lockIO() const { return std::unique_lock(ioMutex_); }

private:
    NITFFile* owner_;
    NITFURI uri_;
    nrt_IOInterface* io_ = nullptr;
    nitf_Reader* reader_ = nullptr;
    nitf_Record* record_ = nullptr;
    nitf_ImageReader* imageReader_ = nullptr;
    BlockCache blockCache_;
    SourceMap sources_;
    std::map<ImageOptions, std::shared_ptr<NITFImage>> images_;
    bool readOnly_ = true;
    mutable std::recursive_mutex recordMutex_;
    std::mutex imageMutex_;
    mutable std::mutex ioMutex_;
};

}  // namespace Tessel

TESSEL_PUBLIC_END
