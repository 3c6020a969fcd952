#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// One read of arbitrary offset and size, laid over the blocks of a source.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "tessel/io/IOBlock.h"

namespace Tessel {

struct IORequest {
    // The part of the request that one unfinished block delivers.
    struct Segment {
        uint64_t destinationOffset = 0;  // where the bytes go in the destination
        uint64_t length = 0;             // how many bytes
        uint64_t blockOffset = 0;        // where they start inside the block
        std::shared_ptr<IOBlock> block;
    };

    IORequest(uint64_t firstByte, uint64_t byteCount, uint8_t* buffer)
        : offset(firstByte), size(byteCount), destination(buffer) {}
    IORequest(const IORequest&) = delete;
    IORequest& operator=(const IORequest&) = delete;

    uint64_t offset = 0;  // first byte wanted
    uint64_t size = 0;    // number of bytes wanted
    // Bytes still to come from blocks that were not finished when the request was made.
    std::atomic<uint64_t> pending{0};
    uint8_t* destination = nullptr;  // the caller's buffer, or null to fetch ahead only
    std::vector<Segment> segments;   // one for each block that was not finished
};

}  // namespace Tessel

TESSEL_PUBLIC_END
