#include "kernel/storage/Gate.h"

namespace wdb {

void Gate::enter() {
    for (;;) {
        inside_.fetch_add(1);
        if (!closed_.load()) return;
        leave();
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return !closed_.load(); });
    }
}

void Gate::leave() {
    inside_.fetch_sub(1);
    if (!closed_.load()) return;
    std::lock_guard lock(mutex_);
    changed_.notify_all();
}

bool Gate::enterAlone(std::chrono::milliseconds patience) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    std::unique_lock lock(mutex_);
    if (!changed_.wait_until(lock, deadline, [this] { return !closed_.load(); })) return false;
    closed_.store(true);
    if (changed_.wait_until(lock, deadline, [this] { return inside_.load() == 0; })) return true;
    closed_.store(false);
    changed_.notify_all();
    return false;
}

void Gate::leaveAlone() {
    std::lock_guard lock(mutex_);
    closed_.store(false);
    changed_.notify_all();
}

}  // namespace wdb
