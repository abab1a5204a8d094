#include "kernel/search/OrderedWalk.h"

#include <algorithm>

namespace wdb {

namespace {

// More records with several items than this, and finding those whose first item is empty would cost too much.
constexpr uint64_t kManyMulti = 256;

class Walk {
public:
    Walk(const SortKey& key, uint64_t count, const RecordSet& records, BaseState& state,
         std::vector<RecordNumber>& rows)
        : key_(key), records_(records), state_(state), rows_(rows), all_(records.cardinality()) {
        wanted_ = std::min(count, all_);
    }

    Result<bool> run(uint64_t& budget) {
        if (!key_.descending) {
            const Result<bool> known = addEmpty();
            if (!known || !*known) return known;
        }
        const Status status = walk(budget);
        if (status != WDB_OK && status != WDB_FAIL) return status;
        if (done()) return true;
        if (status == WDB_OK || !key_.descending) return status == WDB_FAIL && rows_.size() == all_;
        return addEmpty();
    }

private:
    bool done() const { return rows_.size() >= wanted_; }

    // Records whose first item is empty. False when there may be too many to look for.
    Result<bool> addEmpty() {
        Result<RecordSet> present = state_.index.present(key_.field);
        if (!present) return present.status();
        RecordSet empty = RecordSet::difference(records_, *present);
        Result<RecordSet> multi = state_.index.multi(key_.field);
        if (!multi) return multi.status();
        if (!multi->empty()) {
            multi->intersect(records_);
            if (multi->cardinality() > kManyMulti) return false;
            for (const RecordNumber number : multi->toVector()) {
                const Result<RecordView> record = state_.snapshot.record(number);
                if (!record) return record.status();
                if (record->items(key_.field).first().empty()) empty.add(number);
            }
        }
        add(empty);
        return true;
    }

    void add(const RecordSet& set) {
        std::vector<RecordNumber> block;
        set.copyTo(0, wanted_ - rows_.size(), block);
        rows_.insert(rows_.end(), block.begin(), block.end());
    }

    // WDB_OK: enough rows, or the budget is used up; WDB_FAIL: the walk is at its end.
    Status walk(uint64_t& budget) {
        if (done()) return WDB_OK;
        Result<OrderWalk> walk = state_.index.order(key_.field, key_.descending);
        if (!walk) return walk.status();
        for (; budget > 0 && !done(); --budget) {
            WDB_TRY(walk->next());
            addMembers(walk->records());
        }
        return WDB_OK;
    }

    void addMembers(const RecordSet& step) {
        if (step.chunkCount() == 1 && step.chunk(0).cardinality <= 8) {
            step.forEach([&](RecordNumber number) {
                if (!done() && records_.contains(number)) rows_.push_back(number);
            });
            return;
        }
        add(RecordSet::intersection(step, records_));
    }

    const SortKey& key_;
    const RecordSet& records_;
    BaseState& state_;
    std::vector<RecordNumber>& rows_;
    const uint64_t all_;
    uint64_t wanted_ = 0;
};

}  // namespace

Result<bool> walkInOrder(const SortKey& key, uint64_t count, uint64_t& budget, const RecordSet& records,
                         BaseState& state, std::vector<RecordNumber>& rows) {
    return Walk(key, count, records, state, rows).run(budget);
}

}  // namespace wdb
