#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// The process-wide reading service: a table of cached blocks shared by all sources, and a
// pool of workers ("NITF IOPool Service") that fill blocks. A read of one block runs on
// the caller; a read of several is spread over the workers.

#include <cstddef>
#include <cstdint>
#include <future>
#include <memory>
#include <string_view>

#include "tessel/core/NITFURI.h"
#include "tessel/core/ThreadPool.h"
#include "tessel/io/IORequest.h"
#include "tessel/io/IOSource.h"

namespace Tessel {

class IOWarehouse;

class IOPool : public lumo_concurrency::thread_pool<void, int> {
public:
    struct Metrics {
        uint64_t reads = 0;          // blocks actually read
        uint64_t bytes = 0;          // sum of the sizes of the blocks read
        uint64_t cachedBlocks = 0;   // blocks in the table
        uint64_t cachedBytes = 0;    // bytes held by the blocks in the table
        uint64_t createdBlocks = 0;  // blocks created
        uint64_t readTime = 0;       // nanoseconds spent reading
    };

    // What the process-wide pool takes from the options lumo.iopool.block_cache,
    // lumo.iopool.block_size and lumo.iopool.threads.
    struct Settings {
        int blockCache = 1000;    // capacity in blocks; 0 or less keeps nothing
        int blockSize = 1048576;  // bytes in a block; less than 1 takes 1048576
        int threads = 0;          // workers; 0 derives them from the processors
        static Settings FromOptions();
    };

    ~IOPool() override;

    // The block size of sources made from now on. A size of 0 is refused.
    static size_t DefaultBlockSize();
    static void SetDefaultBlockSize(size_t size);

    // Makes sure that the pool and its table exist, then IOSource::Create.
    static std::shared_ptr<IOSource> Open(const NITFURI& uri);

    // Reads `size` bytes from `offset` into `destination`, which must outlive the future.
    // A null destination only fetches the blocks into the table. The future fails with
    // "Read Failed" when a block can't be read; the destination may be partly filled then.
    static std::future<std::shared_ptr<IORequest>> Read(const NITFURI& uri, size_t offset,
                                                        size_t size, uint8_t* destination);
    static std::future<std::shared_ptr<IORequest>> Read(const std::shared_ptr<IOSource>& source,
                                                        size_t offset, size_t size,
                                                        uint8_t* destination);

    // Read and Await in one: a read that finished blocks answer wholly is copied on the spot,
    // without a promise or the task queue (the many small reads of a parse are such). Throws
    // "Read Failed" as the future would.
    static std::shared_ptr<IORequest> ReadNow(const std::shared_ptr<IOSource>& source,
                                              size_t offset, size_t size, uint8_t* destination);

    // Waits for a read, running queued block reads on this thread meanwhile, and returns
    // its request; throws what the future throws.
    static std::shared_ptr<IORequest> Await(std::future<std::shared_ptr<IORequest>>& read);
    // Empty text drops every block and zeroes the reads and bytes counters. Otherwise,
    // with "\" read as "/", drops the blocks whose key less its last character is the text:
    // blocks 0 to 9 of that file.
    static void Clear(const std::wstring_view& uri);

    static Metrics GetMetrics();

protected:
    // A pool with its own table and workers, made from explicit settings. While it lives
    // it serves the static interface in place of the process-wide pool, and sources made
    // meanwhile keep its table. Pools made this way nest; they are meant for tests and
    // must be made and destroyed while no other thread uses the service.
    explicit IOPool(const Settings& settings);

private:
    IOPool();
    static IOPool& get();

    std::shared_ptr<IOWarehouse> warehouse_;
    IOPool* previous_ = nullptr;  // the pool that served before this one
};

}  // namespace Tessel

TESSEL_PUBLIC_END
