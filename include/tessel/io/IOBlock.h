#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// One fixed-size block of a source: where it lies, the bytes read, and whether and how its
// single read ended.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

#include "tessel/core/RecycledBuffers.h"

namespace Tessel {

struct IOBlock {
    IOBlock() = default;
    IOBlock(size_t blockIndex, size_t blockOffset, size_t blockSize)
        : index(blockIndex), offset(blockOffset), size(blockSize) {}
    IOBlock(const IOBlock&) = delete;
    IOBlock& operator=(const IOBlock&) = delete;

    uint64_t index = 0;   // block number in its source
    uint64_t offset = 0;  // byte offset in the source: index times the block size
    uint64_t size = 0;    // bytes wanted; 0 reads to the end of the file
    // The bytes actually read. Written only under `lock` before `done` is set; read only
    // after `done` was seen set. Evicted blocks hand their buffers on to new ones.
    std::vector<uint8_t, RecycledBuffers::Allocator<uint8_t>> data;
    std::atomic<bool> done{false};  // a read was finished, with or without success
    std::atomic<bool> ok{false};    // the result of that read
    std::mutex lock;                // held while the block is read
};

}  // namespace Tessel

TESSEL_PUBLIC_END
