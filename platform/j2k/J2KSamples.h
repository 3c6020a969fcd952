#pragma once
// Decoded JPEG 2000 samples (32 bits each, as OpenJPEG gives them) stored at the width a
// caller's buffer has.

#include <cstddef>
#include <cstdint>

namespace tessel_j2k {

// Copies `count` samples to `bytes`-wide elements of `out`: the low 8 or 16 bits of each,
// all 32 bits, or each zero-extended to 64 bits. Other widths copy nothing.
void storeJ2KSamples(const int32_t* samples, size_t count, uint32_t bytes, uint8_t* out);

}  // namespace tessel_j2k
