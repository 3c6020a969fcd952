#pragma once

#include "tessel/core/Visibility.h"
TESSEL_PUBLIC_BEGIN
// The gate that a factory's queued tile loads pass through. Loads are queued on the tile
// pool and may run after the read that queued them has returned; closing the gate waits for
// the loads inside it and turns the later ones away, so that the factory (and its decoder)
// can go while tasks of it are still queued.

#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace Tessel {

class TileLoadGate {
public:
    // True if the load may run; it must then call leave() when done.
    bool enter();
    void leave();
    // Waits until no load is inside, and refuses every later one.
    void close();
    bool isClosed() const;

private:
    mutable std::mutex mutex_;
    std::condition_variable idle_;
    uint32_t inside_ = 0;
    bool closed_ = false;
};

}  // namespace Tessel

TESSEL_PUBLIC_END
