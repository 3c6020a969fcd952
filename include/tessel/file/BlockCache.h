#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// Whole segment bodies of one file, kept in memory by key until the file closes. Queries
// on one file may run on several threads at once, so the map has a lock of its own; entries
// are never removed, so a reference to one stays valid as long as the cache.

#include <map>
#include <mutex>
#include <string>

namespace Tessel {

class BlockCache {
public:
    bool hasBlock(const std::string& key) const;
    // Keeps an existing entry: the data of a second add is dropped.
    void addBlock(const std::string& key, const std::string& data);
    // Replaces an entry: a segment body given by a write.
    void setBlock(const std::string& key, const std::string& data);
    // Throws std::logic_error when the key isn't there.
    const std::string& getBlock(const std::string& key) const;

private:
    mutable std::mutex mutex_;
    std::map<std::string, std::string, std::less<>> blocks_;
};

}  // namespace Tessel

TESSEL_PUBLIC_END
