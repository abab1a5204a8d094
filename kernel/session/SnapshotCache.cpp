#include "kernel/session/SnapshotCache.h"

#include <time.h>

#include <algorithm>

namespace wdb {

namespace {

// The steady clock as of its last tick, some milliseconds ago: every row fetched asks for it.
std::chrono::steady_clock::time_point now() {
    timespec time{};
    ::clock_gettime(CLOCK_MONOTONIC_COARSE, &time);
    return std::chrono::steady_clock::time_point(std::chrono::seconds(time.tv_sec) +
                                                 std::chrono::nanoseconds(time.tv_nsec));
}

}  // namespace

const SnapshotCache::Kept* SnapshotCache::find(const OpenBase& base) const {
    for (const Kept& kept : kept_) {
        if (&kept.snapshot->base() == &base) return &kept;
    }
    return nullptr;
}

Result<const BaseSnapshot*> SnapshotCache::get(const std::shared_ptr<OpenBase>& base, UnitBase* unit,
                                               uint64_t saved) {
    if (const Kept* kept = find(*base)) {
        kept->usedIn = call_;
        return static_cast<const BaseSnapshot*>(kept->snapshot.get());
    }
    auto snapshot = base->snapshot(unit);
    if (!snapshot) return snapshot.status();
    kept_.push_back({std::make_unique<BaseSnapshot>(std::move(*snapshot)), saved, now(), call_});
    return static_cast<const BaseSnapshot*>(kept_.back().snapshot.get());
}

std::chrono::seconds SnapshotCache::age(const OpenBase& base) const {
    const Kept* kept = find(base);
    if (kept == nullptr || kept->usedIn == call_) return std::chrono::seconds(0);
    return std::chrono::duration_cast<std::chrono::seconds>(now() - kept->taken);
}

void SnapshotCache::drop(const OpenBase& base) {
    change();
    std::erase_if(kept_, [&](const Kept& kept) { return &kept.snapshot->base() == &base; });
}

void SnapshotCache::dropTakenUnder(uint64_t saved) {
    change();
    std::erase_if(kept_, [&](const Kept& kept) { return kept.saved == saved; });
}

void SnapshotCache::passOn(uint64_t from, uint64_t to) {
    for (Kept& kept : kept_) {
        if (kept.saved == from) kept.saved = to;
    }
}

}  // namespace wdb
