#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// Large byte buffers handed back for reuse instead of to the C library.
//
// Blocks of the I/O pool and decoded tiles come and go by the megabyte. Freed to the C
// library, such buffers usually go back to the kernel, and the next one of the same size
// is cleared and page-faulted in again, which costs more than filling it. Buffers handed
// back here wait, up to a bounded total, for the next request of the same size.

#include <cstddef>
#include <cstdint>
#include <new>
#include <type_traits>

namespace Tessel::RecycledBuffers {

// Every buffer is aligned this far.
inline constexpr size_t alignment = 1024;
// Buffers smaller than this go straight to and from the C library.
inline constexpr size_t smallest_recycled = size_t{64} * 1024;
// The most bytes kept waiting for reuse, in all sizes together.
inline constexpr size_t retained_limit = size_t{64} * 1024 * 1024;

// A buffer of `size` bytes (any size, 0 included), aligned to `alignment`; its content is
// undefined. Throws std::bad_alloc.
uint8_t* take(size_t size);
// Hands back a buffer that `take` gave out for the same size. Null is ignored.
void give(uint8_t* buffer, size_t size) noexcept;
// Frees every waiting buffer.
void release() noexcept;
// Bytes now waiting for reuse.
size_t retainedBytes() noexcept;

// An allocator of bytes over `take` and `give` that leaves new elements uninitialised, so
// that a vector resized before a read isn't cleared first.
template <typename T>
struct Allocator {
    static_assert(std::is_trivial_v<T>, "recycled buffers hold plain bytes");
    using value_type = T;

    Allocator() noexcept = default;
    template <typename U>
    Allocator(const Allocator<U>& /*other*/) noexcept {}

    T* allocate(size_t count) {
        if (count > SIZE_MAX / sizeof(T)) {
            throw std::bad_array_new_length();
        }
        return reinterpret_cast<T*>(take(count * sizeof(T)));
    }
    void deallocate(T* pointer, size_t count) noexcept {
        give(reinterpret_cast<uint8_t*>(pointer), count * sizeof(T));
    }
    // Value-initialisation (a resize) leaves the element as it is.
    template <typename U>
    void construct(U* pointer) noexcept(std::is_nothrow_default_constructible_v<U>) {
        ::new (static_cast<void*>(pointer)) U;
    }
    template <typename U, typename... Args>
    void construct(U* pointer, Args&&... args) {
        ::new (static_cast<void*>(pointer)) U(static_cast<Args&&>(args)...);
    }

    friend bool operator==(const Allocator&, const Allocator&) noexcept { return true; }
};

}  // namespace Tessel::RecycledBuffers

TESSEL_PUBLIC_END
