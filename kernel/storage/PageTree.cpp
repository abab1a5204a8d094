#include "kernel/storage/PageTree.h"

#include <algorithm>
#include <cstring>

#include "kernel/common/ByteOrder.h"
#include "kernel/storage/PageFormat.h"

namespace wdb {

using namespace page_format;

namespace {

constexpr size_t kPage = PageTree::kPage;

// How a node's key stands to a wanted one: below 0, 0, above 0. False when it does not lie in the page.
template <typename Integer>
struct IntegerOrder {
    explicit IntegerOrder(Slice key) { std::memcpy(&wanted, key.data(), sizeof wanted); }
    bool operator()(const char* page, size_t node, int& order) const {
        if (node + kNodeHeader + sizeof(Integer) > kPage) return false;
        const auto key = loadLittle<Integer>(page + node + kNodeHeader);
        order = key < wanted ? -1 : key > wanted ? 1 : 0;
        return true;
    }
    Integer wanted;
};

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
template <typename Order>
bool searchNodes(const char* page, uint32_t count, bool leaf, const Order& orderOf, uint32_t& at,
                 bool& exact) {
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
    if (!integers_) return searchNodes(place.page, place.count, leaf, BytesOrder(key), place.at, exact);
    if (key.size() == sizeof(uint32_t))
        return searchNodes(place.page, place.count, leaf, IntegerOrder<uint32_t>(key), place.at, exact);
    if (key.size() == sizeof(uint64_t))
        return searchNodes(place.page, place.count, leaf, IntegerOrder<uint64_t>(key), place.at, exact);
    return false;
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
