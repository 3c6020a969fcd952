#include "tessel/image/Tile.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "tessel/image/TileFactory.h"

namespace Tessel {

Tile::Tile(const tile_id& id) : id_(id) {}

Tile::~Tile() = default;

void Tile::AlignedFree::operator()(uint8_t* p) const {
    std::free(p);
}

uint8_t* Tile::allocateBuffer() {
    if (buffer_) {
        return buffer_.get();
    }
    const uint64_t bytes = id_.factory != nullptr ? id_.factory->getBlockBytes() : 0;
    // aligned_alloc wants a multiple of the alignment, and never a size of zero.
    const uint64_t rounded = std::max<uint64_t>(
        buffer_alignment, (bytes + buffer_alignment - 1) / buffer_alignment * buffer_alignment);
    void* memory = std::aligned_alloc(buffer_alignment, rounded);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    buffer_.reset(static_cast<uint8_t*>(memory));
    return buffer_.get();
}

void Tile::markFailed() {
    uint8_t* buffer = allocateBuffer();
    const uint64_t bytes = id_.factory != nullptr ? id_.factory->getBlockBytes() : 0;
    std::memset(buffer, 0xFF, bytes);
    addFlags(failed_flag);
}

bool Tile_Dummy::load(TileGroup& /*group*/) {
    allocateBuffer();
    return true;
}

}  // namespace Tessel
