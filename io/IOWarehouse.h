#pragma once
// The table of cached blocks behind IOPool: blocks of every source by key, most recently
// used first, bounded by a count, and the counters of the metrics. Its lock is held for
// table work only, never while a block is read.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "tessel/io/IOBlock.h"
#include "tessel/io/IOPool.h"

namespace Tessel {

class IOWarehouse {
public:
    // Capacity in blocks (less than 0 counts as 0) and block size in bytes (less than 1
    // takes the default). Logs both.
    IOWarehouse(int capacity, int blockSize);
    IOWarehouse(const IOWarehouse&) = delete;
    IOWarehouse& operator=(const IOWarehouse&) = delete;

    // The process-wide table, made from the options at the first use.
    static std::shared_ptr<IOWarehouse> process();
    // The table that serves new sources: the process-wide one unless a pool made with
    // explicit settings has put its own in place.
    static std::shared_ptr<IOWarehouse> current();
    // Puts `warehouse` in place of the process-wide table; null goes back to it.
    static void serve(std::shared_ptr<IOWarehouse> warehouse);

    size_t blockSize() const { return blockSize_.load(); }
    void blockSize(size_t size);
    size_t capacity() const { return capacity_; }

    // The block of the source with this key and index, made with IOBlock(index,
    // blockSize * index, blockSize) when the table has none. May evict the least recently
    // used block.
    std::shared_ptr<IOBlock> findOrCreate(const std::wstring& sourceKey, uint64_t index,
                                          uint64_t blockSize);

    // See IOPool::Clear.
    void clear(std::wstring_view uri);
    IOPool::Metrics metrics() const;

    // A block read begins: one more read, and the block's size in bytes.
    void countRead(uint64_t size) {
        reads_.fetch_add(1);
        bytes_.fetch_add(size);
    }
    void addReadTime(uint64_t nanoseconds) { time_.fetch_add(nanoseconds); }

private:
    using entry = std::pair<std::wstring, std::shared_ptr<IOBlock>>;
    using entry_list = std::list<entry>;

    static std::wstring blockKey(const std::wstring& sourceKey, uint64_t index);

    mutable std::mutex lock_;
    size_t capacity_ = 0;
    uint64_t hits_ = 0;
    uint64_t misses_ = 0;
    entry_list list_;  // most recently used first
    std::map<std::wstring, entry_list::iterator, std::less<>> map_;
    std::atomic<size_t> blockSize_{0};
    std::atomic<uint64_t> reads_{0};
    std::atomic<uint64_t> bytes_{0};
    std::atomic<uint64_t> time_{0};
    uint64_t created_ = 0;
};

}  // namespace Tessel
