#pragma once

#include "tessel/core/Visibility.h"
TESSEL_INTERNAL_BEGIN
// A vector gather for the strided copies of interleaved samples: on processors with byte
// shuffles (SSSE3) sixteen bytes of output are put together from 16 x stride bytes of
// source at a time, each big-endian element swapped to host order on the way.

#include <cstddef>
#include <cstdint>

namespace Tessel {

// Copies elements start, start + stride, ... of `source` (count elements of elementSize
// bytes, 1, 2, 4 or 8) to consecutive elements of `destination`, swapped to host order,
// for as many whole groups of 16 output bytes as the source holds, and returns the number
// of elements written: the caller copies the rest. Returns 0 where the processor has no
// byte shuffles, or for a stride above 4 or a start not below the stride. With stride 1 it
// may run in place.
size_t shuffleGather(size_t elementSize, const uint8_t* source, uint8_t* destination, size_t count,
                     size_t start, size_t stride);

}  // namespace Tessel

TESSEL_INTERNAL_END
