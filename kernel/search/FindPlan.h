#pragma once

#include <memory>

#include "kernel/ccl/Tree.h"
#include "kernel/search/BaseState.h"
#include "kernel/search/SearchContext.h"
#include "kernel/search/SearchSet.h"

namespace wdb {

// Makes the record set of a FIN command.
//
// A qualifier means, in this order, a search base, another base (the search then runs over that one), or,
// with one search base, that base by a correlation name. All qualifiers must mean one base. Without any,
// every search base is searched by itself, and one that lacks a field of the condition contributes nothing.
class FindPlan {
public:
    FindPlan(const ccl::Expression& expression, SearchContext& context, Search& search, CommandError& error)
        : expression_(expression), context_(context), search_(search), error_(error) {}

    // WDB_E_CCL_NO_BASE, WDB_E_CCL_UNSUPPORTED and what conditions give.
    Result<std::shared_ptr<SearchSet>> makeSet();

private:
    Status findBases(std::vector<std::shared_ptr<OpenBase>>& bases);
    Status searchParted(BaseState& state, SetBase& result);
    Result<std::shared_ptr<OpenBase>> meaning(const ccl::Column& column);

    const ccl::Expression& expression_;
    SearchContext& context_;
    Search& search_;
    CommandError& error_;
};

}  // namespace wdb
