#pragma once

#include <memory>
#include <vector>

#include "kernel/index/RankCache.h"
#include "kernel/index/RecordSet.h"
#include "kernel/search/BaseState.h"

namespace wdb {

// The records of a set in the order of one field's first items, any page of them, from the order of the whole
// base: when all its records are in the set a row is found by its place, else the order is walked and its
// records are looked for in the set. Records that the order does not know are sorted by themselves and merged
// in. Once made it needs no snapshot.
class RankOrder {
public:
    // records: the set; it outlives this. WDB_FAIL when too many of them are unknown to the order.
    static Result<std::unique_ptr<RankOrder>> make(FieldNumber field, bool descending,
                                                   const RecordSet& records, BaseState& state);

    // The record in row `place`, which is below the number of records.
    RecordNumber at(uint64_t place);

private:
    struct Placed {
        uint64_t place;
        RecordNumber record;
    };
    RankOrder(std::shared_ptr<const Ranks> ranks, bool descending)
        : ranks_(std::move(ranks)), descending_(descending) {}

    void spread();
    void restart();
    void goOn();
    RecordNumber direct(uint64_t place) const;
    RecordNumber nextRanked();
    bool isMember(RecordNumber record) const {
        const size_t chunk = record >> 16;
        if (chunk >= bits_.size() || bits_[chunk] == nullptr) return false;
        return (bits_[chunk][(record & 0xFFFF) / 8] >> (record % 8) & 1) != 0;
    }
    uint32_t stretchBegin(uint32_t at) const;
    uint32_t stretchEnd(uint32_t at) const;

    std::shared_ptr<const Ranks> ranks_;
    const bool descending_;
    bool full_ = false;  // every record of the order is in the set
    RecordSet empties_;  // whose first item is empty
    uint64_t emptyCount_ = 0;
    uint64_t count_ = 0;
    std::vector<Placed> loose_;      // in the direction of the walk
    RecordSet known_;                // the set's records that the order knows, without empty ones
    std::vector<const char*> bits_;  // of each chunk of known_: kBitmapBytes, null without members
    std::vector<std::unique_ptr<char[]>> spread_;  // bits of chunks that have none themselves

    // The walk: rows from windowBegin_ on; what comes next.
    std::vector<RecordNumber> window_;
    uint64_t windowBegin_ = 0;
    uint64_t emptyAt_ = 0;
    size_t looseAt_ = 0;
    uint32_t at_ = 0;  // place in the order; descending: within the stretch [begin_, end_)
    uint32_t begin_ = 0;
    uint32_t end_ = 0;
    RecordNumber ranked_ = 0;  // the next one of the order, 0: none left
};

}  // namespace wdb
