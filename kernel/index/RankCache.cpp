#include "kernel/index/RankCache.h"

#include <algorithm>

namespace wdb {

std::shared_ptr<const Ranks> RankCache::find(FieldNumber field, Position position) const {
    const std::lock_guard lock(mutex_);
    for (const auto& ranks : ranks_) {
        if (ranks->field == field && ranks->position == position) return ranks;
    }
    return nullptr;
}

void RankCache::store(std::shared_ptr<const Ranks> ranks) {
    const std::lock_guard lock(mutex_);
    const auto found = std::find_if(ranks_.begin(), ranks_.end(),
                                    [&](const auto& kept) { return kept->field == ranks->field; });
    if (found == ranks_.end())
        ranks_.push_back(std::move(ranks));
    else if ((*found)->position < ranks->position)
        *found = std::move(ranks);
}

void RankCache::clear() {
    const std::lock_guard lock(mutex_);
    ranks_.clear();
}

}  // namespace wdb
