#include "kernel/search/JoinPlan.h"

#include <algorithm>

#include "kernel/search/CommandFault.h"
#include "kernel/search/TableJoin.h"

namespace wdb {

Result<BoundColumn> JoinPlan::column(const ccl::Column& source) {
    if (!source.qualifier.empty() && !tables_.find(source.qualifier)) {
        WDB_TRY(tables_.add({source.qualifier, {}, source.position}));
    }
    Result<BoundColumn> bound = tables_.bind(source);
    if (bound && bound->type() == FieldType::String)
        return fault(error_, WDB_E_TYPE, source.position, source.field);
    return bound;
}

Status JoinPlan::bind() {
    for (const ccl::Join& join : joins_) {
        const Result<BoundColumn> left = column(join.left);
        if (!left) return left.status();
        const Result<BoundColumn> right = column(join.right);
        if (!right) return right.status();
        const bool goesOn = !clauses_.empty() && clauses_.back().kind == join.kind &&
                            clauses_.back().left() == left->table && clauses_.back().right() == right->table;
        const bool crossed = !clauses_.empty() && clauses_.back().kind == join.kind &&
                             join.kind == ccl::Join::Kind::Inner && clauses_.back().left() == right->table &&
                             clauses_.back().right() == left->table;
        JoinComparison comparison{*left, join.comparison, *right};
        if (crossed) comparison = {*right, comparison.mirrored(), *left};
        if (!goesOn && !crossed) clauses_.push_back({join.kind, {}});
        clauses_.back().comparisons.push_back(comparison);
    }
    return order();
}

// Which clause runs when, and which tables outer joins may leave empty.
Status JoinPlan::order() {
    std::vector<JoinClause> waiting = std::move(clauses_);
    clauses_.clear();
    std::vector<char> present(tables_.size(), 0);
    mayBeEmpty_.assign(tables_.size(), 0);
    present[start_] = 1;
    while (!waiting.empty()) {
        const auto next = std::find_if(waiting.begin(), waiting.end(), [&](const JoinClause& clause) {
            return present[clause.left()] || present[clause.right()];
        });
        if (next == waiting.end()) break;
        for (const uint32_t joined : {next->left(), next->right()}) {
            if (present[joined]) continue;
            const uint32_t other = joined == next->left() ? next->right() : next->left();
            if (next->keeps(other)) mayBeEmpty_[joined] = 1;
            for (uint32_t table = 0; next->keeps(joined) && table < present.size(); ++table) {
                mayBeEmpty_[table] = mayBeEmpty_[table] || present[table];
            }
            present[joined] = 1;
        }
        clauses_.push_back(std::move(*next));
        waiting.erase(next);
    }
    for (uint32_t table = 0; table < present.size(); ++table) {
        if (!present[table])
            return fault(error_, WDB_E_CCL_UNSUPPORTED, tables_[table].name.position,
                         tables_[table].name.base);
    }
    return WDB_OK;
}

// Begins with the smaller side of a first inner join that narrows much.
Status JoinPlan::begin(WherePlan& where, Tuples& rows, std::vector<char>& present) {
    constexpr uint64_t kMuchSmaller = 8;
    TableRows first;
    WDB_TRY(where.tableRows(start_, !mayBeEmpty_[start_], first));
    present[start_] = 1;
    if (clauses_.empty() || clauses_.front().left() == clauses_.front().right()) {
        first.moveTo(rows, start_);
        return WDB_OK;
    }
    const JoinClause& clause = clauses_.front();
    const uint32_t joined = clause.left() == start_ ? clause.right() : clause.left();
    TableRows added;
    WDB_TRY(where.tableRows(joined, !mayBeEmpty_[joined], added));
    present[joined] = 1;
    const bool turned = clause.kind == ccl::Join::Kind::Inner && added.size() < first.size() / kMuchSmaller;
    (turned ? added : first).moveTo(rows, turned ? joined : start_);
    return joinTable(clause, turned ? start_ : joined, turned ? first : added, tables_, rows);
}

Status JoinPlan::run(WherePlan& where, Tuples& rows) {
    rows = Tuples(tables_.size());
    std::vector<char> present(tables_.size(), 0);
    WDB_TRY(begin(where, rows, present));
    for (size_t i = 0; i < clauses_.size(); ++i) {
        const JoinClause& clause = clauses_[i];
        const bool filters = present[clause.left()] && present[clause.right()];
        if (i == 0 && clause.left() != clause.right()) continue;  // begun with
        if (filters) {
            WDB_TRY(filter(clause, rows));
            continue;
        }
        const uint32_t joined = present[clause.left()] ? clause.right() : clause.left();
        TableRows added;
        WDB_TRY(where.tableRows(joined, !mayBeEmpty_[joined], added));
        WDB_TRY(joinTable(clause, joined, added, tables_, rows));
        present[joined] = 1;
    }
    if (tables_.size() > 1) rows.sort();
    return WDB_OK;
}

// Both tables are there: rows for which a comparison does not hold go.
Status JoinPlan::filter(const JoinClause& clause, Tuples& rows) {
    for (const JoinComparison& comparison : clause.comparisons) {
        std::vector<char> holds;
        WDB_TRY(compareRows(comparison, rows, tables_, holds));
        std::vector<uint32_t> kept;
        for (uint32_t row = 0; row < holds.size(); ++row) {
            if (holds[row]) kept.push_back(row);
        }
        rows.gather(kept);
    }
    return WDB_OK;
}

}  // namespace wdb
