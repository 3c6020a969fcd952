#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// A tile is one block of one band of an image at one pyramid level, in host-order samples.
// It is made cheaply (no pixel memory) and decoded later by `load`, on whatever thread
// needs it first; a tile that can't be decoded still exists, full of 0xFF bytes.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <utility>

namespace Tessel {

class Tile;
class TileFactory;

// The key of every tile: ordered by factory, then x, y and band, all unsigned.
struct tile_id {
    const TileFactory* factory = nullptr;
    uint32_t x = 0;     // block column
    uint32_t y = 0;     // block row
    uint32_t band = 0;  // band

    bool operator==(const tile_id& other) const = default;
    bool operator<(const tile_id& other) const {
        if (factory != other.factory) {
            return std::less<const TileFactory*>()(factory, other.factory);
        }
        if (x != other.x) {
            return x < other.x;
        }
        if (y != other.y) {
            return y < other.y;
        }
        return band < other.band;
    }
};

// The tiles a factory makes for one request: decoded together, cached together.
using TileGroup = std::list<std::pair<tile_id, std::shared_ptr<Tile>>>;

class Tile : public std::enable_shared_from_this<Tile> {
public:
    static constexpr uint16_t loaded_flag = 0x8000;  // the tile's group was loaded
    static constexpr uint16_t failed_flag = 0x4000;  // ... and it failed
    static constexpr size_t buffer_alignment = 1024;

    explicit Tile(const tile_id& id);
    virtual ~Tile();

    Tile(const Tile&) = delete;
    Tile& operator=(const Tile&) = delete;

    // Decodes the whole group this tile belongs to. Only called while loaded_flag is clear,
    // with this tile's mutex held. Returns false when decoding failed.
    virtual bool load(TileGroup& group) = 0;

    const tile_id& getId() const { return id_; }
    const TileFactory* getFactory() const { return id_.factory; }

    uint16_t getFlags() const { return flags_; }
    void setFlags(uint16_t flags) { flags_ = flags; }
    void addFlags(uint16_t flags) { flags_ = static_cast<uint16_t>(flags_ | flags); }
    bool isFailed() const { return (flags_ & failed_flag) != 0; }

    // Guards `load`; the first tile's mutex of a group stands for the whole group.
    std::mutex& getMutex() { return mutex_; }

    // The samples: the factory's getBlockBytes() bytes, 1024-byte aligned, or null before
    // the first allocation. The memory isn't cleared.
    uint8_t* getBuffer() { return buffer_.get(); }
    const uint8_t* getBuffer() const { return buffer_.get(); }
    bool hasBuffer() const { return buffer_ != nullptr; }
    // Allocates the buffer if there is none; returns it.
    uint8_t* allocateBuffer();
    // Fills the buffer (allocating it first) with 0xFF and sets failed_flag.
    void markFailed();

private:
    // Hands the buffer back for reuse by the next tile of the same size.
    struct RecycledFree {
        size_t size;
        void operator()(uint8_t* p) const;
    };

    tile_id id_;
    uint16_t flags_ = 0;
    std::mutex mutex_;
    std::unique_ptr<uint8_t, RecycledFree> buffer_;
};

// A tile without content of its own: blank and error tiles, and tiles of undecodable images.
class Tile_Dummy : public Tile {
public:
    using Tile::Tile;
    // Makes sure the buffer exists.
    bool load(TileGroup& group) override;
};

}  // namespace Tessel

TESSEL_PUBLIC_END
