#include <gtest/gtest.h>

#include <dirent.h>
#include <algorithm>
#include <chrono>
#include <fstream>
#include <future>
#include <thread>

#include "support/FileTestSupport.h"
#include "support/TileTestSupport.h"
#include "tessel/file/NITFFactory.h"
#include "tessel/image/TilePool.h"

using Tessel::Tile;
using Tessel::tile_id;
using Tessel::TilePool;
using tile_test::TestTileFactory;

namespace {

// Waits until `condition` holds; false after two seconds.
template <class Condition>
bool eventually(Condition condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

// A factory whose groups never hold the id that was asked for.
class MisplacingFactory : public TestTileFactory {
public:
    MisplacingFactory() : TestTileFactory(Grid{}) {}
    Tessel::TileGroup createTiles(const tile_id& id) const override {
        const tile_id other{id.factory, id.x, id.y, id.band + 7};
        return {{other, std::make_shared<tile_test::TestTile>(other, behaviour)}};
    }
};

std::vector<std::string> threadNames() {
    std::vector<std::string> names;
    if (DIR* dir = ::opendir("/proc/self/task")) {
        while (const dirent* entry = ::readdir(dir)) {
            std::ifstream comm(std::string("/proc/self/task/") + entry->d_name + "/comm");
            std::string name;
            if (std::getline(comm, name)) {
                names.push_back(name);
            }
        }
        ::closedir(dir);
    }
    return names;
}

}  // namespace

TEST(TilePool, GetTileDecodesOnceAndReturnsTheCachedTile) {
    auto pool = TilePool::makeForTesting(1, 60000);
    TestTileFactory factory({});
    lumo_concurrency::execution_context_fg context;
    const tile_id id{&factory, 1, 1, 0};
    const auto first = pool->getTile(id, context);
    const auto second = pool->getTile(id, context);
    EXPECT_EQ(first, second);
    EXPECT_EQ(factory.behaviour.loads, 1);
    EXPECT_EQ(first->getFlags(), Tile::loaded_flag);
    EXPECT_EQ(first->getBuffer()[0], tile_test::TestTile::valueOf(id));
    pool->clearCache(&factory);
}

TEST(TilePool, TwoBandsOfOneGroupDecodeOnce) {
    auto pool = TilePool::makeForTesting(1, 60000);
    TestTileFactory::Grid grid;
    grid.bands = 3;
    grid.grouped = true;
    TestTileFactory factory(grid);
    lumo_concurrency::execution_context_fg context;
    const auto band1 = pool->getTile(tile_id{&factory, 0, 1, 1}, context);
    const auto band0 = pool->getTile(tile_id{&factory, 0, 1, 0}, context);
    const auto band2 = pool->getTile(tile_id{&factory, 0, 1, 2}, context);
    EXPECT_EQ(factory.behaviour.loads, 1);
    EXPECT_EQ(factory.behaviour.created, 3);
    EXPECT_EQ(pool->cacheSize(), 3u);
    EXPECT_EQ(band0->getBuffer()[0], tile_test::TestTile::valueOf(tile_id{&factory, 0, 1, 0}));
    EXPECT_EQ(band2->getBuffer()[0], tile_test::TestTile::valueOf(tile_id{&factory, 0, 1, 2}));
    EXPECT_EQ(band0->getFlags() & Tile::loaded_flag, Tile::loaded_flag);
    EXPECT_EQ(band2->getFlags() & Tile::loaded_flag, Tile::loaded_flag);
    pool->clearCache(&factory);
}

TEST(TilePool, OneThreadOptionStartsNoWorkerAndDecodesInListOrder) {
    auto pool = TilePool::makeForTesting(1, 60000);
    EXPECT_EQ(pool->numThreads(), 0u);
    TestTileFactory::Grid grid;
    grid.blocksX = 4;
    TestTileFactory factory(grid);
    const std::list<tile_id> ids{
        {&factory, 2, 0, 0}, {&factory, 0, 0, 0}, {&factory, 3, 0, 0}, {&factory, 1, 0, 0}};
    auto futures = pool->queueTiles(ids);
    ASSERT_EQ(futures.size(), 4u);
    for (const auto& [id, future] : futures) {
        EXPECT_EQ(future.wait_for(std::chrono::seconds(0)), std::future_status::ready);
    }
    EXPECT_EQ(factory.behaviour.loadOrder, (std::vector<uint32_t>{2, 0, 3, 1}));
    pool->waitAll(futures);
    EXPECT_TRUE(futures.empty());
    pool->clearCache(&factory);
}

TEST(TilePool, DuplicateIdsGiveOneFuture) {
    auto pool = TilePool::makeForTesting(1, 60000);
    TestTileFactory factory({});
    const tile_id id{&factory, 1, 0, 0};
    auto futures = pool->queueTiles({id, id, id});
    ASSERT_EQ(futures.size(), 1u);
    EXPECT_EQ(futures.begin()->first, id);
    EXPECT_EQ(futures.begin()->second.get()->getId(), id);
    EXPECT_EQ(factory.behaviour.loads, 1);
    pool->waitAll(futures);
    pool->clearCache(&factory);
}

TEST(TilePool, WorkersDecodeAQueueAndWaitAllEmptiesTheMap) {
    auto pool = TilePool::makeForTesting(3, 60000);
    EXPECT_EQ(pool->numThreads(), 3u);
    TestTileFactory::Grid grid;
    grid.blocksX = 5;
    grid.blocksY = 5;
    TestTileFactory factory(grid);
    std::list<tile_id> ids;
    for (uint32_t y = 0; y < 5; ++y) {
        for (uint32_t x = 0; x < 5; ++x) {
            ids.push_back({&factory, x, y, 0});
        }
    }
    auto futures = pool->queueTiles(ids);
    ASSERT_EQ(futures.size(), 25u);
    for (auto& [id, future] : futures) {
        const auto tile = future.get();
        EXPECT_EQ(tile->getId(), id);
        EXPECT_EQ(tile->getBuffer()[0], tile_test::TestTile::valueOf(id));
    }
    pool->waitAll(futures);
    EXPECT_TRUE(futures.empty());
    EXPECT_EQ(factory.behaviour.loads, 25);
    pool->clearCache(&factory);
}

TEST(TilePool, QueuedTilesDecodedAlreadyAreReadyWithoutATask) {
    auto pool = TilePool::makeForTesting(2, 60000);
    TestTileFactory::Grid grid;
    grid.blocksX = 4;
    TestTileFactory factory(grid);
    const tile_id first{&factory, 0, 0, 0};
    const tile_id second{&factory, 1, 0, 0};
    const tile_id fresh{&factory, 2, 0, 0};
    const tile_id another{&factory, 3, 0, 0};
    auto decoded = pool->queueTiles({first, second});
    pool->waitAll(decoded);
    ASSERT_EQ(factory.behaviour.loads, 2);

    // Every load now waits at the gate: only tiles that need decoding can be held up. Two of
    // them, so that they go to the workers rather than run here.
    factory.behaviour.close();
    auto futures = pool->queueTiles({first, second, fresh, another});
    ASSERT_EQ(futures.size(), 4u);
    EXPECT_EQ(futures[first].wait_for(std::chrono::seconds(0)), std::future_status::ready);
    EXPECT_EQ(futures[second].wait_for(std::chrono::seconds(0)), std::future_status::ready);
    EXPECT_EQ(futures[first].get()->getBuffer()[0], tile_test::TestTile::valueOf(first));
    EXPECT_TRUE(eventually([&] { return factory.behaviour.waiting == 2; }));
    EXPECT_NE(futures[fresh].wait_for(std::chrono::seconds(0)), std::future_status::ready);
    factory.behaviour.open();
    EXPECT_EQ(futures[fresh].get()->getBuffer()[0], tile_test::TestTile::valueOf(fresh));
    pool->waitAll(futures);
    EXPECT_EQ(factory.behaviour.loads, 4);
    pool->clearCache(&factory);
}

TEST(TilePool, GroupsBeingDecodedAreLeftToTheirTasksAndDecodeOnce) {
    auto pool = TilePool::makeForTesting(2, 60000);
    TestTileFactory factory({});
    const tile_id first{&factory, 0, 0, 0};
    const tile_id second{&factory, 1, 0, 0};
    factory.behaviour.close();
    auto loading = pool->queueTiles({first, second});
    ASSERT_TRUE(eventually([&] { return factory.behaviour.waiting == 2; }));

    // The groups are cached but not decoded: the second request waits for the first.
    auto again = pool->queueTiles({first, second});
    for (auto& [id, future] : again) {
        EXPECT_NE(future.wait_for(std::chrono::milliseconds(20)), std::future_status::ready);
    }
    factory.behaviour.open();
    for (auto& [id, future] : again) {
        EXPECT_EQ(future.get(), loading[id].get());
    }
    pool->waitAll(loading);
    pool->waitAll(again);
    EXPECT_EQ(factory.behaviour.loads, 2);
    pool->clearCache(&factory);
}

TEST(TilePool, WorkerThreadsCarryThePoolsName) {
    auto pool = TilePool::makeForTesting(2, 60000);
    ASSERT_EQ(pool->numThreads(), 2u);
    EXPECT_TRUE(eventually([] {
        size_t named = 0;
        for (const std::string& name : threadNames()) {
            named += name.rfind("NITF TilePool", 0) == 0 ? 1 : 0;
        }
        return named >= 2;
    }));
}

TEST(TilePool, FailedTileIsCachedAndNotDecodedAgain) {
    auto pool = TilePool::makeForTesting(1, 60000);
    TestTileFactory factory({});
    factory.behaviour.fail = true;
    lumo_concurrency::execution_context_fg context;
    const tile_id id{&factory, 0, 0, 0};
    const auto tile = pool->getTile(id, context);
    EXPECT_EQ(tile->getFlags(), Tile::loaded_flag | Tile::failed_flag);
    factory.behaviour.fail = false;
    EXPECT_EQ(pool->getTile(id, context), tile);
    EXPECT_EQ(factory.behaviour.loads, 1);
    pool->clearCache(&factory);
}

TEST(TilePool, ALoadThatThrowsLeavesTheFlagsAndIsTriedAgain) {
    auto pool = TilePool::makeForTesting(1, 60000);
    TestTileFactory factory({});
    factory.behaviour.throws = 1;
    lumo_concurrency::execution_context_fg context;
    const tile_id id{&factory, 0, 0, 0};
    EXPECT_THROW(pool->getTile(id, context), std::runtime_error);
    const auto tile = pool->getTile(id, context);
    EXPECT_EQ(tile->getFlags(), Tile::loaded_flag);
    EXPECT_EQ(factory.behaviour.loads, 2);
    pool->clearCache(&factory);
}

TEST(TilePool, AThrowingLoadReachesTheQueuedFuture) {
    auto pool = TilePool::makeForTesting(1, 60000);
    TestTileFactory factory({});
    factory.behaviour.throws = 1;
    auto futures = pool->queueTiles({tile_id{&factory, 0, 0, 0}});
    ASSERT_EQ(futures.size(), 1u);
    EXPECT_THROW(futures.begin()->second.get(), std::runtime_error);
    pool->waitAll(futures);
    pool->clearCache(&factory);
}

TEST(TilePool, AnIdMissingFromItsGroupGivesTheErrorTile) {
    auto pool = TilePool::makeForTesting(1, 60000);
    MisplacingFactory factory;
    lumo_concurrency::execution_context_fg context;
    const auto tile = pool->getTile(tile_id{&factory, 0, 0, 0}, context);
    EXPECT_EQ(tile, factory.errorTile());
    EXPECT_EQ(pool->cacheSize(), 1u);  // the group stays cached under its own id
    pool->clearCache(&factory);
}

TEST(TilePool, ClearCacheOfNothingEmptiesTheCacheWhileHeldTilesStayValid) {
    auto pool = TilePool::makeForTesting(1, 60000);
    TestTileFactory factory({});
    lumo_concurrency::execution_context_fg context;
    const tile_id id{&factory, 1, 1, 0};
    const auto held = pool->getTile(id, context);
    pool->getTile(tile_id{&factory, 0, 0, 0}, context);
    EXPECT_EQ(pool->cacheSize(), 2u);
    pool->clearCache(nullptr);
    EXPECT_EQ(pool->cacheSize(), 0u);
    EXPECT_EQ(held->getBuffer()[0], tile_test::TestTile::valueOf(id));
    // A new request makes and decodes a new tile.
    const auto again = pool->getTile(id, context);
    EXPECT_NE(again, held);
    EXPECT_EQ(factory.behaviour.loads, 3);
    pool->clearCache(nullptr);
}

TEST(TilePool, ClearCacheOfOneFactoryKeepsTheOthers) {
    auto pool = TilePool::makeForTesting(1, 60000);
    TestTileFactory first({});
    TestTileFactory second({});
    lumo_concurrency::execution_context_fg context;
    pool->getTile(tile_id{&first, 0, 0, 0}, context);
    pool->getTile(tile_id{&second, 0, 0, 0}, context);
    pool->clearCache(&first);
    EXPECT_EQ(pool->cacheSize(), 1u);
    pool->clearCache(&second);
    EXPECT_EQ(pool->cacheSize(), 0u);
}

TEST(TilePool, EntriesExpireAfterTheirTimeToLive) {
    auto pool = TilePool::makeForTesting(1, 40);
    TestTileFactory factory({});
    lumo_concurrency::execution_context_fg context;
    pool->getTile(tile_id{&factory, 0, 0, 0}, context);
    EXPECT_EQ(pool->cacheSize(), 1u);
    EXPECT_TRUE(eventually([&pool] { return pool->cacheSize() == 0; }));
}

TEST(TilePool, NegativeTimeToLiveKeepsEntriesUntilClearCache) {
    auto pool = TilePool::makeForTesting(1, -1);
    TestTileFactory factory({});
    lumo_concurrency::execution_context_fg context;
    pool->getTile(tile_id{&factory, 0, 0, 0}, context);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_EQ(pool->cacheSize(), 1u);
    pool->clearCache(nullptr);
    EXPECT_EQ(pool->cacheSize(), 0u);
}

TEST(TilePool, ZeroTimeToLiveTakesTheCacheDefault) {
    auto pool = TilePool::makeForTesting(1, 0);
    TestTileFactory factory({});
    lumo_concurrency::execution_context_fg context;
    pool->getTile(tile_id{&factory, 0, 0, 0}, context);
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_EQ(pool->cacheSize(), 1u);  // the default is seconds, not zero
    pool->clearCache(nullptr);
}

TEST(TilePool, StartLogsItsTimeToLiveAndThreads) {
    file_test::LogCapture log;
    auto pool = TilePool::makeForTesting(3, 1234);
    EXPECT_EQ(log.count("TilePool TTL (lumo.tilepool.ttl): 1234"), 1u);
    EXPECT_EQ(log.count("TilePool Threads (lumo.tilepool.threads): 3 threads"), 1u);
}

TEST(TilePool, TheProcessPoolIsOne) {
    EXPECT_EQ(TilePool::get(), TilePool::get());
}

namespace {

std::mutex spanMutex;
std::vector<std::string> spanNames;

void recordSpan(unsigned /*channel*/, std::string_view name, std::chrono::nanoseconds) {
    std::lock_guard lock(spanMutex);
    spanNames.emplace_back(name);
}

}  // namespace

TEST(TilePool, GetTileTracesItsAcquisitionAndTheCacheLock) {
    auto pool = TilePool::makeForTesting(1, 60000);
    TestTileFactory::Grid grid;
    grid.blocksX = 3;
    grid.bands = 2;
    TestTileFactory factory(grid);
    const auto previous = lumo_concurrency::set_span_observer(recordSpan);
    lumo_concurrency::execution_context_fg context;
    pool->getTile(tile_id{&factory, 2, 1, 1}, context);
    lumo_concurrency::set_span_observer(previous);
    std::lock_guard lock(spanMutex);
    EXPECT_NE(std::find(spanNames.begin(), spanNames.end(), "AQ 2-1-1"), spanNames.end());
    EXPECT_NE(std::find(spanNames.begin(), spanNames.end(), "CacheLock"), spanNames.end());
    pool->clearCache(nullptr);
}

TEST(TilePool, ClearingTheFactoryCacheEmptiesTheProcessTileCache) {
    TestTileFactory factory({});
    lumo_concurrency::execution_context_fg context;
    const auto held = TilePool::get()->getTile(tile_id{&factory, 0, 0, 0}, context);
    EXPECT_GE(TilePool::get()->cacheSize(), 1u);
    Tessel::NITFFactory::get().clearCache();
    EXPECT_EQ(TilePool::get()->cacheSize(), 0u);
    EXPECT_EQ(held->getBuffer()[0], 0);
}

TEST(TilePool, AnIdWithoutFactoryIsRefused) {
    auto pool = TilePool::makeForTesting(1, 60000);
    lumo_concurrency::execution_context_fg context;
    EXPECT_THROW(pool->getTile(tile_id{}, context), std::invalid_argument);
}

TEST(TilePool, AWaiterDecodesQueuedTilesWhileTheWorkersAreBusy) {
    auto pool = TilePool::makeForTesting(2, 60000);
    TestTileFactory::Grid grid;
    grid.blocksX = 3;
    grid.blocksY = 2;
    TestTileFactory factory(grid);
    // Loads of column 0 wait at the gate and hold both workers.
    factory.behaviour.holdX = 0;
    factory.behaviour.close();
    auto held = pool->queueTiles({{&factory, 0, 0, 0}, {&factory, 0, 1, 0}});
    ASSERT_TRUE(eventually([&] { return factory.behaviour.waiting == 2; }));

    const tile_id queuedFirst{&factory, 1, 0, 0};
    const tile_id queuedLast{&factory, 2, 0, 0};
    auto queued = pool->queueTiles({queuedFirst, queuedLast});
    auto waiter =
        std::async(std::launch::async, [&] { return pool->awaitTile(queued[queuedLast]); });
    const bool done = waiter.wait_for(std::chrono::seconds(5)) == std::future_status::ready;
    factory.behaviour.open();  // whatever happened, let everything finish
    ASSERT_TRUE(done) << "the waiter slept while its tile stayed queued";
    EXPECT_EQ(waiter.get()->getBuffer()[0], tile_test::TestTile::valueOf(queuedLast));
    EXPECT_EQ(queued[queuedFirst].wait_for(std::chrono::seconds(0)), std::future_status::ready);
    pool->waitAll(queued);
    pool->waitAll(held);
    EXPECT_EQ(factory.behaviour.loads, 4);
    pool->clearCache(&factory);
}

TEST(TilePool, AwaitingAThrowingTileRethrows) {
    auto pool = TilePool::makeForTesting(2, 60000);
    TestTileFactory factory({});
    factory.behaviour.throws = 2;
    auto futures = pool->queueTiles({{&factory, 0, 0, 0}, {&factory, 1, 0, 0}});
    for (auto& [id, future] : futures) {
        EXPECT_THROW(pool->awaitTile(future), std::exception);
    }
    pool->waitAll(futures);
    pool->clearCache(&factory);
}
