#include "kernel/search/RankJoin.h"

#include <algorithm>
#include <unordered_map>

#include "kernel/catalog/OpenBase.h"
#include "kernel/search/JoinPlan.h"
#include "kernel/search/TableJoin.h"

namespace wdb {

namespace {

constexpr size_t kFewRows = 64;        // worth looking up whatever the orders would cost
constexpr uint64_t kManyLoose = 8192;  // records to look up one by one
constexpr uint64_t kLookUpSteps = 16;  // a look-up costs as much as so many entries of a walk

bool wholeField(const BoundColumn& column) {
    return column.field != nullptr && column.first == 0 && holdsItems(column.type()) && !column.ofParts();
}

// Membership by number in one step.
class RecordBits {
public:
    explicit RecordBits(const RecordSet& records) : bits_(records.empty() ? 0 : records.last() / 64 + 1) {
        records.forEach([this](RecordNumber record) { bits_[record / 64] |= uint64_t{1} << (record % 64); });
    }
    bool has(RecordNumber record) const {
        return record / 64 < bits_.size() && (bits_[record / 64] >> (record % 64) & 1) != 0;
    }

private:
    std::vector<uint64_t> bits_;
};

class RankJoin {
public:
    RankJoin(const JoinClause& clause, uint32_t joined, const TableRows& added, SourceTables& tables,
             Tuples& rows)
        : clause_(clause),
          joined_(joined),
          added_(added),
          tables_(tables),
          rows_(rows),
          present_(joined == clause.left() ? clause.right() : clause.left()) {}

    Status run() {
        const JoinComparison& comparison = clause_.comparisons.front();
        const bool fits = clause_.comparisons.size() == 1 && comparison.isEqual() &&
                          wholeField(comparison.left) && wholeField(comparison.right) &&
                          comparison.left.type() == comparison.right.type() && !added_.byPart;
        if (!fits) return WDB_FAIL;
        mine_ = comparison.left.table == present_ ? comparison.left : comparison.right;
        theirs_ = comparison.left.table == present_ ? comparison.right : comparison.left;
        if (!lookUpOnly()) WDB_TRY(openOrders());
        if (!added_.whole) members_.emplace(added_.records);
        return assemble();
    }

private:
    // Records in matched_.
    struct Stretch {
        size_t begin;
        size_t count;
    };

    IndexView& mineView() { return tables_[present_].state->index; }
    IndexView& theirView() { return tables_[joined_].state->index; }

    bool lookUpOnly() {
        const BaseSnapshot& other = tables_[joined_].state->snapshot;
        if (rows_.size() > 4096) return false;
        const Result<uint64_t> entries = theirView().orderCost(theirs_.field->number);
        if (!entries) return true;
        const bool paid = other.sharedBase()->ranks().walked(theirs_.field->number, other.valuePosition(),
                                                             rows_.size() * kLookUpSteps, *entries);
        return rows_.size() <= kFewRows || !paid;
    }

    Status openOrders() {
        const auto map = mineView().rankMap(mine_.field->number, theirView(), theirs_.field->number,
                                            tables_[joined_].state->snapshot.base().id());
        if (!map) return map.status();
        const auto mine = mineView().ranks(mine_.field->number);
        if (!mine) return mine.status();
        const auto theirs = theirView().ranks(theirs_.field->number);
        if (!theirs) return theirs.status();
        Result<RecordSet> mineLoose = mineView().unranked(mine_.field->number, **mine);
        if (!mineLoose) return mineLoose.status();
        Result<RecordSet> theirLoose = theirView().unranked(theirs_.field->number, **theirs);
        if (!theirLoose) return theirLoose.status();
        if (mineLoose->cardinality() + theirLoose->cardinality() > kManyLoose) return WDB_FAIL;
        map_ = *map;
        ranks_ = *mine;
        order_ = *theirs;
        mineLoose_ = std::move(*mineLoose);
        theirLoose_ = std::move(*theirLoose);
        return lookUpTheirLoose();
    }

    // Records of the added table that its order does not know: which of the others have their values?
    Status lookUpTheirLoose() {
        RecordSet loose = RecordSet::intersection(theirLoose_, added_.records);
        loose.own();
        std::vector<RecordNumber> found;
        for (const RecordNumber record : loose.toVector()) {
            WDB_TRY(lookUp(joined_, theirs_, record, mineView(), mine_, found));
            for (const RecordNumber match : found) {
                if (!mineLoose_.contains(match)) extra_[match].push_back(record);
            }
        }
        return WDB_OK;
    }

