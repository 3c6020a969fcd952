#include "tessel/core/RecycledBuffers.h"

#include <cstdlib>
#include <map>
#include <mutex>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#define TESSEL_POISON(buffer, size) ASAN_POISON_MEMORY_REGION(buffer, size)
#define TESSEL_UNPOISON(buffer, size) ASAN_UNPOISON_MEMORY_REGION(buffer, size)
#else
#define TESSEL_POISON(buffer, size) static_cast<void>(0)
#define TESSEL_UNPOISON(buffer, size) static_cast<void>(0)
#endif

namespace Tessel::RecycledBuffers {

namespace {

size_t roundedSize(size_t size) {
    // aligned_alloc wants a multiple of the alignment, and never a size of zero.
    if (size == 0) {
        return alignment;
    }
    if (size > SIZE_MAX - alignment) {
        throw std::bad_alloc();
    }
    return (size + alignment - 1) / alignment * alignment;
}

class Store {
public:
    static Store& get() {
        // Leaked on purpose: buffers may be handed back by objects destroyed at exit.
        static Store* const store = new Store();
        return *store;
    }

    uint8_t* take(size_t rounded) {
        std::lock_guard lock(mutex_);
        auto found = waiting_.find(rounded);
        if (found == waiting_.end() || found->second.empty()) {
            return nullptr;
        }
        uint8_t* buffer = found->second.back();
        found->second.pop_back();
        retained_ -= rounded;
        TESSEL_UNPOISON(buffer, rounded);
        return buffer;
    }

    // False when the buffer doesn't fit under the limit; the caller frees it then.
    bool keep(uint8_t* buffer, size_t rounded) noexcept {
        std::lock_guard lock(mutex_);
        if (retained_ + rounded > retained_limit) {
            return false;
        }
        try {
            waiting_[rounded].push_back(buffer);
        } catch (...) {
            return false;
        }
        retained_ += rounded;
        // A waiting buffer is as good as freed: any use of it is a use after free.
        TESSEL_POISON(buffer, rounded);
        return true;
    }

    void release() noexcept {
        std::map<size_t, std::vector<uint8_t*>> waiting;
        {
            std::lock_guard lock(mutex_);
            waiting.swap(waiting_);
            retained_ = 0;
        }
        for (auto& [size, buffers] : waiting) {
            for (uint8_t* buffer : buffers) {
                TESSEL_UNPOISON(buffer, size);
                std::free(buffer);
            }
        }
    }

    size_t retained() noexcept {
        std::lock_guard lock(mutex_);
        return retained_;
    }

private:
    std::mutex mutex_;
    std::map<size_t, std::vector<uint8_t*>> waiting_;
    size_t retained_ = 0;
};

}  // namespace

uint8_t* take(size_t size) {
    const size_t rounded = roundedSize(size);
    if (rounded >= smallest_recycled) {
        if (uint8_t* buffer = Store::get().take(rounded)) {
            return buffer;
        }
    }
    void* memory = std::aligned_alloc(alignment, rounded);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return static_cast<uint8_t*>(memory);
}

void give(uint8_t* buffer, size_t size) noexcept {
    if (buffer == nullptr) {
        return;
    }
    const size_t rounded = size > SIZE_MAX - alignment ? 0 : roundedSize(size);
    if (rounded < smallest_recycled || !Store::get().keep(buffer, rounded)) {
        std::free(buffer);
    }
}

void release() noexcept {
    Store::get().release();
}

size_t retainedBytes() noexcept {
    return Store::get().retained();
}

}  // namespace Tessel::RecycledBuffers
