#include "tessel/file/NITFMemorySource.h"

#include <cstring>

namespace Tessel {

NITFMemorySource::NITFMemorySource(std::shared_ptr<const std::vector<uint8_t>> bytes)
    : bytes_(std::move(bytes)) {}

int64_t NITFMemorySource::size(std::vector<std::string>&) {
    return bytes_ ? static_cast<int64_t>(bytes_->size()) : 0;
}

bool NITFMemorySource::read(void* buffer, size_t count, std::vector<std::string>& messages) {
    const size_t total = bytes_ ? bytes_->size() : 0;
    if (at_ == total) {
        at_ = 0;
    }
    if (count > total - at_) {
        messages.emplace_back("read past the end of the buffer");
        return false;
    }
    if (count != 0) {
        std::memcpy(buffer, bytes_->data() + at_, count);
    }
    at_ += count;
    return true;
}

}  // namespace Tessel
