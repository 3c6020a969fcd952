#pragma once
// A segment source over bytes already in memory: an image band's samples row after row, or
// a data extension's data.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "tessel/core/Visibility.h"
#include "tessel/file/NITFSegmentSource.h"

TESSEL_PUBLIC_BEGIN

namespace Tessel {

class NITFMemorySource final : public NITFSegmentSource {
public:
    // The bytes stay shared with the caller; an aliasing pointer lends one member of a
    // larger object (a plane of an image) while keeping the object alive.
    explicit NITFMemorySource(std::shared_ptr<const std::vector<uint8_t>> bytes);

    int64_t size(std::vector<std::string>& messages) override;
    // Delivers the bytes in the pieces asked for, and from the start again once all of them
    // were delivered, so that a file can be written more than once.
    bool read(void* buffer, size_t count, std::vector<std::string>& messages) override;

private:
    std::shared_ptr<const std::vector<uint8_t>> bytes_;
    size_t at_ = 0;
};

}  // namespace Tessel

TESSEL_PUBLIC_END
