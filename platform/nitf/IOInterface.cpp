#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "tessel/platform/nitf/nrt_IOInterface.h"

namespace {

bool checkInterface(nrt_IOInterface* io, nrt_Error* error) {
    if (io == nullptr || io->iface == nullptr) {
        nrt_Error_init(error, "IO interface is NULL", NRT_CTXT, NRT_ERR_INVALID_OBJECT);
        return false;
    }
    return true;
}

nrt_IOInterface* wrap(NRT_DATA* data, nrt_IIOInterface* iface, nrt_Error* error) {
    auto* io = static_cast<nrt_IOInterface*>(std::malloc(sizeof(nrt_IOInterface)));
    if (io == nullptr) {
        nrt_Error_init(error, "out of memory", NRT_CTXT, NRT_ERR_MEMORY);
        return nullptr;
    }
    io->data = data;
    io->iface = iface;
    return io;
}

// --- file adapter -------------------------------------------------------------------------

struct FileHandle {
    int fd = -1;
    int mode = 0;
};

int openFlags(nrt_AccessFlags access, nrt_CreationFlags creation) {
    int flags = 0;
    if ((access & NRT_ACCESS_READWRITE) == NRT_ACCESS_READWRITE) {
        flags = O_RDWR;
    } else if ((access & NRT_ACCESS_WRITEONLY) != 0) {
        flags = O_WRONLY;
    } else {
        flags = O_RDONLY;
    }
    if ((creation & NRT_CREATE) != 0) {
        flags |= O_CREAT;
    }
    if ((creation & NRT_TRUNCATE) != 0) {
        flags |= O_TRUNC;
    }
    return flags | O_CLOEXEC;
}

NRT_BOOL fileRead(NRT_DATA* data, void* buf, size_t size, nrt_Error* error) {
    auto* handle = static_cast<FileHandle*>(data);
    auto* out = static_cast<char*>(buf);
    size_t done = 0;
    while (done < size) {
        ssize_t got = ::read(handle->fd, out + done, size - done);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            nrt_Error_initf(error, NRT_CTXT, NRT_ERR_READING_FROM_FILE, "read failed: %s",
                            std::strerror(errno));
            return false;
        }
        if (got == 0) {
            nrt_Error_initf(error, NRT_CTXT, NRT_ERR_READING_FROM_FILE,
                            "read of %zu bytes reached the end of the file after %zu", size, done);
            return false;
        }
        done += static_cast<size_t>(got);
    }
    return true;
}

NRT_BOOL fileWrite(NRT_DATA* data, const void* buf, size_t size, nrt_Error* error) {
    auto* handle = static_cast<FileHandle*>(data);
    const auto* in = static_cast<const char*>(buf);
    size_t done = 0;
    while (done < size) {
        ssize_t put = ::write(handle->fd, in + done, size - done);
        if (put < 0 && errno == EINTR) {
            continue;
        }
        if (put <= 0) {
            nrt_Error_initf(error, NRT_CTXT, NRT_ERR_WRITING_TO_FILE, "write failed: %s",
                            std::strerror(errno));
            return false;
        }
        done += static_cast<size_t>(put);
    }
    return true;
}

NRT_BOOL fileCanSeek(NRT_DATA*, nrt_Error*) {
    return true;
}

nrt_Off fileSeek(NRT_DATA* data, nrt_Off offset, int whence, nrt_Error* error) {
    auto* handle = static_cast<FileHandle*>(data);
    int posixWhence = whence == NRT_SEEK_CUR   ? SEEK_CUR
                      : whence == NRT_SEEK_END ? SEEK_END
                                               : SEEK_SET;
    off_t at = ::lseek(handle->fd, static_cast<off_t>(offset), posixWhence);
    if (at < 0) {
        nrt_Error_initf(error, NRT_CTXT, NRT_ERR_SEEKING_IN_FILE, "seek failed: %s",
                        std::strerror(errno));
        return -1;
    }
    return at;
}

nrt_Off fileTell(NRT_DATA* data, nrt_Error* error) {
    return fileSeek(data, 0, NRT_SEEK_CUR, error);
}

nrt_Off fileGetSize(NRT_DATA* data, nrt_Error* error) {
    auto* handle = static_cast<FileHandle*>(data);
    struct stat info {};
    if (::fstat(handle->fd, &info) != 0) {
        nrt_Error_initf(error, NRT_CTXT, NRT_ERR_STAT_FILE, "stat failed: %s",
                        std::strerror(errno));
        return -1;
    }
    return info.st_size;
}

int fileGetMode(NRT_DATA* data, nrt_Error*) {
    return static_cast<FileHandle*>(data)->mode;
}

NRT_BOOL fileClose(NRT_DATA* data, nrt_Error* error) {
    auto* handle = static_cast<FileHandle*>(data);
    if (handle->fd >= 0 && ::close(handle->fd) != 0) {
        handle->fd = -1;
        nrt_Error_initf(error, NRT_CTXT, NRT_ERR_UNK, "close failed: %s", std::strerror(errno));
        return false;
    }
    handle->fd = -1;
    return true;
}

