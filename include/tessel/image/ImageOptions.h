#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// Which view of an image segment a caller wants. Plain value, used as a cache key: images
// are ordered by segment, level, mode and layers, in that order.

#include <cstdint>
#include <tuple>

namespace Tessel {

struct ImageOptions {
    // An image that is being written: it has no pixels to read.
    static constexpr int32_t write_mode = 2;

    int32_t segment = 0;  // zero-based image segment index
    int32_t level = 0;    // pyramid level, 0 for full resolution
    int32_t mode = 0;     // write_mode, or anything else for a read image
    int32_t layers = 0;   // JPEG 2000 quality layers to decode, 0 for all

    bool operator==(const ImageOptions&) const = default;
    bool operator<(const ImageOptions& other) const {
        return std::tie(segment, level, mode, layers) <
               std::tie(other.segment, other.level, other.mode, other.layers);
    }
};

}  // namespace Tessel

TESSEL_PUBLIC_END
