#include "tessel/io/IOPool.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <exception>
#include <stdexcept>
#include <utility>

#include "io/IOWarehouse.h"
#include "tessel/core/Options.h"
#include "tessel/platform/base/nitf_log.h"

namespace Tessel {

namespace {

constexpr const char* kIOPoolName = "NITF IO POOL";
constexpr const wchar_t* kIOThreadName = L"NITF IOPool Service";

using RequestPromise = std::promise<std::shared_ptr<IORequest>>;

// A pool made with explicit settings, serving in place of the process-wide one.
std::atomic<IOPool*> s_servingPool{nullptr};

void logThreads(size_t threads) {
    if (nitf_log::is_enabled(nitf_log::info)) {
        nitf_log::write_logln(
            nitf_log::info,
            fmt::format("IO Pool Threads: (lumo.iopool.threads) {} threads", threads));
    }
}

// Copies a segment out of a block that was read. The part past the end of a short final
// block is zero, as the block's buffer held it.
void copySegment(const IOBlock& block, uint64_t inside, uint64_t length, uint8_t* destination) {
    const auto& data = block.data;
    const uint64_t available = inside < data.size() ? std::min(length, data.size() - inside) : 0;
    std::memcpy(destination, data.data() + inside, available);
    std::memset(destination + available, 0, length - available);
}

// What a task needs of one segment. The shared references keep request, source, promise
// and block alive when the caller lets go of the future before the read is done.
struct BlockTask {
    std::shared_ptr<IOSource> source;
    std::shared_ptr<IORequest> request;
    std::shared_ptr<RequestPromise> promise;
    std::shared_ptr<IOBlock> block;
    uint64_t destinationOffset = 0;
    uint64_t length = 0;
    uint64_t inside = 0;

    void operator()(lumo_concurrency::execution_context& context) const {
        lumo_concurrency::track_span span(3, "IO");
        NITFMessages sink;  // the reason stays here; the caller learns "Read Failed"
        if (!source->Read(*block, sink, context)) {
            // A second failed block of one request throws std::future_error here, which
            // ends in this task's own future.
            promise->set_exception(std::make_exception_ptr(std::runtime_error("Read Failed")));
            return;
        }
        if (request->destination != nullptr) {
            copySegment(*block, inside, length, request->destination + destinationOffset);
        }
        if (request->pending.fetch_sub(length) == length) {
            promise->set_value(request);
        }
    }
};

IOPool::task_list blockTasks(const std::shared_ptr<IOSource>& source,
                             const std::shared_ptr<IORequest>& request,
                             const std::shared_ptr<RequestPromise>& promise) {
    IOPool::task_list tasks;
    if (request->segments.empty()) {
        promise->set_value(request);
        return tasks;
    }
    int id = 0;
    for (const IORequest::Segment& segment : request->segments) {
        tasks.emplace_back(id++,
                           IOPool::task_type(BlockTask{source, request, promise, segment.block,
                                                       segment.destinationOffset, segment.length,
                                                       segment.blockOffset}));
    }
    return tasks;
}

std::future<std::shared_ptr<IORequest>> failedRead() {
    RequestPromise promise;
    promise.set_exception(std::make_exception_ptr(std::runtime_error("Read Failed")));
    return promise.get_future();
}

}  // namespace

IOPool::Settings IOPool::Settings::FromOptions() {
    return Settings{s_opt_lumo_iopool_block_cache(), s_opt_lumo_iopool_block_size(),
                    s_opt_lumo_iopool_threads()};
}

IOPool::IOPool()
    : thread_pool(s_opt_lumo_iopool_threads, kIOPoolName, kIOThreadName),
      warehouse_(IOWarehouse::process()) {
    logThreads(num_threads());
}

IOPool::IOPool(const Settings& settings)
    : thread_pool(settings.threads, kIOPoolName, kIOThreadName),
      warehouse_(std::make_shared<IOWarehouse>(settings.blockCache, settings.blockSize)) {
    logThreads(num_threads());
    previous_ = s_servingPool.exchange(this);
    IOWarehouse::serve(warehouse_);
}

IOPool::~IOPool() {
    if (s_servingPool.load() == this) {
        s_servingPool.store(previous_);
        IOWarehouse::serve(previous_ != nullptr ? previous_->warehouse_ : nullptr);
    }
}

IOPool& IOPool::get() {
    if (IOPool* serving = s_servingPool.load()) {
        return *serving;
    }
    static IOPool pool;
    return pool;
}

size_t IOPool::DefaultBlockSize() {
    return IOWarehouse::current()->blockSize();
}

void IOPool::SetDefaultBlockSize(size_t size) {
    IOWarehouse::current()->blockSize(size);
}

std::shared_ptr<IOSource> IOPool::Open(const NITFURI& uri) {
    get();
    return IOSource::Create(uri);
}

std::shared_ptr<IORequest> IOPool::Await(std::future<std::shared_ptr<IORequest>>& read) {
    get().help_until_ready(read);
    return read.get();
}

std::future<std::shared_ptr<IORequest>> IOPool::Read(const NITFURI& uri, size_t offset, size_t size,
                                                     uint8_t* destination) {
    return Read(Open(uri), offset, size, destination);
}

std::future<std::shared_ptr<IORequest>> IOPool::Read(const std::shared_ptr<IOSource>& source,
                                                     size_t offset, size_t size,
                                                     uint8_t* destination) {
    IOPool& pool = get();
    if (!source) {
        return failedRead();
    }
    std::shared_ptr<IORequest> request = source->CreateRequest(offset, size, destination);
    auto promise = std::make_shared<RequestPromise>();
    auto future = promise->get_future();
    if (request->segments.empty()) {
        // Everything came from finished blocks: no hand-over, and no worker is woken.
        promise->set_value(request);
        return future;
    }
    pool.queue_tasks([&] { return blockTasks(source, request, promise); });
    return future;
}

std::shared_ptr<IORequest> IOPool::ReadNow(const std::shared_ptr<IOSource>& source, size_t offset,
                                           size_t size, uint8_t* destination) {
    IOPool& pool = get();
    if (!source) {
        throw std::runtime_error("Read Failed");
    }
    std::shared_ptr<IORequest> request = source->CreateRequest(offset, size, destination);
    if (request->segments.empty()) {
        return request;  // copied from finished blocks already
    }
    auto promise = std::make_shared<RequestPromise>();
    auto future = promise->get_future();
    pool.queue_tasks([&] { return blockTasks(source, request, promise); });
    pool.help_until_ready(future);
    return future.get();
}

void IOPool::Clear(const std::wstring_view& uri) {
    IOWarehouse::current()->clear(uri);
}

IOPool::Metrics IOPool::GetMetrics() {
    return IOWarehouse::current()->metrics();
}

}  // namespace Tessel
