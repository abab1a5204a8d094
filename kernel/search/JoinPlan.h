#pragma once

#include "kernel/ccl/Tree.h"
#include "kernel/search/JoinComparison.h"
#include "kernel/search/WherePlan.h"

namespace wdb {

// Neighbouring clauses of one kind over the same two tables: one join with all their comparisons, its sides
// as written.
struct JoinClause {
    ccl::Join::Kind kind = ccl::Join::Kind::Inner;
    std::vector<JoinComparison> comparisons;

    uint32_t left() const { return comparisons.front().left.table; }
    uint32_t right() const { return comparisons.front().right.table; }
    // Does a row of the table stay when the other side has nothing that fits?
    bool keeps(uint32_t table) const {
        return (kind == ccl::Join::Kind::Left && table == left()) ||
               (kind == ccl::Join::Kind::Right && table == right());
    }
};

// Brings the tables of a selection together, join by join in the order written; one that does not touch the
// tables joined so far waits until it does. A table that no join reaches is WDB_E_CCL_UNSUPPORTED: there are
// no cross products.
class JoinPlan {
public:
    JoinPlan(const std::vector<ccl::Join>& joins, SourceTables& tables, CommandError& error)
        : joins_(joins), tables_(tables), error_(error) {}

    // Names into columns; tables that the from-list does not name are added.
    Status bind();
    // The rows, ascending by record of the first table, then of the second ...
    Status run(WherePlan& where, Tuples& rows);

private:
    Result<BoundColumn> column(const ccl::Column& source);
    Status order();
    Status begin(WherePlan& where, Tuples& rows, std::vector<char>& present);
    Status filter(const JoinClause& clause, Tuples& rows);

    const std::vector<ccl::Join>& joins_;
    SourceTables& tables_;
    CommandError& error_;
    std::vector<JoinClause> clauses_;  // in the order in which they run
    std::vector<char> mayBeEmpty_;     // per table: an outer join can leave it without a record
    uint32_t start_ = 0;
};

}  // namespace wdb
