#include "tessel/image/TilePool.h"

#include <fmt/format.h>

#include <chrono>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "tessel/core/Options.h"
#include "tessel/core/ThreadPool.h"
#include "tessel/image/TileFactory.h"
#include "tessel/platform/base/nitf_log.h"

namespace Tessel {

namespace {

using TileThreadPool = lumo_concurrency::thread_pool<std::shared_ptr<Tile>, tile_id>;

constexpr std::string_view kTilePoolName = "NITF TILE POOL";
constexpr std::wstring_view kTileThreadName = L"NITF TilePool Service";

// The workers of the tile pool; its constructors are open to the pool only.
class TileWorkers : public TileThreadPool {
public:
    // From the option lumo.tilepool.threads.
    TileWorkers() : TileThreadPool(s_opt_lumo_tilepool_threads, kTilePoolName, kTileThreadName) {}
    // With the option's value given.
    explicit TileWorkers(int threads) : TileThreadPool(threads, kTilePoolName, kTileThreadName) {}
};

std::chrono::nanoseconds ttlOf(int milliseconds) {
    return std::chrono::nanoseconds(int64_t{milliseconds} * 1000000);
}

void cacheLog(const tile_id& id, const char* what) {
    if (s_opt_lumo_log_cache_usage() && nitf_log::is_enabled(nitf_log::info)) {
        nitf_log::write_logln(
            nitf_log::info, fmt::format("[CACHE] TilePool {} {:p} {}-{}-{}", what,
                                        static_cast<const void*>(id.factory), id.x, id.y, id.band));
    }
}

}  // namespace

struct TilePool::Impl {
    Impl(std::unique_ptr<TileWorkers> workers, int ttlMilliseconds)
        : threads(std::move(workers)), cache(ttlOf(ttlMilliseconds)) {
        if (nitf_log::is_enabled(nitf_log::info)) {
            nitf_log::write_logln(
                nitf_log::info,
                fmt::format("TilePool TTL (lumo.tilepool.ttl): {}", ttlMilliseconds));
        }
        nitf_log::write_logln(nitf_log::info,
                              fmt::format("TilePool Threads (lumo.tilepool.threads): {} threads",
                                          threads->num_threads()));
    }

