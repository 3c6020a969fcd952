#include "platform/j2k/J2KSamples.h"

#include <cstring>

namespace tessel_j2k {

void storeJ2KSamples(const int32_t* samples, size_t count, uint32_t bytes, uint8_t* out) {
    switch (bytes) {
        case 1:
            for (size_t i = 0; i < count; ++i) {
                out[i] = static_cast<uint8_t>(samples[i]);
            }
            break;
        case 2:
            for (size_t i = 0; i < count; ++i) {
                const auto value = static_cast<uint16_t>(samples[i]);
                std::memcpy(out + 2 * i, &value, 2);
            }
            break;
        case 4:
            std::memcpy(out, samples, count * 4);
            break;
        case 8:
            for (size_t i = 0; i < count; ++i) {
                const uint64_t value = static_cast<uint32_t>(samples[i]);
                std::memcpy(out + 8 * i, &value, 8);
            }
            break;
        default:
            break;
    }
}

}  // namespace tessel_j2k
