#pragma once
// A tile factory for tests of the tile pool and the factory framework: a grid chosen by the
// test, tiles that count their loads, groups of all bands of a block, and loads that fail,
// throw or wait on demand. Also a small SHA-256 for comparing decoded bands.

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

// ---------------------------------------------------------------------------------------
// SHA-256 of a byte string, as lower-case hex.

inline std::string sha256Hex(const std::vector<uint8_t>& data) {
    static constexpr uint32_t k[64] = {
        0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4,
        0xab1c5ed5, 0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe,
        0x9bdc06a7, 0xc19bf174, 0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f,
        0x4a7484aa, 0x5cb0a9dc, 0x76f988da, 0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7,
        0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967, 0x27b70a85, 0x2e1b2138, 0x4d2c6dfc,
        0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85, 0xa2bfe8a1, 0xa81a664b,
        0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070, 0x19a4c116,
        0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
        0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7,
        0xc67178f2};
    uint32_t h[8] = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                     0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
    std::vector<uint8_t> message = data;
    const uint64_t bitLength = uint64_t{data.size()} * 8;
    message.push_back(0x80);
    while (message.size() % 64 != 56) {
        message.push_back(0);
    }
    for (int i = 7; i >= 0; --i) {
        message.push_back(static_cast<uint8_t>(bitLength >> (8 * i)));
    }
    const auto rotr = [](uint32_t x, int n) { return (x >> n) | (x << (32 - n)); };
    for (size_t chunk = 0; chunk < message.size(); chunk += 64) {
        uint32_t w[64];
        for (int i = 0; i < 16; ++i) {
            const uint8_t* p = &message[chunk + 4 * static_cast<size_t>(i)];
            w[i] = uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | p[3];
        }
        for (int i = 16; i < 64; ++i) {
            const uint32_t s0 = rotr(w[i - 15], 7) ^ rotr(w[i - 15], 18) ^ (w[i - 15] >> 3);
            const uint32_t s1 = rotr(w[i - 2], 17) ^ rotr(w[i - 2], 19) ^ (w[i - 2] >> 10);
            w[i] = w[i - 16] + s0 + w[i - 7] + s1;
        }
        uint32_t a = h[0], b = h[1], c = h[2], d = h[3], e = h[4], f = h[5], g = h[6], hh = h[7];
        for (int i = 0; i < 64; ++i) {
            const uint32_t t1 =
                hh + (rotr(e, 6) ^ rotr(e, 11) ^ rotr(e, 25)) + ((e & f) ^ (~e & g)) + k[i] + w[i];
            const uint32_t t2 =
                (rotr(a, 2) ^ rotr(a, 13) ^ rotr(a, 22)) + ((a & b) ^ (a & c) ^ (b & c));
            hh = g;
            g = f;
            f = e;
            e = d + t1;
            d = c;
            c = b;
            b = a;
            a = t1 + t2;
        }
        h[0] += a;
        h[1] += b;
        h[2] += c;
        h[3] += d;
        h[4] += e;
        h[5] += f;
        h[6] += g;
        h[7] += hh;
    }
    static constexpr char hex[] = "0123456789abcdef";
    std::string out;
    for (const uint32_t word : h) {
        for (int i = 28; i >= 0; i -= 4) {
            out += hex[(word >> i) & 0xF];
        }
    }
    return out;
}

}  // namespace tile_test