    std::unique_ptr<TileWorkers> threads;
    lumo_concurrency::ttl_cache<tile_id, TileGroup> cache;
    std::mutex poolMutex;  // makes the look-up and the creation of a group one step
};

TilePool::TilePool()
    : impl_(std::make_unique<Impl>(std::make_unique<TileWorkers>(), s_opt_lumo_tilepool_ttl())) {}

TilePool::TilePool(int threads, int ttlMilliseconds)
    : impl_(std::make_unique<Impl>(std::make_unique<TileWorkers>(threads), ttlMilliseconds)) {}

TilePool::~TilePool() = default;

TilePool* TilePool::get() {
    // Never destroyed: detached workers may still hold tasks when the process ends.
    static TilePool* const pool = new TilePool();
    return pool;
}

std::unique_ptr<TilePool> TilePool::makeForTesting(int threads, int ttlMilliseconds) {
    return std::unique_ptr<TilePool>(new TilePool(threads, ttlMilliseconds));
}

std::shared_ptr<Tile> TilePool::getTile(const tile_id& id,
                                        lumo_concurrency::execution_context& context) {
    if (id.factory == nullptr) {
        throw std::invalid_argument("A tile needs its factory");
    }
    lumo_concurrency::track_span span(1, fmt::format("AQ {}-{}-{}", id.x, id.y, id.band));
    TileGroup group;
    {
        lumo_concurrency::track_span waiting(4, "CacheLock");
        std::lock_guard poolLock(impl_->poolMutex);
        waiting.end();
        if (std::optional<TileGroup> hit = impl_->cache.touch(id)) {
            group = std::move(*hit);
            cacheLog(id, "HIT");
        } else {
            // Only tile objects are made here; nothing is decoded under these locks.
            group = id.factory->requestTiles(id);
            for (const auto& [tileId, tile] : group) {
                impl_->cache.insert(tileId, group);
            }
            cacheLog(id, "MISS");
        }
    }

    if (!group.empty()) {
        // The first tile's mutex stands for the whole group, so the group loads once.
        Tile& first = *group.front().second;
        std::unique_lock tileLock(first.getMutex(), std::defer_lock);
        context.acquire(tileLock);
        if ((first.getFlags() & Tile::loaded_flag) == 0) {
            const bool loaded = first.load(group);
            const uint16_t flags =
                loaded ? Tile::loaded_flag : Tile::loaded_flag | Tile::failed_flag;
            for (auto& [tileId, tile] : group) {
                tile->addFlags(flags);
            }
        }
    }

    return tileOf(group, id);
}

TilePool::TileFutures TilePool::queueTiles(const std::list<tile_id>& ids) {
    // Tiles decoded already are answered at once: a read of cached tiles wakes no worker.
    TileFutures decoded;
    std::list<tile_id> pending;
    for (const tile_id& id : ids) {
        if (decoded.count(id) != 0) {
            continue;
        }
        if (std::shared_ptr<Tile> tile = decodedTile(id)) {
            std::promise<std::shared_ptr<Tile>> ready;
            ready.set_value(std::move(tile));
            decoded.emplace(id, ready.get_future().share());
        } else {
            pending.push_back(id);
        }
    }
    if (pending.empty()) {
        return decoded;
    }
    TileFutures queued = impl_->threads->queue_tasks([this, &pending] {
        TileThreadPool::task_list tasks;
        for (const tile_id& id : pending) {
            // The gate is taken while the factory is alive: the task may run after it.
            std::shared_ptr<TileLoadGate> gate = id.factory->loadGate();
            tasks.emplace_back(
                id, TileThreadPool::task_type([this, id, gate = std::move(gate)](
                                                  lumo_concurrency::execution_context& context) {
                    return getTileThroughGate(id, *gate, context);
                }));
        }
        return tasks;
    });
    queued.merge(decoded);
    return queued;
}

std::shared_ptr<Tile> TilePool::getTileThroughGate(const tile_id& id, TileLoadGate& gate,
                                                   lumo_concurrency::execution_context& context) {
    if (!gate.enter()) {
        return nullptr;  // the factory is going; nobody waits for this tile any more
    }
    struct Leave {
        TileLoadGate& gate;
        ~Leave() { gate.leave(); }
    } leave{gate};
    return getTile(id, context);
}

std::shared_ptr<Tile> TilePool::decodedTile(const tile_id& id) {
    if (id.factory == nullptr) {
        return nullptr;
    }
    std::optional<TileGroup> group;
    {
        std::lock_guard poolLock(impl_->poolMutex);
        group = impl_->cache.touch(id);
    }
    if (!group || group->empty()) {
        return nullptr;
    }
    // A group being decoded holds its first tile's mutex: that one is left to a task.
    Tile& first = *group->front().second;
    std::unique_lock tileLock(first.getMutex(), std::try_to_lock);
    if (!tileLock.owns_lock() || (first.getFlags() & Tile::loaded_flag) == 0) {
        return nullptr;
    }
    tileLock.unlock();
    cacheLog(id, "HIT");
    return tileOf(*group, id);
}

std::shared_ptr<Tile> TilePool::tileOf(const TileGroup& group, const tile_id& id) {
    for (const auto& [tileId, tile] : group) {
        if (tileId == id) {
            return tile;
        }
    }
    return id.factory->errorTile();
}

std::shared_ptr<Tile> TilePool::awaitTile(const TileFuture& tile) {
    impl_->threads->help_until_ready(tile);
    return tile.get();
}

void TilePool::waitAll(TileFutures& tiles) {
    for (const auto& [id, tile] : tiles) {
        if (tile.valid()) {
            impl_->threads->help_until_ready(tile);
        }
    }
    impl_->threads->cancel_all(tiles);
}

void TilePool::clearCache(const TileFactory* factory) {
    std::lock_guard poolLock(impl_->poolMutex);
    impl_->cache.sweep_if([factory](const tile_id& key, const TileGroup& /*group*/) {
        return factory == nullptr || key.factory == factory;
    });
}

size_t TilePool::numThreads() const {
    return impl_->threads->num_threads();
}

size_t TilePool::cacheSize() const {
    return impl_->cache.size();
}

}  // namespace Tessel
