#include "tessel/image/Tile.h"

#include <cstdint>
#include <cstring>
#include <new>

#include "tessel/core/RecycledBuffers.h"
#include "tessel/image/TileFactory.h"

namespace Tessel {

static_assert(Tile::buffer_alignment == RecycledBuffers::alignment);

Tile::Tile(const tile_id& id) : id_(id) {}

Tile::~Tile() = default;

void Tile::RecycledFree::operator()(uint8_t* p) const {
    RecycledBuffers::give(p, size);
}

uint8_t* Tile::allocateBuffer() {
    if (buffer_) {
        return buffer_.get();
    }
    const uint64_t bytes = id_.factory != nullptr ? id_.factory->getBlockBytes() : 0;
    if (bytes > SIZE_MAX) {
        throw std::bad_alloc();
    }
    const auto size = static_cast<size_t>(bytes);
    buffer_ =
        std::unique_ptr<uint8_t, RecycledFree>(RecycledBuffers::take(size), RecycledFree{size});
    return buffer_.get();
}

void Tile::markFailed() {
    uint8_t* buffer = allocateBuffer();
    const uint64_t bytes = id_.factory != nullptr ? id_.factory->getBlockBytes() : 0;
    std::memset(buffer, 0xFF, bytes);
    addFlags(failed_flag);
}

bool Tile_Dummy::load(TileGroup& /*group*/) {
    if (!hasBuffer()) {
        // A dummy has no content of its own: cleared, not what the buffer held before.
        const uint64_t bytes = getFactory() != nullptr ? getFactory()->getBlockBytes() : 0;
        std::memset(allocateBuffer(), 0, bytes);
    }
    return true;
}

}  // namespace Tessel
