#pragma once

#include <cstdint>
#include <vector>

#include "kernel/search/Search.h"
#include "kernel/session/ControlList.h"

namespace wdb {

// The saved statuses of a session. Each has a serial number from 1, by which units and snapshots know it.
class StatusStack {
public:
    static constexpr size_t kMax = 64;
    struct Saved {
        uint64_t serial = 0;
        SearchState search;
        ControlList::State controls;
    };

    bool empty() const { return entries_.empty(); }
    size_t size() const { return entries_.size(); }
    // Serial number of the top entry, 0 for none; of the oldest.
    uint64_t top() const { return entries_.empty() ? 0 : entries_.back().serial; }
    const Saved& back() const { return entries_.back(); }

    void push(SearchState search, ControlList::State controls) {
        entries_.push_back({++serial_, std::move(search), std::move(controls)});
    }
    void pop() { entries_.pop_back(); }
    bool tooMany() const { return entries_.size() > kMax; }
    // Takes the oldest entry off; answers its serial number. The next one is then oldest().
    uint64_t dropOldest() {
        const uint64_t serial = entries_.front().serial;
        entries_.erase(entries_.begin());
        return serial;
    }
    uint64_t oldest() const { return entries_.empty() ? 0 : entries_.front().serial; }

private:
    std::vector<Saved> entries_;
    uint64_t serial_ = 0;
};

}  // namespace wdb
