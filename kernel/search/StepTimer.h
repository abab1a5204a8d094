#pragma once

#include <chrono>
#include <string>

#include "kernel/search/SearchContext.h"

namespace wdb {

// Times one step of a command and tells those who watch; costs nothing when nobody does.
class StepTimer {
public:
    using Clock = std::chrono::steady_clock;

    StepTimer(SearchContext& context, int32_t depth)
        : context_(context), depth_(depth), watched_(context.watched()) {
        if (watched_) begin_ = Clock::now();
    }
    bool watched() const { return watched_; }
    // The step is over: what it was, and how many records or rows came out of it.
    void done(const std::string& what, uint64_t count) const {
        if (watched_) context_.step(depth_, what, count, Clock::now() - begin_);
    }

private:
    SearchContext& context_;
    int32_t depth_;
    bool watched_;
    Clock::time_point begin_;
};

}  // namespace wdb
