#include "kernel/search/TableJoin.h"

#include <algorithm>
#include <map>

#include "kernel/record/Value.h"
#include "kernel/search/ConditionSets.h"
#include "kernel/search/JoinPlan.h"
#include "kernel/search/RankJoin.h"
#include "kernel/search/TextJoin.h"

namespace wdb {

namespace {

using ccl::Comparison;

// The different rows of one table among many rows, and which of them each row has.
struct DistinctRows {
    DistinctRows(const Tuples& rows, uint32_t table) {
        for (size_t row = 0; row < rows.size(); ++row) different.push_back(rows.at(table, row));
        std::sort(different.begin(), different.end());
        different.erase(std::unique(different.begin(), different.end()), different.end());
        for (size_t row = 0; row < rows.size(); ++row) {
            const auto at = std::lower_bound(different.begin(), different.end(), rows.at(table, row));
            placeOf.push_back(static_cast<uint32_t>(at - different.begin()));
        }
    }
    std::vector<PartRow> different;
    std::vector<uint32_t> placeOf;
};

std::vector<PartRow> listOf(const TableRows& rows) {
    if (rows.byPart) return rows.parts;
    std::vector<PartRow> list;
    rows.records.forEach([&](RecordNumber record) { list.push_back({record, 0}); });
    return list;
}

// One comparison of the clause, seen from the rows that are there: theirs is the left side.
struct Sides {
    JoinComparison comparison;
    JoinKeys present;
    JoinKeys added;
};

// The rows of the added table that fit each different row of the tables that are there.
class Matcher {
public:
    Matcher(SourceTables& tables, std::span<const PartRow> present, std::span<const PartRow> added)
        : tables_(tables), present_(present), added_(added) {}

    Status prepare(const JoinClause& clause, uint32_t joined) {
        for (const JoinComparison& comparison : clause.comparisons) {
            const bool turned = comparison.left.table == joined;
            if (comparison.isText()) {
                TextJoin& text = texts_.emplace_back(comparison, tables_);
                WDB_TRY(turned ? text.prepare(added_, present_) : text.prepare(present_, added_));
                turned_.push_back(turned);
                continue;
            }
            Sides& sides = sides_.emplace_back();
            const FieldType common = comparison.common();
            sides.comparison = comparison;
            if (turned) sides.comparison = {comparison.right, comparison.mirrored(), comparison.left};
            WDB_TRY(readJoinKeys(sides.comparison.left, common, present_, tables_, sides.present));
            WDB_TRY(readJoinKeys(sides.comparison.right, common, added_, tables_, sides.added));
        }
        // An equality leads, since it leaves the least to look at.
        const auto leader =
            std::find_if(sides_.begin(), sides_.end(), [](const Sides& s) { return s.comparison.isEqual(); });
        if (leader != sides_.end()) std::iter_swap(sides_.begin(), leader);
        if (!sides_.empty()) sortLeader();
        return WDB_OK;
    }

    // Places in the added rows, ascending.
    void matches(uint32_t present, std::vector<uint32_t>& out) {
        out.clear();
        if (sides_.empty()) {
            texts_.front().matches(!turned_.front(), present, out);
        } else {
            lead(present, out);
        }
        std::erase_if(out, [&](uint32_t added) { return !fitsRest(present, added); });
    }

private:
    void sortLeader() {
        const JoinKeys& keys = sides_.front().added;
        for (uint32_t row = 0; row < keys.size(); ++row) {
            for (uint32_t i = keys.begin[row]; i < keys.begin[row + 1]; ++i)
                sorted_.emplace_back(keys.keys[i], row);
        }
        std::sort(sorted_.begin(), sorted_.end());
    }

    void lead(uint32_t present, std::vector<uint32_t>& out) {
        const JoinKeys& keys = sides_.front().present;
        const Comparison comparison = sides_.front().comparison.comparison;
        const uint32_t begin = keys.begin[present], end = keys.begin[present + 1];
        for (uint32_t i = begin; i < end; ++i) {
            const Slice key = keys.keys[i];
            const auto first =
                std::lower_bound(sorted_.begin(), sorted_.end(), key,
                                 [](const auto& entry, Slice wanted) { return entry.first < wanted; });
            const auto last =
                std::upper_bound(first, sorted_.end(), key,
                                 [](Slice wanted, const auto& entry) { return wanted < entry.first; });
            const bool below = comparison == Comparison::Greater || comparison == Comparison::GreaterOrEqual;
            const bool above = comparison == Comparison::Less || comparison == Comparison::LessOrEqual;
            const bool unequal = comparison == Comparison::NotEqual;
            const bool strict =
                comparison == Comparison::Less || comparison == Comparison::Greater || unequal;
            if (below || unequal) take(sorted_.begin(), first, out);
            if (!strict) take(first, last, out);
            if (above || unequal) take(last, sorted_.end(), out);
        }
        std::sort(out.begin(), out.end());
        out.erase(std::unique(out.begin(), out.end()), out.end());
    }

