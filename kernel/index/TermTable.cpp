#include "kernel/index/TermTable.h"

#include <algorithm>
#include <cstring>

// The hash of a short term costs less than a call into the library.
#define XXH_INLINE_ALL
#include <xxhash.h>

namespace wdb {

namespace {

constexpr size_t kFirstSlots = 1024;
constexpr size_t kBlock = size_t{64} << 10;
constexpr uint64_t kHashHalf = 0xFFFFFFFF00000000U;

uint64_t hashOf(std::string_view term) {
    return XXH3_64bits(term.data(), term.size());
}

}  // namespace

TermTable::TermTable() : slots_(kFirstSlots) {}

// Without effect when memory runs out: everything that can fail comes before the slot is taken.
uint32_t TermTable::intern(std::string_view term) {
    if ((terms_.size() + 1) * 2 > slots_.size()) grow();
    const uint64_t hash = hashOf(term);
    const size_t mask = slots_.size() - 1;
    size_t at = hash & mask;
    for (; slots_[at] != 0; at = (at + 1) & mask) {
        if (((slots_[at] ^ hash) & kHashHalf) != 0) continue;
        const auto number = static_cast<uint32_t>(slots_[at]) - 1;
        if (terms_[number] == term) return number;
    }
    const auto number = static_cast<uint32_t>(terms_.size());
    terms_.push_back(keep(term));
    slots_[at] = (hash & kHashHalf) | (uint64_t{number} + 1);
    return number;
}

uint32_t TermTable::find(std::string_view term) const {
    const uint64_t hash = hashOf(term);
    const size_t mask = slots_.size() - 1;
    for (size_t at = hash & mask; slots_[at] != 0; at = (at + 1) & mask) {
        if (((slots_[at] ^ hash) & kHashHalf) != 0) continue;
        const auto number = static_cast<uint32_t>(slots_[at]) - 1;
        if (terms_[number] == term) return number;
    }
    return kNone;
}

std::string_view TermTable::keep(std::string_view term) {
    if (term.size() > left_) {
        const size_t size = std::max(kBlock, term.size());
        blocks_.push_back(std::unique_ptr<char[]>(new char[size]));
        free_ = blocks_.back().get();
        left_ = size;
        arena_ += size;
    }
    if (!term.empty()) std::memcpy(free_, term.data(), term.size());
    const std::string_view kept(free_, term.size());
    free_ += term.size();
    left_ -= term.size();
    return kept;
}

void TermTable::grow() {
    std::vector<uint64_t> slots(slots_.size() * 2);
    const size_t mask = slots.size() - 1;
    for (uint32_t number = 0; number < terms_.size(); ++number) {
        const uint64_t hash = hashOf(terms_[number]);
        size_t at = hash & mask;
        while (slots[at] != 0) at = (at + 1) & mask;
        slots[at] = (hash & kHashHalf) | (uint64_t{number} + 1);
    }
    slots_ = std::move(slots);
}

size_t TermTable::bytes() const {
    return arena_ + slots_.size() * sizeof(uint64_t) + terms_.size() * sizeof(std::string_view);
}

std::vector<uint32_t> TermTable::sorted() const {
    // The first bytes decide nearly all comparisons: sort by them without following the pointers.
    struct Item {
        uint64_t head;
        uint32_t number;
    };
    std::vector<Item> items(terms_.size());
    for (uint32_t number = 0; number < terms_.size(); ++number) {
        unsigned char head[8] = {};
        const std::string_view term = terms_[number];
        if (!term.empty()) std::memcpy(head, term.data(), std::min<size_t>(term.size(), 8));
        uint64_t value = 0;
        for (const unsigned char byte : head) value = value << 8 | byte;
        items[number] = {value, number};
    }
    std::sort(items.begin(), items.end(), [this](const Item& a, const Item& b) {
        return a.head != b.head ? a.head < b.head : terms_[a.number] < terms_[b.number];
    });
    std::vector<uint32_t> out(items.size());
    for (size_t i = 0; i < items.size(); ++i) out[i] = items[i].number;
    return out;
}

void TermTable::clear() {
    *this = TermTable();
}

}  // namespace wdb
