#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// NITRO's byte source and sink over the block pool: reads go through IOPool, so that
// everything NITRO parses comes from the block cache, and writes go to the file layer.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "tessel/core/NITFURI.h"
#include "tessel/platform/base/nitf_fs.h"
#include "tessel/platform/nitf/nrt_Error.h"
#include "tessel/platform/nitf/nrt_IOInterface.h"
#include "tessel/platform/nitf/nrt_Types.h"

namespace Tessel {

class IOSource;

class NitroGdalIOInterface {
public:
    // An nrt_IOInterface over `uri` with NITRO's access code (NRT_ACCESS_READONLY,
    // _WRITEONLY or _READWRITE), to be ended with nrt_IOInterface_destruct. Null when the
    // file can't be probed (read) or created (write), with `error` filled where known.
    static nrt_IOInterface* Create(const NITFURI& uri, nrt_AccessFlags access, nrt_Error* error);

    // For read access probes the head of the file through the pool; for the others creates
    // the file. Throws std::runtime_error on failure.
    NitroGdalIOInterface(const NITFURI& uri, nrt_AccessFlags access, nrt_Error* error);
    // After writing, drops the cached head of the path, so that a re-open sees the new file.
    ~NitroGdalIOInterface();
    NitroGdalIOInterface(const NitroGdalIOInterface&) = delete;
    NitroGdalIOInterface& operator=(const NitroGdalIOInterface&) = delete;

    // The entries of the interface table.
    bool read(void* buffer, size_t count, nrt_Error* error);
    bool write(const void* buffer, size_t count, nrt_Error* error);
    // Origin 0 sets the position, 1 adds to it, 2 sets it to the file's size less
    // `offset`; any other origin leaves it. The new position.
    nrt_Off seek(nrt_Off offset, int origin);
    nrt_Off tell() const;
    // The file's size, asked of the file layer at each call.
    nrt_Off getSize() const;
    // Always NRT_ACCESS_READWRITE.
    int getMode() const;

    const NITFURI& uri() const { return uri_; }
    // "r", "w" or "w+".
    const std::string& mode() const { return mode_; }

private:
    NITFURI uri_;
    uint64_t position_ = 0;
    // The source of every read: blocks are found by the URI's key, so one source serves
    // all of them, and a parse's thousands of small reads don't make one each.
    std::shared_ptr<IOSource> source_;
    std::string mode_;
    std::unique_ptr<nitf_fs::adapter::nitf_fs_adapter_io> handle_;  // empty for reading
};

}  // namespace Tessel

TESSEL_PUBLIC_END
