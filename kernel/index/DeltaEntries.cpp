#include "kernel/index/DeltaEntries.h"

#include <algorithm>

namespace wdb {

// When memory runs out the key is there or not; one that is missing in the order is put there by the next
// call.
uint32_t DeltaEntries::Dictionary::add(Slice key) {
    if (entries_.size() == entries_.capacity()) entries_.reserve(std::max<size_t>(64, entries_.size() * 2));
    const uint32_t number = table_.intern(key);
    if (number == entries_.size()) entries_.emplace_back();
    while (ordered_.size() < entries_.size()) ordered_.insert(static_cast<uint32_t>(ordered_.size()));
    return number;
}

void DeltaEntries::Dictionary::addEntry(uint32_t number, uint32_t tag) {
    std::vector<uint32_t>& list = entries_[number];
    if (!list.empty() && list.back() == tag) return;
    list.push_back(tag);
    ++tags_;
}

// Collects one record: values and sets go to lists of their own, tokens straight to the pool.
struct DeltaEntries::Sink {
    DeltaEntries& owner;
    uint32_t number;
    std::vector<uint32_t> values{};
    std::vector<uint32_t> sets{};
    FieldNumber textField = 0;
    uint32_t textStart = 0;  // place of the present text's length in the pool
    uint32_t position = 0;

    void present(FieldNumber field) { sets.push_back(uint32_t{field} * 2); }
    void multi(FieldNumber field) { sets.push_back(uint32_t{field} * 2 + 1); }
    void column(FieldNumber, int64_t) {}

    void word(FieldNumber field, Slice key, uint32_t at) {
        std::vector<uint32_t>& pool = owner.pool_;
        const uint32_t word = owner.words_.add(key);
        owner.words_.addEntry(word, number);
        if (field != textField) {
            endText();
            textField = field;
            pool.push_back(field);
            textStart = static_cast<uint32_t>(pool.size());
            pool.push_back(0);
        } else if (at != position + 1) {
            pool.push_back(kParagraphMark);
        }
        pool.push_back(word);
        position = at;
    }
    void endText() {
        if (textField != 0)
            owner.pool_[textStart] = static_cast<uint32_t>(owner.pool_.size()) - textStart - 1;
    }

    void value(FieldNumber, Slice key, bool first) {
        const uint32_t value = owner.values_.add(key);
        // One tag per key: the first item's, when it is among the equal ones.
        for (const uint32_t tag : values) {
            if (tag / 2 == value) return;
        }
        owner.values_.addEntry(value, number * 2 + (first ? 1U : 0U));
        values.push_back(value * 2 + (first ? 1U : 0U));
    }
};

// An entry that is being made. What it left in lists and pool when memory ran out stays there under its
// number, which is then given to an entry that nobody sees.
class DeltaEntries::Maker {
public:
    Maker(DeltaEntries& owner, Position position, RecordNumber record, bool deleted)
        : owner_(owner), pool_(owner.pool_.size()) {
        std::vector<Entry>& entries = owner.entries_;
        if (entries.size() == entries.capacity()) entries.reserve(std::max<size_t>(64, entries.size() * 2));
        entry.position = position;
        entry.record = record;
        entry.deleted = deleted;
    }
    Maker(const Maker&) = delete;
    Maker& operator=(const Maker&) = delete;
    ~Maker() {
        if (done_) return;
        owner_.pool_.resize(pool_);
        Entry dead;
        dead.position = owner_.lastPosition();
        dead.next = owner_.count();
        owner_.entries_.push_back(dead);
    }

    // Makes the entry the record's newest.
    void finish() {
        const uint32_t number = owner_.count();
        const auto [at, isNew] = owner_.latest_.try_emplace(entry.record, number);
        if (isNew) {
            try {
                owner_.allTouched_.add(entry.record);
            } catch (...) {
                owner_.latest_.erase(at);
                throw;
            }
        } else {
            owner_.entries_[at->second].next = number;
            at->second = number;
        }
        owner_.entries_.push_back(entry);
        done_ = true;
    }

