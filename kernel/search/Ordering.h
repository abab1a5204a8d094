#pragma once

#include <cstdint>
#include <vector>

#include "kernel/record/Schema.h"
#include "kernel/search/BaseState.h"

namespace wdb {

// What rows are sorted by: an item of a field, the text of a TEXT field, or the record number.
struct SortKey {
    FieldNumber field = 0;  // 0: the record number
    FieldType type = FieldType::Phrase;
    uint32_t item = 1;
    bool descending = false;
};

// The order of a record set's rows, worked out only as far as it is asked for. Empty values come first, descending last;
// equal rows come by ascending record number.
//
// The first rows come from a walk through the index while that is cheap. Beyond them every record gets its place in the
// order of each key once (an array of ranks does most of it), and the rows are sorted block by block: quickselect cuts
// off the next block, which alone is sorted, and blocks double.
class Ordering {
public:
    explicit Ordering(std::vector<SortKey> keys) : keys_(std::move(keys)) {}

    // At least `count` rows (or all, when there are fewer) are in order. `records`: the set, the same at every call.
    // WDB_E_CHANGED when that can not be known any more.
    Status ensure(uint64_t count, const RecordSet& records, BaseState& state);
    // What is missing can be worked out without the snapshot from now on.
    Status fix(const RecordSet& records, BaseState& state);
    // Nobody has the state of the search any more.
    void giveUp() { lost_ = !placed_; }

    bool has(uint64_t place) const { return place < rows_.size(); }
    RecordNumber at(uint64_t place) const { return rows_[place]; }
    bool needsSnapshot() const { return !placed_; }

private:
    Status walk(uint64_t count, const RecordSet& records, BaseState& state);
    Status placeAll(const RecordSet& records, BaseState& state);
    Status placesOf(const SortKey& key, const RecordSet& records, BaseState& state, size_t column);
    Status placesByValue(const SortKey& key, BaseState& state, size_t column);
    bool before(uint32_t a, uint32_t b) const;
    void sortBlock(uint64_t count);

    std::vector<SortKey> keys_;
    std::vector<RecordNumber> rows_;     // in order, as far as known
    bool placed_ = false;
    bool lost_ = false;
    std::vector<RecordNumber> records_;  // all of the set, ascending
    std::vector<uint64_t> places_;       // per record one place for each key
    std::vector<uint32_t> pending_;      // indexes of records that are not in rows_, from sorted_ on
    size_t sorted_ = 0;
};

}  // namespace wdb
