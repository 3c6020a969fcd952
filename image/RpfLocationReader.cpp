#include "image/RpfLocationReader.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include "tessel/core/NitroError.h"
#include "tessel/file/NITFFile.h"

namespace Tessel {
namespace {

constexpr const char* kReadFailure = "RPFIMG: Unable to read NITF File";

uint16_t bigEndian16(const uint8_t* p) {
    return static_cast<uint16_t>((p[0] << 8) | p[1]);
}

uint32_t bigEndian32(const uint8_t* p) {
    return (static_cast<uint32_t>(p[0]) << 24) | (static_cast<uint32_t>(p[1]) << 16) |
           (static_cast<uint32_t>(p[2]) << 8) | static_cast<uint32_t>(p[3]);
}

}  // namespace

RpfLocationReader::RpfLocationReader(const std::vector<LocationTable>& tables, uint32_t id,
                                     std::shared_ptr<NITFFile> file, NITFMessages& messages)
    : file_(std::move(file)), messages_(messages) {
    const auto it = std::find_if(tables.begin(), tables.end(),
                                 [id](const LocationTable& table) { return table.id == id; });
    if (it != tables.end()) {
        found_ = true;
        location_ = *it;
    }
}

void RpfLocationReader::ensure(size_t end) {
    if (end <= buffer_.size()) {
        return;
    }
    const size_t missing = end - buffer_.size();
    const size_t growth = std::max<size_t>(location_.length, missing);
    const size_t start = buffer_.size();
    nrt_Error error{};
    bool ok = found_ && file_ != nullptr;
    if (ok) {
        auto& d = file_->getPrivate();
        const auto lock = d->lockIO();
        nrt_IOInterface* io = d->getIO();
        // A length or offset beyond the end of the file fails before any memory is taken.
        const nrt_Off fileSize = io != nullptr ? nrt_IOInterface_getSize(io, &error) : -1;
        ok = fileSize >= 0 &&
             uint64_t{location_.offset} + start + growth <= static_cast<uint64_t>(fileSize);
        if (ok) {
            buffer_.resize(start + growth);
        }
        ok = ok && io != nullptr &&
             nrt_IOInterface_seek(
                 io, static_cast<nrt_Off>(location_.offset) + static_cast<nrt_Off>(start),
                 NRT_SEEK_SET, &error) >= 0 &&
             nrt_IOInterface_read(io, buffer_.data() + start, growth, &error);
    }
    if (!ok) {
        buffer_.resize(start);
        checkNitroError(error, messages_, {}, false);
        messages_.push_back(kReadFailure);
        throw std::runtime_error(kReadFailure);
    }
}

const uint8_t* RpfLocationReader::bytes(size_t position, size_t count) {
    ensure(position + count);
    return buffer_.data() + position;
}

uint8_t RpfLocationReader::u8(size_t position) {
    return *bytes(position, 1);
}

uint16_t RpfLocationReader::u16(size_t position) {
    return bigEndian16(bytes(position, 2));
}

uint32_t RpfLocationReader::u32(size_t position) {
    return bigEndian32(bytes(position, 4));
}

std::vector<LocationTable> parseLocationSection(const uint8_t* data, size_t size) {
    constexpr size_t kHeader = 14;
    constexpr size_t kRecord = 10;
    std::vector<LocationTable> tables;
    if (data == nullptr || size < kHeader) {
        return tables;
    }
    // LOCLEN 16, CLTOFF 32, SECRECS 16, RECLEN 16, AGGLEN 32; the records follow at once.
    const uint16_t records = bigEndian16(data + 6);
    for (size_t i = 0; i < records; ++i) {
        const size_t at = kHeader + i * kRecord;
        if (at + kRecord > size) {
            break;
        }
        tables.push_back(
            {bigEndian16(data + at), bigEndian32(data + at + 2), bigEndian32(data + at + 6)});
    }
    return tables;
}

}  // namespace Tessel