    Entry entry;

private:
    DeltaEntries& owner_;
    const size_t pool_;
    bool done_ = false;
};

void DeltaEntries::noteSet(uint32_t tag, uint32_t entry) {
    Lists& lists = (tag & 1) != 0 ? multi_ : present_;
    lists[static_cast<FieldNumber>(tag / 2)].push_back(entry);
}

void DeltaEntries::add(Position position, RecordNumber record, const RecordView* image) {
    const bool deleted = image == nullptr || image->deleted();
    Sink sink{*this, count()};
    Maker maker(*this, position, record, deleted);
    Entry& entry = maker.entry;
    entry.textsBegin = static_cast<uint32_t>(pool_.size());
    if (!deleted) inverter_.invert(*schema_, *image, sink);
    sink.endText();
    entry.textsEnd = entry.valuesBegin = static_cast<uint32_t>(pool_.size());
    pool_.insert(pool_.end(), sink.values.begin(), sink.values.end());
    entry.valuesEnd = entry.setsBegin = static_cast<uint32_t>(pool_.size());
    pool_.insert(pool_.end(), sink.sets.begin(), sink.sets.end());
    entry.setsEnd = static_cast<uint32_t>(pool_.size());
    for (const uint32_t tag : sink.sets) noteSet(tag, sink.number);
    maker.finish();
}

void DeltaEntries::addAll(const DeltaEntries& other, Position after) {
    for (const Entry& source : other.entries_) {
        if (source.position <= after || source.record == 0) continue;
        const uint32_t number = count();
        Maker maker(*this, source.position, source.record, source.deleted);
        Entry& entry = maker.entry;
        entry.textsBegin = static_cast<uint32_t>(pool_.size());
        for (uint32_t at = source.textsBegin; at < source.textsEnd;) {
            const uint32_t end = at + 2 + other.pool_[at + 1];
            pool_.push_back(other.pool_[at]);
            pool_.push_back(other.pool_[at + 1]);
            for (at += 2; at < end; ++at) {
                const uint32_t token = other.pool_[at];
                const uint32_t word = token == kParagraphMark ? token : words_.add(other.words_.key(token));
                if (word != kParagraphMark) words_.addEntry(word, number);
                pool_.push_back(word);
            }
        }
        entry.textsEnd = entry.valuesBegin = static_cast<uint32_t>(pool_.size());
        for (const uint32_t tag : other.valuesOf(source)) {
            const uint32_t value = values_.add(other.values_.key(tag / 2));
            values_.addEntry(value, number * 2 + (tag & 1));
            pool_.push_back(value * 2 + (tag & 1));
        }
        entry.valuesEnd = entry.setsBegin = static_cast<uint32_t>(pool_.size());
        for (uint32_t at = source.setsBegin; at < source.setsEnd; ++at) {
            noteSet(other.pool_[at], number);
            pool_.push_back(other.pool_[at]);
        }
        entry.setsEnd = static_cast<uint32_t>(pool_.size());
        maker.finish();
    }
}

size_t DeltaEntries::bytes() const {
    return entries_.size() * (sizeof(Entry) + 32) + pool_.size() * 4 + words_.bytes() + values_.bytes();
}

RecordSet DeltaEntries::touched(Position after, Position upTo) const {
    if (entries_.empty()) return {};
    if (after < firstPosition() && upTo >= lastPosition()) return allTouched_.clone();
    RecordSetBuilder builder;
    for (const Entry& entry : entries_) {
        if (entry.position > after && entry.position <= upTo && entry.record != 0) builder.add(entry.record);
    }
    return builder.finish();
}

std::span<const uint32_t> DeltaEntries::tokens(const Entry& entry, FieldNumber field) const {
    for (uint32_t at = entry.textsBegin; at < entry.textsEnd; at += 2 + pool_[at + 1]) {
        if (pool_[at] == field) return std::span(pool_).subspan(at + 2, pool_[at + 1]);
    }
    return {};
}

std::span<const uint32_t> DeltaEntries::list(const Lists& lists, FieldNumber field) {
    const auto found = lists.find(field);
    return found == lists.end() ? std::span<const uint32_t>() : std::span<const uint32_t>(found->second);
}

}  // namespace wdb
