#include "image/ShuffleGather.h"

#include <bit>

#if defined(__x86_64__) || defined(__i386__)
#include <immintrin.h>
#define TESSEL_SHUFFLE_GATHER 1
#endif

namespace Tessel {

#ifdef TESSEL_SHUFFLE_GATHER

namespace {

constexpr size_t kMaxStride = 4;
constexpr size_t kVector = 16;

bool hasByteShuffles() {
    static const bool supported = __builtin_cpu_supports("ssse3") != 0;
    return supported;
}

// Output byte `lane` of a group takes, from the group's source chunk `chunk`, the byte of its
// element that holds that significance: elements are stored big-endian, the host is not.
__attribute__((target("ssse3"))) __m128i laneMask(size_t elementSize, size_t start, size_t stride,
                                                  size_t chunk) {
    alignas(kVector) int8_t lanes[kVector];
    for (size_t lane = 0; lane < kVector; ++lane) {
        const size_t element = lane / elementSize;
        const size_t byte = elementSize - 1 - lane % elementSize;
        const size_t at = (start + element * stride) * elementSize + byte;
        const bool inChunk = at >= chunk * kVector && at < (chunk + 1) * kVector;
        lanes[lane] = inChunk ? static_cast<int8_t>(at - chunk * kVector) : int8_t{-128};
    }
    return _mm_load_si128(reinterpret_cast<const __m128i*>(lanes));
}

__attribute__((target("ssse3"))) size_t gather(size_t elementSize, const uint8_t* source,
                                               uint8_t* destination, size_t count, size_t start,
                                               size_t stride) {
    __m128i masks[kMaxStride];
    for (size_t chunk = 0; chunk < stride; ++chunk) {
        masks[chunk] = laneMask(elementSize, start, stride, chunk);
    }
    const size_t outPerGroup = kVector / elementSize;
    const size_t inPerGroup = outPerGroup * stride;
    size_t in = 0;
    size_t out = 0;
    for (; in + inPerGroup <= count; in += inPerGroup, out += outPerGroup) {
        const uint8_t* chunks = source + in * elementSize;
        __m128i group =
            _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(chunks)), masks[0]);
        for (size_t chunk = 1; chunk < stride; ++chunk) {
            const __m128i bytes =
                _mm_loadu_si128(reinterpret_cast<const __m128i*>(chunks + chunk * kVector));
            group = _mm_or_si128(group, _mm_shuffle_epi8(bytes, masks[chunk]));
        }
        _mm_storeu_si128(reinterpret_cast<__m128i*>(destination + out * elementSize), group);
    }
    return out;
}

}  // namespace

size_t shuffleGather(size_t elementSize, const uint8_t* source, uint8_t* destination, size_t count,
                     size_t start, size_t stride) {
    const bool sizeFits =
        elementSize == 1 || elementSize == 2 || elementSize == 4 || elementSize == 8;
    if (!sizeFits || stride == 0 || stride > kMaxStride || start >= stride ||
        std::endian::native != std::endian::little || !hasByteShuffles()) {
        return 0;
    }
    return gather(elementSize, source, destination, count, start, stride);
}

#else

size_t shuffleGather(size_t, const uint8_t*, uint8_t*, size_t, size_t, size_t) {
    return 0;
}

#endif

}  // namespace Tessel
