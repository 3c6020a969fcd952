#pragma once
// A tile factory for tests of the tile pool and the factory framework: a grid chosen by the
// test, tiles that count their loads, groups of all bands of a block, and loads that fail,
// throw or wait on demand.

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include "tessel/image/TileFactory.h"

namespace tile_test {

// What a TestTileFactory does; shared by the factory and its tiles.
struct Behaviour {
    std::atomic<int> loads{0};        // calls of load, over all tiles
    std::atomic<int> created{0};      // tiles made by createTiles
    std::atomic<bool> fail{false};    // load returns false
    std::atomic<int> throws{0};       // the next loads that throw
    std::vector<uint32_t> loadOrder;  // block column of each load, under orderMutex
    std::mutex orderMutex;

    // A load waits here while `hold` is set.
    std::mutex gateMutex;
    std::condition_variable gate;
    bool hold = false;
    int64_t holdX = -1;  // with hold: only loads of this block column wait; -1 for all
    std::atomic<int> waiting{0};

    void close() {
        std::lock_guard lock(gateMutex);
        hold = true;
    }
    void open() {
        {
            std::lock_guard lock(gateMutex);
            hold = false;
        }
        gate.notify_all();
    }
};

class TestTile : public Tessel::Tile {
public:
    TestTile(const Tessel::tile_id& id, Behaviour& behaviour) : Tile(id), behaviour_(behaviour) {}

    // Fills every tile of the group: each byte is x + 16 * y + 64 * band, modulo 256.
    bool load(Tessel::TileGroup& group) override {
        ++behaviour_.loads;
        {
            std::lock_guard lock(behaviour_.orderMutex);
            behaviour_.loadOrder.push_back(getId().x);
        }
        {
            std::unique_lock lock(behaviour_.gateMutex);
            ++behaviour_.waiting;
            behaviour_.gate.wait(lock, [this] {
                return !behaviour_.hold ||
                       (behaviour_.holdX >= 0 && behaviour_.holdX != int64_t{getId().x});
            });
            --behaviour_.waiting;
        }
        if (behaviour_.throws > 0) {
            --behaviour_.throws;
            throw std::runtime_error("load failed by request");
        }
        for (auto& [id, tile] : group) {
            const uint64_t bytes = id.factory->getBlockBytes();
            std::memset(tile->allocateBuffer(), static_cast<int>(valueOf(id)), bytes);
        }
        return !behaviour_.fail;
    }

    static uint8_t valueOf(const Tessel::tile_id& id) {
        return static_cast<uint8_t>(id.x + 16 * id.y + 64 * id.band);
    }

private:
    Behaviour& behaviour_;
};

// A grid of blocks whose createTiles makes one tile per band of the block (`grouped`) or
// just the one asked for.
class TestTileFactory : public Tessel::TileFactory {
public:
    struct Grid {
        uint32_t blocksX = 2;
        uint32_t blocksY = 2;
        uint32_t bands = 1;
        uint32_t blockWidth = 4;
        uint32_t blockHeight = 4;
        uint32_t bits = 8;
        bool grouped = false;
        lumo_pixel::pixel noData = lumo_pixel::pixel::none();
    };

    explicit TestTileFactory(const Grid& grid) : grid_(grid) {}

    std::map<std::string, std::string> getCompressionInfo() const override {
        return {{"Type", "Test"}};
    }
    bool hasInternalLevel(uint32_t) const override { return false; }
    lumo_pixel::pixel getNoData() const override { return grid_.noData; }
    uint64_t getWidth() const override { return uint64_t{grid_.blocksX} * grid_.blockWidth; }
    uint64_t getHeight() const override { return uint64_t{grid_.blocksY} * grid_.blockHeight; }
    uint32_t getBlocksX() const override { return grid_.blocksX; }
    uint32_t getBlocksY() const override { return grid_.blocksY; }
    uint32_t getBlockWidth() const override { return grid_.blockWidth; }
    uint32_t getBlockHeight() const override { return grid_.blockHeight; }
    uint32_t getNumBands() const override { return grid_.bands; }
    lumo_pixel::type getPixelType() const override { return lumo_pixel::unsigned_integer; }
    uint32_t getBytesPerPixel() const override {
        return grid_.bits == 0 ? 0 : (grid_.bits - 1) / 8 + 1;
    }
    uint32_t getBitsPerPixel() const override { return grid_.bits; }
    uint64_t getBlockBytes() const override {
        return uint64_t{getBytesPerPixel()} * grid_.blockWidth * grid_.blockHeight;
    }

    Tessel::TileGroup createTiles(const Tessel::tile_id& id) const override {
        Tessel::TileGroup group;
        if (!grid_.grouped) {
            group.emplace_back(id, std::make_shared<TestTile>(id, behaviour));
            ++behaviour.created;
            return group;
        }
        for (uint32_t band = 0; band < grid_.bands; ++band) {
            const Tessel::tile_id member{id.factory, id.x, id.y, band};
            group.emplace_back(member, std::make_shared<TestTile>(member, behaviour));
            ++behaviour.created;
        }
        return group;
    }

    mutable Behaviour behaviour;

private:
    Grid grid_;
};

}  // namespace tile_test
