#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>
#include <vector>

#include "support/FileTestSupport.h"
#include "support/ImageFileBuilder.h"
#include "support/TileReading.h"
#include "support/TileTestSupport.h"
#include "tessel/image/TilePool.h"

using Tessel::Tile;
using Tessel::tile_id;
using Tessel::TilePool;
using tile_test::TestTileFactory;

namespace {

template <class Condition>
bool eventually(Condition condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

TestTileFactory::Grid groupedGrid(uint32_t blocksX, uint32_t bands) {
    TestTileFactory::Grid grid;
    grid.blocksX = blocksX;
    grid.blocksY = 1;
    grid.bands = bands;
    grid.grouped = true;
    return grid;
}

}  // namespace

// Stands for two bands of one JPEG block: the group decodes once, and the second reader
// waits on the first tile's mutex instead of decoding again.
TEST(TilePoolConcurrency, TwoBandsOfOneGroupDecodeOnceWhileTheSecondWaits) {
    auto pool = TilePool::makeForTesting(1, 60000);
    TestTileFactory factory(groupedGrid(1, 2));
    factory.behaviour.close();
    auto first = std::async(std::launch::async, [&] {
        lumo_concurrency::execution_context_fg context;
        return pool->getTile(tile_id{&factory, 0, 0, 0}, context);
    });
    ASSERT_TRUE(eventually([&] { return factory.behaviour.waiting.load() == 1; }));
    auto second = std::async(std::launch::async, [&] {
        lumo_concurrency::execution_context_fg context;
        return pool->getTile(tile_id{&factory, 0, 0, 1}, context);
    });
    EXPECT_EQ(second.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    EXPECT_EQ(factory.behaviour.loads, 1);
    factory.behaviour.open();
    const auto band0 = first.get();
    const auto band1 = second.get();
    EXPECT_EQ(factory.behaviour.loads, 1);
    EXPECT_EQ(band1->getId().band, 1u);
    EXPECT_EQ(band1->getBuffer()[0], tile_test::TestTile::valueOf(tile_id{&factory, 0, 0, 1}));
    EXPECT_EQ(band1->getFlags(), Tile::loaded_flag);
    pool->clearCache(nullptr);
}

// Workers blocked on a group that another thread decodes run the rest of the queue.
TEST(TilePoolConcurrency, WaitingWorkersRunOtherQueuedTiles) {
    auto pool = TilePool::makeForTesting(2, 60000);
    ASSERT_EQ(pool->numThreads(), 2u);
    TestTileFactory factory(groupedGrid(5, 2));
    factory.behaviour.holdX = 0;
    factory.behaviour.close();
    auto holder = std::async(std::launch::async, [&] {
        lumo_concurrency::execution_context_fg context;
        return pool->getTile(tile_id{&factory, 0, 0, 0}, context);
    });
    ASSERT_TRUE(eventually([&] { return factory.behaviour.waiting.load() == 1; }));
    auto futures = pool->queueTiles({{&factory, 0, 0, 0},
                                     {&factory, 0, 0, 1},
                                     {&factory, 1, 0, 0},
                                     {&factory, 2, 0, 0},
                                     {&factory, 3, 0, 0},
                                     {&factory, 4, 0, 1}});
    for (uint32_t x = 1; x < 5; ++x) {
        auto& future = futures.at(tile_id{&factory, x, 0, x == 4 ? 1u : 0u});
        EXPECT_EQ(future.wait_for(std::chrono::seconds(5)), std::future_status::ready) << x;
    }
    EXPECT_NE(futures.at(tile_id{&factory, 0, 0, 1}).wait_for(std::chrono::milliseconds(0)),
              std::future_status::ready);
    factory.behaviour.open();
    holder.get();
    pool->waitAll(futures);
    EXPECT_EQ(factory.behaviour.loads, 5);
    pool->clearCache(nullptr);
}

TEST(TilePoolConcurrency, ManyReadersDecodeEachGroupOnce) {
    auto pool = TilePool::makeForTesting(3, 60000);
    TestTileFactory factory(groupedGrid(8, 3));
    std::vector<std::thread> readers;
    std::atomic<int> wrong{0};
    for (int t = 0; t < 4; ++t) {
        readers.emplace_back([&, t] {
            std::list<tile_id> ids;
            for (uint32_t i = 0; i < 24; ++i) {
                const uint32_t n = (i * 7 + static_cast<uint32_t>(t) * 5) % 24;
                ids.push_back({&factory, n / 3, 0, n % 3});
            }
            auto futures = pool->queueTiles(ids);
            for (auto& [id, future] : futures) {
                const auto tile = future.get();
                if (tile->getId() != id ||
                    tile->getBuffer()[0] != tile_test::TestTile::valueOf(id)) {
                    ++wrong;
                }
            }
            pool->waitAll(futures);
        });
    }
    for (auto& reader : readers) {
        reader.join();
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(factory.behaviour.loads, 8);
    pool->clearCache(nullptr);
}

TEST(TilePoolConcurrency, ClearingTheCacheWhileReadingKeepsHeldTilesValid) {
    auto pool = TilePool::makeForTesting(2, 60000);
    TestTileFactory::Grid grid;
    grid.blocksX = 6;
    grid.blocksY = 6;
    TestTileFactory factory(grid);
    std::atomic<bool> done{false};
    std::atomic<int> wrong{0};
    std::thread clearer([&] {
        while (!done) {
            pool->clearCache(nullptr);
            std::this_thread::yield();
        }
    });
    std::vector<std::thread> readers;
    for (int t = 0; t < 3; ++t) {
        readers.emplace_back([&] {
            lumo_concurrency::execution_context_fg context;
            for (int round = 0; round < 200; ++round) {
                const tile_id id{&factory, static_cast<uint32_t>(round % 6),
                                 static_cast<uint32_t>(round / 6 % 6), 0};
                const auto tile = pool->getTile(id, context);
                if (tile->getBuffer()[0] != tile_test::TestTile::valueOf(id)) {
                    ++wrong;
                }
            }
        });
    }
    for (auto& reader : readers) {
        reader.join();
    }
    done = true;
    clearer.join();
    EXPECT_EQ(wrong, 0);
    pool->clearCache(nullptr);
}

// Two uncompressed images of one file, read from several threads through the process pool.
TEST(TilePoolConcurrency, UncompressedImagesOfOneFileReadInParallel) {
    file_test::TempDir dir;
    image_test::ImageFileBuilder builder;
    for (int image = 0; image < 2; ++image) {
        image_test::ImageLayout layout;
        layout.rows = 32;
        layout.cols = 32;
        layout.nbpr = 4;
        layout.nbpc = 4;
        layout.nppbh = 8;
        layout.nppbv = 8;
        layout.bands = image_test::bands(2);
        for (int block = 0; block < 16; ++block) {
            for (int band = 0; band < 2; ++band) {
                layout.data += std::string(64, static_cast<char>(image * 100 + block * 2 + band));
            }
        }
        builder.add(layout);
    }
    const auto path = dir / "two.ntf";
    builder.write(path);
    std::vector<std::unique_ptr<tile_test::OpenImage>> images;
    for (int32_t segment = 0; segment < 2; ++segment) {
        Tessel::ImageOptions options;
        options.segment = segment;
        images.push_back(std::make_unique<tile_test::OpenImage>(path, options));
    }
    std::atomic<int> wrong{0};
    std::vector<std::thread> readers;
    for (int t = 0; t < 4; ++t) {
        readers.emplace_back([&, t] {
            const auto& factory = images[static_cast<size_t>(t % 2)]->factory();
            std::list<tile_id> ids;
            for (uint32_t n = 0; n < 32; ++n) {
                ids.push_back({&factory, n % 4, n / 4 % 4, n / 16});
            }
            auto futures = TilePool::get()->queueTiles(ids);
            for (auto& [id, future] : futures) {
                const auto tile = future.get();
                const int expected = (t % 2) * 100 + int(id.y * 4 + id.x) * 2 + int(id.band);
                if (tile->isFailed() || tile->getBuffer()[63] != expected) {
                    ++wrong;
                }
            }
            TilePool::get()->waitAll(futures);
        });
    }
    for (auto& reader : readers) {
        reader.join();
    }
    EXPECT_EQ(wrong, 0);
}

// A factory's owner closes its load gate before the factory goes: the load running then
// finishes first, and the loads still queued are turned away without touching it.
TEST(TileLoadGate, ClosingWaitsForTheRunningLoadsAndTurnsTheQueuedOnesAway) {
    // Two workers hold the loads of columns 0 and 1; columns 2 and 3 stay queued.
    auto pool = TilePool::makeForTesting(2, 60000);
    ASSERT_EQ(pool->numThreads(), 2u);
    TestTileFactory::Grid grid;
    grid.blocksX = 4;
    grid.blocksY = 1;
    TestTileFactory factory(grid);
    factory.behaviour.close();
    auto futures = pool->queueTiles(
        {{&factory, 0, 0, 0}, {&factory, 1, 0, 0}, {&factory, 2, 0, 0}, {&factory, 3, 0, 0}});
    ASSERT_TRUE(eventually([&] { return factory.behaviour.waiting == 2; }));

    auto closing = std::async(std::launch::async, [&] { factory.closeLoads(); });
    ASSERT_TRUE(eventually([&] { return factory.loadGate()->isClosed(); }));
    EXPECT_EQ(closing.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout)
        << "the gate closed while loads were inside";
    factory.behaviour.open();
    ASSERT_EQ(closing.wait_for(std::chrono::seconds(5)), std::future_status::ready);

    for (uint32_t x = 0; x < 4; ++x) {
        const tile_id id{&factory, x, 0, 0};
        const bool loaded = futures[id].get() != nullptr;
        EXPECT_EQ(loaded, x < 2) << x;
    }
    EXPECT_EQ(factory.behaviour.loads, 2);
    pool->clearCache(&factory);
}

TEST(TileLoadGate, AClosedGateStillLetsTheOwnerDecodeOnItsOwnThread) {
    // Closing concerns queued work only; a direct getTile is the owner's own call.
    auto pool = TilePool::makeForTesting(1, 60000);
    TestTileFactory factory(TestTileFactory::Grid{});
    factory.closeLoads();
    lumo_concurrency::execution_context_fg context;
    const auto tile = pool->getTile({&factory, 0, 0, 0}, context);
    ASSERT_NE(tile, nullptr);
    EXPECT_EQ(factory.behaviour.loads, 1);
    pool->clearCache(&factory);
}
