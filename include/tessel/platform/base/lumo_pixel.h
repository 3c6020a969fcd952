#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// Sample types and single sample values. A pixel carries its type, its bit count and up to
// two 8-byte values (the second for the imaginary part of a complex sample).

#include <bit>
#include <cstdint>
#include <cstring>

namespace lumo_pixel {

enum type : uint16_t {
    unsigned_integer = 1,  // PVTYPE "INT"
    bilevel = 2,           // PVTYPE "B"
    signed_integer = 3,    // PVTYPE "SI"
    real = 4,              // PVTYPE "R"
    complex_integer = 5,
    complex_float = 6,  // PVTYPE "C"
    unknown = 1000,
};

// `value` and `value2` hold an integer (signed ones sign-extended to 64 bits) or the bits of
// a float of the width `bits` gives (32 or 64).
struct pixel {
    type pixelType = unknown;
    uint16_t bits = 0;
    uint64_t value = 0;
    uint64_t value2 = 0;

    static pixel none() { return pixel{}; }
    static pixel fromUnsigned(type kind, uint16_t bitCount, uint64_t v) {
        return pixel{kind, bitCount, v, 0};
    }
    static pixel fromSigned(uint16_t bitCount, int64_t v) {
        return pixel{signed_integer, bitCount, static_cast<uint64_t>(v), 0};
    }
    static pixel fromReal(uint16_t bitCount, double v) {
        pixel p{real, bitCount, 0, 0};
        if (bitCount == 32) {
            p.value = std::bit_cast<uint32_t>(static_cast<float>(v));
        } else {
            p.value = std::bit_cast<uint64_t>(v);
        }
        return p;
    }

    bool isNone() const { return pixelType == unknown; }
    uint64_t asUnsigned() const { return value; }
    int64_t asSigned() const { return static_cast<int64_t>(value); }
    // The value as a double whatever its kind; a float is widened.
    double asDouble() const {
        switch (pixelType) {
            case real:
            case complex_float:
                return bits == 32
                           ? static_cast<double>(std::bit_cast<float>(static_cast<uint32_t>(value)))
                           : std::bit_cast<double>(value);
            case signed_integer:
            case complex_integer:
                return static_cast<double>(asSigned());
            default:
                return static_cast<double>(value);
        }
    }
};

}  // namespace lumo_pixel

TESSEL_PUBLIC_END
