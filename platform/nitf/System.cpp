#include <cstring>

#include "tessel/platform/nitf/nrt_System.h"

extern "C" {

uint16_t nrt_System_swap16(uint16_t value) {
    return static_cast<uint16_t>((value >> 8) | (value << 8));
}

uint32_t nrt_System_swap32(uint32_t value) {
    return __builtin_bswap32(value);
}

uint64_t nrt_System_swap64(uint64_t value) {
    return __builtin_bswap64(value);
}

void nrt_System_swap64c(void* value) {
    uint64_t bits = 0;
    std::memcpy(&bits, value, sizeof bits);
    bits = __builtin_bswap64(bits);
    std::memcpy(value, &bits, sizeof bits);
}

}  // extern "C"
