#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// Output that appears whole or not at all, and the copy of an open file through the record
// layer.

#include <functional>
#include <string>

#include "tessel/file/NITFFileContext.h"
#include "tessel/platform/nitf/nrt_IOInterface.h"

namespace Tessel {

// Writes the file at `path` by calling `write` with the name of a new temporary file in
// the same folder, which is renamed to `path` only when `write` succeeded and the bytes
// are on disk. On failure the temporary file is removed, an existing file at `path` stays
// as it was, and `error` says why.
bool writeAtomically(
    const std::string& path,
    const std::function<bool(const std::string& temporary, std::string& error)>& write,
    std::string& error);

// Opens a new file for writing with the record layer; null with `error` set on failure.
nrt_IOInterface* openOutput(const std::string& path, std::string& error);

// Writes the record of an open file to `output`: every header, subheader and TRE from the
// record, each segment's data copied as it stands in the file.
bool copyRecord(const NITFFileContext& context, nrt_IOInterface* output, std::string& error);
// The same for a file held without a context, such as one opened apart from the cache to be
// changed and written again.
bool copyRecord(NITFFile& file, nrt_IOInterface* output, std::string& error);

// Writes the record of a file to `path` with copyRecord, atomically as writeAtomically does.
bool writeRecordCopy(NITFFile& file, const std::string& path, std::string& error);

}  // namespace Tessel

TESSEL_PUBLIC_END
