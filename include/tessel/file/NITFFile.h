#pragma once
// One open NITF file: a NITRO record parsed from a block-cached input. A file is always
// held by a shared pointer: contexts share it, and the warehouse keeps it warm for a moment
// after the last context has gone.

#include <cstddef>
#include <memory>

#include "tessel/core/NITFMessages.h"
#include "tessel/core/NITFType.h"
#include "tessel/core/NITFURI.h"
#include "tessel/file/NITFFilePrivate.h"
#include "tessel/image/ImageOptions.h"

namespace Tessel {

class NITFFile : public std::enable_shared_from_this<NITFFile> {
public:
    // Opens and parses the file; throws std::runtime_error with the first message of
    // `messages` when a step fails, or with "NITF/NUMX != 000" for a NITF 2.10 file whose
    // reserved NUMX field isn't 0.
    NITFFile(const NITFURI& uri, NITFMessages& messages);
    // A new, empty NITF 2.10 record to be written.
    NITFFile();
    virtual ~NITFFile();

    NITFFile(const NITFFile&) = delete;
    NITFFile& operator=(const NITFFile&) = delete;

    // 120 for NITF 2.00, 121 for NITF 2.10 and NSIF 1.00, 0 for anything else or no record.
    NITFType getNITFVersion() const;
    // The number of image segments, 0 with no record.
    size_t getNumberImages() const;
    // The image of options.segment at options.level, made once and cached by the file.
    // Nothing for a file that isn't read only; a failed construction throws. Throws
    // std::bad_weak_ptr when the file isn't held by a shared pointer.
    std::shared_ptr<NITFImage> getImage(const ImageOptions& options);

    std::unique_ptr<NITFFilePrivate>& getPrivate();

private:
    std::unique_ptr<NITFFilePrivate> d_;
};

}  // namespace Tessel
