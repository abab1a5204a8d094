#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>

namespace wdb {

// Lets any number in at once, or one alone. Entering and leaving may happen on different threads, which rules
// out a shared_mutex; shared entry costs two atomic operations while nobody wants to be alone.
class Gate {
public:
    void enter();
    void leave();
    // Waits until everybody has left, keeping newcomers out meanwhile. False when the time is over.
    bool enterAlone(std::chrono::milliseconds patience);
    void leaveAlone();
    size_t inside() const { return inside_.load(std::memory_order_relaxed); }

private:
    std::atomic<size_t> inside_{0};
    std::atomic<bool> closed_{false};
    std::mutex mutex_;
    std::condition_variable changed_;
};

}  // namespace wdb
