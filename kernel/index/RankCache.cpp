#include "kernel/index/RankCache.h"

#include <algorithm>
#include <utility>

namespace wdb {

size_t Ranks::bytes() const {
    return (rankOf.capacity() + inOrder.capacity()) * 4 + marks.size() * 64;
}

std::shared_ptr<const Ranks> RankCache::find(FieldNumber field, Position position) const {
    const std::lock_guard lock(mutex_);
    for (const Kept& kept : kept_) {
        if (!kept.ranks || kept.ranks->field != field || kept.ranks->position != position) continue;
        kept.used = ++clock_;
        return kept.ranks;
    }
    return nullptr;
}

std::shared_ptr<const Vocabulary> RankCache::vocabulary(Vocabulary::Table table, FieldNumber field,
                                                        Position position) const {
    const std::lock_guard lock(mutex_);
    for (const Kept& kept : kept_) {
        if (!kept.vocabulary || !kept.vocabulary->of(table, field) || kept.vocabulary->position() != position)
            continue;
        kept.used = ++clock_;
        return kept.vocabulary;
    }
    return nullptr;
}

std::shared_ptr<const Spellings> RankCache::spellings(FieldNumber field, Position position) const {
    const std::lock_guard lock(mutex_);
    for (const Kept& kept : kept_) {
        if (!kept.spellings || kept.spellings->field != field || kept.spellings->position != position)
            continue;
        kept.used = ++clock_;
        return kept.spellings;
    }
    return nullptr;
}

template <typename Same>
void RankCache::keep(Kept fresh, Position position, Same&& same) {
    const std::lock_guard lock(mutex_);
    fresh.used = ++clock_;
    const auto found = std::find_if(kept_.begin(), kept_.end(), same);
    if (found == kept_.end())
        kept_.push_back(std::move(fresh));
    else if (positionOf(*found) < position)
        *found = std::move(fresh);
    size_t bytes = 0;
    for (const Kept& kept : kept_) bytes += kept.bytes();
    while (bytes > kMaxBytes && kept_.size() > 1) {
        const auto oldest = std::min_element(kept_.begin(), kept_.end(),
                                             [](const Kept& a, const Kept& b) { return a.used < b.used; });
        bytes -= oldest->bytes();
        kept_.erase(oldest);
    }
}

void RankCache::store(std::shared_ptr<const Ranks> ranks) {
    const FieldNumber field = ranks->field;
    const Position position = ranks->position;
    keep({std::move(ranks), nullptr, nullptr}, position,
         [&](const Kept& kept) { return kept.ranks && kept.ranks->field == field; });
}

void RankCache::store(std::shared_ptr<const Spellings> spellings) {
    const FieldNumber field = spellings->field;
    const Position position = spellings->position;
    keep({nullptr, nullptr, std::move(spellings)}, position,
         [&](const Kept& kept) { return kept.spellings && kept.spellings->field == field; });
}

void RankCache::store(std::shared_ptr<const Vocabulary> vocabulary) {
    const Vocabulary& fresh = *vocabulary;
    const Position position = fresh.position();
    keep({nullptr, vocabulary, nullptr}, position, [&](const Kept& kept) {
        return kept.vocabulary && kept.vocabulary->of(fresh.table(), fresh.field());
    });
}

std::shared_ptr<const RankMap> RankCache::map(const RankMap::Key& key) const {
    const std::lock_guard lock(mutex_);
    const auto found =
        std::find_if(maps_.begin(), maps_.end(), [&](const auto& map) { return map->key == key; });
    return found == maps_.end() ? nullptr : *found;
}

void RankCache::store(std::shared_ptr<const RankMap> map) {
    const std::lock_guard lock(mutex_);
    std::erase_if(maps_, [&](const auto& kept) { return kept->key == map->key; });
    if (maps_.size() == kMaxMaps) maps_.erase(maps_.begin());
    maps_.push_back(std::move(map));
}

bool RankCache::walked(FieldNumber field, Position position, uint64_t entries, uint64_t all) {
    const std::lock_guard lock(mutex_);
    auto at = std::find_if(walked_.begin(), walked_.end(), [&](const Walked& w) { return w.field == field; });
    if (at == walked_.end()) at = walked_.insert(walked_.end(), Walked{field, position, 0});
    if (at->position < position) *at = {field, position, 0};
    if (at->position == position) at->entries += entries;
    return at->position == position && at->entries >= all;
}

void RankCache::clear() {
    const std::lock_guard lock(mutex_);
    kept_.clear();
    walked_.clear();
    maps_.clear();
}

}  // namespace wdb
