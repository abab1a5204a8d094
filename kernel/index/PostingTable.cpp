#include "kernel/index/PostingTable.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <span>

#include "kernel/index/Varint.h"

// The hash of a short key costs less than a call into the library.
#define XXH_INLINE_ALL
#include <xxhash.h>

namespace wdb {

namespace {

constexpr size_t kFirstSlots = 1024;
constexpr uint64_t kHashHalf = 0xFFFFFFFF00000000U;
constexpr uint32_t kNone = UINT32_MAX;
constexpr size_t kMostOfPosting = 11;  // bytes of a 0, a distance and a position

uint64_t hashOf(Slice key) {
    return XXH3_64bits(key.data(), key.size());
}

uint64_t headOf(Slice key, size_t from) {
    unsigned char head[8] = {};
    if (key.size() > from) std::memcpy(head, key.data() + from, std::min<size_t>(key.size() - from, 8));
    uint64_t value = 0;
    for (const unsigned char byte : head) value = value << 8 | byte;
    return value;
}

void storePointer(char* at, const char* pointer) {
    std::memcpy(at, &pointer, sizeof pointer);
}

}  // namespace

char* PostingTable::loadPointer(const char* at) {
    char* pointer = nullptr;
    std::memcpy(&pointer, at, sizeof pointer);
    return pointer;
}

void PostingTable::add(Slice key, RecordNumber record, uint32_t position) {
    if (slots_.empty()) slots_.resize(kFirstSlots);
    const uint64_t hash = hashOf(key);
    if (key.size() > kShortKey) {
        settle();
        const uint32_t number = intern(hash, key, [key](const Entry& entry) { return entry.key() == key; });
        append(entries_[number], record, position);
        return;
    }
    Waiting& one = waiting_[waitingCount_++];
    one.hash = hash;
    one.record = record;
    one.position = position;
    one.keySize = static_cast<uint16_t>(key.size());
    one.text.fill('\0');
    std::copy(key.begin(), key.end(), one.text.begin());
    __builtin_prefetch(&slots_[hash & (slots_.size() - 1)]);
    if (waitingCount_ == kWaiting) settle();
}

// Each pass asks for the memory that the next one looks at.
void PostingTable::settle() {
    const std::span waiting(waiting_.data(), waitingCount_);
    waitingCount_ = 0;
    for (Waiting& one : waiting) {
        one.number = likely(one.hash);
        if (one.number != kNone) __builtin_prefetch(&entries_[one.number], 1);
    }
    for (Waiting& one : waiting) {
        const auto same = [&one](const Entry& entry) {
            return entry.keySize == one.keySize && entry.text == one.text;
        };
        if (one.number == kNone || !same(entries_[one.number]))
            one.number = intern(one.hash, Slice(one.text.data(), one.keySize), same);
        const Entry& entry = entries_[one.number];
        if (entry.memory != kInside) __builtin_prefetch(entry.bytes() + entry.size, 1);
    }
    for (const Waiting& one : waiting) append(entries_[one.number], one.record, one.position);
}

// The first key with this half of the hash, which is nearly always the one.
uint32_t PostingTable::likely(uint64_t hash) const {
    const size_t mask = slots_.size() - 1;
    for (size_t at = hash & mask; slots_[at] != 0; at = (at + 1) & mask) {
        if (((slots_[at] ^ hash) & kHashHalf) == 0) return static_cast<uint32_t>(slots_[at]) - 1;
    }
    return kNone;
}

template <typename Same>
uint32_t PostingTable::intern(uint64_t hash, Slice key, Same same) {
    if ((entries_.size() + 1) * 2 > slots_.size()) grow();
    const size_t mask = slots_.size() - 1;
    size_t at = hash & mask;
    for (; slots_[at] != 0; at = (at + 1) & mask) {
        if (((slots_[at] ^ hash) & kHashHalf) != 0) continue;
        const auto number = static_cast<uint32_t>(slots_[at]) - 1;
        if (same(entries_[number])) return number;
    }
    const auto number = static_cast<uint32_t>(entries_.size());
    Entry& entry = entries_.emplace_back();
    entry.keySize = static_cast<uint16_t>(key.size());
    if (key.size() <= kShortKey)
        std::copy(key.begin(), key.end(), entry.text.begin());
    else
        storePointer(entry.text.data(), memory_.keep(key));
    slots_[at] = (hash & kHashHalf) | (uint64_t{number} + 1);
    return number;
}

void PostingTable::grow() {
    std::vector<uint64_t> slots(slots_.size() * 2);
    const size_t mask = slots.size() - 1;
    for (uint32_t number = 0; number < entries_.size(); ++number) {
        const uint64_t hash = hashOf(key(number));
        size_t at = hash & mask;
        while (slots[at] != 0) at = (at + 1) & mask;
        slots[at] = (hash & kHashHalf) | (uint64_t{number} + 1);
    }
    slots_ = std::move(slots);
}

void PostingTable::append(Entry& entry, RecordNumber record, uint32_t position) {
    const bool positions = kind_ == Postings::Positions;
    if (entry.last == record && !positions) return;
    char* const begin = roomFor(entry, kMostOfPosting);
    char* at = begin;
    if (entry.last != record) {
        if (positions && entry.last != 0) *at++ = '\0';
        at += putVarint(at, record - entry.last);
        entry.last = record;
        entry.lastPosition = 0;
    }
    if (positions) at += putVarint(at, position - entry.lastPosition);
    entry.lastPosition = position;
    entry.size += static_cast<uint32_t>(at - begin);
}

char* PostingTable::roomFor(Entry& entry, size_t more) {
    const bool inside = entry.memory == kInside;
    const size_t room = inside ? kShortStream : StreamMemory::sizeOf(entry.memory);
    char* const now = inside ? entry.stream.data() : loadPointer(entry.stream.data());
    if (entry.size + more <= room) return now + entry.size;
    const auto next = static_cast<uint8_t>(inside ? 0 : entry.memory + 1);
    if (StreamMemory::sizeOf(next) > std::numeric_limits<uint32_t>::max()) throw std::bad_alloc();
    char* const larger = memory_.take(next);
    std::memcpy(larger, now, entry.size);
    if (!inside) memory_.giveBack(now, entry.memory);
    entry.memory = next;
    storePointer(entry.stream.data(), larger);
    return larger + entry.size;
}

std::vector<uint32_t> PostingTable::finish() {
    settle();
    // The first bytes decide nearly all comparisons: sort by them without following the pointers.
    struct Item {
        uint64_t head, second;
        uint32_t number;
    };
    std::vector<Item> items(entries_.size());
    for (uint32_t number = 0; number < items.size(); ++number)
        items[number] = {headOf(key(number), 0), headOf(key(number), 8), number};
    std::sort(items.begin(), items.end(), [this](const Item& a, const Item& b) {
        if (a.head != b.head) return a.head < b.head;
        return a.second != b.second ? a.second < b.second : key(a.number) < key(b.number);
    });
    std::vector<uint32_t> order(items.size());
    std::ranges::transform(items, order.begin(), &Item::number);
    return order;
}

void PostingTable::clear() {
    slots_ = {};
    entries_ = {};
    memory_.clear();
    waitingCount_ = 0;
}

bool PostingStream::next() {
    uint32_t distance = 0;
    if (at_ == end_ || !readVarint(at_, end_, distance)) return false;
    record_ += distance;
    if (kind_ == Postings::Records) return true;
    // Only the first position may be 0; behind it a byte 0 is the end, as no varint above 0 ends in one.
    const char* const begin = at_;
    while (at_ < end_ && (static_cast<unsigned char>(*at_) & 0x80) != 0) ++at_;
    if (at_ < end_) ++at_;
    while (at_ < end_ && *at_ != '\0') ++at_;
    positions_ = Slice(begin, static_cast<size_t>(at_ - begin));
    if (at_ < end_) ++at_;
    return true;
}

}  // namespace wdb