    using Entry = std::vector<std::pair<Slice, uint32_t>>::const_iterator;
    static void take(Entry from, Entry to, std::vector<uint32_t>& out) {
        for (; from != to; ++from) out.push_back(from->second);
    }

    bool fitsRest(uint32_t present, uint32_t added) {
        for (size_t i = 1; i < sides_.size(); ++i) {
            if (!anyPair(sides_[i].present, present, sides_[i].comparison.comparison, sides_[i].added, added))
                return false;
        }
        for (size_t i = 0; i < texts_.size(); ++i) {
            if (!(turned_[i] ? texts_[i].fits(added, present) : texts_[i].fits(present, added))) return false;
        }
        return true;
    }

    SourceTables& tables_;
    std::span<const PartRow> present_;
    std::span<const PartRow> added_;
    std::vector<Sides> sides_;
    std::vector<TextJoin> texts_;
    std::vector<char> turned_;
    std::vector<std::pair<Slice, uint32_t>>
        sorted_;  // keys of the first comparison's added side, with their rows
};

// Puts the joined rows together.
class Assembler {
public:
    Assembler(const JoinClause& clause, uint32_t joined, std::span<const PartRow> added, Tuples& rows)
        : keepAdded_(clause.keeps(joined)),
          keepPresent_(clause.keeps(joined == clause.left() ? clause.right() : clause.left())),
          joined_(joined),
          added_(added),
          rows_(rows),
          used_(added.size(), 0) {}

    // WDB_E_MEMORY when there would be too many rows.
    Status row(uint32_t present, std::span<const uint32_t> matches) {
        if (places_.size() + matches.size() > kMaxTuples) return WDB_E_MEMORY;
        for (const uint32_t match : matches) {
            push(present, added_[match]);
            used_[match] = 1;
        }
        if (matches.empty() && keepPresent_) push(present, {});
        return WDB_OK;
    }

    void finish(bool byPart) {
        for (size_t i = 0; keepAdded_ && i < added_.size(); ++i) {
            if (!used_[i]) push(Tuples::kNone, added_[i]);
        }
        rows_.gather(places_);
        rows_.set(joined_, std::move(records_), byPart ? std::move(parts_) : std::vector<PartNumber>());
    }

private:
    void push(uint32_t present, PartRow added) {
        places_.push_back(present);
        records_.push_back(added.record);
        parts_.push_back(added.part);
    }

    const bool keepAdded_;
    const bool keepPresent_;
    const uint32_t joined_;
    std::span<const PartRow> added_;
    Tuples& rows_;
    std::vector<char> used_;
    std::vector<uint32_t> places_;
    std::vector<RecordNumber> records_;
    std::vector<PartNumber> parts_;
};

}  // namespace

Status joinTable(const JoinClause& clause, uint32_t joined, const TableRows& added, SourceTables& tables,
                 Tuples& rows) {
    const Status ranked = joinByRanks(clause, joined, added, tables, rows);
    if (ranked != WDB_FAIL) return ranked;
    const uint32_t other = joined == clause.left() ? clause.right() : clause.left();
    const std::vector<PartRow> list = listOf(added);
    const DistinctRows present(rows, other);
    Matcher matcher(tables, present.different, list);
    WDB_TRY(matcher.prepare(clause, joined));
    Assembler assembler(clause, joined, list, rows);
    std::vector<std::vector<uint32_t>> matches(present.different.size());
    std::vector<char> known(present.different.size(), 0);
    for (uint32_t row = 0; row < rows.size(); ++row) {
        const uint32_t place = present.placeOf[row];
        if (!known[place]) matcher.matches(place, matches[place]);
        known[place] = 1;
        WDB_TRY(assembler.row(row, matches[place]));
    }
    assembler.finish(added.byPart);
    return WDB_OK;
}

Status compareRows(const JoinComparison& comparison, const Tuples& rows, SourceTables& tables,
                   std::vector<char>& holds) {
    const DistinctRows left(rows, comparison.left.table), right(rows, comparison.right.table);
    holds.resize(rows.size());
    if (comparison.isText()) {
        TextJoin text(comparison, tables);
        WDB_TRY(text.prepare(left.different, right.different));
        for (size_t row = 0; row < rows.size(); ++row)
            holds[row] = text.fits(left.placeOf[row], right.placeOf[row]);
        return WDB_OK;
    }
    JoinKeys leftKeys, rightKeys;
    WDB_TRY(readJoinKeys(comparison.left, comparison.common(), left.different, tables, leftKeys));
    WDB_TRY(readJoinKeys(comparison.right, comparison.common(), right.different, tables, rightKeys));
    for (size_t row = 0; row < rows.size(); ++row) {
        holds[row] =
            anyPair(leftKeys, left.placeOf[row], comparison.comparison, rightKeys, right.placeOf[row]);
    }
    return WDB_OK;
}

}  // namespace wdb
