#pragma once

#include <memory>

#include "kernel/ccl/Tree.h"
#include "kernel/search/BaseState.h"
#include "kernel/search/JoinPlan.h"
#include "kernel/search/SearchSet.h"

namespace wdb {

// Makes the set of a SEL command.
//
// A selection over one base whose rows are its records keeps the set of records and an order that is worked
// out as rows are asked for; it fixes that order at once when it cannot rely on its snapshot to be there at
// the next call. Everything else (joins, rows of parts, groups, DISTINCT) becomes a block of rows: joins,
// WHERE, GROUP and aggregates, DISTINCT, SORT.
class SelectPlan {
public:
    SelectPlan(const ccl::SelectCommand& command, SearchContext& context, Search& search, CommandError& error)
        : command_(command), context_(context), search_(search), error_(error), tables_(context, error) {}

    Result<std::shared_ptr<SearchSet>> makeSet();

private:
    Status bind(SearchSet& set);
    bool isSimple() const;
    Status selectRecords(SearchSet& set);
    Status checkQualifiers();
    Status makeBlock(SearchSet& set);
    Status bindGroup();
    void markParts(const SearchSet& set, const WherePlan& where);
    // Rows, condition, groups.
    Status makeRows(JoinPlan& joins, WherePlan& where, RowBlock& block);
    Status group(RowBlock& block);
    Status arrange(SearchSet& set, RowBlock& block);
    void addBases(SearchSet& set);

    const ccl::SelectCommand& command_;
    SearchContext& context_;
    Search& search_;
    CommandError& error_;
    SourceTables tables_;
    std::vector<BoundAggregate> aggregates_;
    std::vector<OutputColumn> group_;
    std::vector<OutputColumn> sort_;  // one for each SORT item
};

// Makes a set's part of a base: the records found, and the state that was searched. What the records borrow
// is copied, unless `ofIndex` tells that they borrow from the index alone and the session keeps its snapshot.
void fillBase(const BaseState& state, RecordSet records, bool ofIndex, SetBase& result);

// Evaluates a condition over one base into a set's part of it; no expression: all records.
Status searchBase(const ccl::Expression* expression, BaseState& state, Search& search, SetBase& result,
                  CommandError& error);

}  // namespace wdb
