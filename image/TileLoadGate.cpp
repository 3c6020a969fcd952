#include "tessel/image/TileLoadGate.h"

namespace Tessel {

bool TileLoadGate::enter() {
    const std::lock_guard lock(mutex_);
    if (closed_) {
        return false;
    }
    ++inside_;
    return true;
}

void TileLoadGate::leave() {
    const std::lock_guard lock(mutex_);
    if (--inside_ == 0) {
        idle_.notify_all();
    }
}

void TileLoadGate::close() {
    std::unique_lock lock(mutex_);
    closed_ = true;
    idle_.wait(lock, [this] { return inside_ == 0; });
}

bool TileLoadGate::isClosed() const {
    const std::lock_guard lock(mutex_);
    return closed_;
}

}  // namespace Tessel
