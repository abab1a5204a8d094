#include "kernel/storage/PageTree.h"

#include <algorithm>
#include <cassert>
#include <cstring>

#include "kernel/common/ByteOrder.h"
#include "kernel/storage/PageFormat.h"

namespace wdb {

using namespace page_format;

namespace {

constexpr size_t kPage = PageTree::kPage;
constexpr size_t kLine = 64;  // bytes that come from memory together

// How a node's key stands to a wanted one: below 0, 0, above 0. False when it does not lie in the page.
struct BytesOrder {
    explicit BytesOrder(Slice key) : wanted(key) {
        if (wanted.size() >= sizeof head) head = loadBig<uint64_t>(wanted.data());
    }
    bool operator()(const char* page, size_t node, int& order) const {
        if (node + kNodeHeader > kPage) return false;
        const size_t size = loadLittle<uint16_t>(page + node + 6);
        if (node + kNodeHeader + size > kPage) return false;
        const char* const key = page + node + kNodeHeader;
        if (std::min(size, wanted.size()) >= sizeof head) {
            const auto mine = loadBig<uint64_t>(key);
            if (mine != head) {
                order = mine < head ? -1 : 1;
                return true;
            }
        }
        order = std::memcmp(key, wanted.data(), std::min(size, wanted.size()));
        if (order == 0) order = size < wanted.size() ? -1 : size > wanted.size() ? 1 : 0;
        return true;
    }
    Slice wanted;
    uint64_t head = 0;  // its first bytes, when it has as many: few keys need more to be told apart
};

size_t nodeAt(const char* page, uint32_t at) {
    return loadLittle<uint16_t>(page + kPageHeader + at * size_t{2});
}

// The key of a branch's first node counts for nothing.
bool searchBytes(const char* page, uint32_t count, bool leaf, Slice wanted, uint32_t& at, bool& exact) {
    const BytesOrder orderOf(wanted);
    uint32_t low = leaf ? 0 : 1, high = count;
    while (low < high) {
        const uint32_t middle = low + (high - low) / 2;
        int order = 0;
        if (!orderOf(page, nodeAt(page, middle), order)) return false;
        if (order == 0) {
            at = middle;
            exact = true;
            return true;
        }
        if (order < 0)
            low = middle + 1;
        else
            high = middle;
    }
    at = leaf ? low : low - 1;
    exact = false;
    return true;
}

template <typename Integer>
Integer integerOf(Slice key) {
    Integer value = 0;
    std::memcpy(&value, key.data(), sizeof value);
    return value;
}

template <typename Integer>
bool integerAt(const char* page, uint32_t at, Integer& key) {
    const size_t node = nodeAt(page, at);
    if (node + kNodeHeader + sizeof(Integer) > kPage) return false;
    key = loadLittle<Integer>(page + node + kNodeHeader);
    return true;
}

// To the first of the nodes from `low` on whose integer is not below the wanted one, `high` when there is
// none.
template <typename Integer>
bool halve(const char* page, Integer wanted, uint32_t low, const uint32_t high, uint32_t& at, bool& exact) {
    Integer key = 0;
    for (uint32_t end = high; low < end;) {
        const uint32_t middle = low + (end - low) / 2;
        if (!integerAt(page, middle, key)) return false;
        if (key < wanted)
            low = middle + 1;
        else
            end = middle;
    }
    at = low;
    exact = low < high && integerAt(page, low, key) && key == wanted;
    return true;
}

// Record numbers are given in turn: most lie as far behind a leaf's first one as they differ from it, and
// none farther. One look finds them, where halving takes five, into lines of memory that nobody needs
// afterwards. `least` is not above the first key.
template <typename Integer>
bool searchLeaf(const char* page, uint32_t count, Integer wanted, Integer least, uint32_t& at, bool& exact) {
    const Integer ahead = wanted > least ? wanted - least : 0;
    const auto guess = static_cast<uint32_t>(std::min<Integer>(ahead, count - 1));
    Integer key = 0;
    if (!integerAt(page, guess, key)) return false;
    at = guess;
    exact = key == wanted;
    if (exact) return true;
    if (key < wanted) return halve(page, wanted, guess + 1, count, at, exact);
    const Integer missing = key - wanted;
    const uint32_t low = missing < guess ? guess - static_cast<uint32_t>(missing) : 0;
    return halve(page, wanted, low, guess, at, exact);
}

// To the last node whose key is not above the wanted one: from where the line through the first key and the
// last one leads, in doubling steps. The key of the first node counts for nothing.
template <typename Integer>
bool searchBranch(const char* page, uint32_t count, Integer wanted, uint32_t& at) {
    at = 0;
    if (count < 2) return true;
    Integer first = 0, last = 0, key = 0;
    if (!integerAt(page, 1, first) || !integerAt(page, count - 1, last)) return false;
    if (wanted < first) return true;
    at = count - 1;
    if (wanted >= last) return true;
    uint32_t low = 1, high = count - 1;  // the key at low is not above, the one at high is
    const double share = static_cast<double>(wanted - first) / static_cast<double>(last - first);
    const uint32_t guess = std::min(low + static_cast<uint32_t>(share * (high - low)), high - 1);
    if (!integerAt(page, guess, key)) return false;
    const bool onwards = key <= wanted;
    (onwards ? low : high) = guess;
    for (uint32_t step = 1; step < high - low; step *= 2) {
        const uint32_t probe = onwards ? low + step : high - step;
        if (!integerAt(page, probe, key)) return false;
        const bool notAbove = key <= wanted;
        (notAbove ? low : high) = probe;
        if (notAbove != onwards) break;
    }
    while (high - low > 1) {
        const uint32_t middle = low + (high - low) / 2;
        if (!integerAt(page, middle, key)) return false;
        (key <= wanted ? low : high) = middle;
    }
    at = low;
    return true;
}

}  // namespace

PageTree::PageTree(const char* map, uint64_t pages, Slice record) {
    if (record.size() != kTreeRecord) return;
    const auto flags = loadLittle<uint16_t>(record.data() + kTreeFlagsAt);
    const unsigned depth = loadLittle<uint16_t>(record.data() + kTreeDepthAt);
    root_ = loadLittle<uint64_t>(record.data() + kTreeRootAt);
    if ((flags & ~kIntegerKey) != 0 || depth > kDeepest || (depth == 0) != (root_ == kNoPage)) return;
    map_ = map;
    pages_ = pages;
    depth_ = depth;
    integers_ = (flags & kIntegerKey) != 0;
}

// Null unless it is a page of that kind.
const char* PageTree::page(uint64_t number, uint16_t kind) const {
    if (number >= pages_) return nullptr;
    const char* const at = map_ + number * kPage;
    return loadLittle<uint64_t>(at) == number && loadLittle<uint16_t>(at + kFlagsAt) == kind ? at : nullptr;
}

bool PageTree::open(uint64_t number, unsigned level, Place& place) const {
    place.page = page(number, level + 1 == depth_ ? kLeaf : kBranch);
    if (place.page == nullptr) return false;
    const size_t end = loadLittle<uint16_t>(place.page + kLowerAt);
    if (end < kPageHeader + 2 || end > kPage) return false;
    place.count = static_cast<uint32_t>((end - kPageHeader) / 2);
    place.at = 0;
    return true;
}

bool PageTree::below(const Place& place, uint64_t& number) const {
    const size_t node = nodeAt(place.page, place.at);
    if (node + kNodeHeader > kPage) return false;
    number = loadLittle<uint32_t>(place.page + node) | uint64_t{loadLittle<uint16_t>(place.page + node + 4)}
                                                           << 32;
    return true;
}

bool PageTree::search(Place& place, bool leaf, Slice key, bool& exact) const {
    if (!integers_) return searchBytes(place.page, place.count, leaf, key, place.at, exact);
    if (key.size() == sizeof(uint32_t)) return searchIntegers<uint32_t>(place, leaf, key, exact);
    if (key.size() == sizeof(uint64_t)) return searchIntegers<uint64_t>(place, leaf, key, exact);
    return false;
}

template <typename Integer>
bool PageTree::searchIntegers(Place& place, bool leaf, Slice key, bool& exact) const {
    const Integer wanted = integerOf<Integer>(key);
    Integer least = 0;
    if (!leaf) return searchBranch(place.page, place.count, wanted, place.at);
    return integerAt(place.page, 0, least) &&
           searchLeaf(place.page, place.count, wanted, least, place.at, exact);
}

bool PageTree::keyOf(const Place& place, Slice& key) const {
    const size_t node = nodeAt(place.page, place.at);
    if (node + kNodeHeader > kPage) return false;
    const size_t size = loadLittle<uint16_t>(place.page + node + 6);
    if (node + kNodeHeader + size > kPage) return false;
    key = Slice(place.page + node + kNodeHeader, size);
    return true;
}

bool PageTree::valueOf(const Place& place, Slice& value) const {
    const size_t node = nodeAt(place.page, place.at);
    if (node + kNodeHeader > kPage) return false;
    const size_t size = loadLittle<uint32_t>(place.page + node);
    const auto flags = loadLittle<uint16_t>(place.page + node + 4);
    const size_t data = node + kNodeHeader + loadLittle<uint16_t>(place.page + node + 6);
    if (flags == 0) {
        if (data + size > kPage) return false;
        value = Slice(place.page + data, size);
        return true;
    }
    if (flags != kBigData || data + sizeof(uint64_t) > kPage) return false;
    const auto number = loadLittle<uint64_t>(place.page + data);
    const char* const large = page(number, kOverflow);
    if (large == nullptr) return false;
    const uint64_t run = loadLittle<uint32_t>(large + kOverflowPagesAt);
    if (run == 0 || run > pages_ - number || size > run * kPage - kPageHeader) return false;
    value = Slice(large + kPageHeader, size);
    return true;
}

Look PageTree::find(Slice key, Slice& value) const {
    if (depth_ == 0) return Look::Missing;
    if (integers_ && key.size() == sizeof(uint32_t)) return findInteger(integerOf<uint32_t>(key), value);
    uint64_t number = root_;
    for (unsigned level = 0;; ++level) {
        Place place;
        bool exact = false;
        const bool leaf = level + 1 == depth_;
        if (!open(number, level, place) || !search(place, leaf, key, exact)) return Look::Damaged;
        if (leaf && !exact) return Look::Missing;
        if (leaf) return valueOf(place, value) ? Look::Found : Look::Damaged;
        if (!below(place, number)) return Look::Damaged;
    }
}

// To the leaf where the key belongs, and what none of its keys is below.
bool PageTree::leafOf(uint32_t key, LeafOf& leaf) const {
    leaf = {root_, 0};
    for (unsigned level = 0; level + 1 < depth_; ++level) {
        Place place;
        if (!open(leaf.number, level, place) || !searchBranch(place.page, place.count, key, place.at) ||
            !below(place, leaf.number) || (place.at > 0 && !integerAt(place.page, place.at, leaf.least)))
            return false;
    }
    return true;
}

Look PageTree::findIn(const LeafOf& leaf, uint32_t key, Slice& value) const {
    Place place;
    bool exact = false;
    if (!open(leaf.number, depth_ - 1, place) ||
        !searchLeaf(place.page, place.count, key, leaf.least, place.at, exact))
        return Look::Damaged;
    if (!exact) return Look::Missing;
    return valueOf(place, value) ? Look::Found : Look::Damaged;
}

Look PageTree::findInteger(uint32_t key, Slice& value) const {
    LeafOf leaf;
    return leafOf(key, leaf) ? findIn(leaf, key, value) : Look::Damaged;
}

void PageTree::findSome(std::span<const uint32_t> keys, std::span<Slice> values) const {
    assert(keys.size() == values.size() && keys.size() <= kSome);
    if (depth_ == 0 || !integers_) return;
    std::array<LeafOf, kSome> leaves;
    for (size_t i = 0; i < keys.size(); ++i) {
        if (!leafOf(keys[i], leaves[i])) leaves[i].number = kNoPage;
        if (leaves[i].number < pages_) __builtin_prefetch(map_ + leaves[i].number * kPage);
    }
    for (size_t i = 0; i < keys.size(); ++i) {
        if (findIn(leaves[i], keys[i], values[i]) != Look::Found || values[i].empty()) continue;
        __builtin_prefetch(values[i].data() + kLine);
        __builtin_prefetch(values[i].data() + 2 * kLine);
        __builtin_prefetch(values[i].data() + values[i].size() - 1);
    }
}

Look PageCursor::seek(Slice key) {
    const unsigned depth = tree_->depth_;
    if (depth == 0) return Look::Missing;
    uint64_t number = tree_->root_;
    bool exact = false;
    for (unsigned level = 0; level < depth; ++level) {
        PageTree::Place& place = places_[level];
        const bool leaf = level + 1 == depth;
        if (!tree_->open(number, level, place) || !tree_->search(place, leaf, key, exact) ||
            (!leaf && !tree_->below(place, number)))
            return Look::Damaged;
    }
    placed_ = true;
    return places_[depth - 1].at < places_[depth - 1].count ? Look::Found : sibling(true);
}

Look PageCursor::end(bool last) {
    const unsigned depth = tree_->depth_;
    if (depth == 0) return Look::Missing;
    uint64_t number = tree_->root_;
    for (unsigned level = 0; level < depth; ++level) {
        PageTree::Place& place = places_[level];
        if (!tree_->open(number, level, place)) return Look::Damaged;
        if (last) place.at = place.count - 1;
        if (level + 1 < depth && !tree_->below(place, number)) return Look::Damaged;
    }
    placed_ = true;
    return Look::Found;
}

// From the end of a leaf to the next one, through the lowest branch that goes on.
Look PageCursor::sibling(bool forward) {
    const unsigned depth = tree_->depth_;
    unsigned level = depth - 1;
    const auto ends = [forward](const PageTree::Place& place) {
        return forward ? place.at + 1 >= place.count : place.at == 0;
    };
    do {
        if (level == 0) return Look::Missing;
        --level;
    } while (ends(places_[level]));
    PageTree::Place& turn = places_[level];
    turn.at = forward ? turn.at + 1 : turn.at - 1;
    for (; level + 1 < depth; ++level) {
        uint64_t number = 0;
        PageTree::Place& under = places_[level + 1];
        if (!tree_->below(places_[level], number) || !tree_->open(number, level + 1, under))
            return Look::Damaged;
        if (!forward) under.at = under.count - 1;
    }
    return Look::Found;
}

Look PageCursor::next() {
    if (!placed_) return first();
    PageTree::Place& leaf = places_[tree_->depth_ - 1];
    if (leaf.at + 1 >= leaf.count) return sibling(true);
    ++leaf.at;
    return Look::Found;
}

Look PageCursor::previous() {
    if (!placed_) return last();
    PageTree::Place& leaf = places_[tree_->depth_ - 1];
    if (leaf.at == 0) return sibling(false);
    --leaf.at;
    return Look::Found;
}

bool PageCursor::entry(Slice& key, Slice& value) const {
    const PageTree::Place& leaf = places_[tree_->depth_ - 1];
    return tree_->keyOf(leaf, key) && tree_->valueOf(leaf, value);
}

}  // namespace wdb