void fileDestruct(NRT_DATA* data) {
    auto* handle = static_cast<FileHandle*>(data);
    if (handle != nullptr && handle->fd >= 0) {
        ::close(handle->fd);
    }
    delete handle;
}

nrt_IIOInterface fileInterface = {fileRead,    fileWrite,   fileCanSeek, fileSeek,    fileTell,
                                  fileGetSize, fileGetMode, fileClose,   fileDestruct};

// --- memory adapters ----------------------------------------------------------------------

// A fixed region (possibly borrowed) or a growable one; both keep a position.
struct MemoryBuffer {
    char* fixed = nullptr;
    size_t fixedSize = 0;
    bool ownFixed = false;
    bool growable = false;
    std::vector<char> grown;
    size_t position = 0;

    size_t size() const { return growable ? grown.size() : fixedSize; }
    const char* bytes() const { return growable ? grown.data() : fixed; }
};

NRT_BOOL memoryRead(NRT_DATA* data, void* buf, size_t size, nrt_Error* error) {
    auto* memory = static_cast<MemoryBuffer*>(data);
    size_t available = memory->position < memory->size() ? memory->size() - memory->position : 0;
    if (size > available) {
        nrt_Error_initf(error, NRT_CTXT, NRT_ERR_READING_FROM_FILE,
                        "read of %zu bytes at %zu passes the end of the buffer (%zu bytes)", size,
                        memory->position, memory->size());
        return false;
    }
    if (size > 0) {
        std::memcpy(buf, memory->bytes() + memory->position, size);
    }
    memory->position += size;
    return true;
}

NRT_BOOL memoryWrite(NRT_DATA* data, const void* buf, size_t size, nrt_Error* error) {
    auto* memory = static_cast<MemoryBuffer*>(data);
    if (memory->growable) {
        if (memory->position + size > memory->grown.size()) {
            memory->grown.resize(memory->position + size, 0);
        }
        if (size > 0) {
            std::memcpy(memory->grown.data() + memory->position, buf, size);
        }
        memory->position += size;
        return true;
    }
    if (memory->position > memory->fixedSize || size > memory->fixedSize - memory->position) {
        nrt_Error_initf(error, NRT_CTXT, NRT_ERR_WRITING_TO_FILE,
                        "write of %zu bytes at %zu passes the end of the buffer (%zu bytes)", size,
                        memory->position, memory->fixedSize);
        return false;
    }
    if (size > 0) {
        std::memcpy(memory->fixed + memory->position, buf, size);
    }
    memory->position += size;
    return true;
}

NRT_BOOL memoryCanSeek(NRT_DATA*, nrt_Error*) {
    return true;
}

nrt_Off memorySeek(NRT_DATA* data, nrt_Off offset, int whence, nrt_Error* error) {
    auto* memory = static_cast<MemoryBuffer*>(data);
    nrt_Off base = 0;
    if (whence == NRT_SEEK_CUR) {
        base = static_cast<nrt_Off>(memory->position);
    } else if (whence == NRT_SEEK_END) {
        base = static_cast<nrt_Off>(memory->size());
    }
    nrt_Off target = base + offset;
    bool beyond = !memory->growable && target > static_cast<nrt_Off>(memory->fixedSize);
    if (target < 0 || beyond) {
        nrt_Error_initf(error, NRT_CTXT, NRT_ERR_SEEKING_IN_FILE,
                        "seek to %lld is outside the buffer (%zu bytes)",
                        static_cast<long long>(target), memory->size());
        return -1;
    }
    memory->position = static_cast<size_t>(target);
    return target;
}

nrt_Off memoryTell(NRT_DATA* data, nrt_Error*) {
    return static_cast<nrt_Off>(static_cast<MemoryBuffer*>(data)->position);
}

nrt_Off memoryGetSize(NRT_DATA* data, nrt_Error*) {
    return static_cast<nrt_Off>(static_cast<MemoryBuffer*>(data)->size());
}

int memoryGetMode(NRT_DATA*, nrt_Error*) {
    return static_cast<int>(NRT_ACCESS_READWRITE);
}

NRT_BOOL memoryClose(NRT_DATA*, nrt_Error*) {
    return true;
}

void memoryDestruct(NRT_DATA* data) {
    auto* memory = static_cast<MemoryBuffer*>(data);
    if (memory != nullptr && memory->ownFixed) {
        std::free(memory->fixed);
    }
    delete memory;
}

nrt_IIOInterface memoryInterface = {memoryRead,    memoryWrite, memoryCanSeek,
                                    memorySeek,    memoryTell,  memoryGetSize,
                                    memoryGetMode, memoryClose, memoryDestruct};

}  // namespace

