#pragma once

#include <memory>

#include "kernel/ccl/Tree.h"
#include "kernel/search/SearchSet.h"

namespace wdb {

// Makes the set of a UNION: the rows of two row sets (or unions) with equally many columns, the left ones
// first. DISTINCT leaves the first of equal rows and puts the rows in an order in which equal ones would be
// neighbours. The columns' names and types are the left set's; SORT takes their positions only.
class UnionPlan {
public:
    UnionPlan(const ccl::UnionCommand& command, SearchContext& context, Search& search, CommandError& error)
        : command_(command), context_(context), search_(search), error_(error) {}

    // WDB_E_CCL_SET, WDB_E_CCL_FIELD for a position without a column, WDB_E_TYPE.
    Result<std::shared_ptr<SearchSet>> makeSet();

private:
    Status addSide(int32_t number, uint32_t position, SearchSet& set);
    // The first side is a union: its members stay where they are when nothing stands behind them.
    void goOn(UnionRows& joined, const UnionRows& left);
    static void addUnion(UnionRows& joined, const UnionRows& from);
    static void addSet(UnionRows& joined, const std::shared_ptr<SearchSet>& side);
    Status sort(SearchSet& set);
    // The keys of all rows behind those that have some.
    Status makeKeys(SearchSet& set, UnionKeys& keys);
    bool usable(const UnionKeys& keys) const;

    const ccl::UnionCommand& command_;
    SearchContext& context_;
    Search& search_;
    CommandError& error_;
    uint64_t known_ = 0;  // rows of the first side whose keys are there
};

}  // namespace wdb
