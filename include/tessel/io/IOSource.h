#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// A readable thing named by a URI, read in blocks of a size fixed when the source is made.
// Blocks live in the pool's table, keyed by the source's key and the block's index, so
// every source over one file shares them.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "tessel/core/NITFMessages.h"
#include "tessel/core/NITFURI.h"
#include "tessel/io/IOBlock.h"
#include "tessel/io/IORequest.h"
#include "tessel/platform/base/lumo_concurrency.h"

namespace Tessel {

class IOWarehouse;

class IOSource {
public:
    virtual ~IOSource();
    IOSource(const IOSource&) = delete;
    IOSource& operator=(const IOSource&) = delete;

    // A source over the file layer. Touches no file: a missing file shows at the first
    // read. Empty when the construction fails.
    static std::shared_ptr<IOSource> Create(const NITFURI& uri);

    // Lays a read of `size` bytes from `offset` over the blocks, finding or creating each
    // in the table. Finished blocks deliver into `destination` at once (when it isn't
    // null); the others become the request's segments.
    std::shared_ptr<IORequest> CreateRequest(size_t offset, size_t size,
                                             uint8_t* destination) const;

    // Reads the block once, whichever threads want it: a finished block answers at once,
    // otherwise its lock is taken through `context` and the block is filled. The result is
    // the block's ok flag; failures append their text to `messages`.
    bool Read(IOBlock& block, NITFMessages& messages,
              lumo_concurrency::execution_context& context) const;

    const NITFURI& uri() const { return uri_; }
    // The URI's cache key: profile and object play no part.
    const std::wstring& key() const { return key_; }
    size_t blockSize() const { return blockSize_; }

protected:
    // Takes the block size of the pool's table, which serves this source from then on.
    explicit IOSource(const NITFURI& uri);

    // Fills `block` from the source; true when bytes were read.
    virtual bool read(IOBlock& block, NITFMessages& messages) const = 0;

private:
    NITFURI uri_;
    std::wstring key_;
    size_t blockSize_ = 0;
    std::shared_ptr<IOWarehouse> warehouse_;
};

}  // namespace Tessel

TESSEL_PUBLIC_END
