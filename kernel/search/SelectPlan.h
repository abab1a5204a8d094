#pragma once

#include <memory>

#include "kernel/ccl/Tree.h"
#include "kernel/search/BaseState.h"
#include "kernel/search/SearchSet.h"

namespace wdb {

// Makes the set of a SEL command over one base, or over none (a row of constants).
//
// The rows are the records for which the WHERE condition holds; a set that cannot rely on its snapshot to be there at the
// next call fixes its order at once. Joins, groups, aggregates, arithmetic and DISTINCT are WDB_E_CCL_UNSUPPORTED so far.
class SelectPlan {
public:
    SelectPlan(const ccl::SelectCommand& command, SearchContext& context, Search& search, CommandError& error)
        : command_(command), context_(context), search_(search), error_(error), tables_(context, error) {}

    Result<std::unique_ptr<SearchSet>> makeSet();

private:
    Status checkSupported();
    Status selectFrom(SearchSet& set);
    Status bindSort(SearchSet& set);
    Status sortColumn(const ccl::SortItem& item, const SearchSet& set, std::vector<SortKey>& keys);
    Status checkQualifiers();

    const ccl::SelectCommand& command_;
    SearchContext& context_;
    Search& search_;
    CommandError& error_;
    SourceTables tables_;
    std::vector<BoundAggregate> aggregates_;
};

// Evaluates a condition over one base into a set's part of it; no expression: all records.
Status searchBase(const ccl::Expression* expression, BaseState& state, Search& search, SetBase& result,
                  CommandError& error);

}  // namespace wdb
