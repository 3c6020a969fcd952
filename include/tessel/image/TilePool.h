#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// The process-wide owner of decoded tiles: a time-to-live cache keyed by tile_id and a pool
// of worker threads ("NITF TilePool Service"). A tile group is decoded at most once, however
// many threads ask for it.

#include <cstddef>
#include <future>
#include <list>
#include <map>
#include <memory>

#include "tessel/image/Tile.h"
#include "tessel/platform/base/lumo_concurrency.h"

namespace Tessel {

class TileFactory;
class TileLoadGate;

class TilePool {
public:
    using TileFuture = std::shared_future<std::shared_ptr<Tile>>;
    using TileFutures = std::map<tile_id, TileFuture>;

    // Made on first use with the options lumo.tilepool.threads and lumo.tilepool.ttl.
    static TilePool* get();
    virtual ~TilePool();

    TilePool(const TilePool&) = delete;
    TilePool& operator=(const TilePool&) = delete;

    // The decoded tile, decoding it on the calling thread if need be. An id that its group
    // doesn't contain gives the factory's error tile.
    std::shared_ptr<Tile> getTile(const tile_id& id, lumo_concurrency::execution_context& context);
    // Starts work on all ids and returns one future per distinct id. A single id runs at
    // once on the calling thread.
    TileFutures queueTiles(const std::list<tile_id>& ids);
    // The tile of a queued future, decoding queued tiles on this thread until it is ready
    // rather than sleeping while a worker wakes. Throws what the decode threw.
    std::shared_ptr<Tile> awaitTile(const TileFuture& tile);
    // Waits for each future in key order and empties the map; results aren't looked at.
    // Queued tiles are decoded on this thread meanwhile.
    void waitAll(TileFutures& tiles);
    // Forgets the tiles of `factory`, or all tiles with nullptr. Tiles that readers hold
    // stay valid.
    void clearCache(const TileFactory* factory);

    // The workers started; 0 means every tile decodes on the caller's thread.
    size_t numThreads() const;
    // The number of cache entries (one per tile of each cached group).
    size_t cacheSize() const;

    // A pool of its own with the given settings, for tests; the process uses get().
    static std::unique_ptr<TilePool> makeForTesting(int threads, int ttlMilliseconds);

private:
    struct Impl;
    // From the options, for the process-wide pool.
    TilePool();
    TilePool(int threads, int ttlMilliseconds);

    // getTile for a queued task, inside its factory's load gate; nothing once it is closed.
    std::shared_ptr<Tile> getTileThroughGate(const tile_id& id, TileLoadGate& gate,
                                             lumo_concurrency::execution_context& context);
    // The cached tile of `id` when its group is decoded already; nothing otherwise.
    std::shared_ptr<Tile> decodedTile(const tile_id& id);
    // The tile of `id` in its group, or the factory's error tile.
    static std::shared_ptr<Tile> tileOf(const TileGroup& group, const tile_id& id);
    std::unique_ptr<Impl> impl_;
};

}  // namespace Tessel

TESSEL_PUBLIC_END
