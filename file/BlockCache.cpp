#include "tessel/file/BlockCache.h"

#include <stdexcept>

namespace Tessel {

bool BlockCache::hasBlock(const std::string& key) const {
    std::lock_guard lock(mutex_);
    return blocks_.find(key) != blocks_.end();
}

void BlockCache::addBlock(const std::string& key, const std::string& data) {
    std::lock_guard lock(mutex_);
    blocks_.emplace(key, data);
}

void BlockCache::setBlock(const std::string& key, const std::string& data) {
    std::lock_guard lock(mutex_);
    blocks_.insert_or_assign(key, data);
}

const std::string& BlockCache::getBlock(const std::string& key) const {
    std::lock_guard lock(mutex_);
    const auto found = blocks_.find(key);
    if (found == blocks_.end()) {
        throw std::logic_error("use hasBlock() first");
    }
    return found->second;
}

}  // namespace Tessel