extern "C" {

NRT_BOOL nrt_IOInterface_read(nrt_IOInterface* io, void* buf, size_t size, nrt_Error* error) {
    return checkInterface(io, error) && io->iface->read(io->data, buf, size, error);
}

NRT_BOOL nrt_IOInterface_write(nrt_IOInterface* io, const void* buf, size_t size,
                               nrt_Error* error) {
    return checkInterface(io, error) && io->iface->write(io->data, buf, size, error);
}

NRT_BOOL nrt_IOInterface_canSeek(nrt_IOInterface* io, nrt_Error* error) {
    return checkInterface(io, error) && io->iface->canSeek(io->data, error);
}

nrt_Off nrt_IOInterface_seek(nrt_IOInterface* io, nrt_Off offset, int whence, nrt_Error* error) {
    return checkInterface(io, error) ? io->iface->seek(io->data, offset, whence, error) : -1;
}

nrt_Off nrt_IOInterface_tell(nrt_IOInterface* io, nrt_Error* error) {
    return checkInterface(io, error) ? io->iface->tell(io->data, error) : -1;
}

nrt_Off nrt_IOInterface_getSize(nrt_IOInterface* io, nrt_Error* error) {
    return checkInterface(io, error) ? io->iface->getSize(io->data, error) : -1;
}

int nrt_IOInterface_getMode(nrt_IOInterface* io, nrt_Error* error) {
    return checkInterface(io, error) ? io->iface->getMode(io->data, error) : -1;
}

NRT_BOOL nrt_IOInterface_close(nrt_IOInterface* io, nrt_Error* error) {
    return checkInterface(io, error) && io->iface->close(io->data, error);
}

void nrt_IOInterface_destruct(nrt_IOInterface** io) {
    if (io == nullptr || *io == nullptr) {
        return;
    }
    if ((*io)->iface != nullptr && (*io)->iface->destruct != nullptr) {
        (*io)->iface->destruct((*io)->data);
    }
    std::free(*io);
    *io = nullptr;
}

nrt_IOInterface* nrt_IOHandleAdapter_open(const char* path, nrt_AccessFlags access,
                                          nrt_CreationFlags creation, nrt_Error* error) {
    if (path == nullptr) {
        nrt_Error_init(error, "file name is NULL", NRT_CTXT, NRT_ERR_INVALID_PARAMETER);
        return nullptr;
    }
    int fd = ::open(path, openFlags(access, creation), 0666);
    if (fd < 0) {
        nrt_Error_initf(error, NRT_CTXT, NRT_ERR_OPENING_FILE, "cannot open %s: %s", path,
                        std::strerror(errno));
        return nullptr;
    }
    auto* handle = new (std::nothrow) FileHandle{fd, static_cast<int>(access)};
    if (handle == nullptr) {
        ::close(fd);
        nrt_Error_init(error, "out of memory", NRT_CTXT, NRT_ERR_MEMORY);
        return nullptr;
    }
    nrt_IOInterface* io = wrap(handle, &fileInterface, error);
    if (io == nullptr) {
        fileDestruct(handle);
    }
    return io;
}

nrt_IOInterface* nrt_BufferAdapter_construct(char* buffer, size_t size, NRT_BOOL ownBuffer,
                                             nrt_Error* error) {
    if (buffer == nullptr && size > 0) {
        nrt_Error_init(error, "buffer is NULL", NRT_CTXT, NRT_ERR_INVALID_PARAMETER);
        return nullptr;
    }
    auto* memory = new (std::nothrow) MemoryBuffer;
    if (memory == nullptr) {
        nrt_Error_init(error, "out of memory", NRT_CTXT, NRT_ERR_MEMORY);
        return nullptr;
    }
    memory->fixed = buffer;
    memory->fixedSize = size;
    memory->ownFixed = ownBuffer;
    nrt_IOInterface* io = wrap(memory, &memoryInterface, error);
    if (io == nullptr) {
        memory->ownFixed = false;
        memoryDestruct(memory);
    }
    return io;
}

nrt_IOInterface* nrt_BufferAdapter_constructGrowable(nrt_Error* error) {
    auto* memory = new (std::nothrow) MemoryBuffer;
    if (memory == nullptr) {
        nrt_Error_init(error, "out of memory", NRT_CTXT, NRT_ERR_MEMORY);
        return nullptr;
    }
    memory->growable = true;
    nrt_IOInterface* io = wrap(memory, &memoryInterface, error);
    if (io == nullptr) {
        memoryDestruct(memory);
    }
    return io;
}

const char* nrt_BufferAdapter_getBuffer(nrt_IOInterface* io, size_t* size) {
    if (io == nullptr || io->iface != &memoryInterface) {
        if (size != nullptr) {
            *size = 0;
        }
        return nullptr;
    }
    auto* memory = static_cast<MemoryBuffer*>(io->data);
    if (size != nullptr) {
        *size = memory->size();
    }
    return memory->bytes();
}

}  // extern "C"
