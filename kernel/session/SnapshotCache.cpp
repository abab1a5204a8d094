#include "kernel/session/SnapshotCache.h"

#include <algorithm>

namespace wdb {

const SnapshotCache::Kept* SnapshotCache::find(const OpenBase& base) const {
    const auto found =
        std::ranges::find_if(kept_, [&](const Kept& kept) { return &kept.snapshot->base() == &base; });
    return found == kept_.end() ? nullptr : &*found;
}

Result<const BaseSnapshot*> SnapshotCache::get(const std::shared_ptr<OpenBase>& base, UnitBase* unit,
                                               uint64_t saved) {
    if (const Kept* kept = find(*base)) {
        kept->usedIn = call_;
        return static_cast<const BaseSnapshot*>(kept->snapshot.get());
    }
    auto snapshot = base->snapshot(unit);
    if (!snapshot) return snapshot.status();
    kept_.push_back({std::make_unique<BaseSnapshot>(std::move(*snapshot)), saved,
                     std::chrono::steady_clock::now(), call_});
    return static_cast<const BaseSnapshot*>(kept_.back().snapshot.get());
}

std::chrono::seconds SnapshotCache::age(const OpenBase& base) const {
    const Kept* kept = find(base);
    if (kept == nullptr || kept->usedIn == call_) return std::chrono::seconds(0);
    return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - kept->taken);
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