    // The records of the other field that share a value with a record's field.
    Status lookUp(uint32_t table, const BoundColumn& column, RecordNumber number, IndexView& other,
                  const BoundColumn& field, std::vector<RecordNumber>& found) {
        const Result<RecordView> record = tables_[table].state->snapshot.record(number);
        if (!record) return record.status();
        const ItemList items = record->items(column.field->number);
        if (items.size() == 1) {
            const Result<RecordSet> hits = other.equal(field.field->number, items.first());
            if (!hits) return hits.status();
            hits->copyTo(0, hits->cardinality(), found);
            return WDB_OK;
        }
        RecordSetBuilder all;
        for (const Slice item : items) {
            if (item.empty()) continue;
            const Result<RecordSet> hits = other.equal(field.field->number, item);
            if (!hits) return hits.status();
            all.add(*hits);
        }
        found = all.finish().toVector();
        return WDB_OK;
    }

    Status assemble() {
        const std::vector<RecordNumber>& mine = rows_.records(present_);
        const bool keepPresent = clause_.keeps(present_), keepAdded = clause_.keeps(joined_);
        if (keepAdded) used_.resize(added_.records.empty() ? 0 : added_.records.last() + size_t{1});
        for (uint32_t row = 0; row < mine.size(); ++row) {
            const size_t before = places_.size();
            WDB_TRY(matches(row, mine[row]));
            if (places_.size() > kMaxTuples) return WDB_E_MEMORY;
            if (places_.size() == before && keepPresent) push(row, 0);
        }
        if (keepAdded) {
            for (const RecordNumber record : records_) used_[record] = 1;
            added_.records.forEach([&](RecordNumber record) {
                if (!used_[record]) push(Tuples::kNone, record);
            });
        }
        rows_.gather(places_);
        rows_.set(joined_, std::move(records_), {});
        return WDB_OK;
    }

    Status matches(uint32_t row, RecordNumber record) {
        if (record == 0) return WDB_OK;
        if (!map_ || (!mineLoose_.empty() && mineLoose_.contains(record)))
            return matchesByLookUp(row, record);
        const uint32_t rank = ranks_->of(record);
        const size_t before = records_.size();
        if (rank < map_->stretches.size()) {
            const RankMap::Stretch stretch = map_->stretches[rank];
            for (uint32_t at = stretch.begin; at < stretch.end; ++at) {
                const RecordNumber other = order_->inOrder[at];
                if ((!members_ || members_->has(other)) &&
                    (theirLoose_.empty() || !theirLoose_.contains(other)))
                    push(row, other);
            }
        }
        if (extra_.empty()) return WDB_OK;
        const auto extra = extra_.find(record);
        if (extra == extra_.end()) return WDB_OK;
        for (const RecordNumber other : extra->second) push(row, other);
        std::sort(records_.begin() + static_cast<ptrdiff_t>(before), records_.end());
        return WDB_OK;
    }

    Status matchesByLookUp(uint32_t row, RecordNumber record) {
        // Rows of an earlier join have the record again, mostly one behind the other.
        const auto [known, fresh] = lookedUp_.try_emplace(record, Stretch{matched_.size(), 0});
        if (fresh) {
            WDB_TRY(lookUp(present_, mine_, record, theirView(), theirs_, found_));
            known->second.count = found_.size();
            matched_.insert(matched_.end(), found_.begin(), found_.end());
        }
        const Stretch stretch = known->second;
        for (size_t at = stretch.begin; at < stretch.begin + stretch.count; ++at) {
            if (!members_ || members_->has(matched_[at])) push(row, matched_[at]);
        }
        return WDB_OK;
    }

    void push(uint32_t row, RecordNumber record) {
        places_.push_back(row);
        records_.push_back(record);
    }

    const JoinClause& clause_;
    const uint32_t joined_;
    const TableRows& added_;
    SourceTables& tables_;
    Tuples& rows_;
    const uint32_t present_;
    BoundColumn mine_;
    BoundColumn theirs_;
    std::shared_ptr<const RankMap> map_;  // null: look-ups only
    std::shared_ptr<const Ranks> ranks_;  // of mine
    std::shared_ptr<const Ranks> order_;  // of theirs
    RecordSet mineLoose_;
    RecordSet theirLoose_;
    std::unordered_map<RecordNumber, std::vector<RecordNumber>> extra_;  // mine to theirs that are loose
    std::unordered_map<RecordNumber, Stretch> lookedUp_;                 // mine to what was found
    std::vector<RecordNumber> found_;                                    // of one look-up
    std::vector<RecordNumber> matched_;                                  // of all
    std::optional<RecordBits> members_;  // of the added rows, unless these are the whole table
    std::vector<char> used_;
    std::vector<uint32_t> places_;
    std::vector<RecordNumber> records_;
};

}  // namespace

Status joinByRanks(const JoinClause& clause, uint32_t joined, const TableRows& added, SourceTables& tables,
                   Tuples& rows) {
    return RankJoin(clause, joined, added, tables, rows).run();
}

}  // namespace wdb
