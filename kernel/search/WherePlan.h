#pragma once

#include <optional>

#include "kernel/ccl/Tree.h"
#include "kernel/search/Condition.h"
#include "kernel/search/SourceTables.h"
#include "kernel/search/TableRows.h"

namespace wdb {

// The WHERE condition of a selection over several tables, or over parts.
//
// It is cut into the operands of its outermost ANDs. One that speaks of a single table narrows that table
// before the joins (unless an outer join may leave the table empty in a row); the others are decided row by
// row from the sets of the single-table stretches inside them. In a row without a record of its table a
// criterion holds only when it asks for the empty value. An unqualified record number, among several tables,
// is that of the first table with a record in the row.
class WherePlan {
public:
    WherePlan(const ccl::Expression* expression, SourceTables& tables, Search& search, CommandError& error)
        : expression_(expression), tables_(tables), search_(search), error_(error) {}

    // Binds the names. WDB_E_CCL_FIELD and what conditions give.
    Status bind();
    // Does the condition speak of a part field of the table?
    bool usesParts(uint32_t table) const;
    // The rows of a table that can stand in the result; `narrow`: the operands that speak of it alone are
    // used up.
    Status tableRows(uint32_t table, bool narrow, TableRows& rows);
    // Takes out the rows for which the rest of the condition does not hold.
    Status filter(Tuples& rows);

private:
    static constexpr uint32_t kMixed = UINT32_MAX;         // several tables
    static constexpr uint32_t kAnyTable = UINT32_MAX - 1;  // the first record of the row

    Status bindCriterion(const ccl::Criterion& criterion);
    uint32_t ownerOf(const ccl::Criterion& criterion, Status& status);
    void splitConjuncts();
    Status subset(uint32_t table, std::optional<uint32_t> root, TableRows& rows);
    char holdsForNone(const ccl::ExpressionNode& node) const;
    Status truths(uint32_t root, const Tuples& rows, std::vector<char>& result);
    Status leafTruths(uint32_t root, const Tuples& rows, std::vector<char>& result);

    const ccl::Expression* expression_;
    SourceTables& tables_;
    Search& search_;
    CommandError& error_;
    std::vector<Condition> conditions_;
    std::vector<char> emptyTruth_;     // per criterion: does it hold where its table has no record?
    std::vector<char> noneTruth_;      // per node: the same
    std::vector<uint32_t> owners_;     // per node
    std::vector<uint32_t> conjuncts_;  // nodes still to be looked at
};

}  // namespace wdb
