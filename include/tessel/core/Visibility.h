#pragma once
// libtessel.so is built with hidden visibility: only what its public headers declare is
// exported, so a host can't bind to internals that may change between releases. Every
// public header wraps its declarations in these two markers.

#define TESSEL_PUBLIC_BEGIN _Pragma("GCC visibility push(default)")
#define TESSEL_PUBLIC_END _Pragma("GCC visibility pop")

// Internal headers that the test suite links against are exported only from builds
// made with the tests (TESSEL_EXPORT_INTERNALS); an installed library keeps them hidden.
#ifdef TESSEL_EXPORT_INTERNALS
#define TESSEL_INTERNAL_BEGIN _Pragma("GCC visibility push(default)")
#define TESSEL_INTERNAL_END _Pragma("GCC visibility pop")
#else
#define TESSEL_INTERNAL_BEGIN
#define TESSEL_INTERNAL_END
#endif
