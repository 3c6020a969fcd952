#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
/* Unconditional byte reversal. */

#include "tessel/platform/nitf/nrt_Types.h"

#ifdef __cplusplus
extern "C" {
#endif

uint16_t nrt_System_swap16(uint16_t value);
uint32_t nrt_System_swap32(uint32_t value);
uint64_t nrt_System_swap64(uint64_t value);
/* Reverses the 8 bytes at the address (for doubles held as bytes). */
void nrt_System_swap64c(void* value);

#define nitf_System_swap16 nrt_System_swap16
#define nitf_System_swap32 nrt_System_swap32
#define nitf_System_swap64 nrt_System_swap64
#define nitf_System_swap64c nrt_System_swap64c

#ifdef __cplusplus
}
#endif

TESSEL_PUBLIC_END
