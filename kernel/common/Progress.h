#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <utility>

#include "kernel/common/Status.h"

namespace wdb {

// How far a job is: told about ten times a second to somebody who may end it. Counts are in units of the
// job's own choice. Used by one thread.
class Progress {
public:
    // Answers WDB_OK to go on; anything else ends the job and becomes its status.
    using Listener = std::function<Status(uint64_t done, uint64_t total)>;

    Progress() = default;  // nobody listens
    explicit Progress(Listener listener) : listener_(std::move(listener)) {}

    // Before the first step; 0 when the total is not known.
    void begin(uint64_t total) { total_ = total; }
    uint64_t done() const { return done_; }
    Status advance(uint64_t steps = 1) {
        done_ += steps;
        if (!listener_ || ++calls_ % kCallsPerLook != 0) return WDB_OK;
        return look();
    }
    // The same for steps that take long by themselves.
    Status advanceSlowly(uint64_t steps) {
        done_ += steps;
        return listener_ ? look() : WDB_OK;
    }
    // The last word: everything is done but what cannot be undone.
    Status finish() {
        if (total_ != 0) done_ = total_;
        return listener_ ? listener_(done_, total_) : WDB_OK;
    }

private:
    static constexpr uint32_t kCallsPerLook = 64;
    static constexpr std::chrono::milliseconds kPause{100};

    Status look() {
        const auto now = std::chrono::steady_clock::now();
        if (now - last_ < kPause) return WDB_OK;
        last_ = now;
        return listener_(done_, total_);
    }

    Listener listener_;
    uint64_t done_ = 0;
    uint64_t total_ = 0;
    uint32_t calls_ = 0;
    std::chrono::steady_clock::time_point last_ = std::chrono::steady_clock::now();
};

}  // namespace wdb
