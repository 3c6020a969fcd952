#include "io/IOWarehouse.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "tessel/core/Options.h"
#include "tessel/platform/base/nitf_log.h"

namespace Tessel {

namespace {

constexpr size_t kDefaultBlockSize = 1048576;
constexpr uint64_t kIndexTexts = 10000;

// The decimal texts of the common block indices, made once, so that a lookup of a low
// block formats nothing.
const std::vector<std::wstring>& indexTexts() {
    static const std::vector<std::wstring> texts = [] {
        std::vector<std::wstring> made;
        made.reserve(kIndexTexts);
        for (uint64_t i = 0; i < kIndexTexts; ++i) {
            made.push_back(std::to_wstring(i));
        }
        return made;
    }();
    return texts;
}

std::mutex s_servingLock;
std::atomic<bool> s_replaced{false};
std::shared_ptr<IOWarehouse> s_serving;  // under s_servingLock

}  // namespace

IOWarehouse::IOWarehouse(int capacity, int blockSize)
    : capacity_(capacity < 0 ? 0 : static_cast<size_t>(capacity)),
      blockSize_(blockSize < 1 ? kDefaultBlockSize : static_cast<size_t>(blockSize)) {
    if (nitf_log::is_enabled(nitf_log::info)) {
        nitf_log::write_logln(
            nitf_log::info,
            fmt::format("IO Pool Block Cache Size (lumo.iopool.block_cache): {} blocks",
                        capacity_));
        nitf_log::write_logln(nitf_log::info,
                              fmt::format("IO Pool Block Size: (lumo.iopool.block_size) {} bytes",
                                          blockSize_.load()));
    }
}

std::shared_ptr<IOWarehouse> IOWarehouse::process() {
    static const std::shared_ptr<IOWarehouse> warehouse = std::make_shared<IOWarehouse>(
        s_opt_lumo_iopool_block_cache(), s_opt_lumo_iopool_block_size());
    return warehouse;
}

std::shared_ptr<IOWarehouse> IOWarehouse::current() {
    if (s_replaced.load(std::memory_order_acquire)) {
        std::lock_guard lock(s_servingLock);
        if (s_serving) {
            return s_serving;
        }
    }
    return process();
}

void IOWarehouse::serve(std::shared_ptr<IOWarehouse> warehouse) {
    std::shared_ptr<IOWarehouse> previous;  // let go outside the lock
    std::lock_guard lock(s_servingLock);
    s_replaced.store(warehouse != nullptr, std::memory_order_release);
    previous = std::exchange(s_serving, std::move(warehouse));
}

void IOWarehouse::blockSize(size_t size) {
    if (size > 0) {
        blockSize_.store(size);
    }
}

std::wstring IOWarehouse::blockKey(const std::wstring& sourceKey, uint64_t index) {
    std::wstring key;
    if (index < kIndexTexts) {
        const std::wstring& digits = indexTexts()[index];
        key.reserve(sourceKey.size() + digits.size());
        key.append(sourceKey).append(digits);
    } else {
        key.append(sourceKey).append(std::to_wstring(index));
    }
    return key;
}

std::shared_ptr<IOBlock> IOWarehouse::findOrCreate(const std::wstring& sourceKey, uint64_t index,
                                                   uint64_t blockSize) {
    std::wstring key = blockKey(sourceKey, index);
    std::shared_ptr<IOBlock> evicted;  // destroyed after the lock is released
    std::lock_guard lock(lock_);
    if (const auto found = map_.find(key); found != map_.end()) {
        list_.splice(list_.begin(), list_, found->second);
        ++hits_;
        return found->second->second;
    }
    ++misses_;
    auto block = std::make_shared<IOBlock>(index, blockSize * index, blockSize);
    list_.emplace_front(key, block);
    map_.emplace(std::move(key), list_.begin());
    ++created_;
    if (map_.size() > capacity_) {
        map_.erase(list_.back().first);
        evicted = std::move(list_.back().second);
        list_.pop_back();
    }
    return block;
}

void IOWarehouse::clear(std::wstring_view uri) {
    entry_list gone;  // blocks are released after the lock
    std::lock_guard lock(lock_);
    if (uri.empty()) {
        map_.clear();
        gone.swap(list_);
        reads_.store(0);
        bytes_.store(0);
        return;
    }
    std::wstring text(uri);
    std::replace(text.begin(), text.end(), L'\\', L'/');
    for (auto it = list_.begin(); it != list_.end();) {
        const std::wstring& key = it->first;
        const auto next = std::next(it);
        // A key is the file's key and the block's index: only one-digit indices match.
        if (!key.empty() && std::wstring_view(key).substr(0, key.size() - 1) == text) {
            map_.erase(key);
            gone.splice(gone.end(), list_, it);
        }
        it = next;
    }
}

IOPool::Metrics IOWarehouse::metrics() const {
    IOPool::Metrics metrics;
    {
        std::lock_guard lock(lock_);
        for (const auto& [key, block] : list_) {
            ++metrics.cachedBlocks;
            // Data of a block being read isn't looked at: its size isn't settled yet.
            if (block->done.load()) {
                metrics.cachedBytes += block->data.size();
            }
        }
        metrics.createdBlocks = created_;
    }
    metrics.reads = reads_.load();
    metrics.bytes = bytes_.load();
    metrics.readTime = time_.load();
    return metrics;
}

}  // namespace Tessel
