#pragma once

#include <atomic>
#include <cstdint>

namespace wdb {

// A version number in memory that all processes of a home directory share. Odd: a change is being made (or
// its maker died): nothing that is read now may be kept. Even: what was read under this number is current as
// long as it stands.
class SharedCounter {
public:
    explicit SharedCounter(std::atomic<uint64_t>* cell) : cell_(cell) {}

    uint64_t load() const { return cell_->load(std::memory_order_acquire); }
    static bool settled(uint64_t value) { return (value & 1) == 0; }
    // By the holder of the writer's lock, around the commit of a change.
    void beginChange() {
        if (settled(load())) cell_->fetch_add(1, std::memory_order_acq_rel);
    }
    void endChange() {
        if (!settled(load())) cell_->fetch_add(1, std::memory_order_acq_rel);
    }

private:
    std::atomic<uint64_t>* cell_;
};

}  // namespace wdb
