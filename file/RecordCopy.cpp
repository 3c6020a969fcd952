#include "tessel/file/RecordCopy.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <vector>

#include "tessel/file/NITFFile.h"
#include "tessel/platform/nitf.h"

namespace Tessel {
namespace {

std::string copyErrorText(const nrt_Error& error) {
    return error.message[0] != '\0' ? std::string(error.message) : "unknown error";
}

// Where a segment's data lies in the input, cut to the bytes the input holds.
struct CopyDataRange {
    uint64_t offset;
    uint64_t end;
};

std::vector<CopyDataRange> copyRangesOf(nitf_Record* record, size_t kind) {
    std::vector<CopyDataRange> ranges;
    auto collect = [&ranges](nitf_List* list, auto member) {
        for (nitf_ListIterator it = nitf_List_begin(list), end = nitf_List_end(list);
             nitf_ListIterator_notEqualTo(&it, &end); nitf_ListIterator_increment(&it)) {
            ranges.push_back(member(nitf_ListIterator_get(&it)));
        }
    };
    switch (kind) {
        case 0:
            collect(record->images, [](void* s) {
                auto* seg = static_cast<nitf_ImageSegment*>(s);
                return CopyDataRange{seg->imageOffset, seg->imageEnd};
            });
            break;
        case 1:
            collect(record->graphics, [](void* s) {
                auto* seg = static_cast<nitf_GraphicSegment*>(s);
                return CopyDataRange{seg->offset, seg->end};
            });
            break;
        case 2:
            collect(record->labels, [](void* s) {
                auto* seg = static_cast<nitf_LabelSegment*>(s);
                return CopyDataRange{seg->offset, seg->end};
            });
            break;
        case 3:
            collect(record->texts, [](void* s) {
                auto* seg = static_cast<nitf_TextSegment*>(s);
                return CopyDataRange{seg->offset, seg->end};
            });
            break;
        case 4:
            collect(record->dataExtensions, [](void* s) {
                auto* seg = static_cast<nitf_DESegment*>(s);
                return CopyDataRange{seg->offset, seg->end};
            });
            break;
        default:
            collect(record->reservedExtensions, [](void* s) {
                auto* seg = static_cast<nitf_RESegment*>(s);
                return CopyDataRange{seg->offset, seg->end};
            });
            break;
    }
    return ranges;
}

using CopySetHandler = NITF_BOOL (*)(nitf_Writer*, int, nitf_WriteHandler*, nitf_Error*);
constexpr CopySetHandler kCopySetHandlers[] = {
    nitf_Writer_setImageWriteHandler, nitf_Writer_setGraphicWriteHandler,
    nitf_Writer_setLabelWriteHandler, nitf_Writer_setTextWriteHandler,
    nitf_Writer_setDEWriteHandler,    nitf_Writer_setREWriteHandler};

bool attachCopyHandlers(nitf_Writer* writer, nitf_Record* record, nrt_IOInterface* input,
                        uint64_t inputSize, nrt_Error* error) {
    for (size_t kind = 0; kind < std::size(kCopySetHandlers); ++kind) {
        const std::vector<CopyDataRange> ranges = copyRangesOf(record, kind);
        for (size_t i = 0; i < ranges.size(); ++i) {
            // Data cut short at the end of the file is copied as far as it goes.
            const uint64_t end = std::min(ranges[i].end, inputSize);
            const uint64_t begin = std::min(ranges[i].offset, end);
            nitf_WriteHandler* handler =
                nitf_StreamIOWriteHandler_construct(input, begin, end - begin, error);
            if (handler == nullptr ||
                !kCopySetHandlers[kind](writer, static_cast<int>(i), handler, error)) {
                nitf_WriteHandler_destruct(&handler);
                return false;
            }
        }
    }
    return true;
}

}  // namespace

bool writeAtomically(
    const std::string& path,
    const std::function<bool(const std::string& temporary, std::string& error)>& write,
    std::string& error) {
    namespace fs = std::filesystem;
    const fs::path target(path);
    const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
    std::string pattern = (folder / ("." + target.filename().string() + ".XXXXXX")).string();
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    const int fd = ::mkstemp(name.data());
    if (fd < 0) {
        error = "can't create a file in " + folder.string() + ": " + std::strerror(errno);
        return false;
    }
    // mkstemp makes the file private; give it the mode a new file would get.
    const mode_t mask = ::umask(0);
    ::umask(mask);
    static_cast<void>(::fchmod(fd, 0666 & ~mask));
    ::close(fd);
    const std::string temporary(name.data());
    bool ok = write(temporary, error);
    if (ok) {
        const int sync = ::open(temporary.c_str(), O_RDONLY);
        ok = sync >= 0 && ::fsync(sync) == 0;
        if (!ok) {
            error = "can't flush " + path + ": " + std::strerror(errno);
        }
        if (sync >= 0) {
            ::close(sync);
        }
    }
    if (ok && std::rename(temporary.c_str(), path.c_str()) != 0) {
        error = "can't rename the output to " + path + ": " + std::strerror(errno);
        ok = false;
    }
    if (!ok) {
        std::remove(temporary.c_str());
    }
    return ok;
}

nrt_IOInterface* openOutput(const std::string& path, std::string& error) {
    nrt_Error nitroError{};
    nrt_IOInterface* io = nrt_IOHandleAdapter_open(path.c_str(), NRT_ACCESS_WRITEONLY,
                                                   NRT_CREATE | NRT_TRUNCATE, &nitroError);
    if (io == nullptr) {
        error = "can't open " + path + " for writing: " + copyErrorText(nitroError);
    }
    return io;
}

bool copyRecord(const NITFFileContext& context, nrt_IOInterface* output, std::string& error) {
    return copyRecord(context.getFile(), output, error);
}

bool copyRecord(NITFFile& file, nrt_IOInterface* output, std::string& error) {
    auto& d = file.getPrivate();
    nitf_Record* record = d->getRecord();
    nrt_IOInterface* input = d->getIO();
    if (record == nullptr || input == nullptr) {
        error = "the file has no record to copy";
        return false;
    }
    const auto recordLock = d->lockRecord();
    const auto lock = d->lockIO();
    nrt_Error nitroError{};
    const nrt_Off inputSize = nrt_IOInterface_getSize(input, &nitroError);
    nitf_Writer* writer = nitf_Writer_construct(&nitroError);
    const bool ok =
        inputSize >= 0 && writer != nullptr &&
        nitf_Writer_prepareIO(writer, record, output, &nitroError) &&
        attachCopyHandlers(writer, record, input, static_cast<uint64_t>(inputSize), &nitroError) &&
        nitf_Writer_write(writer, &nitroError);
    nitf_Writer_destruct(&writer);
    if (!ok) {
        error = "write failed: " + copyErrorText(nitroError);
    }
    return ok;
}

bool writeRecordCopy(NITFFile& file, const std::string& path, std::string& error) {
    return writeAtomically(
        path,
        [&file](const std::string& temporary, std::string& why) {
            nrt_IOInterface* output = openOutput(temporary, why);
            if (output == nullptr) {
                return false;
            }
            const bool ok = copyRecord(file, output, why);
            nrt_Error closeError{};
            const bool closed = nrt_IOInterface_close(output, &closeError);
            nrt_IOInterface_destruct(&output);
            if (ok && !closed) {
                why = std::string("can't close the output: ") + closeError.message;
            }
            return ok && closed;
        },
        error);
}

}  // namespace Tessel
