#include "tessel/io/NitroGdalIOInterface.h"

#include <cstdlib>
#include <exception>
#include <limits>
#include <optional>
#include <stdexcept>
#include <vector>

#include "tessel/io/IOPool.h"
#include "tessel/io/IOSource.h"
#include "tessel/platform/base/text.h"

namespace Tessel {

namespace {

constexpr size_t kProbeSize = 256;

std::string modeText(nrt_AccessFlags access) {
    switch (access) {
        case NRT_ACCESS_WRITEONLY:
            return "w";
        case NRT_ACCESS_READWRITE:
            return "w+";
        default:
            return "r";
    }
}

// NITRO's callers may pass no error record; the failure is then only in the result.
nrt_Error* errorRecord(nrt_Error* error, nrt_Error& fallback) {
    return error != nullptr ? error : &fallback;
}

void reportFailure(nrt_Error* error, const char* func, int code) {
    nrt_Error fallback{};
    // "Read Error" is the text of write failures too.
    nrt_Error_initf(errorRecord(error, fallback), __FILE__, __LINE__, func, code, "%s",
                    "Read Error");
}

NitroGdalIOInterface* self(NRT_DATA* data) {
    return static_cast<NitroGdalIOInterface*>(data);
}

NRT_BOOL ioRead(NRT_DATA* data, void* buffer, size_t size, nrt_Error* error) {
    return data != nullptr && self(data)->read(buffer, size, error);
}
NRT_BOOL ioWrite(NRT_DATA* data, const void* buffer, size_t size, nrt_Error* error) {
    return data != nullptr && self(data)->write(buffer, size, error);
}
NRT_BOOL ioCanSeek(NRT_DATA* /*data*/, nrt_Error* /*error*/) {
    return true;
}
nrt_Off ioSeek(NRT_DATA* data, nrt_Off offset, int whence, nrt_Error* /*error*/) {
    return data != nullptr ? self(data)->seek(offset, whence) : -1;
}
nrt_Off ioTell(NRT_DATA* data, nrt_Error* /*error*/) {
    return data != nullptr ? self(data)->tell() : -1;
}
nrt_Off ioGetSize(NRT_DATA* data, nrt_Error* /*error*/) {
    return data != nullptr ? self(data)->getSize() : -1;
}
int ioGetMode(NRT_DATA* data, nrt_Error* /*error*/) {
    return data != nullptr ? self(data)->getMode() : 0;
}
// The real end is destruct.
NRT_BOOL ioClose(NRT_DATA* /*data*/, nrt_Error* /*error*/) {
    return true;
}
void ioDestruct(NRT_DATA* data) {
    delete self(data);
}

nrt_IIOInterface s_table = {ioRead,    ioWrite,   ioCanSeek, ioSeek,    ioTell,
                            ioGetSize, ioGetMode, ioClose,   ioDestruct};

}  // namespace

nrt_IOInterface* NitroGdalIOInterface::Create(const NITFURI& uri, nrt_AccessFlags access,
                                              nrt_Error* error) {
    std::unique_ptr<NitroGdalIOInterface> object;
    try {
        object = std::make_unique<NitroGdalIOInterface>(uri, access, error);
    } catch (...) {
        return nullptr;
    }
    // nrt_IOInterface_destruct frees the wrapper with free().
    auto* io = static_cast<nrt_IOInterface*>(std::malloc(sizeof(nrt_IOInterface)));
    if (io == nullptr) {
        nrt_Error fallback{};
        nrt_Error_init(errorRecord(error, fallback), "out of memory", NRT_CTXT, NRT_ERR_MEMORY);
        return nullptr;
    }
    io->data = object.release();
    io->iface = &s_table;
    return io;
}

NitroGdalIOInterface::NitroGdalIOInterface(const NITFURI& uri, nrt_AccessFlags access,
                                           nrt_Error* error)
    : uri_(uri), mode_(modeText(access)) {
    if (mode_ != "r") {
        handle_ = nitf_fs::ext::open(uri_.nativePath(), nitf_fs::ext::io_create);
        if (!handle_) {
            throw std::runtime_error("File creation failed.");
        }
        return;
    }
    // The probe also brings the head of the file into the cache, where the parse finds it.
    std::optional<std::string> failure;
    try {
        source_ = IOPool::Open(uri_);
        std::vector<uint8_t> buffer(kProbeSize);
        const auto request = IOPool::Read(source_, 0, kProbeSize, buffer.data()).get();
        if (!request || request->size != kProbeSize) {
            failure = "Read Error";
        }
    } catch (const std::exception& e) {
        failure = e.what();
    }
    if (failure) {
        nrt_Error fallback{};
        nrt_Error* record = errorRecord(error, fallback);
        const std::string original = std::to_string(std::wstring_view(uri_.getOriginalURI()));
        nrt_Error_initf(record, __FILE__, __LINE__, "NitroGDALIOInterface", NRT_ERR_OPENING_FILE,
                        "%s: %s", original.c_str(), failure->c_str());
        throw std::runtime_error(record->message);
    }
}

NitroGdalIOInterface::~NitroGdalIOInterface() {
    if (mode_ == "w" || mode_ == "w+") {
        try {
            // Blocks read from the path before it was overwritten must not serve a re-open.
            IOPool::Clear(uri_.getURI_u16(URIParts::Everything));
        } catch (...) {
        }
    }
    if (handle_) {
        handle_->close();
    }
}

bool NitroGdalIOInterface::read(void* buffer, size_t count, nrt_Error* error) {
    try {
        // NITRO wants its bytes now: wait for them. Most reads of a parse are a few bytes
        // of a block read before, and are copied without a hand-over.
        const auto request = IOPool::ReadNow(source_ ? source_ : IOPool::Open(uri_), position_,
                                             count, static_cast<uint8_t*>(buffer));
        if (!request || request->size == 0) {
            reportFailure(error, "read", NRT_ERR_READING_FROM_FILE);
            return false;
        }
        position_ += request->size;
        return true;
    } catch (...) {
        reportFailure(error, "read", NRT_ERR_READING_FROM_FILE);
        return false;
    }
}

bool NitroGdalIOInterface::write(const void* buffer, size_t count, nrt_Error* error) {
    if (!handle_) {
        return false;
    }
    try {
        const bool placed =
            position_ <= static_cast<uint64_t>(std::numeric_limits<int64_t>::max()) &&
            handle_->seek(static_cast<int64_t>(position_), 0);
        if (placed && handle_->write(buffer, count) > 0) {
            position_ += count;
            return true;
        }
        reportFailure(error, "write", NRT_ERR_WRITING_TO_FILE);
        return false;
    } catch (...) {
        reportFailure(error, "write", NRT_ERR_READING_FROM_FILE);
        return false;
    }
}

nrt_Off NitroGdalIOInterface::seek(nrt_Off offset, int origin) {
    // Positions wrap as unsigned numbers: a position before the start fails at the next
    // read, not here.
    switch (origin) {
        case 0:
            position_ = static_cast<uint64_t>(offset);
            break;
        case 1:
            position_ += static_cast<uint64_t>(offset);
            break;
        case 2:
            // NITRO passes 0 or a positive distance from the end.
            position_ = nitf_fs::file_size(uri_.nativePath()) - static_cast<uint64_t>(offset);
            break;
        default:
            break;
    }
    return static_cast<nrt_Off>(position_);
}

nrt_Off NitroGdalIOInterface::tell() const {
    return static_cast<nrt_Off>(position_);
}

nrt_Off NitroGdalIOInterface::getSize() const {
    return static_cast<nrt_Off>(nitf_fs::file_size(uri_.nativePath()));
}

int NitroGdalIOInterface::getMode() const {
    return static_cast<int>(NRT_ACCESS_READWRITE);
}

}  // namespace Tessel
