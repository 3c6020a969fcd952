#include "tessel/io/IOSource.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <exception>
#include <filesystem>
#include <limits>
#include <stdexcept>

#include "io/IOWarehouse.h"
#include "tessel/platform/base/nitf_fs.h"

namespace Tessel {

namespace {

// Reserving for more segments than this up front isn't worth it: a request that large is
// rare, and its vector grows as it goes.
constexpr uint64_t kMaxReservedSegments = 4096;

// A source over the file layer. It keeps no file open between blocks: each read opens the
// file, reads one block and closes it, so any number of threads read one file with no
// shared position.
class IOSource_GDAL final : public IOSource {
public:
    explicit IOSource_GDAL(const NITFURI& uri) : IOSource(uri) {}

protected:
    bool read(IOBlock& block, NITFMessages& messages) const override {
        const NITFURI uri = this->uri();
        if (readBlock(uri.nativePath(), block) > 0) {
            return true;
        }
        messages.emplace_back("Read Error");
        return false;
    }

private:
    // The count of bytes read into the block's data, which ends up that long.
    static size_t readBlock(const std::filesystem::path& path, IOBlock& block) {
        auto file = nitf_fs::ext::open(path, nitf_fs::ext::io_read_only);
        if (!file) {
            return 0;
        }
        uint64_t count = block.size;
        if (count == 0) {
            const uint64_t fileSize = nitf_fs::ext::status(path).size();
            count = fileSize > block.offset ? fileSize - block.offset : 0;
        }
        if (block.offset > static_cast<uint64_t>(std::numeric_limits<int64_t>::max()) ||
            !file->seek(static_cast<int64_t>(block.offset), 0)) {
            file->close();
            return 0;
        }
        if (block.data.size() < count) {
            block.data.resize(count);  // not cleared: the data ends where the read ends
        }
        const size_t got = file->read(block.data.data(), count);
        block.data.resize(got);
        file->close();
        return got;
    }
};

// Copies what a finished block holds for a request. A block whose data is shorter than
// the length delivers zeros; otherwise the bytes from `inside` on are copied, and the part
// that lies past a short final block is zero, as the block's buffer held it.
void deliverFinished(const IOBlock& block, uint64_t inside, uint64_t length, uint8_t* destination) {
    const auto& data = block.data;
    if (data.size() < length) {
        std::memset(destination, 0, length);
        return;
    }
    const uint64_t available = inside < data.size() ? std::min(length, data.size() - inside) : 0;
    std::memcpy(destination, data.data() + inside, available);
    std::memset(destination + available, 0, length - available);
}

uint64_t nanosecondsSince(std::chrono::steady_clock::time_point start) {
    const auto elapsed = std::chrono::steady_clock::now() - start;
    return static_cast<uint64_t>(
        std::chrono::duration_cast<std::chrono::nanoseconds>(elapsed).count());
}

}  // namespace

IOSource::IOSource(const NITFURI& uri)
    : uri_(uri), key_(uri.cacheKey()), warehouse_(IOWarehouse::current()) {
    blockSize_ = warehouse_->blockSize();
}

IOSource::~IOSource() = default;

std::shared_ptr<IOSource> IOSource::Create(const NITFURI& uri) {
    try {
        return std::make_shared<IOSource_GDAL>(uri);
    } catch (...) {
        return {};
    }
}

std::shared_ptr<IORequest> IOSource::CreateRequest(size_t offset, size_t size,
                                                   uint8_t* destination) const {
    if (size > std::numeric_limits<uint64_t>::max() - offset) {
        throw std::out_of_range("Read beyond the last addressable byte");
    }
    auto request = std::make_shared<IORequest>(offset, size, destination);
    const uint64_t blockSize = blockSize_;
    if (size > 0) {
        const uint64_t blocks = (offset + size - 1) / blockSize - offset / blockSize + 1;
        request->segments.reserve(std::min(blocks, kMaxReservedSegments));
    }
    uint64_t done = 0;
    while (done < size) {
        const uint64_t index = (offset + done) / blockSize;
        const uint64_t inside = (offset + done) % blockSize;
        const uint64_t length = std::min(blockSize - inside, size - done);
        std::shared_ptr<IOBlock> block = warehouse_->findOrCreate(key_, index, blockSize);
        if (!block->done.load()) {
            request->pending.fetch_add(length);
            request->segments.push_back({done, length, inside, std::move(block)});
        } else if (destination != nullptr) {
            // A failed block isn't looked at here: it delivers what it holds.
            deliverFinished(*block, inside, length, destination + done);
        }
        done += length;
    }
    return request;
}

bool IOSource::Read(IOBlock& block, NITFMessages& messages,
                    lumo_concurrency::execution_context& context) const {
    if (block.done.load()) {
        return block.ok.load();
    }
    std::unique_lock lock(block.lock, std::defer_lock);
    context.acquire(lock);
    if (block.done.load()) {
        return block.ok.load();
    }
    warehouse_->countRead(block.size);
    try {
        lumo_concurrency::track_span span(6, "IO Read");
        const auto start = std::chrono::steady_clock::now();
        const bool ok = read(block, messages);
        block.ok.store(ok);
        warehouse_->addReadTime(nanosecondsSince(start));
    } catch (const std::exception& e) {
        messages.emplace_back(e.what());
        block.ok.store(false);
    }
    block.done.store(true);
    return block.ok.load();
}

}  // namespace Tessel
