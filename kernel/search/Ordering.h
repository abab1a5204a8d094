#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "kernel/record/Schema.h"
#include "kernel/search/BaseState.h"
#include "kernel/search/PlacedRows.h"
#include "kernel/search/RankOrder.h"

namespace wdb {

// What rows are sorted by: an item of a field, the text of a TEXT field, or the record number.
struct SortKey {
    FieldNumber field = 0;  // 0: the record number
    FieldType type = FieldType::Phrase;
    uint32_t item = 1;
    bool descending = false;
};

// The order of a record set's rows, worked out only as far as it is asked for. Empty values come first,
// descending last; equal rows come by ascending record number.
//
// The first rows come from a walk through the index while that is cheap. Beyond them every record gets its
// place in the order of each key once (an array of ranks does most of it), and only the rows around those
// that are asked for are sorted (PlacedRows).
class Ordering {
public:
    explicit Ordering(std::vector<SortKey> keys) : keys_(std::move(keys)) {}

    // The record in row `place` from 0, below the number of records. `records`: the set, the same at every
    // call. WDB_E_CHANGED when that can not be known any more.
    Result<RecordNumber> at(uint64_t place, const RecordSet& records, BaseState& state);
    // Is the row known without a look at the base?
    bool has(uint64_t place) const { return place < first_.size() || placed_ || ranked_; }
    // The row when has() says so.
    RecordNumber known(uint64_t place);
    // What is missing can be worked out without the snapshot from now on.
    Status fix(const RecordSet& records, BaseState& state);
    // Nobody has the state of the search any more.
    void giveUp() { lost_ = !placed_ && !ranked_; }

private:
    bool agrees(RankOrder& order) const;
    Status walk(uint64_t count, const RecordSet& records, BaseState& state);
    Status placeAll(const RecordSet& records, BaseState& state);
    Status placesOf(const SortKey& key, const RecordSet& records, BaseState& state, size_t column);
    Status placesByValue(const SortKey& key, BaseState& state, size_t column);
    std::vector<SortKey> keys_;
    std::vector<RecordNumber> first_;    // the first rows, from a walk
    std::unique_ptr<RankOrder> ranked_;  // all rows, from the order of the base; or else
    std::optional<PlacedRows> placed_;   // indexes of the records that are not in first_
    bool lost_ = false;
    std::vector<RecordNumber> records_;  // all of the set, ascending
    std::vector<uint64_t> places_;       // per record one place for each key, until placed_ takes them
};

}  // namespace wdb
