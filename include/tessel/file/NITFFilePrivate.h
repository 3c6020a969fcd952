#pragma once
// The state of one open file: the NITRO objects it owns, the segment bodies read so far, and
// the lock that guards the record of a file made for writing.

#include <mutex>

#include "tessel/core/NITFURI.h"
#include "tessel/file/BlockCache.h"
#include "tessel/paths/PathContext.h"
#include "tessel/platform/nitf/nitf_ImageIO.h"
#include "tessel/platform/nitf/nrt_IOInterface.h"

namespace Tessel {

class NITFFile;

class NITFFilePrivate : public PathContext {
public:
    NITFFilePrivate(NITFFile* owner, const NITFURI& uri);
    // Destroys the image reader, the record, the reader and the input, in this order.
    ~NITFFilePrivate() override;

    nitf_Record*& getRecord() override;
    nitf_Reader*& getReader() override;
    BlockCache& getBlockCache() override;
    // Image segments are not served by the file model yet: every index yields nothing.
    std::shared_ptr<NITFImage> getImage(int index, NITFMessages& messages) override;

    NITFFile* getOwner() const { return owner_; }
    const NITFURI& getURI() const { return uri_; }
    nrt_IOInterface*& getIO() { return io_; }
    nitf_ImageReader*& getImageReader() { return imageReader_; }

    // An opened file is read only: its record never changes, so readers take no lock.
    bool isReadOnly() const { return readOnly_; }
    void setReadOnly(bool readOnly) { readOnly_ = readOnly; }

    // Holds the record lock for a file that may change, and nothing for a read-only one.
    std::unique_lock<std::recursive_mutex> lockRecord() const;

private:
    NITFFile* owner_;
    NITFURI uri_;
    nrt_IOInterface* io_ = nullptr;
    nitf_Reader* reader_ = nullptr;
    nitf_Record* record_ = nullptr;
    nitf_ImageReader* imageReader_ = nullptr;
    BlockCache blockCache_;
    bool readOnly_ = true;
    mutable std::recursive_mutex recordMutex_;
};

}  // namespace Tessel
